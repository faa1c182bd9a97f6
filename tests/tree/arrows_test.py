#!/usr/bin/env python3
"""Checks the dependencies between the folders of the tree, by the includes of every source file.

Run without arguments it reads the repository that it lies in; with a path, that tree. It prints
each include that runs up, and their count.
"""

import pathlib
import posixpath
import re
import sys

# A folder, and the folders that its files may include from besides itself. The longest folder that
# a path begins with counts.
PLUGIN_TEXT = ["sdk", "plugin/text", "plugin/kernels", "plugin/lines", "plugin/threads"]
ARROWS = {
    "sdk": [],

    # The plug-in's tower: each storey includes from those below it.
    "plugin/threads": [],
    "plugin/text": ["sdk"],
    "plugin/kernels": ["sdk", "plugin/text"],
    "plugin/layer": ["sdk", "plugin/text"],
    "plugin/lines": ["sdk", "plugin/text", "plugin/kernels", "plugin/layer"],
    "plugin/schema": PLUGIN_TEXT + ["plugin/layer"],
    "plugin/file": PLUGIN_TEXT + ["plugin/layer", "plugin/schema"],
    "plugin/reader": PLUGIN_TEXT + ["plugin/layer", "plugin/schema", "plugin/file"],
    "plugin/proxy": PLUGIN_TEXT + ["plugin/layer", "plugin/schema", "plugin/file", "plugin/reader"],

    # The host side. It uses the plug-in's code for lines and fields, for scans.
    "import": PLUGIN_TEXT,
    "export": PLUGIN_TEXT + ["import"],
    # A library of its own, which the rest of export has loaded.
    "export/src/gdal": PLUGIN_TEXT + ["import", "export"],
    "export/src/postgis": PLUGIN_TEXT + ["import", "export"],
    "cli": PLUGIN_TEXT + ["import", "export"],
    "gdal": ["sdk", "import", "export"],
    "python": ["sdk", "import", "export"],
    "wizard": ["sdk", "import", "export"],
    "examples": ["sdk", "import", "export"],

    # What checks and measures.
    "reference": ["sdk", "plugin"],
    "fuzz": ["sdk", "plugin", "import", "export", "cli", "reference"],
    "bench": ["sdk", "plugin", "import", "export"],
    "tests": ["sdk", "plugin", "import", "export", "cli", "gdal", "python", "wizard", "reference"],
}

SUFFIXES = {".h", ".cpp", ".inc"}
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.MULTILINE)


def folder_of(path):
    """The folder of ARROWS that a path lies in, None for a file outside of all."""
    inside = [folder for folder in ARROWS if path.startswith(folder + "/")]
    return max(inside, key=len, default=None)


def may_include(source, target):
    """Whether files of one folder may include from another. "plugin" allows all of its storeys."""
    return target == source or any(
        target == allowed or target.startswith(allowed + "/") for allowed in ARROWS[source])


def find(name, source, by_name):
    """The files of the tree that an include may mean: the one beside the source, else every file
    whose path ends with the included one."""
    beside = posixpath.normpath(posixpath.join(posixpath.dirname(source), name))
    same_name = by_name.get(name.rsplit("/", 1)[-1], [])
    if beside in same_name:
        return [beside]
    return [path for path in same_name if path.endswith("/" + name)]


def check(root):
    """The faults of a tree, one line each, and the number of includes read."""
    files = sorted(
        path.relative_to(root).as_posix()
        for path in root.rglob("*")
        if path.suffix in SUFFIXES and folder_of(path.relative_to(root).as_posix()))
    by_name = {}
    for path in files:
        by_name.setdefault(path.rsplit("/", 1)[-1], []).append(path)
    faults = []
    count = 0
    for path in files:
        source = folder_of(path)
        text = (root / path).read_text(encoding="utf-8")
        for match in INCLUDE.finditer(text):
            targets = find(match[2], path, by_name)
            if match[1] == "<" and not targets and not match[2].startswith("Orvane/"):
                continue  # a header of the system
            count += 1
            line = text.count("\n", 0, match.start()) + 1
            where = f"{path}:{line}: {match[2]}"
            if not targets:
                faults.append(f"{where} is no file of the tree")
            elif not any(may_include(source, folder_of(target)) for target in targets):
                faults.append(f"{where} runs up: {source} may not include from "
                              f"{folder_of(targets[0])}")
    return faults, count


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parents[2])
    faults, count = check(root)
    print("".join(fault + "\n" for fault in faults), end="")
    print(f"{count} includes, {len(faults)} that run up")
    if count == 0:
        sys.exit("no includes found")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
