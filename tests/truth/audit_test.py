"""Tests of the auditor, without the program: what it accepts, and that it finds every kind of difference."""

import datetime
import unittest
from decimal import Decimal

import audit
import nasty
import target
from audit import Case, Row
from target import Target
from values import Cell, cell_holds


class CellHolds(unittest.TestCase):
    def check(self, pairs, expected):
        for cell, stored in pairs:
            with self.subTest(cell=cell.text, stored=stored):
                self.assertEqual(cell_holds(cell, stored), expected)

    def test_a_value_that_spells_the_cell_is_kept(self):
        self.check([
            (Cell("12"), 12), (Cell("12"), 12.0), (Cell("9.75"), 9.75), (Cell("1e3"), 1000.0), (Cell(".5"), 0.5),
            (Cell("\u22126.5"), -6.5), (Cell("12,45", ","), 12.45), (Cell("1,030", thousands=","), 1030),
            (Cell(""), None), (Cell("NA"), None), (Cell("abc"), "abc"), (Cell("007"), "007"), (Cell("Yes"), True),
            (Cell(" x"), " x"), (Cell(" x", is_padded=True), "x"), (Cell("NaN"), float("nan")),
            (Cell("2018-01-28"), datetime.date(2018, 1, 28)),
            (Cell("28/01/2018", is_day_first=True), datetime.date(2018, 1, 28)),
            (Cell("2017-09-08T04:49:21.410Z"), datetime.datetime(2017, 9, 8, 4, 49, 21, 410000)),
            (Cell("13:03:22.836"), datetime.time(13, 3, 22, 836000)),
        ], True)

    def test_a_value_that_says_something_else_is_not(self):
        self.check([
            (Cell("9.75"), 9), (Cell("12"), 12.5), (Cell("99999999999"), 1215752191), (Cell("007"), 7), (Cell(""), 0),
            (Cell("abc"), 0), (Cell("NaN"), 0.0), (Cell("2"), False), (Cell("abc"), None), (Cell("0"), None),
            (Cell("12,45"), 1245), (Cell("a"), "a "), (Cell(" x"), "x"), (Cell("0.12345678901234567890"), 0.12345678901234568),
            (Cell("9007199254740993"), 9007199254740992.0), (Cell("28/01/2018"), datetime.date(2018, 1, 28)),
            (Cell("03/04/2018", is_day_first=True), datetime.date(2018, 3, 4)), (Cell("1"), True),
        ], False)


def case(rows, names=("a", "lon", "lat"), xyz=(1, 2, None)):
    return Case("nasty", "made", None, list(names), rows, xyz)


ROWS = [Row(line, [line, Decimal(line), Decimal(50)], (float(line), 50.0)) for line in range(2, 12)]
KEPT = [([line], (float(line), 50.0)) for line in range(2, 12)]


def faults(rows=ROWS, stored=KEPT, names=("a",), bad=(), others=()):
    compared = audit.compare(case(rows), Target(list(names), list(stored)), dict.fromkeys(bad, "x"), list(others))
    return compared.differences


class Compare(unittest.TestCase):
    def test_a_whole_target_has_no_fault(self):
        self.assertEqual(faults(), [])

    def test_coordinates_may_stay_among_the_attributes(self):
        stored = [([line, float(line), 50.0], (float(line), 50.0)) for line in range(2, 12)]
        self.assertEqual(faults(stored=stored, names=("a", "lon", "lat")), [])

    def test_a_changed_cell_is_found_with_its_line_and_column(self):
        stored = [*KEPT[:3], ([0], (5.0, 50.0)), *KEPT[4:]]
        self.assertEqual(faults(stored=stored), ["line 5, column 'a': 0 instead of '5'"])

    def test_a_moved_and_a_missing_point_are_found(self):
        for point in ((5.0, 50.1), None):
            found = faults(stored=[*KEPT[:3], ([5], point), *KEPT[4:]])
            self.assertTrue(found[-1].startswith("line 5: point"), found)

    def test_a_lost_row_is_found_at_its_line_and_the_later_rows_still_agree(self):
        self.assertEqual(faults(stored=KEPT[:-1]), ["line 11: a row that is neither there nor listed"])
        self.assertEqual(faults(stored=KEPT[:4] + KEPT[5:]), ["line 6: a row that is neither there nor listed"])

    def test_a_row_too_many_is_found(self):
        self.assertEqual(len(faults(stored=[*KEPT, ([9], None)])), 1)
        self.assertEqual(
            faults(stored=[*KEPT[:4], ([99], (1.0, 1.0)), *KEPT[4:]]), ["line 6: 1 row(s) before it that the file does not have"])

    def test_a_listed_row_may_be_missing(self):
        self.assertEqual(faults(stored=KEPT[:4] + KEPT[5:], bad=[6]), [])
        self.assertEqual(faults(stored=KEPT[:4] + KEPT[6:], others=[(6, 7, "footer")]), [])

    def test_a_bad_row_that_is_not_listed_is_found(self):
        rows = [*ROWS[:4], Row(6, [], None, is_bad=True), *ROWS[5:]]
        self.assertEqual(faults(rows=rows, stored=KEPT[:4] + KEPT[5:], bad=[6]), [])
        self.assertEqual(faults(rows=rows), ["line 6: a bad row that is not listed"])

    def test_another_name_is_found(self):
        self.assertEqual(faults(names=("b",)), ["line 1: the name 'b' instead of 'a'"])

    def test_types_are_part_of_the_truth_of_made_files(self):
        for expected, kept, changed in ((7, 7, "7"), ("7", "7", 7), (None, None, 0), (True, True, 1), (1, 1, True),
                                        ("", "", "x"), (Decimal("0.1"), 0.1, 0.1000001)):
            self.assertTrue(audit.holds(expected, kept))
            self.assertFalse(audit.holds(expected, changed), (expected, changed))


class Answers(unittest.TestCase):
    def test_command_lines_of_a_question_are_its_answers(self):
        said = "orvane: which?\n  orvane import --x 1 --y 2 'a b.csv' out.gpkg\n  orvane import --no-points a.csv\n"
        self.assertEqual(list(audit.answers(said)), [["import", "--x", "1", "--y", "2", "a b.csv", "out.gpkg"],
                                                     ["import", "--no-points", "a.csv"]])
        self.assertEqual(list(audit.answers("orvane: broken; see 'orvane import --help'\n")), [])


class NastyFiles(unittest.TestCase):
    def test_each_file_is_written_as_its_truth_says(self):
        made = list(nasty.all_files())
        self.assertGreaterEqual(len(made), 80)
        self.assertEqual(len({one.trouble for one in made}), len(made))
        for one in made:
            self.assertTrue(set(one.outcomes) <= {nasty.IMPORT, nasty.ASK, nasty.REFUSE}, one.trouble)
            for row in one.rows:
                self.assertTrue(row.is_bad or len(row.values) == len(one.names), one.trouble)

    def test_lines_of_rows_are_counted_as_they_stand_in_the_file(self):
        for one in nasty.all_files():
            if one.change or one.encoding != "utf-8":
                continue
            lines = one.content.decode().splitlines() if one.end == "\r" else one.content.decode().split("\n")
            for row in one.rows:
                if not row.is_bad and row.values and isinstance(row.values[0], int) and "\n" not in "".join(one.names):
                    self.assertIn(str(row.values[0]), lines[row.line - 1], one.trouble)


class ByGdal(unittest.TestCase):
    def test_a_sound_table_is_read_by_gdal_without_a_difference(self):
        import pathlib
        import tempfile
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "data.csv"
            made = nasty.table("sound")
            path.write_bytes(made.content)
            read = target.read_by_gdal(path)
            rows = [Row(row.line, row.values, row.point) for row in made.rows]
            self.assertEqual(audit.compare(case(rows, made.names, None), read, {}, []).differences, [])


if __name__ == "__main__":
    unittest.main()
