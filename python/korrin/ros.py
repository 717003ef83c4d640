"""Messages of ROS and their counterparts here, and bags as laser logs.

>>> import korrin.ros
>>> map = korrin.OccupancyMap(200, 100, 0.05)
>>> grid = korrin.ros.to_grid(map, frame_id="map")     # to_grid(map, OccupancyGrid) on a robot
>>> korrin.ros.from_grid(grid) == map
True

`from_...` reads a message, `to_...` makes one. Fields are found by their names, which ROS 1 and ROS 2
share, and stamps by those of either: nothing of ROS need be installed. `to_...` takes the class to make
and fills a new message of it, `korrin.ros.to_grid(map, OccupancyGrid, frame_id="map", stamp=now)`, or
without one a plain object with the same fields. Where a message is a list of others, their class comes
second: `to_path(plan.path, Path, PoseStamped)`.

Metres, radians, and the frame that the message names: nothing is transformed. Poses are in the plane;
height is left out, a tilt of more than 0.05 radians refused. Whatever is wrong with a message raises
ValueError, which names the field. `read_bag` alone needs a package, Debian's python3-rosbag.
"""

from __future__ import annotations

from ._ros_bags import read_bag
from ._ros_grids import from_grid, to_grid
from ._ros_poses import (
    StampedPose,
    from_odometry,
    from_path,
    from_pose,
    to_path,
    to_pose,
    to_pose_array,
    to_pose_stamped,
)
from ._ros_scans import from_scan
from ._ros_values import nanoseconds, seconds

__all__ = [
    "StampedPose",
    "from_grid",
    "from_odometry",
    "from_path",
    "from_pose",
    "from_scan",
    "nanoseconds",
    "read_bag",
    "seconds",
    "to_grid",
    "to_path",
    "to_pose",
    "to_pose_array",
    "to_pose_stamped",
]

# Everything shows, and is pickled, under the name by which it is imported.
for _name in __all__:
    globals()[_name].__module__ = __name__
