#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

"""Runs hostcosts under Callgrind and prints what a notification costs in the companion library.

Fails if it costs more than 1.2 times as much with many subscriptions or known settings as with one, or if
a catalogue adds more than CATALOGUE_LIMIT instructions.
"""

import argparse
import sys

import qmlcosts
import report

GROWTH_LIMIT = 1.2
CATALOGUE_LIMIT = 1500  # 1 033 with Qt 6.4.2


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program", help="hostcosts")
    arguments = parser.parse_args()

    instructions, _ = qmlcosts.run(arguments.program)
    write = instructions.pop("write")
    print(f"a write without a handler: {report.number(write)} instructions")
    added = {name: count - write for name, count in instructions.items()}
    for name, count in added.items():
        print(f"{name} adds {report.number(count)}")
    failures = []
    for kind in "catalogue", "subscriptions":
        if added[f"{kind}-1000"] > GROWTH_LIMIT * added[f"{kind}-1"]:
            failures.append(f"{kind}: 1000 cost more than {GROWTH_LIMIT} times as much as one")
    if added["catalogue-1"] > CATALOGUE_LIMIT:
        failures.append(f"catalogue: adds more than {CATALOGUE_LIMIT} instructions")
    if failures:
        sys.exit("\n".join(failures))


if __name__ == "__main__":
    main()
