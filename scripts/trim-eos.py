#!/usr/bin/env python3
"""Copies the reference equation-of-state coefficient files into data/eos/, trimmed.

The source files carry transport, ideal-gas, caloric and spline data the library
never reads; keeping only what the gas-table generator uses makes the shipped
files an eighth of the size and easy to review. Kept keys keep their original
names and nesting, so a trimmed file is still a valid subset of its source.

Usage: python3 scripts/trim-eos.py SOURCE_DIR
"""

import datetime
import json
import os
import shutil
import sys

FLUIDS = ["Argon", "CarbonDioxide", "Hydrogen", "Krypton", "Methane", "Nitrogen", "Oxygen"]
SOURCE_COMMIT = "ea27c6394887390270a03dcd0ad00a1274be4efc"

# Keys of EOS[0] copied whole; the *_units companions travel with their values so
# every number in the trimmed file still says its unit.
EOS_KEYS = [
    "alphar", "gas_constant", "gas_constant_units", "molar_mass", "molar_mass_units",
    "Ttriple", "Ttriple_units", "pseudo_pure", "BibTeX_EOS", "p_max", "p_max_units",
    "T_max", "T_max_units",
]
STATE_KEYS = ["reducing", "sat_min_liquid", "sat_min_vapor"]
ANCILLARY_KEYS = ["pS", "rhoL", "rhoV", "surface_tension"]
INFO_KEYS = ["NAME", "ALIASES"]

# Residual terms the library evaluates; anything else must stop the copy rather
# than ship a file the library would refuse.
KNOWN_TERMS = {
    "ResidualHelmholtzPower", "ResidualHelmholtzGaussian", "ResidualHelmholtzNonAnalytic",
}


def pick(source, keys, where):
    missing = [k for k in keys if k not in source]
    if missing:
        raise KeyError(f"{where}: missing {', '.join(missing)}")
    return {k: source[k] for k in keys}


def trim(fluid, data, today):
    eos = data["EOS"][0]
    for term in eos["alphar"]:
        if term["type"] not in KNOWN_TERMS:
            raise ValueError(f"{fluid}: residual term type {term['type']} is not supported")
    kept_eos = pick(eos, EOS_KEYS, f"{fluid} EOS[0]")
    kept_eos["STATES"] = pick(eos["STATES"], STATE_KEYS, f"{fluid} EOS[0].STATES")
    return {
        "metadata": {
            "source": f"CoolProp fluid data file dev/fluids/{fluid}.json at commit {SOURCE_COMMIT}",
            "licence": "MIT, see LICENSE in this folder",
            "eos_reference": eos["BibTeX_EOS"],
            "date_copied": today,
        },
        "INFO": pick(data["INFO"], INFO_KEYS, f"{fluid} INFO"),
        "EOS": [kept_eos],
        "ANCILLARIES": pick(data["ANCILLARIES"], ANCILLARY_KEYS, f"{fluid} ANCILLARIES"),
    }


README = """# Reference equation-of-state coefficients

One JSON file per fluid, read by `fiofla::HelmholtzEos` (include/fiofla/gas_eos.h) to
generate gas compressibility tables.

Source: the public fluid data files of the CoolProp project, dev/fluids/<Fluid>.json at
commit {commit}, MIT licence (notice in LICENSE beside this file). The coefficients are
published values from the papers cited in each file's `EOS[0].BibTeX_EOS`: nitrogen, Span
et al. 2000; argon, Tegeler et al. 1999; krypton, Lemmon and Span 2006; carbon dioxide,
Span and Wagner 1996; hydrogen, Leachman et al. 2009; methane, Setzmann and Wagner 1991;
oxygen, Schmidt and Wagner 1985.

What was kept, under the original key names and nesting:
- `INFO`: `NAME`, `ALIASES`;
- `EOS[0]`: the residual Helmholtz terms `alphar`, `STATES` `reducing`, `sat_min_liquid`
  and `sat_min_vapor` (critical and triple-point saturation states), `gas_constant`
  (J/mol/K), `molar_mass` (kg/mol), `Ttriple` (K), `pseudo_pure`, `BibTeX_EOS`, `p_max`
  (Pa) and `T_max` (K), with their `*_units` entries;
- `ANCILLARIES`: `pS`, `rhoL`, `rhoV` (saturation pressure and densities) and
  `surface_tension`.

Everything else (ideal-gas part, transport, caloric ancillaries, splines) was dropped.
Each file gains a top-level `metadata` object: source, licence, equation reference and
the date copied.

Regenerate from a folder holding the original files:

    python3 scripts/trim-eos.py SOURCE_DIR
"""


def main(argv):
    if len(argv) != 2:
        sys.stderr.write("usage: python3 scripts/trim-eos.py SOURCE_DIR\n")
        return 2
    source_dir = argv[1]
    target_dir = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data", "eos")
    target_dir = os.path.normpath(target_dir)
    os.makedirs(target_dir, exist_ok=True)
    today = datetime.date.today().isoformat()
    for fluid in FLUIDS:
        with open(os.path.join(source_dir, fluid + ".json"), encoding="utf-8") as f:
            data = json.load(f)
        trimmed = trim(fluid, data, today)
        with open(os.path.join(target_dir, fluid + ".json"), "w", encoding="utf-8") as f:
            json.dump(trimmed, f, indent=2)
            f.write("\n")
    shutil.copyfile(os.path.join(source_dir, "LICENSE"), os.path.join(target_dir, "LICENSE"))
    with open(os.path.join(target_dir, "README.md"), "w", encoding="utf-8") as f:
        f.write(README.format(commit=SOURCE_COMMIT))
    print(f"wrote {len(FLUIDS)} fluids to {target_dir}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
