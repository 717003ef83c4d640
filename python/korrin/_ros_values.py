"""Numbers, stamps and quaternions of messages: checked, and each fault named by its field."""

from __future__ import annotations

import math
import operator
from typing import Any, SupportsIndex

import numpy as np

from ._ros_messages import Quaternion, Time, Vector

_FLOAT_MAX = float(np.finfo(np.float32).max)
_PI = float(np.float32(np.pi))  # korrin.k_pi
_MOST_OFF_NORM = 0.01  # what is typed by hand has few digits: 0.707 0.707
_MOST_TILT = 0.05  # radians
_NANO = 10**9

Turn = tuple[float, float, float, float]  # a unit quaternion, x y z w
Planar = tuple[float, float, float]  # metres, metres, radians


def number(value: Any, field: str) -> float:
    """A finite number that a float holds."""
    try:
        found = float(value)
    except (TypeError, ValueError, OverflowError):
        raise ValueError(f"{field}: wanted a number, found {value!r}") from None
    if not abs(found) <= _FLOAT_MAX:
        raise ValueError(f"{field}: wanted a finite number, found {found:g}")
    return found


def meant_angle(angle: float) -> float:
    """The radians that are meant by an angle of a message, which holds only a float.

    Scanners step by degrees. Where that float is what a whole number of thousandths of a degree is
    rounded to, that number is meant, since the float's error grows with every beam.
    """
    meant = math.radians(round(math.degrees(angle), 3))
    return meant if float(np.float32(meant)) == angle else angle


def nanoseconds(stamp: int | Time) -> int:
    """The nanoseconds of a stamp of ROS 1 or ROS 2, exact; an int is that already.

    >>> from types import SimpleNamespace
    >>> korrin.ros.nanoseconds(SimpleNamespace(secs=976052890, nsecs=244111000))
    976052890244111000
    >>> korrin.ros.nanoseconds(SimpleNamespace(sec=976052890, nanosec=244111000))
    976052890244111000

    What has neither pair of fields raises TypeError.
    """
    for whole, rest in (("secs", "nsecs"), ("sec", "nanosec")):
        if hasattr(stamp, whole):
            return operator.index(getattr(stamp, whole)) * _NANO + operator.index(getattr(stamp, rest))
    if isinstance(stamp, SupportsIndex):
        return operator.index(stamp)
    raise TypeError(f"stamp: wanted a time or nanoseconds, found a {type(stamp).__name__}")


def seconds(stamp: int | Time) -> float:
    """The seconds of a stamp, or of nanoseconds: the nearest float.

    Today's seconds in a float are true to a quarter of a microsecond; `nanoseconds` loses nothing.

    >>> korrin.ros.seconds(976052890244111000)
    976052890.244111
    """
    return nanoseconds(stamp) / _NANO


def fill_stamp(message: Any, stamp: int | Time) -> None:
    """Sets the fields of a message's stamp, named as it names them."""
    whole, rest = divmod(nanoseconds(stamp), _NANO)
    least, most = (0, 2**32) if hasattr(message, "secs") else (-(2**31), 2**31)
    if not least <= whole < most:
        raise ValueError(f"stamp: {whole} seconds are more than a message holds")
    if hasattr(message, "secs"):
        message.secs, message.nsecs = whole, rest
    else:
        message.sec, message.nanosec = whole, rest


def fill_header(header: Any, frame_id: str, stamp: int | Time) -> None:
    """Sets frame and stamp of a message's header."""
    header.frame_id = frame_id
    fill_stamp(header.stamp, stamp)


def unit_quaternion(message: Quaternion, field: str) -> Turn:
    """The four numbers of a quaternion that is one of a rotation, brought to length 1."""
    x, y, z, w = (number(getattr(message, name), f"{field}.{name}") for name in "xyzw")
    norm = math.hypot(x, y, z, w)
    if not abs(norm - 1) <= _MOST_OFF_NORM:
        found = f"({x:g}, {y:g}, {z:g}, {w:g}) of length {norm:g}"
        raise ValueError(f"{field}: wanted a quaternion of length 1, found {found}")
    return x / norm, y / norm, z / norm, w / norm


def is_upside_down(turn: Turn) -> bool:
    """Whether the z axis points down rather than up."""
    x, y, z, w = turn
    return x * x + y * y > z * z + w * w


def heading(turn: Turn, field: str) -> float:
    """The turn about the vertical, radians in (-pi, pi] as floats have them.

    Of what is upside down that of its x axis. What is tilted by more than 0.05 radians against the
    vertical raises ValueError.
    """
    x, y, z, w = turn
    if is_upside_down(turn):
        x, y, z, w = z, w, y, x
    tilt = 2 * math.asin(min(math.hypot(x, y), 1.0))
    if tilt > _MOST_TILT:
        raise ValueError(f"{field}: wanted a turn about the vertical, found one tilted by {tilt:.3g} radians")
    angle = 2 * math.atan2(z, w)
    # The nearest float is compared, so that pi itself comes back as it went out.
    if np.float32(angle) > _PI:
        angle -= 2 * math.pi
    elif np.float32(angle) <= -_PI:
        angle += 2 * math.pi
    return angle


def planar_pose(position: Vector, orientation: Quaternion, fields: tuple[str, str]) -> Planar:
    """x, y and heading; `fields` are the names of position and orientation."""
    x = number(position.x, f"{fields[0]}.x")
    y = number(position.y, f"{fields[0]}.y")
    turn = unit_quaternion(orientation, fields[1])
    if is_upside_down(turn):
        raise ValueError(f"{fields[1]}: wanted a turn about the vertical, found one upside down")
    return x, y, heading(turn, fields[1])


def fill_vector(message: Any, x: float, y: float) -> None:
    message.x, message.y, message.z = x, y, 0.0


def fill_quaternion(message: Any, theta: float) -> None:
    """Sets a turn about the vertical (radians)."""
    message.x, message.y = 0.0, 0.0
    message.z, message.w = math.sin(theta / 2), math.cos(theta / 2)
