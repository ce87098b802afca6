"""krel.HostSet: reading, folding, set algebra, indexing, slicing, splitting."""

import copy
import pickle

import pytest

from krel import HostSet

MAX = 2**64 - 1


@pytest.mark.parametrize(
    "notation, expected",
    [
        pytest.param("node[1-3]", "node[1-3]", id="Range"),
        pytest.param("node3,node1 node2\nnode2", "node[1-3]", id="CommasBlanksLinesDuplicates"),
        pytest.param("r1c1 r1c2 r2c1 r2c2", "r[1-2]c[1-2]", id="FoldsEveryNumber"),
        pytest.param("r[1-2]c[1-2]", "r[1-2]c[1-2]", id="BracketsExpandAsProduct"),
        pytest.param("node[001-150]", "node[001-150]", id="PaddingCrossesDigitBoundary"),
        pytest.param("cn09 cn010", "cn[09,010]", id="MixedWidthsNeverOneRange"),
        pytest.param("cn[09-010]", "cn[09,010]", id="PaddedLowBoundKeepsZeros"),
        pytest.param("cn8 cn09 cn10", "cn[8,09-10]", id="UnpaddedBesidePadded"),
        pytest.param("cn1 cn01 cn001", "cn[1,01,001]", id="SameValueThreeWidths"),
        pytest.param("n8 n9 n10 n010 n011", "n[8-10,010-011]", id="WidthThenValue"),
        pytest.param("n[009-11]", "n[009-011]", id="WiderLowBoundPads"),
        pytest.param("n[08-11]", "n[08-11]", id="SameWidthBoundsPad"),
        pytest.param("n[007]", "n007", id="SingleValueAsWritten"),
        pytest.param("node[1-9/2]", "node[1,3,5,7,9]", id="Step"),
        pytest.param("login", "login", id="NoNumber"),
        pytest.param("", "", id="EmptyText"),
        pytest.param(" \n\t ", "", id="AllBlank"),
    ],
)
def test_reads_and_folds(notation, expected):
    assert str(HostSet(notation)) == expected
    assert HostSet(notation).fold() == expected


def test_no_argument_is_the_empty_set():
    assert HostSet() == HostSet("")
    assert len(HostSet()) == 0
    assert not HostSet()


@pytest.mark.parametrize(
    "notation, piece",
    [
        pytest.param("node[3-1]", "node[3-1]", id="DescendingRange"),
        pytest.param("a1,node[1-2", "node[1-2", id="Unbalanced"),
        pytest.param("n1]", "n1]", id="ClosingWithoutOpening"),
        pytest.param("n[1[2]]", "n[1[2]]", id="Nested"),
        pytest.param("n[]", "n[]", id="EmptyBracket"),
        pytest.param("n[1,,2]", "n[1,,2]", id="EmptyItem"),
        pytest.param("n[a]", "n[a]", id="NotDigits"),
        pytest.param("n[1-5/0]", "n[1-5/0]", id="StepZero"),
        pytest.param("n[99999999999999999999]", "n[99999999999999999999]", id="NumberTooLarge"),
        pytest.param("n[0-18446744073709551615]", "n[0-18446744073709551615]", id="CountOverflows"),
    ],
)
def test_bad_notation_raises_value_error_naming_the_piece(notation, piece):
    with pytest.raises(ValueError) as raised:
        HostSet(notation)
    assert str(raised.value).startswith(f'cannot read "{piece}": ')


def test_bad_notation_message_gives_the_reason():
    with pytest.raises(ValueError, match=r'^cannot read "node\[3-1\]": descending range 3-1$'):
        HostSet("node[3-1]")


def test_notation_must_be_text():
    with pytest.raises(TypeError):
        HostSet(5)


@pytest.mark.parametrize(
    "notation, names",
    [
        pytest.param("n[10,9],m1", ["m1", "n9", "n10"], id="PatternThenValue"),
        pytest.param("listserv01 listserv3", ["listserv3", "listserv01"], id="WidthBeforeValue"),
        pytest.param("cn10 cn09 cn8", ["cn8", "cn09", "cn10"], id="PaddedAmongPlain"),
        pytest.param("n8 n9 n10 n010 n011", ["n8", "n9", "n10", "n010", "n011"], id="NodesetOrder"),
        pytest.param("r[1-2]c[1-2]", ["r1c1", "r1c2", "r2c1", "r2c2"], id="LeftNumberFirst"),
        pytest.param("", [], id="Empty"),
        pytest.param(
            "b,a%1,n[9-10]-ib[0-1]",
            ["a%1", "b", "n9-ib0", "n9-ib1", "n10-ib0", "n10-ib1"],
            id="ManyPatterns",
        ),
    ],
)
def test_iterates_in_the_engine_order(notation, names):
    assert list(HostSet(notation)) == names
    assert HostSet(notation).expand() == names


def test_iterates_sets_larger_than_one_block():
    names = list(HostSet("n[1-10000],m[1-5]"))
    assert len(names) == 10005
    assert names[:6] == ["m1", "m2", "m3", "m4", "m5", "n1"]
    assert names[-1] == "n10000"


@pytest.mark.parametrize(
    "axis, text",
    [
        pytest.param(0, "0", id="Zero"),
        pytest.param([1, 0], "1,0", id="ZeroInList"),
        pytest.param([], "", id="EmptyList"),
        pytest.param(1000000, "1000000", id="SevenDigits"),
        pytest.param([True, 5], "True,5", id="Bool"),
        pytest.param([0, True], "0,True", id="FirstBadNamed"),
        pytest.param(10**30, str(10**30), id="BeyondSixtyFourBits"),
        pytest.param([2] * 4097, ",".join(["2"] * 4097), id="TooMany"),
    ],
)
def test_axis_numbers_refused_as_their_text(axis, text):
    hosts = HostSet("r1c1 r1c2")
    with pytest.raises(ValueError) as from_numbers:
        hosts.fold(axis=axis)
    with pytest.raises(ValueError) as from_text:
        hosts.fold(axis=text)
    assert str(from_numbers.value) == str(from_text.value)


@pytest.mark.parametrize(
    "key, names",
    [
        pytest.param(slice(None, None, 3), ["n1", "n4", "n7", "n10"], id="Step"),
        pytest.param(slice(None, None, -3), ["n1", "n4", "n7", "n10"], id="BackwardStep"),
        pytest.param(slice(8, 1, -2), ["n3", "n5", "n7", "n9"], id="BackwardBounds"),
        pytest.param(slice(1, 100, 4), ["n2", "n6", "n10"], id="PastTheEnd"),
        pytest.param(slice(5, 5, 2), [], id="Empty"),
    ],
)
def test_slices_with_steps(key, names):
    assert list(HostSet("n[1-10]")[key]) == names


def test_iterates_many_single_name_patterns():
    # One pattern per name: the iterator walks them in one pass.
    notation = ",".join(f"h{i}x{i % 7}y{i}" for i in range(100000))
    hosts = HostSet(notation)
    names = list(hosts)
    assert len(names) == 100000
    assert names == hosts.expand()
    assert set(names) == {f"h{i}x{i % 7}y{i}" for i in range(100000)}


@pytest.mark.parametrize(
    "notation, count",
    [
        pytest.param("n[1-10]", 10, id="Range"),
        pytest.param("r[1-2]c[1-3]", 6, id="Product"),
        pytest.param("node[1-1000000000]", 10**9, id="Billion"),
        pytest.param("n1,n01,n1", 2, id="WidthsDistinctDuplicatesNot"),
    ],
)
def test_len_counts_without_expanding(notation, count):
    assert len(HostSet(notation)) == count
    assert HostSet(notation).size() == count


def test_size_is_exact_beyond_len():
    huge = HostSet("node[0-18446744073709551614]")
    assert huge.size() == MAX
    with pytest.raises(OverflowError):
        len(huge)
    assert huge[-1] == "node18446744073709551614"
    assert huge[2**63] == f"node{2**63}"
    assert str(huge[MAX - 2:]) == "node[18446744073709551613-18446744073709551614]"


@pytest.mark.parametrize(
    "notation, name, expected",
    [
        pytest.param("node[1-10]", "node7", True, id="Inside"),
        pytest.param("node[1-10]", "node07", False, id="OtherWidth"),
        pytest.param("node[1-10]", "node11", False, id="Outside"),
        pytest.param("node[1-10]", "node[1-2]", False, id="NotationIsNotRead"),
        pytest.param("login", "login", True, id="PlainName"),
        pytest.param("", "", False, id="Empty"),
    ],
)
def test_contains(notation, name, expected):
    assert (name in HostSet(notation)) is expected


@pytest.mark.parametrize(
    "left, operator, right, expected",
    [
        pytest.param("node[1-3]", "-", "node2", "node[1,3]", id="Difference"),
        pytest.param("n[1-5]", "|", "n[4-8],m1", "m1,n[1-8]", id="Union"),
        pytest.param("n[1-5]", "&", "n[4-8]", "n[4-5]", id="Intersection"),
        pytest.param("n[1-5]", "^", "n[4-8]", "n[1-3,6-8]", id="SymmetricDifference"),
        pytest.param("node[1-1000000000]", "-", "node[5,7]", "node[1-4,6,8-1000000000]",
                     id="DifferenceOnABillion"),
        pytest.param("n[1-3]", "-", "n[01-03]", "n[1-3]", id="WidthsAreDifferentNames"),
        pytest.param("n[1-3]", "&", "", "", id="WithEmpty"),
    ],
)
def test_set_algebra(left, operator, right, expected):
    a, b = HostSet(left), HostSet(right)
    result = {"|": a | b, "&": a & b, "-": a - b, "^": a ^ b}[operator]
    assert str(result) == expected
    assert str(a) == str(HostSet(left)), "the operands are left as they were"
    in_place = HostSet(left)
    alias = in_place
    if operator == "|":
        in_place |= b
    elif operator == "&":
        in_place &= b
    elif operator == "-":
        in_place -= b
    else:
        in_place ^= b
    assert in_place is alias
    assert str(in_place) == expected


def test_operators_refuse_other_types():
    with pytest.raises(TypeError):
        HostSet("n1") | "n2"
    with pytest.raises(TypeError):
        HostSet("n1") - {"n1"}


@pytest.mark.parametrize(
    "left, right, equal",
    [
        pytest.param("n[1-3]", "n3,n1,n2", True, id="OrderDoesNotMatter"),
        pytest.param("cn[09-010]", "cn09 cn010", True, id="SameNamesOtherNotation"),
        pytest.param("n[1-3]", "n[01-03]", False, id="OtherWidths"),
        pytest.param("", " ", True, id="BothEmpty"),
    ],
)
def test_equality(left, right, equal):
    assert (HostSet(left) == HostSet(right)) is equal
    assert (HostSet(left) != HostSet(right)) is not equal


def test_equality_with_other_types_is_false():
    assert HostSet("n1") != "n1"
    assert not HostSet("n1") == "n1"


def test_subsets():
    small, large = HostSet("n[2-3]"), HostSet("n[1-5]")
    assert small <= large and small.issubset(large)
    assert large >= small and large.issuperset(small)
    assert not large <= small


def test_is_unhashable_as_it_is_mutable():
    with pytest.raises(TypeError):
        hash(HostSet("n1"))


@pytest.mark.parametrize(
    "notation, options, expected",
    [
        pytest.param("r1c1 r1c2 r2c1 r2c2", {"axis": -1}, "r1c[1-2],r2c[1-2]", id="LastAxisAsSlurm"),
        pytest.param("r1c1 r1c2 r2c1 r2c2", {"axis": [-1]}, "r1c[1-2],r2c[1-2]", id="AxisList"),
        pytest.param("r1c1 r1c2 r2c1 r2c2", {"axis": "2"}, "r1c[1-2],r2c[1-2]", id="AxisText"),
        pytest.param("r1c1 r1c2 r2c1 r2c2", {"axis": 1}, "r[1-2]c1,r[1-2]c2", id="FirstAxis"),
        pytest.param("r1c1 r1c2 r2c1 r2c2", {"axis": "1-2"}, "r[1-2]c[1-2]", id="AxisRange"),
        pytest.param("r1c1 r1c2 r2c1 r2c2", {"axis": None}, "r[1-2]c[1-2]", id="NoneFoldsAll"),
        pytest.param("node1,node3,node5,node7", {"autostep": 3}, "node[1-7/2]", id="Autostep"),
        pytest.param("node1,node3,node5,node7", {"autostep": 5}, "node[1,3,5,7]", id="RunTooShort"),
        pytest.param("node1,node3,node5,node7", {"autostep": None}, "node[1,3,5,7]", id="NoAutostep"),
        pytest.param("a1 b1", {"separator": " "}, "a1 b1", id="Separator"),
        pytest.param("a[1-2],b1", {"separator": ", "}, "a[1-2], b1", id="SpacedSeparator"),
    ],
)
def test_fold_options(notation, options, expected):
    assert HostSet(notation).fold(**options) == expected


@pytest.mark.parametrize(
    "options, error",
    [
        pytest.param({"axis": 0}, ValueError, id="AxisZero"),
        pytest.param({"axis": "x"}, ValueError, id="AxisText"),
        pytest.param({"axis": 1.5}, TypeError, id="AxisFloat"),
        pytest.param({"axis": [1, "2"]}, TypeError, id="AxisListOfText"),
        pytest.param({"autostep": -1}, ValueError, id="NegativeAutostep"),
    ],
)
def test_fold_refuses_bad_options(options, error):
    with pytest.raises(error):
        HostSet("r1c1").fold(**options)


def test_fold_options_are_keywords_only():
    with pytest.raises(TypeError):
        HostSet("r1c1").fold(-1)


@pytest.mark.parametrize(
    "index, name",
    [
        pytest.param(0, "n1", id="First"),
        pytest.param(3, "n4", id="Fourth"),
        pytest.param(9, "n10", id="Last"),
        pytest.param(-1, "n10", id="LastFromEnd"),
        pytest.param(-10, "n1", id="FirstFromEnd"),
    ],
)
def test_index(index, name):
    assert HostSet("n[1-10]")[index] == name


@pytest.mark.parametrize("index", [pytest.param(10, id="PastEnd"), pytest.param(-11, id="BeforeStart"),
                                   pytest.param(2**70, id="Huge"), pytest.param(-(2**70), id="HugeNegative")])
def test_index_out_of_range(index):
    with pytest.raises(IndexError, match=f"^{index} out of range$"):
        HostSet("n[1-10]")[index]


def test_index_must_be_an_integer():
    with pytest.raises(TypeError, match="HostSet indices must be integers"):
        HostSet("n[1-10]")["1"]
    with pytest.raises(TypeError):
        HostSet("n[1-10]")[1.0]


@pytest.mark.parametrize(
    "key, expected",
    [
        pytest.param(slice(2, 5), "n[3-5]", id="Range"),
        pytest.param(slice(None, None, 3), "n[1,4,7,10]", id="Step"),
        pytest.param(slice(-3, None), "n[8-10]", id="FromEnd"),
        pytest.param(slice(5, 2), "", id="Reversed"),
        pytest.param(slice(None, None, -1), "n[1-10]", id="NegativeStepAll"),
        pytest.param(slice(8, 1, -3), "n[3,6,9]", id="NegativeStep"),
        pytest.param(slice(1, 8, 3), "n[2,5,8]", id="StepFromOne"),
        pytest.param(slice(0, 100), "n[1-10]", id="ClampedToTheSet"),
        pytest.param(slice(0, 10, 2**70), "n1", id="HugeStep"),
    ],
)
def test_slice_like_nodeset(key, expected):
    assert str(HostSet("n[1-10]")[key]) == expected


@pytest.mark.parametrize(
    "notation, parts, expected",
    [
        pytest.param("n[1-5]", 2, ["n[1-3]", "n[4-5]"], id="LargerFirst"),
        pytest.param("n[1-6]", 3, ["n[1-2]", "n[3-4]", "n[5-6]"], id="Even"),
        pytest.param("n[1-3]", 5, ["n1", "n2", "n3"], id="NoEmptyPart"),
        pytest.param("n[1-3]", 1, ["n[1-3]"], id="One"),
        pytest.param("", 2, [], id="Empty"),
    ],
)
def test_split(notation, parts, expected):
    assert [str(part) for part in HostSet(notation).split(parts)] == expected


@pytest.mark.parametrize("parts", [0, -1])
def test_split_needs_a_part(parts):
    with pytest.raises(ValueError, match="split needs 1 part or more"):
        HostSet("n[1-3]").split(parts)


def test_contiguous_and_select():
    assert [str(run) for run in HostSet("n[1-3,5]").contiguous()] == ["n[1-3]", "n5"]
    assert str(HostSet("n[1-10]").select("0,2-3")) == "n[1,3-4]"
    assert str(HostSet("n[1-10]").select("0-9/2")) == "n[1,3,5,7,9]"
    with pytest.raises(ValueError):
        HostSet("n[1-10]").select("x")


def test_copies_are_independent():
    original = HostSet("n[1-3]")
    for duplicate in (original.copy(), copy.copy(original), copy.deepcopy(original),
                      pickle.loads(pickle.dumps(original))):
        assert duplicate == original and duplicate is not original
        duplicate -= HostSet("n2")
        assert str(original) == "n[1-3]"


def test_repr_reads_back():
    assert repr(HostSet("cn09 cn010")) == "HostSet('cn[09,010]')"
    assert eval(repr(HostSet("r[1-2]c1")), {"HostSet": HostSet}) == HostSet("r[1-2]c1")
