"""Pictures with matplotlib, one call each, in world coordinates (metres).

>>> import korrin.plot
>>> map = korrin.OccupancyMap(100, 80, 0.05)
>>> plan = korrin.PathPlanner(map, unknown_is_free=True).plan((1, 1), (4, 3))
>>> axes = korrin.plot.map(map)
>>> axes = korrin.plot.path(plan.path)
>>> axes.figure.savefig("/dev/null", format="png")

Each function draws into `axes`, the current ones when there are none given, and returns them. Axes
that have no labels get them: x and y in metres.
"""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any

import numpy as np
from matplotlib import pyplot
from matplotlib.collections import LineCollection
from matplotlib.image import AxesImage
from matplotlib.transforms import Affine2D
from numpy.typing import ArrayLike, NDArray

import korrin
import korrin.mapping

__all__ = ["graph", "holes", "map", "path", "scan", "scores"]


def map(map: korrin.OccupancyMap, axes: Any = None) -> Any:
    """Draws a map: free white, unknown grey, occupied black.

    >>> axes = korrin.plot.map(korrin.OccupancyMap(100, 80, 0.05))
    """
    axes = _axes(axes)
    x, y, theta = map.params.origin
    height, width = map.image.shape
    resolution = map.params.resolution
    # In cells, then from the grid into the world: cell (0, 0) has its centre at the origin.
    to_world = Affine2D().scale(resolution).rotate(theta).translate(x, y)
    # Not imshow, which takes the cells' numbers for the limits of the axes.
    extent = (-0.5, width - 0.5, -0.5, height - 0.5)
    picture = AxesImage(axes, cmap="gray", origin="lower", extent=extent, interpolation="nearest")
    picture.set_data(map.image)
    picture.set_clim(0, 1)
    picture.set_transform(to_world + axes.transData)
    picture.set_clip_path(axes.patch)
    axes.add_image(picture)
    corners = [(i * width - 0.5, j * height - 0.5) for i in (0, 1) for j in (0, 1)]
    axes.update_datalim(to_world.transform(corners))
    axes.autoscale_view()
    return axes


def path(path: korrin.RowsLike, axes: Any = None, **style: Any) -> Any:
    """Draws a path, an N x 3 array of world poses, its start as a dot and its end as a cross.

    `style` goes to matplotlib's plot.

    >>> axes = korrin.plot.path([(0, 0, 0), (1, 2, 0)], color="tab:red")
    """
    axes = _axes(axes)
    x, y = _columns(path)
    [line] = axes.plot(x, y, **style)
    axes.plot(x[:1], y[:1], "o", x[-1:], y[-1:], "X", color=line.get_color())
    return axes


def scan(
    scan: korrin.Scan, pose: korrin.PoseLike = (0, 0, 0), axes: Any = None, **style: Any
) -> Any:
    """Draws the hits of a scan taken at a world pose; no-hits are left out.

    `style` goes to matplotlib's scatter.

    >>> axes = korrin.plot.scan(korrin.Scan([1, 2, 3], 0, 0.1), pose=(5, 5, 0))
    """
    axes = _axes(axes)
    hits = scan.to_point2d()[scan.readings["status"] == 0]
    hits = hits[np.isfinite(hits).all(axis=1)]
    x, y = _placed(hits, pose)
    axes.scatter(x, y, **{"s": 4, "color": "tab:blue", **style})
    sensor = korrin.Pose2D(pose)
    axes.plot([sensor.x], [sensor.y], "k+")
    return axes


def holes(
    holes: Sequence[korrin.ScanHole],
    pose: korrin.PoseLike = (0, 0, 0),
    axes: Any = None,
    **style: Any,
) -> Any:
    """Draws openings of a scan taken at a world pose: the gap as a line, a dot before it.

    `style` goes to matplotlib's plot.

    >>> scan = korrin.Scan([2, 2, 2, 6, 6, 6], angle_min=-0.25, angle_increment=0.1)
    >>> axes = korrin.plot.holes(korrin.find_scan_holes(scan, 1))
    """
    axes = _axes(axes)
    style = {"color": "tab:green", **style}
    for hole in holes:
        x, y = _placed([hole.begin_point, hole.end_point], pose)
        axes.plot(x, y, **style)
        axes.plot(*_placed([hole.approach_point], pose), "o", color=style["color"])
    return axes


def scores(
    scores: ArrayLike, extent: tuple[float, float, float, float], axes: Any = None
) -> Any:
    """Draws a heat map of scores, rows x columns, over extent = (x0, x1, y0, y1) in metres.

    The ends are the positions of the first and the last score along each axis.

    >>> axes = korrin.plot.scores([[0.1, 0.9], [0.2, 0.3]], extent=(-0.5, 0.5, -0.5, 0.5))
    """
    axes = _axes(axes)
    values = np.asarray(scores)
    if values.ndim != 2 or values.size == 0:
        raise ValueError(f"scores must have rows and columns, not the shape {values.shape}")
    x0, x1, y0, y1 = extent
    half_x = (x1 - x0) / max(values.shape[1] - 1, 1) / 2
    half_y = (y1 - y0) / max(values.shape[0] - 1, 1) / 2
    picture = axes.imshow(
        values,
        cmap="viridis",
        origin="lower",
        extent=(x0 - half_x, x1 + half_x, y0 - half_y, y1 + half_y),
        interpolation="nearest",
    )
    axes.figure.colorbar(picture, ax=axes, label="score [no unit]")
    return axes


def graph(
    alignment: korrin.mapping.Alignment, axes: Any = None, most: float = 0.15, **style: Any
) -> Any:
    """Draws the graph of an alignment: the way from key scan to key scan, and the loops.

    A loop is the redder the farther the poses leave it off, up to `most` metres; dropped ones are
    dashed. `style` goes to matplotlib's plot, for the way.

    >>> aligned = korrin.mapping.align([korrin.LoggedScan(korrin.Scan(), (1, 2))])
    >>> axes = korrin.plot.graph(aligned, color="tab:green")
    """
    axes = _axes(axes)
    loops = [link for link in alignment.links if link.kind == korrin.mapping.LinkKind.Loop]
    looks: list[tuple[bool, dict[str, Any]]] = [
        (False, {"cmap": "YlOrRd"}),
        (True, {"color": "k", "linestyle": "--"}),
    ]
    for dropped, look in looks:
        chosen = [link for link in loops if link.dropped == dropped]
        off = np.array([_metres_off(alignment, link) for link in chosen])
        order = np.argsort(off, kind="stable")  # the few that are off lie above the many
        lines = LineCollection([_ends(alignment, chosen[i]) for i in order], linewidths=0.8, **look)
        if not dropped:
            lines.set_array(off[order])
            lines.set_clim(-0.3 * most, most)  # one that is not off is to be seen on white
        axes.add_collection(lines)
    x, y = _columns([tuple(alignment.scans[scan].pose) for scan in alignment.key_scans])
    axes.plot(x, y, **{"color": "tab:blue", "linewidth": 0.8, "marker": ".", "markersize": 2, **style})
    return axes


def _ends(alignment: korrin.mapping.Alignment, link: korrin.mapping.ScanLink) -> Any:
    """Where the two scans of a link were taken."""
    return [tuple(alignment.scans[scan].pose)[:2] for scan in (link.from_, link.to)]


def _metres_off(alignment: korrin.mapping.Alignment, link: korrin.mapping.ScanLink) -> float:
    """How far the later scan of a link is from where the link has it."""
    first, second = (tuple(alignment.scans[scan].pose) for scan in (link.from_, link.to))
    found = korrin.mapping.seen_from(first, second)
    return float(np.hypot(found.x - link.motion.x, found.y - link.motion.y))


def _axes(axes: Any) -> Any:
    axes = pyplot.gca() if axes is None else axes
    axes.set_aspect("equal")
    if not axes.get_xlabel():
        axes.set_xlabel("x [m]")
    if not axes.get_ylabel():
        axes.set_ylabel("y [m]")
    return axes


def _columns(points: korrin.RowsLike) -> tuple[NDArray[Any], NDArray[Any]]:
    """x and y of rows of numbers, perhaps none."""
    rows = np.asarray(points, dtype=float)
    if rows.size == 0:
        rows = rows.reshape(0, 2)
    if rows.ndim != 2 or rows.shape[1] < 2:
        raise ValueError(f"expected rows of x, y and more, not the shape {rows.shape}")
    return rows[:, 0], rows[:, 1]


def _placed(points: korrin.RowsLike, pose: korrin.PoseLike) -> tuple[NDArray[Any], NDArray[Any]]:
    """World x and y of points (N x 2) in the frame of a pose."""
    sensor = korrin.Pose2D(pose)
    rows = np.column_stack(_columns(points))
    return _columns(Affine2D().rotate(sensor.theta).translate(sensor.x, sensor.y).transform(rows))
