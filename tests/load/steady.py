#!/usr/bin/env python3
"""Measures what a person feels of a long import: how long the progress line stands still, and how
long a cancel takes, in every format and at points all over the import.

For each target one import runs on a terminal, and the longest time between two progress lines is
noted with the line that stood. Then imports are interrupted at moments spread over that time; what
is measured is the time from the signal to the end of the process, and that nothing is left. A row
whose silence or cancel is too long is marked, and the exit status is then 1.
"""

import argparse
import os
import pathlib
import pty
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

MOST_SILENCE = 1.0
MOST_CANCEL = 0.2


def write_rows(path, count):
    """Points of two towns and the country around them, in no order, with heights and attributes."""
    state = 12345
    with open(path, "w", encoding="ascii") as file:
        file.write("id,lon,lat,height,name,count\n")
        lines = []
        for row in range(count):
            state = (state * 6364136223846793005 + 1442695040888963407) & 0xFFFFFFFFFFFFFFFF
            a, b = (state >> 40) / (1 << 24), ((state >> 16) & 0xFFFFFF) / (1 << 24)
            share = 0.05 if row % 3 else 8
            lines.append(f"{row},{8 + a * share:.7f},{47 + b * share:.7f},{a * 900:.2f},"
                         f"name of {row % 9973},{state >> 54}\n")
            if len(lines) == 65536:
                file.writelines(lines)
                lines.clear()
        file.writelines(lines)


def cpu_of(pid):
    """Seconds of the processor that the process has used."""
    with open(f"/proc/{pid}/stat", encoding="ascii", errors="replace") as file:
        fields = file.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def phase_of(text):
    return re.sub(rb"[\r\x1b].*?K", b"", text).decode(errors="replace").strip()[:50]


class Steadiness:
    def __init__(self, arguments, folder):
        self.arguments = arguments
        self.folder = folder
        self.input = arguments.input or folder / "in.csv"
        self.is_good = True
        if not arguments.input:
            write_rows(self.input, arguments.rows)

    def command(self, target):
        out, _, options = target.partition(" ")
        return [self.arguments.program, "import", self.input, out, "--crs", "EPSG:4326",
                *options.split()]

    def clean(self):
        """Removes the outputs. @return names of files that no import may leave."""
        odd = []
        for entry in self.folder.iterdir():
            if entry == self.input:
                continue
            if entry.name.startswith("."):
                odd.append(entry.name)
            if entry.is_dir():
                shutil.rmtree(entry)
            else:
                entry.unlink()
        return odd

    def watch(self, target):
        """@return seconds of the import, longest silence, the line that stood meanwhile"""
        leader, follower = pty.openpty()
        begin = last = time.perf_counter()
        with open(os.devnull, "wb") as nothing:
            process = subprocess.Popen(self.command(target), cwd=self.folder, stdout=nothing,
                                       stderr=follower, stdin=subprocess.DEVNULL)
        os.close(follower)
        longest, line, shown = 0.0, "", b""
        while True:
            try:
                block = os.read(leader, 1 << 16)
            except OSError:
                block = b""
            now = time.perf_counter()
            if now - last > longest:
                longest, line = now - last, phase_of(shown)
            last = now
            if not block:
                break
            shown = block
        os.close(leader)
        if process.wait() != 0:
            raise SystemExit(f"{target}: status {process.returncode}: {phase_of(shown)}")
        return last - begin, longest, line

    def interrupt(self, target, delay):
        """@return seconds from the signal to the end and those of the processor in them; None when the
        import was done before"""
        with open(self.folder / "err", "wb") as err:
            process = subprocess.Popen(self.command(target), cwd=self.folder, stderr=err,
                                       stdout=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
        try:
            process.wait(delay)
            return None
        except subprocess.TimeoutExpired:
            pass
        begin = time.perf_counter()
        before = cpu_of(process.pid)
        process.send_signal(signal.SIGTERM)  # a background job ignores SIGINT
        _, _, usage = os.wait4(process.pid, 0)
        process.returncode = 0
        return (time.perf_counter() - begin,
                max(0.0, usage.ru_utime + usage.ru_stime - before))

    def measure(self, target):
        whole, silence, line = self.watch(target)
        self.clean()
        slowest, at, stood = (0.0, 0.0), 0.0, ""
        points = self.arguments.points
        for point in range(points):
            delay = whole * (point + 0.5) / points
            seconds = self.interrupt(target, delay)
            said = (self.folder / "err").read_text(encoding="utf-8")
            odd = self.clean()
            if odd:
                self.is_good = False
                print(f"{target}: left {odd} after {delay:.2f} s", flush=True)
            if seconds is not None and seconds[0] > slowest[0]:
                slowest, at, stood = seconds, delay / whole, said.strip()[-40:]
        is_good = silence <= MOST_SILENCE and slowest[0] <= MOST_CANCEL
        self.is_good = self.is_good and is_good
        print(f"| {target} | {whole:.2f} | {silence:.2f} | {line} | {slowest[0]:.2f} | "
              f"{slowest[1]:.2f} | {at:.0%} {stood} |"
              f"{'' if is_good else ' TOO LONG'}", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", type=pathlib.Path, default="build/release/bin/orvane")
    parser.add_argument("--rows", type=int, default=2_000_000)
    parser.add_argument("--input", type=pathlib.Path, help="instead of rows that are made")
    parser.add_argument("--points", type=int, default=12, help="interruptions of each import")
    parser.add_argument("--folder", type=pathlib.Path, help="where the files go")
    parser.add_argument("targets", nargs="*",
                        default=["out.gpkg", "out.fgb", "out.geojson", "out.csv", "out.shp"],
                        help="output, and options after blanks")
    arguments = parser.parse_args()
    arguments.program = arguments.program.resolve()
    if arguments.input:
        arguments.input = arguments.input.resolve()
    folder = pathlib.Path(tempfile.mkdtemp(prefix="orvane-steady-", dir=arguments.folder))
    try:
        steadiness = Steadiness(arguments, folder)
        print("| target | s | silence s | line that stood | cancel s | CPU s | at |")
        print("|---|---:|---:|---|---:|---:|---|")
        for target in arguments.targets:
            steadiness.measure(target)
    finally:
        shutil.rmtree(folder)
    return 0 if steadiness.is_good else 1


if __name__ == "__main__":
    sys.exit(main())
