"""Compares every cell of what `orvane import` writes with the file that it was made of.

    audit.py [--report FILE] [--only TEXT] [--details]

Each file is imported with no option into a GeoPackage; where the program asks, its first answer is used. The
files are the nasty ones of nasty.py, whose content is known by construction, and, where the folder of test
data is there, its real files, read here with Python's codecs and csv as shared_files.py says. Targets are read
with GDAL. The files of the folder are also imported as texts without points, to CSV. A row or a cell may differ only where the program lists it: as a bad row with its line, or as lines
that it names as no rows. The exit status is 1 when anything else differs, when a file that cannot be decided
was decided, or when the program ends in no way that it promises.

The program is $ORVANE_PROGRAM, or build/release/bin/orvane; the folder $ORVANE_TEST_DATA, or ../shared/data.
"""

import argparse
import csv
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from decimal import Decimal

import crossed
import nasty
import shared_files
import target
from values import FALSE_WORDS, NULL_WORDS, TRUE_WORDS, Cell, as_decimal, cell_holds, equals_moment, equals_number

PROGRAM = os.environ.get("ORVANE_PROGRAM") or str(
    pathlib.Path(__file__).resolve().parents[2] / "build/release/bin/orvane")
TOLERANCE = 1e-9  # degrees that an angle may differ by
MOST_QUESTIONS = 3  # that are answered, one after the other


class Import:
    """How one run of the program ended."""

    def __init__(self, status, said, report, out, answer, does_answer=True):
        self.does_answer = does_answer  # whether the printed answer led to an output
        self.status = status
        self.said = said
        self.report = report
        self.out = out
        self.answer = answer  # the arguments of the program's own first answer, if it asked

    @property
    def is_question(self):
        return next(answers(self.said), None) is not None


def run(words):
    """Runs the program: exit status (None: it did not end), what it said, and its report."""
    try:
        done = subprocess.run([PROGRAM, *words], capture_output=True, timeout=300, check=False)
    except subprocess.TimeoutExpired:
        return None, "no end after 300 s", {}
    said = done.stderr.decode("utf-8", "replace")
    try:
        report = json.loads(done.stdout) if done.stdout.strip() else {}
    except ValueError:
        report = {}
        said += "\n(no JSON on standard output)"
    return done.returncode, said, report


def answers(said):
    """The command lines that a question prints, as arguments of the program."""
    for line in said.splitlines():
        if re.match(r"\s+orvane import ", line):
            yield shlex.split(line)[1:]


def import_file(path, out):
    """Imports a file with no option, and by the first command that the program prints if it asks."""
    status, said, report = run(["import", str(path), str(out), "--json"])
    if status in (0, None) or out.exists():
        return Import(status, said, report, out, [])
    given, all_said = [], said
    for _ in range(MOST_QUESTIONS):
        answer = next(answers(said), None)
        if not answer:
            break
        status, said, report = run(answer)
        given = [word for word in answer[1:] if word not in (str(path), str(out), "--json")]
        if out.exists():
            return Import(status, all_said, report, out, given)
        all_said += f"\n(answered by {' '.join(given)}:)\n{said}"
    return Import(status, all_said, report, None, given, does_answer=not given)


def listed(result):
    """Lines that the program lists as bad rows, and ranges of lines that it names as no rows."""
    bad, others = {}, []
    rejects = result.out.with_name(result.out.name + ".rejected.csv")
    if rejects.exists():
        with open(rejects, encoding="utf-8", newline="") as stream:
            for row in csv.DictReader(stream):
                bad[int(row["line"])] = row.get("reason", "")
    lines = result.report.get("plan", {}).get("shape", {}).get("lines", [])
    for part in lines:
        others.append((part["firstLine"], part["firstLine"] + part["lineCount"] - 1, part["kind"]))
    return bad, others


class Row:
    """A row as it has to be: its line, its cells (Cell or a value), its point and whether it is bad."""

    def __init__(self, line, cells, point, is_bad=False, checks_point=True):
        self.line = line
        self.cells = cells
        self.point = point
        self.is_bad = is_bad
        self.checks_point = checks_point


class Case:
    """A file and what it holds."""

    def __init__(self, group, name, path, names, rows, xyz, lines=None, outcomes=("import",), says=()):
        self.group = group
        self.name = name
        self.path = path
        self.names = names
        self.rows = rows
        self.xyz = xyz
        self.texts = lines if isinstance(lines, list) else []
        self.lines = len(lines) if isinstance(lines, list) else lines  # physical ones, if they were counted
        self.outcomes = outcomes
        self.says = says
        self.head = []  # rows, if the file is read as having no names


def reads_as(expected, stored):
    """Whether a stored text spells the expected value: no value is lost, only its type."""
    text = stored.strip()
    if expected is None:
        return not text or text.lower() in NULL_WORDS
    if isinstance(expected, bool):
        return text.lower() in (TRUE_WORDS if expected else FALSE_WORDS)
    if isinstance(expected, (int, Decimal)):
        return any(as_decimal(Cell(text, decimal, thousands=thousands)) == expected
                   for decimal, thousands in ((".", ""), (",", ""), (".", ","), (".", "'"), (".", " ")))
    return False


def holds(expected, stored, is_lenient=False):
    """Whether a stored value is the expected one; see nasty.py for the kinds of values. Leniently a text will do
    for a number, a boolean or no value where it spells it, and a number for a text that spells it."""
    if is_lenient and isinstance(stored, str) and reads_as(expected, stored):
        return True
    if is_lenient and isinstance(expected, str) and isinstance(stored, (int, float)) and not isinstance(stored, bool):
        return cell_holds(Cell(expected), stored)
    if isinstance(expected, Cell):
        return cell_holds(expected, stored)
    if isinstance(expected, nasty.Either):
        return stored == expected.text if isinstance(stored, str) else cell_holds(Cell(expected.text), stored)
    if isinstance(expected, nasty.Dated):
        if isinstance(stored, str):
            return stored == expected.text
        return equals_moment(expected.value, stored)
    if expected is None:
        return stored is None or stored == ""
    if isinstance(expected, bool) or isinstance(stored, bool):
        return isinstance(expected, bool) and isinstance(stored, bool) and expected == stored
    if isinstance(expected, (int, Decimal)):
        return equals_number(Decimal(expected), stored)
    return stored == expected or (isinstance(expected, str) and stored == expected.replace("\0", "\ufffd"))


def text_of(expected):
    if isinstance(expected, (Cell, nasty.Either, nasty.Dated)):
        return expected.text
    return "" if expected is None else str(expected)


def same_point(expected, found):
    if expected is None or found is None:
        return expected is None and found is None
    return all(abs(a - b) <= TOLERANCE * max(1.0, abs(a)) for a, b in zip(expected[:2], found[:2]))


class Comparison:
    """What differs between a file and a target, and how much was compared."""

    def __init__(self):
        self.cells = 0
        self.rows = 0
        self.points = 0
        self.differences = []
        self.changed_cells = 0
        self.lost_rows = 0
        self.listed_rows = 0

    def add(self, line, column, what):
        if len(self.differences) < 8:
            self.differences.append(f"line {line}" + (f", {column}" if column else "") + f": {what}")


def column_map(case, found):
    """For each column of the file the column of the target, or "x", "y", "z" where the point holds it."""
    width = len(case.names)
    for row in case.rows:
        # Separators at the ends of lines make no column.
        filled = (column for column in range(len(row.cells), 0, -1) if text_of(row.cells[column - 1]))
        width = max(width, next(filled, 0) if len(row.cells) > width else 0)
    mapped = list(range(width))
    missing = width - len(found.names)
    if missing <= 0 or not case.xyz:
        return mapped
    axes = [axis for axis in zip("xyz", case.xyz) if axis[1] is not None]
    chosen = [axis for axis in axes if axis[0] in "xy"] if missing == 2 else axes
    if len(chosen) != missing:
        return mapped
    columns = {column: axis for axis, column in chosen}
    mapped, next_column = [], 0
    for column in range(width):
        if column in columns:
            mapped.append(columns[column])
        else:
            mapped.append(next_column)
            next_column += 1
    return mapped


def stored_value(values, point, column):
    if column in ("x", "y", "z"):
        index = "xyz".index(column)
        return point[index] if point and len(point) > index else None
    return values[column] if column < len(values) else None


def is_equal_row(row, values, point, mapped, is_lenient):
    return all(holds(cell, stored_value(values, point, column), is_lenient) for cell, column in zip(row.cells, mapped))


def compare(case, found, bad, others, has_points=True, is_lenient=False):
    """Compares a target with what the file holds, row by row in the file's order."""
    result = Comparison()
    mapped = column_map(case, found)
    names = [case.names[i] for i, column in enumerate(mapped) if i < len(case.names) and isinstance(column, int)]
    if case.names and len(names) == len(found.names):
        for want, got in zip(names, found.names):
            # Targets rename what is empty or taken; a name that stands alone is kept.
            is_alone = [n.strip().lower() for n in case.names].count(want.strip().lower()) == 1
            if want.strip() and is_alone and want.strip().lower() not in ("fid", "geom", "ogc_fid") \
                    and got not in (want, want.strip()):
                result.add(1, "", f"the name {got!r} instead of {want!r}")
                result.changed_cells += 1
    position = 0
    for index, row in enumerate(case.rows):
        if row.line in bad:
            result.listed_rows += 1
            continue
        if any(first <= row.line <= last for first, last, _ in others):
            result.listed_rows += 1
            continue
        if row.is_bad:
            result.add(row.line, "", "a bad row that is not listed")
            result.lost_rows += 1
            if position < len(found.rows):
                position += 1
            continue
        if position >= len(found.rows):
            result.add(row.line, "", "a row that is neither there nor listed")
            result.lost_rows += 1
            continue
        values, point = found.rows[position]
        if not is_equal_row(row, values, point, mapped, is_lenient):
            # A row too many or too few would make all later ones differ: they are found again by their cells.
            later = (k for k in range(1, 6) if position + k < len(found.rows)
                     and is_equal_row(row, *found.rows[position + k], mapped, is_lenient))
            ahead = next(later, 0)
            if ahead:
                result.add(row.line, "", f"{ahead} row(s) before it that the file does not have")
                result.lost_rows += ahead
                position += ahead
                values, point = found.rows[position]
            elif any(not other.is_bad and is_equal_row(other, values, point, mapped, is_lenient)
                     for other in case.rows[index + 1:index + 6]):
                result.add(row.line, "", "a row that is neither there nor listed")
                result.lost_rows += 1
                continue
        position += 1
        result.rows += 1
        for number, (cell, column) in enumerate(zip(row.cells, mapped)):
            result.cells += 1
            stored = stored_value(values, point, column)
            if not holds(cell, stored, is_lenient):
                result.changed_cells += 1
                name = case.names[number] if number < len(case.names) else number
                result.add(row.line, f"column {name!r}", f"{stored!r:.60} instead of {text_of(cell)!r:.60}")
        if has_points and row.checks_point:
            result.points += point is not None
            if not same_point(row.point, point):
                result.changed_cells += 1
                result.add(row.line, "", f"point {point} instead of {row.point}")
    if position < len(found.rows):
        extra = len(found.rows) - position
        result.add("end", "", f"{extra} row(s) more than the file has, the first {found.rows[position][0]!r:.100}")
        result.lost_rows += extra
    return result


def ledger_faults(case, ledger, found, bad):
    """Where the ledger says something else than the file, the target or the list of rejected rows."""
    if not ledger:
        return ["no ledger in the report"]
    # A character that no target can hold is lost, and listed so.
    faults = [f"imbalance: {text}" for text in ledger["imbalances"] if "NUL character" not in text]
    lines = sum(ledger["lines"].values())
    points = sum(point is not None for _, point in found.rows)
    for what, said, counted in (
            ("lines", lines, case.lines), ("lines scanned", ledger["linesScanned"], case.lines),
            ("rows written", ledger["rowsWritten"], len(found.rows)), ("points written", ledger["pointsWritten"], points),
            ("bad rows", ledger["badRows"], len(bad))):
        if counted is not None and said != counted:
            faults.append(f"the ledger's {what}: {said:,} instead of {counted:,}")
    return faults


class Verdict:
    """How a file fared: `outcome` is import, ask, refuse or fail; `faults` is empty if all is true."""

    def __init__(self, case, outcome, comparison=None, faults=(), said="", answer=()):
        self.case = case
        self.outcome = outcome
        self.comparison = comparison or Comparison()
        self.faults = list(faults)
        self.said = said
        self.answer = answer
        self.gdal = None


def read_text(path, has_names):
    """A written CSV file, every cell a text."""
    with open(path, encoding="utf-8", newline="") as stream:
        rows = list(csv.reader(stream))
    names = rows.pop(0) if has_names and rows else []
    width = max(map(len, rows), default=len(names))
    # A line without any separator that is empty is a row of one empty cell.
    return target.Target(names, [((row or [""]) + [""] * (width - len(row)), None) for row in rows])


def has_names_line(report, case):
    """Whether the program read a line of names."""
    shape = report.get("plan", {}).get("shape", {})
    return shape["hasNames"]["value"] if "hasNames" in shape else bool(case.names)


def read_alike(case, report):
    """Reads a small file of texts as the program did where both ways keep every cell: names as a row or a row
    as names, and lines as they stand where it sees one column only."""
    has_names = has_names_line(report, case)
    if case.head and not has_names:
        case.rows[:0] = case.head
    if case.names and not has_names:
        case.rows.insert(0, Row(1, [Cell(name) for name in case.names], None, checks_point=False))
    # Lines that the program reads as names are listed as such.
    if not case.names or not has_names:
        case.names = []
    if len(report.get("plan", {}).get("columns", [])) == 1:
        lines = [row.line for row in case.rows] + [len(case.texts) + 1]
        for row, after in zip(case.rows, lines[1:]):
            row.cells = [Cell("\n".join(case.texts[row.line - 1:after - 1]).rstrip("\n"))]
        case.names = []


def judge_text(case, folder):
    """Judges the import of attributes alone, every cell as the text it is, to CSV."""
    out = pathlib.Path(folder) / "out.csv"
    status, said, report = run(["import", str(case.path), str(out), "--no-points", "--all-text", "--json"])
    result = Import(status, said, report, out, [])
    if not out.exists():
        return Verdict(case, "refuse", faults=[] if status == 1 and said.strip() else [f"status {status}: {said}"],
                       said=said.strip())
    bad, others = listed(result)
    found = read_text(out, has_names_line(report, case))
    case.xyz = None
    read_alike(case, report)
    comparison = compare(case, found, bad, others, has_points=False)
    faults = list(comparison.differences)
    if status != 0 and not faults:
        faults.append(f"status {status}: {said.splitlines()[0] if said else ''}")
    return Verdict(case, "import", comparison, faults, said.strip())


def answer_points(case):
    """Makes the points of a file whose columns of coordinates were answered, where these are plain numbers."""
    for row in case.rows:
        numbers = []
        for column in case.xyz[:2]:
            cell = row.cells[column] if column < len(row.cells) else None
            number = as_decimal(cell if isinstance(cell, Cell) else Cell(text_of(cell)))
            numbers.append(float(number) if number is not None else None)
        if not row.is_bad:
            row.point = tuple(numbers) if None not in numbers else None


def judge(case, folder):
    if case.group == "text":
        return judge_text(case, folder)
    out = pathlib.Path(folder) / "out.gpkg"
    result = import_file(case.path, out)
    said = result.said.strip()
    if result.status is None:
        return Verdict(case, "fail", faults=[said], said=said)
    if result.out is None:
        outcome = "ask" if result.is_question else "refuse"
        faults = []
        # A question or a refusal where an import was possible is no untruth; the report counts it.
        if outcome not in case.outcomes and "import" not in case.outcomes:
            faults.append(f"{outcome}s instead of {' or '.join(case.outcomes)}: {said.splitlines()[0] if said else ''}")
        if result.status not in (1, 2) or not said or "There is no option" in said:
            faults.append(f"status {result.status}: {said.splitlines()[0] if said else 'no word'}")
        if not result.does_answer and "import" in case.outcomes:
            faults.append(f"its own answer does not work: {said.splitlines()[-1]}")
        if case.says and outcome in case.outcomes and not any(word in said for word in case.says):
            faults.append(f"says none of {', '.join(case.says)}: {said.splitlines()[0]}")
        return Verdict(case, outcome, faults=faults, said=said, answer=result.answer)
    outcome = "ask" if result.answer else "import"
    found = target.read_written(out)
    if result.report.get("x") is not None and (result.answer or not case.xyz):
        case.xyz = tuple(result.report.get(axis) for axis in "xyz")
    elif case.xyz:
        case.xyz = (*case.xyz[:2], result.report.get("z"))
    if result.answer and case.xyz:
        answer_points(case)
    if case.group == "suite":
        read_alike(case, result.report)
    if "import" not in case.outcomes and not case.rows:
        return Verdict(case, "ask", said=said, answer=result.answer)
    bad, others = listed(result)
    comparison = compare(case, found, bad, others, has_points="--no-points" not in result.answer)
    faults = list(comparison.differences) + ledger_faults(case, result.report.get("ledger"), found, bad)
    if outcome == "import" and "import" not in case.outcomes:
        faults.append("imports without a question what the file leaves open")
    if result.status != 0 and not comparison.differences and "NUL character" not in said:
        faults.append(f"status {result.status}: {said.splitlines()[0] if said else ''}")
    if "Traceback" in said or "terminate called" in said:
        faults.append(said.splitlines()[0])
    return Verdict(case, outcome, comparison, faults, said, result.answer)


def nasty_cases(folder, only=""):
    for number, made in enumerate([*nasty.all_files(), *crossed.all_files()]):
        if only not in made.trouble:
            continue
        place = pathlib.Path(folder) / str(number)
        place.mkdir()
        path = place / made.file
        path.write_bytes(made.content)
        rows = [Row(row.line, row.values, row.point, row.is_bad) for row in made.rows]
        xyz = (*made.xy, None) if made.xy else None
        yield Case("nasty", made.trouble, path, made.names, rows, xyz, made.lines, made.outcomes, made.says)


def file_case(group, expected, **how):
    """The case of a file of the folder of test data."""
    reading = expected.reading
    rows = [Row(line, cells, point, checks_point=group == "real") for line, cells, point in expected.rows]
    name = str(expected.path.relative_to(shared_files.FOLDER)).removeprefix("suites/")
    xyz = None if reading.x is None else (reading.x, reading.y, reading.z)
    case = Case(group, name, expected.path, expected.names, rows, xyz, expected.lines, **how)
    case.head = [Row(line, cells, None, checks_point=False) for line, cells, _ in expected.head]
    return case


def real_cases(only=""):
    for expected in shared_files.point_files(only):
        asks = {"outcomes": ("ask",), "says": ("--no-points",)} if expected.reading.asks else {}
        yield file_case("real", expected, **asks)


def suite_cases(only=""):
    for expected in [*shared_files.suite_files(only), *shared_files.survey_files(only)]:
        yield file_case("suite", expected, outcomes=("import", "ask", "refuse"))


def text_cases(only=""):
    """The files of the folder of test data once more, to be imported as texts."""
    for expected in [*shared_files.point_files(only), *shared_files.suite_files(only), *shared_files.survey_files(only)]:
        yield file_case("text", expected, outcomes=("import", "refuse"))


def gdal_comparison(case):
    """What GDAL's own reader makes of a file, compared alike; a text where it cannot read it."""
    found = target.read_by_gdal(case.path)
    if isinstance(found, str):
        return found
    return compare(case, found, {}, [], has_points=False, is_lenient=True)


def judged(case, with_gdal):
    with tempfile.TemporaryDirectory() as folder:
        verdict = judge(case, folder)
    if with_gdal and case.group != "text":
        verdict.gdal = gdal_comparison(case)
    return verdict


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--report", help="write the tables as Markdown to this file")
    parser.add_argument("--only", default="", help="files whose name or trouble holds this text")
    parser.add_argument("--group", default="", help="nasty, real, suite or text")
    parser.add_argument("--details", action="store_true", help="say what the program said")
    parser.add_argument("--gdal", action="store_true", help="compare GDAL's own reader as well")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder, ThreadPoolExecutor(2) as pool:
        only = arguments.only
        groups = {"nasty": lambda: nasty_cases(folder, only), "real": lambda: real_cases(only),
                  "suite": lambda: suite_cases(only), "text": lambda: text_cases(only)}
        if not shared_files.FOLDER.is_dir():
            groups = {"nasty": groups["nasty"]}
        cases = [case for group, make in groups.items() if arguments.group in group for case in make()]
        verdicts = list(pool.map(lambda case: judged(case, arguments.gdal or arguments.report), cases))
    failed = [verdict for verdict in verdicts if verdict.faults]
    for verdict in verdicts:
        wanted = "/".join(verdict.case.outcomes)
        note = "" if verdict.outcome in verdict.case.outcomes else f" (expected: {wanted})"
        if verdict.faults or note or arguments.details:
            print(f"{'FAULT' if verdict.faults else 'ok   '} {verdict.case.group}: {verdict.case.name}: "
                  f"{verdict.outcome}{note}")
            for fault in verdict.faults:
                print(f"        {fault:.300}")
            if (note or arguments.details) and verdict.said:
                print("        | " + "\n        | ".join(verdict.said.splitlines()[:12]))
    print(f"{len(verdicts)} files, {sum(v.comparison.rows for v in verdicts)} rows, "
          f"{sum(v.comparison.cells for v in verdicts)} cells compared; "
          f"{sum(v.comparison.listed_rows for v in verdicts)} rows listed; "
          f"{sum(v.outcome == 'ask' for v in verdicts)} ask, {sum(v.outcome == 'refuse' for v in verdicts)} refused; "
          f"{len(failed)} with faults")
    if arguments.report:
        import truth_report
        truth_report.write(arguments.report, verdicts)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
