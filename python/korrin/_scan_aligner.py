"""The aligner of korrin.mapping, which takes scans one by one."""

from __future__ import annotations

import dataclasses
import enum
from typing import Any, NamedTuple, NoReturn

import numpy as np
from numpy.typing import NDArray

import korrin

from . import _korrin  # type: ignore[attr-defined]
from ._pose_graphs import GraphInformation, GraphPose, PoseGraph, graph_of_fields


class LinkKind(enum.IntEnum):
    """What links two key scans: what odometry told, a fit closely after it, or a place found again.

    >>> [kind.name for kind in korrin.mapping.LinkKind]
    ['Odometry', 'Match', 'Loop']
    """

    Odometry = 0
    Match = 1
    Loop = 2


@dataclasses.dataclass
class AlignerSettings:
    """How scans are aligned: metres or radians from one key scan to the next, metres beyond which hits are
    not matched (all above 0), and whether places are found again.

    >>> korrin.mapping.AlignerSettings(max_range=20).key_distance
    0.3
    """

    key_distance: float = 0.3
    key_turn: float = 0.2
    max_range: float = 30.0
    closes_loops: bool = True


@dataclasses.dataclass
class ScanLink:
    """A link of the pose graph, between two scans by their numbers, from 0 on.

    `dropped` tells of a loop that contradicted the rest, and counts no longer.

    >>> motion, known = korrin.mapping.GraphPose(0.3), korrin.mapping.GraphInformation()
    >>> korrin.mapping.ScanLink(3, 7, motion, known, korrin.mapping.LinkKind.Match).dropped
    False
    """

    from_: int
    to: int
    motion: GraphPose
    information: GraphInformation
    kind: LinkKind
    dropped: bool = False


class AlignerSummary(NamedTuple):
    """What has happened so far: scans, key scans, scans that fitted nowhere, loops found (those waiting
    for others included), accepted, and of these dropped since they contradicted the rest.

    >>> korrin.mapping.ScanAligner().summary().key_scans
    0
    """

    scans: int
    key_scans: int
    unmatched: int
    loops_found: int
    loops_accepted: int
    loops_dropped: int


class ScanAligner:
    """Corrected poses for scans as they come in; places that are found again close loops.

    It is no value: it cannot be copied or pickled. Threads may share one; they take turns.

    >>> aligner = korrin.mapping.ScanAligner()
    >>> scan = korrin.Scan(np.linspace(1, 2, 90), angle_min=-0.8, angle_increment=0.02)
    >>> aligner.add(scan, (1, 2, 0))
    Pose2D(x=1, y=2, theta=0)
    >>> len(aligner.poses()), aligner.key_scans()
    (1, [0])
    """

    def __init__(self, settings: AlignerSettings | None = None) -> None:
        self._aligner = _korrin._ScanAligner(fields_of_settings(settings))

    def add(self, scan: korrin.ScanLike, odometry: korrin.PoseLike) -> korrin.Pose2D:
        """Takes a scan and the pose that odometry gave the scanner; returns where it was found to be.

        With no odometry give the same pose each time. Scans without hits stay where odometry has
        them; a pose that is not finite counts as not having moved.

        >>> korrin.mapping.ScanAligner().add(korrin.Scan(), (0.5, 0, 0))
        Pose2D(x=0.5, y=0, theta=0)
        """
        pose: korrin.Pose2D = self._aligner.add(scan, odometry)
        return pose

    def poses(self) -> NDArray[np.float32]:
        """The poses of all scans, as corrected by now: N x 3.

        >>> korrin.mapping.ScanAligner().poses().shape
        (0, 3)
        """
        poses: NDArray[np.float32] = self._aligner.poses()
        return poses

    def key_scans(self) -> list[int]:
        """Numbers of the key scans, rising.

        >>> korrin.mapping.ScanAligner().key_scans()
        []
        """
        scans: list[int] = self._aligner.key_scans()
        return scans

    def links(self) -> list[ScanLink]:
        """All links, dropped ones included, in the order they were made.

        >>> korrin.mapping.ScanAligner().links()
        []
        """
        return links_of_fields(self._aligner.links())

    def graph(self) -> PoseGraph:
        """The graph as it is solved: a node for each key scan, an edge for each link that counts.

        >>> korrin.mapping.ScanAligner().graph()
        PoseGraph(nodes=[], edges=[])
        """
        return graph_of_fields(self._aligner.graph())

    def summary(self) -> AlignerSummary:
        """What has happened so far.

        >>> korrin.mapping.ScanAligner().summary().scans
        0
        """
        return AlignerSummary(*self._aligner.summary())

    def __reduce_ex__(self, protocol: Any) -> NoReturn:
        raise TypeError("a ScanAligner cannot be copied or pickled")

    def __repr__(self) -> str:
        summary = self.summary()
        return (
            f"<ScanAligner of {summary.scans} scans, {summary.key_scans} of them key scans, "
            f"with {summary.loops_accepted - summary.loops_dropped} loops>"
        )


def links_of_fields(fields: Any) -> list[ScanLink]:
    return [
        ScanLink(from_, to, GraphPose(*motion), GraphInformation(*known), LinkKind(kind), dropped)
        for from_, to, motion, known, kind, dropped in fields
    ]


def fields_of_settings(settings: AlignerSettings | None) -> tuple[Any, ...]:
    return dataclasses.astuple(settings if settings is not None else AlignerSettings())
