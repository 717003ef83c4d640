"""What korrin.ros promises, once more: literal and slow, number by number."""

import math

import numpy as np


def cell_of(percentage):
    """A cell's value, of what a grid says of it."""
    if percentage == 50:
        return np.nextafter(np.float32(0.5), np.float32(0))
    if 0 <= percentage <= 100:
        return np.float32(1 - percentage / 100)
    return np.float32(0.5)


def percentage_of(value):
    """What a grid says of a cell of this value."""
    value = float(value)
    if math.isnan(value) or value == 0.5:
        return -1
    occupied = 1 - value
    if occupied <= 0:
        return 0
    if occupied >= 1:
        return 100
    return round(occupied * 100)  # of two equally near the even one


def reading_of(range_, least, most, misses_clear):
    """(range, weight, status) of what a scanner says of one beam."""
    range_, least, most = np.float32(range_), np.float32(least), np.float32(most)
    if math.isnan(range_) or range_ < least:
        return 0.0, 0.0, 1
    if range_ >= most:
        return float(most), float(misses_clear), 1
    return float(range_), 1.0, 0


def unrounded(angle):
    """Thousandths of a degree where a float makes the angle of them, else the angle."""
    near = int(angle * 180_000 / math.pi)
    for thousandths in range(near - 2, near + 3):
        radians = math.radians(thousandths / 1000)
        if np.float32(radians) == angle:
            return radians
    return angle


def readings_of(message, misses_clear, upside_down):
    """All readings of a scan: (range, angle, weight, mark, status)."""
    found = []
    first, step = unrounded(message.angle_min), unrounded(message.angle_increment)
    for i, range_ in enumerate(message.ranges):
        angle = float(np.float32(first + i * step))
        length, weight, status = reading_of(range_, message.range_min, message.range_max, misses_clear)
        found.append((length, -angle if upside_down else angle, weight, 1, status))
    return found[::-1] if upside_down else found


def matrix_of(quaternion):
    """The rotation of a quaternion (x, y, z, w), as a matrix."""
    x, y, z, w = np.asarray(quaternion, float) / math.sqrt(sum(part * part for part in quaternion))
    return np.array(
        [
            [1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
            [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
            [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)],
        ]
    )


def motion_of(position, quaternion):
    """A motion in space, as a 4 x 4 matrix."""
    motion = np.eye(4)
    motion[:3, :3] = matrix_of(quaternion)
    motion[:3, 3] = position
    return motion


def planar_of(motion):
    """x, y and heading of a motion that keeps the plane."""
    return motion[0, 3], motion[1, 3], math.atan2(motion[1, 0], motion[0, 0])


def turn_between(first, second, share):
    """A heading between two, the shorter way round."""
    way = (second - first + math.pi) % (2 * math.pi) - math.pi
    return first + share * way
