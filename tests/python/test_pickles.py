"""What pickles and copies keep: memory, the maps that are worked on, derived classes."""

import copy
import pickle

import numpy as np
import pytest
from value_examples import CASES, some_dist_map, some_finder, some_map, some_scan, with_values

import korrin


def test_a_second_call_finds_the_same_dilater_behaviour():
    dilater = with_values(korrin.ObstacleDilater(7, 5), dilation_radius=0.1, fade_distance=0.3)
    maps = [some_map(), some_map()]
    dilater.dilate(maps[0], "linear")
    pickle.loads(pickle.dumps(dilater)).dilate(maps[1], "linear")
    assert maps[0] == maps[1]


def test_a_pickled_simplifier_has_the_one_inside():
    simplifier = korrin.SafePathSimplifier()
    simplifier.path_simplifier.sampling_accuracy = 7
    back = pickle.loads(pickle.dumps(simplifier))
    assert back.path_simplifier.sampling_accuracy == 7
    assert back != korrin.SafePathSimplifier()


def test_images_travel_as_buffers():
    for value, images in [
        (some_map(second=True), 2),
        (some_map(), 1),
        (some_dist_map(), 2),
        (some_scan(), 1),
        (korrin.PreparedMap(some_map(second=True), 0.4), 2),
        (korrin.PoseSearch(some_map(), 0.4, 1), 1),
        (korrin.PoseSearch(some_dist_map(), 1), 1),
    ]:
        buffers = []
        data = pickle.dumps(value, protocol=5, buffer_callback=buffers.append)
        assert len(buffers) == images
        assert len(data) < 600
        assert pickle.loads(data, buffers=buffers) == value


def test_a_buffer_is_the_map_s_own_memory():
    map, buffers = some_map(), []
    data = pickle.dumps(map, protocol=5, buffer_callback=buffers.append)
    seen = np.frombuffer(buffers[0].raw(), np.float32)
    assert np.shares_memory(seen, map.image)
    back = pickle.loads(data, buffers=buffers)
    assert not np.shares_memory(back.image, map.image)


def borrowers(map):
    return [some_finder(map), korrin.OccupancyMapper(map), korrin.PreparedMap(map, 0.45)]


@pytest.mark.parametrize("again", [lambda x: pickle.loads(pickle.dumps(x, 5)), copy.deepcopy])
def test_borrowers_share_their_map_as_before(again):
    map = some_map()
    finder, mapper, prepared, same = again([*borrowers(map), map])
    assert finder.occ_map is mapper.map is same
    assert same is not map
    assert same == map
    # The prepared map is of the same map, too: it sees what changes there.
    before = prepared.x_throw_ray(6, 4, 0, 4).range
    same.image[4, 3] = 0
    prepared.refresh()
    assert prepared.x_throw_ray(6, 4, 0, 4).range < before


def test_a_shallow_copy_borrows_the_same_map():
    map = some_map()
    finder, mapper, _ = [copy.copy(value) for value in borrowers(map)]
    assert finder.occ_map is map
    assert mapper.map is map


def test_an_unpickled_borrower_keeps_its_map_alive():
    map = korrin.OccupancyMap(20, 20, 0.5)
    map.reset(1)
    finder, mapper = pickle.loads(pickle.dumps([korrin.OccMapPathFinder(map), korrin.OccupancyMapper(map)]))
    del map
    assert len(finder.compute_path((1, 1), (5, 1))) == 9
    assert mapper.throw_ray((1, 1), (5, 1), 0.4).range == 4


def test_a_finder_of_a_pickle_plans_as_before_and_leaves_the_weight():
    map = korrin.OccupancyMap(40, 40, 0.25)
    map.reset(1)
    map.image[:30, 20] = 0
    finder = korrin.OccMapPathFinder(map, 2)
    finder.set_neighborhood_type("triple")
    finder.set_h_weight(0.25)
    try:
        path = finder.compute_path((1, 1), (9, 1))
        back = pickle.loads(pickle.dumps(finder))
        assert finder.Node.h_weight == 0.25
        assert len(back.nodes) == 0
        assert back.init_param == 2
        assert np.array_equal(back.compute_path((1, 1), (9, 1)), path)
        assert back.num_iterations == finder.num_iterations
    finally:
        finder.set_h_weight(0.5)


def test_steps_of_an_unknown_neighborhood_are_kept():
    finder = korrin.OccMapPathFinder(None)
    finder.set_neighborhood_type("triple")
    finder.set_neighborhood_type(finder.NeighborhoodType(7))
    assert len(finder.neighbor_deltas) == 16
    back = pickle.loads(pickle.dumps(finder))
    assert np.array_equal(back.neighbor_deltas, finder.neighbor_deltas)
    other = korrin.OccMapPathFinder(None)
    other.set_neighborhood_type(finder.NeighborhoodType(7))
    assert other != finder


class NamedMap(korrin.OccupancyMap):
    """A class of a user's own, with attributes."""


@pytest.mark.parametrize("again", [lambda x: pickle.loads(pickle.dumps(x)), copy.deepcopy, copy.copy])
def test_classes_derived_in_python_keep_class_and_attributes(again):
    pose = Place(1, 2, 3)
    pose.name = ["door"]
    back = again(pose)
    assert type(back) is Place
    assert back == pose
    assert back.name == ["door"]
    back.other = 1
    assert not hasattr(pose, "other")


class Place(korrin.Pose2D):
    """A pose with attributes."""


def test_a_derived_map_keeps_its_class():
    map = NamedMap(2, 2, 1)
    map.name = "hall"
    for back in (pickle.loads(pickle.dumps(map)), copy.copy(map), copy.deepcopy(map)):
        assert type(back) is NamedMap
        assert back.name == "hall"
        assert back == map
        assert not np.shares_memory(back.image, map.image)


@pytest.mark.parametrize("value", [case for case in CASES if hasattr(case.values[0], "__setstate__")])
@pytest.mark.parametrize("state", [(), ((), {}), (("a",) * 5, {}), (("a",) * 3, {}), ((None,), 5)])
def test_a_pickle_of_something_else_is_refused(value, state):
    new = type(value).__new__(type(value))
    with pytest.raises((ValueError, TypeError)):
        new.__setstate__(state)


def test_a_pickled_image_of_another_size_is_refused():
    state = list(some_map().__reduce_ex__(2)[2][0])
    wrong = korrin.OccupancyMap(3, 3, 1).__reduce_ex__(2)[2][0]
    new = korrin.OccupancyMap.__new__(korrin.OccupancyMap)
    with pytest.raises(ValueError):
        new.__setstate__(((state[0], *wrong[1:]), {}))
