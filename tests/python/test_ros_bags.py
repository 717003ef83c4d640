"""Bags of ROS 1 as laser logs: written here with rosbag, and read."""

import math
import os

import numpy as np
import pytest
import ros_bags as bags
import ros_model
from conftest import DATA

import korrin
import korrin.mapping
import korrin.ros

SECOND = 10**9
THERE = r"/odom \(nav_msgs/Odometry\), /scan \(sensor_msgs/LaserScan\)"
INTEL = DATA / "logs" / "intel-raw.log.gz"
# Of that log; scripts/check-logs has all of them compared, which takes a minute.
SCANS = int(os.environ.get("KORRIN_ROS_SCANS", "250"))


def test_a_scan_is_where_odometry_was_at_its_stamp(bag):
    bag.odometry(1 * SECOND, (4, 5, 0.5))
    bag.scan(1 * SECOND, [1.5, 30, 2.5])
    log = bags.read(bag, laser_pose=(0, 0, 0))
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
    [logged] = bags.read(bag, laser_pose=(1, 0.25, 0.5)).scans
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
    for stamp, logged in zip(asked, bags.read(bag, laser_pose=(0, 0, 0)).scans, strict=True):
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
    log = bags.read(bag, laser_pose=(0, 0, 0))
    assert [logged.time for logged in log.scans] == [2, 3]
    assert [logged.line for logged in log.scans] == [2, 3]
    assert log.complaint == "3 scans were taken outside the times of the odometry, and left out"


def test_odometry_may_come_in_any_order_and_twice(bag):
    for stamp, x in ((3, 3), (1, 7), (2, 2), (1, 1)):
        bag.odometry(stamp * SECOND, (x, 0, 0))
    bag.scan(1 * SECOND, [1])
    bag.scan(5 * SECOND // 2, [1])
    assert [logged.robot.x for logged in bags.read(bag, laser_pose=(0, 0, 0)).scans] == [1, 2.5]


def test_misses_clear_their_way_when_asked_to(bag):
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [4, 30, math.inf, math.nan])
    [logged] = bags.read(bag, laser_pose=(0, 0, 0), misses_clear=True).scans
    assert logged.scan.readings["weight"].tolist() == [1, 1, 1, 0]


def test_the_range_of_no_return_is_told(bag):
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [4], range_max=50)
    assert bags.read(bag, laser_pose=(0, 0, 0)).no_return == 0
    bag.scan(0, [math.inf], range_max=math.inf)
    assert bags.read(bag, laser_pose=(0, 0, 0)).no_return == 50


def test_readings_beyond_the_maximum_met_nothing(bag):
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [4, 5, 6, 30, math.nan])
    [logged] = bags.read(bag, laser_pose=(0, 0, 0), max_range=5).scans
    assert logged.scan.readings["range"].tolist() == [4, 5, 5, 5, 0]
    assert logged.scan.readings["status"].tolist() == [0, 1, 1, 1, 1]
    assert logged.scan.readings["weight"].tolist() == [1, 1, 1, 0, 0]


@pytest.mark.parametrize(
    "options, told",
    [
        (("/lidar",), rf"no topic /lidar; there are: {THERE}"),
        (("/scan", "/wheels"), rf"no topic /wheels; there are: {THERE}"),
        (("/odom",), rf"/odom: wanted sensor_msgs/LaserScan, found nav_msgs/Odometry; there are: {THERE}"),
        (("scan", "odom"), "no transform from base_link to laser; give laser_pose, .*: no transforms"),
    ],
)
def test_what_is_missing_is_told(bag, options, told):
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1])
    with pytest.raises(ValueError, match=f"one.bag: {told}"):
        bags.read(bag, *options)


def test_faulty_messages_are_passed_over_and_told(bag):
    bag.odometry(0, (0, 0, 0))
    bag.odometry(5, (0, 0, 0), (0.0, 0.0, 0.0, 0.0))
    bag.scan(0, [1], range_max=math.nan)
    bag.scan(0, [2])
    log = bags.read(bag, laser_pose=(0, 0, 0))
    assert [logged.line for logged in log.scans] == [2]
    told = "2 messages could not be read, the first is odometry at 0.000000005: pose.pose"
    assert log.complaint.startswith(told)


def test_a_bag_of_which_no_scan_is_left_is_told(bag):
    bag.odometry(1, (0, 0, 0))
    bag.odometry(2, (1, 0, 0))
    bag.scan(3, [1])
    told = "no scan can be used: 1 scan was taken outside the times of the odometry, and left out"
    with pytest.raises(ValueError, match=f"one.bag: {told}"):
        bags.read(bag, laser_pose=(0, 0, 0))


def test_what_never_changed_holds_for_all_times(bag):
    bag.odometry(SECOND, (4, 5, 0.5))
    bag.odometry(2 * SECOND, (4, 5, 0.5))
    bag.scan(9 * SECOND, [1])
    assert bags.read(bag, laser_pose=(0, 0, 0)).scans[0].pose == korrin.Pose2D(4, 5, 0.5)


def test_a_maximum_that_is_none_is_refused(bag):
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1])
    with pytest.raises(ValueError, match="max_range: wanted a finite number, found nan"):
        bags.read(bag, laser_pose=(0, 0, 0), max_range=math.nan)


@pytest.mark.parametrize("compression", ["none", "bz2", "lz4"])
def test_packed_bags_are_read(tmp_path, compression):
    bag = bags.Writer(tmp_path / "packed.bag", compression)
    bag.odometry(0, (0, 0, 0))
    bag.scan(0, [1, 2, 3])
    assert len(bags.read(bag, laser_pose=(0, 0, 0)).scans[0].scan) == 3


def test_files_that_are_no_bags(tmp_path):
    with pytest.raises(FileNotFoundError):
        korrin.ros.read_bag(tmp_path / "none.bag")
    file = tmp_path / "text.bag"
    for text in (b"", b"FLASER 1 1\n", b"#ROSBAG V2.0\n", b"#ROSBAG V2.0\nabc", b"#ROSBAG V1.0\n"):
        file.write_bytes(text)
        with pytest.raises(ValueError, match="text.bag: "):
            korrin.ros.read_bag(file)


def test_a_bag_without_index_is_told(bag, tmp_path):
    for stamp in range(3):
        bag.odometry(stamp, (0, 0, 0))
    file = tmp_path / "early.bag"
    file.write_bytes(bag.unindexed())
    with pytest.raises(ValueError, match="early.bag: the bag has no index; `rosbag reindex` makes one"):
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


def test_a_recorded_log_gives_the_same_grid(tmp_path):
    """The first SCANS of a log of the field, as a bag."""
    if not INTEL.exists():
        pytest.skip(f"no logs in {DATA}")
    log = korrin.read_log(INTEL)
    log.scans = log.scans[:SCANS]
    bag = bags.Writer(tmp_path / "intel.bag")
    bags.write_log(bag, log)
    found = bags.read(bag)
    assert (found.no_return, found.complaint) == (log.no_return, "")
    misses = 0
    for one, other in zip(found.scans, log.scans, strict=True):
        assert one.scan == other.scan
        assert (one.pose, one.robot, one.time) == (other.pose, other.robot, other.time)
        misses += (one.scan.readings["status"] == 1).sum()
    assert misses > 10
    assert grid_of(found) == grid_of(log)


def grid_of(log):
    scans = korrin.mapping.align(log).scans
    return korrin.mapping.build_grid(scans, korrin.mapping.grid_around(scans, 0.1))
