"""Drawing on the map."""

import math
import subprocess
import urllib.request


def narrowest(page):
    """The narrowest place of the path, a door, and which way the path goes there."""
    samples = page.wait("state.samples", "the plot is there")
    inner = samples[20:-20]
    low = min(range(len(inner)), key=lambda i: inner[i]["value"]) + 20
    before, after = samples[low - 5]["at"], samples[low + 5]["at"]
    heading = math.atan2(after["y"] - before["y"], after["x"] - before["x"])
    return samples[low]["at"], heading


def test_a_wall_across_a_door_changes_the_path_until_it_is_undone(own_building, visit, tmp_path):
    page = visit(own_building, "start=1.2,8&goal=18,1.6")
    before = page.wait_for_plan()
    door, heading = narrowest(page)
    page.click("tab-draw")
    page.settle()
    across = [(door["x"] + reach * math.sin(heading), door["y"] - reach * math.cos(heading)) for reach in (-0.9, 0.9)]
    page.drag(page.pixel(*across[0]), page.pixel(*across[1]))
    page.wait("state.undo === 1", "the wall is drawn")
    after = page.wait_for_plan()
    page.picture("draw")
    assert page.run("return (await app.api.cell([given[0], given[1]])).value", door["x"], door["y"]) == 0
    assert after["path"] != before["path"]
    assert after["outcome"] == "noPath" or after["cost"] > before["cost"]
    own_building.save_map(tmp_path)
    assert b"P5" == (tmp_path / "map.pgm").read_bytes()[:2]
    page.click("undo")
    page.wait("state.undo === 0", "the wall is gone")
    assert page.wait_for_plan()["path"] == before["path"]


def test_the_map_that_is_downloaded_holds_what_was_drawn(own_building, visit, program, tmp_path):
    page = visit(own_building, "mode=draw")
    page.settle()
    page.click("brush-unknown")
    page.drag(page.pixel(8, 8), page.pixel(9, 8))
    page.wait("state.undo === 1", "the stroke is drawn")
    own_building.save_map(tmp_path)
    found = subprocess.run([program, "query", "map.yaml", "--pose", "7,8", "--gray"], cwd=tmp_path,
                           capture_output=True, text=True)
    assert found.returncode == 0, found.stdout + found.stderr


def test_the_brush_draws_by_keys(own_building, visit):
    page = visit(own_building, "mode=draw")
    page.settle()
    page.run("document.getElementById('handle-brushAt-move').focus()")
    before = page.run("const { brushAt } = app.store.get(); return [brushAt.x, brushAt.y]")
    page.key("ArrowRight", modifiers=8)
    x, y = page.run("const { brushAt } = app.store.get(); return [brushAt.x, brushAt.y]")
    assert math.dist((x, y), (before[0] + 0.5, before[1])) < 0.002
    page.click("dab")
    page.wait("state.undo === 1", "the dab is drawn")
    assert page.run("return (await app.api.cell([given[0], given[1]])).value", x, y) == 0
