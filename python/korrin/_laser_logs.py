"""Laser logs in the CARMEN text format, plain or packed with gzip."""

from __future__ import annotations

import dataclasses
import os

from . import _korrin


@dataclasses.dataclass
class LoggedScan:
    """One scan of a laser log, and where it was taken.

    `pose` is the laser's and `robot` the robot's pose in the world (the laser's when left out),
    `time` in seconds of the recorder's clock (0 where the log tells none), `line` the line of the
    log, from 1 on.

    >>> logged = korrin.LoggedScan(korrin.Scan([1, 2], 0, 0.1), (1, 2))
    >>> logged.robot == logged.pose == korrin.Pose2D(1, 2, 0)
    True
    """

    scan: _korrin.Scan
    pose: _korrin.Pose2D
    robot: _korrin.Pose2D | None = None
    time: float = 0.0
    line: int = 0

    def __post_init__(self) -> None:
        self.pose = _korrin.Pose2D(self.pose)
        self.robot = _korrin.Pose2D(self.pose if self.robot is None else self.robot)


@dataclasses.dataclass
class LaserLog:
    """The scans of a laser log, in their order.

    `no_return` is the range that stands for "no return", 0 when the log has none; `complaint` says
    which lines could not be read, empty when there were none.

    >>> korrin.LaserLog([]).complaint
    ''
    """

    scans: list[LoggedScan]
    no_return: float = 0.0
    complaint: str = ""


def read_log(path: str | os.PathLike[str], max_range: float | None = None) -> LaserLog:
    """The scans of a laser log in CARMEN format, plain or packed with gzip.

    Lines FLASER, ROBOTLASER1 and RAWLASER1 have scans, the last one at the pose of the ODOM line
    before it. A beam that met nothing has status 1: one of the range that stands for "no return",
    which a line "PARAM laser_no_return" tells or else the largest range of the log is when it is
    frequent, with weight 0; and with `max_range` (metres) any reading at or beyond it, cut to it.
    Faulty lines are passed over, and told in the log's `complaint`.

    A file that the system refuses raises OSError, one whose packing is damaged ValueError.

    >>> import os, tempfile
    >>> file = os.path.join(tempfile.mkdtemp(), "one.log")
    >>> _ = open(file, "w").write("FLASER 3 1.5 2.5 3.5 4 5 0.5 4 5 0.5 12.25 host 12.25\\n")
    >>> log = korrin.read_log(file)
    >>> log.scans[0].pose
    Pose2D(x=4, y=5, theta=0.5)
    >>> log.scans[0].scan.readings["range"].tolist(), log.scans[0].time
    ([1.5, 2.5, 3.5], 12.25)
    """
    scans, no_return, complaint = _korrin._read_log(path, max_range)
    return LaserLog([LoggedScan(*fields) for fields in scans], no_return, complaint)


def write_log(log: LaserLog, path: str | os.PathLike[str]) -> None:
    """Writes the scans of a log, packed with gzip when the path ends in .gz.

    Poses, times and the ranges of hits read back as they are. Beams that met nothing, and ranges
    that are NaN, infinite or negative, become "no return"; weights and marks are not kept. A scan
    without readings, beams that are not evenly spaced, and poses and times that are not finite
    raise ValueError, which names the scan, from 0 on; a file that cannot be written raises OSError.

    >>> import os, tempfile
    >>> file = os.path.join(tempfile.mkdtemp(), "one.log.gz")
    >>> scan = korrin.Scan([1.5, 2.5], angle_min=-0.5, angle_increment=1)
    >>> korrin.write_log(korrin.LaserLog([korrin.LoggedScan(scan, (1, 2))]), file)
    >>> korrin.read_log(file).scans[0].scan == scan
    True
    """
    scans = [(item.scan, item.pose, item.robot, item.time, item.line) for item in log.scans]
    _korrin._write_log(scans, log.no_return, path)
