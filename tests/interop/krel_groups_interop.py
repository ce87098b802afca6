#!/usr/bin/python3
"""Node groups read by krel and by the peers from the same files.

    krel_groups_interop.py PATH_TO_KREL

The fixture tests/fixtures/groups/site (the cluster "atlas": a groups.conf
whose sources come from groups.d YAML files, from shell commands over flat
files and from nodeattr over a genders file, with nested groups, cycles and
empty groups) is read by `nodeset --groupsconf` and by krel:
  - every group of every source, expanded: compared as sets;
  - regrouping (`nodeset -r`, `krel fold -r`) of hand-picked and random sets
    over every source, with and without the source prefix: compared as text;
  - the listings (`nodeset -l/-ll/-lll/-L/--groupsources`, `krel groups`):
    compared as text;
  - hundreds of random expressions (operators , ! & ^, group references of
    every form, ranges): compared with `nodeset -e` as sets, and a sample of
    them with `nodeset -c`;
  - the groups of site.yaml named directly (`krel --groups`), and the
    genders file (`krel --genders`) against `nodeattr -f`.
The cycles must be refused by krel with a message naming them, without
harming the other groups, and a group name holding shell syntax must never
run anything.

The peers are the Debian packages clustershell and genders. A missing peer
fails the stage when the environment variable CI is set, and skips it
(exit status 77) otherwise.
"""

import json
import os
import random
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
SITE = HERE.parent / "fixtures" / "groups" / "site"
CONF = str(SITE / "groups.conf")
GENDERS = str(SITE / "genders")
SKIP = 77
RANDOM_EXPRESSIONS = 400
RANDOM_REGROUPS = 24
SEED = 19

# The sources of the fixture whose groups all resolve, and the one whose
# groups name themselves back on purpose.
SOURCES = ["site", "hw", "bmc", "pdu", "genders", "roles"]
CYCLES = {"ping": ["ping", "pong"], "pong": ["ping", "pong"], "selfish": ["selfish"]}

failures = []
counts = {}


def fail(message):
    failures.append(message)
    print("FAIL: " + message, file=sys.stderr, flush=True)


def count(what, by=1):
    counts[what] = counts.get(what, 0) + by


def run(command):
    """(exit status, standard output, standard error) of command."""
    result = subprocess.run(command, capture_output=True, text=True, encoding="latin-1",
                            env=dict(os.environ, LC_ALL="C"), timeout=120)
    return result.returncode, result.stdout, result.stderr.strip()


# Starting nodeset costs about 0.15 s, most of the stage's time when each
# comparison starts one. The comparisons go instead to one process that runs
# nodeset's own entry point once per command line, under nodeset's own
# interpreter; every CHECK_EVERY-th command line also runs the real command,
# and the two must answer alike.
NODESET_SERVER = r"""
import contextlib, io, json, sys
from ClusterShell.CLI.Nodeset import main
for line in sys.stdin:
    sys.argv = ["nodeset"] + json.loads(line)
    out, err = io.StringIO(), io.StringIO()
    status = 0
    with contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
        try:
            main()
        except SystemExit as stop:
            status = stop.code if isinstance(stop.code, int) else int(stop.code is not None)
    print(json.dumps([status, out.getvalue(), err.getvalue()]), flush=True)
"""
CHECK_EVERY = 50


def interpreter_of(program):
    """The interpreter named by the #! line of program."""
    with open(shutil.which(program), "rb") as script:
        first = script.readline().decode("latin-1")
    return first[2:].split() if first.startswith("#!") else [sys.executable]


class Tools:
    def __init__(self, krel):
        self.krel = krel
        self.server = subprocess.Popen(
            interpreter_of("nodeset") + ["-c", NODESET_SERVER], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, text=True, encoding="latin-1",
            env=dict(os.environ, LC_ALL="C"))
        self.calls = 0

    def nodeset(self, *arguments):
        command = ["--groupsconf", CONF, *arguments]
        self.server.stdin.write(json.dumps(command) + "\n")
        self.server.stdin.flush()
        status, out, err = json.loads(self.server.stdout.readline())
        answer = (status, out, err.strip())
        self.calls += 1
        if self.calls % CHECK_EVERY == 1:
            count("nodeset answers checked against the real command")
            real = run(["nodeset", *command])
            if real != answer:
                fail("nodeset %s: the real command answers %r, the server %r" % (
                    " ".join(command), real, answer))
        return answer

    def close(self):
        self.server.stdin.close()
        self.server.wait(timeout=60)

    def krel_tool(self, command, *arguments, files=("--groups-conf", CONF)):
        return run([self.krel, command, *files, *arguments])


def shown(command):
    return " ".join(command)[:200]


def both_succeed(label, theirs, ours):
    """Whether both runs succeeded; a failure is reported."""
    for who, result in (("the peer", theirs), ("krel", ours)):
        if result[0] != 0:
            fail("%s: %s fails: %s" % (label, who, result[2][:200]))
            return False
    return True


def expect_same_text(label, theirs, ours):
    """Both commands succeed and write the same text."""
    count("texts compared")
    if both_succeed(label, theirs, ours) and theirs[1] != ours[1]:
        fail("%s: texts differ\n--- peer\n%s--- krel\n%s" % (label, theirs[1][:2000],
                                                            ours[1][:2000]))


def expect_same_set(label, theirs, ours):
    """Both succeed and name the same hosts (white space separates names)."""
    count("sets compared")
    if not both_succeed(label, theirs, ours):
        return
    a, b = set(theirs[1].split()), set(ours[1].split())
    if a != b:
        fail("%s: sets differ: only the peer has %s; only krel has %s" % (
            label, sorted(a - b)[:8], sorted(b - a)[:8]))


def group_names(tools, source):
    status, out, err = tools.nodeset("-s", source, "-l", "-G")
    if status != 0:
        fail("nodeset -l -s %s fails: %s" % (source, err))
        return []
    return [line[1:] for line in out.split()]


def check_group_expansions(tools, groups):
    for source, names in groups.items():
        for name in names:
            reference = "@%s:%s" % (source, name)
            expect_same_set("expand %s" % reference, tools.nodeset("-e", reference),
                            tools.krel_tool("expand", reference))
        for reference in ("@%s:*" % source, "@@%s" % source):
            expect_same_set("expand %s" % reference, tools.nodeset("-e", reference),
                            tools.krel_tool("expand", reference))
        expect_same_set("every node of %s (-a)" % source, tools.nodeset("-s", source, "-a", "-e"),
                        tools.krel_tool("expand", "-a", "--group-source", source))
    for name in groups["site"]:
        expect_same_set("expand @%s (default source)" % name, tools.nodeset("-e", "@" + name),
                        tools.krel_tool("expand", "@" + name))


def check_cycles(tools):
    for name, members in CYCLES.items():
        status, _, err = tools.krel_tool("expand", "@loops:" + name)
        count("cycles refused")
        if status == 0 or not all(member in err for member in members):
            fail("krel expand @loops:%s: want a failure naming %s, got status %d: %s" % (
                name, " and ".join(members), status, err[:200]))
    expect_same_set("a cycle leaves the rest of its source alone",
                    tools.nodeset("-e", "@loops:fine,@login"),
                    tools.krel_tool("expand", "@loops:fine,@login"))
    expect_same_text("the names of a source with cycles", tools.nodeset("-s", "loops", "-l"),
                     tools.krel_tool("groups", "--group-source", "loops"))


def check_refusals(tools, work):
    """Unknown sources fail; shell syntax in a group name never runs."""
    for expression in ("@nosrc:compute", "@@nosrc"):
        status, _, err = tools.krel_tool("expand", expression)
        count("refusals")
        if status == 0 or "nosrc" not in err:
            fail("krel expand %s: want a failure naming nosrc, got %d: %s" % (expression, status,
                                                                            err[:200]))
    for source in ("hw", "bmc", "pdu", "genders"):
        witness = work / ("ran-" + source)
        for name in ("$(touch %s)" % witness, "`touch %s`" % witness, "x;touch %s" % witness,
                     "x' ; touch '%s" % witness, "x\"; touch \"%s" % witness):
            tools.krel_tool("expand", "@%s:%s" % (source, name))
            count("shell names tried")
            if witness.exists():
                fail("krel expand '@%s:%s' ran a command" % (source, name))
                witness.unlink()


def all_sources_listing(tools, prefix, nodes):
    """What `nodeset -L` writes. With NODES, nodeset 1.9.1 resolves the
    references inside another source's groups in the default source
    (@roles:staff, '@admin,@ml', comes out empty), so the listing is made of
    the per-source listings, which resolve them in their own source."""
    if not nodes:
        return tools.nodeset("-L", *prefix)
    status, out, err = tools.nodeset("--groupsources", "-q")
    texts = []
    for index, source in enumerate(out.split() if status == 0 else []):
        # nodeset cannot resolve the cycles of loops at all; its one good
        # group shares no node with the NODES listed here.
        if source == "loops":
            continue
        named = ["-s", source] if index else []
        texts.append(tools.nodeset("-l", *named, *prefix, *nodes))
    failed = [text for text in texts if text[0] != 0]
    if status != 0 or failed:
        return (status or failed[0][0], "", err or failed[0][2])
    return (0, "".join(text[1] for text in texts), "")


def check_listings(tools):
    """nodeset -l/-ll/-lll/-L/--groupsources against krel groups, as text."""
    nodes_sets = [[], ["gpu[01-02]"], ["cn[0060-0070],login1"]]
    for nodes in nodes_sets:
        for level in (1, 2, 3):
            flag = "-" + "l" * level
            for source in SOURCES:
                for prefix in ([], ["-G"]):
                    expect_same_text(
                        "nodeset %s -s %s %s" % (flag, source, " ".join(prefix + nodes)),
                        tools.nodeset(flag, "-s", source, *prefix, *nodes),
                        tools.krel_tool("groups", "--group-source", source, "--level", str(level),
                                        *prefix, *nodes))
            expect_same_text("nodeset %s %s" % (flag, " ".join(nodes)),
                             tools.nodeset(flag, *nodes),
                             tools.krel_tool("groups", "--level", str(level), *nodes))
        for prefix in ([], ["-G"]):
            expect_same_text("nodeset -L %s" % " ".join(prefix + nodes),
                             all_sources_listing(tools, prefix, nodes),
                             tools.krel_tool("groups", "-L", *prefix, *nodes))
    expect_same_text("nodeset --groupsources", tools.nodeset("--groupsources"),
                     tools.krel_tool("groups", "--sources"))
    expect_same_text("nodeset -q --groupsources", tools.nodeset("-q", "--groupsources"),
                     tools.krel_tool("groups", "--sources", "-q"))


def random_members(rng, groups):
    """A set made of a few whole groups, a few lone hosts, a few removed."""
    pieces = []
    for _ in range(rng.randint(1, 4)):
        source = rng.choice(SOURCES)
        if groups[source]:
            pieces.append("@%s:%s" % (source, rng.choice(groups[source])))
    pieces.append("cn%04d" % rng.randint(1, 128))
    text = ",".join(pieces)
    if rng.random() < 0.5:
        text += "!cn[%04d-%04d]" % tuple(sorted((rng.randint(1, 128), rng.randint(1, 128))))
    return text


def check_regroups(tools, groups):
    """nodeset -r against krel fold -r over every source, as text."""
    rng = random.Random(SEED)
    fixed = ["cn[0001-0128],login[1-2]", "cn[0001-0064],gpu[01-16]", "cn[0001-0128],gpu[01-16],"
             "io[01-08],login[1-2]", "cn[0033-0096]", "gpu[01-08],io[03-08]", "cn0001", "login1"]
    for index in range(RANDOM_REGROUPS + len(fixed)):
        if index < len(fixed):
            text = fixed[index]
        else:
            # Expanded by nodeset first: both tools regroup the same names.
            status, out, _ = tools.nodeset("-f", random_members(rng, groups))
            if status != 0 or not out.strip():
                continue
            text = out.strip()
        expect_same_text("nodeset -r %s" % text, tools.nodeset("-r", text),
                         tools.krel_tool("fold", "-r", text))
        for source in SOURCES:
            for prefix in ([], ["-G"]):
                expect_same_text("nodeset -r -s %s %s %s" % (source, " ".join(prefix), text),
                                 tools.nodeset("-r", "-s", source, *prefix, text),
                                 tools.krel_tool("fold", "-r", "--group-source", source, *prefix,
                                                 text))


def random_operand(rng, groups):
    kind = rng.random()
    if kind < 0.35:
        source = rng.choice(SOURCES)
        return "@%s:%s" % (source, rng.choice(groups[source]))
    if kind < 0.5:
        return "@" + rng.choice(groups["site"])
    if kind < 0.6:
        low = rng.randint(1, 5)
        return rng.choice(["@rack[%d-%d]" % (low, rng.randint(low, 5)),
                           "@site:rack[%d,%d]" % (low, rng.randint(low, 5)),
                           "@hw:ib_switch[1-%d]" % rng.randint(1, 3),
                           "@pdu:pdu[1-2]%s" % rng.choice("ab"), "@site:io_mds"])
    if kind < 0.66:
        return rng.choice(["@*", "@site:*", "@hw:*", "@pdu:*", "@roles:*", "@genders:*",
                           "@@pdu", "@@site", "@nosuch", "@site:nosuch", "@hw:nosuch"])
    low = rng.randint(1, 128)
    high = rng.randint(low, min(128, low + rng.choice([0, 3, 20, 60])))
    gpu = rng.randint(1, 16)
    return rng.choice(["cn[%04d-%04d]" % (low, high),
                       "cn[%04d-%04d/%d]" % (low, high, rng.randint(2, 5)),
                       "gpu[%02d-%02d]" % (gpu, rng.randint(gpu, 16)), "login%d" % (1 + low % 2),
                       "io%02d" % (1 + low % 8), "cn%04d" % low])


def random_expression(rng, groups):
    text = random_operand(rng, groups)
    for _ in range(rng.randint(1, 5)):
        text += rng.choice(",!&^,!&^,") + random_operand(rng, groups)
    return text


def check_random_expressions(tools, groups):
    rng = random.Random(SEED + 1)
    for index in range(RANDOM_EXPRESSIONS):
        expression = random_expression(rng, groups)
        expect_same_set("expression %s" % expression, tools.nodeset("-e", expression),
                        tools.krel_tool("expand", expression))
        count("random expressions")
        if index % 10 == 0:
            expect_same_text("count %s" % expression, tools.nodeset("-c", expression),
                             tools.krel_tool("count", expression))


def check_yaml_file(tools, groups):
    """site.yaml named directly: its only source, the default."""
    files = ("--groups", str(SITE / "groups.d" / "site.yaml"))
    for name in groups["site"]:
        for reference in ("@" + name, "@site:" + name):
            expect_same_set("--groups site.yaml %s" % reference, tools.nodeset("-e", "@" + name),
                            tools.krel_tool("expand", reference, files=files))
    expect_same_text("--groups site.yaml regroup", tools.nodeset("-r", "cn[0001-0128],login1"),
                     tools.krel_tool("fold", "-r", "cn[0001-0128],login1", files=files))


def check_genders(tools):
    """Each attribute and attr=value of the genders file, against nodeattr."""
    files = ("--genders", GENDERS)
    status, out, err = run(["nodeattr", "-f", GENDERS, "-l"])
    if status != 0:
        fail("nodeattr -l fails: %s" % err)
        return
    queries = []
    for attribute in out.split():
        queries.append(attribute)
        status, values, _ = run(["nodeattr", "-f", GENDERS, "-V", attribute])
        queries.extend("%s=%s" % (attribute, value) for value in sorted(set(values.split())))
    for query in queries:
        expect_same_set("--genders @%s" % query, run(["nodeattr", "-f", GENDERS, "-n", query]),
                        tools.krel_tool("expand", "@" + query, files=files))
    expect_same_set("--genders @*", run(["nodeattr", "-f", GENDERS, "-n", "-A"]),
                    tools.krel_tool("expand", "@*", files=files))
    expect_same_set("--genders @compute!@down",
                    run(["nodeattr", "-f", GENDERS, "-n", "compute--down"]),
                    tools.krel_tool("expand", "@compute!@down", files=files))


def missing_peers():
    return [tool for tool in ("nodeset", "nodeattr") if shutil.which(tool) is None]


def main():
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    missing = missing_peers()
    if missing:
        message = ("%s not installed: scripts/install-deps.sh installs clustershell and genders"
                   % " and ".join(missing))
        if os.environ.get("CI"):
            print("FAIL: " + message, file=sys.stderr)
            return 1
        print("SKIP: " + message)
        return SKIP
    tools = Tools(str(Path(sys.argv[1]).resolve()))
    groups = {source: group_names(tools, source) for source in SOURCES}
    with tempfile.TemporaryDirectory() as work:
        check_refusals(tools, Path(work))
    check_group_expansions(tools, groups)
    check_cycles(tools)
    check_yaml_file(tools, groups)
    check_genders(tools)
    check_listings(tools)
    check_regroups(tools, groups)
    check_random_expressions(tools, groups)
    tools.close()
    print("; ".join("%s: %s" % (key, format(value, ",")) for key, value in counts.items()))
    print("%d failures" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
