"""fiofla.batch and the Dask example give the rows of `fiofla batch`."""

import importlib.util
import math
import os
import subprocess
import sys

import pytest

import fiofla
from conftest import EXAMPLES, SOURCE_DIR, TOOL
from fiofla._batch import to_csv

EXAMPLE = SOURCE_DIR / "examples" / "python" / "dask_batch.py"


def _load_example():
    found = importlib.util.spec_from_file_location("dask_batch", EXAMPLE)
    module = importlib.util.module_from_spec(found)
    found.loader.exec_module(module)
    return module


def _tool_csv(paths, tmp_path, *args):
    out = tmp_path / "tool.csv"
    subprocess.run([TOOL, "batch", *map(str, paths), "-o", str(out), *args], check=True,
                   capture_output=True)
    return out.read_text()


def test_batch_rows_equal_the_tools(tmp_path):
    broken = tmp_path / "broken.csv"
    broken.write_text("no isotherm here\n")
    paths = [str(EXAMPLES), str(broken)]
    rows = fiofla.batch(paths, as_dataframe=False)
    assert [r["file"] for r in rows] == fiofla.batch_files(paths)
    assert rows[-1]["status"] == "error" and rows[-1]["message"]
    assert all(math.isnan(rows[-1][k]) for k in ("bet_area_m2_per_g", "points"))
    assert to_csv(rows) == _tool_csv(paths, tmp_path)
    # One BET row agrees with fiofla.bet on the same file, automatic range.
    silica = next(r for r in rows if r["file"].endswith("n2_77k_silica.csv"))
    bet = fiofla.bet(silica["file"], range="auto")
    assert silica["bet_area_m2_per_g"] == bet.surface_area_m2_per_g
    frame = fiofla.batch(paths, analyses=["bet"], jobs=2)
    assert list(frame["file"]) == [r["file"] for r in rows]
    assert to_csv(frame, ["bet"]) == _tool_csv(paths, tmp_path, "--analyses", "bet")
    with pytest.raises(fiofla.InputError, match="fit"):
        fiofla.batch(paths, analyses=["fit"])


def test_dask_batch_on_a_local_cluster_equals_fiofla_batch(tmp_path):
    pytest.importorskip("dask")
    pytest.importorskip("distributed")
    simulated = tmp_path / "isotherms"
    _load_example().simulate(300, str(simulated))
    out = tmp_path / "dask.csv"
    env = dict(os.environ)
    env["PYTHONPATH"] = os.pathsep.join(sys.path)
    proc = subprocess.run(
        [sys.executable, str(EXAMPLE), str(simulated), "-o", str(out), "--workers", "2"],
        capture_output=True, text=True, env=env, timeout=300)
    assert proc.returncode == 0, proc.stderr
    assert "300 files" in proc.stderr
    assert out.read_text() == _tool_csv([simulated], tmp_path)
