"""What a person computes with GeoPandas from an imported file is what pandas computes from the file itself.

ORVANE_PROGRAM names the program, ORVANE_SOURCE the source tree.
"""

import os
import pathlib
import subprocess
import tempfile
import unittest

import geopandas
import pandas

PROGRAM = os.environ["ORVANE_PROGRAM"]
SAMPLE = pathlib.Path(os.environ["ORVANE_SOURCE"]) / "examples/data/earthquakes.csv"


class GeoPandas(unittest.TestCase):
    def test_means_of_columns_with_gaps_are_those_of_the_file(self):
        wanted = pandas.read_csv(SAMPLE)
        columns = [name for name in wanted.columns if wanted[name].dtype.kind == "f" and wanted[name].isna().any()]
        self.assertIn("gap", columns)
        for ending in ("gpkg", "fgb", "geojson", "geojsonl"):
            with tempfile.TemporaryDirectory(prefix="orvane-geopandas-") as folder:
                out = pathlib.Path(folder) / f"out.{ending}"
                subprocess.run([PROGRAM, "import", str(SAMPLE), str(out)], check=True, capture_output=True, timeout=60)
                found = geopandas.read_file(out)
            self.assertEqual(len(found), len(wanted))
            for name in columns:
                with self.subTest(format=ending, column=name):
                    values = found[name].astype(float)
                    self.assertEqual(values.isna().sum(), wanted[name].isna().sum())
                    # The order of rows differs in a FlatGeobuf, and with it how a sum is rounded.
                    self.assertAlmostEqual(values.mean(), wanted[name].mean(), delta=1e-12 * wanted[name].mean())
            with self.subTest(format=ending, column="geometry"):
                self.assertAlmostEqual(found.geometry.x.mean(), wanted["longitude"].mean(), delta=1e-10)
                self.assertAlmostEqual(found.geometry.y.mean(), wanted["latitude"].mean(), delta=1e-10)


if __name__ == "__main__":
    unittest.main()
