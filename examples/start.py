"""A room with a wall, a path around the wall that keeps its distance, and the few poses to drive."""

import korrin

map = korrin.OccupancyMap(200, 100, 0.05)  # 10 m x 5 m, every cell unknown
map.reset(1)  # all of it free
map.image[:80, 100] = 0  # but for a wall: rows, columns

costs = korrin.OccupancyMap(map)  # a deep copy; the map itself stays true
dilater = korrin.ObstacleDilater(map.params.width, map.params.height)
dilater.set_params(0.3, 0.8)  # metres: blocked up to, free from
dilater.dilate(costs, korrin.ObstacleDilater.DILATE_LINEAR)

finder = korrin.OccMapPathFinder(costs)  # keeps the map alive
path = finder.compute_path((1, 1, 0), (9, 1, 0))
if not len(path):  # the logger "korrin" has heard why
    raise SystemExit(1)

simplifier = korrin.SafePathSimplifier()
simplifier.set_obstacle_threshold(0.2)  # the finder's own
waypoints = simplifier.sample(path, costs)
for x, y, _ in waypoints:
    print(f"{x:.6g} {y:.6g}")
