"""Shapes of the messages that korrin.ros reads: the names of fields, whoever made the class.

ROS 1 and ROS 2 name all fields alike but those of a time stamp.
"""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any, Protocol


class Ros1Time(Protocol):
    """A stamp as ROS 1 has it."""

    @property
    def secs(self) -> int: ...
    @property
    def nsecs(self) -> int: ...


class Ros2Time(Protocol):
    """A stamp as ROS 2 has it (builtin_interfaces/Time)."""

    @property
    def sec(self) -> int: ...
    @property
    def nanosec(self) -> int: ...


Time = Ros1Time | Ros2Time


class Header(Protocol):
    """std_msgs/Header."""

    @property
    def stamp(self) -> Time: ...
    @property
    def frame_id(self) -> str: ...


class Vector(Protocol):
    """geometry_msgs/Point and Vector3: metres."""

    @property
    def x(self) -> float: ...
    @property
    def y(self) -> float: ...
    @property
    def z(self) -> float: ...


class Quaternion(Vector, Protocol):
    """geometry_msgs/Quaternion."""

    @property
    def w(self) -> float: ...


class Pose(Protocol):
    """geometry_msgs/Pose."""

    @property
    def position(self) -> Vector: ...
    @property
    def orientation(self) -> Quaternion: ...


class Transform(Protocol):
    """geometry_msgs/Transform."""

    @property
    def translation(self) -> Vector: ...
    @property
    def rotation(self) -> Quaternion: ...


class WithPose(Protocol):
    """PoseStamped, PoseWithCovariance, PoseWithCovarianceStamped, Odometry."""

    @property
    def pose(self) -> Pose | WithPose: ...


class WithTransform(Protocol):
    """TransformStamped."""

    @property
    def transform(self) -> Transform: ...


AnyPose = Pose | Transform | WithPose | WithTransform


class Poses(Protocol):
    """nav_msgs/Path and geometry_msgs/PoseArray."""

    @property
    def poses(self) -> Sequence[Pose | WithPose]: ...


class Odometry(Protocol):
    """nav_msgs/Odometry."""

    @property
    def header(self) -> Header: ...
    @property
    def child_frame_id(self) -> str: ...
    @property
    def pose(self) -> Pose | WithPose: ...


class MapMetaData(Protocol):
    """nav_msgs/MapMetaData."""

    @property
    def resolution(self) -> float: ...
    @property
    def width(self) -> int: ...
    @property
    def height(self) -> int: ...
    @property
    def origin(self) -> Pose: ...


class OccupancyGrid(Protocol):
    """nav_msgs/OccupancyGrid."""

    @property
    def info(self) -> MapMetaData: ...
    @property
    def data(self) -> Any: ...


class LaserScan(Protocol):
    """sensor_msgs/LaserScan."""

    @property
    def angle_min(self) -> float: ...
    @property
    def angle_increment(self) -> float: ...
    @property
    def range_min(self) -> float: ...
    @property
    def range_max(self) -> float: ...
    @property
    def ranges(self) -> Any: ...
