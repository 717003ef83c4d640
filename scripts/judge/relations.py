"""The error of a track by true relative poses of its scans (Kuemmerle et al., "On measuring the
accuracy of SLAM algorithms", 2009): for each relation the relative pose of the track less the true
one.

A file of relations has lines `t1 t2 x y z roll pitch yaw`: the pose of the scan taken at t2 seen
from the one taken at t1.
"""
from typing import NamedTuple

import numpy as np

from .poses import composed, distances, seen_from

SAME_TIME = 2e-5  # seconds: times are written with few digits


class RelationError(NamedTuple):
    """Mean and standard deviation over all relations, in metres and degrees."""

    metres: float
    metres_deviation: float
    degrees: float
    degrees_deviation: float


def read_relations(path):
    """The times, N x 2, and the true motions, N x 3."""
    rows = np.loadtxt(path, ndmin=2)
    return rows[:, :2], rows[:, [2, 3, 7]]


def poses_at(times, poses, wanted):
    """The track's poses at these times: of the scan taken then, or between those before and after.

    `times` rise. ValueError for a time when there was no scan before or none after.
    """
    times, wanted = np.asarray(times, float), np.asarray(wanted, float)
    outside = (wanted < times[0] - SAME_TIME) | (wanted > times[-1] + SAME_TIME)
    if outside.any():
        raise ValueError(f"no scans around the time {wanted[outside][0]}")
    after = np.clip(np.searchsorted(times, wanted - SAME_TIME), 1, len(times) - 1)
    before = after - 1
    share = np.clip((wanted - times[before]) / (times[after] - times[before]), 0.0, 1.0)
    share[np.abs(wanted - times[after]) < SAME_TIME] = 1.0
    share[np.abs(wanted - times[before]) < SAME_TIME] = 0.0
    motion = seen_from(poses[before], poses[after])
    return composed(poses[before], share[:, None] * motion)


def relation_errors(times, poses, between, truth):
    """How far off the track is at each relation: metres, and degrees."""
    motion = seen_from(poses_at(times, poses, between[:, 0]), poses_at(times, poses, between[:, 1]))
    shift, turn = distances(seen_from(truth, motion))
    return shift, np.degrees(turn)


def relation_error(times, poses, path):
    shifts, turns = relation_errors(times, poses, *read_relations(path))
    return RelationError(shifts.mean(), shifts.std(), turns.mean(), turns.std())
