"""Plain objects with the fields of messages, for callers who name no class: stamps as in ROS 2."""

from __future__ import annotations

from collections.abc import Callable
from types import SimpleNamespace
from typing import Any


def made(message: Callable[[], Any] | None, plain: Callable[[], Any]) -> Any:
    """A new message of a class, or a plain one without a class."""
    if message is not None and not callable(message):
        raise TypeError(f"message: wanted a class, found one {type(message).__name__}")
    return (message or plain)()


def time() -> SimpleNamespace:
    return SimpleNamespace(sec=0, nanosec=0)


def header() -> SimpleNamespace:
    return SimpleNamespace(stamp=time(), frame_id="")


def pose() -> SimpleNamespace:
    return SimpleNamespace(
        position=SimpleNamespace(x=0.0, y=0.0, z=0.0),
        orientation=SimpleNamespace(x=0.0, y=0.0, z=0.0, w=1.0),
    )


def pose_stamped() -> SimpleNamespace:
    return SimpleNamespace(header=header(), pose=pose())


def path() -> SimpleNamespace:
    """A Path or a PoseArray."""
    return SimpleNamespace(header=header(), poses=[])


def grid() -> SimpleNamespace:
    info = SimpleNamespace(map_load_time=time(), resolution=0.0, width=0, height=0, origin=pose())
    return SimpleNamespace(header=header(), info=info, data=[])
