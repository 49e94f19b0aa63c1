#!/usr/bin/env python3
"""What the Python bindings add to a call: fiofla.bet on the bundled 55-point silica isotherm
timed with timeit, against the same C++ (the body of the binding, argument reading left
out) timed in a C++ loop; and the cost of reading values off a result.

    PYTHONPATH=build/python python3 python/bench/bindings_bench.py
"""

import pathlib
import statistics
import timeit

import fiofla
from fiofla import _fiofla

EXAMPLE = pathlib.Path(__file__).resolve().parents[2] / "data" / "examples" / "n2_77k_silica.csv"


def best(stmt, number, repeat=7, **names):
    times = timeit.repeat(stmt, number=number, repeat=repeat, globals=names)
    return min(times) / number, statistics.median(times) / number


def main():
    iso = fiofla.read_isotherm(EXAMPLE)
    n = 20000
    cpp = sorted(_fiofla._time_bet(iso, n) for _ in range(7))
    py_best, py_median = best("bet(iso)", n, bet=fiofla.bet, iso=iso)
    print(f"bet, C++ loop:        best {cpp[0] * 1e6:.3f} us, median {cpp[3] * 1e6:.3f} us")
    print(f"bet, Python call:     best {py_best * 1e6:.3f} us, median {py_median * 1e6:.3f} us")
    print(f"overhead:             best {(py_best - cpp[0]) * 1e6:.3f} us, "
          f"median {(py_median - cpp[3]) * 1e6:.3f} us")
    kw_best, kw_median = best("bet(iso, range=(0.05, 0.3), cross_section=0.162)", n,
                              bet=fiofla.bet, iso=iso)
    print(f"bet with keywords:    best {kw_best * 1e6:.3f} us, median {kw_median * 1e6:.3f} us")
    result = fiofla.bet(iso)
    a_best, a_median = best("r.surface_area_m2_per_g", 200000, r=result)
    print(f"one attribute:        best {a_best * 1e9:.0f} ns, median {a_median * 1e9:.0f} ns")
    d_best, d_median = best("r.to_dict()", 5000, r=result)
    print(f"to_dict():            best {d_best * 1e6:.2f} us, median {d_median * 1e6:.2f} us")
    r_best, r_median = best("read(p)", 2000, read=fiofla.read_isotherm, p=str(EXAMPLE))
    print(f"read_isotherm:        best {r_best * 1e6:.2f} us, median {r_median * 1e6:.2f} us")


if __name__ == "__main__":
    main()
