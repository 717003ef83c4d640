"""A headless browser with the page in it, and hands to use it: drag, touch, keys, and a look at what
the page holds. What a test reads of the page's state comes from the module that runs the page."""

import pathlib
import shutil
import sys
import time

from selenium import webdriver
from selenium.webdriver.common.by import By

ROOT = pathlib.Path(__file__).parents[2]
sys.path.insert(0, str(ROOT / "docs" / "site"))
from test_search import FLAGS, LocalService  # noqa: E402  the same browser as for the site

PATIENCE = 120  # seconds; the machine may be busy


def start(profile):
    options = webdriver.ChromeOptions()
    for flag in [*FLAGS, f"--user-data-dir={profile}", "--hide-scrollbars"]:
        options.add_argument(flag)
    options.binary_location = shutil.which("chromium")
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=LocalService(shutil.which("chromedriver")), options=options)
    driver.set_script_timeout(PATIENCE)
    return driver


def wait_until(told, what, patience=PATIENCE):
    """Asks again and again until the answer is true, and gives it."""
    deadline = time.monotonic() + patience
    while time.monotonic() < deadline:
        answer = told()
        if answer:
            return answer
        time.sleep(0.05)
    raise AssertionError(f"waited in vain until {what}")


class Page:
    """The page of one server, in a window of a given size."""

    def __init__(self, driver, address):
        self.driver = driver
        self.address = address.rstrip("/")

    def resize(self, width, height, is_phone=False):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": is_phone})
        self.driver.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": is_phone})

    def open(self, fragment="", width=1280, height=800, is_phone=False):
        """Opens the page anew with a fragment of its address, and waits until it runs."""
        self.resize(width, height, is_phone)
        self.driver.get("about:blank")
        self.driver.get(f"{self.address}/#{fragment}")
        self.run("return null")

    def run(self, script, *arguments):
        """What a script returns that knows the running `app`, a loader of modules `load` and its
        arguments `given`; it may await. (It is put into the driver's own script, since the page's
        policy lets no text be made a program.)"""
        answer = self.driver.execute_async_script("""
            const [given, done] = arguments;
            const load = (path) => import(new URL(path, location.origin + '/'));
            load('main.js').then(({ running }) => running).then(async (app) => {
                %s
            }).then((value) => done({ value: value ?? null }), (fault) => done({ fault: String(fault) }));
        """ % script, arguments)
        assert "fault" not in answer, answer["fault"]
        return answer["value"]

    def state(self, expression):
        """A part of the page's state, such as "plan.length"."""
        return self.run(f"const state = app.store.get(); return state.{expression}")

    def wait(self, condition, what, patience=PATIENCE):
        """Waits until an expression of `state` is true, and gives its value."""
        return wait_until(lambda: self.run(f"const state = app.store.get(); return {condition}"), what, patience)

    def wait_for_plan(self):
        """The plan for what is on the screen: the ends that it was asked for are those shown."""
        self.settle()
        return self.wait("state.plan && state.plan.outcome && state.plan", "there is a plan")

    def settle(self):
        """Waits until nothing is asked of the program any more."""
        self.run("""
            const isQuiet = () => app.api.pending() === 0;
            const nap = (ms) => new Promise((go) => setTimeout(go, ms));
            for (let quiet = 0; quiet < 4; quiet = isQuiet() ? quiet + 1 : 0) await nap(25);
        """)

    def element(self, name):
        return self.driver.find_element(By.ID, name)

    def click(self, name):
        self.driver.execute_script("arguments[0].scrollIntoView({block: 'center'})", self.element(name))
        self.element(name).click()

    def text(self, name):
        return self.element(name).text

    def pixel(self, x, y):
        """Where a world point is in the window."""
        return self.run("""
            const { toScreen } = await load('map/view.js');
            const { view, grid } = app.store.get();
            const box = app.board.canvas.getBoundingClientRect();
            const at = toScreen(view, app.board.size, grid.toCell({ x: given[0], y: given[1] }));
            return [at.x + box.left, at.y + box.top];
        """, x, y)

    def mouse(self, kind, x, y, **more):
        self.driver.execute_cdp_cmd("Input.dispatchMouseEvent", {
            "type": kind, "x": x, "y": y, "button": "left", "clickCount": 1, **more})

    def drag(self, begin, end, steps=12):
        """Drags with the mouse from one place of the window to another."""
        self.mouse("mouseMoved", *begin, buttons=0)
        self.mouse("mousePressed", *begin, buttons=1)
        for i in range(1, steps + 1):
            share = i / steps
            at = [a + (b - a) * share for a, b in zip(begin, end)]
            self.mouse("mouseMoved", *at, buttons=1)
        self.mouse("mouseReleased", *end, buttons=0)

    def touch(self, kind, *points):
        """Touches with fingers at places of the window."""
        self.driver.execute_cdp_cmd("Input.dispatchTouchEvent", {
            "type": kind, "touchPoints": [{"x": x, "y": y, "id": i} for i, (x, y) in enumerate(points)]})

    def key(self, name, code=None, **more):
        for kind in ("keyDown", "keyUp"):
            self.driver.execute_cdp_cmd("Input.dispatchKeyEvent", {
                "type": kind, "key": name, "code": code or name, **more})

    def colour_at(self, x, y):
        """[red, green, blue] of what the map's canvas shows at a world point."""
        self.run("app.board.paintNow()")
        return self.run("""
            const { toScreen } = await load('map/view.js');
            const { view, grid } = app.store.get();
            const { size, density, canvas } = app.board;
            const at = toScreen(view, size, grid.toCell({ x: given[0], y: given[1] }));
            const copy = new OffscreenCanvas(1, 1).getContext('2d', { willReadFrequently: true });
            copy.drawImage(canvas, -Math.round(at.x * density), -Math.round(at.y * density));
            return [...copy.getImageData(0, 0, 1, 1).data.slice(0, 3)];
        """, x, y)

    def messages(self):
        """What the browser's console says since the last call."""
        return [entry["message"] for entry in self.driver.get_log("browser")]

    def picture(self, name):
        directory = ROOT / "out" / "page"
        directory.mkdir(parents=True, exist_ok=True)
        self.driver.save_screenshot(str(directory / f"{name}.png"))
