#!/usr/bin/env python3
"""Compares whole imports with those of other readers, in paired runs.

Every reader reads the same file in a process of its own, once a round in turn, pinned to as many
processors as it has threads, with the file in the page cache. Rows and coordinate sums have to
agree; the comparison ends with status 1 when they do not.
"""

import argparse
import datetime
import os
import pathlib
import shlex
import sys

import whole
from compare_data import COMPARED, WORST_CASES, data_folder, make_datasets, make_files
from compare_readers import ComparisonError, check_figures, find_readers, run_reader
from compare_report import Results, describe_machine, machine_name, write_report

ROOT = pathlib.Path(__file__).resolve().parent.parent
# Short runs are repeated within a round, so that a round measures enough time.
REPEATS = {"A-few": 5, "D": 3, "wide-narrow": 5, "wide-wide": 5, **{kind: 3 for kind in WORST_CASES}}

# Data sets of the sets that only our reader runs.
OURS = {
    "rows": ["A-few", "A-many"],
    "columns": ["wide-narrow", "wide-wide"],
    "quoted": ["A", "quoted"],
    "worst": list(WORST_CASES),
    "preview": ["A", "B", "C", "E", "A-many", "wide-wide", *WORST_CASES],
}
SETS = [*COMPARED, *OURS]
# Whole imports to closed outputs: sets, formats and rows of whole.py.
WHOLE_SETS = "A,B,C"
WHOLE_ROWS_QUICK = 2000
SPECIAL_ON_A = {"orvane-all-rows", "orvane-sse2", "from-chars"}


def entries_of(set_name, readers):
    """Pairs of reader and data set that a round of the set runs in turn."""
    if set_name == "preview":
        return [(reader, key) for key in OURS[set_name] for reader in readers if reader.name == "orvane-preview"]
    if set_name in OURS:
        ours = [reader for reader in readers if reader.name in ("orvane", "orvane-baseline")]
        return [(reader, key) for key in OURS[set_name] for reader in ours]
    left_out = {"orvane-preview"} | (set() if set_name == "A" else SPECIAL_ON_A)
    return [(reader, set_name) for reader in readers if reader.name not in left_out]


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    listed = lambda text: [word for word in text.split(",") if word]
    parser.add_argument("--sets", type=listed, default=SETS, help="of " + ",".join([*SETS, *whole.MODES]))
    parser.add_argument("--readers", type=listed, default=[], help="families or names; those asked for must be there")
    parser.add_argument("--rounds", type=int, help="counted rounds (6, quick: 1)")
    parser.add_argument("--warm-up", type=int, help="rounds before them (1, quick: 0)")
    parser.add_argument("--quick", action="store_true", help="small data, to check results and not times")
    parser.add_argument("--bin", type=pathlib.Path, default=ROOT / "build" / "release" / "bin", help="our programs")
    parser.add_argument("--sse2-module", type=pathlib.Path, help="a module with the plainest kernels")
    parser.add_argument("--baseline", type=pathlib.Path, help="folder of programs of another build, run beside ours")
    parser.add_argument("--data", type=pathlib.Path, default=ROOT / "build" / "bench-data", help="where data goes")
    parser.add_argument("--out", type=pathlib.Path, help="file for the report")
    parser.add_argument("--save", action="store_true", help="report to bench/results/<date>-<machine>.md")
    parser.add_argument("--machine", default=machine_name(), help="name of this machine in the report's file name")
    arguments = parser.parse_args()
    arguments.load = os.getloadavg()[0]
    for name in arguments.sets:
        if name not in SETS and name not in whole.MODES:
            parser.error(f"there is no set '{name}'")
    if arguments.rounds is None:
        arguments.rounds = 1 if arguments.quick else 6
    if arguments.rounds < 1:
        parser.error("at least one round is needed")
    if arguments.warm_up is None:
        arguments.warm_up = 0 if arguments.quick else 1
    if arguments.sse2_module is None:
        arguments.sse2_module = arguments.bin.parent / "bench" / "AsciiReaderSse2.so"
    if arguments.save and arguments.out is None:
        name = f"{datetime.date.today().isoformat()}-{arguments.machine}.md"
        arguments.out = ROOT / "bench" / "results" / name
    return arguments


def choose_readers(readers, wanted):
    """The readers of the wanted names and families; all when nothing is wanted.

    @throws ComparisonError when a wanted one cannot run
    """
    if not wanted:
        return readers
    for name in wanted:
        matching = [reader for reader in readers if name in (reader.name, reader.family)]
        if not matching:
            raise ComparisonError(f"there is no reader '{name}'")
        if all(reader.missing for reader in matching):
            raise ComparisonError(f"the reader '{name}' is missing: {matching[0].missing}")
    return [reader for reader in readers if reader.name in wanted or reader.family in wanted]


def run_set(set_name, arguments, readers, datasets, data, results):
    """Runs the rounds of one set."""
    processors = sorted(os.sched_getaffinity(0), reverse=True)
    entries = entries_of(set_name, [reader for reader in readers if not reader.missing])
    for key in dict.fromkeys(key for _, key in entries):
        make_files(arguments.bin / "orvane_generate", datasets[key], data)
    references = {}
    for round_index in range(-arguments.warm_up, arguments.rounds):
        for reader, key in entries:
            is_counted = round_index >= 0
            repeats = REPEATS.get(key, 1) if reader.is_ours and not arguments.quick else 1
            runs = []
            for _ in range(repeats if is_counted else 1):
                figures = run_reader(reader, datasets[key], data, processors)
                check_figures(reader, datasets[key], figures, references.get(key))
                if "rows" in figures:
                    references.setdefault(key, (reader.name, figures))
                runs.append(figures)
            if is_counted:
                results.add(set_name, reader, key, round_index, runs)
        label = f"round {round_index + 1} of {arguments.rounds}" if round_index >= 0 else "warm-up"
        print(f"{set_name}: {label}", file=sys.stderr, flush=True)


def run_whole(set_name, arguments):
    """The lines of a table of whole imports."""
    wanted = argparse.Namespace(
        sets=WHOLE_SETS,
        formats="gpkg,geojsonl" if arguments.quick else ",".join(whole.FORMATS),
        rounds=arguments.rounds,
        rows=WHOLE_ROWS_QUICK if arguments.quick else None,
        build=arguments.bin.parent,
        data=data_folder(arguments.data),
    )
    lines = []
    for line in whole.MODES[set_name](wanted):
        print(f"{set_name}: {line}", file=sys.stderr, flush=True)
        lines.append(line)
    return lines


def main():
    arguments = parse_arguments()
    try:
        readers = choose_readers(find_readers(arguments), arguments.readers)
        if all(reader.missing for reader in readers):
            raise ComparisonError(f"nothing to run: {readers[0].missing}")
        datasets = make_datasets(arguments.quick)
        data = data_folder(arguments.data)
        results = Results(datasets, data)
        for set_name in arguments.sets:
            if set_name in whole.MODES:
                results.whole[set_name] = run_whole(set_name, arguments)
            else:
                run_set(set_name, arguments, readers, datasets, data, results)
    except ComparisonError as error:
        print(f"compare: {error}", file=sys.stderr)
        return 1
    command = shlex.join(["bench/compare.py", *sys.argv[1:]])
    report = write_report(results, readers, arguments, describe_machine(arguments, command))
    print(report)
    if arguments.out:
        arguments.out.parent.mkdir(parents=True, exist_ok=True)
        arguments.out.write_text(report, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
