"""Laser scans of korrin.ros."""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

import korrin

from ._ros_messages import LaserScan
from ._ros_values import meant_angle, number

_READING = korrin.Scan().readings.dtype


def from_scan(message: LaserScan, *, misses_clear: bool = False, upside_down: bool = False) -> korrin.Scan:
    """The scan that a LaserScan holds: a reading for each range, in the order of the message.

    Reading i has the bearing angle_min + i * angle_increment, rounded once to a float. Both are floats
    in a message: one that is a float's rounding of a whole number of thousandths of a degree, as in
    steps of 0.5 degrees, is taken for that, unrounded. What its range says:

    - from range_min on and below range_max: a hit.
    - at or beyond range_max, infinity included: the beam met nothing. Status 1, range range_max, and
      weight 0, since drivers say so also of a beam that was swallowed or dazzled; with `misses_clear`
      weight 1, so that a map update frees its way.
    - below range_min, minus infinity, not a number: the measurement failed. Status 1, range 0 and
      weight 0, so that it tells nothing.

    All beams are kept: what judges a grid or writes a log takes them to be evenly spaced. With
    `upside_down` the scanner hangs with its z axis down: bearings change their sign, and the readings
    their order, so that they turn as the message's did seen from above. Intensities and the time
    between two beams are not looked at.

    Angles and limits that are not numbers, angles that are not finite, a negative range_min, a
    range_max that is not above it, and ranges that are no row of numbers raise ValueError, which names
    the field. Linear.

    >>> from types import SimpleNamespace
    >>> message = SimpleNamespace(ranges=[4.2, np.inf, np.nan, 3.9], angle_min=-0.5, angle_increment=0.25,
    ...                           range_min=0.1, range_max=30)
    >>> readings = korrin.ros.from_scan(message).readings
    >>> readings["range"].tolist() == np.float32([4.2, 30, 0, 3.9]).tolist()
    True
    >>> readings["angle"].tolist(), readings["status"].tolist(), readings["weight"].tolist()
    ([-0.5, -0.25, 0.0, 0.25], [0, 1, 1, 0], [1.0, 0.0, 0.0, 1.0])
    """
    least, most = _limits(message)
    ranges = _ranges(message.ranges)
    with np.errstate(invalid="ignore"):
        met_nothing = ranges >= most
        failed = ~(ranges >= least)
    readings = np.zeros(ranges.size, _READING)
    readings["range"] = np.where(failed, 0, np.where(met_nothing, most, ranges))
    readings["angle"] = _angles(message, ranges.size)
    readings["weight"] = ~(met_nothing | failed) | (met_nothing & misses_clear)
    readings["mark"] = 1
    readings["status"] = met_nothing | failed
    return korrin.Scan(_mirrored(readings) if upside_down else readings)


def mirrored(scan: korrin.Scan) -> korrin.Scan:
    """A scan as it would be had the scanner hung upside down."""
    return korrin.Scan(_mirrored(scan.readings))


def _mirrored(readings: NDArray[np.void]) -> NDArray[np.void]:
    turned = readings[::-1].copy()
    turned["angle"] = -turned["angle"]
    return turned


def _limits(message: LaserScan) -> tuple[np.float32, np.float32]:
    least = np.float32(number(message.range_min, "range_min"))
    try:
        most = np.float32(float(message.range_max))
    except (TypeError, ValueError):
        raise ValueError(f"range_max: wanted a number, found {message.range_max!r}") from None
    if least < 0:
        raise ValueError(f"range_min: wanted metres from 0 on, found {least:g}")
    if not most > least:
        raise ValueError(f"range_max: wanted metres above range_min ({least:g}), found {most:g}")
    return least, most


def _ranges(values: Any) -> NDArray[np.float32]:
    try:
        with np.errstate(over="ignore"):
            ranges = np.asarray(values, np.float32)
    except (TypeError, ValueError):
        raise ValueError("ranges: wanted numbers, found something else") from None
    if ranges.ndim != 1:
        raise ValueError(f"ranges: wanted a row of numbers, found an array of shape {ranges.shape}")
    return ranges


def _angles(message: LaserScan, count: int) -> NDArray[np.float32]:
    first = number(message.angle_min, "angle_min")
    step = number(message.angle_increment, "angle_increment")
    number(first + max(count - 1, 0) * step, "angle_increment")
    return (meant_angle(first) + np.arange(count) * meant_angle(step)).astype(np.float32)
