"""Objects of every class of the module, for the tests of what all values have in common."""

import numpy as np
import pytest

import korrin
import korrin.mapping as mapping

NAN, INF = float("nan"), float("inf")


def some_map(second=False, nan=False):
    map = korrin.OccupancyMap(7, 5, 0.1, with_second_image=second)
    map.image[:] = np.linspace(0, 1, 35).reshape(5, 7)
    map.params.origin = (1, -2, 0.5)
    if second:
        map.second_image[2] = 0.25
    if nan:
        map.image[1, 2:4] = NAN, -0.0
        map.params.origin = (NAN, 0, INF)
    return map


def some_scan():
    scan = korrin.Scan([1, 2.5, INF, 4], angle_min=-0.5, angle_increment=0.25, range_max=9)
    scan.readings["mark"] = [7, 8, 9, 1]
    scan.readings["range"][1] = NAN
    return scan


def some_finder(map):
    finder = korrin.OccMapPathFinder(map, 3)
    finder.set_neighborhood_type(finder.Triple)
    finder.set_coarse_factor(2)
    finder.set_angle_cost_factor(0.25)
    finder.set_obstacle_threshold(NAN)
    return finder


def some_planner():
    map = some_map()
    map.image[:2] = 0
    return korrin.PathPlanner(map, robot_radius=0.1, neighborhood="double", unknown_is_free=True)


def some_plans():
    """Found, blocked with and without a free cell near, and without a way."""
    planner = some_planner()
    cells = [((1, 3), (6, 4)), ((1, 3), (0, 0)), ((99, 999), (0, 0))]
    plans = [planner.plan(korrin.Pose2Di(*a, 0), korrin.Pose2Di(*b, 0)) for a, b in cells]
    parted = korrin.OccupancyMap(3, 1, 1)
    parted.image[:] = 1, 0, 1
    return [*plans, korrin.PathPlanner(parted).plan((0, 0), (2, 0))]


def some_dist_map():
    reference = korrin.ScanDistMap()
    reference.build(korrin.Scan([1, 1.5], 0, 0.5), (0, 0, 0), 0.05)
    reference.step = 2
    return reference


def with_values(value, **fields):
    for name, field in fields.items():
        setattr(value, name, field)
    return value


def the_record():
    heard = []
    previous = korrin.set_log_sink(heard.append)
    korrin.complete_log(korrin.NavLogLevel.Warning, "low", "src/robot", "drive", 12)
    korrin.set_log_sink(previous)
    return heard[0]


EXAMPLES = {
    "BlockedEnd": [plan.blocked for plan in some_plans() if plan.blocked],
    "BlockedReason": [korrin.BlockedReason.TooNear, korrin.BlockedReason.None_],
    "FreeCellCondition": [korrin.FreeCellCondition(0.7), korrin.FreeCellCondition(NAN)],
    "GrayCellCondition": [korrin.GrayCellCondition(0.2, 0.1, True), korrin.GrayCellCondition(NAN, 1)],
    "ImageToMerge": [
        korrin.ImageToMerge(np.float32([[1, NAN]]), 1, NAN, 3),
        korrin.ImageToMerge(np.uint8([[1], [2]])),
    ],
    "LaserLog": [
        korrin.LaserLog([korrin.LoggedScan(some_scan(), (1, 2, NAN))], 81.5, "line 3"),
        korrin.LaserLog([]),
    ],
    "LogRecord": [the_record()],
    "LoggedScan": [korrin.LoggedScan(some_scan(), (1, 2), (NAN, 0, 0.5), time=12.5, line=7)],
    "NavLogLevel": [korrin.NavLogLevel.Error, korrin.NavLogLevel.Info],
    "ObstacleDilater": [
        with_values(korrin.ObstacleDilater(7, 5), dilation_radius=NAN, fade_distance=3),
        korrin.ObstacleDilater(0, 9),
    ],
    "ObstacleDilater.DilateType": [korrin.ObstacleDilater.DILATE_INVERSE],
    "OccMapPathFinder": [some_finder(some_map()), korrin.OccMapPathFinder(None)],
    "OccMapPathFinder.NeighborhoodType": [korrin.OccMapPathFinder.NeighborhoodType(7)],
    "OccMapPathFinder.Node": [
        with_values(korrin.OccMapPathFinder.Node(), x=1, y=-2, theta=NAN, parent=5, f=1, g=2, h=3)
    ],
    "OccupancyMap": [
        some_map(),
        some_map(second=True),
        some_map(nan=True),
        korrin.OccupancyMap(0, 3, 1, with_second_image=True),
    ],
    "OccupancyMapParams": [some_map().params, some_map(nan=True).params],
    "OccupancyMapParams.OriginMode": [korrin.OccupancyMapParams.Center],
    "OccupancyMapper": [korrin.OccupancyMapper(some_map()), korrin.OccupancyMapper(None)],
    "PathPlanner": [some_planner(), korrin.PathPlanner(some_map(nan=True))],
    "Plan": some_plans(),
    "PlanOutcome": [korrin.PlanOutcome.Found, korrin.PlanOutcome.NoPath],
    "PlannerSettings": [
        korrin.PlannerSettings(),
        korrin.PlannerSettings(robot_radius=NAN, fade_distance=0.5, neighborhood="triple"),
    ],
    "PathCostStats": [with_values(korrin.PathCostStats(), min_cost=-1, avg_cost=NAN, length=5)],
    "PathSimplifier": [with_values(korrin.PathSimplifier(), sampling_accuracy=7.5)],
    "Point2D": [korrin.Point2D(1, NAN), korrin.Point2D(-0.0, INF)],
    "Point2Di": [korrin.Point2Di(2**31 - 1, -(2**31) + 1)],
    "Pose2D": [korrin.Pose2D(1.1, -2, 0.5), korrin.Pose2D(NAN, -0.0, INF)],
    "Pose2Di": [korrin.Pose2Di(-3, 2**31 - 1, 0.1), korrin.Pose2Di(1, 2, NAN)],
    "PoseGrid": [
        korrin.PoseGrid((1, -2, NAN), reach_x=3, reach_y=INF, turn=0.1, step=0.25, turn_step=0.2),
        korrin.PoseGrid(),
    ],
    "PoseSearch": [
        korrin.PoseSearch(some_map(second=True), 0.45, 0.5),
        korrin.PoseSearch(some_dist_map(), 0.5),
    ],
    "PreparedMap": [korrin.PreparedMap(some_map(second=True), 0.45)],
    "RangeReading": [with_values(korrin.RangeReading(NAN, 0.1), weight=2, mark=3, status=1)],
    "SafePathSimplifier": [
        with_values(
            korrin.SafePathSimplifier(),
            initial_sampling_accuracy=100,
            min_sampling_accuracy=1,
            accuracy_divisor=3,
            obstacle_threshold=0.4,
        )
    ],
    "Scan": [some_scan(), korrin.Scan()],
    "ScanDistMap": [some_dist_map(), korrin.ScanDistMap()],
    "ScanHole": [
        with_values(
            korrin.ScanHole(),
            **dict(begin_index=1, end_index=2, heading=NAN, normal_angle=0.5),
            **dict(begin_point=(1, 2), end_point=(3, NAN), approach_point=(5, 6)),
        )
    ],
    "ScoredPose": [korrin.ScoredPose((1, 2, NAN), 0.75)],
    "ScanModel": [with_values(korrin.ScanModel(181, 10, 3), reserved=2**32 - 1, range_sigma=NAN)],
}
# Of korrin.mapping. A ScanAligner is no value, and says so.
MAPPING_EXAMPLES = {
    "AlignerSettings": [mapping.AlignerSettings(key_turn=0.5), mapping.AlignerSettings()],
    "AlignerSummary": [mapping.AlignerSummary(9, 4, 1, 3, 2, 1)],
    "Alignment": [
        mapping.align([korrin.LoggedScan(some_scan(), (i, 2)) for i in range(3)]),
        mapping.align([]),
    ],
    "AlignmentKind": [mapping.AlignmentKind.Settled],
    "GraphEdge": [mapping.GraphEdge(3, 4, (1, 2, 0.5), (1, 0, 0, 2, 0, 3), 1.5)],
    "GraphInformation": [mapping.GraphInformation(xx=2, y_theta=0.5)],
    "GraphPose": [mapping.GraphPose(1.1, -2, 0.5)],
    "GraphSolution": [mapping.PoseGraph([(1, 2, 0)]).solve()],
    "GridQuality": [mapping.GridQuality(1, 2, 3, 0.5)],
    "LinkKind": [mapping.LinkKind.Loop],
    "PoseGraph": [
        mapping.PoseGraph([(0, 0, 0), (1, 0, 0.5)], [mapping.GraphEdge(0, 1, (1, 0, 0))]),
        mapping.PoseGraph(),
    ],
    "ScanLink": [
        mapping.ScanLink(
            1, 5, mapping.GraphPose(), mapping.GraphInformation(), mapping.LinkKind.Match, True
        )
    ],
}
CASES = [
    pytest.param(value, id=f"{name}{i}") for name in EXAMPLES for i, value in enumerate(EXAMPLES[name])
]
