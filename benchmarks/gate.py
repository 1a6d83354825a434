#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

"""Compares the exact figures of the library with the committed baseline of the same Qt version.

Fails if one of them has risen by more than 3 %. Times are not compared.
"""

import argparse
import json
import sys
from pathlib import Path

TOLERANCE = 0.03
HOW_TO_UPDATE = """\
If the rise is the price of something, run scripts/bench --update-baseline and commit the new baseline
together with the change, saying in the message what the price is for."""


def figures_of(run):
    return {operation: row["tamsel"] for operation, row in run["exact"].items() if "tamsel" in row}


def change(old, new):
    return f"{(new - old) / old:+.1%}" if old else f"{new:+g}"


def compare(baseline, figures):
    """What has risen and what has fallen by more than the tolerance; a missing figure has risen."""
    risen, fallen = [], []
    for operation, old in baseline.items():
        for kind, before in old.items():
            if operation not in figures:
                risen.append(f"{operation}: is in the baseline and was not counted")
                break
            now = figures[operation][kind]
            line = f"{operation}: {kind} {before:g} -> {now:g} ({change(before, now)})"
            if now > before * (1 + TOLERANCE):
                risen.append(line)
            elif now < before * (1 - TOLERANCE):
                fallen.append(line)
    risen += [f"{operation}: is not in the baseline" for operation in figures.keys() - baseline.keys()]
    return sorted(risen), fallen


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("run", type=Path, help="what measure.py wrote")
    parser.add_argument("--update", action="store_true", help="make it the baseline")
    arguments = parser.parse_args()

    run = json.loads(arguments.run.read_text(encoding="utf-8"))
    machine, figures = run["machine"], figures_of(run)
    path = Path(__file__).with_name(f"baseline-qt{machine['qt']}.json")
    if arguments.update:
        path.write_text(json.dumps({"machine": machine, "figures": figures}, indent=1) + "\n",
                        encoding="utf-8")
        print(f"wrote {path.name}; commit it together with the change that it is about")
        return

    baseline = json.loads(path.read_text(encoding="utf-8")) if path.exists() else None
    if not baseline or baseline["machine"]["architecture"] != machine["architecture"]:
        print(f"skipped: there is no baseline for Qt {machine['qt']} on {machine['architecture']}")
        return
    risen, fallen = compare(baseline["figures"], figures)
    for line in fallen:
        print(f"fallen: {line}")
    if fallen:
        print("Keep what was won: scripts/bench --update-baseline")
    for line in risen:
        print(f"RISEN: {line}")
    if risen:
        for what, before in baseline["machine"].items():
            if machine[what] != before:
                print(f"note: {what} is {machine[what]}, and was {before} for the baseline")
        sys.exit(HOW_TO_UPDATE)
    print(f"{len(figures)} operations within {TOLERANCE:.0%} of {path.name}")


if __name__ == "__main__":
    main()
