"""Taking home what is on the screen: links, code, pictures."""

import os
import pathlib
import subprocess

import pytest

import chromium

LINK = ("mode=sense&layer=distance&searched=0&start=2,8,0.5&goal=8,8&robot=16,8,1.2&robotRadius=0.15"
        "&neighborhood=double&fieldOfView=120&view=240,160,3")
PLAN = "start=1.2,8&goal=18,1.6&robotRadius=0.22&fadeDistance=0.4&neighborhood=double&accuracy=0.2"
ROOT = pathlib.Path(__file__).parents[2]
BUILD = ROOT / os.environ.get("KORRIN_BUILD", "build/dev")


def code_of(page, language):
    page.click("tool-code")
    page.click(f"language-{language}")
    text = page.text("code-text")
    page.run("document.getElementById('code').close()")
    return text + "\n"


def points_in(text):
    """The two numbers that each line of a program's answer begins with."""
    return [[float(word) for word in line.split()[:2]] for line in text.splitlines()]


def test_a_link_shows_the_same(building, visit):
    page = visit(building, LINK)
    page.settle()
    shown = page.run("""
        const { mode, layer, searched, start, goal, robot, planner, scanner, view } = app.store.get();
        return { mode, layer, searched, start, goal, robot, planner, scanner, view };
    """)
    assert (shown["mode"], shown["layer"], shown["searched"]) == ("sense", "distance", False)
    assert shown["start"] == {"x": 2, "y": 8, "theta": 0.5}
    assert shown["planner"]["robotRadius"] == 0.15 and shown["planner"]["neighborhood"] == "double"
    assert shown["view"] == {"x": 240, "y": 160, "scale": 3}
    assert page.element("panel-sense").is_displayed()


def test_the_address_bar_holds_what_is_on_the_screen(building, visit):
    page = visit(building, LINK)
    page.settle()
    page.click("tab-plan")
    page.run("app.store.set({ goal: { x: 9, y: 8, theta: 0 } })")
    chromium.wait_until(lambda: "goal=9,8,0" in page.driver.current_url, "the address bar holds the goal")
    shared = page.driver.current_url.split("#")[1]
    assert "mode=" not in shared
    other = visit(building, shared)
    other.settle()
    names = ["mode", "layer", "searched", "start", "goal", "robot", "planner", "scanner", "view"]
    assert [other.state(name) for name in names][4] == {"x": 9, "y": 8, "theta": 0}
    assert other.state("planner.robotRadius") == 0.15


def test_a_link_that_is_opened_while_the_page_is_there_is_followed(building, visit):
    page = visit(building, "start=1.2,8&goal=18,1.6&robotRadius=0.1")
    page.wait_for_plan()
    page.driver.execute_script("location.hash = 'mode=locate&goal=8,8'")
    page.wait("state.mode === 'locate'", "the link is followed")
    assert page.state("goal.x") == 8
    assert page.state("planner") == page.state("defaults.planner")


@pytest.mark.parametrize("language", ["Python", "C++", "Command"])
def test_the_code_of_a_plan_prints_the_waypoints_that_are_shown(building, visit, tmp_path, language):
    page = visit(building, PLAN)
    plan = page.wait_for_plan()
    said = run_code(building, page, tmp_path, language)
    expected = [[float(f"{value:.6g}") for value in point] for point in plan["waypoints"]]
    if language == "Command":
        rows = [line.split() for line in said.splitlines() if line.split()[:1] and line.split()[0].isdigit()]
        assert len(rows) == len(expected)
        for (_, x, y), place in zip(rows, expected):
            assert abs(float(x) - place[0]) < 0.006 and abs(float(y) - place[1]) < 0.006
    else:
        assert points_in(said) == expected


def run_code(server, page, directory, language):
    """What the code that the page gives prints, in a directory with the map."""
    server.save_map(directory)
    text = code_of(page, language)
    if language == "Command":
        command = text.replace("korrin", str(BUILD / "tools" / "korrin"), 1)
        return finished(["sh", "-c", command], directory)
    if language == "Python":
        (directory / "code.py").write_text(text)
        return finished(["/usr/bin/python3", "code.py"], directory, PYTHONPATH=str(BUILD / "python"))
    (directory / "code.cpp").write_text(text)
    finished(["g++", "-std=c++17", "-Wall", "-Werror", "code.cpp", "-o", "code", f"-I{ROOT / 'include'}",
              "-I/usr/include/opencv4",
              *[f"-L{BUILD / part}" for part in ("", "io")], f"-Wl,-rpath,{BUILD}:{BUILD / 'io'}",
              "-lkorrin_io", "-lkorrin", "-lopencv_core", "-lopencv_imgproc"], directory)
    return finished(["./code"], directory)


def finished(command, directory, **environment):
    done = subprocess.run(command, cwd=directory, capture_output=True, text=True, env={**os.environ, **environment})
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.mark.parametrize("language", ["Python", "C++", "Command"])
def test_the_code_of_a_scan_runs(building, visit, tmp_path, language):
    page = visit(building, "mode=sense&robot=16,8,1.2&noise=0")
    page.settle()
    said = run_code(building, page, tmp_path, language)
    if language == "Command":
        assert (tmp_path / "scan.png").stat().st_size > 1000
    else:
        assert said.count("opening") == len(page.state("sensed.holes"))


@pytest.mark.parametrize("language", ["Python", "C++"])
def test_the_code_of_a_search_finds_the_robot(building, visit, tmp_path, language):
    page = visit(building, "mode=locate&robot=16,8,1.2&noise=0")
    page.settle()
    said = run_code(building, page, tmp_path, language)
    x, y = points_in(said)[0]
    assert abs(x - 16) < 0.1 and abs(y - 8) < 0.1


def test_the_picture_is_saved(building, visit, tmp_path):
    page = visit(building, "start=1.2,8&goal=18,1.6")
    page.wait_for_plan()
    page.driver.execute_cdp_cmd("Browser.setDownloadBehavior", {
        "behavior": "allow", "downloadPath": str(tmp_path)})
    page.click("tool-picture")
    [saved] = chromium.wait_until(lambda: list(tmp_path.glob("*.png")), "the picture is saved")
    assert saved.read_bytes().startswith(b"\x89PNG")
