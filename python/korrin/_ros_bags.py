"""Bags of ROS 1 as laser logs."""

from __future__ import annotations

import functools
import os
from collections.abc import Callable
from typing import Any, NamedTuple

import numpy as np

import korrin

from ._ros_bag_file import LASER_SCAN, ODOMETRY, BagFile
from ._ros_scans import from_scan, mirrored
from ._ros_transforms import (
    NoTransform,
    Rigid,
    Track,
    Transforms,
    plain_name,
    rigid_of,
    rigid_of_planar,
)
from ._ros_values import heading, is_upside_down, nanoseconds, number, seconds


def read_bag(
    path: str | os.PathLike[str],
    scan_topic: str = "/scan",
    odometry_topic: str | None = "/odom",
    *,
    odometry_frame: str = "odom",
    base_frame: str | None = None,
    laser_pose: korrin.PoseLike | None = None,
    upside_down: bool = False,
    max_range: float | None = None,
    misses_clear: bool = False,
) -> korrin.LaserLog:
    """The laser scans of a bag of ROS 1, with the poses that odometry gave them.

    Debian's python3-rosbag reads the file; ImportError without it. `scan_topic` has LaserScan messages,
    each read as by `from_scan`; `max_range` (metres) cuts what lies at or beyond it, as in `read_log`.

    Where the robot was when a scan was stamped:

    - by `odometry_topic`, Odometry messages: between the two nearest stamps in a straight line, turned
      at an even speed the shorter way round, however far apart these are; at a stamp of its own just
      what it says. Of two for one stamp the later one of the bag counts.
    - with `odometry_topic=None` by /tf: where `base_frame` is in `odometry_frame`, each link of the
      chain taken in that way.

    Nothing is guessed before the first and after the last of these: scans taken then are left out, and
    the log's `complaint` tells how many. What never changed in the bag holds for all times.

    Where the laser is on the robot: `laser_pose`, (x, y, heading) on the base, `upside_down` when its z
    axis points down; or else by /tf_static and /tf, from `base_frame` (that of the odometry messages,
    or base_link) to the frame of the scan. A laser that hangs upside down is noticed there; the
    readings are turned round. What was sent on /tf_static counts before /tf, and for all times.

    Each scan's `line` is its number on the topic, from 1 on; `no_return` is the largest finite
    range_max, 0 when every beam hit. Messages that cannot be read (a tilt of more than 0.05 radians,
    numbers that are none) are passed over, and told in `complaint`.

    A file that the system refuses raises OSError. One that is no bag, is damaged or has no index, a
    topic that is missing or has other messages, a laser that no transform leads to, and a bag of which
    no scan is left raise ValueError; it names the file, and what is there instead. Time: proportional
    to the messages; memory: to the readings.

    >>> korrin.ros.read_bag("nowhere.bag")
    Traceback (most recent call last):
    FileNotFoundError: [Errno 2] No such file or directory: 'nowhere.bag'
    """
    limit = None if max_range is None else np.float32(number(max_range, "max_range"))
    mounting = None
    if laser_pose is not None:
        x, y, theta = korrin.Pose2D(laser_pose)
        mounting = rigid_of_planar((x, y, theta), upside_down)
    recording = _Recording(misses_clear)
    with BagFile(path) as bag:
        takers: dict[str, Callable[[Any], None]] = {}
        takers[bag.topic(scan_topic, LASER_SCAN)] = recording.add_scan
        if odometry_topic is not None:
            takers[bag.topic(odometry_topic, ODOMETRY)] = recording.add_odometry
        for topic in bag.transform_topics():
            is_static = topic.endswith("tf_static")
            takers[topic] = functools.partial(recording.add_transforms, is_static=is_static)
        for topic, message in bag.messages(list(takers)):
            takers[topic](message)
    where = _Where(recording, odometry_topic is not None, odometry_frame, base_frame, mounting)
    return _log_of(recording, where, limit, os.fspath(path))


class _Taken(NamedTuple):
    """A scan as it was recorded."""

    number: int  # on its topic, from 1 on
    stamp: int
    frame: str
    range_max: float
    scan: korrin.Scan


class _Recording:
    """What the messages of a bag say, and which of them said nothing."""

    def __init__(self, misses_clear: bool) -> None:
        self.scans: list[_Taken] = []
        self.odometry = Track()
        self.base = ""
        self.transforms = Transforms()
        self.faults: list[str] = []
        self.count = 0
        self._misses_clear = misses_clear

    def add_scan(self, message: Any) -> None:
        self.count += 1
        try:
            stamp = nanoseconds(message.header.stamp)
            scan = from_scan(message, misses_clear=self._misses_clear)
        except ValueError as fault:
            self.faults.append(f"scan {self.count}: {fault}")
            return
        frame = plain_name(message.header.frame_id)
        self.scans.append(_Taken(self.count, stamp, frame, float(np.float32(message.range_max)), scan))

    def add_odometry(self, message: Any) -> None:
        self.base = self.base or plain_name(message.child_frame_id)
        stamp = nanoseconds(message.header.stamp)
        try:
            self.odometry.add(stamp, rigid_of(message))
        except ValueError as fault:
            self.faults.append(f"odometry at {seconds(stamp):.9f}: {fault}")

    def add_transforms(self, message: Any, is_static: bool) -> None:
        for transform in message.transforms:
            try:
                self.transforms.add(transform, nanoseconds(transform.header.stamp), is_static)
            except ValueError as fault:
                self.faults.append(f"transform of {transform.child_frame_id}: {fault}")


class _Where:
    """Where robot and laser were."""

    def __init__(
        self, recording: _Recording, by_topic: bool, fixed: str, base: str | None, mounting: Rigid | None
    ) -> None:
        self._recording, self._by_topic, self._mounting = recording, by_topic, mounting
        self._fixed, self._base = fixed, base or recording.base or "base_link"

    def robot_and_laser(self, taken: _Taken) -> tuple[Rigid, Rigid] | None:
        """Both in the frame of the odometry; None when that is not known."""
        robot = self._robot(taken.stamp)
        laser = self._on_base(taken)
        return None if robot is None or laser is None else (robot, robot.after(laser))

    def _robot(self, stamp: int) -> Rigid | None:
        if self._by_topic:
            return self._recording.odometry.at(stamp)
        return self._recording.transforms.between(self._fixed, self._base, stamp)

    def _on_base(self, taken: _Taken) -> Rigid | None:
        if self._mounting is not None:
            return self._mounting
        return self._recording.transforms.between(self._base, taken.frame, taken.stamp)


def _log_of(recording: _Recording, where: _Where, limit: np.float32 | None, path: str) -> korrin.LaserLog:
    scans, left_out = [], 0
    faults = list(recording.faults)
    for taken in recording.scans:
        try:
            known = where.robot_and_laser(taken)
            if known is None:
                left_out += 1
                continue
            scans.append(_logged(taken, *known, limit))
        except ValueError as fault:
            faults.append(f"scan {taken.number}: {fault}")
        except NoTransform as fault:
            links = recording.transforms.links() or "no transforms"
            wish = "give laser_pose, or other frames"
            raise ValueError(f"{path}: {fault}; {wish}; there are: {links}") from None
    complaint = _complaint(faults, left_out)
    if not scans:
        raise ValueError(f"{path}: no scan can be used: {complaint or 'the topic is empty'}")
    return korrin.LaserLog(scans, _no_return(recording.scans), complaint)


def _logged(taken: _Taken, robot: Rigid, laser: Rigid, limit: np.float32 | None) -> korrin.LoggedScan:
    scan = mirrored(taken.scan) if is_upside_down(laser.turn) else taken.scan
    if limit is not None:
        beyond = scan.readings["range"] >= limit
        scan.readings["range"][beyond] = limit
        scan.readings["status"][beyond] = 1
    if is_upside_down(robot.turn):
        raise ValueError("robot: stands on its head")
    poses = [
        korrin.Pose2D(motion.x, motion.y, heading(motion.turn, whose))
        for motion, whose in ((laser, "laser"), (robot, "robot"))
    ]
    return korrin.LoggedScan(scan, poses[0], poses[1], seconds(taken.stamp), taken.number)


def _no_return(scans: list[_Taken]) -> float:
    if all((taken.scan.readings["status"] == 0).all() for taken in scans):
        return 0.0
    return max((taken.range_max for taken in scans if np.isfinite(taken.range_max)), default=0.0)


def _complaint(faults: list[str], left_out: int) -> str:
    told = []
    if faults:
        plural = "messages" if len(faults) > 1 else "message"
        told.append(f"{len(faults)} {plural} could not be read, the first is {faults[0]}")
    if left_out:
        plural = "scans were" if left_out > 1 else "scan was"
        told.append(f"{left_out} {plural} taken outside the times of the odometry, and left out")
    return "; ".join(told)
