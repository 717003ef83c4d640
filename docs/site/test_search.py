#!/usr/bin/env python3
"""Types what newcomers type into the search of the built site, in a browser, and fails where no page
that answers is among the first five results.

    docs/site/test_search.py build/docs/html
"""

import pathlib
import shutil
import sys
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common import utils
from selenium.webdriver.common.by import By

# What is typed, and the pages of which one must be among the first five.
ANSWERS = {
    "python": ["python"],
    "load": ["families/files"],
    "load map": ["families/files"],
    "save": ["families/files"],
    "yaml": ["families/files"],
    "pgm": ["families/files"],
    "inflate": ["tasks/robot_radius", "families/obstacles"],
    "inflation": ["tasks/robot_radius", "families/obstacles"],
    "costmap": ["limits", "coming_from", "families/obstacles"],
    "radius": ["tasks/robot_radius"],
    "footprint": ["tasks/robot_radius", "limits"],
    "unknown": ["concepts"],
    "install": ["install"],
    "apt": ["install"],
    "pip": ["install"],
    "cmake": ["install"],
    "find_package": ["install"],
    "opencv": ["install"],
    "compute_path": ["reference/python/occmap_path_finder", "families/finder"],
    "computePath": ["reference/cpp/occmap_path_finder", "families/finder"],
    "PathPlanner": ["reference/cpp/path_planner", "families/planning"],
    "dijkstra": ["families/planning"],
    "astar": ["families/planning"],
    "path": ["families/planning", "tasks/robot_radius"],
    "planner": ["families/planning", "tasks/robot_radius"],
    "waypoints": ["families/paths"],
    "smooth": ["families/paths", "tasks/keep_off_walls"],
    "wall": ["tasks/keep_off_walls"],
    "blocked": ["families/planning", "tasks/occupied_start"],
    "stuck": ["tasks/occupied_start"],
    "start is not free": ["tasks/occupied_start"],
    "refresh": ["families/planning"],
    "fleet": ["tasks/plan_for_many_robots"],
    "dask": ["tasks/plan_for_many_robots"],
    "cluster": ["tasks/plan_for_many_robots"],
    "many robots": ["tasks/plan_for_many_robots"],
    "threads": ["recipes/threads"],
    "mutex": ["recipes/threads"],
    "leak": ["reliability"],
    "crash": ["reliability"],
    "tests": ["reliability"],
    "nan": ["recipes/ranges"],
    "infinity": ["recipes/ranges"],
    "ros": ["tasks/ros"],
    "ros2": ["tasks/ros"],
    "rosbag": ["tasks/ros"],
    "occupancygrid": ["tasks/ros"],
    "amcl": ["limits", "coming_from"],
    "slam": ["families/log_to_map", "limits", "coming_from"],
    "loop closure": ["families/log_to_map", "tasks/find_pose"],
    "close loops": ["families/log_to_map", "tasks/find_pose"],
    "odometry drift": ["families/log_to_map", "tutorials/raw_log_to_map"],
    "raw log": ["families/log_to_map", "tutorials/raw_log_to_map"],
    "pose graph": ["families/log_to_map", "reference/cpp/pose_graph"],
    "g2o": ["families/log_to_map", "reference/cpp/pose_graph"],
    "ScanAligner": ["reference/cpp/scan_aligner", "families/log_to_map"],
    "relocalize": ["tasks/find_pose"],
    "kidnapped robot": ["tasks/find_pose"],
    "initial pose": ["tasks/find_pose"],
    "where am i": ["tasks/find_pose", "tutorials/where_am_i"],
    "PoseSearch": ["reference/cpp/pose_search", "tasks/find_pose"],
    "3d": ["limits"],
    "gpu": ["limits"],
    "kinematics": ["limits"],
    "frontier": ["families/map_queries", "tasks/occupied_start", "coming_from"],
    "explore": ["families/map_queries", "tasks/occupied_start"],
    "likelihood": ["families/matching", "tasks/compare_scans"],
    "icp": ["tasks/compare_scans", "families/matching"],
    "lidar": ["tasks/map_from_my_log", "families/map_building"],
    "log": ["tasks/map_from_my_log", "families/files", "recipes/logging"],
    "logging": ["recipes/logging"],
    "error": ["recipes/logging", "reference/cpp/file_error"],
    "frame": ["concepts"],
    "origin": ["recipes/rotated_origin", "concepts"],
    "units": ["concepts"],
    "raycast": ["families/map_building"],
    "simulate": ["families/map_building"],
    "door": ["families/holes"],
    "plot": ["tasks/draw", "reference/python/plot"],
    "png": ["tasks/draw", "families/files"],
    "speed": ["benchmarks"],
    "benchmark": ["benchmarks"],
    "memory": ["reliability", "benchmarks"],
    "numpy": ["python"],
    "example": ["start"],
    "tutorial": ["tutorials/plan_on_your_map", "start"],
    "license": ["index"],
    "changelog": ["changelog"],
    "version": ["changelog", "contributing"],
    "command line": ["program"],
    "browser": ["serve"],
    "http": ["serve"],
    "localhost": ["serve"],
    "OccupancyMap": ["reference/cpp/occupancy_map", "reference/python/occupancy_map"],
    "findScanHoles": ["reference/cpp/scan_holes"],
}
FIRST = 5
FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync",
         "--disable-dev-shm-usage", "--remote-debugging-pipe", "--window-size=1280,900"]


class LocalService(Service):
    """The browser's driver, found without a table of hosts, which a bare system does not have."""

    @property
    def service_url(self):
        return f"http://127.0.0.1:{self.port}"

    def is_connectable(self):
        return utils.is_connectable(self.port, "127.0.0.1")


def browser(profile):
    options = webdriver.ChromeOptions()
    for flag in [*FLAGS, f"--user-data-dir={profile}"]:
        options.add_argument(flag)
    options.binary_location = shutil.which("chromium")
    return webdriver.Chrome(service=LocalService(shutil.which("chromedriver")), options=options)


# Whether the page at hand is the one of the results for what was typed, and is complete.
IS_DONE = """
const title = document.querySelector('#search-results > h2');
const summary = document.querySelector('#search-results > p.search-summary');
return new URLSearchParams(location.search).get('q') === arguments[0] && !!summary &&
    !!summary.textContent && !!title && title.textContent === 'Search Results';
"""
LINKS = """
return Array.from(document.querySelectorAll('#search-results ul.search > li'),
                  (item) => item.querySelector('a').href);
"""


def results(driver, site, words):
    """The pages found for what is typed into the search of the page at hand, in order."""
    field = driver.find_element(By.CSS_SELECTOR, "input[name=q]")
    field.clear()
    field.send_keys(words)
    field.submit()
    deadline = time.monotonic() + 60
    while not driver.execute_script(IS_DONE, words):
        if time.monotonic() > deadline:
            raise SystemExit(f"the search for {words!r} does not end")
        time.sleep(0.02)
    prefix = site.as_uri() + "/"
    return [link.removeprefix(prefix).split(".html")[0] for link in driver.execute_script(LINKS)]


def faults_of_first_page(driver):
    """What the browser complains of, and whether light and dark can be chosen."""
    faults = [entry["message"] for entry in driver.get_log("browser") if entry["level"] == "SEVERE"]
    toggles = driver.find_elements(By.CSS_SELECTOR, ".theme-toggle")
    if not any(toggle.is_displayed() for toggle in toggles):
        faults.append("the first page has nothing to choose light or dark with")
    return faults


def main(site):
    faults = []
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as profile:
        driver = browser(profile)
        driver.implicitly_wait(30)  # on a busy machine a page may still be on its way
        try:
            driver.get((site / "index.html").as_uri())
            faults += faults_of_first_page(driver)
            for words, wanted in ANSWERS.items():
                found = results(driver, site, words)[:FIRST]
                if not set(wanted) & set(found):
                    faults.append(f"{words!r} finds {', '.join(found) or 'nothing'}; "
                                  f"the answer is in {' or '.join(wanted)}")
        finally:
            driver.quit()
    print("\n".join(faults) or f"{len(ANSWERS)} searches are answered by the first {FIRST} results")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve()))
