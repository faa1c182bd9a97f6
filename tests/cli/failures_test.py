"""Provokes every failure code through the program, and compares the line that it prints."""

import json
import os
import re
import resource
import signal
import sys
import time
import unittest

import cli_test

FAKE = cli_test.FAKE
SOURCE = os.environ["ORVANE_SOURCE_DIR"]
ABC = "a,b,b\n1.5,2.5,3.5\n"
XY = "x,y,n\n1,2,3\n"
LISTED = " The columns of the file, by index:\n  INDEX NAME\n  0     a\n  1     b\n  2     b"

# By code: the files, the command, the lines after "orvane: ", the exit status. {} is the folder.
CASES = {
    "unknown-option": (
        {"a.csv": XY},
        ["read", "a.csv", "-o", "CODEK=UTF-8"],
        "There is no reader option 'CODEK'; did you mean CODEC?",
        2),
    "option-value": (
        {"a.csv": XY},
        ["read", "a.csv", "-o", "X_COLUMN=a"],
        "The option X_COLUMN needs an integer of 32 bits, not 'a'.",
        2),
    "option-file": (
        {},
        ["read", "a.csv", "--options", "a.json"],
        "The option file <a.json> cannot be read: No such file or directory.",
        2),
    "unknown-format": (
        {"a.csv": XY},
        ["import", "a.csv", "a.xyz"],
        "No format is known for the output 'a.xyz'; its extension must be one of .gpkg, .fgb, .geojson, .json, "
        ".geojsonl, .geojsons, .shp, .csv. 'orvane formats' lists more.",
        2),
    "extension-case": (
        {"a.csv": XY},
        ["import", "a.csv", "a.SHP"],
        "The extension of the output 'a.SHP' must be written in small letters: .shp.",
        2),
    "crs-form": (
        {"a.csv": XY},
        ["import", "a.csv", "--crs", "WGS84"],
        "The coordinate system 'WGS84' is not written as AUTHORITY:CODE, for example EPSG:4326.",
        2),
    "unknown-crs": (
        {"a.csv": XY},
        ["import", "a.csv", "--crs", "EPSG:99999"],
        "The coordinate system 'EPSG:99999' is not known.",
        2),
    "output-is-input": (
        {"a.csv": XY},
        ["import", "a.csv", "./a.csv"],
        "The output is the input; give it another name.",
        2),
    "no-driver": (
        {"a.csv": XY},
        ["import", "a.csv", "o.pmtiles"],
        "This GDAL (3.6.2) has no PMTiles driver; it needs GDAL 3.8 or later.",
        2),
    "creation-option": (
        {"a.csv": XY},
        ["import", "a.csv", "o.csv", "--co", "A=1"],
        "The format CSV has no creation options; it is not written by GDAL.",
        2),
    "one-layer": (
        {"a.csv": XY},
        ["import", "a.csv", "o.csv", "--append"],
        "A file of the format CSV holds one layer, which has no name and is always replaced.",
        2),
    "columns-unknown": (
        {"a.csv": 'a,b\n1.5,2.5\n'},
        ["import", "a.csv"],
        "a.csv: No columns of coordinates were found. --x and --y name them. To import the table without "
        "points:\n  orvane import --no-points a.csv\nThe columns of the file, by index:\n  INDEX "
        "NAME  FIRST VALUE\n  0     a     1.5\n  1     b     2.5\nThe first line was read as column names.",
        2),
    "names-unknown": (
        {"a.csv": "one,two\nthree,four\nfive,six\n"},
        ["import", "a.csv", "--x", "0", "--y", "1"],
        "a.csv: Whether the first line holds column names cannot be told. These commands answer it:\n  orvane import "
        "--names yes a.csv --x 0 --y 1\n  orvane import --names no a.csv --x 0 --y 1\nThe columns of the file, by "
        "index:\n  INDEX NAME  FIRST VALUE\n  0           one\n  1           two\nThe first line was read as data.",
        2),
    "encoding-unknown": (
        {"a.csv": b"lat,lon,name\n49.5,14.5,\xa9koda\n50.2,14.1,Praha\n"},
        ["import", "a.csv"],
        "a.csv: The encoding cannot be told from so few words: '©koda' in WINDOWS-1252, 'Škoda' in ISO-8859-2. These "
        "commands answer it:\n  orvane import --encoding "
        "WINDOWS-1252 a.csv\n  orvane import --encoding ISO-8859-2 a.csv\nThe columns of the file, by index:\n  INDEX "
        "NAME  FIRST VALUE\n  0     lat   49.5\n  1     lon   14.5\n  2     name  ©koda\nThe first line was read as "
        "column names.",
        2),
    "crs-unknown": (
        {"a.csv": "easting,northing\n465120.5,5247300.25\n465220.5,5247310.25\n"},
        ["import", "a.csv", "a.geojson"],
        "a.csv: The coordinate system of the points is not known, and GeoJSON needs it. Give it "
        "by --crs AUTHORITY:CODE, or write a GeoPackage, which can do without; 'orvane plan --rank-systems' lists "
        "likely ones.",
        2),
    "type-doubt": (
        {"a.csv": "x,y,day\n1.5,2.5,03/04/2018\n"},
        ["import", "a.csv", "--type", "day=date"],
        "a.csv: The cells of the column 'day' can be read in two ways: day first, or month first. These commands "
        "answer it:\n  orvane import a.csv --type day=date:day-first\n  orvane import a.csv --type "
        "day=date:month-first",
        2),
    "no-such-column": (
        {"a.csv": ABC},
        ["import", "a.csv", "--x", "foo", "--y", "1"],
        "There is no column --x 'foo'." + LISTED,
        2),
    "column-beyond": (
        {"a.csv": ABC},
        ["import", "a.csv", "--x", "7", "--y", "1"],
        "There is no column --x '7'; the file has 3, counted from 0." + LISTED,
        2),
    "column-ambiguous": (
        {"a.csv": ABC},
        ["import", "a.csv", "--x", "a", "--y", "b"],
        "The column --y 'b' is not certain: columns 1 and 2 have that name; give its index." + LISTED,
        2),
    "column-given-twice": (
        {"a.csv": XY},
        ["import", "a.csv", "--x", "1", "-o", "X_COLUMN=1"],
        "Give --x or the option X_COLUMN, not both.",
        2),
    "column-negative": (
        {"a.csv": XY},
        ["import", "a.csv", "--x", "1", "-o", "Y_COLUMN=-1"],
        "The option Y_COLUMN counts from 0; -1 is no column.",
        2),
    "columns-equal": (
        {"a.csv": XY},
        ["import", "a.csv", "--x", "1", "--y", "1"],
        "X, Y and Z must be different columns.",
        2),
    "unknown-codec": (
        {"a.csv": XY},
        ["read", "a.csv", "-o", "CODEC=utf-9"],
        "a.csv: There is no text encoding 'utf-9'. Give an encoding such as UTF-8, ISO-8859-1 or windows-1252. For "
        "example: -o CODEC=UTF-8.",
        1),
    "row-position": (
        {"a.csv": XY},
        ["read", "a.csv", "-o", "NAME_COLUMN=1", "-o", "COLUMN_DEFINITION=0,A,5,0,0"],
        "a.csv: An option points outside of a row. Check that COLUMN_DEFINITION and NAME_COLUMN fit the columns of "
        "the file.",
        1),
    "name-encoding": ({}, ["read", "\udcff.csv"], "\\xFF.csv: The file name <\\xFF.csv> is not valid UTF-8.", 1),
    "no-such-file": (
        {},
        ["read", "a.csv"],
        "a.csv: There is no such file. Check its name and its folder.",
        1),
    "is-folder": (
        {"a.csv": None},
        ["read", "a.csv"],
        "a.csv: This is a folder, not a file. Name a file in it.",
        1),
    "not-a-file": (
        {},
        ["read", "pipe.csv"],
        "pipe.csv: This is a pipe, a socket or a device, not a file. Write its data to a file first.",
        1),
    "no-permission": (
        {"a.csv": XY},
        ["read", "a.csv"],
        "a.csv: The file cannot be read. Permission denied. Ask its owner for permission.",
        1),
    "empty-file": (
        {"a.csv": ""},
        ["read", "a.csv"],
        "a.csv: The file is empty.",
        1),
    "read-error": (
        {"throws.csv": "Could not read from the file <x>."},
        ["read", "throws.csv", "--plugin", "{FAKE}"],
        "throws.csv: The system cannot read the file.",
        1),
    "compressed": (
        {"a.zip": b"PK\x03\x04" + b"0" * 100},
        ["plan", "a.zip"],
        "a.zip: The file is compressed by zip. Unpack it first; gzip alone is unpacked here.",
        1),
    "damaged": (
        {"a.csv.gz": b"\x1f\x8b\x08\x00" + b"0" * 100},
        ["plan", "a.csv.gz"],
        "a.csv.gz: The compressed file cannot be unpacked. The compressed data is damaged.",
        1),
    "not-text": (
        {"a.csv": b"PK\x03\x04" + b"\0" * 22 + b"\x0b\0\0\0xl/book.xml" + b"0" * 100},
        ["plan", "a.csv"],
        "a.csv: The file is an Excel workbook, and no text. Save its table as CSV in the program that made it.",
        1),
    "no-separator": (
        {"a.dat": XY},
        ["read", "a.dat"],
        "a.dat: Neither the options nor the extension of the file say how fields are separated. Give the separator "
        "as an option. For example: -o 'ASCII_SEPARATOR=;'.",
        1),
    "unmatched-quote": (
        {"a.csv": 'x,y,n\n1,2,"3\n4,5,6\n'},
        ["read", "a.csv"],
        "a.csv:2:3: The file has a quote that is never closed. Close the quote, or double it where it is part of "
        "the text. The row: '1,2,\"3'.",
        1),
    "row-fields": (
        {"a.csv": "x,y,n\n1,2,3\n1,2,3,4\n"},
        ["read", "a.csv"],
        "a.csv:3:4: A row has more fields than the file has columns. It has 4 fields; 3 are expected. Quote the "
        "field that holds a separator, or correct the row. The row: '1,2,3,4'.",
        1),
    "row-values": (
        {"throws.csv": "Failed to parse feature # 1."},
        ["read", "throws.csv", "--plugin", "{FAKE}"],
        "throws.csv: A row cannot become a feature.",
        1),
    "too-few-fields": (
        {"a.csv": "x,y\n1,2\n3\n"},
        ["read", "a.csv", "-o", "X_COLUMN=0", "-o", "Y_COLUMN=1"],
        "a.csv:3: A row has too few fields for its coordinates. It has 1 field; the coordinates need 2. Check the "
        "separator and the columns of the coordinates, or correct the row. The row: '3'.",
        1),
    "preview-fields": (
        {"a.csv": "x,y\n1\n"},
        ["preview", "a.csv"],
        "a.csv:2: The first two rows have not the same number of fields. The row has 1 field, the first one 2. "
        "Check the separator of the fields, and whether lines of a heading stand before the rows. The row: '1'. "
        "For example: -o 'ASCII_SEPARATOR=;', or -o ASCII_HEADER_COUNT=1.",
        1),
    "no-data": (
        {"throws.csv": "There was no readable data in the file."},
        ["read", "throws.csv", "--plugin", "{FAKE}"],
        "throws.csv: The file has no row of data.",
        1),
    "line-too-long": (
        {"throws.csv": "A line of the file <x> is longer than 5 characters."},
        ["read", "throws.csv", "--plugin", "{FAKE}"],
        "throws.csv: A line of the file is longer than the reader reads. Check that the file is delimited text.",
        1),
    "reader": (
        {"throws.csv": "Something of its own."},
        ["read", "throws.csv", "--plugin", "{FAKE}"],
        "throws.csv: Something of its own.",
        1),
    "output-folder": (
        {"a.csv": XY},
        ["import", "a.csv", "none/a.gpkg"],
        "none/a.gpkg: The output cannot be written. Its folder does not exist.",
        1),
    "output-not-a-file": (
        {"a.csv": XY, "a.gpkg": None},
        ["import", "a.csv"],
        "a.gpkg: The output cannot be written. Something that is no file is in its place.",
        1),
    "rejected-exists": (
        {"a.csv": "lat,lon,n\n" + "1.5,2.5,3\n" * 20 + "1.5,2.5,3,4\n", "a.gpkg.rejected.csv": "mine"},
        ["import", "a.csv"],
        "a.gpkg.rejected.csv: The bad rows cannot be written. Something of that name is there that no import has "
        "made. Move it away, or leave the bad rows out by --on-bad skip.",
        1),
    "output-in-use": (
        {"a.csv": XY, "a.gpkg-wal": ""},
        ["import", "a.csv"],
        "a.gpkg: The output cannot be written. Another program has it open, or left it unfinished: there is a file "
        "a.gpkg-wal beside it.",
        1),
    "database": (
        {"a.csv": XY},
        ["import", "a.csv", "PG:host=127.0.0.1 port=1 dbname=none"],
        "PG:dbname=none host=127.0.0.1 port=1: The database cannot be reached. ...",
        1),
    "output-write": (
        {"a.csv": XY + "1,2,3\n" * 1000},
        ["import", "a.csv"],
        "a.gpkg: The output cannot be written. Making the file: disk I/O error (File too large)",
        1),
    "too-many-columns": (
        {"a.csv": "x,y" + ",c" * 1999 + "\n1,2" + ",3" * 1999 + "\n"},
        ["import", "a.csv"],
        "a.gpkg: The output cannot be written. The format holds at most 1998 columns, and there are 1999; .fgb "
        "holds more.",
        1),
    "not-a-plan": (
        {"a.csv": XY, "p.json": "{}"},
        ["import", "a.csv", "--plan", "p.json"],
        "p.json: ...",
        1),
    "bad-rows": (
        {"a.csv": "lat,lon,n\n" + "1.5,2.5,3\n" * 20 + "1.5,2.5,3,4\n" * 2},
        ["import", "a.csv"],
        "a.csv:22:4: 2 of 22 rows do not fit the table: 2 long-row. They begin in the lines 22, 23. The row: '1.5,2.5,3,4'. "
        "To put them aside, and import the others:\n  orvane import --on-bad quarantine a.csv",
        1),
    "no-row-fits": (
        {"a.csv": b"lat,lon,name\n1.5,2.5,a\x81\n3.5,4.5,b\x81\n"},
        ["import", "a.csv"],
        "a.csv:2:3: None of the 2 rows fits the table: 2 encoding. They begin in the lines 2, 3. The row: "
        "'1.5,2.5,a\ufffd'. They are no text in WINDOWS-1252; --encoding names another encoding, for example IBM850.",
        1),
    "no-point": (
        {"a.csv": "lat,lon,name\n1.5,2.5,a\n3.5,4.5,b\n"},
        ["import", "a.csv", "--x", "lon", "--y", "name"],
        "a.csv: No row has a point. X is column 1 'lon', Y is column 2 'name'. --x and --y name other columns. To "
        "import the table without points:\n  orvane import --no-points a.csv\nThe columns of the file, by index:\n  "
        "INDEX NAME  FIRST VALUE\n  0     lat   1.5\n  1     lon   2.5\n  2     name  a\nThe first line was read as "
        "column names.",
        1),
    "plan-unfit": (
        {"a.csv": "a,b,n\n1.5,2.5,3\n1.5,2.5,3\n"},
        ["import", "a.csv", "--plan", "{PLAN}"],
        "a.csv:1: The file does not fit the plan. The plan has 'lat,lon,n' in this line, and the file has 'a,b,n'. "
        "Make a plan of this file.",
        1),
    "cache-folder": (
        {"a.csv": XY},
        ["read", "a.csv", "--disk-cache=none"],
        "The disk cache cannot be kept in <none>. The folder does not exist. Another folder: --disk-cache=DIR.",
        1),
    "cache-file": (
        {"a.csv": XY + "1,2,3\n" * 40000, "cache": None},
        ["read", "a.csv", "--disk-cache=cache"],
        "a.csv: The file of the disk cache cannot be written. {}/cache/orvane-layer...: File too large. Make room "
        "on its disk, or name a folder on another one.",
        1),
    "no-module": (
        {"a.csv": XY},
        ["read", "a.csv", "--plugin", "none.so"],
        "The plug-in <none.so> was not found. Name the module with --plugin.",
        1),
    "module-load": (
        {"a.csv": XY},
        ["read", "a.csv", "--plugin", "."],
        "The plug-in <.> could not be loaded. It is not a file.",
        1),
    "library-load": (
        {"a.csv": XY},
        ["import", "a.csv", "--crs", "EPSG:25832"],
        "The library <{}/liborvanegdal.so...> cannot be loaded. {}/liborvanegdal.so...: cannot open shared object "
        "file: No such file or directory. Install the program again: the library belongs to it.",
        1),
    "unsupported-type": (
        {"a.SSV": XY},
        ["read", "a.SSV", "--plugin", "{FAKE}"],
        "a.SSV: The plug-in cannot read data of the type <DS_SSV>.",
        1),
    "module-failure": (
        {"own-type.csv": XY},
        ["read", "own-type.csv", "--plugin", "{FAKE}"],
        "own-type.csv: made in the module.",
        1),
    "cancelled": (
        {"endless.csv": XY},
        ["read", "endless.csv", "--plugin", "{FAKE}"],
        "Interrupted; nothing was written.",
        1),
    "memory": (
        {"bad-alloc.csv": XY},
        ["read", "bad-alloc.csv", "--plugin", "{FAKE}"],
        "There is not enough memory. --disk-cache keeps a layer out of memory; a line of the file must fit into "
        "it, six times over.",
        1),
}
# No input is known that provokes a mistake in the program itself.
# The tests with a server of their own have the failures of tables; a build without libpq has no
# other test than its own.
# A closed pipe is a case of the tests of imports.
# A file that changes meanwhile needs a hand in the middle of an import: unit_export.
WITHOUT_CASE = {"internal", "file-changed", "layer-exists", "layer-schema", "no-database-driver", "output-closed"}


def file_size_limit(size):
    return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


def without_rights():
    """Root without its right to open every file; who is not root has none."""
    if os.geteuid() != 0:
        return []
    return ["setpriv", "--securebits", "+noroot", "--inh-caps", "-all", "--bounding-set", "-all"]


class FailuresTest(cli_test.CliTest):
    def documented(self):
        """The second table of docs/errors.md by code: exit status, and the texts of its line."""
        rows = {}
        with open(os.path.join(SOURCE, "docs/errors.md"), encoding="utf-8") as file:
            for line in file:
                cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
                if len(cells) == 4 and re.fullmatch(r"`[a-z-]+`", cells[0]):
                    rows[cells[0].strip("`")] = (int(cells[1]), re.findall(r"`([^`]+)`", cells[2]))
        return rows

    def prepare(self, code, files):
        for name in os.listdir(self.folder):
            path = self.path(name)
            os.chmod(path, 0o700)
            cli_test.shutil.rmtree(path) if os.path.isdir(path) else os.remove(path)
        for name, content in files.items():
            if content is None:
                os.mkdir(self.path(name))
            else:
                self.write(name, content)
        if code == "not-a-file":
            os.mkfifo(self.path("pipe.csv"))
        if code == "no-permission":
            os.chmod(self.path("a.csv"), 0)

    def run_case(self, code, files, command, json_too=False):
        self.prepare(code, files)
        if "{PLAN}" in command:
            self.write("b.csv", "lat,lon,n\n1.5,2.5,3\n1.5,2.5,3\n")
            self.write("plan.json", self.run_orvane("plan", "b.csv", "--json").out)
        words = [word.replace("{FAKE}", FAKE).replace("{PLAN}", "plan.json") for word in command] + (["--json"] if json_too else [])
        if code == "cancelled":
            return self.interrupt(words)
        limits = {"output-write": 1024, "cache-file": 300000}
        keywords = {"preexec_fn": file_size_limit(limits[code])} if code in limits else {}
        program = cli_test.PROGRAM
        if code == "library-load":
            program = self.copy_without_gdal()
            keywords["env"] = dict(os.environ, LD_LIBRARY_PATH=self.folder)
        prefix = without_rights() if code == "no-permission" else []
        completed = cli_test.subprocess.run(
            [*prefix, program, *words], cwd=self.folder, capture_output=True,
            stdin=cli_test.subprocess.DEVNULL, timeout=300, **keywords)
        return completed.returncode, completed.stdout.decode(), completed.stderr.decode()

    def copy_without_gdal(self):
        """The program, its module and those of its libraries that it is linked with."""
        folder = os.path.dirname(cli_test.PROGRAM)
        for name in os.listdir(folder):
            if name in ("orvane", "AsciiReader.so") or name.startswith(("liborvaneimport.", "liborvanesdk.")):
                cli_test.shutil.copy(os.path.join(folder, name), self.folder)
        return self.path("orvane")

    def interrupt(self, words):
        mark = self.path("mark")
        process = cli_test.subprocess.Popen(
            [cli_test.PROGRAM, *words], cwd=self.folder, stdout=cli_test.subprocess.PIPE,
            stderr=cli_test.subprocess.PIPE, text=True, env=dict(os.environ, ORVANE_FAKE_MARK=mark))
        self.addCleanup(process.kill)
        deadline = time.monotonic() + 120
        while not os.path.exists(mark):
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.001)
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=120)
        return process.returncode, out, err

    def test_every_documented_code_has_a_case(self):
        self.assertEqual(set(CASES) | WITHOUT_CASE, set(self.documented()))

    def test_every_failure_prints_its_line(self):
        documented = self.documented()
        for code, (files, command, line, status) in CASES.items():
            with self.subTest(code=code):
                got = self.run_case(code, files, command)
                got = (got[0], got[1], cli_test.without_rules(got[2]))
                expected = "orvane: " + line.replace("{}", os.path.realpath(self.folder)) + "\n"
                if "..." in expected:
                    pattern = re.escape(expected).replace(r"\.\.\.", "[^\n]+")
                    self.assertRegex(got[2], "^" + pattern + "$")
                else:
                    self.assertEqual(got[2], expected)
                self.assertEqual((got[0], got[1]), (status, ""))
                self.assertEqual(documented[code][0], status)

    def test_the_documented_texts_are_those_that_are_printed(self):
        for code, (_, texts) in self.documented().items():
            if code in WITHOUT_CASE:
                continue
            line = CASES[code][2]
            # What stands between the marks depends on the file: names, numbers, lists.
            parts = [re.sub(r"'[^']*'|<[^>]*>|\b[X-Z]_COLUMN|--[xyz]\b|\d+|CODEC", "#", text) for text in texts]
            shown = re.sub(r"'[^']*'|<[^>]*>|\b[X-Z]_COLUMN|--[xyz]\b|\d+|CODEC", "#", line)
            if not texts or texts[0].startswith((".", "orvane ")):
                continue
            with self.subTest(code=code):
                self.assertTrue(
                    any(all(piece.strip() in shown for piece in part.split("...")) for part in parts),
                    (parts, shown))

    def test_json_names_the_code(self):
        for code, (files, command, _, status) in CASES.items():
            if status != 1 or command[0] not in ("read", "preview"):
                continue
            with self.subTest(code=code):
                answer = json.loads(self.run_case(code, files, command, True)[1])
                self.assertEqual((answer["ok"], answer["code"]), (False, code))
                self.assertEqual(list(answer)[:5], ["ok", "exception", "location", "message", "details"])


if __name__ == "__main__":
    unittest.main(verbosity=2, argv=[sys.argv[0], *sys.argv[1:]])
