"""Requests for the tests of korrin.fleet, and the answers of a plain loop."""

import os
import pathlib
import time

import numpy as np

import korrin
from korrin import mapping

SEED = 20240607


def drawn_floor():
    """10 m x 8 m: two rooms, a doorway and pillars; every cell is known."""
    map = korrin.OccupancyMap(200, 160, 0.05)
    map.reset(1)
    cells = map.image
    cells[:3], cells[-3:], cells[:, :3], cells[:, -3:] = 0, 0, 0, 0
    cells[:70, 98:102], cells[95:, 98:102] = 0, 0
    cells[40:52, 40:52], cells[100:118, 150:160] = 0, 0
    return map


def free_pairs(planner, count, seed=SEED):
    """So many pairs (start, goal), of cells that the planner's robot may stand on, drawn with a seed."""
    rows, columns = np.nonzero(planner.grown_map().image > 0.2)
    drawn = np.random.default_rng(seed).integers(len(rows), size=(count, 2))
    cells = np.column_stack([columns, rows, np.zeros(len(rows))])
    poses = planner.map.get_pose_from_pixel(cells).astype(float)[:, :2].tolist()
    return [(tuple(poses[a]), tuple(poses[b])) for a, b in drawn]


def plain(function, requests):
    """The literal model: one after the other, and what fails becomes a Failure in its place."""
    answers = []
    for index, request in enumerate(requests):
        try:
            answers.append(function(request))
        except Exception as error:
            answers.append(korrin.fleet.Failure(index, type(error).__name__, str(error)))
    return answers


def planned(planner, requests):
    return plain(lambda request: planner.plan(*request), requests)


def drive_of(seed, count=40):
    """A log of a drive through the first room, whose odometry slips."""
    draw, way = np.random.default_rng(seed), np.linspace(0, 1, count)
    x = 1.2 + 2.6 * way
    truth = np.column_stack([x, 1.2 + 0.3 * np.sin(5 * way + seed), 0.6 * np.sin(9 * way)])
    laser = korrin.ScanModel(181, 8, 3.1)
    scans = [korrin.occ_map_simulate_scan(drawn_floor(), laser, pose, 0.45) for pose in truth]
    slip = np.cumsum(draw.normal(0, 0.01, truth.shape), axis=0)
    logged = [korrin.LoggedScan(*each) for each in zip(scans, (truth + slip).astype(np.float32))]
    return korrin.LaserLog(logged)


def mapped(log, resolution=0.05):
    aligned = mapping.align(log, resolution=resolution)
    return aligned, mapping.build_grid(aligned.scans, mapping.grid_around(aligned.scans, resolution))


# Functions that workers import.


def inverse(number):
    return 1 / number


def nothing(_):
    return None


def process(_):
    return os.getpid()


def exit_once(mark_and_number):
    """Ends its process when asked with a file that is not there yet, and leaves that file."""
    mark, number = mark_and_number
    if mark and not pathlib.Path(mark).exists():
        pathlib.Path(mark).touch()
        os._exit(1)
    return number


def exit_at_three(number):
    if number == 3:
        os._exit(1)
    return number


class Touch:
    """Leaves a file for each call."""

    def __init__(self, directory, seconds):
        self.directory, self.seconds = directory, seconds

    def name(self, number):
        return str(number)

    def __call__(self, number):
        pathlib.Path(self.directory, self.name(number)).touch()
        time.sleep(self.seconds)
        return number


class Marks(Touch):
    """Leaves a file for each process."""

    def name(self, number):
        return str(os.getpid())


class CountsPreparations:
    """Tells how often it was unpickled in this process."""

    prepared = 0

    def __setstate__(self, state):
        CountsPreparations.prepared += 1

    def __getstate__(self):
        return 1

    def __call__(self, _):
        return os.getpid(), CountsPreparations.prepared


class NotToBeRead:
    """Can be pickled and not be read."""

    def __reduce__(self):
        return inverse, (0,)
