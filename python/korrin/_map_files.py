"""Maps in map-server form: a YAML file with the geometry, and a PGM or PNG picture of the cells.

Picture rows run downwards, map rows upwards: cell (0, 0) is the lower-left pixel. `origin` in the
file is the world pose of that pixel's lower-left corner; the origin of a map is the pose of the
cell's centre.
"""

import math
import os

import numpy as np

from . import _korrin

_MODES = ("trinary", "scale", "raw")


def load_map(yaml_path: str | os.PathLike[str]) -> _korrin.OccupancyMap:
    """The map that a YAML file and its picture hold, with a second image of unknown cells.

    A pixel's brightness s in [0, 1] (colours averaged) stands for the occupied probability
    p = 1 - s, or s with `negate`. Mode trinary (the default): p above occupied_thresh is 0, below
    free_thresh 1, else 0.5; scale: falling linearly in between, transparent pixels 0.5; raw:
    s * 255 is a percentage of occupancy, above 100 unknown.

    A file that is not there raises OSError, one that is faulty ValueError.

    >>> import os, tempfile
    >>> file = os.path.join(tempfile.mkdtemp(), "room.yaml")
    >>> korrin.save_map(korrin.OccupancyMap(4, 3, 0.05), file)
    >>> korrin.load_map(file).image.shape
    (3, 4)
    """
    keys = _read_keys(yaml_path)
    picture = _read_picture(os.path.join(os.path.dirname(yaml_path), keys["image"]))
    values = _values(picture, keys)[::-1]
    params = _korrin.OccupancyMapParams(values.shape[1], values.shape[0], keys["resolution"])
    x, y, theta = keys["origin"]
    params.origin = _half_cell_off(x, y, np.float32(theta), params.resolution, 1)
    map = _korrin.OccupancyMap(params, True)
    map.image[:] = values
    return map


def save_map(
    map: _korrin.OccupancyMap,
    yaml_path: str | os.PathLike[str],
    mode: str = "trinary",
    occupied_thresh: float = 0.65,
    free_thresh: float = 0.196,
) -> None:
    """Writes a map as a YAML file and a picture beside it, in one of the modes of load_map.

    Each cell becomes the nearest value that the mode can express: trinary knows 0, 0.5 and 1, raw
    the percents and 0.5, scale the grey levels between the thresholds and, in its PNG, 0.5.

    >>> import os, tempfile
    >>> file = os.path.join(tempfile.mkdtemp(), "room.yaml")
    >>> korrin.save_map(korrin.OccupancyMap(4, 3, 0.05), file, mode="raw")
    >>> open(file).readline()
    'image: room.pgm\\n'
    """
    import yaml
    from PIL import Image

    if map.image.size == 0:
        raise ValueError("the map has no cells")
    stem = os.path.splitext(os.path.basename(yaml_path))[0]
    x, y, theta = map.params.origin
    keys = {
        "image": stem + (".png" if mode == "scale" else ".pgm"),
        "mode": mode,
        "resolution": float(str(np.float32(map.params.resolution))),
        "origin": [*_half_cell_off(x, y, theta, map.params.resolution, -1)[:2], theta],
        "negate": 0,
        "occupied_thresh": occupied_thresh,
        "free_thresh": free_thresh,
    }
    _check(keys, yaml_path)
    picture = Image.fromarray(_pixels(map.image[::-1], keys))
    picture.save(os.path.join(os.path.dirname(yaml_path), keys["image"]))
    with open(yaml_path, "w", encoding="utf-8") as file:
        yaml.safe_dump(keys, file, sort_keys=False, default_flow_style=None)


def _read_keys(path):
    import yaml

    with open(path, encoding="utf-8") as file:
        try:
            keys = yaml.safe_load(file)
        except yaml.YAMLError as error:
            raise ValueError(f"{path}: not valid YAML: {error}") from None
    if not isinstance(keys, dict):
        raise ValueError(f"{path}: must hold 'key: value' lines")
    keys.setdefault("mode", "trinary")
    _check(keys, path)
    return keys


def _check(keys, path):
    def require(fine, key, rule):
        if not fine:
            raise ValueError(f"{path}: {key}: {rule}, found {keys.get(key)!r}")

    def is_number(value):
        number = isinstance(value, (int, float)) and not isinstance(value, bool)
        return number and math.isfinite(value)

    origin = keys.get("origin")
    require(isinstance(keys.get("image"), str) and keys["image"], "image", "must be a file's name")
    require(keys["mode"] in _MODES, "mode", "must be trinary, scale or raw")
    require(
        is_number(keys.get("resolution")) and 2**-126 <= keys["resolution"] <= 1e9,
        "resolution",
        "must be a positive number of metres",
    )
    require(
        isinstance(origin, list)
        and len(origin) == 3
        and all(is_number(value) and abs(value) <= 1e9 for value in origin),
        "origin",
        "must be [x, y, yaw]",
    )
    require(keys.get("negate") in (0, 1), "negate", "must be 0 or 1")
    for key in ("occupied_thresh", "free_thresh"):
        require(is_number(keys.get(key)) and 0 <= keys[key] <= 1, key, "must lie between 0 and 1")
    require(
        keys["free_thresh"] < keys["occupied_thresh"], "free_thresh", "must be below occupied_thresh"
    )


def _read_picture(path):
    """Rows x columns x channels, each from 0 to 1."""
    from PIL import Image, UnidentifiedImageError

    try:
        with Image.open(path) as picture:
            if picture.mode in ("1", "P", "LA"):
                clear = picture.mode == "LA" or "transparency" in picture.info
                picture = picture.convert("RGBA" if clear else "RGB")
            deep = picture.mode.startswith("I")
            pixels = np.asarray(picture, dtype=np.float64)
    except UnidentifiedImageError:
        raise ValueError(f"{path}: not a picture") from None
    pixels = pixels / (65535.0 if deep else 255.0)
    return pixels[..., np.newaxis] if pixels.ndim == 2 else pixels


def _values(picture, keys):
    """The cells that pixels stand for, in the picture's order."""
    has_alpha = picture.shape[2] == 4
    opaque = picture[..., -1] == 1 if has_alpha else True
    colours = picture if keys["mode"] == "trinary" or not has_alpha else picture[..., :-1]
    brightness = colours.mean(axis=2)
    if keys["mode"] == "raw":
        percent = np.round(brightness * 255)
        return np.where(percent <= 100, 1 - percent / 100, 0.5).astype(np.float32)
    occupied = brightness if keys["negate"] else 1 - brightness
    low, high = keys["free_thresh"], keys["occupied_thresh"]
    between = 1 - (occupied - low) / (high - low) if keys["mode"] == "scale" else 0.5
    values = np.where(occupied > high, 0.0, np.where(occupied < low, 1.0, between))
    return np.where(opaque | (keys["mode"] == "trinary"), values, 0.5).astype(np.float32)


def _pixels(values, keys):
    """The grey levels for cells; with an alpha channel in mode scale."""
    levels = np.array([0, 254, 205, 255, *range(256)])  # the usual ones first
    stood_for = _values(levels.reshape(-1, 1, 1) / 255.0, keys)[:, 0]
    known, first = np.unique(stood_for, return_index=True)
    values = np.where(np.isnan(values), np.float32(0.5), values)
    above = np.clip(np.searchsorted(known, values), 0, len(known) - 1)
    below = np.maximum(above - 1, 0)
    nearest = np.where(known[above] - values < values - known[below], above, below)
    grey = levels[first[nearest]].astype(np.uint8)
    if keys["mode"] != "scale":
        return grey
    alpha = np.where(values == 0.5, 0, 255).astype(np.uint8)
    return np.dstack([grey, grey, grey, alpha])


def _half_cell_off(x, y, theta, resolution, sign):
    half = sign * 0.5 * resolution
    c, s = math.cos(theta), math.sin(theta)
    return x + half * (c - s), y + half * (s + c), float(theta)
