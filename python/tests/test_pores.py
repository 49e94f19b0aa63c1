"""bet, tplot and bjh give the tool's numbers under the tool's keys."""

import subprocess

import numpy as np
import pytest

import fiofla
from conftest import TOOL, assert_same, example, run_tool, same_table

FILES = [
    "n2_77k_silica.csv",
    "n2_77k_silica.aif",
    "n2_77k_silica_isodb.json",
    "n2_77k_silica_pygaps.json",
    "n2_77k_run.json",
    "n2_77k_carbon.csv",
]


@pytest.mark.parametrize("name", FILES)
def test_bet_fixed_and_auto_match_the_tool(name):
    iso = fiofla.read_isotherm(example(name))
    for args, kwargs in (
        ([], {}),
        (["--range", "0.08:0.25", "--cross-section", "0.17"], {"range": (0.08, 0.25), "cross_section": 0.17}),
        (["--auto"], {"range": "auto"}),
    ):
        expected = run_tool("bet", example(name), *args, expect=(0, 3))
        result = fiofla.bet(iso, **kwargs)
        keys = [k for k in expected if k not in ("file", "points_used", "points_dropped")]
        assert_same(result, expected, keys)
        if "auto_range" in expected:
            assert_same(result.auto_range, expected["auto_range"])
        if "points_used" in expected:
            same_table(
                result.points_used,
                expected["points_used"],
                ["point", "relative_pressure", "quantity_cm3_per_g_stp", "bet_transform_g_per_cm3_stp"],
            )
        assert result.ok == ("surface_area_m2_per_g" in expected)


@pytest.mark.parametrize("name", ["n2_77k_silica.csv", "n2_77k_carbon.csv", "n2_77k_run.json"])
def test_tplot_matches_the_tool(name):
    iso = fiofla.read_isotherm(example(name))
    for args, kwargs in (([], {}), (["--thickness", "halsey", "--t-range", "4:7"], {"thickness": "halsey", "t_range": (4, 7)})):
        expected = run_tool("tplot", example(name), *args, expect=(0, 3))
        result = fiofla.tplot(iso, **kwargs)
        if not expected:
            assert not result.ok and result.reason
            continue
        keys = [k for k in expected if k not in ("file", "points")]
        assert_same(result, expected, keys)
        same_table(result.points, expected["points"], list(expected["points"][0]))


@pytest.mark.parametrize("name", ["n2_77k_silica.csv", "n2_77k_run.json"])
def test_bjh_matches_the_tool(name):
    iso = fiofla.read_isotherm(example(name))
    for args, kwargs in (
        ([], {}),
        (["--branch", "adsorption", "--method", "kjs"], {"branch": "adsorption", "method": "kjs"}),
        (["--method", "widening", "--diameter-range", "20:500"], {"method": "widening", "diameter_range": (20, 500)}),
    ):
        expected = run_tool("bjh", example(name), *args, expect=(0, 3))
        result = fiofla.bjh(iso, **kwargs)
        if not expected:
            assert not result.ok
            continue
        keys = [k for k in expected if k not in ("file", "intervals", "points_dropped", "steps_without_pores")]
        assert_same(result, expected, keys)
        same_table(result.intervals, expected["intervals"], list(expected["intervals"][0]))
        assert len(result.points_dropped["point"]) == len(expected["points_dropped"])


def test_results_read_as_python(silica):
    bet = fiofla.bet(silica)
    assert isinstance(bet, fiofla.BetResult) and bet.ok
    d = bet.to_dict()
    assert d["surface_area_m2_per_g"] == bet.surface_area_m2_per_g
    assert isinstance(bet.points_used["relative_pressure"], np.ndarray)
    assert "surface_area_m2_per_g" in repr(bet) and "BetResult" in repr(bet)
    assert "<svg" in bet._repr_html_()
    assert "<svg" in silica._repr_html_()
    assert "surface_area_m2_per_g" in dir(bet)
    with pytest.raises(AttributeError):
        bet.no_such_value
    # A range holding one point gives no result, and the repr says it may not be used.
    x = silica.relative_pressure
    lo = float(x[x > 0.1][0])
    none = fiofla.bet(silica, range=(lo - 1e-6, lo + 1e-6))
    assert not none.ok and "not usable" in repr(none) and none.reason


def test_dataframes(silica):
    pandas = pytest.importorskip("pandas")
    frame = fiofla.bjh(silica).to_dataframe()
    assert isinstance(frame, pandas.DataFrame) and "dv_dlogd_cm3_per_g" in frame
    points = silica.to_dataframe()
    assert list(points["loading"]) == list(silica.loading)


def test_bad_arguments_raise_with_the_message(silica):
    cases = [
        (dict(range=(0.3, 0.1)), "range (0.3, 0.1) must satisfy 0 <= lo < hi <= 1"),
        (dict(range="best"), "range 'best' is not (lo, hi) or 'auto'"),
        (dict(cross_section=-1), "cross_section (nm2) -1 is not a positive number"),
        (dict(min_points=2), "min_points 2 is not a whole number of points >= 3"),
    ]
    for kwargs, message in cases:
        with pytest.raises(fiofla.InputError) as e:
            fiofla.bet(silica, **kwargs)
        assert str(e.value) == message
        assert isinstance(e.value, ValueError)
    with pytest.raises(fiofla.InputError, match="is not halsey, harkins-jura"):
        fiofla.tplot(silica, thickness="steele")
    with pytest.raises(fiofla.InputError, match="method 'bjh' is not classical"):
        fiofla.bjh(silica, method="bjh")


def test_reader_errors_carry_the_tool_message(tmp_path):
    bad = tmp_path / "bad.csv"
    bad.write_text("relative_pressure,loading [cm3/g STP]\n0.1,abc\n")
    for path in (str(bad), str(tmp_path / "missing.csv")):
        proc = subprocess.run([TOOL, "bet", path], capture_output=True, text=True)
        tool_message = proc.stderr.strip().splitlines()[-1].removeprefix("fiofla bet: ")
        with pytest.raises(fiofla.InputError) as e:
            fiofla.read_isotherm(path)
        assert str(e.value) == tool_message
