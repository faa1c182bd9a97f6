"""Writes docs/truth.md: what imports make of files whose content is known, beside GDAL's own reader.

    truth_report.py [OUT]    docs/truth.md by default; runs the audit and the scorer
"""

import pathlib
import subprocess
import sys
import tempfile

from osgeo import gdal

import audit
import pollock
import pollution
import shared_files

# Every 9th polluted line per table: 274 of 2,290 files.
STEP = 9
INTRODUCTION = """# Truth

What `orvane import` makes of files whose content is known, cell by cell. `make truth` writes this page: it imports every file
with no option and compares what is in the target with what the file says. The comparison shares no code with the program: files are
made together with their content (`tests/truth/nasty.py`, `crossed.py`), or read by Python's `codecs` and `csv` as a person says they are to be
read (`shared_files.py`); targets are read by GDAL. Where the program asks, its own first answer is given to it.

A cell differs when the stored value is not the cell's: numbers to the last digit, texts to the letter, dates as dates, no value
for an empty cell, points from their columns. A row or line may be missing only where the ledger or the file of rejected rows lists
it. Beside it stands GDAL {gdal}'s own CSV reader, with types detected over the whole file and coordinates found by name; a text that
spells a number or a date is not held against it.
"""


def gdal_words(verdict):
    found = verdict.gdal
    if found is None:
        return ""
    if isinstance(found, str):
        return "not read"
    if not found.changed_cells and not found.lost_rows:
        return "same"
    words = []
    if found.changed_cells:
        words.append(f"{found.changed_cells:,} cells differ")
    if found.lost_rows:
        words.append(f"{found.lost_rows:,} rows lost, added or not listed")
    return ", ".join(words)


def our_words(verdict):
    compared = verdict.comparison
    if verdict.outcome in ("refuse", "fail") or not compared.cells:
        words = {"ask": "asks", "refuse": "refused", "fail": "fails", "import": "no rows"}[verdict.outcome]
    else:
        words = "same" if not verdict.faults else \
            f"{compared.changed_cells:,} cells differ, {compared.lost_rows:,} rows not listed"
        if compared.listed_rows:
            words += f", {compared.listed_rows:,} listed"
        if verdict.outcome == "ask":
            words = f"asks; {words} with `{' '.join(verdict.answer)}`"
    if verdict.faults and words in ("asks", "refused", "fails"):
        words += ": " + verdict.faults[0][:80]
    return words.replace("|", "\\|")


def first_words(verdict):
    """What the program said, in short, without the file's folder."""
    lines = [line.strip() for line in verdict.said.splitlines() if line.strip()]
    text = lines[0] if lines else ""
    text = text.replace(str(verdict.case.path), verdict.case.path.name).removeprefix("orvane: ")
    return (text[:157] + "...") if len(text) > 160 else text


def summary(verdicts):
    lines = ["| Files | | Rows | Cells | Differ, not listed | Listed rows | Import | Ask | Refused | GDAL: not read | GDAL: differ |",
             "|---|---|---|---|---|---|---|---|---|---|---|"]
    titles = {"real": "real point files", "nasty": "made files, a trouble each", "suite": "files of public suites",
              "text": "real files and suites, every cell as text, to CSV"}
    for group in ("real", "nasty", "suite", "text"):
        some = [verdict for verdict in verdicts if verdict.case.group == group]
        if not some:
            continue
        differ = sum(v.comparison.changed_cells + v.comparison.lost_rows for v in some)
        faults = sum(bool(v.faults) for v in some)
        gdal_texts = sum(isinstance(v.gdal, str) for v in some)
        gdal_differ = sum(gdal_words(v) not in ("", "same", "not read") for v in some)
        lines.append(
            f"| {titles[group]} | {len(some)} | {sum(v.comparison.rows for v in some):,} | "
            f"{sum(v.comparison.cells for v in some):,} | {differ:,} in {faults} files | "
            f"{sum(v.comparison.listed_rows for v in some):,} | "
            + " | ".join(str(sum(v.outcome == outcome for v in some)) for outcome in ("import", "ask", "refuse"))
            + (f" | {gdal_texts} | {gdal_differ} |" if group != "text" else " | | |"))
    return lines


def table(verdicts, title):
    lines = [f"| {title} | Rows | Cells | `orvane import` | GDAL |", "|---|---|---|---|---|"]
    for verdict in verdicts:
        compared = verdict.comparison
        name = verdict.case.name.replace("|", "\\|").replace("\x1f", "0x1f").replace("`", "'")
        lines.append(f"| {name} | {compared.rows:,} | {compared.cells:,} | {our_words(verdict)} | {gdal_words(verdict)} |")
    return lines


def questions(verdicts):
    lines = ["| File | Ends with | It says |", "|---|---|---|"]
    for verdict in verdicts:
        if verdict.outcome == "import":
            continue
        name = verdict.case.name.replace("|", "\\|")
        words = first_words(verdict).replace("|", "\\|")
        lines.append(f"| {name} | {'a question' if verdict.outcome == 'ask' else 'a refusal'} | {words} |")
    return lines


def score_rows():
    """(what, files, simple, weighted or empty, by kind) of the benchmark's files and of the made ones."""
    rows, kinds = [], []
    suites = shared_files.FOLDER / "suites"
    for title, folder in (("samples of the benchmark's polluted files", "pollock"),
                          ("samples of its real files", "pollock-survey")):
        if (suites / folder).is_dir():
            results = pollock.score_cases(pollock.folder_cases(suites / folder))
            is_polluted = folder == "pollock"
            weighted = f"{pollock.mean(results, pollock.weight_of):.3f}" if is_polluted else ""
            rows.append((title, len(results), f"{pollock.mean(results):.3f}", weighted))
            if not is_polluted:
                for case, score, difference in results:
                    if score.total < 9.9995:
                        kinds.append((case.name, f"{score.total:.3f}", difference))
    with tempfile.TemporaryDirectory() as folder:
        for title, cases in pollution.collections_in(folder, STEP):
            results = pollock.score_cases(cases)
            rows.append((f"made: {title.split(' of ')[1]}, standing for 2,290", len(results),
                         f"{pollock.mean(results):.3f}", f"{pollock.mean(results, pollock.weight_of):.3f}"))
            for kind, count, average, _, example in pollock.by_kind(results):
                if average < 9.9995:
                    kinds.append((f"{title.split(' of ')[1]}: {kind} ({count})", f"{average:.3f}", example))
    return rows, kinds


def cell(text):
    return text.replace("|", "\\|").replace("\n", " ").replace("`", "'")[:200]


def scores():
    rows, kinds = score_rows()
    lines = ["| Collection | Files | Simple | Weighted |", "|---|---|---|---|"]
    lines += [f"| {title} | {count} | {simple} | {weighted} |" for title, count, simple, weighted in rows]
    lines += ["", "What is not loaded in full:", "", "| File or kind | Score | First difference |", "|---|---|---|"]
    lines += [f"| {cell(name)} | {score} | {cell(difference)} |" for name, score, difference in kinds]
    return lines


def write(path, verdicts):
    """Writes the page."""
    real = [verdict for verdict in verdicts if verdict.case.group == "real"]
    made = [verdict for verdict in verdicts if verdict.case.group == "nasty"]
    suite = [verdict for verdict in verdicts if verdict.case.group in ("suite", "text")
             and (verdict.faults or verdict.outcome == "refuse")]
    lines = [INTRODUCTION.format(gdal=gdal.__version__), *summary(verdicts)]
    if real:
        lines += ["", "## Real point files", "", *table(real, "File")]
    lines += ["", "## A trouble each", "", *table(made, "Trouble")]
    if suite:
        lines += ["", "## Files of public suites that differ or are refused", "", *table(suite, "File")]
    lines += ["", "## Questions and refusals", "", "Of the real and the made files.", "", *questions(real + made)]
    lines += ["", "## Scores of CSV loading", "",
              "Success, and precision, recall and F1 of names, records and cells, summed to 10 per file and averaged, as the Pollock",
              "benchmark defines it; weighted by how often real files have each trouble. `orvane import FILE OUT.csv --no-points",
              "--all-text`, nothing handed over. The made files have the benchmark's kinds of trouble on tables of their own.",
              "", *scores()]
    pathlib.Path(path).write_text("\n".join(lines) + "\n", encoding="utf-8")


def main():
    root = pathlib.Path(__file__).resolve().parents[2]
    out = sys.argv[1] if len(sys.argv) > 1 else str(root / "docs/truth.md")
    done = subprocess.run([sys.executable, str(root / "tests/truth/audit.py"), "--report", out], check=False)
    return done.returncode


if __name__ == "__main__":
    sys.exit(main())
