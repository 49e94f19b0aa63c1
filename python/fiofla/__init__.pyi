"""Type stubs of the fiofla package."""

import os
from typing import Any, Iterator, Literal, Mapping, Sequence, overload

import numpy as np
import numpy.typing as npt

__version__: str

PathLike = str | os.PathLike[str]
ArrayLike = npt.ArrayLike
Range = tuple[float, float]

class InputError(ValueError):
    """Bad input: a file, a unit or an argument; the message names what and where."""

class Isotherm:
    """An adsorption isotherm: pressures mmHg, loadings cm3/g STP, points in measured order."""

    def __init__(
        self,
        *,
        pressure: ArrayLike | None = ...,
        loading: ArrayLike | None = ...,
        relative_pressure: ArrayLike | None = ...,
        p0: float | ArrayLike | None = ...,
        branch: Sequence[str] | None = ...,
        pressure_unit: str = "mmHg",
        loading_unit: str = "cm3/g STP",
        adsorptive: str = "",
        temperature: float | None = ...,
        sample_mass: float | None = ...,
        material: str = "",
        name: str = "",
    ) -> None: ...
    def __len__(self) -> int: ...
    @property
    def pressure(self) -> npt.NDArray[np.float64]:
        """Absolute pressure of every point, mmHg (NaN when only P/Po is known)."""
    @property
    def relative_pressure(self) -> npt.NDArray[np.float64]:
        """P/Po of every point."""
    @property
    def loading(self) -> npt.NDArray[np.float64]:
        """Quantity adsorbed of every point, cm3/g STP."""
    @property
    def p0(self) -> npt.NDArray[np.float64]:
        """Po of every point, mmHg (NaN when not known)."""
    @property
    def branch(self) -> npt.NDArray[np.str_]:
        """'adsorption' or 'desorption' for every point."""
    @property
    def metadata(self) -> dict[str, Any]: ...
    @property
    def units(self) -> dict[str, str]: ...
    @property
    def notes(self) -> list[str]: ...
    @property
    def source(self) -> str: ...
    def write(
        self, path: str, format: str = "csv", pressure_unit: str = "", loading_unit: str = ""
    ) -> None: ...
    def to_dataframe(self) -> Any: ...
    def _repr_html_(self) -> str: ...

class Result:
    """Values under the tool's JSON keys, with their units; series as NumPy arrays."""

    ok: bool
    reason: str
    def keys(self) -> list[str]: ...
    def __getattr__(self, name: str) -> Any: ...
    def __getitem__(self, name: str) -> Any: ...
    def to_dict(self, plain: bool = False) -> dict[str, Any]: ...
    def to_dataframe(self, table: str | None = None) -> Any: ...
    def _repr_html_(self) -> str: ...

class BetResult(Result):
    surface_area_m2_per_g: float
    surface_area_error_m2_per_g: float
    c_value: float
    monolayer_capacity_cm3_per_g_stp: float
    slope_g_per_cm3_stp: float
    intercept_g_per_cm3_stp: float
    correlation: float
    range: npt.NDArray[np.float64]
    cross_section_nm2: float
    status: int
    status_text: str
    warnings: list[str]
    points_used: dict[str, np.ndarray]
    points_dropped: dict[str, np.ndarray]
    auto_range: dict[str, Any]

class TPlotResult(Result):
    micropore_volume_cm3_per_g: float
    external_area_m2_per_g: float
    micropore_area_m2_per_g: float
    total_area_m2_per_g: float
    slope_cm3_per_g_per_angstrom: float
    intercept_cm3_per_g: float
    correlation: float
    thickness_curve: str
    points: dict[str, np.ndarray]
    warnings: list[str]

class BjhResult(Result):
    total_pore_volume_cm3_per_g: float
    total_pore_area_m2_per_g: float
    volume_below_range_cm3_per_g: float
    volume_above_range_cm3_per_g: float
    branch: str
    method: str
    intervals: dict[str, np.ndarray]
    points_dropped: dict[str, np.ndarray]
    notes: list[str]
    warnings: list[str]

class DftResult(Result):
    total_pore_volume_cm3_per_g: float
    total_surface_area_m2_per_g: float
    rms_error_cm3_per_g_stp: float
    classes: dict[str, np.ndarray]
    fit: dict[str, np.ndarray]
    warnings: list[str]

class FittedModel:
    name: str
    ok: bool
    status: str
    message: str
    parameters: dict[str, float]
    standard_errors: dict[str, float]
    rms_error: float
    aicc: float
    pressure_unit: str
    loading_unit: str
    @overload
    def loading(self, pressure: float) -> float: ...
    @overload
    def loading(self, pressure: ArrayLike) -> npt.NDArray[np.float64]: ...
    @overload
    def spreading_pressure(self, pressure: float) -> float: ...
    @overload
    def spreading_pressure(self, pressure: ArrayLike) -> npt.NDArray[np.float64]: ...

class FitResult(Result):
    models: list[FittedModel]
    best: FittedModel | None
    best_model: str
    fits: dict[str, np.ndarray]
    parameters: dict[str, np.ndarray]

class IastResult(Result):
    points: dict[str, np.ndarray]
    components: dict[str, np.ndarray]

class HeatResult(Result):
    heats: dict[str, np.ndarray]
    isotherms: dict[str, np.ndarray]

class VirialResult(Result):
    virial: dict[str, Any]
    heats: dict[str, np.ndarray]

class ChemisorptionResult(Result):
    uptakes: dict[str, np.ndarray]
    active_metal: dict[str, Any]

class HkResult(Result):
    micropore_volume_cm3_per_g: float
    median_width_angstrom: float
    intervals: dict[str, np.ndarray]
    points: dict[str, np.ndarray]

def read_isotherm(
    path: PathLike,
    *,
    format: str = "auto",
    p0: float | str | None = ...,
    adsorbent_molar_mass: float | None = ...,
    material_density: float | None = ...,
    require_p0: bool = True,
) -> Isotherm: ...
def bet(
    isotherm: Isotherm | PathLike,
    *,
    range: Range | Literal["auto"] = (0.05, 0.30),
    cross_section: float = 0.162,
    min_points: int = 10,
    min_r2: float = 0.995,
    tolerance: float = 0.20,
) -> BetResult: ...
def tplot(
    isotherm: Isotherm | PathLike,
    *,
    thickness: str = "",
    t_range: Range = (3.5, 5.0),
    bet_area: float | None = ...,
    density_conversion: float = 0.0015468,
) -> TPlotResult: ...
def bjh(
    isotherm: Isotherm | PathLike,
    *,
    branch: Literal["adsorption", "desorption"] | None = ...,
    method: Literal["classical", "corrected", "widening", "kjs"] = "classical",
    thickness: str = "",
    kelvin_constant: float = 9.53,
    radius_fraction: float = 0.0,
    diameter_range: Range = (17.0, 3000.0),
    density_conversion: float = 0.0015468,
) -> BjhResult: ...
def dft(
    isotherm: Isotherm | PathLike,
    *,
    kernel: str,
    kernel_dir: str = "",
    lambda_: float | Literal["auto", "gcv", "lcurve"] = "auto",
    bspline: bool = False,
    clamp: bool = False,
    pressure_range: Range = (0.0, 1.0),
    width_range: Range = ...,
    isotherm2: Isotherm | PathLike | None = ...,
    kernel2: str = "",
) -> DftResult: ...
def kernels(directory: str = "") -> list[dict[str, Any]]: ...
def fit(
    isotherm: Isotherm | PathLike,
    *,
    models: str | Sequence[str] | None = ...,
    pressure_unit: str = "",
    loading_unit: str = "",
    branch: Literal["adsorption", "desorption"] = "adsorption",
    molar_mass: float | None = ...,
) -> FitResult: ...
def report(
    isotherms: Isotherm | PathLike | Sequence[Isotherm | PathLike],
    path: PathLike | None = ...,
    *,
    range: Range | Literal["auto"] = (0.05, 0.30),
    cross_section: float = 0.162,
    thickness: str = "",
    t_range: Range = (3.5, 5.0),
    method: str = "classical",
    branch: str | None = ...,
    kernel: str = "",
    fit: str | Sequence[str] | None = ...,
) -> Any: ...
def batch(
    paths: PathLike | Sequence[PathLike],
    analyses: Sequence[str] = ("bet", "tplot", "bjh"),
    jobs: int = 0,
    p0: float | str | None = ...,
    as_dataframe: bool | None = ...,
) -> Any: ...
def batch_files(paths: PathLike | Sequence[PathLike]) -> list[str]: ...
def iast(
    components: Sequence[Isotherm | PathLike],
    fractions: Sequence[float],
    *,
    models: Sequence[str | None] | None = ...,
    pressure: float | str | None = ...,
    pressures: tuple[float, float, int] | None = ...,
    compositions: int | None = ...,
    reverse: bool = False,
    pressure_unit: str | None = ...,
    loading_unit: str | None = ...,
    p0: float | str | None = ...,
    report: PathLike | None = ...,
) -> IastResult: ...
def isosteric_heat(
    isotherms: Sequence[Isotherm | PathLike],
    *,
    loadings: tuple[float, float, int] | None = ...,
    p0: float | str | None = ...,
    report: PathLike | None = ...,
) -> HeatResult: ...
def virial(
    isotherms: Sequence[Isotherm | PathLike],
    *,
    orders: tuple[int, int] | None = ...,
    loadings: tuple[float, float, int] | None = ...,
    p0: float | str | None = ...,
    report: PathLike | None = ...,
) -> VirialResult: ...
def chemisorption(
    combined: Isotherm | PathLike,
    weak: Isotherm | PathLike | None = ...,
    *,
    range: Range | None = ...,
    metal: str | None = ...,
    loading: float | str | None = ...,
    gas: str | None = ...,
    stoichiometry: float | None = ...,
    uptake: Literal["combined", "strong"] | None = ...,
    shape_factor: str | float | None = ...,
    molar_mass: float | None = ...,
    density: float | None = ...,
    atom_area: float | None = ...,
    report: PathLike | None = ...,
) -> ChemisorptionResult: ...
def reduce(run: PathLike, output: PathLike | None = ..., *, gas_dir: str | None = ...) -> Isotherm: ...
def hk(
    isotherm: Isotherm | PathLike,
    *,
    geometry: Literal["slit", "cylinder", "sphere"] = "slit",
    method: str = "horvath-kawazoe",
    adsorbent: str = "carbon",
    adsorbate: str | None = ...,
    max_p_rel: float | None = ...,
    max_width: float | None = ...,
    density_conversion: float | None = ...,
) -> HkResult: ...

class Mixture:
    """A prepared IAST mixture of FittedModels or (pressures, loadings) pairs."""

    def __init__(
        self,
        components: Sequence[FittedModel | tuple[ArrayLike, ArrayLike]],
        names: Sequence[str] | None = ...,
    ) -> None: ...
    @property
    def names(self) -> list[str]: ...
    @property
    def notes(self) -> str: ...
    def __len__(self) -> int: ...
    def solve(self, fractions: ArrayLike, pressure: float) -> dict[str, Any]: ...
    def reverse(self, adsorbed_fractions: ArrayLike, pressure: float) -> dict[str, Any]: ...
    def sweep(self, fractions: ArrayLike, pressures: ArrayLike) -> dict[str, Any]: ...
