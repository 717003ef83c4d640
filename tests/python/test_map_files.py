"""Map files, read and written."""

import numpy as np
import pytest
from conftest import DATA
from PIL import Image

import korrin

YAML = """\
image: {image}
resolution: 0.1
origin: [1.0, -2.0, {yaw}]
negate: {negate}
occupied_thresh: 0.65
free_thresh: 0.196
mode: {mode}
"""


def write(path, pixels, mode="trinary", negate=0, yaw=0.0, suffix="png"):
    Image.fromarray(pixels).save(path / f"map.{suffix}")
    yaml = path / "map.yaml"
    yaml.write_text(YAML.format(image=f"map.{suffix}", mode=mode, negate=negate, yaw=yaw))
    return yaml


def test_geometry(tmp_path):
    pixels = np.array([[0, 254, 205], [254, 254, 0]], np.uint8)
    map = korrin.load_map(write(tmp_path, pixels))
    assert map.image.tolist() == [[1, 1, 0], [0, 1, 0.5]]  # the lowest row first
    assert (map.params.width, map.params.height) == (3, 2)
    assert np.allclose(tuple(map.params.origin), (1.05, -1.95, 0))
    assert (map.second_image == 0.5).all()


def test_a_turned_origin_is_that_of_the_corner(tmp_path):
    map = korrin.load_map(write(tmp_path, np.zeros((2, 2), np.uint8), yaw=np.pi / 2))
    assert np.allclose(tuple(map.params.origin), (0.95, -1.95, np.pi / 2))


@pytest.mark.parametrize(
    "mode, negate, levels, values",
    [
        ("trinary", 0, [0, 88, 90, 204, 206, 255], [0, 0, 0.5, 0.5, 1, 1]),
        ("trinary", 1, [0, 49, 51, 165, 167, 255], [1, 1, 0.5, 0.5, 0, 0]),
        ("scale", 0, [0, 255, 147], [0, 1, 1 - (108 / 255 - 0.196) / (0.65 - 0.196)]),
        ("raw", 0, [0, 30, 100, 101, 255], [1, 0.7, 0, 0.5, 0.5]),
        ("raw", 1, [0, 30, 100, 101, 255], [1, 0.7, 0, 0.5, 0.5]),
    ],
)
def test_levels(tmp_path, mode, negate, levels, values):
    map = korrin.load_map(write(tmp_path, np.array([levels], np.uint8), mode, negate))
    assert np.allclose(map.image[0], values, atol=1e-6)


def test_transparent_pixels(tmp_path):
    pixels = np.array([[[255, 255, 255, 255], [255, 255, 255, 0]]], np.uint8)
    assert korrin.load_map(write(tmp_path, pixels, "scale")).image.tolist() == [[1, 0.5]]
    # Here transparency is one more colour, black: three quarters white.
    assert korrin.load_map(write(tmp_path, pixels)).image.tolist() == [[1, 0.5]]


def test_sixteen_bits(tmp_path):
    pixels = np.array([[0, 65535, 52685]], np.uint16)
    assert korrin.load_map(write(tmp_path, pixels)).image.tolist() == [[0, 1, 0.5]]


@pytest.mark.parametrize("mode", ["trinary", "scale", "raw"])
def test_a_saved_map_reads_back(tmp_path, mode):
    map = korrin.OccupancyMap(30, 20, 0.07)
    map.params.origin = (3.3, -7.1, 0.4)
    map.image[:] = np.random.default_rng(3).choice([0, 0.5, 1], (20, 30))
    korrin.save_map(map, tmp_path / "m.yaml", mode=mode)
    again = korrin.load_map(tmp_path / "m.yaml")
    assert (again.image == map.image).all()
    assert again.params.resolution == map.params.resolution
    assert tuple(again.params.origin) == tuple(map.params.origin)


def test_values_between_become_the_nearest(tmp_path):
    map = korrin.OccupancyMap(5, 1, 1)
    map.image[0] = [0.2, 0.3, 0.8, np.nan, 7]
    korrin.save_map(map, tmp_path / "m.yaml")
    assert korrin.load_map(tmp_path / "m.yaml").image.tolist() == [[0, 0.5, 1, 0.5, 1]]
    map.image[0] = [0.204, 0.206, -1, np.nan, 7]
    korrin.save_map(map, tmp_path / "m.yaml", mode="raw")
    expected = np.float32([0.2, 0.21, 0, 0.5, 1])
    assert np.allclose(korrin.load_map(tmp_path / "m.yaml").image[0], expected)


@pytest.mark.parametrize(
    "old, new, told",
    [
        ("image: map.png", "imago: map.png", "image: "),
        ("image: map.png", "image: map.yaml", "not a picture"),
        ("resolution: 0.1", "resolution: 0", "resolution: "),
        ("resolution: 0.1", "resolution: .nan", "resolution: "),
        ("resolution: 0.1", "resolution: true", "resolution: "),
        ("origin: [1.0, -2.0, 0.0]", "origin: [1, 2]", "origin: "),
        ("origin: [1.0, -2.0, 0.0]", "origin: 7", "origin: "),
        ("origin: [1.0, -2.0, 0.0]", "origin: [1, 2, 1e30]", "origin: "),
        ("negate: 0", "negate: 2", "negate: "),
        ("occupied_thresh: 0.65", "occupied_thresh: 1.5", "occupied_thresh: "),
        ("free_thresh: 0.196", "free_thresh: 0.65", "free_thresh: "),
        ("mode: trinary", "mode: other", "mode: "),
        ("mode: trinary", "mode: [", "not valid YAML"),
    ],
)
def test_faulty_files_are_refused(tmp_path, old, new, told):
    yaml = write(tmp_path, np.zeros((2, 2), np.uint8))
    text = yaml.read_text()
    assert old in text
    yaml.write_text(text.replace(old, new))
    with pytest.raises(ValueError, match=told):
        korrin.load_map(yaml)


def test_files_that_are_not_there(tmp_path):
    with pytest.raises(FileNotFoundError, match="cannot be read") as fault:
        korrin.load_map(tmp_path / "none.yaml")
    assert fault.value.filename == str(tmp_path / "none.yaml")
    yaml = write(tmp_path, np.zeros((2, 2), np.uint8))
    (tmp_path / "map.png").unlink()
    with pytest.raises(FileNotFoundError, match="image: cannot read"):
        korrin.load_map(yaml)
    with pytest.raises(FileNotFoundError):
        korrin.save_map(korrin.OccupancyMap(2, 2, 1), tmp_path / "no" / "such.yaml")


def test_a_picture_and_its_stump(tmp_path):
    yaml = write(tmp_path, np.zeros((20, 20), np.uint8), suffix="pgm")
    picture = tmp_path / "map.pgm"
    with pytest.raises(ValueError, match="map.pgm: is a picture; what to read is the YAML file"):
        korrin.load_map(picture)
    picture.write_bytes(picture.read_bytes()[:100])
    with pytest.raises(ValueError, match="map.yaml: image: damaged or cut short: '.*map.pgm'"):
        korrin.load_map(yaml)


def test_a_map_without_cells_is_not_written(tmp_path):
    with pytest.raises(ValueError):
        korrin.save_map(korrin.OccupancyMap(0, 4, 1), tmp_path / "m.yaml")
    assert not list(tmp_path.iterdir())


def test_an_unknown_mode_is_not_written(tmp_path):
    with pytest.raises(ValueError, match="mode"):
        korrin.save_map(korrin.OccupancyMap(4, 4, 1), tmp_path / "m.yaml", mode="other")


def test_thresholds_that_would_not_be_read_back_are_not_written(tmp_path):
    with pytest.raises(ValueError, match="free_thresh: must be below occupied_thresh"):
        korrin.save_map(korrin.OccupancyMap(4, 4, 1), tmp_path / "m.yaml", "raw", 0.2, 0.3)
    assert not list(tmp_path.iterdir())


def test_real_maps():
    files = sorted((DATA / "maps").glob("*.yaml"))
    if not files:
        print("no maps in", DATA)
    for file in files:
        map = korrin.load_map(file)
        assert map.image.size > 100_000
        assert 0 < (map.image > 0.9).mean() < 1
