#!/usr/bin/env python3
"""Times two builds of krel and of the in-process benchmarks back to back.

A change that must leave speed alone is measured by running the build before
it and the build after it on the same inputs, in turns: old, new, old, new...
so that the load of a shared machine falls on both alike. Every command's
output from the two builds must be byte for byte the same before it is timed.

    bench/compare-builds.sh OLD_REV          # builds both release trees, then:
    python3 bench/compare_builds.py --old OLD_BUILD --new NEW_BUILD \\
        --work /tmp/krel-builds --out build/RESULTS-builds.md

OLD_BUILD and NEW_BUILD are release build trees holding tools/krel/krel and
bench/bench_hostset, bench/bench_hostlist. The host lists are the ones
bench/compare-peers.sh times.
"""

import argparse
import json
import os
import random
import shlex
import statistics
import subprocess
import sys
import time
from pathlib import Path

sys.dont_write_bytecode = True  # no __pycache__ in the source tree
sys.path.insert(0, str(Path(__file__).resolve().parent))
from compare_peers import NameList, load_average, peer_inputs, xnames  # noqa: E402
from host_lists import FULL_SIZE, SEED  # noqa: E402

BENCH_PROGRAMS = ["bench_hostset", "bench_hostlist"]


def krel_cases(work):
    """(key, command with {krel} in place of the program) over generated inputs."""
    inputs = peer_inputs(work, FULL_SIZE)
    cases = []
    for key, data in inputs.items():
        names, fold = shlex.quote(str(data.names_file)), shlex.quote(str(data.fold_file))
        cases.append(("fold-" + key, "{krel} fold < " + names))
        cases.append(("fold-report-" + key, "{krel} fold --report < " + names))
        cases.append(("expand-" + key, "{krel} expand < " + fold))
    rng = random.Random(SEED + 2)
    for key, cabinets, nodes in (("xnames-32k", 64, 4), ("xnames-1m", 1000, 8)):
        names = xnames(cabinets, nodes)
        rng.shuffle(names)
        listed = NameList(work, key, names)
        cases.append(("fold-" + key, "{krel} fold < " + shlex.quote(str(listed.names_file))))
    cases += [
        ("count-10m", "{krel} count 'n[1-9999999]'"),
        ("exclude-10m", "{krel} fold 'n[1-9999999]' -x n5"),
        ("count-4g", "{krel} count 'node[1-4000000000]'"),
        ("ranges-10m", "{krel} ranges 0-9999999"),
        ("split-1m", "{krel} fold --split 1000 'n[1-1000000]'"),
        ("contiguous-random", "{krel} fold --contiguous < " +
         shlex.quote(str(inputs["random"].fold_file))),
    ]
    return cases


def timed(command, work):
    """(wall seconds, processor seconds) of one run; its output goes to a file."""
    with open(work / "out.txt", "wb") as out:
        started = time.perf_counter()
        process = subprocess.Popen(command, shell=True, stdout=out, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        wall = time.perf_counter() - started
    if status != 0:
        raise SystemExit("%s: exit status %d" % (command, status))
    return wall, usage.ru_utime + usage.ru_stime


def output_of(command, work):
    timed(command, work)
    return (work / "out.txt").read_bytes()


def instructions(command, work):
    """Instructions one run executes, as callgrind counts them: repeatable under load."""
    result = subprocess.run(command, shell=True, capture_output=True, text=True, cwd=work)
    for line in result.stderr.splitlines():
        if "Collected :" in line:
            return int(line.split(":")[-1])
    raise SystemExit("%s: no instruction count from callgrind" % command)


def compare_instructions(old, new, work):
    rows = []
    for key, template in krel_cases(work):
        counts = [instructions(template.format(
            krel="valgrind --tool=callgrind --callgrind-out-file=/dev/null " +
            shlex.quote(str(build / "tools/krel/krel"))), work) for build in (old, new)]
        rows.append([key] + counts)
        print("%-20s %14s -> %14s instructions (%.4f)" % (
            key, format(counts[0], ","), format(counts[1], ","), counts[1] / counts[0]), flush=True)
    return rows


def compare_krel(old, new, work, rounds):
    rows = []
    for key, template in krel_cases(work):
        commands = [template.format(krel=shlex.quote(str(build / "tools/krel/krel")))
                    for build in (old, new)]
        if output_of(commands[0], work) != output_of(commands[1], work):
            # A fixed defect shows here: the case is reported, not timed.
            print("%-20s the two builds write different outputs: not timed" % key, flush=True)
            rows.append([key, None, None, None, None])
            continue
        samples = [[], []]
        for _ in range(rounds):
            for side in (0, 1):
                samples[side].append(timed(commands[side], work))
        row = [key]
        for side in (0, 1):
            row.append(statistics.median(s[0] for s in samples[side]))
            row.append(statistics.median(s[1] for s in samples[side]))
        rows.append(row)
        print("%-20s wall %8.1f ms -> %8.1f ms   cpu %8.1f ms -> %8.1f ms" % (
            key, row[1] * 1e3, row[3] * 1e3, row[2] * 1e3, row[4] * 1e3), flush=True)
    return rows


def benchmark_run(program, repetitions):
    """{benchmark name: median cpu time in ns} of one run of a Google Benchmark program."""
    text = subprocess.run([str(program), "--benchmark_format=json",
                           "--benchmark_repetitions=%d" % repetitions,
                           "--benchmark_report_aggregates_only=true"],
                          check=True, capture_output=True, text=True).stdout
    times = {}
    for entry in json.loads(text)["benchmarks"]:
        if entry.get("aggregate_name") == "median":
            scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[entry.get("time_unit", "ns")]
            times[entry["run_name"]] = entry["cpu_time"] * scale
    return times


def compare_benchmarks(old, new, turns, repetitions):
    rows = []
    for name in BENCH_PROGRAMS:
        runs = [[], []]
        for _ in range(turns):
            for side, build in enumerate((old, new)):
                runs[side].append(benchmark_run(build / "bench" / name, repetitions))
        for case in runs[1][0]:
            if case not in runs[0][0]:
                continue
            medians = [statistics.median(run[case] for run in runs[side]) for side in (0, 1)]
            rows.append([name + " " + case] + medians)
            print("%-60s %12.0f ns -> %12.0f ns (%.3f)" % (
                name + " " + case, medians[0], medians[1], medians[1] / medians[0]), flush=True)
    return rows


def report(path, old, new, krel_rows, bench_rows, counted_rows, rounds, turns, load):
    lines = ["# Two builds back to back", "",
             "old: `%s`, new: `%s`; load average %s at the start, %s at the end." % (
                 old, new, load, load_average()), "",
             "## Whole processes (median of %d turns each, old and new in turn)" % rounds, "",
             "| case | old wall | new wall | new/old | old cpu | new cpu | new/old |",
             "| --- | ---: | ---: | ---: | ---: | ---: | ---: |"]
    for key, old_wall, old_cpu, new_wall, new_cpu in krel_rows:
        if old_wall is None:
            lines.append("| %s | outputs differ | | | | | |" % key)
            continue
        lines.append("| %s | %.1f ms | %.1f ms | %.3f | %.1f ms | %.1f ms | %.3f |" % (
            key, old_wall * 1e3, new_wall * 1e3, new_wall / old_wall, old_cpu * 1e3,
            new_cpu * 1e3, new_cpu / old_cpu if old_cpu else 1.0))
    lines += ["", "## In process (processor time, median of %d turns of each program)" % turns, "",
              "| benchmark | old | new | new/old |", "| --- | ---: | ---: | ---: |"]
    for case, old_ns, new_ns in bench_rows:
        lines.append("| %s | %.0f ns | %.0f ns | %.3f |" % (case, old_ns, new_ns, new_ns / old_ns))
    if counted_rows:
        lines += ["", "## Instructions of one run (valgrind --tool=callgrind)", "",
                  "| case | old | new | new/old |", "| --- | ---: | ---: | ---: |"]
        for key, old_count, new_count in counted_rows:
            lines.append("| %s | %s | %s | %.4f |" % (key, format(old_count, ","),
                                                     format(new_count, ","), new_count / old_count))
    path.write_text("\n".join(lines) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--old", required=True, type=Path)
    parser.add_argument("--new", required=True, type=Path)
    parser.add_argument("--work", required=True, type=Path)
    parser.add_argument("--out", required=True, type=Path)
    parser.add_argument("--rounds", type=int, default=9, help="turns of each krel command")
    parser.add_argument("--turns", type=int, default=3, help="turns of each benchmark program")
    parser.add_argument("--skip-benchmarks", action="store_true")
    parser.add_argument("--instructions", action="store_true",
                        help="also count each krel command's instructions under callgrind")
    args = parser.parse_args()
    args.work.mkdir(parents=True, exist_ok=True)
    load = load_average()
    krel_rows = compare_krel(args.old.resolve(), args.new.resolve(), args.work, args.rounds)
    bench_rows = [] if args.skip_benchmarks else compare_benchmarks(
        args.old.resolve(), args.new.resolve(), args.turns, 3)
    counted_rows = compare_instructions(args.old.resolve(), args.new.resolve(),
                                        args.work) if args.instructions else []
    report(args.out, args.old, args.new, krel_rows, bench_rows, counted_rows, args.rounds,
           args.turns, load)
    print("report written to %s" % args.out, flush=True)


if __name__ == "__main__":
    main()
