"""iast, isosteric_heat, virial, chemisorption and reduce give the tool's values."""

import math

import numpy as np
import pytest

import fiofla
from conftest import EXAMPLES, assert_same, example, run_tool, same_table

R = 8.314462618


def _same_result(result, expected, skip=()):
    for key, want in expected.items():
        got = result[key]
        if isinstance(want, list) and want and isinstance(want[0], dict):
            same_table(got, want, [c for c in want[0] if c not in skip], rel=1e-12)
        elif isinstance(want, dict):
            _same_result_dict(got, want)
        else:
            assert_same(result, expected, [key])


def _same_result_dict(got, want):
    for key, value in want.items():
        if isinstance(value, float):
            assert got[key] == pytest.approx(value, rel=1e-12), key
        elif value is None:
            assert math.isnan(got[key]), key
        elif not isinstance(value, (dict, list)):
            assert got[key] == value, key


def test_iast_matches_the_tool():
    ch4, c2h6 = example("ch4_298k_irmof1.csv"), example("c2h6_298k_irmof1.csv")
    for args, kwargs in (
        (["--iso", ch4 + ":langmuir", "--iso", c2h6 + ":langmuir", "--fractions", "0.5,0.5",
          "--pressure", "65bar"],
         dict(models=["langmuir", "langmuir"], fractions=[0.5, 0.5], pressure="65bar")),
        (["--iso", ch4, "--iso", c2h6, "--fractions", "0.3,0.7", "--pressures", "1:50:5"],
         dict(fractions=(0.3, 0.7), pressures=(1, 50, 5))),
    ):
        expected = run_tool("iast", *args)
        result = fiofla.iast([ch4, c2h6], **kwargs)
        assert result.ok
        _same_result(result, expected)
    # Isotherms held in Python give the same points as their files.
    isos = [fiofla.read_isotherm(f, require_p0=False) for f in (ch4, c2h6)]
    again = fiofla.iast(isos, fractions=(0.3, 0.7), pressures=(1, 50, 5))
    assert np.allclose(again.points["total_loading"], result.points["total_loading"], rtol=1e-9)


def test_iast_errors_carry_the_tool_message():
    with pytest.raises(fiofla.InputError, match="fractions"):
        fiofla.iast([example("ch4_298k_irmof1.csv"), example("c2h6_298k_irmof1.csv")],
                    fractions=[0.5, 0.7], pressure=10)


def _langmuir_family(folder, temperatures=(273.0, 298.0, 323.0), heat=20e3):
    """Langmuir isotherms, q = 5 bK p / (1 + K p), K = 1e-4 exp(Q / RT) per kPa."""
    paths = []
    for t in temperatures:
        k = 1e-4 * math.exp(heat / (R * t))
        p = np.geomspace(0.5, 100.0, 15)
        q = 5.0 * k * p / (1.0 + k * p)
        path = folder / f"co2_{int(t)}k.csv"
        rows = "\n".join(f"{a:.12g},{b:.12g}" for a, b in zip(p, q))
        path.write_text(f"# adsorptive: CO2; temperature: {t} K\npressure [kPa],loading [mmol/g]\n{rows}\n")
        paths.append(str(path))
    return paths


def test_isosteric_heat_and_virial_match_the_tool(tmp_path):
    files = _langmuir_family(tmp_path)
    expected = run_tool("heat", "isosteric", *files, "--loadings", "0.5:3:6")
    result = fiofla.isosteric_heat(files, loadings=(0.5, 3, 6))
    assert isinstance(result, fiofla.HeatResult) and result.ok
    _same_result(result, expected)
    # The family was made with a heat of 20 kJ/mol at every loading.
    # (0.5 mmol/g lies below what the coldest isotherm reaches at its first point: NaN.)
    qst = result.heats["qst_kj_per_mol"]
    assert np.isfinite(qst).sum() >= 5
    assert np.allclose(qst[np.isfinite(qst)], 20.0, atol=0.05)
    try:
        frame = result.to_dataframe()
    except ImportError:  # pandas is optional
        frame = None
    if frame is not None:
        assert list(frame["loading"]) == list(result.heats["loading"])
    expected = run_tool("heat", "isosteric", *files, "--method", "virial", "--orders", "2,1")
    result = fiofla.virial(files, orders=(2, 1))
    assert isinstance(result, fiofla.VirialResult)
    _same_result(result, expected)
    # Isotherms held in Python give the heats their files give, named by their sources.
    held = [fiofla.read_isotherm(f, require_p0=False) for f in files]
    again = fiofla.virial(held, orders=(2, 1))
    assert list(again.isotherms["file"]) == files
    assert np.array_equal(again.heats["qst_kj_per_mol"], result.heats["qst_kj_per_mol"])
    with pytest.raises(fiofla.InputError, match="two or more"):
        fiofla.isosteric_heat(held[:1])


def test_p0_gives_pressures_to_isotherms_of_relative_pressures_only():
    """A family held as P/Po only takes its pressures from p0: the heats are those of the
    same family held with the pressures that p0 gives."""
    absolute, relative = [], []
    for t in (273.0, 298.0, 323.0):
        k = 1e-4 * math.exp(20e3 / (R * t))
        p = np.geomspace(4.0, 750.0, 15)  # mmHg
        q = 5.0 * k * p / (1.0 + k * p)
        common = dict(loading=q, adsorptive="CO2", temperature=t)
        absolute.append(fiofla.Isotherm(pressure=p, p0=750.0, **common))
        relative.append(fiofla.Isotherm(relative_pressure=p / 750.0, **common))
    with pytest.raises(fiofla.InputError, match="relative pressures only"):
        fiofla.isosteric_heat(relative)
    expected = fiofla.isosteric_heat(absolute)
    assert np.isfinite(expected.heats["qst_kj_per_mol"]).sum() >= 5
    for p0 in ("750mmHg", 750.0):
        result = fiofla.isosteric_heat(relative, p0=p0)
        assert result.ok
        assert np.allclose(result.heats["qst_kj_per_mol"], expected.heats["qst_kj_per_mol"],
                           rtol=1e-12, equal_nan=True)


def test_chemisorption_matches_the_tool():
    combined, weak = example("h2_308k_pt_combined.csv"), example("h2_308k_pt_weak.csv")
    expected = run_tool("chemi", combined, weak, "--metal", "Pt", "--loading", "1wt%")
    result = fiofla.chemisorption(combined, weak, metal="Pt", loading=1)
    _same_result(result, expected)
    assert result.active_metal["dispersion_percent"] == pytest.approx(40, abs=2)


def test_reduce_gives_the_tools_isotherm(tmp_path):
    import subprocess
    from conftest import TOOL

    out = tmp_path / "tool.csv"
    subprocess.run([TOOL, "reduce", example("n2_77k_run.json"), "-o", str(out)], check=True)
    kept = tmp_path / "kept.csv"
    iso = fiofla.reduce(example("n2_77k_run.json"), kept)
    assert kept.read_text() == out.read_text()
    # Without a file to keep, the isotherm is the one the file holds.
    assert np.array_equal(fiofla.reduce(example("n2_77k_run.json")).loading, iso.loading)
    tool = fiofla.read_isotherm(str(out))
    assert np.array_equal(iso.loading, tool.loading)
    assert np.array_equal(iso.relative_pressure, tool.relative_pressure)
    with pytest.raises(fiofla.InputError):
        fiofla.reduce(example("n2_77k_silica.csv"))


def test_hk_matches_the_tool():
    carbon = example("n2_77k_carbon.csv")
    for args, kwargs in (([], {}), (["--geometry", "cylinder", "--method", "cheng-yang"],
                                    dict(geometry="cylinder", method="cheng-yang"))):
        expected = run_tool("hk", carbon, *args)
        result = fiofla.hk(fiofla.read_isotherm(carbon), **kwargs)
        assert isinstance(result, fiofla.HkResult) and result.ok
        keys = [k for k in expected if k != "file"]
        # Lines name the temporary file the isotherm went over in, not the example's.
        _same_result(result, {k: expected[k] for k in keys}, skip=("line",))
    with pytest.raises(fiofla.InputError, match="geometry"):
        fiofla.hk(carbon, geometry="cube")


def test_threads_mixing_locked_and_free_analyses_finish_and_agree():
    """fit and report take the library's shared gas-table lock; bet and iast run free of it.
    Threads mixing them must neither deadlock on the GIL nor disagree with a serial run."""
    import threading

    ch4, c2h6 = example("ch4_298k_irmof1.csv"), example("c2h6_298k_irmof1.csv")
    silica = fiofla.read_isotherm(example("n2_77k_silica.csv"))
    jobs = {
        "fit": lambda: fiofla.fit(ch4, models="langmuir,toth").to_dict(plain=True),
        "iast": lambda: fiofla.iast([ch4, c2h6], [0.5, 0.5], pressure=10).to_dict(plain=True),
        "bet": lambda: fiofla.bet(silica, range="auto").to_dict(plain=True),
        "report": lambda: len(fiofla.report(silica, fit="langmuir")),
    }
    serial = {name: job() for name, job in jobs.items()}
    out, errors = {}, []

    def work(name):
        try:
            for _ in range(5):
                out[name] = jobs[name]()
        except Exception as e:  # pragma: no cover - reported below
            errors.append(e)

    threads = [threading.Thread(target=work, args=(n,)) for n in jobs]
    for t in threads:
        t.start()
    for t in threads:
        t.join(timeout=120)
    assert not any(t.is_alive() for t in threads), "a thread did not finish"
    assert not errors
    assert {k: repr(v) for k, v in out.items()} == {k: repr(v) for k, v in serial.items()}


def test_direct_analyses_in_threads_agree_with_a_serial_run(tmp_path):
    """hk, chemisorption, the heats and reduce run without the shared lock: threads running them
    side by side, on files and on isotherms held in Python, give what one thread gives."""
    import threading

    family = [fiofla.read_isotherm(f, require_p0=False) for f in _langmuir_family(tmp_path)]
    carbon = fiofla.read_isotherm(example("n2_77k_carbon.csv"))
    combined, weak = example("h2_308k_pt_combined.csv"), example("h2_308k_pt_weak.csv")
    held = fiofla.read_isotherm(combined, require_p0=False)
    jobs = {
        "hk": lambda: fiofla.hk(carbon).to_dict(plain=True),
        "hk_cylinder": lambda: fiofla.hk(carbon, geometry="cylinder",
                                         method="cheng-yang").to_dict(plain=True),
        "chemi": lambda: fiofla.chemisorption(combined, weak, metal="Pt",
                                              loading=1).to_dict(plain=True),
        "chemi_held": lambda: fiofla.chemisorption(held, range=(50, 300)).to_dict(plain=True),
        "heat": lambda: fiofla.isosteric_heat(family, loadings=(0.5, 3, 6)).to_dict(plain=True),
        "virial": lambda: fiofla.virial(family, orders=(2, 1)).to_dict(plain=True),
        "reduce": lambda: fiofla.reduce(example("n2_77k_run.json")).loading.tolist(),
    }
    serial = {name: job() for name, job in jobs.items()}
    out, errors = {}, []

    def work(name):
        try:
            for _ in range(20):
                got = jobs[name]()
                if repr(got) != repr(serial[name]):
                    errors.append(name)
            out[name] = got
        except Exception as e:  # pragma: no cover - reported below
            errors.append(e)

    threads = [threading.Thread(target=work, args=(n,)) for n in jobs for _ in range(2)]
    for t in threads:
        t.start()
    for t in threads:
        t.join(timeout=120)
    assert not any(t.is_alive() for t in threads), "a thread did not finish"
    assert not errors
    assert set(out) == set(jobs)
    # The held isotherm gives the uptakes its file gives, and names itself by its source.
    from_file = fiofla.chemisorption(combined, range=(50, 300))
    assert serial["chemi_held"]["uptakes"] == from_file.to_dict(plain=True)["uptakes"]
    with pytest.raises(fiofla.InputError, match="--loading needs --metal"):
        fiofla.chemisorption(held, loading=1)


def test_a_mixture_of_fitted_models_solves_as_the_tool():
    ch4, c2h6 = example("ch4_298k_irmof1.csv"), example("c2h6_298k_irmof1.csv")
    models = [fiofla.fit(f, models="langmuir").best for f in (ch4, c2h6)]
    mixture = fiofla.Mixture(models, names=["CH4", "C2H6"])
    tool = fiofla.iast([ch4, c2h6], [0.3, 0.7], models=["langmuir", "langmuir"],
                       pressures=(1, 50, 5))
    sweep = mixture.sweep([0.3, 0.7], tool.points["pressure"])
    for key in ("total_loading", "loading_1", "loading_2", "adsorbed_fraction_1"):
        assert np.allclose(sweep[key], tool.points[key], rtol=1e-12), key
    point = mixture.solve([0.3, 0.7], 10.0)
    assert point["ok"] and point["total_loading"] == pytest.approx(sum(point["loadings"]))
    back = mixture.reverse(point["adsorbed_fractions"], 10.0)
    assert np.allclose(back["gas_fractions"], [0.3, 0.7], rtol=1e-10)
    # A pure component is its own isotherm.
    assert mixture.solve([1.0, 0.0], 10.0)["total_loading"] == pytest.approx(models[0].loading(10.0))
    with pytest.raises(fiofla.InputError, match="names has 1 names for 2 components"):
        fiofla.Mixture(models, names=["CH4"])
    with pytest.raises(fiofla.InputError, match="component 2 is not"):
        fiofla.Mixture([models[0], "C2H6"])
