"""Scans placed on maps of other scans of the same log, with no guess of where they were taken."""
import math
import random
import time
from typing import NamedTuple

import korrin
import korrin.mapping

from .locating import ELSEWHERE, apart, everywhere, located
from .logs import hits_of, read_timed
from .table import Row, columns
from .tracks import MAX_DIST, THRESHOLD, map_of

LOGS = ("freiburg-079", "intel", "aces")
NEAR = (0.15, math.radians(2))  # as good as the log's pose


class Placed(NamedTuple):
    scan: int
    metres: float  # from the log's pose
    radians: float
    score: float
    score_as_logged: float
    verdict: str

    @property
    def as_logged(self):
        return self.metres <= NEAR[0] and self.radians <= NEAR[1]

    @property
    def good(self):
        return self.as_logged or self.score >= self.score_as_logged

    @property
    def elsewhere(self):
        return max(self.metres, self.radians) >= ELSEWHERE


class Places(NamedTuple):
    name: str
    placed: list
    poses: int  # tried for each scan
    seconds: float  # of the processor, for all


def place(name, log, count, seed=1):
    """Maps half of the scans, every second one, and locates `count` of the other half, drawn at random
    but the same ones each time."""
    map = map_of(log.scans[0::2])
    search, grid = korrin.PoseSearch(map, THRESHOLD, MAX_DIST), everywhere(map)
    left_out = range(1, len(log.scans), 2)
    placed, began = [], time.process_time()
    for number in sorted(random.Random(seed).sample(left_out, min(count, len(left_out)))):
        logged = log.scans[number]
        answer = located(search, logged, grid)
        placed.append(
            Placed(
                number,
                *apart(answer.pose, logged.pose),
                answer.score,
                search.score(hits_of(logged), logged.pose),
                answer.verdict,
            )
        )
    return Places(name, placed, grid.poses(), time.process_time() - began)


def rows_of(all_places):
    rows = []
    for places in all_places:
        placed = places.placed
        good = sum(p.good for p in placed)
        rows.append(
            Row(
                f"{places.name}, scans left out of the map: at the log's pose, or "
                "fitting as well",
                "95 in 100",
                f"{good} of {len(placed)}",
                100 * good >= 95 * len(placed),
            )
        )
    strays = [p for places in all_places for p in places.placed if p.elsewhere]
    told = sum(p.verdict != "clear" for p in strays)
    rows.append(
        Row(
            "of these, answers half a metre or half a radian from the log's pose: said to be "
            "ambiguous",
            "all",
            f"{told} of {len(strays)}",
            told == len(strays),
        )
    )
    return rows


def details(all_places):
    header = (
        "log", "scans", "poses tried for each", "within 0.15 m and 2°", "others that fit as well",
        "worse", "said to be ambiguous", "seconds for each",
    )
    cells = []
    for places in all_places:
        placed = places.placed
        near = sum(p.as_logged for p in placed)
        good = sum(p.good for p in placed)
        cells.append(
            (
                places.name, str(len(placed)), f"{places.poses:,}", str(near), str(good - near),
                str(len(placed) - good), str(sum(p.verdict == "ambiguous" for p in placed)),
                f"{places.seconds / len(placed):.2f}",
            )
        )
    return columns(header, cells)


def strays_of(places):
    """What is not near the log's pose, in words."""
    return [
        f"{places.name}, scan {p.scan}: {p.metres:.2f} m and {math.degrees(p.radians):.1f}° from "
        f"the log's pose, score {p.score:.3f}, there {p.score_as_logged:.3f}, {p.verdict}"
        for p in places.placed
        if not p.as_logged
    ]


def judge_locate(data, count=100, tell=print):
    all_places = []
    for name in LOGS:
        places = place(name, read_timed(data / "logs" / f"{name}-corrected.log.gz"), count)
        all_places.append(places)
        tell("\n".join([f"{name}: {len(places.placed)} scans placed", *strays_of(places)]))
    return all_places
