"""Where frames were at a time: recorded transforms, between two stamps of each and along chains.

A transform says where a child frame is in its parent. In space, and in double precision: a link of a
chain may tilt, and the whole be level again.
"""

from __future__ import annotations

import bisect
import math
from typing import Any, NamedTuple

from ._ros_poses import parts_of_pose
from ._ros_values import Planar, Turn, number, unit_quaternion


class Rigid(NamedTuple):
    """A motion in space: metres, and a unit quaternion."""

    x: float
    y: float
    z: float
    turn: Turn

    def after(self, inner: Rigid) -> Rigid:
        """Where something is that stands at `inner` in what stands here."""
        x, y, z = turned(self.turn, inner.x, inner.y, inner.z)
        return Rigid(self.x + x, self.y + y, self.z + z, product(self.turn, inner.turn))

    def inverse(self) -> Rigid:
        back = (-self.turn[0], -self.turn[1], -self.turn[2], self.turn[3])
        return Rigid(*turned(back, -self.x, -self.y, -self.z), back)


IDENTITY = Rigid(0.0, 0.0, 0.0, (0.0, 0.0, 0.0, 1.0))


def turned(turn: Turn, x: float, y: float, z: float) -> tuple[float, float, float]:
    """A vector turned by a unit quaternion."""
    a, b, c, w = turn
    u, v, t = 2 * (b * z - c * y), 2 * (c * x - a * z), 2 * (a * y - b * x)
    return x + w * u + b * t - c * v, y + w * v + c * u - a * t, z + w * t + a * v - b * u


def product(outer: Turn, inner: Turn) -> Turn:
    a, b, c, w = outer
    x, y, z, v = inner
    return (
        w * x + a * v + b * z - c * y,
        w * y - a * z + b * v + c * x,
        w * z + a * y - b * x + c * v,
        w * v - a * x - b * y - c * z,
    )


def rigid_of(message: Any) -> Rigid:
    """The motion that a message with a pose or a transform has; faults raise ValueError."""
    position, orientation, fields = parts_of_pose(message)
    x, y, z = (number(getattr(position, name), f"{fields[0]}.{name}") for name in "xyz")
    return Rigid(x, y, z, unit_quaternion(orientation, fields[1]))


def rigid_of_planar(pose: Planar, upside_down: bool) -> Rigid:
    """A pose in the plane; with its z axis down, turned about its x axis."""
    x, y, theta = pose
    s, c = math.sin(theta / 2), math.cos(theta / 2)
    return Rigid(x, y, 0.0, (c, s, 0.0, 0.0) if upside_down else (0.0, 0.0, s, c))


def between(first: Rigid, second: Rigid, share: float) -> Rigid:
    """In a straight line, and turned at an even speed the shorter way round."""
    x, y, z = (a + share * (b - a) for a, b in zip(first[:3], second[:3]))
    dot = sum(a * b for a, b in zip(first.turn, second.turn))
    sign = -1.0 if dot < 0 else 1.0
    angle = math.acos(min(abs(dot), 1.0))
    if angle < 1e-6:  # where the sine is its angle
        weights = 1 - share, sign * share
    else:
        sine = math.sin(angle)
        weights = math.sin((1 - share) * angle) / sine, sign * math.sin(share * angle) / sine
    mixed = [weights[0] * a + weights[1] * b for a, b in zip(first.turn, second.turn)]
    norm = math.hypot(*mixed)
    return Rigid(x, y, z, (mixed[0] / norm, mixed[1] / norm, mixed[2] / norm, mixed[3] / norm))


class Track:
    """Where a frame was: what was told for some stamps (nanoseconds), and the way between."""

    def __init__(self) -> None:
        self._told: dict[int, Rigid] = {}
        self._stamps: list[int] = []
        self._latest: Rigid | None = None
        self._varies = False

    def add(self, stamp: int, motion: Rigid) -> None:
        """Of two for one stamp the later call counts."""
        self._varies = self._varies or self._latest not in (None, motion)
        self._told[stamp] = self._latest = motion

    def at(self, stamp: int) -> Rigid | None:
        """None before the first stamp and after the last, unless all that was told is the same.

        Logarithmic in the stamps; the first call after an addition sorts them.
        """
        if stamp in self._told:
            return self._told[stamp]
        if len(self._stamps) != len(self._told):
            self._stamps = sorted(self._told)
        after = bisect.bisect(self._stamps, stamp)
        if 0 < after < len(self._stamps):
            first, last = self._stamps[after - 1], self._stamps[after]
            return between(self._told[first], self._told[last], (stamp - first) / (last - first))
        return None if self._varies else self._latest


class Still(Track):
    """A frame that never moves; what was told last counts."""

    def add(self, stamp: int, motion: Rigid) -> None:
        self._latest = motion


class NoTransform(LookupError):
    """Nothing links two frames."""


class Transforms:
    """Frames, each in its parent."""

    def __init__(self) -> None:
        self._parents: dict[str, str] = {}
        self._tracks: dict[str, Track] = {}

    def add(self, message: Any, stamp: int, is_static: bool) -> None:
        """Takes a TransformStamped. What was told to be static stays so.

        Faults, and a frame that changes its parent, raise ValueError.
        """
        parent, child = plain_name(message.header.frame_id), plain_name(message.child_frame_id)
        motion = rigid_of(message)
        if self._parents.setdefault(child, parent) != parent:
            raise ValueError(f"child_frame_id: {child} is in {self._parents[child]} and in {parent}")
        track = self._tracks.get(child)
        if track is None or (is_static and not isinstance(track, Still)):
            track = self._tracks[child] = Still() if is_static else Track()
        if is_static or not isinstance(track, Still):
            track.add(stamp, motion)

    def links(self) -> str:
        """For people: which frames are in which."""
        return ", ".join(f"{parent} -> {child}" for child, parent in sorted(self._parents.items()))

    def between(self, target: str, source: str, stamp: int) -> Rigid | None:
        """Where `source` is in `target`; None where a link of the chain is not known at that time.

        NoTransform when no chain of links leads from one to the other.
        """
        up, down = self._ancestors(plain_name(source)), self._ancestors(plain_name(target))
        common = next((frame for frame in up if frame in down), None)
        if common is None:
            raise NoTransform(f"no transform from {target} to {source}")
        there = self._down_to(up[: up.index(common)], stamp)
        back = self._down_to(down[: down.index(common)], stamp)
        return None if there is None or back is None else back.inverse().after(there)

    def _ancestors(self, frame: str) -> list[str]:
        """A frame, its parent, and so on; a circle ends where it closes."""
        chain = [frame]
        while chain[-1] in self._parents and self._parents[chain[-1]] not in chain:
            chain.append(self._parents[chain[-1]])
        return chain

    def _down_to(self, frames: list[str], stamp: int) -> Rigid | None:
        """Where the first of some frames is in the parent of the last."""
        motion = IDENTITY
        for frame in frames:
            step = self._tracks[frame].at(stamp)
            if step is None:
                return None
            motion = step.after(motion)
        return motion


def plain_name(frame: str) -> str:
    """A frame's name without the slash that old programs put before it."""
    return frame.lstrip("/")
