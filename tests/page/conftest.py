"""The real program serves the page to a real browser. KORRIN_PROGRAM names the program."""

import os
import pathlib
import subprocess
import tempfile
import urllib.request

import pytest

import chromium

PROGRAM = os.environ.get("KORRIN_PROGRAM", "build/dev/tools/korrin")


class Server:
    """`korrin serve` on a free port."""

    def __init__(self, *arguments):
        command = [PROGRAM, "serve", *arguments, "--port", "0"]
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
        self.address = self.process.stdout.readline().strip().rstrip("/")

    def save_map(self, directory):
        """The map as it is now, as files that the program reads."""
        for name in ("map.yaml", "map.pgm"):
            with urllib.request.urlopen(f"{self.address}/api/download/{name}") as answer:
                (pathlib.Path(directory) / name).write_bytes(answer.read())

    def stop(self):
        self.process.terminate()
        self.process.wait(timeout=30)


@pytest.fixture(scope="session")
def program():
    return str(pathlib.Path(PROGRAM).resolve())


@pytest.fixture(scope="session")
def building():
    """A server of the built-in building that no test draws on."""
    server = Server()
    yield server
    server.stop()


@pytest.fixture
def own_building():
    """A server of the building for one test alone, which may draw on it."""
    server = Server()
    yield server
    server.stop()


@pytest.fixture(scope="session")
def serve():
    """Starts servers of other files, and stops them in the end."""
    servers = []

    def start(*arguments):
        servers.append(Server(*arguments))
        return servers[-1]

    yield start
    for server in servers:
        server.stop()


@pytest.fixture(scope="session")
def driver():
    with tempfile.TemporaryDirectory() as profile:
        browser = chromium.start(profile)
        yield browser
        browser.quit()


@pytest.fixture
def visit(driver):
    """Opens pages of servers; in the end nothing may stand on the browser's console."""
    pages = []

    def open_page(server, fragment="", **window):
        page = chromium.Page(driver, server.address)
        pages.append(page)
        page.open(fragment, **window)
        return page

    driver.get_log("browser")
    yield open_page
    if pages:
        assert pages[-1].messages() == []
        driver.get("about:blank")
