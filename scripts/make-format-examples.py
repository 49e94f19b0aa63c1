#!/usr/bin/env python3
"""Writes the AIF, NIST ISODB and pyGAPS examples from data/examples/n2_77k_silica.csv.

The files hold the same isotherm in different units (CSV: P/Po and cm3/g STP; AIF: kPa
with Po = 101.325 kPa and mmol/g; ISODB: bar and mmol/g, Po = 1.01325 bar given on the
command line; pyGAPS JSON: P/Po and mg/g; pyGAPS CSV: kPa and mol/kg, Po = 101.325 kPa
given on the command line), so the test suite can check that every reader gives the same
BET area. Pressures are exact decimal multiples; loadings keep 15 significant digits.
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


def nitrogen_molar_mass():
    table = json.loads((ROOT / "data" / "gases" / "nitrogen.fpi").read_text())
    return Decimal(repr(table["molecular weight"]))


def write_pygaps_json(ads, des):
    mg_per_mmol = nitrogen_molar_mass()
    data = []
    for i, (x, q) in enumerate(ads + des):
        point = {"pressure": float(x), "loading": float(g15(q / CM3_STP_PER_MMOL * mg_per_mmol))}
        if i >= len(ads):
            point["branch"] = "des"
        data.append(point)
    doc = {
        "file_version": "3.0",
        "adsorbate": "nitrogen",
        "material": {"name": "silica S-1"},
        "temperature": 77.35,
        "temperature_unit": "K",
        "pressure_mode": "relative",
        "pressure_unit": None,
        "loading_basis": "mass",
        "loading_unit": "mg",
        "material_basis": "mass",
        "material_unit": "g",
        "comment": "synthetic isotherm made for fiofla's examples; not a measurement",
        "isotherm_data": data,
    }
    text = json.dumps(doc, indent=4, sort_keys=True)
    (EXAMPLES / "n2_77k_silica_pygaps.json").write_text(text + "\n")


def write_pygaps_csv(ads, des):
    p0 = Decimal("101.325")
    out = [
        "file_version,3.0",
        "pressure_mode,absolute",
        "pressure_unit,kPa",
        "material_basis,mass",
        "material_unit,kg",
        "loading_basis,molar",
        "loading_unit,mol",
        "temperature_unit,K",
        "adsorbate,nitrogen",
        "material,silica S-1",
        "temperature,77.35",
        "comment,synthetic isotherm made for fiofla's examples; not a measurement",
        "data:[pressure,loading,branch,(otherdata)]",
        "pressure,loading,branch",
    ]
    for i, (x, q) in enumerate(ads + des):
        branch = "des" if i >= len(ads) else "ads"
        out.append(f"{format((x * p0).normalize(), 'f')},{g15(q / CM3_STP_PER_MMOL)},{branch}")
    (EXAMPLES / "n2_77k_silica_pygaps.csv").write_text("\n".join(out) + "\n")


if __name__ == "__main__":
    adsorption, desorption = read_csv()
    write_aif(adsorption, desorption)
    write_isodb(adsorption, desorption)
    write_pygaps_json(adsorption, desorption)
    write_pygaps_csv(adsorption, desorption)
