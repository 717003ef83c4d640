"""The tutorials run and leave pictures."""

import os
import subprocess
import sys

import pytest
from conftest import PROJECT
from PIL import Image

PICTURES = {
    "plan_on_your_map": ["plan.png"],
    "map_from_a_log": ["holes.png", "log_to_map.png"],
    "where_am_i": ["two_scans.png", "runner_up.png"],
    "raw_log_to_map": ["1-raw.png", "2-corrected.png", "3-graph.png", "4-located.png"],
}
TUTORIALS = sorted((PROJECT / "python" / "tutorials").glob("*.py"))
# Kept to be looked at where the build names a place, else with pytest's other files.
KEPT = os.environ.get("KORRIN_TUTORIAL_PICTURES")


def test_none_is_left_out():
    assert sorted(PICTURES) == [tutorial.stem for tutorial in TUTORIALS]


@pytest.mark.parametrize("tutorial", TUTORIALS, ids=lambda tutorial: tutorial.stem)
def test_tutorial(tutorial, tmp_path):
    out = f"{KEPT}/{tutorial.stem}" if KEPT else str(tmp_path)
    done = subprocess.run(
        [sys.executable, "-W", "error", str(tutorial), out],
        capture_output=True,
        text=True,
        check=False,
        cwd=tmp_path,
    )
    assert done.returncode == 0, done.stderr
    assert done.stdout
    for picture in PICTURES[tutorial.stem]:
        with Image.open(os.path.join(out, picture)) as image:
            assert len(image.getcolors(1 << 20)) > 50
