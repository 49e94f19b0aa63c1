#!/usr/bin/env python3
"""Writes the AIF and NIST ISODB JSON examples from data/examples/n2_77k_silica.csv.

The three files hold the same isotherm in different units (CSV: P/Po and cm3/g STP; AIF:
kPa with Po = 101.325 kPa and mmol/g; ISODB: bar and mmol/g, Po = 1.01325 bar given on the
command line), so the test suite can check that every reader gives the same BET area.
Pressures are exact decimal multiples; loadings keep 15 significant digits.
"""
import json
import pathlib
from decimal import Decimal

ROOT = pathlib.Path(__file__).resolve().parent.parent
EXAMPLES = ROOT / "data" / "examples"
CM3_STP_PER_MMOL = Decimal("22.414")


def read_csv():
    points = []
    for line in (EXAMPLES / "n2_77k_silica.csv").read_text().splitlines():
        if not line or line.startswith("#") or line.startswith("relative_pressure"):
            continue
        x, q = line.split(",")
        points.append((Decimal(x), Decimal(q)))
    top = max(range(len(points)), key=lambda i: (points[i][0], -i))
    return points[: top + 1], points[top + 1:]


def g15(value):
    return "%.15g" % float(value)


def write_aif(ads, des):
    p0 = Decimal("101.325")
    out = [
        "# Synthetic nitrogen isotherm of a mesoporous silica at 77.35 K, made for fiofla's",
        "# examples: the points of n2_77k_silica.csv in kPa and mmol/g. Not a measurement.",
        "data_n2_77k_silica",
        "_exptl_operator 'fiofla example generator'",
        "_exptl_date 2026-11-23",
        "_exptl_instrument 'virtual volumetric analyser'",
        "_exptl_adsorptive N2",
        "_exptl_temperature 77.35",
        "_exptl_sample_mass 0.1002",
        "_adsnt_sample_name 'silica S-1'",
        "_adsnt_material_id 'mesoporous silica (synthetic)'",
        "_adsnt_degas_temperature 573.15",
        "_units_temperature K",
        "_units_pressure kPa",
        "_units_mass g",
        "_units_loading mmol/g",
    ]
    for prefix, points in (("adsorp", ads), ("desorp", des)):
        out += ["", "loop_", f"_{prefix}_pressure", f"_{prefix}_p0", f"_{prefix}_amount"]
        for x, q in points:
            out.append(f"{format((x * p0).normalize(), 'f')} {p0} {g15(q / CM3_STP_PER_MMOL)}")
    (EXAMPLES / "n2_77k_silica.aif").write_text("\n".join(out) + "\n")


def write_isodb(ads, des):
    p0 = Decimal("1.01325")
    data = []
    for x, q in ads + des:
        amount = float(g15(q / CM3_STP_PER_MMOL))
        data.append({
            "pressure": float(x * p0),
            "species_data": [{"InChIKey": "IJGRMHOSHXDMSA-UHFFFAOYSA-N", "composition": 1.0,
                              "adsorption": amount}],
            "total_adsorption": amount,
        })
    doc = {
        "filename": "n2_77k_silica_isodb",
        "category": "sim",
        "tabular_data": True,
        "isotherm_type": "excess",
        "comment": "synthetic isotherm made for fiofla's examples; not a measurement",
        "adsorbent": {"hashkey": "fiofla-example-silica", "name": "mesoporous silica (synthetic)"},
        "adsorbates": [{"InChIKey": "IJGRMHOSHXDMSA-UHFFFAOYSA-N", "name": "Nitrogen"}],
        "temperature": 77.35,
        "pressureUnits": "bar",
        "adsorptionUnits": "mmol/g",
        "compositionType": "molefraction",
        "concentrationUnits": None,
        "isotherm_data": data,
    }
    (EXAMPLES / "n2_77k_silica_isodb.json").write_text(json.dumps(doc, indent=1) + "\n")


if __name__ == "__main__":
    adsorption, desorption = read_csv()
    write_aif(adsorption, desorption)
    write_isodb(adsorption, desorption)
