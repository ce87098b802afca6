"""krel.HostSet as Python's mutable set: the methods of collections.abc.MutableSet,
each taking a HostSet, notation, a set expression or an iterable of names."""

import collections.abc

import pytest

from krel import HostSet


def test_registered_as_a_mutable_set():
    assert isinstance(HostSet(), collections.abc.MutableSet)
    assert isinstance(HostSet("n1"), collections.abc.Set)


def test_reads_set_expressions():
    assert str(HostSet("n[1-5]!n3")) == "n[1-2,4-5]"
    assert str(HostSet("n[1-5],n7!n[2-7]")) == "n1"
    assert str(HostSet("node[1-10]&node[5-20]")) == "node[5-10]"
    assert str(HostSet("n[1-3]^n[2-5]")) == "n[1,4-5]"


@pytest.mark.parametrize(
    "error_text, expression",
    [
        pytest.param('cannot read "n1&&n2": missing operand after "&" at position 3', "n1&&n2",
                     id="MissingOperand"),
        pytest.param('cannot read "@rack1": a group reference, but no group source is given',
                     "n1,@rack1", id="GroupReferenceWithoutSource"),
    ],
)
def test_bad_expressions_raise_value_error(error_text, expression):
    with pytest.raises(ValueError) as raised:
        HostSet(expression)
    assert str(raised.value) == error_text


# (method, argument, start, result): each changes HostSet(start) in place.
IN_PLACE = [
    pytest.param("add", "n9", "n[1-3]", "n[1-3,9]", id="AddName"),
    pytest.param("add", "n[4-5]", "n[1-3]", "n[1-5]", id="AddNotation"),
    pytest.param("add", HostSet("m1"), "n1", "m1,n1", id="AddHostSet"),
    pytest.param("add", ["m1", "m2"], "n1", "m[1-2],n1", id="AddIterable"),
    pytest.param("discard", "n[2,7]", "n[1-3]", "n[1,3]", id="DiscardIgnoresMissing"),
    pytest.param("remove", "n2", "n[1-3]", "n[1,3]", id="Remove"),
    pytest.param("update", "n[5-6]!n6", "n1", "n[1,5]", id="UpdateExpression"),
    pytest.param("intersection_update", "n[2-9]", "n[1-3]", "n[2-3]", id="IntersectionUpdate"),
    pytest.param("difference_update", ["n1", "n3"], "n[1-3]", "n2", id="DifferenceUpdate"),
    pytest.param("symmetric_difference_update", "n[3-4]", "n[1-3]", "n[1-2,4]",
                 id="SymmetricDifferenceUpdate"),
]


@pytest.mark.parametrize("method, argument, start, result", IN_PLACE)
def test_changes_in_place(method, argument, start, result):
    s = HostSet(start)
    assert getattr(s, method)(argument) is None
    assert str(s) == result


# (method, arguments, start, result): each gives a new set, HostSet(start) unchanged.
NEW_SETS = [
    pytest.param("union", ("m1", HostSet("m2")), "n1", "m[1-2],n1", id="UnionOfSeveral"),
    pytest.param("union", (), "n1", "n1", id="UnionOfNone"),
    pytest.param("intersection", ("n[4-9]",), "n[1-5]", "n[4-5]", id="Intersection"),
    pytest.param("intersection", ("n[2-9]", "n[1-3]"), "n[1-5]", "n[2-3]",
                 id="IntersectionOfSeveral"),
    pytest.param("difference", (["n2", "n4"],), "n[1-5]", "n[1,3,5]", id="DifferenceOfIterable"),
    pytest.param("symmetric_difference", ("n[5-6]",), "n[1-5]", "n[1-4,6]",
                 id="SymmetricDifference"),
]


@pytest.mark.parametrize("method, arguments, start, result", NEW_SETS)
def test_gives_new_sets(method, arguments, start, result):
    s = HostSet(start)
    assert str(getattr(s, method)(*arguments)) == result
    assert str(s) == start


def test_update_with_several_arguments():
    s = HostSet("n1")
    s.update("n2", HostSet("n3"), ["n[4-5]"])
    assert str(s) == "n[1-5]"
    s.intersection_update("n[2-9]", "n[1-4]")
    assert str(s) == "n[2-4]"
    s.difference_update("n2", "n4")
    assert str(s) == "n3"


def test_remove_raises_key_error_naming_the_missing_names():
    s = HostSet("n[1-3]")
    with pytest.raises(KeyError) as raised:
        s.remove("n[3-5]")
    assert raised.value.args == ("n[4-5]",)
    assert str(s) == "n[1-3]", "a failed remove changes nothing"


def test_pop_and_clear():
    s = HostSet("n[2-3],m1")
    assert s.pop() == "m1"
    assert str(s) == "n[2-3]"
    s.clear()
    assert not s
    with pytest.raises(KeyError):
        s.pop()


@pytest.mark.parametrize(
    "a, b, disjoint, less, greater",
    [
        pytest.param("n1", "n[1-2]", False, True, False, id="ProperSubset"),
        pytest.param("n[1-2]", "n[1-2]", False, False, False, id="EqualIsNotProper"),
        pytest.param("n[1-3]", "n2", False, False, True, id="ProperSuperset"),
        pytest.param("n1", "m1", True, False, False, id="Disjoint"),
        pytest.param("", "n1", True, True, False, id="EmptyIsProperSubset"),
    ],
)
def test_comparisons(a, b, disjoint, less, greater):
    assert HostSet(a).isdisjoint(b) == disjoint
    assert (HostSet(a) < HostSet(b)) == less
    assert (HostSet(a) > HostSet(b)) == greater
    assert (HostSet(a) < b) == less, "text on the right"


def test_bad_arguments():
    with pytest.raises(ValueError, match='missing operand after "!" at position 3'):
        HostSet("n1").union("n1!")
    with pytest.raises(TypeError, match="not int"):
        HostSet("n1").add(5)
    with pytest.raises(TypeError, match="items must be names"):
        HostSet("n1").update([5])
