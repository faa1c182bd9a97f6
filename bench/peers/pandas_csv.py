"""Reads the files with pandas' C engine and prints the figures as one line of JSON."""

import argparse
import json
import sys
import time

import pandas


def status(key):
    """A size of this process in bytes: VmRSS, RssAnon, VmHWM."""
    with open("/proc/self/status", encoding="ascii") as lines:
        for line in lines:
            if line.startswith(key + ":"):
                return int(line.split()[1]) * 1024
    raise KeyError(key)


def main():
    if sys.argv[1:] == ["--version"]:
        print(f"{pandas.__version__}, Python {sys.version.split()[0]}")
        return
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--float-precision", choices=["round_trip"])
    parser.add_argument("--x", required=True)
    parser.add_argument("--y", required=True)
    parser.add_argument("--z")
    parser.add_argument("files", nargs="+")
    arguments = parser.parse_args()

    def read(file):
        return pandas.read_csv(file, engine="c", float_precision=arguments.float_precision)

    before = status("RssAnon")
    wall = time.perf_counter()
    cpu = time.process_time()
    for file in arguments.files:
        table = read(file)
    result = {"cpu_s": time.process_time() - cpu, "wall_s": time.perf_counter() - wall}
    result |= {"resident_after_bytes": status("VmRSS"), "kept_bytes": status("RssAnon") - before}
    result["peak_bytes"] = status("VmHWM")

    axes = {axis: name for axis in "xyz" if (name := getattr(arguments, axis))}
    result["rows"] = 0
    result |= {f"sum_{axis}": 0.0 for axis in axes}
    for file in arguments.files:
        if len(arguments.files) > 1:
            table = read(file)
        result["rows"] += len(table)
        for axis, name in axes.items():
            result[f"sum_{axis}"] += float(table[name].sum())
    print(json.dumps(result))


if __name__ == "__main__":
    main()
