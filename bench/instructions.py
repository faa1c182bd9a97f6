#!/usr/bin/env python3
"""Counts the instructions per row of whole imports with Callgrind, and lists the functions that spend them.

Each data set is imported at a number of rows and at half of them. The difference of the counts divided
by the difference of the rows is what a row costs, without the cost of starting and opening.
"""

import argparse
import pathlib
import re
import subprocess
import sys
import tempfile
from collections import Counter

from compare_data import XYZ_OPTIONS, FIRST_TWO_OPTIONS, TEXT_OPTIONS

ROOT = pathlib.Path(__file__).resolve().parent.parent
SETS = {"A": (100_000, XYZ_OPTIONS), "B": (50_000, TEXT_OPTIONS), "C": (10_000, FIRST_TWO_OPTIONS)}


def parse_profile(text):
    """Instructions by function, from a file that Callgrind wrote; a function's count excludes its callees."""
    names = {}
    costs = Counter()
    function = ""
    is_call = False
    for line in text.splitlines():
        match = re.match(r"fn=\((\d+)\)(?: (.*))?$", line)
        if match:
            names.setdefault(match[1], match[2])
            function = names[match[1]]
        elif match := re.match(r"cfn=\((\d+)\)(?: (.*))?$", line):
            # A function's name may stand where it is first called.
            if match[2]:
                names.setdefault(match[1], match[2])
        elif line.startswith("calls="):
            is_call = True
        elif match := re.match(r"[+\-*\d]\S* (\d+)$", line):
            if not is_call:
                costs[function] += int(match[1])
            is_call = False
    return costs


def count_instructions(module, importer, file, options, folder):
    """Instructions by function of importing the file, from creating the reader to closing it."""
    profile = folder / "callgrind.out"
    command = [
        "valgrind",
        "--tool=callgrind",
        "--collect-atstart=no",
        "--toggle-collect=*::OpenReader*",
        "--toggle-collect=*::ReadRows*",
        f"--callgrind-out-file={profile}",
        str(importer),
        str(module),
        str(file),
        *options,
    ]
    answer = subprocess.run(command, capture_output=True, text=True)
    if answer.returncode != 0:
        raise RuntimeError(f"valgrind ended with {answer.returncode}:\n{answer.stderr}")
    text = profile.read_text(encoding="utf-8")
    costs = parse_profile(text)
    total = int(re.search(r"^totals: (\d+)", text, re.M)[1])
    if total == 0:
        raise RuntimeError("Callgrind counted nothing: the importing functions were not found")
    if sum(costs.values()) != total:
        raise RuntimeError(f"the functions take {sum(costs.values())} of {total} instructions")
    return costs


def shorten(name, width):
    """A function's name without its arguments."""
    plain = name.replace("(anonymous namespace)::", "")
    plain = re.sub(r"'\d+$", "", plain).split("(")[0] or name
    return plain if len(plain) <= width else plain[: width - 3] + "..."


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", type=pathlib.Path, default=ROOT / "build" / "release" / "bin", help="our programs")
    parser.add_argument("--sets", default=",".join(SETS), help="of " + ",".join(SETS))
    parser.add_argument("--rows", type=int, help="rows of the larger file, the same for each set")
    parser.add_argument("--functions", type=int, default=12, help="functions listed for each set")
    arguments = parser.parse_args()
    sets = arguments.sets.split(",")
    for name in sets:
        if name not in SETS:
            parser.error(f"there is no set '{name}'")
    totals = []
    details = []
    with tempfile.TemporaryDirectory(prefix="orvane-instructions-") as name:
        folder = pathlib.Path(name)
        for key in sets:
            rows, options = SETS[key]
            rows = arguments.rows or rows
            counts = []
            sizes = []
            for count in (rows // 2, rows):
                file = folder / f"{key}-{count}.csv"
                generate = [arguments.bin / "orvane_generate", key, file, "--rows", str(count)]
                subprocess.run(generate, check=True)
                importer = arguments.bin / "orvane_bench_import"
                counts.append(
                    count_instructions(arguments.bin / "AsciiReader.so", importer, file, options, folder)
                )
                sizes.append(file.stat().st_size)
            more_rows = rows - rows // 2
            by_function = Counter(counts[1])
            by_function.subtract(counts[0])
            total = sum(by_function.values())
            fixed = sum(counts[1].values()) - total * rows / more_rows
            totals.append(
                f"| {key} | {rows:,} | {total / more_rows:.1f} | {total / (sizes[1] - sizes[0]):.2f} | {fixed:,.0f} |"
            )
            details.append(f"\n{key}, instructions per row by function:\n\n| function | per row | share |\n|---|---:|---:|")
            details += [
                f"| `{shorten(function, 90)}` | {cost / more_rows:.1f} | {100 * cost / total:.1f} % |"
                for function, cost in by_function.most_common(arguments.functions)
            ]
    print("| set | rows | instructions per row | instructions per byte | besides the rows |\n|---|---:|---:|---:|---:|")
    print("\n".join(totals))
    print("\n".join(details))
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (OSError, RuntimeError, subprocess.CalledProcessError) as error:
        print(f"instructions: {error}", file=sys.stderr)
        sys.exit(1)
