"""Points, stations and feet on routes whose geometry is known in closed form."""

import math

import numpy as np
import pytest

import rcc
from conftest import angle_between, element_route
from tolerances import ANGLE, EXACT, LOCATE, STEP_BEARING, STEP_POSITION

R = 100.0  # radius of the test arcs
QUARTER = R * math.pi / 2  # length of a quarter circle


@pytest.mark.parametrize("bearing_deg", [30.0, 210.0])
def test_straight_points_follow_the_bearing(bearing_deg):
    # On a straight from P along t the point at s with offset d is P + s t + d n, where n is
    # t turned by +90 degrees; the station is the start station plus s.
    route = element_route([{"curveType": "line", "length": 100.0}], 1000.0, 2000.0,
                          bearing_deg, start_station=500.0)
    s = np.array([[0.0, 25.0], [60.0, 100.0]])
    d = np.array([0.0, -3.5])
    t = math.radians(bearing_deg)
    p = route.point_at_length(s, offset=d)
    assert p.x.shape == (2, 2)
    np.testing.assert_allclose(p.x, 1000.0 + s * math.cos(t) - d * math.sin(t), atol=EXACT)
    np.testing.assert_allclose(p.y, 2000.0 + s * math.sin(t) + d * math.cos(t), atol=EXACT)
    assert np.all(np.abs(angle_between(p.bearing, t)) < ANGLE)
    np.testing.assert_allclose(p.station, 500.0 + s, atol=EXACT)
    assert np.all(p.status == rcc.Status.ON_ROUTE)
    q = route.point_at(500.0 + s, offset=d)
    np.testing.assert_allclose(q.x, p.x, atol=EXACT)
    np.testing.assert_allclose(q.length, s, atol=EXACT)


def test_lengths_off_the_route_lie_on_the_tangents_produced():
    # A straight along +x from the origin: length -10 is x = -10, length 110 is x = 110.
    route = element_route([{"curveType": "line", "length": 100.0}])
    p = route.point_at_length([-10.0, 110.0])
    np.testing.assert_allclose(p.x, [-10.0, 110.0], atol=EXACT)
    assert list(p.status) == [rcc.Status.BEFORE_START, rcc.Status.BEYOND_END]


@pytest.mark.parametrize("turn", [1, -1])
def test_arc_points_lie_on_the_circle(turn):
    # Arc from the origin along +x: bearing theta = turn s / R, centre (0, turn R), point
    # (R sin(s/R), turn R (1 - cos(s/R))); the offset d moves it along (-sin, cos) theta.
    route = element_route([{"curveType": "curve", "length": QUARTER, "radius": R,
                            "turnDirection": turn}])
    s = np.linspace(0.0, QUARTER, 7)
    d = 2.0
    theta = turn * s / R
    p = route.point_at_length(s, offset=d)
    np.testing.assert_allclose(p.x, R * np.sin(s / R) - d * np.sin(theta), atol=STEP_POSITION)
    np.testing.assert_allclose(p.y, turn * R * (1 - np.cos(s / R)) + d * np.cos(theta),
                               atol=STEP_POSITION)
    assert np.all(np.abs(angle_between(p.bearing, theta)) < STEP_BEARING)


@pytest.mark.parametrize("turn", [1, -1])
def test_locate_finds_the_foot_on_an_arc(turn):
    # A point at distance R - turn d from the centre lies on the normal at s with offset d.
    route = element_route([{"curveType": "curve", "length": QUARTER, "radius": R,
                            "turnDirection": turn}])
    s = np.array([5.0, 50.0, 120.0])
    d = np.array([-7.0, 0.5, 12.0])
    centre_y = turn * R
    rho = R - turn * d
    x = rho * np.sin(s / R)
    y = centre_y - turn * rho * np.cos(s / R)
    feet = route.locate(x, y)
    np.testing.assert_allclose(feet.length, s, atol=LOCATE)
    np.testing.assert_allclose(feet.offset, d, atol=LOCATE)
    assert np.all(feet.status == rcc.Status.ON_ROUTE)


def test_staked_offset_points_locate_within_a_tenth_of_a_millimetre(example):
    rng = np.random.default_rng(7)
    s = np.linspace(1.0, example.length - 1.0, 20001)
    d = rng.uniform(-20.0, 20.0, s.size)
    staked = example.point_at_length(s, offset=d)
    feet = example.locate(staked.x, staked.y)
    assert np.all(feet.status == rcc.Status.ON_ROUTE)
    assert np.max(np.abs(feet.length - s)) < LOCATE
    assert np.max(np.abs(feet.offset - d)) < LOCATE
    # The station comes back with its pass: behind the long chain the second one.
    np.testing.assert_array_equal(feet.occurrence, staked.occurrence)


def test_stations_in_a_gap_or_without_a_second_pass_are_not_found(example):
    # Short chain 300 -> 340: 320 does not exist; long chain 2390 -> 2330: only the numbers
    # from 2330 to 2390 have a second pass.
    p = example.point_at([320.0, 2350.0, 1000.0, 2350.0], occurrence=[1, 2, 2, 1])
    assert list(p.status) == [rcc.Status.NOT_FOUND, rcc.Status.ON_ROUTE,
                              rcc.Status.NOT_FOUND, rcc.Status.ON_ROUTE]
    assert np.isnan(p.x[0]) and np.isnan(p.x[2])
    # The second 2350 lies the long chain's 60 further along than the first.
    assert p.length[1] - p.length[3] == pytest.approx(60.0, abs=EXACT)


def test_nan_in_gives_nan_out_with_a_status(example):
    p = example.point_at_length([np.nan, 10.0, np.inf])
    assert list(p.status) == [rcc.Status.INVALID, rcc.Status.ON_ROUTE, rcc.Status.INVALID]
    assert np.isnan(p.x[[0, 2]]).all() and np.isfinite(p.x[1])
    f = example.locate([np.nan, 10000.0], [20000.0, 20000.0])
    assert list(f.status) == [rcc.Status.INVALID, rcc.Status.ON_ROUTE]
    assert np.isnan(f.station[0])


def test_max_offset_leaves_far_points_without_a_foot():
    route = element_route([{"curveType": "line", "length": 100.0}])
    f = route.locate([50.0, 50.0], [5.0, 50.0], max_offset=10.0)
    assert list(f.status) == [rcc.Status.ON_ROUTE, rcc.Status.NOT_FOUND]
    assert f.offset[0] == pytest.approx(5.0, abs=EXACT) and np.isnan(f.offset[1])


def test_scalar_in_gives_scalars_out():
    route = element_route([{"curveType": "line", "length": 100.0}])
    p = route.point_at_length(40)
    assert np.ndim(p.x) == 0 and p.x == pytest.approx(40.0, abs=EXACT)
