"""A room with a wall, a path around the wall for a robot with a radius, and the few poses to drive."""

import korrin

map = korrin.OccupancyMap(200, 100, 0.05)  # 10 m x 5 m, every cell unknown
map.reset(1)  # all of it free
map.image[:80, 100] = 0  # but for a wall: rows, columns

planner = korrin.PathPlanner(map, robot_radius=0.3, fade_distance=0.5)  # metres; keeps the map alive

plan = planner.plan((1, 1), (9, 1))
if plan.outcome != korrin.PlanOutcome.Found:
    raise SystemExit(str(plan))  # which tells why
for x, y, _ in plan.waypoints:
    print(f"{x:.6g} {y:.6g}")
