#!/usr/bin/env python3
"""Times the krel tool against its peers on large host lists and writes a report.

Started by bench/compare-peers.sh, which installs the peers and hyperfine and
builds krel first. On its own:

    python3 bench/compare_peers.py --krel build/release/tools/krel/krel \
        --work /tmp/krel-bench --out bench/RESULTS.md

Every input is generated here from a fixed seed, so two runs see the same
bytes. Every tool's output is checked before it is timed: the set of names (or
numbers) it stands for must be exactly the input's. The checker expands
host-list notation itself, with code that shares nothing with krel, and it
tests itself on hand-made cases before anything is measured. A tool whose
output is wrong, truncated or refused is reported as such and not timed.
"""

import argparse
import datetime
import itertools
import json
import os
import platform
import random
import re
import shlex
import shutil
import subprocess
import sys
import time
from pathlib import Path

import compare_groups

SEED = 7
SHELL = "sh"
ARG_MAX_BYTES = 128 * 1024  # Linux refuses a single argument this long (MAX_ARG_STRLEN)

# --------------------------------------------------------------------------
# Reference fold and expansion, written from the notation's rules, not from
# krel's code.

TOKEN_RE = re.compile(r"[0-9]+|[^0-9]+")
INT_MAX = 2**31 - 1


def leading_zeroes(run):
    """Padding zeros of a digit run; in "000" the last zero is the value."""
    stripped = len(run) - len(run.lstrip("0"))
    if stripped == len(run):
        return max(len(run) - 1, 0)
    return stripped


def tokenize(name):
    """Alternating text (str) and number ((value, padding)) tokens."""
    tokens = []
    for run in TOKEN_RE.findall(name):
        if run[0] in "0123456789":
            value = int(run)
            if value > INT_MAX:
                raise ValueError("number out of range in %r" % name)
            tokens.append((value, leading_zeroes(run)))
        else:
            tokens.append(run)
    return tokens


def merged_ints(values, zeroes):
    """("1-3,5", True) for 3, 1, 2, 5: ascending runs, every number padded."""
    distinct = sorted(set(values))
    pad = "0" * max(zeroes, 0)
    runs = []
    start = prev = distinct[0]
    for value in distinct[1:]:
        if value != prev + 1:
            runs.append((start, prev))
            start = value
        prev = value
    runs.append((start, prev))
    text = ",".join(
        pad + str(a) if a == b else pad + str(a) + "-" + pad + str(b) for a, b in runs
    )
    return text, len(distinct) > 1


def write_token(token):
    if isinstance(token, str):
        return token
    return "0" * token[1] + str(token[0])


def reference_fold(names, separator=", "):
    """The folded notation of names, as krel fold writes it."""
    return separator.join(reference_pieces(names))


def reference_pieces(names):
    """The pieces of the fold of names, in output order."""
    groups = {}
    for name in names:
        tokens = tokenize(name)
        shape = tuple(t if isinstance(t, str) else None for t in tokens)
        groups.setdefault(shape, []).append((name, tokens))
    pieces = []
    for members in groups.values():
        if len(members) == 1:
            pieces.append(members[0][0])
            continue
        first = members[0][1]
        numbers = [i for i, t in enumerate(first) if not isinstance(t, str)]
        idx, best = 0, 0
        for pos in numbers:
            variety = len({tokens[pos][0] for _, tokens in members})
            if variety > best:
                idx, best = pos, variety
        subgroups = {}
        for _, tokens in members:
            key = tuple(tokens[i][1] for i in numbers) + tuple(
                tokens[i][0] for i in numbers if i != idx
            )
            subgroups.setdefault(key, []).append(tokens)
        for subgroup in subgroups.values():
            head = subgroup[0]
            out = []
            for pos, token in enumerate(head):
                if pos == idx and not isinstance(token, str):
                    text, multiple = merged_ints([t[pos][0] for t in subgroup], token[1])
                    out.append("[" + text + "]" if multiple else text)
                else:
                    out.append(write_token(token))
            pieces.append("".join(out))
    pieces.sort(key=lambda p: p.encode("latin-1"))
    return pieces


BRACKET_RE = re.compile(r"(\[[^\[\]]*\])")
RANGE_ITEM_RE = re.compile(r"^([0-9]+)(?:-([0-9]+)(?:/([0-9]+))?)?$")


def split_pieces(text):
    """Pieces of a notation: cut at commas and blanks outside brackets."""
    pieces, depth, current = [], 0, []
    for char in text:
        if char == "[":
            depth += 1
        elif char == "]":
            depth -= 1
            if depth < 0:
                raise ValueError("unbalanced ']'")
        if depth == 0 and (char == "," or char.isspace()):
            if current:
                pieces.append("".join(current))
            current = []
        else:
            current.append(char)
    if depth != 0:
        raise ValueError("unbalanced '['")
    if current:
        pieces.append("".join(current))
    return pieces


def expand_bracket(body):
    """Values of a bracket body "08-10,12" as written names' digit runs."""
    values = []
    for item in body.split(","):
        match = RANGE_ITEM_RE.match(item)
        if not match:
            raise ValueError("bad range item %r" % item)
        low, high, step = match.group(1), match.group(2), int(match.group(3) or 1)
        if high is None:
            values.append(low)
            continue
        if int(low) > int(high):
            raise ValueError("descending range %r" % item)
        if step == 0:
            raise ValueError("step 0 in %r" % item)
        numbers = range(int(low), int(high) + 1, step)
        if len(low) >= len(high):
            # one width, or a wider low bound: every value padded to it
            width = len(low)
            values.extend(str(v).zfill(width) for v in numbers)
        else:
            # a narrower low bound keeps its count of zeros
            pad = "0" * leading_zeroes(low)
            values.extend(pad + str(v) for v in numbers)
    return values


def expand_notation(text):
    """Every name a notation stands for, in order, duplicates kept."""
    names = []
    for piece in split_pieces(text):
        parts = BRACKET_RE.split(piece)
        choices = []
        for i, part in enumerate(parts):
            if i % 2 == 1:
                choices.append(expand_bracket(part[1:-1]))
            elif part:
                if "[" in part or "]" in part:
                    raise ValueError("bad piece %r" % piece)
                choices.append([part])
        names.extend("".join(combo) for combo in itertools.product(*choices))
    return names


def self_test():
    """The checker proves itself on cases worked out by hand."""
    folds = [
        ([], ""),
        (["node1", "node2", "node3", "node5"], "node[1-3,5]"),
        (["node3", "node1", "node2"], "node[1-3]"),
        (["node01", "node02", "node10", "login1"], "login1, node10, node[01-02]"),
        (["cn08", "cn09", "cn10", "cn11"], "cn[08-09], cn[10-11]"),
        (["cn09", "cn010"], "cn[09-010]"),
        (["r1c1", "r1c2", "r2c1", "r2c2"], "r[1-2]c1, r[1-2]c2"),
        (["r1c1", "r1c2", "r1c3", "r2c1"], "r1c[1-3], r2c1"),
        (["a", "a"], "a"),
        (["cn1", "cn1"], "cn1"),
        (["login", "admin"], "admin, login"),
        (["cn1", "cn1x"], "cn1, cn1x"),
        (["cn007"], "cn007"),
        (["n0", "n00", "n1"], "n00, n[0-1]"),
    ]
    for names, expected in folds:
        got = reference_fold(names)
        assert got == expected, (names, got, expected)
        if names:
            assert sorted(set(expand_notation(got))) == sorted(set(names)), names
    expansions = [
        ("node[01-03,05]", ["node01", "node02", "node03", "node05"]),
        ("cn[09-010]", ["cn09", "cn010"]),
        ("cn[098-0100]", ["cn098", "cn099", "cn0100"]),
        ("r[1-2]c[1-2]", ["r1c1", "r1c2", "r2c1", "r2c2"]),
        ("login1, node[8-10]", ["login1", "node8", "node9", "node10"]),
        ("a,b c\nd", ["a", "b", "c", "d"]),
        ("x[007]", ["x007"]),
        ("n[0000001-0000003]", ["n0000001", "n0000002", "n0000003"]),
        ("n[009-11]", ["n009", "n010", "n011"]),
        ("n[1-9/4]", ["n1", "n5", "n9"]),
        ("cn[09,11,010]", ["cn09", "cn11", "cn010"]),
    ]
    for text, expected in expansions:
        got = expand_notation(text)
        assert got == expected, (text, got, expected)
    for bad in ["node[1-3", "node]1[", "n[3-1]", "n[1-x]", "n[]", "n[1-3/0]"]:
        try:
            expand_notation(bad)
        except ValueError:
            continue
        raise AssertionError("accepted %r" % bad)


# --------------------------------------------------------------------------
# Inputs.


def write_lines(path, names):
    with open(path, "w", encoding="latin-1") as out:
        out.write("\n".join(names))
        out.write("\n")


def random_words(rng, count, length):
    words = set()
    letters = "abcdefghijklmnopqrstuvwxyz"
    while len(words) < count:
        words.add("".join(rng.choice(letters) for _ in range(length)))
    return sorted(words)


class NameList:
    """A generated list of names in a file, for Bench.measure's checks."""

    def __init__(self, work, key, names):
        self.names_file = work / (key + ".names")
        self.count = len(names)
        write_lines(self.names_file, names)
        self._expected = None

    def expected(self):
        if self._expected is None:
            self._expected = set(self.names_file.read_text("latin-1").split())
        return self._expected

    def forget(self):
        self._expected = None


class Input(NameList):
    """One generated host list: names (the expected set), its fold, files."""

    def __init__(self, work, key, names, expand_text=None):
        super().__init__(work, key, names)
        self.key = key
        self.fold_file = work / (key + ".fold")
        pieces = reference_pieces(names)
        self.canonical_fold = ", ".join(pieces)  # what krel fold --report prints
        # the input of expand, with plain commas, the form every tool reads
        self.fold_text = expand_text if expand_text is not None else ",".join(pieces)
        self.fold_file.write_text(self.fold_text + "\n", encoding="latin-1")


FULL_SIZE = {"million": 1_000_000, "random": 100_000, "rack_c": 100, "words": 100_000}


def peer_names(size):
    """The names of the four host lists, shuffled with a fixed seed: a dict
    of "million", "random", "rack" and "words". Also read by the interop
    test, tests/interop/krel_interop.py."""
    rng = random.Random(SEED)
    million = ["node%07d" % i for i in range(1, size["million"] + 1)]
    rng.shuffle(million)
    numbers = rng.sample(range(1, 1_000_001), size["random"])
    rack = [
        "r%dc%dn%d" % (r, c, n)
        for r in range(1, 101)
        for c in range(1, size["rack_c"] + 1)
        for n in range(1, 11)
    ]
    rng.shuffle(rack)
    words = random_words(rng, size["words"], 10)
    rng.shuffle(words)
    return {
        "million": million,
        "random": ["cn%07d" % n for n in numbers],
        "rack": rack,
        "words": ["%s-%d" % (w, rng.randint(1, 9)) for w in words],
    }


def peer_inputs(work, size):
    """The four host lists of the comparison."""
    names = peer_names(size)
    inputs = {}
    # Folding splits runs where the padding changes (node0000009, node0000010),
    # so krel's fold has one piece per width; expand gets the usual hand-written
    # fixed-width form instead.
    hand_written = "node[0000001-%07d]" % size["million"]
    inputs["million"] = Input(work, "million", names["million"], hand_written)
    for key in ("random", "rack", "words"):
        inputs[key] = Input(work, key, names[key])
    return inputs


# --------------------------------------------------------------------------
# Running, checking and timing one command.


def human_time(seconds):
    if seconds is None:
        return "--"
    if seconds < 1:
        return "%.1f ms" % (seconds * 1000) if seconds < 0.1 else "%.0f ms" % (seconds * 1000)
    return "%.2f s" % seconds if seconds < 10 else "%.1f s" % seconds


def run_once(command, out_path, work):
    """Runs command once under /usr/bin/time; (exit, seconds, peak KiB, stderr)."""
    stats = work / "time.txt"
    err = work / "stderr.txt"
    with open(out_path, "wb") as out, open(err, "wb") as errors:
        status = subprocess.call(
            ["/usr/bin/time", "-f", "%e %M", "-o", str(stats), SHELL, "-c", command],
            stdout=out,
            stderr=errors,
        )
    fields = stats.read_text().split()
    # /usr/bin/time writes "Command exited with non-zero status N" first when N != 0
    seconds, peak_kib = float(fields[-2]), int(fields[-1])
    message = err.read_text(errors="replace").strip().splitlines()
    return status, seconds, peak_kib, (message[0] if message else "")


def needs_shell(command):
    """Whether command uses redirection, substitution or an assignment."""
    first = shlex.split(command)[0]
    return any(c in command for c in "<>|$\"") or "=" in first


def hyperfine(command, first_seconds, work, quick):
    """Median, spread and runs of command, fewer runs for the slow ones."""
    if quick:
        plan = ["--warmup", "1", "--runs", "3"]
    elif first_seconds < 1:
        plan = ["--warmup", "3", "--min-runs", "15"]
    elif first_seconds < 3:
        plan = ["--warmup", "1", "--runs", "7"]
    elif first_seconds < 15:
        plan = ["--runs", "3"]  # the checked run already warmed the caches
    else:
        plan = ["--runs", "2"]
    export = work / "hyperfine.json"
    # hyperfine would subtract a shell's start-up measured on its own, which
    # is noisy next to a process of 2 ms; a command that needs a shell for its
    # redirection runs as `sh -c 'exec ...'` instead and keeps that cost
    # (about 0.7 ms here), the same for every tool.
    timed = shlex.join([SHELL, "-c", "exec " + command]) if needs_shell(command) else command
    run = subprocess.run(
        ["hyperfine", "-N", "--style", "none", "--export-json", str(export)]
        + plan
        + [timed],
        stdout=subprocess.DEVNULL,
        stderr=subprocess.PIPE,
        text=True,
    )
    if run.returncode != 0:
        raise SystemExit("hyperfine failed on %s:\n%s" % (command, run.stderr))
    result = json.loads(export.read_text())["results"][0]
    return {
        "cpu": result["user"] + result["system"],  # means: hyperfine keeps no CPU medians
        "median": result["median"],
        "min": result["min"],
        "max": result["max"],
        "runs": len(result["times"]),
    }


def compare_sets(expected, got_list, what="names"):
    """"ok" or a short statement of what is wrong with got_list."""
    got = set(got_list)
    missing = len(expected - got)
    extra = got - expected
    if not missing and not extra:
        if len(got_list) != len(got):
            return "wrong: %s duplicated names" % format(len(got_list) - len(got), ",")
        return "ok"
    if not got:
        return "wrong: no output"
    if not extra:
        return "truncated: %s of %s %s" % (format(len(got), ","), format(len(expected), ","), what)
    sample = sorted(extra)[0]
    return "wrong: %s of %s %s right, %s missing, %s not in the input (e.g. %r)" % (
        format(len(got) - len(extra), ","),
        format(len(expected), ","),
        what,
        format(missing, ","),
        format(len(extra), ","),
        sample[:40],
    )


def check_output(kind, data, out_path, tool, reference=None):
    text = out_path.read_text("latin-1")
    if kind == "fold":
        try:
            names = expand_notation(text.strip())
        except ValueError as error:
            return "wrong: unreadable notation (%s)" % error
        verdict = compare_sets(data.expected(), names)
        if verdict == "ok" and tool == "krel" and reference is not None:
            if text.rstrip("\n") != reference:
                return "wrong: the right names, but not the report notation"
        return verdict
    if kind == "lines":
        return compare_sets(data.expected(), text.split())
    if kind == "expand":
        return compare_sets(data.expected(), text.split())
    if kind == "ranges":
        produced = text.split()
        if produced == reference:
            return "ok"
        if produced == reference[: len(produced)]:
            return "truncated: %s of %s numbers" % (format(len(produced), ","), format(len(reference), ","))
        return "wrong: not the numbers 0 .. %d in order" % (len(reference) - 1)
    raise ValueError(kind)


class Bench:
    def __init__(self, work, quick):
        self.work = work
        self.quick = quick
        self.results = {}
        self.load_start = load_average()

    def measure(self, key, tool, command, kind, data=None, reference=None, arg_bytes=0):
        """Checks command's output, then times it; the result is kept under key."""
        label = "%-16s %-9s" % (key, tool)
        if arg_bytes >= ARG_MAX_BYTES:
            verdict = "refused: needs a %s KiB argument (the limit is 128 KiB)" % format(
                arg_bytes // 1024, ","
            )
            self.results[(key, tool)] = {"verdict": verdict}
            print("%s %s" % (label, verdict), flush=True)
            return self.results[(key, tool)]
        out_path = self.work / "output.txt"
        status, seconds, peak_kib, message = run_once(command, out_path, self.work)
        if out_path.stat().st_size == 0 and (status != 0 or message):
            if len(message) > 60:
                message = message[:50] + " ..."
            verdict = "refused: %s" % (message or "exit status %d" % status)
        else:
            verdict = check_output(kind, data, out_path, tool, reference)
            if verdict == "ok" and status != 0:
                verdict = "wrong: exit status %d" % status
        entry = {"verdict": verdict, "first": seconds, "peak_kib": peak_kib, "command": command}
        if kind == "fold" and verdict == "ok":
            entry["pieces"] = len(split_pieces(out_path.read_text("latin-1")))
        out_path.unlink()
        if verdict == "ok":
            entry.update(hyperfine(command, seconds, self.work, self.quick))
            print("%s ok, median %s (%d runs), peak %s MB" % (
                label, human_time(entry["median"]), entry["runs"], format(peak_kib // 1024, ",")),
                flush=True)
        else:
            print("%s %s" % (label, verdict), flush=True)
        self.results[(key, tool)] = entry
        return entry


# --------------------------------------------------------------------------
# The comparison.

PEER_ROWS = [
    # key, input, work
    ("fold-million", "million", "fold", "1,000,000 names node0000001 .. node1000000"),
    ("expand-million", "million", "expand", '"node[0000001-1000000]"'),
    ("fold-random", "random", "fold", '100,000 random numbers of 1 .. 1,000,000 as "cn%07d"'),
    ("expand-random", "random", "expand", "their fold"),
    ("fold-rack", "rack", "fold", "100,000 rack names r1c1n1 .. r100c100n10"),
    ("expand-rack", "rack", "expand", "their fold"),
    ("fold-words", "words", "fold", '100,000 all-different texts, "<10 letters>-<1..9>"'),
    ("expand-words", "words", "expand", "their fold"),
]


def run_peers(bench, krel, inputs):
    q = shlex.quote
    for key, input_key, kind, _ in PEER_ROWS:
        data = inputs[input_key]
        names, fold = q(str(data.names_file)), q(str(data.fold_file))
        if kind == "fold":
            bench.measure(key, "krel", "%s fold < %s" % (q(krel), names), "fold", data)
            bench.measure(key, "krel --report", "%s fold --report < %s" % (q(krel), names), "fold",
                          data, reference=data.canonical_fold)
            bench.measure(key, "nodeset", "nodeset -f < %s" % names, "fold", data)
            bench.measure(key, "scontrol", "scontrol show hostlistsorted %s" % names, "fold", data)
            if input_key == "million":
                bench.measure(key, "sort -u", "env LC_ALL=C sort -u %s" % names, "lines", data)
        else:
            if input_key == "million":
                arg = q(data.fold_text)
                bench.measure(key, "krel", "%s expand %s" % (q(krel), arg), "expand", data)
                bench.measure(key, "nodeset", "nodeset -e %s" % arg, "expand", data)
                bench.measure(key, "scontrol", "scontrol show hostnames %s" % arg, "expand", data)
            else:
                bench.measure(key, "krel", "%s expand < %s" % (q(krel), fold), "expand", data)
                bench.measure(key, "nodeset", "nodeset -e < %s" % fold, "expand", data)
                bench.measure(key, "scontrol", 'scontrol show hostnames "$(cat %s)"' % fold,
                              "expand", data, arg_bytes=len(data.fold_text) + 1)
        data.forget()


def run_ranges(bench, krel, work, top):
    """krel ranges against nodeset -R -e and against seq, the floor."""
    range_list = "0-%d" % top
    seq_path = work / "seq.txt"
    subprocess.run("seq 0 %d > %s" % (top, shlex.quote(str(seq_path))), shell=True, check=True)
    reference = seq_path.read_text().split()
    # seq is the yardstick, so it is checked against Python's own count first
    if reference != [str(i) for i in range(top + 1)]:
        raise SystemExit("seq does not count 0 .. %d here" % top)
    seq_path.unlink()
    bench.measure("ranges", "krel", "%s ranges %s" % (shlex.quote(krel), range_list), "ranges",
                  reference=reference)
    bench.measure("ranges", "nodeset", "nodeset -R -e %s" % range_list, "ranges", reference=reference)
    bench.measure("ranges", "seq", "seq 0 %d" % top, "ranges", reference=reference)


# --------------------------------------------------------------------------
# Host sets: n-dimensional folds, counts and set operations without a list of
# names.


def xnames(cabinets, nodes):
    """HPE-style names x<cabinet>c<chassis>s<slot>b<board>n<node>."""
    return ["x%dc%ds%db%dn%d" % (x, c, s, b, n)
            for x in range(1000, 1000 + cabinets) for c in range(8) for s in range(8)
            for b in range(2) for n in range(nodes)]


HOSTSET_ROWS = [
    # key, work, label
    ("xnames-32k", "fold", "32,768 shuffled xnames x1000c0s0b0n0 .. x1063c7s7b1n3"),
    ("xnames-1m", "fold", "1,024,000 shuffled xnames x1000c0s0b0n0 .. x1999c7s7b1n7"),
    ("count-10m", "count", '`count \'n[1-9999999]\'` (nodeset: `-c`)'),
    ("exclude-10m", "fold", '`fold \'n[1-9999999]\' -x n5` (nodeset: `-f ... -x n5`)'),
    ("count-4g", "count", "`count 'node[1-4000000000]'`"),
]


def run_hostsets(bench, krel, work, quick):
    q = shlex.quote
    rng = random.Random(SEED + 2)
    small = xnames(8 if quick else 64, 4)
    rng.shuffle(small)
    data = NameList(work, "xnames-32k", small)
    names = q(str(data.names_file))
    bench.measure("xnames-32k", "krel", "%s fold < %s" % (q(krel), names), "fold", data)
    bench.measure("xnames-32k", "nodeset", "nodeset -f < %s" % names, "fold", data)
    bench.measure("xnames-32k", "scontrol", "scontrol show hostlistsorted %s" % names, "fold", data)
    data.forget()
    large = xnames(16 if quick else 1000, 8)
    rng.shuffle(large)
    data = NameList(work, "xnames-1m", large)
    del large
    # nodeset needs minutes for these; the 32,768 show how it fares.
    bench.measure("xnames-1m", "krel", "%s fold < %s" % (q(krel), q(str(data.names_file))),
                  "fold", data)
    data.forget()
    top = 99_999 if quick else 9_999_999
    measure_exact(bench, "count-10m", "%s count 'n[1-%d]'" % (q(krel), top),
                  expected_text=str(top))
    measure_exact(bench, "count-10m", "nodeset -c 'n[1-%d]'" % top, expected_text=str(top),
                  tool="nodeset")
    excluded = "n[1-4,6-%d]" % top
    measure_exact(bench, "exclude-10m", "%s fold 'n[1-%d]' -x n5" % (q(krel), top),
                  expected_text=excluded)
    measure_exact(bench, "exclude-10m", "nodeset -f 'n[1-%d]' -x n5" % top,
                  expected_text=excluded, tool="nodeset")
    measure_exact(bench, "count-4g", "%s count 'node[1-4000000000]'" % q(krel),
                  expected_text="4000000000")


# --------------------------------------------------------------------------
# Scaling: krel alone, sizes 10^4 .. 10^7, and 10^5 names over 1 .. 10^5 texts.


def check_exact_lines(out_path, expected_lines):
    """Streams out_path against the expected lines; "ok" or what differs."""
    with open(out_path, "r", encoding="latin-1") as produced:
        count = 0
        for count, (line, want) in enumerate(itertools.zip_longest(produced, expected_lines), 1):
            if line is None or want is None or line.rstrip("\n") != want:
                return "wrong: line %s is %r, expected %r" % (format(count, ","), line, want)
    return "ok"


def measure_exact(bench, key, command, expected_text=None, expected_lines=None, tool="krel"):
    """Like Bench.measure, for outputs known exactly in advance."""
    out_path = bench.work / "output.txt"
    status, seconds, peak_kib, message = run_once(command, out_path, bench.work)
    if status != 0:
        verdict = "refused: exit status %d (%s)" % (status, message[:80])
    elif expected_text is not None:
        produced = out_path.read_text("latin-1").rstrip("\n")
        verdict = "ok" if produced == expected_text else "wrong: %r..." % produced[:60]
    else:
        verdict = check_exact_lines(out_path, expected_lines)
    out_path.unlink()
    entry = {"verdict": verdict, "first": seconds, "peak_kib": peak_kib, "command": command}
    if verdict == "ok":
        entry.update(hyperfine(command, seconds, bench.work, bench.quick))
    print("%-16s %-9s %s%s" % (key, tool, verdict, ", median %s" % human_time(entry.get("median"))
                                 if verdict == "ok" else ""), flush=True)
    bench.results[(key, tool)] = entry
    return entry


def run_scaling(bench, krel, work, sizes, texts_total, text_counts):
    q = shlex.quote
    rng = random.Random(SEED + 1)
    rows = []
    for size in sizes:
        numbers = list(range(1, size + 1))
        rng.shuffle(numbers)
        path = work / ("scale-%d.names" % size)
        with open(path, "w") as out:
            for start in range(0, size, 1 << 16):
                out.write("".join("node%d\n" % n for n in numbers[start:start + (1 << 16)]))
        del numbers
        fold = "node[1-%d]" % size
        fold_entry = measure_exact(bench, "scale-fold-%d" % size,
                                   "%s fold < %s" % (q(krel), q(str(path))), expected_text=fold)
        path.unlink()
        lines = ("node%d" % n for n in range(1, size + 1))
        expand_entry = measure_exact(bench, "scale-expand-%d" % size,
                                     "%s expand %s" % (q(krel), q(fold)), expected_lines=lines)
        rows.append((size, fold_entry, expand_entry))
    text_rows = []
    for count in text_counts:
        per_text = texts_total // count
        words = random_words(rng, count, 8)
        names = ["%s%d" % (w, n) for w in words for n in range(1, per_text + 1)]
        rng.shuffle(names)
        path = work / ("texts-%d.names" % count)
        write_lines(path, names)
        pieces = ["%s[1-%d]" % (w, per_text) if per_text > 1 else "%s1" % w for w in words]
        fold = ",".join(pieces)
        assert ", ".join(pieces) == reference_fold(names), "the fold by construction is the reference fold"
        fold_path = work / ("texts-%d.fold" % count)
        fold_path.write_text(fold + "\n")
        fold_entry = measure_exact(bench, "texts-fold-%d" % count,
                                   "%s fold < %s" % (q(krel), q(str(path))), expected_text=fold)
        lines = ("%s%d" % (w, n) for w in words for n in range(1, per_text + 1))
        expand_entry = measure_exact(bench, "texts-expand-%d" % count,
                                     "%s expand < %s" % (q(krel), q(str(fold_path))),
                                     expected_lines=lines)
        text_rows.append((count, per_text, fold_entry, expand_entry))
    return rows, text_rows


# --------------------------------------------------------------------------
# The report.


def cell(entry):
    if entry is None:
        return "--"
    if entry["verdict"] != "ok":
        return "**%s**" % entry["verdict"].replace("|", "\\|")
    return human_time(entry["median"])


def fold_cell(entry):
    """The time, and for a fold the count of pieces it wrote."""
    if entry and entry["verdict"] == "ok" and "pieces" in entry:
        return "%s, %s %s" % (cell(entry), format(entry["pieces"], ","),
                              "piece" if entry["pieces"] == 1 else "pieces")
    return cell(entry)


def speedup(ours, theirs):
    if not ours or not theirs or ours["verdict"] != "ok":
        return "--"
    if theirs["verdict"] != "ok":
        return "(%s)" % theirs["verdict"].split(":")[0]
    ratio = theirs["median"] / ours["median"]
    if ratio >= 10:
        return "%.0fx" % ratio
    return "%.1fx" % ratio if ratio >= 1 else "%.2fx (slower)" % ratio


def cpu_cell(entry):
    if not entry or entry["verdict"] != "ok":
        return "--"
    return human_time(entry["cpu"])


def per_name(entry, count, field="median"):
    if not entry or entry["verdict"] != "ok":
        return "--"
    return "%s ns" % format(round(entry[field] / count * 1e9), ",")


def target_row(work, target, entry, limit, extra=None, extra_note=""):
    """A row of the targets table; extra is (condition met, what it says)."""
    if entry is None or entry["verdict"] != "ok":
        return "| %s | %s | %s | -- | **missed** (output %s) |" % (
            work, target, "--", entry["verdict"] if entry else "not measured")
    value = entry["median"]
    misses = []
    if value > limit:
        over = value - limit
        misses.append("by %s (%.0f%% over)" % (human_time(over), over / limit * 100))
    if extra is not None and not extra[0]:
        misses.append(extra[1])
    verdict = "met" if not misses else "**missed**: " + ", ".join(misses)
    if value > limit and entry["cpu"] <= limit:
        verdict += " (its processor time is within: the machine was busy)"
    return "| %s | %s | %s%s | %s | %s |" % (
        work, target, human_time(value), extra_note, cpu_cell(entry), verdict)


def tool_version(command):
    try:
        text = subprocess.run(command, shell=True, capture_output=True, text=True, timeout=30)
        return (text.stdout + text.stderr).strip().splitlines()[0]
    except (subprocess.SubprocessError, IndexError):
        return "?"


def load_average():
    try:
        return Path("/proc/loadavg").read_text().split()[0]
    except OSError:
        return "?"


def cpu_name():
    try:
        for line in Path("/proc/cpuinfo").read_text().splitlines():
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return platform.processor() or "?"


def write_report(path, bench, krel, inputs, scaling, text_scaling, started, quick):
    r = bench.results
    lines = []
    add = lines.append
    add("# Host-list speed: krel beside its peers")
    add("")
    add("Written by `bench/compare-peers.sh` on %s (%d s of work). Whole processes, timed with "
        "hyperfine (median of the runs shown in the log; slow peers get fewer runs), "
        "release build. Every output was checked first: the set of names or numbers it stands "
        "for must be exactly the input's; a wrong, truncated or refused result is shown in bold "
        "and not timed." % (started.strftime("%Y-%m-%d"), int(time.time() - started.timestamp())))
    if quick:
        add("")
        add("**Quick mode: reduced sizes and runs; these figures are not the real comparison.**")
    add("")
    krel_version = tool_version(shlex.quote(krel) + " --version")
    if not krel_version.startswith("krel"):
        krel_version = "krel " + krel_version
    add("Machine: %s, %d cores, Linux %s. Tools: %s; %s; %s; %s." % (
        cpu_name(), os.cpu_count() or 0, platform.release(), krel_version,
        tool_version("nodeset --version"), tool_version("scontrol --version"),
        tool_version("hyperfine --version")))
    add("")
    seq = bench.results.get(("ranges", "seq"))
    sort_u = bench.results.get(("fold-million", "sort -u"))
    pace = ""
    if seq and sort_u and seq["verdict"] == "ok" and sort_u["verdict"] == "ok" and not quick:
        pace = (" The yardsticks measured %s (`seq 0 9999999`) and %s (`sort -u` of the million "
                "names) against about 80 ms and 350 ms on the quiet machine the targets were set "
                "on." % (human_time(seq["median"]), human_time(sort_u["median"])))
    niceness = os.nice(0)
    priority = (" This run had niceness %d, so that the other work gave way to it." % niceness
                if niceness < 0 else "")
    add("Load average (1 minute) at the start %s, at the end %s: the 2 cores are shared with "
        "other work, which stretches wall times; the processor times (user + system, mean) "
        "are less affected.%s%s" % (bench.load_start, load_average(), priority, pace))
    add("")
    add("## Fold and expand")
    add("")
    add("Fold reads one name per line on standard input (scontrol: the file's path, which it "
        "reads itself); expand takes the report-notation fold, with commas between pieces, on "
        "standard input (scontrol: as its argument). `krel` is the default fold, "
        "`krel --report` the suite's report notation; a fold's cell gives its count of pieces "
        "after the time.")
    add("")
    add("| input | work | krel | krel --report | nodeset | scontrol | krel vs nodeset | krel vs scontrol |")
    add("|---|---|---|---|---|---|---|---|")
    for key, input_key, kind, label in PEER_ROWS:
        if label == "their fold":
            fold = inputs[input_key].fold_text
            label = "their fold (%s pieces, %s kB)" % (
                format(len(split_pieces(fold)), ","), format(round(len(fold) / 1000), ","))
        ours, ns, sc = r.get((key, "krel")), r.get((key, "nodeset")), r.get((key, "scontrol"))
        report = r.get((key, "krel --report"))
        add("| %s | %s | %s | %s | %s | %s | %s | %s |" % (
            label, kind, fold_cell(ours), fold_cell(report), fold_cell(ns), fold_cell(sc),
            speedup(ours, ns), speedup(ours, sc)))
    ranges = [r.get(("ranges", t)) for t in ("krel", "nodeset", "seq")]
    add("| range list \"0-9999999\" | `krel ranges` / `nodeset -R -e` | %s | -- | %s | -- | %s | -- |" % (
        cell(ranges[0]), cell(ranges[1]), speedup(ranges[0], ranges[1])))
    add("")
    sort_u = r.get(("fold-million", "sort -u"))
    add("Floors: `LC_ALL=C sort -u` of the million names %s; `seq 0 9999999` %s." % (
        cell(sort_u), cell(ranges[2])))
    add("")
    memory = [(t, r.get(("fold-million", t))) for t in ("krel", "nodeset", "scontrol", "sort -u")]
    add("Peak memory (maximum resident set, `/usr/bin/time`) of the fold of 1,000,000 names: " +
        "; ".join("%s %s MB" % (t, format(e["peak_kib"] // 1024, ",")) for t, e in memory
                  if e and "peak_kib" in e) + ".")
    add("")
    add("## Host sets")
    add("")
    add("Names held as ranges: an n-dimensional fold, and counts and set operations that list "
        "no name. Fold rows give the count of pieces after the time.")
    add("")
    add("| input | work | krel | nodeset | scontrol | krel vs nodeset |")
    add("|---|---|---|---|---|---|")
    for key, kind, label in HOSTSET_ROWS:
        ours, ns, sc = r.get((key, "krel")), r.get((key, "nodeset")), r.get((key, "scontrol"))
        add("| %s | %s | %s | %s | %s | %s |" % (
            label, kind, fold_cell(ours), fold_cell(ns), fold_cell(sc), speedup(ours, ns)))
    add("")
    add("## Targets")
    add("")
    add("| work | target | measured (wall, median) | processor time | |")
    add("|---|---|---|---|---|")
    fm = r.get(("fold-million", "krel"))
    add(target_row("`krel fold` (default) of the 1,000,000 names", "<= 50 ms", fm, 0.05))
    if fm and "peak_kib" in fm:
        mb = fm["peak_kib"] / 1024
        add("| peak memory of that fold | <= 40 MB | %.0f MB | -- | %s |" % (
            mb, "met" if mb <= 40 else "**missed** by %.0f MB" % (mb - 40)))
    x32 = r.get(("xnames-32k", "krel"))
    one_piece = bool(x32 and x32.get("pieces") == 1)
    add(target_row("fold of 32,768 shuffled xnames", "<= 20 ms, 1 piece", x32, 0.02,
                   (one_piece, "not one piece")))
    x1m = r.get(("xnames-1m", "krel"))
    add(target_row("fold of 1,024,000 shuffled xnames", "<= 400 ms, 1 piece", x1m, 0.4,
                   (bool(x1m and x1m.get("pieces") == 1), "not one piece")))
    add(target_row("`krel expand 'node[0000001-1000000]'`", "<= 30 ms",
                   r.get(("expand-million", "krel")), 0.03))
    add(target_row("`krel count 'node[1-4000000000]'`", "<= 5 ms", r.get(("count-4g", "krel")), 0.005))
    add(target_row("`krel fold 'n[1-9999999]' -x n5`", "<= 5 ms", r.get(("exclude-10m", "krel")), 0.005))
    # The 100,000-name rows of krel 0.1 (bench/RESULTS.md of 2026-11-21): no slower.
    before = {"fold-random": 0.0213, "fold-rack": 0.0195, "fold-words": 0.0285,
              "expand-random": 0.0168, "expand-rack": 0.0088, "expand-words": 0.0082}
    for key, limit in before.items():
        work, input_key = key.split("-")
        add(target_row("%s 100,000 names (%s)" % (work, input_key),
                       "<= %s (krel 0.1)" % human_time(limit), r.get((key, "krel")), limit))
    within = bool(ranges[0] and ranges[2] and ranges[0]["verdict"] == "ok" and ranges[2]["verdict"] == "ok"
                  and ranges[0]["median"] <= 1.5 * ranges[2]["median"])
    note = ""
    if ranges[0] and ranges[2] and ranges[0]["verdict"] == "ok" and ranges[2]["verdict"] == "ok":
        note = " (%.2fx `seq`)" % (ranges[0]["median"] / ranges[2]["median"])
    add(target_row("`krel ranges 0-9999999`", "<= 120 ms, within 1.5x of `seq`", ranges[0], 0.12,
                   (within, "not within 1.5x of `seq`"), note))
    add("")
    lines.extend(compare_groups.report(r, cell, speedup, target_row))
    add("## Scaling (krel alone)")
    add("")
    add("Shuffled names node1 .. nodeN (fold, standard input) and their fold \"node[1-N]\" "
        "(expand, argument). Each time includes starting the process (1 to 2 ms), which "
        "dominates the smallest size.")
    add("")
    add("| names | fold | per name | processor time per name | expand | per name | processor time per name | peak memory (fold) |")
    add("|---|---|---|---|---|---|---|---|")
    for size, fold_entry, expand_entry in scaling:
        add("| %s | %s | %s | %s | %s | %s | %s | %s MB |" % (
            format(size, ","), cell(fold_entry), per_name(fold_entry, size),
            per_name(fold_entry, size, "cpu"), cell(expand_entry), per_name(expand_entry, size),
            per_name(expand_entry, size, "cpu"), format(fold_entry.get("peak_kib", 0) // 1024, ",")))
    add("")
    if text_scaling:
        total = text_scaling[0][0] * text_scaling[0][1]
        add("%s names over a growing number of different texts (\"<8 letters><n>\", n = 1 .. "
            "names per text); fold from standard input, expand of the fold from standard input." %
            format(total, ","))
        add("")
        add("| texts | names per text | fold | per name | processor time per name | expand | per name | processor time per name |")
        add("|---|---|---|---|---|---|---|---|")
        for count, per_text, fold_entry, expand_entry in text_scaling:
            add("| %s | %s | %s | %s | %s | %s | %s | %s |" % (
                format(count, ","), format(per_text, ","), cell(fold_entry), per_name(fold_entry, total),
                per_name(fold_entry, total, "cpu"), cell(expand_entry), per_name(expand_entry, total),
                per_name(expand_entry, total, "cpu")))
        add("")
    add("## Commands")
    add("")
    add("Paths shortened. Commands with a redirection run as `sh -c 'exec COMMAND'` under "
        "`hyperfine -N`, which adds the start of `sh` (under a millisecond) to every tool alike.")
    add("")
    add("```")
    keys = [row[0] for row in PEER_ROWS] + ["ranges"] + [row[0] for row in HOSTSET_ROWS]
    for key in keys:
        for tool in ("krel", "krel --report", "nodeset", "scontrol", "sort -u", "seq"):
            entry = r.get((key, tool))
            if entry and "command" in entry:
                add(re.sub(r"/\S*/", "", entry["command"]) if len(entry["command"]) < 200 else
                    entry["command"][:120] + " ...")
    for command in compare_groups.commands(r):
        add(re.sub(r"/\S*/", "", command))
    add("```")
    add("")
    notes = Path(__file__).with_name("RESULTS-notes.md")
    if notes.exists() and not quick:
        add(notes.read_text().rstrip("\n"))
        add("")
    path.write_text("\n".join(lines))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--krel", required=True)
    parser.add_argument("--work", required=True, type=Path)
    parser.add_argument("--out", required=True, type=Path)
    parser.add_argument("--quick", action="store_true", help="small sizes, few runs: tries the script")
    parser.add_argument("--groups-only", action="store_true",
                        help="only the node-group cases, their section alone in the report")
    args = parser.parse_args()
    started = datetime.datetime.now()
    self_test()
    print("checker self-test passed", flush=True)
    krel = str(Path(args.krel).resolve())
    args.work.mkdir(parents=True, exist_ok=True)
    if args.quick:
        size = {"million": 10_000, "random": 1_000, "rack_c": 10, "words": 1_000}
        scales, texts_total, text_counts, top = [10**3, 10**4], 10**4, [1, 10**2, 10**4], 99_999
    else:
        size = FULL_SIZE
        scales, texts_total, text_counts, top = [10**4, 10**5, 10**6, 10**7], 10**5, [1, 10**3, 10**5], 9_999_999
    if args.groups_only:
        bench = Bench(args.work, args.quick)
        compare_groups.run(bench, krel, args.work, measure_exact)
        args.out.write_text("\n".join(compare_groups.report(bench.results, cell, speedup, target_row)))
        print("report written to %s" % args.out, flush=True)
        return
    inputs = peer_inputs(args.work, size)
    print("inputs written to %s" % args.work, flush=True)
    bench = Bench(args.work, args.quick)
    run_peers(bench, krel, inputs)
    run_ranges(bench, krel, args.work, top)
    run_hostsets(bench, krel, args.work, args.quick)
    compare_groups.run(bench, krel, args.work, measure_exact)
    scaling, text_scaling = run_scaling(bench, krel, args.work, scales, texts_total, text_counts)
    write_report(args.out, bench, krel, inputs, scaling, text_scaling, started, args.quick)
    print("report written to %s" % args.out, flush=True)


if __name__ == "__main__":
    main()
