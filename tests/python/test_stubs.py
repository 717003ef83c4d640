"""The type stub tells what the module has, and type checkers accept what uses it."""

import os
import subprocess
import sys

from conftest import PROJECT
from stubs import stub_text

PACKAGE = PROJECT / "python" / "korrin"


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
    assert len(programs) == 3
    assert "Success" in check_types(*programs, PACKAGE / "plot.py")


def test_wrong_programs_do_not_check(tmp_path):
    program = tmp_path / "wrong.py"
    program.write_text("import korrin\nkorrin.OccupancyMap(1, 2)\nkorrin.Pose2D().heading\n")
    told = check_types(program)
    assert "wrong.py:2: error: No overload" in told
    assert 'wrong.py:3: error: "Pose2D" has no attribute "heading"' in told
