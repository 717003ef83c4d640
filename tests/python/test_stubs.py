"""The type stub tells what the module has, and type checkers accept what uses it."""

import os
import subprocess
import sys

import pytest
from conftest import PROJECT
from stubs import stub_text

import korrin

PACKAGE = PROJECT / "python" / "korrin"
# What has its types in itself.
TYPED = ("plot", "mapping", "_pose_graphs", "_scan_aligner", "fleet", "ros")
TYPED += tuple(sorted(path.stem for kind in ("fleet", "ros") for path in PACKAGE.glob(f"_{kind}_*.py")))


def test_the_stub_is_up_to_date():
    stored = (PACKAGE / "__init__.pyi").read_text()
    assert stored == stub_text(), "run scripts/update-stubs and look at what changed"


def check_types(*files):
    done = subprocess.run(
        # Not every Debian package brings its own types.
        [sys.executable, "-m", "mypy", "--strict", "--ignore-missing-imports"]
        + ["--cache-dir", os.devnull, *map(str, files)],
        env={**os.environ, "MYPYPATH": str(PROJECT / "python")},
        cwd=PROJECT,
        capture_output=True,
        text=True,
        check=False,
    )
    return done.stdout


def test_programs_check():
    programs = sorted((PROJECT / "python" / "tutorials").glob("*.py"))
    assert len(programs) == 4
    assert "Success" in check_types(*programs, *(PACKAGE / f"{name}.py" for name in TYPED))


CALLS = PROJECT / "tests" / "python" / "typed_calls.py"


def test_calls_that_work_check():
    exec(compile(CALLS.read_text(), str(CALLS), "exec"), {})
    assert "Success" in check_types(CALLS)


WRONG = {
    "korrin.OccupancyMap(1, 2)": "No overload",
    "korrin.Pose2D().heading": 'has no attribute "heading"',
    "korrin.OccMapPathFinder(None).compute_path((1,), (2, 3))": "compute_path",
    "korrin.OccMapPathFinder(None).compute_path((1, 2, 3, 4), (2, 3))": "compute_path",
    "korrin.OccMapPathFinder(None).compute_path('here', (2, 3))": "compute_path",
    "korrin.OccMapPathFinder(None).set_neighborhood_type('quadruple')": "incompatible type",
    "korrin.OccMapPathFinder(None).set_neighborhood_type(1)": "incompatible type",
    "korrin.OccupancyMapParams(1, 2, 1, 'middle')": "No overload",
    "korrin.ObstacleDilater(1, 2).dilate(None, 'linear')": "incompatible type",
    "korrin.OccupancyMap.from_array(None)": "Missing positional argument",
    "korrin.OccupancyMap.from_array([[1.0]], 'fine')": "incompatible type",
    "korrin.OccupancyMap(1, 2, 1).shape = (1, 2)": "read-only",
    "korrin.OccupancyMap(1, 2, 1).params.origin = (1,)": "Incompatible types",
    "korrin.OccupancyMap(1, 2, 1).image = object()": "Incompatible types",
    "korrin.Pose2D(1, 2, 3, 4)": "No overload",
}


def test_calls_that_do_not_work_do_not_check(tmp_path):
    program = tmp_path / "wrong.py"
    program.write_text("\n".join(["import korrin", *WRONG]) + "\n")
    told = check_types(program).splitlines()
    for number, (call, complaint) in enumerate(WRONG.items(), start=2):
        lines = [line for line in told if f"wrong.py:{number}: error: " in line]
        assert any(complaint in line for line in lines), (call, lines)


@pytest.mark.parametrize("call", WRONG)
def test_they_do_not_work_either(call):
    with pytest.raises((TypeError, ValueError, AttributeError)):
        exec(call, {"korrin": korrin})
