#!/usr/bin/env python3
"""Faults of a database: servers that die, disks that fill, connections that are cut or fall silent,
cancels and kills in every phase. What stands in the database afterwards is all of it, or as before.

Environment: ORVANE_PROGRAM, ORVANE_POSTGRES_BIN (the folder of initdb and postgres),
ORVANE_FAULTS_ALL for all points instead of some.
"""

import contextlib
import os
import pathlib
import random
import resource
import select
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import time
import unittest

from postgres_server import Server

PROGRAM = os.environ["ORVANE_PROGRAM"]
ALL = bool(os.environ.get("ORVANE_FAULTS_ALL"))
SEED = int(os.environ.get("ORVANE_FAULTS_SEED", "1"))
ROWS = 300_000


class Proxy:
    """Passes bytes between a client and the server, until so many have come from the client; then it
    cuts the connection, or lets it fall silent."""

    def __init__(self, port, most, is_silent):
        self.server_port, self.most, self.is_silent = port, most, is_silent
        self.passed = 0
        self.ends = []
        self.is_over = threading.Event()
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def run(self):
        with contextlib.suppress(OSError):
            while True:
                client = self.listener.accept()[0]
                server = socket.create_connection(("127.0.0.1", self.server_port))
                self.ends += [client, server]
                self.pass_on(client, server)

    def pass_on(self, client, server):
        while not self.is_over.is_set():
            for end in select.select([client, server], [], [], 0.05)[0]:
                block = end.recv(65536)
                if end is client:
                    self.passed += len(block)
                if self.passed > self.most:
                    if not self.is_silent:
                        client.close()
                    self.is_over.wait(60)
                    server.close()
                    return
                (server if end is client else client).sendall(block)
                if not block:
                    return

    def stop(self):
        self.is_over.set()
        self.listener.close()
        self.thread.join(10)
        for end in self.ends:
            end.close()


class PostgisTest(unittest.TestCase):
    def setUp(self):
        self.random = random.Random(SEED)
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="orvane-postgis-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.path = self.folder / "points.csv"
        # One row of a thousand is bad.
        self.path.write_text("id,x,y,name\n" + "".join(
            f"{n},{n % 170}.123456,{n % 80}.654321,name {n}{',surplus' if n % 1000 == 999 else ''}\n"
            for n in range(ROWS)), encoding="ascii")
        self.good = ROWS - ROWS // 1000
        self.server = self.start_server()

    def start_server(self):
        server = Server(os.environ["ORVANE_POSTGRES_BIN"])
        self.addCleanup(server.stop)
        return server

    def start(self, *options, port=None, **keywords):
        process = subprocess.Popen(
            [PROGRAM, "import", self.path.name, self.server.target(port=port), "--crs", "EPSG:4326",
             *options], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, cwd=self.folder,
            **keywords)
        self.addCleanup(process.wait)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.kill)
        return process

    def count(self):
        """Rows of the table, None when there is none."""
        if self.server.run_sql("SELECT to_regclass('points')") == "NULL":
            return None
        return int(self.server.run_sql("SELECT count(*) FROM points"))

    def expect_failure(self, process, *texts, seconds=60):
        out, err = process.communicate(timeout=seconds)
        self.assertEqual((process.returncode, out), (1, ""), err)
        for text in texts:
            self.assertIn(text, err)
        self.assertNotIn("sesame", err)
        self.assertEqual([line for line in err.splitlines() if not line.startswith("orvane: ")], [])
        return err

    def assert_as_before(self, rows=None):
        self.assertEqual(self.count(), rows)
        self.assertEqual(os.listdir(self.folder), ["points.csv"])

    def succeed(self, *options):
        process = self.start(*options)
        _, err = process.communicate(timeout=120)
        self.assertEqual((process.returncode, err), (0, ""))

    def wait_until_server_is_idle(self):
        """A server notices within a second that nobody is there any more."""
        deadline = time.monotonic() + 5
        while self.server.run_sql("SELECT count(*) FROM pg_stat_activity WHERE pid <> pg_backend_pid() "
                                  "AND backend_type = 'client backend'") != "0":
            self.assertLess(time.monotonic(), deadline, "the server goes on working")
            time.sleep(0.02)


class PostgisFaultsTest(PostgisTest):
    def test_bad_rows_are_beside_the_file(self):
        self.succeed()
        self.assertEqual(self.count(), self.good)
        self.assertEqual(sorted(os.listdir(self.folder)), ["points.csv", "points.csv.rejected.csv"])
        rejected = (self.folder / "points.csv.rejected.csv").read_text(encoding="ascii")
        self.assertEqual(rejected.count("\n"), 1 + ROWS // 1000)

    def test_a_full_disk_of_the_server_is_told(self):
        # Files of the server grow to 17 MiB; the pieces of its log have 16.
        self.server.halt()
        self.server.start("prlimit", f"--fsize={17 << 20}")
        for options, before in (((), None), (("--append",), 10)):
            if before:
                self.server.run_sql(
                    'CREATE TABLE points (fid bigint, geom geometry(Point,4326), id integer, name text);'
                    f" INSERT INTO points (fid) SELECT generate_series(1, {before})")
            process = self.start(*options)
            self.expect_failure(process, "The database refuses.", "File too large")
            self.assert_as_before(before)

    def test_a_server_that_dies_is_told(self):
        for query in ("COPY %points%", "CREATE INDEX %"):
            process = self.start()
            self.server.wait_for_backend(query)
            os.kill(self.server.find_pid(), signal.SIGQUIT)
            self.expect_failure(process, "The database refuses.")
            self.assertEqual(os.listdir(self.folder), ["points.csv"])
            self.server.process.wait(timeout=60)
            # What the server has on its disk is as before.
            self.server.start()
            self.assert_as_before()

    def test_a_connection_that_is_cut_anywhere_leaves_nothing(self):
        whole = Proxy(self.server.port, 1 << 40, False)
        process = self.start("--on-bad", "skip", port=whole.port)
        self.assertEqual(process.wait(120), 0)
        whole.stop()
        self.server.run_sql("DROP TABLE points")
        points = 60 if ALL else 6
        for most in [0, 100, 1000, whole.passed - 1,
                     *(self.random.randrange(whole.passed) for _ in range(points))]:
            with self.subTest(most=most, of=whole.passed):
                proxy = Proxy(self.server.port, most, False)
                process = self.start(port=proxy.port)
                _, err = process.communicate(timeout=60)
                proxy.stop()
                if process.returncode == 0:
                    self.assertEqual(self.count(), self.good)
                    self.server.run_sql("DROP TABLE points")
                    os.remove(self.folder / "points.csv.rejected.csv")
                    continue
                self.assertEqual(process.returncode, 1)
                self.assertRegex(err, r"\Aorvane: [^\n]+\n\Z")
                if "may be in the database" not in err and "cannot be read back" not in err:
                    self.assertEqual(self.count(), None, err)
                    self.assertEqual(os.listdir(self.folder), ["points.csv"])

    def test_a_server_that_falls_silent_does_not_hinder_a_cancel(self):
        for most in (0, 200, 2_000_000):
            with self.subTest(most=most):
                proxy = Proxy(self.server.port, most, True)
                process = self.start(port=proxy.port)
                time.sleep(1.5)
                self.assertIsNone(process.poll())
                begin = time.monotonic()
                process.send_signal(signal.SIGTERM)
                self.expect_failure(process, "Interrupted; nothing was written.", seconds=10)
                self.assertLess(time.monotonic() - begin, 1)
                proxy.stop()
                self.assert_as_before()

    def test_a_server_that_does_not_answer_is_given_up(self):
        with socket.create_server(("127.0.0.1", 0)) as listener:
            process = subprocess.Popen(
                [PROGRAM, "import", self.path, "PG:host=127.0.0.1 dbname=x connect_timeout=2 "
                 f"port={listener.getsockname()[1]}"], stderr=subprocess.PIPE, text=True)
            _, err = process.communicate(timeout=30)
        self.assertEqual(process.returncode, 1)
        self.assertRegex(err, r"\Aorvane: .*The database cannot be reached\. the server does not "
                              r"answer\. [^\n]+\n\Z")

    def test_signals_and_kills_leave_nothing(self):
        begin = time.monotonic()
        self.succeed()
        longest = (time.monotonic() - begin) * 1.1
        outcomes = {}
        for point in range(60 if ALL else 12):
            self.server.run_sql("DROP TABLE IF EXISTS points")
            number = (signal.SIGINT, signal.SIGTERM, signal.SIGKILL)[point % 3]
            delay = self.random.uniform(0, longest)
            with self.subTest(number=number, delay=delay):
                process = self.start(preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
                time.sleep(delay)
                process.send_signal(number)
                process.communicate(timeout=60)
                self.wait_until_server_is_idle()
                count = self.count()
                self.assertIn(count, (None, self.good))
                outcome = (number.name, count is not None, process.returncode)
                outcomes[outcome] = outcomes.get(outcome, 0) + 1
                if process.returncode == 0:
                    self.assertEqual(count, self.good)
        # The next import removes what the killed ones have left.
        self.server.run_sql("DROP TABLE IF EXISTS points")
        self.succeed()
        self.assertEqual(sorted(os.listdir(self.folder)), ["points.csv", "points.csv.rejected.csv"])
        print(outcomes)

    def test_a_cancel_stops_the_index(self):
        process = self.start()
        self.server.wait_for_backend("CREATE INDEX %")
        begin = time.monotonic()
        process.send_signal(signal.SIGTERM)
        _, err = process.communicate(timeout=30)
        if "the output was written" not in err:
            self.assertLess(time.monotonic() - begin, 1)
            self.wait_until_server_is_idle()
            self.assert_as_before()


class PostgisMemoryTest(PostgisTest):
    def test_too_little_memory_is_told(self):
        outcomes = set()
        for limit in range(40, 400, 4 if ALL else 30):
            self.server.run_sql("DROP TABLE IF EXISTS points")
            size = limit << 20
            process = self.start(
                "--on-bad", "skip",
                preexec_fn=lambda size=size: resource.setrlimit(resource.RLIMIT_AS, (size, size)))
            _, err = process.communicate(timeout=60)
            with self.subTest(limit=limit, err=err):
                outcomes.add(process.returncode)
                # Libraries that cannot load may make a coordinate system an unknown one.
                self.assertIn(process.returncode, (0, 1, 2, 127))
                self.assertEqual(self.count(), self.good if process.returncode == 0 else None)
                if process.returncode in (1, 2):
                    self.assertRegex(err, r"\A(orvane: note: [^\n]+\n)*orvane: (?!note)[^\n]+\n\Z")
        self.assertIn(0, outcomes)
        self.assertTrue(outcomes - {0})


if __name__ == "__main__":
    unittest.main(verbosity=2)
