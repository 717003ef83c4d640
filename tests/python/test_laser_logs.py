"""Laser logs and paths, read and written."""

import gzip

import numpy as np
import pytest
from conftest import DATA

import korrin

LINE = "FLASER 3 1.5 9 2.5 4 5 0.5 1 2 0.25 12.25 host 12.25\n"


def some_log():
    scan = korrin.Scan([1.5, np.inf, 2.5], angle_min=-1, angle_increment=0.5, range_max=30)
    scans = [korrin.LoggedScan(scan, (4, 5, 0.5), (1, 2, 0.25), time=976052890.244111)]
    scans.append(korrin.LoggedScan(scan, korrin.Pose2D(7, 8)))
    return korrin.LaserLog(scans, no_return=50)


def test_a_log_is_read(tmp_path):
    file = tmp_path / "one.log"
    file.write_text("# a log\n" + LINE + "FLASER 2 1 x\n")
    log = korrin.read_log(file)
    assert len(log.scans) == 1
    assert log.no_return == 0
    assert log.complaint == "1 line could not be read, line 3: FLASER: reading 2: not a number"
    logged = log.scans[0]
    assert logged.pose == korrin.Pose2D(4, 5, 0.5)
    assert logged.robot == korrin.Pose2D(1, 2, 0.25)
    assert (logged.time, logged.line) == (12.25, 2)
    assert logged.scan.readings["range"].tolist() == [1.5, 9, 2.5]
    assert np.allclose(logged.scan.readings["angle"], [-np.pi / 2, 0, np.pi / 2])


def test_readings_beyond_the_maximum_met_nothing(tmp_path):
    file = tmp_path / "packed.log.gz"
    file.write_bytes(gzip.compress(LINE.encode()))
    readings = korrin.read_log(str(file), max_range=5).scans[0].scan.readings
    assert readings["status"].tolist() == [0, 1, 0]
    assert readings["range"].tolist() == [1.5, 5, 2.5]


@pytest.mark.parametrize("name", ["plain.log", "packed.log.gz"])
def test_a_written_log_reads_back(tmp_path, name):
    log = some_log()
    korrin.write_log(log, tmp_path / name)
    again = korrin.read_log(tmp_path / name)
    assert again.no_return == 50
    assert again.complaint == ""
    for before, after in zip(log.scans, again.scans, strict=True):
        assert (after.pose, after.robot, after.time) == (before.pose, before.robot, before.time)
        assert after.scan.readings["status"].tolist() == [0, 1, 0]
        assert after.scan.readings["range"].tolist() == [1.5, 50, 2.5]
    korrin.write_log(again, tmp_path / "twice.log")
    assert korrin.read_log(tmp_path / "twice.log").scans == again.scans


def test_faulty_logs(tmp_path):
    with pytest.raises(FileNotFoundError) as fault:
        korrin.read_log(tmp_path / "none.log")
    assert fault.value.filename == str(tmp_path / "none.log")
    packed = tmp_path / "packed.log.gz"
    packed.write_bytes(gzip.compress(LINE.encode() * 100)[:-9] + bytes(9))
    with pytest.raises(ValueError, match="damaged gzip data"):
        korrin.read_log(packed)
    with pytest.raises(FileNotFoundError):
        korrin.write_log(some_log(), tmp_path / "no" / "such.log")


def test_what_a_log_cannot_hold_is_refused(tmp_path):
    log = some_log()
    log.scans[1].pose.x = np.nan
    with pytest.raises(ValueError, match="scan 1: the laser's pose is not finite"):
        korrin.write_log(log, tmp_path / "one.log")
    log.scans[1] = korrin.LoggedScan(korrin.Scan(), (0, 0))
    with pytest.raises(ValueError, match="scan 1: has no readings"):
        korrin.write_log(log, tmp_path / "one.log")
    assert not list(tmp_path.iterdir())


def test_poses_of_a_logged_scan_are_its_own():
    pose = korrin.Pose2D(1, 2)
    logged = korrin.LoggedScan(korrin.Scan(), pose)
    pose.x = 7
    logged.pose.y = 9
    assert logged.pose == korrin.Pose2D(1, 9)
    assert logged.robot == korrin.Pose2D(1, 2)


def test_paths(tmp_path):
    file = tmp_path / "way.csv"
    path = np.random.default_rng(1).normal(size=(50, 3)).astype(np.float32)
    korrin.write_path(path, file)
    assert (korrin.read_path(file) == path).all()
    file.write_text("1,2\nnowhere\n")
    with pytest.raises(ValueError, match="way.csv: line 2: must be x,y or x,y,theta"):
        korrin.read_path(file)
    with pytest.raises(FileNotFoundError):
        korrin.read_path(tmp_path / "none.csv")
    with pytest.raises(ValueError, match="a pose is not finite"):
        korrin.write_path([(0, 0, np.nan)], file)


def test_what_is_no_path_is_told_as_such():
    with pytest.raises(TypeError, match="yaml_path: wanted a path, found 7"):
        korrin.load_map(7)


def test_real_logs():
    file = DATA / "logs" / "intel-raw.log.gz"
    if not file.exists():
        print("no logs in", DATA)
        return
    log = korrin.read_log(file)
    assert len(log.scans) == 910
    assert log.no_return == np.float32(81.83)
    assert 976052000 < log.scans[0].time < log.scans[-1].time < 976056000
