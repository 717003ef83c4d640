"""korrin.fleet on a cluster of two worker processes: the bits of a plain loop, and what cannot be sent."""

import os
import sys
import threading
import time
import warnings

import numpy as np
import pytest
from fleet_examples import (
    CountsPreparations,
    NotToBeRead,
    Touch,
    drawn_floor,
    drive_of,
    free_pairs,
    inverse,
    mapped,
    nothing,
    plain,
    planned,
    process,
)
from fleet_processes import processes

import korrin
from korrin import fleet

pytest.importorskip("distributed", reason="python3-distributed is not installed")


@pytest.fixture(scope="module")
def client():
    with processes(workers=2) as running, running.connected() as connected:
        yield connected


@pytest.fixture(scope="module")
def planner():
    return korrin.PathPlanner(drawn_floor(), robot_radius=0.2)


def test_plans_are_those_of_a_plain_loop(client, planner):
    requests = free_pairs(planner, 500)
    requests[9], requests[77], requests[78] = ("here", 1), ((np.nan, 1), (2, 2)), 5
    requests[400] = requests[401]
    shares = []
    plans = fleet.plan_all(client, planner, iter(requests), progress=shares.append)
    assert plans == fleet.plan_all(None, planner, requests)
    good = [i for i in range(500) if i not in (9, 78)]
    assert [plans[i] for i in good] == planned(planner, [requests[i] for i in good])
    assert [plans[9].index, plans[9].kind, plans[78].kind] == [9, "TypeError", "TypeError"]
    assert shares == sorted(shares)
    assert shares[-1] == 1
    assert len(set(shares)) > 4


def test_nothing_and_one(client, planner):
    [pair] = free_pairs(planner, 1)
    assert fleet.plan_all(client, planner, []) == []
    assert fleet.plan_all(client, planner, [pair]) == [planner.plan(*pair)]


def test_scans_are_located_and_maps_built_as_by_a_plain_loop(client):
    logs = [drive_of(seed, 5) for seed in range(2)]
    room = drawn_floor()
    search, grid = korrin.PoseSearch(room, 0.45, 0.2), korrin.PoseGrid.around(room, 0.1, 0.2)
    scans = [logged.scan for logged in logs[0].scans]
    hits = [scan.to_point2d()[scan.readings["status"] == 0] for scan in scans]
    found = fleet.locate_all(client, search, scans, grid, count=2)
    assert found == plain(lambda points: search.best(points, grid, count=2), hits)
    built = fleet.build_maps(client, [*logs, "none.log"], resolution=0.1)
    assert [(each.alignment, each.map) for each in built[:2]] == [mapped(log, 0.1) for log in logs]
    assert built[2].kind == "FileNotFoundError"


def test_any_picklable_function_is_swept(client):
    settings = [4, 0, 2, 2, 0]
    assert fleet.sweep(client, inverse, settings) == plain(inverse, settings)
    assert fleet.sweep(client, nothing, settings) == [None] * 5
    shift = 3
    assert fleet.sweep(client, lambda number: number + shift, settings) == [7, 3, 5, 5, 3]
    assert os.getpid() not in fleet.sweep(client, process, settings)


def test_large_requests_go_along(client):
    images = [np.full((400, 400), i, np.float64) for i in range(6)]
    with warnings.catch_warnings():
        warnings.simplefilter("error")  # that they are too large for a list of tasks
        assert fleet.sweep(client, np.sum, images) == [160_000 * i for i in range(6)]


def test_a_worker_prepares_the_work_once(client):
    for _ in range(2):
        answers = fleet.sweep(client, CountsPreparations(), range(300))
        assert {prepared for _, prepared in answers} == {1}
        assert len({worker for worker, _ in answers}) == 2


def test_what_cannot_be_sent_takes_no_other_along(client):
    lock = threading.Lock()
    first, second, third, last = fleet.sweep(client, nothing, [1, lock, NotToBeRead(), 2])
    assert first is last is None
    assert second.index == 1
    assert second.message.startswith("the request cannot be sent: cannot pickle")
    assert third == fleet.Failure(
        2, "ZeroDivisionError", "the request cannot be read on the worker: division by zero"
    )

    def gives(number):
        return [threading.Lock(), NotToBeRead(), number][number]

    first, second, third = fleet.sweep(client, gives, [0, 1, 2])
    assert first.message.startswith("the result cannot be sent: cannot pickle")
    assert second == fleet.Failure(1, "ZeroDivisionError", "the result cannot be read: division by zero")
    assert third == 2


def test_a_function_that_cannot_be_sent_is_named(client):
    lock = threading.Lock()
    with pytest.raises(TypeError, match="function: cannot be sent to workers: cannot pickle"):
        fleet.sweep(client, lambda _: lock, [1])
    with pytest.raises(ValueError, match="threads: with a client"):
        fleet.sweep(client, inverse, [1], threads=2)


def test_a_function_that_workers_cannot_import_is_an_error_that_says_so(client, tmp_path, monkeypatch):
    (tmp_path / "only_here.py").write_text("def double(number):\n    return 2 * number\n")
    monkeypatch.syspath_prepend(tmp_path)
    import only_here

    with pytest.raises(RuntimeError, match="cannot do this work: ModuleNotFoundError: .*only_here"):
        fleet.sweep(client, only_here.double, range(10))
    sys.modules.pop("only_here")
    assert fleet.sweep(client, inverse, [2]) == [0.5]


def test_cancelling_leaves_nothing_running(client, tmp_path, monkeypatch):
    submit, futures = client.submit, []  # kept, so that none goes merely since nobody holds it

    def kept(*arguments, **options):
        futures.append(submit(*arguments, **options))
        return futures[-1]

    monkeypatch.setattr(client, "submit", kept)

    def stop(share):
        if share > 0.01:
            raise InterruptedError(share)

    with pytest.raises(InterruptedError):
        fleet.sweep(client, Touch(tmp_path, 0.02), range(5000), progress=stop)
    assert {future.status for future in futures} == {"finished", "cancelled"}
    # What runs ends with its batch, of half a second; what waits never begins.
    time.sleep(2)
    assert not any(client.processing().values())
    done = len(list(tmp_path.iterdir()))
    assert 50 < done < 500
    time.sleep(0.5)
    assert len(list(tmp_path.iterdir())) == done
    assert fleet.sweep(client, inverse, [2]) == [0.5]


def test_nothing_stays_on_the_cluster(client):
    fleet.sweep(client, inverse, range(1, 50))
    deadline = time.monotonic() + 10
    while any(client.has_what().values()):
        assert time.monotonic() < deadline, client.has_what()
        time.sleep(0.05)
