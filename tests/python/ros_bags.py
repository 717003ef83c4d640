"""Bags for the tests of korrin.ros, written by rosbag."""

import math

import numpy as np
import pytest

import korrin.ros

WHY = "ROS 1's bags are not installed (scripts/install-packages ros)"
rosbag = pytest.importorskip("rosbag", reason=WHY)
rospy = pytest.importorskip("rospy", reason=WHY)
geometry = pytest.importorskip("geometry_msgs.msg", reason=WHY)
nav = pytest.importorskip("nav_msgs.msg", reason=WHY)
sensor = pytest.importorskip("sensor_msgs.msg", reason=WHY)
tf2 = pytest.importorskip("tf2_msgs.msg", reason=WHY)


def read(bag, *topics, **options):
    """The log in a Writer's bag."""
    return korrin.ros.read_bag(bag.path, *topics, **options)


def turn(x=0.0, y=0.0, z=0.0):
    """The quaternion of a turn about x, then y, then z (radians)."""
    (sx, cx), (sy, cy), (sz, cz) = ((math.sin(angle / 2), math.cos(angle / 2)) for angle in (x, y, z))
    return (
        sx * cy * cz - cx * sy * sz,
        cx * sy * cz + sx * cy * sz,
        cx * cy * sz - sx * sy * cz,
        cx * cy * cz + sx * sy * sz,
    )


class Writer:
    """A bag that is told message by message; asking for its `path` writes the file."""

    def __init__(self, path, compression="none"):
        self._path, self._compression = path, compression
        self._messages = []

    @property
    def path(self):
        with rosbag.Bag(str(self._path), "w", compression=self._compression) as bag:
            for i, (topic, message) in enumerate(self._messages, start=1):
                bag.write(topic, message, rospy.Time(i))
        return self._path

    def _write(self, topic, message):
        self._messages.append((topic, message))

    def unindexed(self):
        """The bytes of the bag as a recorder leaves them that was ended before its time."""
        with rosbag.Bag(str(self._path), "w", chunk_threshold=0) as bag:
            for i, (topic, message) in enumerate(self._messages, start=1):
                bag.write(topic, message, rospy.Time(i))
            bag.flush()
            return self._path.read_bytes()

    def odometry(self, stamp, pose, quaternion=None, base="base_link"):
        message = nav.Odometry()
        x, y, theta = pose
        position, orientation = message.pose.pose.position, message.pose.pose.orientation
        position.x, position.y = float(x), float(y)
        fill(orientation, turn(z=theta) if quaternion is None else quaternion)
        message.header.frame_id, message.child_frame_id = "odom", base
        set_stamp(message, stamp)
        self._write("/odom", message)

    def scan(self, stamp, ranges, angle_min=-1.0, angle_increment=0.5, range_max=30.0, frame="laser"):
        message = sensor.LaserScan()
        message.ranges, message.range_max = [float(each) for each in ranges], range_max
        message.angle_min, message.angle_increment = angle_min, angle_increment
        message.angle_max = angle_min + (len(ranges) - 1) * angle_increment
        message.header.frame_id = frame
        set_stamp(message, stamp)
        self._write("/scan", message)

    def static(self, parent, child, place, quaternion):
        self._transform("/tf_static", 0, parent, child, place, quaternion)

    def moving(self, stamp, parent, child, place, quaternion):
        self._transform("/tf", stamp, parent, child, place, quaternion)

    def _transform(self, topic, stamp, parent, child, place, quaternion):
        message = geometry.TransformStamped()
        message.header.frame_id, message.child_frame_id = parent, child
        translation = message.transform.translation
        translation.x, translation.y, translation.z = (float(each) for each in place)
        fill(message.transform.rotation, quaternion)
        set_stamp(message, stamp)
        self._write(topic, tf2.TFMessage([message]))


def fill(message, quaternion):
    message.x, message.y, message.z, message.w = (float(each) for each in quaternion)


def set_stamp(message, stamp):
    message.header.stamp.secs, message.header.stamp.nsecs = divmod(stamp, 10**9)


def write_log(bag, log):
    """A log as a recording: laser and robot at the same pose."""
    first, step = np.float32(-math.pi / 2), np.float32(math.pi / len(log.scans[0].scan))
    bag.static("base_link", "laser", (0, 0, 0), turn())
    for logged in log.scans:
        stamp = round(logged.time * 10**6) * 1000
        bag.odometry(stamp, logged.robot)
        bag.scan(stamp, logged.scan.readings["range"], first, step, log.no_return)
