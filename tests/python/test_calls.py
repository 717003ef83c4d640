"""Whoever calls wrongly is told which argument is at fault, what was wanted and what was found."""

import inspect
import re

import numpy as np
import pytest
from stubs import signatures

import korrin
from korrin import _calls

MAP = korrin.OccupancyMap(5, 4, 1)
FINDER = korrin.OccMapPathFinder(MAP)
POSE = korrin.Pose2D()
DISTANCES = np.zeros((4, 4), np.float32)


def set_origin(value):
    MAP.params.origin = value


def set_radius(value):
    korrin.ObstacleDilater(3, 3).dilation_radius = value


PLANNER_FORMS = (
    "PathPlanner(): wanted (map, settings) or (map, *, robot_radius=..., fade_distance=..., "
    "unknown_is_free=..., obstacle_threshold=..., weight=..., neighborhood=..., coarse_factor=..., "
    "angle_cost_factor=..., accuracy=...), found "
)

# A call, the exception, and all that it says.
WRONG = [
    (
        lambda: korrin.PathPlanner(MAP, neighborhood="big"),
        ValueError,
        "neighborhood: wanted one of 'Simple', 'Double', 'Triple', found 'big'",
    ),
    (
        lambda: korrin.PathPlanner(MAP, robot_radius="0.3"),
        TypeError,
        "robot_radius: wanted a number, found '0.3'",
    ),
    (
        lambda: korrin.PathPlanner(MAP, 0.3),
        TypeError,
        "settings: wanted a PlannerSettings, found 0.3",
    ),
    (
        lambda: korrin.PathPlanner(MAP, radius=0.3),
        TypeError,
        PLANNER_FORMS + "(an OccupancyMap, radius=0.3)",
    ),
    (
        lambda: korrin.PathPlanner(MAP, korrin.PlannerSettings(), robot_radius=0.3),
        TypeError,
        PLANNER_FORMS + "(an OccupancyMap, a PlannerSettings, robot_radius=0.3)",
    ),
    (
        lambda: korrin.PlannerSettings(0.3),
        TypeError,
        "PlannerSettings(): wanted (*, robot_radius=..., fade_distance=..., unknown_is_free=..., "
        "obstacle_threshold=..., weight=..., neighborhood=..., coarse_factor=..., "
        "angle_cost_factor=..., accuracy=...), found (0.3)",
    ),
    (
        lambda: FINDER.compute_path((0, 0), np.zeros(4)),
        ValueError,
        "end_pose: wanted 2 or 3 numbers, found an array of shape (4,)",
    ),
    (
        lambda: FINDER.compute_path((0, 0, 0, 0), (1, 1)),
        ValueError,
        "start_pose: wanted 2 or 3 numbers, found 4 numbers",
    ),
    (
        lambda: FINDER.compute_path("here", (1, 1)),
        TypeError,
        "start_pose: wanted 2 or 3 numbers, found 'here'",
    ),
    (
        lambda: FINDER.compute_path(start_cell=(0.5, 0), end_cell=(1, 1)),
        ValueError,
        "start_cell: wanted 2 or 3 numbers, column and row whole, found 0.5",
    ),
    (
        lambda: FINDER.compute_path((0, 0)),
        TypeError,
        "compute_path(): wanted (start_pose, end_pose) or (start_cell, end_cell), found (2 numbers)",
    ),
    (
        lambda: FINDER.compute_path(start_pose=(0, 0), end_cell=(1, 1)),
        TypeError,
        "compute_path(): wanted (start_pose, end_pose) or (start_cell, end_cell), "
        "found (start_pose=2 numbers, end_cell=2 numbers)",
    ),
    (
        lambda: FINDER.set_neighborhood_type(1),
        TypeError,
        "type: wanted one of 'Simple', 'Double', 'Triple', found 1",
    ),
    (
        lambda: FINDER.set_occ_map("map.yaml"),
        TypeError,
        "map: wanted an OccupancyMap, found 'map.yaml'",
    ),
    (
        lambda: FINDER.set_coarse_factor(2.5),
        TypeError,
        "factor: wanted a whole number of 32 bits, found 2.5",
    ),
    (lambda: FINDER.set_obstacle_threshold("0.2"), TypeError, "threshold: wanted a number, found '0.2'"),
    (lambda: POSE.abs_project(None), TypeError, "rel: wanted 2 or 3 numbers, found None"),
    (lambda: POSE.abs_project((1, None)), TypeError, "rel: wanted 2 or 3 numbers, found a tuple"),
    (
        lambda: POSE.abs_project(korrin.Pose2Di(1, 2)),
        TypeError,
        "rel: wanted 2 or 3 numbers, found a Pose2Di",
    ),
    (
        lambda: POSE.abs_project([[1, 2, 3]]),
        ValueError,
        "rel: wanted 2 or 3 numbers, found a list of shape (1, 3)",
    ),
    (lambda: korrin.Pose2D([1]), ValueError, "numbers: wanted 2 or 3 numbers, found 1 number"),
    (lambda: korrin.Pose2D("x", 1), TypeError, "x: wanted a number, found 'x'"),
    (
        lambda: korrin.Pose2D(1, 2, heading=3),
        TypeError,
        "Pose2D(): wanted () or (x, y, theta=...) or (numbers), found (1, 2, heading=3)",
    ),
    (
        lambda: korrin.avg_pose2d(np.zeros((4, 2))),
        ValueError,
        "poses: wanted N x 3 numbers, found an array of shape (4, 2)",
    ),
    (
        lambda: korrin.avg_pose2d([(1, 2, 3), (1, 2)]),
        ValueError,
        "poses: wanted N x 3 numbers, found rows of different lengths",
    ),
    (
        lambda: korrin.avg_pose2d(np.zeros((4, 3), bool)),
        TypeError,
        "poses: wanted N x 3 numbers, found elements of bool",
    ),
    (lambda: korrin.avg_pose2d(7), TypeError, "poses: wanted N x 3 numbers, found 7"),
    (
        lambda: korrin.path_up_sample([(0, 0, 0), (0.5, 0, 0)]),
        ValueError,
        "in_: wanted N x 3 numbers, columns and rows whole, found 0.5",
    ),
    (
        lambda: MAP.get_pixel_from_pose([(1, 2), (3, 4)]),
        ValueError,
        "pose: wanted 2 or 3 numbers, found a list of shape (2, 2)",
    ),
    (
        lambda: korrin.scan_score(DISTANCES, np.zeros((3, 3)), (0, 0), 1, 1),
        ValueError,
        "points: wanted N x 2 numbers, found an array of shape (3, 3)",
    ),
    (
        lambda: korrin.scan_score(DISTANCES, korrin.Scan(), (0, 0), "fine", 1),
        TypeError,
        "resolution: wanted a number, found 'fine'",
    ),
    (
        lambda: korrin.scan_score([[1.0]], korrin.Scan(), (0, 0), 1, 1),
        TypeError,
        "distance_map: wanted an array, found a list of shape (1, 1)",
    ),
    (
        lambda: korrin.scan_score(np.zeros(4, "f4"), korrin.Scan(), (0, 0), 1, 1),
        ValueError,
        "distance_map: wanted rows, columns and at most 4 channels, found an array of shape (4,)",
    ),
    (
        lambda: korrin.scan_score(np.zeros((4, 4)), korrin.Scan(), (0, 0), 1, 1),
        TypeError,
        "distance_map: wanted an array of uint8 or float32, found one of float64",
    ),
    (
        lambda: korrin.compute_path_cost_stat(MAP, [], "far"),
        TypeError,
        "max_length: wanted a number or None, found 'far'",
    ),
    (
        lambda: korrin.OccupancyMapper(MAP).update_map([1, 2, 3], (0, 0), 1, 1),
        TypeError,
        "readings: wanted a Scan, found 3 numbers",
    ),
    (lambda: korrin.PreparedMap(None, 0.5), TypeError, "map: wanted an OccupancyMap, found None"),
    (lambda: korrin.compute_norm((1, 2, 3)), ValueError, "point: wanted 2 numbers, found 3 numbers"),
    (
        lambda: korrin.compute_norm(1.5, 2),
        TypeError,
        "x: wanted a whole number of 32 bits, found 1.5",
    ),
    (
        lambda: korrin.OccupancyMap(4, 4, "fine"),
        TypeError,
        "resolution: wanted a number, found 'fine'",
    ),
    (
        lambda: korrin.OccupancyMapParams(4, 4, 1, "middle"),
        ValueError,
        "mode: wanted one of 'Corner', 'Center', found 'middle'",
    ),
    (
        lambda: korrin.Scan(np.zeros((2, 2)), 0, 0.1),
        ValueError,
        "ranges: wanted one dimension, found an array of shape (2, 2)",
    ),
    (lambda: korrin.Scan(["1"], 0, 0.1), TypeError, "ranges: wanted numbers, found an array of <U1"),
    (
        lambda: korrin.ObstacleDilater(3, 3).dilate(MAP),
        TypeError,
        "dilate(): wanted (map, type), found (an OccupancyMap)",
    ),
    (lambda: set_origin((1,)), ValueError, "origin: wanted 2 or 3 numbers, found 1 number"),
    (lambda: set_radius("wide"), TypeError, "dilation_radius: wanted a number, found 'wide'"),
    (
        lambda: korrin.OccMapPathFinder.set_h_weight(None),
        TypeError,
        "weight: wanted a number, found None",
    ),
    (
        lambda: korrin.draw_laser(korrin.Scan(), (0, 0), None, 1, "yes"),
        TypeError,
        "flag: wanted True or False, found 'yes'",
    ),
    (lambda: korrin.Point2Di(2**31, 0), TypeError, "x: wanted a whole number of 32 bits, found 2147483648"),
    (
        lambda: korrin.set_log_sink(),
        TypeError,
        "set_log_sink(): wanted (sink), found ()",
    ),
]


@pytest.mark.parametrize("call, error, told", WRONG, ids=[told for _, _, told in WRONG])
def test_what_is_said(call, error, told):
    with pytest.raises(error) as raised:
        call()
    assert str(raised.value) == told
    assert type(raised.value) is error


def functions():
    """(name, function as pybind11 made it) of all that can be called or set."""
    pending = [("", korrin._korrin)]
    while pending:
        prefix, owner = pending.pop()
        for name, value in vars(owner).items():
            if inspect.isclass(value):
                pending.append((f"{prefix}{name}.", value))
            elif isinstance(value, property) and value.fset:
                yield prefix + name, value.fset, name
            elif inspect.isroutine(getattr(value, "__func__", value)):
                yield prefix + name, getattr(value, "__func__", value), ""


FUNCTIONS = [item for item in functions() if item[1].__doc__ and signatures(item[1])]


def test_forms_are_read_as_the_stubs_read_them():
    seen = 0
    for name, function, attribute in FUNCTIONS:
        forms = _calls._forms(function.__doc__, attribute)
        assert len(forms) == len(signatures(function)), name
        for form in forms:
            assert all(re.fullmatch(r"\w+", parameter.name) for parameter in form.parameters), name
            assert all(parameter.kind for parameter in form.parameters), name
            seen += 1
    assert seen > 250


def test_no_call_lists_signatures():
    """Calls with arguments that nothing takes; many fail, and none with the extension's own words."""
    told = 0
    for name in korrin.__all__:
        function = getattr(korrin, name)
        if not callable(function) or inspect.isfunction(function):
            continue
        for count in range(9):
            try:
                function(*[object()] * count)
            except (TypeError, ValueError) as error:
                assert "incompatible" not in str(error), name
                told += "wanted" in str(error)
    assert told > 300


def test_errors_of_callables_pass_through():
    def condition(value):
        raise TypeError("condition(): incompatible function arguments. mine")

    with pytest.raises(TypeError, match="mine"):
        korrin.find_first_cell_with_cond(MAP, (0, 0), condition)

    def nested(value):
        korrin.canonical_angle("round")

    with pytest.raises(TypeError, match="angle: wanted a number, found 'round'"):
        korrin.find_first_cell_with_cond(MAP, (0, 0), nested)


def test_a_call_is_explained_whatever_its_arguments_are():
    class Odd:
        def __float__(self):
            raise ValueError("no")

        def __repr__(self):
            raise RuntimeError("no")

        def __getattr__(self, name):
            raise AttributeError(name)

    with pytest.raises(TypeError, match="angle: wanted a number, found an Odd"):
        korrin.canonical_angle(Odd())
    with pytest.raises(TypeError, match="poses: wanted N x 3 numbers"):
        korrin.avg_pose2d([Odd(), Odd()])
    with pytest.raises(TypeError):
        korrin.Pose2D(*[1] * 5000)
