"""Sensing and locating on the page."""

import math


def test_the_robot_senses_where_it_is_dragged(building, visit):
    page = visit(building, "mode=sense&robot=8,8,0.5")
    page.settle()
    before = page.state("sensed")
    assert len(before["ranges"]) == page.state("scanner.beams")
    page.picture("sense")
    page.drag(page.pixel(8, 8), page.pixel(4, 12))
    page.settle()
    after = page.state("sensed")
    assert math.dist((after["pose"]["x"], after["pose"]["y"]), (4, 12)) < 0.1
    assert after["ranges"] != before["ranges"]
    hits = sum(after["hits"])
    assert page.text("number-hits").startswith(f"{hits} ")
    assert int(page.text("number-openings")) == len(after["holes"]) == len(
        page.driver.find_elements("css selector", "#openings tbody tr"))


def test_hits_lie_on_walls(building, visit):
    page = visit(building, "mode=sense&robot=8,8,0.5&noise=0")
    page.settle()
    sensed = page.state("sensed")
    beam = next(i for i, hit in enumerate(sensed["hits"]) if hit)
    angle = sensed["pose"]["theta"] + sensed["angles"][beam]
    reach = sensed["ranges"][beam]
    x, y = 8 + reach * math.cos(angle), 8 + reach * math.sin(angle)
    values = page.run("""
        const around = [-0.05, 0, 0.05];
        const cells = around.flatMap((dx) => around.map((dy) => app.api.cell([given[0] + dx, given[1] + dy])));
        return (await Promise.all(cells)).map(({ value }) => value);
    """, x, y)
    assert min(values) < 0.45


def test_the_scanners_sliders_change_the_scan(building, visit):
    page = visit(building, "mode=sense&robot=8,8,0.5&noise=0")
    page.settle()
    for name, value in {"fieldOfView": 90, "maxRange": 3, "beams": 101, "noise": 0.1, "minWidth": 2}.items():
        before = page.state("sensed")
        page.driver.execute_script("""
            arguments[0].value = arguments[1];
            arguments[0].dispatchEvent(new Event('input', { bubbles: true }));
        """, page.element(f"sense-{name}"), value)
        page.settle()
        after = page.state("sensed")
        assert page.state(f"scanner.{name}") == value
        changed = [after[key] != before[key] for key in ("angles", "ranges", "holes")]
        assert any(changed), name
    assert len(page.state("sensed.ranges")) == 101
    assert abs(page.state("sensed.angles")[0] + math.pi / 4) < 0.001


def test_the_robot_is_found_anywhere_on_the_map(building, visit):
    page = visit(building, "mode=locate&robot=16,8,1.2")
    page.settle()
    guess = page.state("guess")
    assert math.dist((guess["x"], guess["y"]), (16, 8)) > 0 and page.state("thrown.ranges")
    page.picture("locate-thrown")
    page.click("where-am-i")
    located = page.wait("state.located", "the robot is located")
    x, y, theta = located["answers"][0]["pose"]
    assert math.dist((x, y), (16, 8)) < 0.15
    assert abs(math.remainder(theta - 1.2, 2 * math.pi)) < math.radians(2)
    assert len(located["answers"]) >= 2 and located["heat"]["scores"]
    assert page.element("verdict").is_displayed()
    assert len(page.driver.find_elements("css selector", "#answers tbody tr")) == len(located["answers"])
    page.run("await new Promise((go) => setTimeout(go, 700))")
    page.picture("locate-found")


def test_a_scan_that_is_laid_near_its_place_snaps_to_it(building, visit):
    page = visit(building, "mode=locate&robot=16,8,1.2")
    page.settle()
    page.click("search-area-near")
    page.run("app.store.set({ guess: { x: 16.8, y: 7.6, theta: 0.9 } })")
    page.settle()
    page.click("where-am-i")
    located = page.wait("state.located", "the robot is located")
    assert math.dist(located["answers"][0]["pose"][:2], (16, 8)) < 0.15


def test_throwing_again_makes_another_scan_and_pose(building, visit):
    page = visit(building, "mode=locate&robot=16,8,1.2")
    page.settle()
    before = page.run("const { guess, thrown } = app.store.get(); return [guess, thrown.ranges]")
    page.click("throw-again")
    page.settle()
    after = page.run("const { guess, thrown } = app.store.get(); return [guess, thrown.ranges]")
    assert after[0] != before[0] and after[1] != before[1]
