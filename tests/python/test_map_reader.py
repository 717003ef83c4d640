"""Map files give the same maps in Python as in the command-line program."""

import itertools
import os
import subprocess

import numpy as np
import pytest
from conftest import DATA, float32
from test_map_files import write

import korrin


def map_of_cpp(file):
    """Size, resolution, origin and cells, as the reader of the command-line program has them."""
    program = os.environ["KORRIN_PRINT_MAP"]
    printed = subprocess.run([program, str(file)], capture_output=True, check=True)
    return np.frombuffer(printed.stdout, np.float32)


def map_of_python(file):
    map = korrin.load_map(file)
    params = map.params
    head = [params.width, params.height, params.resolution, *params.origin]
    return np.concatenate([float32(head), map.image.ravel()])


PICTURES = {
    "grey": ((16, 16), np.uint8),
    "grey-alpha": ((16, 16, 2), np.uint8),
    "colour": ((16, 16, 3), np.uint8),
    "colour-alpha": ((16, 16, 4), np.uint8),
    "deep": ((16, 16), np.uint16),
}


@pytest.mark.parametrize("kind", PICTURES)
def test_every_kind_of_picture(tmp_path, kind):
    shape, depth = PICTURES[kind]
    random = np.random.default_rng(5)
    for mode, negate in itertools.product(["trinary", "scale", "raw"], [0, 1]):
        pixels = random.integers(0, np.iinfo(depth).max + 1, shape).astype(depth)
        if "alpha" in kind:
            pixels[::2, ..., -1] = 255  # all of the rows opaque
        place = tmp_path / f"{mode}{negate}"
        place.mkdir()
        file = write(place, pixels, mode, negate, yaw=0.5)
        assert np.array_equal(map_of_python(file), map_of_cpp(file)), file


@pytest.mark.parametrize("mode", ["trinary", "scale", "raw"])
def test_what_python_writes(tmp_path, mode):
    map = korrin.OccupancyMap(31, 17, 0.035)
    map.params.origin = (3.3, -7.1, 0.4)
    map.image[:] = np.random.default_rng(3).choice([0, 0.5, 1], (17, 31))
    korrin.save_map(map, tmp_path / "m.yaml", mode=mode)
    read = map_of_cpp(tmp_path / "m.yaml")
    assert read.tolist() == map_of_python(tmp_path / "m.yaml").tolist()
    assert read[6:].tolist() == map.image.ravel().tolist()


def test_real_maps():
    files = sorted((DATA / "maps").glob("*.yaml"))
    if not files:
        print("no maps in", DATA)
    for file in files:
        assert np.array_equal(map_of_python(file), map_of_cpp(file)), file
