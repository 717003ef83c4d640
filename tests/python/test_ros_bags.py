"""Bags of ROS 1 as laser logs: written here with rosbag, and read."""

import math

import numpy as np
import pytest
import ros_bags as bags
import ros_model
from conftest import DATA

import korrin
import korrin.mapping
import korrin.ros

SECOND = 10**9
INTEL = DATA / "logs" / "intel-raw.log.gz"


def read(bag, *topics, **options):
    return korrin.ros.read_bag(bag.path, *topics, **options)


@pytest.fixture
def bag(tmp_path):
    return bags.Writer(tmp_path / "one.bag")


def test_a_scan_is_where_odometry_was_at_its_stamp(bag):
    bag.odometry(1 * SECOND, (4, 5, 0.5))
    bag.scan(1 * SECOND, [1.5, 30, 2.5])
    log = read(bag, laser_pose=(0, 0, 0))
    [logged] = log.scans
    assert logged.pose == logged.robot == korrin.Pose2D(4, 5, 0.5)
    assert (logged.time, logged.line) == (1.0, 1)
    assert logged.scan.readings["range"].tolist() == [1.5, 30, 2.5]
    assert logged.scan.readings["status"].tolist() == [0, 1, 0]
    assert logged.scan.readings["weight"].tolist() == [1, 0, 1]
    assert (log.no_return, log.complaint) == (30, "")


def test_the_laser_stands_on_the_robot_where_it_is_said_to(bag):
    bag.odometry(SECOND, (4, 5, math.pi / 2))
    bag.scan(SECOND, [1])
    [logged] = read(bag, laser_pose=(1, 0.25, 0.5)).scans
    assert np.allclose([*logged.pose], [3.75, 6, math.pi / 2 + 0.5], atol=1e-6)
    assert logged.robot == korrin.Pose2D(4, 5, math.pi / 2)


def test_between_two_stamps_the_way_is_straight_and_the_turn_the_shorter_one(bag):
    random = np.random.default_rng(1)
    told = random.uniform([-9, -9, -math.pi], [9, 9, math.pi], (40, 3))
    for i, pose in enumerate(told):
        bag.odometry(i * SECOND, pose)
    asked = sorted(int(stamp) for stamp in random.integers(0, 39 * SECOND, 200))
    for stamp in asked:
        bag.scan(stamp, [1])
    over_pi = 0
    for stamp, logged in zip(asked, read(bag, laser_pose=(0, 0, 0)).scans, strict=True):
        first, share = stamp // SECOND, stamp % SECOND / SECOND
        wanted = told[first] + share * (told[first + 1] - told[first])
        wanted[2] = ros_model.turn_between(told[first, 2], told[first + 1, 2], share)
        off = logged.robot.rel_project(wanted)
        assert max(abs(off.x), abs(off.y), abs(off.theta)) < 4e-6
        over_pi += abs(told[first, 2] - told[first + 1, 2]) > math.pi
    assert over_pi > 10


def test_nothing_is_guessed_outside_the_times_of_the_odometry(bag):
    for stamp in (2, 3):
        bag.odometry(stamp * SECOND, (stamp, 0, 0))
    for stamp in (2 * SECOND - 1, 2 * SECOND, 3 * SECOND, 3 * SECOND + 1, 9 * SECOND):
        bag.scan(stamp, [1])
    log = read(bag, laser_pose=(0, 0, 0))
    assert [logged.time for logged in log.scans] == [2, 3]
    assert [logged.line for logged in log.scans] == [2, 3]
    assert log.complaint == "3 scans were taken outside the times of the odometry, and left out"


def test_odometry_may_come_in_any_order_and_twice(bag):
    for stamp, x in ((3, 3), (1, 7), (2, 2), (1, 1)):
        bag.odometry(stamp * SECOND, (x, 0, 0))
    bag.scan(1 * SECOND, [1])
    bag.scan(5 * SECOND // 2, [1])
    assert [logged.robot.x for logged in read(bag, laser_pose=(0, 0, 0)).scans] == [1, 2.5]


def test_readings_beyond_the_maximum_met_nothing(bag):
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [4, 5, 6, 30, math.nan])
    [logged] = read(bag, laser_pose=(0, 0, 0), max_range=5).scans
    assert logged.scan.readings["range"].tolist() == [4, 5, 5, 5, 0]
    assert logged.scan.readings["status"].tolist() == [0, 1, 1, 1, 1]
    assert logged.scan.readings["weight"].tolist() == [1, 1, 1, 0, 0]


def test_the_static_transform_of_the_laser_is_taken(bag):
    bag.static("base_link", "laser", (0.3, 0.1, 0.2), bags.turn(z=0.5))
    bag.odometry(SECOND, (1, 2, 0))
    bag.scan(SECOND, [1])
    [logged] = read(bag).scans
    assert np.allclose([*logged.pose], [1.3, 2.1, 0.5], atol=1e-6)
    assert logged.robot == korrin.Pose2D(1, 2, 0)


def test_a_transform_that_is_sent_again_and_again_is_taken(bag):
    for stamp in (3, 4):
        bag.moving(stamp * SECOND, "base_link", "/laser", (0.3, 0, 0), bags.turn())
    bag.odometry(1, (1, 2, 0))
    bag.scan(1, [1])
    assert np.isclose(read(bag).scans[0].pose.x, 1.3)


def test_a_laser_that_hangs_upside_down_is_noticed(bag):
    bag.static("base_link", "laser", (0.3, 0, 0), bags.turn(z=0.5, x=math.pi))
    bag.odometry(0, (1, 2, 0.25))
    bag.scan(0, [1, 2, 3])
    [logged] = read(bag).scans
    assert np.allclose([*logged.pose][2], 0.75)
    assert logged.scan.readings["range"].tolist() == [3, 2, 1]
    assert logged.scan.readings["angle"].tolist() == [-0.0, 0.5, 1]
    [by_hand] = read(bag, laser_pose=(0.3, 0, 0.5), upside_down=True).scans
    assert by_hand.scan == logged.scan
    assert np.allclose([*by_hand.pose], [*logged.pose])


def test_upside_down_ends_lie_where_they_do_in_space(bag):
    """The ends of beams in the world, once by matrices in space and once by the log."""
    turn = bags.turn(z=2, x=math.pi)
    bag.static("base_link", "laser", (0.3, -0.2, 0), turn)
    bag.odometry(0, (1, 2, 0.25))
    bag.scan(0, [1, 2, 3])
    [logged] = read(bag).scans
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
    pose = read(bag).scans[0].pose
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
    [logged] = read(bag, odometry_topic=None, base_frame="base").scans
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
    by_topic, by_tf = read(bag), read(bag, odometry_topic=None)
    assert len(by_topic.scans) == 19
    assert by_tf == by_topic


@pytest.mark.parametrize(
    "options, told",
    [
        (("/lidar",), r"no topic /lidar; there are: /odom \(nav_msgs/Odometry\), /scan \(sensor_msgs/LaserScan\)"),
        (("/scan", "/wheels"), r"no topic /wheels; there are: /odom \(nav_msgs/Odometry\), /scan"),
        (("/odom",), r"/odom: wanted sensor_msgs/LaserScan, found nav_msgs/Odometry; there are: /odom"),
        (("scan", "odom"), "no transform from base_link to laser; give laser_pose, .* there are: no transforms"),
    ],
)
def test_what_is_missing_is_told(bag, options, told):
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1])
    with pytest.raises(ValueError, match=f"one.bag: {told}"):
        read(bag, *options)


def test_transforms_that_lead_elsewhere_are_told(bag):
    bag.odometry(0, (0, 0, 0))
    bag.static("base_link", "camera", (0, 0, 0), bags.turn())
    bag.scan(0, [1])
    with pytest.raises(ValueError, match="no transform from base_link to laser; .*: base_link -> camera"):
        read(bag)


def test_a_laser_that_tilts_is_refused(bag):
    bag.static("base_link", "laser", (0, 0, 0), bags.turn(y=0.2))
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1])
    told = "no scan can be used: 1 message could not be read, the first is scan 1: laser: wanted a turn about"
    with pytest.raises(ValueError, match=told):
        read(bag)


def test_a_robot_on_its_head_is_refused(bag):
    bag.odometry(0, (0, 0, 0), bags.turn(x=math.pi))
    bag.scan(0, [1])
    with pytest.raises(ValueError, match="scan 1: robot: stands on its head"):
        read(bag, laser_pose=(0, 0, 0))


def test_faulty_messages_are_passed_over_and_told(bag):
    bag.odometry(0, (0, 0, 0))
    bag.odometry(5, (0, 0, 0), (0.0, 0.0, 0.0, 0.0))
    bag.scan(0, [1], range_max=math.nan)
    bag.scan(0, [2])
    log = read(bag, laser_pose=(0, 0, 0))
    assert [logged.line for logged in log.scans] == [2]
    assert log.complaint.startswith("2 messages could not be read, the first is odometry at 0.000000005: pose.pose")


def test_a_frame_in_two_parents_is_told(bag):
    bag.static("base_link", "laser", (0, 0, 0), bags.turn())
    bag.static("camera", "laser", (9, 0, 0), bags.turn())
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1])
    log = read(bag)
    assert log.scans[0].pose.x == 0
    assert log.complaint.endswith("transform of laser: child_frame_id: laser is in base_link and in camera")


def test_frames_in_a_circle_end(bag):
    bag.static("a", "laser", (0, 0, 0), bags.turn())
    bag.static("laser", "a", (0, 0, 0), bags.turn())
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1])
    with pytest.raises(ValueError, match="no transform from base_link to laser"):
        read(bag)


def test_a_bag_of_which_no_scan_is_left_is_told(bag):
    bag.odometry(1, (0, 0, 0))
    bag.odometry(2, (1, 0, 0))
    bag.scan(3, [1])
    told = "no scan can be used: 1 scan was taken outside the times of the odometry, and left out"
    with pytest.raises(ValueError, match=f"one.bag: {told}"):
        read(bag, laser_pose=(0, 0, 0))


def test_what_never_changed_holds_for_all_times(bag):
    bag.odometry(SECOND, (4, 5, 0.5))
    bag.odometry(2 * SECOND, (4, 5, 0.5))
    bag.scan(9 * SECOND, [1])
    assert read(bag, laser_pose=(0, 0, 0)).scans[0].pose == korrin.Pose2D(4, 5, 0.5)


def test_a_maximum_that_is_none_is_refused(bag):
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1])
    with pytest.raises(ValueError, match="max_range: wanted a finite number, found nan"):
        read(bag, laser_pose=(0, 0, 0), max_range=math.nan)


@pytest.mark.parametrize("compression", ["none", "bz2", "lz4"])
def test_packed_bags_are_read(tmp_path, compression):
    bag = bags.Writer(tmp_path / "packed.bag", compression)
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1, 2, 3])
    assert len(read(bag, laser_pose=(0, 0, 0)).scans[0].scan) == 3


def test_files_that_are_no_bags(tmp_path):
    with pytest.raises(FileNotFoundError):
        korrin.ros.read_bag(tmp_path / "none.bag")
    file = tmp_path / "text.bag"
    for text in (b"", b"FLASER 1 1\n", b"#ROSBAG V2.0\n", b"#ROSBAG V2.0\nabc", b"#ROSBAG V1.0\n"):
        file.write_bytes(text)
        with pytest.raises(ValueError, match="text.bag: "):
            korrin.ros.read_bag(file)


def test_damaged_bags_raise_no_other_error(bag, tmp_path):
    for i in range(5):
        bag.odometry(i * SECOND, (i, 0, 0))
        bag.scan(i * SECOND, [1, 2, 3])
    whole = bag.path.read_bytes()
    random = np.random.default_rng(7)
    file, refused = tmp_path / "damaged.bag", 0
    for _ in range(150):
        damaged = bytearray(whole)
        for place in random.integers(0, len(whole), 3):
            damaged[place] = random.integers(256)
        file.write_bytes(damaged[: random.integers(len(whole))] if random.random() < 0.3 else damaged)
        try:
            korrin.ros.read_bag(file, laser_pose=(0, 0, 0))
        except ValueError as fault:
            assert "damaged.bag: " in str(fault)
            refused += 1
    assert refused > 50


def same_bits(one, other, name):
    return (one.scan.readings[name] == other.scan.readings[name]).all()


def test_a_recorded_log_gives_the_same_grid(tmp_path):
    """The first scans of a log of the field, as a bag and as a log of the bag's own angles."""
    if not INTEL.exists():
        pytest.skip(f"no logs in {DATA}")
    compare_with_log(tmp_path, 250)


def compare_with_log(directory, count):
    original = korrin.read_log(INTEL)
    original.scans = original.scans[:count]
    bag = bags.Writer(directory / "intel.bag")
    bags.write_log(bag, original)
    found = read(bag)
    text = directory / "intel.log"
    text.write_text(bags.text_of_log(original))
    log = korrin.read_log(text)
    assert len(found.scans) == len(log.scans) == count
    assert found.no_return == log.no_return == original.no_return
    assert found.complaint == log.complaint == ""
    misses = 0
    for one, other, first in zip(found.scans, log.scans, original.scans, strict=True):
        assert one.scan == other.scan
        assert (one.pose, one.robot, one.time) == (other.pose, other.robot, other.time)
        assert (one.pose, one.robot, one.time) == (first.pose, first.robot, first.time)
        assert all(same_bits(one, first, name) for name in ("range", "weight", "mark", "status"))
        assert np.abs(one.scan.readings["angle"] - first.scan.readings["angle"]).max() < 5e-6
        misses += (one.scan.readings["status"] == 1).sum()
    assert misses > 10
    assert_same_maps(found, log, original)


def assert_same_maps(found, log, original):
    """Cell by cell those of the log with the same angles, and nearly those of the log itself."""
    grids = [grid_of(each) for each in (found, log, original)]
    assert grids[0] == grids[1]
    frame = korrin.mapping.grid_around(log.scans, 0.1)
    plain = [korrin.mapping.build_grid(each.scans, frame).image for each in (found, log, original)]
    assert (plain[0] == plain[1]).all()
    assert (plain[0] != plain[2]).mean() < 0.002


def grid_of(log):
    scans = korrin.mapping.align(log).scans
    return korrin.mapping.build_grid(scans, korrin.mapping.grid_around(scans, 0.1))
