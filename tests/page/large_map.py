"""A map of the largest size that is met in practice: rooms of 4 m with doors, 5,644 x 5,459 cells."""

import numpy as np

WIDTH, HEIGHT = 5644, 5459


def write(directory):
    """Writes large.yaml and large.pgm, and returns the first's path."""
    cells = np.full((HEIGHT, WIDTH), 254, np.uint8)
    cells[::80] = cells[:, ::80] = 0
    cells[1::80] = cells[:, 1::80] = 0
    for row in range(40, HEIGHT, 80):
        cells[row:row + 20, :] = np.where(cells[row:row + 20, :] == 0, 254, cells[row:row + 20, :])
        cells[:, row:row + 20] = 254
    with open(directory / "large.pgm", "wb") as file:
        file.write(f"P5\n{WIDTH} {HEIGHT}\n255\n".encode() + cells.tobytes())
    (directory / "large.yaml").write_text(
        "image: large.pgm\nresolution: 0.05\norigin: [0, 0, 0]\nnegate: 0\n"
        "occupied_thresh: 0.65\nfree_thresh: 0.196\n")
    return directory / "large.yaml"
