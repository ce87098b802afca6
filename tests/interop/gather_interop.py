#!/usr/bin/python3
"""`krel gather` beside dshbak (pdsh) and clubak (clustershell), as processes.

    gather_interop.py PATH_TO_KREL [RANDOM_INPUTS]

For fixed inputs (the peers' formats, carriage returns, bytes that are not
UTF-8, digit-only ranks, long lines) and seeded random ones (node sets over
several name patterns, random messages, random interleaving), every view is
compared with its peer:

    krel gather --style dshbak               dshbak -c
    krel gather --style dshbak --per-node    dshbak
    krel gather --style clubak               clubak -b
    krel gather --style clubak -L            clubak -bL
    krel gather --style clubak --per-node    clubak
    krel gather --style clubak --per-node -L clubak -L

Byte for byte where the page can be the same. Where it legitimately is not,
block for block: the same headers as sets of names (read with ClusterShell's
NodeSet), the same lines, and the peer's own order kept (clubak: larger
groups first; dshbak: by the number ending the first name, its ties falling
at random from run to run). The counts of each kind of match are printed.

A missing peer fails the stage when CI is set and skips it (exit 77)
otherwise.
"""

import os
import random
import re
import shutil
import subprocess
import sys

SEED = 21
SKIP = 77

failures = []
counts = {}


def count(kind):
    counts[kind] = counts.get(kind, 0) + 1


def fail(message):
    failures.append(message)
    print("FAIL: " + message, file=sys.stderr, flush=True)


def run(command, data):
    result = subprocess.run(command, input=data, capture_output=True)
    return result.returncode, result.stdout, result.stderr


# --------------------------------------------------------------------------
# Pages read back into blocks


def blocks_of(page, rule, line_prefix):
    """[(header, [lines])] of a page; with line_prefix, "header: text" lines
    joined into one block per run of equal headers."""
    blocks = []
    if line_prefix:
        for line in page.split(b"\n")[:-1]:
            header, _, text = line.partition(b": ")
            if blocks and blocks[-1][0] == header:
                blocks[-1][1].append(text)
            else:
                blocks.append((header, [text]))
        return blocks
    lines = page.split(b"\n")[:-1]
    at = 0
    while at < len(lines):
        if lines[at] != rule or at + 2 >= len(lines) or lines[at + 2] != rule:
            raise ValueError("no header at line %d" % (at + 1))
        header, at = lines[at + 1], at + 3
        text = []
        while at < len(lines) and lines[at] != rule:
            text.append(lines[at])
            at += 1
        blocks.append((header, text))
    return blocks


def names_of(header):
    from ClusterShell.NodeSet import NodeSet

    header = re.sub(rb" \(\d+\)$", b"", header).decode("latin-1")
    return frozenset(NodeSet(header))


def trailing_number(name):
    match = re.search(r"(\d+)$", name)
    return int(match.group(1)) if match else 0


def first_key(names):
    return min(trailing_number(name) for name in names)


def same_blocks(mine, peer, rule, line_prefix, style):
    """None when the pages show the same blocks in an order the peer could
    have written, else what differs."""
    try:
        a = [(names_of(h), t) for h, t in blocks_of(mine, rule, line_prefix)]
        b = [(names_of(h), t) for h, t in blocks_of(peer, rule, line_prefix)]
    except ValueError as error:
        return str(error)
    if sorted(a, key=repr) != sorted(b, key=repr):
        return "different blocks"
    if style == "clubak":
        if [len(n) for n, _ in a] != [len(n) for n, _ in b]:
            return "different order of group sizes"
    elif [first_key(n) for n, _ in a] != [first_key(n) for n, _ in b]:
        return "different order of trailing numbers"
    return None


VIEWS = [
    ("dshbak -c", ["dshbak", "-c"], ["--style", "dshbak"], False),
    ("dshbak", ["dshbak"], ["--style", "dshbak", "--per-node"], False),
    ("clubak -b", ["clubak", "-b"], ["--style", "clubak"], False),
    ("clubak -bL", ["clubak", "-bL"], ["--style", "clubak", "-L"], True),
    ("clubak", ["clubak"], ["--style", "clubak", "--per-node"], False),
    ("clubak -L", ["clubak", "-L"], ["--style", "clubak", "--per-node", "-L"], True),
]


def compare(krel, name, data, views=None):
    for view, peer_command, options, line_prefix in VIEWS:
        if views is not None and view not in views:
            continue
        style = view.split()[0]
        peer_status, peer, _ = run(peer_command, data)
        status, mine, error = run([krel, "gather"] + options, data)
        if peer_status != 0 or status != 0:
            fail("%s, %s: exit %d (peer %d) %s" % (name, view, status, peer_status, error))
            continue
        if mine == peer:
            count(view + " byte for byte")
            continue
        rule = b"-" * (16 if style == "dshbak" else 15)
        problem = same_blocks(mine, peer, rule, line_prefix, style)
        if problem is None:
            count(view + " block for block")
        else:
            fail("%s, %s: %s\n--- krel\n%s--- %s\n%s" % (name, view, problem,
                                                      mine.decode("latin-1")[:2000], view,
                                                      peer.decode("latin-1")[:2000]))


# --------------------------------------------------------------------------
# Inputs

FIXED = {
    "interleaved": b"node2: a\nnode1: a\nnode3: b\nnode1: x\nnode2: x\nnode10: a\nnode10: x\n",
    "blanks after the separator": b"x1:   three\nx2:\ttab\nx3:none\nx4: trailing  \nx5:\n",
    "carriage returns": b"n1: a\r\nn2: a\r\nn3: b\r\n",
    "not UTF-8": b"n1: \xff\xfe caf\xe9\nn2: \xff\xfe caf\xe9\nn3: \xc3\x28\n",
    "srun --label": b" 0: a\n 1: a\n 2: b\n10: a\n11: b\n",
    "separator in the text": b"n1: a: b\nn2: a: b\n",
    "padding": b"cn08: a\ncn09: a\ncn10: a\ncn100: a\n",
    "two dimensions": b"r1c1: up\nr1c2: up\nr2c1: up\nr2c2: down\n",
    "long line": b"n1: " + b"x" * 3_000_000 + b"\nn2: " + b"x" * 3_000_000 + b"\n",
}
# dshbak loses a last line without its newline; clubak reads it.
CLUBAK_ONLY = {"no last newline": b"n1: a\nn2: a\nn3: b"}

PATTERNS = ["node%d", "node%03d", "cn%d", "login%d", "%d", "r%dn%d", "gpu-%d-a"]
MESSAGES = ["5.10.0-28-amd64", "ok", "disk sdb missing", "load: 0.01 0.02", "eth0 up",
            "  indented", "Temp  45C"]


def random_input(rng):
    nodes = set()
    for pattern in rng.sample(PATTERNS, rng.randint(1, 3)):
        for _ in range(rng.randint(1, 60)):
            values = tuple(rng.randint(0, 40) for _ in range(len(re.findall(r"%\d*d", pattern))))
            nodes.add(pattern % values)
    nodes = sorted(nodes)  # a set's order changes from run to run; the seed must not
    scripts = {}
    common = [rng.sample(MESSAGES, rng.randint(1, 3)) for _ in range(rng.randint(1, 4))]
    for node in nodes:
        if rng.random() < 0.1:
            scripts[node] = ["own message of %s" % node] * rng.randint(1, 2)
        else:
            scripts[node] = list(rng.choice(common))
    # Any interleaving that keeps each node's lines in order.
    queue = [node for node in nodes for _ in scripts[node]]
    rng.shuffle(queue)
    taken = {node: 0 for node in nodes}
    lines = []
    for node in queue:
        lines.append("%s: %s\n" % (node, scripts[node][taken[node]]))
        taken[node] += 1
    return "".join(lines).encode()


def main():
    krel = sys.argv[1]
    random_inputs = int(sys.argv[2]) if len(sys.argv) > 2 else 30
    missing = [peer for peer in ("dshbak", "clubak") if shutil.which(peer) is None]
    if missing:
        message = "peers missing: %s (Debian packages pdsh, clustershell)" % " ".join(missing)
        if os.environ.get("CI"):
            print("FAIL: " + message, file=sys.stderr)
            return 1
        print("SKIP: " + message)
        return SKIP
    for name, data in FIXED.items():
        compare(krel, name, data)
    for name, data in CLUBAK_ONLY.items():
        compare(krel, name, data, views=[v[0] for v in VIEWS if v[0].startswith("clubak")])
    rng = random.Random(SEED)
    for number in range(random_inputs):
        compare(krel, "random input %d (seed %d)" % (number, SEED), random_input(rng))
    for kind in sorted(counts):
        print("%-34s %d" % (kind, counts[kind]))
    print("%d failures" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
