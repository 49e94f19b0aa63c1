"""The README's notebook walk-through runs as written."""

import os
import re

import pytest

from conftest import SOURCE_DIR


def test_the_readme_walkthrough_runs(tmp_path, monkeypatch):
    pytest.importorskip("pandas")  # the walk-through shows a DataFrame
    text = (SOURCE_DIR / "README.md").read_text()
    section = text[text.index("## Python") :]
    code = re.search(r"```python\n(.*?)```", section, re.S).group(1)
    # Run from a folder that sees the examples where the README does, so that the report
    # is written there and not into the source tree.
    (tmp_path / "data").mkdir()
    os.symlink(SOURCE_DIR / "data" / "examples", tmp_path / "data" / "examples")
    monkeypatch.chdir(tmp_path)
    namespace = {}
    exec(compile(code, "README.md", "exec"), namespace)
    assert namespace["area"] > 0
    assert (tmp_path / "silica-report.html").read_text().count("<svg") >= 4
