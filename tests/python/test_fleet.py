"""korrin.fleet on threads: the results of a plain loop in its order, failures as values, bad arguments."""

import pickle
import threading

import numpy as np
import pytest
from conftest import run_python
from fleet_examples import (
    drawn_floor,
    drive_of,
    free_pairs,
    inverse,
    mapped,
    nothing,
    plain,
    planned,
)

import korrin
from korrin import fleet

NAN = float("nan")


@pytest.fixture(scope="module")
def planner():
    return korrin.PathPlanner(drawn_floor(), robot_radius=0.2)


@pytest.mark.parametrize("threads", [1, 2, 7, None])
def test_plans_are_those_of_a_plain_loop(planner, threads):
    requests = free_pairs(planner, 300)
    plans = fleet.plan_all(None, planner, requests, threads=threads)
    assert plans == planned(planner, requests)
    assert sum(plan.outcome == korrin.PlanOutcome.Found for plan in plans) > 250


def test_cells_arrays_and_generators_are_requests(planner):
    pairs = free_pairs(planner, 20)
    expected = planned(planner, pairs)
    assert fleet.plan_all(None, planner, iter(pairs)) == expected
    assert fleet.plan_all(None, planner, np.array(pairs)) == expected
    to_cell = planner.map.get_pixel_from_pose
    cells = [(to_cell(start), to_cell(goal)) for start, goal in pairs]
    assert fleet.plan_all(None, planner, (pair for pair in cells)) == planned(planner, cells)


def test_nothing_one_and_the_same_again(planner):
    [pair] = free_pairs(planner, 1)
    assert fleet.plan_all(None, planner, []) == []
    assert fleet.plan_all(None, planner, [pair]) == [planner.plan(*pair)]
    assert fleet.plan_all(None, planner, [pair] * 50) == [planner.plan(*pair)] * 50


def test_a_pose_that_is_no_number_is_a_plan_that_says_so(planner):
    requests = [((NAN, 1), (2, 2)), ((1, 1), (float("inf"), 2)), ((1, 1), (4, 1))]
    plans = fleet.plan_all(None, planner, requests)
    assert [plan.outcome.name for plan in plans] == ["StartBlocked", "GoalBlocked", "Found"]
    assert plans[0].blocked.reason == korrin.BlockedReason.NotANumber
    assert plans == planned(planner, requests)


def test_a_request_that_raises_takes_no_other_along(planner):
    requests = free_pairs(planner, 60)
    requests[17], requests[40] = ("here", (1, 1)), ((1, 1), (2, 2), (3, 3))
    plans = fleet.plan_all(None, planner, requests)
    assert plans[17] == fleet.Failure(17, "TypeError", "start: wanted 2 or 3 numbers, found 'here'")
    assert (plans[40].index, plans[40].kind) == (40, "TypeError")
    assert plans[40].message.startswith("request: wanted a pair (start, goal), found ((1, 1), (2, 2), (3")
    good = [i for i in range(60) if i not in (17, 40)]
    assert [plans[i] for i in good] == [planner.plan(*requests[i]) for i in good]


def test_a_failure_reads_well_and_is_a_value():
    failure = fleet.Failure(3, "ValueError", "too small")
    assert str(failure) == "request 3 failed: ValueError: too small"
    assert pickle.loads(pickle.dumps(failure)) == failure
    assert len({failure, fleet.Failure(3, "ValueError", "too small")}) == 1
    with pytest.raises(AttributeError):
        failure.index = 4
    [wordless] = fleet.sweep(None, raised, [KeyError()])
    assert (wordless.kind, wordless.message) == ("KeyError", "KeyError()")


def raised(error):
    raise error


def test_whatever_is_raised_is_a_failure():
    failed = fleet.sweep(None, raised, [SystemExit(3), KeyboardInterrupt(), MemoryError("all of it")])
    assert [each.kind for each in failed] == ["SystemExit", "KeyboardInterrupt", "MemoryError"]
    assert failed[2].message == "all of it"


def test_any_function_is_swept():
    settings = [3, 0, 2, 0]
    assert fleet.sweep(None, inverse, settings) == plain(inverse, settings)
    assert fleet.sweep(None, lambda number: -number, settings) == [-3, 0, -2, 0]
    assert fleet.sweep(None, nothing, settings) == [None] * 4
    lock = threading.Lock()  # which no pickle takes
    assert fleet.sweep(None, lambda _: lock, [1])[0] is lock


def test_scans_are_located_as_by_a_plain_loop():
    room = drawn_floor()
    laser = korrin.ScanModel(181, 8, 4.7)
    poses = [(1 + 0.3 * i, 1.5, 0.5 * i) for i in range(5)]
    scans = [korrin.occ_map_simulate_scan(room, laser, pose, 0.45) for pose in poses]
    search, grid = korrin.PoseSearch(room, 0.45, 0.2), korrin.PoseGrid.around(room, 0.1, 0.1)
    hits = [scan.to_point2d()[scan.readings["status"] == 0] for scan in scans]
    assert any(len(some) < len(scan) for some, scan in zip(hits, scans))
    expected = [search.best(points, grid, 2, 1.0, 0.25) for points in hits]
    options = {"count": 2, "apart": 1.0, "turned": 0.25}
    given = [scans[0], korrin.LoggedScan(scans[1], (9, 9)), hits[2], hits[3].tolist(), scans[4]]
    assert fleet.locate_all(None, search, given, grid, **options) == expected
    failed = fleet.locate_all(None, search, ["scan", hits[0]], grid, **options)
    assert (failed[0].kind, failed[1]) == ("TypeError", expected[0])


def test_maps_are_built_as_one_by_one(tmp_path):
    logs = [drive_of(seed, 6) for seed in range(3)]
    korrin.write_log(logs[2], tmp_path / "drive.log.gz")
    given = [logs[0], logs[1].scans, tmp_path / "drive.log.gz", str(tmp_path / "none.log"), []]
    shares = []
    built = fleet.build_maps(None, given, resolution=0.1, progress=shares.append)
    for each, log in zip(built, [logs[0], logs[1], korrin.read_log(tmp_path / "drive.log.gz")]):
        assert (each.alignment, each.map) == mapped(log, 0.1)
        assert each.poses == [logged.pose for logged in each.alignment.scans]
    assert [each.kind for each in built[3:]] == ["FileNotFoundError", "ValueError"]
    assert "no scan" in built[4].message
    assert shares[-1] == 1
    coarse = korrin.mapping.AlignerSettings(key_distance=1, key_turn=1)
    [other] = fleet.build_maps(None, logs[:1], settings=coarse, resolution=0.1)
    assert other.alignment == korrin.mapping.align(logs[0], coarse, 0.1)
    assert other.alignment.key_scans != built[0].alignment.key_scans
    [nearer] = fleet.build_maps(None, [tmp_path / "drive.log.gz"], resolution=0.1, max_range=1.5)
    assert nearer.map.shape < built[2].map.shape


def search_on(map):
    return korrin.PoseSearch(map, 0.4, 1)


@pytest.mark.parametrize(
    ("call", "error", "message"),
    [
        (lambda p: fleet.plan_all("tcp://", p, []), TypeError, "client: wanted a dask.distributed Client"),
        (lambda p: fleet.plan_all(p, p, []), TypeError, "or None, found PathPlanner"),
        (lambda p: fleet.plan_all(None, p.map, []), TypeError, "planner: wanted a PathPlanner, found Occ"),
        (lambda p: fleet.plan_all(None, p, 7), TypeError, "requests: wanted several, found int"),
        (lambda p: fleet.plan_all(None, p, [], threads=0), ValueError, "threads: must be at least 1, found"),
        (lambda p: fleet.locate_all(None, p, [], None), TypeError, "search: wanted a PoseSearch"),
        (lambda p: fleet.locate_all(None, search_on(p.map), [], 3), TypeError, "grid: wanted a PoseGrid"),
        (lambda p: fleet.build_maps(None, "office.log"), TypeError, "logs: wanted several, found one str"),
        (lambda p: fleet.build_maps(None, korrin.LaserLog([])), TypeError, "found one LaserLog"),
        (lambda p: fleet.sweep(None, 3, [1]), TypeError, "function: wanted something to call, found int"),
    ],
)
def test_a_wrong_argument_is_named(planner, call, error, message):
    with pytest.raises(error, match=message):
        call(planner)


def test_what_the_requests_raise_is_raised(planner):
    def broken():
        yield (1, 1), (2, 2)
        raise OSError("the disk is gone")

    with pytest.raises(OSError, match="the disk is gone"):
        fleet.plan_all(None, planner, broken())


def test_dask_is_not_imported():
    code = """
import sys, korrin.fleet
korrin.fleet.sweep(None, abs, [1])
print(sorted({"dask", "distributed", "cloudpickle", "tornado"} & set(sys.modules)))
"""
    assert run_python(code) == "[]\n"
