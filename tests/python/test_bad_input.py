"""Whatever is passed, there is a result or a Python exception: never a crash.

Each function is called many times with arguments of the types that its signature names, drawn from
the values that break code. A last part passes what is of the wrong type altogether.
"""

import dataclasses
import inspect
import os
import random
import tempfile

import numpy as np
import pytest
from stubs import signatures, split_arguments

import korrin

REFUSALS = (ValueError, TypeError, IndexError, MemoryError, OSError)
NAN, INF = float("nan"), float("inf")
FLOATS = [0, -0.0, 0.5, 1, -1, 3, 0.05, 1e-30, -1e30, 3e38, INF, -INF, NAN]
INTS = [-(2**31), -1, 0, 1, 2, 5, 9, 2**31 - 1]
SMALL_INTS = [-(2**31), -1, 0, 1, 2, 5, 9]  # for numbers of things to be made
COUNTS = {"count", "subdivisions", "width", "height", "depth", "channels"}
TRIES = 40
FILES = tempfile.TemporaryDirectory()
RECEIVED = {"BlockedEnd", "LogRecord", "Plan"}
FEW_TRIES = {"ScanDistMap.build", "build_laser_distance", "draw_laser"}  # pictures of 8192 x 8192


def pose(draw):
    return korrin.Pose2D(*(draw.choice(FLOATS) for _ in range(3)))


def point(draw):
    return korrin.Point2D(draw.choice(FLOATS), draw.choice(FLOATS))


def cell(draw):
    return korrin.Pose2Di(draw.choice(INTS), draw.choice(INTS), draw.choice(FLOATS))


def map_of(draw):
    width, height = draw.choice([(0, 0), (1, 1), (5, 9), (9, 5), (0, 7), (64, 3)])
    map = korrin.OccupancyMap(width, height, draw.choice([0.05, 1, 0, NAN]), draw.random() < 0.5)
    map.params.origin = draw.choice([(0, 0, 0), pose(draw)])
    for image in (map.image, map.second_image):
        if image is not None and image.size:
            image[:] = np.reshape(draw.choices([0, 1, 0.5, NAN, INF], k=image.size), image.shape)
    return map


def scan_of(draw):
    readings = []
    for _ in range(draw.choice([0, 1, 2, 9])):
        readings.append(korrin.RangeReading(draw.choice(FLOATS), draw.choice(FLOATS)))
        readings[-1].status = draw.choice([0, 1, 7])
        readings[-1].weight = draw.choice([1, *FLOATS])
    return korrin.Scan(readings)


def rows_of(draw, kind):
    count, columns = draw.choice([0, 1, 2, 9]), int(kind[-3])
    numbers = [-3, 0, 1, 2, 50] if "float64" in kind else FLOATS
    return np.array(draw.choices(numbers, k=count * columns)).reshape(count, columns)


def array_of(draw):
    shape = draw.choice([(0, 0), (1, 1), (5, 5), (5, 9), (9, 5), (3, 3, 3), (4, 4, 5), (7,)])
    array = np.full(shape, draw.choice([0, 1, 200]), draw.choice(["u1", "f4", "f8", "<i4", ">f4"]))
    change = draw.choice(["no", "no", "turned", "strided", "frozen", "odd"])
    if change == "turned":
        array = array.T
    elif change == "strided":
        array = array[::-2]
    elif change == "frozen":
        array.flags.writeable = False
    elif change == "odd":
        array = np.frombuffer(b"1" * 401, np.uint8)[1:].view("f4").reshape(10, 10)
    return array


def hole(draw):
    hole = korrin.ScanHole()
    hole.begin_index, hole.end_index = draw.choice(INTS), draw.choice(INTS)
    hole.heading, hole.approach_point = draw.choice(FLOATS), point(draw)
    return hole


def condition(draw):
    return draw.choice(
        [korrin.FreeCellCondition(NAN), korrin.GrayCellCondition(0.2, 0.6), bool, lambda value: value < 0 or []]
    )


def file(draw):
    """A file in a directory of its own: a map, a path, or none."""
    directory = tempfile.mkdtemp(dir=FILES.name)
    korrin.save_map(korrin.OccupancyMap(2, 3, 0.1), os.path.join(directory, "map.yaml"))
    korrin.write_path([(1, 2, 3)], os.path.join(directory, "way.csv"))
    return os.path.join(directory, draw.choice(["map.yaml", "way.csv", "none", "no/such"]))


def blocked_end(draw):
    """Of a plan on a map that nobody has seen, so that no start is free."""
    return korrin.PathPlanner(korrin.OccupancyMap(3, 3, 1)).plan(pose(draw), pose(draw)).blocked


def enumeration(draw, kind):
    type_ = korrin
    for part in kind.split("."):
        type_ = getattr(type_, part)
    return type_(draw.choice([0, 1, 2, 3, -1, 77]))


MAKERS = {
    "float": lambda draw: draw.choice(FLOATS),
    "Optional[float]": lambda draw: draw.choice([None, *FLOATS]),
    "bool": lambda draw: draw.random() < 0.5,
    "str": lambda draw: draw.choice(["", "text", "raw"]),
    "os.PathLike": file,
    "BlockedEnd": blocked_end,
    "Pose2D": pose,
    "Pose2Di": cell,
    "Point2D": point,
    "Point2Di": lambda draw: korrin.Point2Di(draw.choice(INTS), draw.choice(INTS)),
    "OccupancyMap": map_of,
    "OccupancyMapParams": lambda draw: map_of(draw).params,
    "Scan": scan_of,
    "ScanHole": hole,
    "ScanModel": lambda draw: korrin.ScanModel(
        draw.choice(SMALL_INTS), draw.choice(FLOATS), draw.choice(FLOATS)
    ),
    "PlannerSettings": lambda draw: made(draw, korrin.PlannerSettings),
    "PoseGrid": lambda draw: made(draw, korrin.PoseGrid),
    "ScanDistMap": lambda draw: made(draw, korrin.ScanDistMap),
    "PathCostStats": lambda draw: korrin.PathCostStats(),
    "FreeCellCondition": condition,
    "GrayCellCondition": condition,
    "OccMapPathFinder.Node": lambda draw: korrin.OccMapPathFinder.Node(),
    "numpy.ndarray": array_of,
    "numpy.ndarray[RangeReading]": lambda draw: scan_of(draw).readings[:: draw.choice([1, -2])],
    "Optional[numpy.ndarray]": lambda draw: draw.choice([None, array_of(draw)]),
    "Iterable": lambda draw: [korrin.ImageToMerge(array_of(draw), *draw.choices(FLOATS, k=3))],
    "sequence": lambda draw: draw.choices(INTS, k=draw.choice([2, 2, 3])),
    "list": lambda draw: [1],
    "dict": lambda draw: {},
}
OBJECTS = {
    "array": array_of,
    "condition": condition,
    "at_start": condition,
    "on_ray": lambda draw: draw.choice([lambda: bool, bool]),
    "ranges": lambda draw: draw.choices(FLOATS, k=5),
    "image": lambda draw: draw.choice([None, array_of(draw)]),
    "laser_image": lambda draw: draw.choice([None, array_of(draw)]),
    "sink": lambda draw: None,
}


def value_for(draw, name, kind, by_name=False):
    if kind == "int":
        return draw.choice(SMALL_INTS if name in COUNTS else INTS)
    if kind == "object":
        return OBJECTS[name](draw)
    if kind.startswith("numpy.ndarray[numpy.float"):
        return rows_of(draw, kind)
    if kind in MAKERS:
        return MAKERS[kind](draw)
    return enumeration(draw, kind)


def overloads(function):
    """The (name, type, whether by name alone) of the arguments of each overload, but for self.
    Releases of pybind11 differ in whether a sequence has a capital."""
    for arguments, _ in signatures(function):
        parameters, by_name = [], False
        for part in split_arguments(arguments):
            by_name = by_name or part == "*"
            name, _, rest = part.partition(": ")
            kind = rest.partition(" = ")[0].replace("korrin._korrin.", "")
            kind = {"Sequence": "sequence"}.get(kind, kind)
            parameters.append((name, kind, by_name))
        yield [parameter for parameter in parameters if parameter[0] not in ("self", "*")]


def call_with(call, parameters, values):
    given = list(zip(parameters, values))
    by_name = {name: value for (name, _, is_by_name), value in given if is_by_name}
    return call(*(value for (_, _, is_by_name), value in given if not is_by_name), **by_name)


def made(draw, class_):
    """An object of a class; where it takes a search or a build to be asked, with that done."""
    if class_ is korrin.OccMapPathFinder:
        finder = class_(korrin.OccupancyMap(5, 9, 1))
        finder.compute_path((1, 1, 0), (3, 3, 0))
        return finder
    if class_ is korrin.ScanDistMap:
        reference = class_()
        reference.build(korrin.Scan([1, 2], 0, 1), (0, 0, draw.choice([0, 3e38])), 0.05)
        return reference
    while True:
        parameters = draw.choice(list(overloads(class_.__init__)))
        try:
            values = [value_for(draw, *parameter) for parameter in parameters]
            return call_with(class_, parameters, values)
        except REFUSALS:
            pass


def callables():
    for name in korrin.__all__:
        thing = getattr(korrin, name)
        if inspect.isclass(thing):
            # Records are only ever received, enumerations are arguments, and data classes are
            # Python's own.
            received = name in RECEIVED or dataclasses.is_dataclass(thing)
            if received or hasattr(thing, "__members__"):
                continue
            yield name, thing, "__init__"
            for member, value in vars(thing).items():
                if inspect.isroutine(value) and not member.startswith("_"):
                    yield f"{name}.{member}", thing, member
        elif callable(thing) and not inspect.isfunction(thing):
            yield name, None, name


CALLABLES = {name: (class_, member) for name, class_, member in callables()}


@pytest.mark.parametrize("name", CALLABLES)
def test_any_values_of_the_right_types(name, records):
    class_, member = CALLABLES[name]
    draw = random.Random(name)
    function = getattr(class_ or korrin, member)
    answers = 0
    for _ in range(2 if name in FEW_TRIES else TRIES):
        owner = made(draw, class_) if class_ and member != "__init__" else class_
        call = owner if member == "__init__" else getattr(korrin if owner is None else owner, member)
        for _ in range(3):
            parameters = draw.choice(list(overloads(function)))
            values = [value_for(draw, *parameter) for parameter in parameters]
            try:
                call_with(call, parameters, values)
                answers += 1
            except REFUSALS:
                pass
    assert answers > 0


@pytest.mark.parametrize("name", CALLABLES)
def test_values_of_the_wrong_types(name):
    class_, member = CALLABLES[name]
    draw = random.Random(name)
    owner = made(draw, class_) if class_ and member != "__init__" else class_
    call = owner if member == "__init__" else getattr(korrin if owner is None else owner, member)
    for parameters in overloads(getattr(class_ or korrin, member)):
        for i, (_, kind, _) in enumerate(parameters):
            if kind in ("object", "bool", "Iterable", "sequence"):
                continue
            values = [value_for(draw, *parameter) for parameter in parameters]
            for wrong in (object(), "text" if kind != "str" else 7, {"a": 1}, 1j):
                if kind == "dict" and isinstance(wrong, dict):
                    continue
                if kind == "os.PathLike" and wrong == "text":
                    continue
                values[i] = wrong
                with pytest.raises((TypeError, ValueError)):
                    call_with(call, parameters, values)
