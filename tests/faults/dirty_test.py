"""Lint, plan and import of dirty files when disks fill, files change and signals come."""

import contextlib
import csv
import os
import random
import re
import signal
import sqlite3
import subprocess
import time
import unittest

from program_test import ALL, PROGRAM, SEED, FaultsTest

POINTS = 100 if ALL else 8
COMMANDS = (("lint",), ("lint", "--json"), ("lint", "--sarif"), ("lint", "--all"),
            ("lint", "--all", "--json"), ("plan",), ("plan", "--json"))


class DirtyTest(FaultsTest):
    def write_dirty(self, name, rows):
        """Rows of which many have gaps, late decimals and quotes, and 1 of 200 a field too many."""
        lines = ["lon,lat,depth,name\n"]
        for i in range(rows):
            depth = "" if i % 3 == 0 and i > 5 else f"{i}.5" if i % 5 == 0 and i > 5 else f"{i}"
            text = '"a\nb"' if i % 50 == 7 else f"name {i}"
            more = ",x" if i % 200 == 199 else ""
            lines.append(f"{i % 170}.25,{i % 80}.5,{depth},{text}{more}\n")
        return self.write(name, "".join(lines))

    def assert_line(self, text):
        """One line of the program's, or none."""
        self.assertRegex(text, r"\A(orvane: [^\n]+\n)?\Z")


class DirtyLintTest(DirtyTest):
    def test_a_full_disk_is_told(self):
        self.write_dirty("m.csv", 5000)
        for command, *options in COMMANDS:
            with open("/dev/full", "wb") as full:
                result = self.run_orvane(command, "m.csv", *options, stdout=full)
            with self.subTest(command=command, options=options):
                self.assertEqual(result.status, 2 if command == "lint" else 1)
                self.assertRegex(result.err, r"\Aorvane: [^\n]*No space left on device[^\n]*\n\Z")

    def test_a_disk_that_fills_on_the_way_is_told(self):
        self.write_dirty("m.csv", 5000)
        arguments = ("lint", "m.csv", "--all", "--json")
        size = len(self.run_orvane(*arguments).out.encode())
        self.assertGreater(size, 100000)
        for limit in (0, 1, size // 3, size - 1, size):
            with self.subTest(limit=limit), open(self.path("out.json"), "wb") as out:
                result = self.run_orvane(*arguments, stdout=out, preexec_fn=self.limited(limit))
                self.assertEqual(result.status, 1 if limit == size else 2)
                self.assertEqual(result.err == "", limit == size)
                self.assertLessEqual(os.path.getsize(self.path("out.json")), limit)

    def test_a_reader_that_goes_ends_the_program(self):
        self.write_dirty("m.csv", 100000)
        for options in ((), ("--json",), ("--sarif",)):
            process = self.start("lint", "m.csv", "--all", *options)
            process.stdout.read(100)
            process.stdout.close()
            err = process.stderr.read()
            self.assertEqual(process.wait(timeout=60), 2)
            self.assert_line(err)

    def test_a_signal_ends_it_soon(self):
        self.write_dirty("m.csv", 400000)
        generator = random.Random(SEED)
        for _ in range(POINTS):
            process = self.start("lint", "m.csv")
            time.sleep(generator.uniform(0, 0.4))
            process.send_signal(signal.SIGINT)
            began = time.monotonic()
            _, err = process.communicate(timeout=60)
            self.assertLess(time.monotonic() - began, 10)
            # Findings, an interruption, or a signal before the program has its handlers.
            self.assertIn(process.returncode, (1, 2, -signal.SIGINT))
            self.assertEqual(process.returncode == 2, err.startswith("orvane: Interrupted"), err)
            self.assert_line(err)
            self.assert_folder("m.csv")

    def test_a_file_that_changes_meanwhile_does_no_harm(self):
        generator = random.Random(SEED)
        for point in range(POINTS):
            self.write_dirty("m.csv", 100000)
            size = os.path.getsize(self.path("m.csv"))
            process = self.start("lint", "m.csv", "--json")
            time.sleep(generator.uniform(0, 0.15))
            if point % 2 == 0:
                os.truncate(self.path("m.csv"), generator.randrange(size))
            else:
                with open(self.path("m.csv"), "a", encoding="ascii") as file:
                    file.write('1.5,2.5,"open\n' * 1000)
            _, err = process.communicate(timeout=120)
            self.assertIn(process.returncode, (0, 1, 2))
            self.assert_line(err)

    def test_what_is_no_file_is_refused_at_once(self):
        os.mkfifo(self.path("pipe"))
        for name in ("/dev/null", "/dev/zero", "pipe", ".", "none", ""):
            with self.subTest(name=name):
                result = self.run_orvane("lint", name)
                self.assertEqual((result.status, result.out), (2, ""))
                self.assertRegex(result.err, r"\Aorvane: [^\n]+\n\Z")


class DirtyImportTest(DirtyTest):
    ROWS = 60000
    REJECTED = "out.gpkg.rejected.csv"

    def count_points(self):
        with contextlib.closing(sqlite3.connect(self.path("out.gpkg"))) as file:
            self.assertEqual(file.execute("PRAGMA quick_check").fetchall(), [("ok",)])
            (layer,), = file.execute(
                "SELECT table_name FROM gpkg_contents WHERE data_type = 'features'")
            return file.execute(f'SELECT count(*) FROM "{layer}"').fetchone()[0]

    def count_rejected(self):
        with open(self.path(self.REJECTED), encoding="utf-8", newline="") as file:
            return len(list(csv.DictReader(file)))

    def clear(self):
        for name in os.listdir(self.folder):
            if name != "m.csv" and os.path.isfile(self.path(name)):
                os.remove(self.path(name))

    def check_whole(self):
        """Every row of the file is in the output or beside it."""
        self.assertEqual(self.count_points(), self.ROWS - self.ROWS // 200)
        self.assertEqual(self.count_rejected(), self.ROWS // 200)

    def test_it_is_whole(self):
        self.write_dirty("m.csv", self.ROWS)
        result = self.run_orvane("import", "m.csv", "out.gpkg")
        self.assertEqual(result.status, 0, result.err)
        self.check_whole()
        self.assert_folder("m.csv", "out.gpkg", self.REJECTED)

    def test_a_disk_that_fills_leaves_all_or_nothing(self):
        self.write_dirty("m.csv", self.ROWS)
        self.run_orvane("import", "m.csv", "out.gpkg")
        size = os.path.getsize(self.path("out.gpkg"))
        self.clear()
        for limit in (0, 1, 1000, 8000, size // 4, size // 2, size - 1):
            with self.subTest(limit=limit):
                result = self.run_orvane("import", "m.csv", "out.gpkg", preexec_fn=self.limited(limit))
                if result.status == 0:
                    self.check_whole()
                else:
                    self.assertEqual(result.status, 1)
                    self.assertRegex(result.err, r"orvane: [^\n]+\n")
                    self.assert_folder("m.csv")
                self.clear()

    def test_a_disk_that_fills_keeps_the_older_output(self):
        self.write_dirty("m.csv", self.ROWS)
        self.run_orvane("import", "m.csv", "out.gpkg")
        before = (self.content("out.gpkg"), self.content(self.REJECTED))
        result = self.run_orvane("import", "m.csv", "out.gpkg", preexec_fn=self.limited(8000))
        self.assertEqual(result.status, 1)
        self.assertEqual((self.content("out.gpkg"), self.content(self.REJECTED)), before)
        self.assert_folder("m.csv", "out.gpkg", self.REJECTED)

    def test_a_disk_that_fills_with_bad_rows_keeps_both_older_files(self):
        good = "".join(f"{i % 170}.25,{i % 80}.5,{i}\n" for i in range(1000))
        bad = "".join(f"{i % 170}.25,{i % 80}.5,{i},one cell too many{' ' * 1000}.\n" for i in range(200))
        self.write("old.csv", "lon,lat,n\n" + good + "1.5,2.5,3,4\n")
        self.write("m.csv", "lon,lat,n\n" + good + bad)
        arguments = ("import", "m.csv", "out.csv", "--max-bad", "100%")
        self.assertEqual(self.run_orvane(*arguments).status, 0)
        sizes = [os.path.getsize(self.path(name)) for name in ("out.csv", "out.csv.rejected.csv")]
        self.assertLess(sizes[0] * 4, sizes[1])
        os.remove(self.path("out.csv"))
        os.remove(self.path("out.csv.rejected.csv"))
        self.assertEqual(self.run_orvane("import", "old.csv", "out.csv").status, 0)
        before = (self.content("out.csv"), self.content("out.csv.rejected.csv"))
        for limit in (0, sizes[0], sizes[1] // 2, sizes[1] - 1):
            with self.subTest(limit=limit):
                result = self.run_orvane(*arguments, preexec_fn=self.limited(limit))
                self.assertEqual((result.status, result.out), (1, ""))
                self.assertRegex(result.err, r"\Aorvane: out\.csv[^\n]* cannot be written\. [^\n]+\n\Z")
                self.assertEqual((self.content("out.csv"), self.content("out.csv.rejected.csv")), before)
                self.assert_folder("m.csv", "old.csv", "out.csv", "out.csv.rejected.csv")
        self.assertEqual(self.run_orvane(*arguments, preexec_fn=self.limited(sizes[1])).status, 0)
        with open(self.path("out.csv.rejected.csv"), encoding="utf-8", newline="") as file:
            self.assertEqual(len(list(csv.DictReader(file))), 200)

    def test_a_folder_that_takes_no_file_keeps_what_is_in_it(self):
        os.mkdir(self.path("full"))
        self.write("m.csv", "lon,lat,n\n" + "1.5,2.5,3\n" * 20 + "1.5,2.5,3,4\n")
        os.chmod(self.path("full"), 0o555)
        # Root without its right to write everywhere; who is not root has none.
        prefix = [] if os.geteuid() != 0 else ["setpriv", "--securebits", "+noroot", "--inh-caps", "-all",
                                               "--bounding-set", "-all"]
        done = subprocess.run([*prefix, PROGRAM, "import", "m.csv", "full/out.csv"], cwd=self.folder,
                              capture_output=True, text=True, timeout=60, stdin=subprocess.DEVNULL)
        os.chmod(self.path("full"), 0o755)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertRegex(done.stderr, r"\Aorvane: full/out\.csv: The output cannot be written\. [^\n]+\n\Z")
        self.assertEqual(os.listdir(self.path("full")), [])

    def test_a_signal_leaves_all_or_nothing(self):
        self.write_dirty("m.csv", self.ROWS)
        began = time.monotonic()
        self.run_orvane("import", "m.csv", "out.gpkg")
        longest = (time.monotonic() - began) * 1.2
        self.clear()
        generator = random.Random(SEED)
        for point in range(POINTS):
            number = (signal.SIGINT, signal.SIGTERM)[point % 2]
            process = self.start("import", "m.csv", "out.gpkg")
            time.sleep(generator.uniform(0, longest))
            process.send_signal(number)
            process.communicate(timeout=60)
            self.assertIn(process.returncode, (0, 1, -number))
            if os.path.exists(self.path("out.gpkg")):
                self.check_whole()
                self.clear()
            self.assert_folder("m.csv")

    def test_a_kill_leaves_whole_files_or_none(self):
        self.write_dirty("m.csv", self.ROWS)
        began = time.monotonic()
        self.run_orvane("import", "m.csv", "out.gpkg")
        longest = (time.monotonic() - began) * 1.1
        self.clear()
        generator = random.Random(SEED)
        for _ in range(POINTS):
            process = self.start("import", "m.csv", "out.gpkg")
            time.sleep(generator.uniform(0, longest))
            process.kill()
            process.communicate(timeout=60)
            if os.path.exists(self.path("out.gpkg")):
                self.assertEqual(self.count_points(), self.ROWS - self.ROWS // 200)
            if os.path.exists(self.path(self.REJECTED)):
                self.assertEqual(self.count_rejected(), self.ROWS // 200)
            self.clear()
        # The next run removes what the killed ones have left.
        self.assertEqual(self.run_orvane("import", "m.csv", "out.gpkg").status, 0)
        self.assert_folder("m.csv", "out.gpkg", self.REJECTED)

    def test_a_file_that_changes_meanwhile_is_told_or_whole(self):
        generator = random.Random(SEED)
        for point in range(POINTS):
            self.write_dirty("m.csv", self.ROWS)
            size = os.path.getsize(self.path("m.csv"))
            process = self.start("import", "m.csv", "out.gpkg")
            time.sleep(generator.uniform(0, 0.3))
            os.truncate(self.path("m.csv"), generator.randrange(size // 2, size))
            process.communicate(timeout=120)
            self.assertIn(process.returncode, (0, 1))
            if process.returncode == 0:
                # All of the file as it was before, or as it is now.
                rows = self.count_points()
                rejected = self.count_rejected() if os.path.exists(self.path(self.REJECTED)) else 0
                content = self.content("m.csv")
                now = len(re.findall(rb"(?m)^\d", content))
                self.assertIn(rows + rejected, (self.ROWS, now), point)
            self.clear()


if __name__ == "__main__":
    unittest.main()
