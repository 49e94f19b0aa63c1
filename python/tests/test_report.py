"""fiofla.report writes the tool's report."""

import json
import re
import subprocess

import fiofla
from conftest import TOOL, example


def _without_generator(text):
    return re.sub(r"fiofla [0-9.]+", "fiofla", text)


def test_report_equals_the_tools(tmp_path):
    files = [example("n2_77k_silica.csv"), example("n2_77k_carbon.csv")]
    for args, kwargs, name in (
        ([], {}, "one"),
        (["--auto", "--kernel", "n2-77-carbon-slit", "--fit", "langmuir,bet"],
         {"range": "auto", "kernel": "n2-77-carbon-slit", "fit": "langmuir,bet"}, "all"),
    ):
        ours = tmp_path / f"{name}.json"
        tools = tmp_path / f"{name}_tool.json"
        subprocess.run([TOOL, "report", *files, *args, "-o", str(tools)], check=True, capture_output=True)
        assert fiofla.report([fiofla.read_isotherm(f) for f in files], ours, **kwargs) == ours
        assert json.loads(_without_generator(ours.read_text())) == json.loads(
            _without_generator(tools.read_text()))


def test_report_html_and_text(tmp_path):
    html = fiofla.report(example("n2_77k_silica.csv"))
    assert html.startswith("<!DOCTYPE html>") and "<svg" in html
    path = tmp_path / "r.txt"
    fiofla.report(example("n2_77k_silica.csv"), str(path))
    assert "BET" in path.read_text()
