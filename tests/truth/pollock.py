"""Scores how well files are loaded, as the Pollock benchmark of CSV loading defines it.

A file's score is the sum of ten numbers between 0 and 1: success, and precision, recall and F1 of the
names, of the records (the texts of a row joined) and of the cells, each compared as a multiset. A file
that is loaded as a person reads it scores 10. The score of a collection is the mean over its files,
plain ("simple") or weighted by how often real files have that trouble ("weighted").

    pollock.py FOLDER ...          score `orvane import` on folders with csv/, clean/ and parameters/
    pollock.py --made N            the same on files made by pollution.py: every Nth of 2,290 per table
    pollock.py --self FOLDER ...   score the clean files against themselves: 10.000

The program is $ORVANE_PROGRAM, or build/release/bin/orvane.
"""

import argparse
import collections
import concurrent.futures
import csv
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

PROGRAM = os.environ.get("ORVANE_PROGRAM") or str(
    pathlib.Path(__file__).resolve().parents[2] / "build/release/bin/orvane")
MEASURES = ("success", "header", "records", "cells")
# Fields of any length: Python's limit is 128 KiB.
csv.field_size_limit(1 << 30)

# Python converts whole numbers of at most 4,300 digits.
WHOLE = re.compile(r"\s*[+-]?[0-9]{1,4000}\s*\Z")
DECIMAL = re.compile(r"\s*[+-]?([0-9]+\.?[0-9]*|\.[0-9]+)([eE][+-]?[0-9]+)?\s*\Z")


def normalised(text):
    """A cell as it is compared: case, whole numbers and decimals do not depend on the spelling."""
    if WHOLE.match(text):
        return str(int(text))
    if DECIMAL.match(text):
        return str(float(text))
    lower = text.lower()
    return {"false": "0", "true": "1"}.get(lower, lower)


def joined(row):
    """A record as it is compared: one text, in which an empty cell is a word."""
    return "".join(normalised(cell) or "null" for cell in row)


def agreement(expected, found):
    """Precision, recall and F1 of two multisets; nothing expected is always met."""
    if not expected:
        return 1.0, 1.0, 1.0
    common = sum((collections.Counter(expected) & collections.Counter(found)).values())
    if common == 0:
        return 0.0, 0.0, 0.0
    precision = common / len(found)
    recall = common / len(expected)
    return precision, recall, 2 * precision * recall / (precision + recall)


class Table:
    """Names (empty: the file has none) and rows of texts."""

    def __init__(self, names, rows):
        self.names = names
        self.rows = rows


class Score:
    """What one file scored; `total` is at most 10."""

    def __init__(self, success, header=(0.0,) * 3, records=(0.0,) * 3, cells=(0.0,) * 3):
        self.success = success
        self.header = header
        self.records = records
        self.cells = cells

    @property
    def total(self):
        return self.success + sum(self.header) + sum(self.records) + sum(self.cells)


def compare(expected, found):
    """Scores a loaded table."""
    return Score(
        1,
        agreement([normalised(name) for name in expected.names], [normalised(name) for name in found.names]),
        agreement([joined(row) for row in expected.rows if row], [joined(row) for row in found.rows if row]),
        agreement(
            [normalised(cell) for row in expected.rows for cell in row],
            [normalised(cell) for row in found.rows for cell in row]))


def split_names(rows, has_names):
    return Table(rows[0], rows[1:]) if has_names and rows else Table([], rows)


def read_csv(path):
    """The rows of a comma separated file in UTF-8 with quotes."""
    with open(path, encoding="utf-8-sig", newline="") as stream:
        return list(csv.reader(stream))


# How many of the benchmark's surveyed files have each trouble, shared by the files that stand for it.
WEIGHTS = {
    "source": 1,
    "file_no_payload": 15,
    "file_no_trailing_newline": 184,
    "file_double_trailing_newline": 5,
    "file_no_header": 470,
    "file_header_multirow": 47,
    "file_preamble": 282,
    "file_multitable": 188 / 3,
    "file_header_only": 3,
    "file_one_data_row": 4,
    "file_record_delimiter_0xD": 7,
    "file_record_delimiter_0xA": 1691,
    "file_field_delimiter_0x9": 4,
    "file_field_delimiter_0x3B": 834,
    "file_field_delimiter_0x20": 4,
    "file_field_delimiter_0x2C_0x20": 101,
    "file_quotation_char_0x27": 11,
    "file_escape_char_0x5C": 1,
    "file_escape_char_0x00": 7,
    "row_less_sep": 260 / 707,
    "row_more_sep": 260 / 707,
    "row_field_delimiter": 1 / 7,
    "row_extra_quote": 1 / 108,
}


def kind_of(name):
    """The kind of trouble that a polluted file stands for, from its name; None for a real file."""
    stem = name[:-4] if name.endswith(".csv") else name
    kinds = [kind for kind in WEIGHTS if stem.startswith(kind)]
    return max(kinds, key=len) if kinds else None


class Case:
    """A file to load, what it holds, and how many files of a collection it stands for."""

    def __init__(self, name, path, expected, stands_for=1):
        self.name = name
        self.path = path
        self.expected = expected
        self.stands_for = stands_for


def folder_cases(folder):
    """The cases of a folder with csv/, clean/ and parameters/."""
    folder = pathlib.Path(folder)
    cases = []
    for path in sorted((folder / "csv").iterdir()):
        parameters = json.loads((folder / "parameters" / f"{path.name}_parameters.json").read_text())
        rows = read_csv(folder / "clean" / path.name)
        has_names = int(parameters["header_lines"]) > 0
        # A file without names may have been given some in its clean copy; the file decides.
        if not has_names and rows and [name.strip() for name in rows[0]] == parameters.get("column_names"):
            rows = rows[1:]
        cases.append(Case(path.name, path, split_names(rows, has_names)))
    return cases


def load(case, out):
    """Imports a case with nothing handed over: (the table or None, what the program said)."""
    command = [PROGRAM, "import", str(case.path), str(out), "--no-points", "--all-text"]
    try:
        done = subprocess.run(command, capture_output=True, text=True, timeout=120, errors="replace", check=False)
    except subprocess.TimeoutExpired:
        return None, "no end after 120 s"
    if done.returncode != 0 or not out.exists():
        return None, " / ".join(done.stderr.strip().splitlines()[:2])
    try:
        return split_names(read_csv(out), bool(case.expected.names)), done.stderr
    except (UnicodeDecodeError, csv.Error) as error:
        return None, f"the output is no CSV: {error}"


def score_case(case, number, folder):
    out = pathlib.Path(folder) / f"{number}.csv"
    found, said = load(case, out)
    score = compare(case.expected, found) if found else Score(0)
    difference = said if found is None else first_difference(case.expected, found)
    for path in pathlib.Path(folder).glob(f"{number}.*"):
        path.unlink()
    return case, score, difference


def score_cases(cases):
    """(case, score, first difference) of each case, in order."""
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(2) as pool:
        return list(pool.map(lambda pair: score_case(pair[1], pair[0], folder), enumerate(cases)))


def first_difference(expected, found):
    """In words, where a loaded table first differs; empty if it does not."""
    if expected.names and [normalised(n) for n in expected.names] != [normalised(n) for n in found.names]:
        return f"names {found.names[:6]} instead of {expected.names[:6]}"
    for index, (want, got) in enumerate(zip(expected.rows, found.rows)):
        if [normalised(cell) for cell in want] != [normalised(cell) for cell in got]:
            place = next(
                (i for i, (a, b) in enumerate(zip(want, got)) if normalised(a) != normalised(b)),
                min(len(want), len(got)))
            return (f"row {index + 1} of {len(expected.rows)}, field {place + 1}: {got[place:place + 3]!r:.90} "
                    f"instead of {want[place:place + 3]!r:.90}; {len(got)} fields of {len(want)}")
    if len(expected.rows) != len(found.rows):
        return f"{len(found.rows)} rows instead of {len(expected.rows)}"
    return ""


def mean(results, weight=lambda case: case.stands_for):
    """The mean total of results, by a weight per case."""
    total = sum(weight(case) for case, _, _ in results)
    return sum(weight(case) * score.total for case, score, _ in results) / total if total else 0.0


def weight_of(case):
    return WEIGHTS[kind_of(case.name)] * case.stands_for


def by_kind(results):
    """(kind, number of files, mean total, lowest total, an example of what differs) per kind."""
    groups = collections.OrderedDict()
    for result in results:
        groups.setdefault(kind_of(result[0].name) or "real file", []).append(result)
    lines = []
    for kind, group in groups.items():
        worst = min(group, key=lambda result: result[1].total)
        lines.append((kind, len(group), mean(group), worst[1].total,
                      f"{worst[0].name}: {worst[2]}" if worst[1].total < 10 else ""))
    return lines


def report(title, results, is_by_file=False, out=sys.stdout):
    print(f"## {title}", file=out)
    is_polluted = all(kind_of(case.name) for case, _, _ in results)
    means = f"simple {mean(results):.3f}"
    if is_polluted:
        means += f", weighted {mean(results, weight_of):.3f}"
    print(f"{len(results)} files: {means}", file=out)
    if is_by_file:
        for case, score, difference in results:
            print(f"  {score.total:6.3f}  {case.name:45.45}  {difference:.160}", file=out)
    else:
        for kind, count, average, lowest, example in by_kind(results):
            print(f"  {average:6.3f}  lowest {lowest:6.3f}  {count:4} x {kind:32}  {example:.200}", file=out)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folders", nargs="*")
    parser.add_argument("--self", action="store_true", dest="is_self")
    parser.add_argument("--made", type=int, metavar="N")
    parser.add_argument("--must", type=float, help="exit with status 1 if a simple mean is less than this")
    arguments = parser.parse_args()
    lowest = 10.0
    for folder in arguments.folders:
        cases = folder_cases(folder)
        if arguments.is_self:
            results = [(case, compare(case.expected, case.expected), "") for case in cases]
        else:
            results = score_cases(cases)
        report(folder, results, is_by_file=True)
        lowest = min(lowest, mean(results))
    if arguments.made:
        import pollution
        with tempfile.TemporaryDirectory() as folder:
            for title, cases in pollution.collections_in(folder, arguments.made):
                results = score_cases(cases)
                report(title, results)
                lowest = min(lowest, mean(results))
    return 1 if arguments.must is not None and lowest < arguments.must else 0


if __name__ == "__main__":
    sys.exit(main())
