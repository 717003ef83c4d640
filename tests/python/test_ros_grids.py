"""Occupancy grids of ROS, there and back, with messages of every make."""

import array
import math
from types import SimpleNamespace

import numpy as np
import pytest
import ros_messages
import ros_model

import korrin
import korrin.ros

MAKES = {"plain": lambda: None, "ros2": lambda: ros_messages.ros2().OccupancyGrid}
MAKES["ros1"] = lambda: ros_messages.ros1().OccupancyGrid
K_PI = np.float32(korrin.k_pi)
PERCENTAGES = range(-1, 101)


@pytest.fixture(params=MAKES)
def make(request):
    """The class to make, None for plain objects."""
    return MAKES[request.param]()


def a_grid(data, width, height=1, resolution=0.5, corner=(0.0, 0.0, 0.0), make=None):
    """A message with these cells and the corner of its first cell."""
    message = korrin.ros.to_grid(korrin.OccupancyMap(0, 0, 1), make)
    message.info.width, message.info.height, message.info.resolution = width, height, resolution
    x, y, theta = corner
    message.info.origin = korrin.ros.to_pose((0, 0), message.info.origin.__class__ if make else None)
    message.info.origin.position.x, message.info.origin.position.y = float(x), float(y)
    message.info.origin.orientation.z = math.sin(theta / 2)
    message.info.origin.orientation.w = math.cos(theta / 2)
    message.data = data
    return message


def as_bytes(values):
    return array.array("b", values)


def test_every_percentage_comes_back(make):
    message = a_grid(as_bytes(PERCENTAGES), len(PERCENTAGES), make=make)
    map = korrin.ros.from_grid(message)
    assert map.image[0].tolist() == [ros_model.cell_of(value) for value in PERCENTAGES]
    assert list(korrin.ros.to_grid(map, make).data) == list(PERCENTAGES)


@pytest.mark.parametrize("kind", [list, tuple, as_bytes, lambda data: np.array(list(data), np.int8)])
def test_cells_may_come_in_any_row(kind):
    map = korrin.ros.from_grid(a_grid(kind(PERCENTAGES), len(PERCENTAGES)))
    assert list(korrin.ros.to_grid(map).data) == list(PERCENTAGES)


def test_free_is_one_occupied_zero_and_unknown_a_half():
    map = korrin.ros.from_grid(a_grid(as_bytes([0, 100, -1]), 3))
    assert map.image.tolist() == [[1, 0, 0.5]]


def test_fifty_is_not_unknown():
    map = korrin.ros.from_grid(a_grid(as_bytes([50, -1]), 2))
    assert map.image[0, 0] == np.nextafter(np.float32(0.5), np.float32(0))
    assert map.image[0, 1] == 0.5


@pytest.mark.parametrize("value", [-128, -2, 101, 127, 128, 255, 1000, -1000])
def test_what_is_no_percentage_is_unknown(value):
    map = korrin.ros.from_grid(a_grid([value, 7], 2))
    assert map.image[0].tolist() == [0.5, ros_model.cell_of(7)]
    assert list(korrin.ros.to_grid(map).data) == [-1, 7]


def test_rows_follow_each_other():
    map = korrin.ros.from_grid(a_grid(as_bytes([0, 100, -1, 20, 0, 0]), width=3, height=2))
    assert map.image.shape == (2, 3)
    assert (map.image[0, 1], map.image[1, 0]) == (0, np.float32(0.8))


def test_the_origin_is_a_corner_there_and_a_centre_here():
    corner = (2.0, 1.0, math.pi / 2)  # columns run along y, rows against x
    map = korrin.ros.from_grid(a_grid(as_bytes([0]), 1, resolution=0.5, corner=corner))
    assert map.params.origin == korrin.Pose2D(1.75, 1.25, math.pi / 2)


def random_origin(random):
    far = 10.0 ** random.integers(0, 6)
    theta = random.choice([0, random.uniform(-math.pi, math.pi), math.pi, -math.pi / 2, 3.1415925])
    return korrin.Pose2D(random.uniform(-far, far), random.uniform(-far, far), theta)


def test_random_grids_equal_the_model():
    random = np.random.default_rng(7)
    empty = single = turned = 0
    for _ in range(300):
        width, height = (int(side) for side in random.choice([0, 1, 2, 3, 17], 2))
        data = random.integers(-128, 128, width * height).astype(np.int8)
        corner, resolution = random_origin(random), float(random.uniform(0.01, 2))
        message = a_grid(data, width, height, resolution, corner)
        map = korrin.ros.from_grid(message)
        wanted = [[ros_model.cell_of(data[y * width + x]) for x in range(width)] for y in range(height)]
        assert map.image.tolist() == np.array(wanted, np.float32).reshape(height, width).tolist()
        assert map.params.resolution == np.float32(resolution)
        if data.size:
            cell = int(random.integers(width)), int(random.integers(height))
            assert_same_place(message, map, cell)
        empty, single = empty + (data.size == 0), single + (data.size == 1)
        turned += corner.theta != 0
    assert empty > 50 and single > 5 and turned > 150


def assert_same_place(message, map, cell):
    """A cell's centre lies where the message has it, up to what floats lose."""
    info = message.info
    origin = info.origin
    quaternion = [getattr(origin.orientation, part) for part in "xyzw"]
    motion = ros_model.motion_of((origin.position.x, origin.position.y, 0), quaternion)
    column, row = cell
    there = motion @ [(column + 0.5) * info.resolution, (row + 0.5) * info.resolution, 0, 1]
    here = map.get_pose_from_pixel(cell)
    bound = 1e-6 + 4e-7 * (abs(origin.position.x) + abs(origin.position.y) + 40 * info.resolution)
    assert abs(here.x - there[0]) < bound and abs(here.y - there[1]) < bound


def test_random_maps_equal_the_model(make):
    random = np.random.default_rng(8)
    special = np.float32([0.5, np.nan, np.inf, -np.inf, -0.25, 1.25, 0, 1, 0.995, 0.005, 0.375, 0.625])
    beside = np.nextafter(np.float32(0.5), np.float32([0, 1]))
    seen = set()
    for _ in range(60):
        height, width = (int(side) for side in random.choice([0, 1, 2, 9], 2))
        cells = random.random((height, width)).astype(np.float32)
        odd = random.random(cells.shape) < 0.5
        cells[odd] = random.choice(np.concatenate([special, beside]), odd.sum())
        map = korrin.OccupancyMap.from_array(cells, 0.05)
        data = list(korrin.ros.to_grid(map, make).data)
        assert data == [ros_model.percentage_of(value) for value in cells.ravel()]
        seen.update(data)
    assert {-1, 0, 100, 50} <= seen


def test_places_of_maps_come_back_as_the_same_floats(make):
    random = np.random.default_rng(9)
    for theta in [K_PI, np.nextafter(-K_PI, np.float32(0)), 0.0, 1e-30, *random.uniform(-3.14, 3.14, 400)]:
        map = korrin.OccupancyMap(2, 3, 10.0 ** random.uniform(-3, 2))
        map.params.origin = random_origin(random)
        map.params.origin.theta = theta
        message = korrin.ros.to_grid(map, make)
        again = korrin.ros.from_grid(message)
        assert again.params == map.params
        assert again == map


def test_frame_and_stamp_are_passed_on(make):
    stamp = 976052890244111000
    message = korrin.ros.to_grid(korrin.OccupancyMap(2, 3, 0.1), make, frame_id="odom", stamp=stamp)
    assert message.header.frame_id == "odom"
    assert korrin.ros.nanoseconds(message.header.stamp) == stamp
    assert korrin.ros.nanoseconds(message.info.map_load_time) == stamp
    assert (message.info.width, message.info.height) == (2, 3)


def test_grids_of_ros1_pass_through_its_bytes():
    make = ros_messages.ros1().OccupancyGrid
    map = korrin.OccupancyMap.from_array(np.random.default_rng(3).random((20, 30)), 0.05, (1, 2, 0.5))
    message = korrin.ros.to_grid(map, make, stamp=5)
    arrived = ros_messages.sent(message)
    assert isinstance(arrived.data, tuple)
    assert list(arrived.data) == list(message.data)
    assert korrin.ros.from_grid(arrived).params == map.params


def with_field(path, value):
    """A grid whose field `path` is this value."""
    message = a_grid(as_bytes([0] * 6), 3, 2)
    owner = message
    *places, last = path.split(".")
    for place in places:
        owner = getattr(owner, place)
    setattr(owner, last, value)
    return message


FAULTS = [
    ("data", [0] * 5, "data: wanted 3 x 2 cells, found 5"),
    ("data", [0] * 7, "data: wanted 3 x 2 cells, found 7"),
    ("data", [], "data: wanted 3 x 2 cells, found 0"),
    ("data", [0.5] * 6, "data: wanted a row of whole numbers, found one of float64"),
    ("data", [[0, 0, 0], [0, 0, 0]], "data: wanted a row of whole numbers"),
    ("data", [10**30] * 6, "data: wanted a row of whole numbers"),
    ("info.width", 2**31, "data: wanted 2147483648 x 2 cells, found 6"),
    ("info.height", -2, "data: wanted 3 x -2 cells"),
    ("info.resolution", 0.0, "info.resolution: wanted metres a cell above 0, found 0"),
    ("info.resolution", -0.05, "info.resolution: wanted metres a cell above 0, found -0.05"),
    ("info.resolution", math.nan, "info.resolution: wanted a finite number, found nan"),
    ("info.resolution", 1e-60, "info.resolution: wanted metres a cell above 0"),
    ("info.origin.position.x", math.inf, "info.origin.position.x: wanted a finite number, found inf"),
    ("info.origin.position.y", 1e39, "info.origin.position.y: wanted a finite number"),
    ("info.origin.position.y", None, "info.origin.position.y: wanted a number, found None"),
    ("info.origin.orientation.w", 0.0, "info.origin.orientation: wanted a quaternion of length 1"),
    ("info.origin.orientation.z", math.nan, "info.origin.orientation.z: wanted a finite number"),
    (
        "info.origin.orientation",
        SimpleNamespace(x=0.6, y=0.0, z=0.0, w=0.8),
        "info.origin.orientation: wanted a turn about the vertical, found one tilted by 1.29 radians",
    ),
]


@pytest.mark.parametrize("path, value, told", FAULTS)
def test_faults_are_named(path, value, told):
    with pytest.raises(ValueError) as fault:
        korrin.ros.from_grid(with_field(path, value))
    assert str(fault.value).startswith(told)


def test_two_sides_below_zero_are_none():
    message = with_field("info.width", -3)
    message.info.height = -2
    with pytest.raises(ValueError, match="data: wanted -3 x -2 cells, found 6"):
        korrin.ros.from_grid(message)


@pytest.mark.parametrize("field, told", [("x", "origin.x"), ("y", "origin.y"), ("theta", "origin.theta")])
def test_places_that_are_none_are_not_sent(field, told):
    map = korrin.OccupancyMap(2, 2, 0.1)
    setattr(map.params.origin, field, math.nan)
    with pytest.raises(ValueError, match=f"{told}: wanted a finite number, found nan"):
        korrin.ros.to_grid(map)


@pytest.mark.parametrize("resolution", [0, -1, math.nan, math.inf])
def test_resolutions_that_are_none_are_not_sent(resolution):
    with pytest.raises(ValueError, match="resolution: wanted"):
        korrin.ros.to_grid(korrin.OccupancyMap(2, 2, resolution))
