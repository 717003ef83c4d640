# %% [markdown]
# # Where am I?
#
# A scan is laid over what is known, another scan or a whole map, and the pose at which it fits best
# tells where it was taken. `PoseSearch` finds the best of millions of poses without trying each, and
# the runner-up, which tells whether to believe it.
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
# ## Two scans of one room
#
# A room with a niche and a table, drawn by hand: 6 m x 4 m. Between the scans the robot has moved;
# by how much is what the search has to tell.

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
points = second.to_point2d()[second.readings["status"] == 0]

# %% [markdown]
# The first scan becomes a distance map. A point of the second one that lands on a hit counts 1,
# farther away less, and from `max_dist` on nothing; the score of a pose is the mean. The grid says
# which poses are asked about: half a metre and half a radian each way.

# %%
reference = korrin.ScanDistMap()
reference.build(first, (0, 0, 0), 0.05)  # 5 cm a pixel
search = korrin.PoseSearch(reference, max_dist=0.3)
grid = korrin.PoseGrid(reach_x=0.5, reach_y=0.5, turn=0.5, step=0.025, turn_step=0.025)
[best] = search.best(points, grid)
print(f"unmoved, the score is {search.score(points, (0, 0, 0)):.2f}")
print(f"best of {grid.poses():,} poses, with a score of {best.score:.2f}: {best.pose}")
print(f"in truth: {moved_by}")
assert abs(best.pose.x - moved_by.x) < 0.06
assert abs(best.pose.y - moved_by.y) < 0.06
assert abs(best.pose.theta - moved_by.theta) < 0.03

# %% [markdown]
# `scan_scores` is what to take for the scores of all poses, as in this picture: on the left the two
# scans, the second one at the pose that was found; on the right the best score over all headings at
# each shift. One clear summit; in a corridor it would be a ridge.

# %%
shifts = np.arange(-20, 21) * np.float32(0.025)
theta, y, x = np.meshgrid(shifts, shifts, shifts, indexing="ij")  # radians, metres, metres
poses = np.column_stack([x.ravel(), y.ravel(), theta.ravel()]).astype(np.float32)
assert reference.distance_map is not None
scores, counts = korrin.scan_scores(reference.distance_map, points, poses, 0.05, 0.3)
assert scores.max() == np.float32(best.score)

figure, axes = pyplot.subplots(1, 2, figsize=(13, 4.5))
korrin.plot.scan(first, (0, 0, 0), axes[0], color="black")
korrin.plot.scan(second, best.pose, axes[0], color="tab:red")
axes[0].set_title("the second scan where it fits the first")
summit = scores.reshape(theta.shape).max(axis=0)
korrin.plot.scores(summit, (shifts[0], shifts[-1], shifts[0], shifts[-1]), axes[1])
axes[1].plot(best.pose.x, best.pose.y, "wx")
axes[1].set_title("score by shift")
figure.savefig(out / "two_scans.png")

# %% [markdown]
# ## A whole map, and no idea where
#
# Two rooms at a corridor, of one size; a pillar stands in the right one. A robot is switched on in
# it. `PoseGrid.around` has every place on the map with every heading.

# %%
floor = korrin.OccupancyMap(180, 130, 0.05)
floor.reset(0)
floor.image[4:40, 4:176] = 1  # the corridor
floor.image[44:126, 4:88] = floor.image[44:126, 92:176] = 1  # the rooms
floor.image[40:44, 40:58] = floor.image[40:44, 128:146] = 1  # their doors
twins = korrin.OccupancyMap.from_array(floor.image.copy(), 0.05)
floor.image[95:101, 150:156] = 0  # the pillar

stands_at = korrin.Pose2D(6.3, 4.1, 0.8)
scan = korrin.occ_map_simulate_scan(floor, scanner, stands_at, 0.45)
points = scan.to_point2d()[scan.readings["status"] == 0]
everywhere = korrin.PoseGrid.around(floor, step=0.05, turn_step=np.radians(1))
on_floor = korrin.PoseSearch(floor, threshold=0.45, max_dist=0.3)
best, elsewhere = on_floor.best(points, everywhere, count=2, apart=1)
print(f"best of {everywhere.poses():,} poses, with a score of {best.score:.3f}: {best.pose}")
print(f"elsewhere the best scores {elsewhere.score:.3f}: {elsewhere.pose}")
assert abs(best.pose.x - stands_at.x) < 0.06
assert abs(best.pose.y - stands_at.y) < 0.06

# %% [markdown]
# ## The runner-up
#
# The pose elsewhere is in the other room, and scores less for the lack of a pillar. Without the
# pillar both rooms are the same to a scanner: two poses score alike, and the best one of them is the
# first in the order of the grid, no more. Ask for two, and believe the first only when the second is
# clearly worse. `korrin locate` demands 2 %.

# %%
blind = korrin.occ_map_simulate_scan(twins, scanner, stands_at, 0.45)
blind_points = blind.to_point2d()[blind.readings["status"] == 0]
on_twins = korrin.PoseSearch(twins, threshold=0.45, max_dist=0.3)
one, other = on_twins.best(blind_points, everywhere, count=2, apart=1)
for name, (winner, second_best) in {
    "with a pillar": (best, elsewhere),
    "without": (one, other),
}.items():
    is_clear = second_best.score < 0.98 * winner.score
    print(f"{name}: {winner.score:.3f} and {second_best.score:.3f},", "clear" if is_clear else "here or there")
assert elsewhere.score < 0.98 * best.score
assert other.score > 0.98 * one.score

# %% [markdown]
# ## The picture
#
# The best score over eight headings at places a quarter of a metre apart, for either map. On the left the
# scan at its two poses, blue where it fits best: one summit is higher. On the right there are two.

# %%
places_x, places_y = np.arange(0.5, 8.6, 0.25), np.arange(0.5, 6.1, 0.25)


def scores_by_place(search: korrin.PoseSearch, points: NDArray[np.float32]) -> list[list[float]]:
    """How well a scan fits at each place, at headings around the true one."""
    headings = stands_at.theta + np.arange(8) * np.pi / 4
    return [
        [max(search.score(points, np.array([x, y, heading])) for heading in headings) for x in places_x]
        for y in places_y
    ]


figure, axes = pyplot.subplots(1, 2, figsize=(14, 4.5))
extent = (places_x[0], places_x[-1], places_y[0], places_y[-1])
for drawn, looked, seen, taken, pair in (
    (axes[0], on_floor, points, scan, (best, elsewhere)),
    (axes[1], on_twins, blind_points, blind, (one, other)),
):
    korrin.plot.scores(scores_by_place(looked, seen), extent, drawn)
    korrin.plot.scan(taken, pair[1].pose, drawn, color="tab:orange")
    korrin.plot.scan(taken, pair[0].pose, drawn, color="tab:blue")
    drawn.set_title(f"{pair[0].score:.3f}, and elsewhere {pair[1].score:.3f}")
figure.savefig(out / "runner_up.png")

# %% [markdown]
# ## Which of a few places?
#
# Where the places are known, a list of rooms or the particles of a filter, the beam model compares
# whole scans instead. It weighs beams that should have met something, too. A prepared map simulates
# many scans sooner.

# %%
prepared = korrin.PreparedMap(floor, 0.45)
candidates = [best.pose, elsewhere.pose, korrin.Pose2D(6.3, 1.1, 0.8)]
likelihoods = [
    scanner.scan_likelihood(scan, prepared.occ_map_simulate_scan(scanner, place), 1)
    for place in candidates
]
print("likelihoods:", np.round(likelihoods, 2))
assert np.argmax(likelihoods) == 0
