#!/usr/bin/python3
"""Times krel.HostSet against ClusterShell's NodeSet, in-process, on the same
work, after checking that both give the same result.

    bench/compare_nodeset.py [--quick] [--module-dir DIR] [--out FILE]

Work (the sizes shrink by 10x with --quick):
  fold      a shuffled list of 10^5 and of 10^6 names in, the folded text out
            (krel: join the list and parse it; NodeSet: NodeSet.fromlist);
  difference  "n[1-10000000]" minus one name, folded;
  len       len() of "n[1-1000000000]" (which NodeSet refuses: it allows
            ranges of fewer than 10^9 values) and of the same count in two
            dimensions, "n[1-1000000]c[1-1000]", which it answers.

krel is timed in this process (best of several runs). Every NodeSet run goes
to a child process with a memory limit (--memory-gib, default 4) and a time
limit (--timeout, default 300 s), so that the machine stays usable: NodeSet
keeps every number of a range in a Python set, which for 10^9 names needs
tens of GB. A run that hits a limit is reported as such, and the speed-up is
then a lower bound; a refusal is reported with NodeSet's message. The
target is krel at least 20x faster on every row.

The module is taken from --module-dir (default build/release/python, the
release build's package folder), else from the Python path. Needs Debian's
clustershell package. Not part of the test command.
"""

import argparse
import hashlib
import json
import os
import platform
import random
import resource
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
TARGET = 20.0


def shuffled_names(count, width, high, seed):
    """`count` distinct names "node<number>" of numbers 1..high, zero-padded
    to `width`, in random order."""
    r = random.Random(seed)
    numbers = r.sample(range(1, high + 1), count) if high > count else list(range(1, count + 1))
    r.shuffle(numbers)
    return [f"node{n:0{width}d}" for n in numbers]


def cases(quick):
    scale = 10 if quick else 1
    small, large = 10**5 // scale, 10**6 // scale
    big_range = 10**7 // scale
    huge_range = 10**9 // scale
    return [
        {"id": "fold-small", "work": f"fold {small:,} shuffled names (random numbers of 1..{small * 10:,})",
         "kind": "fold", "count": small, "width": 7, "high": small * 10},
        {"id": "fold-large", "work": f"fold {large:,} shuffled names node{1:07d} .. node{large:07d}",
         "kind": "fold", "count": large, "width": 7, "high": large},
        {"id": "difference", "work": f'"n[1-{big_range}]" minus "n5", folded',
         "kind": "difference", "notation": f"n[1-{big_range}]", "remove": "n5"},
        {"id": "len", "work": f'len("n[1-{huge_range}]")', "kind": "len",
         "notation": f"n[1-{huge_range}]"},
        {"id": "len-2d", "work": f'len("n[1-{huge_range // 1000}]c[1-1000]"), {huge_range:,} names',
         "kind": "len", "notation": f"n[1-{huge_range // 1000}]c[1-1000]"},
    ]


def run_case(case, make_set, fold, repeat):
    """Runs one case with the given library; returns (best seconds, result)."""
    if case["kind"] == "fold":
        names = shuffled_names(case["count"], case["width"], case["high"], seed=1)

        def work():
            return fold(make_set(names))
    elif case["kind"] == "difference":
        def work():
            return fold(make_set(case["notation"]) - make_set(case["remove"]))
    else:
        def work():
            return len(make_set(case["notation"]))
    best, result = None, None
    for _ in range(repeat):
        start = time.perf_counter()
        result = work()
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    return best, result


def digest(result):
    if isinstance(result, str):
        return {"length": len(result), "sha256": hashlib.sha256(result.encode()).hexdigest(),
                "head": result[:60]}
    return {"value": result}


def nodeset_worker(case_json, memory_gib):
    limit = int(memory_gib * 2**30)
    resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
    from ClusterShell.NodeSet import NodeSet

    def make_set(value):
        return NodeSet.fromlist(value) if isinstance(value, list) else NodeSet(value)

    case = json.loads(case_json)
    try:
        seconds, result = run_case(case, make_set, str, repeat=1)
    except MemoryError:
        print(json.dumps({"error": "MemoryError"}))
        return
    print(json.dumps({"seconds": seconds, "result": digest(result)}))


def run_nodeset(case, memory_gib, timeout):
    start = time.perf_counter()
    try:
        child = subprocess.run(
            [sys.executable, os.path.abspath(__file__), "--nodeset-worker", json.dumps(case),
             "--memory-gib", str(memory_gib)],
            capture_output=True, text=True, timeout=timeout)
    except subprocess.TimeoutExpired:
        return {"error": f"timeout after {timeout} s", "after": timeout}
    after = time.perf_counter() - start
    lines = child.stdout.strip().splitlines()
    if child.returncode != 0 or not lines:
        last = (child.stderr.strip().splitlines() or ["no message"])[-1]
        return {"refused": f"refused: {last}", "after": after}
    outcome = json.loads(lines[-1])
    if "error" in outcome:
        outcome["error"] += f" at the {memory_gib} GiB limit"
        outcome["after"] = after
    return outcome


def seconds_text(seconds):
    if seconds >= 1:
        return f"{seconds:.2f} s"
    if seconds >= 1e-3:
        return f"{seconds * 1e3:.2f} ms"
    return f"{seconds * 1e6:.1f} us"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--quick", action="store_true", help="sizes 10x smaller")
    parser.add_argument("--module-dir", default=os.path.join(ROOT, "build", "release", "python"))
    parser.add_argument("--memory-gib", type=float, default=4.0)
    parser.add_argument("--timeout", type=float, default=300.0)
    parser.add_argument("--repeat", type=int, default=5, help="krel runs per case (best kept)")
    parser.add_argument("--out", help="also write the report (Markdown) to this file")
    parser.add_argument("--nodeset-worker", help=argparse.SUPPRESS)
    args = parser.parse_args()
    if args.nodeset_worker:
        nodeset_worker(args.nodeset_worker, args.memory_gib)
        return 0

    if os.path.isdir(os.path.join(args.module_dir, "krel")):
        sys.path.insert(0, args.module_dir)
    import krel
    import ClusterShell

    def make_set(value):
        return krel.HostSet("\n".join(value) if isinstance(value, list) else value)

    rows, failures = [], 0
    for case in cases(args.quick):
        print(f"... {case['work']}", file=sys.stderr, flush=True)
        krel_seconds, krel_result = run_case(case, make_set, str, args.repeat)
        theirs = run_nodeset(case, args.memory_gib, args.timeout)
        if "refused" in theirs:
            nodeset_text = f"**{theirs['refused']}** (after {seconds_text(theirs['after'])})"
            ratio, ratio_text = None, "--"
        elif "error" in theirs:
            nodeset_text = f"**{theirs['error']}** (after {seconds_text(theirs['after'])})"
            ratio = theirs["after"] / krel_seconds
            ratio_text = f"> {ratio:,.0f}x"
        elif theirs["result"] != digest(krel_result):
            print(f"FAIL: results differ on {case['work']}:\n  krel    {digest(krel_result)}\n"
                  f"  NodeSet {theirs['result']}", file=sys.stderr)
            return 1
        else:
            nodeset_text = seconds_text(theirs["seconds"])
            ratio = theirs["seconds"] / krel_seconds
            ratio_text = f"{ratio:,.0f}x"
        met = ratio is None or ratio >= TARGET
        failures += not met
        verdict = "(no NodeSet figure)" if ratio is None else "yes" if met else "**no**"
        rows.append(f"| {case['work']} | {seconds_text(krel_seconds)} | {nodeset_text} | "
                    f"{ratio_text} | {verdict} |")

    load = os.getloadavg()[0]
    module_file = krel.__file__
    if module_file.startswith(ROOT + os.sep):
        module_file = os.path.relpath(module_file, ROOT)
    report = [
        "# krel.HostSet beside ClusterShell's NodeSet (Python, in-process)",
        "",
        f"Written by `bench/compare_nodeset.py{' --quick' if args.quick else ''}` on "
        f"{time.strftime('%Y-%m-%d')}. krel {krel.__version__} ({module_file}); ClusterShell "
        f"{ClusterShell.__version__}; Python {platform.python_version()}; "
        f"{os.cpu_count()} cores, load average {load:.2f}. krel: best of {args.repeat} runs; "
        f"NodeSet: one run in a child process limited to {args.memory_gib:g} GiB and "
        f"{args.timeout:g} s. Both results were checked to be identical before timing counted.",
        "",
        f"| work | krel.HostSet | NodeSet | speed-up | >= {TARGET:g}x |",
        "|---|---|---|---|---|",
        *rows,
    ]
    text = "\n".join(report) + "\n"
    print(text)
    if args.out:
        with open(args.out, "w", encoding="utf-8") as out:
            out.write(text)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
