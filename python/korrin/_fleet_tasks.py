"""What is done for one request, and can be sent to workers."""

from __future__ import annotations

import dataclasses
import os
from typing import TYPE_CHECKING, Any

import numpy as np

import korrin
from korrin import mapping

if TYPE_CHECKING:
    import pathlib
    from typing import Union

    from numpy.typing import NDArray

    PlanRequest = Union[
        tuple[korrin.PoseLike, korrin.PoseLike], tuple[korrin.CellLike, korrin.CellLike]
    ]
    ScanToPlace = Union[korrin.Scan, korrin.LoggedScan, NDArray[Any], list[Any]]
    LogToMap = Union[str, pathlib.Path, "os.PathLike[str]", korrin.LaserLog, list[korrin.LoggedScan]]


@dataclasses.dataclass(frozen=True)
class LogMap:
    """A log with better poses, as korrin.mapping.align gives it, and the grid of its scans at these.

    >>> scans = [korrin.LoggedScan(korrin.Scan([2, 2, 2], -0.01, 0.01), (1, 1))] * 3
    >>> [built] = korrin.fleet.build_maps(None, [korrin.LaserLog(scans)], resolution=0.1)
    >>> built.map.shape, built.poses[0]
    ((12, 31), Pose2D(x=1, y=1, theta=0))
    """

    alignment: mapping.Alignment
    map: korrin.OccupancyMap

    @property
    def poses(self) -> list[korrin.Pose2D]:
        """Where each scan was taken, in the log's order."""
        return [logged.pose for logged in self.alignment.scans]


@dataclasses.dataclass(frozen=True)
class PlanTask:
    """A plan between two poses or cells."""

    planner: korrin.PathPlanner

    def __call__(self, request: PlanRequest) -> korrin.Plan:
        try:
            start, goal = request
        except (TypeError, ValueError):
            found = f"{request!r:.60}"
            raise TypeError(f"request: wanted a pair (start, goal), found {found}") from None
        return self.planner.plan(start, goal)  # type: ignore[arg-type]  # both are poses, or cells


@dataclasses.dataclass(frozen=True)
class LocateTask:
    """The best poses of a scan."""

    search: korrin.PoseSearch
    grid: korrin.PoseGrid
    options: dict[str, Any]  # of PoseSearch.best

    def __call__(self, scan: ScanToPlace) -> list[korrin.ScoredPose]:
        return self.search.best(points_of(scan), self.grid, **self.options)


def points_of(scan: ScanToPlace) -> Any:
    """Where its beams ended, N x 2, in the scanner's frame."""
    if isinstance(scan, korrin.LoggedScan):
        scan = scan.scan
    if isinstance(scan, korrin.Scan):
        return scan.to_point2d()[scan.readings["status"] == 0]
    return scan


@dataclasses.dataclass(frozen=True)
class MapTask:
    """The map of a log."""

    settings: mapping.AlignerSettings | None
    resolution: float
    max_range: float | None

    def __call__(self, log: LogToMap) -> LogMap:
        if isinstance(log, (str, os.PathLike)):
            log = korrin.read_log(log, self.max_range)
        alignment = mapping.align(log, self.settings, self.resolution)
        frame = mapping.grid_around(alignment.scans, self.resolution)
        if frame is None:
            raise ValueError("log: it has no scan, or its grid would have more than 50 million cells")
        return LogMap(alignment, mapping.build_grid(alignment.scans, frame))


def is_one_log(logs: object) -> bool:
    """Whether somebody gave a log where several are wanted."""
    return isinstance(logs, (str, bytes, os.PathLike, korrin.LaserLog, np.ndarray))
