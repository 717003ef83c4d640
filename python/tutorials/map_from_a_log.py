# %% [markdown]
# # From a laser log to a map
#
# A robot has driven through two rooms and kept what its laser scanner measured, and where it was.
# This makes a map of it, says what a reading means, and finds the places still to be explored.
#
# Run it as it is, or cell by cell in an editor that knows `# %%`. Pictures go to the directory that
# is named on the command line (default: here).

# %%
import pathlib
import sys

import numpy as np
from matplotlib import pyplot
from numpy.typing import NDArray

import korrin
import korrin.plot

out = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
out.mkdir(parents=True, exist_ok=True)

# %% [markdown]
# ## The log
#
# Yours comes from a file or a bag. This one is made up, by a scanner that looks at a floor plan
# drawn by hand: 8 m x 5 m, two rooms, a door, a pillar. What matters is its form: for each scan the
# pose of the robot, and the ranges of one turn, as robots' laser messages have them.

# %%
floor = korrin.OccupancyMap(340, 220, 0.025)
floor.params.origin = korrin.Pose2D(-0.25, -0.25, 0)
floor.reset(1)
floor.image[:10, :] = floor.image[-10:, :] = 0
floor.image[:, :10] = floor.image[:, -10:] = 0
floor.image[:80, 170:174] = 0  # the wall between the rooms
floor.image[125:, 170:174] = 0
floor.image[60:75, 60:75] = 0  # the pillar

message = {"angle_min": -2.2, "angle_increment": 4.4 / 360, "range_min": 0.1, "range_max": 3.5}
scanner = korrin.ScanModel(count=361, max_range=30, field_of_view=4.4)
random = np.random.default_rng(7)


def measure(pose: korrin.Pose2D) -> NDArray[np.float32]:
    """The ranges of one turn, with noise, beams without an echo and a broken one."""
    scan = korrin.occ_map_simulate_scan(floor, scanner, pose, 0.45)
    ranges = scan.readings["range"] + random.normal(0, 0.01, len(scan))
    ranges[scan.readings["range"] > message["range_max"]] = np.inf
    ranges[100] = np.nan
    return np.asarray(ranges, dtype=np.float32)


tour = [(0.8 + 0.2 * i, 2.4 + 0.5 * np.sin(0.8 * i), 0.6 * np.cos(0.8 * i)) for i in range(32)]
log = [(korrin.Pose2D(pose), measure(korrin.Pose2D(pose))) for pose in tour]

# %% [markdown]
# ## A scan from ranges
#
# One call makes a scan. Infinite ranges and those beyond `range_max` are beams that met nothing:
# they free what they crossed and mark no obstacle. Ranges that are not numbers or below `range_min`
# are failed measurements and left out.

# %%
pose, ranges = log[4]
scan = korrin.Scan(ranges, **message)
print(f"{len(ranges)} beams, {len(scan)} readings, {(scan.readings['status'] == 1).sum()} no-hits")
assert len(scan) == len(ranges) - 1

# %% [markdown]
# ## The map
#
# `update_map` makes every cell that a beam crossed a little freer, and the cell where it ended a
# little less free. What has never been seen stays at 0.5.

# %%
map = korrin.OccupancyMap(170, 110, 0.05)
map.params.origin = korrin.Pose2D(-0.25, -0.25, 0)
mapper = korrin.OccupancyMapper(map)
for pose, ranges in log:
    mapper.update_map(korrin.Scan(ranges, **message), pose, free_inc=0.04, occ_inc=0.3)

known = np.abs(map.image - 0.5) > 0.1
print(f"{known.mean():.0%} of the map is known")
assert known.mean() > 0.7

# %%
figure, axes = pyplot.subplots(1, 2, figsize=(13, 4.5))
korrin.plot.map(floor, axes[0])
pose, ranges = log[4]
korrin.plot.scan(korrin.Scan(ranges, **message), pose, axes[0])
axes[0].set_title("the floor, and one scan of it")
korrin.plot.map(map, axes[1])
korrin.plot.path(tour, axes[1])
axes[1].set_title("the map that the log gives")
figure.savefig(out / "log_to_map.png")

# %% [markdown]
# ## How good is it?
#
# A scan simulated in the new map is compared with the measured one, beam by beam.

# %%
pose, ranges = log[-1]
expected = korrin.occ_map_simulate_scan(map, korrin.ScanModel(361, 3.5, 4.4), pose, 0.45)
measured = np.minimum(np.nan_to_num(ranges, nan=np.inf), message["range_max"])
error = np.median(np.abs(expected.readings["range"] - measured))
print(f"half of the beams are within {error * 100:.1f} cm")
assert error < 0.08

# %% [markdown]
# ## Where to look next?
#
# The nearest cell that is unknown and in sight, seen from where the robot is; and the openings of
# the last scan.

# %%
here = map.get_pixel_from_pose(pose)
unknown = korrin.find_first_gray_cell(map, here, threshold=0.45, tolerance=0.1)
print("nearest unknown cell in sight:", unknown)

holes = korrin.find_scan_holes(korrin.Scan(log[12][1], **message), min_width=0.7)
print(f"{len(holes)} openings wider than 0.7 m, 12 scans into the log")
figure, single = pyplot.subplots(figsize=(7, 4.5))
korrin.plot.map(map, single)
korrin.plot.scan(korrin.Scan(log[12][1], **message), log[12][0], single)
korrin.plot.holes(holes, log[12][0], single)
figure.savefig(out / "holes.png")

# %% [markdown]
# ## Keep it
#
# As a YAML file and a picture, the form in which map servers have their maps.

# %%
korrin.save_map(map, out / "rooms.yaml")
again = korrin.load_map(out / "rooms.yaml")
assert again.image.shape == map.image.shape
