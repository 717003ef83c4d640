"""Odometry that slips, made from a true track: steps scaled and turned alike all along a log, and
noise for each step."""
import random
from typing import NamedTuple

import numpy as np

from .poses import composed, seen_from


class OdometryNoise(NamedTuple):
    """Standard deviations. The first two are drawn once for a log, the others for each step."""

    scale: float = 0.02  # of the factor of all steps
    bias: float = 0.01  # of what each metre turns, radians
    shift: float = 0.02  # metres along and across, and radians; times the root of the step's metres
    turn: float = 0.03  # radians, times the root of the step's turn


NO_NOISE = OdometryNoise(0, 0, 0, 0)


def simulated_odometry(truth, seed, noise=OdometryNoise()):
    """A track that begins where the true one does. The same seed gives the same track."""
    draw = random.Random(seed).gauss
    scale, bias = draw(1, noise.scale), draw(0, noise.bias)
    truth = np.asarray(truth, float)
    track = [truth[0]]
    for step in seen_from(truth[:-1], truth[1:]):
        metres, angle = np.hypot(step[0], step[1]), step[2]
        shift = noise.shift * np.sqrt(metres)
        motion = (
            scale * step[0] + draw(0, shift),
            scale * step[1] + draw(0, shift),
            angle + bias * metres + draw(0, shift + noise.turn * np.sqrt(abs(angle))),
        )
        track.append(composed(track[-1], motion))
    return np.array(track)
