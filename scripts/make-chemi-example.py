#!/usr/bin/env python3
"""Writes the synthetic hydrogen chemisorption pair data/examples/h2_308k_pt_*.csv.

A 1 wt% Pt catalyst on alumina with 40 % of its platinum exposed: 51.26 umol Pt/g, 20.50
umol/g of it on the surface, so 10.25 umol H2/g held strongly (two Pt per H2), as a
dissociative Langmuir isotherm with K = 50 /mmHg. Weakly held hydrogen: a Langmuir isotherm
of 3 umol/g with K = 0.05 /mmHg, plus physisorption on the support rising by 0.002 umol/g
per mmHg. The combined isotherm is strong + weak; the repeat (weak) isotherm, measured after
evacuation, is weak only, at pressures a little off the first run's, as a real repeat lands.
Both carry 0.02 umol/g of Gaussian noise (fixed seed). Not a measurement.
"""
import math
import pathlib
import random

ROOT = pathlib.Path(__file__).resolve().parent.parent
EXAMPLES = ROOT / "data" / "examples"

STRONG, K_STRONG = 10.25, 50.0
WEAK, K_WEAK, SUPPORT = 3.0, 0.05, 0.002
PRESSURES = [2, 5, 10, 20, 40, 60, 80, 100, 150, 200, 250, 300, 350, 400, 450, 500]


def strong(p):
    s = math.sqrt(K_STRONG * p)
    return STRONG * s / (1.0 + s)


def weak(p):
    return WEAK * K_WEAK * p / (1.0 + K_WEAK * p) + SUPPORT * p


def write(name, what, points):
    lines = [
        "# Synthetic hydrogen chemisorption isotherm at 308.15 K of 1 wt% Pt on alumina (" + what + "),",
        "# made by scripts/make-chemi-example.py (40 % dispersion: 10.25 umol/g H2 held strongly).",
        "# Not a measurement.",
        "# adsorptive: H2; temperature: 308.15 K",
        "pressure [mmHg],loading [umol/g]",
    ]
    lines += ["%.2f,%.4f" % (p, q) for p, q in points]
    (EXAMPLES / name).write_text("\n".join(lines) + "\n")


def main():
    rng = random.Random(2026)
    combined = [(p, strong(p) + weak(p) + rng.gauss(0.0, 0.02)) for p in PRESSURES]
    repeat = [p * (1.0 + rng.uniform(-0.03, 0.03)) for p in PRESSURES]
    weak_run = [(p, weak(p) + rng.gauss(0.0, 0.02)) for p in repeat]
    write("h2_308k_pt_combined.csv", "combined isotherm, first run", combined)
    write("h2_308k_pt_weak.csv", "weak isotherm, repeat run after evacuation", weak_run)


if __name__ == "__main__":
    main()
