"""Is a scan of a corrected log itself wrong there? Where does it fit on a map of all others?"""
import dataclasses
from typing import NamedTuple

import numpy as np

import korrin
import korrin.mapping

from .logs import hits_of
from .tracks import MAX_DIST, THRESHOLD, map_of


class Reposed(NamedTuple):
    pose: np.ndarray  # where the scan fits best
    degrees: float  # turned by so much from its pose in the log
    metres: float
    likelihood_before: float  # of the scan, as the others' map explains it
    likelihood_after: float


def reposed(scans, number):
    """The scan on a map of all other scans at the log's own poses, at most half a metre and ten
    degrees from its pose."""
    logged = scans[number]
    map = map_of([other for i, other in enumerate(scans) if i != number])
    window = korrin.PoseGrid(
        logged.pose, reach_x=0.5, reach_y=0.5, turn=np.radians(10), step=0.025,
        turn_step=np.radians(0.25),
    )
    found = korrin.PoseSearch(map, THRESHOLD, MAX_DIST).best(hits_of(logged), window)[0].pose

    def explained(pose):
        at_pose = dataclasses.replace(logged, pose=pose)
        return korrin.mapping.judge_grid(map, [at_pose]).likelihood

    return Reposed(
        np.array([found.x, found.y, found.theta], float),
        float(np.degrees(korrin.canonical_angle(found.theta - logged.pose.theta))),
        float(np.hypot(found.x - logged.pose.x, found.y - logged.pose.y)),
        explained(logged.pose),
        explained(found),
    )
