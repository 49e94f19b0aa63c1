"""fiofla: volumetric gas-sorption analysis.

Read an isotherm, run an analysis, read its result::

    import fiofla
    iso = fiofla.read_isotherm("n2_77k_silica.csv")
    bet = fiofla.bet(iso, range="auto")
    bet.surface_area_m2_per_g

Every analysis releases the GIL while it runs, so Python threads analyse in parallel.
Bad input raises ``fiofla.InputError`` (a ``ValueError``) with the library's message.
"""

from ._fiofla import (
    __version__,
    InputError,
    Isotherm,
    Result,
    BetResult,
    TPlotResult,
    BjhResult,
    DftResult,
    FitResult,
    IastResult,
    HeatResult,
    VirialResult,
    ChemisorptionResult,
    HkResult,
    read_isotherm,
    bet,
    tplot,
    bjh,
    dft,
    kernels,
    fit,
    FittedModel,
    report,
    batch_files,
    Mixture,
)
from . import _results
from ._batch import batch
from ._tool import iast, isosteric_heat, virial, chemisorption, reduce, hk

__all__ = [
    "__version__",
    "InputError",
    "Isotherm",
    "Result",
    "read_isotherm",
    "bet",
    "tplot",
    "bjh",
    "dft",
    "kernels",
    "fit",
    "FittedModel",
    "report",
    "batch",
    "batch_files",
    "iast",
    "isosteric_heat",
    "virial",
    "chemisorption",
    "reduce",
    "hk",
    "Mixture",
]
