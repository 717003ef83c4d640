#!/usr/bin/env python3
"""A mapper for ROS 1: `scan` (LaserScan) and `odom` (Odometry) in, `map` (OccupancyGrid) out.

    python3 mapper_node.py _laser_pose:='[0.2, 0, 0]' _resolution:=0.05 _period:=5

Poses are corrected scan by scan, and loops closed; the map is made anew every `period` seconds. Its frame,
`map`, is that of the odometry as it was at the first scan. It keeps every scan: good for an hour, not for
a month.
"""

import threading

import rospy
from nav_msgs.msg import OccupancyGrid, Odometry
from sensor_msgs.msg import LaserScan

import korrin
import korrin.mapping
import korrin.ros


class MapperNode:
    def __init__(self):
        self.laser_pose = rospy.get_param("~laser_pose", [0, 0, 0])  # on the robot: x, y, heading
        self.resolution = rospy.get_param("~resolution", 0.05)  # metres a cell
        self.aligner = korrin.mapping.ScanAligner()
        self.scans = []
        self.robot = None  # where odometry has it
        self.lock = threading.Lock()
        self.publisher = rospy.Publisher("map", OccupancyGrid, queue_size=1, latch=True)
        rospy.Subscriber("odom", Odometry, self.take_odometry, queue_size=10)
        rospy.Subscriber("scan", LaserScan, self.take_scan, queue_size=10)
        rospy.Timer(rospy.Duration(rospy.get_param("~period", 5)), self.publish)

    def take_odometry(self, message):
        self.robot = korrin.ros.from_odometry(message).pose

    def take_scan(self, message):
        if self.robot is None:
            return
        scan = korrin.ros.from_scan(message)
        with self.lock:
            # The last odometry, a little older than the scan: what it lacks, matching finds.
            self.aligner.add(scan, self.robot.abs_project(self.laser_pose))
            self.scans.append(scan)

    def publish(self, _):
        with self.lock:
            scans = [korrin.LoggedScan(*pair) for pair in zip(self.scans, self.aligner.poses())]
        frame = korrin.mapping.grid_around(scans, self.resolution) if scans else None
        if frame is None:  # nothing seen, or more than a grid holds
            return
        map = korrin.mapping.build_grid(scans, frame)
        self.publisher.publish(
            korrin.ros.to_grid(map, OccupancyGrid, frame_id="map", stamp=rospy.Time.now())
        )


if __name__ == "__main__":
    rospy.init_node("mapper")
    node = MapperNode()
    rospy.spin()
