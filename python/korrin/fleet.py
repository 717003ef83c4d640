"""Many requests at once: on threads of this process, or on the workers of a dask.distributed cluster.

>>> import korrin.fleet
>>> floor = korrin.OccupancyMap(60, 40, 0.1)
>>> floor.reset(1)
>>> floor.image[:20, 30] = 0
>>> planner = korrin.PathPlanner(floor)
>>> plans = korrin.fleet.plan_all(None, planner, [((1, y), (5, 1)) for y in (0.5, 1, 1.5)])
>>> [round(plan.length, 2) for plan in plans]
[5.04, 4.83, 4.62]

Give `None` and threads of this process work, as many as it may use processors; give a
dask.distributed.Client and its workers do, each of which needs the module korrin. What comes back is
the same to the last bit. Importing this module does not need dask.

- The results are a list in the order of the requests, which may come from any iterable.
- A request that raises gives a Failure in its place and takes no other along. What raises are calls
  that make no sense; a planner's blocked goal, or a pose that is not a number, is a Plan that tells so.
- Requests go in batches. The first ones have one request; each later one as many as took half a
  second by the workers' own clocks, at most 8 times as many as the largest before, and fewer towards
  the end, so that all workers end together.
- A planner, a search or a function goes to each worker once, and is prepared there once. A planner's map
  goes as it is now, so refresh() a planner whose map has changed.
- A worker that ends costs time: its batches are done by others. A request at which worker after worker
  ends becomes a Failure. When the scheduler is gone, ClusterLost is raised, within seconds.
- `progress` is called with the share of the requests that is answered, up to 1, after each batch and
  at least some times a second. What it raises ends the work, and so does an interrupt: batches that
  wait are cancelled, and what runs ends within a batch (threads: within the request at hand, for which
  the call waits).
"""

from __future__ import annotations

from collections.abc import Callable, Iterable
from typing import TYPE_CHECKING, Any, TypeVar

import korrin

from . import mapping
from ._fleet_batches import Failure
from ._fleet_cluster import Client, Cluster, check_client
from ._fleet_run import ClusterLost, Engine, Progress, ProgressBar, Threads, own_processors, run
from ._fleet_tasks import LocateTask, LogMap, MapTask, PlanTask, is_one_log

if TYPE_CHECKING:
    from ._fleet_tasks import LogToMap, PlanRequest, ScanToPlace

__all__ = [
    "ClusterLost",
    "Failure",
    "LogMap",
    "ProgressBar",
    "build_maps",
    "locate_all",
    "plan_all",
    "sweep",
]

for _thing in (ClusterLost, Failure, LogMap, ProgressBar):
    _thing.__module__ = __name__

_Setting = TypeVar("_Setting")
_Result = TypeVar("_Result")


def plan_all(
    client: Client | None,
    planner: korrin.PathPlanner,
    requests: Iterable[PlanRequest],
    *,
    progress: Progress | None = None,
    threads: int | None = None,
) -> list[korrin.Plan | Failure]:
    """planner.plan of each request, a pair (start, goal) of poses (metres, in the world) or of cells.

    `threads` says how many work without a client; as many as there are processors, when left out.

    >>> map = korrin.OccupancyMap(60, 40, 0.1)
    >>> map.reset(1)
    >>> requests = [((1, 1), (5, 1)), ((1, 1), (9, 9)), ((1, 1), "there")]
    >>> for result in korrin.fleet.plan_all(None, korrin.PathPlanner(map), requests):
    ...     print(result)
    Found: 4 m in 41 poses and 2 waypoints, cost 3.9999983, 41 iterations
    GoalBlocked, OffTheMap: cell (90, 90) lies outside the map; the nearest free pose is (5.9, 3.9, 0)
    request 2 failed: TypeError: goal: wanted 2 or 3 numbers, found 'there'
    """
    _check("planner", planner, korrin.PathPlanner)
    return _all(client, PlanTask(planner), "planner", _listed("requests", requests), progress, threads)


def locate_all(
    client: Client | None,
    search: korrin.PoseSearch,
    scans: Iterable[ScanToPlace],
    grid: korrin.PoseGrid,
    *,
    count: int = 1,
    apart: float = 0.5,
    turned: float = 0.5,
    progress: Progress | None = None,
    threads: int | None = None,
) -> list[list[korrin.ScoredPose] | Failure]:
    """search.best of each scan over `grid`, with its `count`, `apart` (metres) and `turned` (radians).

    A scan is a Scan or LoggedScan, of which the hits count and the pose does not, or an N x 2 array
    of points in the scanner's frame, in metres.

    >>> room = korrin.OccupancyMap(80, 60, 0.05)
    >>> room.reset(1)
    >>> room.image[[0, -1]], room.image[:, [0, -1]], room.image[30:45, 50:54] = 0, 0, 0
    >>> laser = korrin.ScanModel(180, 10, 4.7)
    >>> scans = [korrin.occ_map_simulate_scan(room, laser, (1.1, y, 0.8), 0.45) for y in (1.5, 2)]
    >>> search, everywhere = korrin.PoseSearch(room, 0.45, 0.2), korrin.PoseGrid.around(room, 0.05, 0.05)
    >>> found = korrin.fleet.locate_all(None, search, scans, everywhere)
    >>> [[round(number, 1) for number in best.pose] for [best] in found]
    [[1.1, 1.5, 0.8], [1.1, 2.0, 0.8]]
    """
    _check("search", search, korrin.PoseSearch)
    _check("grid", grid, korrin.PoseGrid)
    task = LocateTask(search, grid, {"count": count, "apart": apart, "turned": turned})
    return _all(client, task, "search", _listed("scans", scans), progress, threads)


def build_maps(
    client: Client | None,
    logs: Iterable[LogToMap],
    *,
    settings: mapping.AlignerSettings | None = None,
    resolution: float = 0.05,
    max_range: float | None = None,
    progress: Progress | None = None,
    threads: int | None = None,
) -> list[LogMap | Failure]:
    """Aligns each log and builds its grid, of cells of `resolution` metres: a LogMap.

    A log is a LaserLog, a list of LoggedScan, or the path of a file, which the workers read, with
    `max_range` (see korrin.read_log). `settings` and `resolution` are those of korrin.mapping.align. A
    log without scans, and one whose grid would have more than 50 million cells, is a Failure.

    >>> log = korrin.LaserLog([korrin.LoggedScan(korrin.Scan([2, 2, 2], -0.01, 0.01), (1, 1))] * 3)
    >>> for built in korrin.fleet.build_maps(None, [log, "no.log"], resolution=0.1):
    ...     print(built.map.shape if isinstance(built, korrin.fleet.LogMap) else built.kind)
    (12, 31)
    FileNotFoundError
    """
    if is_one_log(logs):
        raise TypeError(f"logs: wanted several, found one {type(logs).__name__}")
    task = MapTask(settings, resolution, max_range)
    return _all(client, task, "settings", _listed("logs", logs), progress, threads)


def sweep(
    client: Client | None,
    function: Callable[[_Setting], _Result],
    settings: Iterable[_Setting],
    *,
    progress: Progress | None = None,
    threads: int | None = None,
) -> list[_Result | Failure]:
    """function(setting) for each setting.

    Without a client any function will do, and gains what it spends in calls that let other threads
    run. With one, it, the settings and the results must be picklable; a function of the program's own
    file or typed in at a prompt goes along, and others are imported by the workers. It is unpickled
    once on a worker, which then calls it for all settings it gets, from each of its threads.

    >>> map = korrin.OccupancyMap(60, 40, 0.1)
    >>> map.reset(1)
    >>> map.image[:18, 30] = map.image[24:, 30] = 0
    >>> def length(radius):
    ...     return round(korrin.PathPlanner(map, robot_radius=radius).plan((1, 1), (5, 1)).length, 1)
    >>> korrin.fleet.sweep(None, length, [0.1, 0.2, 0.4])
    [4.7, 4.7, 0.0]
    """
    if not callable(function):
        raise TypeError(f"function: wanted something to call, found {type(function).__name__}")
    return _all(client, function, "function", _listed("settings", settings), progress, threads)


def _all(
    client: Client | None,
    task: Callable[[Any], Any],
    argument: str,
    requests: list[Any],
    progress: Progress | None,
    threads: int | None,
) -> list[Any]:
    """The task's answers. `argument` is what has given the task its name, should it not be picklable."""
    if client is not None:
        check_client(client)
        if threads is not None:
            raise ValueError("threads: with a client its workers have the threads")
    elif threads is not None and threads < 1:
        raise ValueError(f"threads: must be at least 1, found {threads}")
    if not requests:
        if progress is not None:
            progress(1.0)
        return []
    engine: Engine
    if client is None:
        engine = Threads(task, min(threads or own_processors(), len(requests)))
    else:
        engine = Cluster(client, task, "korrin-fleet", argument)
    return run(engine, requests, progress)


def _check(name: str, value: object, wanted: type) -> None:
    if not isinstance(value, wanted):
        raise TypeError(f"{name}: wanted a {wanted.__name__}, found {type(value).__name__}")


def _listed(name: str, values: Iterable[Any]) -> list[Any]:
    """All of them, before any is answered: what the iterable raises is raised."""
    if not hasattr(values, "__iter__"):
        raise TypeError(f"{name}: wanted several, found {type(values).__name__}")
    return list(values)
