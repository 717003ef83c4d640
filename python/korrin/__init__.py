"""Two-dimensional metric navigation on occupancy grids.

Builds maps from laser scans, plans paths on them, grows obstacles, simplifies paths, simulates and
compares scans, and finds the ways out of them.

>>> map = korrin.OccupancyMap(200, 100, 0.05)     # 10 m x 5 m, every cell unknown
>>> map.reset(1)                                  # all of it free
>>> map.image[:80, 100] = 0                       # but for a wall, through a numpy view of the map
>>> planner = korrin.PathPlanner(map, robot_radius=0.3)
>>> plan = planner.plan((1, 1), (9, 1))
>>> len(plan.waypoints) < 10 < len(plan.path)
True

The C++ headers below include/korrin are the manual; names are theirs in snake case, and keyword
arguments, too (`from_` and `in_` where Python has the word for itself). What differs:

- Metres, radians and cells throughout. A tuple or array of numbers serves for a pose or a cell,
  without the heading, too; paths are N x 3 float32 arrays, lists of cells N x 3 float64 arrays
  (column, row, heading). The name of a member, upper or lower case, serves for an enumeration.
- What a C++ function writes into an empty output is returned: a cell or None, a path, a scan. What
  must be there already (a map, an image to write into) is an argument.
- Failures are results (a plan that tells why, None or empty), and log records go to the logger "korrin".
- Arguments of the wrong shape or size raise ValueError, of the wrong type TypeError; the message
  names the argument, what was wanted and what was found.
- Everything is a value: objects print what they hold, are equal when that is, can be copied and
  pickled, and have no hash if they can change. Two numbers that are both NaN count as equal, so
  that what a pickle gives back equals what went in. What works on a map (a planner, a path finder, a
  mapper, a prepared map) is copied by copy.copy with the same map; copy.deepcopy and pickle take the map
  along, one map for all that share it.
- Long calls let other threads run. Objects may be shared by threads; a map that one thread writes
  while another one reads it has both old and new values.
"""

from . import _korrin
from ._korrin import *  # noqa: F403
from ._laser_logs import LaserLog, LoggedScan, read_log, write_log

__version__ = _korrin.__version__
_OF_THE_EXTENSION = [name for name in vars(_korrin) if not name.startswith("_")]
_OF_THE_PACKAGE = ["LaserLog", "LoggedScan", "read_log", "write_log"]
__all__ = sorted(_OF_THE_EXTENSION + _OF_THE_PACKAGE)


def _show_as_imported(owner: object, names: list[str]) -> None:
    """Everything shows, and is pickled, under the name by which it is imported."""
    for name in names:
        member = getattr(owner, name)
        if isinstance(member, type):
            member.__module__ = __name__
            _show_as_imported(member, [key for key in vars(member) if not key.startswith("_")])


_show_as_imported(_korrin, _OF_THE_EXTENSION)
LaserLog.__module__ = LoggedScan.__module__ = __name__
