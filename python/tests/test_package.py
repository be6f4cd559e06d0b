"""The package as a whole: lazy matplotlib, threads on one route, the plot, pickling."""

import concurrent.futures
import pickle
import subprocess
import sys

import numpy as np

from conftest import element_route


def test_import_does_not_load_matplotlib():
    code = "import rcc, sys; sys.exit('matplotlib' in sys.modules)"
    assert subprocess.run([sys.executable, "-c", code]).returncode == 0


def test_threads_on_one_route_give_the_serial_answers(example):
    lengths = np.linspace(0.0, example.length, 200_001)
    serial = example.point_at_length(lengths)
    chunks = np.array_split(lengths, 8)
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        parts = list(pool.map(example.point_at_length, chunks))
    np.testing.assert_array_equal(np.concatenate([p.x for p in parts]), serial.x)
    np.testing.assert_array_equal(np.concatenate([p.elevation for p in parts]), serial.elevation)


def test_plot_draws_plan_and_profile(example):
    import matplotlib
    matplotlib.use("Agg")
    plan, profile = example.plot()
    assert len(plan.lines) == 2 and len(profile.lines) > 1
    x, y = plan.lines[0].get_data()
    assert np.nanmax(x) > 14000.0 and np.nanmin(y) < 19800.0  # the route's extent


def test_routes_pickle_as_what_they_were_built_from(example):
    for route in (example, element_route([{"curveType": "line", "length": 100.0}])):
        copy = pickle.loads(pickle.dumps(route))
        lengths = np.linspace(0.0, route.length, 101)
        np.testing.assert_array_equal(copy.point_at_length(lengths).x,
                                      route.point_at_length(lengths).x)
