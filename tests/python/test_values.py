"""Poses, points and cells, and what passes for them."""

import numpy as np
import pytest

import korrin

RECORDS = [(korrin.Pose2D, 3), (korrin.Pose2Di, 3), (korrin.Point2D, 2), (korrin.Point2Di, 2)]


@pytest.mark.parametrize("record, fields", RECORDS)
def test_records_act_as_tuples(record, fields):
    numbers = list(range(1, fields + 1))
    value = record(*numbers)
    assert list(value) == numbers
    assert len(value) == fields
    assert value[-1] == fields
    assert np.asarray(value).tolist() == numbers
    assert eval(repr(value), {record.__name__: record}) == value
    assert value != record()
    assert record() == record([0] * fields)
    with pytest.raises(IndexError):
        value[fields]


@pytest.mark.parametrize("record, fields", RECORDS)
@pytest.mark.parametrize("make", [tuple, list, np.array, np.float32, np.int64])
def test_any_sequence_of_numbers_makes_a_record(record, fields, make):
    assert record(make([3] * fields)) == record(*[3] * fields)


@pytest.mark.parametrize("record, fields", RECORDS)
@pytest.mark.parametrize("wrong", ["too few", "too many", "text", "none", "nested"])
def test_other_sequences_do_not(record, fields, wrong):
    numbers = {
        "too few": [1] * (fields - 1),
        "too many": [1] * (fields + 1),
        "text": ["1"] * fields,
        "none": [None] * fields,
        "nested": [[1]] * fields,
    }[wrong]
    with pytest.raises((TypeError, ValueError)):
        record(numbers)
    if record is korrin.Pose2D:
        with pytest.raises(TypeError):
            record().abs_project(numbers)


@pytest.mark.parametrize("number", [0.5, np.nan, np.inf, 2**31, -(2**40)])
def test_a_cell_is_whole(number):
    with pytest.raises(ValueError):
        korrin.Pose2Di([number, 0, 0])


def test_a_cell_is_no_pose():
    with pytest.raises(TypeError):
        korrin.Pose2D().abs_project(korrin.Pose2Di(1, 2, 0))


def test_a_pose_serves_as_a_point():
    assert korrin.compute_norm(korrin.Pose2D(3, 4, 9)) == 5


def test_keywords_are_those_of_the_headers():
    assert korrin.Pose2D(x=1, y=2, theta=3) == korrin.Pose2D(1, 2, 3)
    assert korrin.gaussian_value_at(sigma=1, x=0) == korrin.gaussian_value_at(1, 0)
    with pytest.raises(TypeError):
        korrin.Pose2D(x=1, y=2, heading=3)


@pytest.mark.parametrize(
    "poses, error",
    [
        (np.zeros((4, 2)), ValueError),
        (np.zeros((4, 3, 1)), ValueError),
        (np.zeros(3), ValueError),
        ([(1, 2)], ValueError),
        ([(1, 2, 3), (1, 2)], ValueError),
        (np.zeros((4, 3), bool), TypeError),
        (np.zeros((4, 3), complex), TypeError),
        (np.full((4, 3), "1"), TypeError),
        ([(None, 1, 2)], TypeError),
        ("abc", TypeError),
        (None, TypeError),
    ],
)
def test_poses_of_the_wrong_form_are_refused(poses, error):
    with pytest.raises(error):
        korrin.avg_pose2d(poses)


@pytest.mark.parametrize("kind", ["float32", "float64", "int8", "uint16", "int64", ">f4"])
def test_poses_of_any_kind_of_numbers_will_do(kind):
    poses = np.array([[0, 0, 0], [2, 4, 0]], kind)
    assert korrin.avg_pose2d(poses) == korrin.Pose2D(1, 2, 0)
    assert korrin.avg_pose2d(poses[::-1, ::1]) == korrin.Pose2D(1, 2, 0)
    assert korrin.avg_pose2d(np.asfortranarray(poses)) == korrin.Pose2D(1, 2, 0)
