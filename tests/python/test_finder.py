"""The path finder, its log records and its threads."""

import gc
import logging
import threading

import numpy as np
import pytest

import korrin


def big_free_map(side=600):
    map = korrin.OccupancyMap(side, side, 0.05)
    map.reset(1)
    return map


def test_a_path_is_an_array_of_poses(room):
    path = korrin.OccMapPathFinder(room, 0.0).compute_path((1, 1, 0), (4, 3, 0))
    assert path.dtype == np.float32
    assert path.shape == (61, 3)
    assert np.allclose(path[[0, -1]], [(1, 1, 0), (4, 3, 0)])


def test_cells_are_asked_for_by_type_or_keyword(room):
    finder = korrin.OccMapPathFinder(room)
    cells = finder.compute_path(korrin.Pose2Di(20, 20, 1), korrin.Pose2Di(24, 20, 0))
    assert cells[:, 0].tolist() == [20, 21, 22, 23, 24]
    assert cells[:, 2].tolist() == [1, 0, 0, 0, 0]
    again = finder.compute_path(start_cell=(20, 20, 1), end_cell=(24, 20, 0))
    assert (again == cells).all()
    # One of the two is a cell, so that the tuple is one, too.
    assert len(finder.compute_path(korrin.Pose2Di(20, 20, 1), (24, 20, 0))) == 5


@pytest.mark.parametrize(
    "ends, message, level, line",
    [
        (((0, 0, 0), (1, 1, 0)), "Start is not free.", "Warning", 232),
        (((1, 1, 0), (99, 1, 0)), "End is not free.", "Warning", 237),
        (((1, 1, 0), (4, 1, 0)), "No path could be found.", "Error", 269),
    ],
)
def test_a_failure_is_an_empty_path_and_one_record(room, records, ends, message, level, line):
    room.image[:, 50] = 0
    path = korrin.OccMapPathFinder(room).compute_path(*ends)
    assert path.shape == (0, 3)
    assert [(r.message, r.level.name, r.line) for r in records] == [(message, level, line)]
    assert records[0].file == "src/occmap_path_finder"
    assert records[0].function == "xDoComputePath"


def test_records_go_to_logging(room, caplog):
    with caplog.at_level(logging.INFO, logger="korrin"):
        korrin.OccMapPathFinder(room).compute_path((0, 0, 0), (1, 1, 0))
        korrin.complete_log(korrin.NavLogLevel.Info, "100% fine", "src/x", "f", 3)
    assert [(r.levelname, r.getMessage()) for r in caplog.records] == [
        ("WARNING", "Start is not free."),
        ("INFO", "100% fine"),
    ]
    assert caplog.records[0].name == "korrin"
    assert caplog.records[0].lineno == 232
    assert caplog.records[0].pathname == "src/occmap_path_finder"
    assert caplog.records[0].funcName == "xDoComputePath"


def test_by_default_a_success_is_silent_and_a_level_without_a_name_is_heard(caplog):
    assert not logging.getLogger("korrin").isEnabledFor(logging.INFO)
    for level in (korrin.NavLogLevel.Info, korrin.NavLogLevel(-5), korrin.NavLogLevel(7)):
        korrin.complete_log(level, f"level {int(level)}", "src/x", "f", 3)
    assert [(r.levelname, r.getMessage()) for r in caplog.records] == [
        ("WARNING", "level -5"),
        ("WARNING", "level 7"),
    ]


def test_a_receiver_may_plan_itself(room):
    finder = korrin.OccMapPathFinder(room)
    answers = []
    previous = korrin.set_log_sink(
        lambda record: answers.append(len(finder.compute_path((1, 1, 0), (2, 1, 0))))
    )
    finder.compute_path((0, 0, 0), (1, 1, 0))
    korrin.set_log_sink(previous)
    assert answers == [21]


def test_what_a_receiver_raises_reaches_the_caller(room):
    def fail(record):
        raise KeyError(record.message)

    previous = korrin.set_log_sink(fail)
    with pytest.raises(KeyError, match="Start"):
        korrin.OccMapPathFinder(room).compute_path((0, 0, 0), (1, 1, 0))
    with pytest.raises(KeyError, match="direct"):
        korrin.complete_log(korrin.NavLogLevel.Info, "direct", "", "", 0)
    assert korrin.set_log_sink(previous) is fail
    assert len(korrin.OccMapPathFinder(room).compute_path((1, 1, 0), (2, 1, 0))) == 21


def test_a_receiver_must_be_callable():
    with pytest.raises(TypeError):
        korrin.set_log_sink(7)


def test_a_finder_keeps_its_map():
    finder = korrin.OccMapPathFinder(big_free_map(40))
    gc.collect()
    assert len(finder.compute_path((0, 0, 0), (1, 0, 0))) == 21
    finder.set_occ_map(big_free_map(10))
    gc.collect()
    assert finder.compute_path((0, 0, 0), (1, 0, 0)).shape == (0, 3)
    assert finder.occ_map.params.width == 10
    finder.occ_map = None
    assert finder.compute_path((0, 0, 0), (0, 0, 0)).shape == (0, 3)


def test_without_a_map_or_factor_there_is_no_plan(records):
    finder = korrin.OccMapPathFinder(None)
    finder.compute_path((0, 0, 0), (0, 0, 0))
    finder.set_occ_map(big_free_map(10))
    finder.coarse_factor = 0
    finder.compute_path((0, 0, 0), (0, 0, 0))
    assert "occMap" in records[0].message
    assert "coarseFactor" in records[1].message


def test_the_search_can_be_looked_at(room):
    finder = korrin.OccMapPathFinder(room)
    assert finder.cell_states is None
    path = finder.compute_path(start_cell=(20, 20, 0.5), end_cell=(24, 22, 0))
    states, nodes, closed = finder.cell_states, finder.nodes, finder.closed_nodes
    assert states.shape == finder.cell_nodes.shape == (80, 100)
    assert (states == 2).sum() == len(closed) == finder.num_iterations
    assert (states == 1).sum() == len(finder.open_list)
    assert len(nodes) == (states != 0).sum()
    assert closed[-1][["x", "y"]].item() == (24, 22)
    assert closed[0]["parent"] == -1
    assert closed[0]["theta"] == 0.5
    assert (finder.x_build_path() == path).all()
    assert finder.start == korrin.Pose2Di(20, 20, 0.5)
    assert finder.x_get_cell_state((24, 22, 0)) == 2
    assert finder.nodes[finder.x_get_cell_node((24, 22, 0))]["y"] == 22
    first = finder.nodes[finder.open_list[0]]
    assert finder.x_find_node((first["x"], first["y"], 0)).f == first["f"]
    assert finder.x_find_node((-1, 0, 0)) is None


def test_entries_off_the_searched_map_are_refused(room):
    finder = korrin.OccMapPathFinder(room)
    for cell in [(0, 0, 0), (-1, 0, 0)]:
        with pytest.raises(IndexError):
            finder.x_get_cell_state(cell)
    finder.compute_path((1, 1, 0), (2, 1, 0))
    # A refused request leaves the arrays as they are, but not the coarse map.
    finder.set_occ_map(big_free_map(200))
    finder.compute_path((99, 99, 0), (1, 1, 0))
    assert finder.coarse_map.params.width == 200
    assert finder.cell_states.shape == (80, 100)
    assert finder.x_get_cell_state((99, 79, 0)) == 0
    for cell in [(100, 0, 0), (0, 80, 0), (150, 150, 0), (-1, 5, 0)]:
        with pytest.raises(IndexError):
            finder.x_get_cell_node(cell)
    finder.coarse_map = korrin.OccupancyMap(3, 3, 1)
    assert finder.x_find_path() is False


def test_a_node_off_the_map_is_not_filed(room, records):
    finder = korrin.OccMapPathFinder(room)
    node = finder.Node()
    finder.x_add_in_open_nodes(node)
    assert len(finder.nodes) == 0
    assert "node" in records[0].message


def test_settings(room):
    finder = korrin.OccMapPathFinder(map=room, value=3)
    assert finder.init_param == 3
    finder.set_obstacle_threshold(0.5)
    assert finder.obstacle_threshold == finder.get_obstacle_threshold() == 0.5
    finder.set_angle_cost_factor(0.25)
    assert finder.angle_cost_factor == finder.get_angle_cost_factor() == 0.25
    finder.set_coarse_factor(4)
    assert finder.coarse_factor == 4
    finder.set_neighborhood_type(finder.Double)
    assert (finder.neighbor_deltas == korrin.k_double_neighbor_deltas()).all()
    finder.set_neighborhood_type(finder.NeighborhoodType(7))
    assert int(finder.neighborhood_type) == 7
    assert len(finder.neighbor_deltas) == 12
    finder.Node.h_weight = 0.75
    assert korrin.OccMapPathFinder.Node.h_weight == 0.75
    korrin.OccMapPathFinder(room)
    assert finder.Node.h_weight == 0.5


def test_threads_may_share_finders(records):
    map = big_free_map(120)
    map.image[30:90, 60] = 0
    expected = korrin.OccMapPathFinder(map).compute_path((1, 2, 0), (5, 3, 0))
    shared = korrin.OccMapPathFinder(map)
    shared.compute_path((1, 2, 0), (5, 3, 0))
    wrong = []

    def work():
        for i in range(20):
            finder = shared if i % 2 else korrin.OccMapPathFinder(map)
            if not np.array_equal(finder.compute_path((1, 2, 0), (5, 3, 0)), expected):
                wrong.append(i)
            finder.compute_path((99, 0, 0), (0, 0, 0))
            shared.set_occ_map(map)
            if shared.cell_states.shape != (120, 120):
                wrong.append(i)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong
    assert len(records) == 80
