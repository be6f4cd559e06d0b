"""Routes the tests share: the example route file and small routes built from dicts."""

import math
import os
import pathlib

import pytest

import rcc

EXAMPLE = pathlib.Path(os.environ.get(
    "RCC_EXAMPLE_ROUTE", pathlib.Path(__file__).parents[2] / "examples" / "route.json"))


def element_route(elements, x=0.0, y=0.0, bearing_deg=0.0, start_station=0.0):
    """A route given element by element from (x, y) along `bearing_deg`."""
    return rcc.Route.from_dict({"horizontal": {
        "startDK": start_station, "startX": x, "startY": y, "startBearingDeg": bearing_deg,
        "elements": elements}})


def angle_between(a, b):
    """Difference of two bearings brought into (-pi, pi]."""
    return (a - b + math.pi) % (2 * math.pi) - math.pi


@pytest.fixture(scope="session")
def example():
    return rcc.Route.from_file(EXAMPLE)
