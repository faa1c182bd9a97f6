"""Tests of the scorer and of the makers of files, without the program: tables against themselves and changed."""

import csv
import io
import os
import pathlib
import tempfile
import unittest

import pollock
import pollution
from pollock import Table

SHARED = pathlib.Path(
    os.environ.get("ORVANE_TEST_DATA") or pathlib.Path(__file__).resolve().parents[3] / "shared/data")
TABLE = Table(["a", "b"], [["1", "x"], ["2", ""], ["2", "y"]])


def total(expected, found):
    return pollock.compare(expected, found).total


class Scorer(unittest.TestCase):
    def test_a_table_against_itself_scores_ten(self):
        self.assertEqual(total(TABLE, TABLE), 10)

    def test_every_clean_file_against_itself_scores_ten(self):
        for suite in ("pollock", "pollock-survey"):
            folder = SHARED / "suites" / suite
            for case in pollock.folder_cases(folder) if folder.is_dir() else []:
                with self.subTest(case.name):
                    self.assertEqual(total(case.expected, case.expected), 10)

    def test_2290_files_of_every_kind_are_made_of_each_table(self):
        for source in (pollution.orders(), pollution.stations(), pollution.members()):
            made = [*pollution.file_pollutions(source), *pollution.row_pollutions(source)]
            self.assertEqual(len({stem for stem, _, _ in made}), 2290, source.title)
            self.assertEqual({pollock.kind_of(stem) for stem, _, _ in made}, set(pollock.WEIGHTS), source.title)
            for stem, _, expected in made[::100]:
                self.assertEqual(total(expected, expected), 10, stem)

    def test_an_unpolluted_file_that_is_made_holds_its_table(self):
        for source in (pollution.orders(), pollution.stations(), pollution.members()):
            for stem, content, expected in pollution.file_pollutions(source):
                if stem in ("source", "file_header_only", "file_one_data_row", "file_record_delimiter_0xA"):
                    rows = list(csv.reader(io.StringIO(content.decode(), newline="")))
                    self.assertEqual((rows[0], rows[1:]), (expected.names, expected.rows), stem)

    def test_files_are_written_with_how_many_each_stands_for(self):
        with tempfile.TemporaryDirectory() as folder:
            for title, cases in pollution.collections_in(folder, 1000):
                self.assertEqual([case.stands_for for case in cases[-3:]], [1000] * 3, title)
                self.assertTrue(all(case.path.exists() for case in cases))

    def test_case_whole_numbers_and_decimals_do_not_depend_on_the_spelling(self):
        for first, second in (("007", "7"), ("+5", "5"), ("1.50", "1.5"), ("1e2", "100.0"), ("Yes", "yES"),
                              ("TRUE", "1"), (" 4", "4")):
            self.assertEqual(pollock.normalised(first), pollock.normalised(second), (first, second))
        for first, second in (("1", "1.0"), ("a", "a "), ("", "0"), ("1,5", "1.5"), ("nan", "")):
            self.assertNotEqual(pollock.normalised(first), pollock.normalised(second), (first, second))

    def test_a_failed_load_scores_nothing(self):
        self.assertEqual(pollock.Score(0).total, 0)

    def test_a_lost_row_costs_recall_only(self):
        score = pollock.compare(TABLE, Table(TABLE.names, TABLE.rows[:2]))
        self.assertEqual(score.records[0], 1)
        self.assertAlmostEqual(score.records[1], 2 / 3)
        self.assertAlmostEqual(score.records[2], 0.8)
        self.assertAlmostEqual(score.cells[1], 4 / 6)

    def test_a_row_too_many_costs_precision_only(self):
        score = pollock.compare(TABLE, Table(TABLE.names, [*TABLE.rows, ["3", "z"]]))
        self.assertAlmostEqual(score.records[0], 3 / 4)
        self.assertEqual(score.records[1], 1)

    def test_order_of_rows_does_not_count_and_order_of_cells_does(self):
        self.assertEqual(total(TABLE, Table(TABLE.names, TABLE.rows[::-1])), 10)
        swapped = pollock.compare(TABLE, Table(TABLE.names, [row[::-1] for row in TABLE.rows]))
        self.assertEqual(swapped.records, (0, 0, 0))
        self.assertEqual(swapped.cells, (1, 1, 1))

    def test_equal_rows_count_as_often_as_they_stand(self):
        twice = Table([], [["1"], ["1"]])
        self.assertAlmostEqual(pollock.compare(twice, Table([], [["1"]])).records[1], 0.5)

    def test_a_table_without_names_and_rows_is_met_by_anything(self):
        self.assertEqual(total(Table([], []), Table([], [["x"]])), 10)

    def test_a_weighted_mean_counts_files_by_kind_and_by_how_many_they_stand_for(self):
        case = lambda name, count=1: pollock.Case(name, None, TABLE, count)
        nothing = pollock.Score(0)
        whole = pollock.compare(TABLE, TABLE)
        results = [(case("source.csv"), whole, ""), (case("file_escape_char_0x00.csv"), nothing, "")]
        self.assertAlmostEqual(pollock.mean(results), 5)
        self.assertAlmostEqual(pollock.mean(results, pollock.weight_of), 10 / 8)
        results = [(case("row_less_sep_row1_col1.csv", 3), whole, ""), (case("row_more_sep_row1_col1.csv"), nothing, "")]
        self.assertAlmostEqual(pollock.mean(results), 7.5)

    def test_a_file_without_names_is_compared_without_those_that_its_clean_copy_was_given(self):
        with tempfile.TemporaryDirectory() as folder:
            place = pathlib.Path(folder)
            for part in ("csv", "clean", "parameters"):
                (place / part).mkdir()
            (place / "csv/a.csv").write_text("1,2\n")
            (place / "clean/a.csv").write_text("col_0,col_1\n1,2\n")
            (place / "parameters/a.csv_parameters.json").write_text(
                '{"header_lines": "0", "column_names": ["col_0", "col_1"]}')
            case, = pollock.folder_cases(place)
            self.assertEqual((case.expected.names, case.expected.rows), ([], [["1", "2"]]))


if __name__ == "__main__":
    unittest.main()
