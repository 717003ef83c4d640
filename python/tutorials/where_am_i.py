# %% [markdown]
# # Where am I?
#
# Two scans of one room, from two places: how has the robot moved between them? The second scan is
# tried at many poses on the distance map of the first, and the best score tells.
#
# Run it as it is, or cell by cell in an editor that knows `# %%`. Pictures go to the directory that
# is named on the command line (default: here).

# %%
import pathlib
import sys

import numpy as np
from matplotlib import pyplot

import korrin
import korrin.plot

out = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
out.mkdir(parents=True, exist_ok=True)

# %% [markdown]
# ## Two scans
#
# Of a room with a niche and a table, drawn by hand: 6 m x 4 m.

# %%
room = korrin.OccupancyMap(280, 200, 0.025)
room.params.origin = korrin.Pose2D(-3.5, -2.5, 0)
room.reset(0)
room.image[20:180, 20:260] = 1
room.image[180:195, 60:110] = 1  # the niche
room.image[60:80, 170:200] = 0  # the table

scanner = korrin.ScanModel(count=361, max_range=10, field_of_view=4.7)
moved_by = korrin.Pose2D(0.35, -0.2, 0.25)
first = korrin.occ_map_simulate_scan(room, scanner, (0, 0, 0), 0.45)
second = korrin.occ_map_simulate_scan(room, scanner, moved_by, 0.45)

# %% [markdown]
# ## The distance map of the first
#
# For every pixel, how far it is to the nearest hit. A point of the second scan that lands on a hit
# counts 1, farther away less, and from `max_dist` on nothing.

# %%
resolution, max_dist = 0.05, 0.3
reference = korrin.ScanDistMap()
reference.build(first, (0, 0, 0), resolution)
score, matches = reference.score(second, (0, 0, 0), max_dist)
print(f"unmoved, {matches} of {len(second)} readings match, with a score of {score:.2f}")

# %% [markdown]
# ## All poses at once
#
# `scan_scores` tries many poses in one call, faster than one by one. The heading varies slowest, as
# it is fastest that way.

# %%
shifts = np.arange(-20, 21) * 0.025
turns = np.arange(-20, 21) * 0.025
theta, y, x = np.meshgrid(turns, shifts, shifts, indexing="ij")
poses = np.column_stack([x.ravel(), y.ravel(), theta.ravel()]).astype(np.float32)
points = second.to_point2d()[second.readings["status"] == 0]
assert reference.distance_map is not None
scores, counts = korrin.scan_scores(reference.distance_map, points, poses, resolution, max_dist)

best = korrin.Pose2D(poses[scores.argmax()])
print(f"best of {len(poses)} poses, with a score of {scores.max():.2f}: {best}")
print(f"in truth: {moved_by}")
assert abs(best.x - moved_by.x) < 0.06
assert abs(best.y - moved_by.y) < 0.06
assert abs(best.theta - moved_by.theta) < 0.03

# %% [markdown]
# ## The picture
#
# On the left the two scans, the second one at the pose that was found. On the right the best score
# over all headings at each shift: one clear summit. In a corridor it would be a ridge.

# %%
figure, axes = pyplot.subplots(1, 2, figsize=(13, 4.5))
korrin.plot.scan(first, (0, 0, 0), axes[0], color="black")
korrin.plot.scan(second, best, axes[0], color="tab:red")
axes[0].set_title("the second scan where it fits the first")
summit = scores.reshape(theta.shape).max(axis=0)
korrin.plot.scores(summit, (shifts[0], shifts[-1], shifts[0], shifts[-1]), axes[1])
axes[1].plot(best.x, best.y, "wx")
axes[1].set_title("score by shift")
figure.savefig(out / "where.png")

# %% [markdown]
# ## In a known map
#
# With a map, the beam model compares whole scans instead: which of these places is the second scan
# from? A prepared map answers many simulated scans faster.

# %%
prepared = korrin.PreparedMap(room, 0.45)
places = [korrin.Pose2D(-2, 1, 0.25), moved_by, korrin.Pose2D(2, 1, 0.25), korrin.Pose2D(0.35, 1, 2)]
likelihoods = [
    scanner.scan_likelihood(second, prepared.occ_map_simulate_scan(scanner, place), 1)
    for place in places
]
print("likelihoods:", np.round(likelihoods, 2))
assert np.argmax(likelihoods) == 1
