"""Analyses of families of isotherms: IAST, isosteric heats and the virial equation,
chemisorption, and the reduction of measurement files.

Keyword arguments become the tool's option spellings and go through its own option
declarations; the analyses then run in-process with the GIL released on the isotherms as
held (paths are read as the tool reads them), so the values and keys are those of
``fiofla iast|heat|chemi|hk --json``.
"""

import os

from . import _fiofla


def _pressure(value, what):
    if value is None:
        return None
    if isinstance(value, str):
        return value
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        raise _fiofla.InputError(f"{what} {value!r} is not a number or a pressure with a unit")
    return repr(float(value))


def _list(value):
    if value is None:
        return None
    if isinstance(value, str):
        return value
    return ",".join(repr(float(v)) if not isinstance(v, str) else v for v in value)


def _range(value, what, count=False):
    if value is None:
        return None
    try:
        parts = [repr(float(v)) for v in value[:2]] + ([str(int(value[2]))] if count else [])
        if len(value) != (3 if count else 2):
            raise TypeError
    except (TypeError, ValueError):
        shape = "(lo, hi, n)" if count else "(lo, hi)"
        raise _fiofla.InputError(f"{what} {value!r} is not {shape}") from None
    return ":".join(parts)


def _options(**options):
    args = []
    for name, value in options.items():
        if value is None or value is False:
            continue
        flag = "--" + name.replace("_", "-")
        args += [flag] if value is True else [flag, str(value)]
    return args


def iast(components, fractions, *, models=None, pressure=None, pressures=None,
         compositions=None, reverse=False, pressure_unit=None, loading_unit=None, p0=None,
         report=None):
    """Mixture adsorption by ideal adsorbed solution theory.

    components: the pure-component isotherms (Isotherm or path), each described by its
    points or, with ``models`` (one name or None per component), by a fitted model.
    fractions: gas mole fractions (adsorbed ones with reverse=True). One of pressure (a
    number in the working pressure unit, or text with a unit: "65bar"), pressures=(lo, hi,
    n) spaced in log P, or compositions=n (a binary mixture at n gas compositions).
    Returns an IastResult: ``points`` is the table of solved points.
    """
    models = list(models) if models is not None else [None] * len(components)
    if len(models) != len(components):
        raise _fiofla.InputError(
            f"models names {len(models)} models for {len(components)} components")
    args = _options(
        fractions=_list(fractions), pressure=_pressure(pressure, "pressure"),
        pressures=_range(pressures, "pressures", count=True),
        compositions=compositions, reverse=bool(reverse), pressure_unit=pressure_unit,
        loading_unit=loading_unit, report=os.fspath(report) if report else None)
    return _fiofla._iast(list(components), models, args, p0)


def _heat(isotherms, method, loadings, orders, p0, report, virial):
    args = _options(
        method=method, loadings=_range(loadings, "loadings", count=True),
        orders=",".join(str(int(o)) for o in orders) if orders else None,
        report=os.fspath(report) if report else None)
    return _fiofla._isosteric(list(isotherms), args, p0, virial)


def isosteric_heat(isotherms, *, loadings=None, p0=None, report=None):
    """Isosteric heat of adsorption from isotherms at several temperatures (Clausius-
    Clapeyron: a line through the isotherms interpolated at each loading).

    loadings: (lo, hi, n) in the files' loading unit (default: 10 over the shared range).
    Returns a HeatResult; ``heats`` is the table of heats by loading.
    """
    return _heat(isotherms, None, loadings, None, p0, report, False)


def virial(isotherms, *, orders=None, loadings=None, p0=None, report=None):
    """The thermal virial equation ln P = ln N + (1/T) sum a_i N^i + sum b_j N^j fitted to
    isotherms at several temperatures at once, and the heat of adsorption it gives.

    orders: (M, K) of the sums; default chosen by AICc up to (6, 4).
    Returns a VirialResult; ``virial`` holds the fitted equation.
    """
    return _heat(isotherms, "virial", loadings, orders, p0, report, True)


def chemisorption(combined, weak=None, *, range=None, metal=None, loading=None, gas=None,
                  stoichiometry=None, uptake=None, shape_factor=None, molar_mass=None,
                  density=None, atom_area=None, report=None):
    """Static chemisorption: the monolayer uptakes of the combined isotherm and, with the
    weak (repeat) isotherm, of their difference; with metal and loading (wt%) the
    dispersion, the metal area and the crystallite size.

    range: (lo, hi) pressure range of the straight-line extrapolation, mmHg.
    Returns a ChemisorptionResult.
    """
    args = _options(
        range=_range(range, "range"), metal=metal,
        loading=None if loading is None else (loading if isinstance(loading, str) else repr(float(loading))),
        gas=gas, stoichiometry=stoichiometry, uptake=uptake, shape_factor=shape_factor,
        molar_mass=molar_mass, density=density, atom_area=atom_area,
        report=os.fspath(report) if report else None)
    return _fiofla._chemisorption(combined, weak, args)


def reduce(run, output=None, *, gas_dir=None):
    """Reduces a measurement file (a raw run) to an isotherm, as ``fiofla reduce`` does, and
    returns it as an Isotherm; with ``output`` the reduced CSV is kept there too."""
    return _fiofla._reduce(os.fspath(run), os.fspath(output) if output else "",
                           os.fspath(gas_dir) if gas_dir else "")


def _constants(value, what):
    if value is None or isinstance(value, str):
        return value
    try:
        return ",".join(repr(float(v)) for v in value)
    except (TypeError, ValueError):
        raise _fiofla.InputError(f"{what} {value!r} is not four numbers (d, alpha, chi, n)") from None


def hk(isotherm, *, geometry=None, method=None, adsorbent=None, adsorbate=None,
       adsorbent_constants=None, adsorbate_constants=None, max_p_rel=None, max_width=None,
       density_conversion=None):
    """Horvath-Kawazoe micropore-size distribution of the adsorption branch.

    geometry: "slit" (default), "cylinder" or "sphere"; method: "horvath-kawazoe" (default),
    "cheng-yang" or "rege-yang"; adsorbent: "carbon" (default), "zeolite" or "alpo";
    adsorbate: a shipped name (default: the isotherm's adsorptive). The constants replace
    the named ones' as (d Å, alpha cm3, chi cm3, n 1/cm2). max_p_rel: highest P/Po used;
    max_width: largest width searched, Å. Returns an HkResult.
    """
    args = _options(
        geometry=geometry, method=method, adsorbent=adsorbent, adsorbate=adsorbate,
        adsorbent_constants=_constants(adsorbent_constants, "adsorbent_constants"),
        adsorbate_constants=_constants(adsorbate_constants, "adsorbate_constants"),
        max_p_rel=max_p_rel, max_width=max_width, density_conversion=density_conversion)
    return _fiofla._hk(isotherm, args)
