"""dft and fit give the tool's numbers under the tool's keys."""

import numpy as np
import pytest

import fiofla
from conftest import assert_same, example, run_tool, same_table


def test_dft_matches_the_tool():
    carbon = fiofla.read_isotherm(example("n2_77k_carbon.csv"))
    for args, kwargs in (
        ([], {}),
        (["--lambda", "0.01", "--bspline"], {"lambda_": 0.01, "bspline": True}),
        (["--lambda", "lcurve", "--width-range", "4:100"], {"lambda_": "lcurve", "width_range": (4, 100)}),
    ):
        expected = run_tool("dft", example("n2_77k_carbon.csv"), "--kernel", "n2-77-carbon-slit", *args)
        result = fiofla.dft(carbon, kernel="n2-77-carbon-slit", **kwargs)
        assert result.ok
        keys = [k for k in expected if k not in ("file", "classes", "fit", "worst_points")]
        assert_same(result, expected, keys, rel=1e-9)
        for table in ("classes", "fit", "worst_points"):
            same_table(result[table], expected[table], list(expected[table][0]), rel=1e-9)
    assert "<svg" in result._repr_html_()


def test_kernels_are_listed_and_a_missing_one_named():
    names = [k["name"] for k in fiofla.kernels()]
    assert "n2-77-carbon-slit" in names
    with pytest.raises(fiofla.InputError, match="no-such-kernel"):
        fiofla.dft(example("n2_77k_carbon.csv"), kernel="no-such-kernel")
    with pytest.raises(fiofla.InputError, match="lambda_ -1 is not"):
        fiofla.dft(example("n2_77k_carbon.csv"), kernel="n2-77-carbon-slit", lambda_=-1)


@pytest.mark.parametrize(
    "name,args,kwargs",
    [
        ("ch4_298k_irmof1.csv", [], {}),
        ("c2h6_298k_irmof1.csv", ["--models", "langmuir,dsl,toth"], {"models": ["langmuir", "dsl", "toth"]}),
        ("n2_77k_silica.aif", ["--models", "bet,gab", "--loading-unit", "mmol/g"], {"models": "bet,gab", "loading_unit": "mmol/g"}),
    ],
)
def test_fit_matches_the_tool(name, args, kwargs):
    expected = run_tool("fit", example(name), *args)
    # A path reads as the tool reads it: methane at 298 K has no Po.
    result = fiofla.fit(example(name), **kwargs)
    keys = [k for k in expected if k not in ("file", "fits", "parameters")]
    assert_same(result, expected, keys, rel=1e-9)
    same_table(result.fits, expected["fits"], ["rank", "model", "status", "points", "rms_error", "aicc"], rel=1e-9)
    same_table(result.parameters, expected["parameters"], ["model", "name", "value", "unit"], rel=1e-9)
    best = result.best
    assert best.name == expected["fits"][0]["model"]
    p = np.array([0.5, 1.0, 2.0])
    q = best.loading(p)
    assert q.shape == (3,) and np.all(np.diff(q) > 0)
    assert best.loading(1.0) == q[1]
    assert "<svg" in result._repr_html_()


def test_fit_rejects_unknown_models():
    with pytest.raises(fiofla.InputError, match="models"):
        fiofla.fit(example("ch4_298k_irmof1.csv"), models="langmuur")
    with pytest.raises(fiofla.InputError, match="pressure_unit 'furlong'"):
        fiofla.fit(example("ch4_298k_irmof1.csv"), pressure_unit="furlong")
