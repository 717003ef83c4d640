"""Maps and their numpy views."""

import copy
import gc

import numpy as np
import pytest
from conftest import float32

import korrin


def test_a_view_and_the_map_share_memory():
    map = korrin.OccupancyMap(7, 5, 0.1)
    assert map.image.shape == (5, 7)
    assert map.image.dtype == np.float32
    map.image[4, 6] = 0.25
    assert map.get_cell(6, 4) == 0.25
    map.set_cell(0, 4, 0.75)
    assert map.image[4, 0] == 0.75


def test_a_view_follows_the_row_stride():
    # The library pads no rows of float images itself; bytes it does.
    picture = korrin.create_flipped_image((5, 3), 8, 1)
    assert picture.shape == (3, 5)
    assert picture.strides == (8, 1)
    picture[:] = np.arange(15).reshape(3, 5)
    assert picture[2].tolist() == [10, 11, 12, 13, 14]
    coloured = korrin.create_flipped_image((5, 3), 32, 3)
    assert coloured.shape == (3, 5, 3)
    assert coloured.strides == (60, 12, 4)


def test_views_outlive_the_map():
    map = korrin.OccupancyMap(300, 200, 0.05, with_second_image=True)
    map.image[:] = 0.125
    map.second_image[:] = 0.25
    views = [map.image, map.second_image[10:20, ::2]]
    params = map.params
    del map
    gc.collect()
    korrin.OccupancyMap(300, 200, 0.05, with_second_image=True)
    assert (views[0] == 0.125).all()
    assert (views[1] == 0.25).all()
    assert params.width == 300


def test_views_stay_those_of_the_map_whatever_is_done_to_it(room):
    view, second = room.image, room.second_image
    at = view.__array_interface__["data"]
    room.image[10, 10] = 0.375
    korrin.scroll_occ_map_in_place(room, (3, 2))
    assert view[12, 13] == 0.375
    korrin.scroll_occ_map(korrin.OccupancyMap(room), room, (1, 0))
    assert view[12, 14] == 0.375
    korrin.occ_map_multiply_prob(room, 0.5)
    korrin.ObstacleDilater(100, 80).dilate(room, korrin.ObstacleDilater.DILATE_ERODE_SMOOTH)
    korrin.fill_occ_map_from_scan(korrin.Scan([1, 1], 0, 0.1), (2, 2, 0), room, 2)
    room.clip()
    room.reset(0.625)
    assert (view == 0.625).all()
    assert room.image.__array_interface__["data"] == at
    assert np.shares_memory(room.second_image, second)


def test_no_second_image_is_none():
    assert korrin.OccupancyMap(2, 2, 1).second_image is None


def test_an_image_cannot_be_exchanged():
    map = korrin.OccupancyMap(2, 2, 1)
    with pytest.raises(AttributeError):
        map.image = np.zeros((2, 2), np.float32)


@pytest.mark.parametrize("copied", [korrin.OccupancyMap, copy.copy, copy.deepcopy])
def test_copies_are_deep(copied, room):
    other = copied(room)
    other.image[:] = 0
    other.params.origin.x = 5
    assert room.image[10, 10] == 1
    assert room.params.origin.x == 0
    assert other.second_image[3, 3] == 1


def test_a_map_without_cells_has_an_empty_view():
    assert korrin.OccupancyMap(0, 3, 1).image.shape == (3, 0)
    assert korrin.OccupancyMap(0, 0, 1).image.shape == (0, 0)


def test_params_are_the_map_s_own():
    map = korrin.OccupancyMap(korrin.OccupancyMapParams(4, 6, 0.5, korrin.OccupancyMapParams.Center))
    assert tuple(map.params.origin) == (-1, -1.5, 0)
    map.params.origin.x = 7
    map.params.origin = korrin.Pose2D(7, 8, 0)
    map.params.resolution = 0.25
    assert tuple(map.get_pose_from_pixel((1, 0, 0))) == (7.25, 8, 0)


def test_a_map_keeps_its_size():
    map = korrin.OccupancyMap(4, 6, 0.5)
    with pytest.raises(AttributeError):
        map.params.width = 100
    with pytest.raises(ValueError):
        map.params = korrin.OccupancyMapParams(5, 6, 0.5)
    map.params = korrin.OccupancyMapParams(4, 6, 0.25)
    assert map.params.resolution == 0.25


def test_many_poses_at_once_are_the_single_ones():
    map = korrin.OccupancyMap(40, 30, 0.1)
    map.params.origin = (1, -2, 0.3)
    poses = float32(np.random.default_rng(1).uniform(-10, 10, (50, 3)))
    cells = map.get_pixel_from_pose(poses)
    assert cells.dtype == np.float64
    assert cells.tolist() == [list(map.get_pixel_from_pose(pose)) for pose in poses]
    back = map.get_pose_from_pixel(cells)
    assert back.dtype == np.float32
    assert back.tolist() == [list(map.get_pose_from_pixel(cell)) for cell in cells]


def test_no_poses_give_no_cells():
    assert korrin.OccupancyMap(2, 2, 1).get_pixel_from_pose(np.empty((0, 3))).shape == (0, 3)
    assert korrin.OccupancyMap(2, 2, 1).get_pixel_from_pose([]).shape == (0, 3)


@pytest.mark.parametrize("size", [(-1, 4), (4, -1), (2**26, 1), (2**20, 2**20)])
def test_impossible_sizes_are_refused(size):
    with pytest.raises((ValueError, MemoryError)):
        korrin.OccupancyMap(*size, 0.05)


@pytest.mark.parametrize("size", [(2**31, 1), (1.5, 2), ("4", 4)])
def test_sizes_that_are_no_ints_are_refused(size):
    with pytest.raises(TypeError):
        korrin.OccupancyMap(*size, 0.05)


def test_bytes_of_a_map():
    map = korrin.OccupancyMap(5, 1, 1)
    map.image[0] = [-1, 0.25, 0.5, 1, np.nan]
    levels = map.to_char_ipl_image()
    assert levels.dtype == np.uint8
    assert levels.tolist() == [[0, 64, 128, 255, 0]]
