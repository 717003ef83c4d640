"""The example nodes of ROS 1 answer a client through a real master, all on the loopback."""

import json
import os
import shutil
import socket
import subprocess
import sys
import time
import xmlrpc.client

import numpy as np
import pytest
from conftest import PROJECT

import korrin

WHY = "ROS 1 is not installed (scripts/install-packages ros)"
pytest.importorskip("rospy", reason=WHY)
pytest.importorskip("nav_msgs.srv", reason=WHY)
MASTER = shutil.which("rosmaster") or "/usr/bin/rosmaster"
if not os.path.exists(MASTER):
    pytest.skip(WHY, allow_module_level=True)

NODES = PROJECT / "python" / "examples" / "ros"
CLIENT = PROJECT / "tests" / "python" / "ros_client.py"
FLOOR = PROJECT / "examples" / "floorplan.yaml"


class Graph:
    """A master and the nodes that were started with it, ended with it."""

    def __init__(self, home):
        self.home, self.processes = home, []
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        self.environment = {
            **os.environ,
            "ROS_MASTER_URI": f"http://127.0.0.1:{port}",
            "ROS_IP": "127.0.0.1",
            "ROS_HOME": str(home),
            "ROS_LOG_DIR": str(home),
        }
        self.environment.pop("ROS_HOSTNAME", None)
        self.start(sys.executable, MASTER, "--core", "-p", str(port))
        self.master = xmlrpc.client.ServerProxy(self.environment["ROS_MASTER_URI"])
        self.wait(self.answers)

    def start(self, *command):
        log = open(self.home / f"process{len(self.processes)}.txt", "wb")
        process = subprocess.Popen(command, env=self.environment, cwd=self.home, stdout=log, stderr=log)
        self.processes.append((process, log))

    def answers(self):
        try:
            return self.master.getPid("/test")[0] == 1
        except OSError:
            return False

    def wait(self, is_done):
        deadline = time.monotonic() + 60
        while not is_done():
            for number, (process, _) in enumerate(self.processes):
                assert process.poll() is None, (self.home / f"process{number}.txt").read_text()
            assert time.monotonic() < deadline, "the nodes do not come up"
            time.sleep(0.05)

    def ask(self, what):
        """What the client finds out."""
        done = subprocess.run(
            [sys.executable, str(CLIENT), what, str(FLOOR)],
            env=self.environment,
            cwd=self.home,
            capture_output=True,
            text=True,
            timeout=120,
            check=False,
        )
        assert done.returncode == 0, done.stderr
        return json.loads(done.stdout.splitlines()[-1])

    def close(self):
        self.master("close")()
        for process, log in reversed(self.processes):
            process.terminate()
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
            log.close()


@pytest.fixture
def graph(tmp_path):
    running = Graph(tmp_path)
    yield running
    running.close()


def test_the_planner_answers_a_client(graph):
    graph.start(sys.executable, str(NODES / "planner_node.py"), "_robot_radius:=0.25")
    found = graph.ask("plan")
    floor = korrin.load_map(FLOOR)
    plan = korrin.PathPlanner(floor, robot_radius=0.25, fade_distance=0.4).plan((1.2, 8), (18, 1.6))
    assert len(plan.waypoints) > 2
    assert found["path"] == plan.waypoints.tolist()
    assert found["frames"] == ["floor"]
    assert found["blocked"] == 0
    assert "there is no map yet" in found["early"]
    assert "wanted poses in floor, found 'odom'" in found["elsewhere"]


def test_the_mapper_sends_a_map_of_what_it_hears(graph):
    graph.start(sys.executable, str(NODES / "mapper_node.py"), "_laser_pose:=[0.2, 0, 0]", "_period:=1")
    found = graph.ask("map")
    assert found["frame"] == "map"
    assert found["resolution"] == np.float32(0.05)
    assert len(found["ends"]) > 100
    assert np.mean(np.array(found["ends"]) == 0) > 0.95
    assert np.mean(np.array(found["on the way"]) == 1) > 0.95
