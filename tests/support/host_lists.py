"""The host lists of the speed comparison with the peers (bench/compare_peers.py),
generated from a fixed seed, which the interop test (tests/interop/krel_interop.py)
reads back through the peers too."""

import random

SEED = 7


def random_words(rng, count, length):
    words = set()
    letters = "abcdefghijklmnopqrstuvwxyz"
    while len(words) < count:
        words.add("".join(rng.choice(letters) for _ in range(length)))
    return sorted(words)


FULL_SIZE = {"million": 1_000_000, "random": 100_000, "rack_c": 100, "words": 100_000}


def peer_names(size):
    """The names of the four host lists, shuffled with a fixed seed: a dict
    of "million", "random", "rack" and "words"."""
    rng = random.Random(SEED)
    million = ["node%07d" % i for i in range(1, size["million"] + 1)]
    rng.shuffle(million)
    numbers = rng.sample(range(1, 1_000_001), size["random"])
    rack = [
        "r%dc%dn%d" % (r, c, n)
        for r in range(1, 101)
        for c in range(1, size["rack_c"] + 1)
        for n in range(1, 11)
    ]
    rng.shuffle(rack)
    words = random_words(rng, size["words"], 10)
    rng.shuffle(words)
    return {
        "million": million,
        "random": ["cn%07d" % n for n in numbers],
        "rack": rack,
        "words": ["%s-%d" % (w, rng.randint(1, 9)) for w in words],
    }
