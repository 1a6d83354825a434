#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

"""Runs the benchmark programs of a build and writes their results to one JSON file.

    {"machine":  {"qt": "6.8.2", "architecture": "x86_64", "compiler": ..., "valgrind": ..., "cpu": ...},
     "systems":  {"tamsel": {"title": "libtamsel", "floor": false}, ...},
     "exact":    {"R1": {"tamsel": {"instructions": 1342.9, "allocations": 0.0}, ...}, ...},
     "times":    {"R1": {"tamsel": 95.1, ...}, ...},
     "threads":  {"R4-top": {"tamsel": {"1": 10200000, "2": 8300000}, ...}, ...}}

The name of an operation with a size contains the size, as in "L1/1000". Instructions and times (in
nanoseconds) are those of one read, write or setting. So are allocations, except for operations with
a size: there they are those of the whole operation, and "bytes" has what one setting allocates.
"threads" has the reads per second of all threads together, by the number of threads. Times and reads
per second are medians of the repetitions.
"""

import argparse
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

# Nothing from the caller's environment, and nothing that differs between runs.
ENVIRONMENT = {
    "PATH": os.environ["PATH"],
    "LC_ALL": "C.UTF-8",
    "HOME": "/nonexistent",
    "TMPDIR": "/tmp",  # the length of a file's path costs instructions
    "QT_HASH_SEED": "0",
    "LD_BIND_NOW": "1",
}


def operation_name(operation, size):
    return operation if size == "0" else f"{operation}/{size}"


def runs_for(operation, size):
    """The number of runs: fewer on large layers, where runs vary little."""
    if operation.startswith(("L", "I")):
        return 2 if int(size) <= 1000 else 1
    return 4


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True, env=ENVIRONMENT).stdout


def describe_machine(exactcounts):
    machine = dict(line.split(" ", 1) for line in output(exactcounts, "about").splitlines())
    machine["valgrind"] = output("valgrind", "--version").strip()
    cpuinfo = Path("/proc/cpuinfo").read_text()
    model = re.search(r"^model name\s*: (.*)$", cpuinfo, re.MULTILINE)
    machine["cpu"] = (model[1] if model else "unknown") + (", avx2" if " avx2" in cpuinfo else "")
    return machine


def describe_systems(exactcounts):
    systems = {}
    for line in output(exactcounts, "systems").splitlines():
        name, kind, title = line.split(" ", 2)
        systems[name] = {"title": title, "floor": kind == "floor"}
    return systems


def total(part):
    return int(re.search(r"^totals: (\d+)", part.read_text(), re.MULTILINE)[1])


def count(exactcounts, profiles, system, operation, size):
    runs = runs_for(operation, size)
    with tempfile.TemporaryDirectory() as folder:
        profile = Path(folder, "callgrind")
        command = ["valgrind", "--tool=callgrind", "--instr-atstart=no", "--collect-atstart=no",
                   f"--callgrind-out-file={profile}", exactcounts, system, operation, size, str(runs)]
        result = subprocess.run(command, capture_output=True, text=True, env=ENVIRONMENT)
        if result.returncode:
            sys.exit(f"{' '.join(command)}\n{result.stderr}")
        batch, once, twice, bytes_once, bytes_twice = map(int, result.stdout.split())
        instructions = total(Path(f"{profile}.2")) - total(Path(f"{profile}.1"))
        # For callgrind_annotate.
        kept = profiles / f"{system}-{operation_name(operation, size).replace('/', '-')}.callgrind"
        kept.write_bytes(Path(f"{profile}.2").read_bytes())
    allocations = (twice - once) / runs
    counts = {"instructions": round(instructions / runs / batch, 2),
              "allocations": allocations if size != "0" else round(allocations / batch, 2)}
    if size != "0":
        counts["bytes"] = round((bytes_twice - bytes_once) / runs / batch, 1)
    return counts


def count_all(exactcounts, profiles, jobs):
    profiles.mkdir(exist_ok=True)
    figures = {}
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        counts = pool.map(lambda job: count(exactcounts, profiles, *job), jobs)
        for (system, operation, size), counted in zip(jobs, counts):
            figures.setdefault(operation_name(operation, size), {})[system] = counted
    return figures


def medians(samples, digits):
    if isinstance(samples, list):
        return round(statistics.median(samples), digits)
    return {name: medians(part, digits) for name, part in samples.items()}


def time_all(bench, too_large, repetitions, min_time):
    with tempfile.NamedTemporaryFile(suffix=".json") as file:
        result = subprocess.run(
            [bench, f"--benchmark_filter=-/({'|'.join(too_large) or 'none'})/",
             f"--benchmark_repetitions={repetitions}", f"--benchmark_min_time={min_time}",
             "--benchmark_enable_random_interleaving=true", "--benchmark_out_format=json",
             f"--benchmark_out={file.name}"],
            capture_output=True, text=True, env=ENVIRONMENT)
        if result.returncode:
            sys.exit(f"{bench}\n{result.stderr}")
        results = json.load(open(file.name, encoding="utf-8"))["benchmarks"]
    times, threads = {}, {}
    for result in results:
        if result.get("error_occurred"):
            sys.exit(f"{result['name']}: {result['error_message']}")
        if result["run_type"] != "iteration":
            continue
        operation, size, system = result["run_name"].split("/")[:3]
        if operation.startswith("R4"):
            row = threads.setdefault(operation, {}).setdefault(system, {})
            row.setdefault(str(result["threads"]), []).append(result["perSecond"])
        else:
            row = times.setdefault(operation_name(operation, size), {})
            row.setdefault(system, []).append(result["real_time"] / result["size"])
    return medians(times, 2), medians(threads, None)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=Path, help="the folder with the programs")
    parser.add_argument("out", type=Path, help="the JSON file to write")
    parser.add_argument("--exact", action="store_true", help="no times")
    parser.add_argument("--systems", help="count only these, separated by commas")
    parser.add_argument("--largest", type=int, default=100000, help="no layers of more settings")
    parser.add_argument("--repetitions", type=int, default=9)
    parser.add_argument("--min-time", type=float, default=0.1, help="seconds of a repetition")
    arguments = parser.parse_args()

    exactcounts = str(arguments.build / "exactcounts")
    jobs = [line.split() for line in output(exactcounts, "list").splitlines()]
    too_large = {size for _, _, size in jobs if int(size) > arguments.largest}
    systems = describe_systems(exactcounts)
    counted = arguments.systems.split(",") if arguments.systems else systems
    run = {"machine": describe_machine(exactcounts), "systems": systems}
    run["exact"] = count_all(
        exactcounts, arguments.build / "profiles",
        [job for job in jobs if job[0] in counted and job[2] not in too_large])
    run["times"], run["threads"] = ({}, {}) if arguments.exact else time_all(
        str(arguments.build / "bench_settings"), too_large, arguments.repetitions,
        arguments.min_time)
    arguments.out.write_text(json.dumps(run, indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
