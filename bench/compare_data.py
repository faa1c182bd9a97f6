"""The data sets of the comparison: which there are, how they are read, and where their files are."""

import hashlib
import os
import pathlib
import shutil
import subprocess
from dataclasses import dataclass, field

FOLDER = pathlib.Path(__file__).resolve().parent
COMPARED = ("A", "B", "C", "D", "E")  # read by all readers; the others by ours alone
ROWS_D = 200  # of each file
COLUMNS_A = 7
DOUBLES_A = 4
COLUMNS_B = 9
COLUMNS_C = 60
COLUMNS_NARROW = 10
COLUMNS_WIDE = 640
COLUMNS_WORST = 3
# The expected rows: a line of separators and blank lines give none.
WORST_CASES = {"separators": 2, "quotes": 3, "breaks": 3, "blanks": 2}


@dataclass(frozen=True)
class Dataset:
    """One generated file, or one folder of small files."""

    key: str  # what it is called here: "A", "A-4000000"
    kind: str  # the generator's name for it
    rows: int  # that a reader must find
    columns: int  # that a preview must show
    generator: tuple = ()  # arguments of the generator
    axes: dict = field(default_factory=dict, hash=False)  # axis to column name
    options: tuple = ()  # what our reader is told
    files: int = 1

    def target(self, data):
        """The file or folder that is generated; its name holds all arguments of the generator."""
        name = "-".join([self.kind, *self.generator[1::2]])
        return data / (name if self.kind == "D" else name + ".csv")

    def paths(self, data):
        """The files to read."""
        if self.kind == "D":
            return [self.target(data) / f"part{index}.csv" for index in range(self.files)]
        return [self.target(data)]

    def input_bytes(self, data):
        return sum(path.stat().st_size for path in self.paths(data))


NAMES = "FIRST_LINE_COLUMN_NAMES=true"
XYZ = {"x": "x", "y": "y", "z": "z"}
XY = {"x": "x", "y": "y"}
XYZ_OPTIONS = ("X_COLUMN=1", "Y_COLUMN=2", "Z_COLUMN=3", NAMES)
TEXT_OPTIONS = ("X_COLUMN=2", "Y_COLUMN=3", "CODEC=UTF-8", NAMES)
FIRST_TWO = {"x": "c0", "y": "c1"}
FIRST_TWO_OPTIONS = ("X_COLUMN=0", "Y_COLUMN=1", NAMES)


def make_datasets(quick):
    """All data sets by key; `quick` makes them small."""

    def size(full, small):
        return small if quick else full

    def points(key, kind, rows):
        return Dataset(key, kind, rows, COLUMNS_A, ("--rows", str(rows)), XYZ, XYZ_OPTIONS)

    def texts(key, rows):
        return Dataset(key, key, rows, COLUMNS_B, ("--rows", str(rows)), XY, TEXT_OPTIONS)

    def wide(key, columns):
        rows = size(2_000_000, 12_800) // columns
        generator = ("--columns", str(columns), "--rows", str(rows))
        return Dataset(key, "wide", rows, columns, generator, FIRST_TWO, FIRST_TWO_OPTIONS)

    rows_c = size(200_000, 200)
    files = size(1000, 5)
    worst_bytes = str(size(16 << 20, 64 << 10))
    datasets = [
        points("A", "A", size(2_000_000, 2000)),
        texts("B", size(1_000_000, 1000)),
        Dataset("C", "C", rows_c, COLUMNS_C, ("--rows", str(rows_c)), FIRST_TWO, FIRST_TWO_OPTIONS),
        Dataset("D", "D", files * ROWS_D, COLUMNS_A, ("--files", str(files)), XYZ, XYZ_OPTIONS, files),
        texts("E", size(150_000, 300)),
        points("quoted", "quoted", size(2_000_000, 2000)),
        points("A-few", "A", size(250_000, 500)),
        points("A-many", "A", size(4_000_000, 8000)),
        wide("wide-narrow", COLUMNS_NARROW),
        wide("wide-wide", COLUMNS_WIDE),
    ]
    datasets += [
        Dataset(kind, kind, rows, COLUMNS_WORST, ("--bytes", worst_bytes)) for kind, rows in WORST_CASES.items()
    ]
    return {dataset.key: dataset for dataset in datasets}


def data_folder(root):
    """The folder of the files, one for each version of the generator."""
    sources = b"".join((FOLDER / name).read_bytes() for name in ("Datasets.cpp", "Datasets.h"))
    return root / hashlib.sha256(sources).hexdigest()[:12]


def make_files(generator, dataset, data):
    """Generates missing files and brings all files into the page cache."""
    target = dataset.target(data)
    if not target.exists():
        data.mkdir(parents=True, exist_ok=True)
        part = target.with_name(target.name + f".part{os.getpid()}")
        subprocess.run([generator, dataset.kind, part, *dataset.generator], check=True)
        part.rename(target)
    for path in dataset.paths(data):
        with open(path, "rb") as file, open(os.devnull, "wb") as nowhere:
            shutil.copyfileobj(file, nowhere, 1 << 20)
