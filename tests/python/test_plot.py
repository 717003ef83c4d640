"""Pictures show things where they are in the world."""

import numpy as np
import pytest
from matplotlib import pyplot

import korrin
import korrin.mapping
import korrin.plot


@pytest.fixture
def axes():
    figure, axes = pyplot.subplots(figsize=(4, 4), dpi=50)
    yield axes
    pyplot.close(figure)


def brightness_at(axes, x, y):
    """Of the pixel that shows the world point (x, y), from 0 to 1."""
    axes.axis("off")
    axes.figure.canvas.draw()
    pixels = np.asarray(axes.figure.canvas.buffer_rgba())
    column, row = axes.transData.transform((x, y)).astype(int)
    return pixels[pixels.shape[0] - 1 - row, column, :3].mean() / 255


def test_a_map_lies_in_the_world(axes):
    map = korrin.OccupancyMap(40, 20, 0.5)
    map.params.origin = (10, -5, 0)
    map.image[:10] = 0
    map.image[10:, :20] = 1
    assert korrin.plot.map(map, axes) is axes
    assert axes.get_xlim()[0] == pytest.approx(9.75, abs=1.1)
    assert axes.get_xlim()[1] == pytest.approx(29.75, abs=1.1)
    assert brightness_at(axes, 12, -4) == 0
    assert brightness_at(axes, 12, 4) == 1
    assert brightness_at(axes, 28, 4) == pytest.approx(0.5, abs=0.02)


def test_a_turned_map_is_drawn_turned(axes):
    map = korrin.OccupancyMap(40, 20, 0.5)
    map.params.origin = (0, 0, np.pi / 2)
    map.reset(1)
    map.image[:, 30:] = 0  # far along the map's own x axis, the world's y axis
    korrin.plot.map(map, axes)
    assert brightness_at(axes, -5, 18) == 0
    assert brightness_at(axes, -5, 5) == 1
    assert axes.get_xlim()[0] < -9 < axes.get_xlim()[1] < 2


def test_a_path_goes_through_its_poses(axes):
    korrin.plot.path([(1, 2, 0), (3, 4, 0), (5, 0, 0)], axes, color="red")
    line, start, end = axes.lines
    assert line.get_xydata().tolist() == [[1, 2], [3, 4], [5, 0]]
    assert start.get_xydata().tolist() == [[1, 2]]
    assert end.get_xydata().tolist() == [[5, 0]]


def test_an_empty_path_is_nothing_to_see(axes):
    korrin.plot.path(np.empty((0, 3)), axes)
    korrin.plot.path([], axes)
    assert all(len(line.get_xydata()) == 0 for line in axes.lines)


def test_a_scan_is_drawn_from_its_pose_without_no_hits(axes):
    scan = korrin.Scan([2, np.inf, 4], angle_min=0, angle_increment=0, range_max=9)
    korrin.plot.scan(scan, (1, 1, np.pi / 2), axes)
    assert np.allclose(axes.collections[0].get_offsets(), [(1, 3), (1, 5)])


def test_holes_are_drawn_from_their_pose(axes):
    hole = korrin.x_normalize_zone((2, -1), 3, (2, 1), 4, 0.5, False)
    korrin.plot.holes([hole], (10, 0, 0), axes)
    gap, approach = axes.lines
    assert np.allclose(gap.get_xydata(), [(12, -1), (12, 1)])
    assert np.allclose(approach.get_xydata(), [(11.5, 0)])


def test_scores_lie_on_their_shifts(axes):
    korrin.plot.scores(np.eye(5)[:4], (-1, 1, 0, 3), axes)
    [picture] = axes.images
    assert tuple(picture.get_extent()) == (-1.25, 1.25, -0.5, 3.5)
    assert picture.origin == "lower"


def alignment(loops):
    """Three key scans at the corners of a triangle, and loops from the last to the first: for each
    how many metres it has the last one elsewhere, and whether it was dropped."""
    mapping = korrin.mapping
    places = [(1, 1, np.pi / 2), (5, 1, 0), (5, 4, 0)]
    scans = [korrin.LoggedScan(korrin.Scan(), place) for place in places]
    known = mapping.GraphInformation()
    links = [mapping.ScanLink(0, 1, mapping.GraphPose(9), known, mapping.LinkKind.Match, False)]
    for off, dropped in loops:
        motion = mapping.GraphPose(3 + off, -4, 0)  # seen from the first, which looks along y
        links.append(mapping.ScanLink(0, 2, motion, known, mapping.LinkKind.Loop, dropped))
    return mapping.Alignment(
        scans, mapping.AlignmentKind.Aligned, mapping.AlignerSummary(3, 3, 0, 1, 1, 0), [0, 1, 2], links
    )


def test_a_graph_has_its_loops_between_their_scans_and_the_worst_above(axes):
    korrin.plot.graph(alignment([(0.1, False), (0, False), (2, True)]), axes)
    accepted, dropped = axes.collections
    assert [len(accepted.get_segments()), len(dropped.get_segments())] == [2, 1]
    for segment in [*accepted.get_segments(), *dropped.get_segments()]:
        assert np.allclose(segment, [(1, 1), (5, 4)])
    assert np.allclose(accepted.get_array(), [0, 0.1], atol=1e-6)
    [way] = axes.lines
    assert way.get_xydata().tolist() == [[1, 1], [5, 1], [5, 4]]


def test_a_graph_without_loops_or_scans_is_drawn(axes):
    korrin.plot.graph(alignment([]), axes)
    korrin.plot.graph(korrin.mapping.align([]), axes)
    axes.figure.canvas.draw()
    assert [len(line.get_xydata()) for line in axes.lines] == [3, 0]


@pytest.mark.parametrize("wrong", [np.zeros(3), np.zeros((2, 2, 2)), np.zeros((3, 1))])
def test_rows_of_the_wrong_form_are_refused(wrong, axes):
    with pytest.raises(ValueError):
        korrin.plot.path(wrong, axes)


@pytest.mark.parametrize("wrong", [np.zeros(3), np.zeros((0, 2))])
def test_scores_of_the_wrong_form_are_refused(wrong, axes):
    with pytest.raises(ValueError):
        korrin.plot.scores(wrong, (0, 1, 0, 1), axes)


@pytest.mark.parametrize(
    "draw",
    [
        lambda axes: korrin.plot.map(korrin.OccupancyMap(4, 4, 1), axes),
        lambda axes: korrin.plot.path([(1, 2, 0), (3, 4, 0)], axes),
        lambda axes: korrin.plot.scan(korrin.Scan([1, 2, 3], 0, 0.1), (0, 0, 0), axes),
        lambda axes: korrin.plot.holes([], (0, 0, 0), axes),
        lambda axes: korrin.plot.scores(np.eye(2), (0, 1, 0, 1), axes),
    ],
)
def test_axes_tell_metres_unless_they_have_labels_of_their_own(draw, axes):
    draw(axes)
    assert (axes.get_xlabel(), axes.get_ylabel()) == ("x [m]", "y [m]")
    axes.set_xlabel("east [m]")
    axes.set_ylabel("north [m]")
    draw(axes)
    assert (axes.get_xlabel(), axes.get_ylabel()) == ("east [m]", "north [m]")


def test_the_bar_beside_scores_is_labelled(axes):
    korrin.plot.scores(np.eye(2), (0, 1, 0, 1), axes)
    [bar] = [other for other in axes.figure.axes if other is not axes]
    assert bar.get_ylabel() == "score [no unit]"


def test_without_axes_the_current_ones_are_drawn_into(axes):
    pyplot.sca(axes)
    assert korrin.plot.map(korrin.OccupancyMap(4, 4, 1)) is axes
