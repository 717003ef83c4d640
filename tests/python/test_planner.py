"""The path planner: what it answers, what it says of ends that are blocked, and its threads."""

import gc
import sys
import threading

import numpy as np
import pytest

import korrin
from korrin import BlockedReason, PlanOutcome


@pytest.fixture
def walls(room):
    """The room with a wall across it, a gap at its end, and a corner that nobody has seen."""
    room.image[:60, 50] = 0
    room.image[60:, 80:] = 0.5
    return room


def test_a_plan_is_the_finder_s_on_the_grown_map_and_the_simplifier_s_on_the_fine_one(walls):
    settings = {"robot_radius": 0.2, "fade_distance": 0.4, "neighborhood": "double", "coarse_factor": 2}
    planner = korrin.PathPlanner(walls, **settings, weight=0.25, accuracy=0.1)
    plan = planner.plan((1, 1), (4, 1))
    finder = korrin.OccMapPathFinder(planner.grown_map())
    finder.set_neighborhood_type("double")
    finder.set_h_weight(0.25)
    path = finder.compute_path((1, 1, 0), (4, 1, 0))
    finder.set_h_weight(0.5)
    simplifier = korrin.SafePathSimplifier()
    simplifier.initial_sampling_accuracy = 100
    assert plan.outcome == PlanOutcome.Found
    assert plan.iterations == finder.num_iterations > 100
    assert np.array_equal(plan.path, path)
    assert np.array_equal(plan.waypoints, simplifier.sample(path, planner.fine_map()))
    assert plan.path.dtype == plan.waypoints.dtype == np.float32


def test_unknown_cells_block_unless_they_are_free(walls):
    plan = korrin.PathPlanner(walls).plan((1, 1), (4.5, 3.5))
    assert plan.outcome == PlanOutcome.GoalBlocked
    assert plan.blocked.reason == BlockedReason.Unknown
    free = korrin.PathPlanner(walls, unknown_is_free=True)
    assert free.plan((1, 1), (4.5, 3.5)).outcome == PlanOutcome.Found


@pytest.mark.parametrize(
    "goal, reason, cell, value",
    [
        ((9, 1), BlockedReason.OffTheMap, (180, 20), -1),
        ((float("nan"), 1), BlockedReason.NotANumber, None, -1),
        ((2.5, 1), BlockedReason.Obstacle, (50, 20), 0),
        ((2.4, 1), BlockedReason.TooNear, (48, 20), -1),
        ((4.5, 3.5), BlockedReason.Unknown, (90, 70), -2),
    ],
)
def test_a_blocked_end_says_why_and_where_is_free(walls, records, goal, reason, cell, value):
    planner = korrin.PathPlanner(walls, robot_radius=0.2)
    plan = planner.plan((1, 1), goal)
    assert plan.outcome == PlanOutcome.GoalBlocked
    assert plan.path.shape == plan.waypoints.shape == (0, 3)
    blocked = plan.blocked
    assert blocked.reason == reason
    assert cell is None or (blocked.cell.x, blocked.cell.y) == cell
    assert blocked.value == value
    assert blocked.threshold == np.float32(0.2)
    assert planner.plan(goal, (1, 1)).outcome == PlanOutcome.StartBlocked
    if blocked.has_nearest_free:
        assert planner.plan((1, 1), blocked.nearest_free).outcome == PlanOutcome.Found
    assert blocked.has_nearest_free == (reason != BlockedReason.NotANumber)
    assert (blocked.nearest_free is None) != blocked.has_nearest_free
    for part in (reason.name, korrin.describe(blocked), "free pose is (", "GoalBlocked"):
        assert part in str(plan) or not blocked.has_nearest_free, part
    assert records == []


def test_what_is_printed_reads_well(walls):
    planner = korrin.PathPlanner(walls, robot_radius=0.2)
    assert str(planner.plan((1, 1), (2.4, 1))) == (
        "GoalBlocked, TooNear: an obstacle is nearer to cell (48, 20) than the robot's radius; "
        "the nearest free pose is (2.3, 1, 0)"
    )
    assert str(planner.plan((99, 99), (1, 1))) == (
        "StartBlocked, OffTheMap: cell (1980, 1980) lies outside the map; no free cell is near"
    )
    assert str(planner.plan((1, 1), (1.1, 1))).startswith("Found: 0.1 m in 3 poses and 2 waypoints, ")
    walls.image[:, 50] = 0
    planner.refresh()
    plan = planner.plan((1, 1), (4, 1))
    assert plan.outcome == PlanOutcome.NoPath
    assert plan.blocked is None
    assert str(plan).startswith("NoPath: start and goal are free, and no way leads from one to the ")
    assert "blocked=None" in repr(plan)


@pytest.mark.parametrize(
    "field, value",
    [
        ("robot_radius", -1),
        ("fade_distance", float("nan")),
        ("obstacle_threshold", 0),
        ("weight", 1.5),
        ("neighborhood", korrin.OccMapPathFinder.NeighborhoodType(7)),
        ("coarse_factor", 0),
        ("angle_cost_factor", float("inf")),
        ("accuracy", -0.1),
    ],
)
def test_settings_without_sense_are_refused_by_their_python_name(walls, field, value):
    for make in (
        lambda: korrin.PathPlanner(walls, **{field: value}),
        lambda: korrin.PathPlanner(walls, korrin.PlannerSettings(**{field: value})),
    ):
        with pytest.raises(ValueError, match=f"PlannerSettings: {field} is "):
            make()


def test_a_refresh_that_is_refused_names_its_fields_and_leaves_the_planner(walls):
    planner = korrin.PathPlanner(walls, robot_radius=1, fade_distance=1)
    before = planner.plan((1, 1), (1.2, 1.2))
    walls.params.resolution = 0.001
    for refresh in (planner.refresh, lambda: planner.refresh(0, 0, 1, 1)):
        with pytest.raises(ValueError, match="robot_radius and fade_distance are more than 1000 cells"):
            refresh()
    assert planner.plan((1, 1), (1.2, 1.2)) == before


def test_settings_are_keywords_or_an_object(walls):
    settings = korrin.PlannerSettings(robot_radius=0.3, accuracy=0.05)
    assert korrin.PathPlanner(walls, settings) == korrin.PathPlanner(walls, robot_radius=0.3, accuracy=0.05)
    planner = korrin.PathPlanner(walls, settings)
    settings.robot_radius = 0.1  # the planner has its own
    planner.settings.weight = 1
    assert planner.settings == korrin.PlannerSettings(robot_radius=0.3, accuracy=0.05)
    assert korrin.PathPlanner(walls).settings == korrin.PlannerSettings()


def test_only_a_refresh_looks_at_the_map(walls):
    planner = korrin.PathPlanner(walls)
    before = planner.plan((1, 1), (4, 1))
    walls.image[30:40, 50] = 1
    assert planner.plan((1, 1), (4, 1)) == before
    planner.refresh(x=50, y=30, width=1, height=10)
    assert planner.plan((1, 1), (4, 1)).length < before.length
    assert planner.plan((1, 1), (4, 1)) == korrin.PathPlanner(walls).plan((1, 1), (4, 1))


def test_the_map_lives_as_long_as_its_planner():
    def make():
        map = korrin.OccupancyMap(50, 50, 0.1)
        map.reset(1)
        return korrin.PathPlanner(map)

    planner = make()
    gc.collect()
    planner.map.image[:, 20] = 0
    planner.refresh()
    assert planner.plan((1, 1), (4, 1)).outcome == PlanOutcome.NoPath


def test_no_map_is_refused():
    with pytest.raises(TypeError, match="map: wanted an OccupancyMap, found None"):
        korrin.PathPlanner(None)


def test_maps_that_are_given_are_copies(walls):
    planner = korrin.PathPlanner(walls)
    planner.grown_map().image[:] = 0
    planner.fine_map().image[:] = 0
    assert planner.plan((1, 1), (4, 1)).outcome == PlanOutcome.Found


def test_the_cheapest_goal_is_that_of_the_cheapest_plan(walls):
    planner = korrin.PathPlanner(walls)
    goals = np.float32([(4, 1, 0), (2.5, 1, 0), (1, 3, 0), (3, 3.5, 0)])
    nearest = planner.plan_to_nearest((2, 1), goals)
    costs = [planner.plan((2, 1), goal) for goal in goals]
    assert [plan.outcome == PlanOutcome.Found for plan in costs] == [True, False, True, True]
    assert nearest.goal == min((0, 2, 3), key=lambda i: costs[i].cost) == 2
    assert nearest.cost == costs[2].cost
    cells = planner.plan_to_nearest(start_cell=(40, 20), goal_cells=[(80, 20, 0), (20, 60, 0)])
    assert (cells.goal, cells.length) == (1, costs[2].length)


def test_a_cost_field_holds_what_plans_of_weight_0_cost(walls):
    planner = korrin.PathPlanner(walls, weight=0)
    field = planner.cost_field((1, 1))
    assert field.params == walls.params
    assert field.image[20, 20] == 0
    assert np.isinf(field.image[20, 50])
    assert field.image[20, 80] == pytest.approx(planner.plan((4, 1), (1, 1)).cost, rel=1e-5)
    assert planner.cost_field(goal_cell=(20, 20)) == field


def test_threads_plan_on_one_planner_and_get_the_same_answers(walls):
    planner = korrin.PathPlanner(walls, robot_radius=0.1)
    draw = np.random.default_rng(1)
    requests = draw.uniform((0.2, 0.2), (4.8, 3.8), (100, 2, 2))
    expected = [planner.plan(*request) for request in requests]
    assert sum(plan.outcome == PlanOutcome.Found for plan in expected) > 50
    answers = {}
    ready = threading.Barrier(2)

    def work(name):
        ready.wait()
        answers[name] = [planner.plan(*request) for request in requests]

    threads = [threading.Thread(target=work, args=(name,)) for name in range(2)]
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1e-5)
    try:
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    finally:
        sys.setswitchinterval(interval)
    assert answers == {0: expected, 1: expected}
