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
        "too few": [1] * (1 if fields == 2 else fields - 2),
        "too many": [1] * (fields + 1),
        "text": ["1"] * fields,
        "none": [None] * fields,
        "nested": [[1]] * fields,
    }[wrong]
    with pytest.raises((TypeError, ValueError)):
        record(numbers)
    if record is korrin.Pose2D:
        with pytest.raises((TypeError, ValueError)):
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


def test_a_pose_without_a_heading_has_heading_zero():
    assert korrin.Pose2D(1, 2) == korrin.Pose2D(1, 2, 0)
    assert korrin.Pose2D([1, 2]) == korrin.Pose2D(1, 2, 0)
    assert korrin.Pose2D(3, 1, 0).rel_project((4, 1)) == korrin.Pose2D(1, 0, 0)
    assert korrin.Pose2D(3, 1, 0).rel_project(np.float32([4, 1])) == korrin.Pose2D(1, 0, 0)


def test_starts_and_goals_need_no_heading():
    map = korrin.OccupancyMap(20, 20, 0.5)
    finder = korrin.OccMapPathFinder(map)
    way = finder.compute_path((1, 1, 0), (5, 1, 0))
    assert np.array_equal(finder.compute_path((1, 1), [5, 1]), way)
    assert np.array_equal(finder.compute_path((1, 1, 0), np.array([5, 1])), way)
    cells = finder.compute_path(start_cell=(2, 2), end_cell=(10, 2))
    assert np.array_equal(cells[:, :2] * 0.5, way[:, :2])
    map.params.origin = (7, 8)
    assert map.params.origin == korrin.Pose2D(7, 8, 0)


def test_two_numbers_for_a_shift_are_never_a_pose():
    maps = [korrin.OccupancyMap(3, 1, 1, with_second_image=True) for _ in range(2)]
    with pytest.raises(ValueError, match="shift: wanted 2 numbers, column and row whole, found 1.5"):
        korrin.scroll_occ_map(*maps, (1.5, 0))
    korrin.scroll_occ_map(*maps, (1.5, 0, 0))
    korrin.scroll_occ_map(*maps, korrin.Pose2D(1.5, 0))
    korrin.scroll_occ_map(*maps, pose=np.float32([1.5, 0, 0]))
    with pytest.raises(TypeError, match="found .*, pose=2 numbers"):
        korrin.scroll_occ_map(*maps, pose=(1.5, 0))


def test_names_serve_for_members_in_any_case():
    finder = korrin.OccMapPathFinder(None)
    for member in finder.NeighborhoodType.__members__.values():
        for name in (member.name, member.name.lower(), member.name.upper()):
            finder.set_neighborhood_type(name)
            assert finder.neighborhood_type == member
    center = korrin.OccupancyMapParams(4, 6, 1, korrin.OccupancyMapParams.Center)
    assert korrin.OccupancyMapParams(4, 6, 1, mode="cEnTer") == center
    assert korrin.OccupancyMapParams(4, 6, 1, "corner") != center


def test_a_name_s_prefix_may_be_missing():
    maps = []
    for kind in (korrin.ObstacleDilater.DILATE_ERODE_SMOOTH, "dilate_erode_smooth", "erode_smooth"):
        maps.append(korrin.OccupancyMap(5, 5, 0.1))
        maps[-1].set_cell(2, 2, 0)
        korrin.ObstacleDilater(5, 5).dilate(maps[-1], kind)
    assert maps[0] == maps[1] == maps[2]
    assert maps[0] != korrin.OccupancyMap(5, 5, 0.1)


@pytest.mark.parametrize("name", ["", "simp", "quadruple", "smooth", "_simple"])
def test_other_names_are_refused(name):
    with pytest.raises(ValueError, match="type: wanted one of 'Simple', 'Double', 'Triple', found"):
        korrin.OccMapPathFinder(None).set_neighborhood_type(name)


def test_a_level_is_given_by_name(records):
    korrin.complete_log("warning", "low", "src/robot", "drive", 1)
    assert records[0].level == korrin.NavLogLevel.Warning


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
