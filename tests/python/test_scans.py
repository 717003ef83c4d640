"""Scans from the ranges of a laser message."""

import gc

import numpy as np
import pytest
from conftest import float32

import korrin

NAN, INF = np.nan, np.inf


def scan_of(ranges, **limits):
    return korrin.Scan(ranges, angle_min=-1.0, angle_increment=0.5, **limits)


@pytest.mark.parametrize(
    "reading, kept",
    [
        (2.0, (2.0, 0)),
        (0.5, (0.5, 0)),  # range_min itself
        (8.0, (8.0, 0)),  # range_max itself
        (8.5, (8.0, 1)),
        (INF, (8.0, 1)),
        (0.25, None),
        (0.0, None),
        (-3.0, None),
        (-INF, None),
        (NAN, None),
    ],
)
def test_what_becomes_of_a_range(reading, kept):
    scan = scan_of([1.0, reading, 3.0], range_min=0.5, range_max=8.0)
    if kept is None:
        assert scan.readings["range"].tolist() == [1, 3]
        assert scan.readings["angle"].tolist() == [-1, 0]
    else:
        assert scan.readings["range"].tolist() == [1, kept[0], 3]
        assert scan.readings["status"].tolist() == [0, kept[1], 0]
        assert scan.readings["angle"].tolist() == [-1, -0.5, 0]
    assert (scan.readings["weight"] == 1).all()
    assert (scan.readings["mark"] == 1).all()


def test_without_limits_only_infinity_is_a_no_hit():
    scan = scan_of([0, 1e30, INF, -INF, NAN])
    assert scan.readings["range"].tolist() == float32([0, 1e30, INF]).tolist()
    assert scan.readings["status"].tolist() == [0, 0, 1]


def test_even_a_negative_range_min_leaves_minus_infinity_out():
    assert len(scan_of([-1, -INF], range_min=-INF)) == 1


def test_angles_are_rounded_once():
    scan = korrin.Scan(np.ones(1081), angle_min=-2.356194, angle_increment=0.00436332)
    expected = float32(-2.356194 + np.arange(1081) * 0.00436332)
    assert scan.readings["angle"].tolist() == expected.tolist()


@pytest.mark.parametrize("kind", ["float32", "float64", "int32", "uint8"])
def test_ranges_of_any_kind_of_numbers_will_do(kind):
    assert scan_of(np.array([1, 2, 3, 4], kind)[::2]).readings["range"].tolist() == [1, 3]


@pytest.mark.parametrize(
    "ranges, error",
    [
        (np.zeros((2, 2)), ValueError),
        (np.float64(3.0), ValueError),
        (["1.0"], TypeError),
        ([1j], TypeError),
        ([True, False], TypeError),
        ([None], TypeError),
        (None, TypeError),
    ],
)
def test_ranges_of_the_wrong_form_are_refused(ranges, error):
    with pytest.raises(error):
        scan_of(ranges)


@pytest.mark.parametrize(
    "limits",
    [
        {"range_min": NAN},
        {"range_max": NAN},
        {"range_min": 2, "range_max": 1},
        {"angle_min": NAN},
        {"angle_increment": INF},
    ],
)
def test_limits_that_are_none_are_refused(limits):
    with pytest.raises(ValueError):
        korrin.Scan([1.0], **{"angle_min": 0, "angle_increment": 0.1, **limits})


def test_no_ranges_give_no_readings():
    assert len(scan_of([])) == len(scan_of(np.empty(0))) == len(korrin.Scan()) == 0
    assert scan_of([]).readings.shape == (0,)


def test_readings_are_the_scan_s_own_and_outlive_it():
    scan = scan_of([1, 2, 3])
    readings = scan.readings
    readings["status"][1] = 1
    assert scan.readings["status"].tolist() == [0, 1, 0]
    del scan
    gc.collect()
    scan_of([7, 7, 7])
    assert readings["range"].tolist() == [1, 2, 3]


def test_a_scan_of_readings():
    reading = korrin.RangeReading(2, 0.5)
    reading.status = 1
    scan = korrin.Scan([korrin.RangeReading(1, 0), reading])
    assert scan.readings["range"].tolist() == [1, 2]
    assert korrin.Scan(scan.readings[::-1]).readings["status"].tolist() == [1, 0]
    with pytest.raises(TypeError):
        korrin.Scan([1.0, 2.0])


def test_an_array_of_readings_serves_as_a_scan():
    scan = scan_of([1, 2, 3])
    model = korrin.ScanModel(3, 10, 1)
    assert model.scan_likelihood(scan.readings, scan, 1) == 1
    with pytest.raises(TypeError):
        model.scan_likelihood(np.zeros(3), scan, 1)


def test_points_of_a_scan():
    scan = scan_of([1, 2, 3])
    one_by_one = [
        list(korrin.RangeReading(r["range"], r["angle"]).to_point2d()) for r in scan.readings
    ]
    assert scan.to_point2d().tolist() == one_by_one


def test_resolution():
    assert scan_of([1, 2, 3]).get_resolution() == 0.5
    assert scan_of([1]).get_resolution() == 0


def test_drawing_over_a_picture():
    picture = korrin.draw_laser(scan_of([1, 2]), (0, 0, 0), None, 0.05)
    assert picture.dtype == np.uint8
    assert (picture == 0).sum() == 2
    assert korrin.draw_laser(scan_of([1.5]), (0, 0, 0), picture, 0.05, flag=False) is picture
    assert (picture == 0).sum() == 3


@pytest.mark.parametrize(
    "image, error",
    [
        (np.zeros((8, 8), np.float64), TypeError),
        (np.zeros((8, 8), np.float32), ValueError),
        (np.zeros((8, 8), np.uint8)[:, ::-1], ValueError),
        (np.zeros((8, 8), np.uint8)[::-1], ValueError),
        (np.zeros(8, np.uint8), ValueError),
        ([[0]], (TypeError, RuntimeError)),
    ],
)
def test_a_picture_of_the_wrong_form_is_refused(image, error):
    with pytest.raises(error):
        korrin.draw_laser(scan_of([1]), (0, 0, 0), image, 0.05, flag=False)
