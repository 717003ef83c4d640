"""Laser scans of ROS."""

import math
from types import SimpleNamespace

import numpy as np
import pytest
import ros_messages
import ros_model

import korrin
import korrin.ros

INF, NAN = math.inf, math.nan


def a_scan(ranges, angle_min=-1.0, angle_increment=0.25, range_min=0.1, range_max=30.0):
    return SimpleNamespace(
        ranges=ranges,
        angle_min=angle_min,
        angle_increment=angle_increment,
        range_min=range_min,
        range_max=range_max,
        intensities=[],
    )


def fields(scan, *names):
    return [scan.readings[name].tolist() for name in names]


def test_hits_are_those_between_the_limits():
    below, above = np.nextafter(np.float32([0.1, 30]), np.float32(0))
    scan = korrin.ros.from_scan(a_scan([0.1, 4, float(above), 30, 31, INF, NAN, -INF, -4, 0, float(below)]))
    ranges, weights, status = fields(scan, "range", "weight", "status")
    assert ranges == [*np.float32([0.1, 4, above]), 30, 30, 30, 0, 0, 0, 0, 0]
    assert weights == [1] * 3 + [0] * 8
    assert status == [0] * 3 + [1] * 8


def test_misses_may_clear_their_way():
    scan = korrin.ros.from_scan(a_scan([4, 30, INF, NAN, 0.05]), misses_clear=True)
    assert fields(scan, "weight", "range") == [[1, 1, 1, 0, 0], [4, 30, 30, 0, 0]]


def test_failed_measurements_change_no_map(room):
    before = room.image.copy()
    mapper = korrin.OccupancyMapper(room)
    mapper.update_map(korrin.ros.from_scan(a_scan([NAN, -INF, 0, INF])), (2, 2, 0), 0.3, 0.3)
    assert (room.image == before).all()
    mapper.update_map(korrin.ros.from_scan(a_scan([1])), (2, 2, 0), 0.3, 0.3)
    assert (room.image != before).any()


def test_beams_of_a_scanner_upside_down_turn_the_other_way():
    message = a_scan([1, 2, 3], angle_min=-0.5, angle_increment=0.25)
    scan = korrin.ros.from_scan(message, upside_down=True)
    assert fields(scan, "range", "angle") == [[3, 2, 1], [0, 0.25, 0.5]]


@pytest.mark.parametrize("wire", [False, True], ids=["plain", "ros1"])
@pytest.mark.parametrize("misses_clear", [False, True])
@pytest.mark.parametrize("upside_down", [False, True])
def test_random_scans_equal_the_model(wire, misses_clear, upside_down):
    make = ros_messages.ros1().LaserScan if wire else None
    random = np.random.default_rng(4)
    kinds = set()
    for _ in range(150):
        message = random_scan(random)
        if make:
            message = ros_messages.sent(make(**vars(message)))
        scan = korrin.ros.from_scan(message, misses_clear=misses_clear, upside_down=upside_down)
        wanted = ros_model.readings_of(message, misses_clear, upside_down)
        assert scan.readings.tolist() == wanted
        assert len(scan) == len(message.ranges)
        kinds.update((reading[4], reading[0] > 0, reading[2]) for reading in wanted)
    # Hits, misses and failures, with the weights they have.
    assert kinds >= {(0, True, 1.0), (1, True, float(misses_clear)), (1, False, 0.0)}


def random_scan(random):
    least, most = sorted(np.float32(random.uniform(0, 20, 2)).tolist())
    edges = np.float32([least, most, NAN, INF, -INF, 0, -1, 1e30, 3e38])
    beside = [np.nextafter(edges[:2], np.float32(end)) for end in (0, 99)]
    edges = np.concatenate([edges, *beside])
    ranges = np.where(random.random(60) < 0.5, random.uniform(0, 25, 60), random.choice(edges, 60))
    size = int(random.choice([0, 1, 2, 60]))
    angles = [random.uniform(-7, 7), random.normal(0, 0.1)]
    if random.random() < 0.5:
        angles = np.radians(np.round(np.degrees(angles), int(random.integers(0, 5))))
    angles = np.float32(angles).tolist()
    most = INF if random.random() < 0.1 else most
    return a_scan(np.float32(ranges[:size]).tolist(), *angles, least, most)


def bearings(start, step, count=181):
    return fields(korrin.ros.from_scan(a_scan([1] * count, start, step)), "angle")[0]


def test_bearings_are_rounded_once():
    start, step = np.float32(-1.57), np.float32(3.14 / 180)
    assert bearings(start, step) == [float(np.float32(float(start) + i * float(step))) for i in range(181)]


@pytest.mark.parametrize("degrees", [1, 0.5, 0.25, 0.36])
def test_steps_of_degrees_keep_no_rounding_of_the_message(degrees):
    start, step = -math.pi / 2, math.radians(degrees)
    meant = [float(np.float32(start + i * step)) for i in range(181)]
    assert bearings(np.float32(start), np.float32(step)) == meant
    assert bearings(start, step) == meant
    float_steps = [float(np.float32(float(np.float32(start)) + i * float(np.float32(step)))) for i in range(181)]
    assert float_steps != meant


def test_what_is_next_to_a_float_of_degrees_is_taken_as_it_is():
    for start in (np.nextafter(np.float32(-math.pi / 2), np.float32(end)) for end in (0, -9)):
        assert bearings(start, 0.25, 3) == [float(np.float32(float(start) + i * 0.25)) for i in range(3)]


def test_ranges_may_come_in_any_row():
    for ranges in ([1.0, 2.0], (1.0, 2.0), np.array([1.0, 2.0]), np.array([1, 2], np.float32)):
        assert fields(korrin.ros.from_scan(a_scan(ranges)), "range") == [[1, 2]]


FAULTS = [
    ({"angle_min": NAN}, "angle_min: wanted a finite number, found nan"),
    ({"angle_increment": INF}, "angle_increment: wanted a finite number, found inf"),
    ({"angle_increment": 3e38}, "angle_increment: wanted a finite number"),
    ({"range_min": NAN}, "range_min: wanted a finite number, found nan"),
    ({"range_min": -0.1}, "range_min: wanted metres from 0 on, found -0.1"),
    ({"range_max": NAN}, r"range_max: wanted metres above range_min \(0.1\), found nan"),
    ({"range_max": 0.1}, r"range_max: wanted metres above range_min \(0.1\), found 0.1"),
    ({"range_max": 0.0}, r"range_max: wanted metres above range_min \(0.1\), found 0"),
    ({"range_max": None}, "range_max: wanted a number, found None"),
    ({"ranges": ["far"]}, "ranges: wanted numbers"),
    ({"ranges": [[1.0], [2.0]]}, r"ranges: wanted a row of numbers, found an array of shape \(2, 1\)"),
    ({"ranges": 1.0}, r"ranges: wanted a row of numbers, found an array of shape \(\)"),
]


@pytest.mark.parametrize("change, told", FAULTS)
def test_faults_are_named(change, told):
    message = a_scan([1.0, 2.0, 3.0])
    vars(message).update(change)
    with pytest.raises(ValueError, match=told):
        korrin.ros.from_scan(message)
