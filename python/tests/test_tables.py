"""Station tables, key points, curve listings and station text of the example route."""

import math

import numpy as np
import pytest

import rcc
from tolerances import ANGLE, EXACT, FITTED, GRADE

# Example route: short chain 300 -> 340 and long chain 2390 -> 2330.


def test_station_rows_skip_the_gap_and_repeat_the_long_chain(example):
    rows = example.stations(20.0, horizontal_key_points=False)
    plain = [(v, o) for v, o, label in zip(rows.station, rows.occurrence, rows.label)
             if not label]
    values = [v for v, _ in plain]
    assert not any(300.0 < v < 340.0 for v in values)
    for v in (2340.0, 2360.0, 2380.0):
        assert (v, 1) in plain and (v, 2) in plain
    assert np.all(np.diff(rows.length) > 0)


def test_station_range_is_inclusive(example):
    rows = example.stations(100.0, start=1000.0, end="K1+500", horizontal_key_points=False)
    assert list(rows.station) == [1000.0, 1100.0, 1200.0, 1300.0, 1400.0, 1500.0]


def test_key_points_run_from_begin_to_end(example):
    keys = example.key_points()
    assert keys[0]["type"] == "BEGIN" and keys[-1]["type"] == "END"
    assert keys[-1]["length"] == pytest.approx(example.length, abs=EXACT)
    assert all(a["length"] <= b["length"] for a, b in zip(keys, keys[1:]))
    assert {"TS", "SC", "CS", "ST", "PC", "PT", "BVC", "PVI", "EVC"} <= {k["type"] for k in keys}


def test_curve_values_follow_from_the_intersection_points(example):
    first, _, third, _ = example.curves()
    # Legs (10000, 20000) -> (10820, 20150) -> (11650, 19720): the bearing falls from
    # atan2(150, 820) to atan2(-430, 830), a right turn; A = sqrt(R L) = sqrt(800 * 120).
    deflection = math.atan2(-430.0, 830.0) - math.atan2(150.0, 820.0)
    assert first["deflection"] == pytest.approx(deflection, abs=ANGLE)
    assert first["turn"] == -1
    assert first["radius"] == 800.0
    assert first["in_parameter"] == pytest.approx(math.sqrt(800.0 * 120.0), abs=EXACT)
    # Transition L 120 onto R 800: angle L / 2R = 0.075 rad, shift p = 120^2/(24 * 800)
    # - 120^4/(2688 * 800^3) = 0.749849, extension q = 60 - 120^3/(240 * 800^2) = 59.98875.
    assert first["in_angle"] == pytest.approx(0.075, abs=EXACT)
    assert first["in_shift"] == pytest.approx(0.749849330, abs=1e-9)
    assert first["out_extension"] == pytest.approx(59.98875, abs=EXACT)
    # The third curve has no transitions: its arc is the whole curve, R |deflection| long.
    assert third["in_transition_length"] == 0.0
    assert third["curve_length"] == pytest.approx(1000.0 * abs(third["deflection"]), abs=FITTED)


def test_vertical_curve_grades_and_tangent_length(example):
    crest, sag = example.vertical_curves()[:2]
    # Between BP 700 (131.5) and BP 1500 (124.0) no chain breaks: grade -7.5 / 800.
    assert crest["grade2"] == pytest.approx(-7.5 / 800.0, abs=GRADE)
    assert sag["grade1"] == pytest.approx(-7.5 / 800.0, abs=GRADE)
    assert crest["crest"] and not sag["crest"]
    # T = |g2 - g1| R / 2 with R = 12000.
    expected = abs(crest["grade2"] - crest["grade1"]) * 12000.0 / 2.0
    assert crest["tangent_length"] == pytest.approx(expected, abs=EXACT)


@pytest.mark.parametrize("value, occurrence, style, text", [
    (1450.0, 1, "k", "K1+450.000"),          # K-notation: kilometres + metres
    (1450.0, 2, "k", "K1+450.000(2)"),       # second pass behind a long chain
    (-80.0, 1, "k", "-K0+080.000"),          # before the zero point
    (1450.0, 1, "plain", "1450.000"),
    (1450.0, 2, "plain", "01450.000"),       # the library's leading-zero mark
    (1450.0, 1, "us", "14+50.000"),          # hundreds + metres
])
def test_station_text_both_ways(value, occurrence, style, text):
    assert rcc.format_station(value, occurrence, style=style) == text
    assert rcc.parse_station(text) == (value, occurrence)


def test_station_text_arrays_keep_their_shape():
    texts = rcc.format_station([[0.0, 1000.5], [20.0, 2350.0]], occurrence=[[1, 1], [1, 2]])
    assert texts.shape == (2, 2) and texts[1, 1] == "K2+350.000(2)"
    values, occurrences = rcc.parse_station([["K1+000", "nonsense"], [" 20 ", "14+50(2)"]])
    assert values.shape == (2, 2)
    assert np.isnan(values[0, 1]) and occurrences[0, 1] == 0
    assert values[1, 1] == 1450.0 and occurrences[1, 1] == 2


def test_equations_lie_where_the_numbering_says(example):
    # The long chain's back station 2390 is reached 2390 - 40 along: the short chain before
    # it skipped the 40 numbers from 300 to 340.
    short, long = example.equations()
    assert (short["back"], short["ahead"]) == (300.0, 340.0)
    assert short["length"] == pytest.approx(300.0, abs=EXACT)
    assert (long["back"], long["ahead"]) == (2390.0, 2330.0)
    assert long["length"] == pytest.approx(2350.0, abs=EXACT)
    assert short["is_break"] and long["is_break"]
