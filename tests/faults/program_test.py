"""Full disks, closed streams, signals and hostile input for the program."""

import contextlib
import errno
import fcntl
import glob
import json
import os
import pty
import random
import re
import resource
import select
import shutil
import signal
import sqlite3
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.join(os.environ["ORVANE_SOURCE_DIR"], "tests", "cli"))

from cli_test import FAKE, NO_PLUGIN, PROGRAM, STATIONS, CliTest  # noqa: E402

# Runs the exhaustive variants.
ALL = bool(os.environ.get("ORVANE_FAULTS_ALL"))
SEED = int(os.environ.get("ORVANE_FAULTS_SEED", "1"))
FORMATS = ("gpkg", "fgb", "geojson", "geojsonl", "shp", "csv")
INTERRUPTED = "orvane: Interrupted; nothing was written.\n"
INTERRUPTED_AFTER = "orvane: Interrupted; the output was written.\n"


class FaultsTest(CliTest):
    def write_rows(self, name, count):
        return self.write(
            name, "x,y,n,text\n" + "".join(f"{i}.25,{i % 90}.5,{i},name {i}\n" for i in range(count)))

    def limited(self, limit):
        return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))

    def start(self, *arguments, **keywords):
        process = subprocess.Popen(
            [PROGRAM, *arguments], cwd=self.folder, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **keywords)
        self.addCleanup(process.wait)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.kill)
        return process


class FullDiskTest(FaultsTest):
    ROWS = 3000

    def steps(self, size):
        """Sizes at which a file stops growing: its beginning, its end, and steps between."""
        count = 64 if ALL else 6
        return sorted({0, 1, 100, size - 1, *(size * step // count for step in range(1, count))})

    def output_size(self, out):
        return max(os.path.getsize(self.path(name)) for name in os.listdir(self.folder)
                   if name.startswith("out."))

    def test_every_format_is_whole_or_not_there(self):
        self.write_rows("m.csv", self.ROWS)
        for extension in FORMATS:
            out = "out." + extension
            self.succeed("import", "m.csv", out, "--crs", "EPSG:4326")
            size = self.output_size(out)
            names = os.listdir(self.folder)
            for name in names:
                if name != "m.csv":
                    os.remove(self.path(name))
            for limit in self.steps(size):
                with self.subTest(extension=extension, limit=limit):
                    result = self.run_orvane("import", "m.csv", out, "--crs", "EPSG:4326", preexec_fn=self.limited(limit))
                    if result.status == 0:
                        # Its content counts, not how often its end was written.
                        self.assertEqual(len(self.dump(out)["features"]), self.ROWS)
                        self.assertGreater(limit, size // 2)
                        for name in os.listdir(self.folder):
                            if name != "m.csv":
                                os.remove(self.path(name))
                        continue
                    self.assertEqual((result.status, result.out), (1, ""))
                    self.assertRegex(
                        result.err, r"^orvane: out\.\w+: The output cannot be written\. [^\n]+\n$")
                    self.assert_folder("m.csv")

    def test_every_write_of_the_disk_cache_is_told(self):
        os.mkdir(self.path("cache"))
        rows = 70000  # five pages
        self.write_rows("m.csv", rows)
        page = 16384 * 34
        for limit in (0, 1, page // 2, page, page + 1, 2 * page, 3 * page) + (
                tuple(range(0, 4 * page, page // 16)) if ALL else ()):
            with self.subTest(limit=limit):
                result = self.run_orvane(
                    "read", "m.csv", "--disk-cache=cache", "-o", "X_COLUMN=0", "-o", "Y_COLUMN=1",
                    "-o", "FIRST_LINE_COLUMN_NAMES=1", preexec_fn=self.limited(limit))
                self.assertEqual((result.status, result.out), (1, ""))
                self.assertRegex(
                    result.err,
                    r"^orvane: [^\n:]+: The file of the disk cache cannot be written\. "
                    r"[^\n]+: File too large\. Make room on its disk, or name a folder on another one\.\n$")
                self.assertEqual(os.listdir(self.path("cache")), [])
        result = self.run_orvane("import", "m.csv", "out.csv", "--disk-cache=cache",
                                 preexec_fn=self.limited(page))
        self.assertEqual(result.status, 1)
        self.assert_folder("cache", "m.csv")

    def test_a_small_disk_of_its_own(self):
        probe = subprocess.run(["unshare", "-rm", "mount", "-t", "tmpfs", "none", self.folder],
                               stderr=subprocess.PIPE)
        if probe.returncode != 0:
            self.skipTest("no disk of its own can be made here: " + probe.stderr.decode())
        self.write_rows("m.csv", self.ROWS)
        sizes = (4, 8, 16, 32, 64, 96, 128, 192, 256, 512, 4096)
        for extension in FORMATS:
            for size in sizes if ALL else (8, 128, 4096):
                with self.subTest(extension=extension, size=size):
                    os.makedirs(self.path("disk"), exist_ok=True)
                    completed = subprocess.run(
                        ["unshare", "-rm", "sh", "-c",
                         'mount -t tmpfs -o size="$1k" none disk || exit 99\n'
                         '"$2" import m.csv disk/out."$3" --crs 25832 --disk-cache=disk >/dev/null 2>err; status=$?\n'
                         'ls -A disk; exit $status', "sh", str(size), PROGRAM, extension],
                        cwd=self.folder, stdout=subprocess.PIPE, text=True, timeout=120)
                    self.assertIn(completed.returncode, (0, 1))
                    error = self.content("err").decode()
                    if completed.returncode == 0:
                        self.assertIn("out." + extension, completed.stdout)
                        self.assertRegex(error, r"^(orvane: note: [^\n]+\n)*$")
                    else:
                        self.assertEqual(completed.stdout, "")
                        self.assertRegex(error, r"^orvane: [^\n:]+: The (output|file of the disk cache) cannot be written\. [^\n]+\n$")


class MemoryLimitTest(FaultsTest):
    """Address spaces from too small to large enough, for the program and its libraries."""

    def clean(self):
        for name in os.listdir(self.folder):
            if name.startswith(".orvane-"):
                shutil.rmtree(self.path(name))
            elif name != "m.csv":
                os.remove(self.path(name))

    def import_within(self, limit, out):
        return self.run_orvane(
            "import", "m.csv", out, "--crs", "EPSG:4326",
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))

    def least_added(self, mapped, out):
        """How many MiB more than `mapped` an import needs, within some: libraries are loaded on the
        way, for some formats."""
        least, most = 0, 1024
        while most - least > 4:
            middle = (least + most) // 2
            self.clean()
            if self.import_within(mapped + (middle << 20), out).status == 0:
                most = middle
            else:
                least = middle
        return most

    def test_an_import_is_done_or_ends_with_a_line(self):
        mapped = self.mapped_bytes()
        for extension in FORMATS:
            # FlatGeobuf's rows wait in memory; there must be enough of them to feel the limits.
            rows, step = (100000, 2) if extension == "fgb" else (10000, 10)
            self.write_rows("m.csv", rows)
            out = "out." + extension
            self.succeed("import", "m.csv", out, "--crs", "EPSG:4326")
            whole = sorted(os.listdir(self.folder))
            outcomes = set()
            last = max(100, self.least_added(mapped, out) + 40)
            for added in range(-40, last, 1 if ALL else step):
                limit = mapped + (added << 20)
                with self.subTest(extension=extension, added=added):
                    self.clean()
                    self.write(out, "old")
                    result = self.import_within(limit, out)
                    outcomes.add(result.status)
                    if result.status == 0:
                        self.assert_folder(*whole)
                        if added % 10 == 0:
                            self.assertEqual(len(self.dump(out)["features"]), rows)
                        continue
                    # The system loads the program's libraries and words that failure itself.
                    self.assertIn(result.status, (1, 2, 127))
                    if result.status != 127:
                        # After the note, if any, that the layer's pages go to the disk.
                        self.assertRegex(result.err, r"^(orvane: note: [^\n]+\n)?orvane: [^\n]+\n$")
                    self.assertEqual(self.content(out), b"old")
                    # The next import removes what could not be removed for lack of memory.
                    self.assertEqual([name for name in sorted(os.listdir(self.folder))
                                      if not name.startswith(".orvane-")], ["m.csv", out])
            self.clean()
            self.assertIn(0, outcomes)
            self.assertTrue(outcomes - {0}, extension)
            # Few sizes let a small import start but not end; the steps may miss them.
            if extension == "fgb":
                self.assertIn(1, outcomes)


class ClosedStreamsTest(FaultsTest):
    """Readers of the output that go away in the middle, which CliTest's streams never do."""

    def test_a_reader_that_goes_after_a_line_ends_the_program(self):
        self.write_rows("m.csv", 100000)
        for arguments in (["read", "m.csv", "--json"], ["options"], ["preview", "m.csv", "--json"]):
            with self.subTest(arguments=arguments):
                completed = subprocess.run(
                    ["sh", "-c", '{ "$0" "$@"; echo $? >status; } 2>err | head -c 1', PROGRAM, *arguments],
                    cwd=self.folder, stdout=subprocess.PIPE, timeout=60)
                self.assertEqual(len(completed.stdout), 1)
                status = self.content("status").decode().strip()
                error = self.content("err").decode()
                # An output that fits into the pipe was written before the reader went.
                self.assertIn((status, error), (
                    ("1", "orvane: Could not write to the standard output. "
                          "Broken pipe\n"),
                    ("0", "")))
                if arguments[0] == "read":
                    self.assertEqual(status, "1")

    def test_rows_on_standard_output_that_cannot_go_on(self):
        # One row of a thousand is bad: its file appears with the last of the rows, or not at all.
        self.write("m.csv", "x,y,n,text\n" + "".join(
            f"{i % 170}.25,{i % 80}.5,{i},name {i}{',more' if i % 1000 == 7 else ''}\n" for i in range(60000)))
        source = random.Random(SEED)
        for name in ("csv", "geojson", "geojsonl"):
            arguments = [PROGRAM, "import", "m.csv", "-", "--format", name, "--crs", "EPSG:4326"]
            whole = subprocess.run(arguments, cwd=self.folder, capture_output=True, check=True).stdout
            self.assert_folder("m.csv", "m.csv.rejected.csv")
            os.remove(self.path("m.csv.rejected.csv"))
            for size in (0, 1, *(source.randrange(len(whole)) for _ in range(40 if ALL else 3))):
                with self.subTest(name=name, size=size):
                    process = subprocess.Popen(arguments, cwd=self.folder, stdout=subprocess.PIPE,
                                               stderr=subprocess.PIPE)
                    read = process.stdout.read(size)
                    process.stdout.close()
                    err = process.stderr.read()
                    process.stderr.close()
                    status = process.wait(60)
                    self.assertEqual(read, whole[:size])
                    # What fits into the pipe has left before the reader goes.
                    if status == 1:
                        self.assertEqual(err, b"")
                        self.assert_folder("m.csv")
                    else:
                        self.assertEqual(status, 0)
                        self.assertGreater(size, len(whole) - (1 << 17))
                        os.remove(self.path("m.csv.rejected.csv"))
            for stream, reason in (("/dev/full", "No space left on device"), (None, "Bad file descriptor")):
                with self.subTest(name=name, stream=stream), open(stream or os.devnull, "wb") as out:
                    completed = subprocess.run(
                        arguments if stream else ["sh", "-c", '"$0" "$@" >&-', *arguments],
                        cwd=self.folder, stdout=out, stderr=subprocess.PIPE, timeout=60)
                    self.assertEqual(completed.returncode, 1)
                    self.assertRegex(completed.stderr.decode(), rf"^orvane: -: [^\n]+{reason}[^\n]*\n$")
                    self.assert_folder("m.csv")

    def test_all_streams_closed(self):
        self.write("s.csv", STATIONS)
        for closed in (">&-", "2>&-", "<&-", "<&- >&- 2>&-"):
            with self.subTest(closed=closed):
                completed = subprocess.run(
                    ["sh", "-c", f'exec "$0" import s.csv out.csv {closed}', PROGRAM],
                    cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)
                self.assertEqual(completed.returncode, 1 if ">&- " in closed + " " and
                                 not closed.startswith("2>") else 0)
                self.assertEqual(len(self.dump("out.csv")["features"]), 3)
                os.remove(self.path("out.csv"))
                self.assertEqual(self.content("s.csv"), STATIONS.encode())

    def test_a_full_standard_error_changes_nothing(self):
        self.write("s.csv", STATIONS)
        with open("/dev/full", "wb") as full:
            completed = subprocess.run([PROGRAM, "read", "none.csv"], cwd=self.folder, stderr=full,
                                       stdout=subprocess.PIPE, timeout=60)
        self.assertEqual((completed.returncode, completed.stdout), (1, b""))


class SignalPointsTest(FaultsTest):
    """Signals at many points of a run."""

    # Starting the program is to be a small part of a run.
    ROWS = 200000
    POINTS = 400 if ALL else 10

    def setUp(self):
        super().setUp()
        os.mkdir(self.path("cache"))
        self.write_rows("m.csv", self.ROWS)
        self.random = random.Random(SEED)

    def duration(self, *arguments):
        begin = time.monotonic()
        self.succeed(*arguments)
        return time.monotonic() - begin

    def signal_at_points(self, numbers, arguments, check):
        longest = self.duration(*arguments) * 1.2
        if os.path.exists(self.path("out.gpkg")):
            os.remove(self.path("out.gpkg"))
        outcomes = {}
        for point in range(self.POINTS):
            number = numbers[point % len(numbers)]
            delay = self.random.uniform(0, longest)
            with self.subTest(number=number, delay=delay):
                process = self.start(*arguments)
                time.sleep(delay)
                process.send_signal(number)
                out, err = process.communicate(timeout=60)
                outcome = check(process.returncode, out, err, number)
                outcomes[outcome] = outcomes.get(outcome, 0) + 1
                self.assertEqual(os.listdir(self.path("cache")), [])
        self.assertGreater(outcomes.get("stopped", 0), 0, outcomes)
        self.wait_until_nobody_holds_files()

    def wait_until_nobody_holds_files(self):
        """An interrupted import leaves a process that keeps its files open, but not for long."""
        deadline = time.monotonic() + 30
        while held := self.find_held_files():
            self.assertLess(time.monotonic(), deadline, held)
            time.sleep(0.02)

    def find_held_files(self):
        """Files of the folder, removed ones too, that a program has open."""
        held = []
        for link in glob.glob("/proc/[0-9]*/fd/*"):
            with contextlib.suppress(OSError):
                name = os.readlink(link)
                if name.startswith(self.folder + "/"):
                    held.append(name)
        return held

    def count_rows(self, name):
        """Rows of the one layer of a GeoPackage."""
        with contextlib.closing(sqlite3.connect(self.path(name))) as file:
            (layer,), = file.execute("SELECT table_name FROM gpkg_contents")
            self.assertEqual(file.execute("PRAGMA quick_check").fetchall(), [("ok",)])
            return file.execute(f'SELECT count(*) FROM "{layer}"').fetchone()[0]

    def check_import(self, status, out, err, number):
        names = sorted(os.listdir(self.folder))
        isThere = "out.gpkg" in names
        if isThere:
            self.assertEqual(self.count_rows("out.gpkg"), self.ROWS)
            os.remove(self.path("out.gpkg"))
            names.remove("out.gpkg")
        self.assertEqual(names, ["cache", "m.csv"])
        if status == 0:
            self.assertTrue(isThere)
            return "done"
        if isThere:
            self.assertEqual((status, err), (1, INTERRUPTED_AFTER))
            return "written"
        # A signal before the program has started ends it like any other program.
        self.assertIn((status, err), ((1, INTERRUPTED), (-number, "")))
        return "stopped" if status == 1 else "not begun"

    def test_an_import_stops_cleanly_wherever_it_is(self):
        for cache in ("--disk-cache=cache", "--no-disk-cache"):
            self.signal_at_points(
                (signal.SIGINT, signal.SIGTERM, signal.SIGHUP),
                ("import", "m.csv", "out.gpkg", cache), self.check_import)

    def test_a_read_stops_cleanly_wherever_it_is(self):
        def check(status, out, err, number):
            self.assertIn((status, err), ((0, ""), (1, INTERRUPTED), (-number, "")))
            return "done" if status == 0 else "stopped"

        self.signal_at_points(
            (signal.SIGINT, signal.SIGTERM),
            ("read", "m.csv", "--json", "--disk-cache=cache", "-o", "X_COLUMN=0", "-o", "Y_COLUMN=1",
             "-o", "FIRST_LINE_COLUMN_NAMES=1"), check)

    def test_a_kill_leaves_nothing_under_the_name_and_nothing_for_long(self):
        arguments = ("import", "m.csv", "out.gpkg", "--disk-cache=cache")
        longest = self.duration(*arguments) * 1.1
        os.remove(self.path("out.gpkg"))
        leftovers = 0
        for _ in range(self.POINTS):
            process = self.start(*arguments)
            time.sleep(self.random.uniform(0, longest))
            process.kill()
            process.communicate(timeout=60)
            if os.path.exists(self.path("out.gpkg")):
                self.assertEqual(self.count_rows("out.gpkg"), self.ROWS)
                os.remove(self.path("out.gpkg"))
            self.assertEqual(os.listdir(self.path("cache")), [])
            leftovers += any(name.startswith(".orvane-") for name in os.listdir(self.folder))
        # The next run removes what the killed ones have left.
        self.succeed(*arguments)
        self.assert_folder("cache", "m.csv", "out.gpkg")
        print(f"{leftovers} of {self.POINTS} kills left a hidden folder")


class AbandonedFoldersTest(FaultsTest):
    def setUp(self):
        super().setUp()
        self.write("s.csv", STATIONS)

    def make(self, name, *files):
        os.mkdir(self.path(name))
        for file in files:
            self.write(os.path.join(name, file), "x")

    def test_those_of_killed_programs_go(self):
        self.make(".orvane-abCD12", "out.gpkg", "out.gpkg-journal")
        self.make(".orvane-empty1")
        self.succeed("import", "s.csv", "out.csv")
        self.assert_folder("s.csv", "out.csv")

    def test_those_in_use_stay(self):
        self.make(".orvane-abCD12", "out.gpkg")
        folder = os.open(self.path(".orvane-abCD12"), os.O_RDONLY)
        self.addCleanup(os.close, folder)
        fcntl.flock(folder, fcntl.LOCK_EX)
        self.succeed("import", "s.csv", "out.csv")
        self.assert_folder("s.csv", "out.csv", ".orvane-abCD12")
        self.assertEqual(self.content(".orvane-abCD12/out.gpkg"), b"x")

    def test_what_only_looks_like_them_stays(self):
        self.make(".orvane-", "a")
        self.make(".orvane-toolong", "a")
        self.make("orvane-abCD12", "a")
        self.make(".orvane-deeper")
        self.make(".orvane-deeper/folder", "a")
        self.make("elsewhere", "a")
        os.symlink("elsewhere", self.path(".orvane-a_link"))
        os.symlink("elsewhere", self.path(".orvane-alink1"))
        self.write(".orvane-a_file", "x")
        self.write(".orvane-afile1", "x")
        before = sorted(os.listdir(self.folder))
        self.succeed("import", "s.csv", "out.csv")
        self.assertEqual(sorted(os.listdir(self.folder)), sorted(before + ["out.csv"]))
        self.assertEqual(self.content("elsewhere/a"), b"x")
        self.assertEqual(self.content(".orvane-deeper/folder/a"), b"x")

    def test_programs_side_by_side_do_each_other_no_harm(self):
        self.write_rows("m.csv", 2000)
        for turn in range(20 if ALL else 2):
            processes = [self.start("import", "m.csv", f"out{index}.csv") for index in range(8)]
            for index, process in enumerate(processes):
                _, err = process.communicate(timeout=120)
                self.assertEqual((process.returncode, err), (0, ""), turn)
                self.assertEqual(len(self.dump(f"out{index}.csv")["features"]), 2000)
        self.assert_folder("s.csv", "m.csv", *(f"out{index}.csv" for index in range(8)))


class OddPathsTest(FaultsTest):
    def failure_of(self, path, *more):
        result = self.run_orvane("read", path, *more)
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertRegex(result.err, r"^orvane: [^\n]+\n$")
        self.assertNotRegex(result.err[:-1], r"[\x00-\x1f\x7f\x80-\x9f]")
        return result.err

    def test_what_is_no_file_with_data_is_refused_at_once(self):
        os.mkdir(self.path("folder.csv"))
        os.symlink("/dev/zero", self.path("zero.csv"))
        os.symlink("/dev/null", self.path("null.csv"))
        os.symlink("/dev/full", self.path("full.csv"))
        os.symlink("nowhere", self.path("dangling.csv"))
        os.symlink("loop.csv", self.path("loop.csv"))
        os.symlink("/proc/self/mem", self.path("memory.csv"))
        os.mkfifo(self.path("pipe.csv"))
        device = "This is a pipe, a socket or a device, not a file. Write its data to a file first."
        for name, text in (
                ("folder.csv", "This is a folder, not a file. Name a file in it."),
                ("zero.csv", device), ("null.csv", device), ("full.csv", device),
                ("memory.csv", "The file is empty."), ("pipe.csv", device),
                ("dangling.csv", "There is no such file. Check its name and its folder."),
                ("loop.csv", "There is no such file. Too many levels of symbolic links.")):
            with self.subTest(name=name):
                self.assertEqual(self.failure_of(name),
                                 f"orvane: {name}: {text}\n")
                result = self.run_orvane("import", name, "out.csv")
                self.assertEqual(result.status, 1)
                self.assertFalse(os.path.exists(self.path("out.csv")))

    def test_names_of_any_kind_are_read_and_shown_escaped(self):
        for name in ("with\nnewline.csv", "\x1b[31mred.csv", "\u202eturned.csv", "-dash.csv",
                     "a" * 251 + ".csv", "\U0001f600.csv", "back\\slash.csv"):
            with self.subTest(name=name[:20]):
                self.write(name, STATIONS)
                result = self.succeed("import", "./" + name, "out.csv")
                self.assertNotRegex(result.out, "[\x00-\x09\x0b-\x1f\x7f\x80-\x9f\u202e]")
                self.assertEqual(len(self.dump("out.csv")["features"]), 3)
        with open(os.fsencode(self.folder) + b"/\xff\xfe.csv", "wb") as file:
            file.write(STATIONS.encode())
        self.assertIn("<\\xFF\\xFE.csv> is not valid UTF-8", self.failure_of(b"\xff\xfe.csv"))
        self.assertIn("There is no such file. File name too long.", self.failure_of("n" * 300 + ".csv"))
        self.assertIn("There is no such file. File name too long.", self.failure_of("n/" * 3000 + ".csv"))

    def test_links_are_followed(self):
        self.write("s.csv", STATIONS)
        os.symlink("s.csv", self.path("link.csv"))
        self.succeed("import", "link.csv", "out.csv")
        self.assertEqual(len(self.dump("out.csv")["features"]), 3)

    def test_outputs_of_odd_names(self):
        self.write("s.csv", "x,y\n1,2\n3,4\n5,6\n")
        for name in ("with\nnewline.gpkg", "\x1b[31m.csv", "\u202e.fgb"):
            self.assertEqual(self.run_orvane("import", "s.csv", name, "--crs", "EPSG:4326").status, 0)
            self.assertEqual(len(self.dump(name)["features"]), 3)


class OptionFilesTest(FaultsTest):
    def refuse(self, name, pattern, **keywords):
        result = self.run_orvane("read", "s.csv", "--options", name, **keywords)
        self.assertEqual((result.status, result.out), (2, ""))
        self.assertRegex(result.err, "^orvane: The option file <[^\n]*> " + pattern + "\n$")

    def setUp(self):
        super().setUp()
        self.write("s.csv", STATIONS)

    def test_large_ones_and_devices_are_refused_in_little_memory(self):
        with open(self.path("huge.json"), "wb") as file:
            file.truncate(100 << 20)
        os.mkfifo(self.path("pipe.json"))
        os.symlink("nowhere", self.path("dangling.json"))
        for name in ("huge.json", "/dev/zero"):
            self.refuse(name, "cannot be read: it is larger than 16 MiB.")
        self.assertLess(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, 512 * 1024)
        self.refuse("/dev/null", "is not valid: it is no JSON[^\n]*")
        self.refuse("dangling.json", "cannot be read: No such file or directory.")
        self.refuse("pipe.json", "is not valid: it is no JSON[^\n]*")

    def test_deep_ones_are_refused_in_little_stack(self):
        stack = lambda: resource.setrlimit(resource.RLIMIT_STACK, (1 << 20, 1 << 20))
        for opening in ("[", '{"X_COLUMN":[', '{"FIELD_LENGTH":[' + "["):
            with self.subTest(opening=opening):
                self.write("deep.json", opening * 100000)
                self.refuse("deep.json", "is not valid: [^\n]+", preexec_fn=stack)
                self.write("deep.json", opening + "[" * 1000000)
                self.refuse("deep.json", "is not valid: [^\n]+", preexec_fn=stack)

    def test_bytes_of_any_kind_are_refused_in_one_line(self):
        source = random.Random(SEED)
        for turn in range(2000 if ALL else 40):
            content = bytes(source.randrange(256) for _ in range(source.randrange(60)))
            with self.subTest(content=content):
                self.write("o.json", content)
                self.refuse("o.json", "is not valid: [^\n]+")
        self.write("o.json", b'{"\x1b[31m": 1}')
        result = self.run_orvane("read", "s.csv", "--options", "o.json")
        self.assertEqual(result.status, 2)
        self.assertNotIn("\x1b", result.err)

    def test_values_at_their_ends(self):
        values = ("2147483647", "-2147483648", "9223372036854775807", "1e308", "-0.0", '""',
                  json.dumps("x" * (1 << 20)), "true", "[]", "[1,2,3]", '["a"]')
        keys = ("X_COLUMN", "X_MULTIPLIER", "FIELD_LENGTH", "ASCII_SEPARATOR", "CODEC",
                "COLUMN_DEFINITION", "NAME_COLUMN", "MAX_RECORDS", "SCHEMA_SAMPLE_SIZE",
                "ASCII_HEADER_COUNT", "ASCII_HEADER_IDENTIFIER", "USE_TAB")
        cases = [(key, value) for key in keys for value in values]
        for key, value in cases[::1 if ALL else 5]:
            with self.subTest(key=key, value=value[:20]):
                self.write("o.json", '{"Y_COLUMN":1,"%s":%s}' % (key, value))
                result = self.run_orvane("read", "s.csv", "--options", "o.json")
                self.assertIn(result.status, (0, 1, 2))
                self.assertRegex(result.err, r"^(orvane: [^\n]+\n)?$")
                self.assertLess(len(result.err), 10000)


class RandomArgumentsTest(FaultsTest):
    COMMANDS = (b"import", b"read", b"preview", b"options", b"help", b"version")
    TEXTS = (
        *COMMANDS, b"s.csv", b"o.json", b"o.gpkg", b"o.csv", b"-o", b"--option", b"X_COLUMN=0",
        b"-oY_COLUMN=1", b"USE_TAB", b"--options", b"--json", b"--json=2", b"--json=x", b"--x", b"--y",
        b"--z", b"--x=lon", b"--x=", b"--x=[1,2]", b"lat", b"0", b"-1", b"-1.5", b"--crs", b"EPSG:4326",
        b"--disk-cache", b"--disk-cache=.", b"--disk-cache=", b"--disk-cache=false", b"--no-disk-cache",
        b"--no-disk-cache=x", b"--plugin", b"--help", b"-h", b"--help-all", b"--version", b"--config", b"--",
        b"-", b"", b"=", b"--=", b"-vvv", b"[", b"[]", b"{}", b"%%", b"++", b'"', b"'", b"a b", b"\n",
        b"\x1b[0m", b"\xff", b"\xc2\x9b", b"!s.csv")
    # Without the slash, so that no output can land in another folder.
    BYTES = [byte for byte in range(1, 256) if byte != ord("/")]

    def make(self, source):
        arguments = [source.choice(self.COMMANDS)] if source.random() < 0.8 else []
        arguments += [source.choice(self.TEXTS) for _ in range(source.randrange(7))]
        if source.random() < 0.3:
            arguments = [bytes(source.choice(self.BYTES) if source.random() < 0.1 else byte
                               for byte in argument) for argument in arguments]
        return arguments

    def test_any_mix_is_done_or_ends_with_a_line(self):
        inputs = {"s.csv": STATIONS, "o.json": '{"X_COLUMN": 0}'}
        source = random.Random(SEED)
        ends = set()
        for _ in range(3000 if ALL else 120):
            for name in os.listdir(self.folder):
                os.remove(self.path(name))
            for name, content in inputs.items():
                self.write(name, content)
            arguments = self.make(source)
            with self.subTest(arguments=arguments):
                result = self.run_orvane(*arguments)
                ends.add(result.status)
                self.assertIn(result.status, (0, 1, 2))
                self.assertNotRegex(result.err + result.out, r"[\x00-\x09\x0b-\x1f\x7f-\x9f]")
                if not arguments:
                    self.assertIn("Usage: orvane COMMAND", result.err)
                    self.assert_folder(*inputs)
                elif result.status != 0:
                    self.assertRegex(result.err, r"^orvane: ")
                    # The list of columns to choose from follows its line.
                    if "The columns of the file, by index:" not in result.err:
                        self.assertEqual(result.err.count("\n"), 1)
                    self.assert_folder(*inputs)
        self.assertEqual(ends, {0, 1, 2})


class PluginFolderTest(FaultsTest):
    def test_whatever_lies_beside_the_plug_in_is_left_alone(self):
        folder = self.path("bin")
        os.mkdir(folder)
        built = os.path.dirname(PROGRAM)
        for name in (PROGRAM, os.path.join(built, "AsciiReader.so")):
            shutil.copy(name, folder)
        shutil.copy(NO_PLUGIN, os.path.join(folder, "Another.so"))
        shutil.copy(FAKE, os.path.join(folder, "AAA.so"))
        self.write("bin/empty.so", "")
        self.write("bin/text.so", "no library\n")
        self.write("bin/cut.so", self.content("bin/AsciiReader.so")[:40])
        self.write("s.csv", STATIONS)
        environment = dict(os.environ, LD_LIBRARY_PATH=built)
        completed = subprocess.run(
            [os.path.join(folder, "orvane"), "read", "s.csv"], cwd=self.folder, env=environment,
            capture_output=True, text=True, timeout=60)
        self.assertEqual((completed.returncode, completed.stderr), (0, ""))
        for name in ("Another.so", "empty.so", "text.so", "cut.so"):
            with self.subTest(name=name):
                result = self.run_orvane("read", "s.csv", "--plugin", os.path.join("bin", name))
                self.assertEqual((result.status, result.out), (1, ""))
                self.assertRegex(result.err, r"^orvane: The (plug-in|library) <[^\n]+\n$")


    def test_a_plug_in_that_is_cut_short_anywhere_is_one_line(self):
        module = os.path.join(os.path.dirname(PROGRAM), "AsciiReader.so")
        with open(module, "rb") as file:
            content = file.read()
        self.write("s.csv", STATIONS)
        lengths = {1, 16, 63, 64, 65, 200, 600} | {len(content) * part // 24 for part in range(24)}
        endings = set()
        for length in sorted(lengths):
            with self.subTest(length=length):
                with open(self.path("cut.so"), "wb") as file:
                    file.write(content[:length])
                result = self.run_orvane("read", "s.csv", "--plugin", "./cut.so")
                # Parts that are not loaded, such as names for debuggers, may be missing.
                self.assertIn(result.status, (0, 1))
                if result.status == 1:
                    self.assertRegex(
                        result.err,
                        r"^orvane: The plug-in <[^\n]*/cut\.so> could not be loaded\. "
                        r"[^\n]+\n$")
                endings.add(result.err.rsplit("could not be loaded. ", 1)[-1])
        self.assertIn("The file is cut short.\n", endings)


class TerminalTest(FaultsTest):
    """Escape sequences of data, names and options on a real terminal."""

    NASTY = "\x1b]0;title\x07\x1b[31mred\x9b2J\u202e\x08\x7f"

    def on_terminal(self, *arguments):
        leader, follower = pty.openpty()
        process = subprocess.Popen([PROGRAM, *arguments], cwd=self.folder, stdin=follower,
                                   stdout=follower, stderr=follower, close_fds=True)
        os.close(follower)
        shown = b""
        try:
            while True:
                ready, _, _ = select.select([leader], [], [], 60)
                self.assertTrue(ready, "the program hangs")
                try:
                    block = os.read(leader, 65536)
                except OSError as error:
                    self.assertEqual(error.errno, errno.EIO)
                    break
                if not block:
                    break
                shown += block
        finally:
            os.close(leader)
            process.wait(60)
        return process.returncode, shown.decode()

    def assert_clean(self, shown, isJson):
        if isJson:
            # Texts in JSON keep the characters that change the writing direction.
            shown = shown.replace("\u202e", "")
        # The progress line's own sequences: return to the line's start, clear to its end.
        shown = shown.replace("\r\n", "\n").replace("\r\x1b[K", "").replace("\r", "")
        self.assertNotRegex(shown, "[\x00-\x09\x0b-\x1f\x7f\x80-\x9f\u202e]")

    def test_nothing_reaches_it_as_it_stands(self):
        nasty = self.NASTY
        self.write("s.csv", f"x,y,{nasty}\n1,2,{nasty}\n3,4,{nasty}\n")
        self.write(nasty.replace("/", "") + ".csv", f"x,y,{nasty}\n1,2,{nasty}\n")
        self.write("bad.csv", f"x,y,a\n1,2,3\n1,2,{nasty},4\n")
        self.write("ask.csv", f"{nasty},b\n{nasty},2\n")
        options = ("-o", "X_COLUMN=0", "-o", "Y_COLUMN=1", "-o", "FIRST_LINE_COLUMN_NAMES=1",
                   "-o", "CODEC=UTF-8")
        cases = (
            (0, ("read", "s.csv", *options)), (0, ("read", "s.csv", "--json", *options)),
            (0, ("preview", "s.csv", "-o", "CODEC=UTF-8")),
            (0, ("preview", "s.csv", "--json", "-o", "CODEC=UTF-8")),
            (0, ("import", "s.csv", "out.gpkg", "-o", "CODEC=UTF-8")),
            (0, ("import", nasty + ".csv", "-o", "CODEC=UTF-8")),
            (1, ("read", "bad.csv", *options[4:])), (1, ("read", "bad.csv", "--json", *options[4:])),
            (2, ("import", "ask.csv", "-o", "CODEC=UTF-8")),
            (1, ("read", nasty)), (1, ("read", nasty, "--json")),
            (2, ("read", "s.csv", "-o", nasty + "=1")), (2, ("read", "s.csv", "-o", "X_COLUMN=" + nasty)),
            (1, ("read", "s.csv", "-o", "CODEC=" + nasty)), (1, ("read", "s.csv", "--plugin", nasty)),
            (2, ("read", "s.csv", "--options", nasty)), (2, ("import", "s.csv", nasty)),
            (2, ("import", "s.csv", "o.csv", "--crs", nasty)),
            (1, ("import", "s.csv", "o.csv", "--x", nasty)), (0, ("import", "s.csv", "out.gpkg")),
            (0, ("import", "bad.csv", "out.gpkg")), (0, ("import", "bad.csv", "out.gpkg", "--json")),
            (1, ("import", "bad.csv", "out.gpkg", "--on-bad", "stop")),
            (2, ("import", "ask.csv")), (0, ("import", "ask.csv", "--no-points", "--names", "yes")),
            (1, ("import", "s.csv", nasty + "/o.csv")),
            (1, ("import", "s.csv", "o.csv", "--disk-cache=" + nasty)),
            (2, (nasty,)), (2, ("read", "s.csv", "--" + nasty)),
        )
        for status, arguments in cases:
            with self.subTest(arguments=arguments):
                got, shown = self.on_terminal(*arguments)
                self.assert_clean(shown, "--json" in arguments)
                self.assertEqual(got, status, shown)
                # Nor may anything else show the output.
                result = self.run_orvane(*arguments)
                self.assertEqual(result.status, status)
                self.assert_clean(result.err, False)
                self.assert_clean(result.out, "--json" in arguments)


if __name__ == "__main__":
    unittest.main(verbosity=2, argv=[sys.argv[0], *sys.argv[1:]])
