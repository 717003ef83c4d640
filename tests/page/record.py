"""Records the page as a moving picture of less than a megabyte, and as single ones: see
scripts/record-page."""

import io
import math
import pathlib
import sys
import tempfile

from PIL import Image

import chromium
from conftest import Server

SIZE = (1120, 700)
SHOWN = (840, 525)        # pixels of the recording
FRAME = 120               # milliseconds
LAST_FRAME = 1500
MOST_BYTES = 1_000_000
QUALITIES = (70, 55, 40, 25)
STILL_QUALITY = 80

# Where the goal goes, metres.
TOUR = [(18, 1.6), (21.5, 4.5), (20, 8), (14, 8), (9, 8), (4, 12), (4, 10.5)]
STEPS_A_LEG = 5


class Recording:
    def __init__(self, page, file):
        self.page = page
        self.file = pathlib.Path(file)
        self.frames = []

    def take(self):
        picture = Image.open(io.BytesIO(self.page.driver.get_screenshot_as_png())).convert("RGB")
        self.frames.append(picture.resize(SHOWN, Image.LANCZOS))

    def still(self, name):
        """The page as it is now, beside the recording."""
        picture = Image.open(io.BytesIO(self.page.driver.get_screenshot_as_png())).convert("RGB")
        picture.save(self.file.with_name(f"{self.file.stem}-{name}.webp"), quality=STILL_QUALITY, method=6)

    def save(self):
        """As good as fits."""
        file = self.file
        durations = [FRAME] * (len(self.frames) - 1) + [LAST_FRAME]
        for quality in QUALITIES:
            self.frames[0].save(file, save_all=True, append_images=self.frames[1:], duration=durations,
                                loop=0, quality=quality, method=4)
            if file.stat().st_size < MOST_BYTES:
                return
        raise SystemExit(f"record-page: {file} has more than {MOST_BYTES} bytes")


def between(places, steps):
    for (ax, ay), (bx, by) in zip(places, places[1:]):
        for i in range(steps):
            yield ax + (bx - ax) * i / steps, ay + (by - ay) * i / steps
    yield places[-1]


def drag_goal(page, recording):
    page.mouse("mouseMoved", *page.pixel(*TOUR[0]), buttons=0)
    page.mouse("mousePressed", *page.pixel(*TOUR[0]), buttons=1)
    for place in between(TOUR, STEPS_A_LEG):
        page.mouse("mouseMoved", *page.pixel(*place), buttons=1)
        page.settle()
        recording.take()
    page.mouse("mouseReleased", *page.pixel(*TOUR[-1]), buttons=0)
    recording.still("plan")


def sense(page, recording):
    page.click("tab-sense")
    for i, (x, y) in enumerate(between([(3, 8), (12, 8)], 9)):
        page.run("app.store.set({ robot: { x: given[0], y: given[1], theta: given[2] } })", x, y,
                 0.5 * math.sin(i / 2))
        page.settle()
        recording.take()
    recording.still("sense")


def locate(page, recording):
    page.click("tab-locate")
    page.run("app.store.set({ robot: { x: 16, y: 8, theta: 1.2 } })")
    page.settle()
    page.click("where-am-i")
    page.wait("state.located", "the robot is located")
    page.run("await new Promise((go) => setTimeout(go, 700))")
    recording.still("locate")


def explore(page, recording):
    page.click("tab-drive")
    page.run("app.runs.setSpeed(12)")
    page.click("explore")
    for step in range(6, 246, 6):
        page.wait(f"state.run && (state.run.isOver || state.run.steps >= {step})", "the robot explores")
        recording.take()
    recording.still("explore")
    page.run("await app.runs.stop()")


def show_phone(page, recording):
    page.open(f"start=1.2,8&goal={TOUR[0][0]},{TOUR[0][1]}", 390, 844, is_phone=True)
    page.wait_for_plan()
    recording.still("phone")


def main(file):
    server = Server()
    with tempfile.TemporaryDirectory() as profile:
        driver = chromium.start(profile)
        try:
            page = chromium.Page(driver, server.address)
            page.open(f"start=1.2,8&goal={TOUR[0][0]},{TOUR[0][1]}", *SIZE)
            page.wait_for_plan()
            recording = Recording(page, file)
            drag_goal(page, recording)
            sense(page, recording)
            explore(page, recording)
            recording.save()
            locate(page, recording)
            show_phone(page, recording)
        finally:
            driver.quit()
            server.stop()


if __name__ == "__main__":
    main(sys.argv[1])
