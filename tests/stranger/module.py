"""A program that knows the Python module only from outside: plans, and keeps what it has in files.

    python3 module.py DIRECTORY     fails also when the module comes from elsewhere
"""

import pathlib
import pickle
import sys
import tempfile

import numpy as np

import korrin

package = pathlib.Path(korrin.__file__).parent
if pathlib.Path(sys.argv[1]) not in package.parents:
    sys.exit(f"korrin comes from {package}")

grid = korrin.OccupancyMap(200, 100, 0.05)
grid.reset(1)
grid.image[:80, 100] = 0
path = korrin.OccMapPathFinder(grid).compute_path((1, 1, 0), (9, 1, 0))
assert len(path) > 10
assert abs(path[-1][0] - 9) < 0.1

with tempfile.TemporaryDirectory() as directory:
    korrin.save_map(grid, f"{directory}/room.yaml")
    again = korrin.load_map(f"{directory}/room.yaml")
assert np.array_equal(again.image, grid.image)
assert again.params.resolution == grid.params.resolution

pose = korrin.Pose2D(1, 2, 0.5)
assert pickle.loads(pickle.dumps(pose)) == pose

print("korrin", korrin.__version__, "for Python: a path of", len(path), "poses")
