#!/usr/bin/env python3
"""The batch analysis of many isotherm files on a Dask cluster.

Each task runs fiofla on a chunk of files (one thread per task: Dask gives the parallelism)
and the chunks' rows are gathered, in file order, into one table identical to what
`fiofla batch FILES -o OUT.csv` writes. Without --scheduler a LocalCluster is started on this
machine; with it, the cluster at that address is used (its workers need fiofla importable
and the files readable at the same paths).

    python3 dask_batch.py data/examples -o results.csv
    python3 dask_batch.py --scheduler tcp://10.0.0.5:8786 /shared/isotherms -o results.csv
    python3 dask_batch.py --simulate 300 /tmp/isotherms -o results.csv   # make test files first
"""

import argparse
import math
import os
import sys
import time

import fiofla
from fiofla._batch import to_csv


def simulate(count, folder, seed=7):
    """Writes `count` synthetic nitrogen isotherms at 77 K (n-layer BET with a capillary
    condensation step and its hysteresis, 0.2 % noise, fixed seed) as CSV files; returns
    their paths."""
    import numpy as np

    rng = np.random.default_rng(seed)
    os.makedirs(folder, exist_ok=True)
    x_ads = 0.01 + 0.97 * np.linspace(0.0, 1.0, 40) ** 1.6
    x_des = np.linspace(0.97, 0.35, 20)
    paths = []
    for i in range(count):
        c = rng.uniform(40.0, 250.0)
        qm = rng.uniform(30.0, 300.0)
        layers = int(rng.integers(4, 12))
        step = rng.uniform(0.0, 2.0) * qm
        p_ads = rng.uniform(0.6, 0.85)
        p_des = p_ads - rng.uniform(0.05, 0.15)

        def q(x, at):
            n = layers
            bet = (qm * c * x / (1 - x) * (1 - (n + 1) * x**n + n * x ** (n + 1))
                   / (1 + (c - 1) * x - c * x ** (n + 1)))
            return bet + step / (1 + np.exp(-(x - at) / 0.015))

        rows = [(x, q(x, p_ads), "adsorption") for x in x_ads]
        rows += [(x, q(x, p_des), "desorption") for x in x_des]
        path = os.path.join(folder, f"sim_{i:05d}.csv")
        with open(path, "w") as f:
            f.write("# adsorptive: N2; temperature: 77.35 K\n")
            f.write("relative_pressure,loading [cm3/g STP],branch\n")
            for x, value, branch in rows:
                noisy = value * (1 + 0.002 * rng.uniform(-1, 1))
                f.write(f"{x:.10g},{noisy:.10g},{branch}\n")
        paths.append(path)
    return paths


def run_chunk(files, analyses):
    """One task: the rows of a chunk of files, as lists."""
    table = fiofla.batch(files, analyses=analyses, jobs=1, as_dataframe=False)
    return [list(row.values()) for row in table], list(table[0]) if table else []


def dask_batch(files, client, analyses=("bet", "tplot", "bjh"), chunk=25):
    """The batch table of `files` computed on `client`'s cluster, rows in file order."""
    import dask.bag as db

    chunks = [files[i : i + chunk] for i in range(0, len(files), chunk)]
    bag = db.from_sequence(chunks, npartitions=len(chunks))
    parts = client.compute(bag.map(run_chunk, list(analyses))).result()
    columns = next((cols for _, cols in parts if cols), None)
    rows = [row for part, _ in parts for row in part]
    return [dict(zip(columns, row)) for row in rows]


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("paths", nargs="+", help="isotherm files and folders of them")
    parser.add_argument("-o", "--output", help="write the table as CSV (as fiofla batch)")
    parser.add_argument("--scheduler", help="address of a running Dask scheduler")
    parser.add_argument("--workers", type=int, default=2, help="LocalCluster workers (default 2)")
    parser.add_argument("--chunk", type=int, default=25, help="files per task (default 25)")
    parser.add_argument("--analyses", default="bet,tplot,bjh")
    parser.add_argument("--simulate", type=int, metavar="N",
                        help="first write N synthetic isotherms into the one folder given")
    args = parser.parse_args(argv)
    if args.simulate:
        if len(args.paths) != 1:
            parser.error("--simulate writes into one folder")
        simulate(args.simulate, args.paths[0])

    from dask.distributed import Client, LocalCluster

    files = fiofla.batch_files(args.paths)
    analyses = [a for a in args.analyses.split(",") if a]
    if args.scheduler:
        cluster = None
        client = Client(args.scheduler)
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1,
                               dashboard_address=None)
        client = Client(cluster)
    try:
        start = time.perf_counter()
        table = dask_batch(files, client, analyses, args.chunk)
        seconds = time.perf_counter() - start
    finally:
        client.close()
        if cluster is not None:
            cluster.close()
    text = to_csv(table, analyses)
    if args.output:
        with open(args.output, "w") as f:
            f.write(text)
    else:
        sys.stdout.write(text)
    rate = len(files) / seconds if seconds > 0 else math.inf
    print(f"dask_batch: {len(files)} files in {seconds:.2f} s, {rate:.0f} files/s",
          file=sys.stderr)


if __name__ == "__main__":
    main()
