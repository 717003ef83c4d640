#!/usr/bin/env python3
"""A planner for ROS 1: answers `make_plan` (nav_msgs/GetPlan) on the map of the topic `map`.

    python3 planner_node.py _robot_radius:=0.2 _fade_distance:=0.4

The plan is empty when there is none; the log says why. A request in another frame than the map's, or
before the first map, is refused.
"""

import rospy
from geometry_msgs.msg import PoseStamped
from nav_msgs.msg import OccupancyGrid, Path
from nav_msgs.srv import GetPlan, GetPlanResponse

import korrin
import korrin.ros


class PlannerNode:
    def __init__(self):
        self.settings = korrin.PlannerSettings(
            robot_radius=rospy.get_param("~robot_radius", 0.2),  # metres: no obstacle comes nearer
            fade_distance=rospy.get_param("~fade_distance", 0.4),  # farther off where there is room
        )
        self.map = None  # (planner, frame), replaced as one
        rospy.Subscriber("map", OccupancyGrid, self.take_map, queue_size=1)
        rospy.Service("make_plan", GetPlan, self.answer)

    def take_map(self, grid):
        planner = korrin.PathPlanner(korrin.ros.from_grid(grid), self.settings)
        self.map = planner, grid.header.frame_id

    def answer(self, request):
        if self.map is None:
            raise rospy.ServiceException("there is no map yet")
        planner, frame = self.map
        for end in (request.start, request.goal):
            if end.header.frame_id != frame:
                raise rospy.ServiceException(f"wanted poses in {frame}, found {end.header.frame_id!r}")
        plan = planner.plan(korrin.ros.from_pose(request.start), korrin.ros.from_pose(request.goal))
        if plan.outcome != korrin.PlanOutcome.Found:
            rospy.logwarn(korrin.describe(plan.blocked) if plan.blocked else "no path leads to the goal")
        path = korrin.ros.to_path(
            plan.waypoints, Path, PoseStamped, frame_id=frame, stamp=rospy.Time.now()
        )
        return GetPlanResponse(plan=path)


if __name__ == "__main__":
    rospy.init_node("planner")
    node = PlannerNode()
    rospy.spin()
