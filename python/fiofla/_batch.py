"""fiofla.batch: many isotherm files, one row of main figures each."""

from . import _fiofla

ANALYSES = ("bet", "tplot", "bjh")


def batch(paths, analyses=ANALYSES, jobs=0, p0=None, as_dataframe=None):
    """Reads and analyses every file (folders are walked for isotherm files), one row each in
    the order of the files, as ``fiofla batch`` writes them: file, status ("ok", "doubtful",
    "partial", "error"), adsorptive, the figures of each analysis (units in the column
    names, NaN where none) and message.

    analyses: any of "bet" (automatic range), "tplot", "bjh". jobs: worker threads, 0 for
    one per core; the GIL is released while they run. Returns a pandas DataFrame when pandas
    is installed (as_dataframe=False: a list of dicts).
    """
    columns, rows = _fiofla._batch(paths, list(analyses), int(jobs), p0)
    if as_dataframe is None:
        try:
            import pandas  # noqa: F401

            as_dataframe = True
        except ImportError:
            as_dataframe = False
    if as_dataframe:
        import pandas

        return pandas.DataFrame(rows, columns=columns)
    return [dict(zip(columns, row)) for row in rows]


def to_csv(table, analyses=ANALYSES):
    """A batch table (DataFrame or list of dicts) as the CSV text ``fiofla batch`` writes."""
    if hasattr(table, "itertuples"):
        columns = list(table.columns)
        rows = [list(r) for r in table.itertuples(index=False)]
    else:
        columns = list(table[0]) if table else ["file", "status", "adsorptive", "message"]
        rows = [[row[c] for c in columns] for row in table]
    return _fiofla._batch_csv(columns, rows, list(analyses))
