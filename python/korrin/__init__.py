"""Two-dimensional metric navigation on occupancy grids.

Builds maps from laser scans, plans paths on them, grows obstacles, simplifies paths, simulates and
compares scans, and finds the ways out of them.

>>> map = korrin.OccupancyMap(200, 100, 0.05)     # 10 m x 5 m, every cell unknown
>>> map.image[:80, 100] = 0                       # a wall, through a numpy view of the map
>>> path = korrin.OccMapPathFinder(map).compute_path((1, 1, 0), (9, 1, 0))
>>> waypoints = korrin.SafePathSimplifier().sample(path, map)
>>> len(waypoints) < 10 < len(path)
True

The C++ headers below include/korrin are the manual; names are theirs in snake case, and keyword
arguments, too (`from_` and `in_` where Python has the word for itself). What differs:

- Metres, radians and cells throughout. A tuple or array of numbers serves for a pose or a cell;
  paths are N x 3 float32 arrays, lists of cells N x 3 float64 arrays (column, row, heading).
- What a C++ function writes into an empty output is returned: a cell or None, a path, a scan. What
  must be there already (a map, an image to write into) is an argument.
- Failures are results (None or empty), and their log records go to the logger "korrin".
- Arguments of the wrong shape or size raise ValueError, of the wrong type TypeError.
- Long calls let other threads run. Objects may be shared by threads; a map that one thread writes
  while another one reads it has both old and new values.
"""

from . import _korrin
from ._korrin import *  # noqa: F403
from ._map_files import load_map, save_map

__version__ = _korrin.__version__
__all__ = sorted(
    [name for name in vars(_korrin) if not name.startswith("_")] + ["load_map", "save_map"]
)

# Everything shows under the name by which it is imported.
for _name in __all__:
    if isinstance(globals()[_name], type):
        globals()[_name].__module__ = __name__
del _name
