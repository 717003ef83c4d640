"""korrin.fleet on a real floor and real logs: a few of them every day, all of them by scripts/check-fleet.

KORRIN_FLEET_PLANS, KORRIN_FLEET_LOGS and KORRIN_FLEET_SCANS say how many plans, logs and scans of each log.
"""

import os
import sys
import time

import pytest
from conftest import DATA, PROJECT
from fleet_examples import free_pairs, mapped, planned
from fleet_processes import processes

import korrin
from korrin import fleet

sys.path.insert(0, str(PROJECT / "scripts"))
from judge import logs as judged_logs  # noqa: E402
from judge.simulate_odometry import simulated_odometry  # noqa: E402

pytest.importorskip("distributed", reason="python3-distributed is not installed")

PLANS = int(os.environ.get("KORRIN_FLEET_PLANS", "40"))
LOGS = int(os.environ.get("KORRIN_FLEET_LOGS", "3"))
SCANS = int(os.environ.get("KORRIN_FLEET_SCANS", "12"))
RECORDED = ("intel-corrected", "aces-corrected", "freiburg-079-corrected")


def needed(path):
    if not path.exists():
        pytest.skip(f"{path} is not there")
    return path


@pytest.fixture(scope="module")
def willow():
    """A planner of a large office floor, requests, and the answers of a plain loop."""
    map = korrin.load_map(needed(DATA / "maps" / "willow-full-0.05.yaml"))
    planner = korrin.PathPlanner(map, robot_radius=0.2)
    requests = free_pairs(planner, PLANS)
    began = time.perf_counter()
    plans = planned(planner, requests)
    print(f"{PLANS} plans one by one: {time.perf_counter() - began:.1f} s")
    return planner, requests, plans


@pytest.fixture
def running():
    with processes(workers=2) as some:
        yield some


def timed(text, call):
    began = time.perf_counter()
    answers = call()
    print(f"{text}: {time.perf_counter() - began:.1f} s")
    return answers


def test_plans_on_a_real_floor_are_the_same_wherever_they_are_made(willow, running):
    planner, requests, plans = willow
    found = sum(plan.outcome == korrin.PlanOutcome.Found for plan in plans)
    assert found > PLANS / 2
    with running.connected() as client:
        on_cluster = timed("two workers", lambda: fleet.plan_all(client, planner, requests))
    assert on_cluster == plans
    assert timed("two threads", lambda: fleet.plan_all(None, planner, requests, threads=2)) == plans


def test_plans_on_a_real_floor_with_a_worker_killed_half_way(willow, running):
    planner, requests, plans = willow
    killed = []

    def kill(share):
        if share >= 0.5 and not killed:
            running.kill(running.workers[0])
            killed.append(share)

    with running.connected() as client:
        answers = timed(
            "one of two workers killed half way",
            lambda: fleet.plan_all(client, planner, requests, progress=kill),
        )
    assert 0.5 <= killed[0] < 0.9
    assert answers == plans


def recorded_drives():
    """Stretches of recorded logs, each with an odometry of its own that slips."""
    read = {}
    for number in range(LOGS):
        name = RECORDED[number % len(RECORDED)]
        if name not in read:
            read[name] = judged_logs.read_timed(needed(DATA / "logs" / f"{name}.log.gz"))
        log = read[name]
        begin = (number // len(RECORDED) * SCANS) % max(len(log.scans) - SCANS, 1)
        odometry = simulated_odometry(log.poses[begin : begin + SCANS], seed=number)
        yield korrin.LaserLog(judged_logs.with_poses(log.scans[begin : begin + SCANS], odometry))


def test_maps_of_many_logs_are_those_of_a_plain_loop(running):
    drives = list(recorded_drives())
    expected = timed(f"{LOGS} logs of {SCANS} scans one by one", lambda: [mapped(log) for log in drives])
    with running.connected() as client:
        built = timed("two workers", lambda: fleet.build_maps(client, drives))
    assert [(each.alignment, each.map) for each in built] == expected
    assert all(len(each.poses) == SCANS for each in built)
