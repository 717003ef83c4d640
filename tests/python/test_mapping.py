"""Logs are aligned, graphs solved and grids built."""

import copy
import inspect
import pickle

import numpy as np
import pytest
from conftest import DATA
from value_examples import MAPPING_EXAMPLES

import korrin
from korrin import mapping


def floor():
    """Two rooms of 4 m x 5 m side by side, with a pillar each and a doorway between them."""
    map = korrin.OccupancyMap(170, 110, 0.05)
    map.reset(1)
    cells = map.image
    cells[:4], cells[-4:], cells[:, :4], cells[:, -4:] = 0, 0, 0, 0
    cells[:42, 83:87], cells[64:, 83:87] = 0, 0
    cells[74:84, 22:32], cells[20:28, 128:136] = 0, 0
    return map


def drive(count=40):
    way = np.linspace(0, 1, count)
    there = np.column_stack([1.2 + 5.8 * way, 2.6 + 0.2 * np.sin(6 * way), np.sin(9 * way)])
    return [korrin.Pose2D(pose) for pose in np.vstack([there, there[::-1]]).astype(np.float32)]


def slipping(poses, drift=0.01):
    told = [poses[0]]
    for before, after in zip(poses, poses[1:]):
        x, y, turn = before.rel_project(after)
        told.append(told[-1].abs_project((1.05 * x, 1.05 * y, turn + drift)))
    return told


def log_of(poses, told):
    laser = korrin.ScanModel(181, 12, 3.1)
    scans = [korrin.occ_map_simulate_scan(floor(), laser, pose, 0.45) for pose in poses]
    return korrin.LaserLog(
        [korrin.LoggedScan(scan, pose, time=i) for i, (scan, pose) in enumerate(zip(scans, told))]
    )


TRUTH = drive()
LOG = log_of(TRUTH, slipping(TRUTH))


def worst_error(poses):
    return max(np.hypot(is_.x - was.x, is_.y - was.y) for is_, was in zip(poses, TRUTH))


def test_a_log_is_aligned():
    aligned = mapping.align(LOG)
    assert worst_error([logged.pose for logged in LOG.scans]) > 0.5
    assert worst_error([logged.pose for logged in aligned.scans]) < 0.1
    assert aligned.kind == mapping.AlignmentKind.Aligned
    assert [logged.time for logged in aligned.scans] == list(range(len(TRUTH)))
    assert all(a.scan == b.scan for a, b in zip(aligned.scans, LOG.scans))
    assert aligned.summary.scans == len(TRUTH)
    assert aligned.summary.key_scans == len(aligned.key_scans)
    loops = [link for link in aligned.links if link.kind == mapping.LinkKind.Loop]
    assert len(loops) == aligned.summary.loops_accepted > 0
    assert mapping.align(LOG.scans) == aligned


def test_the_robot_moves_with_its_laser():
    scans = [copy.copy(logged) for logged in LOG.scans]
    for logged in scans:
        logged.robot = logged.pose.abs_project((-0.2, 0.1, 0.5))
    for logged in mapping.align(scans).scans:
        assert np.allclose(logged.pose.rel_project(logged.robot), (-0.2, 0.1, 0.5), atol=1e-5)


def test_scans_are_aligned_one_by_one():
    aligner = mapping.ScanAligner(mapping.AlignerSettings(key_distance=0.2))
    found = [aligner.add(logged.scan, logged.pose) for logged in LOG.scans]
    assert isinstance(found[0], korrin.Pose2D)
    poses = aligner.poses()
    assert poses.shape == (len(TRUTH), 3)
    assert poses.dtype == np.float32
    assert korrin.Pose2D(poses[-1]) == found[-1]
    assert worst_error([korrin.Pose2D(pose) for pose in poses]) < 0.15
    summary = aligner.summary()
    assert summary.scans == len(TRUTH)
    graph = aligner.graph()
    assert len(graph.nodes) == len(aligner.key_scans()) == summary.key_scans
    assert len(graph.edges) == len(aligner.links()) - summary.loops_dropped
    assert repr(aligner) == (
        f"<ScanAligner of {summary.scans} scans, {summary.key_scans} of them key scans, "
        f"with {summary.loops_accepted - summary.loops_dropped} loops>"
    )


def test_an_aligner_is_no_value():
    for copied in (copy.copy, copy.deepcopy, pickle.dumps):
        with pytest.raises(TypeError, match="cannot be copied or pickled"):
            copied(mapping.ScanAligner())


def test_a_setting_that_makes_no_sense_is_named():
    with pytest.raises(ValueError, match="keyDistance: must be above 0"):
        mapping.ScanAligner(mapping.AlignerSettings(key_distance=0))
    with pytest.raises(ValueError, match="resolution: must be above 0"):
        mapping.align(LOG, resolution=float("nan"))
    with pytest.raises(TypeError, match="log: wanted LoggedScans, found Scan as number 0"):
        mapping.align([korrin.Scan()])


def test_progress_is_told_and_may_end_the_work():
    shares = []
    mapping.align(LOG, progress=shares.append)
    assert shares == sorted(shares)
    assert 0 < shares[0] < 0.1
    assert shares[-1] == 1

    def stop(share):
        if share > 0.3:
            raise KeyboardInterrupt(share)

    with pytest.raises(KeyboardInterrupt):
        mapping.align(LOG, progress=stop)
    with pytest.raises(ZeroDivisionError):
        mapping.build_grid(LOG, mapping.grid_around(LOG, 0.1), progress=lambda share: 1 / 0)


def test_a_grid_is_built_and_judged():
    aligned = mapping.align(LOG)
    frame = mapping.grid_around(aligned.scans, 0.05)
    map = mapping.build_grid(aligned.scans, frame)
    assert map.params == frame
    assert set(np.unique(map.image)) == {0, 0.5, 1}
    cropped = mapping.cropped_to_free(map)
    assert cropped.image.sum() > 0
    good = mapping.judge_grid(cropped, aligned.scans)
    bad = mapping.judge_grid(mapping.build_grid(LOG, mapping.grid_around(LOG, 0.05)), LOG)
    assert good.likelihood > bad.likelihood + 0.05
    assert good.scans_compared == len(TRUTH)
    assert mapping.judge_grid(cropped, aligned.scans, samples=10).scans_compared == 10
    assert mapping.grid_around([], 0.05) is None


def test_graphs_are_solved_written_and_read(tmp_path):
    graph = mapping.PoseGraph([(0, 0, 0), (1.3, 0.1, 0)], [mapping.GraphEdge(0, 1, (1, 0, 0.1))])
    before = graph.squared_residual(graph.edges[0])
    assert before == pytest.approx(0.3**2 + 0.1**2 + 0.1**2)
    solution = graph.solve()
    assert solution.converged
    assert solution.cost_before == pytest.approx(before / 2)
    assert graph.nodes[1] == pytest.approx((1, 0, 0.1), abs=1e-6)
    assert mapping.parse_g2o(mapping.to_g2o(graph)) == graph
    mapping.write_g2o(graph, tmp_path / "graph.g2o")
    assert mapping.read_g2o(str(tmp_path / "graph.g2o")) == graph
    with pytest.raises(ValueError, match="line 1: must begin with VERTEX_SE2"):
        mapping.parse_g2o("nothing")
    with pytest.raises(ValueError, match="edge 0: a node that is not there"):
        mapping.PoseGraph([(0, 0, 0)], [mapping.GraphEdge(0, 1)]).solve()
    with pytest.raises(ValueError, match="motion: wanted 3 numbers, found 2"):
        mapping.GraphEdge(0, 1, (1, 2))
    with pytest.raises(TypeError, match="motion: wanted 3 numbers, found 7"):
        mapping.GraphEdge(0, 1, 7)


def test_the_graph_of_an_alignment_fits_its_poses():
    aligned = mapping.align(LOG)
    graph = mapping.graph_of(aligned)
    assert len(graph.nodes) == len(aligned.key_scans)
    assert len(graph.edges) == sum(not link.dropped for link in aligned.links)
    offs = []
    for edge, link in zip(graph.edges, [link for link in aligned.links if not link.dropped]):
        seen = mapping.seen_from(graph.nodes[edge.from_], graph.nodes[edge.to])
        if link.kind != mapping.LinkKind.Odometry:
            offs.append(np.hypot(seen.x - edge.motion.x, seen.y - edge.motion.y))
    assert np.median(offs) < 0.02


def test_tracks_are_written(tmp_path):
    mapping.write_track(LOG, tmp_path / "way.log.gz", no_return=50)
    back = korrin.read_log(tmp_path / "way.log.gz")
    assert [logged.pose for logged in back.scans] == [logged.pose for logged in LOG.scans]
    mapping.write_track(LOG, tmp_path / "way.tum")
    first = (tmp_path / "way.tum").read_text().splitlines()[0]
    assert first.startswith("0.000000 1.200000 2.600000 0 0 0 ")
    with pytest.raises(OSError):
        mapping.write_track(LOG, tmp_path / "none" / "way.tum")


@pytest.mark.parametrize("name", sorted(set(mapping.__all__) - {"ScanAligner"}))
def test_every_class_is_a_value(name):
    if not inspect.isclass(getattr(mapping, name)):
        return
    for value in MAPPING_EXAMPLES[name]:
        for back in (pickle.loads(pickle.dumps(value)), copy.copy(value), copy.deepcopy(value)):
            assert type(back) is type(value) is getattr(mapping, name)
            assert back == value
            assert repr(back) == repr(value)
        assert name in repr(value)
        assert type(value).__module__ == "korrin.mapping"


def test_a_recorded_log_without_its_corrections():
    file = DATA / "logs" / "telecom_faculty_loop.log.gz"
    if not file.exists():
        pytest.skip(f"{file} is not there")
    log = korrin.LaserLog(korrin.read_log(file).scans[:60])
    aligned = mapping.align(log)
    map = mapping.build_grid(aligned.scans, mapping.grid_around(aligned.scans, 0.05))
    was = mapping.build_grid(log, mapping.grid_around(log, 0.05))
    better = mapping.judge_grid(map, aligned.scans).likelihood
    assert better >= mapping.judge_grid(was, log).likelihood
