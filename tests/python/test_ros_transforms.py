"""Where a bag of ROS 1 has the robot and its laser: chains of recorded transforms."""

import math

import numpy as np
import pytest
import ros_bags as bags
import ros_model

import korrin
import korrin.ros

SECOND = 10**9


def test_the_static_transform_of_the_laser_is_taken(bag):
    bag.static("base_link", "laser", (0.3, 0.1, 0.2), bags.turn(z=0.5))
    bag.odometry(SECOND, (1, 2, 0))
    bag.scan(SECOND, [1])
    [logged] = bags.read(bag).scans
    assert np.allclose([*logged.pose], [1.3, 2.1, 0.5], atol=1e-6)
    assert logged.robot == korrin.Pose2D(1, 2, 0)


def test_a_transform_that_is_sent_again_and_again_is_taken(bag):
    for stamp in (3, 4):
        bag.moving(stamp * SECOND, "base_link", "/laser", (0.3, 0, 0), bags.turn())
    bag.odometry(1, (1, 2, 0))
    bag.scan(1, [1])
    assert np.isclose(bags.read(bag).scans[0].pose.x, 1.3)


@pytest.mark.parametrize("static_first", [False, True])
def test_what_is_static_counts_before_what_moves(bag, static_first):
    for is_static in (static_first, not static_first):
        if is_static:
            bag.static("base_link", "laser", (0.3, 0, 0), bags.turn())
        else:
            bag.moving(0, "base_link", "laser", (7, 0, 0), bags.turn())
            bag.moving(9, "base_link", "laser", (9, 0, 0), bags.turn())
    bag.odometry(5, (1, 2, 0))
    bag.scan(5, [1])
    assert np.isclose(bags.read(bag).scans[0].pose.x, 1.3)


def test_the_base_is_the_one_that_odometry_names(bag):
    bag.static("foot", "laser", (0.3, 0, 0), bags.turn())
    bag.static("base_link", "foot", (5, 0, 0), bags.turn())
    bag.odometry(0, (1, 2, 0), base="/foot")
    bag.scan(0, [1])
    assert np.isclose(bags.read(bag).scans[0].pose.x, 1.3)
    assert np.isclose(bags.read(bag, base_frame="base_link").scans[0].pose.x, 6.3)


def test_a_scan_in_the_frame_of_the_base_needs_no_transform(bag):
    bag.odometry(0, (1, 2, 0))
    bag.scan(0, [1], frame="/base_link")
    assert bags.read(bag).scans[0].pose == korrin.Pose2D(1, 2, 0)


def test_a_laser_that_hangs_upside_down_is_noticed(bag):
    bag.static("base_link", "laser", (0.3, 0, 0), bags.turn(z=0.5, x=math.pi))
    bag.odometry(0, (1, 2, 0.25))
    bag.scan(0, [1, 2, 3])
    [logged] = bags.read(bag).scans
    assert np.allclose([*logged.pose][2], 0.75)
    assert logged.scan.readings["range"].tolist() == [3, 2, 1]
    assert logged.scan.readings["angle"].tolist() == [-0.0, 0.5, 1]
    [by_hand] = bags.read(bag, laser_pose=(0.3, 0, 0.5), upside_down=True).scans
    assert by_hand.scan == logged.scan
    assert np.allclose([*by_hand.pose], [*logged.pose])


def test_upside_down_ends_lie_where_they_do_in_space(bag):
    """The ends of beams in the world, once by matrices in space and once by the log."""
    turn = bags.turn(z=2, x=math.pi)
    bag.static("base_link", "laser", (0.3, -0.2, 0), turn)
    bag.odometry(0, (1, 2, 0.25))
    bag.scan(0, [1, 2, 3])
    [logged] = bags.read(bag).scans
    robot = ros_model.motion_of((1, 2, 0), bags.turn(z=0.25))
    laser = robot @ ros_model.motion_of((0.3, -0.2, 0), turn)
    angles = [-1 + 0.5 * i for i in range(3)]
    ends = [laser @ [(i + 1) * math.cos(a), (i + 1) * math.sin(a), 0, 1] for i, a in enumerate(angles)]
    found = [[*logged.pose.abs_project((x, y, 0))][:2] for x, y in logged.scan.to_point2d()]
    assert np.allclose(found[::-1], np.array(ends)[:, :2], atol=1e-5)


def test_chains_of_transforms_may_tilt_when_the_whole_is_level(bag):
    bag.static("mount", "laser", (0, 0, 1), bags.turn(x=-0.7))
    bag.static("base_link", "mount", (0.5, 0, 0), bags.turn(x=0.7))
    bag.odometry(0, (1, 2, 0))
    bag.scan(0, [1])
    pose = bags.read(bag).scans[0].pose
    motion = ros_model.motion_of((0.5, 0, 0), bags.turn(x=0.7)) @ [0, 0, 1, 1]
    assert np.allclose([*pose], [1 + motion[0], 2 + motion[1], 0], atol=1e-6)


def test_random_chains_equal_the_model(bag):
    """A base that hangs below another frame, a laser two links on, and a robot by /tf."""
    random = np.random.default_rng(5)
    links = {}
    for parent, child in (("odom", "foot"), ("foot", "base"), ("foot", "mount"), ("mount", "laser")):
        place, heading = random.uniform(-3, 3, 3), random.uniform(-3, 3)
        links[child] = ros_model.motion_of(place, bags.turn(z=heading))
        bag.static(parent, child, place, bags.turn(z=heading))
    bag.scan(0, [1])
    [logged] = bags.read(bag, odometry_topic=None, base_frame="base").scans
    laser = links["foot"] @ links["mount"] @ links["laser"]
    assert np.allclose([*logged.pose], ros_model.planar_of(laser), atol=2e-6)
    assert np.allclose([*logged.robot], ros_model.planar_of(links["foot"] @ links["base"]), atol=2e-6)


def test_poses_by_tf_are_those_of_odometry(bag):
    random = np.random.default_rng(6)
    for i, (x, y, theta) in enumerate(random.uniform(-3, 3, (20, 3))):
        bag.odometry(i * SECOND, (x, y, theta))
        bag.moving(i * SECOND, "odom", "base_link", (x, y, 0), bags.turn(z=theta))
        bag.scan(i * SECOND + SECOND // 3, [1, 2])
    bag.static("base_link", "laser", (0.3, 0, 0), bags.turn())
    by_topic, by_tf = bags.read(bag), bags.read(bag, odometry_topic=None)
    assert len(by_topic.scans) == 19
    assert by_tf == by_topic


def test_transforms_that_lead_elsewhere_are_told(bag):
    bag.odometry(0, (0, 0, 0))
    bag.static("base_link", "camera", (0, 0, 0), bags.turn())
    bag.scan(0, [1])
    with pytest.raises(ValueError, match="no transform from base_link to laser; .*: base_link -> camera"):
        bags.read(bag)


def test_a_laser_that_tilts_is_refused(bag):
    bag.static("base_link", "laser", (0, 0, 0), bags.turn(y=0.2))
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1])
    told = "no scan can be used: 1 message could not be read, the first is scan 1: laser: wanted a turn about"
    with pytest.raises(ValueError, match=told):
        bags.read(bag)


def test_a_robot_on_its_head_is_refused(bag):
    bag.odometry(0, (0, 0, 0), bags.turn(x=math.pi))
    bag.scan(0, [1])
    with pytest.raises(ValueError, match="scan 1: robot: stands on its head"):
        bags.read(bag, laser_pose=(0, 0, 0))


def test_a_frame_in_two_parents_is_told(bag):
    bag.static("base_link", "laser", (0, 0, 0), bags.turn())
    bag.static("camera", "laser", (9, 0, 0), bags.turn())
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1])
    log = bags.read(bag)
    assert log.scans[0].pose.x == 0
    assert log.complaint.endswith("transform of laser: child_frame_id: laser is in base_link and in camera")


def test_frames_in_a_circle_end(bag):
    bag.static("a", "laser", (0, 0, 0), bags.turn())
    bag.static("laser", "a", (0, 0, 0), bags.turn())
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1])
    with pytest.raises(ValueError, match="no transform from base_link to laser"):
        bags.read(bag)
