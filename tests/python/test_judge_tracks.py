"""What scripts/judge-logs holds corrected tracks to: the figures, on cases known by hand."""

import math
import sys
from typing import NamedTuple

import numpy as np
import pytest
from conftest import DATA, PROJECT

import korrin
from korrin.mapping import LinkKind

sys.path.insert(0, str(PROJECT / "scripts"))
from judge import correcting, judge_tracks, logs, poses, relations, reposing, tracks  # noqa: E402
from judge.simulate_odometry import NO_NOISE, simulated_odometry  # noqa: E402

QUARTER = math.pi / 2


class Link(NamedTuple):
    from_: int
    to: int
    motion: tuple
    dropped: bool = False
    kind: LinkKind = LinkKind.Loop


def a_lap(count=120, laps=1.4, radius=8.0):
    """Round a circle, anticlockwise."""
    angle = np.linspace(0, 2 * np.pi * laps, count)
    return np.column_stack(
        [radius * np.cos(angle), radius * np.sin(angle), poses.turned(angle + QUARTER)]
    )


def test_a_quarter_turn_swaps_the_axes():
    assert poses.composed((1, 2, QUARTER), (3, 0.5, 0.1)) == pytest.approx((0.5, 5, QUARTER + 0.1))
    assert poses.seen_from((1, 2, QUARTER), (0.5, 5, QUARTER + 0.1)) == pytest.approx((3, 0.5, 0.1))


def test_angles_are_turned_to_half_a_circle():
    assert poses.turned([3 * QUARTER, -3 * QUARTER, 9 * math.pi]) == pytest.approx(
        [-QUARTER, QUARTER, -math.pi]
    )
    assert poses.distances((3, 4, 3 * QUARTER)) == pytest.approx((5, QUARTER))


def test_a_track_laid_over_itself_elsewhere_has_no_error():
    truth = a_lap()
    moved = poses.composed((5, -3, 2.5), truth)
    assert tracks.track_error(moved, truth) == pytest.approx((0, 0, 0), abs=1e-9)
    assert poses.rigidly_aligned(moved, truth) == pytest.approx(truth)


def test_one_scan_off_is_the_largest_error_alone():
    truth = a_lap()
    truth_and_one = truth.copy()
    truth_and_one[60, 0] += 1.2
    error = tracks.track_error(truth_and_one, truth)
    assert error.largest == pytest.approx(1.2, abs=0.03)
    assert error.median < error.most < 0.05


def test_95_in_100_are_within_the_second_figure():
    truth = np.zeros((100, 3))
    truth[:, 0] = np.arange(100)
    off = truth.copy()
    off[::10, 1] = 1.0
    off[5::10, 1] = -1.0
    error = tracks.track_error(off, truth)
    assert error.median < 0.2
    assert error.most == pytest.approx(1, abs=0.2)


def test_a_relation_by_hand():
    # From the origin a metre ahead, turned to the left; the true motion goes 0.1 m farther left,
    # and turns 0.1 radians less.
    track = np.array([(0, 0, 0), (1, 0, QUARTER)])
    shift, turn = relations.relation_errors(
        [10, 20], track, np.array([(10.0, 20.0)]), np.array([(1, 0.1, QUARTER - 0.1)])
    )
    assert shift == pytest.approx([0.1])
    assert turn == pytest.approx([math.degrees(0.1)])


def test_a_relation_does_not_see_where_the_track_lies():
    between, truth = np.array([(0.0, 2.0), (1.0, 2.0)]), np.array([(2, 1, 0.5), (1, 1, 0.5)])
    track = np.array([(0, 0, 0), (1, 0, 0), (2, 1.2, 0.5)])
    moved = poses.composed((-4, 9, 3), track)
    for each in (track, moved):
        shift, turn = relations.relation_errors([0, 1, 2], each, between, truth)
        assert shift == pytest.approx([0.2, 0.2])
        assert turn == pytest.approx([0, 0], abs=1e-9)


def test_between_two_scans_the_pose_is_between_theirs():
    track = np.array([(0, 0, 3.1), (1, 0, -3.1)])
    at = relations.poses_at([4, 6], track, [4, 4.5, 5, 6.00001])
    # Across the half turn, by the short way.
    assert np.abs(poses.turned(at[:, 2] - 3.1)) == pytest.approx(
        [0, 0.0208, 0.0416, 0.0832], abs=1e-4
    )
    assert at[:, 0] == pytest.approx([0, 0.25, 0.5, 1], abs=0.02)
    with pytest.raises(ValueError, match="no scans around the time 7.0"):
        relations.poses_at([4, 6], track, [5, 7])


def test_a_file_of_relations(tmp_path):
    file = tmp_path / "two.relations"
    file.write_text("10 20 1 0.1 9 9 9 1.5707963\n20 30 1 0 9 9 9 0\n")
    track = np.array([(0, 0, 0), (1, 0, QUARTER), (1, 1, QUARTER)])
    error = relations.relation_error([10, 20, 30], track, file)
    assert error == pytest.approx((0.05, 0.05, 0, 0), abs=1e-5)


def test_odometry_without_noise_is_the_true_track():
    truth = a_lap()
    assert simulated_odometry(truth, 1, NO_NOISE) == pytest.approx(truth)


def test_the_same_seed_gives_the_same_odometry():
    truth = a_lap()
    first = simulated_odometry(truth, 3)
    assert (first == simulated_odometry(truth, 3)).all()
    assert tracks.track_error(first, simulated_odometry(truth, 4)).largest > 0.01


def test_odometry_is_scaled_and_turned_alike_all_along():
    truth = np.column_stack([np.arange(0, 20, 0.5), np.zeros(40), np.zeros(40)])
    scaled = simulated_odometry(truth, 1, NO_NOISE._replace(scale=0.02))
    steps = np.diff(scaled[:, 0])
    assert steps == pytest.approx(np.full(39, steps[0]))
    assert steps[0] != pytest.approx(0.5, abs=1e-4)
    bent = simulated_odometry(truth, 1, NO_NOISE._replace(bias=0.01))
    turns = np.diff(bent[:, 2])
    assert turns == pytest.approx(np.full(39, turns[0]))
    assert abs(turns[0]) > 1e-4


def test_a_longer_step_turns_more():
    truth = np.zeros((3, 3))
    truth[:, 0] = 0, 0.5, 2
    bent = simulated_odometry(truth, 1, NO_NOISE._replace(bias=0.01))
    short, long = np.diff(bent[:, 2])
    assert long == pytest.approx(3 * short)


def test_noise_grows_with_the_root_of_the_step_and_of_the_turn():
    steps = 4000
    truth = np.column_stack([0.25 * np.arange(steps), np.zeros(steps), np.zeros(steps)])
    noisy = simulated_odometry(truth, 2, NO_NOISE._replace(shift=0.02))
    motions = poses.seen_from(noisy[:-1], noisy[1:])
    assert motions.std(axis=0) == pytest.approx([0.01, 0.01, 0.01], rel=0.05)
    turning = np.zeros((steps, 3))
    turning[:, 2] = poses.turned(0.16 * np.arange(steps))
    noisy = simulated_odometry(turning, 2, NO_NOISE._replace(turn=0.03))
    motions = poses.seen_from(noisy[:-1], noisy[1:])
    assert motions[:, 2].std() == pytest.approx(0.03 * 0.4, rel=0.05)
    assert motions[:, :2] == pytest.approx(0, abs=1e-12)


@pytest.mark.parametrize(
    ("metres", "degrees", "wrong"), [(0, 0, False), (0.4, 4, False), (0.6, 0, True), (0, 6, True)]
)
def test_a_loop_is_wrong_beyond_half_a_metre_or_five_degrees(metres, degrees, wrong):
    truth = np.array([(3, 1, QUARTER), (3, 2, QUARTER)])  # a metre ahead
    link = Link(0, 1, (1, metres, math.radians(degrees)))
    assert tracks.contradicting([link], truth) == ([link] if wrong else [])
    assert tracks.contradicting([], truth) == []


def test_a_loop_to_a_scan_at_fault_is_held_to_its_better_pose():
    truth = np.zeros((4, 3))
    truth[2, 2] = math.radians(6)
    at_fault = {2: reposing.Reposed(np.zeros(3), -6, 0, 0.8, 0.9)}
    right, wrong = Link(0, 2, (0, 0, 0)), Link(1, 2, (2, 0, 0), dropped=True)
    elsewhere = Link(0, 3, (1, 0, 0))
    every = [right, wrong, elsewhere]
    assert correcting.judged_loops(every, truth, at_fault) == ([(0, 3)], [(1, 2)], [(0, 2)])
    assert correcting.judged_loops(every, truth, {}) == ([(0, 2), (0, 3)], [(1, 2)], [])
    assert correcting.judged_loops(every, None, {}) == ([], [], [])


def test_the_ends_of_a_loop():
    lap = a_lap()  # 50 m a lap
    first, back = tracks.ends_of_loop(lap)
    assert first[0] == 0
    assert back[-1] == len(lap) - 1
    metres = 8 * 2 * np.pi * 1.4 / (len(lap) - 1)
    assert metres * (back[0] - first[-1]) > 30
    assert all(np.hypot(*(lap[back[0]] - lap[first])[:, :2].T) > 0)
    assert tracks.ends_of_loop(a_lap(laps=0.9)) == ([], [])


@pytest.fixture
def hall():
    """20 m x 20 m, with pillars that make each place unlike others."""
    map = korrin.OccupancyMap(400, 400, 0.05)
    map.params.origin = korrin.Pose2D(-10, -10, 0)
    map.reset(1)
    map.image[[0, -1], :] = 0
    map.image[:, [0, -1]] = 0
    for x, y in ((60, 90), (200, 200), (310, 80), (330, 350), (90, 300), (220, 30)):
        map.image[y : y + 20, x : x + 12] = 0
    return map


def scans_in(map, places):
    model = korrin.ScanModel(181, 30, math.pi)
    return [
        korrin.LoggedScan(korrin.occ_map_simulate_scan(map, model, place, 0.45), place)
        for place in places.tolist()
    ]


def test_ends_that_do_not_meet_are_told_apart(hall):
    lap = a_lap(count=60)
    scans = scans_in(hall, lap)
    assert tracks.gaps_at_ends(scans).max() < 0.06
    first, back = tracks.ends_of_loop(lap)
    drifted = lap.copy()
    drifted[back, 0] += 0.4
    gaps = tracks.gaps_at_ends(logs.with_poses(scans, drifted))
    assert len(gaps) > 5
    assert np.median(gaps) == pytest.approx(0.4, abs=0.05)


def test_a_scan_that_is_turned_in_a_log_is_found_out(hall):
    lap = a_lap(count=60)
    scans = scans_in(hall, lap)
    lap[30, 2] += math.radians(5)
    found = reposing.reposed(logs.with_poses(scans, lap), 30)
    assert found.degrees == pytest.approx(-5, abs=0.6)
    assert found.metres < 0.1
    assert found.likelihood_after > found.likelihood_before + 0.05


def test_a_scan_does_not_speak_for_itself(hall):
    places = np.array([(6, 0, 1.2), (6.1, 0, 1.2)])
    scans = scans_in(hall, places)
    places[1, 2] += math.radians(5)
    found = reposing.reposed(logs.with_poses(scans, places), 1)
    assert found.degrees == pytest.approx(-5, abs=1)


def test_only_scans_that_are_indeed_turned_are_at_fault(hall, monkeypatch):
    scans = scans_in(hall, a_lap(count=60))
    monkeypatch.setattr(judge_tracks, "TURNED_IN_TRUTH", {"hall": {30: -5}})
    assert judge_tracks.scans_at_fault("hall", scans) == {}
    lap = a_lap(count=60)
    lap[30, 2] += math.radians(5)
    turned = logs.with_poses(scans, lap)
    assert list(judge_tracks.scans_at_fault("hall", turned)) == [30]
    assert judge_tracks.scans_at_fault("another", turned) == {}
    monkeypatch.setattr(judge_tracks, "TURNED_IN_TRUTH", {"hall": {30: 5}})
    assert judge_tracks.scans_at_fault("hall", turned) == {}


def test_a_log_is_read_by_its_clock(tmp_path):
    scans = [korrin.LoggedScan(korrin.Scan([1 + i], 0, 0), (i, 0), time=10 + i) for i in range(4)]
    korrin.write_log(korrin.LaserLog([scans[0], scans[2], scans[1], scans[3]]), tmp_path / "a.log")
    korrin.write_log(korrin.LaserLog(scans), tmp_path / "b.log")
    log, other = logs.read_timed(tmp_path / "a.log"), logs.read_timed(tmp_path / "b.log")
    assert log.moved == [1, 2]
    assert other.moved == []
    assert log.times.tolist() == [10, 11, 12, 13]
    assert log.poses[:, 0].tolist() == [0, 1, 2, 3]
    logs.check_same_scans(log.scans, other.scans)
    with pytest.raises(ValueError, match="scan 1 saw something else"):
        logs.check_same_scans([scans[i] for i in (0, 2, 1, 3)], scans)
    with pytest.raises(ValueError, match="3 scans, but 4"):
        logs.check_same_scans(scans[:3], scans)


def test_a_corrected_log_and_its_true_relations():
    raw_file = DATA / "logs" / "intel-raw.log.gz"
    if not raw_file.exists():
        pytest.skip(f"{raw_file} is not there")
    raw = logs.read_timed(raw_file)
    others = logs.read_timed(DATA / "logs" / "intel-corrected.log.gz")
    logs.check_same_scans(raw.scans, others.scans)
    assert others.moved == [294, 295, 600, 601, 626, 627, 724, 725]
    error = relations.relation_error(
        raw.times, others.poses, DATA / "benchmarks" / "intel.relations"
    )
    assert error == pytest.approx((0.036, 0.027, 0.42, 0.46), abs=0.006)
