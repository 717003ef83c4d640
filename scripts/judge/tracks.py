"""How far a corrected track is from a better one, which of its loops contradict that one, and how
far the ends of a loop are apart."""
from typing import NamedTuple

import numpy as np

import korrin
import korrin.mapping

from .logs import hits_of, poses_of
from .poses import distances, rigidly_aligned, seen_from

MOST_METRES = 0.5  # of a loop's motion from the reference's
MOST_DEGREES = 5.0
THRESHOLD = 0.45  # cells less probably free are obstacles
MAX_DIST = 0.3  # metres beyond which a point matches nothing


class TrackError(NamedTuple):
    """Metres between places, after the track was laid over the truth as a whole."""

    median: float
    most: float  # of 95 in 100
    largest: float


def track_error(track, truth):
    offs, _ = distances(np.asarray(truth, float) - rigidly_aligned(track, truth))
    return TrackError(float(np.median(offs)), float(np.quantile(offs, 0.95)), float(offs.max()))


def loop_offs(links, truth):
    """How far each link's motion is from the true one: metres, and degrees."""
    if not links:
        return np.zeros(0), np.zeros(0)
    ends = np.array([(link.from_, link.to) for link in links])
    motions = np.array([tuple(link.motion) for link in links], float)
    shift, turn = distances(seen_from(seen_from(truth[ends[:, 0]], truth[ends[:, 1]]), motions))
    return shift, np.degrees(turn)


def contradicting(links, truth):
    """The links that are more than half a metre or five degrees off."""
    shift, turn = loop_offs(links, truth)
    return [links[i] for i in np.flatnonzero((shift > MOST_METRES) | (turn > MOST_DEGREES))]


def map_of(scans, resolution=0.05):
    frame = korrin.mapping.grid_around(scans, resolution)
    return korrin.mapping.cropped_to_free(korrin.mapping.build_grid(scans, frame))


def likelihood(scans):
    """How well a map of the scans at their poses explains them."""
    return korrin.mapping.judge_grid(map_of(scans), scans).likelihood


def ends_of_loop(poses, apart=30.0, near=1.0):
    """Numbers of the scans of a first visit, and of those that come back to it: they are taken
    within `near` metres of one of the first, and more than `apart` metres farther along the way."""
    steps, _ = distances(np.diff(poses, axis=0))
    way = np.append(0.0, np.cumsum(steps))
    close = np.hypot(*(poses[:, None, :2] - poses[None, :, :2]).transpose(2, 0, 1)) <= near
    back = np.flatnonzero((close & (way[:, None] - way[None, :] > apart)).any(axis=1))
    if len(back) == 0:
        return [], []
    first = np.flatnonzero(way < way[back[0]] - apart)
    return first.tolist(), [int(i) for i in back if close[i, first].any()]


def gaps_at_ends(scans, resolution=0.025):
    """For each scan that comes back, how many metres from its pose it fits best on a map of the
    first visit alone; up to a metre and 15 degrees to each side are tried."""
    first, back = ends_of_loop(poses_of(scans))
    if not back:
        return np.zeros(0)
    search = korrin.PoseSearch(map_of([scans[i] for i in first], resolution), THRESHOLD, MAX_DIST)
    gaps = []
    for logged in (scans[i] for i in back):
        window = korrin.PoseGrid(
            logged.pose, reach_x=1, reach_y=1, turn=np.radians(15), step=resolution,
            turn_step=np.radians(0.5),
        )
        found = search.best(hits_of(logged), window)[0].pose
        gaps.append(np.hypot(found.x - logged.pose.x, found.y - logged.pose.y))
    return np.array(gaps)
