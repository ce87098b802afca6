"""`krel gather` beside `dshbak -c` (pdsh) and `clubak -b` (clustershell).

Used by bench/compare_peers.py, which times and reports it with the host-list
rows. Inputs, generated from a fixed seed:

  gather-100k   100,000 nodes x 5 lines, interleaved line by line as pdsh
                prints them: a few distinct outputs, plus 100 nodes with
                their own lines;
  gather-1m     1,000,000 nodes x 1 line, three distinct messages.

Every page is checked before it is timed: read back into blocks, each
header expanded by the checker's own reader of the notation, the blocks must
be exactly the expected groups (the nodes as a set, their lines in order).
"""

import random
import shlex

from compare_peers import expand_notation, human_time, hyperfine, run_once, target_row

SEED = 21
MESSAGES = [
    ["5.10.0-28-amd64", "ok", "eth0: link up, 25000 Mbps", "load average: 0.01, 0.02", "done"],
    ["5.10.0-28-amd64", "ok", "eth0: link up, 25000 Mbps", "load average: 0.71, 0.52", "done"],
    ["6.1.0-13-amd64", "ok", "eth0: link up, 25000 Mbps", "load average: 0.01, 0.02", "done"],
]

# key, what the nodes say, nodes, lines per node, name format
INPUTS = [
    ("gather-100k", "3 outputs + 100 nodes with their own", 100_000, 5, "node%06d"),
    ("gather-1m", "3 messages", 1_000_000, 1, "n%07d"),
]
# tool, command after the input redirection is added, header rule, text prefix
TOOLS = [
    ("krel", "{krel} gather", "-" * 16, ""),
    ("krel clubak", "{krel} gather --style clubak", "-" * 15, " "),
    ("dshbak -c", "dshbak -c", "-" * 16, ""),
    ("clubak -b", "clubak -b", "-" * 15, " "),
]


class GatherInput:
    """One generated input file and the groups it must give."""

    def __init__(self, work, key, nodes, lines, name_format):
        rng = random.Random(SEED + nodes)
        names = [name_format % i for i in range(nodes)]
        own = set(rng.sample(range(nodes), 100)) if lines > 1 else set()
        said = []
        for i in range(nodes):
            if i in own:
                said.append(["%s says %d" % (names[i], j) for j in range(lines)])
            else:
                said.append(MESSAGES[rng.randrange(len(MESSAGES))][:lines])
        order = list(range(nodes))
        self.path = work / (key + ".txt")
        with open(self.path, "w") as out:
            for line in range(lines):
                rng.shuffle(order)
                out.write("".join("%s: %s\n" % (names[i], said[i][line]) for i in order))
        self.size = self.path.stat().st_size
        self.groups = {}
        for i in range(nodes):
            self.groups.setdefault(tuple(said[i]), set()).add(names[i])


def check_page(page, data, rule, prefix):
    """"ok" or what is wrong with a gathered page."""
    lines = page.split("\n")
    if lines[-1] != "":
        return "wrong: no final newline"
    got = {}
    at = 0
    while at < len(lines) - 1:
        if lines[at] != rule or lines[at + 2] != rule:
            return "wrong: no header at line %d" % (at + 1)
        header = lines[at + 1].split(" (")[0]
        at += 3
        text = []
        while at < len(lines) - 1 and lines[at] != rule:
            if not lines[at].startswith(prefix):
                return "wrong: line %d lacks %r" % (at + 1, prefix)
            text.append(lines[at][len(prefix):])
            at += 1
        try:
            names = set(expand_notation(header))
        except ValueError as error:
            return "wrong: unreadable header (%s)" % error
        if tuple(text) in got:
            return "wrong: one output in two blocks"
        got[tuple(text)] = names
    if got != data.groups:
        return "wrong: %d blocks, %d expected, or other nodes" % (len(got), len(data.groups))
    return "ok"


def measure(bench, key, tool, command, data, rule, prefix):
    out_path = bench.work / "output.txt"
    status, seconds, peak_kib, message = run_once(command, out_path, bench.work)
    if status != 0:
        verdict = "refused: exit status %d (%s)" % (status, message[:80])
    else:
        verdict = check_page(out_path.read_text("latin-1"), data, rule, prefix)
    out_path.unlink()
    entry = {"verdict": verdict, "first": seconds, "peak_kib": peak_kib, "command": command}
    if verdict == "ok":
        entry.update(hyperfine(command, seconds, bench.work, bench.quick))
    print("%-16s %-11s %s%s, peak %s MB" % (
        key, tool, verdict, ", median %s" % human_time(entry.get("median")) if verdict == "ok"
        else "", format(peak_kib // 1024, ",")), flush=True)
    bench.results[(key, tool)] = entry


def run(bench, krel, work, quick):
    """Writes the inputs, checks and times every tool on them."""
    sizes = {}
    for key, _, nodes, lines, name_format in INPUTS:
        if quick:
            nodes //= 100
        data = GatherInput(work, key, nodes, lines, name_format)
        sizes[key] = (data.size, nodes)
        for tool, command, rule, prefix in TOOLS:
            full = command.format(krel=shlex.quote(krel)) + " < " + shlex.quote(str(data.path))
            measure(bench, key, tool, full, data, rule, prefix)
        data.path.unlink()
    bench.results[("gather", "input sizes")] = sizes


def report(results):
    """The report's lines on gathering."""
    sizes = results.get(("gather", "input sizes"), {})
    lines = ["## Gathering per-node output", "",
             "`krel gather` (dshbak's page, and `--style clubak`) beside `dshbak -c` and "
             "`clubak -b`, input on standard input, every page checked group for group first. "
             "Peak memory is the maximum resident set (`/usr/bin/time`).", "",
             "| input | input size | krel | krel --style clubak | dshbak -c | clubak -b | "
             "krel vs dshbak -c | krel clubak vs clubak -b |",
             "|---|---|---|---|---|---|---|---|"]

    def cell(entry):
        if not entry:
            return "--"
        if entry["verdict"] != "ok":
            return "**%s**" % entry["verdict"]
        return "%s, %s MB" % (human_time(entry["median"]), format(entry["peak_kib"] // 1024, ","))

    def ratio(ours, theirs):
        if not ours or not theirs or ours["verdict"] != "ok" or theirs["verdict"] != "ok":
            return "--"
        return "%.0fx" % (theirs["median"] / ours["median"])

    for key, said, _, lines_per_node, _ in INPUTS:
        size, nodes = sizes.get(key, (0, 0))
        label = "%s nodes x %d line%s (%s)" % (format(nodes, ","), lines_per_node,
                                               "s" if lines_per_node > 1 else "", said)
        e = {tool: results.get((key, tool)) for tool in ("krel", "krel clubak", "dshbak -c",
                                                         "clubak -b")}
        lines.append("| %s | %s MB | %s | %s | %s | %s | %s | %s |" % (
            label, format(size / 1e6, ".1f"), cell(e["krel"]), cell(e["krel clubak"]),
            cell(e["dshbak -c"]), cell(e["clubak -b"]), ratio(e["krel"], e["dshbak -c"]),
            ratio(e["krel clubak"], e["clubak -b"])))
    lines += ["", "| work | target | measured (wall, median) | processor time | |",
              "|---|---|---|---|---|"]
    small = results.get(("gather-100k", "krel"))
    lines.append(target_row("`krel gather` of 100,000 nodes x 5 lines", "<= 150 ms", small, 0.15))
    if small and "peak_kib" in small and sizes.get("gather-100k"):
        peak, limit = small["peak_kib"] * 1024, 2 * sizes["gather-100k"][0]
        lines.append("| peak memory of that gathering | < 2x the input (%s MB) | %s MB | -- | %s |" % (
            format(limit / 1e6, ".1f"), format(peak / 1e6, ".1f"),
            "met" if peak < limit else "**missed**"))
    lines.append(target_row("`krel gather` of 1,000,000 nodes x 1 line", "<= 1 s",
                            results.get(("gather-1m", "krel")), 1.0))
    lines.append("")
    return lines
