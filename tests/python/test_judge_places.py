"""What scripts/judge-logs holds locations to, and how its tables tell of rows that are short."""

import importlib.machinery
import importlib.util
import math
import sys

import numpy as np
import pytest
from conftest import PROJECT

import korrin

sys.path.insert(0, str(PROJECT / "scripts"))
from judge import judge_locate, judge_tracks, locating, table, tracks  # noqa: E402
from judge.correcting import Run  # noqa: E402
from judge.logs import TimedLog  # noqa: E402
from judge.relations import RelationError  # noqa: E402

GOOD = judge_locate.Placed(1, 0.1, 0.01, 0.9, 0.95, "clear")


def room(pillars):
    """8 m x 5 m, its world origin in a corner."""
    map = korrin.OccupancyMap(160, 100, 0.05)
    map.reset(1)
    map.image[[0, -1], :] = 0
    map.image[:, [0, -1]] = 0
    for x, y in pillars:
        map.image[y : y + 8, x : x + 8] = 0
    return map


def scan_at(map, pose):
    model = korrin.ScanModel(240, 20, 4.7)
    return korrin.LoggedScan(korrin.occ_map_simulate_scan(map, model, pose, 0.45), pose)


def located_in(map, pose):
    search = korrin.PoseSearch(map, tracks.THRESHOLD, tracks.MAX_DIST)
    return locating.located(search, scan_at(map, pose), locating.everywhere(map))


def test_a_place_like_no_other_is_found_between_the_steps():
    pose = korrin.Pose2D(2.32, 3.17, 0.7)
    answer = located_in(room([(30, 20), (100, 70)]), pose)
    assert answer.verdict == "clear"
    metres, radians = locating.apart(answer.pose, pose)
    assert metres < 0.03
    assert radians < math.radians(0.4)


def test_a_bare_room_looks_alike_from_both_ends():
    assert located_in(room([]), korrin.Pose2D(2.32, 3.17, 0.7)).verdict == "ambiguous"


def test_what_fits_nowhere_is_poor():
    map = room([])
    scattered = np.random.default_rng(1).uniform(0.5, 9, 200)
    elsewhere = korrin.LoggedScan(korrin.Scan(scattered, -3, 6 / 200), (2, 2))
    search = korrin.PoseSearch(map, tracks.THRESHOLD, tracks.MAX_DIST)
    assert locating.located(search, elsewhere, locating.everywhere(map)).verdict == "poor"


def test_refining_ends_no_lower_than_it_began():
    map, pose = room([(30, 20)]), korrin.Pose2D(5.03, 2.02, -1.23)
    search = korrin.PoseSearch(map, tracks.THRESHOLD, tracks.MAX_DIST)
    points = scan_at(map, pose).scan.to_point2d()
    begun = korrin.Pose2D(5.06, 2.0, -1.24)
    assert locating.refined(search, points, begun).score > search.score(points, begun)


def test_every_odd_scan_of_a_room_is_placed():
    map = room([(30, 20), (100, 70)])
    poses = [korrin.Pose2D(1.5 + 0.2 * i, 2.4, 0.1 * i) for i in range(24)]
    log = TimedLog([scan_at(map, pose) for pose in poses], [], 0.0)
    places = judge_locate.place("room", log, 100)
    assert [p.scan for p in places.placed] == list(range(1, 24, 2))
    assert all(p.good and p.metres < 0.15 for p in places.placed)
    assert judge_locate.place("room", log, 5).placed == judge_locate.place("room", log, 5).placed
    assert len(judge_locate.place("room", log, 5).placed) == 5


@pytest.mark.parametrize(
    ("changed", "good"),
    [
        ({}, True),
        ({"metres": 0.16}, False),
        ({"radians": math.radians(2.1)}, False),
        ({"metres": 9, "score": 0.95}, True),
        ({"radians": 3, "score": 0.94}, False),
    ],
)
def test_a_scan_is_placed_well_near_its_pose_or_with_no_lower_score(changed, good):
    assert GOOD._replace(**changed).good is good


def test_five_bad_places_in_a_hundred_are_let_pass_and_six_are_not():
    bad = GOOD._replace(metres=0.3)
    for count, met in ((5, True), (6, False)):
        placed = [bad] * count + [GOOD] * (100 - count)
        row = judge_locate.rows_of([judge_locate.Places("room", placed, 7, 1.0)])[0]
        assert row.met is met
        assert row.measured == f"{100 - count} of 100"


@pytest.mark.parametrize(("verdict", "met"), [("clear", False), ("ambiguous", True)])
def test_another_place_must_be_said_to_be_ambiguous(verdict, met):
    stray = GOOD._replace(metres=5, score=0.99, verdict=verdict)
    rows = judge_locate.rows_of([judge_locate.Places("room", [GOOD, stray], 7, 1.0)])
    assert [row.met for row in rows] == [True, met]


def test_a_short_row_is_shown_as_short():
    rows = [table.Row("work", "2", "1", False), table.Row("more", "2", "3", True)]
    assert table.as_markdown(rows).splitlines()[2:] == [
        "| work | 2 | 1 | **no** |",
        "| more | 2 | 3 | yes |",
    ]
    page = "a\n<!-- table: x -->\nold\n<!-- end of table -->\nb\n"
    assert table.replaced(page, "x", "new").splitlines() == [
        "a", "<!-- table: x -->", "", "new", "", "<!-- end of table -->", "b",
    ]
    assert table.span([0.5, 0.25], 2) == "0.25 to 0.50"
    assert table.span([0.251, 0.249], 2) == "0.25"


def a_run(**changed):
    error, relations = tracks.TrackError(0.06, 0.15, 0.3), RelationError(0.04, 0.02, 0.5, 0.4)
    run = Run("a", error, error, relations, relations, 0.95, 100, 3, [], [], [], 12.5)
    return run._replace(**changed)


@pytest.fixture
def judge(tmp_path):
    return judge_tracks.TrackJudge(tmp_path, tmp_path, lambda text: None)


def test_wrong_loops_are_counted_whether_dropped_or_not(judge):
    judge.runs = [a_run(), a_run(before=None, wrong=[(1, 2)]), a_run(excused=[(3, 4)])]
    judge.judge_loops()
    assert [row.met for row in judge.rows] == [True, True]
    assert judge.rows[0].measured == (
        "0 of 194; 1 more to a scan that is turned in the corrected log"
    )
    judge.rows, judge.runs = [], [a_run(wrong=[(1, 2)]), a_run(wrong_dropped=[(3, 4), (5, 6)])]
    judge.judge_loops()
    assert [(row.measured, row.met) for row in judge.rows] == [
        ("1 of 194", False),
        ("2 of 6 dropped", False),
    ]


def test_one_bad_simulation_in_fifteen_is_let_pass_and_two_are_not(judge, monkeypatch):
    for bad, met in ((1, True), (2, False)):
        good = [tracks.TrackError(0.25, 0.6, 1)] * 15
        runs = (a_run(after=after) for after in [tracks.TrackError(0.1, 0.61, 1)] * bad + good)
        monkeypatch.setattr(
            judge, "simulated_runs", lambda name, seeds: [next(runs) for _ in range(seeds)]
        )
        judge.rows = []
        judge.judge_simulated(5)
        assert [row.met for row in judge.rows] == [False, True, True, met, True]
        assert judge.rows[3].measured == f"{15 - bad} of 15"


def test_relations_are_held_to_six_centimetres(judge, monkeypatch):
    for metres, met in ((0.06, True), (0.061, False)):
        error = RelationError(metres, 0.02, 0.5, 0.4)
        runs = [a_run(), a_run(relations_after=error)]
        monkeypatch.setattr(judge, "simulated_runs", lambda name, seeds: runs)
        judge.rows = []
        judge.judge_simulated(2)
        assert judge.rows[-1].met is met


def script():
    loader = importlib.machinery.SourceFileLoader("judge_logs", str(PROJECT / "scripts/judge-logs"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("judge_logs", loader))
    loader.exec_module(module)
    return module


@pytest.mark.parametrize(("met", "status"), [(True, 0), (False, 1)])
def test_the_script_fails_when_a_row_is_short(met, status, tmp_path, monkeypatch, capsys):
    judge_logs = script()
    row = table.Row("places", "all", "none", met)
    monkeypatch.setattr(judge_logs, "DATA", tmp_path)
    monkeypatch.setattr(judge_logs, "judged_places", lambda options: ([row], {"locate": "text"}))
    monkeypatch.setattr(sys, "argv", ["judge-logs", "--only", "locate", "--out", str(tmp_path)])
    assert judge_logs.main() == status
    heard = capsys.readouterr()
    assert ("short: places" in heard.err) is not met
    assert "| places | all | none |" in heard.out


def test_without_logs_nothing_is_judged(tmp_path, monkeypatch, capsys):
    judge_logs = script()
    monkeypatch.setattr(judge_logs, "DATA", tmp_path / "none")
    monkeypatch.setattr(sys, "argv", ["judge-logs"])
    assert judge_logs.main() == 2
    assert "nothing was judged" in capsys.readouterr().err


def test_a_track_of_the_truth_is_as_good_as_it_gets():
    truth = np.column_stack([np.arange(9.0), np.zeros(9), np.zeros(9)])
    assert tracks.track_error(truth, truth) == pytest.approx((0, 0, 0))
