"""Lets the program's system calls fail, one per run, and checks what is left."""

import collections
import contextlib
import os
import random
import re
import sqlite3
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.join(os.environ["ORVANE_SOURCE_DIR"], "tests", "cli"))

from cli_test import PROGRAM, CliTest  # noqa: E402

# Fails every call instead of a few of each kind.
ALL = bool(os.environ.get("ORVANE_FAULTS_ALL"))
SEED = int(os.environ.get("ORVANE_FAULTS_SEED", "1"))
# The error of each kind of call. Memory is not among them: it has tests of its own, and brk, failed
# by strace, returns what no kernel returns.
ERRORS = {
    "access": "EIO", "close": "EIO", "fcntl": "EIO", "flock": "EIO", "fsync": "EIO",
    "ftruncate": "EIO", "getdents64": "EIO", "lseek": "EIO", "mkdir": "EACCES",
    "newfstatat": "EIO", "openat": "EMFILE", "pread64": "EIO", "pwrite64": "ENOSPC", "read": "EIO",
    "rename": "EIO", "rmdir": "EIO", "statx": "EIO", "sync_file_range": "EIO", "unlink": "EIO", "write": "ENOSPC",
}
OLD = b"the old output"
UNBALANCED = "is written, but it is not all of the file:"
NOTES = r"^(orvane: note: [^\n]+\n)*$"


class SystemCallsTest(CliTest):
    ROWS = 150

    def setUp(self):
        super().setUp()
        probe = subprocess.run(["strace", "-qq", "-o", "/dev/null", "true"], stderr=subprocess.PIPE)
        if probe.returncode != 0:
            self.skipTest("strace may not trace here: " + probe.stderr.decode())
        self.random = random.Random(SEED)

    def clean(self):
        for name in os.listdir(self.folder):
            path = self.path(name)
            if name.startswith(".orvane-"):
                for inner in os.listdir(path):
                    os.remove(os.path.join(path, inner))
                os.rmdir(path)
            elif name != "cache":
                os.remove(path)
        os.makedirs(self.path("cache"), exist_ok=True)
        self.write("m.csv", "x,y,n,text\n" + "".join(
            f"{i}.25,{i % 90}.5,{i},name {i}\n" for i in range(self.ROWS)))

    def trace(self, arguments, *more):
        completed = subprocess.run(
            ["strace", "-f", "-qq", "-o", "/dev/fd/1", "-e", "trace=" + ",".join(ERRORS), *more,
             "sh", "-c", 'exec "$0" "$@" >out', PROGRAM, *arguments],
            cwd=self.folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, timeout=120)
        out = self.content("out").decode()
        os.remove(self.path("out"))
        return (completed.returncode, out, completed.stderr.decode(),
                completed.stdout.decode(errors="replace").splitlines())

    def list_calls(self, arguments, prepare):
        """(kind, number of that kind, line, nothing) of all calls of the main thread, from the first
        that names the input: the calls before it load libraries and are the system's. Then the calls
        of all threads on the input itself, with the arguments that choose them.

        strace counts calls in each thread by itself: those of one number fail in all threads."""
        on_input = ("-P", self.path("m.csv"))
        calls = [(*call, ()) for call in self.list_of_kind(arguments, prepare, True)]
        return calls + [(*call, on_input)
                        for call in self.list_of_kind(arguments, prepare, False, *on_input)]

    def list_of_kind(self, arguments, prepare, is_main, *more):
        prepare()
        status, _, err, lines = self.trace(arguments, *more)
        self.assertEqual(status, 0)
        self.assertRegex(err, NOTES)
        counts = collections.Counter()
        calls = {}
        for line in lines:
            match = re.match(r"(\d+) +(\w+)\(", line)
            if match is None or (is_main and not line.startswith(lines[0].split()[0] + " ")):
                continue
            counts[match[1], match[2]] += 1
            if calls or not is_main or 'm.csv"' in line:
                number = counts[match[1], match[2]]
                calls.setdefault((match[2], number), (match[2], number, line))
        # Of the calls on the input alone there are few: it is opened, looked at and read.
        self.assertGreater(len(calls), 10 if is_main else 2)
        return list(calls.values())

    def choose(self, calls, pinned):
        """All calls, or one of each kind and the last that matches a pattern; all, when it is of looks at
        a file."""
        if ALL:
            return calls
        kinds = collections.defaultdict(list)
        for call in calls:
            kinds[call[0], call[3]].append(call)
        chosen = [self.random.choice(of_kind) for _, of_kind in sorted(kinds.items())]
        for pattern in pinned:
            found = [call for call in calls if re.search(pattern, call[2])]
            self.assertTrue(found, pattern)
            chosen += found if "newfstatat" in pattern else found[-1:]
        return chosen

    def let_fail(self, call, arguments):
        kind, number, _, more = call
        return self.trace(arguments, *more, "-e", f"inject={kind}:error={ERRORS[kind]}:when={number}")

    def check_folder(self, names):
        """A hidden folder may stay if its removal was the failed call; the next run removes it."""
        left = os.listdir(self.folder)
        self.assertEqual(sorted(name for name in left if not name.startswith(".orvane-")),
                         sorted(names))
        self.assertEqual(os.listdir(self.path("cache")), [])
        if len(left) > len(names):
            self.succeed("import", "m.csv", "next.csv")
            self.assertEqual(sorted(os.listdir(self.folder)), sorted([*names, "next.csv"]))

    def import_with_faults(self, out, *pinned, options=("--disk-cache=cache",), old=OLD, look=None):
        """Lets calls of an import fail. @param old what is in the place of the output before, None for
        nothing @param look gives what must be in the output afterwards; the layer, unless it is given"""
        look = look or self.dump
        arguments = ("import", "m.csv", out, "--crs", "EPSG:4326", *options)

        def prepare():
            self.clean()
            if old is not None:
                self.write(out, old)

        calls = self.list_calls(arguments, prepare)
        names = os.listdir(self.folder)
        whole = look(out)
        outcomes = collections.Counter()
        for call in self.choose(calls, pinned):
            with self.subTest(out=out, options=options, call=call):
                prepare()
                status, shown, err, _ = self.let_fail(call, arguments)
                is_replaced = os.path.exists(self.path(out)) and self.content(out) != old
                outcomes[status, is_replaced] += 1
                if status == 0:
                    self.assertRegex(err, NOTES)
                    self.assertIn("Written: ", shown)
                    self.check_folder(names)
                elif is_replaced and UNBALANCED in err:
                    # A driver that reads back less than there is does not always say so.
                    self.assertEqual(status, 1)
                    self.check_folder(names)
                else:
                    self.assertEqual((status, shown), (1, ""))
                    self.assertRegex(err, r"^(orvane: note: [^\n]+\n)*orvane: (?!note)[^\n]+\n$")
                    kept = ["cache", "m.csv", *([out] if old is not None else [])]
                    self.check_folder(names if is_replaced else kept)
                if is_replaced:
                    self.assertEqual(look(out), whole)
                # Only calls after the writing may fail and still leave the new output.
                if status == 1 and is_replaced:
                    self.assertRegex(
                        err, "Could not write to the standard output|cannot be read back|" + UNBALANCED)
        self.assertGreater(outcomes[1, False], 5, outcomes)
        self.assertGreater(outcomes[0, True], 0, outcomes)
        print(f"{out} {' '.join(options)}: {sum(outcomes.values())} calls {dict(outcomes)}", flush=True)

    def look_at_tables(self, name):
        """All rows of all tables of a GeoPackage, without the times of their changes."""
        with contextlib.closing(sqlite3.connect(self.path(name))) as file:
            self.assertEqual(file.execute("PRAGMA integrity_check").fetchall(), [("ok",)])
            tables = [table for (table,) in file.execute(
                "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE '%rtree%'")]
            return {table: [[cell for cell in row if not re.match(r"20\d\d-\d\d-\d\dT", str(cell))]
                            for row in file.execute(f'SELECT * FROM "{table}"')] for table in tables}

    def make_package(self):
        """The bytes of a GeoPackage with the layers `m` and `other`."""
        self.clean()
        self.succeed("import", "m.csv", "old.gpkg", "--crs", "EPSG:4326")
        self.succeed("import", "m.csv", "old.gpkg", "--crs", "EPSG:4326", "--layer", "other")
        return self.content("old.gpkg")

    def test_a_geopackage_is_whole_or_the_old_one(self):
        self.import_with_faults("out.gpkg")

    def test_a_geopackage_that_is_added_to_is_whole_or_the_old_one(self):
        old = self.make_package()
        for options in (("--layer", "m", "--append"), ("--layer", "m", "--overwrite-layer"),
                        ("--layer", "third")):
            # Looking for the old file must not find a free place where the system cannot tell.
            self.import_with_faults("out.gpkg", r"^\d+ +fsync\(", r"^\d+ +rename\(",
                                    r'^\d+ +newfstatat\(AT_FDCWD, "[^"]*/out\.gpkg", .* = 0$',
                                    options=("--disk-cache=cache", *options), old=old,
                                    look=self.look_at_tables)

    def test_an_import_of_two_threads_is_whole_or_nothing(self):
        for extension in ("gpkg", "fgb", "geojson", "csv") if ALL else ("gpkg", "csv"):
            self.import_with_faults("out." + extension, options=("--threads", "2"), old=None)

    def test_a_flatgeobuf_is_whole_or_the_old_one(self):
        # The making of the file, the part of it that is written first and last, its way to its place.
        self.import_with_faults("out.fgb", r"^\d+ +openat\(.*/out\.fgb\", O_W", r"^\d+ +pwrite64\(",
                                r"^\d+ +pwrite64\(.*, 0\)", r"^\d+ +fsync\(", r"^\d+ +rename\(")

    def test_a_shapefile_is_whole_or_the_old_one(self):
        # A part whose creation the writer does not check; the header, read again at the end.
        self.import_with_faults("out.shp", r"^\d+ +openat\(.*/out\.cpg\", O_W", r"^\d+ +read\(",
                                r"^\d+ +rename\(")

    def test_what_any_driver_writes_is_whole_or_the_old_one(self):
        # Formats of several files are the ones that can be left half old and half new.
        for extension in ("sqlite", "kml", "gml", "tab", "mif", "gmt") if ALL else ("gml", "tab"):
            self.import_with_faults("out." + extension, r"^\d+ +fsync\(", r"^\d+ +rename\(")

    def test_texts_are_whole_or_the_old_ones(self):
        # The making of the file, its way to the disk and to its place.
        for extension in ("geojson", "geojsonl", "csv"):
            self.import_with_faults(
                "out." + extension, rf"^\d+ +openat\(.*/out\.{extension}\", O_W", r"^\d+ +fsync\(",
                r"^\d+ +rename\(")

    def test_a_reading_is_whole_or_one_line(self):
        arguments = ("read", "m.csv", "--json", "--disk-cache=cache", "-o", "X_COLUMN=0", "-o",
                     "Y_COLUMN=1", "-o", "FIRST_LINE_COLUMN_NAMES=1")
        calls = self.list_calls(arguments, self.clean)
        _, whole, _, _ = self.trace(arguments)
        for call in self.choose(calls, ()):
            with self.subTest(call=call):
                self.clean()
                status, shown, err, _ = self.let_fail(call, arguments)
                self.check_folder(["cache", "m.csv"])
                if status == 0:
                    self.assertEqual((shown, err), (whole, ""))
                else:
                    self.assertEqual(status, 1)
                    self.assertRegex(err, r"^orvane: [^\n]+\n$")


if __name__ == "__main__":
    unittest.main(verbosity=2, argv=[sys.argv[0], *sys.argv[1:]])
