import pathlib
import subprocess
import sys

import numpy as np
import pytest

import korrin

PROJECT = pathlib.Path(__file__).resolve().parents[2]
DATA = PROJECT.parent / "shared" / "data"


@pytest.fixture
def records():
    """The library's log records of this test."""
    heard = []
    previous = korrin.set_log_sink(heard.append)
    yield heard
    korrin.set_log_sink(previous)


@pytest.fixture
def bag(tmp_path):
    """A bag of ROS 1, still empty."""
    from ros_bags import Writer  # which skips where there is no rosbag

    return Writer(tmp_path / "one.bag")


@pytest.fixture
def room():
    """5 m x 4 m, free inside, walls around, world origin at a corner."""
    map = korrin.OccupancyMap(100, 80, 0.05, with_second_image=True)
    map.reset(1)
    map.second_image[:] = 1
    map.image[[0, -1], :] = 0
    map.image[:, [0, -1]] = 0
    return map


def run_python(code):
    """What a fresh interpreter prints when it runs `code`; it must not fail."""
    done = subprocess.run(
        [sys.executable, "-c", code], capture_output=True, text=True, timeout=120, check=False
    )
    assert done.returncode == 0, done.stderr
    return done.stdout


def float32(values):
    return np.asarray(values, np.float32)
