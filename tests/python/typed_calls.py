"""Calls that work, and that type checkers accept; test_stubs.py runs and checks this file."""

import copy
import pickle
from dataclasses import dataclass, field
from types import SimpleNamespace

import numpy as np

import korrin
import korrin.fleet
import korrin.ros

# Poses and cells with a heading or without.
map = korrin.OccupancyMap(40, 20, 0.25)
map.reset(1)
finder = korrin.OccMapPathFinder(map)
finder.compute_path((1, 1), (5, 1, 0))
finder.compute_path([1.0, 1.0], np.array([5, 1]))
finder.compute_path(start_cell=(4, 4), end_cell=(9, 4, 0))
planner = korrin.PathPlanner(map, robot_radius=0.3, neighborhood="double")
planner = korrin.PathPlanner(map, korrin.PlannerSettings(robot_radius=0.3, coarse_factor=2))
plan = planner.plan((1, 1), np.array([5, 1, 0]))
plan = planner.plan(start_cell=(2, 2), goal_cell=(4, 2, 0))
plan = planner.plan_to_nearest((1, 1), [(5, 1, 0), (1, 3, 0)])
if plan.outcome == korrin.PlanOutcome.Found:
    metres: float = plan.length + float(plan.path[0, 0] + plan.waypoints[-1, 1])
elif plan.blocked is not None and plan.blocked.nearest_free is not None:
    planner.plan(plan.blocked.nearest_free, (5, 1))
planner.cost_field((1, 1)).image.max()
planner.refresh(x=0, y=0, width=5, height=5)
planner.refresh()
map.get_pixel_from_pose((1, 2))
pose = korrin.Pose2D(1, 2)
x, y, theta = korrin.Pose2D(np.array([1.0, 2.0, 3.0]))
korrin.compute_norm((3, 4))
korrin.compute_norm(pose)

# Enumerations by name.
finder.set_neighborhood_type("double")
finder.set_neighborhood_type("Simple")
params = korrin.OccupancyMapParams(40, 20, 0.25, "center")
dilater = korrin.ObstacleDilater(40, 20)
dilater.dilate(map, "linear")
dilater.dilate(map, "DILATE_INVERSE")
dilater.dilate(map, dilater.DILATE_ERODE_SMOOTH)
korrin.complete_log("info", "text", "src/robot", "drive", 1)

# Maps and arrays.
cells = np.ones((20, 40), np.float32)
map = korrin.OccupancyMap.from_array(cells, 0.05)
map = korrin.OccupancyMap.from_array([[1.0, 0.5]], resolution=0.05, origin=(1, 2))
map = korrin.OccupancyMap.from_array(cells.astype(float), 0.05, origin=pose, with_second_image=True)
map.image = cells
map.image = cells.astype(np.float64)
map.image *= 0.5
map.image[3, 4] = 0
map.second_image = cells
rows, columns = map.shape
total = float(np.asarray(map).sum() + np.array(map, dtype=np.float64).sum())
map.params.origin = (1, 2)
map.params.origin = pose
map.params.origin.x = 3

# Values.
back: korrin.OccupancyMap = pickle.loads(pickle.dumps(map))
twin: korrin.OccupancyMap = copy.deepcopy(map)
same: bool = back == twin and pose != korrin.Pose2D()
hole = korrin.ScanHole()
hole.begin_point = (1, 2)
distance: float = hole.begin_point.x

# Searches for poses.
grid = korrin.PoseGrid((1, 2, 0), reach_x=0.5, reach_y=0.5, turn=0.2, step=0.25, turn_step=0.1)
search = korrin.PoseSearch(map, 0.45, max_dist=0.5)
answers = search.best([(1, 0), (0, 1)], grid, count=2, apart=0.5)
best_score: float = answers[0].score
everywhere = korrin.PoseGrid.around(map.params, 0.25, turn_step=0.5)

# Many requests at once.
plans: list[korrin.Plan | korrin.fleet.Failure]
plans = korrin.fleet.plan_all(None, planner, [((1, 1), (5, 1)), ((1, 1, 0), (3, 1))], threads=2)
plans = korrin.fleet.plan_all(None, planner, ((pose, (x, 1)) for x in (2, 3)), progress=print)
located = korrin.fleet.locate_all(None, search, [korrin.Scan(), np.zeros((2, 2))], grid, count=2)
scores = [each[0].score for each in located if not isinstance(each, korrin.fleet.Failure)]
built: list[korrin.fleet.LogMap | korrin.fleet.Failure]
built = korrin.fleet.build_maps(None, ["no.log", korrin.LaserLog([])], resolution=0.1)
halves: list[float | korrin.fleet.Failure] = korrin.fleet.sweep(None, lambda number: number / 2, [1, 2])

# Messages: plain objects, and classes with the fields of those of ROS.
message = korrin.ros.to_grid(map, frame_id="odom", stamp=5)
heard: korrin.OccupancyMap = korrin.ros.from_grid(message)
korrin.ros.to_grid(map, SimpleNamespace if message is None else None, stamp=message.header.stamp)
path = korrin.ros.to_path([(1, 2, 0)], frame_id="odom")
nowhere: korrin.Pose2D = korrin.ros.from_pose(path.poses[0])


@dataclass
class LaserScan:
    angle_min: float = -1.5
    angle_increment: float = 0.5
    range_min: float = 0.1
    range_max: float = 30
    ranges: list[float] = field(default_factory=lambda: [1.0, 2.0])


@dataclass
class Time:
    sec: int = 1
    nanosec: int = 5


seen: korrin.Scan = korrin.ros.from_scan(LaserScan(), misses_clear=True)
whole: int = korrin.ros.nanoseconds(Time()) + korrin.ros.nanoseconds(5)
