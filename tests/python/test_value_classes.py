"""Every class of the module pickles, copies, compares and prints by what it holds.

EXAMPLES has objects of each class, and a class that is missing there fails a test. No class is left
out: all that the module has now can be pickled.
"""

import copy
import inspect
import pickle

import numpy as np
import pytest
from value_examples import CASES, EXAMPLES, NAN, some_dist_map, some_map, some_scan, with_values

import korrin

PROTOCOLS = range(pickle.HIGHEST_PROTOCOL + 1)
# Members of enumerations, which pickle as their numbers.
HASHABLE = {name for name in EXAMPLES if name.endswith(("Level", "Type", "Mode", "Outcome", "Reason"))}


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
    if hasattr(type(field), "__members__"):
        return type(field)((int(field) + 1) % 3)
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
        (korrin.PoseSearch(some_map(), 0.4, 1), korrin.PoseSearch(some_map(), 0.5, 1)),
        (korrin.PoseSearch(some_map(), 0.4, 1), korrin.PoseSearch(some_map(), 0.4, 2)),
        (korrin.PoseSearch(some_dist_map(), 1), korrin.PoseSearch(other_dist_map(), 1)),
        (korrin.PoseSearch(some_dist_map(), 1), korrin.PoseSearch(some_map(), 0.4, 1)),
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


@pytest.mark.parametrize("record", [korrin.Pose2D, korrin.Pose2Di])
def test_a_record_equals_a_tuple_or_list_of_all_its_numbers(record):
    assert record(1, 2, 3) == (1, 2, 3)
    assert record(1, 2, 3) == [1, 2, 3]
    assert record(1, 2, 0) != (1, 2)
    assert record(1, 2, 3) != (1, 2, 4)
    assert record(1, 2, 3) != (1, 2, "3")
    assert record(1, 2, NAN) == (1, 2, NAN)
