"""Draws how cost grows with the side of generated office floors: docs/images/growth.svg."""

import pathlib

PICTURE = pathlib.Path(__file__).resolve().parent.parent / "docs" / "images" / "growth.svg"
SIDES = (250, 500, 1000, 2000, 4000)
# What is measured, for people, and its benchmark.
LINES = {
    "plan across the floor": "path_finder/search/library",
    "dilate, linear": "growth/dilation",
    "prepare for rays": "growth/preparing",
    "scroll by 10 cells": "growth/scroll",
    "bring in one scan": "growth/update",
    "simulate one scan": "growth/scan",
    "simulate one, prepared": "growth/prepared_scan",
}


def name_at(benchmark, side):
    return f"{benchmark}/side:{side}"


def names():
    return {name_at(benchmark, side) for benchmark in LINES.values() for side in SIDES}


def draw(milliseconds):
    """`milliseconds(name)` gives the time of a benchmark."""
    import matplotlib

    matplotlib.use("svg")
    # Texts as texts, and nothing that differs from one run to the next but the figures.
    matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "growth"})
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(figsize=(7, 5), layout="constrained")
    for (label, benchmark), marker in zip(LINES.items(), "osD^vPX"):
        times = [milliseconds(name_at(benchmark, side)) for side in SIDES]
        axes.loglog(SIDES, times, marker=marker, label=label)
    axes.set_xticks(SIDES, [str(side) for side in SIDES])
    axes.minorticks_off()
    axes.set_xlabel("side of the floor, cells")
    axes.set_ylabel("time, milliseconds")
    axes.grid(alpha=0.3)
    axes.legend(fontsize="small")
    figure.savefig(PICTURE, metadata={"Date": None})
