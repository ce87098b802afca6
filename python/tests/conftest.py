"""Checks that the tests run against the installed module, not another copy."""

import os

import krel


def pytest_report_header(config):
    return f"krel {krel.__version__} from {os.path.dirname(krel.__file__)}"


def pytest_configure(config):
    expected = os.environ.get("KREL_EXPECTED_MODULE_DIR")
    if expected is not None:
        found = os.path.dirname(os.path.realpath(krel.__file__))
        if found != os.path.realpath(expected):
            raise RuntimeError(f"krel imported from {found}, expected the install in {expected}")
