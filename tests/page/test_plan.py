"""Planning on the page: ends are dragged, sliders moved, and what is shown is what the program says."""

import json
import math
import shlex
import subprocess

import pytest

ENDS = "start=1.2,8&goal=18,1.6"


def command_of(page):
    """The command that the page offers for what is on the screen."""
    return page.run("""
        const { codeFor } = await load('share/code.js');
        return codeFor(app.store.get(), 'Command');
    """)


def plan_of_program(program, command, directory):
    """What the program says to a command of the page."""
    words = shlex.split(command.replace("\\\n", " "))
    assert words[0] == "korrin"
    at = words.index("--png")
    words[at:at + 2] = ["--json", "-"]
    done = subprocess.run([program, *words[1:]], cwd=directory, capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    return json.loads(done.stdout)


def assert_same_plan(page, program, server, directory):
    server.save_map(directory)
    shown = page.state("plan")
    said = plan_of_program(program, command_of(page), directory)
    if page.state("planner.neighborhood") == "simple":
        assert shown["path"] == said["path"]
    else:  # the command's path has the cells between long steps as well
        rest = iter(said["path"])
        assert all(any(pose == other for other in rest) for pose in shown["path"])
    assert shown["waypoints"] == said["waypoints"]
    assert shown["length"] == said["length"]
    assert shown["cost"] == said["cost"]
    assert shown["iterations"] == said["iterations"]


def place_of(page, mark):
    return page.run("const pose = app.store.get()[given[0]]; return [pose.x, pose.y]", mark)


def is_near(colour, other, tolerance=40):
    return all(abs(a - b) <= tolerance for a, b in zip(colour, other))


def middle_of_longest_leg(waypoints):
    legs = list(zip(waypoints, waypoints[1:]))
    (ax, ay), (bx, by) = max(legs, key=lambda leg: math.dist(*leg))
    return (ax + bx) / 2, (ay + by) / 2


def test_the_path_follows_the_goal_while_it_is_dragged(building, visit, program, tmp_path):
    page = visit(building, ENDS)
    before = page.wait_for_plan()
    page.picture("plan")
    plans = page.run("""
        app.seen = [];
        app.store.watch(['plan'], ({ plan }) => app.seen.push(plan.waypoints.at(-1)));
        return app.seen.length;
    """)
    assert plans == 0
    page.drag(page.pixel(18, 1.6), page.pixel(4, 12), steps=30)
    after = page.wait_for_plan()
    assert after["outcome"] == "found" and after["path"] != before["path"]
    assert math.dist(place_of(page, "goal"), (4, 12)) < 0.1
    seen = page.run("return app.seen")
    assert len({tuple(end) for end in seen if end}) >= 3, "paths were shown on the way"
    assert_same_plan(page, program, building, tmp_path)
    colour = page.run("return app.board.colours.path")
    assert is_near(page.colour_at(*middle_of_longest_leg(after["waypoints"])), colour)
    page.picture("plan-dragged")


def test_the_start_is_dragged_and_turned(building, visit):
    page = visit(building, ENDS)
    page.wait_for_plan()
    page.drag(page.pixel(1.2, 8), page.pixel(3.2, 8))
    assert math.dist(place_of(page, "start"), (3.2, 8)) < 0.1
    x, y = page.pixel(3.2, 8)
    page.drag((x + 44, y), (x, y - 80))
    assert abs(page.state("start.theta") - math.pi / 2) < 0.1


def test_a_click_puts_the_goal_there(building, visit):
    page = visit(building, ENDS)
    page.wait_for_plan()
    x, y = page.pixel(8, 8)
    page.mouse("mousePressed", x, y, buttons=1)
    page.mouse("mouseReleased", x, y, buttons=0)
    assert page.wait_for_plan()["outcome"] == "found"
    assert math.dist(place_of(page, "goal"), (8, 8)) < 0.1


SLIDERS = {
    "robotRadius": 0.1, "fadeDistance": 1.2, "weight": 0, "obstacleThreshold": 0.5, "coarseFactor": 2,
    "accuracy": 0.05,
}


@pytest.mark.parametrize("slider", SLIDERS)
def test_a_slider_changes_the_plan_as_its_option_does(building, visit, program, tmp_path, slider):
    page = visit(building, ENDS)
    before = page.wait_for_plan()
    page.driver.execute_script("""
        arguments[0].value = arguments[1];
        arguments[0].dispatchEvent(new Event('input', { bubbles: true }));
    """, page.element(f"plan-{slider}"), SLIDERS[slider])
    after = page.wait_for_plan()
    assert page.state(f"planner.{slider}") == SLIDERS[slider]
    if slider != "obstacleThreshold":  # walls of the building are 0, and all else is 1
        assert [after["path"], after["waypoints"], after["cost"]] != [before["path"], before["waypoints"], before["cost"]]
    assert_same_plan(page, program, building, tmp_path)


def test_a_slider_goes_back_to_its_default(building, visit):
    page = visit(building, f"{ENDS}&robotRadius=0.1")
    page.wait_for_plan()
    assert page.text("number-length") != "\u2013"
    page.driver.execute_script("document.querySelector('#plan-robotRadius ~ .usual').click()")
    page.wait_for_plan()
    assert page.state("planner.robotRadius") == page.state("defaults.planner.robotRadius") != 0.1


@pytest.mark.parametrize("steps", ["double", "triple"])
def test_the_neighbourhood_changes_the_plan_as_its_option_does(building, visit, program, tmp_path, steps):
    page = visit(building, ENDS)
    before = page.wait_for_plan()
    page.click(f"plan-neighborhood-{steps}")
    after = page.wait_for_plan()
    assert after["path"] != before["path"]
    assert_same_plan(page, program, building, tmp_path)


def test_unknown_cells_can_be_let_free(own_building, visit, program, tmp_path):
    page = visit(own_building, ENDS)
    # Unknown all across the floor: no way until they are free.
    page.wait_for_plan()
    page.run("app.store.set({ brush: { value: 'unknown', width: 1 } })")
    page.run("await app.brush.paint([{ x: 12, y: 0.5 }, { x: 12, y: 15.5 }])")
    assert page.wait_for_plan()["outcome"] == "noPath"
    page.click("plan-unknownIsFree")
    assert page.wait_for_plan()["outcome"] == "found"
    assert_same_plan(page, program, own_building, tmp_path)


def test_a_blocked_goal_says_why_and_moves_to_the_nearest_free_cell(building, visit):
    page = visit(building, "start=1.2,8&goal=18,0.1")
    plan = page.wait_for_plan()
    assert plan["outcome"] == "goalBlocked"
    assert plan["blocked"]["sentence"][1:] in page.text("plan-problem")
    page.picture("plan-blocked")
    page.click("move-to-free")
    assert page.wait_for_plan()["outcome"] == "found"
    goal = place_of(page, "goal")
    assert math.dist(goal, plan["blocked"]["nearestFree"]) < 0.001
    assert not page.element("plan-problem").is_displayed()


def test_the_plot_holds_the_values_under_the_path(building, visit):
    page = visit(building, ENDS)
    plan = page.wait_for_plan()
    samples = page.wait("state.samples", "the plot is there")
    assert len(samples) == len(plan["path"])
    assert abs(min(sample["value"] for sample in samples) - plan["stats"]["min"]) < 0.003
    assert abs(max(sample["value"] for sample in samples) - plan["stats"]["max"]) < 0.003
    assert abs(samples[-1]["distance"] - plan["length"]) < 0.01
    assert page.element("path-plot").is_displayed()


@pytest.mark.parametrize("layer", ["grown", "cost", "distance"])
def test_a_layer_lies_over_the_map(building, visit, layer):
    page = visit(building, f"{ENDS}&searched=0")
    page.wait_for_plan()
    places = [[4, 12], [8, 8], [1.5, 8.6], [20, 8]]
    before = [page.colour_at(x, y) for x, y in places]
    page.click(f"layer-{layer}")
    page.settle()
    page.run("app.board.paintNow()")
    assert [page.colour_at(x, y) for x, y in places] != before
    assert page.element("legend").is_displayed()
    page.picture(f"layer-{layer}")
    page.click("layer-map")
    page.settle()
    assert [page.colour_at(x, y) for x, y in places] == before


def test_ends_move_by_keys(building, visit):
    page = visit(building, ENDS)
    page.wait_for_plan()
    page.run("document.getElementById('handle-goal-move').focus()")
    page.key("ArrowUp")
    page.key("ArrowLeft", modifiers=8)  # with shift: ten cells
    page.wait_for_plan()
    goal = place_of(page, "goal")
    assert math.dist(goal, (17.5, 1.65)) < 0.002
    page.run("document.getElementById('handle-start-move').focus()")
    page.key(",")
    assert abs(page.state("start.theta") - math.pi / 36) < 0.001
