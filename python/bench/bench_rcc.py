"""Points per second of each vectorised call of rcc, and two threads against one.

Run by hand on a quiet machine (never as a test):

    PYTHONPATH=build/python /usr/bin/python3 python/bench/bench_rcc.py [route] [--points N]

Each call is timed on N points over the whole route (best of a few runs). Then two large
arrays are evaluated by two threads side by side, against one thread doing both; the
compiled loops release the interpreter lock, so on two free cores the ratio nears 2.
"""

import argparse
import pathlib
import threading
import time

import numpy as np

import rcc

HERE = pathlib.Path(__file__).resolve()
REPEATS = 3  # best of this many runs: the least disturbed by other work on the machine


def best_seconds(run):
    times = []
    for _ in range(REPEATS):
        start = time.perf_counter()
        run()
        times.append(time.perf_counter() - start)
    return min(times)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("route", nargs="?", default=HERE.parents[2] / "examples" / "route.json")
    parser.add_argument("--points", type=int, default=1_000_000)
    args = parser.parse_args()
    route = rcc.Route.from_file(args.route)
    n = args.points
    rng = np.random.default_rng(3)
    lengths = rng.uniform(0.0, route.length, n)
    staked = route.point_at_length(lengths, offset=rng.uniform(-30.0, 30.0, n))
    stations = staked.station
    texts = rcc.format_station(stations)

    calls = {
        "point_at_length": lambda: route.point_at_length(lengths),
        "point_at_length, offset": lambda: route.point_at_length(lengths, offset=3.5),
        "point_at": lambda: route.point_at(stations, staked.occurrence),
        "locate": lambda: route.locate(staked.x, staked.y),
        "locate, max_offset 10": lambda: route.locate(staked.x, staked.y, max_offset=10.0),
        "format_station": lambda: rcc.format_station(stations),
        "parse_station": lambda: rcc.parse_station(texts),
    }
    print(f"{route.name or args.route}: {route.length:.1f} long, {n:,} points per call")
    for name, run in calls.items():
        print(f"  {name:26s} {n / best_seconds(run):14,.0f} points/s")

    # Two threads on two large arrays against one thread doing both, for each heavy call.
    halves = {
        "point_at_length": (route.point_at_length, (lengths[: n // 2],), (lengths[n // 2:],)),
        "locate": (route.locate, (staked.x[: n // 2], staked.y[: n // 2]),
                   (staked.x[n // 2:], staked.y[n // 2:])),
    }
    for name, (call, first, second) in halves.items():
        one = best_seconds(lambda: (call(*first), call(*second)))

        def two_threads():
            workers = [threading.Thread(target=call, args=part) for part in (first, second)]
            for w in workers:
                w.start()
            for w in workers:
                w.join()

        two = best_seconds(two_threads)
        # Processor time over wall time of one more two-thread run: above 1 only when both
        # threads computed at once, whatever else the machine is doing meanwhile.
        wall, cpu = time.perf_counter(), time.process_time()
        two_threads()
        cores = (time.process_time() - cpu) / (time.perf_counter() - wall)
        print(f"  {name}: one thread {n / one:,.0f} points/s, two threads {n / two:,.0f} "
              f"points/s, speed-up {one / two:.2f}, {cores:.2f} cores busy")


if __name__ == "__main__":
    main()
