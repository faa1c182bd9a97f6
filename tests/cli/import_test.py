"""Imports by a plan: what stands in the output, what is asked, what is put aside, and the account of it."""

import csv
import gzip
import io
import json
import os
import resource
import shlex
import sqlite3
import subprocess
import sys
import unittest
import xml.etree.ElementTree
import zipfile

import cli_test

# Every kind of cell that the rules of the reader alone would change.
HARSH = (
    "id,lat,lon,whole,late,gap,code,flag,big,word\n"
    "1,47.5,8.5,1,1,1,007,0,1,a\n"
    "2,47.6,8.6,2,2,,010,1,2,b\n"
    "3,47.7,8.7,3,3,3,0800,0,3,c\n"
    "4,47.8,8.8,4,4,4,042,1,4,d\n"
    "5,47.9,8.9,5,5,,1,0,5,e\n"
    "6,48.0,9.0,6,9.75,6,2,2,99999999999,\"f, g\"\n"
    "7,48.1,9.1,7,-3.5,7,3,3,7,\"h\ni\"\n"
)
DEPTHS = "station;lat;lon;depth\nA;47,5;8,5;12,45\nB;47,25;8,75;3,5\n"


class ByPlanTest(cli_test.CliTest):
    def rows(self, name):
        return self.dump(name)["features"]

    def report(self, *arguments, status=0):
        result = self.run_orvane("import", *arguments, "--json")
        self.assertEqual(result.status, status, result.err)
        report = json.loads(result.out)
        ledger = report["ledger"]
        self.assertEqual(sum(ledger["lines"].values()), ledger["linesScanned"], ledger)
        for column in ledger["columns"]:
            self.assertEqual(column["values"] + column["empties"] + column["nullWords"], ledger["rows"])
        return report

    def run_shell(self, command):
        environment = dict(os.environ, PATH=os.path.dirname(cli_test.PROGRAM) + ":" + os.environ["PATH"])
        return subprocess.run(["bash", "-c", command], cwd=self.folder, env=environment, capture_output=True,
                              text=True, timeout=60)

    def commands_in(self, text):
        return [line.strip() for line in text.split("\n") if line.startswith("  orvane ")]


class StandardOutputTest(ByPlanTest):
    def test_rows_go_to_standard_output_and_words_to_standard_error(self):
        self.write("a.csv", "lon,lat,name\n8.5,47.25,a\n7.5,46.75,b\n")
        result = self.run_orvane("import", "a.csv", "-", "--format", "csv")
        self.assertEqual(result.status, 0, result.err)
        self.assertEqual(result.out, "name,X,Y\na,8.5,47.25\nb,7.5,46.75\n")
        self.assertIn("2 rows", result.err)
        result = self.run_orvane("import", "a.csv", "-", "--format", "geojsonl", "--json")
        self.assertEqual([json.loads(line)["properties"]["name"] for line in result.out.splitlines()], ["a", "b"])
        self.assertEqual(json.loads(result.err)["ledger"]["rows"], 2)

    def test_formats_that_are_no_text_are_refused(self):
        self.write("a.csv", "lon,lat\n8.5,47.25\n7.5,46.75\n")
        for arguments in [[], ["--format", "gpkg"], ["--format", "FlatGeobuf"]]:
            result = self.run_orvane("import", "a.csv", "-", *arguments)
            self.assertEqual((result.status, result.out), (2, ""), result.err)
            self.assertIn("Standard output needs the name of a text format: CSV, GeoJSON or GeoJSONSeq.", result.err)

    def test_the_format_that_is_asked_for_wins_over_the_extension(self):
        self.write("a.csv", "lon,lat,name\n8.5,47.25,a\n7.5,46.75,b\n")
        self.succeed("import", "a.csv", "rows.txt", "--format", "GeoJSONSeq")
        with open(self.path("rows.txt"), encoding="utf-8") as file:
            self.assertEqual(len([json.loads(line) for line in file]), 2)
        self.succeed("import", "a.csv", "--format", ".fgb")
        self.assertTrue(os.path.exists(self.path("a.fgb")))

    def test_a_reader_that_ends_early_ends_the_import_quietly(self):
        self.write("long.csv", "lon,lat,name\n" + "8.5,47.25,some name that is long enough\n" * 200000)
        done = self.run_shell("orvane import long.csv - --format csv | head -n 2; echo ${PIPESTATUS[0]}")
        self.assertEqual(done.stdout, "name,X,Y\nsome name that is long enough,8.5,47.25\n1\n")
        self.assertEqual(done.stderr, "")
        self.assertEqual(os.listdir(self.folder), ["long.csv"])


class LayersTest(ByPlanTest):
    """Several layers in one GeoPackage."""

    FIRST = "lon,lat,n,name\n8.5,47.25,1,a\n7.5,46.75,2,b\n"
    SECOND = "lon,lat,n,name\n8.75,47.5,3,c\n9.5,46.5,4,d\n"

    def numbers(self, layer, name="all.gpkg"):
        with sqlite3.connect(self.path(name)) as database:
            return [row[0] for row in database.execute(f"SELECT n FROM {layer} ORDER BY fid")]

    def content(self, name="all.gpkg"):
        with open(self.path(name), "rb") as file:
            return file.read()

    def setUp(self):
        super().setUp()
        self.write("first.csv", self.FIRST)
        self.write("second.csv", self.SECOND)
        self.succeed("import", "first.csv", "all.gpkg")

    def test_layers_are_added_appended_to_and_replaced(self):
        report = self.report("second.csv", "all.gpkg", "--layer", "other")
        self.assertTrue(report["ok"])
        self.assertEqual((self.numbers("first"), self.numbers("other")), ([1, 2], [3, 4]))
        report = self.report("second.csv", "all.gpkg", "--layer", "FIRST", "--append")
        self.assertEqual(report["ledger"]["rowsWritten"], 2)
        self.assertEqual(self.numbers("first"), [1, 2, 3, 4])
        self.succeed("import", "first.csv", "all.gpkg", "--append")
        self.assertEqual(self.numbers("first"), [1, 2, 3, 4, 1, 2])
        self.succeed("import", "second.csv", "all.gpkg", "--layer", "first", "--overwrite-layer")
        self.assertEqual((self.numbers("first"), self.numbers("other")), ([3, 4], [3, 4]))
        self.assertEqual(sorted(os.listdir(self.folder)), ["all.gpkg", "first.csv", "second.csv"])
        self.succeed("import", "first.csv", "all.gpkg")
        with sqlite3.connect(self.path("all.gpkg")) as database:
            self.assertEqual(list(database.execute("SELECT table_name FROM gpkg_contents")), [("first",)])

    def test_flags_on_a_file_that_is_not_there_make_it(self):
        self.succeed("import", "second.csv", "new.gpkg", "--layer", "mine", "--append")
        self.assertEqual(self.numbers("mine", "new.gpkg"), [3, 4])

    def test_failures_leave_the_file_as_it_was(self):
        self.write("wrong.csv", "lon,lat,n,name,more\n8.5,47.25,x,a,1\n7.5,46.75,y,b,2\n")
        with open(self.path("text.gpkg"), "w", encoding="utf-8") as file:
            file.write("no database")
        before = self.content()
        for arguments, code, words in [
            (["second.csv", "all.gpkg", "--layer", "First"], "layer-exists", "There is a layer 'First' already."),
            (["wrong.csv", "all.gpkg", "--layer", "first", "--append"], "layer-schema",
             "Its column 'n' is of type MEDIUMINT, the file's is TEXT."),
            (["second.csv", "all.gpkg", "--layer", "first", "--append", "--crs", "EPSG:2056"], "layer-schema",
             "Its geometries in column 'geom' are in EPSG:4326, those of the rows in EPSG:2056."),
            (["second.csv", "text.gpkg", "--append"], "output-write", "It is no GeoPackage."),
        ]:
            result = self.run_orvane("import", *arguments, "--json")
            self.assertEqual(result.status, 1)
            failure = json.loads(result.out)
            self.assertEqual(failure["code"], code)
            self.assertIn(words, result.err)
        self.assertEqual(self.content(), before)
        self.assertEqual(self.content("text.gpkg"), b"no database")
        self.assertEqual(sorted(os.listdir(self.folder)),
                         ["all.gpkg", "first.csv", "second.csv", "text.gpkg", "wrong.csv"])

    def test_formats_of_one_layer_refuse_what_they_cannot_do(self):
        for arguments, words in [
            (["o.csv", "--layer", "x"], "A file of the format CSV holds one layer, which has no name"),
            (["o.geojson", "--append"], "A file of the format GeoJSON holds one layer, which is always replaced."),
            (["o.fgb", "--overwrite-layer"], "A file of the format FlatGeobuf holds one layer"),
        ]:
            result = self.run_orvane("import", "first.csv", *arguments)
            self.assertEqual(result.status, 2)
            self.assertIn(words, result.err)
        self.succeed("import", "first.csv", "o.geojson", "--layer", "mine")
        with open(self.path("o.geojson"), encoding="utf-8") as file:
            self.assertEqual(json.load(file)["name"], "mine")

    def test_rows_put_aside_for_one_layer_stay_beside_those_of_another(self):
        bad = "lon,lat,n,name\n" + "8.5,47.25,1,a\n" * 200 + "1,2,3,4,5,6\n"
        self.write("bad.csv", bad)
        for layer in ["one", "two"]:
            self.succeed("import", "bad.csv", "all.gpkg", "--layer", layer)
        self.assertEqual(sorted(name for name in os.listdir(self.folder) if "rejected" in name),
                         ["all.gpkg.2.rejected.csv", "all.gpkg.rejected.csv"])
        with sqlite3.connect(self.path("all.gpkg")) as database:
            self.assertEqual(
                sorted(row[0] for row in database.execute("SELECT table_name FROM gpkg_contents")),
                ["first", "one", "rejected_rows", "rejected_rows_2", "two"])
        self.succeed("import", "second.csv", "all.gpkg", "--layer", "three")
        self.assertTrue(os.path.exists(self.path("all.gpkg.rejected.csv")))

    def test_a_kill_or_a_full_disk_leaves_the_file_as_it_was(self):
        self.write("long.csv", "lon,lat,n,name\n" + "8.5,47.25,5,some name that is long enough\n" * 300000)
        before = self.content()
        command = [cli_test.PROGRAM, "import", "long.csv", "all.gpkg", "--layer", "first", "--append"]
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20, 1 << 20))
        full = subprocess.run(command, cwd=self.folder, capture_output=True, text=True, timeout=60, preexec_fn=limit)
        self.assertEqual(full.returncode, 1)
        self.assertIn("The output cannot be written.", full.stderr)
        self.assertEqual(sorted(os.listdir(self.folder)), ["all.gpkg", "first.csv", "long.csv", "second.csv"])
        killed = subprocess.Popen(command, cwd=self.folder)
        while not any(name.startswith(".orvane-") for name in os.listdir(self.folder)) and killed.poll() is None:
            pass
        killed.kill()
        killed.wait()
        self.assertEqual(self.content(), before)
        self.succeed("import", "second.csv", "all.gpkg", "--layer", "first", "--append")
        self.assertEqual(self.numbers("first"), [1, 2, 3, 4])
        self.assertEqual(sorted(os.listdir(self.folder)), ["all.gpkg", "first.csv", "long.csv", "second.csv"])


class ConformanceTest(ByPlanTest):
    """GeoPackages, judged by the script of GDAL that holds a file against the standard."""

    def complaints(self, name):
        # The packages of the system are those of its own Python.
        done = subprocess.run(["/usr/bin/python3", "-m", "osgeo_utils.samples.validate_gpkg", self.path(name)],
                              capture_output=True, text=True, timeout=60)
        return (done.stdout + done.stderr).strip().split("\n")[-1]

    def test_files_with_layers_of_every_kind_conform(self):
        self.write("a.csv", "lon,lat,n,big,v,ok,name,d,t,dt\n"
                            "8.5,47.25,1,12345678901,0.5,true,a,2018-01-28,13:03:22,2018-01-28T13:03:22\n"
                            "7.5,46.75,2,12345678902,,false,\"b \u00e9\",2018-01-29,13:03:23,2018-01-29T13:03:22Z\n"
                            ",,3,12345678903,1.5,true,,,,\n")
        self.write("heights.csv", "x;y;z\n2600000;1200000;430.5\n2600010;1200010;431.5\n")
        self.write("bad.csv", "lon,lat,n\n" + "8.5,47.25,1\n" * 200 + "1,2,3,4,5,6\n")
        self.succeed("import", "a.csv", "all.gpkg")
        self.assertEqual(self.complaints("all.gpkg"), "")
        self.succeed("import", "heights.csv", "all.gpkg", "--layer", "heights", "--x", "x", "--y", "y", "--z", "z",
                     "--crs", "EPSG:2056")
        self.succeed("import", "a.csv", "all.gpkg", "--layer", "table", "--no-points")
        self.succeed("import", "bad.csv", "all.gpkg", "--layer", "bad")
        self.succeed("import", "a.csv", "all.gpkg", "--layer", "a", "--append")
        self.succeed("import", "bad.csv", "all.gpkg", "--layer", "bad", "--overwrite-layer")
        self.assertEqual(self.complaints("all.gpkg"), "")

    def test_a_file_that_does_not_conform_is_told(self):
        self.write("a.csv", "lon,lat,n\n8.5,47.25,1\n7.5,46.75,2\n")
        self.succeed("import", "a.csv", "all.gpkg")
        with sqlite3.connect(self.path("all.gpkg")) as database:
            database.execute("DELETE FROM gpkg_spatial_ref_sys WHERE srs_id = -1")
        self.assertIn("There should be at least 3 records in gpkg_spatial_ref_sys", self.complaints("all.gpkg"))


class GdalFormatsTest(ByPlanTest):
    """Formats that GDAL's drivers write."""

    ROWS = ("lon,lat,n,big,v,ok,name,day\n8.5,47.25,1,12345678901,0.1,true,\"a, \u00e9\",2018-01-28\n"
            "7.5,46.75,-2,5,1e300,false,b<&>,2019-02-28\n7.25,46.5,3,7,0.5,true,c,2020-02-29\n")

    def test_a_sqlite_file_holds_every_value(self):
        self.write("a.csv", self.ROWS)
        report = self.report("a.csv", "o.sqlite", "--co", "SPATIALITE=NO", "--co", "OVERWRITE=YES")
        self.assertEqual((report["ledger"]["rowsWritten"], report["ledger"]["pointsWritten"]), (3, 3))
        with sqlite3.connect(self.path("o.sqlite")) as database:
            self.assertEqual(list(database.execute("SELECT n, big, v, ok, name, day FROM a")),
                             [(1, 12345678901, 0.1, 1, "a, \u00e9", "2018-01-28"),
                              (-2, 5, 1e300, 0, "b<&>", "2019-02-28"), (3, 7, 0.5, 1, "c", "2020-02-29")])
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.csv", "o.sqlite"])

    def test_text_formats_of_gdal_hold_every_row(self):
        self.write("a.csv", self.ROWS)
        for name in ["o.kml", "o.gml", "o.mif", "o.jml", "o.gmt"]:
            report = self.report("a.csv", name)
            self.assertEqual((report["ledger"]["rowsWritten"], report["ledger"]["pointsWritten"]), (3, 3), name)
        tree = xml.etree.ElementTree.parse(self.path("o.kml"))
        space = "{http://www.opengis.net/kml/2.2}"
        places = list(tree.iter(space + "Placemark"))
        self.assertEqual([place.find(f".//{space}coordinates").text for place in places],
                         ["8.5,47.25", "7.5,46.75", "7.25,46.5"])
        self.assertEqual([place.find(space + "name").text for place in places], ["a, \u00e9", "b<&>", "c"])
        self.assertEqual([data.text for data in places[0].iter(space + "SimpleData")],
                         ["1", "12345678901", "0.1", "1", "2018-01-28"])

    def test_rows_without_a_point_are_places_without_one(self):
        self.write("a.csv", self.ROWS + ",,4,8,1.5,true,d,2020-03-01\n")
        report = self.report("a.csv", "o.kml")
        self.assertEqual((report["ledger"]["rowsWritten"], report["ledger"]["pointsWritten"]), (4, 3))

    def test_what_a_format_may_cut_is_said(self):
        self.write("a.csv", "lon,lat,v\n8.5,47.25,0.30000000000000004\n7.5,46.75,0.5\n")
        result = self.run_orvane("import", "a.csv", "o.kml")
        self.assertEqual(result.status, 1)
        self.assertIn("1 numbers and coordinates have more than 15 digits", result.err)
        self.write("a.csv", "lon,lat,v\n8.5,47.25,\n7.5,46.75,0.5\n")
        result = self.run_orvane("import", "a.csv", "o.mif")
        self.assertEqual(result.status, 1)
        self.assertIn("1 nulls of numbers are 0 in the output", result.err)

    def test_what_a_format_cannot_hold_is_refused_and_the_old_file_stays(self):
        self.write("a.csv", self.ROWS)
        for name, words in [("o.xlsx", "The format holds no points; write the table without points."),
                            ("o.ods", "The format holds no points"),
                            ("o.dxf", "DXF layer does not support arbitrary field creation")]:
            self.write(name, "old")
            result = self.run_orvane("import", "a.csv", name)
            self.assertEqual(result.status, 1, name)
            self.assertIn(words, result.err)
            self.assertEqual(self.content(name), b"old")
        for name in ["o.xlsx", "o.ods"]:
            report = self.report("a.csv", name, "--no-points")
            self.assertEqual(report["ledger"]["rowsWritten"], 3)
        result = self.run_orvane("import", "a.csv", "tiles", "--format", "MVT")
        self.assertEqual(result.status, 1)
        self.assertFalse(os.path.exists(self.path("tiles")))
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.csv", "o.dxf", "o.ods", "o.xlsx"])

    def test_heights_that_points_cannot_have_stay_in_their_column(self):
        self.write("a.csv", "lon,lat,depth\n8.5,47.25,5.5\n7.5,46.75,-6.5\n")
        words = "note: points have no height in the output: the column 'depth' has it"
        for name, more in [("o.mif", []), ("o.tab", []), ("o.rss", ["--format", "GeoRSS", "--co", "USE_EXTENSIONS=YES"]),
                           ("o.gpx", ["--co", "GPX_USE_EXTENSIONS=YES"]), ("o.mapml", ["--format", "MapML"])]:
            result = self.run_orvane("import", "a.csv", name, *more)
            self.assertEqual(result.status, 0, result.err)
            self.assertIn(words, result.err)
            self.assertNotIn(", Z ", result.out)
        self.assertEqual(self.content("o.mid"), b"5.5\n-6.5\n")
        for name in ["o.rss", "o.gpx", "o.mapml"]:
            self.assertIn(b">-6.5<", self.content(name))
        # A shapefile has heights, but not in some points only.
        self.succeed("import", "a.csv", "o.shp")
        self.assertEqual(self.content("o.shp")[32], 11)
        self.write("a.csv", "lon,lat,depth\n8.5,47.25,5.5\n7.5,46.75,\n")
        result = self.run_orvane("import", "a.csv", "o.shp")
        self.assertEqual(result.status, 0, result.err)
        self.assertIn(words, result.err)
        self.assertEqual(self.content("o.shp")[32], 1)
        self.assertIn(b"5.500000000000000", self.content("o.dbf"))

    def test_times_keep_their_offset_from_utc(self):
        self.write("a.csv", "id,at,plain\n1,2019-02-03T01:02:03+02:00,2019-02-03T01:02:03\n"
                            "2,2019-02-03T01:02:03Z,2019-02-03T01:02:04\n")
        self.succeed("import", "a.csv", "o.mif", "--no-points")
        self.assertIn(b"at Char", self.content("o.mif"))
        self.assertIn(b"plain DateTime", self.content("o.mif"))
        self.assertEqual(self.content("o.mid"), b'1,"2019-02-03T01:02:03+02:00",20190203010203000\n'
                                                b'2,"2019-02-03T01:02:03Z",20190203010204000\n')
        for name, member in [("o.xlsx", "xl/sharedStrings.xml"), ("o.ods", "content.xml")]:
            self.succeed("import", "a.csv", name, "--no-points")
            with zipfile.ZipFile(self.path(name)) as sheet:
                self.assertIn(b">2019-02-03T01:02:03+02:00<", sheet.read(member))

    def test_dates_before_those_of_a_sheet_are_said(self):
        self.write("a.csv", "id,day\n1,0999-02-03\n2,1900-03-01\n3,2019-02-03\n")
        result = self.run_orvane("import", "a.csv", "o.xlsx", "--no-points")
        self.assertEqual(result.status, 1)
        self.assertIn("1 dates of the column 'day' are before 1900, which the format does not hold, and are null "
                      "in the output", result.err)
        self.succeed("import", "a.csv", "o.ods", "--no-points")

    def test_texts_that_a_format_changes_are_counted(self):
        xml = ["kml", "gml", "jml", "xlsx", "ods"]
        texts = {"control \x01": xml, "two\nlines": ["mif", "tab"], "a\rb": [*xml, "mif", "tab"],
                 "x" * 255: ["shp", "mif", "tab"], "blank ": ["shp"]}
        for name in ["shp", *xml, "mif", "tab", "sqlite"]:
            self.write("a.csv", "lon,lat,{}\r\n8.5,47.25,{}\r\n7.5,46.75,{}\r\n".format(
                ",".join(f"t{index}" for index in range(len(texts))), ",".join(f'"{text}"' for text in texts),
                ",".join("plain" for text in texts)))
            table = ["--no-points"] if name in ("xlsx", "ods") else []
            result = self.run_orvane("import", "a.csv", "o." + name, *table)
            words = " texts of the column '{}' have characters or a length that the format does not hold"
            said = [words.format(f"t{index}") in result.err for index in range(len(texts))]
            self.assertEqual(said, [name in formats for formats in texts.values()], name)
            self.assertEqual(result.status, 1 if any(said) else 0)

    def test_a_table_of_a_sqlite_file_is_seen_without_points(self):
        self.write("a.csv", self.ROWS)
        report = self.report("a.csv", "o.sqlite", "--no-points")
        self.assertEqual(report["ledger"]["rowsWritten"], 3)

    def test_options_go_to_the_driver_and_wrong_ones_are_refused(self):
        self.write("a.csv", self.ROWS)
        self.succeed("import", "a.csv", "o.kml", "--co", "NameField=day")
        self.assertIn(b"<name>2018-01-28</name>", self.content("o.kml"))
        for arguments, words in [
            (["o.kml", "--co", "Nam=day"], "The format KML has no creation option 'Nam'; it has "),
            (["o.kml", "--co", "AltitudeMode=high"],
             "The creation option 'AltitudeMode=high' of the format KML must be one of clampToGround, "),
            (["o.csv", "--co", "A=1"], "The format CSV has no creation options; it is not written by GDAL."),
        ]:
            result = self.run_orvane("import", "a.csv", *arguments)
            self.assertEqual(result.status, 2)
            self.assertIn(words, result.err)

    def test_formats_are_listed_and_missing_drivers_named(self):
        self.write("a.csv", self.ROWS)
        formats = self.succeed("formats").out
        for name in ["GPKG", "FlatGeobuf", "SQLite          .sqlite", "KML             .kml"]:
            self.assertIn(name, formats)
        self.assertNotIn("LIBKML", formats)
        if "not here: needs GDAL 3.8" in formats:
            result = self.run_orvane("import", "a.csv", "o.pmtiles")
            self.assertEqual(result.status, 2)
            self.assertIn("has no PMTiles driver; it needs GDAL 3.8 or later.", result.err)
        for name in ["LIBKML", "PDF", "PostgreSQL"]:
            result = self.run_orvane("import", "a.csv", "o.x", "--format", name)
            self.assertEqual(result.status, 2)
            self.assertIn(f"There is no format '{name}'", result.err)


class TrueImportTest(ByPlanTest):
    def test_every_cell_stands_with_its_value(self):
        self.write("harsh.csv", HARSH)
        self.succeed("import", "harsh.csv")
        dump = self.dump("harsh.gpkg")
        self.assertEqual(dump["crs"], "EPSG:4326")
        names = [field[0] for field in dump["fields"]]
        self.assertEqual(names, ["id", "whole", "late", "gap", "code", "flag", "big", "word"])
        first, last = dump["features"][0], dump["features"][6]
        self.assertEqual(first, [[8.5, 47.5], [1, 1, 1, 1, "007", 0, 1, "a"]])
        self.assertEqual(last, [[9.1, 48.1], [7, 7, -3.5, 7, "3", 3, 7, "h\ni"]])
        self.assertEqual([values[3] for _, values in dump["features"]], [1, None, 3, 4, None, 6, 7])
        self.assertEqual(dump["features"][5][1][6], 99999999999)

    def test_a_decimal_comma_is_no_separator_and_is_not_dropped(self):
        self.write("a.csv", DEPTHS)
        self.succeed("import", "a.csv")
        dump = self.dump("a.gpkg")
        self.assertEqual(dump["features"],
                         [[[8.5, 47.5, 12.45], ["A"]], [[8.75, 47.25, 3.5], ["B"]]])

    def test_an_answer_by_which_no_row_is_left_is_not_offered(self):
        self.write("a.csv", "foo,bar,baz\n1,2")
        result = self.run_orvane("import", "a.csv")
        self.assertEqual(result.status, 2)
        self.assertNotIn("--names yes", result.err)
        self.assertIn("--names no --no-points", result.err)
        self.succeed("import", "--names", "no", "--no-points", "a.csv")

    def test_the_encoding_is_found_and_a_mark_is_no_part_of_a_name(self):
        for name, data in (("utf8.csv", "\ufeffname,lat,lon\nZürich,47.4,8.5\nGenève,46.2,6.1\nSão,1.5,2.5\n".encode()),
                           ("utf16.csv", "name,lat,lon\nZürich,47.4,8.5\nGenève,46.2,6.1\nSão,1.5,2.5\n".encode("utf-16"))):
            with self.subTest(name=name):
                self.write(name, data)
                self.succeed("import", name, "out.gpkg")
                dump = self.dump("out.gpkg")
                self.assertEqual(dump["fields"][0][0], "name")
                self.assertEqual([values[0] for _, values in dump["features"]], ["Zürich", "Genève", "São"])

    def test_a_packed_file_is_read_under_any_name(self):
        self.write("a.csv.gz", gzip.compress(HARSH.encode()))
        self.succeed("import", "a.csv.gz", "a.gpkg")
        dump = self.dump("a.gpkg")
        self.assertEqual((dump["layer"], len(dump["features"])), ("a", 7))

    def test_the_mean_of_a_column_with_gaps_is_that_of_the_file_in_every_target(self):
        sample = os.path.join(os.environ["ORVANE_SOURCE_DIR"], "examples/data/earthquakes.csv")
        with open(sample, newline="", encoding="utf-8") as file:
            texts = {row["id"]: row["gap"] for row in csv.DictReader(file)}
        wanted = {key: float(text) if text else None for key, text in texts.items()}
        numbers = [value for value in wanted.values() if value is not None]
        self.assertLess(0, len(numbers))
        self.assertLess(len(numbers), len(wanted))
        for extension in ("gpkg", "fgb", "geojson", "geojsonl", "shp", "csv"):
            with self.subTest(extension=extension):
                out = "out." + extension
                self.run_orvane("import", sample, out)
                if extension == "csv":
                    with open(self.path(out), newline="", encoding="utf-8") as file:
                        cells = {row["id"]: row["gap"] for row in csv.DictReader(file)}
                    values = {key: float(cell) if cell else None for key, cell in cells.items()}
                else:
                    dump = self.dump(out)
                    names = [field[0] for field in dump["fields"]]
                    values = {row[1][names.index("id")]: row[1][names.index("gap")] for row in dump["features"]}
                self.assertTrue(values == wanted)
                found = [value for value in values.values() if value is not None]
                self.assertAlmostEqual(sum(found) / len(found), sum(numbers) / len(numbers), places=12)

    def test_rows_without_a_point_keep_all_of_their_cells(self):
        self.write("a.csv", "id,lat,lon\n1,47.5,8.5\n2,,8.25\n3,46.5,\n4,47.25,8.75\n")
        report = self.report("a.csv")
        self.assertEqual((report["ledger"]["points"], report["ledger"]["lines"]["rowsWithoutPoint"]), (2, 2))
        self.assertEqual(self.rows("a.gpkg"), [[[8.5, 47.5], [1, 47.5, 8.5]], [None, [2, None, 8.25]],
                                               [None, [3, 46.5, None]], [[8.75, 47.25], [4, 47.25, 8.75]]])

    def test_null_words_are_null_among_numbers_and_sentinels_only_when_asked(self):
        self.write("a.csv", "lat,lon,n,s\n1.5,2.5,NA,-9999\n3.5,4.5,2,1\n5.5,6.5,3,-9999\n")
        self.succeed("import", "a.csv")
        self.assertEqual([values for _, values in self.rows("a.gpkg")], [[None, -9999], [2, 1], [3, -9999]])
        self.succeed("import", "a.csv", "--null", "-9999")
        self.assertEqual([values for _, values in self.rows("a.gpkg")], [[None, None], [2, 1], [3, None]])

    def test_decisions_are_overridden_by_name_or_index(self):
        self.write("a.csv", "lat,lon,code,n\n1.5,2.5,1,7\n3.5,4.5,2,8\n")
        self.succeed("import", "a.csv", "--type", "code=text", "--type", "3=double")
        self.assertEqual(self.rows("a.gpkg")[0][1], ["1", 7.0])
        fields = self.dump("a.gpkg")["fields"]
        self.assertEqual([field[1] for field in fields], ["String", "Real"])
        self.succeed("import", "a.csv", "--x", "lat", "--y", "lon")
        self.assertEqual(self.rows("a.gpkg")[0][0], [1.5, 2.5])
        self.succeed("import", "a.csv", "--names", "no", "--no-points", "--all-text", "b.csv")
        self.assertEqual(self.content("b.csv").decode(), "lat,lon,code,n\n1.5,2.5,1,7\n3.5,4.5,2,8\n")

    def test_a_separator_and_a_quote_may_be_given(self):
        self.write("a.txt", "lat:lon:'n\n1.5:2.5:'x\n3.5:4.5:y\n")
        self.succeed("import", "a.txt", "--separator", ":", "--quote", "none", "--names", "yes")
        self.assertEqual([values for _, values in self.rows("a.gpkg")], [["'x"], ["y"]])

    def test_metres_without_a_system_are_undefined_cartesian(self):
        self.write("a.csv", "easting,northing,n\n465120.5,5247300.25,1\n465220.5,5247310.25,2\n465250.5,5247410.5,3\n")
        self.succeed("import", "a.csv")
        with sqlite3.connect(self.path("a.gpkg")) as database:
            self.assertEqual(database.execute("SELECT srs_id FROM gpkg_geometry_columns").fetchone()[0], -1)
        result = self.run_orvane("import", "a.csv", "a.geojson")
        self.assertEqual((result.status, result.out), (2, ""))
        self.assertIn("--crs", result.err)
        self.succeed("import", "a.csv", "a.geojson", "--crs", "EPSG:32632")
        result = self.run_orvane("import", "a.csv", "a.kml")
        self.assertEqual((result.status, result.out), (2, ""))
        self.assertIn("KML needs it", result.err)

    def test_degrees_without_a_system_are_said_where_a_format_holds_those_of_wgs_84(self):
        self.write("a.csv", "x,y,n\n8.5123,47.3123,1\n8.5234,47.4123,2\n8.5345,47.5123,3\n")
        said = ("orvane: note: GeoJSON holds degrees of WGS 84, and the file does not say that its own are such; "
                "--crs says it\n")
        result = self.run_orvane("import", "a.csv", "a.geojson")
        self.assertEqual((result.status, result.err), (0, said))
        self.assertEqual(self.run_orvane("import", "a.csv", "b.geojson", "--crs", "EPSG:4326").err, "")
        self.assertEqual(self.run_orvane("import", "a.csv", "a.gpkg").err, "")

    def test_a_file_of_one_endless_line_is_refused_as_such(self):
        self.write("a.csv", "7" * (17 << 20))
        result = self.run_orvane("import", "a.csv")
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertEqual(result.err, "orvane: a.csv:1: The file has no line within 16 MiB. Check that the file is "
                                     "delimited text.\n")

    def test_an_import_of_points_without_a_point_is_a_failure(self):
        self.write("a.csv", "lat,lon,name\n1.5,2.5,a\n5.5,4.5,b\n")
        self.write("out.gpkg", "old")
        result = self.run_orvane("import", "a.csv", "out.gpkg", "--x", "lon", "--y", "name")
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertIn("No row has a point.", result.err)
        self.assertEqual(self.content("out.gpkg"), b"old")
        command, = self.commands_in(result.err)
        self.assertEqual(self.run_shell(command).returncode, 0)

    def test_reader_options_give_the_rules_of_the_reader_and_say_so(self):
        self.write("harsh.csv", HARSH)
        result = self.run_orvane("import", "harsh.csv", "-o", "CODEC=UTF-8")
        self.assertEqual(result.status, 0)
        self.assertEqual(result.err, "orvane: note: with reader options the file is read by the rules of the reader "
                                     "alone, which may change cells\n")
        self.assertEqual(self.rows("harsh.gpkg")[5][1][2], 9)
        for argument in (["--no-points"], ["--null", "x"], ["--on-bad", "skip"], ["--names", "yes"]):
            self.assert_failure(
                self.run_orvane("import", "harsh.csv", *argument, "-o", "CODEC=UTF-8"), 2,
                f"orvane: Give --option or {argument[0]}, not both.")


class WithoutPointsTest(ByPlanTest):
    TABLE = "name,count,when\na,1,2018-01-28\nb,,2018-01-29\n\"c, d\",3,\n"

    def test_the_columns_alone_are_typed_rows_of_a_table(self):
        self.write("t.csv", self.TABLE)
        self.succeed("import", "t.csv", "t.gpkg", "--no-points")
        with sqlite3.connect(self.path("t.gpkg")) as database:
            self.assertEqual(database.execute("SELECT data_type FROM gpkg_contents").fetchall(), [("attributes",)])
            self.assertEqual(database.execute("SELECT name, count, \"when\" FROM t").fetchall(),
                             [("a", 1, "2018-01-28"), ("b", None, "2018-01-29"), ("c, d", 3, None)])

    def test_all_text_keeps_every_cell_as_it_is(self):
        self.write("t.csv", "n,v\n007,1e3\n,\"\"\n 1 ,x\n")
        self.succeed("import", "t.csv", "out.csv", "--all-text")
        with open(self.path("out.csv"), newline="", encoding="utf-8") as file:
            self.assertEqual(list(csv.reader(file)), [["n", "v"], ["007", "1e3"], ["", ""], [" 1 ", "x"]])

    def test_a_copy_as_texts_has_names_twice_and_rows_of_their_own_lengths(self):
        self.write("t.csv", "x,x,,n\n1,a,2,b\n3,c\n5,d,6,e,f\n7,,8,g\n")
        self.succeed("import", "t.csv", "out.csv", "--all-text", "--names", "yes")
        with open(self.path("out.csv"), newline="", encoding="utf-8") as file:
            self.assertEqual(list(csv.reader(file)), [["x", "x", "", "n"], ["1", "a", "2", "b"], ["3", "c"],
                                                      ["5", "d", "6", "e", "f"], ["7", "", "8", "g"]])

    def test_a_copy_as_texts_has_names_of_another_count_than_the_rows(self):
        for names, copied in (("id,lon,lat,v,w", "id,lon,lat,v,w"), ("id,lon,lat,v,", "id,lon,lat,v,")):
            with self.subTest(names=names):
                self.write("t.csv", names + "\n" + "".join(f"{i},8.{i},47.{i},t{i}\n" for i in range(1, 9)))
                self.succeed("import", "t.csv", "out.csv", "--no-points", "--all-text")
                self.assertEqual(self.content("out.csv").decode().split("\n")[0], copied)
        # Names of rows have no name.
        self.write("t.csv", "id,lon,lat,v\n" + "".join(f"r{i},{i},8.{i},47.{i},{i}\n" for i in range(1, 9)))
        self.succeed("import", "t.csv", "out.csv", "--no-points", "--all-text")
        self.assertEqual(self.content("out.csv").decode().split("\n")[0], ",id,lon,lat,v")

    def copied(self, text, *arguments):
        """The rows of a file as a copy of its texts."""
        self.write("a.csv", text)
        self.succeed("import", "a.csv", "out.csv", "--no-points", "--all-text", *arguments)
        with open(self.path("out.csv"), encoding="utf-8", newline="") as file:
            return list(csv.reader(file))

    def test_a_pair_of_quotes_stands_for_one_where_apostrophes_enclose_cells(self):
        rows = self.copied("id,text,n\n" + "".join(f"{i},'a {i}\"\" pipe, it''s',{i}\n" for i in range(5)))
        self.assertEqual(rows[1], ["0", "a 0\" pipe, it's", "0"])

    def test_lines_that_are_quoted_as_a_whole_have_cells_of_their_own(self):
        rows = self.copied('"id,name,n"\n' + "".join(f'"{i},""a, """"b"""""",{i}"\r\n' for i in range(4)))
        self.assertEqual(rows[0], ["id", "name", "n"])
        self.assertEqual(rows[4], ["3", 'a, "b"', "3"])

    def test_a_column_keeps_the_separators_that_it_holds_without_quotes(self):
        rows = self.copied("lon,lat,place\n8.5,47.3,Alp\n8.6,47.4,Tal, Ost\n8.7,47.5,Piz, Sued, oben\n8.8,47.6,See\n"
                           "9.5,47.3,Grat, West\n")
        self.assertEqual([row[2] for row in rows[1:]], ["Alp", "Tal, Ost", "Piz, Sued, oben", "See", "Grat, West"])

    def test_marks_of_files_that_were_put_together_are_no_part_of_cells(self):
        rows = self.copied("\ufeff\ufeffid,n\n1,2\n2,3\n\ufeff3,4\n\ufeffid,n\n4,5\n")
        self.assertEqual(rows, [["id", "n"], ["1", "2"], ["2", "3"], ["3", "4"], ["4", "5"]])

    def test_the_whole_table_once_more_is_told_and_not_doubled(self):
        table = "id,lon,lat\n" + "".join(f"{i},8.5{i},47.3{i}\n" for i in range(10, 22))
        self.write("a.csv", table + table)
        ledger = self.report("a.csv", "a.gpkg")["ledger"]
        self.assertEqual((ledger["rows"], ledger["lines"]["furtherTables"]), (12, 13))

    def test_names_of_columns_are_kept_whole(self):
        names = ["n" * 1000, "n" * 999 + "m", 'a "b"', "c\nd", "fid", "geom", "FID", "Name", "NAME", ""]
        text = ",".join('"' + name.replace('"', '""') + '"' for name in names)
        self.write("t.csv", "lon,lat," + text + "\n" + "".join(
            f"8.{i},47.{i}," + ",".join(f"{i}{j}" for j in range(10)) + "\n" for i in range(1, 6)))
        self.succeed("import", "t.csv", "copy.csv", "--no-points", "--all-text")
        with open(self.path("copy.csv"), newline="", encoding="utf-8") as file:
            self.assertEqual(next(csv.reader(file)), ["lon", "lat", *names])
        result = self.run_orvane("import", "t.csv", "out.gpkg")
        self.assertEqual(result.status, 0, result.err)
        with sqlite3.connect(self.path("out.gpkg")) as database:
            cursor = database.execute("SELECT * FROM t")
            found = [column[0] for column in cursor.description]
            self.assertEqual(len({name.lower() for name in found}), 12)
            for name in names[:6]:
                self.assertIn(name, found)
            self.assertEqual([str(value) for value in cursor.fetchone()[2:]], [f"1{j}" for j in range(10)])

    def test_a_file_without_names_has_none_in_csv(self):
        self.write("t.csv", "1,2.5,a\n2,3.5,b\n3,4.5,c\n")
        self.succeed("import", "t.csv", "out.csv", "--no-points")
        self.assertEqual(self.content("out.csv").decode(), "1,2.5,a\n2,3.5,b\n3,4.5,c\n")

    def test_an_empty_file_is_an_empty_table_and_no_layer_of_points(self):
        self.write("e.csv", "")
        self.succeed("import", "e.csv", "out.csv", "--no-points", "--all-text")
        self.assertEqual(self.content("out.csv"), b"")
        self.assert_failure(self.run_orvane("import", "e.csv"), 1, "orvane: e.csv: The file is empty.")


class QuestionsTest(ByPlanTest):
    def test_a_file_of_blank_lines_is_refused_as_without_data(self):
        self.write("blank.csv", "   \n  \n\n")
        result = self.run_orvane("import", "blank.csv", "blank.gpkg")
        self.assertEqual((result.status, result.err), (1, "orvane: blank.csv: The file has nothing but blank lines.\n"))

    def test_a_question_is_an_object_with_its_commands(self):
        self.write("a.csv", "id,n\n1,a\n2,b\n")
        result = self.run_orvane("import", "a.csv", "--json")
        self.assertEqual(result.status, 2)
        question = json.loads(result.out)
        self.assertEqual((question["ok"], question["code"], question["file"]), (False, "columns-unknown", "a.csv"))
        self.assertEqual(question["commands"], ["orvane import --no-points a.csv --json"])
        self.assertEqual(question["columns"], [{"index": 0, "name": "id", "firstValue": "1"},
                                               {"index": 1, "name": "n", "firstValue": "a"}])
        self.assertTrue(json.loads(self.run_shell(question["commands"][0]).stdout)["ok"])
        self.write("b.csv", "id,n\n" + "1,a\n" * 8 + "x,a\n" * 2)
        result = self.run_orvane("import", "b.csv", "--no-points", "--type", "id=integer", "--json")
        self.assertEqual(result.status, 1)
        self.assertEqual(json.loads(result.out)["commands"],
                         ["orvane import --on-bad quarantine b.csv --no-points --type id=integer --json"])
        # Rows on standard output are not mixed with words.
        result = self.run_orvane("import", "a.csv", "-", "--format", "csv", "--json")
        self.assertEqual(result.out, "")
        self.assertIn('"code":"columns-unknown"', result.err)

    def test_the_spelling_of_a_given_type_is_asked_where_the_cells_leave_it_open(self):
        self.write("a.csv", 'lon,lat,day,n\n8.5,47.25,03/04/2018,"1,234"\n7.5,46.75,05/04/2018,"7,197"\n')
        cases = {"day=date": {"2018-04-03", "2018-03-04"}, "n=double": {"1.234", "1234.0"}}
        for given, values in cases.items():
            result = self.run_orvane("import", "a.csv", "o.csv", "--type", given)
            self.assertEqual(result.status, 2)
            found = set()
            for command in self.commands_in(result.err):
                done = self.run_shell(command)
                self.assertEqual(done.returncode, 0, done.stderr)
                row = next(csv.DictReader(io.StringIO(self.content("o.csv").decode())))
                found.add(row[given.split("=")[0]])
            self.assertEqual(found, values)
        # One cell that tells is enough, and cells that contradict a given spelling are bad rows.
        self.write("b.csv", "lon,lat,day\n8.5,47.25,03/04/2018\n7.5,46.75,25/04/2018\n")
        self.succeed("import", "b.csv", "o.csv", "--type", "day=date")
        result = self.succeed("import", "b.csv", "o.csv", "--type", "day=date:month-first", "--on-bad", "skip")
        self.assertIn("Bad rows: 1 (1 value), line 3; skipped", result.out)
        result = self.run_orvane("import", "b.csv", "--type", "day=date:first")
        self.assertEqual(result.status, 2)
        self.assertIn("date:day-first, date:month-first", result.err)

    def test_types_and_nulls_are_refused_where_every_cell_stays_a_text(self):
        self.write("a.csv", "id,n\n1,a\n")
        for command in ["import", "plan", "lint"]:
            for option, value in [("--type", "n=text"), ("--null", "a")]:
                result = self.run_orvane(command, "a.csv", "--all-text", option, value)
                self.assertEqual((result.status, result.err),
                                 (2, f"orvane: Give {option} or --all-text, not both.\n"))

    def test_an_unknown_column_is_named_with_its_option(self):
        self.write("a.csv", "lon,lat\n8.5,47.25\n")
        for option in [("--type", "c=text"), ("--name", "c"), ("--x", "c")]:
            result = self.run_orvane("import", "a.csv", *option)
            self.assertEqual(result.status, 2)
            self.assertIn(f"There is no column {option[0]} 'c'", result.err)

    def test_every_command_of_a_question_works_as_printed(self):
        cases = {
            "a b.csv": "id,name\n1,a\n2,b\n",
            "it's.csv": "v\n1\n2\n",
            "-dash.csv": "a;37.77939;22.42354\nb;37.77610;22.42280\nc;37.77104;22.42253\n",
            "ä$HOME.csv": "one,two\nthree,four\nfive,six\n",
        }
        for name, content in cases.items():
            with self.subTest(name=name):
                self.write(name, content)
                result = self.run_orvane("import", "--", name, "out.gpkg")
                self.assertEqual((result.status, result.out), (2, ""))
                commands = self.commands_in(result.err)
                self.assertTrue(commands, result.err)
                for command in commands:
                    done = self.run_shell(command)
                    self.assertEqual(done.returncode, 0, (command, done.stderr))

    def test_a_file_of_one_column_is_offered_without_points(self):
        self.write("one.csv", "v\n1\n2\n")
        result = self.run_orvane("import", "one.csv")
        self.assertEqual(self.commands_in(result.err), ["orvane import --no-points one.csv"])
        self.assertNotIn("--y", result.err)

    def test_a_command_puts_rows_aside_that_would_stop_it(self):
        self.write("log.txt", "".join(
            f"$WIMWV,12351{i},214.{i},R,017.00{i},K,1,08,0.9,545.4,M,46.9,M,,*47\n"
            f"$SDDBT,12351{i},A,12.03{i},f,03.00{i},M,022.4,084.4,230394,003.1,F*6A\n" for i in range(9)))
        result = self.run_orvane("import", "log.txt", "--max-bad", "2")
        self.assertIn(" rows do not fit the table; --on-bad quarantine puts such rows aside.", result.err)
        commands = self.commands_in(result.err)
        self.assertEqual(commands, ["orvane import --no-points --on-bad quarantine log.txt"])
        self.assertEqual(self.run_shell(commands[0]).returncode, 0)

    def test_swapped_columns_are_offered_the_other_way_round(self):
        self.write("a.csv", "id,lon,lat\n" + "".join(f"{i},30.{i}5,120.{i}5\n" for i in range(9)))
        result = self.run_orvane("import", "a.csv", "a.csv.gpkg")
        self.assertEqual(result.status, 1)
        commands = self.commands_in(result.err)
        self.assertEqual(commands, ["orvane import --x 2 --y 1 a.csv a.csv.gpkg",
                                    "orvane import --no-points a.csv a.csv.gpkg"])
        self.assertEqual(self.run_shell(commands[0]).returncode, 0)

    def test_a_long_list_of_columns_is_cut(self):
        self.write("wide.csv", ",".join(f"c{i}" for i in range(1000)) + "\n" + ",".join("a" * 1000) + "\n")
        result = self.run_orvane("import", "wide.csv")
        self.assertEqual(result.status, 2)
        self.assertLess(result.err.count("\n"), 220)
        self.assertIn("\n  ...   800 more\n", result.err)

    def test_standard_input_is_told_what_to_do(self):
        self.assert_failure(self.run_orvane("import", "-", "out.csv"), 1,
                            "orvane: -: There is no such file. Standard input is not read: save it to a file first.")

    def test_a_tie_of_axes_is_asked(self):
        self.write("a.txt", "a;37.77939;22.42354\nb;37.77610;22.42280\nc;37.77104;22.42253\n")
        result = self.run_orvane("import", "a.txt")
        self.assertEqual(result.status, 2)
        self.assertEqual([shlex.split(command)[2:] for command in self.commands_in(result.err)],
                         [["--x", "2", "--y", "1", "a.txt"], ["--x", "1", "--y", "2", "a.txt"],
                          ["--no-points", "a.txt"]])

    def test_an_unknown_type_names_the_known_ones(self):
        self.write("a.csv", "lat,lon\n1.5,2.5\n")
        self.assert_failure(self.run_orvane("import", "a.csv", "--type", "lat=doubl"), 2,
                            "orvane: There is no type 'doubl' of columns; did you mean double?")
        for argument, text in ((("--names", "maybe"), "--names must be yes or no, not 'maybe'"),
                               (("--max-bad", "x"), "--max-bad must be a number of rows, or a share such as 2%, not 'x'"),
                               (("--on-bad", "x"), "--on-bad must be quarantine, skip or stop, not 'x'"),
                               (("--skip-lines", "-1"), "--skip-lines must be a number of lines, not '-1'"),
                               (("--separator", "ab"), "--separator must be one character, tab, blanks, none or "
                                                       "widths:5,14, not 'ab'"),
                               (("--quote", "ab"), "--quote must be one character, or none, not 'ab'")):
            with self.subTest(argument=argument):
                self.assert_failure(self.run_orvane("import", "a.csv", *argument), 2,
                                    f"orvane: The value of {text}.")


class BadRowsTest(ByPlanTest):
    NAMES = "lat,lon,n\n"

    def write_bad(self, rows, bad):
        lines = [f"{index % 80}.5,{index % 170}.25,{index}\n" for index in range(rows)]
        for at, text in bad.items():
            lines.insert(at, text)
        self.write("a.csv", self.NAMES + "".join(lines))

    def rejected(self, name):
        with open(self.path(name), newline="", encoding="utf-8") as file:
            return list(csv.DictReader(file))

    def test_few_are_put_aside_as_they_stand(self):
        self.write_bad(300, {10: "1.5,2.5,3,4\n", 20: "1.5,2.5,3,\"four, 4\"\n"})
        report = self.report("a.csv")
        self.assertEqual(report["ledger"]["badRowsByReason"], {"long-row": 2})
        self.assertEqual(report["ledger"]["rowsWritten"], 300)
        rows = self.rejected("a.gpkg.rejected.csv")
        self.assertEqual([(row["line"], row["reason"], row["row"]) for row in rows],
                         [("12", "long-row", "1.5,2.5,3,4"), ("22", "long-row", '1.5,2.5,3,"four, 4"')])
        data = self.content("a.csv")
        for row in rows:
            self.assertTrue(data[int(row["byte"]):].startswith(row["row"].encode()))
        self.assertEqual(report["ledger"]["rejectedFile"], "a.gpkg.rejected.csv")

    def test_a_geopackage_has_them_in_a_table_as_well(self):
        self.write_bad(300, {10: "1.5,2.5,3,4\n"})
        self.succeed("import", "a.csv")
        with sqlite3.connect(self.path("a.gpkg")) as database:
            self.assertEqual(
                database.execute("SELECT line, byte, \"column\", reason, row FROM rejected_rows").fetchall(),
                [(12, self.content("a.csv").index(b"1.5,2.5,3,4"), 4, "long-row", "1.5,2.5,3,4")])
            self.assertEqual(database.execute("SELECT data_type FROM gpkg_contents ORDER BY 1").fetchall(),
                             [("attributes",), ("features",)])

    def test_more_than_one_of_a_hundred_stop_the_import(self):
        self.write_bad(100, {5: "1.5,2.5,3,4\n", 9: "1.5,2.5,3,4\n"})
        self.write("a.gpkg", "old")
        result = self.run_orvane("import", "a.csv")
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertTrue(result.err.startswith(
            "orvane: a.csv:7:4: 2 of 102 rows do not fit the table: 2 long-row. They begin in the lines 7, 11."), result.err)
        self.assertEqual(self.content("a.gpkg"), b"old")
        self.assert_folder("a.csv", "a.gpkg")
        command, = self.commands_in(result.err)
        self.assertEqual(self.run_shell(command).returncode, 0)
        self.assertEqual(len(self.rejected("a.gpkg.rejected.csv")), 2)

    def test_the_limit_is_a_number_or_a_share(self):
        self.write_bad(50, {5: "1.5,2.5,3,4\n"})
        for most, status in (("0", 1), ("1", 0), ("1%", 1), ("2%", 0), ("100%", 0)):
            with self.subTest(most=most):
                self.assertEqual(self.run_orvane("import", "a.csv", "--max-bad", most).status, status)

    def test_skipped_ones_are_counted_and_stop_refuses_the_first(self):
        self.write_bad(300, {10: "1.5,2.5,3,4\n"})
        report = self.report("a.csv", "--on-bad", "skip")
        self.assertEqual((report["ledger"]["badRows"], report["ledger"]["rejectedFile"]), (1, ""))
        self.assert_folder("a.csv", "a.gpkg")
        self.assertEqual(self.run_orvane("import", "a.csv", "--on-bad", "stop").status, 1)

    def test_an_older_file_of_bad_rows_goes_with_its_output(self):
        self.write_bad(300, {10: "1.5,2.5,3,4\n"})
        self.succeed("import", "a.csv", "out.csv")
        self.assert_folder("a.csv", "out.csv", "out.csv.rejected.csv")
        self.write_bad(300, {})
        self.succeed("import", "a.csv", "out.csv")
        self.assert_folder("a.csv", "out.csv")
        # What is none of ours stays.
        self.write("out.csv.rejected.csv", "mine\n")
        self.succeed("import", "a.csv", "out.csv")
        self.assertEqual(self.content("out.csv.rejected.csv"), b"mine\n")

    def test_a_file_that_no_import_has_made_is_not_overwritten(self):
        self.write_bad(300, {10: "1.5,2.5,3,4\n"})
        for out in ("out.csv", "out.gpkg"):
            name = out + ".rejected.csv"
            self.write(name, "mine\n")
            result = self.run_orvane("import", "a.csv", out)
            self.assertEqual(result.status, 1)
            self.assertIn(name + ": The bad rows cannot be written.", result.err)
            self.assertEqual(self.content(name), b"mine\n")
            self.assert_folder("a.csv", name)
            self.succeed("import", "a.csv", out, "--on-bad", "skip")
            os.remove(self.path(out))
            os.remove(self.path(name))
            os.symlink("elsewhere", self.path(name))
            self.assertEqual(self.run_orvane("import", "a.csv", out).status, 1)
            os.remove(self.path(name))
            os.mkdir(self.path(name))
            self.assertEqual(self.run_orvane("import", "a.csv", out).status, 1)
            os.rmdir(self.path(name))
            self.assert_folder("a.csv")

    def test_a_limit_that_was_given_is_answered_by_a_higher_one(self):
        self.write_bad(100, {5: "1.5,2.5,3,4\n", 9: "1.5,2.5,3,4\n"})
        for given, answer in ((["--max-bad", "0"], "orvane import --max-bad 2 a.csv out.csv"),
                              (["--max-bad", "1%", "--on-bad", "skip"],
                               "orvane import --max-bad 2 a.csv out.csv --on-bad skip"),
                              (["--max-bad", "5", "--on-bad", "stop"],
                               "orvane import --on-bad quarantine a.csv out.csv")):
            with self.subTest(given=given):
                result = self.run_orvane("import", "a.csv", "out.csv", *given)
                self.assertEqual((result.status, self.commands_in(result.err)), (1, [answer]), result.err)
                self.assertEqual(self.run_shell(answer).returncode, 0)

    def test_no_row_that_fits_is_a_failure_whatever_is_allowed(self):
        self.write("a.csv", b"lat,lon,name\n1.5,2.5,Z\x81rich\n3.5,4.5,L\x81beck\n")
        for given in ([], ["--on-bad", "quarantine"], ["--max-bad", "100%"], ["--no-points", "--all-text"]):
            with self.subTest(given=given):
                result = self.run_orvane("import", "a.csv", "out.csv", *given)
                self.assertEqual((result.status, result.out), (1, ""))
                self.assertIn("None of the 2 rows fits the table: 2 encoding.", result.err)
                self.assertIn("They are no text in WINDOWS-1252; --encoding names another encoding", result.err)
        self.succeed("import", "a.csv", "out.csv", "--encoding", "IBM850")
        self.assertIn("Zürich", self.content("out.csv").decode())

    def test_a_type_that_no_cell_has_is_named_with_its_column(self):
        self.write_bad(20, {})
        result = self.run_orvane("import", "a.csv", "--type", "n=date")
        self.assertEqual(result.status, 1)
        self.assertIn("None of the 20 rows fits the table: 20 value.", result.err)
        self.assertIn(" The first one has no date in the column 'n'. The row: '0.5,0.25,0'. "
                      "--type names another type.", result.err)

    def test_a_column_of_a_given_type_needs_no_reason(self):
        self.write_bad(20, {})
        out = self.succeed("import", "a.csv", "--type", "n=text", "--null", "3").out
        self.assertNotIn("Kept:", out)
        self.assertIn("Nulls:    1 in 'n' (1 ", out)

    def test_a_failure_keeps_the_older_file_of_bad_rows(self):
        self.write_bad(300, {10: "1.5,2.5,3,4\n"})
        self.succeed("import", "a.csv", "out.csv")
        before = self.content("out.csv.rejected.csv")
        self.assertEqual(self.run_orvane("import", "a.csv", "out.csv", "--on-bad", "stop").status, 1)
        self.assertEqual(self.content("out.csv.rejected.csv"), before)


class LedgerTest(ByPlanTest):
    def test_every_line_is_in_one_class(self):
        self.write("a.csv", "survey of 1998\n\nlat,lon,n,t\n[deg],[deg],[m],\n# comment\n" + "".join(
            f"{index % 80}.5,{index % 170}.25,{index},\"a\nb\"\n" for index in range(200)) +
            "\nlat,lon,n,t\n1.5,2.5,7,x\n1.5,2.5,7,x,y\n")
        report = self.report("a.csv")
        lines = report["ledger"]["lines"]
        self.assertEqual((lines["continuations"], lines["repeatedNames"], lines["badRows"]), (200, 1, 1))
        self.assertEqual(report["ledger"]["rows"], 201)
        self.assertEqual(report["ledger"]["imbalances"], [])

    def test_counts_are_those_of_the_file_written(self):
        self.write("a.csv", "lat,lon,n\n1.5,2.5,1\nNaN,3.5,2\n4.5,5.5,3\n")
        out = self.succeed("import", "a.csv").out
        self.assertIn("Written:  a.gpkg (GPKG), 3 rows, 2 points\n", out)

    def test_a_loss_that_the_format_makes_is_status_1_and_the_output_stays(self):
        self.write("a.csv", "lat,lon,n\n1.5,2.5,a\n3.5,3.5,b\0c\n4.5,5.5,d\n")
        result = self.run_orvane("import", "a.csv", "a.fgb")
        self.assertEqual(result.status, 1)
        self.assertIn("orvane: a.fgb is written, but it is not all of the file:\n"
                      "  1 NUL characters of texts are U+FFFD in the output.\n", result.err)
        self.assertEqual(len(self.rows("a.fgb")), 3)
        self.assertFalse(self.report("a.csv", "a.fgb", status=1)["ok"])


class ReplayTest(ByPlanTest):
    def save(self, *arguments):
        self.write("plan.json", self.succeed("plan", *arguments, "--json").out)

    def test_a_saved_plan_gives_the_same_output(self):
        self.write("harsh.csv", HARSH)
        self.save("harsh.csv")
        self.succeed("import", "harsh.csv", "one.gpkg")
        self.succeed("import", "harsh.csv", "two.gpkg", "--plan", "plan.json")
        one, two = self.dump("one.gpkg"), self.dump("two.gpkg")
        self.assertEqual(one, two)

    def test_what_was_given_to_the_plan_is_followed(self):
        self.write("a.csv", "lat,lon,code\n1.5,2.5,1\n3.5,4.5,2\n")
        self.save("a.csv", "--type", "code=text", "--null", "2")
        self.succeed("import", "a.csv", "--plan", "plan.json")
        self.assertEqual([values for _, values in self.rows("a.gpkg")], [["1"], [None]])

    def test_a_file_that_no_longer_fits_is_told_by_line(self):
        self.write("a.csv", "lat,lon,n\n" + "1.5,2.5,1\n" * 300)
        self.save("a.csv")
        self.write("a.csv", "lat;lon;n\n" + "1.5;2.5;1\n" * 300)
        self.assert_failure(
            self.run_orvane("import", "a.csv", "--plan", "plan.json"), 1,
            "orvane: a.csv:1: The file does not fit the plan. The plan has 'lat,lon,n' in this line, and the file has "
            "'lat;lon;n'. Make a plan of this file.")
        self.write("b.csv", "\n\nlat,lon,n\n" + "1.5,2.5,1\n" * 300)
        self.write("later.json", self.succeed("plan", "b.csv", "--json").out)
        self.assert_failure(
            self.run_orvane("import", "a.csv", "--max-bad", "0", "--plan", "later.json"), 1,
            "orvane: a.csv:3: The file does not fit the plan. The plan has 'lat,lon,n' in this line, and the file has "
            "'1.5;2.5;1'. Make a plan of this file.")
        self.write("short.csv", "lat,lon,n\n1.5,2.5,1\n")
        self.assert_failure(
            self.run_orvane("import", "short.csv", "--plan", "later.json"), 1,
            "orvane: short.csv:3: The file does not fit the plan. The plan has 'lat,lon,n' in this line, and the file "
            "has 2 lines. Make a plan of this file.")
        self.write("a.csv", "lat,lon,n\n" + "1.5,2.5,1\n" * 300 + "1.5,2.5,eleven\n")
        report = self.report("a.csv", "--plan", "plan.json")
        self.assertEqual(report["ledger"]["badRowsByReason"], {"value": 1})
        self.assertEqual(report["ledger"]["firstBadRows"][0]["line"], 302)

    def test_what_is_no_plan_is_refused(self):
        self.write("a.csv", "lat,lon\n1.5,2.5\n")
        self.write("p.json", "{}")
        for name in ("p.json", "none.json", "a.csv"):
            with self.subTest(name=name):
                result = self.run_orvane("import", "a.csv", "--plan", name)
                self.assertEqual((result.status, result.out), (1, ""))
        self.assertEqual(self.run_orvane("import", "a.csv", "--plan", "p.json", "--names", "yes").status, 2)


if __name__ == "__main__":
    unittest.main(verbosity=2, argv=[sys.argv[0], *sys.argv[1:]])
