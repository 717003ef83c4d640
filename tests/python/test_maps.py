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


@pytest.mark.parametrize("name", ["image", "second_image"])
def test_assigning_an_image_writes_the_cells(name):
    map = korrin.OccupancyMap(3, 2, 1, with_second_image=True)
    view = getattr(map, name)
    cells = np.float64([[0, 0.25, 0.5], [1, np.nan, 2]])
    setattr(map, name, cells)
    assert np.array_equal(view, cells, equal_nan=True)
    setattr(map, name, cells.astype(np.float16)[::-1])
    assert view[1, 1] == 0.25
    setattr(map, name, view[:, ::-1])  # of its own memory
    assert view.tolist()[1] == [0.5, 0.25, 0]
    view[:] = 0.5
    setattr(map, name, getattr(map, name))
    assert (view == 0.5).all()
    map.image *= 0.5
    assert (map.image == 0.25).all()
    assert np.shares_memory(getattr(map, name), view)


@pytest.mark.parametrize(
    "cells, error, told",
    [
        (np.zeros((3, 2), "f4"), ValueError, r"wanted an array of shape \(2, 3\), found one of shape \(3, 2\)"),
        (np.zeros((1, 3), "f4"), ValueError, "wanted an array of shape"),
        (np.zeros((2, 3, 1), "f4"), ValueError, "rows and columns"),
        (np.float32(1), ValueError, "rows and columns"),
        (np.zeros((2, 3), int), TypeError, "wanted an array of floats, found one of int64"),
        (np.zeros((2, 3), bool), TypeError, "bool"),
        (np.zeros((2, 3), complex), TypeError, "complex"),
        ("text", TypeError, "wanted an array of floats"),
        (None, TypeError, "wanted an array of floats"),
    ],
)
@pytest.mark.parametrize("name", ["image", "second_image"])
def test_other_cells_are_refused(name, cells, error, told):
    map = korrin.OccupancyMap(3, 2, 1, with_second_image=True)
    before = korrin.OccupancyMap(map)
    with pytest.raises(error, match=name + ": .*" + told):
        setattr(map, name, cells)
    assert map == before
    if np.ndim(cells) != 2:
        with pytest.raises(error, match="array: "):
            korrin.OccupancyMap.from_array(cells, 1)


def test_a_second_image_that_is_not_there_takes_no_cells():
    with pytest.raises(ValueError, match="second_image: "):
        korrin.OccupancyMap(2, 2, 1).second_image = np.zeros((2, 2))


@pytest.mark.parametrize("kind", ["float32", "float64", "float16", ">f4"])
def test_a_map_of_an_array_is_a_copy(kind):
    cells = np.linspace(0, 1, 6).reshape(2, 3).astype(kind)
    map = korrin.OccupancyMap.from_array(cells[::-1], 0.05, (1, 2), with_second_image=True)
    assert map.image.tolist() == float32(cells[::-1]).tolist()
    assert map.get_cell(2, 0) == np.float32(cells[1, 2])
    assert (map.second_image == 0.5).all()
    assert (map.params.width, map.params.height) == (3, 2)
    assert map.params.resolution == np.float32(0.05)
    assert map.params.origin == korrin.Pose2D(1, 2, 0)
    cells[:] = 7
    assert map.image.max() == 1
    assert map.shape == (2, 3) == map.image.shape


def test_a_map_of_an_array_has_no_second_image_unless_asked():
    map = korrin.OccupancyMap.from_array([[1.0, 0.5]], resolution=1)
    assert map.second_image is None
    assert map.params.origin == korrin.Pose2D()
    assert korrin.OccupancyMap.from_array(np.zeros((0, 4)), 1).shape == (0, 4)


def test_an_array_that_no_map_can_hold_is_refused():
    wide = np.broadcast_to(np.float32(0), (1, 2**27))
    with pytest.raises((ValueError, MemoryError)):
        korrin.OccupancyMap.from_array(wide, 1)
    with pytest.raises(ValueError, match="array: "):
        korrin.OccupancyMap.from_array(np.broadcast_to(np.float32(0), (1, 2**31)), 1)


def test_a_map_is_an_array():
    map = korrin.OccupancyMap(3, 2, 1)
    view = np.asarray(map)
    assert view.shape == (2, 3)
    assert view.dtype == np.float32
    assert np.shares_memory(view, map.image)
    copied = np.array(map)
    assert not np.shares_memory(copied, map.image)
    wide = np.asarray(map, dtype=np.float64)
    assert wide.dtype == np.float64
    assert (wide == 0.5).all()
    del map
    gc.collect()
    assert (view == 0.5).all()
    assert np.mean(korrin.OccupancyMap(3, 2, 1)) == 0.5


def test_an_array_of_a_map_is_copied_as_asked():
    map = korrin.OccupancyMap(3, 2, 1)
    assert np.shares_memory(map.__array__(copy=False), map.image)
    assert np.shares_memory(map.__array__(np.float32, copy=None), map.image)
    assert not np.shares_memory(map.__array__(copy=True), map.image)
    assert map.__array__("f8", copy=True).dtype == np.float64
    with pytest.raises(ValueError, match="copy"):
        map.__array__(np.float64, copy=False)
    if np.lib.NumpyVersion(np.__version__) >= "2.0.0":
        assert np.shares_memory(np.array(map, copy=False), map.image)
        with pytest.raises(ValueError):
            np.array(map, dtype=np.float64, copy=False)


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
