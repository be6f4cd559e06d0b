"""point_at_length against the stakeout table of the command-line tool, row by row."""

import csv
import math
import os
import subprocess

import numpy as np
import pytest

import rcc
from conftest import EXAMPLE
from tolerances import SIX_DECIMALS, STEP_BEARING, STEP_POSITION

# About a million rows along the 4.6 km example route.
INTERVAL = 0.0046


@pytest.fixture(scope="module")
def table(tmp_path_factory):
    tool = os.environ.get("RCC_TOOL")
    if not tool:
        pytest.skip("RCC_TOOL names the built rcc tool; ctest sets it")
    out = tmp_path_factory.mktemp("stakeout") / "stakeout.csv"
    subprocess.run([tool, "stakeout", str(EXAMPLE), "--interval", str(INTERVAL),
                    "--decimals", "6", "--format", "csv", "-o", str(out)], check=True)
    with open(out, newline="") as f:
        rows = list(csv.DictReader(f))
    out.unlink()
    columns = {name: np.array([float(r[name]) for r in rows])
               for name in ("length", "x", "y", "bearing", "elevation")}
    columns["chainage"] = [r["chainage"] for r in rows]
    columns["label"] = np.array([r["point"] for r in rows])
    return columns


def test_points_agree_with_the_stakeout_table(example, table):
    assert table["length"].size > 900_000
    p = example.point_at_length(table["length"])
    # A key point's length is printed rounded, and where two elements meet the fixed-step
    # evaluation of the one before and the one after differ by up to a step: those rows
    # agree to the step, every other row to the printed decimals.
    plain = table["label"] == ""
    position = np.where(plain, SIX_DECIMALS, STEP_POSITION)
    assert np.all(np.abs(p.x - table["x"]) < position)
    assert np.all(np.abs(p.y - table["y"]) < position)
    assert np.max(np.abs(p.elevation - table["elevation"])) < SIX_DECIMALS
    # The table gives bearings in degrees in [0, 360).
    degrees = (np.degrees(p.bearing) - table["bearing"] + 180.0) % 360.0 - 180.0
    assert np.all(np.abs(degrees) < np.where(plain, SIX_DECIMALS, np.degrees(STEP_BEARING)))


def test_stations_agree_with_the_table_marks(example, table):
    # The plain chainage column marks the second pass with a leading zero ("02350.0").
    values, occurrences = rcc.parse_station(table["chainage"])
    p = example.point_at_length(table["length"])
    # At an equation both numbers name the place (the table gives the one behind it), and
    # below 1 the plain form begins with "0" anyway ("0.004600"): neither is compared.
    compared = ~np.char.startswith(table["label"], "EQ") & (values >= 1.0)
    assert np.max(np.abs(p.station - values)[compared]) < SIX_DECIMALS
    assert np.array_equal(p.occurrence[compared], occurrences[compared])
    assert math.isclose(values[-1], example.end_station[0], abs_tol=SIX_DECIMALS)
