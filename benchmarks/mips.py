#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

"""Counts the instructions of reads and writes on MIPS32, under emulation, and writes them into a page.

The plugin counts a whole process. So the program is run with a number of operations and with twice as
many; the difference is the count.
"""

import argparse
import re
import subprocess
from pathlib import Path

import measure
import report

OPERATIONS = ["R1", "R2", "R3", "W1", "W1-int", "W2"]
FLOORS = {"R2": "bareqsettings", "R3": "bareqsettings"}
RUNS = 20
# exactcounts itself does RUNS runs, and then 2 * RUNS.
SERIES = 3


def executed(emulator, system, operation, runs):
    result = subprocess.run([*emulator, system, operation, "0", str(runs)], check=True,
                            capture_output=True, text=True, env=measure.ENVIRONMENT)
    size = int(result.stdout.split()[0])
    return size, int(re.search(r"^instructions (\d+)$", result.stderr, re.MULTILINE)[1])


def count(emulator, system, operation):
    size, once = executed(emulator, system, operation, RUNS)
    _, twice = executed(emulator, system, operation, 2 * RUNS)
    return (twice - once) / (SERIES * RUNS * size)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("page", type=Path, help="the page to fill")
    parser.add_argument("emulator", nargs=argparse.REMAINDER,
                        help="qemu-mipsel with the plugin, and exactcounts")
    arguments = parser.parse_args()

    rows = []
    for operation in OPERATIONS:
        counts = [count(arguments.emulator, system, operation)
                  for system in ("tamsel", FLOORS.get(operation, "baremap"), "eightqsettings")]
        ours = counts[0]
        rows.append([report.title_of(operation), f"**{report.number(ours)}**",
                     *(f"{report.number(other)} ({ours / other:.2f})" for other in counts[1:])])
    text = report.table(["", "libtamsel", "floor", "eight QSettings"], rows)
    print(text)
    page = arguments.page.read_text(encoding="utf-8")
    arguments.page.write_text(report.fill(page, {"mips": text}), encoding="utf-8")


if __name__ == "__main__":
    main()
