#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

"""Runs qmlcosts under Callgrind and prints what the QML module costs, or writes it into a page.

Fails if one change costs more than 1.2 times as much with many objects as with one.
"""

import argparse
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import measure
import report

LIMIT = 1.2
# Without the interpreter, the cost of an expression depends on how often it ran before.
ENVIRONMENT = {**measure.ENVIRONMENT, "QV4_FORCE_INTERPRETER": "1"}


def run(program):
    """Instructions of each series, by its name, and the bytes of each kind of object."""
    with tempfile.TemporaryDirectory() as folder:
        profile = Path(folder, "callgrind")
        command = ["valgrind", "--tool=callgrind", "--instr-atstart=no", "--collect-atstart=no",
                   f"--callgrind-out-file={profile}", program]
        result = subprocess.run(command, capture_output=True, text=True, env=ENVIRONMENT)
        if result.returncode:
            sys.exit(f"{' '.join(command)}\n{result.stderr}")
        parts = [measure.total(part) for part in
                 sorted(Path(folder).glob("callgrind.*"), key=lambda part: int(part.suffix[1:]))]
    series = re.findall(r"^series (\S+) (\d+)$", result.stdout, re.MULTILINE)
    instructions = {name: (twice - once) / int(runs) for (name, runs), once, twice in
                    zip(series, parts[::2], parts[1::2], strict=True)}
    # Without Callgrind, which might affect the heap.
    plain = subprocess.run([program], check=True, capture_output=True, text=True, env=ENVIRONMENT)
    heap = {name: int(size) for name, size in
            re.findall(r"^heap (\S+) (\d+)$", plain.stdout, re.MULTILINE)}
    return instructions, heap


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program", help="qmlcosts")
    parser.add_argument("--page", type=Path, help="the page to fill")
    arguments = parser.parse_args()

    instructions, heap = run(arguments.program)
    changes = {int(name.removeprefix("change-")): count for name, count in instructions.items()
               if name.startswith("change-")}
    rows = [
        ["Read of `value` in an expression", f"{report.number(instructions['read'])} instructions"],
        ["The same of a plain `property var`", f"{report.number(instructions['plain-read'])} instructions"],
    ]
    rows += [[f"One change, with objects on {report.number(others)} other setting{'s' * (others > 1)}",
              f"{report.number(count)} instructions"] for others, count in sorted(changes.items())]
    rows += [["A `Setting` on the heap", f"{report.number(heap['setting'])} bytes"],
             ["The same of an empty `QtObject`", f"{report.number(heap['plain'])} bytes"]]
    text = report.table(["", "Cost"], rows)
    print(text)
    if max(changes.values()) > LIMIT * changes[1]:
        sys.exit(f"A change costs more than {LIMIT} times as much with many objects on other settings.")
    if arguments.page:
        page = arguments.page.read_text(encoding="utf-8")
        arguments.page.write_text(report.fill(page, {"costs": text}), encoding="utf-8")


if __name__ == "__main__":
    main()
