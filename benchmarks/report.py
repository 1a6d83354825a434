#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

"""Puts the figures of a run into the page docs/performance.md and draws docs/performance.svg.

The tables replace what stands between the lines "<!-- NAME: begin -->" and "<!-- NAME: end -->".
"""

import argparse
import json
import math
import re
import sys
from html import escape
from pathlib import Path

TITLES = {
    "R1": "read, top layer",
    "R2": "read, lowest file layer",
    "R3": "read, missing",
    "R4-top/1": "R1, one thread",
    "R4-top/2": "R1, two threads",
    "R4-bottom/1": "R2, one thread",
    "R4-bottom/2": "R2, two threads",
    "W1": "write, changed, memory",
    "W2": "write, equal, memory",
    "W3": "write, changed, file",
    "L1": "layer registered",
    "L2": "layer replaced, 1 % changed",
    "L3": "layer cleared",
    "I1": "file becomes a layer",
}
COLOURS = ["#c0392b", "#7f8c8d", "#bdc3c7", "#2980b9", "#27ae60", "#8e44ad", "#f39c12"]


def title_of(operation):
    if operation in TITLES:
        return f"{operation.split('/')[0]} {TITLES[operation]}"
    name, size = operation.split("/")
    return f"{name} {TITLES[name]}, {number(int(size))} keys"


def in_order(operations):
    def key(operation):
        name, _, size = operation.partition("/")
        first = name if name in TITLES else operation
        return list(TITLES).index(first), int(size or 0)
    return sorted(operations, key=key)


def number(value):
    """Three or four digits are all that a figure is good for."""
    if value is None:
        return "–"
    if value >= 100 or value == int(value):
        return f"{value:,.0f}".replace(",", " ")
    return f"{value:.3g}"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" + "--:|" * (len(head) - 1)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


class Run:
    def __init__(self, data):
        self.machine = data["machine"]
        self.systems = data["systems"]
        self.exact = data["exact"]
        self.times = data["times"]

    def floor(self, row):
        """The cell of the floor: there is one at most for each operation."""
        return next((row[name] for name, system in self.systems.items()
                     if system["floor"] and name in row), None)

    def others(self):
        return [name for name, system in self.systems.items()
                if not system["floor"] and name != "tamsel"]

    def ratios(self, rows, value=lambda cell: cell):
        """A row for each operation: the library's figure, the floor's, and those of the others, all but
        the first with the ratio of ours to theirs."""
        head = ["", "libtamsel", "floor", *(self.systems[name]["title"] for name in self.others())]
        lines = []
        for operation in in_order(rows):
            row = rows[operation]
            if "tamsel" not in row:
                continue
            ours = value(row["tamsel"])
            cells = [title_of(operation), f"**{number(ours)}**"]
            for cell in [self.floor(row), *(row.get(name) for name in self.others())]:
                theirs = None if cell is None else value(cell)
                ratio = f" ({ours / theirs:.2f})" if theirs else ""
                cells.append(number(theirs) + ratio)
            lines.append(cells)
        return table(head, lines)

    def machine_line(self):
        machine = self.machine
        return (f"Qt {machine['qt']}, {machine['architecture']}, {machine['compiler']}, "
                f"{machine['cpu'].split(',')[0]}.")

    def tables(self):
        result = {
            "machine": self.machine_line(),
            "bounds": table(["operation", "what", "bound", "measured", ""], self.bounds()),
            "instructions": self.ratios(self.exact, lambda cell: cell["instructions"]),
            "allocations": self.ratios(self.exact, lambda cell: cell["allocations"]),
        }
        if self.times:
            result["times"] = self.ratios(self.times)
        return result

    def bounds(self):
        """What is to be reached: (operation, what, bound, measured, whether it holds)."""
        def cell(operation, system="tamsel"):
            return self.exact.get(operation, {}).get(system)

        def instructions(operation, system="tamsel"):
            found = cell(operation, system)
            return found and found["instructions"]

        def allocations(operation, system="tamsel"):
            found = cell(operation, system)
            return found and found["allocations"]

        def ratio(one, other):
            return one / other if one is not None and other else None

        rows = []

        def bound(operation, what, limit, measured, shown="{}"):
            if measured is None or limit is None:
                return
            rows.append([operation, what, shown.format(number(limit)), shown.format(number(measured)),
                         "yes" if measured <= limit else "**no**"])

        times = "{} x"
        bound("R1", "allocations", 0, allocations("R1"))
        bound("R1", "instructions, of one mutex and one two-level look-up", 2.2,
              ratio(instructions("R1"), instructions("R1", "baremap")), times)
        for operation, limit in ("R2", 1.05), ("R3", 1.12):
            bound(operation, "allocations, as the raw calls of QSettings",
                  allocations(operation, "bareqsettings"), allocations(operation))
            bound(operation, "instructions, of the raw calls of QSettings", limit,
                  ratio(instructions(operation), instructions(operation, "bareqsettings")), times)
        bound("W1", "allocations", 2, allocations("W1"))
        bound("W1", "instructions", 2900, instructions("W1"))
        for other in "eightqsettings", "kconfig":
            bound("W1", f"instructions, of {self.systems.get(other, {}).get('title')}", 1,
                  ratio(instructions("W1"), instructions("W1", other)), times)
        bound("W2", "allocations", 0, allocations("W2"))
        bound("W2", "instructions, of R1's floor with one comparison", 1.35,
              ratio(instructions("W2"), instructions("W2", "baremap")), times)
        bound("W3", "instructions, of the raw calls of QSettings", 1.5,
              ratio(instructions("W3"), instructions("W3", "bareqsettings")), times)
        # A list that grows doubles: a block for each time, whatever the size.
        bound("L1", "allocations at 100 000, not per key", 100, allocations("L1/100000"))
        bound("L1", "instructions at 100 000, of the bare walk over the map", 2.4,
              ratio(instructions("L1/100000"), instructions("L1/100000", "baremap")), times)
        bound("L2", "instructions per key at 100 000", 3500, instructions("L2/100000"))
        bound("L3", "instructions per key at 100 000", 6800, instructions("L3/100000"))
        for operation in "L1", "L2", "L3":
            bound(operation, "instructions per key at 100 000, of those at 1 000", 1.5,
                  ratio(instructions(f"{operation}/100000"), instructions(f"{operation}/1000")),
                  times)
        bound("I1", "allocations, of loading and listing with QSettings", 1.6,
              ratio(allocations("I1/10000"), allocations("I1/10000", "bareqsettings")), times)
        bound("I1", "instructions, of loading and listing with QSettings", 1.6,
              ratio(instructions("I1/10000"), instructions("I1/10000", "bareqsettings")), times)
        return rows

    def picture(self):
        """Times on a logarithmic axis: a line for each operation, a dot for each system."""
        operations = in_order(self.times)
        values = [value for row in self.times.values() for value in row.values()]
        low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
        left, width, line, top = 290, 640, 26, 60
        bottom = top + line * len(operations)

        def x(value):
            return left + width * (math.log10(value) - low) / (high - low)

        parts = []
        for power in range(low, high + 1):
            label = f"{10 ** power} ns" if power < 3 else f"{10 ** (power - 3)} µs"
            parts.append(f'<line x1="{x(10 ** power):.1f}" y1="{top - 8}" x2="{x(10 ** power):.1f}" '
                         f'y2="{bottom}" stroke="#ddd"/>'
                         f'<text x="{x(10 ** power):.1f}" y="{bottom + 18}" text-anchor="middle">'
                         f'{label}</text>')
        names = list(self.systems)
        for i, operation in enumerate(operations):
            y = top + line * i + line / 2
            parts.append(f'<text x="{left - 12}" y="{y + 4}" text-anchor="end">'
                         f'{escape(title_of(operation))}</text>')
            # The library's dot is the last, on top of the others.
            for name in sorted(self.times[operation], key=lambda name: name == "tamsel"):
                colour = COLOURS[names.index(name) % len(COLOURS)]
                parts.append(f'<circle cx="{x(self.times[operation][name]):.1f}" cy="{y}" '
                             f'r="{6 if name == "tamsel" else 4.5}" fill="{colour}" '
                             f'fill-opacity="0.85"><title>{escape(self.systems[name]["title"])}: '
                             f'{number(self.times[operation][name])} ns</title></circle>')
        at = 20
        for name, colour in zip(names, COLOURS):
            title = self.systems[name]["title"]
            parts.append(f'<circle cx="{at}" cy="22" r="5" fill="{colour}"/>'
                         f'<text x="{at + 10}" y="26">{escape(title)}</text>')
            at += 34 + 7 * len(title)
        size = (max(left + width + 40, at), bottom + 30)
        return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {size[0]} {size[1]}" '
                f'font-family="sans-serif" font-size="12">\n'
                f'<rect width="100%" height="100%" fill="white"/>\n' + "\n".join(parts) + "\n</svg>\n")


def fill(page, tables):
    for name, text in tables.items():
        pattern = rf"(<!-- {name}: begin -->\n).*?(<!-- {name}: end -->)"
        page, count = re.subn(pattern, lambda match: f"{match[1]}{text}\n{match[2]}", page,
                              flags=re.DOTALL)
        if count != 1:
            sys.exit(f"the page has no place for '{name}'")
    return page


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("run", type=Path, help="what measure.py wrote")
    parser.add_argument("--page", type=Path, help="the page to fill; the tables are printed without")
    parser.add_argument("--picture", type=Path, help="the SVG file to write")
    arguments = parser.parse_args()

    run = Run(json.loads(arguments.run.read_text(encoding="utf-8")))
    if arguments.page:
        page = arguments.page.read_text(encoding="utf-8")
        arguments.page.write_text(fill(page, run.tables()), encoding="utf-8")
    else:
        for name, text in run.tables().items():
            print(f"\n{name}\n\n{text}")
    if arguments.picture and run.times:
        arguments.picture.write_text(run.picture(), encoding="utf-8")


if __name__ == "__main__":
    main()
