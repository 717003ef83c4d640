"""Occupancy grids of korrin.ros."""

from __future__ import annotations

import array
import math
from collections.abc import Callable
from typing import Any

import numpy as np
from numpy.typing import NDArray

import korrin

from . import _ros_plain as plain
from ._ros_messages import OccupancyGrid, Time
from ._ros_poses import fill_pose, planar_of
from ._ros_values import fill_header, fill_stamp, number

_UNKNOWN = np.float32(0.5)
_BESIDE_UNKNOWN = np.nextafter(_UNKNOWN, np.float32(0))  # 50, which is not unknown


def _values() -> NDArray[np.float32]:
    """What a cell of each byte becomes, -128 to 127 as the bytes 0 to 255 without a sign."""
    values = np.full(256, _UNKNOWN, np.float32)
    values[:101] = (1 - np.arange(101) / 100).astype(np.float32)
    values[50] = _BESIDE_UNKNOWN
    return values


_VALUES = _values()


def from_grid(message: OccupancyGrid) -> korrin.OccupancyMap:
    """The map that an OccupancyGrid holds.

    A cell of p percent becomes 1 - p / 100, the probability that it is free: 0 becomes 1 and 100
    becomes 0. -1 is unknown, 0.5, and so is all that is neither -1 nor from 0 to 100; 50 becomes the
    float next below 0.5, so that it is not taken for unknown. The first cell of `data` is cell (0, 0),
    the next is that of the next column. The message's origin is the pose of the corner of that cell,
    the map's that of its centre. Header and load time are not looked at.

    Back by `to_grid` the cells are the same but for those that stood for no percentage.

    Data of another length than width * height or that are no whole numbers, a resolution that is not
    above 0, and an origin that `from_pose` refuses raise ValueError, which names the field. Linear.

    >>> message = korrin.ros.to_grid(korrin.OccupancyMap(2, 1, 0.5))
    >>> message.data = [100, 20]
    >>> map = korrin.ros.from_grid(message)
    >>> map.image.tolist() == np.float32([[0, 0.8]]).tolist()
    True
    >>> message.info.origin.position.x, map.params.origin.x
    (-0.25, 0.0)
    """
    info = message.info
    resolution = _resolution(info.resolution, "info.resolution")
    cells = _cells(message.data, info.height, info.width)
    # As floats, so that the way there and the way back turn by the same angle.
    x, y, theta = _origin(info.origin)
    centre = _half_cell_off(x, y, theta, resolution, 1)
    return korrin.OccupancyMap.from_array(cells, resolution, origin=korrin.Pose2D(*centre, theta))


def to_grid(
    map: korrin.OccupancyMap,
    message: Callable[[], Any] | None = None,
    *,
    frame_id: str = "map",
    stamp: int | Time = 0,
) -> Any:
    """An OccupancyGrid: a new message of the class `message`, or a plain object with its fields.

    A cell becomes the nearest percentage of 1 minus its value (of two the even one), below 0 and above
    1 as there; 0.5 and what is not a number become -1, unknown. `data` is an array.array of signed
    bytes, row after row. The load time is the stamp: a time of ROS 1 or ROS 2, or nanoseconds.

    A map that was made by `from_grid` comes back as the same cells, and a map's resolution and origin
    read back as the same floats (a heading above -pi and up to pi; others wrapped). A resolution that
    is not above 0 and an origin that is not finite raise ValueError. Linear.

    >>> map = korrin.OccupancyMap.from_array([[1, 0.75, 0.5], [0, 0.5001, np.nan]], 0.05)
    >>> korrin.ros.to_grid(map).data
    array('b', [0, 25, -1, 100, 50, -1])
    """
    made = plain.made(message, plain.grid)
    fill_header(made.header, frame_id, stamp)
    info = made.info
    fill_stamp(info.map_load_time, stamp)
    info.resolution = _resolution(map.params.resolution, "resolution")
    info.height, info.width = (int(side) for side in map.image.shape)
    names = ("origin.x", "origin.y", "origin.theta")
    x, y, theta = (number(value, name) for value, name in zip(map.params.origin, names))
    corner = _half_cell_off(x, y, theta, info.resolution, -1)
    fill_pose(info.origin, (*corner, theta))
    made.data = array.array("b", _percentages(map.image).tobytes())
    return made


def _resolution(value: Any, field: str) -> float:
    found = float(np.float32(number(value, field)))
    if not found > 0:
        raise ValueError(f"{field}: wanted metres a cell above 0, found {found:g}")
    return found


def _origin(message: Any) -> tuple[float, float, float]:
    try:
        x, y, theta = planar_of(message)
    except ValueError as fault:
        raise ValueError(f"info.origin.{fault}") from None
    return x, y, float(np.float32(theta))


def _half_cell_off(x: float, y: float, theta: float, resolution: float, sign: int) -> tuple[float, float]:
    """A point half a cell forwards or backwards along both axes of the grid."""
    half = sign * 0.5 * resolution
    return (
        x + half * (math.cos(theta) - math.sin(theta)),
        y + half * (math.sin(theta) + math.cos(theta)),
    )


def _cells(data: Any, height: int, width: int) -> NDArray[np.float32]:
    percentages = np.asarray(data)
    if percentages.size == 0:
        percentages = percentages.astype(np.int8)
    if percentages.ndim != 1 or percentages.dtype.kind not in "iu":
        raise ValueError(f"data: wanted a row of whole numbers, found one of {percentages.dtype}")
    if width < 0 or height < 0 or percentages.size != int(width) * int(height):
        raise ValueError(f"data: wanted {width} x {height} cells, found {percentages.size}")
    # What no signed byte holds is unknown like -1.
    is_byte = (percentages >= -128) & (percentages <= 127)
    bytes_ = np.where(is_byte, percentages, -1).astype(np.int8).view(np.uint8)
    return _VALUES[bytes_].reshape(int(height), int(width))


def _percentages(image: NDArray[np.float32]) -> NDArray[np.int8]:
    is_unknown = (image == _UNKNOWN) | np.isnan(image)
    occupied = np.rint(100 * (1 - image.astype(np.float64)))
    return np.where(is_unknown, -1, np.clip(occupied, 0, 100)).astype(np.int8)
