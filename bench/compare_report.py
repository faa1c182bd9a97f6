"""The report of the comparison: tables of figures, and the table of goals."""

import datetime
import os
import pathlib
import platform
import re
import statistics
import subprocess
from dataclasses import dataclass

from compare_data import COMPARED, WORST_CASES

ROOT = pathlib.Path(__file__).resolve().parent.parent
MEBIBYTE = 1 << 20
TWO_THREADS = ("fread-2", "duckdb-2", "polars-2")


class Results:
    """The figures of all counted rounds: one list per set, reader and data set, one entry per round."""

    def __init__(self, datasets, data):
        self.datasets = datasets
        self.data = data
        self.rounds = {}
        self.whole = {}  # lines of a table by set: whole imports to closed outputs

    def add(self, set_name, reader, key, round_index, runs):
        """Keeps the median of each figure over a round's runs."""
        figures = {name: statistics.median(run[name] for run in runs) for name in runs[0]}
        figures["best_cpu_s"] = min(run["cpu_s"] for run in runs)
        figures["best_wall_s"] = min(run["wall_s"] for run in runs) if "wall_s" in runs[0] else None
        rounds = self.rounds.setdefault((set_name, reader.name, key), [])
        assert len(rounds) == round_index
        rounds.append(figures)

    def get(self, set_name, name, key):
        """The rounds of one reader on one data set; empty when it did not run."""
        return self.rounds.get((set_name, name, key), [])

    def values(self, set_name, name, key, figure):
        return [figures[figure] for figures in self.get(set_name, name, key)]

    def median(self, set_name, name, key, figure):
        return statistics.median(self.values(set_name, name, key, figure))

    def ratios(self, set_name, above, below, figure="cpu_s"):
        """One ratio per round of two (reader, data set) pairs that ran in the same rounds."""
        return [
            first / second
            for first, second in zip(
                self.values(set_name, *above, figure), self.values(set_name, *below, figure)
            )
        ]

    def input_megabytes(self, key):
        return self.datasets[key].input_bytes(self.data) / 1e6


@dataclass
class Goal:
    """One line of the table of goals."""

    text: str
    must: float
    aim: float
    values: list  # one per round; empty when it was not measured
    is_low: bool = False  # whether less is better
    note: str = ""

    @property
    def figure(self):
        return statistics.median(self.values)

    def verdict(self):
        if not self.values:
            return "not measured"
        reached = lambda bound: self.figure <= bound if self.is_low else self.figure >= bound
        return "aim" if reached(self.aim) else "must" if reached(self.must) else "**no**"


def largest(candidates):
    """The candidate with the largest median. @param candidates label to one value per round"""
    filled = {label: values for label, values in candidates.items() if values}
    if not filled:
        return "", []
    label = max(filled, key=lambda candidate: statistics.median(filled[candidate]))
    return label, filled[label]


def list_medians(candidates, digits):
    return ", ".join(
        f"{label} {statistics.median(values):.{digits}f}" for label, values in candidates.items() if values
    )


def memory_beyond_layer(rounds):
    """Peak of resident MiB less what stayed, one value per round."""
    return [(figures["peak_bytes"] - figures["resident_after_bytes"]) / MEBIBYTE for figures in rounds]


def make_goals(results):
    ours = lambda key: ("orvane", key)
    faster = lambda key, name, figure="cpu_s": results.ratios(key, (name, key), ours(key), figure)
    goals = [
        Goal("A against fread, 1 thread", 1.6, 2.3, faster("A", "fread")),
        Goal("A against Polars, 1 thread", 1.9, 2.6, faster("A", "polars")),
        Goal("A against DuckDB, 1 thread", 4.2, 6, faster("A", "duckdb")),
    ]
    two = {name: faster("A", name, "wall_s") for name in TWO_THREADS}
    present = [values for values in two.values() if values]
    best_of_two = [min(values) for values in zip(*present)]
    goals += [
        Goal("A, our one thread against the best peer's two, wall", 1.0, 1.4, best_of_two, note=list_medians(two, 2)),
        Goal("B against Polars, 1 thread", 1.6, 2.3, faster("B", "polars")),
        Goal("B against DuckDB, 1 thread", 4, 6, faster("B", "duckdb")),
        Goal("C against fread, 1 thread", 1.7, 2.5, faster("C", "fread")),
        Goal("C against DuckDB, 1 thread", 5, 7.5, faster("C", "duckdb")),
        Goal("A against GDAL into a Memory layer", 22, 30, faster("A", "gdal-memory")),
        Goal("B against GDAL into a Memory layer", 15, 22, faster("B", "gdal-memory")),
        Goal("C against GDAL into a Memory layer", 14, 20, faster("C", "gdal-memory")),
    ]
    files = results.datasets["D"].files
    a_file = [seconds / files * 1e6 for seconds in results.values("D", "orvane", "D", "cpu_s")]
    from_chars = results.ratios("A", ours("A"), ("from-chars", "A"))
    sse2 = results.ratios("A", ("polars", "A"), ("orvane-sse2", "A"))
    goals += [
        Goal("D, us a file", 60, 30, a_file, True),
        Goal("A over std::from_chars alone for its doubles", 1.5, 0.9, from_chars, True),
        Goal("without AVX2 (SSE2), A against Polars, 1 thread", 0.9, 1.4, sse2),
    ]
    kept = {
        key: [
            figures["kept_bytes"] / figures["raw_bytes"] for figures in results.get(key, "orvane", key)
        ]
        for key in ("A", "B", "C")
    }
    beyond = {
        key: memory_beyond_layer(rounds)
        for (_, name, key), rounds in results.rounds.items()
        if name == "orvane" and results.datasets[key].files == 1
    }
    beyond_key, beyond_values = largest({key: values for key, values in beyond.items() if key not in WORST_CASES})
    beyond_worst = {key: values for key, values in beyond.items() if key in WORST_CASES}
    previews = {
        key: [seconds * 1e3 for seconds in rounds]
        for key in results.datasets
        if (rounds := results.values("preview", "orvane-preview", key, "cpu_s"))
    }
    usual = {key: values for key, values in previews.items() if key not in WORST_CASES}
    goals += [
        Goal("kept memory over the columns' raw bytes, worst of A, B, C", 1.25, 1.05, largest(kept)[1], True,
             list_medians(kept, 3)),
        Goal("memory beyond the layer while reading, MiB, most of the usual files", 40, 20, beyond_values, True,
             ", ".join(filter(None, [f"on {beyond_key}" if beyond_key else "", list_medians(beyond_worst, 0)]))),
        Goal("open + sample + detection + preview, ms, slowest of the usual files", 20, 8, largest(usual)[1], True,
             list_medians(previews, 1)),
        Goal("types from all rows over the plain import, A", 2.2, 1.5,
             results.ratios("A", ("orvane-all-rows", "A"), ours("A")), True),
    ]
    few, many = results.datasets["A-few"], results.datasets["A-many"]
    narrow, wide = results.datasets["wide-narrow"], results.datasets["wide-wide"]
    cells = (wide.rows * wide.columns) / (narrow.rows * narrow.columns)
    growth = [ratio * few.rows / many.rows for ratio in results.ratios("rows", ours("A-many"), ours("A-few"))]
    widths = [ratio / cells for ratio in results.ratios("columns", ours("wide-wide"), ours("wide-narrow"))]
    visit = [
        figures["visit_cpu_s"] / figures["cpu_s"] for figures in results.get("A", "orvane", "A")
    ]
    goals += [
        Goal(f"time a row at {many.rows:,} rows over {few.rows:,}", 1.1, 1.0, growth, True),
        Goal(f"time a cell at {wide.columns} columns over {narrow.columns}", 1.25, 1.1, widths, True),
        Goal("quoted over plain, A", 1.6, 1.3, results.ratios("quoted", ours("quoted"), ours("A")), True),
    ]
    worst = {
        "separators": "one line of separators",
        "quotes": "one line of quotes",
        "breaks": "one open quote's line breaks",
        "blanks": "blank lines",
    }
    goals += [
        Goal(f"16 MiB, {text}, s", 0.3, 0.1, results.values("worst", "orvane", kind, "cpu_s"), True)
        for kind, text in worst.items()
    ]
    goals.append(Goal("visiting every feature of A over the import", 2, 1, visit, True))
    return goals


def make_table(head, rows):
    """A Markdown table; all columns but the first are right-aligned."""
    lines = ["| " + " | ".join(head) + " |", "|---" + "|---:" * (len(head) - 1) + "|"]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def goal_table(results, is_judged):
    rows = []
    for goal in make_goals(results):
        figure = f"{goal.figure:.3g}" if goal.values else "-"
        spread = f"{min(goal.values):.3g} to {max(goal.values):.3g}" if goal.values else "-"
        verdict = goal.verdict() if is_judged else "-"
        rows.append([goal.text, f"{goal.must:g}", f"{goal.aim:g}", figure, spread, verdict, goal.note])
    return make_table(["goal", "must", "aim", "figure", "rounds", "met", "in detail"], rows)


def median_of(ratios):
    return f"{statistics.median(ratios):.2f}" if ratios else "-"


def comparison_table(set_name, results, readers):
    """Every reader on one data set."""
    dataset = results.datasets[set_name]
    megabytes = results.input_megabytes(set_name)
    rows = []
    for reader in readers:
        rounds = results.get(set_name, reader.name, set_name)
        if not rounds:
            continue
        cpu = [figures["cpu_s"] for figures in rounds]
        best = min(figures["best_cpu_s"] for figures in rounds)
        cells = [reader.title]
        if dataset.files > 1:
            cells += [f"{statistics.median(cpu) / dataset.files * 1e6:.1f} ({best / dataset.files * 1e6:.1f})"]
        else:
            cells += [f"{statistics.median(cpu):.3f} ({best:.3f})"]
        cells += [f"{megabytes / statistics.median(cpu):.0f} ({megabytes / best:.0f})"]
        if reader.family == "from-chars":
            cells += ["-"] * 5
        else:
            wall = [figures["wall_s"] for figures in rounds]
            best_wall = min(figures["best_wall_s"] for figures in rounds)
            peak = statistics.median(figures["peak_bytes"] for figures in rounds)
            kept = statistics.median(figures["kept_bytes"] for figures in rounds)
            keeps = dataset.files == 1 and reader.name != "gdal-visit"
            cells += [
                f"{statistics.median(wall):.3f} ({best_wall:.3f})",
                f"{megabytes / statistics.median(wall):.0f} ({megabytes / best_wall:.0f})",
                f"{peak / MEBIBYTE:.0f}",
                f"{peak / 1e6 / megabytes:.2f}" if dataset.files == 1 else "-",
                f"{kept / dataset.rows:.1f}" if keeps else "-",
            ]
        ours = ("orvane", set_name)
        cells.append(median_of(results.ratios(set_name, (reader.name, set_name), ours)))
        has_wall = reader.family != "from-chars"
        cells.append(median_of(results.ratios(set_name, (reader.name, set_name), ours, "wall_s") if has_wall else []))
        rows.append(cells)
    time = "CPU us a file (best)" if dataset.files > 1 else "CPU s (best)"
    head = ["reader", time, "MB per CPU s (best)", "wall s (best)", "MB/s wall (best)", "peak MiB", "peak / input",
            "kept B/row", "CPU over ours", "wall over ours"]
    missing = [f"{reader.title}: missing ({reader.missing})" for reader in readers if reader.missing]
    notes = "".join(f"\n{line}" for line in missing)
    title = f"{dataset.rows:,} rows, {megabytes:.1f} MB" + (f", {dataset.files:,} files" if dataset.files > 1 else "")
    return f"## {set_name}: {title}\n\n{make_table(head, rows)}{notes}{chr(10) if notes else ''}"


def own_table(set_name, results):
    """Our reader on the data sets of one set."""
    rows = []
    for (run_set, name, key), rounds in results.rounds.items():
        if run_set != set_name:
            continue
        dataset = results.datasets[key]
        cpu = statistics.median(figures["cpu_s"] for figures in rounds)
        best = min(figures["best_cpu_s"] for figures in rounds)
        beyond = memory_beyond_layer(rounds)
        kept = statistics.median(figures["kept_bytes"] for figures in rounds) / MEBIBYTE
        is_measured_by_row = set_name not in ("worst", "preview")
        cells = dataset.rows * dataset.columns
        rows.append([
            key + (" (baseline)" if name == "orvane-baseline" else ""),
            f"{dataset.rows:,}",
            f"{results.input_megabytes(key):.1f}",
            f"{cpu * 1e3:.2f} ({best * 1e3:.2f})",
            f"{statistics.median(figures['wall_s'] for figures in rounds) * 1e3:.2f}",
            f"{cpu * 1e9 / dataset.rows:.1f}" if is_measured_by_row else "-",
            f"{cpu * 1e9 / cells:.1f}" if is_measured_by_row else "-",
            f"{kept:.1f}",
            f"{statistics.median(beyond):.1f}",
        ])
    head = ["file", "rows", "MB", "CPU ms (best)", "wall ms", "ns a row", "ns a cell", "kept MiB", "beyond MiB"]
    return f"## {set_name}\n\n{make_table(head, rows)}"


def first_line(command, cwd=None):
    try:
        answer = subprocess.run(command, cwd=cwd, capture_output=True, text=True, check=True)
    except (OSError, subprocess.CalledProcessError):
        return ""
    return answer.stdout.splitlines()[0] if answer.stdout else ""


def cpu_model():
    match = re.search(r"^model name\s*:\s*(.*)$", pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8"), re.M)
    return match.group(1) if match else platform.machine()


def machine_name():
    """The processor's model, in characters of a file name."""
    plain = re.sub(r"\((r|tm)\)|processor|cpu|@.*", "", cpu_model().lower())
    return "-".join(re.findall(r"[a-z0-9]+", plain)) or "machine"


def describe_compiler(binaries):
    """Compiler and flags of the build that made the programs."""
    cache = binaries.parent / "CMakeCache.txt"
    if not cache.exists():
        return "unknown"
    entries = dict(re.findall(r"^(\w+):\w+=(.*)$", cache.read_text(encoding="utf-8"), re.M))
    build_type = entries.get("CMAKE_BUILD_TYPE", "")
    flags = f"{entries.get('CMAKE_CXX_FLAGS', '')} {entries.get('CMAKE_CXX_FLAGS_' + build_type.upper(), '')}"
    compiler = first_line([entries.get("CMAKE_CXX_COMPILER", "c++"), "--version"])
    return f"{compiler}, {build_type}, {flags.strip()}"


def describe_machine(arguments, command):
    memory = re.search(r"MemTotal:\s*(\d+)", pathlib.Path("/proc/meminfo").read_text(encoding="utf-8"))
    changed = subprocess.run(["git", "diff", "--quiet", "HEAD"], cwd=ROOT, capture_output=True).returncode != 0
    pages = pathlib.Path("/sys/kernel/mm/transparent_hugepage/enabled")
    huge_pages = pages.read_text(encoding="utf-8").strip() if pages.exists() else "unknown"
    commit = first_line(["git", "rev-parse", "--short", "HEAD"], ROOT) or "unknown"
    return {
        "date": datetime.date.today().isoformat(),
        "processor": f"{cpu_model()}, {os.cpu_count()} processors",
        "memory": f"{int(memory.group(1)) / (1 << 20):.0f} GiB, huge pages {huge_pages}",
        "system": f"{platform.freedesktop_os_release().get('PRETTY_NAME', '')}, Linux {platform.release()}",
        "compiler": describe_compiler(arguments.bin.resolve()),
        "sources": commit + (", changed" if changed else ""),
        "command": f"`{command}`",
        "load": f"{arguments.load:.1f} processes waiting or running before the first round",
        "rounds": f"{arguments.warm_up} warm-up, {arguments.rounds} counted",
    }


def write_report(results, readers, arguments, machine):
    """The whole report as Markdown."""
    pieces = [f"# Whole imports, {machine['date']}\n\n"]
    pieces.append("".join(f"- {key}: {value}\n" for key, value in machine.items() if key != "date"))
    versions = {reader.title.split(",")[0]: reader.version or reader.missing for reader in readers
                if reader.family not in ("orvane", "from-chars")}
    if versions:
        pieces.append("- readers: " + "; ".join(f"{title} {version}" for title, version in versions.items()) + "\n")
    pieces.append(
        "\nA figure is the median of the rounds, the best run in brackets; ratios are medians of the ratios within "
        "rounds. MB are 10^6 bytes of input. Kept memory is what the "
        "process has for itself after reading less what it had before (mapped files do not count); peak is the most "
        "that it had resident, its libraries and mapped files included.\n"
    )
    if arguments.quick:
        pieces.append("\nThe files were small: results are checked, times mean nothing.\n")
    if results.rounds:
        pieces.append("\n## Goals\n\n" + goal_table(results, not arguments.quick))
    for set_name in arguments.sets:
        if set_name in results.whole:
            pieces.append(f"\n## {set_name}\n\n" + "".join(f"{line}\n" for line in results.whole[set_name]))
            continue
        if not any(run_set == set_name for run_set, _, _ in results.rounds):
            continue
        if set_name in COMPARED:
            table = comparison_table(set_name, results, readers)
        else:
            table = own_table(set_name, results)
        pieces.append("\n" + table)
    return "".join(pieces)
