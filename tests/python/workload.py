"""The workload of tests/support/workload.cpp through the Python module, step by step the same.

FAMILIES maps the name of each family to a function of the world and the words to be added to.
"""

import types

import numpy as np

import korrin


class WorldRandom:
    """splitmix64, started at 20261121."""

    def __init__(self):
        self.state = 20261121

    def between(self, low, high):
        mask = 2**64 - 1
        self.state = (self.state + 0x9E3779B97F4A7C15) & mask
        z = self.state
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & mask
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & mask
        return low + ((z ^ (z >> 31)) >> 32) % (high - low + 1)


class Words:
    def __init__(self):
        self.chunks = []

    def all(self):
        return np.concatenate(self.chunks)

    def ints(self, *values):
        self.chunks.append(np.array(values, np.int32).view(np.uint32))

    def floats(self, values):
        bits = np.array(values, np.float32).ravel()
        self.chunks.append(np.where(np.isnan(bits), np.uint32(0x7FC00000), bits.view(np.uint32)))

    def cell(self, cell):
        x, y, theta = cell
        self.ints(x, y)
        self.floats([theta])

    def cells(self, cells):
        self.ints(len(cells))
        for cell in cells:
            self.cell(cell)

    def rows(self, rows):
        self.ints(len(rows))
        self.floats(rows)

    def reading(self, reading):
        self.floats([reading.range, reading.angle, reading.weight])
        self.ints(reading.mark, reading.status)

    def scan(self, scan):
        # The records hold nothing but their fields, all of 32 bits.
        self.ints(len(scan))
        for record in scan.readings:
            self.floats([record["range"], record["angle"], record["weight"]])
            self.ints(record["mark"], record["status"])

    def image(self, image):
        self.ints(image.shape[1], image.shape[0])
        if image.dtype == np.uint8:
            self.ints(*image.ravel())
        else:
            self.floats(image)


def draw_cells(random, map):
    columns, rows = map.params.width, map.params.height
    map.reset(1)
    for _ in range(columns * rows // 600):
        x, y = random.between(0, columns - 1), random.between(0, rows - 1)
        width, height = random.between(1, 9), random.between(1, 9)
        map.image[y : y + height, x : x + width] = 0.5 if random.between(0, 2) == 0 else 0
    for image, parts in ((map.image, 64), (map.second_image, 8)):
        for _ in range(columns * rows // 50):
            x, y = random.between(0, columns - 1), random.between(0, rows - 1)
            image[y, x] = random.between(0, parts) / parts


def draw_scan(random, beams):
    readings = []
    while len(readings) < beams:
        length, base = random.between(2, 20), random.between(40, 640)
        is_run = random.between(0, 4) == 0
        for _ in range(min(length, beams - len(readings))):
            reading = korrin.RangeReading(
                (base + random.between(0, 6)) / 128, (len(readings) - beams // 2) / 64
            )
            reading.status = int(is_run)
            readings.append(reading)
    return korrin.Scan(readings)


def make_world(columns, rows, beams):
    random = WorldRandom()
    map = korrin.OccupancyMap(columns, rows, 0.05, with_second_image=True)
    map.params.origin = (-1, -0.5, 0)
    draw_cells(random, map)
    turned = korrin.OccupancyMap(map)
    turned.params.origin = (2.5, -1.25, 0.75)
    world = types.SimpleNamespace(map=map, turned=turned, scan=draw_scan(random, beams))
    world.cells = [
        korrin.Pose2Di(
            random.between(-3, columns + 2),
            random.between(-3, rows + 2),
            random.between(-200, 200) / 64,
        )
        for _ in range(40)
    ]
    world.poses = [
        korrin.Pose2D(
            (random.between(-20, columns * 64 // 20 + 20) - 64) / 64,
            (random.between(-20, rows * 64 // 20 + 20) - 32) / 64,
            random.between(-200, 200) / 64,
        )
        for _ in range(40)
    ]
    path, x, y = [], 0, 0
    for _ in range(300):
        x += random.between(-2, 6)
        y += random.between(-6, 7)
        path.append((x / 256, y / 256, random.between(-200, 200) / 64))
    world.path = np.float32(path)
    world.points = np.float32(
        [(random.between(-256, 256) / 64, random.between(-256, 256) / 64) for _ in range(500)]
    )
    return world


def exact_geometry(world, words):
    for pose in world.poses:
        words.floats([korrin.canonical_angle(np.float32(pose.theta) * np.float32(7))])
        words.floats([korrin.compute_norm(pose)])
        words.cell(world.map.get_pixel_from_pose(pose))
        words.cell(world.turned.get_pixel_from_pose(pose))
    for cell in world.cells:
        words.floats([korrin.compute_norm(cell.x, cell.y)])
        words.floats(world.map.get_pose_from_pixel(cell))
    words.floats(korrin.rel_std_dev_pose2d(world.path, world.path[0]))
    words.floats([world.scan.get_resolution()])


def turned_geometry(world, words):
    for pose in world.poses:
        words.floats(world.poses[0].abs_project(pose))
        words.floats(world.poses[0].rel_project(pose))
        words.floats([korrin.gaussian_value_at(0.3, pose.x)])
    words.floats(world.turned.get_pose_from_pixel(world.cells))
    words.floats(world.scan.to_point2d())
    words.floats(korrin.avg_pose2d(world.path))


def add_search(finder, words):
    words.ints(finder.get_num_iterations())
    words.ints(len(finder.open_list), *finder.open_list)
    closed = finder.closed_nodes
    words.ints(len(closed))
    for node in closed:
        words.cell((node["x"], node["y"], node["theta"]))
        words.ints(node["parent"])
        words.floats([node["f"], node["g"], node["h"]])


def plan_on(world, factor, words):
    def coarse(cell):
        return korrin.Pose2Di(int(cell.x / factor), int(cell.y / factor), cell.theta)

    Finder = korrin.OccMapPathFinder
    for kind in (Finder.Simple, Finder.Double, Finder.Triple):
        finder = Finder(world.map)
        finder.set_neighborhood_type(kind)
        finder.set_coarse_factor(factor)
        for i in range(0, len(world.cells) - 1, 8):
            finder.set_obstacle_threshold(i % 5 / 8)
            finder.set_angle_cost_factor(i % 3 / 4)
            finder.set_h_weight(i % 4 / 4)
            words.cells(finder.compute_path(coarse(world.cells[i]), coarse(world.cells[i + 1])))
            add_search(finder, words)
            words.rows(finder.compute_path(world.poses[i], world.poses[i + 1]))


def plan(world, words):
    plan_on(world, 1, words)


def coarse_plan(world, words):
    words.image(korrin.compute_coarser_map(world.map, 3).image)
    plan_on(world, 2, words)


def up_sample(world, words):
    words.cells(korrin.path_up_sample(world.cells))


def simplify(world, words):
    plain = korrin.PathSimplifier()
    for accuracy in (3, 50, 200):
        plain.sampling_accuracy = accuracy
        words.rows(plain.sample(world.path))
    safe = korrin.SafePathSimplifier()
    safe.set_obstacle_threshold(0.6)
    words.rows(safe.sample(world.path, world.map))
    for pose in world.poses:
        index = korrin.find_closest_in_vect(world.path, pose, 1)
        words.ints(len(world.path) if index is None else index)


def path_statistics(world, words):
    def add(stats):
        words.floats([stats.min_cost, stats.max_cost, stats.avg_cost, stats.length])

    whole = korrin.compute_path_cost_stat(world.map, world.path)
    wild = korrin.compute_path_cost_stat(world.map, world.poses)
    add(whole)
    add(wild)
    add(korrin.merge_path_cost_stats(whole, wild))
    for length in (0, 0.5, 2):
        add(korrin.compute_path_cost_stat(world.map, world.poses, max_length=length))


def update_maps(world, words):
    map = korrin.OccupancyMap(world.map)
    mapper = korrin.OccupancyMapper(map)
    for i in range(6):
        mapper.update_map(world.scan, world.poses[i], 0.03, 0.07)
        mapper.update_map2(world.scan, world.poses[i + 6], 0.03, 0.07)
    mapper.x_line_bres(3, 4, 40, 17, 0.01, -0.2)
    words.image(map.image)
    korrin.fill_occ_map_from_scan(world.scan, world.poses[12], map, 3)
    words.image(map.image)


def rays(world, words):
    model = korrin.ScanModel(181, 10, 3)
    mapper = korrin.OccupancyMapper(world.map)
    for i in range(len(world.cells) - 1):
        start, end = world.cells[i], world.cells[i + 1]
        words.reading(mapper.x_throw_ray(start.x, start.y, end.x, end.y, 0.45))
        words.reading(mapper.throw_ray(world.poses[i], world.poses[i + 1], 0.45))
        words.reading(
            korrin.occ_map_get_range(world.map, model, (start.x, start.y), (end.x, end.y), 0.45)
        )


def simulated_scans(world, words):
    model = korrin.ScanModel(181, 10, 3)
    mapper = korrin.OccupancyMapper(world.map)
    for pose in world.poses[:10]:
        words.scan(mapper.simulate_scan(pose, 3, 0.1, 10, 91, 0.45))
        words.scan(korrin.occ_map_simulate_scan(world.turned, model, pose, 0.45))


def prepared_maps(world, words):
    model = korrin.ScanModel(181, 10, 3)
    map = korrin.OccupancyMap(world.map)
    prepared = korrin.PreparedMap(map, 0.45)
    map.set_cell(20, 15, 0)
    prepared.refresh(20, 15, 1, 1)
    for i in range(10):
        words.scan(prepared.simulate_scan(world.poses[i], 3, 0.1, 10, 91))
        words.scan(prepared.occ_map_simulate_scan(model, world.poses[i]))
        words.reading(prepared.throw_ray(world.poses[i], world.poses[i + 1]))


def likelihood(world, words):
    model = korrin.ScanModel(181, 10, 3)
    other = korrin.Scan(world.scan.readings)
    other.readings["range"] += np.float32(0.25)
    for step in range(1, 10):
        words.floats([model.scan_likelihood(world.scan, other, step)])


def dilate_by(world, kind, words):
    map = korrin.OccupancyMap(world.map)
    dilater = korrin.ObstacleDilater(map.params.width, map.params.height)
    dilater.set_params(0.2, 0.45)
    dilater.set_obst_prob_threshold(0.3)
    dilater.dilate(map, kind)
    words.image(map.image)


def dilate(world, words):
    dilate_by(world, korrin.ObstacleDilater.DILATE_LINEAR, words)
    dilate_by(world, korrin.ObstacleDilater.DILATE_INVERSE, words)


def dilate_smoothly(world, words):
    dilate_by(world, korrin.ObstacleDilater.DILATE_ERODE_SMOOTH, words)


def scale(world, words):
    for factor in (0.7, 1.9, -0.3):
        map = korrin.OccupancyMap(world.map)
        korrin.occ_map_multiply_prob(map, factor)
        words.image(map.image)
        levels = world.map.to_char_ipl_image()
        korrin.img_multiply_prob8(levels, factor)
        words.image(levels)
        other = world.map.image.copy()
        korrin.img_multiply_prob32f(other, factor)
        words.image(other)


def scroll(world, words):
    map = korrin.OccupancyMap(world.map)
    korrin.scroll_occ_map_in_place(map, (7, -5))
    words.image(map.image)
    words.image(map.second_image)
    words.floats(map.params.origin)
    korrin.scroll_occ_map(world.map, map, world.poses[3])
    words.image(map.image)
    side = min(map.image.shape)
    square = map.image[:side, :side].copy()
    korrin.rotate_ipl_image90_2(square, square)
    words.image(square)


def scroll_smoothly(world, words):
    image = world.map.image.copy()
    korrin.scroll_ipl_image(world.map.image, image, (2.5, -3.25))
    words.image(image)
    korrin.rotate_ipl_image90(world.map.image, image)
    words.image(image)
    images = [
        korrin.ImageToMerge(world.map.image, 0.1, 0.2),
        korrin.ImageToMerge(world.map.second_image, 0.33),
    ]
    words.image(korrin.merge_images2(images, 0.05))


def search_cells(world, words):
    for start, end in zip(world.cells, world.cells[1:]):
        cell = korrin.Pose2Di()
        for found in (
            korrin.find_first_free_cell(world.map, start, 0.9),
            korrin.find_first_gray_cell(world.map, start, 0.3, 0.1),
            korrin.find_first_free_cell_in_line(world.map, start, end, 0.9),
            korrin.find_first_cell_with_cond(
                world.map, start, lambda value: 0.1 < np.float32(value) < np.float32(0.4)
            ),
        ):
            words.ints(found is not None)
            cell = found or cell  # as it was when nothing is found
            words.cell(cell)


def find_directions(world, words):
    for cell in world.cells:
        direction = korrin.find_obstacles_main_direction(world.map, cell, 1, 0.4)
        words.ints(direction is not None)
        words.floats([direction or 0])


def holes_of(scan):
    holes = []
    for width in (0.2, 0.8, 1.5):
        holes += korrin.find_scan_holes(scan, width)
        holes += korrin.find_scan_holes_old(scan, width, 6)
    return holes


def find_holes(world, words):
    holes = holes_of(world.scan)
    words.ints(len(holes))
    for hole in holes:
        words.ints(hole.begin_index, hole.end_index)


def place_holes(world, words):
    for hole in holes_of(world.scan):
        words.floats([hole.heading, hole.normal_angle])
        words.floats([hole.begin_point, hole.end_point, hole.approach_point])


def reference_of(world):
    reference = korrin.ScanDistMap()
    reference.build(world.scan, (0, 0, 0.25), 0.05)
    return reference


def score(world, words):
    reference = reference_of(world)
    words.image(reference.laser_image)
    words.image(reference.distance_map)
    for pose in world.poses:
        for value, count in (
            reference.score(world.points, pose, 0.5),
            reference.score(world.scan, pose, 0.5),
            reference.score_pxl_scan(world.points, pose, 0.5),
        ):
            words.floats([value])
            words.ints(count)


def score_batches(world, words):
    distances = reference_of(world).distance_map
    for step in (1, 3):
        for readings in (world.points, world.scan):
            scores, counts = korrin.scan_scores(
                distances, readings, world.poses, 0.05, 0.5, step=step
            )
            words.ints(len(scores))
            words.floats(scores)
            words.ints(len(counts), *counts)


def add_found(found, words):
    words.ints(len(found))
    for each in found:
        words.floats([*each.pose, each.score])


def search_poses(world, words):
    reference = korrin.ScanDistMap()
    reference.build(world.scan, (0, 0, 0), 0.05)
    on_scan = korrin.PoseSearch(reference, 0.5)
    on_map = korrin.PoseSearch(world.map, 0.45, 0.5)
    on_turned_map = korrin.PoseSearch(world.turned, 0.45, 0.5)
    for i in range(3):
        grid = korrin.PoseGrid()
        grid.centre = world.poses[i]
        grid.reach_x = 0.7
        grid.step = world.map.params.resolution
        grid.turn = grid.turn_step = 0.25
        add_found(on_map.best(world.points, grid, 3, 0.5), words)
        add_found(on_turned_map.best(world.points, grid, 2, 1, 4), words)
        grid.step = 0.05 if i == 1 else 0.07
        add_found(on_scan.best(world.points, grid, count=2, apart=0.25), words)
        words.floats([on_scan.score(world.points, grid.centre)])


def draw_pictures(world, words):
    words.image(world.map.to_char_ipl_image())
    words.image(korrin.draw_laser(world.scan, world.poses[0], None, 0.1))
    map = korrin.OccupancyMap(world.map)
    map.clip()
    words.image(map.image)


FAMILIES = {
    "geometry": exact_geometry,
    "turned geometry": turned_geometry,
    "plan": plan,
    "plan on a coarse map": coarse_plan,
    "path up-sampling": up_sample,
    "path simplification": simplify,
    "path statistics": path_statistics,
    "map update": update_maps,
    "rays": rays,
    "simulated scans": simulated_scans,
    "prepared maps": prepared_maps,
    "scan likelihood": likelihood,
    "dilation": dilate,
    "dilation with a blur": dilate_smoothly,
    "scaling": scale,
    "scrolling by whole cells": scroll,
    "scrolling by fractions": scroll_smoothly,
    "cell search": search_cells,
    "obstacle direction": find_directions,
    "scan holes": find_holes,
    "places of scan holes": place_holes,
    "scores": score,
    "scores by the batch": score_batches,
    "search for poses": search_poses,
    "pictures": draw_pictures,
}
