"""The file of a bag of ROS 1: its topics and messages, by Debian's python3-rosbag."""

from __future__ import annotations

import os
import struct
from collections.abc import Iterator
from typing import Any

LASER_SCAN = "sensor_msgs/LaserScan"
ODOMETRY = "nav_msgs/Odometry"
_TRANSFORMS = ("tf2_msgs/TFMessage", "tf/tfMessage")

# What the reader raises besides its own errors when bytes are not what they should be.
_DAMAGE = (
    *(ArithmeticError, AttributeError, EOFError, LookupError, MemoryError),
    *(OSError, SyntaxError, TypeError, ValueError, struct.error),
)


class BagFile:
    """An open bag. Faults of the file raise OSError or ValueError, which names it."""

    def __init__(self, path: str | os.PathLike[str]) -> None:
        open(path, "rb").close()  # raises what the system has against it
        try:
            import genpy
            import rosbag
        except ImportError:
            raise ImportError("read_bag needs the module rosbag; Debian has it as python3-rosbag") from None
        self._name = os.fspath(path)
        self._faults = (rosbag.ROSBagException, genpy.MessageException, *_DAMAGE)
        try:
            self._bag = rosbag.Bag(self._name)
        except rosbag.ROSBagUnindexedException:
            raise ValueError(f"{self._name}: the bag has no index; `rosbag reindex` makes one") from None
        except self._faults as fault:
            raise ValueError(f"{self._name}: cannot be read as a bag: {fault}") from None
        self._kinds: dict[str, str] = self._kinds_of_topics()

    def __enter__(self) -> BagFile:
        return self

    def __exit__(self, *_: object) -> None:
        self._bag.close()

    def topic(self, wanted: str, kind: str) -> str:
        """The name in the bag of a topic, given with its slash or without, with messages of a kind."""
        found = next((topic for topic in self._kinds if topic.lstrip("/") == wanted.lstrip("/")), None)
        if found is None:
            raise ValueError(f"{self._name}: no topic {wanted}; there are: {self._topics()}")
        if self._kinds[found] != kind:
            wish = f"wanted {kind}, found {self._kinds[found]}"
            raise ValueError(f"{self._name}: {wanted}: {wish}; there are: {self._topics()}")
        return found

    def transform_topics(self) -> list[str]:
        """Those of /tf and /tf_static that there are."""
        names = ("tf", "tf_static")
        return [
            topic for topic, kind in self._kinds.items() if kind in _TRANSFORMS and topic.lstrip("/") in names
        ]

    def messages(self, topics: list[str]) -> Iterator[tuple[str, Any]]:
        """(topic, message) in the order in which they were recorded."""
        recorded = iter(self._bag.read_messages(topics=topics))
        while True:
            try:
                topic, message, _ = next(recorded)
            except StopIteration:
                return
            except self._faults as fault:
                raise self._damaged(fault) from None
            yield topic, message

    def _kinds_of_topics(self) -> dict[str, str]:
        try:
            topics = self._bag.get_type_and_topic_info().topics
        except self._faults as fault:
            self._bag.close()
            raise self._damaged(fault) from None
        return {topic: info.msg_type for topic, info in topics.items()}

    def _topics(self) -> str:
        return ", ".join(f"{topic} ({self._kinds[topic]})" for topic in sorted(self._kinds)) or "none"

    def _damaged(self, fault: BaseException) -> ValueError:
        return ValueError(f"{self._name}: damaged: {type(fault).__name__}: {fault}")
