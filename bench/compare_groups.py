"""Node-group cases of bench/compare_peers.py: krel beside nodeset on a
generated groups.d file of 1,000 groups of 100 nodes (10^5 nodes).

  regroup   `krel fold -r` / `nodeset -r` of the 10^5 nodes less one node in
            every tenth group: 900 groups named, 100 groups' leftovers folded;
  count     `krel count '@*'` / `nodeset -c '@*'`: every node of the source;
  load      `krel count '@rack0500'`: the time to read the 1,000-group file
            and answer one group.

Every output is checked against the text worked out here before it is timed.
"""

import shlex

GROUPS = 1000
PER_GROUP = 100
# One node of every tenth group is left out of the regrouped set.
HOLE_EVERY = 10
HOLE_AT = 50

ROWS = [
    # key, label, target seconds, target text
    ("groups-regroup", "regroup of 10^5 nodes over 1,000 groups of 100 (`fold -r`, `nodeset -r`)",
     0.05, "<= 50 ms"),
    ("groups-count-all", "`count --groups F '@*'` over 10^5 nodes (`nodeset -c '@*'`)", 0.02,
     "<= 20 ms"),
    ("groups-load", "a 1,000-group YAML loaded, one group counted", 0.01, "<= 10 ms"),
]


def node(number):
    return "node%06d" % number


def runs_text(runs, width):
    """"0001-0009,0011" for the runs (1, 9), (11, 11): every value padded."""
    return ",".join("%0*d" % (width, a) if a == b else "%0*d-%0*d" % (width, a, width, b)
                    for a, b in runs)


def write_inputs(work):
    """The groups.d file and a groups.conf naming it; (yaml, conf, nodes
    text, expected regroup)."""
    folder = work / "groups.d"
    folder.mkdir(exist_ok=True)
    yaml = folder / "bench.yaml"
    lines = ["bench:"]
    for group in range(1, GROUPS + 1):
        first = (group - 1) * PER_GROUP + 1
        lines.append("    rack%04d: '%s'" % (group, "node[%06d-%06d]" % (first, first + PER_GROUP - 1)))
    yaml.write_text("\n".join(lines) + "\n")
    conf = work / "groups.conf"
    conf.write_text("[Main]\ndefault: bench\nautodir: %s\n" % folder)
    # Group g holds first(g) .. first(g) + 99; every tenth group loses one.
    first = [None] + [(g - 1) * PER_GROUP + 1 for g in range(1, GROUPS + 1)]
    tenth = range(HOLE_EVERY, GROUPS + 1, HOLE_EVERY)
    holes = [first[g] + HOLE_AT - 1 for g in tenth]
    whole = [(g - HOLE_EVERY + 1, g - 1) for g in tenth]
    leftovers = [run for g in tenth for run in ((first[g], first[g] + HOLE_AT - 2),
                                                (first[g] + HOLE_AT, first[g] + PER_GROUP - 1))]
    kept = [(low + 1, high - 1) for low, high in zip([0] + holes, holes + [GROUPS * PER_GROUP + 1])]
    expected = "@rack[%s],node[%s]" % (runs_text(whole, 4), runs_text(leftovers, 6))
    nodes = "node[%s]" % runs_text(kept, 6)
    return yaml, conf, nodes, expected


def run(bench, krel, work, measure_exact):
    """Measures the three cases with measure_exact(bench, key, command,
    expected_text=..., tool=...) of compare_peers."""
    q = shlex.quote
    yaml, conf, nodes, expected = write_inputs(work)
    nodes_file = work / "groups-nodes.txt"
    nodes_file.write_text(nodes + "\n")
    krel_groups = "%s %%s --groups %s" % (q(krel), q(str(yaml)))
    nodeset = "nodeset --groupsconf %s" % q(str(conf))
    total, per_group = str(GROUPS * PER_GROUP), str(PER_GROUP)
    cases = [
        ("groups-regroup", (krel_groups % "fold") + " -r < %s" % q(str(nodes_file)),
         "%s -r < %s" % (nodeset, q(str(nodes_file))), expected),
        ("groups-count-all", (krel_groups % "count") + " '@*'", "%s -c '@*'" % nodeset, total),
        ("groups-load", (krel_groups % "count") + " @rack0500", "%s -c @rack0500" % nodeset,
         per_group),
    ]
    # krel first: nodeset takes minutes on the regroup.
    for key, ours, _, text in cases:
        measure_exact(bench, key, ours, expected_text=text)
    for key, _, theirs, text in cases:
        measure_exact(bench, key, theirs, expected_text=text, tool="nodeset")


def report(results, cell, speedup, target_row):
    """The report's section: a table beside nodeset, then the targets."""
    lines = ["## Node groups", "",
             "A generated groups.d file of 1,000 groups `rack0001` .. `rack1000` of 100 nodes "
             "each (`node000001` .. `node100000`); krel reads it with `--groups FILE`, nodeset "
             "through a groups.conf whose autodir holds it. The regrouped set leaves one node "
             "out of every tenth group and comes on standard input.", "",
             "| work | krel | nodeset | krel vs nodeset |", "|---|---|---|---|"]
    for key, label, _, _ in ROWS:
        ours, theirs = results.get((key, "krel")), results.get((key, "nodeset"))
        lines.append("| %s | %s | %s | %s |" % (label, cell(ours), cell(theirs),
                                                speedup(ours, theirs)))
    lines += ["", "| work | target | measured (wall, median) | processor time | |",
              "|---|---|---|---|---|"]
    for key, label, limit, target in ROWS:
        lines.append(target_row(label, target, results.get((key, "krel")), limit))
    lines.append("")
    return lines


def commands(results):
    return [results[(row[0], tool)]["command"] for row in ROWS for tool in ("krel", "nodeset")
            if (row[0], tool) in results and "command" in results[(row[0], tool)]]
