"""Isotherms from files and from arrays."""

import math
import threading

import numpy as np
import pytest

import fiofla
from conftest import example


def test_a_file_reads_into_arrays_and_metadata(silica):
    assert np.isnan(silica.pressure).all()  # the CSV gives P/Po only
    silica = fiofla.read_isotherm(example("n2_77k_silica.aif"))
    n = len(silica)
    assert n > 10
    for name in ("pressure", "relative_pressure", "loading", "p0", "branch"):
        assert getattr(silica, name).shape == (n,)
    assert set(silica.branch) == {"adsorption", "desorption"}
    assert np.allclose(silica.pressure / silica.p0, silica.relative_pressure)
    assert silica.units == {"pressure": "mmHg", "loading": "cm3/g STP"}
    assert silica.metadata["adsorptive"]
    assert "Isotherm" in repr(silica) and str(n) in repr(silica)


def test_every_bundled_format_gives_the_same_silica():
    csv = fiofla.read_isotherm(example("n2_77k_silica.csv"))
    for name, fmt in (("n2_77k_silica.aif", "aif"), ("n2_77k_silica_pygaps.json", "pygaps")):
        other = fiofla.read_isotherm(example(name), format=fmt)
        assert np.allclose(other.relative_pressure, csv.relative_pressure, rtol=1e-6)
        assert np.allclose(other.loading, csv.loading, rtol=1e-6)


def test_arrays_in_other_units_convert_like_a_file():
    silica = fiofla.read_isotherm(example("n2_77k_silica.aif"))
    # kPa and mmol/g: 1 mmol/g is 22.414 cm3/g STP.
    kpa = silica.pressure * 101.325 / 760.0
    mmol = silica.loading / 22.41396954
    iso = fiofla.Isotherm(
        pressure=kpa, loading=mmol, p0=float(silica.p0[0]) * 101.325 / 760.0,
        pressure_unit="kPa", loading_unit="mmol/g", branch=list(silica.branch),
        adsorptive="N2", temperature=77.35,
    )
    assert np.allclose(iso.relative_pressure, silica.relative_pressure, rtol=1e-9)
    assert np.allclose(iso.loading, silica.loading, rtol=1e-4)  # molar volume rounded above
    assert fiofla.bet(iso).surface_area_m2_per_g == pytest.approx(
        fiofla.bet(silica).surface_area_m2_per_g, rel=1e-4)
    # Relative pressures alone, branches split at the highest pressure.
    rel = fiofla.Isotherm(relative_pressure=silica.relative_pressure, loading=silica.loading)
    assert list(rel.branch) == list(silica.branch)
    assert np.isnan(rel.pressure).all()


def test_write_and_read_back(tmp_path):
    silica = fiofla.read_isotherm(example("n2_77k_silica.aif"))
    for fmt, ext in (("csv", "csv"), ("aif", "aif"), ("pygaps", "json")):
        path = tmp_path / f"iso.{ext}"
        silica.write(str(path), format=fmt)
        back = fiofla.read_isotherm(str(path))
        assert np.allclose(back.loading, silica.loading, rtol=1e-9)
        assert np.allclose(back.relative_pressure, silica.relative_pressure, rtol=1e-9)


def test_bad_isotherms_raise_input_error():
    with pytest.raises(fiofla.InputError, match="the pressure list"):
        fiofla.Isotherm(pressure=[1, 2, 3], loading=[1, 2], p0=760)
    with pytest.raises(fiofla.InputError, match="loading is required"):
        fiofla.Isotherm(relative_pressure=[0.1])
    with pytest.raises(fiofla.InputError, match="branch 'up' is not"):
        fiofla.Isotherm(relative_pressure=[0.1, 0.2], loading=[1, 2], branch=["up", "up"])
    with pytest.raises(fiofla.InputError, match="format 'xls' is not one of"):
        fiofla.read_isotherm(example("n2_77k_silica.csv"), format="xls")
    with pytest.raises(fiofla.InputError, match="p0 '12' has no unit"):
        fiofla.read_isotherm(example("n2_77k_silica.csv"), p0="12")
    with pytest.raises(fiofla.InputError):
        fiofla.Isotherm(pressure=[100, 200], loading=[1, 2], pressure_unit="furlong", p0=760)


def test_p0_given_replaces_the_files():
    iso = fiofla.read_isotherm(example("n2_77k_silica.csv"), p0="101.325kPa")
    assert np.allclose(iso.p0, 760.0)
    same = fiofla.read_isotherm(example("n2_77k_silica.csv"), p0=760.0)
    assert np.array_equal(iso.relative_pressure, same.relative_pressure)


def test_threads_run_bet_in_parallel_and_agree_with_a_serial_run():
    files = [example(n) for n in ("n2_77k_silica.csv", "n2_77k_carbon.csv", "n2_77k_run.json")]
    serial = {f: fiofla.bet(fiofla.read_isotherm(f), range="auto").to_dict(plain=True) for f in files}
    out = {}
    errors = []

    def work(path, rounds=200):
        try:
            for _ in range(rounds):
                # Reading in the thread too: each thread has its own gas-table cache.
                result = fiofla.bet(fiofla.read_isotherm(path), range="auto").to_dict(plain=True)
            out[path] = result
        except Exception as e:  # pragma: no cover - reported below
            errors.append(e)

    threads = [threading.Thread(target=work, args=(f,)) for f in files + files[:1]]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert not errors
    for f in files:
        got, want = out[f], serial[f]
        assert got.keys() == want.keys()
        for key in want:
            if isinstance(want[key], float) and math.isnan(want[key]):
                assert math.isnan(got[key])
            else:
                assert got[key] == want[key], key


def test_an_isotherm_pickles_whole():
    import pickle

    iso = fiofla.read_isotherm(example("n2_77k_silica.aif"))
    back = pickle.loads(pickle.dumps(iso))
    for name in ("pressure", "relative_pressure", "loading", "p0", "branch"):
        assert np.array_equal(getattr(back, name), getattr(iso, name))
    assert back.metadata == iso.metadata
    assert fiofla.bet(back).to_dict(plain=True) == fiofla.bet(iso).to_dict(plain=True)
