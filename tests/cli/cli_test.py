"""Runs the program from outside: command lines, exit status, output, and the files it writes."""

import contextlib
import csv
import fcntl
import glob
import io
import json
import math
import os
import pty
import re
import resource
import shlex
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

PROGRAM = os.environ["ORVANE_PROGRAM"]
DUMP = os.environ["ORVANE_DUMP"]
FAKE = os.environ["ORVANE_FAKE"]
FAKE_WITHOUT_PROXY = os.environ["ORVANE_FAKE_WITHOUT_PROXY"]
NO_PLUGIN = os.environ["ORVANE_NO_PLUGIN"]
BUNDLED = os.path.join(os.path.dirname(PROGRAM), "AsciiReader.so")
EARTHQUAKES = os.path.join(os.environ["ORVANE_SOURCE_DIR"], "examples/data/earthquakes.csv")

STATIONS = (
    "lon,lat,height,name,count\n"
    '10.5,47.25,1200,"Berg, oben",3\n'
    "-0.1,51.5,11,Themse,12\n"
    "7.125,,5,leer,7\n"
)


READER_RULES = ("orvane: note: with reader options the file is read by the rules of the reader alone, which may "
                "change cells\n")
PLUGIN_RULES = "orvane: note: the file is read by the rules of its plug-in alone, and no cell is compared\n"


def without_rules(text):
    """Standard error without the note on who reads the file."""
    return text.replace(READER_RULES, "").replace(PLUGIN_RULES, "")


class Result:
    def __init__(self, completed):
        self.status = completed.returncode
        self.out = completed.stdout
        self.err = completed.stderr

    @property
    def json(self):
        return json.loads(self.out)


def texts_of(failure):
    """A failure's object without the fields after the texts of the exception underneath."""
    keys = ("ok", "exception", "location", "message", "details")
    return {key: failure[key] for key in keys}


class CliTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="orvane-cli-")
        self.addCleanup(shutil.rmtree, self.folder, True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, content):
        data = content if isinstance(content, bytes) else content.encode()
        with open(self.path(name), "wb") as file:
            file.write(data)
        return name

    def run_orvane(self, *arguments, **keywords):
        keywords.setdefault("stdout", subprocess.PIPE)
        completed = subprocess.run(
            [PROGRAM, *arguments],
            cwd=self.folder,
            stderr=subprocess.PIPE,
            stdin=subprocess.DEVNULL,
            timeout=300,
            **keywords,
        )
        completed.stderr = completed.stderr.decode()
        completed.stdout = (completed.stdout or b"").decode()
        return Result(completed)

    def succeed(self, *arguments):
        """The result of a run that must be done and say nothing on standard error, but that an import goes
        by the rules of the reader."""
        result = self.run_orvane(*arguments)
        self.assertEqual((result.status, without_rules(result.err)), (0, ""))
        return result

    def assert_failure(self, result, status, line, out=""):
        self.assertEqual((result.status, result.err, result.out), (status, line + "\n", out))

    def assert_folder(self, *names):
        """Nothing but these files is in the folder, hidden ones counted."""
        self.assertEqual(sorted(os.listdir(self.folder)), sorted(names))

    def dump(self, name):
        completed = subprocess.run(
            [DUMP, self.path(name)], stdout=subprocess.PIPE, check=True, timeout=300
        )
        return json.loads(completed.stdout)

    def content(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def mapped_bytes(self):
        """What the program has mapped when it opens a file."""
        self.write("slow-open.csv", "1\n")
        process = subprocess.Popen(
            [PROGRAM, "read", "slow-open.csv", "--plugin", FAKE], cwd=self.folder,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env=dict(os.environ, ORVANE_FAKE_MARK=self.path("mark")))
        try:
            while not os.path.exists(self.path("mark")):
                self.assertIsNone(process.poll(), "the program ended too early")
                time.sleep(0.001)
            with open(f"/proc/{process.pid}/status", encoding="ascii") as status:
                return int(re.search(r"VmSize:\s*(\d+) kB", status.read())[1]) * 1024
        finally:
            process.kill()
            process.wait()
            os.remove(self.path("mark"))
            os.remove(self.path("slow-open.csv"))


class PlanTest(CliTest):
    def test_shows_what_is_decided_in_lines(self):
        self.write("a.csv", "id;lat;lon;n\n1;47,5;8,5;x\n2;46,25;7,25;\n")
        self.assertEqual(
            self.succeed("plan", "a.csv").out.splitlines(),
            [
                "File:       40 bytes, 3 lines (LF)",
                "Encoding:   US-ASCII (certain; 0 bytes past ASCII)",
                "Separator:  semicolon (certain; 2 rows of 4 fields)",
                "Names:      yes (certain: texts over columns of other values)",
                "Not rows:   line 1: names 'id;lat;lon;n'",
                "Rows:       2 rows from line 2 on, 4 columns",
                "Columns:    0   id   integer, 1 to 2",
                "            1   lat  double, decimal comma, Y, 46.25 to 47.5",
                "            2   lon  double, decimal comma, X, 7.25 to 8.5",
                "            3   n    text, 1 empty",
                "Points:     X 'lon', Y 'lat', decimal degrees (strong)",
                "System:     EPSG:4326 (strong: names of latitude and longitude)",
            ],
        )
        self.assert_folder("a.csv")

    def test_shows_a_question_with_the_options_that_answer_it(self):
        self.write("a.csv", "id,name\n1,a\n2,b\n")
        lines = self.succeed("plan", "a.csv").out.splitlines()
        at = lines.index("Question:   No columns of coordinates were found.")
        self.assertEqual([line.strip() for line in lines[at + 1:]],
                         ["--x COLUMN --y COLUMN", "--no-points"])

    def test_every_answer_that_it_shows_is_accepted_by_the_import(self):
        self.write("a.txt", "a;37.77939;22.42354\nb;37.77610;22.42280\nc;37.77104;22.42253\n")
        lines = self.succeed("plan", "a.txt").out.splitlines()
        at = [line.startswith("Question:") for line in lines].index(True)
        answers = [line.split() for line in lines[at + 1:]]
        self.assertEqual(answers, [["--x", "2", "--y", "1"], ["--x", "1", "--y", "2"], ["--no-points"]])
        for answer in answers:
            self.succeed("import", "a.txt", "a.gpkg", *answer)

    def test_prints_the_whole_plan_as_json(self):
        self.write("a.csv", "id,lat,lon\n1,47.5,8.5\n2,46.25,7.25\n")
        plan = json.loads(self.succeed("plan", "a.csv", "--json").out)
        self.assertEqual(plan["path"], "a.csv")
        self.assertEqual(plan["coordinates"]["value"],
                         {"x": 2, "y": 1, "z": None, "notation": "decimal degrees", "letterO": ""})
        self.assertEqual([column["type"]["value"] for column in plan["columns"]],
                         ["integer", "double", "double"])

    def test_shows_control_characters_of_the_file_escaped(self):
        self.write("a.csv", "id,\x1b[31mred\n1,2.5\n2,3.5\n")
        result = self.succeed("plan", "a.csv")
        self.assertNotIn("\x1b", result.out)
        self.assertIn("\\x1B[31mred", result.out)

    def test_a_file_that_cannot_be_read_is_a_line(self):
        self.write("a.zip", b"PK\x03\x04more")
        for file, line in (
            ("no.csv", "orvane: no.csv: There is no such file. Check its name and its folder."),
            (".", "orvane: .: This is a folder. Give a file."),
            ("a.zip", "orvane: a.zip: The file is compressed by zip. Unpack it first; gzip alone is "
                      "unpacked here."),
        ):
            with self.subTest(file=file):
                self.assert_failure(self.run_orvane("plan", file), 1, line)

    def test_an_empty_file_has_no_rows(self):
        self.write("a.csv", "")
        self.assertIn("Rows:       0 rows", self.succeed("plan", "a.csv").out)


class ArgumentsTest(CliTest):
    def setUp(self):
        super().setUp()
        self.write("a.csv", "lon,lat,n\n1,2,3\n")

    def assert_wrong(self, arguments, line):
        self.assert_failure(self.run_orvane(*arguments), 2, "orvane: " + line)

    def test_an_unknown_command_names_the_one_like_it(self):
        for word, advice in (
            ("imprt", "; did you mean import?"),
            ("raed", "; did you mean read?"),
            ("Preveiw", "; did you mean preview?"),
            ("opt", "; did you mean options?"),
            ("frobnicate", "; 'orvane help' lists the commands."),
            ("x" * 100, "; 'orvane help' lists the commands."),
            ("a.csv", "; the command comes before the file, for example 'orvane import FILE'."),
        ):
            for arguments in ((word,), ("help", word)):
                with self.subTest(arguments=arguments):
                    self.assert_wrong(arguments, f"There is no command '{word}'{advice}")

    def test_an_unknown_option_names_the_one_like_it(self):
        for arguments, command, word, advice in (
            (("read", "a.csv", "--jsn"), "orvane read", "--jsn", "; did you mean --json?"),
            (("read", "a.csv", "-json"), "orvane read", "-json", "; did you mean --json?"),
            (("import", "a.csv", "--csr=EPSG:4326"), "orvane import", "--csr", "; did you mean --crs?"),
            (("import", "--disk", "a.csv"), "orvane import", "--disk", "; did you mean --disk-cache?"),
            (("preview", "a.csv", "--x", "1"), "orvane preview", "--x",
             "; 'orvane help preview' lists the options."),
            (("-v",), "orvane", "-v", "; did you mean --version?"),
            (("--frobnicate", "read"), "orvane", "--frobnicate", "; 'orvane help' lists the options."),
        ):
            with self.subTest(arguments=arguments):
                self.assert_wrong(arguments, f"There is no option '{word}' of '{command}'{advice}")

    def test_a_missing_or_surplus_argument_shows_the_usage(self):
        read = "Usage: orvane read FILE [OPTION...]"
        for arguments, line in (
            (("read",), f"FILE is missing. {read}"),
            (("read", "--json"), f"FILE is missing. {read}"),
            (("import",), "FILE is missing. Usage: orvane import FILE [OUT] [OPTION...]"),
            (("read", "a.csv", "b.csv"), f"The argument 'b.csv' is one too many. {read}"),
            (("options", "a\nb"), "The argument 'a\\x0Ab' is one too many. Usage: orvane options"),
            (("help", "read", "x"), "The argument 'x' is one too many. Usage: orvane help [COMMAND]"),
            (("version", "x"), "The argument 'x' is one too many. Usage: orvane version"),
            (("--plugin", FAKE), "A command is missing; 'orvane help' lists the commands."),
        ):
            with self.subTest(arguments=arguments):
                self.assert_wrong(arguments, line)

    def test_an_option_without_its_value_says_its_form(self):
        for arguments, form in (
            (("read", "a.csv", "-o"), "--option needs a value: --option KEY=VALUE."),
            (("read", "a.csv", "--option", "--json"), "--option needs a value: --option KEY=VALUE."),
            (("read", "a.csv", "--threads"), "--threads needs a value: --threads NUMBER."),
            (("import", "a.csv", "--crs", "--"), "--crs needs a value: --crs AUTHORITY:CODE."),
            (("import", "--x", "--y=1", "a.csv"), "--x needs a value: --x NAME|INDEX."),
            (("--plugin",), "--plugin needs a value: --plugin PATH."),
        ):
            with self.subTest(arguments=arguments):
                self.assert_wrong(arguments, "The option " + form)

    def test_a_value_that_is_too_much_or_given_twice_is_refused(self):
        for arguments, line in (
            (("read", "a.csv", "--json=2"), "The option --json has no value, but '2' is given."),
            (("read", "a.csv", "--json=true"), "The option --json has no value, but 'true' is given."),
            (("read", "a.csv", "--json="), "The option --json has no value, but '' is given."),
            (("import", "a.csv", "--x", "0", "--x=1"),
             "The option --x is given twice; leave one of them out."),
            (("--plugin", FAKE, "read", "a.csv", "--plugin", FAKE),
             "The option --plugin is given twice; leave one of them out."),
            (("import", "a.csv", "--disk-cache", "--disk-cache=."),
             "The option --disk-cache is given twice; leave one of them out."),
            (("import", "a.csv", "--disk-cache", "--no-disk-cache"),
             "Give --disk-cache or --no-disk-cache, not both."),
        ):
            with self.subTest(arguments=arguments):
                self.assert_wrong(arguments, line)

    def test_an_empty_text_is_not_an_absent_argument(self):
        for name in ("FILE", "OUT"):
            self.assert_wrong(
                ("import", "") if name == "FILE" else ("import", "a.csv", ""),
                f"{name} is an empty text; is a variable of a script not set?")
        for form in ("--x NAME|INDEX", "--z NAME|INDEX", "--crs AUTHORITY:CODE", "--option KEY=VALUE",
                     "--options FILE.json", "--plugin PATH", "--disk-cache=DIR"):
            name = re.split("[ =]", form)[0]
            forms = [("import", "a.csv", "out.gpkg", name + "=")]
            if " " in form:
                forms.append(("import", "a.csv", "out.gpkg", name, ""))
            for arguments in forms:
                with self.subTest(arguments=arguments):
                    self.assert_wrong(
                        arguments, f"The value of {name} is an empty text; give {form}, or leave the option out.")
        self.assert_folder("a.csv")

    def test_an_option_takes_one_value_and_leaves_the_file_alone(self):
        for option in (("--option", "MAX_RECORDS=1"), ("--option=MAX_RECORDS=1",), ("-o", "MAX_RECORDS=1"),
                       ("-oMAX_RECORDS=1",), ("-o=MAX_RECORDS=1",)):
            with self.subTest(option=option):
                result = self.succeed("read", *option, "a.csv", "--json", "--json")
                self.assertEqual(len(result.json["layer"]["features"]), 1)

    def test_values_arrive_as_written(self):
        self.write("a.csv", "read,[b],{}\n1,2,3\n")
        for value, index in (("read", 0), ("[b]", 1), ("{}", 2), ("-1", None)):
            for arguments in (("--x", value), (f"--x={value}",)):
                with self.subTest(arguments=arguments):
                    result = self.run_orvane("import", "a.csv", "out.csv", *arguments, "--y", str(((index or 0) + 1) % 3))
                    if index is None:
                        self.assertIn("'-1'", result.err)
                    else:
                        self.assertIn(f"X column {index} '{value}'", result.out)

    def test_two_dashes_end_the_options(self):
        self.write("-n.csv", "1,2\n")
        for arguments in (("--json", "--", "-n.csv"), ("./-n.csv", "--json", "--")):
            self.assertTrue(self.succeed("read", *arguments).json["ok"])
        self.assertEqual(self.succeed("read", "-o", "MAX_RECORDS=1", "--", "-n.csv").status, 0)
        self.assert_wrong(("read", "--", "-n.csv", "--json"),
                          "The argument '--json' is one too many. Usage: orvane read FILE [OPTION...]")

    def test_the_plug_in_may_be_named_before_the_command(self):
        self.write("one.csv", "")
        before = self.run_orvane("--plugin", FAKE, "read", "one.csv")
        after = self.run_orvane("read", "one.csv", "--plugin", FAKE)
        self.assertEqual((before.status, before.out, before.err), (after.status, after.out, after.err))
        self.assertNotEqual(before.out + before.err, self.run_orvane("read", "one.csv").out)

    def test_a_bare_number_is_a_coordinate_system_of_epsg(self):
        self.succeed("import", "a.csv", "named.gpkg", "--crs", "EPSG:4326")
        self.succeed("import", "a.csv", "bare.gpkg", "--crs", "4326")
        self.assertEqual(self.dump("bare.gpkg")["crs"], self.dump("named.gpkg")["crs"])
        self.assert_wrong(("import", "a.csv", "--crs", "0"), "The coordinate system 'EPSG:0' is not known.")


class HelpTest(CliTest):
    COMMANDS = ("import", "read", "preview", "plan", "options", "help", "version")

    def help(self, *arguments, columns=None):
        environment = {key: value for key, value in os.environ.items() if key != "COLUMNS"}
        if columns is not None:
            environment["COLUMNS"] = str(columns)
        result = self.run_orvane(*arguments, env=environment)
        self.assertEqual((result.status, result.err), (0, ""))
        return result.out

    def test_every_command_has_help_with_usage_and_examples(self):
        for command in ([], *([name] for name in self.COMMANDS)):
            with self.subTest(command=command):
                text = self.help(*command, "--help")
                self.assertIn("\nUsage: orvane " + (command[0] if command else "COMMAND"), text)
                self.assertIn("\nExamples:\n  orvane ", text)
                self.assertTrue(
                    text.endswith("\nExit status: 0 done, 1 the data failed, 2 wrong arguments.\n"))

    def test_help_is_found_under_every_name_a_person_tries(self):
        self.assertEqual(self.help("help"), self.help("--help"))
        self.assertEqual(self.help("-h"), self.help("--help"))
        for command in self.COMMANDS:
            with self.subTest(command=command):
                text = self.help(command, "--help")
                for words in (("help", command), (command, "-h"), ("--help", command),
                              (command, "x", "--unknown", "-h")):
                    self.assertEqual(self.help(*words), text)

    def test_the_program_alone_shows_its_help_as_an_error(self):
        result = self.run_orvane()
        self.assertEqual((result.status, result.out), (2, ""))
        self.assertIn("Usage: orvane COMMAND [ARGUMENT...]\n", result.err)
        for command in self.COMMANDS:
            self.assertRegex(result.err, rf"(?m)^  {command} +\S")

    def test_tells_its_version(self):
        version = self.help("--version")
        self.assertRegex(version, r"^orvane \d+\.\d+\.\d+\n$")
        self.assertEqual(self.help("version"), version)

    def test_lines_are_as_wide_as_asked_for(self):
        every = ([], *([name] for name in self.COMMANDS))
        for columns, widest in ((None, 80), (40, 40), (57, 57), (63, 63), (64, 64), (120, 120),
                                (10, 40), (500, 120), (0, 80), (-5, 80), ("", 80), ("wide", 80), ("9" * 30, 80)):
            for command in every if columns in (None, 40, 120) else (["import"],):
                with self.subTest(columns=columns, command=command):
                    lines = self.help(*command, "--help", columns=columns).splitlines()
                    # A word longer than its line, as an option of an example, stays whole.
                    long = [line for line in lines if len(line) > widest and " " in line.strip().rstrip(" \\")]
                    self.assertEqual(long, [])
                    self.assertEqual([line for line in lines if line.endswith(" ")], [])

    def test_narrow_and_wide_help_say_the_same(self):
        for command in ([], *([name] for name in self.COMMANDS)):
            texts = {columns: self.help(*command, "--help", columns=columns) for columns in (40, 80, 120)}
            words = {tuple(text.replace("\\\n", "").split()) for text in texts.values()}
            self.assertEqual(len(words), 1)

    def test_examples_can_be_copied_however_narrow_the_help_is(self):
        wide = self.help("read", "--help", columns=120)
        narrow = self.help("read", "--help", columns=40)
        for text in (wide, narrow):
            examples = text[text.index("Examples:\n") + len("Examples:\n"):text.index("\n\nExit status")]
            commands = [shlex.split(line) for line in examples.replace("\\\n", "").splitlines()]
            self.assertIn(["orvane", "read", "track.dat", "-o", "ASCII_SEPARATOR=\\t", "-o", "CODEC=UTF-8",
                           "--json"], commands)
            self.assertTrue(all(command[:2] == ["orvane", "read"] for command in commands))

    def test_nothing_of_a_machine_is_in_it(self):
        for command in ([], *([name] for name in self.COMMANDS)):
            text = self.help(*command, "--help")
            self.assertNotRegex(text, r"REQUIRED|Excludes|Needs|TEXT|\{\}|::|\.\.\. |std")

    def test_help_on_a_terminal_is_as_wide_as_the_terminal(self):
        for columns, widest in ((50, 50), (20, 40), (300, 120), (0, 80)):
            with self.subTest(columns=columns):
                leader, follower = pty.openpty()
                fcntl.ioctl(follower, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
                environment = {key: value for key, value in os.environ.items() if key != "COLUMNS"}
                process = subprocess.Popen([PROGRAM, "help", "import"], stdin=follower, stdout=follower,
                                           stderr=follower, env=environment, close_fds=True)
                os.close(follower)
                shown = b""
                with contextlib.suppress(OSError):  # A terminal without its other end.
                    while block := os.read(leader, 65536):
                        shown += block
                os.close(leader)
                self.assertEqual(process.wait(60), 0)
                longest = max(len(line) for line in shown.decode().split("\r\n"))
                self.assertTrue(widest - 12 <= longest <= widest, longest)


class OptionTableTest(CliTest):
    KEYS = """ASCII_SEPARATOR FIELD_LENGTH USE_COMMA USE_TAB USE_SPACE MAX_RECORDS X_COLUMN
        Y_COLUMN Z_COLUMN NAME_COLUMN FIRST_LINE_COLUMN_NAMES X_COORDINATE_FORMAT
        Y_COORDINATE_FORMAT Z_COORDINATE_FORMAT X_MULTIPLIER Y_MULTIPLIER Z_MULTIPLIER AUTO_SCHEMA
        AUTO_SCHEMA_ALL_ROWS SCHEMA_SAMPLE_SIZE COLUMN_DEFINITION PRESERVE_NUMERIC_STRINGS
        IGNORE_BLANK_ROWS ASCII_HEADER_IDENTIFIER ASCII_HEADER_BLANK_LINE ASCII_HEADER_COUNT CODEC
        CODECFORLOCALE""".split()

    def test_lists_every_option_with_type_and_meaning(self):
        lines = self.succeed("options").out.splitlines()
        self.assertEqual(lines[0].split(), ["OPTION", "TYPE", "MEANING"])
        self.assertEqual([line.split()[0] for line in lines[1:]], self.KEYS)
        for line in lines[1:]:
            self.assertRegex(line, r"^\S+ +(integer|number|boolean|text|presence|list of \w+) {2,}\S")


class OptionTextsTest(CliTest):
    def read(self, name, *options):
        arguments = [part for option in options for part in ("--option", option)]
        return self.succeed("read", name, "--json", *arguments).json["layer"]

    def names(self, layer):
        return [[value[2] for value in feature["attributes"]] for feature in layer["features"]]

    def test_integers_booleans_and_numbers_are_read_by_the_keys_type(self):
        self.write("a.csv", "x,y,n\n1,2,3\n4,5,6\n")
        layer = self.read(
            "a.csv",
            "FIRST_LINE_COLUMN_NAMES=yes",
            "X_COLUMN=0",
            "Y_COLUMN=+1",
            "X_MULTIPLIER=0.5",
            "Y_MULTIPLIER=-1e1",
            "MAX_RECORDS=1",
        )
        self.assertEqual([feature["geometry"] for feature in layer["features"]], [[0.5, -20]])
        self.assertEqual(layer["schema"][0]["name"], "n")

    def test_a_backslash_t_separates_at_tabs(self):
        self.write("a.dat", "a\tb c\n")
        self.assertEqual(self.names(self.read("a.dat", "ASCII_SEPARATOR=\\t")), [["a", "b c"]])

    def test_two_backslashes_separate_at_one(self):
        self.write("a.dat", "a\\b\n")
        self.assertEqual(self.names(self.read("a.dat", "ASCII_SEPARATOR=\\\\")), [["a", "b"]])

    def test_a_presence_only_key_takes_any_value_and_none(self):
        self.write("a.dat", "a b\n")
        for option in ("USE_SPACE", "USE_SPACE=", "USE_SPACE=false"):
            self.assertEqual(self.names(self.read("a.dat", option)), [["a", "b"]])

    def test_definitions_with_commas_are_given_one_by_one(self):
        self.write("a.csv", "7,8\n")
        layer = self.read(
            "a.csv", "COLUMN_DEFINITION=0,First,5,4,0", "COLUMN_DEFINITION=1,Second,9,0,3"
        )
        self.assertEqual(
            layer["schema"],
            [
                {"name": "First", "type": 5, "length": 4, "precision": 0},
                {"name": "Second", "type": 9, "length": 0, "precision": 3},
            ],
        )

    def test_the_later_of_two_values_counts(self):
        self.write("a.csv", "1,2\n3,4\n")
        self.assertEqual(len(self.read("a.csv", "MAX_RECORDS=1", "MAX_RECORDS=2")["features"]), 2)

    def test_values_that_do_not_fit_name_key_and_type(self):
        self.write("a.csv", "1,2\n")
        cases = (
            ("X_COLUMN=a", "The option X_COLUMN needs an integer of 32 bits, not 'a'."),
            ("X_COLUMN=", "The option X_COLUMN needs an integer of 32 bits, not ''."),
            ("X_COLUMN=3 ", "The option X_COLUMN needs an integer of 32 bits, not '3 '."),
            ("MAX_RECORDS=2147483648",
             "The option MAX_RECORDS needs an integer of 32 bits, not '2147483648'."),
            ("X_MULTIPLIER=1,5", "The option X_MULTIPLIER needs a number, not '1,5'."),
            ("FIRST_LINE_COLUMN_NAMES=maybe",
             "The option FIRST_LINE_COLUMN_NAMES needs a boolean (true, false, yes, no, 1 or 0),"
             " not 'maybe'."),
            ("FIELD_LENGTH=5,x",
             "The option FIELD_LENGTH needs a list of integers of 32 bits, for example 5,9,9,"
             " not '5,x'."),
            ("FIELD_LENGTH=5,",
             "The option FIELD_LENGTH needs a list of integers of 32 bits, for example 5,9,9,"
             " not '5,'."),
            ("X_COLUMN",
             "The option X_COLUMN needs a value: X_COLUMN=VALUE, a value of the type integer."),
        )
        for option, line in cases:
            with self.subTest(option=option):
                result = self.run_orvane("read", "a.csv", "--option", option)
                self.assert_failure(result, 2, "orvane: " + line)

    def test_an_unknown_key_names_the_keys_like_it(self):
        result = self.run_orvane("read", "a.csv", "-o", "x_colum=1")
        self.assertEqual(result.status, 2)
        self.assertRegex(
            result.err, r"^orvane: There is no reader option 'x_colum'; did you mean X_COLUMN.*\?\n$"
        )
        result = self.run_orvane("read", "a.csv", "-o", "zzzzzzzz=1")
        self.assert_failure(
            result, 2, "orvane: There is no reader option 'zzzzzzzz'; 'orvane options' lists them."
        )


class OptionFilesTest(CliTest):
    def read(self, options, *more):
        self.write("o.json", json.dumps(options))
        return self.succeed("read", "a.csv", "--options", "o.json", "--json", *more).json["layer"]

    def test_values_keep_their_json_types(self):
        self.write("a.csv", "n,x,y\n1,2,3\n")
        layer = self.read({"FIRST_LINE_COLUMN_NAMES": True, "X_COLUMN": 1, "Y_COLUMN": "2"})
        self.assertEqual([feature["geometry"] for feature in layer["features"]], [[2, 3]])

    def test_a_text_for_the_header_flag_stays_a_text(self):
        self.write("a.csv", "n,m\n1,2\n")
        self.assertEqual(len(self.read({"FIRST_LINE_COLUMN_NAMES": "true"})["features"]), 2)
        self.assertEqual(len(self.read({"FIRST_LINE_COLUMN_NAMES": "1"})["features"]), 1)

    def test_lists_of_texts_and_empty_lists_are_taken(self):
        self.write("a.csv", "#c\n1\n")
        layer = self.read({"ASCII_HEADER_IDENTIFIER": [], "COLUMN_DEFINITION": ["0,A,5,0,0"]})
        self.assertEqual(layer["schema"][0]["name"], "A")

    def test_an_option_on_the_command_line_outranks_the_file(self):
        self.write("a.csv", "1,2\n3,4\n")
        self.assertEqual(len(self.read({"MAX_RECORDS": 1}, "-o", "MAX_RECORDS=2")["features"]), 2)

    def test_what_is_no_object_of_options_is_refused(self):
        self.write("a.csv", "1,2\n")
        wrong_type = "the option {} needs a value of the type {}, not {}."
        cases = (
            ("[]", "it must hold one object of options."),
            ("3", "it must hold one object of options."),
            ("null", "it must hold one object of options."),
            ("", "it is no JSON, or holds a number out of range, at byte 1."),
            ('{"X_COLUMN":1', "it is no JSON, or holds a number out of range, at byte 14."),
            ("[" * 100000, "it must hold one object of options."),
            ('{"X_COLUMN":null}', wrong_type.format("X_COLUMN", "integer", "null")),
            ('{"X_COLUMN":{}}', wrong_type.format("X_COLUMN", "integer", "an object")),
            ('{"X_COLUMN":[1]}', wrong_type.format("X_COLUMN", "integer", "a list")),
            ('{"FIELD_LENGTH":5}', wrong_type.format("FIELD_LENGTH", "list of integers", "one value")),
            ('{"FIELD_LENGTH":[5,"6"]}',
             wrong_type.format("FIELD_LENGTH", "list of integers", "a list of texts and integers mixed")),
            ('{"FIELD_LENGTH":["6"]}',
             wrong_type.format("FIELD_LENGTH", "list of integers", "a list of texts")),
            ('{"FIELD_LENGTH":[1.5]}',
             wrong_type.format("FIELD_LENGTH", "list of integers", "a list of other values")),
            ('{"FIELD_LENGTH":[[1]]}',
             wrong_type.format("FIELD_LENGTH", "list of integers", "a list in a list")),
            ('{"FIELD_LENGTH":[4294967296]}',
             wrong_type.format("FIELD_LENGTH", "list of integers", "a list with an integer beyond 32 bits")),
            ('{"X_COLUMN":9223372036854775808}',
             wrong_type.format("X_COLUMN", "integer", "an integer beyond 64 bits")),
            ('{"X_COLUMN":-99999999999999999999}',
             wrong_type.format("X_COLUMN", "integer", "an integer beyond 64 bits")),
            ('{"X_COLUMN":1,"X_COLUMN":2}', "the option X_COLUMN stands in it twice."),
        )
        for content, reason in cases:
            with self.subTest(content=content[:40]):
                self.write("o.json", content)
                result = self.run_orvane("read", "a.csv", "--options", "o.json")
                self.assertEqual((result.status, result.out), (2, ""))
                self.assertEqual(
                    result.err, "orvane: The option file <o.json> is not valid: " + reason + "\n"
                )

    def test_a_file_that_can_not_be_read_is_named(self):
        self.assert_failure(
            self.run_orvane("read", "a.csv", "--options", "none.json"),
            2,
            "orvane: The option file <none.json> cannot be read: No such file or directory.",
        )
        self.assert_failure(
            self.run_orvane("read", "a.csv", "--options", "."),
            2,
            "orvane: The option file <.> cannot be read: Is a directory.",
        )
        self.write("big.json", b" " * (16 * 1024 * 1024 + 1))
        self.assert_failure(
            self.run_orvane("read", "a.csv", "--options", "big.json"),
            2,
            "orvane: The option file <big.json> cannot be read: it is larger than 16 MiB.",
        )


class ReadTest(CliTest):
    OPTIONS = ("-o", "FIRST_LINE_COLUMN_NAMES=true", "-o", "X_COLUMN=0", "-o", "Y_COLUMN=1")

    def test_shows_the_layer(self):
        self.write("stations.csv", STATIONS)
        self.assertEqual(
            self.succeed("read", "stations.csv", *self.OPTIONS).out,
            "Layer:     stations\n"
            "Records:   3 read\n"
            "Features:  3, 2 with a point, 1 without\n"
            "Extent:    X -0.1 to 10.5, Y 47.25 to 51.5\n"
            "Schema:    3 columns\n"
            "  1  height  integer\n"
            "  2  name    text\n"
            "  3  count   integer\n"
            "First features:\n"
            "  1  (10.5, 47.25)  height=1200  name=Berg, oben  count=3\n"
            "  2  (-0.1, 51.5)  height=11  name=Themse  count=12\n"
            "  3  no geometry  height=5  name=leer  count=7\n",
        )

    def test_prints_the_layer_as_one_json_object_in_the_order_of_its_keys(self):
        self.write("s.csv", "lon,lat,h,n\n10.5,47.25,1200,a\n7,,3,b\n")
        result = self.succeed("read", "s.csv", *self.OPTIONS, "-o", "Z_COLUMN=2", "--json")
        self.assertEqual(
            result.out,
            '{"ok":true,"layer":{"name":"s","schema":['
            '{"name":"n","type":11,"length":0,"precision":0}],"features":['
            '{"name":"1","geometry":[10.5,47.25,1200],"attributes":[["n",11,"a"]]},'
            '{"name":"2","geometry":null,"attributes":[["n",11,"b"]]}]},'
            '"records_read":2,"failure_flag":0,"status":0}\n',
        )

    def test_the_limit_sets_the_failure_flag(self):
        self.write("s.csv", STATIONS)
        result = self.succeed("read", "s.csv", *self.OPTIONS, "-o", "MAX_RECORDS=2", "--json").json
        self.assertEqual(len(result["layer"]["features"]), 2)
        self.assertEqual((result["failure_flag"], result["status"]), (1, 0))

    def test_names_with_line_breaks_and_links_are_read(self):
        self.write("a\nb\x1b.csv", "1,2\n")
        self.assertEqual(self.succeed("read", "a\nb\x1b.csv", "--json").json["layer"]["name"], "a\nb\x1b")
        self.assertIn("Layer:     a\\x0Ab\\x1B\n", self.succeed("read", "a\nb\x1b.csv").out)
        os.symlink("a\nb\x1b.csv", self.path("link.csv"))
        self.assertEqual(self.succeed("read", "link.csv", "--json").json["layer"]["name"], "link")

    def test_control_characters_of_data_do_not_reach_the_output(self):
        self.write("a.csv", b"\x1b[31mred,\x9b5m\x7f\n")
        for arguments in ((), ("--json",)):
            out = self.succeed("read", "a.csv", *arguments).out
            self.assertFalse(any(ord(c) < 0x20 and c != "\n" or 0x7F <= ord(c) < 0xA0 for c in out))
        values = self.succeed("read", "a.csv", "--json").json["layer"]["features"][0]["attributes"]
        self.assertEqual([value[2] for value in values], ["\x1b[31mred", "\x9b5m\x7f"])

    def test_numbers_do_not_depend_on_the_locale(self):
        self.write("a.csv", "a,1.5\nb,2.5\n")
        subprocess.run(
            ["localedef", "-i", "de_DE", "-f", "UTF-8", self.path("de_DE.UTF-8")],
            check=True, capture_output=True, timeout=120)
        environment = dict(os.environ, LOCPATH=self.folder, LC_ALL="de_DE.UTF-8")
        shown = subprocess.run(
            ["locale", "decimal_point"], env=environment, capture_output=True, check=True)
        self.assertEqual(shown.stdout, b",\n")
        result = self.run_orvane("read", "a.csv", "--json", env=environment)
        self.assertEqual(result.json["layer"]["features"][0]["attributes"][1], ["C2", 9, 1.5])


class ReadFailuresTest(CliTest):
    def assert_both(self, name, status, line, failure, *arguments):
        """The line on standard error, and the object with --json."""
        line = "orvane: " + line
        self.assert_failure(self.run_orvane("read", name, *arguments), status, line)
        result = self.run_orvane("read", name, "--json", *arguments)
        self.assertEqual((result.status, result.err), (status, line + "\n"))
        self.assertEqual(texts_of(result.json), dict(ok=False, **failure))
        self.assertEqual(result.json["file"], name)
        self.assertIn(result.json["what"], line)
        self.assertIn(result.json["cause"], line)
        self.assertIn(result.json["advice"], line)
        self.assertEqual(result.out.count("\n"), 1)

    def test_a_missing_file(self):
        self.assert_both(
            "none.csv",
            1,
            "none.csv: There is no such file. Check its name and its folder.",
            {
                "exception": "BFileNotFoundException",
                "location": "BAsciiFile::Open",
                "message": os.path.realpath(self.folder) + "/none.csv",
                "details": "",
            },
        )

    def test_an_empty_file(self):
        self.write("empty.csv", "")
        path = os.path.realpath(self.folder) + "/empty.csv"
        self.assert_both(
            "empty.csv",
            1,
            "empty.csv: The file is empty.",
            {
                "exception": "BException",
                "location": "AsciiFile::Open",
                "message": f"Could not open a stream for <{path}> for reading.",
                "details": "",
            },
        )

    def test_a_folder_and_a_file_that_can_not_be_opened(self):
        os.mkdir(self.path("folder.csv"))
        server = socket.socket(socket.AF_UNIX)
        self.addCleanup(server.close)
        server.bind(self.path("socket.csv"))
        for name, line in (
                ("folder.csv", "This is a folder, not a file. Name a file in it."),
                ("socket.csv", "This is a pipe, a socket or a device, not a file. "
                               "Write its data to a file first.")):
            path = os.path.realpath(self.folder) + "/" + name
            self.assert_both(
                name,
                1,
                f"{name}: {line}",
                {
                    "exception": "BException",
                    "location": "AsciiFile::Open",
                    "message": f"Could not open the file <{path}> for reading.",
                    "details": "",
                },
            )

    def test_texts_that_a_site_gives_swapped_stay_swapped(self):
        self.write("a.dat", "1,2\n")
        self.assert_both(
            "a.dat",
            1,
            "a.dat: Neither the options nor the extension of the file say how fields are separated. "
            "Give the separator as an option. For example: -o 'ASCII_SEPARATOR=;'.",
            {
                "exception": "BException",
                "location": "Separator could not be determined automatically.",
                "message": "BAsciiReader::Read",
                "details": "",
            },
        )

    def test_a_row_that_fails_carries_its_details(self):
        self.write("a.csv", "x,y,a\n1,2,3\n1,2,3,4\n")
        self.assert_both(
            "a.csv",
            1,
            "a.csv:3:4: A row has more fields than the file has columns. It has 4 fields; 3 are "
            "expected. Quote the field that holds a separator, or correct the row. "
            "The row: '1,2,3,4'.",
            {
                "exception": "BException",
                "location": "AsciiFile::BuildLayer",
                "message": "Failed to parse feature # 1.",
                "details": "The following line may be formatted wrong.\n\t<1,2,3,4>.",
            },
            "-o",
            "FIRST_LINE_COLUMN_NAMES=1",
        )

    def test_a_standard_exception_has_its_own_name(self):
        self.write("a.csv", "1,2\n3,4\n")
        result = self.run_orvane("read", "a.csv", "--json", "-o", "NAME_COLUMN=1", "-o",
                                 "COLUMN_DEFINITION=0,A,5,0,0")
        self.assertEqual(result.status, 1)
        self.assertEqual(
            texts_of(result.json),
            {
                "ok": False,
                "exception": "std::out_of_range",
                "location": "",
                "message": "invalid vector subscript",
                "details": "",
            },
        )
        self.assertEqual(
            result.err,
            "orvane: a.csv: An option points outside of a row. Check that COLUMN_DEFINITION and "
            "NAME_COLUMN fit the columns of the file.\n",
        )

    def test_a_name_that_is_no_utf8(self):
        with open(os.fsencode(self.folder) + b"/\xff.csv", "wb") as file:
            file.write(b"1,2\n")
        result = self.run_orvane("read", b"\xff.csv")
        self.assert_failure(
            result, 1, "orvane: \\xFF.csv: The file name <\\xFF.csv> is not valid UTF-8."
        )


class PreviewTest(CliTest):
    def test_shows_the_first_two_rows_by_column(self):
        self.write("s.csv", STATIONS)
        self.assertEqual(
            self.succeed("preview", "s.csv").out,
            "COLUMN  FIRST ROW  SECOND ROW\n"
            "0       lon        10.5\n"
            "1       lat        47.25\n"
            "2       height     1200\n"
            "3       name       Berg, oben\n"
            "4       count      3\n"
            "5 columns; the first row holds column names\n",
        )

    def test_prints_the_answer_as_json(self):
        self.write("s.csv", "a,b\nc,d\n")
        self.assertEqual(
            self.succeed("preview", "s.csv", "--json").out,
            '{"ok":true,"preview":{"0":["a","c"],"1":["b","d"],'
            '"FIRST_LINE_COLUMN_NAMES":"0","NUM_COLUMNS":2}}\n',
        )

    def test_rows_of_different_lengths_fail(self):
        self.write("s.csv", "a,b\nc\n")
        result = self.run_orvane("preview", "s.csv", "--json")
        self.assertEqual(result.status, 1)
        self.assertEqual(
            texts_of(result.json),
            {
                "ok": False,
                "exception": "BFileContentNotValidException",
                "location": "AsciiFile::ReadPreview",
                "message": "The number of records on first and second line differs.",
                "details": "",
            },
        )


class PluginsTest(CliTest):
    def setUp(self):
        super().setUp()
        self.write("a.csv", "1,2\n")

    def test_a_plug_in_by_path_is_used(self):
        result = self.succeed("read", "a.csv", "--plugin", FAKE, "--json")
        self.assertEqual(result.json["layer"]["name"], "fake")

    def test_a_missing_plug_in(self):
        self.assert_failure(
            self.run_orvane("read", "a.csv", "--plugin", "none.so"),
            1,
            "orvane: The plug-in <none.so> was not found. Name the module with --plugin.",
        )

    def test_no_plug_in_beside_the_program_and_its_libraries(self):
        for path in [PROGRAM, *glob.glob(os.path.dirname(PROGRAM) + "/liborvane*.so.*")]:
            shutil.copy(path, self.folder)
        environment = dict(os.environ, LD_LIBRARY_PATH=self.folder)
        completed = subprocess.run(
            [self.path("orvane"), "read", "a.csv", "--json"],
            cwd=self.folder, capture_output=True, env=environment, text=True, timeout=60)
        self.assertEqual(completed.returncode, 1)
        self.assertRegex(
            completed.stderr,
            r"^orvane: The plug-in <[^\n]*/AsciiReader.so> was not found. "
            r"Nor is it at <[^\n]*/orvane/AsciiReader.so>. Name the module with --plugin.\n$")
        self.assertFalse(json.loads(completed.stdout)["ok"])

    def test_files_that_are_no_plug_in(self):
        self.assert_failure(
            self.run_orvane("read", "a.csv", "--plugin", NO_PLUGIN),
            1,
            f"orvane: The library <{NO_PLUGIN}> is no plug-in. "
            "It has no function GetDataMgrProxy.",
        )
        self.assert_failure(
            self.run_orvane("read", "a.csv", "--plugin", FAKE_WITHOUT_PROXY),
            1,
            f"orvane: The library <{FAKE_WITHOUT_PROXY}> is no plug-in. "
            "Its function GetDataMgrProxy gave nothing.",
        )
        result = self.run_orvane("read", "a.csv", "--plugin", "a.csv")
        self.assertEqual(result.status, 1)
        self.assertRegex(
            result.err,
            r"^orvane: The plug-in <[^\n]*a\.csv> could not be loaded\. [^\n]+\n$",
        )
        self.assert_failure(
            self.run_orvane("read", "a.csv", "--plugin", "."),
            1,
            "orvane: The plug-in <.> could not be loaded. It is not a file.",
        )

    def test_a_type_that_the_plug_in_does_not_read(self):
        self.write("a.SSV", "1\n")
        self.assert_failure(
            self.run_orvane("read", "a.SSV", "--plugin", FAKE),
            1,
            "orvane: a.SSV: The plug-in cannot read data of the type <DS_SSV>.",
        )

    def install(self, **modules):
        """Copies of program and libraries, with modules in their plug-in folder; NAME=file."""
        for folder in ("bin", "lib/orvane"):
            os.makedirs(self.path("place/" + folder), exist_ok=True)
        shutil.copy(PROGRAM, self.path("place/bin/orvane"))
        for path in glob.glob(os.path.dirname(PROGRAM) + "/liborvane*.so.*"):
            shutil.copy(path, self.path("place/lib"))
        for name, path in modules.items():
            shutil.copy(path, self.path(f"place/lib/orvane/{name}.so"))

    def run_installed(self, *arguments):
        environment = dict(os.environ, LD_LIBRARY_PATH=self.path("place/lib"))
        return subprocess.run(
            [self.path("place/bin/orvane"), *arguments], cwd=self.folder, capture_output=True,
            env=environment, text=True, timeout=60, check=False)

    def read_installed(self, name):
        """The layer's name, "fake" for the fake plug-in's."""
        completed = self.run_installed("read", name, "--json")
        self.assertEqual((completed.returncode, completed.stderr), (0, ""))
        return json.loads(completed.stdout)["layer"]["name"]

    def test_the_first_module_by_name_that_reads_the_type_is_chosen(self):
        self.write("b.xyz", "1\n")
        self.write("c.txt", "1,2\n1,2\n")
        self.install(AsciiReader=BUNDLED, ZFake=FAKE)
        self.assertEqual(self.read_installed("a.csv"), "a")
        self.assertEqual(self.read_installed("b.xyz"), "fake")
        self.install(AFake=FAKE)
        self.assertEqual(self.read_installed("a.csv"), "fake")
        self.assertEqual(self.read_installed("c.txt"), "c")

    def test_delimited_text_is_read_for_a_type_that_no_module_reads(self):
        self.write("b.asc", "1,2\n")
        self.install(AsciiReader=BUNDLED)
        self.assertEqual(self.read_installed("b.asc"), "b")

    def test_other_files_of_the_plug_in_folder_are_left_alone(self):
        self.install(AsciiReader=BUNDLED)
        for name in ("libbroken.so", "notes.txt", ".so", "old.so.1"):
            self.write("place/lib/orvane/" + name, "no library")
        self.assertEqual(self.read_installed("a.csv"), "a")

    def test_a_module_that_cannot_be_loaded_is_named_and_stops_no_other(self):
        self.install(AsciiReader=BUNDLED)
        self.write("place/lib/orvane/Broken.so", "no library")
        for arguments in (("read", "a.csv"), ("preview", "a.csv"), ("import", "a.csv", "a.fgb", "--x", "0", "--y", "1", "--names", "no")):
            with self.subTest(arguments=arguments):
                completed = self.run_installed(*arguments)
                self.assertEqual(completed.returncode, 0, completed.stderr)
                self.assertRegex(
                    completed.stderr,
                    r"^orvane: note: The plug-in <[^\n]*/Broken\.so> could not be loaded: [^\n]+\n$")

    def test_a_module_that_cannot_be_loaded_ends_a_read_that_no_other_can_do(self):
        self.install()
        self.write("place/lib/orvane/Broken.so", "no library")
        completed = self.run_installed("read", "a.csv")
        self.assertEqual(completed.returncode, 1)
        self.assertRegex(
            completed.stderr,
            r"^orvane: The plug-in <[^\n]*/Broken\.so> could not be loaded\. [^\n]+\n$")

    def test_a_type_that_no_module_of_the_folder_reads(self):
        self.write("a.ssv", "1\n")
        self.install(Fake=FAKE)
        completed = self.run_installed("read", "a.ssv")
        self.assertEqual(completed.returncode, 1)
        self.assertEqual(
            completed.stderr,
            "orvane: a.ssv: The plug-in cannot read data of the type <DS_SSV>.\n")

    def test_whatever_a_plug_in_throws_is_reported(self):
        cases = (
            ("own-type", "(anonymous namespace)::ModuleError", "made in the module"),
            ("no-exception", "unknown", "An exception of an unknown type."),
        )
        for name, exception, message in cases:
            with self.subTest(name=name):
                self.write(name + ".csv", "1\n")
                result = self.run_orvane("read", name + ".csv", "--plugin", FAKE, "--json")
                self.assertEqual(
                    texts_of(result.json),
                    {"ok": False, "exception": exception, "location": "", "message": message, "details": ""},
                )
                self.assertEqual((result.status, result.err), (1, f"orvane: {name}.csv: {message.rstrip('.')}.\n"))

    def test_a_lack_of_memory_says_what_to_do(self):
        self.write("bad-alloc.csv", "1\n")
        result = self.run_orvane("read", "bad-alloc.csv", "--plugin", FAKE, "--json")
        self.assertEqual(
            texts_of(result.json),
            {"ok": False, "exception": "std::bad_alloc", "location": "", "message": "std::bad_alloc", "details": ""},
        )
        self.assertEqual(
            (result.status, result.err),
            (
                1,
                "orvane: There is not enough memory. --disk-cache keeps a layer out of "
                "memory; a line of the file must fit into it, six times over.\n",
            ),
        )

    def test_long_texts_of_a_failure_are_cut_on_its_line_only(self):
        self.write("long.csv", "a,b\n" * 6 + "1," + "ä" * 5000 + ",3\n")
        result = self.run_orvane("read", "long.csv", "--json", "-o", "CODEC=UTF-8")
        details = "The following line may be formatted wrong.\n\t<1," + "ä" * 5000 + ",3>."
        self.assertEqual(result.json["details"], details)
        shown = "1," + "ä" * 197 + "…"
        self.assertEqual(
            (result.status, result.err),
            (1, "orvane: long.csv:7:3: A row has more fields than the file has columns. It has 3 fields; 2 are "
                "expected. Quote the field that holds a separator, or correct the row. "
                f"The row: '{shown}'.\n"),
        )

    def test_verbose_shows_the_exception_underneath(self):
        result = self.run_orvane("read", "none.csv", "--verbose")
        path = os.path.realpath(self.folder) + "/none.csv"
        self.assertEqual(
            (result.status, result.err),
            (1, "orvane: none.csv: There is no such file. Check its name and its folder.\n"
                f"  BFileNotFoundException at BAsciiFile::Open: {path}\n"))

    def test_an_open_quote_is_named_by_its_line_and_field(self):
        self.write("quote.csv", "lon,lat,n\n1,2,\"x\n3,4,y\n")
        self.assert_failure(
            self.run_orvane("read", "quote.csv"), 1,
            "orvane: quote.csv:2:3: The file has a quote that is never closed. Close the quote, or "
            "double it where it is part of the text. The row: '1,2,\"x'.")

    def test_a_question_prints_a_command_that_works_as_printed(self):
        for name in ("a b.csv", "it's.csv", "-dash.csv", "new\nline.csv", "ä$HOME.csv"):
            with self.subTest(name=name):
                self.write(name, "p,q\n1.5,2.5\n")
                words = ["import", "-o", "MAX_RECORDS=1", "--", name, "out.gpkg"]
                result = self.run_orvane(*words)
                self.assertEqual((result.status, result.out), (2, ""))
                command = without_rules(result.err).split("\n")[1].strip()
                environment = dict(os.environ, PATH=os.path.dirname(PROGRAM) + ":" + os.environ["PATH"])
                done = subprocess.run(["bash", "-c", command], cwd=self.folder, env=environment,
                                      capture_output=True, timeout=60)
                self.assertEqual(done.returncode, 0, done.stderr)

    def test_a_file_of_one_column_is_not_asked_for_two(self):
        self.write("one.csv", "v\n1;2\n")
        result = self.run_orvane("import", "one.csv", "-o", "MAX_RECORDS=1")
        self.assertEqual(result.status, 2)
        self.assertIn("The file has one column, and X and Y need two.", result.err)
        self.assertNotIn("--y", result.err)

    def test_a_separator_is_proposed_only_where_it_cuts_the_column(self):
        for content, option in (("v\n1\n", None), ("x;y\n1;2\n", "';'"), ("x|y\n1|2\n", "'|'"),
                                ("x\ty\n1\t2\n", "'\\t'")):
            with self.subTest(content=content):
                self.write("one.csv", content)
                result = self.run_orvane("import", "one.csv", "-o", "MAX_RECORDS=1")
                if option is None:
                    self.assertNotIn("orvane import", result.err)
                    self.assertIn("-o ASCII_SEPARATOR=TEXT says which.\n", result.err)
                    continue
                command = without_rules(result.err).split("\n")[1].split()
                self.assertEqual(command, ["orvane", "import", "-o", "'ASCII_SEPARATOR=" + option[1:], "one.csv",
                                           "-o", "MAX_RECORDS=1"])
                again = self.run_orvane(*shlex.split(" ".join(command))[1:])
                self.assertEqual((again.status, again.err), (0, READER_RULES))
                # Who has given a separator is not asked for the same one.
                self.assertNotIn("orvane import", self.run_orvane(
                    "import", "one.csv", "-o", "ASCII_SEPARATOR=#").err)

    def test_a_file_with_nul_characters_is_told_from_text(self):
        self.write("nul.csv", bytes(64))
        self.assertIn(" It holds NUL characters:", self.run_orvane("import", "nul.csv", "-o", "MAX_RECORDS=9").err)

    def test_a_wrong_column_or_encoding_names_the_one_like_it(self):
        self.write("a.csv", "lon,lat,lat,n\n1,2,3,4\n")
        self.assertTrue(self.run_orvane("import", "a.csv", "--x", "lonn", "--y", "1").err.startswith(
            "orvane: There is no column --x 'lonn'; did you mean lon? "))
        self.assertTrue(self.run_orvane("import", "a.csv", "--x", "0", "--y", "latt").err.startswith(
            "orvane: There is no column --y 'latt'; did you mean lat? "))
        for given, near in (("windows-125", "windows-1250"), ("utf8x", "UTF-8"), ("qqqq", "UTF-8")):
            result = self.run_orvane("read", "a.csv", "-o", "CODEC=" + given)
            self.assertIn(f" For example: -o CODEC={near}.\n", result.err)
            self.assertEqual(self.run_orvane("read", "a.csv", "-o", "CODEC=" + near).status, 0)

    def test_the_line_of_a_failure_is_one_line_without_control_characters(self):
        self.write("swapped.csv", "1\n")
        self.assert_failure(
            self.run_orvane("read", "swapped.csv", "--plugin", FAKE),
            1,
            "orvane: swapped.csv: the message\\x0A\\x1B[0m. the\\x09details.",
        )


class MarksTest(CliTest):
    """The example of a plug-in, driven by the program."""

    def setUp(self):
        super().setUp()
        self.marks = os.environ["ORVANE_MARKS"]
        self.file = os.path.join(os.environ["ORVANE_SOURCE_DIR"], "examples/plugin/data/harbour.marks")

    def test_read(self):
        layer = self.succeed("read", self.file, "--plugin", self.marks, "--json").json["layer"]
        self.assertEqual(layer["name"], "marks")
        self.assertEqual([feature["name"] for feature in layer["features"]], ["Q1", "Q2", "N17", "St-Katharinen"])
        self.assertEqual(layer["features"][2]["geometry"], [564980.5, 5933710.125, 11.5])
        self.assertEqual(layer["features"][2]["attributes"], [["class", 5, 3]])

    def test_preview(self):
        result = self.succeed("preview", self.file, "--plugin", self.marks)
        self.assertIn("1       easting    565100.25\n", result.out)
        self.assertIn("5 columns; the first row holds column names\n", result.out)

    def test_import_finds_the_coordinates_by_their_names(self):
        self.succeed("import", self.file, "out.csv", "--plugin", self.marks)
        with open(self.path("out.csv"), encoding="utf-8") as file:
            lines = file.read().splitlines()
        self.assertEqual(len(lines), 5)

    def test_a_failure_names_the_line(self):
        self.write("a.marks", "marks -\nn x y z c\nA 1 2 3\n")
        self.assert_failure(
            self.run_orvane("read", "a.marks", "--plugin", self.marks),
            1,
            "orvane: a.marks: Line 3 does not hold the five fields of a mark.")

    def test_an_interrupt_ends_a_read(self):
        self.write("a.marks", b"marks -\nn x y z c\n" + b"A 1 2 3 4\n" * 3000000)
        running = subprocess.Popen(
            [PROGRAM, "import", "a.marks", "a.fgb", "--plugin", self.marks], cwd=self.folder,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        time.sleep(0.3)
        running.send_signal(signal.SIGINT)
        running.communicate(timeout=60)
        self.assertNotEqual(running.returncode, 0)
        self.assert_folder("a.marks")


class ImportTest(CliTest):
    def assert_same_values(self, name, read):
        """A file's content is the layer that `read --json` printed, value by value."""
        dump = self.dump(name)
        layer = read["layer"]
        kinds = {
            0: ("String", "None"), 5: ("Integer", "None"), 7: ("Integer64", "None"),
            9: ("Real", "None"), 10: ("Real", "Float32"), 11: ("String", "None"),
            12: ("String", "None"), 13: ("Integer", "Boolean"),
        }
        self.assertEqual(
            [tuple(field) for field in dump["fields"]],
            [(column["name"], *kinds[column["type"]]) for column in layer["schema"]],
        )
        self.assertEqual(len(dump["features"]), len(layer["features"]))
        for feature, (geometry, values) in zip(layer["features"], dump["features"]):
            self.assertEqual(geometry, feature["geometry"])
            expected = []
            for column, (_, _, value) in zip(layer["schema"], feature["attributes"]):
                expected.append(int(value) if column["type"] == 7 else value)
            expected += [None] * (len(layer["schema"]) - len(expected))
            self.assertEqual(values, expected)

    def test_the_bundled_file_arrives_value_by_value(self):
        result = self.succeed("import", EARTHQUAKES, "out.gpkg", "--crs", "EPSG:4326", "-o", "MAX_RECORDS=100000")
        self.assertRegex(
            result.out,
            r"^Layer:    earthquakes\n"
            r"Columns:  X from column 2 'longitude', Y from column 1 'latitude'; names from the first line\n"
            r"Rows:     1197 read \(1197 lines\)\n"
            r"Points:   1197\n"
            r"No point: 0 rows\n"
            r"Extent:   X -179\.9953 to 179\.9129, Y -60\.6819 to 72\.6309\n"
            r"Schema:   20 columns\n"
            r"   1  time             text(, length \d+)?\n(?:.+\n){19}"
            r"Time:     \d+\.\d{3} s, \d+\.\d MB/s \(reading \d+\.\d{3} s, \d+\.\d MB/s; writing \d+\.\d{3} s\)\n"
            r"Written:  out\.gpkg \(GPKG\)\n$",
        )
        read = self.succeed(
            "read", EARTHQUAKES, "--json", "-o", "FIRST_LINE_COLUMN_NAMES=true",
            "-o", "X_COLUMN=2", "-o", "Y_COLUMN=1").json
        self.assert_same_values("out.gpkg", read)
        dump = self.dump("out.gpkg")
        self.assertEqual(
            (dump["driver"], dump["layer"], dump["geometry"], dump["crs"]),
            ("GPKG", "earthquakes", "Point", "EPSG:4326"),
        )
        self.assert_folder("out.gpkg")

    def test_heights_64_bit_integers_and_booleans_arrive(self):
        self.write(
            "s.csv",
            "lon,lat,h,id,ok,v\n0.30000000000000004,2,3.5,3000000000,true,1.25\n"
            "4,5,,-9223372036854775808,no,2.5\n6,7,8,5e9,YES,-0.1\n")
        options = ("-o", "FIRST_LINE_COLUMN_NAMES=true", "-o", "X_COLUMN=0", "-o", "Y_COLUMN=1",
                   "-o", "Z_COLUMN=2")
        read = self.succeed("read", "s.csv", "--json", *options).json
        self.succeed("import", "s.csv", "--z", "h", "-o", "MAX_RECORDS=9")
        self.assert_folder("s.csv", "s.gpkg")
        dump = self.dump("s.gpkg")
        self.assertEqual(dump["geometry"], "3D Point")
        self.assertEqual(dump["crs"], None)
        self.assertEqual([column["type"] for column in read["layer"]["schema"]], [7, 13, 9])
        self.assertEqual(
            dump["features"],
            [
                [[0.30000000000000004, 2, 3.5], [3000000000, 1, 1.25]],
                [None, [-9223372036854775808, 0, 2.5]],
                [[6, 7, 8], [5000000000, 1, -0.1]],
            ],
        )

    def test_the_options_types_and_limit_hold(self):
        self.write("s.csv", STATIONS)
        result = self.succeed("import", "s.csv", "-o", "MAX_RECORDS=2", "-o", "NAME_COLUMN=4")
        self.assertIn("Rows:     2 read (2 lines), stopped at MAX_RECORDS\n", result.out)
        self.assertEqual(len(self.dump("s.gpkg")["features"]), 2)

    def test_many_rows_cross_pages_and_transactions(self):
        rows = 140000
        self.write("m.csv", "x,y,n\n" + "".join(f"{i},{i % 90}.5,{i}\n" for i in range(rows)))
        self.succeed("import", "m.csv")
        features = self.dump("m.gpkg")["features"]
        self.assertEqual(len(features), rows)
        for index in (0, 65535, 65536, 131071, 131072, rows - 1):
            self.assertEqual(features[index], [[index, index % 90 + 0.5], [index]])

    def test_an_output_is_replaced_through_a_link_only_by_a_whole_one(self):
        self.write("s.csv", STATIONS)
        self.write("old.gpkg", "an old file")
        os.symlink("old.gpkg", self.path("link.gpkg"))
        self.succeed("import", "s.csv", "link.gpkg")
        self.assertTrue(os.path.islink(self.path("link.gpkg")))
        self.assertEqual(len(self.dump("old.gpkg")["features"]), 3)
        self.assert_folder("s.csv", "old.gpkg", "link.gpkg")


class DiskCacheTest(CliTest):
    """Layers that keep their pages in a file: --disk-cache and what switches it on by itself."""

    ROWS = 40000  # more than two pages

    def setUp(self):
        super().setUp()
        os.mkdir(self.path("cache"))

    def write_rows(self, name, count):
        texts = ("", "plain", "\u00e9t\u00e9", '"a ""quoted"" one, with a comma"', "\u20ac \U0001f600")
        lines = ["x,y,z,name,count,flag\n"]
        for row in range(count):
            z = "" if row % 7 == 0 else str(row / 8)
            x = "" if row % 11 == 0 else str(row / 1000)
            flag = "true" if row % 3 else "false"
            lines.append(f"{x},{row / -700},{z},{texts[row % 5]},{row * 3},{flag}\n")
        return self.write(name, "".join(lines))

    def assert_cache_empty(self):
        self.assertEqual(os.listdir(self.path("cache")), [])

    def test_the_output_is_that_of_a_layer_in_memory(self):
        self.write_rows("rows.csv", self.ROWS)
        arguments = ("--z", "z", "-o", "CODEC=UTF-8")
        for extension in ("csv", "geojsonl", "fgb", "shp"):
            with self.subTest(extension=extension):
                disk = self.run_orvane(
                    "import", "rows.csv", "disk." + extension, "--disk-cache=cache", *arguments)
                memory = self.run_orvane(
                    "import", "rows.csv", "memory." + extension, "--no-disk-cache", *arguments)
                self.assertEqual((disk.status, memory.status), (0, 0), disk.err + memory.err)
                self.assertEqual(disk.err, memory.err)
                self.assertEqual(self.content("disk." + extension),
                                 self.content("memory." + extension))
        self.succeed("import", "rows.csv", "disk.gpkg", "--disk-cache=cache", *arguments)
        self.succeed("import", "rows.csv", "memory.gpkg", *arguments)
        self.assertEqual(self.dump("disk.gpkg"), self.dump("memory.gpkg"))
        self.assert_cache_empty()

    def test_reads_the_same_layer(self):
        self.write_rows("rows.csv", self.ROWS)
        options = ("-o", "X_COLUMN=0", "-o", "Y_COLUMN=1", "-o", "FIRST_LINE_COLUMN_NAMES=true")
        for form in ((), ("--json",)):
            disk = self.succeed("read", "rows.csv", *options, "--disk-cache=cache", *form)
            self.assertEqual(disk.out, self.succeed("read", "rows.csv", *options, *form).out)
        self.assert_cache_empty()

    def test_takes_no_word_behind_it_for_the_folder(self):
        self.write("s.csv", STATIONS)
        self.succeed("import", "--disk-cache", "s.csv", "out.csv")
        self.assert_folder("cache", "out.csv", "s.csv")

    def test_a_folder_that_can_not_be_used_is_told_before_anything_is_read(self):
        self.write("file", "")
        line = "orvane: The disk cache cannot be kept in <{}>. {} Another folder: --disk-cache=DIR."
        cases = (
            ("--disk-cache=missing", "missing", "The folder does not exist."),
            ("--disk-cache=file", "file", "It is no folder."),
            ("--disk-cache", "gone", "The folder does not exist."),
        )
        environment = dict(os.environ, TMPDIR="gone")
        for command in ("read", "import"):
            for argument, name, reason in cases:
                with self.subTest(command=command, argument=argument):
                    # The input does not exist either; that is not come to.
                    result = self.run_orvane(
                        command, "missing.csv", argument, env=environment)
                    self.assert_failure(result, 1, line.format(name, reason))
        self.assert_folder("cache", "file")

    def test_wrong_usage_is_status_2(self):
        self.write("s.csv", STATIONS)
        for arguments in (["import", "s.csv", "--disk-cache", "--no-disk-cache"],
                          ["import", "s.csv", "--no-disk-cache=cache2"],
                          ["read", "s.csv", "--no-disk-cache"],
                          ["preview", "s.csv", "--disk-cache"]):
            with self.subTest(arguments=arguments):
                result = self.run_orvane(*arguments)
                self.assertEqual((result.status, result.out), (2, ""))
        self.assert_folder("cache", "s.csv")

    def test_a_full_disk_is_one_line_and_leaves_nothing(self):
        self.write_rows("rows.csv", self.ROWS)
        self.write("out.csv", "old")

        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (300000, 300000))

        for command in (["import", "rows.csv", "out.csv"], ["read", "rows.csv", "-o", "X_COLUMN=0",
                                                            "-o", "Y_COLUMN=1", "-o",
                                                            "FIRST_LINE_COLUMN_NAMES=true"]):
            with self.subTest(command=command):
                result = self.run_orvane(*command, "--disk-cache=cache", preexec_fn=limit)
                self.assertEqual((result.status, result.out), (1, ""))
                self.assertRegex(
                    result.err,
                    r"^orvane: rows\.csv: The file of the disk cache cannot be written\. "
                    + re.escape(self.path("cache/orvane-layer.")) + r"\w{6}: File too large\. "
                    r"Make room on its disk, or name a folder on another one\.\n$")
                self.assert_cache_empty()
        self.assertEqual(self.content("out.csv"), b"old")
        self.assert_folder("cache", "out.csv", "rows.csv")

    def test_a_folder_that_goes_while_reading_is_told(self):
        self.write("million-loses-folder.csv", "1\n")
        result = self.run_orvane(
            "import", "million-loses-folder.csv", "out.csv", "--disk-cache=cache", "--plugin", FAKE)
        result.err = without_rules(result.err)
        self.assert_failure(
            result, 1,
            "orvane: million-loses-folder.csv: The file for the disk cache cannot be made. "
            + self.path("cache/orvane-layer") + ": No such file or directory.")
        self.assert_folder("million-loses-folder.csv")

    def test_a_signal_while_reading_leaves_nothing(self):
        self.write("endless-million.csv", "1\n")
        process = subprocess.Popen(
            [PROGRAM, "import", "endless-million.csv", "out.csv", "--disk-cache=cache",
             "--plugin", FAKE],
            cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            stdin=subprocess.DEVNULL, text=True,
            env=dict(os.environ, ORVANE_FAKE_MARK=self.path("mark")))
        self.addCleanup(process.kill)
        deadline = time.monotonic() + 120
        while not os.path.exists(self.path("mark")):
            self.assertIsNone(process.poll(), "the program ended too early")
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.001)
        # Its pages are on the disk by now, under no name.
        self.assert_cache_empty()
        opened = []
        for name in glob.glob(f"/proc/{process.pid}/fd/*"):
            # The program goes on, and closes files, while it is looked at.
            with contextlib.suppress(FileNotFoundError):
                opened.append(os.readlink(name))
        self.assertTrue(any(name.startswith(self.path("cache")) for name in opened), opened)
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=120)
        self.assertEqual((process.returncode, out, without_rules(err)), (1, "", SignalsTest.LINE))
        self.assert_cache_empty()
        self.assert_folder("cache", "endless-million.csv", "mark")

    def test_goes_to_disk_by_itself_when_memory_is_short_and_says_so(self):
        # Rows of empty whole numbers: a byte of the file takes four in memory, as is estimated, so
        # that the layer in memory fits in all of it, and in half of it not. FlatGeobuf has no bytes for empty
        # values, so that it is written quickly.
        columns = 320
        lines = ["x,y" + "".join(f",n{index}" for index in range(columns))]
        lines += ["1,2" + ",7" * columns] * 200 + ["1,2" + "," * columns] * 60000
        self.write("wide.csv", "\n".join(lines) + "\n")
        limit = self.mapped_bytes() + (146 << 20)
        needed = (r"^orvane: note: the layer may take \d+ MiB, more than half of the \d+ MiB of memory "
                  r"that are free; ")

        def run(out, folder, *arguments):
            # The address sanitizer keeps freed memory for later finds, which the limit has no room for.
            options = os.environ.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=1"
            result = self.run_orvane(
                "import", "wide.csv", out, "--x", "0", "--y", "1", *arguments,
                *(() if "-o" in arguments else ("--names", "yes", "--threads", "1")),
                env=dict(os.environ, TMPDIR=folder, ASAN_OPTIONS=options.lstrip(":")),
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))
            self.assertEqual(result.status, 0, result.err)
            return result

        cache = self.path("cache")
        self.assertRegex(
            run("disk.fgb", cache).err,
            needed + "its pages go to a file in " + re.escape(cache)
            + r" \(--no-disk-cache keeps them in memory\)\n$")
        self.assertRegex(
            run("no-folder.fgb", self.path("missing")).err,
            needed + r"there is no folder for its pages, so that they stay in memory "
            r"\(--disk-cache=DIR takes another folder\)\n$")
        # Who says what is wanted is told nothing.
        self.assertEqual(run("memory.fgb", cache, "--no-disk-cache").err, "")
        self.assertEqual(run("asked.fgb", cache, "--disk-cache").err, "")
        for name in ("no-folder.fgb", "memory.fgb", "asked.fgb"):
            self.assertEqual(self.content(name), self.content("disk.fgb"))
        self.assert_cache_empty()
        # MAX_RECORDS makes the layer small.
        self.assertEqual(run("few.fgb", cache, "-o", "MAX_RECORDS=1000").err, READER_RULES)


class ThreadsTest(CliTest):
    def test_the_number_of_threads_changes_no_byte(self):
        lines = ["x,y,name"] + [f'{row}.25,-{row}.5,"n\u00e4me, {row}"' for row in range(60000)]
        self.write("rows.csv", "\n".join(lines) + "\n")
        options = ("-o", "X_COLUMN=0", "-o", "Y_COLUMN=1", "-o", "CODEC=UTF-8",
                   "-o", "FIRST_LINE_COLUMN_NAMES=true")
        expected = self.run_orvane("read", "rows.csv", *options, "--threads", "1", "--json")
        self.assertEqual((expected.status, expected.err), (0, ""))
        for threads in (("--threads", "2"), ("--threads=5",), ()):
            with self.subTest(threads=threads):
                result = self.run_orvane("read", "rows.csv", *options, *threads, "--json")
                self.assertEqual((result.status, result.err), (0, ""))
                self.assertTrue(result.out == expected.out)
        self.run_orvane("import", "rows.csv", "one.csv", *options, "--threads", "1")
        self.run_orvane("import", "rows.csv", "three.csv", *options, "--threads", "3")
        with open(self.path("one.csv"), "rb") as one, open(self.path("three.csv"), "rb") as three:
            self.assertTrue(one.read() == three.read())

    def test_a_number_of_threads_is_a_whole_number_from_1_on(self):
        self.write("s.csv", STATIONS)
        for command in (("read", "s.csv"), ("import", "s.csv", "out.csv")):
            for value in ("0", "-1", "two", "1.5", "1025", "99999999999999999999"):
                with self.subTest(command=command, value=value):
                    self.assert_failure(
                        self.run_orvane(*command, f"--threads={value}"), 2,
                        "orvane: The value of --threads must be a whole number from 1 to 1024, "
                        f"not '{value}'.")
        self.assert_folder("s.csv")


class LibrariesTest(CliTest):
    """Libraries that cost time to load, and what needs them."""

    DEGREES = "lon,lat,n\n" + "".join(f"{i}.5,{i}.25,{i}\n" for i in range(20))
    METRES = "east,north,n\n" + "".join(f"{500000 + i},{5200000 + i},{i}\n" for i in range(20))

    def setUp(self):
        super().setUp()
        self.write("d.csv", self.DEGREES)
        self.write("m.csv", self.METRES)

    def loaded(self, *arguments):
        """Those of the libraries that the program has loaded."""
        environment = dict(os.environ, LD_DEBUG="files", LD_DEBUG_OUTPUT=self.path("loader"))
        result = self.run_orvane(*arguments, env=environment)
        self.assertEqual(result.status, 0)
        lines = ""
        for path in glob.glob(self.path("loader.*")):
            with open(path, encoding="utf-8", errors="replace") as file:
                lines += file.read()
            os.remove(path)
        self.assertIn("calling init:", lines)
        return set(re.findall(r"calling init: \S*/lib(orvanegdal|gdal|proj|pq|curl)\.so", lines))

    def test_what_can_be_done_without_them_loads_none(self):
        for arguments in (
            ["--version"],
            ["import", "--help"],
            ["options"],
            ["plan", "d.csv"],
            ["lint", "d.csv"],
            ["read", "d.csv", "--threads", "2"],
            ["preview", "d.csv"],
            *(["import", "d.csv", "out." + extension]
              for extension in ("gpkg", "csv", "geojson", "geojsonl", "geojsons")),
            ["import", "d.csv", "again.gpkg", "--crs", "EPSG:4326"],
            ["import", "d.csv", "out.gpkg", "--layer", "more", "--append"],
            ["import", "d.csv", "-", "--format", "csv"],
            ["import", "m.csv", "metres.gpkg"],
            ["import", "m.csv", "metres.fgb"],
        ):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.loaded(*arguments), set())

    def test_what_needs_them_loads_all(self):
        for arguments in (
            ["formats"],
            ["import", "d.csv", "out.shp"],
            ["import", "d.csv", "out.fgb"],
            ["import", "m.csv", "out.gpkg", "--crs", "EPSG:25832"],
            ["plan", "m.csv", "--rank-systems"],
        ):
            with self.subTest(arguments=arguments):
                self.assertLessEqual({"orvanegdal", "gdal", "proj"}, self.loaded(*arguments))

    def test_a_file_that_names_the_system_is_read_by_them(self):
        self.write("d.prj", 'GEOGCS["Tokyo",DATUM["Tokyo",SPHEROID["Bessel 1841",6377397.155,299.1528128]],'
                            'PRIMEM["Greenwich",0],UNIT["degree",0.0174532925199433],AUTHORITY["EPSG","4301"]]')
        self.assertIn("orvanegdal", self.loaded("plan", "d.csv"))
        self.assertEqual(
            self.succeed("plan", "d.csv", "--json").json["coordinateSystem"]["value"], "EPSG:4301")

    def test_a_file_that_names_no_system_is_told_quietly(self):
        for text in ("none", 'GEOGCS["half'):
            self.write("m.prj", text)
            result = self.succeed("plan", "m.csv")
            self.assertEqual(result.err, "")
            self.assertIn("The file m.prj names no system of EPSG.", result.out)

    def test_a_system_that_the_coordinates_cannot_have_is_not_applied(self):
        self.succeed("import", "m.csv", "m.shp", "--crs", "EPSG:25832")
        shutil.copy(self.path("m.prj"), self.path("d.prj"))
        plan = self.succeed("plan", "d.csv", "--json").json
        self.assertEqual(plan["coordinateSystem"]["value"], "EPSG:4326")
        self.assertEqual([finding["text"] for finding in plan["findings"]],
                         ["The file d.prj names EPSG:25832, a system of metres or feet, and X and Y are degrees: it "
                          "is not applied."])
        self.write("small.csv", "x,y,n\n12.5123,47.3123,1\n8.5234,47.4123,2\n8.5345,40.5123,3\n")
        shutil.copy(self.path("m.prj"), self.path("small.prj"))
        plan = self.succeed("plan", "small.csv", "--json").json
        self.assertEqual(plan["coordinateSystem"]["value"], "EPSG:25832")
        self.assertEqual(plan["coordinates"]["value"]["notation"], "Cartesian")

    def test_the_system_of_a_shapefile_is_that_of_a_table_beside_it(self):
        self.succeed("import", "m.csv", "m.shp", "--crs", "EPSG:25832")
        self.assertEqual(
            self.succeed("plan", "m.csv", "--json").json["coordinateSystem"]["value"], "EPSG:25832")


class ImportColumnsTest(CliTest):
    def columns_of(self, header, *arguments):
        count = len(header.split(","))
        self.write("c.csv", header + "\n" + ",".join(str(i + 0.5) for i in range(count)) + "\n")
        out = self.succeed("import", "c.csv", *arguments).out
        return re.sub(r" from column", " column", out)

    def test_pairs_of_names_are_found_in_any_case_and_order(self):
        cases = (
            "lon,lat", "LONG,LAT", "Lng,Lat", "longitude,latitude", "X,Y", "x_coord,y_coord",
            "Easting,Northing", "EASTINGS,NORTHINGS", "utm_x,utm_y", "decimalLongitude,decimalLatitude",
            "Point X,Point Y", "gps-lon,gps-lat", "geoLaenge,geoBreite")
        for names in cases:
            with self.subTest(names=names):
                x, y = names.split(",")
                self.assertIn(f"X column 1 '{x}', Y column 2 '{y}'",
                              self.columns_of(f"a,{x},{y}"))
                self.assertIn(f"X column 2 '{x}', Y column 0 '{y}'",
                              self.columns_of(f"{y},a,{x}"))

    def test_names_indices_and_options_choose_columns(self):
        expected = "X column 2 'c', Y column 0 'a'"
        self.assertIn(expected, self.columns_of("a,b,c", "--x", "c", "--y", "a"))
        self.assertIn(expected, self.columns_of("a,b,c", "--x", "C", "--y", "A"))
        self.assertIn(expected, self.columns_of("a,b,c", "--x", "2", "--y", "0"))
        self.assertIn(expected, self.columns_of("a,b,c", "-o", "X_COLUMN=2", "-o", "Y_COLUMN=0"))
        self.assertIn(expected, self.columns_of("a,b,c", "--x", "2", "-o", "Y_COLUMN=0"))
        self.assertIn("X column 1 'b', Y column 0 'lat'",
                      self.columns_of("lat,b,c", "--x", "b"))
        self.assertIn(", Z column 1 'b'", self.columns_of("x,b,y", "--z", "b"))

    def test_a_name_of_digits_outranks_the_index(self):
        self.assertIn("X column 0 '2', Y column 2 'c'",
                      self.columns_of("2,b,c", "--x", "2", "--y", "c"))

    def test_asks_back_when_names_do_not_tell(self):
        self.write("c.csv", "lon,lat,x,y\n1.5,2.5,3.5,\x1b[0m\n")
        result = self.run_orvane("import", "c.csv", "-o", "MAX_RECORDS=9")
        self.assertEqual(
            (result.status, result.out, without_rules(result.err)),
            (2, "",
             "orvane: Which columns hold X and Y? The names of the columns do not tell; give "
             "--x and --y, a name or an index, for example:\n"
             "  orvane import --x 0 --y 1 c.csv -o MAX_RECORDS=9\n"
             "The columns of the file, by index:\n"
             "  INDEX NAME  FIRST VALUE\n"
             "  0     lon   1.5\n"
             "  1     lat   2.5\n"
             "  2     x     3.5\n"
             "  3     y     \\x1B[0m\n"
             "The first line was read as column names.\n"))
        self.assert_folder("c.csv")

    def test_no_candidate_half_a_pair_and_two_of_one_name_ask_back(self):
        for header in ("a,b", "lon,b", "lon,northing", "lon,lon,lat", "x,lat",
                       "lat,lon,geometry.x,geometry.y", "lat,lon,utm_x,utm_y"):
            with self.subTest(header=header):
                count = len(header.split(","))
                self.write("c.csv", header + "\n" + ",".join(["1.5"] * count) + "\n")
                result = self.run_orvane("import", "c.csv", "-o", "MAX_RECORDS=9")
                self.assertEqual((result.status, result.out), (2, ""))
                self.assertTrue(without_rules(result.err).startswith("orvane: Which columns hold X and Y?"))

    def test_a_file_without_column_names_lists_numbered_columns(self):
        self.write("c.csv", "1.5,2.5\n3.5,4.5\n")
        result = self.run_orvane("import", "c.csv", "-o", "MAX_RECORDS=9")
        self.assertEqual(result.status, 2)
        self.assertIn("  0     C1    1.5\n  1     C2    2.5\nThe first line was read as data.\n",
                      result.err)
        out = self.succeed("import", "c.csv", "--x", "C1", "--y", "1").out
        self.assertIn("X column 0, Y column 1", out)
        self.assertEqual(len(self.dump("c.gpkg")["features"]), 2)

    def test_a_ragged_file_is_imported_when_everything_is_given(self):
        self.write("c.csv", "1,2\n3,4,5\n")
        self.assertEqual(self.run_orvane("import", "c.csv", "--x", "0", "--y", "1", "-o", "MAX_RECORDS=9").status, 1)
        result = self.succeed("import", "c.csv", "--x", "0", "--y", "1",
                              "-o", "FIRST_LINE_COLUMN_NAMES=false", "-o",
                              "COLUMN_DEFINITION=0,A,5,0,0", "-o", "MAX_RECORDS=1", "-o",
                              "AUTO_SCHEMA")
        self.assertIn("X from column 0, Y from column 1; no column names", result.out)

    def test_columns_that_do_not_fit(self):
        self.write("c.csv", "a,b,b\n1.5,2.5,3.5\n")
        listed = (" The columns of the file, by index:\n"
                  "  INDEX NAME\n  0     a\n  1     b\n  2     b")
        cases = (
            (("--x", "zz", "--y", "1"), "There is no column --x 'zz'." + listed),
            (("--x", "0", "--y", "9"),
             "There is no column --y '9'; the file has 3, counted from 0." + listed),
            (("--x", "a", "--y", "b"),
             "The column --y 'b' is not certain: columns 1 and 2 have that name; give its index."
             + listed),
            (("--x", "1", "--y", "1"), "X, Y and Z must be different columns."),
            (("--x", "1", "-o", "X_COLUMN=1"), "Give --x or the option X_COLUMN, not both."),
            (("--x", "1", "-o", "Y_COLUMN=-1"), "The option Y_COLUMN counts from 0; -1 is no column."),
        )
        for arguments, line in cases:
            with self.subTest(arguments=arguments):
                result = self.run_orvane("import", "c.csv", *arguments)
                result.err = without_rules(result.err)
                self.assert_failure(result, 2, "orvane: " + line)
        self.assert_folder("c.csv")


class ImportFormatsTest(CliTest):
    NAMES = {
        "gpkg": "GPKG", "fgb": "FlatGeobuf", "geojson": "GeoJSON", "json": "GeoJSON",
        "geojsonl": "GeoJSONSeq", "geojsons": "GeoJSONSeq", "shp": "ESRI Shapefile", "CSV": "CSV"}

    def test_every_format_holds_points_heights_and_values(self):
        self.write("s.csv", "lon,lat,h,name,n,v\n10.5,47.25,1200,\"Berg, o\",3,1.5\n-0.1,51.5,11,b,12,2.25\n")
        for extension, driver in self.NAMES.items():
            with self.subTest(extension=extension):
                out = "out." + extension
                self.succeed("import", "s.csv", out, "--z", "h", "--crs", "EPSG:4326")
                dump = self.dump(out)
                self.assertEqual(dump["driver"], driver)
                rows = sorted(dump["features"], key=lambda row: str(row[1][1]))
                if driver == "CSV":
                    self.assertEqual(
                        self.content(out),
                        b'name,n,v,X,Y,Z\n"Berg, o",3,1.5,10.5,47.25,1200\nb,12,2.25,-0.1,51.5,11\n')
                    continue
                # GeoJSON names no system; what reads it knows one for points with heights.
                self.assertIn(dump["crs"], ("EPSG:4326", "EPSG:4979"))
                self.assertEqual(
                    rows, [[[-0.1, 51.5, 11], ["b", 12, 2.25]], [[10.5, 47.25, 1200], ["Berg, o", 3, 1.5]]])

    def test_rows_without_geometry_stay_where_the_format_holds_them(self):
        self.write("s.csv", STATIONS)
        for extension in ("gpkg", "geojson", "geojsonl", "shp"):
            out = "out." + extension
            self.succeed("import", "s.csv", out, "--crs", "EPSG:4326")
            self.assertEqual(self.dump(out)["features"][2][0], None)
        self.succeed("import", "s.csv", "out.csv")
        self.assertTrue(self.content("out.csv").endswith(b",leer,7,,,\n"))

    def test_texts_are_read_back_by_other_readers_as_they_are(self):
        texts = ["plain", " blanks ", "a, b", 'say "yes"', '"', "over\ntwo lines", "a\r\nb", "tab\there",
                 "back\\slash", "\x01\x1f\x7f", "\u00e9\u20ac\U0001f600\u2028", "x" * 100000]
        rows = [[f"{row}.5", f"{row}.25", str(row), text] for row, text in enumerate(texts)]
        shown = io.StringIO()
        csv.writer(shown, lineterminator="\n").writerows([["lon", "lat", "n", "text"], *rows])
        self.write("s.csv", shown.getvalue())
        for extension in ("csv", "geojson", "geojsonl", "geojsons"):
            self.succeed("import", "s.csv", "out." + extension, "--crs", "EPSG:4326")
        names, *read = csv.reader(io.StringIO(self.content("out.csv").decode("utf-8"), newline=""))
        self.assertEqual(names, ["n", "text", "X", "Y"])
        self.assertEqual(read, [[n, text, x, y] for x, y, n, text in rows])
        expected = [{"type": "Feature", "properties": {"n": int(n), "text": text},
                     "geometry": {"type": "Point", "coordinates": [float(x), float(y)]}}
                    for x, y, n, text in rows]
        collection = json.loads(self.content("out.geojson"))
        self.assertEqual(collection["features"], expected)
        self.assertEqual(collection["bbox"], [0.5, 0.25, len(texts) - 0.5, len(texts) - 0.75])
        lines = self.content("out.geojsonl").split(b"\n")
        self.assertEqual([json.loads(line) for line in lines[:-1]], expected)
        self.assertEqual(lines[-1], b"")
        records = self.content("out.geojsons").split(b"\x1e")
        self.assertEqual([json.loads(record) for record in records[1:]], expected)

    def test_flatgeobuf_has_rows_without_geometry_after_all_others(self):
        self.write("s.csv", STATIONS)
        result = self.run_orvane("import", "s.csv", "out.fgb")
        self.assertEqual((result.status, without_rules(result.err)), (0, ""))
        rows = self.dump("out.fgb")["features"]
        self.assertEqual([point is None for point, _ in rows], [False, False, True])
        self.assert_folder("out.fgb", "s.csv")

    def test_names_are_made_to_fit_and_reported(self):
        self.write("s.csv", "x,y,a long column name,a long column too,A,a,\n1,2,3,4,5,6,7\n")
        result = self.run_orvane("import", "s.csv", "out.shp")
        self.assertEqual(result.status, 0)
        names = [field[0] for field in self.dump("out.shp")["fields"]]
        self.assertEqual(names, ["a long col", "a long c_1", "A", "a_1", "C7"])
        self.assertIn("orvane: note: the column 'a' is named 'a_1' in the output\n", result.err)

    def test_a_shapefile_replaces_all_of_an_old_one(self):
        self.write("s.csv", "x,y,a\n1,2,3\n")
        self.succeed("import", "s.csv", "out.shp", "--crs", "EPSG:4326")
        self.assert_folder("s.csv", "out.shp", "out.shx", "out.dbf", "out.prj", "out.cpg")
        self.succeed("import", "s.csv", "out.shp")
        self.assert_folder("s.csv", "out.shp", "out.shx", "out.dbf", "out.cpg")


class ImportFailuresTest(CliTest):
    FORMATS = ("gpkg", "fgb", "geojson", "geojsonl", "shp", "csv")

    def setUp(self):
        super().setUp()
        self.write("s.csv", STATIONS)

    def test_wrong_arguments_are_found_before_reading(self):
        cases = (
            (("none.csv", "out.SHP"),
             "The extension of the output 'out.SHP' must be written in small letters: .shp."),
            (("none.csv", "out.xyz"),
             "No format is known for the output 'out.xyz'; its extension must be one of .gpkg, .fgb, "
             ".geojson, .json, .geojsonl, .geojsons, .shp, .csv. 'orvane formats' lists more."),
            (("none.csv", "out.gpkg", "--crs", "EPSG:0"), "The coordinate system 'EPSG:0' is not known."),
            (("none.csv", "out.gpkg", "--crs", "WGS84"),
             "The coordinate system 'WGS84' is not written as AUTHORITY:CODE, for example EPSG:4326."),
            (("none.csv", "out.gpkg", "--crs", "http://example.com/a.wkt"),
             "The coordinate system 'http://example.com/a.wkt' is not written as AUTHORITY:CODE, "
             "for example EPSG:4326."),
            (("s.csv", "./s.csv"), "The output is the input; give it another name."),
        )
        for arguments, line in cases:
            with self.subTest(arguments=arguments):
                self.assert_failure(self.run_orvane("import", *arguments), 2, "orvane: " + line)
        self.assert_folder("s.csv")

    def test_more_columns_than_a_geopackage_holds(self):
        for count in (1998, 1999):
            names = ",".join(f"c{index}" for index in range(count))
            self.write("wide.csv", f"x,y,{names}\n1,2,{','.join(['3'] * count)}\n")
            result = self.run_orvane("import", "wide.csv", "out.gpkg")
            if count == 1998:
                self.assertEqual((result.status, result.err), (0, ""))
                continue
            self.assert_failure(
                result,
                1,
                "orvane: out.gpkg: The output cannot be written. The format holds at most 1998 columns, "
                "and there are 1999; .fgb holds more.",
            )

    def test_an_output_that_can_not_be_written(self):
        os.mkdir(self.path("folder.gpkg"))
        self.write("busy.gpkg", "old")
        self.write("busy.gpkg-wal", "old")
        os.symlink("loop.gpkg", self.path("loop.gpkg"))
        os.symlink("none/lost.gpkg", self.path("lost.gpkg"))
        os.mkfifo(self.path("pipe.gpkg"))
        self.write("half.shp", "old")
        os.mkdir(self.path("half.dbf"))
        cases = (
            ("none/out.gpkg", "Its folder does not exist."),
            ("s.csv/out.gpkg", "Its folder does not exist."),
            ("folder.gpkg", "Something that is no file is in its place."),
            ("pipe.gpkg", "Something that is no file is in its place."),
            (".", "Something that is no file is in its place."),
            ("lost.gpkg", "Its folder does not exist."),
            ("half.shp", "Something that is no file is in the place of its part half.dbf."),
            ("busy.gpkg",
             "Another program has it open, or left it unfinished: there is a file busy.gpkg-wal beside it."),
        )
        before = sorted(os.listdir(self.folder))
        for out, reason in cases:
            with self.subTest(out=out):
                self.assert_failure(
                    self.run_orvane("import", "s.csv", out), 1,
                    f"orvane: {out}: The output cannot be written. {reason}")
        for out in ("/proc/out.gpkg", "loop.gpkg"):
            result = self.run_orvane("import", "s.csv", out)
            self.assertEqual((result.status, result.out), (1, ""))
            self.assertRegex(result.err, r"^orvane: [^\n]+: The output cannot be written\. [^\n]+\n$")
        self.assertEqual(sorted(os.listdir(self.folder)), before)
        self.assertEqual(self.content("busy.gpkg"), b"old")
        self.assertEqual(self.content("half.shp"), b"old")

    def test_a_link_leads_to_a_place_without_a_file_too(self):
        os.mkdir(self.path("real"))
        os.symlink("real/second", self.path("first.gpkg"))
        os.symlink("out.gpkg", self.path("real/second"))
        for _ in range(2):
            self.succeed("import", "s.csv", "first.gpkg")
            self.assertTrue(os.path.islink(self.path("first.gpkg")))
            self.assertEqual(sorted(os.listdir(self.path("real"))), ["out.gpkg", "second"])
            self.assertEqual(len(self.dump("real/out.gpkg")["features"]), 3)

    def test_who_may_read_an_output_stays(self):
        for extension in ("gpkg", "fgb", "csv"):
            for options in ((), ("--layer", "more")) if extension == "gpkg" else ((),):
                out = "out." + extension
                if not options:
                    self.write(out, "old")
                os.chmod(self.path(out), 0o600)
                self.succeed("import", "s.csv", out, *options)
                self.assertEqual(os.stat(self.path(out)).st_mode & 0o777, 0o600)

    def test_a_file_that_must_not_be_written_is_not_replaced(self):
        os.chmod(self.folder, 0o777)
        self.write("out.csv", "old")
        os.chmod(self.path("out.csv"), 0o444)
        result = self.run_orvane(
            "import", "s.csv", "out.csv",
            **({"user": "nobody", "group": "nogroup", "extra_groups": []} if os.getuid() == 0 else {}))
        self.assert_failure(result, 1, "orvane: out.csv: The output cannot be written. The file in its place: "
                                       "Permission denied.")
        self.assertEqual(self.content("out.csv"), b"old")

    def test_data_that_fails_leaves_the_old_output(self):
        self.write("out.gpkg", "old")
        self.write("bad.csv", "x,y,a\n" + "1,2,3\n" * 30 + "1,2,3,4\n1,2,3,4\n")
        result = self.run_orvane("import", "bad.csv", "out.gpkg")
        self.assertEqual(result.status, 1)
        self.assertTrue(result.err.startswith("orvane: bad.csv:32:4: 2 of 32 rows do not fit the table: 2 long-row."))
        self.assertEqual(self.content("out.gpkg"), b"old")
        self.assert_folder("s.csv", "bad.csv", "out.gpkg")

    def test_a_disk_that_is_full_leaves_the_old_output_and_nothing_else(self):
        self.write("m.csv", "x,y,n\n" + "".join(f"{i}.25,{i % 90}.5,name {i}\n" for i in range(20000)))
        for extension in self.FORMATS:
            for limit in (1024, 64 * 1024, 256 * 1024):
                with self.subTest(extension=extension, limit=limit):
                    out = "out." + extension
                    self.write(out, "old")
                    result = self.run_orvane(
                        "import", "m.csv", out, "--crs", "EPSG:25832",
                        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
                    self.assertEqual((result.status, result.out), (1, ""))
                    self.assertRegex(
                        result.err, r"^orvane: out\.\w+: The output cannot be written\. [^\n]+\n$")
                    self.assertEqual(self.content(out), b"old")
                    os.remove(self.path(out))
                    self.assert_folder("s.csv", "m.csv")


class OddValuesTest(CliTest):
    """Layers that a reader other than the bundled one may make."""

    def setUp(self):
        super().setUp()
        self.write("odd.csv", "1\n")

    def test_half_a_pair_of_surrogates_is_told_as_in_layers(self):
        self.write("half-pair.csv", "1\n")
        result = self.run_orvane("read", "half-pair.csv", "--plugin", FAKE, "--json")
        self.assertEqual(result.status, 1)
        self.assertEqual(
            result.out,
            '{"ok":false,"exception":"BException","location":"a\\ud800b","message":"a\\ud800b",'
            '"details":"a\\ud800b","code":"reader","what":"a\ufffdb","file":"half-pair.csv",'
            '"line":null,"column":null,"cause":"a\ufffdb","advice":""}\n')

    def test_json_holds_every_type_and_the_ends_of_their_ranges(self):
        result = self.succeed("read", "odd.csv", "--plugin", FAKE, "--json")
        self.assertIn('["",9,0.30000000000000004]', result.out)
        self.assertIn('"geometry":[3,4,NaN]', result.out)
        self.assertIn('["",9,Infinity]', result.out)
        self.assertIn('"a\\ud800b"', result.out)
        features = result.json["layer"]["features"]
        self.assertEqual(
            features[0]["attributes"],
            [["fid", 5, -2147483648], ["Name", 11, 'é "quoted", € 😀'],
             ["name", 11, "9223372036854775807"], ["", 9, 0.1 + 0.2], ["geom", 10, 0.1],
             ["a name of more than ten bytes", 13, True]])
        self.assertEqual(features[2]["attributes"][1][2], "nul\0in it")
        self.assertEqual(features[4], {"name": "5", "geometry": None, "attributes": [["fid", 5, 2], ["Name", 11, ""]]})
        self.assertEqual([value[1] for value in features[5]["attributes"]], [11, 5, 7, 11, 9, 11])

    def test_a_geopackage_holds_what_it_can_and_the_rest_is_reported(self):
        result = self.run_orvane("import", "odd.csv", "odd.gpkg", "--plugin", FAKE)
        self.assertEqual(
            (result.status, result.err),
            (0,
             PLUGIN_RULES +
             "orvane: note: the column 'name' is named 'name_1' in the output\n"
             "orvane: note: a column without a name is named 'C4' in the output\n"
             "orvane: note: 1 values of the 64-bit column 'name_1' are no 64-bit integers and are null in the output\n"
             "orvane: note: 1 numbers are not finite and are null in the output\n"
             "orvane: note: 1 NUL characters of texts are U+FFFD in the output\n"
             "orvane: note: 1 points have an X or Y that is no number and no geometry in the output\n"))
        dump = self.dump("odd.gpkg")
        self.assertEqual(
            [field[0] for field in dump["fields"]],
            ["fid", "Name", "name_1", "C4", "geom", "a name of more than ten bytes"])
        rows = dump["features"]
        self.assertEqual(rows[0][0][:2], [1.1, 2.2])
        self.assertTrue(math.isnan(rows[0][0][2]))
        self.assertEqual(rows[1][0], [0.1 + 0.2, -1e-7, 1234.5678])
        self.assertEqual(rows[3][0], None)
        self.assertEqual([row[1][0] for row in rows], [-2147483648, 2147483647, 0, 1, 2, 7])
        self.assertEqual([row[1][2] for row in rows],
                         [9223372036854775807, -3000000000, None, 10000000000, None, 9])
        self.assertEqual([row[1][3] for row in rows], [0.1 + 0.2, 5e-324, None, math.inf, None, 2.5])
        self.assertEqual(rows[1][1][1], "a\ufffdb")
        self.assertEqual(rows[2][1][1], "nul\ufffdin it")


class StreamsTest(CliTest):
    LINE = "orvane: Could not write to the standard output. {}\n"

    def setUp(self):
        super().setUp()
        self.write("s.csv", STATIONS)

    def test_a_full_device_behind_standard_output_fails(self):
        for arguments in (["read", "s.csv"], ["read", "s.csv", "--json"], ["preview", "s.csv"],
                          ["options"], ["--help"], ["import", "s.csv"]):
            with self.subTest(arguments=arguments), open("/dev/full", "wb") as full:
                result = self.run_orvane(*arguments, stdout=full)
                self.assertEqual(result.status, 1)
                self.assertTrue(result.err.startswith(self.LINE.format("No space left on device")))

    def test_a_closed_standard_output_fails_and_harms_no_file(self):
        for arguments in (["read", "s.csv", "--json"], ["import", "s.csv"]):
            completed = subprocess.run(
                ["sh", "-c", 'exec "$0" "$@" >&-', PROGRAM, *arguments],
                cwd=self.folder, stderr=subprocess.PIPE, text=True, timeout=60)
            self.assertEqual(completed.returncode, 1)
            self.assertIn(self.LINE.format("Bad file descriptor"), completed.stderr)
        self.assertEqual(self.content("s.csv"), STATIONS.encode())
        self.assertEqual(len(self.dump("s.gpkg")["features"]), 3)

    def test_a_pipe_that_nobody_reads_fails(self):
        reading, writing = os.pipe()
        os.close(reading)
        with os.fdopen(writing, "wb") as pipe:
            result = self.run_orvane("read", "s.csv", stdout=pipe)
        self.assertEqual((result.status, result.err), (1, self.LINE.format("Broken pipe")))

    def test_no_progress_is_shown_where_there_is_no_terminal(self):
        self.write("m.csv", "x,y\n" + "1,2\n" * 50000)
        self.succeed("import", "m.csv")

    def show_on_terminal(self, columns, *arguments):
        """What standard error gets as a terminal of so many columns."""
        leader, follower = os.openpty()
        fcntl.ioctl(follower, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        process = subprocess.Popen(
            [PROGRAM, *arguments], cwd=self.folder,
            stdout=subprocess.DEVNULL, stderr=follower, stdin=subprocess.DEVNULL)
        os.close(follower)
        shown = b""
        try:
            while True:
                block = os.read(leader, 65536)
                if not block:
                    break
                shown += block
        except OSError:
            pass
        os.close(leader)
        self.assertEqual(process.wait(300), 0)
        self.assertTrue(shown.endswith(b"\r\x1b[K"))
        return [line.decode() for line in shown.split(b"\r\x1b[K") if line]

    def test_a_terminal_shows_progress_and_is_left_clean(self):
        self.write("million.csv", "1\n")
        lines = self.show_on_terminal(120, "import", "million.csv", "--plugin", FAKE)
        self.assertRegex("\n".join(lines),
                         r"Writing \d+ %(, \d+ s left)?: \d+ of 1000000 rows, \d+ rows/s")
        shares = [int(share) for share in re.findall(r" (\d+) %", "\n".join(lines))]
        self.assertEqual(shares, sorted(shares))

    def test_progress_of_an_import_tells_the_bytes_that_were_read_and_the_rows_written(self):
        self.write("m.csv", "x,y,n\n" + "1.5,2.5,3\n" * 1500000)
        lines = "\n".join(self.show_on_terminal(120, "import", "m.csv"))
        self.assertRegex(lines, r"Writing \d+ %[^:\n]*: \d+ of 1500000 rows, \d+ rows/s, \d+ of 15 MB")
        self.assertRegex(lines, r"Indexing \d+ %[^:\n]*: \d+ of 1500000 rows")

    def test_progress_of_a_scan_tells_the_bytes_and_the_rate(self):
        # Decoding takes its time: a scan of plain bytes is over before its second line.
        with open(self.path("m.csv"), "wb") as file:
            file.write(("t,u,n\n" + "2018-01-28T13:03:22Z,\u8868\u793a,1\n" * 1500000).encode("shift_jis"))
        lines = "\n".join(self.show_on_terminal(
            120, "import", "m.csv", "--no-points", "--encoding", "SHIFT_JIS"))
        self.assertRegex(lines, r"Planning \d+ %[^:\n]*: \d+ of 42 MB, \d+ MB/s")

    def test_progress_keeps_to_the_width_of_the_terminal(self):
        self.write("million.csv", "1\n")
        lines = self.show_on_terminal(30, "import", "million.csv", "--plugin", FAKE)
        self.assertEqual(max(len(line) for line in lines if not line.startswith("orvane: note: ")), 29)


class SignalsTest(CliTest):
    LINE = "orvane: Interrupted; nothing was written.\n"

    def start(self, name, out, *more):
        self.write(name, "1\n")
        environment = dict(os.environ, ORVANE_FAKE_MARK=self.path("mark"))
        process = subprocess.Popen(
            [PROGRAM, "import", name, out, "--plugin", FAKE, *more], cwd=self.folder,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, stdin=subprocess.DEVNULL, text=True,
            env=environment)
        self.addCleanup(process.kill)
        self.wait_for(lambda: os.path.exists(self.path("mark")), process)
        return process

    def wait_for(self, condition, process):
        deadline = time.monotonic() + 120
        while not condition():
            self.assertIsNone(process.poll(), "the program ended too early")
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.001)

    def assert_interrupted(self, process):
        out, err = process.communicate(timeout=120)
        self.assertEqual((process.returncode, out, without_rules(err)), (1, "", self.LINE))

    def test_a_signal_while_reading_cancels(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number=number):
                self.write("out.gpkg", "old")
                process = self.start("endless.csv", "out.gpkg")
                process.send_signal(number)
                self.assert_interrupted(process)
                self.assertEqual(self.content("out.gpkg"), b"old")
                os.remove(self.path("mark"))
        self.assert_folder("endless.csv", "out.gpkg")

    def test_a_signal_while_opening_ends_at_once(self):
        process = self.start("slow-open.csv", "out.gpkg")
        process.send_signal(signal.SIGINT)
        self.assert_interrupted(process)
        self.assert_folder("slow-open.csv", "mark")

    def test_a_signal_that_ends_at_once_is_told_as_an_object_too(self):
        process = self.start("slow-open.csv", "out.gpkg", "--json")
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=120)
        self.assertEqual((process.returncode, without_rules(err)), (1, self.LINE))
        failure = json.loads(out)
        self.assertEqual((failure["ok"], failure["code"], failure["what"]),
                         (False, "cancelled", "Interrupted; nothing was written."))

    def test_a_signal_while_looking_for_findings_has_the_status_of_a_failure(self):
        self.write("many.csv", "lon,lat,n\n" + "8.5,47.25,1\n8.5,47.25,x,y\n" * 400000)
        process = subprocess.Popen(
            [PROGRAM, "lint", "many.csv", "--all", "--json"], cwd=self.folder, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, stdin=subprocess.DEVNULL, text=True)
        self.addCleanup(process.kill)
        head = process.stdout.read(2000)
        process.send_signal(signal.SIGINT)
        report = json.loads(head + process.stdout.read())
        err = process.stderr.read()
        self.assertEqual((process.wait(120), err),
                         (2, "orvane: Interrupted; the list of findings is not complete.\n"))
        self.assertEqual(report["complete"], False)
        self.assertIn("the list of findings is not complete", report["failure"])

    def hidden(self):
        return glob.glob(self.path(".orvane-*/out.*"))

    def test_a_signal_while_writing_leaves_the_old_output_and_nothing_else(self):
        for extension in ("gpkg", "csv"):
            with self.subTest(extension=extension):
                out = "out." + extension
                self.write(out, "old")
                process = self.start("million.csv", out)
                self.wait_for(self.hidden, process)
                process.send_signal(signal.SIGTERM)
                self.assert_interrupted(process)
                self.assertEqual(self.content(out), b"old")
                os.remove(self.path("mark"))
                os.remove(self.path(out))
                self.assert_folder("million.csv")

    def test_a_kill_while_writing_never_shows_under_the_final_name(self):
        self.write("out.gpkg", "old")
        process = self.start("million.csv", "out.gpkg")
        self.wait_for(self.hidden, process)
        process.kill()
        process.communicate(timeout=60)
        self.assertEqual(self.content("out.gpkg"), b"old")
        self.write("s.csv", STATIONS)
        self.succeed("import", "s.csv", "out.gpkg")
        self.assertEqual(len(self.dump("out.gpkg")["features"]), 3)


if __name__ == "__main__":
    unittest.main(verbosity=2, argv=[sys.argv[0], *sys.argv[1:]])
