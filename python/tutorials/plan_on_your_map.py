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
map.image[130:160, 80:120] = 0.5  # a corner where nobody has been

# %% [markdown]
# ## Keep a distance
#
# The planner prepares the map once: cells within the robot's radius of an obstacle are closed, and
# those up to half a metre farther off are dearer, so that paths prefer the middle of the way. What
# nobody has seen is closed, too.

# %%
planner = korrin.PathPlanner(map, robot_radius=0.3, fade_distance=0.5)

# %% [markdown]
# ## Plan
#
# Poses are (x, y) or (x, y, theta) in metres and radians of the world. The path is an N x 3 array, a
# pose for each cell on the way. The waypoints are few of them, such that the straight lines between
# them stay clear of obstacles.

# %%
start, goal = (-5, -3), (5, 3)
plan = planner.plan(start, goal)
print(plan)

assert plan.outcome == korrin.PlanOutcome.Found
assert len(plan.waypoints) < len(plan.path) / 5

# How near do the straight lines come to obstacles? The value of a cell tells.
costs = korrin.compute_path_cost_stat(planner.fine_map(), plan.waypoints)
print(f"{costs.length:.1f} m to drive; the tightest place has the value {costs.min_cost:.2f}")

assert costs.min_cost >= planner.settings.obstacle_threshold

# %%
figure, axes = pyplot.subplots(1, 2, figsize=(12, 4))
korrin.plot.map(map, axes[0])
korrin.plot.path(plan.waypoints, axes[0], color="tab:red", marker=".")
axes[0].set_title("the map and the waypoints")
korrin.plot.map(planner.grown_map(), axes[1])
korrin.plot.path(plan.path, axes[1], color="tab:orange")
axes[1].set_title("what the planner sees, and its path")
figure.savefig(out / "plan.png")

# %% [markdown]
# ## How hard was it?
#
# `weight` trades the cost of the path for speed: 0 looks everywhere and finds a cheapest path, 0.5 is
# plain A*, 1 runs at the goal.

# %%
expanded = {}
for weight in (0.0, 0.5, 0.9):
    planner_of_weight = korrin.PathPlanner(map, robot_radius=0.3, fade_distance=0.5, weight=weight)
    expanded[weight] = planner_of_weight.plan(start, goal).iterations
print("cells expanded:", expanded)

assert expanded[0.0] > expanded[0.5] > expanded[0.9]

# %% [markdown]
# ## When there is no path
#
# A plan tells which end is blocked, why, and where the nearest free cell is.

# %%
refused = planner.plan((-1.95, -3), goal)
print(refused)
assert refused.blocked is not None
assert refused.blocked.reason == korrin.BlockedReason.Obstacle

# The way out, and from there on.
way_out = refused.blocked.nearest_free
assert way_out is not None
assert planner.plan(way_out, goal).outcome == korrin.PlanOutcome.Found
print(f"free again after {np.hypot(way_out.x + 1.95, way_out.y + 3):.2f} m")

# %% [markdown]
# ## When the map changes
#
# A refresh takes in what changed, here a door that somebody shuts.

# %%
map.image[100:, 80:83] = 0
planner.refresh(x=80, y=100, width=3, height=60)
print(planner.plan(start, goal))
assert planner.plan(start, goal).outcome == korrin.PlanOutcome.NoPath
