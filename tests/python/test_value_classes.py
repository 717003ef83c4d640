"""Every class of the module pickles, copies, compares and prints by what it holds.

EXAMPLES has objects of each class, and a class that is missing there fails a test. No class is left
out: all that the module has now can be pickled.
"""

import copy
import inspect
import pickle

import numpy as np
import pytest

import korrin

NAN, INF = float("nan"), float("inf")
PROTOCOLS = range(pickle.HIGHEST_PROTOCOL + 1)


def some_map(second=False, nan=False):
    map = korrin.OccupancyMap(7, 5, 0.1, with_second_image=second)
    map.image[:] = np.linspace(0, 1, 35).reshape(5, 7)
    map.params.origin = (1, -2, 0.5)
    if second:
        map.second_image[2] = 0.25
    if nan:
        map.image[1, 2:4] = NAN, -0.0
        map.params.origin = (NAN, 0, INF)
    return map


def some_scan():
    scan = korrin.Scan([1, 2.5, INF, 4], angle_min=-0.5, angle_increment=0.25, range_max=9)
    scan.readings["mark"] = [7, 8, 9, 1]
    scan.readings["range"][1] = NAN
    return scan


def some_finder(map):
    finder = korrin.OccMapPathFinder(map, 3)
    finder.set_neighborhood_type(finder.Triple)
    finder.set_coarse_factor(2)
    finder.set_angle_cost_factor(0.25)
    finder.set_obstacle_threshold(NAN)
    return finder


def some_dist_map():
    reference = korrin.ScanDistMap()
    reference.build(korrin.Scan([1, 1.5], 0, 0.5), (0, 0, 0), 0.05)
    reference.step = 2
    return reference


def with_values(value, **fields):
    for name, field in fields.items():
        setattr(value, name, field)
    return value


def the_record():
    heard = []
    previous = korrin.set_log_sink(heard.append)
    korrin.complete_log(korrin.NavLogLevel.Warning, "low", "src/robot", "drive", 12)
    korrin.set_log_sink(previous)
    return heard[0]


EXAMPLES = {
    "FreeCellCondition": [korrin.FreeCellCondition(0.7), korrin.FreeCellCondition(NAN)],
    "GrayCellCondition": [korrin.GrayCellCondition(0.2, 0.1, True), korrin.GrayCellCondition(NAN, 1)],
    "ImageToMerge": [
        korrin.ImageToMerge(np.float32([[1, NAN]]), 1, NAN, 3),
        korrin.ImageToMerge(np.uint8([[1], [2]])),
    ],
    "LogRecord": [the_record()],
    "NavLogLevel": [korrin.NavLogLevel.Error, korrin.NavLogLevel.Info],
    "ObstacleDilater": [
        with_values(korrin.ObstacleDilater(7, 5), dilation_radius=NAN, fade_distance=3),
        korrin.ObstacleDilater(0, 9),
    ],
    "ObstacleDilater.DilateType": [korrin.ObstacleDilater.DILATE_INVERSE],
    "OccMapPathFinder": [some_finder(some_map()), korrin.OccMapPathFinder(None)],
    "OccMapPathFinder.NeighborhoodType": [korrin.OccMapPathFinder.NeighborhoodType(7)],
    "OccMapPathFinder.Node": [
        with_values(korrin.OccMapPathFinder.Node(), x=1, y=-2, theta=NAN, parent=5, f=1, g=2, h=3)
    ],
    "OccupancyMap": [
        some_map(),
        some_map(second=True),
        some_map(nan=True),
        korrin.OccupancyMap(0, 3, 1, with_second_image=True),
    ],
    "OccupancyMapParams": [some_map().params, some_map(nan=True).params],
    "OccupancyMapParams.OriginMode": [korrin.OccupancyMapParams.Center],
    "OccupancyMapper": [korrin.OccupancyMapper(some_map()), korrin.OccupancyMapper(None)],
    "PathCostStats": [with_values(korrin.PathCostStats(), min_cost=-1, avg_cost=NAN, length=5)],
    "PathSimplifier": [with_values(korrin.PathSimplifier(), sampling_accuracy=7.5)],
    "Point2D": [korrin.Point2D(1, NAN), korrin.Point2D(-0.0, INF)],
    "Point2Di": [korrin.Point2Di(2**31 - 1, -(2**31) + 1)],
    "Pose2D": [korrin.Pose2D(1.1, -2, 0.5), korrin.Pose2D(NAN, -0.0, INF)],
    "Pose2Di": [korrin.Pose2Di(-3, 2**31 - 1, 0.1), korrin.Pose2Di(1, 2, NAN)],
    "PreparedMap": [korrin.PreparedMap(some_map(second=True), 0.45)],
    "RangeReading": [with_values(korrin.RangeReading(NAN, 0.1), weight=2, mark=3, status=1)],
    "SafePathSimplifier": [
        with_values(
            korrin.SafePathSimplifier(),
            initial_sampling_accuracy=100,
            min_sampling_accuracy=1,
            accuracy_divisor=3,
            obstacle_threshold=0.4,
        )
    ],
    "Scan": [some_scan(), korrin.Scan()],
    "ScanDistMap": [some_dist_map(), korrin.ScanDistMap()],
    "ScanHole": [
        with_values(
            korrin.ScanHole(),
            **dict(begin_index=1, end_index=2, heading=NAN, normal_angle=0.5),
            **dict(begin_point=(1, 2), end_point=(3, NAN), approach_point=(5, 6)),
        )
    ],
    "ScanModel": [with_values(korrin.ScanModel(181, 10, 3), reserved=2**32 - 1, range_sigma=NAN)],
}
CASES = [
    pytest.param(value, id=f"{name}{i}") for name in EXAMPLES for i, value in enumerate(EXAMPLES[name])
]
# Members of enumerations, which pickle as their numbers.
HASHABLE = {name for name in EXAMPLES if name.endswith(("Level", "Type", "Mode"))}


def classes(owner=korrin, names=korrin.__all__, prefix=""):
    for name in names:
        member = getattr(owner, name)
        if inspect.isclass(member):
            yield prefix + name, member
            inner = [key for key in vars(member) if not key.startswith("_")]
            yield from classes(member, inner, prefix + name + ".")


CLASSES = dict(classes())


def test_every_class_has_examples():
    assert set(EXAMPLES) == set(CLASSES)
    assert len(CLASSES) >= 26
    for name, values in EXAMPLES.items():
        assert values
        assert all(type(value) is CLASSES[name] for value in values)


@pytest.mark.parametrize("protocol", PROTOCOLS)
@pytest.mark.parametrize("value", CASES)
def test_a_pickle_gives_the_value_back(value, protocol):
    back = pickle.loads(pickle.dumps(value, protocol))
    assert type(back) is type(value)
    assert back == value
    assert not back != value
    assert repr(back) == repr(value)


@pytest.mark.parametrize("copied", [copy.copy, copy.deepcopy])
@pytest.mark.parametrize("value", CASES)
def test_a_copy_is_equal(value, copied):
    back = copied(value)
    assert type(back) is type(value)
    assert back is not value
    assert back == value


def fields_of(value):
    """The names of the fields that can be set; those that are empty and so stay are left out."""
    fields = []
    for name, member in inspect.getmembers(type(value)):
        # What was searched is a result, no setting of a finder.
        if not isinstance(member, property) or not member.fset or name == "coarse_map":
            continue
        if name.endswith("image") and (getattr(value, name) is None or getattr(value, name).size == 0):
            continue
        fields.append(name)
    return fields


@pytest.mark.parametrize("value", [case for case in CASES if fields_of(case.values[0])])
def test_a_copy_with_another_field_differs(value):
    for name in fields_of(value):
        other = copy.deepcopy(value)
        setattr(other, name, another(getattr(value, name)))
        assert other != value, name
        assert not other == value, name
        # And that field is in the pickle.
        assert pickle.loads(pickle.dumps(other)) == other, name


def another(field):
    if field is None:
        return some_map()
    if isinstance(field, korrin.OccupancyMap):
        return korrin.OccupancyMap(2, 2, 1)
    if isinstance(field, korrin.OccupancyMapParams):
        return with_values(copy.copy(field), resolution=field.resolution + 1)
    if isinstance(field, (korrin.Pose2D, korrin.Point2D)):
        return [7.5] * len(field)
    if isinstance(field, np.ndarray):
        return field + 1
    return not field if isinstance(field, bool) else 5 if field != 5 else 6


def other_dist_map():
    reference = korrin.ScanDistMap()
    reference.build(korrin.Scan([1, 1.4], 0, 0.5), (0, 0, 0), 0.05)
    reference.step = 2
    return reference


def other_scan():
    scan = some_scan()
    scan.readings["angle"][3] = NAN
    return scan


@pytest.mark.parametrize(
    "value, other",
    [
        (some_dist_map(), other_dist_map()),
        (some_scan(), other_scan()),
        (some_scan(), korrin.Scan()),
        (korrin.PreparedMap(some_map(), 0.4), korrin.PreparedMap(some_map(), 0.5)),
        (korrin.PreparedMap(some_map(), 0.4), korrin.PreparedMap(some_map(second=True), 0.4)),
        (korrin.ObstacleDilater(4, 5), korrin.ObstacleDilater(4, 6)),
        (korrin.ObstacleDilater(4, 5), korrin.ObstacleDilater(5, 5)),
        (korrin.NavLogLevel.Info, korrin.NavLogLevel.Error),
        (korrin.OccMapPathFinder(None, 1), korrin.OccMapPathFinder(None, 2)),
    ],
)
def test_other_contents_differ(value, other):
    assert value != other
    assert copy.deepcopy(other) == other
    assert copy.deepcopy(value) == value


@pytest.mark.parametrize("name", sorted(EXAMPLES))
def test_only_what_cannot_change_has_a_hash(name):
    if name in HASHABLE:
        assert hash(EXAMPLES[name][0]) == hash(copy.copy(EXAMPLES[name][0]))
    else:
        with pytest.raises(TypeError, match="unhashable"):
            hash(EXAMPLES[name][0])


@pytest.mark.parametrize("value", CASES)
def test_no_value_equals_one_of_another_class(value):
    for other in (None, 99, "text", object()):
        assert value != other
        assert not value == other
    for name, others in EXAMPLES.items():
        # Members of enumerations are numbers, too, and equal as such.
        if type(others[0]) is not type(value) and name not in HASHABLE:
            assert value != others[0]


@pytest.mark.parametrize("value", CASES)
def test_a_repr_tells_the_class_and_no_address(value):
    text = repr(value)
    assert type(value).__qualname__.rpartition(".")[2] in text
    assert "object at" not in text


def test_reprs_tell_the_fields():
    told = {
        "PathCostStats": "PathCostStats(min_cost=-1, max_cost=0, avg_cost=nan, length=5)",
        "Point2D": "Point2D(x=1, y=nan)",
        "FreeCellCondition": "FreeCellCondition(threshold=0.7)",
        "GrayCellCondition": "GrayCellCondition(threshold=0.2, tolerance=0.1, blocked=True)",
        "ImageToMerge": "ImageToMerge(image=<float32 array of 1 x 2>, x=1, y=nan, theta=3)",
        "LogRecord": (
            "LogRecord(level=NavLogLevel.Warning, message='low', file='src/robot', "
            "function='drive', line=12)"
        ),
        "OccMapPathFinder.Node": (
            "OccMapPathFinder.Node(x=1, y=-2, theta=nan, parent=5, f=1, g=2, h=3)"
        ),
        "Scan": "Scan(readings=<4 from -0.5 to 0.25 rad, 3 hits>)",
        "OccupancyMapParams": (
            "OccupancyMapParams(width=7, height=5, resolution=0.1, "
            "origin=Pose2D(x=1, y=-2, theta=0.5))"
        ),
    }
    for name, text in told.items():
        assert repr(EXAMPLES[name][0]) == text


def test_a_map_s_repr_tells_its_shares():
    map = korrin.OccupancyMap(100, 20, 0.05)
    shown = "<OccupancyMap of 100 x 20 float32 cells of 0.05 m, origin (0, 0, 0)"
    assert repr(map) == shown + ": 0.0 % free, 100.0 % unknown, 0.0 % occupied>"
    map.image[:10] = 1
    map.image[10:15] = 0
    assert repr(map) == shown + ": 50.0 % free, 25.0 % unknown, 25.0 % occupied>"
    map.reset(1)
    map.image[0, 0] = NAN
    assert repr(map) == shown + ": >99.9 % free, 0.0 % unknown, 0.0 % occupied, 0.1 % NaN>"
    map = korrin.OccupancyMap(100, 100, 0.05, with_second_image=True)
    map.image[0, 0] = 0
    assert repr(map).endswith("with a second image: 0.0 % free, >99.9 % unknown, <0.1 % occupied>")


def test_the_share_of_cells_at_the_bounds():
    map = korrin.OccupancyMap(4, 1, 1)
    map.image = np.float32([[0.4, 0.39, 0.6, 0.61]])
    assert repr(map).endswith(": 25.0 % free, 50.0 % unknown, 25.0 % occupied>")


@pytest.mark.parametrize(
    "change",
    [
        lambda map: map.set_cell(6, 4, 0.75),
        lambda map: map.second_image.__setitem__((0, 0), NAN),
        lambda map: setattr(map.params, "resolution", 0.2),
        lambda map: setattr(map.params.origin, "theta", NAN),
    ],
)
def test_maps_that_differ_anywhere_are_not_equal(change):
    map = some_map(second=True)
    other = copy.copy(map)
    assert other == map
    change(other)
    assert other != map
    assert copy.copy(other) == other


def test_a_second_image_makes_a_difference():
    map, other = korrin.OccupancyMap(2, 2, 1), korrin.OccupancyMap(2, 2, 1, with_second_image=True)
    assert map != other
    assert other != map


def test_zeros_of_either_sign_are_equal_and_kept():
    minus = korrin.Pose2D(-0.0, 0, 0)
    assert minus == korrin.Pose2D(0, 0, 0)
    assert np.signbit(pickle.loads(pickle.dumps(minus)).x)
    map = korrin.OccupancyMap(1, 1, 1)
    map.image[:] = -0.0
    back = pickle.loads(pickle.dumps(map))
    assert np.signbit(back.image[0, 0])
    back.image[:] = 0.0
    assert back == map


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


@pytest.mark.parametrize("value", [case for case in CASES if type(case.values[0]).__hash__ is None])
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


@pytest.mark.parametrize("record", [korrin.Pose2D, korrin.Pose2Di])
def test_a_record_equals_a_tuple_or_list_of_all_its_numbers(record):
    assert record(1, 2, 3) == (1, 2, 3)
    assert record(1, 2, 3) == [1, 2, 3]
    assert record(1, 2, 0) != (1, 2)
    assert record(1, 2, 3) != (1, 2, 4)
    assert record(1, 2, 3) != (1, 2, "3")
    assert record(1, 2, NAN) == (1, 2, NAN)
