# %% [markdown]
# # From a raw log to a true map
#
# Wheels slip. After one lap a robot's odometry is off by more than a corridor is wide, and a map of
# the logged poses shows every wall twice. This corrects the poses by what the scans tell, and then
# finds a robot on the new map that does not know where it is.
#
# Run it as it is, or cell by cell in an editor that knows `# %%`. Pictures go to the directory that
# is named on the command line (default: here); a second argument is a laser log of yours, in the
# CARMEN text format, plain or packed with gzip.

# %%
import pathlib
import sys

import numpy as np
from matplotlib import pyplot

import korrin
import korrin.mapping
import korrin.plot

out = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
out.mkdir(parents=True, exist_ok=True)
FIELD = pathlib.Path("../shared/data/logs/intel-raw.log.gz")

# %% [markdown]
# ## The log
#
# Without a log of yours this takes one of the field where it is at hand, the first scans of 45
# minutes in an office building; else one that is made up: two laps through a floor of rooms drawn by
# hand, with odometry that tells 3 % too much of the way, and turns a little with it.


# %%
def made_up() -> korrin.LaserLog:
    """Two laps around a block of rooms, 14 m x 10 m, as a robot with a slipping wheel logs them."""
    floor = korrin.OccupancyMap(300, 220, 0.05)
    floor.params.origin = korrin.Pose2D(-0.5, -0.5, 0)
    floor.reset(1)
    image = floor.image
    image[:10], image[-10:], image[:, :10], image[:, -10:] = 0, 0, 0, 0
    image[50:170, 50:250] = 0  # the block; niches and pillars tell its sides apart
    image[50:62, 90:120], image[150:170, 180:230], image[90:130, 50:58] = 1, 1, 1
    image[195:210, 60:90], image[10:20, 170:200], image[100:115, 280:290] = 0, 0, 0

    laser = korrin.ScanModel(count=181, max_range=8, field_of_view=3.14)
    corners = [(1, 1), (13, 1), (13, 9), (1, 9)]
    way: list[tuple[float, float, float]] = []
    for side in range(8):
        (x, y), (to_x, to_y) = corners[side % 4], corners[(side + 1) % 4]
        heading = side % 4 * np.pi / 2
        steps = round(np.hypot(to_x - x, to_y - y) / 0.25)
        way += [(x + (to_x - x) * i / steps, y + (to_y - y) * i / steps, heading) for i in range(steps)]
        way += [(to_x, to_y, heading + 0.3 * i) for i in range(1, 5)]
    poses = [korrin.Pose2D(pose) for pose in way]
    told = [poses[0]]
    for before, after in zip(poses, poses[1:]):
        ahead, aside, turn = before.rel_project(after)
        told.append(told[-1].abs_project((1.03 * ahead, 1.03 * aside, turn + 0.006 * ahead)))
    scans = [korrin.occ_map_simulate_scan(floor, laser, pose, 0.45) for pose in poses]
    return korrin.LaserLog([korrin.LoggedScan(*pair) for pair in zip(scans, told)])


if len(sys.argv) > 2:
    log = korrin.read_log(sys.argv[2])
elif FIELD.is_file():
    log = korrin.read_log(FIELD)
    log.scans = log.scans[:300]  # some seconds; take all of them away from here
else:
    log = made_up()
print(len(log.scans), "scans")

# %% [markdown]
# ## As it was logged
#
# `build_grid` takes the poses as they stand. `judge_grid` compares what a scanner would see in the
# map with what it saw; the likelihood of a perfect map is 1.


# %%
def grid_of(scans: list[korrin.LoggedScan]) -> korrin.OccupancyMap:
    """The map of scans at their poses, 5 cm a cell."""
    frame = korrin.mapping.grid_around(scans, 0.05)
    assert frame is not None, "the scans lie too far apart for one map"
    return korrin.mapping.cropped_to_free(korrin.mapping.build_grid(scans, frame))


raw = grid_of(log.scans)
print(f"as logged: likelihood {korrin.mapping.judge_grid(raw, log.scans).likelihood:.3f}")
figure, axes = pyplot.subplots(figsize=(9, 7))
korrin.plot.map(raw, axes)
korrin.plot.path([tuple(logged.pose) for logged in log.scans], axes, linewidth=1)
axes.set_title("as logged")
figure.savefig(out / "1-raw.png")

# %% [markdown]
# ## Corrected
#
# `align` matches each scan with those before it, finds places that come again, and settles all of it
# together. It calls `progress` with the share of the work that is done; here every quarter is told.

# %%
told_quarters: list[int] = []


def progress(share: float) -> None:
    if int(share * 4) not in told_quarters:
        told_quarters.append(int(share * 4))
        print(f"{told_quarters[-1] * 25} %", end=" ", flush=True)


aligned = korrin.mapping.align(log, progress=progress)
print()
corrected = grid_of(aligned.scans)
quality = korrin.mapping.judge_grid(corrected, aligned.scans)
print(f"corrected: likelihood {quality.likelihood:.3f}")
figure, axes = pyplot.subplots(figsize=(9, 7))
korrin.plot.map(corrected, axes)
korrin.plot.path([tuple(logged.pose) for logged in aligned.scans], axes, linewidth=1)
axes.set_title("corrected")
figure.savefig(out / "2-corrected.png")

# %% [markdown]
# ## What happened
#
# The summary counts. Key scans are the nodes of a graph. Loops are places that were found again:
# more are found than accepted, for only those count that agree with each other; a loop that later
# contradicts the rest is dropped. A scan that fits nowhere stays where odometry has it: when there
# are many of those, look at the map with care.

# %%
summary = aligned.summary
print(f"poses: {aligned.kind.name}")
print(f"{summary.key_scans} key scans of {summary.scans}, {summary.unmatched} scans fitted nowhere")
print(
    f"loops: {summary.loops_found} found, {summary.loops_accepted} accepted, "
    f"{summary.loops_dropped} of these dropped later"
)
shifts = [
    np.hypot(after.pose.x - before.pose.x, after.pose.y - before.pose.y)
    for before, after in zip(log.scans, aligned.scans)
]
print(f"moved by {np.mean(shifts):.2f} m on average, {np.max(shifts):.2f} m at most")

# %% [markdown]
# ## The graph
#
# Loops are lines between the two scans that see the same place, the redder the farther the solved
# poses leave them off, dropped ones dashed. Where lines are dense the map is well tied together.
# Where there are none only matching of scan to scan holds it, and errors may grow.

# %%
figure, axes = pyplot.subplots(figsize=(9, 7))
korrin.plot.map(corrected, axes)
korrin.plot.graph(aligned, axes)
axes.set_title("key scans, and loops between them")
figure.savefig(out / "3-graph.png")

# %% [markdown]
# ## Found on the new map
#
# A robot that is switched on somewhere has a scan and the map. To be honest, the map for this is
# built without the scan and its neighbours. Of every place and heading the best is found, and the
# best elsewhere: where that scores almost as much, the answer is not to be trusted.

# %%
number = 2 * len(aligned.scans) // 3
lost = aligned.scans[number]
others = aligned.scans[: number - 2] + aligned.scans[number + 3 :]
map = grid_of(others)
points = lost.scan.to_point2d()[lost.scan.readings["status"] == 0]
search = korrin.PoseSearch(map, threshold=0.45, max_dist=0.3)
everywhere = korrin.PoseGrid.around(map, step=0.1, turn_step=np.radians(1))
best, elsewhere = search.best(points, everywhere, count=2, apart=1)
found, truth = korrin.Pose2D(best.pose), lost.pose
off = np.hypot(found.x - truth.x, found.y - truth.y)
print(f"best of {everywhere.poses():,} poses: score {best.score:.2f}, elsewhere {elsewhere.score:.2f}")
print(f"{off:.2f} m from where the scan was aligned")

# %%
figure, axes = pyplot.subplots(figsize=(9, 7))
korrin.plot.map(map, axes)
korrin.plot.scan(lost.scan, elsewhere.pose, axes, color="tab:orange")
korrin.plot.scan(lost.scan, best.pose, axes)
axes.set_title("a later scan where it fits best, and (orange) best elsewhere")
figure.savefig(out / "4-located.png")

# %% [markdown]
# ## Keep it
#
# The map as map servers have it, the track as a log with true poses, and the graph for other
# programs.

# %%
korrin.save_map(corrected, out / "floor.yaml")
korrin.mapping.write_track(aligned.scans, out / "corrected.log.gz")
korrin.mapping.write_g2o(korrin.mapping.graph_of(aligned), out / "floor.g2o")
print("kept: floor.yaml, corrected.log.gz, floor.g2o")
