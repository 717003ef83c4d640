"""From a raw log to a map: scans get better poses, places are found again, and grids are built.

>>> import korrin.mapping
>>> floor = korrin.OccupancyMap(120, 80, 0.05)
>>> floor.reset(1)
>>> floor.image[:3], floor.image[-3:], floor.image[:, :3], floor.image[:, -3:] = 0, 0, 0, 0
>>> floor.image[30:44, 70:76] = 0
>>> laser = korrin.ScanModel(181, 10, 3.1)
>>> poses = [korrin.Pose2D(1 + 0.1 * i, 1, 0.4 + 0.02 * i) for i in range(20)]
>>> scans = [korrin.occ_map_simulate_scan(floor, laser, pose, 0.45) for pose in poses]
>>> slipping = [(1 + 0.12 * i, 1, 0.4 + 0.03 * i) for i in range(20)]
>>> log = korrin.LaserLog([korrin.LoggedScan(*each) for each in zip(scans, slipping)])
>>> aligned = korrin.mapping.align(log)
>>> abs(aligned.scans[-1].pose.x - poses[-1].x) < 0.05 < abs(log.scans[-1].pose.x - poses[-1].x)
True
>>> frame = korrin.mapping.grid_around(aligned.scans, 0.05)
>>> float(korrin.mapping.build_grid(aligned.scans, frame).image.max())
1.0

The headers below include/korrin/mapping are the manual; names are theirs in snake case. Wherever scans
of a log are wanted, a LaserLog serves as well as a list of LoggedScan. Numbers of poses of graphs
are doubles: a long track is the sum of many small motions.
"""

from __future__ import annotations

import dataclasses
import enum
import os
from collections.abc import Callable, Iterable
from typing import Any, NamedTuple

import korrin

from . import _korrin  # type: ignore[attr-defined]
from ._pose_graphs import (
    GraphEdge,
    GraphInformation,
    GraphPose,
    GraphSolution,
    PoseGraph,
    composed,
    parse_g2o,
    read_g2o,
    seen_from,
    to_g2o,
    write_g2o,
)
from ._scan_aligner import (
    AlignerSettings,
    AlignerSummary,
    LinkKind,
    ScanAligner,
    ScanLink,
    fields_of_settings,
    links_of_fields,
)

__all__ = [
    "AlignerSettings",
    "AlignerSummary",
    "Alignment",
    "AlignmentKind",
    "GraphEdge",
    "GraphInformation",
    "GraphPose",
    "GraphSolution",
    "GridQuality",
    "LinkKind",
    "PoseGraph",
    "ScanAligner",
    "ScanLink",
    "align",
    "build_grid",
    "composed",
    "cropped_to_free",
    "graph_of",
    "grid_around",
    "judge_grid",
    "parse_g2o",
    "read_g2o",
    "seen_from",
    "to_g2o",
    "write_g2o",
    "write_track",
]

# Everything shows, and is pickled, under the name by which it is imported.
_GRAPHS = (GraphEdge, GraphInformation, GraphPose, GraphSolution, PoseGraph)
_ALIGNER = (AlignerSettings, AlignerSummary, LinkKind, ScanAligner, ScanLink)
for _thing in (*_GRAPHS, *_ALIGNER):
    _thing.__module__ = __name__

Log = korrin.LaserLog | Iterable[korrin.LoggedScan]


class AlignmentKind(enum.IntEnum):
    """Where an Alignment's poses come from: the log, when matching found nothing better; settled from the
    log's; or aligned scan by scan, then settled.

    >>> [kind.name for kind in korrin.mapping.AlignmentKind]
    ['Logged', 'Settled', 'Aligned']
    """

    Logged = 0
    Settled = 1
    Aligned = 2


@dataclasses.dataclass
class Alignment:
    """A log with better poses: its scans, where these come from, what happened, the numbers of the key
    scans, and what links them.

    >>> korrin.mapping.align([]).kind.name
    'Logged'
    """

    scans: list[korrin.LoggedScan]
    kind: AlignmentKind
    summary: AlignerSummary
    key_scans: list[int]
    links: list[ScanLink]


class GridQuality(NamedTuple):
    """How well a grid explains scans: its cells, how many scans were compared, and the mean of their
    scan_likelihood when they are simulated in it, at most 1.

    >>> korrin.mapping.judge_grid(korrin.OccupancyMap(4, 3, 0.05), []).occupied_cells
    0
    """

    occupied_cells: int
    free_cells: int
    scans_compared: int
    likelihood: float


def align(
    log: Log,
    settings: AlignerSettings | None = None,
    resolution: float = 0.05,
    progress: Callable[[float], object] | None = None,
) -> Alignment:
    """Better poses for a whole log; its own, when matching finds none that explain the scans better.

    `resolution` is that of the grids by which this is judged. `progress` is called now and then with
    the share of the work that is done, up to 1; what it raises ends the work. An interrupt does so,
    too. Some seconds for a log of an hour.

    >>> shares = []
    >>> korrin.mapping.align([korrin.LoggedScan(korrin.Scan(), (1, 2))], progress=shares.append).scans[0].pose
    Pose2D(x=1, y=2, theta=0)
    >>> shares[-1]
    1.0
    """
    scans = _scans(log)
    poses, robots, kind, summary, key_scans, links = _korrin._align(
        _scan_fields(scans), fields_of_settings(settings), resolution, progress
    )
    moved = [
        korrin.LoggedScan(logged.scan, pose, robot, logged.time, logged.line)
        for logged, pose, robot in zip(scans, poses, robots)
    ]
    return Alignment(moved, AlignmentKind(kind), AlignerSummary(*summary), key_scans, links_of_fields(links))


def graph_of(alignment: Alignment) -> PoseGraph:
    """The graph of an alignment: a node for each key scan, an edge for each link that is not dropped.

    >>> korrin.mapping.graph_of(korrin.mapping.align([])).nodes
    []
    """
    node_of = {scan: node for node, scan in enumerate(alignment.key_scans)}
    poses = [alignment.scans[scan].pose for scan in alignment.key_scans]
    links = [link for link in alignment.links if not link.dropped]
    edges = [
        GraphEdge(node_of[link.from_], node_of[link.to], link.motion, link.information) for link in links
    ]
    return PoseGraph([(pose.x, pose.y, pose.theta) for pose in poses], edges)


def write_track(log: Log, path: str | os.PathLike[str], no_return: float = 0.0) -> None:
    """Writes where and when each scan was taken: a CARMEN log when the path ends in .log or .log.gz, with
    `no_return` for its range of beams that met nothing; else lines "stamp x y 0 0 0 qz qw".

    >>> import os, tempfile
    >>> file = os.path.join(tempfile.mkdtemp(), "office.tum")
    >>> korrin.mapping.write_track([korrin.LoggedScan(korrin.Scan(), (1, 2), time=7)], file)
    >>> open(file).read()
    '7.000000 1.000000 2.000000 0 0 0 0.000000000 1.000000000\\n'
    """
    _korrin._write_track(_scan_fields(_scans(log)), path, no_return)


def grid_around(log: Log, resolution: float) -> korrin.OccupancyMapParams | None:
    """The frame of a grid that holds every scan's pose and beams, with a margin of half a metre; None when
    that would be more than 50 million cells.

    >>> korrin.mapping.grid_around([korrin.LoggedScan(korrin.Scan([2], 0, 0), (1, 1))], 0.1).height
    11
    """
    frame: korrin.OccupancyMapParams | None = _korrin._grid_around(_scan_fields(_scans(log)), resolution)
    return frame


def build_grid(
    log: Log,
    frame: korrin.OccupancyMapParams,
    progress: Callable[[float], object] | None = None,
) -> korrin.OccupancyMap:
    """The grid of scans at their own poses: cells are 1 (free), 0 (occupied) or 0.5 (unknown).

    >>> scans = [korrin.LoggedScan(korrin.Scan([2, 2, 2], -0.01, 0.01), (1, 1))] * 3
    >>> map = korrin.mapping.build_grid(scans, korrin.mapping.grid_around(scans, 0.1))
    >>> x, y, _ = map.get_pixel_from_pose((3, 1))
    >>> map.get_cell(x, y), map.get_cell(x - 5, y), map.get_cell(x, y + 3)
    (0.0, 1.0, 0.5)
    """
    map: korrin.OccupancyMap = _korrin._build_grid(_scan_fields(_scans(log)), frame, progress)
    return map


def cropped_to_free(map: korrin.OccupancyMap) -> korrin.OccupancyMap:
    """The free cells with one metre around; a grid without free cells comes back whole.

    >>> map = korrin.OccupancyMap(100, 100, 0.1)
    >>> map.image[50, 40] = 1
    >>> korrin.mapping.cropped_to_free(map).shape
    (21, 21)
    """
    cropped: korrin.OccupancyMap = _korrin._cropped_to_free(map)
    return cropped


def judge_grid(map: korrin.OccupancyMap, log: Log, samples: int = 200) -> GridQuality:
    """Compares a grid with at most about `samples` of the scans; below 1, with one.

    >>> korrin.mapping.judge_grid(korrin.OccupancyMap(4, 3, 0.05), []).scans_compared
    0
    """
    return GridQuality(*_korrin._judge_grid(map, _scan_fields(_scans(log)), samples))


def _scans(log: Log) -> list[korrin.LoggedScan]:
    scans = list(log.scans if isinstance(log, korrin.LaserLog) else log)
    for i, logged in enumerate(scans):
        if not isinstance(logged, korrin.LoggedScan):
            raise TypeError(f"log: wanted LoggedScans, found {type(logged).__name__} as number {i}")
    return scans


def _scan_fields(scans: list[korrin.LoggedScan]) -> list[tuple[Any, ...]]:
    return [(item.scan, item.pose, item.robot, item.time, item.line) for item in scans]
