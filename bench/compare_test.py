"""Tests of the comparison's own arithmetic and checks."""

import dataclasses
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import compare
import compare_readers
import compare_report
import instructions
from compare_data import make_datasets
from compare_readers import ComparisonError, Reader, check_figures, parse_answer

OURS = Reader("orvane", "orvane", "Orvane", ("program",), is_ours=True)
EXACT = Reader("gdal-memory", "gdal", "GDAL", ("program",))
ROUNDED = Reader("fread", "fread", "fread", ("program",), tolerance=compare_readers.ROUNDED)
A = make_datasets(True)["A"]
FIGURES = {"rows": 2000, "sum_x": 1000.0, "sum_y": -20.0, "sum_z": 0.5, "cpu_s": 1.0}


class CheckFigures(unittest.TestCase):
    def check(self, reader, **changes):
        check_figures(reader, A, {**FIGURES, **changes}, ("orvane", FIGURES))

    def test_accepts_equal_sums(self):
        self.check(EXACT)

    def test_accepts_sums_added_up_in_another_order(self):
        self.check(EXACT, sum_x=1000.0 + 1e-8)

    def test_refuses_another_number_of_rows(self):
        with self.assertRaisesRegex(ComparisonError, "gdal-memory on A: 1999 rows instead of 2000"):
            self.check(EXACT, rows=1999)

    def test_refuses_the_wrong_number_of_rows_of_the_first_reader_too(self):
        with self.assertRaisesRegex(ComparisonError, "orvane on A: 1 rows instead of 2000"):
            check_figures(OURS, A, {**FIGURES, "rows": 1}, None)

    def test_refuses_another_number_of_columns_or_numbers(self):
        preview = dataclasses.replace(OURS, name="orvane-preview")
        with self.assertRaisesRegex(ComparisonError, "orvane-preview on A: 6 columns instead of 7"):
            check_figures(preview, A, {"columns": 6}, None)
        check_figures(preview, A, {"columns": 7}, None)
        from_chars = dataclasses.replace(EXACT, family="from-chars")
        with self.assertRaisesRegex(ComparisonError, "7999 numbers instead of 8000"):
            check_figures(from_chars, A, {"numbers": 7999}, None)
        check_figures(from_chars, A, {"numbers": 8000}, None)

    def test_refuses_another_sum_of_each_axis(self):
        for axis in ("sum_x", "sum_y", "sum_z"):
            with self.assertRaisesRegex(ComparisonError, f"{axis} is .* of orvane"):
                self.check(EXACT, **{axis: FIGURES[axis] + 1e-4})

    def test_refuses_a_sum_that_is_no_number(self):
        with self.assertRaises(ComparisonError):
            self.check(ROUNDED, sum_x=float("nan"))

    def test_lets_readers_that_round_differ_more(self):
        self.check(ROUNDED, sum_x=1000.0 + 1e-4)
        with self.assertRaises(ComparisonError):
            self.check(ROUNDED, sum_x=1000.0 + 1e-2)


class ParseAnswer(unittest.TestCase):
    def test_takes_the_last_line_of_json(self):
        self.assertEqual(parse_answer('a warning\n{"rows": 3}\n'), {"rows": 3})

    def test_takes_lines_of_key_and_value(self):
        self.assertEqual(parse_answer("rows 3\nsum_x 0.5\n"), {"rows": 3, "sum_x": 0.5})


class ChooseReaders(unittest.TestCase):
    READERS = [OURS, EXACT, dataclasses.replace(ROUNDED, missing="no Rscript")]

    def test_takes_all_without_a_wish(self):
        self.assertEqual(compare.choose_readers(self.READERS, []), self.READERS)

    def test_takes_names_and_families(self):
        self.assertEqual(compare.choose_readers(self.READERS, ["gdal", "orvane"]), [OURS, EXACT])

    def test_refuses_a_wanted_reader_that_is_missing(self):
        with self.assertRaisesRegex(ComparisonError, "the reader 'fread' is missing: no Rscript"):
            compare.choose_readers(self.READERS, ["fread"])

    def test_refuses_an_unknown_reader(self):
        with self.assertRaisesRegex(ComparisonError, "there is no reader 'nobody'"):
            compare.choose_readers(self.READERS, ["nobody"])


class Results(unittest.TestCase):
    def setUp(self):
        self.results = compare_report.Results(make_datasets(False), pathlib.Path())

    def add(self, set_name, reader, key, seconds):
        for index, value in enumerate(seconds):
            figures = dict.fromkeys(("visit_cpu_s", "kept_bytes", "peak_bytes", "resident_after_bytes"), 0)
            figures |= {"raw_bytes": 1, "cpu_s": value, "wall_s": value}
            self.results.add(set_name, reader, key, index, [figures])

    def test_pairs_the_runs_of_one_round(self):
        self.add("A", OURS, "A", [1.0, 2.0, 4.0])
        self.add("A", EXACT, "A", [10.0, 10.0, 10.0])
        ratios = self.results.ratios("A", ("gdal-memory", "A"), ("orvane", "A"))
        self.assertEqual(ratios, [10.0, 5.0, 2.5])

    def test_keeps_the_median_and_the_best_of_repeated_runs(self):
        self.results.add("D", OURS, "D", 0, [{"cpu_s": value, "wall_s": 0.0} for value in (3.0, 1.0, 2.0)])
        self.assertEqual(self.results.values("D", "orvane", "D", "cpu_s"), [2.0])
        self.assertEqual(self.results.values("D", "orvane", "D", "best_cpu_s"), [1.0])

    def goal(self, text):
        return next(goal for goal in compare_report.make_goals(self.results) if goal.text.startswith(text))

    def test_divides_growth_by_rows_and_cells(self):
        self.add("rows", OURS, "A-few", [1.0])
        self.add("rows", OURS, "A-many", [16.0])
        self.assertAlmostEqual(self.goal("time a row").figure, 1.0)
        self.add("columns", OURS, "wide-narrow", [1.0])
        self.add("columns", OURS, "wide-wide", [1.25])
        self.assertAlmostEqual(self.goal("time a cell").figure, 1.25)

    def test_takes_the_best_peer_of_each_round(self):
        self.add("A", OURS, "A", [1.0, 1.0, 1.0])
        for name, seconds in (("fread-2", [1.0, 3.0, 2.0]), ("polars-2", [2.0, 2.0, 2.0])):
            self.add("A", dataclasses.replace(ROUNDED, name=name), "A", seconds)
        self.assertEqual(self.goal("A, our one thread").values, [1.0, 2.0, 2.0])

    def test_judges_by_the_median_of_the_rounds(self):
        judge = lambda is_low, *values: compare_report.Goal("", 2, 3, list(values), is_low).verdict()
        self.assertEqual(judge(False, 1.0, 3.0, 9.0), "aim")
        self.assertEqual(judge(False, 1.0, 2.0, 9.0), "must")
        self.assertEqual(judge(False, 1.0, 1.9, 9.0), "**no**")
        self.assertEqual(judge(False), "not measured")
        low = lambda value: compare_report.Goal("", 2, 1, [value], True).verdict()
        self.assertEqual([low(1.0), low(2.0), low(2.1)], ["aim", "must", "**no**"])


class ParseProfile(unittest.TestCase):
    def test_leaves_calls_out_and_follows_compressed_names(self):
        profile = (
            "fl=(1) a.cpp\nfn=(1) Caller(int)\n16 400\n+1 3\ncfn=(2) Called\ncalls=1 50\n16 1000\n* 7\n\n"
            "fn=(2)\n51 990\nfe=(1)\n-3 10\nfn=(1)\n16 1\n"
        )
        self.assertEqual(instructions.parse_profile(profile), {"Caller(int)": 411, "Called": 1000})


if __name__ == "__main__":
    unittest.main()
