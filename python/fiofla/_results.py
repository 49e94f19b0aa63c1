"""What results and isotherms do in Python: to_dict(), repr, DataFrames, notebook plots.

The values live in the extension; these methods only arrange them.
"""

import math

from . import _fiofla


def _plain(value):
    """A value as plain Python: arrays become lists, dicts are walked."""
    if isinstance(value, dict):
        return {k: _plain(v) for k, v in value.items()}
    if hasattr(value, "tolist"):
        return value.tolist()
    return value


def _to_dict(self, plain=False):
    """The values as a dict under the tool's JSON keys; plain=True gives lists, not arrays."""
    d = {key: self[key] for key in self.keys()}
    d["ok"] = self.ok
    if not self.ok:
        d["reason"] = self.reason
    return _plain(d) if plain else d


def _short(value):
    if isinstance(value, float):
        return "nan" if math.isnan(value) else f"{value:.6g}"
    if hasattr(value, "tolist"):
        value = value.tolist()
        if len(value) > 4:
            return f"[{len(value)} values]"
        return "[" + ", ".join(_short(v) for v in value) + "]"
    return repr(value)


def _repr(self):
    name = type(self).__name__
    if not self.ok:
        return f"<{name} not usable: {self.reason}>"
    keys = set(self.keys())
    parts = [f"{k}={_short(self[k])}" for k in self._headline if k in keys]
    warnings = self["warnings"] if "warnings" in keys else []
    if warnings:
        parts.append(f"{len(warnings)} warning" + ("" if len(warnings) == 1 else "s"))
    return f"<{name} " + ", ".join(parts) + ">"


def _to_dataframe(self, table=None):
    """A table of the result (its main table by default) as a pandas DataFrame."""
    import pandas

    key = table or self._main_table
    if not key:
        raise ValueError(f"{type(self).__name__} has no table")
    return pandas.DataFrame(self[key])


def _repr_html(self):
    head = "<pre>" + _html_escape(repr(self)) + "</pre>"
    if not self.ok:
        return head
    plots = self._html()
    return head + (plots or "")


def _html_escape(text):
    return text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")


_fiofla.Result.to_dict = _to_dict
_fiofla.Result.__repr__ = _repr
_fiofla.Result.to_dataframe = _to_dataframe
_fiofla.Result._repr_html_ = _repr_html


def _iso_repr(self):
    m = self.metadata
    what = ", ".join(
        s
        for s in (
            m.get("adsorptive") or "",
            f"{m['temperature_k']:.6g} K" if not math.isnan(m["temperature_k"]) else "",
            m.get("material") or "",
        )
        if s
    )
    branches = self.branch
    ads = int((branches == "adsorption").sum())
    return (
        f"<Isotherm {self.source!r}: {len(self)} points ({ads} adsorption, "
        f"{len(self) - ads} desorption)" + (f", {what}" if what else "") + ">"
    )


def _iso_to_dataframe(self):
    """The points as a DataFrame: pressure (mmHg), relative_pressure, loading (cm3/g STP),
    p0 (mmHg) and branch."""
    import pandas

    return pandas.DataFrame(
        {
            "pressure": self.pressure,
            "relative_pressure": self.relative_pressure,
            "loading": self.loading,
            "p0": self.p0,
            "branch": self.branch,
        }
    )


def _iso_repr_html(self):
    return "<pre>" + _html_escape(repr(self)) + "</pre>" + self._html()


_fiofla.Isotherm.__repr__ = _iso_repr
_fiofla.Isotherm.to_dataframe = _iso_to_dataframe
_fiofla.Isotherm._repr_html_ = _iso_repr_html
