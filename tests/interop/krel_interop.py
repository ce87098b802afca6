#!/usr/bin/python3
"""Reads what krel writes with the peers, and what the peers write with krel.

    krel_interop.py PATH_TO_KREL

For every input set (the inputs of bench/compare-peers.sh, the padding cases,
shuffled xnames, random sets), `krel fold` folds the names, and
`nodeset -e` and `scontrol show hostnames` must read that fold back as
exactly the input's names. scontrol cannot read a piece with text after its
last bracket ("r[1-2]c1") nor a range of more than 65,536 names; such pieces
are left to nodeset alone, and counted. The other way round, the folds that
`nodeset -f` and `scontrol show hostlist` write are read by `krel expand`,
which must list exactly the names the peer lists for the same text
(`nodeset -e`, `scontrol show hostnames`), in the peer's order too: the
written order for scontrol, the sorted order for nodeset (for names with one
number; nodeset's order of names with several is that of its own fold).

scontrol runs offline: SLURM_CONF names a minimal slurm.conf written here.
The peers are the Debian packages clustershell and slurm-client; a missing
peer fails the stage when the environment variable CI is set, and skips it
(exit status 77) otherwise.
"""

import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "support"))
sys.dont_write_bytecode = True  # no __pycache__ in the source tree
import host_lists  # noqa: E402  the inputs of the speed comparison

# Linux refuses one argument of 128 KiB; scontrol takes its list as one, so
# longer lists go to it in parts, and a longer piece cannot go at all.
ARGUMENT_BYTES = 100_000
# scontrol refuses a range of more names than this ("Too many hosts in range").
SCONTROL_MAX_RANGE = 65_536

# The exit status of a run skipped for want of the peers (CTest's
# SKIP_RETURN_CODE of the test).
SKIPPED = 77

failures = []
counts = {"sets": 0, "names": 0, "pieces": 0, "scontrol skipped, text after the last bracket": 0,
          "scontrol skipped, range above 65,536 names": 0,
          "scontrol skipped, a piece too long for one argument": 0, "peer folds read": 0,
          "scontrol hostlists scontrol cannot read": 0, "expressions": 0, "option texts": 0}


def fail(message):
    failures.append(message)
    print("FAIL: " + message, file=sys.stderr, flush=True)


def run(command, stdin_text=None, env=None, quiet=False):
    """Standard output of command; a failure is reported (unless quiet) and
    gives None."""
    result = subprocess.run(command, input=stdin_text, capture_output=True, text=True,
                            encoding="latin-1", env=env)
    if result.returncode != 0:
        if quiet:
            return None
        fail("%s exited with %d: %s" % (" ".join(command)[:200], result.returncode,
                                        result.stderr.strip()[:300]))
        return None
    return result.stdout


def pieces_of(notation):
    """The pieces of a notation: its parts between commas outside brackets."""
    pieces, depth, start = [], 0, 0
    for i, char in enumerate(notation):
        if char == "[":
            depth += 1
        elif char == "]":
            depth -= 1
        elif char == "," and depth == 0:
            pieces.append(notation[start:i])
            start = i + 1
    pieces.append(notation[start:])
    return [piece for piece in pieces if piece]


RANGE_RE = re.compile(r"(\d+)-(\d+)(?:/(\d+))?")


def scontrol_cannot_read(piece):
    """Why scontrol cannot read piece, or None."""
    if "]" in piece and not piece.endswith("]"):
        return "scontrol skipped, text after the last bracket"
    if len(piece) >= ARGUMENT_BYTES:
        return "scontrol skipped, a piece too long for one argument"
    for low, high, _ in RANGE_RE.findall(piece):
        if int(high) - int(low) + 1 > SCONTROL_MAX_RANGE:
            return "scontrol skipped, range above 65,536 names"
    return None


def chunks(pieces):
    """Pieces joined by commas, in texts of at most ARGUMENT_BYTES."""
    chunk, size = [], 0
    for piece in pieces:
        if chunk and size + len(piece) + 1 > ARGUMENT_BYTES:
            yield ",".join(chunk)
            chunk, size = [], 0
        chunk.append(piece)
        size += len(piece) + 1
    if chunk:
        yield ",".join(chunk)


class Peers:
    def __init__(self, krel, work):
        self.krel = krel
        conf = work / "slurm.conf"
        conf.write_text("ClusterName=interop\n"
                        "SlurmctldHost=localhost\n"
                        "NodeName=n1 CPUs=1 State=UNKNOWN\n"
                        "PartitionName=debug Nodes=n1 Default=YES State=UP\n")
        self.env = dict(os.environ, SLURM_CONF=str(conf), LC_ALL="C")

    def nodeset_expand(self, notation):
        out = run(["nodeset", "-e"], notation + "\n", self.env)
        return None if out is None else out.split()

    def nodeset_fold(self, names):
        out = run(["nodeset", "-f"], "\n".join(names) + "\n", self.env)
        return None if out is None else out.strip()

    def scontrol(self, what, notation, quiet=False):
        return run(["scontrol", "show", what, notation], env=self.env, quiet=quiet)

    def krel_fold(self, names):
        out = run([self.krel, "fold"], "\n".join(names) + "\n", self.env)
        return None if out is None else out.rstrip("\n")

    def krel_expand(self, notation, *options):
        out = run([self.krel, "expand", *options], notation + "\n", self.env)
        return None if out is None else out.split("\n")[:-1]


def check_fold_read_back(peers, label, names):
    """krel's fold of names, read by nodeset and scontrol."""
    expected = sorted(set(names))
    counts["sets"] += 1
    counts["names"] += len(expected)
    fold = peers.krel_fold(names)
    if fold is None:
        return
    pieces = pieces_of(fold)
    counts["pieces"] += len(pieces)

    read = peers.nodeset_expand(fold)
    if read is not None and (len(read) != len(expected) or sorted(read) != expected):
        fail("%s: nodeset -e reads %d names from krel's fold, %d were folded (%s)" % (
            label, len(read), len(expected), fold[:120]))

    readable, left = [], []
    for piece in pieces:
        reason = scontrol_cannot_read(piece)
        if reason is None:
            readable.append(piece)
        else:
            counts[reason] += 1
            left.append(piece)
    read = []
    for text in chunks(readable):
        out = peers.scontrol("hostnames", text)
        if out is None:
            return
        read.extend(out.split())
    if left:
        rest = peers.nodeset_expand(",".join(left))
        if rest is None:
            return
        read.extend(rest)
    if len(read) != len(expected) or sorted(read) != expected:
        fail("%s: scontrol show hostnames (with nodeset for %d pieces) reads %d names from "
             "krel's fold, %d were folded (%s)" % (label, len(left), len(read), len(expected),
                                                   fold[:120]))


DIGITS_RE = re.compile(r"[0-9]+")


def one_number_each(names):
    return all(len(DIGITS_RE.findall(name)) <= 1 for name in names)


def check_peer_folds_read(peers, label, names):
    """The folds nodeset and scontrol write, read by krel expand."""
    folded = peers.nodeset_fold(names)
    if folded is not None:
        counts["peer folds read"] += 1
        theirs = peers.nodeset_expand(folded)
        ours = peers.krel_expand(folded, "--sort")
        # nodeset lists a set of names with one number each in order, by
        # width, then value; names with several numbers come in the order of
        # its own n-dimensional fold, so only their set is compared.
        if theirs is not None and ours is not None and not one_number_each(names):
            theirs, ours = sorted(theirs), sorted(ours)
        if theirs is not None and ours != theirs:
            fail("%s: krel expand --sort and nodeset -e read nodeset's fold differently (%s)" %
                 (label, folded[:120]))
        ours = peers.krel_expand(folded)
        if ours is not None and sorted(ours) != sorted(set(names)):
            fail("%s: krel expand does not read nodeset's fold as the names folded (%s)" %
                 (label, folded[:120]))
    # scontrol takes the names as one argument: a chunk at a time.
    for text in chunks(sorted(set(names))):
        out = peers.scontrol("hostlist", text)
        if out is None:
            return
        folded = out.strip()
        # scontrol writes text after a bracket ("gpu[1-2]-ib"), which it
        # cannot read itself; krel reads it, but there is nothing to
        # compare with.
        theirs = peers.scontrol("hostnames", folded, quiet=True)
        if theirs is None:
            counts["scontrol hostlists scontrol cannot read"] += 1
            continue
        counts["peer folds read"] += 1
        ours = peers.krel_expand(folded)
        if ours != theirs.split():
            fail("%s: krel expand and scontrol show hostnames read scontrol's hostlist "
                 "differently (%s)" % (label, folded[:120]))


PADDING_CASES = {
    "node001 .. node150": ["node%03d" % i for i in range(1, 151)],
    "cn09 cn010": ["cn09", "cn010"],
    "cn8 cn09 cn10": ["cn8", "cn09", "cn10"],
    "cn1 cn01 cn001": ["cn1", "cn01", "cn001"],
    "n8 n9 n10 n010 n011": ["n8", "n9", "n10", "n010", "n011"],
    "listserv3 listserv01": ["listserv3", "listserv01"],
    "zeros": ["n0", "n00", "n000", "n1", "n01", "n10", "n010"],
    "width boundaries": ["x%d" % i for i in range(95, 105)] + ["x%03d" % i for i in range(95, 105)],
    "plain numbers": [str(i) for i in range(0, 21)] + ["007", "08"],
    "mixed texts": ["login1", "login2", "admin", "node-a1", "node-b1", "gpu1-ib", "gpu2-ib"],
    "report notation pieces": ["cn0000009", "cn0000010", "cn0000099", "cn0000100", "cn5"],
}


def xnames(cabinets, nodes):
    return ["x%dc%ds%db%dn%d" % (x, c, s, b, n)
            for x in range(1000, 1000 + cabinets) for c in range(8) for s in range(8)
            for b in range(2) for n in range(nodes)]


def random_set(seed):
    """A few hundred to a few thousand names of one to three patterns, with
    padding, width changes, holes and text after the numbers."""
    rng = random.Random(seed)
    names = set()
    texts = ["n", "node", "cn", "r", "x", "login", "gpu-", "c", "s", "b", "p"]
    for _ in range(rng.randint(1, 3)):
        positions = rng.randint(0, 3)
        parts = [rng.choice(texts)]
        numbers = []
        for _ in range(positions):
            style = rng.choice(["plain", "padded", "mixed"])
            low = rng.choice([0, 1, 7, 95])
            span = rng.randint(1, 30)
            numbers.append((style, low, span, rng.randint(2, 4)))
        tail = rng.choice(["", "", "-eth", "b", "-ib"])
        density = rng.choice([0.2, 0.5, 0.9, 1.0])
        for _ in range(rng.randint(50, 1500)):
            name = parts[0]
            for i, (style, low, span, width) in enumerate(numbers):
                value = rng.randint(low, low + span)
                if style == "padded" or (style == "mixed" and rng.random() < 0.5):
                    name += "%0*d" % (width, value)
                else:
                    name += str(value)
                if i + 1 < len(numbers):
                    name += rng.choice(["c", "s", "-", "n"])
            name += tail
            if rng.random() < density:
                names.add(name)
    names = sorted(names)
    rng.shuffle(names)
    return names


def random_operand(rng):
    """An operand nodeset and krel read alike: a name, a range, a step."""
    prefix = rng.choice(["n", "m", "cn"])
    low = rng.randint(1, 30)
    high = low + rng.randint(0, 30)
    shape = rng.randint(0, 4)
    if shape == 0:
        return "%s%d" % (prefix, low)
    if shape == 1:
        return "%s[%d-%d]" % (prefix, low, high)
    if shape == 2:
        return "%s[%d-%d/%d]" % (prefix, low, high, rng.randint(2, 4))
    if shape == 3:
        return "%s[%02d-%02d]" % (prefix, low, high)
    return "%s[%d,%d-%d]" % (prefix, low, high + 2, high + 5)


def random_expression(rng):
    """Operands joined by operators, blanks around some of them (nodeset
    takes blanks around an operator, not between two operands)."""
    text = random_operand(rng)
    for _ in range(rng.randint(1, 5)):
        operator = rng.choice([",", "!", "&", "^"])
        blank = " " if operator != "," and rng.random() < 0.3 else ""
        text += blank + operator + blank + random_operand(rng)
    return text


def check_expressions(peers):
    """Set expressions and the operations in command-line order, read by
    krel and by nodeset: the same names. Then -O, --autostep and escaped
    separators: the same text."""
    def same_set(label, krel_args, nodeset_args):
        counts["expressions"] += 1
        mine = run([peers.krel, "expand", *krel_args], env=peers.env)
        theirs = run(["nodeset", "-e", "-S", "\\n", *nodeset_args], env=peers.env)
        if mine is None or theirs is None:
            return
        if set(mine.split()) != set(theirs.split()):
            fail("%s: krel %s gives %s, nodeset %s" % (label, krel_args, mine.split()[:8],
                                                      theirs.split()[:8]))

    def same_text(label, krel_args, nodeset_args):
        counts["option texts"] += 1
        mine = run([peers.krel, *krel_args], env=peers.env)
        theirs = run(["nodeset", *nodeset_args], env=peers.env)
        if mine is not None and theirs is not None and mine != theirs:
            fail("%s: krel %r, nodeset %r" % (label, mine, theirs))

    for expression in ["n[1-5],n7!n[2-7]", "n[1-5]!n3", "node[1-10]&node[5-20]",
                       "n[1-3]^n[2-5]", "n1 ! n2", "n[1-3] & n2", "n1&n2,n3", "a@b"]:
        same_set("expression %r" % expression, ["--sort", expression], [expression])
    rng = random.Random(19)
    for _ in range(300):
        expression = random_expression(rng)
        same_set("random expression %r" % expression, ["--sort", expression], [expression])
    for _ in range(40):
        words = [random_operand(rng)]
        for _ in range(rng.randint(1, 4)):
            if rng.random() < 0.6:
                words += [rng.choice(["-x", "-i", "-X"]), random_operand(rng)]
            else:
                words.append(random_operand(rng))
        same_set("command-line order %r" % words, words, words)
    for options in (["-O", "<%s>"], ["-O", "%%%s.ib"], ["--autostep", "auto"],
                    ["--autostep", "50%"], ["--autostep", "3"]):
        for text in ("n[1,3,5,7,9,11],m[1-3],x[2,4,6]", "n[1,3,5,7]", "n[1-3],m5"):
            same_text("fold %s %s" % (" ".join(options), text), ["fold", *options, text],
                      ["-f", *options, text])
    same_text("expand -O", ["expand", "-O", "x%sy", "-s", " ", "n[1-3]"],
              ["-e", "-O", "x%sy", "n[1-3]"])
    same_text("expand -s \\t", ["expand", "-s", "\\t", "n[1-3]"], ["-e", "-S", "\\t", "n[1-3]"])
    same_text("count -O", ["count", "-O", "c=%s", "n[1-3]!n2"], ["-c", "-O", "c=%s", "n[1-3]!n2"])


def main():
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    krel = str(Path(sys.argv[1]).resolve())
    missing = [tool for tool in ("nodeset", "scontrol") if shutil.which(tool) is None]
    if missing:
        # As the other interop suites: a failure in CI, where the peers must
        # run, a skip (the exit status CTest is told to take as one) elsewhere.
        verdict = "FAIL" if os.environ.get("CI") else "SKIP"
        print("%s: %s not installed: scripts/install-deps.sh installs clustershell and "
              "slurm-client" % (verdict, " and ".join(missing)), file=sys.stderr)
        return 1 if os.environ.get("CI") else SKIPPED
    with tempfile.TemporaryDirectory() as work:
        peers = Peers(krel, Path(work))
        check_expressions(peers)
        for label, names in PADDING_CASES.items():
            check_fold_read_back(peers, label, names)
            check_peer_folds_read(peers, label, names)
        rng = random.Random(13)
        shuffled = xnames(64, 4)
        rng.shuffle(shuffled)
        check_fold_read_back(peers, "32,768 shuffled xnames", shuffled)
        fold = peers.krel_fold(shuffled)
        if fold != "x[1000-1063]c[0-7]s[0-7]b[0-1]n[0-3]":
            fail("the 32,768 xnames fold to %r" % (fold or "")[:120])
        check_peer_folds_read(peers, "4,096 xnames", xnames(8, 4))
        for seed in range(40):
            names = random_set(seed)
            check_fold_read_back(peers, "random set %d" % seed, names)
            if seed % 4 == 0:
                check_peer_folds_read(peers, "random set %d" % seed, names)
        for key, names in host_lists.peer_names(host_lists.FULL_SIZE).items():
            check_fold_read_back(peers, "benchmark input %s" % key, names)
            if key == "rack":
                check_peer_folds_read(peers, "benchmark input %s" % key, names)
    print("; ".join("%s: %s" % (key, format(value, ",")) for key, value in counts.items()))
    print("%d failures" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
