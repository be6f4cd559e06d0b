"""The library's classes through rcc.core: out-parameters as tuples, overloads, records."""

import copy
import math

import pytest

from rcc import core
from tolerances import EXACT, PROJECTION_STOP


def test_coordinates_come_back_with_the_bearing_first():
    # Straight from (10, 20) along the 3-4-5 direction: at 50 it is 40 across and 30 up.
    road = core.RoadCurvesCalculation()
    bearing = math.atan2(3.0, 4.0)
    road.inputLine(0.0, 100.0, 10.0, 20.0, bearing)
    b, x, y, z = road.calculateCoordinatesAndBearing("50", elevation=7.0)
    assert (b, x, y) == pytest.approx((bearing, 50.0, 50.0), abs=EXACT)
    assert z == 7.0  # no profile: the elevation given comes back untouched
    # (50, 60) lies 56 along the line and 8 to its left: (40, 40) dotted with (0.8, 0.6)
    # and with the normal (-0.6, 0.8).
    offset, dk = road.vdApproachMethod("0", 50.0, 60.0)
    assert offset == pytest.approx(8.0, abs=PROJECTION_STOP)
    assert float(dk) == pytest.approx(56.0, abs=PROJECTION_STOP)


def test_empty_alignment_answers_the_sentinels():
    road = core.RoadCurvesCalculation()
    bearing, x, y, z = road.calculateCoordinatesAndBearing("10", 5.0, 6.0)
    assert (bearing, x, y) == (-99.0, 5.0, 6.0) and math.isnan(z)
    assert road.calculateDKfromCoordinates(1.0, 2.0) == "-1"
    assert road.convertJDPointsToRoadCurves() == (-1, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0)
    assert road.convertBPPointsToVerticalCurves() == (-1, 0.0, 0.0, 0.0, 0.0)


def test_chain_arithmetic_takes_text_and_numbers():
    # Short chain 300 -> 340: from 0 to 400 is 360 along the road.
    chains = core.BrokenChainSet()
    chains.addChain(core.BrokenChain(type=1, beforeDK=300.0, afterDK=340.0))
    assert chains.calculateLengthBetween2DKs(0.0, 400.0) == pytest.approx(360.0, abs=EXACT)
    assert chains.calculateLengthBetween2DKs("0", "400") == pytest.approx(360.0, abs=EXACT)
    assert chains.calculateDKfromLength("0", 350.0) == "390.000000"
    assert chains.calculateDKfromLength(0.0, 350.0) == pytest.approx(390.0, abs=EXACT)
    assert chains.calculateLengthBetween2DKs(400.0, 0.0) == -1.0


@pytest.mark.parametrize("text", ["abc", "1e999"])
def test_unreadable_chainage_text_is_a_value_error(text):
    with pytest.raises(ValueError):
        core.RoadCurvesCalculation().isDKOnAlignment(text)


def test_records_take_keywords_and_copy_deeply():
    curve = core.RoadCurve(length=10.0, curveType=1)
    assert curve.endRadius == math.inf and curve.integrationStep == 0.0001
    twin = copy.copy(curve)
    twin.length = 20.0
    assert curve.length == 10.0
    with pytest.raises(TypeError, match="lenght"):
        core.RoadCurve(lenght=10.0)
    with pytest.raises(TypeError):
        core.JDPoint(pointType="start")


def test_free_functions():
    assert core.calculateBearing(0.0, 0.0, 0.0, 1.0) == pytest.approx(90.0, abs=EXACT)
    assert core.calculateBearingRad(0.0, 0.0, -1.0, 0.0) == pytest.approx(math.pi, abs=EXACT)
    sides = [core.RoadCurvesCalculation() for _ in range(3)]
    assert core.analysisDesignCurves([], *sides) == -1
