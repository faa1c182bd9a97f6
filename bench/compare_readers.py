"""The readers of the comparison: their commands, whether they are installed, and their answers."""

import json
import os
import pathlib
import shutil
import subprocess
from dataclasses import dataclass

from compare_data import DOUBLES_A

FOLDER = pathlib.Path(__file__).resolve().parent
EXACT = 1e-9  # sums are added up in another order
ROUNDED = 1e-6  # readers that do not round every number correctly
TIMEOUT_SECONDS = 900


class ComparisonError(Exception):
    """A reader failed, or its answer differs from the others'."""


@dataclass(frozen=True)
class Reader:
    """One way of reading a file."""

    name: str
    family: str
    title: str
    command: tuple  # before the files' arguments
    threads: int = 1
    tolerance: float = EXACT
    environment: tuple = ()
    missing: str = ""  # why it cannot run; empty when it can
    version: str = ""
    is_ours: bool = False
    options: tuple = ()  # of our reader

    def arguments(self, dataset, data):
        paths = [str(path) for path in dataset.paths(data)]
        if self.family == "from-chars":
            return paths
        if self.is_ours:
            mode = ["--preview"] if self.name == "orvane-preview" else ["--drop"] if dataset.files > 1 else []
            return [*mode, *paths, *dataset.options, *self.options]
        axes = [word for axis, name in dataset.axes.items() for word in ("--" + axis, name)]
        return [*axes, *paths]


def ask_version(command, environment=()):
    """A pair: the version that a reader's program prints, and why it cannot run."""
    if shutil.which(command[0]) is None:
        return "", f"no {pathlib.Path(command[0]).name}"
    try:
        answer = subprocess.run(
            [*command, "--version"],
            env={**os.environ, **dict(environment)},
            capture_output=True,
            text=True,
            timeout=TIMEOUT_SECONDS,
        )
    except OSError as error:
        return "", str(error)
    if answer.returncode != 0:
        lines = [line for line in answer.stderr.splitlines() if "rror" in line]
        return "", (lines or ["does not start"])[0].strip()
    return answer.stdout.strip(), ""


def find_python():
    """The Python that has pandas: the system's, whatever runs this script."""
    for python in ("/usr/bin/python3", "python3"):
        found = shutil.which(python)
        if found and subprocess.run([found, "-c", "import pandas"], capture_output=True).returncode == 0:
            return found
    return "python3"


def find_readers(arguments):
    """All readers, in the order in which they run; those that cannot run say why."""
    binaries = arguments.bin
    ours = (str(binaries / "orvane_bench_import"), str(binaries / "AsciiReader.so"))
    # Node.js programs find their packages where scripts/install-bench-deps puts them.
    node_path = (("NODE_PATH", str(FOLDER.parent / "build" / "bench-peers" / "node_modules")),)
    readers = []

    def add_ours(name, title, command=ours, options=(), environment=()):
        absent = [path for path in command if not pathlib.Path(path).exists()]
        missing = f"no {absent[0]}" if absent else ""
        readers.append(
            Reader(name, "orvane", title, command, 1, EXACT, environment, missing, "", True, options)
        )

    def add(name, title, command, threads=1, tolerance=EXACT, environment=(), extra=()):
        family = name.split("-")[0]
        known = [reader for reader in readers if reader.family == family]
        if known:
            version, missing = known[0].version, known[0].missing
        else:
            version, missing = ask_version(command, environment)
        if threads > len(os.sched_getaffinity(0)) and not missing:
            missing = "needs two processors"
        readers.append(
            Reader(name, family, title, (*command, *extra), threads, tolerance, environment, missing, version)
        )

    add_ours("orvane", "Orvane")
    add_ours("orvane-all-rows", "Orvane, types from all rows", options=("AUTO_SCHEMA_ALL_ROWS=true",))
    if arguments.sse2_module:
        sse2 = (ours[0], str(arguments.sse2_module))
        add_ours("orvane-sse2", "Orvane, SSE2", sse2)
    if arguments.baseline:
        baseline = (str(arguments.baseline / "orvane_bench_import"), str(arguments.baseline / "AsciiReader.so"))
        add_ours("orvane-baseline", "Orvane, baseline", baseline)
    add_ours("orvane-preview", "Orvane, preview alone")

    from_chars = str(binaries / "orvane_bench_from_chars")
    missing = "" if pathlib.Path(from_chars).exists() else f"no {from_chars}"
    readers.append(
        Reader("from-chars", "from-chars", "std::from_chars on the doubles alone", (from_chars,), missing=missing)
    )

    gdal = (str(binaries / "orvane_bench_gdal"),)
    add("gdal-visit", "GDAL, features dropped", gdal)
    add("gdal-memory", "GDAL, Memory layer", gdal, extra=("--keep",))
    fread = ("Rscript", str(FOLDER / "peers" / "fread.R"))
    add("fread", "data.table fread, 1 thread", fread, tolerance=ROUNDED, extra=("--threads", "1"))
    add("fread-2", "data.table fread, 2 threads", fread, 2, ROUNDED, extra=("--threads", "2"))
    pandas = (find_python(), str(FOLDER / "peers" / "pandas_csv.py"))
    add("pandas", "pandas, C engine", pandas, tolerance=ROUNDED)
    add("pandas-round-trip", "pandas, round-trip doubles", pandas, extra=("--float-precision", "round_trip"))
    duckdb = ("node", str(FOLDER / "peers" / "duckdb.js"))
    add("duckdb", "DuckDB, 1 thread", duckdb, environment=node_path, extra=("--threads", "1"))
    add("duckdb-2", "DuckDB, 2 threads", duckdb, 2, environment=node_path, extra=("--threads", "2"))
    polars = ("node", str(FOLDER / "peers" / "polars.js"))
    add("polars", "Polars, 1 thread", polars, environment=(*node_path, ("POLARS_MAX_THREADS", "1")))
    add("polars-2", "Polars, 2 threads", polars, 2, environment=(*node_path, ("POLARS_MAX_THREADS", "2")))
    return readers


def parse_answer(text):
    """Parses a reader's output: one line of JSON, or our programs' lines of key and value."""
    last = text.strip().splitlines()[-1]
    if last.startswith("{"):
        return json.loads(last)
    return {key: float(value) for key, value in (line.split() for line in text.strip().splitlines())}


def run_reader(reader, dataset, data, processors):
    """One run in a process of its own. @return its figures, `cpu_s` and `wall_s` among them"""
    pinned = ",".join(str(processor) for processor in processors[: reader.threads])
    command = ["taskset", "-c", pinned, *reader.command, *reader.arguments(dataset, data)]
    try:
        answer = subprocess.run(
            command,
            env={**os.environ, **dict(reader.environment)},
            capture_output=True,
            text=True,
            timeout=TIMEOUT_SECONDS,
        )
    except subprocess.TimeoutExpired as error:
        raise ComparisonError(f"{reader.name} on {dataset.key} took more than {TIMEOUT_SECONDS} s") from error
    if answer.returncode != 0:
        raise ComparisonError(f"{reader.name} on {dataset.key} ended with {answer.returncode}:\n{answer.stderr}")
    figures = parse_answer(answer.stdout)
    if reader.is_ours:
        parts = [part for part in ("open", "read", "preview") if part + "_cpu_s" in figures]
        for clock in ("cpu_s", "wall_s"):
            figures[clock] = sum(figures[f"{part}_{clock}"] for part in parts)
    return figures


def check_figures(reader, dataset, figures, reference):
    """Compares counts with the data set's, and sums with another reader's.

    @param reference a reader's name and its figures, or None for the first one
    @throws ComparisonError that names both readers and what differs
    """
    where = f"{reader.name} on {dataset.key}"
    expected = {"rows": dataset.rows}
    if reader.family == "from-chars":
        expected = {"numbers": dataset.rows * DOUBLES_A}
    elif reader.name == "orvane-preview":
        expected = {"columns": dataset.columns}
    for key, count in expected.items():
        if figures[key] != count:
            raise ComparisonError(f"{where}: {figures[key]:.0f} {key} instead of {count}")
    if reference is None or "rows" not in expected:
        return
    name, expected = reference
    for axis in dataset.axes:
        key = "sum_" + axis
        difference = abs(figures[key] - expected[key])
        if not difference <= reader.tolerance * max(abs(expected[key]), 1.0):
            raise ComparisonError(f"{where}: {key} is {figures[key]!r}, but {expected[key]!r} of {name}")
