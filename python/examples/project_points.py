"""Projects ten million points onto a route: in chunks with numpy, then the same with
dask.array.map_blocks, the path for point sets larger than memory.

The points are staked out from the route itself (a random length and an offset of up to
30 m either side), so each projection can be checked against where the point came from.

    PYTHONPATH=build/python /usr/bin/python3 python/examples/project_points.py
"""

import argparse
import pathlib
import time

import numpy as np

import rcc

HERE = pathlib.Path(__file__).resolve()
MAX_OFFSET = 30.0  # staked points lie up to this far either side of the centre line, m


def stake(route, rng, n):
    """n random points near the route and the length and offset each was staked at."""
    lengths = rng.uniform(0.0, route.length, n)
    offsets = rng.uniform(-MAX_OFFSET, MAX_OFFSET, n)
    p = route.point_at_length(lengths, offset=offsets)
    return p.x, p.y, lengths, offsets


def in_chunks(route, n, chunk, seed):
    """Stakes and projects chunk by chunk; memory stays that of one chunk's columns."""
    rng = np.random.default_rng(seed)
    station = np.empty(n)
    occurrence = np.empty(n, dtype=np.int8)
    offset = np.empty(n)
    worst = 0.0
    for first in range(0, n, chunk):
        count = min(chunk, n - first)
        x, y, lengths, offsets = stake(route, rng, count)
        feet = route.locate(x, y)
        station[first:first + count] = feet.station
        occurrence[first:first + count] = feet.occurrence
        offset[first:first + count] = feet.offset
        worst = max(worst, np.max(np.abs(feet.length - lengths)),
                    np.max(np.abs(feet.offset - offsets)))
    return station, occurrence, offset, worst


def with_dask(route, n, chunk, seed):
    """The same as a dask graph: points are made block by block inside the graph, so no
    whole column ever exists in memory; the threaded scheduler runs blocks side by side
    because the compiled loops release the interpreter lock."""
    import dask
    import dask.array as da

    lengths = da.random.RandomState(seed).uniform(0.0, route.length, n, chunks=chunk)
    offsets = da.random.RandomState(seed + 1).uniform(-MAX_OFFSET, MAX_OFFSET, n, chunks=chunk)

    def block_error(block_lengths, block_offsets):
        p = route.point_at_length(block_lengths, offset=block_offsets)
        feet = route.locate(p.x, p.y)
        return np.maximum(np.abs(feet.length - block_lengths),
                          np.abs(feet.offset - block_offsets))

    errors = da.map_blocks(block_error, lengths, offsets, dtype=float)
    with dask.config.set(scheduler="threads"):
        return float(errors.max().compute())


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("route", nargs="?", default=HERE.parents[2] / "examples" / "route.json")
    parser.add_argument("--points", type=int, default=10_000_000)
    parser.add_argument("--chunk", type=int, default=1_000_000)
    args = parser.parse_args()
    route = rcc.Route.from_file(args.route)

    start = time.perf_counter()
    station, occurrence, offset, worst = in_chunks(route, args.points, args.chunk, seed=1)
    seconds = time.perf_counter() - start
    print(f"numpy chunks: {args.points:,} points staked and located in {seconds:.1f} s, "
          f"largest miss {worst * 1000:.4f} mm")
    print(f"  first stations: {rcc.format_station(station[:3], occurrence[:3])}, "
          f"offsets {offset[:3].round(3)}")

    try:
        start = time.perf_counter()
        worst = with_dask(route, args.points, args.chunk, seed=2)
    except ImportError:
        print("dask is not installed (Debian: python3-dask); skipped")
        return
    seconds = time.perf_counter() - start
    print(f"dask map_blocks: {args.points:,} points in {seconds:.1f} s, "
          f"largest miss {worst * 1000:.4f} mm")


if __name__ == "__main__":
    main()
