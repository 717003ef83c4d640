"""A line that would fall from free to occupied is refused; what C++ defines stays otherwise."""

import numpy as np
import pytest

import korrin


def spot():
    map = korrin.OccupancyMap(9, 1, 0.5)
    map.reset(1)
    map.image[0, 0] = 0
    return map


def dilater_of(radius, fade):
    dilater = korrin.ObstacleDilater(9, 1)
    dilater.set_params(radius, fade)
    return dilater


@pytest.mark.parametrize("kind", ["linear", korrin.ObstacleDilater.DILATE_LINEAR])
def test_a_linear_fade_below_the_radius_is_refused(kind):
    map = spot()
    told = "fade_distance: wanted at least dilation_radius, 0.75, for DILATE_LINEAR, found 0.5"
    with pytest.raises(ValueError, match=told):
        dilater_of(0.75, 0.5).dilate(map, kind)
    told = "fade_cells: wanted at least radius_cells, 3, for DILATE_LINEAR, found 2.5"
    with pytest.raises(ValueError, match=told):
        dilater_of(0, 1).x_do_dilate_with_funct_transform(map, 3, 2.5, kind)
    assert map == spot()


def test_a_fade_at_the_radius_is_a_step():
    map = spot()
    dilater_of(0.9, 0.9).dilate(map, "linear")
    assert map.image.tolist() == [[0, 0, 1, 1, 1, 1, 1, 1, 1]]


@pytest.mark.parametrize("kind", ["inverse", "erode_smooth"])
def test_other_kinds_know_no_such_order(kind):
    map = spot()
    dilater_of(1, 0.5).dilate(map, kind)
    assert map != spot()
    assert np.isfinite(map.image).all()


@pytest.mark.parametrize("radius, fade", [(np.nan, 1), (1, np.nan), (np.inf, np.inf)])
def test_lengths_that_no_order_holds_for_are_passed_on(radius, fade):
    dilater_of(radius, fade).dilate(spot(), "linear")
