"""One log corrected, and what is known of the outcome."""
import time
from typing import NamedTuple

import numpy as np

import korrin.mapping

from .logs import poses_of
from .relations import RelationError, relation_error
from .reposing import Reposed
from .tracks import TrackError, contradicting, likelihood, track_error


class Case(NamedTuple):
    """A log to correct, with what is known of it."""

    name: str
    scans: list  # by time, at the poses of the odometry
    no_return: float = 0.0
    truth: np.ndarray | None = None  # the poses of a log that others corrected
    relations: str | None = None  # a file
    at_fault: dict[int, Reposed] = {}  # scans that are wrong in the truth


class Run(NamedTuple):
    """What came of it; None where nothing is known."""

    name: str
    before: TrackError | None
    after: TrackError | None
    relations_before: RelationError | None
    relations_after: RelationError | None
    likelihood: float
    loops: int  # accepted, all in all
    dropped: int  # of these, in the end
    wrong: list  # pairs of scans, of loops that count in the end
    wrong_dropped: list  # of those that were dropped
    excused: list  # that look wrong by the truth's own fault alone
    seconds: float  # of the processor


def judged_loops(loops, truth, at_fault):
    """Pairs of scans of the loops that contradict the truth: those that count, those that were
    dropped, and those that contradict it only since it is wrong about a scan of theirs."""
    if truth is None:
        return [], [], []
    mended = np.array(truth)
    for number, evidence in at_fault.items():
        mended[number] = evidence.pose
    wrong, wrong_dropped, excused = [], [], []
    for loop in contradicting(loops, truth):
        if not contradicting([loop], mended):
            excused.append((loop.from_, loop.to))
        else:
            (wrong_dropped if loop.dropped else wrong).append((loop.from_, loop.to))
    return wrong, wrong_dropped, excused


def corrected(case, track_file=None):
    """The aligned scans, and the figures. The track is written if there is a file for it."""
    began = time.process_time()
    aligned = korrin.mapping.align(case.scans)
    seconds = time.process_time() - began
    if track_file is not None:
        korrin.mapping.write_track(aligned.scans, track_file, case.no_return)
    before, after = poses_of(case.scans), poses_of(aligned.scans)
    loops = [link for link in aligned.links if link.kind == korrin.mapping.LinkKind.Loop]
    return aligned.scans, Run(
        case.name,
        off_the_truth(case, before),
        off_the_truth(case, after),
        off_the_relations(case, before),
        off_the_relations(case, after),
        likelihood(aligned.scans),
        len(loops),
        sum(loop.dropped for loop in loops),
        *judged_loops(loops, case.truth, case.at_fault),
        seconds,
    )


def off_the_truth(case, track):
    return None if case.truth is None else track_error(track, case.truth)


def off_the_relations(case, track):
    if case.relations is None:
        return None
    return relation_error(np.array([logged.time for logged in case.scans]), track, case.relations)
