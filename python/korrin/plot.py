"""Pictures with matplotlib, one call each, in world coordinates (metres).

>>> import korrin.plot
>>> map = korrin.OccupancyMap(100, 80, 0.05)
>>> path = korrin.OccMapPathFinder(map).compute_path((1, 1, 0), (4, 3, 0))
>>> axes = korrin.plot.map(map)
>>> axes = korrin.plot.path(path)
>>> axes.figure.savefig("/dev/null", format="png")

Each function draws into `axes`, the current ones when there are none given, and returns them.
"""

import numpy as np
from matplotlib import pyplot
from matplotlib.transforms import Affine2D

from . import _korrin

__all__ = ["holes", "map", "path", "scan", "scores"]


def map(map, axes=None):
    """Draws a map: free white, unknown grey, occupied black.

    >>> axes = korrin.plot.map(korrin.OccupancyMap(100, 80, 0.05))
    """
    axes = _axes(axes)
    x, y, theta = map.params.origin
    height, width = map.image.shape
    resolution = map.params.resolution
    # In cells, then from the grid into the world: cell (0, 0) has its centre at the origin.
    placed = Affine2D().scale(resolution).rotate(theta).translate(x, y) + axes.transData
    axes.imshow(
        map.image,
        cmap="gray",
        vmin=0,
        vmax=1,
        origin="lower",
        extent=(-0.5, width - 0.5, -0.5, height - 0.5),
        interpolation="nearest",
        transform=placed,
    )
    corners = [(i * width - 0.5, j * height - 0.5) for i in (0, 1) for j in (0, 1)]
    axes.update_datalim(Affine2D().scale(resolution).rotate(theta).translate(x, y).transform(corners))
    axes.autoscale_view()
    return axes


def path(path, axes=None, **style):
    """Draws a path, an N x 3 array of world poses, its start as a dot and its end as a cross.

    `style` goes to matplotlib's plot.

    >>> axes = korrin.plot.path([(0, 0, 0), (1, 2, 0)], color="tab:red")
    """
    axes = _axes(axes)
    x, y = _columns(path)
    [line] = axes.plot(x, y, **style)
    axes.plot(x[:1], y[:1], "o", x[-1:], y[-1:], "X", color=line.get_color())
    return axes


def scan(scan, pose=(0, 0, 0), axes=None, **style):
    """Draws the hits of a scan taken at a world pose; no-hits are left out.

    `style` goes to matplotlib's scatter.

    >>> axes = korrin.plot.scan(korrin.Scan([1, 2, 3], 0, 0.1), pose=(5, 5, 0))
    """
    axes = _axes(axes)
    hits = scan.to_point2d()[scan.readings["status"] == 0]
    hits = hits[np.isfinite(hits).all(axis=1)]
    x, y = _placed(hits, pose)
    axes.scatter(x, y, **{"s": 4, "color": "tab:blue", **style})
    sensor = _korrin.Pose2D(pose)
    axes.plot([sensor.x], [sensor.y], "k+")
    return axes


def holes(holes, pose=(0, 0, 0), axes=None, **style):
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


def scores(scores, extent, axes=None):
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
    axes.figure.colorbar(picture, ax=axes, label="score")
    return axes


def _axes(axes):
    axes = pyplot.gca() if axes is None else axes
    axes.set_aspect("equal")
    return axes


def _columns(points):
    points = np.asarray(points, dtype=float)
    if points.ndim != 2 or points.shape[1] < 2:
        points = points.reshape(0, 2) if points.size == 0 else points
    if points.ndim != 2:
        raise ValueError(f"expected N x 3 poses, not the shape {points.shape}")
    return points[:, 0], points[:, 1]


def _placed(points, pose):
    """World x and y of points (N x 2) in the frame of a pose."""
    pose = _korrin.Pose2D(pose)
    points = np.reshape(np.asarray(points, dtype=float), (-1, 2))
    return _columns(Affine2D().rotate(pose.theta).translate(pose.x, pose.y).transform(points))
