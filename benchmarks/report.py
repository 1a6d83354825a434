#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

"""Writes the figures of a run into the page benchmarks/README.md and draws benchmarks/performance.svg.

The tables replace the text between the lines "<!-- NAME: begin -->" and "<!-- NAME: end -->".
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
    "W1": "write, changed text, memory",
    "W1-int": "write, changed int, memory",
    "W2": "write, equal text, memory",
    "W3": "write, changed text, file",
    "L1": "layer created",
    "L2": "layer replaced, 1 % changed",
    "L3": "layer cleared",
    "I1": "file becomes a layer",
    "I1-silent": "file becomes a layer, no handler",
}
COLOURS = ["#c0392b", "#7f8c8d", "#bdc3c7", "#2980b9", "#27ae60", "#8e44ad", "#f39c12"]


def title_of(operation):
    if operation in TITLES:
        return f"{operation.partition('-')[0]} {TITLES[operation]}"
    name, size = operation.split("/")
    return f"{name.partition('-')[0]} {TITLES[name]}, {number(int(size))} keys"


def in_order(operations):
    def key(operation):
        name, _, size = operation.partition("/")
        return list(TITLES).index(name), int(size or 0)
    return sorted(operations, key=key)


def is_of_layers(operation):
    return operation.startswith("L")


def number(value):
    """The value with three or four significant digits."""
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
        self.threads = data["threads"]

    def floor(self, row):
        """The cell of the floor; each operation has at most one."""
        return next((row[name] for name, system in self.systems.items()
                     if system["floor"] and name in row), None)

    def others(self):
        return [name for name, system in self.systems.items()
                if not system["floor"] and name != "tamsel"]

    def comparison(self, rows, value=lambda cell: cell, note=lambda cell: ""):
        """A row for each operation that peers offer too, with the figures of the library, the floor and the
        peers. All but the first include the ratio of ours to theirs. A note follows the figure."""
        head = ["", "libtamsel", "floor", *(self.systems[name]["title"] for name in self.others())]
        lines = []
        for operation in in_order(rows):
            row = rows[operation]
            if "tamsel" not in row or is_of_layers(operation):
                continue
            ours = value(row["tamsel"])
            cells = [title_of(operation), f"**{number(ours)}**{note(row['tamsel'])}"]
            for cell in [self.floor(row), *(row.get(name) for name in self.others())]:
                cells.append("–" if cell is None else
                             f"{number(value(cell))}{note(cell)} ({ours / value(cell):.2f})")
            lines.append(cells)
        return table(head, lines)

    def layers(self):
        """The operations that only the library and its floor offer, with times if they were measured."""
        head = ["", "instructions", "floor", "allocations", "floor", "bytes", "floor", "ns", "floor"]
        lines = []
        for operation in filter(is_of_layers, in_order(self.exact)):
            ours, floor = self.exact[operation]["tamsel"], self.floor(self.exact[operation])
            times = self.times.get(operation, {})
            cells = [title_of(operation)]
            for kind in "instructions", "allocations", "bytes":
                cells += [f"**{number(ours[kind])}**", number(floor and floor[kind])]
            lines.append([*cells, number(times.get("tamsel")), number(self.floor(times))])
        return table(head, lines)

    def machine_line(self):
        machine = self.machine
        return (f"Qt {machine['qt']}, {machine['architecture']}, {machine['compiler']}, "
                f"{machine['cpu'].split(',')[0]}.")

    def tables(self):
        result = {
            "machine": self.machine_line(),
            "exact": self.comparison(self.exact, lambda cell: cell["instructions"],
                                     lambda cell: f" [{number(cell['allocations'])}]"),
            "layers": self.layers(),
        }
        if self.times:
            result["times"] = self.comparison(self.times)
            result["threads"] = self.throughput()
        return result

    def throughput(self):
        """Millions of reads per second: a row for each system, with the ratio of two threads to one."""
        head = ["", "R1, one thread", "two threads", "ratio", "R2, one thread", "two threads", "ratio"]
        lines = []
        for name, system in self.systems.items():
            cells = []
            for operation in "R4-top", "R4-bottom":
                found = self.threads[operation].get(name)
                cells += ([f"{found['1'] / 1e6:.2f}", f"{found['2'] / 1e6:.2f}",
                           f"**{found['2'] / found['1']:.2f}**"] if found else ["–"] * 3)
            if any(cell != "–" for cell in cells):
                title = system["title"]
                lines.append([f"floor: {title}" if system["floor"] else title, *cells])
        return table(head, lines)

    def picture(self):
        """Times on a logarithmic axis: a line for each operation, a dot for each system."""
        operations = in_order(self.times)
        values = [value for row in self.times.values() for value in row.values()]
        low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
        left, width, line, top = 340, 640, 26, 60
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
