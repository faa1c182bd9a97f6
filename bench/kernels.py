#!/usr/bin/env python3
"""Measures what each kernel is worth in whole imports of the data sets A, B and C.

In each round every choice of kernels imports the file once, in turn, on one processor. A choice is
the best set of this processor with one kernel of a lower set in its place (AsciiReaderSse2.so reads
ORVANE_KERNELS). What is printed is the CPU time of opening and reading against that of the best set:
the median over the rounds, and the ratio of the least times.
"""

import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile

from compare_data import FIRST_TWO_OPTIONS, TEXT_OPTIONS, XYZ_OPTIONS

ROOT = pathlib.Path(__file__).resolve().parent.parent
ALL_ROWS = "AUTO_SCHEMA_ALL_ROWS=true"
SETS = {"A": XYZ_OPTIONS, "B": TEXT_OPTIONS, "C": FIRST_TWO_OPTIONS}
# Each kernel, and the sets that have one of their own.
KERNELS = {
    "index": ("generic", "sse4.1", "avx2"),
    "toDoubles": ("generic", "sse4.1"),
    "toInt32s": ("generic", "sse4.1"),
    "appendTexts": ("generic",),
    "scanTypes": ("generic",),
    "survey": ("generic",),
    "isUtf8": ("generic",),
}


def measure(arguments, choice, file, options):
    """CPU seconds of opening and reading with that choice."""
    command = ["taskset", "-c", arguments.processor,
               str(arguments.bin / "orvane_bench_import"),
               str(arguments.bin.parent / "bench" / "AsciiReaderSse2.so"), str(file), *options]
    output = subprocess.run(command, check=True, capture_output=True, text=True,
                            env={**os.environ, "ORVANE_KERNELS": choice}).stdout
    figures = dict(line.split() for line in output.splitlines())
    return float(figures["open_cpu_s"]) + float(figures["read_cpu_s"])


def compare(arguments, best, choices, file, options):
    """Rows of (choice, median ratio, ratio of the least times)."""
    times = {choice: [] for choice in (best, *choices)}
    for _ in range(arguments.rounds):
        for choice, seconds in times.items():
            seconds.append(measure(arguments, choice, file, options))
    return [(choice,
             statistics.median(slow / fast for slow, fast in zip(times[choice], times[best])),
             min(times[choice]) / min(times[best]))
            for choice in choices]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bin", type=pathlib.Path, default=ROOT / "build" / "release" / "bin")
    parser.add_argument("--data", type=pathlib.Path, help="a folder of A.csv, B.csv and C.csv")
    parser.add_argument("--best", default="avx512", help="the set that is compared with")
    parser.add_argument("--lower", default="generic,sse4.1,avx2", help="the sets below it")
    parser.add_argument("--rounds", type=int, default=11)
    parser.add_argument("--processor", default="0")
    arguments = parser.parse_args()

    lower = [name for name in arguments.lower.split(",") if name]
    whole = list(lower)
    single = [f"{arguments.best},{kernel}={name}" for kernel, sets in KERNELS.items()
              if kernel != "scanTypes" for name in sets if name in lower]
    scan = [f"{arguments.best},scanTypes={name}" for name in KERNELS["scanTypes"] if name in lower]
    with tempfile.TemporaryDirectory() as folder:
        for key, options in SETS.items():
            file = (arguments.data or pathlib.Path(folder)) / f"{key}.csv"
            if not file.exists():
                subprocess.run([arguments.bin / "orvane_generate", key, file], check=True)
            rows = compare(arguments, arguments.best, whole + single, file, options)
            rows += [(f"{choice}, all rows", *ratios) for choice, *ratios in
                     compare(arguments, arguments.best, scan, file, (*options, ALL_ROWS))]
            for choice, median, least in rows:
                print(f"{key}  {choice:40} {median:6.3f} {least:6.3f}", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
