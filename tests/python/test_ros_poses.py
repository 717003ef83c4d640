"""Poses, paths, odometry and stamps of ROS, with messages of every make."""

import math
from types import SimpleNamespace

import numpy as np
import pytest
import ros_messages
import ros_model

import korrin
import korrin.ros

NOTHING = SimpleNamespace(Pose=None, PoseStamped=None, Path=None, PoseArray=None)
MAKES = {"plain": lambda: NOTHING, "ros2": ros_messages.ros2, "ros1": ros_messages.ros1}
K_PI = np.float32(korrin.k_pi)
TILT = 0.05
HUGE = [0, 1, 999_999_999, 10**9, 976052890244111000, 2**31 * 10**9 - 1]


@pytest.fixture(params=MAKES)
def make(request):
    return MAKES[request.param]()


def a_pose(quaternion=(0.0, 0.0, 0.0, 1.0), position=(1.0, 2.0, 3.0)):
    return SimpleNamespace(
        position=SimpleNamespace(**dict(zip("xyz", position))),
        orientation=SimpleNamespace(**dict(zip("xyzw", quaternion))),
    )


def headings(random):
    """Headings at the ends of the turn and within."""
    ends = [K_PI, np.nextafter(-K_PI, np.float32(0)), 0, -0.0, 1e-38]
    return np.float32([*ends, *random.uniform(-3.14, 3.14, 300)])


def test_poses_come_back_as_the_same_floats(make):
    random = np.random.default_rng(1)
    for theta in headings(random):
        pose = korrin.Pose2D(*random.normal(0, 1e4, 2), theta)
        assert korrin.ros.from_pose(korrin.ros.to_pose(pose, make.Pose)) == pose
        stamped = korrin.ros.to_pose_stamped(pose, make.PoseStamped, frame_id="a", stamp=5)
        assert korrin.ros.from_pose(stamped) == pose


def test_headings_beyond_a_turn_come_back_within_it():
    for theta in np.random.default_rng(2).uniform(-50, 50, 300):
        found = korrin.ros.from_pose(korrin.ros.to_pose((0, 0, theta))).theta
        assert -K_PI < found <= K_PI
        assert math.isclose(math.cos(found), math.cos(theta), abs_tol=3e-6)
        assert math.isclose(math.sin(found), math.sin(theta), abs_tol=3e-6)


def test_a_pose_without_heading_looks_along_x(make):
    message = korrin.ros.to_pose((1, 2), make.Pose)
    turn = message.orientation
    assert (turn.x, turn.y, turn.z, turn.w) == (0, 0, 0, 1)
    assert (message.position.x, message.position.y, message.position.z) == (1, 2, 0)


def test_a_pose_is_found_however_deep_it_lies():
    inner = korrin.ros.to_pose((1, 2, 0.5))
    transform = SimpleNamespace(translation=inner.position, rotation=inner.orientation)
    covariant = SimpleNamespace(pose=inner)
    deep = SimpleNamespace(pose=covariant)
    for message in (inner, covariant, deep, transform, SimpleNamespace(transform=transform)):
        assert korrin.ros.from_pose(message) == korrin.Pose2D(1, 2, 0.5)


def random_turn(random):
    """A quaternion: any, nearly level, or nearly upside down."""
    axis = random.normal(size=3)
    kind = random.integers(4)
    if kind:  # a heading, and then a little tilt
        tilt, heading = random.uniform(0, 2 * TILT), random.uniform(-math.pi, math.pi)
        around, z, w = random.uniform(0, 2 * math.pi), math.sin(heading / 2), math.cos(heading / 2)
        x, y = (math.sin(tilt / 2) * part(around) for part in (math.cos, math.sin))
        v = math.cos(tilt / 2)
        turn = np.array([x * w + y * z, y * w - x * z, v * z, v * w])
        turn = turn if kind < 3 else np.array([turn[3], turn[2], turn[1], turn[0]])
    else:
        turn = np.append(axis, random.normal())
    return turn / np.linalg.norm(turn) * random.uniform(0.995, 1.005)


def test_random_turns_equal_the_model():
    random = np.random.default_rng(3)
    level = tilted = upside_down = 0
    for _ in range(3000):
        turn = random_turn(random)
        matrix = ros_model.matrix_of(turn)
        tilt = math.acos(max(-1, min(1, matrix[2, 2])))
        if abs(tilt - TILT) < 1e-6:
            continue
        if tilt <= TILT:
            found = korrin.ros.from_pose(a_pose(turn)).theta
            off = found - math.atan2(matrix[1, 0], matrix[0, 0])
            assert abs(math.remainder(off, 2 * math.pi)) < 4e-7 + tilt * tilt
            level += 1
            continue
        with pytest.raises(ValueError, match="orientation: wanted a turn about the vertical") as fault:
            korrin.ros.from_pose(a_pose(turn))
        is_down = "upside down" in str(fault.value)
        assert is_down == (matrix[2, 2] < 0)
        upside_down, tilted = upside_down + is_down, tilted + (not is_down)
    assert min(level, tilted, upside_down) > 400


@pytest.mark.parametrize("tilt, fits", [(0.0499, True), (0.0501, False)])
@pytest.mark.parametrize("axis", [0, 1])
def test_the_tilt_that_is_let_pass(tilt, fits, axis):
    turn = [0.0, 0.0, 0.0, math.cos(tilt / 2)]
    turn[axis] = math.sin(tilt / 2)
    if fits:
        assert korrin.ros.from_pose(a_pose(turn)).theta == 0
    else:
        with pytest.raises(ValueError, match="tilted by 0.0501 radians"):
            korrin.ros.from_pose(a_pose(turn))


FAULTS = [
    ((0, 0, 0, 0), (1, 2, 3), "pose.orientation: wanted a quaternion of length 1, found (0, 0, 0, 0)"),
    ((0, 0, 0, 1.02), (1, 2, 3), "pose.orientation: wanted a quaternion of length 1"),
    ((0, 0, 0, 0.98), (1, 2, 3), "pose.orientation: wanted a quaternion of length 1"),
    ((0, math.nan, 0, 1), (1, 2, 3), "pose.orientation.y: wanted a finite number, found nan"),
    ((0, 0, 0, math.inf), (1, 2, 3), "pose.orientation.w: wanted a finite number, found inf"),
    ((0, 0, 0, 1), (math.nan, 2, 3), "pose.position.x: wanted a finite number, found nan"),
    ((0, 0, 0, 1), (1, -math.inf, 3), "pose.position.y: wanted a finite number, found -inf"),
    ((0, 0, 0, 1), (1, "far", 3), "pose.position.y: wanted a number, found 'far'"),
    ((0, 0, 0, 1), (1e39, 2, 3), "pose.position.x: wanted a finite number"),
]


@pytest.mark.parametrize("turn, position, told", FAULTS)
def test_faults_are_named(turn, position, told):
    with pytest.raises(ValueError) as fault:
        korrin.ros.from_pose(SimpleNamespace(pose=a_pose(turn, position)))
    assert str(fault.value).startswith(told)


def test_a_hand_typed_quaternion_will_do():
    found = korrin.ros.from_pose(a_pose((0, 0, 0.707, 0.707)))
    assert found.theta == np.float32(math.pi / 2)


def test_what_has_no_pose_is_told_as_such():
    with pytest.raises(TypeError, match="pose.: wanted a pose or a transform, found a int"):
        korrin.ros.from_pose(SimpleNamespace(pose=7))


@pytest.mark.parametrize("stamp", HUGE)
def test_odometry(stamp):
    for make in (ros_messages.ros2(), None):
        stamped = make.PoseStamped if make else None
        header = korrin.ros.to_pose_stamped((0, 0), stamped, frame_id="odom", stamp=stamp)
        message = make.Odometry() if make else SimpleNamespace(pose=SimpleNamespace())
        message.header, message.child_frame_id = header.header, "base_link"
        message.pose.pose = korrin.ros.to_pose((1, 2, 0.5), make.Pose if make else None)
        told = korrin.ros.from_odometry(message)
        assert told == (korrin.Pose2D(1, 2, 0.5), stamp, "odom", "base_link")
        assert told.nanoseconds == stamp


def test_odometry_of_ros1():
    message = ros_messages.ros1().Odometry()
    message.header.stamp.secs, message.header.stamp.nsecs = 976052890, 244111000
    message.header.frame_id, message.child_frame_id = "odom", "base"
    message.pose.pose.position.x, message.pose.pose.orientation.w = 7.0, 1.0
    told = korrin.ros.from_odometry(ros_messages.sent(message))
    assert told == (korrin.Pose2D(7, 0, 0), 976052890244111000, "odom", "base")


@pytest.mark.parametrize("stamp", [*HUGE, 2**32 * 10**9 - 1])
def test_stamps_of_ros1_lose_nothing(stamp):
    make = ros_messages.ros1().PoseStamped
    message = ros_messages.sent(korrin.ros.to_pose_stamped((0, 0), make, stamp=stamp))
    assert korrin.ros.nanoseconds(message.header.stamp) == stamp
    again = korrin.ros.to_pose_stamped((0, 0), stamp=0 if stamp >= 2**31 * 10**9 else message.header.stamp)
    assert again.header.stamp.sec == (0 if stamp >= 2**31 * 10**9 else stamp // 10**9)


def test_stamps_before_the_epoch():
    message = korrin.ros.to_pose_stamped((0, 0), stamp=-1)
    assert (message.header.stamp.sec, message.header.stamp.nanosec) == (-1, 999_999_999)
    assert korrin.ros.nanoseconds(message.header.stamp) == -1


@pytest.mark.parametrize("stamp", [2**31 * 10**9, -(2**31) * 10**9 - 1, 10**30])
def test_stamps_that_no_message_holds(stamp):
    with pytest.raises(ValueError, match="stamp: -?[0-9]+ seconds are more than a message holds"):
        korrin.ros.to_pose_stamped((0, 0), stamp=stamp)


def test_seconds_are_the_nearest_float():
    assert korrin.ros.seconds(976052890244111000) == 976052890.244111
    assert korrin.ros.seconds(SimpleNamespace(sec=1, nanosec=1)) == 1.000000001
    with pytest.raises(TypeError, match="stamp: wanted a time or nanoseconds, found a float"):
        korrin.ros.nanoseconds(1.5)


def random_path(random, size):
    path = random.normal(0, 100, (size, 3)).astype(np.float32)
    path[:, 2] = random.uniform(-3.14, 3.14, size)
    return path


@pytest.mark.parametrize("size", [0, 1, 200])
def test_paths_come_back_as_the_same_floats(make, size):
    path = random_path(np.random.default_rng(size), size)
    stamp = 7 * 10**9 + 5
    message = korrin.ros.to_path(path, make.Path, make.PoseStamped, frame_id="odom", stamp=stamp)
    headers = [message.header, *(pose.header for pose in message.poses)]
    told = {(header.frame_id, korrin.ros.nanoseconds(header.stamp)) for header in headers}
    assert told == {("odom", stamp)}
    array = korrin.ros.to_pose_array(path, make.PoseArray, make.Pose, frame_id="odom", stamp=9)
    assert (array.header.frame_id, korrin.ros.nanoseconds(array.header.stamp)) == ("odom", 9)
    for read in (korrin.ros.from_path(message), korrin.ros.from_path(array)):
        assert read.dtype == np.float32
        assert read.shape == (size, 3)
        assert (read == path).all()


def test_paths_of_ros1_pass_through_its_bytes():
    make = ros_messages.ros1()
    path = random_path(np.random.default_rng(5), 50)
    message = ros_messages.sent(korrin.ros.to_path(path, make.Path, make.PoseStamped))
    assert (korrin.ros.from_path(message) == path).all()


def test_a_plan_becomes_a_path(room):
    plan = korrin.PathPlanner(room, robot_radius=0.2).plan((1, 1), (4, 3))
    assert len(plan.path) > 20
    assert (korrin.ros.from_path(korrin.ros.to_path(plan.path)) == plan.path).all()
    poses = [korrin.Pose2D(*row) for row in plan.path]
    assert (korrin.ros.from_path(korrin.ros.to_path(poses)) == plan.path).all()


@pytest.mark.parametrize(
    "path, told",
    [
        ([(1, 2, 0), (3, math.nan, 0)], r"path\[1\].y: wanted a finite number, found nan"),
        ([(1, 2)], r"path: wanted N x 3 numbers, found an array of shape \(1, 2\)"),
        ([1, 2, 3], r"path: wanted N x 3 numbers, found an array of shape \(3,\)"),
    ],
)
def test_what_is_no_path_is_told_as_such(path, told):
    for make in (korrin.ros.to_path, korrin.ros.to_pose_array):
        with pytest.raises(ValueError, match=told):
            make(path)


def test_a_pose_that_is_none_is_not_sent():
    with pytest.raises(ValueError, match="pose.theta: wanted a finite number, found inf"):
        korrin.ros.to_pose((1, 2, math.inf))


def test_a_message_is_no_class():
    with pytest.raises(TypeError, match="message: wanted a class, found one SimpleNamespace"):
        korrin.ros.to_pose((1, 2), SimpleNamespace())


def test_both_classes_or_neither():
    for make in (korrin.ros.to_path, korrin.ros.to_pose_array):
        with pytest.raises(ValueError, match="message, pose: wanted both classes or neither"):
            make([(1, 2, 0)], SimpleNamespace)
