"""The logs of ../shared/data as they are judged: scans in the order of their times, and poses."""
import dataclasses
from typing import NamedTuple

import numpy as np

import korrin

SAME_RANGE = 0.006  # metres: ranges are logged in centimetres


class TimedLog(NamedTuple):
    scans: list  # korrin.LoggedScan, in the order of their times
    moved: list  # numbers of the scans that stand elsewhere in the file
    no_return: float  # the range of beams that met nothing

    @property
    def times(self):
        return np.array([logged.time for logged in self.scans])

    @property
    def poses(self):
        return poses_of(self.scans)


def poses_of(scans):
    return np.array([(s.pose.x, s.pose.y, s.pose.theta) for s in scans], float).reshape(-1, 3)


def with_poses(scans, poses):
    """The scans, with the laser at these poses."""
    return [
        dataclasses.replace(logged, pose=korrin.Pose2D(*pose), robot=korrin.Pose2D(*pose))
        for logged, pose in zip(scans, np.asarray(poses, float).tolist(), strict=True)
    ]


def read_timed(path):
    """A log by the clock of its own scans: files may have neighbours the other way around."""
    log = korrin.read_log(path)
    scans = log.scans
    order = sorted(range(len(scans)), key=lambda i: scans[i].time)
    moved = [i for i, j in enumerate(order) if i != j]
    return TimedLog([scans[i] for i in order], moved, log.no_return)


def hits_of(logged):
    """Where its beams ended, N x 2, in the laser's frame."""
    return logged.scan.to_point2d()[logged.scan.readings["status"] == 0]


def check_same_scans(log, reference):
    """ValueError unless each scan of both saw the same."""
    if len(log) != len(reference):
        raise ValueError(f"{len(log)} scans, but {len(reference)} in the reference")
    for i, (own, other) in enumerate(zip(log, reference)):
        ranges = own.scan.readings["range"], other.scan.readings["range"]
        if len(ranges[0]) != len(ranges[1]) or (np.abs(ranges[0] - ranges[1]) > SAME_RANGE).any():
            raise ValueError(f"scan {i} saw something else than that of the reference")
