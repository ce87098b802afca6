"""krel.HostSet on random sets against Python's built-in set as the model."""

import random

import pytest

from hostnames import random_names
from krel import HostSet

def make(names):
    return HostSet(",".join(names))


SEEDS = range(60)


@pytest.mark.parametrize("seed", SEEDS)
def test_reading_matches_the_model(seed):
    r = random.Random(seed)
    names = random_names(r, r.randint(0, 300))
    model = set(names)
    hosts = make(names)
    listed = list(hosts)
    assert len(listed) == len(model) == len(hosts)
    assert set(listed) == model
    assert hosts.expand() == listed
    for name in r.sample(listed, min(10, len(listed))) + random_names(r, 10):
        assert (name in hosts) is (name in model)


@pytest.mark.parametrize("seed", SEEDS)
def test_set_algebra_matches_the_model(seed):
    r = random.Random(1000 + seed)
    a_names, b_names = random_names(r, r.randint(0, 200)), random_names(r, r.randint(0, 200))
    a, b = make(a_names), make(b_names)
    ma, mb = set(a_names), set(b_names)
    assert set(a | b) == ma | mb
    assert set(a & b) == ma & mb
    assert set(a - b) == ma - mb
    assert set(a ^ b) == ma ^ mb
    assert (a == b) is (ma == mb)
    assert (a <= b) is (ma <= mb)
    removed, flipped = random_names(r, 20), random_names(r, 20)
    c = a.copy()
    c |= b
    c -= make(removed)
    c ^= make(flipped)
    c &= make(a_names + flipped)
    assert set(c) == (((ma | mb) - set(removed)) ^ set(flipped)) & (ma | set(flipped))
    assert set(a) == ma, "in-place forms change the copy only"


@pytest.mark.parametrize("seed", SEEDS)
def test_folds_read_back_whatever_the_order(seed):
    r = random.Random(2000 + seed)
    names = random_names(r, r.randint(1, 300))
    hosts = make(names)
    text = hosts.fold()
    shuffled = names[:]
    r.shuffle(shuffled)
    assert make(shuffled).fold() == text
    assert HostSet(text) == hosts
    for axis in (-1, 1, 2, [1, 2], "1-2"):
        assert HostSet(hosts.fold(axis=axis)) == hosts
    assert HostSet(hosts.fold(autostep=2)) == hosts


@pytest.mark.parametrize("seed", SEEDS)
def test_indexing_slicing_and_splitting_follow_the_order(seed):
    r = random.Random(3000 + seed)
    hosts = make(random_names(r, r.randint(1, 300)))
    listed = list(hosts)
    count = len(listed)
    for _ in range(10):
        i = r.randint(-count, count - 1)
        assert hosts[i] == listed[i]
        start, stop = r.randint(-count - 3, count + 3), r.randint(-count - 3, count + 3)
        step = r.choice([None, 1, 2, 3, 7, -1, -2, -5])
        assert set(hosts[start:stop:step]) == set(listed[start:stop:step])
    parts = r.randint(1, 12)
    pieces = hosts.split(parts)
    assert [name for piece in pieces for name in piece] == listed
    sizes = [len(piece) for piece in pieces]
    assert len(pieces) == min(parts, count)
    assert max(sizes) - min(sizes) <= 1 and sizes == sorted(sizes, reverse=True)
