"""Driving and exploring on the page."""

import collections
import json
import urllib.request

import numpy as np

KNOWN_SHARE = 0.95


def map_values(server):
    """The bytes of a map's level 0, row by row from the lowest: 0 occupied, 125 unknown, 250 free."""
    return grid_values(server, "map")


def grid_values(server, layer):
    with urllib.request.urlopen(f"{server.address}/api/map") as answer:
        about = json.load(answer)
    side = about["tileSize"]
    columns, rows = -(-about["width"] // side), -(-about["height"] // side)
    whole = np.empty((rows * side, columns * side), np.uint8)
    for y in range(rows):
        for x in range(columns):
            with urllib.request.urlopen(f"{server.address}/api/tiles/{layer}/0/{x}/{y}") as answer:
                tile = np.frombuffer(answer.read(), np.uint8).reshape(side, side)
            whole[y * side:(y + 1) * side, x * side:(x + 1) * side] = tile
    return whole[:about["height"], :about["width"]]


def reachable(free, start):
    """The free cells that are joined with a cell (column, row) through sides."""
    seen = np.zeros_like(free)
    seen[start[1], start[0]] = True
    waiting = collections.deque([start])
    while waiting:
        x, y = waiting.popleft()
        for column, row in ((x + 1, y), (x - 1, y), (x, y + 1), (x, y - 1)):
            inside = 0 <= column < free.shape[1] and 0 <= row < free.shape[0]
            if inside and free[row, column] and not seen[row, column]:
                seen[row, column] = True
                waiting.append((column, row))
    return seen


def test_the_robot_drives_to_the_goal(building, visit):
    page = visit(building, "mode=drive&start=1.2,8&goal=8,8")
    page.settle()
    page.run("app.runs.setSpeed(4)")
    page.click("drive")
    page.wait("state.run && state.run.steps >= 3", "the robot moves")
    page.picture("drive")
    page.wait("state.run.isOver", "the robot has arrived")
    run = page.state("run")
    assert "goal" in run["sentence"], run["sentence"]
    end = run["scan"]["pose"]
    assert abs(end["x"] - 8) < 0.5 and abs(end["y"] - 8) < 0.5
    assert {"scan", "move"} <= set(run["means"])
    assert page.element("run-end").is_displayed()
    page.click("clear-run")
    assert page.wait("state.run === null", "the map is back")


def test_the_robot_pauses_plays_and_stops(building, visit):
    page = visit(building, "mode=drive&start=1.2,8&goal=18,1.6")
    page.settle()
    page.run("app.runs.setSpeed(0.5)")
    page.click("drive")
    page.wait("state.run && state.run.steps >= 2", "the robot moves")
    page.click("pause")
    page.wait("state.run.isPaused", "the robot pauses")
    nap = "await new Promise((go) => setTimeout(go, 600));"
    driven = page.state("run.driven")
    while driven != (after := page.run(nap + "return app.store.get().run.driven")):
        driven = after  # told before the pause was
    assert not page.state("run.isOver")
    page.click("pause")
    page.wait(f"state.run.driven > {driven}", "the robot plays on")
    page.click("stop")
    assert page.wait("state.run.isOver", "the robot stops")


def test_exploring_makes_nearly_all_of_the_building_known(building, visit):
    page = visit(building, "mode=drive&start=1.2,8")
    page.settle()
    page.run("app.runs.setSpeed(20)")
    page.click("explore")
    page.wait("state.run && state.run.steps >= 15", "the robot explores")
    page.picture("explore")
    page.wait("state.run.isOver", "the building is explored", patience=600)
    page.picture("explore-end")
    grid = grid_values(building, page.state("run.layer.id"))
    wanted = reachable(map_values(building) > 200, (24, 160))
    assert wanted.sum() > 50000  # a building, and not a cupboard
    share = ((grid != 125) & wanted).sum() / wanted.sum()
    print(f"known: {100 * share:.2f} % of {wanted.sum()} cells")
    assert share >= KNOWN_SHARE
