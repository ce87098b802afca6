"""krel.gather and krel.Gatherer through the module."""

import pytest

import krel


def folded(groups):
    return [(str(nodes), lines) for nodes, lines in groups]


@pytest.mark.parametrize(
    "pairs, expected",
    [
        pytest.param([("n2", "5.10"), ("n1", "5.10"), ("n3", "6.1")],
                     [("n[1-2]", ["5.10"]), ("n3", ["6.1"])], id="GroupsEqualOutputs"),
        pytest.param([("n1", "a"), ("n2", "b"), ("n1", "b"), ("n2", "a")],
                     [("n1", ["a", "b"]), ("n2", ["b", "a"])], id="OrderOfLinesMatters"),
        pytest.param([("0", "x"), ("1", "x"), ("10", "y")],
                     [("[0-1]", ["x"]), ("10", ["y"])], id="DigitOnlyRanks"),
        pytest.param([("b1", "c"), ("zz", "a"), ("b2", "c"), ("zz", "b")],
                     [("b[1-2]", ["c"]), ("zz", ["a", "b"])], id="LargestFirst"),
        pytest.param([], [], id="NothingGivesNothing"),
    ],
)
def test_gather(pairs, expected):
    assert folded(krel.gather(pairs)) == expected


def test_gather_gives_host_sets():
    (nodes, lines), = krel.gather([("n1", "ok"), ("n2", "ok")])
    assert isinstance(nodes, krel.HostSet)
    assert len(nodes) == 2 and lines == ["ok"]


def test_gather_takes_any_iterable():
    pairs = (("n%d" % i, "ok") for i in range(1, 4))
    assert folded(krel.gather(pairs)) == [("n[1-3]", ["ok"])]
    with pytest.raises(TypeError, match=r"each pair must be \(node, line\), two str, not \('n1', 'a', 'x'\)"):
        krel.gather([("n1", "a", "x")])


def test_gather_orders_by_trailing_number_as_dshbak():
    pairs = [("a10", "y"), ("b2", "y"), ("c", "z"), ("a2", "m"), ("b1", "m")]
    assert folded(krel.gather(pairs, order="trailing-number")) == [
        ("c", ["z"]), ("a2,b1", ["m"]), ("a10,b2", ["y"])]


@pytest.mark.parametrize(
    "pairs, message",
    [
        pytest.param([("a,b", "x")], 'node name "a,b" is not one host name', id="Comma"),
        pytest.param([("", "x")], "empty node name", id="Empty"),
    ],
)
def test_gather_refuses_names(pairs, message):
    with pytest.raises(ValueError, match=message):
        krel.gather(pairs)


def test_gather_refuses_unknown_order():
    with pytest.raises(ValueError, match='order must be "largest" or "trailing-number"'):
        krel.gather([], order="random")


def test_gatherer_streams_lines_and_writes_pages():
    g = krel.Gatherer(style="clubak")
    for line in ["n2: up", "n1: up", "n3: down\r"]:
        g.add_line(line)
    assert len(g) == 3 and g.line_count == 3
    assert folded(g.gathered()) == [("n[1-2]", [" up"]), ("n3", [" down"])]
    assert g.page() == "---------------\nn[1-2] (2)\n---------------\n up\n" \
                       "---------------\nn3\n---------------\n down\n"
    assert g.page(lines=True) == "n[1-2]:  up\nn3:  down\n"
    assert g.per_node() == [("n1", [" up"]), ("n2", [" up"]), ("n3", [" down"])]


def test_gatherer_feed_keeps_a_cut_line_until_finish():
    g = krel.Gatherer()
    g.feed("n1: a\nn2:")
    assert g.line_count == 1
    g.feed(" a\nn3: b")
    g.finish()
    assert folded(g.gathered()) == [("n[1-2]", ["a"]), ("n3", ["b"])]
    assert g.page(per_node=True, lines=True) == "n1: a\nn2: a\nn3: b\n"


def test_gatherer_separator_and_errors():
    g = krel.Gatherer(separator=" | ")
    g.add_line("n1 | a | b")
    with pytest.raises(ValueError, match='line 2: no " \\| " between node name and text in "n2: x"'):
        g.add_line("n2: x")
    assert folded(g.gathered()) == [("n1", ["a | b"])]
    with pytest.raises(ValueError, match="separator must not be empty"):
        krel.Gatherer(separator="")
    with pytest.raises(ValueError, match='style must be "dshbak" or "clubak"'):
        krel.Gatherer(style="pdsh")
