"""Lets the program's system calls fail, one per run, and checks what is left."""

import collections
import os
import random
import re
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.join(os.environ["ORVANE_SOURCE_DIR"], "tests", "cli"))

from cli_test import PROGRAM, CliTest  # noqa: E402

# Fails every call instead of a few of each kind.
ALL = bool(os.environ.get("ORVANE_FAULTS_ALL"))
SEED = int(os.environ.get("ORVANE_FAULTS_SEED", "1"))
FORMATS = ("gpkg", "fgb", "geojson", "geojsonl", "shp", "csv")
# The error of each kind of call. Memory is not among them: it has tests of its own, and brk, failed
# by strace, returns what no kernel returns.
ERRORS = {
    "access": "EIO", "close": "EIO", "fcntl": "EIO", "flock": "EIO", "fsync": "EIO",
    "ftruncate": "EIO", "getdents64": "EIO", "lseek": "EIO", "mkdir": "EACCES",
    "newfstatat": "EIO", "openat": "EMFILE", "pread64": "EIO", "pwrite64": "ENOSPC", "read": "EIO",
    "rename": "EIO", "rmdir": "EIO", "statx": "EIO", "unlink": "EIO", "write": "ENOSPC",
}
OLD = b"the old output"


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

    def list_calls(self, arguments):
        """(kind, number of that kind, line) of all calls, from the first that names the input.

        The calls before it load libraries and are the system's."""
        self.clean()
        status, _, err, lines = self.trace(arguments)
        self.assertEqual((status, err), (0, ""))
        counts = collections.Counter()
        calls = []
        for line in lines:
            match = re.match(r"\d+ +(\w+)\(", line)
            if match is None:
                continue
            counts[match[1]] += 1
            if calls or 'm.csv"' in line:
                calls.append((match[1], counts[match[1]], line))
        self.assertGreater(len(calls), 10)
        return calls

    def choose(self, calls, pinned):
        """All calls, or one of each kind and the calls that match the patterns."""
        if ALL:
            return calls
        kinds = collections.defaultdict(list)
        for call in calls:
            kinds[call[0]].append(call)
        chosen = [self.random.choice(of_kind) for _, of_kind in sorted(kinds.items())]
        for pattern in pinned:
            found = [call for call in calls if re.search(pattern, call[2])]
            self.assertTrue(found, pattern)
            chosen.append(found[-1])
        return chosen

    def let_fail(self, call, arguments):
        kind, number, _ = call
        return self.trace(arguments, "-e", f"inject={kind}:error={ERRORS[kind]}:when={number}")

    def check_folder(self, names):
        """A hidden folder may stay if its removal was the failed call; the next run removes it."""
        left = os.listdir(self.folder)
        self.assertEqual(sorted(name for name in left if not name.startswith(".orvane-")),
                         sorted(names))
        self.assertEqual(os.listdir(self.path("cache")), [])
        if len(left) > len(names):
            self.succeed("import", "m.csv", "next.csv")
            self.assertEqual(sorted(os.listdir(self.folder)), sorted([*names, "next.csv"]))

    def import_with_faults(self, extension, *pinned):
        out = "out." + extension
        arguments = ("import", "m.csv", out, "--crs", "EPSG:4326", "--disk-cache=cache")
        calls = self.list_calls(arguments)
        names = os.listdir(self.folder)
        whole = self.dump(out)
        outcomes = collections.Counter()
        for call in self.choose(calls, pinned):
            with self.subTest(extension=extension, call=call):
                self.clean()
                self.write(out, OLD)
                status, shown, err, _ = self.let_fail(call, arguments)
                isReplaced = self.content(out) != OLD
                outcomes[status, isReplaced] += 1
                if status == 0:
                    self.assertRegex(err, r"^(orvane: note: [^\n]+\n)*$")
                    self.assertIn("Written: ", shown)
                    self.check_folder(names)
                else:
                    self.assertEqual((status, shown), (1, ""))
                    self.assertRegex(err, r"^orvane: [^\n]+\n$")
                    self.check_folder(names if isReplaced else ["cache", "m.csv", out])
                if isReplaced:
                    self.assertEqual(self.dump(out), whole)
                # Only calls after the writing may fail and still leave the new output.
                if status == 1 and isReplaced:
                    self.assertRegex(
                        err, "Could not write to the standard output|cannot be read back")
        self.assertGreater(outcomes[1, False], 5, outcomes)
        self.assertGreater(outcomes[0, True], 0, outcomes)
        print(f"{extension}: {dict(outcomes)}")

    def test_a_geopackage_is_whole_or_the_old_one(self):
        self.import_with_faults("gpkg")

    def test_a_flatgeobuf_is_whole_or_the_old_one(self):
        # The making of the file, the part of it that is written first and last, its way to its place.
        self.import_with_faults("fgb", r"^\d+ +openat\(.*/out\.fgb\", O_W", r"^\d+ +pwrite64\(",
                                r"^\d+ +pwrite64\(.*, 0\)", r"^\d+ +fsync\(", r"^\d+ +rename\(")

    def test_a_shapefile_is_whole_or_the_old_one(self):
        # A part whose creation the writer does not check; the header, read again at the end.
        self.import_with_faults("shp", r"^\d+ +openat\(.*/out\.cpg\", O_W", r"^\d+ +read\(",
                                r"^\d+ +rename\(")

    def test_texts_are_whole_or_the_old_ones(self):
        # The making of the file, its way to the disk and to its place.
        for extension in ("geojson", "geojsonl", "csv"):
            self.import_with_faults(
                extension, rf"^\d+ +openat\(.*/out\.{extension}\", O_W", r"^\d+ +fsync\(",
                r"^\d+ +rename\(")

    def test_a_reading_is_whole_or_one_line(self):
        arguments = ("read", "m.csv", "--json", "--disk-cache=cache", "-o", "X_COLUMN=0", "-o",
                     "Y_COLUMN=1", "-o", "FIRST_LINE_COLUMN_NAMES=1")
        calls = self.list_calls(arguments)
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
