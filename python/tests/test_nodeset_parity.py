"""krel.HostSet beside ClusterShell's NodeSet (Debian clustershell) on random
sets with one number per name: the same folded text, the same names in the
same order, at every index and in every slice NodeSet answers, and the same
parts from split. (With several numbers per name NodeSet lists the names of
an irregular set piece by piece of its own fold, not number by number; its
slices with a step skip or refuse names on sets of several patterns, and
those with a negative step raise errors on most sets: those slices are
checked against list slicing in test_hostset_random.py instead.)"""

import os
import random
import re

import pytest

from hostnames import ONE_NUMBER, SEVERAL_NUMBERS, random_names
from krel import HostSet

try:
    from ClusterShell.NodeSet import NodeSet
except ImportError:
    # As the other interop suites: the peer must run in CI.
    if os.environ.get("CI"):
        raise
    pytest.skip("ClusterShell is not installed (Debian clustershell)", allow_module_level=True)


def peer_slice(peer, key):
    try:
        return set(peer[key])
    except (IndexError, TypeError):
        return None


@pytest.mark.parametrize("seed", range(25))
def test_one_number_per_name_folds_to_the_same_text(seed):
    r = random.Random(seed)
    names = random_names(r, r.randint(1, 200), ONE_NUMBER)
    hosts, peer = HostSet(",".join(names)), NodeSet.fromlist(names)
    assert str(hosts) == str(peer)
    assert list(hosts) == list(peer)


@pytest.mark.parametrize("seed", range(25))
def test_indexes_slices_and_parts_pick_the_same_names(seed):
    r = random.Random(100 + seed)
    shapes = r.sample(ONE_NUMBER, r.randint(1, 2))
    names = random_names(r, r.randint(1, 200), shapes)
    hosts, peer = HostSet(",".join(names)), NodeSet.fromlist(names)
    assert list(hosts) == list(peer)
    count = len(peer)
    one_pattern = len({re.sub(r"[0-9]+", "#", name) for name in names}) == 1
    steps = [None, 1, 2, 5, -1, -3] if one_pattern else [None, 1]
    answered = 0
    for _ in range(20):
        index = r.randint(-count, count - 1)
        assert hosts[index] == peer[index]
        start, stop = r.randint(-count - 2, count + 2), r.randint(-count - 2, count + 2)
        key = slice(start, stop, r.choice(steps))
        expected = peer_slice(peer, key)
        if expected is not None:
            assert set(hosts[key]) == expected
            answered += 1
    assert answered > 0
    parts = r.randint(1, 8)
    assert [list(part) for part in hosts.split(parts)] == [list(part) for part in peer.split(parts)]


@pytest.mark.parametrize("seed", range(10))
def test_several_numbers_per_name_fold_to_the_same_names(seed):
    r = random.Random(200 + seed)
    names = random_names(r, r.randint(1, 200), ONE_NUMBER + SEVERAL_NUMBERS)
    hosts, peer = HostSet(",".join(names)), NodeSet.fromlist(names)
    assert set(NodeSet(str(hosts))) == set(peer)
    assert HostSet(str(peer)) == hosts
