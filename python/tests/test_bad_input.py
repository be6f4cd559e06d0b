"""Bad input raises TypeError or ValueError naming the argument; nothing crashes."""

import math

import numpy as np
import pytest

import rcc
from conftest import element_route


@pytest.fixture(scope="module")
def line():
    return element_route([{"curveType": "line", "length": 100.0}])


BAD_CALLS = [
    # (call on the route, exception, words the message must hold)
    (lambda r: r.point_at_length(None), TypeError, "lengths"),
    (lambda r: r.point_at_length("12.5"), TypeError, "lengths"),
    (lambda r: r.point_at_length([1.0, None]), TypeError, "lengths"),
    (lambda r: r.point_at_length([[1.0, 2.0], [3.0]]), ValueError, "lengths"),
    (lambda r: r.point_at_length(np.array([1j])), TypeError, "lengths"),
    (lambda r: r.point_at_length(np.array(["1"])), TypeError, "lengths"),
    (lambda r: r.point_at_length([True]), TypeError, "lengths"),
    (lambda r: r.point_at_length([1.0, 2.0, 3.0], offset=[1.0, 2.0]), ValueError, "offset"),
    (lambda r: r.point_at(10.0, occurrence=3), ValueError, "occurrence"),
    (lambda r: r.point_at(10.0, occurrence=np.nan), ValueError, "occurrence"),
    (lambda r: r.point_at("K0+010"), TypeError, "stations"),
    (lambda r: r.locate([1.0, 2.0], [1.0, 2.0, 3.0]), ValueError, "x (2,) and y (3,)"),
    (lambda r: r.locate(1.0, None), TypeError, "y"),
    (lambda r: r.locate(1.0, 1.0, max_offset=-1.0), ValueError, "max_offset"),
    (lambda r: r.locate(1.0, 1.0, max_offset=math.nan), ValueError, "max_offset"),
    (lambda r: r.locate(1.0, 1.0, max_offset="5"), TypeError, "max_offset"),
    (lambda r: r.stations(-5.0), ValueError, "interval"),
    (lambda r: r.stations(math.inf), ValueError, "interval"),
    (lambda r: r.stations(1e-9), ValueError, "interval"),  # 1e11 rows on 100 m
    (lambda r: r.stations(None), TypeError, "interval"),
    (lambda r: r.stations(10.0, start="K?"), ValueError, "start"),
    (lambda r: r.format_station(1.0, style="km"), ValueError, "style"),
    (lambda r: r.format_station(1.0, decimals=2.5), TypeError, "decimals"),
    (lambda r: r.format_station(1.0, decimals=40), ValueError, "decimals"),
    (lambda r: r.parse_station("K?"), ValueError, "texts"),
    (lambda r: r.parse_station(None), TypeError, "texts"),
    (lambda r: r.parse_station(["1", 2]), TypeError, "texts"),
]


@pytest.mark.parametrize("call, error, words", BAD_CALLS)
def test_bad_arguments_are_refused_by_name(line, call, error, words):
    with pytest.raises(error, match=words.replace("(", r"\(").replace(")", r"\)")):
        call(line)


BAD_SOURCES = [
    (lambda: rcc.Route.from_file(None), TypeError, "path"),
    (lambda: rcc.Route.from_file("route.json", alignment=3), TypeError, "alignment"),
    (lambda: rcc.Route.from_dict([]), TypeError, "d must be a dict"),
    (lambda: rcc.Route.from_dict({"horizontal": {"elements": [{"length": math.nan}]}}),
     ValueError, "d cannot be written"),
    (lambda: rcc.Route.from_dict({"horizontal": {"elements": [{"length": object()}]}}),
     TypeError, "d cannot be written"),
    (lambda: rcc.Route(), TypeError, "from_file"),
]


@pytest.mark.parametrize("call, error, words", BAD_SOURCES)
def test_bad_sources_are_refused_by_name(call, error, words):
    with pytest.raises(error, match=words):
        call()


def test_unreadable_files_raise_the_readers_one_line_message(tmp_path):
    broken = tmp_path / "broken.json"
    broken.write_text('{"horizontal": {"jdPoints": [}\n')
    for path in (broken, tmp_path / "missing.json"):
        with pytest.raises(rcc.RouteFileError) as caught:
            rcc.Route.from_file(path)
        assert str(caught.value).startswith(str(path))
        assert "\n" not in str(caught.value)
        assert isinstance(caught.value, ValueError)


def test_routes_that_cannot_be_built_name_the_field():
    # Three collinear intersection points: no curve can be fitted at the middle one.
    d = {"horizontal": {"jdPoints": [{"x": 0.0, "y": 0.0},
                                     {"x": 100.0, "y": 0.0, "radius": 50.0},
                                     {"x": 200.0, "y": 0.0}]}}
    with pytest.raises(rcc.RouteError) as caught:
        rcc.Route.from_dict(d)
    assert caught.value.path.startswith("horizontal")
    assert isinstance(caught.value, ValueError)
