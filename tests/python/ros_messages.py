"""Messages for the tests of korrin.ros, of three makes: ROS 1's own classes where they are installed,
plain objects, and classes that take nothing but the very types, as those of ROS 2 do.
"""

import array
from types import SimpleNamespace

import pytest


def strict(name, **fields):
    """A class with these fields, each of the type of what its maker makes; others are refused."""

    def __init__(self):
        for field, make in fields.items():
            object.__setattr__(self, field, make())

    def __setattr__(self, field, value):
        wanted = type(getattr(self, field))
        assert type(value) is wanted, f"{name}.{field}: {type(value)} for {wanted}"
        assert field != "nanosec" or 0 <= value < 10**9
        assert field != "data" or value.typecode == "b"
        object.__setattr__(self, field, value)

    return type(name, (), {"__init__": __init__, "__setattr__": __setattr__})


def ros2():
    """Classes named and stamped as ROS 2 does it."""
    time = strict("Time", sec=int, nanosec=int)
    header = strict("Header", stamp=time, frame_id=str)
    point = strict("Point", x=float, y=float, z=float)
    quaternion = strict("Quaternion", x=float, y=float, z=float, w=float)
    pose = strict("Pose", position=point, orientation=quaternion)
    stamped = strict("PoseStamped", header=header, pose=pose)
    covariant = strict("PoseWithCovariance", pose=pose)
    info = strict(
        "MapMetaData", map_load_time=time, resolution=float, width=int, height=int, origin=pose
    )
    return SimpleNamespace(
        Time=time,
        Pose=pose,
        PoseStamped=stamped,
        Path=strict("Path", header=header, poses=list),
        PoseArray=strict("PoseArray", header=header, poses=list),
        OccupancyGrid=strict(
            "OccupancyGrid", header=header, info=info, data=lambda: array.array("b")
        ),
        Odometry=strict("Odometry", header=header, child_frame_id=str, pose=covariant),
        LaserScan=SimpleNamespace,
    )


def ros1():
    """ROS 1's own classes; the test is skipped without them."""
    why = "ROS 1's messages are not installed (scripts/install-packages ros)"
    nav = pytest.importorskip("nav_msgs.msg", reason=why)
    geometry = pytest.importorskip("geometry_msgs.msg", reason=why)
    sensor = pytest.importorskip("sensor_msgs.msg", reason=why)
    genpy = pytest.importorskip("genpy", reason=why)
    return SimpleNamespace(
        Time=genpy.Time,
        Pose=geometry.Pose,
        PoseStamped=geometry.PoseStamped,
        Path=nav.Path,
        PoseArray=geometry.PoseArray,
        OccupancyGrid=nav.OccupancyGrid,
        Odometry=nav.Odometry,
        LaserScan=sensor.LaserScan,
    )


def sent(message):
    """A message of ROS 1 as it arrives: through bytes, as floats of the wire and tuples."""
    import io

    buffer = io.BytesIO()
    message.serialize(buffer)
    return type(message)().deserialize(buffer.getvalue())
