"""Poses as rows of an array: chained, seen from each other, and laid over each other."""
import numpy as np


def turned(angles):
    """The same directions, from -pi to pi."""
    return np.remainder(np.asarray(angles) + np.pi, 2 * np.pi) - np.pi


def composed(poses, motions):
    """Each pose moved by a motion in its own frame."""
    poses, motions = np.asarray(poses, float), np.asarray(motions, float)
    c, s = np.cos(poses[..., 2]), np.sin(poses[..., 2])
    x, y = motions[..., 0], motions[..., 1]
    return np.stack(
        [
            poses[..., 0] + c * x - s * y,
            poses[..., 1] + s * x + c * y,
            turned(poses[..., 2] + motions[..., 2]),
        ],
        axis=-1,
    )


def seen_from(poses, others):
    """Each other pose in the frame of its pose."""
    poses, others = np.asarray(poses, float), np.asarray(others, float)
    c, s = np.cos(poses[..., 2]), np.sin(poses[..., 2])
    x, y = others[..., 0] - poses[..., 0], others[..., 1] - poses[..., 1]
    return np.stack([c * x + s * y, c * y - s * x, turned(others[..., 2] - poses[..., 2])], axis=-1)


def distances(motions):
    """How far each motion goes, and how far it turns, without signs."""
    motions = np.asarray(motions, float)
    return np.hypot(motions[..., 0], motions[..., 1]), np.abs(turned(motions[..., 2]))


def rigidly_aligned(track, truth):
    """The track, shifted and turned as a whole so that its places are nearest to the truth's, by
    the sum of squares."""
    track, truth = np.asarray(track, float), np.asarray(truth, float)
    a, b = track[:, :2] - track[:, :2].mean(axis=0), truth[:, :2] - truth[:, :2].mean(axis=0)
    angle = np.arctan2((a[:, 0] * b[:, 1] - a[:, 1] * b[:, 0]).sum(), (a * b).sum())
    centre = np.append(track[:, :2].mean(axis=0), 0.0)
    aim = np.append(truth[:, :2].mean(axis=0), angle)
    return composed(aim, track - centre)
