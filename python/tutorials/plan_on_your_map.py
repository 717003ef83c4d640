# %% [markdown]
# # Plan on your own map
#
# From a grid of your own to waypoints that a robot can follow:
#
# 1. put a floor plan into a map,
# 2. keep a distance to its walls,
# 3. plan a path and reduce it to few safe waypoints,
# 4. look at what can go wrong.
#
# Run it as it is, or cell by cell in an editor that knows `# %%`. Pictures go to the directory that
# is named on the command line (default: here).

# %%
import logging
import pathlib
import sys

import numpy as np
from matplotlib import pyplot

import korrin
import korrin.plot

out = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
out.mkdir(parents=True, exist_ok=True)

# %% [markdown]
# ## A map is an image of probabilities
#
# Each cell holds the probability that it is *free*: 1 free, 0.5 unknown, 0 occupied. `map.image`
# is the map's own memory as a numpy array, rows (y) first. So any array becomes a map by assigning
# it; here walls are drawn by slices. A map file in map-server form (YAML and PGM or PNG) is read by
# `korrin.load_map("office.yaml")` instead.

# %%
map = korrin.OccupancyMap(240, 160, 0.05)  # 12 m x 8 m
map.params.origin = korrin.Pose2D(-6, -4, 0)  # the world's origin in the middle
map.reset(1)
map.image[[0, -1], :] = 0
map.image[:, [0, -1]] = 0
map.image[:100, 80:83] = 0  # two walls to go round
map.image[60:, 160:163] = 0
map.image[100:160, 80:120] = 0.5  # a corner where nobody has been

# %% [markdown]
# ## Keep a distance
#
# The planner takes the robot for a point, so obstacles grow by its radius first: blocked within
# 0.3 m, and freer and freer up to 0.8 m, so that paths prefer the middle of the way. A dilation looks
# at obstacles alone and forgets what is unknown; the lower value of both maps remembers it.

# %%
grown = korrin.OccupancyMap(map)
dilater = korrin.ObstacleDilater(map.params.width, map.params.height)
dilater.set_params(dilation_radius=0.3, fade_distance=0.8)
dilater.dilate(grown, korrin.ObstacleDilater.DILATE_LINEAR)
np.minimum(grown.image, map.image, out=grown.image)

# %% [markdown]
# ## Plan
#
# Poses are (x, y, theta) in metres and radians of the world. The path is an N x 3 array, a pose for
# each cell on the way. The simplifier keeps few of them, such that the straight lines between them
# stay clear of obstacles.

# %%
start, goal = (-5, -3, 0), (5, 3, 0)
finder = korrin.OccMapPathFinder(grown)
finder.set_obstacle_threshold(0.05)
path = finder.compute_path(start, goal)

simplifier = korrin.SafePathSimplifier()
simplifier.set_obstacle_threshold(0.05)
waypoints = simplifier.sample(path, grown)

costs = korrin.compute_path_cost_stat(grown, waypoints)
print(f"{len(path)} cells became {len(waypoints)} waypoints, {costs.length:.1f} m long")
print(f"the tightest place has the value {costs.min_cost:.2f}")

assert len(waypoints) < len(path) / 5
assert costs.min_cost >= 0.05

# %%
figure, axes = pyplot.subplots(1, 2, figsize=(12, 4))
korrin.plot.map(map, axes[0])
korrin.plot.path(waypoints, axes[0], color="tab:red", marker=".")
axes[0].set_title("the map and the waypoints")
korrin.plot.map(grown, axes[1])
korrin.plot.path(path, axes[1], color="tab:orange")
axes[1].set_title("what the planner sees, and its path")
figure.savefig(out / "plan.png")

# %% [markdown]
# ## How hard was it?
#
# After a search the finder shows all of it. `set_h_weight` trades the cost of the path for speed: 0
# looks everywhere and finds a cheapest path, 0.5 is plain A*, 1 runs at the goal. It holds for all
# finders of the program, and each new finder sets it back to 0.5.

# %%
expanded = {}
for weight in (0.0, 0.5, 0.9):
    finder.set_h_weight(weight)
    finder.compute_path(start, goal)
    expanded[weight] = finder.get_num_iterations()
finder.set_h_weight(0.5)
print("cells expanded:", expanded)

assert expanded[0.0] > expanded[0.5] > expanded[0.9]

# %% [markdown]
# ## When there is no path
#
# A failure is an empty path, and a record in Python's logging that says why.

# %%
logging.basicConfig(format="%(name)s: %(message)s", stream=sys.stdout)
inside_a_wall = (-1.95, -3, 0)
assert finder.compute_path(inside_a_wall, goal).size == 0  # logs "Start is not free."

# The way out: the nearest free cell.
cell = korrin.find_first_free_cell(grown, grown.get_pixel_from_pose(inside_a_wall), 0.1)
assert cell is not None
way_out = grown.get_pose_from_pixel(cell)
assert finder.compute_path(way_out, goal).size > 0
moved = np.hypot(way_out.x - inside_a_wall[0], way_out.y - inside_a_wall[1])
print(f"free again after {moved:.2f} m")
