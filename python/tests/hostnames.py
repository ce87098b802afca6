"""Random host names for the tests of krel.HostSet: one generator, shapes
chosen by the caller."""

# Names with one number each: several patterns, padded and unpadded numbers
# of several widths, numbers beside text on both sides, names without any.
ONE_NUMBER = [
    lambda r: f"n{r.randint(0, 40)}",
    lambda r: f"n{r.randint(0, 40):03d}",
    lambda r: f"cn{r.randint(0, 12):0{r.randint(1, 3)}d}",
    lambda r: f"{r.randint(0, 20)}-gpu",
    lambda r: r.choice(["login", "admin", "io-a"]),
]
# Names with two or more numbers.
SEVERAL_NUMBERS = [
    lambda r: f"r{r.randint(1, 4)}c{r.randint(1, 6)}",
    lambda r: f"x{r.randint(1000, 1003)}c{r.randint(0, 3)}n{r.randint(0, 3):02d}",
    lambda r: f"x{r.randint(1000, 1003)}c{r.randint(0, 3)}s{r.randint(0, 1)}n{r.randint(0, 3)}",
]
# Every rule at once, numbers at the top of 64 bits too.
ALL_SHAPES = ONE_NUMBER + SEVERAL_NUMBERS + [
    lambda r: f"big{r.randint(2**64 - 30, 2**64 - 1)}",
]


def random_names(r, count, shapes=ALL_SHAPES):
    """`count` names drawn from `shapes` with the random.Random `r`."""
    return [r.choice(shapes)(r) for _ in range(count)]
