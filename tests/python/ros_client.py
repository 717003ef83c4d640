"""Programs that talk to the example nodes of ROS 1, each a process of its own as a robot's would be.

    ros_client.py plan MAP.yaml      sends the map, asks for plans, prints what is answered (JSON)
    ros_client.py map MAP.yaml       sends scans made up in the map, prints the map that comes back
"""

import json
import sys

import numpy as np
import rospy
from geometry_msgs.msg import PoseStamped
from nav_msgs.msg import OccupancyGrid, Odometry
from nav_msgs.srv import GetPlan
from sensor_msgs.msg import LaserScan

import korrin
import korrin.ros

POSE = (1.2, 8.0, 0.25)  # where the robot stands while it maps


def plan(map):
    service = rospy.ServiceProxy("make_plan", GetPlan)
    rospy.wait_for_service("make_plan", 30)
    found = {"early": refusal(service, (1.2, 8), (18, 1.6))}
    publisher = rospy.Publisher("map", OccupancyGrid, queue_size=1, latch=True)
    publisher.publish(korrin.ros.to_grid(map, OccupancyGrid, frame_id="floor"))
    while "no map yet" in (refusal(service, (1.2, 8), (18, 1.6)) or ""):
        rospy.sleep(0.05)
    answer = ask(service, (1.2, 8), (18, 1.6))
    found["path"] = korrin.ros.from_path(answer.plan).tolist()
    found["frames"] = sorted({pose.header.frame_id for pose in [answer.plan, *answer.plan.poses]})
    found["blocked"] = len(ask(service, (1.2, 8), (500, 500)).plan.poses)
    found["elsewhere"] = refusal(service, (1.2, 8), (18, 1.6), "odom")
    return found


def ask(service, start, goal, frame="floor"):
    ends = (korrin.ros.to_pose_stamped(end, PoseStamped, frame_id=frame) for end in (start, goal))
    return service(*ends, 0.0)


def refusal(service, *request):
    try:
        ask(service, *request)
    except rospy.ServiceException as fault:
        return str(fault)
    return None


def map(floor):
    scans = rospy.Publisher("scan", LaserScan, queue_size=1)
    odometry = rospy.Publisher("odom", Odometry, queue_size=1)
    heard = []
    rospy.Subscriber("map", OccupancyGrid, heard.append)
    while len(heard) < 3 and not rospy.is_shutdown():
        stamp = rospy.Time.now()
        odometry.publish(odometry_at(stamp))
        scans.publish(scan_at(floor, stamp))
        rospy.sleep(0.1)
    grid = heard[-1]
    seen = korrin.ros.from_grid(grid)
    ends = ends_in(floor)
    return {
        "frame": grid.header.frame_id,
        "resolution": seen.params.resolution,
        "ends": [value_at(seen, end) for end in ends],
        "on the way": [value_at(seen, 0.5 * (end + [*laser_at()][:2])) for end in ends],
    }


def value_at(map, point):
    cell = map.get_pixel_from_pose(tuple(point))
    return float(map.image[cell.y, cell.x])


def scan_of(floor):
    laser = korrin.ScanModel(count=181, max_range=8, field_of_view=3.14)
    return korrin.occ_map_simulate_scan(floor, laser, laser_at(), 0.45)


def laser_at():
    return korrin.Pose2D(POSE).abs_project((0.2, 0, 0))


def ends_in(floor):
    """Where the hits of the scan lie on the floor: N x 2."""
    scan = scan_of(floor)
    hits = scan.to_point2d()[scan.readings["status"] == 0]
    return np.array([[*laser_at().abs_project((*end, 0))][:2] for end in hits])


def scan_at(floor, stamp):
    readings = scan_of(floor).readings
    message = LaserScan(range_min=0.05, range_max=8, ranges=readings["range"].tolist())
    message.angle_min = float(readings["angle"][0])
    message.angle_increment = float(np.diff(readings["angle"]).mean())
    message.header.stamp, message.header.frame_id = stamp, "laser"
    return message


def odometry_at(stamp):
    message = Odometry(child_frame_id="base_link")
    message.header.stamp, message.header.frame_id = stamp, "odom"
    message.pose.pose = korrin.ros.to_pose_stamped(POSE, PoseStamped).pose
    return message


if __name__ == "__main__":
    rospy.init_node("client")
    print(json.dumps({"plan": plan, "map": map}[sys.argv[1]](korrin.load_map(sys.argv[2]))))
