"""Long calls let other threads run, and threads may share objects."""

import threading
import time

import numpy as np
import pytest

import korrin


def big_map():
    map = korrin.OccupancyMap(1500, 1500, 0.05)
    map.reset(1)
    map.image[::37, ::41] = 0
    return map


def dilation():
    map, dilater = big_map(), korrin.ObstacleDilater(1500, 1500)
    return lambda: dilater.dilate(map, korrin.ObstacleDilater.DILATE_ERODE_SMOOTH)


def scoring():
    reference = korrin.ScanDistMap()
    scan = korrin.Scan(np.full(361, 4.0), angle_min=-1.5, angle_increment=0.01)
    reference.build(scan, (0, 0, 0), 0.05)
    poses = np.random.default_rng(1).uniform(-1, 1, (20000, 3))
    return lambda: korrin.scan_scores(reference.distance_map, scan, poses, 0.05, 0.5)


def preparing():
    map = big_map()
    return lambda: korrin.PreparedMap(map, 0.45)


def map_update():
    map = big_map()
    scan = korrin.Scan(np.full(20000, 30.0), angle_min=0, angle_increment=0.0003)
    return lambda: korrin.OccupancyMapper(map).update_map(scan, (37, 37, 0), 0.01, 0.01)


def planning():
    map = korrin.OccupancyMap(500, 500, 0.05)
    map.reset(1)
    finder = korrin.OccMapPathFinder(map)
    finder.set_h_weight(0)  # looks at all cells
    return lambda: finder.compute_path((0, 0, 0), (24, 24, 0))


def planner_of(**settings):
    map = korrin.OccupancyMap(700, 700, 0.05)
    map.reset(1)
    return korrin.PathPlanner(map, weight=0, **settings)  # looks at all cells


def planner_plans():
    planner = planner_of()
    return lambda: planner.plan((0, 0), (34, 34))


def planner_goes_to_the_nearest():
    planner = planner_of()
    return lambda: planner.plan_to_nearest((0, 0), [(34, 34, 0), (34, 30, 0)])


def planner_field():
    planner = planner_of()
    return lambda: planner.cost_field((0, 0))


def planner_making():
    map = big_map()
    return lambda: korrin.PathPlanner(map, robot_radius=0.4, fade_distance=0.6)


def planner_refresh():
    planner = korrin.PathPlanner(big_map(), robot_radius=0.4, fade_distance=0.6)
    return lambda: planner.refresh()


PLANNER_WORK = [
    *(planner_plans, planner_goes_to_the_nearest, planner_field),
    *(planner_making, planner_refresh),
]


@pytest.mark.parametrize(
    "prepare", [planning, dilation, scoring, preparing, map_update, *PLANNER_WORK]
)
def test_other_threads_run_during(prepare):
    work = prepare()
    span = []

    def timed():
        span.append(time.perf_counter())
        work()
        span.append(time.perf_counter())

    thread = threading.Thread(target=timed)
    moments = []
    thread.start()
    while len(span) < 2:
        moments.append(time.perf_counter())
    thread.join()
    # At the very ends of the call the other thread would get the interpreter in any case.
    begin, end = span
    quarter = (end - begin) / 4
    assert sum(begin + quarter < moment < end - quarter for moment in moments) > 10


def hammer(*jobs):
    """Runs all jobs beside each other, each many times; whatever one raises is raised here."""
    failures = []

    def run(job):
        try:
            for i in range(60):
                job(i)
        except BaseException as failure:
            failures.append(failure)

    threads = [threading.Thread(target=run, args=(job,)) for job in jobs for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if failures:
        raise failures[0]


def test_a_distance_map_is_built_while_it_is_asked():
    reference = korrin.ScanDistMap()
    near = korrin.Scan([1, 1.5, 2], 0, 0.5)
    far = korrin.Scan([10, 15, 20], 0, 0.5)
    reference.build(near, (0, 0, 0), 0.05)
    points = np.random.default_rng(2).uniform(-2, 2, (5000, 2))

    def look(i):
        view = reference.distance_map
        assert view.shape[0] == view.shape[1]
        assert view.min() == 0

    hammer(
        lambda i: reference.build(near if i % 2 else far, (0, 0, 0), 0.05),
        lambda i: reference.score(points, (0, 0, 0), 0.5),
        look,
    )


def test_a_prepared_map_is_refreshed_while_it_is_asked():
    map = korrin.OccupancyMap(200, 200, 0.05)
    prepared = korrin.PreparedMap(map, 0.45)
    model = korrin.ScanModel(181, 20, 6)

    def change(i):
        map.image[50:60, i : i + 20] = i % 2
        prepared.refresh()

    hammer(change, lambda i: prepared.occ_map_simulate_scan(model, (5, 5, 0)))


def test_a_planner_is_refreshed_while_threads_plan():
    map = korrin.OccupancyMap(200, 200, 0.05)
    map.reset(1)
    planner = korrin.PathPlanner(map, robot_radius=0.1)
    found = planner.plan((1, 1), (9, 1))
    map_is_mine = threading.Lock()

    def change(i):
        with map_is_mine:
            map.image[:, 100] = i % 2
            planner.refresh(100, 0, 1, 200)

    def look(i):
        plan = planner.plan((1, 1), (9, 1))
        assert plan == found or plan.outcome == korrin.PlanOutcome.NoPath
        assert planner.grown_map().shape == (200, 200)

    hammer(change, look, lambda i: planner.cost_field((1, 1)))


def test_a_mapper_changes_its_map_while_it_works():
    mapper = korrin.OccupancyMapper(korrin.OccupancyMap(100, 100, 0.05))
    scan = korrin.Scan(np.full(500, 2.0), -1, 0.004)

    def change(i):
        mapper.map = korrin.OccupancyMap(100, 100, 0.05) if i % 3 else None

    hammer(change, lambda i: mapper.update_map(scan, (2, 2, 0), 0.1, 0.1))


def test_a_dilater_and_a_simplifier_are_shared():
    map = korrin.OccupancyMap(120, 120, 0.05)
    map.reset(1)
    map.image[40:80, 60] = 0
    path = korrin.OccMapPathFinder(map).compute_path((1, 3, 0), (5, 3, 0))
    dilater, simplifier = korrin.ObstacleDilater(120, 120), korrin.SafePathSimplifier()
    expected = simplifier.sample(path, map)
    grown = korrin.OccupancyMap(map)
    dilater.dilate(grown, dilater.DILATE_LINEAR)

    def dilate(i):
        own = korrin.OccupancyMap(map)
        dilater.dilate(own, dilater.DILATE_LINEAR)
        assert np.array_equal(own.image, grown.image)

    def simplify(i):
        assert np.array_equal(simplifier.sample(path, map), expected)

    hammer(dilate, simplify)


def test_every_thread_s_records_arrive(records):
    map = korrin.OccupancyMap(4, 4, 1)
    finder = korrin.OccMapPathFinder(map)
    hammer(
        lambda i: finder.compute_path((9, 9, 0), (0, 0, 0)),
        lambda i: korrin.compute_path_cost_stat(map, []),
    )
    messages = [record.message for record in records]
    assert messages.count("Start is not free.") == 120
    assert len(messages) == 240
