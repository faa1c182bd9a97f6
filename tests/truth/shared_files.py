"""How a person reads the real files of the folder of test data: written by hand from its README.md.

Each file is read with Python's codecs and csv alone. Where a file's folder is not there, nothing is read.
"""

import csv
import io
import json
import os
import pathlib
import re

from values import Cell, as_decimal

csv.field_size_limit(1 << 30)

FOLDER = pathlib.Path(
    os.environ.get("ORVANE_TEST_DATA") or pathlib.Path(__file__).resolve().parents[3] / "shared/data")


class Reading:
    """How one file is read. `x`, `y`: columns from 0; without them the file has no coordinates."""

    def __init__(self, encoding="ascii", separator=",", has_names=True, x=None, y=None, z=None, quote='"',
                 comments=None, widths=None, skip=0, decimal=".", is_metres=False, is_day_first=None,
                 point=None, asks=False, is_padded=False, blanks=False, names_in_comment=False, thousands=""):
        self.encoding = encoding
        self.separator = separator
        self.has_names = has_names
        self.x, self.y, self.z = x, y, z
        self.quote = quote
        self.comments = comments
        self.widths = widths
        self.skip = skip  # records before the names or the first row
        self.decimal = decimal
        self.is_metres = is_metres
        self.is_day_first = is_day_first
        self.point = point
        self.asks = asks
        self.is_padded = is_padded
        self.blanks = blanks
        self.names_in_comment = names_in_comment
        self.thousands = thousands


def letter_point(row):
    """A point of cells such as 49.0733336N and 125.7648551W."""
    def degrees(text):
        return float(text[:-1]) * (-1 if text[-1] in "SW" else 1)
    return degrees(row[5]), degrees(row[4])


def letters_beside_point(row):
    """A point of degrees with the letters in the columns after them."""
    return (float(row[7]) * (-1 if row[8].strip() == "W" else 1),
            float(row[5]) * (-1 if row[6].strip() == "S" else 1))


DWD = (5, 9, 9, 15, 12, 10, 42, 98)
POINT_FILES = {
    "addresses_ward5.csv": Reading(x=6, y=5),
    "airports_noheader.txt": Reading(has_names=False, x=4, y=5, z=6),
    "ais_norway.csv": Reading(separator=";", x=4, y=5),
    "argo_profiles.txt": Reading(comments="#", x=3, y=2),
    "bus_stops_quoted.csv": Reading("utf-8", x=9, y=8),
    "capitals_ragged.csv": Reading("utf-8", has_names=False, x=0, y=1),
    "depths_one_column.txt": Reading(separator="\0", has_names=False, asks=True),
    "dms_variants.csv": Reading("utf-8", x=1, y=0, point=lambda row: (-5.678, -1.234)),
    "dwd_stations_fixed.txt": Reading("latin-1", widths=DWD, x=5, y=4, z=3, is_padded=True),
    "earthquakes.txt": Reading(x=2, y=1, z=3),
    "geonames_gb.txt": Reading("utf-8-sig", "\t", has_names=False, quote=None, x=5, y=4),
    "glacier_boreholes.csv": Reading("utf-8", x=6, y=5, z=8),
    "gps_logger_mtk.csv": Reading(x=7, y=5, point=letters_beside_point, is_padded=True),
    "gps_logger_v900.csv": Reading(x=5, y=4, z=6, point=letter_point),
    "health_utf16le.csv": Reading("utf-16", asks=True, thousands=","),
    "inmet_stations.csv": Reading(separator=";", decimal=",", x=4, y=3, z=5, is_day_first=True),
    "lidar_autzen.txt": Reading(x=0, y=1, z=2, is_metres=True),
    "lvis_lidar_spaces.txt": Reading(comments="#", blanks=True, names_in_comment=True, x=3, y=4, z=5),
    "planning_multiline.csv": Reading(x=9, y=10, is_metres=True, is_day_first=True),
    "ports_bom.csv": Reading("utf-8-sig", x=2, y=3),
    "postal_codes_th.tsv": Reading(separator="\t", has_names=False, quote=None, x=10, y=9),
    "sacramento_sales_cr.csv": Reading(x=11, y=10),
    "service_requests_311.csv": Reading("utf-8", x=39, y=38, is_day_first=False),
    "soundings_garmin.txt": Reading(separator="\t", has_names=False, x=7, y=6, z=9),
    "stadiums_thousands.csv": Reading("utf-8", asks=True, thousands=","),
    "street_lights_cp949.csv": Reading("cp949", x=2, y=1),
    "tapir_occurrences_wide.txt": Reading("utf-8", "\t", quote=None, x=79, y=78),
    "taxi_track.ssv": Reading(separator=" ", has_names=False, x=1, y=0),
    "volcanoes_latin1.csv": Reading("latin-1", x=5, y=4, z=6),
    "wells_colorado.csv": Reading(x=35, y=34, z=12),
    "world_cities.csv": Reading("utf-8", x=6, y=5),
}
DERIVED_FILES = {
    "derived/bus_stops_utf16le.csv": Reading("utf-16", x=9, y=8),
    "derived/volcanoes_utf8_bom_tab.txt": Reading("utf-8-sig", "\t", quote=None, x=5, y=4, z=6),
}


class Expected:
    """What a file holds: names (empty if it has none), rows of (line, cells, point), its reading and physical lines."""

    def __init__(self, path, reading, names, rows, lines, head=()):
        self.head = head  # records that were skipped, as rows
        self.path = path
        self.reading = reading
        self.names = names
        self.rows = rows
        self.lines = lines  # without their ends, from line 1


def lines_with_numbers(text):
    """Physical lines with their numbers from 1, ends kept; every kind of line end ends a line."""
    return list(enumerate(io.StringIO(text, newline=""), 1))


def records(text, reading):
    """(line, fields) of each record that is no comment, names included."""
    if reading.widths or reading.blanks or reading.separator == "\0":
        for number, line in lines_with_numbers(text):
            line = line.rstrip("\r\n")
            if not line.strip() or (reading.comments and line.startswith(reading.comments)):
                continue
            if reading.widths:
                ends = [sum(reading.widths[:i + 1]) for i in range(len(reading.widths))]
                yield number, [line[end - width:end] for end, width in zip(ends, reading.widths)]
            else:
                yield number, re.split(r"[ \t]+", line.strip()) if reading.blanks else [line]
        return
    stream = io.StringIO(text, newline="")
    quoting = {"quotechar": reading.quote} if reading.quote else {"quoting": csv.QUOTE_NONE}
    reader = csv.reader(stream, delimiter=reading.separator, **quoting)
    before = 0
    for fields in reader:
        line, before = before + 1, reader.line_num
        if not fields or (reading.comments and fields[0].startswith(reading.comments)):
            continue
        yield line, fields


def point_of(cells, reading):
    """The point of a row by its cells, or None."""
    if reading.x is None:
        return None
    if reading.point:
        return reading.point([cell.text for cell in cells])
    x, y = as_decimal(cells[reading.x]), as_decimal(cells[reading.y])
    if x is None or y is None:
        return None
    if not reading.is_metres and (abs(y) > 90 or abs(x) > 360):
        return None
    return float(x), float(y)


def expected_of(path, reading):
    text = path.read_bytes().decode(reading.encoding)
    found = list(records(text, reading))
    head, found = found[:reading.skip], found[reading.skip:]
    names = []
    if reading.names_in_comment:
        comments = [line for line in text.splitlines() if line.startswith(reading.comments)]
        names = comments[-1].lstrip(reading.comments).split()
    elif reading.has_names and found:
        names = found.pop(0)[1]
        if reading.widths:
            # Names stand over their columns by blanks, and over a line of dashes.
            names = "".join(names).split()
            found.pop(0)
    width = max(len(names), max((len(fields) for _, fields in found), default=0))
    rows = []
    for line, fields in [*head, *found]:
        if not any(field.strip() for field in fields):
            continue  # a line of separators alone
        fields = fields + [""] * (width - len(fields))
        cells = [Cell(field, reading.decimal, reading.is_day_first, reading.thousands, reading.is_padded)
                 for field in fields]
        rows.append((line, cells, point_of(cells, reading)))
    skipped = sum(any(field.strip() for field in fields) for _, fields in head)
    return Expected(path, reading, names, rows[skipped:], [line.rstrip("\r\n") for _, line in lines_with_numbers(text)], rows[:skipped])


def point_files(only=""):
    """What each of the point files holds, in order of their names; of those whose name holds `only`."""
    for name, reading in sorted({**POINT_FILES, **DERIVED_FILES}.items()):
        if only in name:
            yield expected_of(FOLDER / name, reading)


# Files of the suites that are not read as commas, quotes, UTF-8 and a line of names.
SUITES = ("csv-spectrum/csvs", "csv-test-data/csv", "gdal-csv", "qgis-delimitedtext")
SUITE_READINGS = {
    "csv-test-data/csv/all-empty.csv": Reading("utf-8", has_names=False),
    "csv-test-data/csv/bad-missing-quote.csv": Reading("utf-8", quote=None),
    "csv-test-data/csv/bad-unescaped-quote.csv": Reading("utf-8", quote=None),
    "gdal-csv/double_quotes_in_middle_of_field.csv": Reading("utf-8", quote=None),
    "gdal-csv/double_quotes_in_middle_of_field_bis.csv": Reading("utf-8", quote=None),
    "gdal-csv/unbalanced_double_quotes.csv": Reading("utf-8", quote=None),
    "qgis-delimitedtext/test.badquote": Reading("utf-8", quote=None),
    "qgis-delimitedtext/test.pipe": Reading("utf-8", "|"),
    "qgis-delimitedtext/test.space": Reading("utf-8", blanks=True),
    "qgis-delimitedtext/test14666.csv": Reading("utf-8", "\t", x=1, y=2),
    "qgis-delimitedtext/test2.csv": Reading("utf-8", has_names=False),
    "qgis-delimitedtext/testdms.csv": Reading("utf-8", x=2, y=3),
    "qgis-delimitedtext/testdp.csv": Reading("utf-8", ";", decimal=",", x=2, y=3),
    "qgis-delimitedtext/testextpt.txt": Reading("utf-8", "|", x=2, y=3),
    "qgis-delimitedtext/testlatin1.csv": Reading("latin-1", "|"),
    "qgis-delimitedtext/testlongs.csv": Reading("utf-8", x=2, y=3),
    "qgis-delimitedtext/testpt.csv": Reading("utf-8", x=2, y=3),
    "qgis-delimitedtext/test13749.csv": Reading("utf-8", x=2, y=3),
    "qgis-delimitedtext/testtypes.csv": Reading("utf-8", x=1, y=2),
    "qgis-delimitedtext/testutf8.csv": Reading("utf-8", "|"),
}


# Files that no reading gets right: where stray quotes are, a person sees which ones enclose fields.
SUITE_ROWS = {
    "csv-test-data/csv/bad-quotes-with-unescaped-quote.csv": [["1", 'Hey, I missed " it', "3"]],
    "qgis-delimitedtext/test.badquote": [
        ["1", "Unclosed quotes 1", '"Quoted', "data1"], ["2", "Unclosed quotes 2", "Quoted,data2", "info2"],
        ["3", "Recovered after unclosed quore", "Data ok", "inf3"],
        ["4", "Unclosed quotes to end of file", '"Never ending field ...', ""]],
}


def suite_files(only=""):
    """What each file of the suites of small files holds, read as a person would read it."""
    for suite in SUITES:
        for path in sorted((FOLDER / "suites" / suite).iterdir()):
            name = f"{suite}/{path.name}"
            if path.suffix != ".json" and only in name:
                expected = expected_of(path, SUITE_READINGS.get(name) or Reading("utf-8"))
                if name in SUITE_ROWS:
                    expected.rows = [(line, [Cell(text) for text in texts], None)
                                     for (line, _, _), texts in zip(expected.rows, SUITE_ROWS[name], strict=True)]
                yield expected


# What the parameters do not say, or say wrongly.
SURVEY_ENCODINGS = {"Copy_of_2016-17_Q3_Final_V2.csv": "utf-8"}
SURVEY_MONTH_FIRST = {"Camp Palacios - Humidity.csv"}


def survey_files(only=""):
    """What each real file of the benchmark of CSV loading holds, as its parameters say; names are not compared."""
    folder = FOLDER / "suites/pollock-survey"
    for path in sorted((folder / "csv").iterdir()):
        if only not in f"pollock-survey/csv/{path.name}":
            continue
        said = json.loads((folder / "parameters" / f"{path.name}_parameters.json").read_text())
        encoding = SURVEY_ENCODINGS.get(path.name) or ("utf-8-sig" if said["encoding"] == "utf-8" else said["encoding"])
        yield expected_of(path, Reading(
            encoding, said["delimiter"], has_names=False, quote=said["quotechar"] or None, thousands=",",
            is_day_first=path.name not in SURVEY_MONTH_FIRST,
            skip=int(said["preamble_lines"]) + int(said["header_lines"])))
