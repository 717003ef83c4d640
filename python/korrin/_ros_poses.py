"""Poses, paths and odometry of korrin.ros."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

import korrin

from . import _ros_plain as plain
from ._ros_messages import AnyPose, Odometry, Poses, Time
from ._ros_values import (
    Planar,
    fill_header,
    fill_quaternion,
    fill_vector,
    nanoseconds,
    number,
    planar_pose,
)


class StampedPose(NamedTuple):
    """What odometry tells: a pose, when it was there (nanoseconds), in which frame, and of which one.

    >>> korrin.ros.StampedPose(korrin.Pose2D(1, 2, 0), 5 * 10**9, "odom", "base_link").frame_id
    'odom'
    """

    pose: korrin.Pose2D
    nanoseconds: int
    frame_id: str
    child_frame_id: str


def from_pose(message: AnyPose) -> korrin.Pose2D:
    """The pose that a message has: its position, without height, and its turn about the vertical.

    Pose, Transform, and whatever has one in its field `pose` or `transform`, however deep:
    PoseStamped, PoseWithCovarianceStamped, TransformStamped, Odometry. A coordinate that is not
    finite, a quaternion whose length is not 1 (0.01 off is let pass), and one that tilts by more than
    0.05 radians or stands on its head raise ValueError, which names the field. Constant time.

    >>> message = korrin.ros.to_pose_stamped((1, 2, 0.5), frame_id="map")
    >>> korrin.ros.from_pose(message)
    Pose2D(x=1, y=2, theta=0.5)
    >>> message.pose.orientation.w = 7
    >>> korrin.ros.from_pose(message)
    Traceback (most recent call last):
    ValueError: pose.orientation: wanted a quaternion of length 1, found (0, 0, 0.247404, 7) of length 7.00437
    """
    return korrin.Pose2D(*planar_of(message))


def parts_of_pose(message: Any) -> tuple[Any, Any, tuple[str, str]]:
    """Position and orientation of a message, and the names of these fields."""
    place = ""
    while True:
        if hasattr(message, "orientation"):
            return message.position, message.orientation, (place + "position", place + "orientation")
        if hasattr(message, "rotation"):
            return message.translation, message.rotation, (place + "translation", place + "rotation")
        inner = next((name for name in ("pose", "transform") if hasattr(message, name)), None)
        if inner is None:
            found = type(message).__name__
            raise TypeError(f"{place or 'message'}: wanted a pose or a transform, found a {found}")
        message, place = getattr(message, inner), f"{place}{inner}."


def planar_of(message: Any) -> Planar:
    """x, y and heading of what has a pose, in double precision."""
    return planar_pose(*parts_of_pose(message))


def from_odometry(message: Odometry) -> StampedPose:
    """The pose of an odometry message, its stamp in nanoseconds, its frame, and the moving frame.

    Faults of the pose raise ValueError as of `from_pose`. Twist and covariances are not looked at.

    >>> from types import SimpleNamespace
    >>> header = korrin.ros.to_pose_stamped((0, 0, 0), frame_id="odom", stamp=7).header
    >>> inner = SimpleNamespace(pose=korrin.ros.to_pose((1, 2, 0.5)))
    >>> message = SimpleNamespace(header=header, child_frame_id="base_link", pose=inner)
    >>> korrin.ros.from_odometry(message)[:2]
    (Pose2D(x=1, y=2, theta=0.5), 7)
    """
    header = message.header
    pose = korrin.Pose2D(*planar_of(message))
    return StampedPose(pose, nanoseconds(header.stamp), header.frame_id, message.child_frame_id)


def from_path(message: Poses) -> NDArray[np.float32]:
    """The poses of a Path or PoseArray: N x 3, metres and radians. Their own headers do not count.

    Faults raise ValueError as of `from_pose`. Linear.

    >>> korrin.ros.from_path(korrin.ros.to_path([(1, 2, 0), (3, 4, 0.5)])).tolist()
    [[1.0, 2.0, 0.0], [3.0, 4.0, 0.5]]
    """
    rows = [planar_of(pose) for pose in message.poses]
    return np.array(rows, np.float32).reshape(-1, 3)


def to_pose(pose: korrin.PoseLike, message: Callable[[], Any] | None = None) -> Any:
    """A Pose: a new message of the class `message`, or a plain object with its fields.

    Coordinates that are not finite raise ValueError. What is written reads back by `from_pose` as the
    same floats, for headings above -pi and up to pi; others come back wrapped into that turn.

    >>> korrin.ros.to_pose((1, 2)).orientation.w
    1.0
    """
    made = plain.made(message, plain.pose)
    fill_pose(made, _planar_like(pose, "pose"))
    return made


def to_pose_stamped(
    pose: korrin.PoseLike,
    message: Callable[[], Any] | None = None,
    *,
    frame_id: str = "map",
    stamp: int | Time = 0,
) -> Any:
    """A PoseStamped: a new message of the class `message`, or a plain object with its fields.

    `stamp` is a time of ROS 1 or ROS 2, or nanoseconds. Otherwise as `to_pose`.

    >>> korrin.ros.to_pose_stamped((1, 2), frame_id="odom", stamp=1_500_000_000).header.stamp
    namespace(sec=1, nanosec=500000000)
    """
    made = plain.made(message, plain.pose_stamped)
    fill_header(made.header, frame_id, stamp)
    fill_pose(made.pose, _planar_like(pose, "pose"))
    return made


def to_path(
    path: korrin.RowsLike,
    message: Callable[[], Any] | None = None,
    pose: Callable[[], Any] | None = None,
    *,
    frame_id: str = "map",
    stamp: int | Time = 0,
) -> Any:
    """A Path of poses, N x 3 in metres and radians: of the class `message` with poses of the class `pose`
    (PoseStamped), or a plain object with these fields.

    Each pose has the path's frame and stamp. Numbers that are not finite, rows of another length and
    one class without the other raise ValueError. Linear.

    >>> korrin.ros.to_path([(1, 2, 0), (3, 4, 0.5)]).poses[1].pose.position.x
    3.0
    """
    made, rows, element = _prepared(path, message, pose, plain.path, plain.pose_stamped)
    fill_header(made.header, frame_id, stamp)
    made.poses = [to_pose_stamped(row, element, frame_id=frame_id, stamp=stamp) for row in rows]
    return made


def to_pose_array(
    poses: korrin.RowsLike,
    message: Callable[[], Any] | None = None,
    pose: Callable[[], Any] | None = None,
    *,
    frame_id: str = "map",
    stamp: int | Time = 0,
) -> Any:
    """A PoseArray of poses, N x 3: of the class `message` with poses of the class `pose` (Pose), or a plain
    object with these fields. Otherwise as `to_path`.

    >>> len(korrin.ros.to_pose_array([(1, 2, 0), (3, 4, 0.5)]).poses)
    2
    """
    made, rows, element = _prepared(poses, message, pose, plain.path, plain.pose)
    fill_header(made.header, frame_id, stamp)
    made.poses = [to_pose(row, element) for row in rows]
    return made


def _prepared(
    path: korrin.RowsLike,
    message: Callable[[], Any] | None,
    pose: Callable[[], Any] | None,
    plain_message: Callable[[], Any],
    plain_pose: Callable[[], Any],
) -> tuple[Any, list[Planar], Callable[[], Any]]:
    """A new message, the rows to fill it with, and the class of its poses."""
    if (message is None) != (pose is None):
        raise ValueError("message, pose: wanted both classes or neither")
    rows = np.asarray(path, np.float64)
    if rows.size == 0:
        rows = rows.reshape(0, 3)
    if rows.ndim != 2 or rows.shape[1] != 3:
        raise ValueError(f"path: wanted N x 3 numbers, found an array of shape {rows.shape}")
    checked = [_checked(row, f"path[{i}]") for i, row in enumerate(rows)]
    return plain.made(message, plain_message), checked, pose or plain_pose


def _planar_like(pose: korrin.PoseLike, name: str) -> Planar:
    return _checked(pose if isinstance(pose, tuple) and len(pose) == 3 else korrin.Pose2D(pose), name)


def _checked(pose: Any, name: str) -> Planar:
    x, y, theta = (number(value, f"{name}.{axis}") for value, axis in zip(pose, ("x", "y", "theta")))
    return x, y, theta


def fill_pose(message: Any, pose: Planar) -> None:
    """Sets position and orientation of a Pose."""
    x, y, theta = pose
    fill_vector(message.position, x, y)
    fill_quaternion(message.orientation, theta)
