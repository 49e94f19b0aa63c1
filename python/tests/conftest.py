"""Shared fixtures: the bundled examples and the tool, run with --json for comparison."""

import json
import os
import pathlib
import subprocess

import pytest

SOURCE_DIR = pathlib.Path(
    os.environ.get("FIOFLA_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2])
)
EXAMPLES = SOURCE_DIR / "data" / "examples"
TOOL = os.environ.get("FIOFLA_TOOL", str(SOURCE_DIR / "build" / "tools" / "fiofla" / "fiofla"))


def example(name):
    return str(EXAMPLES / name)


def run_tool(*args, expect=(0,)):
    """The tool's JSON output of `fiofla ARGS --json`."""
    proc = subprocess.run(
        [TOOL, *map(str, args), "--json"], capture_output=True, text=True, check=False
    )
    assert proc.returncode in expect, proc.stderr
    return json.loads(proc.stdout) if proc.stdout.strip() else {}


def assert_same(result, expected, keys=None, rel=1e-12):
    """Every key of the tool's JSON object (or `keys`) has the same value in `result`."""
    for key in keys or expected:
        want = expected[key]
        got = result[key]
        if isinstance(want, float) or (want is None and isinstance(got, float)):
            if want is None:
                assert got != got or got in (float("inf"), float("-inf")), key
            else:
                assert got == pytest.approx(want, rel=rel, abs=1e-300), key
        elif isinstance(want, list) and want and isinstance(want[0], float):
            assert list(got) == pytest.approx(want, rel=rel), key
        elif isinstance(want, (dict, list)) and not isinstance(got, (dict, list)):
            continue  # tables are compared column by column by the tests
        else:
            assert got == want, key


def same_table(columns, rows, keys, rel=1e-12):
    """A result table (dict of arrays) holds the tool's JSON rows in the given columns."""
    for key in keys:
        want = [row.get(key) for row in rows]
        got = list(columns[key])
        assert len(got) == len(want), key
        for g, w in zip(got, want):
            if w is None:
                assert g != g, key
            elif isinstance(w, (bool, str)):
                assert g == w, key
            else:
                assert g == pytest.approx(w, rel=rel, abs=1e-300), key


@pytest.fixture(scope="session")
def silica():
    import fiofla

    return fiofla.read_isotherm(example("n2_77k_silica.csv"))
