#!/usr/bin/env python3
"""Whole imports against `ogr2ogr`: from a file to a closed, complete output.

    bench/whole.py [--sets A,B,C] [--formats gpkg,fgb,geojsonl,geojson,csv] [--rounds 3] [--rows N]
    bench/whole.py --read | --postgis | --threads | --floor [--sets A]

`bench/compare.py --sets whole,whole-read,whole-threads,whole-floor,whole-postgis` runs the same and
can save it.

In each round every program runs once per set and format, in turn, as a process of its own; wall
seconds, CPU seconds (all threads, user and system) and peak memory are those of the process. The
ratios are formed within rounds; their median is reported, and the least and the most beside it. The
rows of both outputs must be equal, as GDAL counts them, or the comparison fails.

With --read the reading alone is compared instead: the read side of an import (`orvane_bench_plan`:
plan and reading, without writing) with the bare reader (`orvane_bench_import`), each with one thread
into a layer that is kept. The set `gaps` is B with 30 of 100 attributes empty.

With --postgis the output is a table of a PostgreSQL server that is started for it, with fsync off:
against `ogr2ogr` with COPY, and against the server's own COPY of the same rows from a binary file,
with primary key, spatial index and ANALYZE, as one transaction.

With --threads an import to GeoPackage with two threads is compared with one of one thread, and so
is `orvane read`, whose columns are given.

With --floor an import to GeoPackage is compared with what SQLite's library needs at the least for
the bare inserts of the same rows and of the finished index, a prepared statement per table run once
per row, when all of that is in memory already.
"""

import argparse
import csv
import json
import os
import pathlib
import random
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests/postgis"))
sys.path.insert(0, str(ROOT / "bench"))

from compare_readers import ComparisonError  # noqa: E402

AXES = {
    "A": ("x", "y", "z"),
    "B": ("x", "y", None),
    "C": ("c0", "c1", None),
    "gaps": ("x", "y", None),
}
TEXTS = ("B", "gaps")
FORMATS = {
    "gpkg": "GPKG",
    "fgb": "FlatGeobuf",
    "geojsonl": "GeoJSONSeq",
    "geojson": "GeoJSON",
    "csv": "CSV",
}


class Run:
    """One process: its seconds and its memory."""

    def __init__(self, command):
        with tempfile.TemporaryFile() as output:
            begin = time.perf_counter()
            process = subprocess.Popen(command, stdout=output, stderr=subprocess.STDOUT)
            _, status, usage = os.wait4(process.pid, 0)
            self.wall = time.perf_counter() - begin
            process.returncode = os.waitstatus_to_exitcode(status)
            output.seek(0)
            self.text = output.read().decode(errors="replace")
        if process.returncode != 0:
            raise ComparisonError(f"{' '.join(map(str, command))}\n{self.text}")
        self.cpu = usage.ru_utime + usage.ru_stime
        self.peak = usage.ru_maxrss / 1024


def parse_arguments():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("--sets", default="A,B,C")
    parser.add_argument("--formats", default=",".join(FORMATS))
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--rows", type=int, help="of each generated file, less than the usual number")
    parser.add_argument("--read", action="store_true", help="compare the reading alone")
    parser.add_argument("--postgis", action="store_true", help="compare tables of a database")
    parser.add_argument("--threads", action="store_true", help="compare two threads with one")
    parser.add_argument("--floor", action="store_true", help="compare with SQLite's bare inserts")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release")
    parser.add_argument("--data", type=pathlib.Path, default=ROOT / "build/bench-data")
    return parser.parse_args()


def make_gaps(source, target):
    """Rows of B with 30 of 100 cells of population, elevation, kind, remark and score empty."""
    random.seed(1)
    with source.open(newline="", encoding="utf-8") as rows, target.open(
        "w", newline="", encoding="utf-8"
    ) as file:
        reader = csv.reader(rows)
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(next(reader))
        for row in reader:
            writer.writerow(row[:4] + ["" if random.random() < 0.3 else cell for cell in row[4:]])


def make_file(arguments, name):
    arguments.data.mkdir(parents=True, exist_ok=True)
    path = arguments.data / (name + (f"-{arguments.rows}" if arguments.rows else "") + ".csv")
    if not path.exists() and name == "gaps":
        make_gaps(make_file(arguments, "B"), path.with_suffix(".part"))
        path.with_suffix(".part").rename(path)
    elif not path.exists():
        command = [arguments.build / "bin/orvane_generate", name, path.with_suffix(".part")]
        if arguments.rows:
            command += ["--rows", str(arguments.rows)]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        path.with_suffix(".part").rename(path)
    with path.open("rb") as file:  # into the page cache, in pieces: a child's peak begins with ours
        while file.read(1 << 20):
            pass
    return path


def commands_for(arguments, name, path, extension, folder):
    x, y, z = AXES[name]
    axes = [("x", x), ("y", y)] + ([("z", z)] if z else [])
    ours = [arguments.build / "bin/orvane", "import", path, folder / f"ours.{extension}"]
    gdal = ["ogr2ogr", "-f", FORMATS[extension], folder / f"gdal.{extension}", path]
    gdal += ["-oo", "AUTODETECT_TYPE=YES", "-oo", "KEEP_GEOM_COLUMNS=NO"]
    for axis, column in axes:
        ours += [f"--{axis}", column]
        gdal += ["-oo", f"{axis.upper()}_POSSIBLE_NAMES={column}"]
    if extension == "csv":
        gdal += ["-lco", "GEOMETRY=AS_XYZ" if z else "GEOMETRY=AS_XY"]
    elif extension.startswith("geojson"):
        # Rule of the formats: degrees; the sets' coordinates are within them.
        ours += ["--crs", "EPSG:4326"]
        gdal += ["-a_srs", "EPSG:4326"]
    return {"orvane": ours, "ogr2ogr": gdal}


def count_rows(path):
    text = subprocess.run(
        ["ogrinfo", "-ro", "-q", "-json", "-so", "-al", path], capture_output=True, check=False
    ).stdout
    if text.strip():
        try:
            return json.loads(text)["layers"][0]["featureCount"]
        except (ValueError, KeyError):
            pass
    text = subprocess.run(["ogrinfo", "-ro", "-so", "-al", path], capture_output=True, check=True)
    for line in text.stdout.decode(errors="replace").splitlines():
        if line.startswith("Feature Count:"):
            return int(line.split(":")[1])
    raise ComparisonError(f"{path}: no rows are counted")


def spread(values):
    return f"{statistics.median(values):.2f} ({min(values):.2f} to {max(values):.2f})"


def compare_targets(arguments):
    yield "| set | format | program | wall s | CPU s | peak MiB | wall over ours | CPU over ours |"
    yield "|---|---|---|---:|---:|---:|---:|---:|"
    for name in arguments.sets.split(","):
        path = make_file(arguments, name)
        for extension in arguments.formats.split(","):
            runs = {"orvane": [], "ogr2ogr": []}
            for number in range(arguments.rounds):
                folder = pathlib.Path(tempfile.mkdtemp(dir=arguments.data))
                try:
                    commands = commands_for(arguments, name, path, extension, folder)
                    for program, command in commands.items():
                        runs[program].append(Run(command))
                    if number == 0:
                        rows = [count_rows(folder / f"{who}.{extension}") for who in ("ours", "gdal")]
                        if rows[0] != rows[1]:
                            raise ComparisonError(f"{name} to .{extension}: {rows[0]} rows, ogr2ogr {rows[1]}")
                finally:
                    shutil.rmtree(folder)
            for program, results in runs.items():
                ratios = "| | |"
                if program == "ogr2ogr":
                    pairs = list(zip(results, runs["orvane"]))
                    ratios = (
                        f"| {spread([a.wall / b.wall for a, b in pairs])} "
                        f"| {spread([a.cpu / b.cpu for a, b in pairs])} |"
                    )
                yield (
                    f"| {name} | .{extension} | {program} "
                    f"| {statistics.median(run.wall for run in results):.2f} "
                    f"| {statistics.median(run.cpu for run in results):.2f} "
                    f"| {max(run.peak for run in results):.0f} {ratios}"
                )


def value_of(text, key):
    for line in text.splitlines():
        if line.startswith(key + " "):
            return float(line.split()[1])
    raise ComparisonError(f"no {key} in\n{text}")


def compare_reading(arguments):
    module = arguments.build / "bin/AsciiReader.so"
    yield (
        "| set | bare read, CPU s | plan, CPU s | plan MB/s | read by the plan, CPU s "
        "| both over the bare read, CPU | both over the bare read, wall | peak of the plan, MiB |"
    )
    yield "|---|---:|---:|---:|---:|---:|---:|---:|"
    for name in arguments.sets.split(","):
        path = make_file(arguments, name)
        axes = [axis for axis in AXES[name] if axis]
        options = options_of(name, path)
        bare, side = [], []
        for _ in range(arguments.rounds):
            bare.append(Run([arguments.build / "bin/orvane_bench_import", module, path, *options]).text)
            side.append(Run([arguments.build / "bin/orvane_bench_plan", path, *axes]).text)
            for key in ("rows", "points"):
                if value_of(bare[-1], key) != value_of(side[-1], key):
                    raise ComparisonError(f"{name}: the numbers of {key} differ")

        def seconds(texts, clock, *parts):
            return [sum(value_of(text, f"{part}_{clock}_s") for part in parts) for text in texts]

        ratios = {}
        for clock in ("cpu", "wall"):
            pairs = zip(seconds(side, clock, "plan", "read"), seconds(bare, clock, "open", "read"))
            ratios[clock] = spread([a / b for a, b in pairs])
        plan = statistics.median(seconds(side, "cpu", "plan"))
        yield (
            f"| {name} | {statistics.median(seconds(bare, 'cpu', 'open', 'read')):.3f} | {plan:.3f} "
            f"| {path.stat().st_size / 1e6 / plan:.0f} "
            f"| {statistics.median(seconds(side, 'cpu', 'read')):.3f} "
            f"| {ratios['cpu']} | {ratios['wall']} "
            f"| {max(value_of(text, 'plan_peak_bytes') for text in side) / 1048576:.0f} |"
        )


def compare_databases(arguments):
    from postgres_server import PASSWORD, Server  # needs a server's programs

    binaries = sorted(pathlib.Path("/usr/lib/postgresql").glob("*/bin"))
    if not binaries:
        raise ComparisonError("There is no PostgreSQL server; scripts/install-deps test installs one.")
    os.environ["PGPASSWORD"] = PASSWORD
    server = Server(binaries[-1])
    yield "| set | program | wall s | client's CPU s | ours over COPY, wall | over ours, CPU |"
    yield "|---|---|---:|---:|---:|---:|"
    try:
        for name in arguments.sets.split(","):
            yield from compare_tables(arguments, name, server)
    finally:
        server.stop()


def compare_tables(arguments, name, server):
    path = make_file(arguments, name)
    rows = server.folder / "rows"
    rows.mkdir(mode=0o777, exist_ok=True)
    rows.chmod(0o777)
    floor = (
        "BEGIN; CREATE TABLE copied (LIKE ours); "
        f"COPY copied FROM '{rows}/{name}' (FORMAT binary); "
        "ALTER TABLE copied ADD PRIMARY KEY (fid); CREATE INDEX ON copied USING gist (geom); "
        "ANALYZE copied; COMMIT"
    )
    commands = commands_for(arguments, name, path, "gpkg", rows)
    commands["orvane"][3] = server.target()
    commands["orvane"] += ["--layer", "ours"]
    at = commands["ogr2ogr"].index("GPKG")
    commands["ogr2ogr"][at : at + 2] = ["PostgreSQL", server.target()]
    commands["ogr2ogr"] += ["-nln", "gdal", "--config", "PG_USE_COPY", "YES"]
    runs = {"orvane": [], "ogr2ogr": [], "COPY": []}
    for _ in range(arguments.rounds):
        for table in ("ours", "gdal", "copied"):
            server.run_sql(f"DROP TABLE IF EXISTS {table}")
        server.run_sql("CHECKPOINT")
        runs["orvane"].append(Run(commands["orvane"]))
        server.run_sql(f"COPY ours TO '{rows}/{name}' (FORMAT binary)")
        server.run_sql("CHECKPOINT")
        runs["COPY"].append(Run([server.binaries / "psql", *server.connection, "-Xqc", floor]))
        server.run_sql("CHECKPOINT")
        runs["ogr2ogr"].append(Run(commands["ogr2ogr"]))
        counts = [server.run_sql(f"SELECT count(*) FROM {table}") for table in ("ours", "gdal", "copied")]
        if len(set(counts)) != 1:
            raise ComparisonError(f"{name}: the tables have {', '.join(counts)} rows")
    wall = spread([a.wall / b.wall for a, b in zip(runs["orvane"], runs["COPY"])])
    cpu = spread([a.cpu / b.cpu for a, b in zip(runs["ogr2ogr"], runs["orvane"])])
    for program, results in runs.items():
        yield (
            f"| {name} | {program} | {statistics.median(run.wall for run in results):.2f} "
            f"| {statistics.median(run.cpu for run in results):.2f} "
            f"| {wall if program == 'COPY' else ''} | {cpu if program == 'ogr2ogr' else ''} |"
        )


def options_of(name, path):
    """The options by which the bare reader reads a set."""
    header = path.open("rb").readline().decode().strip().replace('"', "").split(",")
    options = [f"{axis}_COLUMN={header.index(c)}" for axis, c in zip("XYZ", AXES[name]) if c]
    return options + ["FIRST_LINE_COLUMN_NAMES=true"] + (["CODEC=UTF-8"] if name in TEXTS else [])


def compare_threads(arguments):
    yield "| set | command | one thread, wall s | two threads, wall s | one over two | peak MiB of two |"
    yield "|---|---|---:|---:|---:|---:|"
    for name in arguments.sets.split(","):
        path = make_file(arguments, name)
        words = [word for option in options_of(name, path) for word in ("-o", option)]
        read = [arguments.build / "bin/orvane", "read", path, *words, "-o", "AUTO_SCHEMA=true"]
        runs = {("read", 1): [], ("read", 2): [], ("import to .gpkg", 1): [], ("import to .gpkg", 2): []}
        for _ in range(arguments.rounds):
            for (what, threads), results in runs.items():
                with tempfile.TemporaryDirectory(dir=arguments.data) as folder:
                    commands = commands_for(arguments, name, path, "gpkg", pathlib.Path(folder))
                    command = read if what == "read" else commands["orvane"]
                    results.append(Run([*command, "--threads", str(threads)]))
        for what in ("read", "import to .gpkg"):
            one, two = runs[what, 1], runs[what, 2]
            yield (
                f"| {name} | {what} | {statistics.median(run.wall for run in one):.2f} "
                f"| {statistics.median(run.wall for run in two):.2f} "
                f"| {spread([a.wall / b.wall for a, b in zip(one, two)])} "
                f"| {max(run.peak for run in two):.0f} |"
            )


def compare_floor(arguments):
    yield (
        "| set | rows and index alone, wall s | CPU s | whole import, two threads, wall s | over the floor "
        "| one thread, wall s | over the floor | CPU over the floor |"
    )
    yield "|---|---:|---:|---:|---:|---:|---:|---:|"
    bench = [arguments.build / "bin/orvane_bench_geopackage", arguments.build / "bin/AsciiReader.so"]
    for name in arguments.sets.split(","):
        path = make_file(arguments, name)
        options = [*options_of(name, path), "AUTO_SCHEMA_ALL_ROWS=true"]
        floor, ours = {"wall": [], "cpu": []}, {1: [], 2: []}
        with tempfile.TemporaryDirectory(dir=arguments.data) as text:
            folder = pathlib.Path(text)
            # The index whose tables the floor inserts.
            Run([*bench, path, folder / "index.gpkg", *options])
            for _ in range(arguments.rounds):
                for threads, results in ours.items():
                    command = commands_for(arguments, name, path, "gpkg", folder)["orvane"]
                    results.append(Run([*command, "--threads", str(threads)]))
                rows = count_rows(folder / "ours.gpkg")
                out = folder / "floor.gpkg"
                answer = Run([*bench, path, out, f"--floor={folder / 'index.gpkg'}", *options]).text
                if value_of(answer, "rows") != rows:
                    raise ComparisonError(f"{name}: {rows} rows, the floor has others\n{answer}")
                for clock, seconds in floor.items():
                    parts = [value_of(answer, f"{part}_{clock}_s") for part in ("rows", "index")]
                    seconds.append(sum(parts))
        yield (
            f"| {name} | {statistics.median(floor['wall']):.2f} | {statistics.median(floor['cpu']):.2f} "
            f"| {statistics.median(run.wall for run in ours[2]):.2f} "
            f"| {spread([a.wall / b for a, b in zip(ours[2], floor['wall'])])} "
            f"| {statistics.median(run.wall for run in ours[1]):.2f} "
            f"| {spread([a.wall / b for a, b in zip(ours[1], floor['wall'])])} "
            f"| {spread([a.cpu / b for a, b in zip(ours[1], floor['cpu'])])} |"
        )


# By the names that `compare.py --sets` has for them.
MODES = {
    "whole": compare_targets,
    "whole-read": compare_reading,
    "whole-threads": compare_threads,
    "whole-floor": compare_floor,
    "whole-postgis": compare_databases,
}


def main():
    arguments = parse_arguments()
    asked = [name for name in MODES if getattr(arguments, name.removeprefix("whole-"), False)]
    try:
        for line in MODES[asked[0] if asked else "whole"](arguments):
            print(line, flush=True)
    except ComparisonError as error:
        sys.exit(f"whole: {error}")


if __name__ == "__main__":
    main()
