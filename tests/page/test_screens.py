"""Telephones, light and dark, names for screen readers, and maps that are large."""

import pytest

import chromium
import large_map

MODES = ["plan", "sense", "locate", "drive", "draw", "log"]


@pytest.mark.parametrize("mode", MODES)
def test_a_telephone_shows_a_mode_without_scrolling_sideways(building, visit, mode):
    page = visit(building, f"mode={mode}", width=390, height=844, is_phone=True)
    page.settle()
    page.picture(f"phone-{mode}")
    sizes = page.run("""
        const box = document.getElementById('map').getBoundingClientRect();
        return [document.documentElement.scrollWidth, box.width, box.height, document.querySelector('.panels').scrollWidth];
    """)
    assert sizes[0] <= 390 and sizes[3] <= 390
    assert sizes[1] == 390 and sizes[2] > 844 * 0.45


def test_the_goal_is_dragged_and_the_map_pinched_with_fingers(building, visit):
    page = visit(building, "start=1.2,8&goal=18,1.6", width=390, height=844, is_phone=True)
    before = page.wait_for_plan()
    x, y = page.pixel(18, 1.6)
    page.touch("touchStart", (x, y))
    for i in range(1, 11):
        page.touch("touchMove", (x - 4 * i, y - 8 * i))
    page.touch("touchEnd")
    assert page.wait_for_plan()["path"] != before["path"]
    scale = page.state("view.scale")
    page.touch("touchStart", (150, 200), (250, 200))
    for i in range(1, 6):
        page.touch("touchMove", (150 - 10 * i, 200), (250 + 10 * i, 200))
    page.touch("touchEnd")
    assert abs(page.state("view.scale") / scale - 2) < 0.1
    page.picture("phone-pinched")


def test_the_sheet_is_pulled_up_and_down(building, visit):
    page = visit(building, width=390, height=844, is_phone=True)
    page.settle()
    height = "return document.getElementById('sheet').getBoundingClientRect().height"
    medium = page.run(height)
    page.run("document.getElementById('grip').focus()")
    page.key("ArrowUp")
    chromium.wait_until(lambda: page.run(height) > medium, "the sheet is up")
    page.key("ArrowDown")
    page.key("ArrowDown")
    chromium.wait_until(lambda: page.run(height) < 120, "the sheet is down")


@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_the_page_is_light_or_dark_as_the_system_is(building, visit, scheme):
    page = visit(building, "start=1.2,8&goal=18,1.6&layer=grown")
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
        "features": [{"name": "prefers-color-scheme", "value": scheme}]})
    page.wait_for_plan()
    page.picture(f"scheme-{scheme}")
    surface = page.run("return app.board.colours.surface.reduce((a, b) => a + b)")
    assert surface > 600 if scheme == "light" else surface < 150
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})


def test_the_theme_is_switched_and_kept(building, visit):
    page = visit(building)
    page.click("tool-theme")
    page.click("tool-theme")
    assert page.run("return app.board.colours.surface.reduce((a, b) => a + b)") < 150
    page.open()
    assert page.run("return document.documentElement.dataset.theme") == "dark"
    page.click("tool-theme")
    assert page.run("return document.documentElement.dataset.theme") == "auto"


def test_everything_that_can_be_pressed_or_moved_has_a_name(building, visit):
    page = visit(building)
    for mode in MODES:
        page.click(f"tab-{mode}")
        page.settle()
    nameless = page.run("""
        const fields = [...document.querySelectorAll('button, input, a, canvas, [role=tab], [tabindex]')];
        const nameOf = (field) => field.ariaLabel || field.getAttribute('aria-label') ||
            field.textContent.trim() || [...(field.labels ?? [])].map((label) => label.textContent.trim()).join('');
        return fields.filter((field) => !nameOf(field)).map((field) => field.outerHTML.slice(0, 120));
    """)
    assert nameless == []


def test_tabs_are_walked_by_keys(building, visit):
    page = visit(building)
    page.run("document.getElementById('tab-plan').focus()")
    page.key("ArrowRight")
    page.wait("state.mode === 'sense'", "the next tab is shown")
    page.key("ArrowLeft")
    page.wait("state.mode === 'plan'", "the tab before is shown")


def test_the_map_is_moved_and_zoomed_by_keys_and_wheel(building, visit):
    page = visit(building)
    page.settle()
    first = page.state("view")
    page.run("document.getElementById('map').focus()")
    page.key("+")
    page.key("ArrowRight")
    nearer = page.state("view")
    assert nearer["scale"] > first["scale"] and nearer["x"] > first["x"]
    page.key("0")
    assert page.state("view") == first
    page.mouse("mouseWheel", 800, 400, deltaX=0, deltaY=-300)
    assert page.state("view.scale") > first["scale"]


def test_the_pointer_tells_place_cell_and_value(building, visit):
    page = visit(building)
    page.settle()
    x, y = page.pixel(8.03, 8.02)
    page.mouse("mouseMoved", x, y, buttons=0)
    page.settle()
    text = page.text("pointer")
    assert "cell 160, 160" in text and "free" in text, text


def test_of_a_large_map_only_what_is_on_the_screen_is_fetched_and_kept(serve, visit, tmp_path):
    page = visit(serve(str(large_map.write(tmp_path))))
    page.settle()
    assert 0 < page.run("return app.board.layers.map.tiles.size") <= 64
    page.picture("large-map")
    page.run("app.store.set({ view: { x: 2800, y: 2700, scale: 1.3 }, viewIsChosen: true })")
    page.settle()
    for _ in range(60):
        page.run("""
            const { view } = app.store.get();
            app.store.set({ view: { ...view, x: view.x + 12 } });
            await new Promise(requestAnimationFrame);
        """)
    page.settle()
    page.picture("large-map-near")
    assert page.run("return app.board.layers.map.tiles.size") <= 320
