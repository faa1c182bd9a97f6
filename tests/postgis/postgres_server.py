"""A PostgreSQL server with PostGIS on loopback, in a folder of its own, for tests and benchmarks."""

import contextlib
import os
import pathlib
import pwd
import shutil
import signal
import socket
import subprocess
import tempfile
import time

PASSWORD = "open sesame's"


def as_server_user(command):
    """The server refuses to run as root."""
    if os.getuid() != 0:
        return command
    user = "postgres" if any(entry.pw_name == "postgres" for entry in pwd.getpwall()) else "nobody"
    return ["runuser", "-u", user, "--", *command]


class Server:
    """A server in a folder of its own, with a database that has PostGIS."""

    def __init__(self, binaries):
        """binaries: the folder of initdb and postgres."""
        self.binaries = pathlib.Path(binaries)
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="orvane-postgis-"))
        self.folder.chmod(0o777)
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            self.port = probe.getsockname()[1]
        self.connection = ["-h", "127.0.0.1", "-p", str(self.port), "-U", "tester", "-d", "survey"]
        password = self.folder / "password"
        password.write_text(PASSWORD + "\n")
        password.chmod(0o644)
        data = self.folder / "data"
        subprocess.run(
            as_server_user([self.binaries / "initdb", "-D", data, "-U", "tester", "--pwfile", password,
                            "-A", "scram-sha-256", "--no-sync", "-E", "UTF8", "--locale=C"]),
            check=True, stdout=subprocess.DEVNULL, cwd="/")
        self.start()
        self.run_sql("CREATE DATABASE survey", "postgres")
        self.run_sql("CREATE EXTENSION postgis", "survey")
        self.run_sql("CREATE DATABASE plain", "postgres")

    def start(self, *before):
        """@param before: a command that runs the server, and its arguments"""
        self.process = subprocess.Popen(
            as_server_user([*before, self.binaries / "postgres", "-D", self.folder / "data", "-p", str(self.port),
                            "-c", "listen_addresses=127.0.0.1", "-c", "fsync=off",
                            "-c", f"unix_socket_directories={self.folder}"]),
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd="/")
        deadline = time.monotonic() + 60
        while self.run_sql("SELECT 1", "postgres", check=False) is None:
            if time.monotonic() > deadline or self.process.poll() is not None:
                raise RuntimeError("the server does not start")
            time.sleep(0.1)

    def run_sql(self, sql, database="survey", check=True):
        result = subprocess.run(
            [self.binaries / "psql", *self.connection, "-d", database, "-XAtq", "-F", "|",
             "-P", "null=NULL", "-v", "ON_ERROR_STOP=1", "-c", sql],
            capture_output=True, text=True, check=False, cwd="/",
            env={**os.environ, "PGPASSWORD": PASSWORD})
        if result.returncode != 0:
            if check:
                raise RuntimeError(result.stderr)
            return None
        return result.stdout.rstrip("\n")

    def target(self, database="survey", password=PASSWORD, port=None):
        quoted = password.replace("\\", "\\\\").replace("'", "\\'")
        return (f"PG:host=127.0.0.1 port={port or self.port} user=tester password='{quoted}' "
                f"dbname={database}")

    def find_pid(self):
        return int((self.folder / "data/postmaster.pid").read_text().splitlines()[0])

    def wait_for_backend(self, query, deadline=60):
        """@return the process that works on a statement like that; fails when there is none in time"""
        end = time.monotonic() + deadline
        while time.monotonic() < end:
            found = self.run_sql(f"SELECT pid FROM pg_stat_activity WHERE query LIKE '{query}' AND "
                                 "pid <> pg_backend_pid() AND state = 'active'")
            if found:
                return int(found.splitlines()[0])
            time.sleep(0.01)
        raise RuntimeError(f"nobody does {query}")

    def halt(self):
        """Ends the server; start may follow."""
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            os.kill(self.find_pid(), signal.SIGINT)
        self.process.wait(timeout=60)

    def stop(self):
        self.halt()
        shutil.rmtree(self.folder, ignore_errors=True)
