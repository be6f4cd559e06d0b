"""Road alignments on numpy arrays.

A route is read from a route file (or a dict of the same schema) and built once; then
points, stations and projections are asked for whole arrays at a time. The loops run in
compiled code without the interpreter lock, so threads evaluating one route run side by
side.

Conventions: one length unit throughout; lengths run along the route from 0 at its start;
stations follow the numbering through every station equation, and ``occurrence`` 2 names
the second pass over numbers a long chain repeats. Bearings are radians from the +x axis
towards the +y axis; offsets are positive on the side of bearing + pi/2. Elevations are NaN
where the profile does not reach.
"""

import enum
import json
import math
import os

import numpy as np

from . import _rcc, core
from ._arrays import (broadcast, length_value, occurrence_array, real_array,
                      reshape)

RouteFileError = _rcc.RouteFileError
RouteError = _rcc.RouteError

__all__ = ["Route", "Points", "Feet", "Stations", "Status", "RouteFileError", "RouteError",
           "format_station", "parse_station", "core"]


class Status(enum.IntEnum):
    """Where each answer of a vectorised call lies (the ``status`` arrays)."""
    ON_ROUTE = _rcc.ON_ROUTE          #: on an element of the route
    BEFORE_START = _rcc.BEFORE_START  #: on the start tangent produced backwards
    BEYOND_END = _rcc.BEYOND_END      #: on the end tangent produced forwards
    NOT_FOUND = _rcc.NOT_FOUND        #: no such station, or no foot within max_offset
    INVALID = _rcc.INVALID            #: NaN or infinite input; every value is NaN


class _Columns:
    """Named numpy arrays of one shape, as attributes; ``as_dict()`` gives them all."""
    _names = ()

    def __init__(self, columns):
        for name in self._names:
            setattr(self, name, columns[name])

    def as_dict(self):
        return {name: getattr(self, name) for name in self._names}

    def __len__(self):
        return np.size(getattr(self, self._names[0]))

    def __repr__(self):
        shape = np.shape(getattr(self, self._names[0]))
        return f"<rcc.{type(self).__name__} shape={shape} columns={', '.join(self._names)}>"


class Points(_Columns):
    """Points on the route: x, y, bearing (radians), elevation, length, station,
    occurrence and status, each an array of the input's shape."""
    _names = ("x", "y", "bearing", "elevation", "length", "station", "occurrence", "status")


class Feet(_Columns):
    """Feet of points on the route: station, occurrence, length, offset (signed), the foot
    foot_x, foot_y on the centre line, and status."""
    _names = ("station", "occurrence", "length", "offset", "foot_x", "foot_y", "status")


class Stations(_Columns):
    """Rows of a station table: length, station, occurrence (arrays) and label (a list:
    empty for a plain round station, else the key points there)."""
    _names = ("length", "station", "occurrence", "label")


_STYLES = ("plain", "k", "us")
_MAX_DECIMALS = 9  # a nanometre in metres: beyond this the digits are double round-off


def format_station(values, occurrence=None, style="k", decimals=3):
    """Station text of each value: style "plain" ("1450.000", second pass "01450.000"),
    "k" ("K1+450.000", "K1+450.000(2)") or "us" ("14+50.000"). A str for a scalar,
    otherwise a numpy array of str of the input's shape."""
    if style not in _STYLES:
        raise ValueError(f"style must be one of {', '.join(map(repr, _STYLES))}, not {style!r}")
    if isinstance(decimals, bool) or not isinstance(decimals, int):
        raise TypeError(f"decimals must be an int, not {type(decimals).__name__}")
    if not 0 <= decimals <= _MAX_DECIMALS:
        raise ValueError(f"decimals must be from 0 to {_MAX_DECIMALS}, not {decimals}")
    shape, (flat, occ) = broadcast(("values", "occurrence"), real_array("values", values),
                                   occurrence_array(occurrence))
    texts = _rcc.format_stations(flat, occ, style, decimals)
    if shape == ():
        return texts[0]
    return np.array(texts, dtype=str).reshape(shape)


def parse_station(texts):
    """Reads station text in any style ("1450.25", "01450", "K1+450(2)", "14+50.00").

    One str gives ``(value, occurrence)`` and raises ValueError when it does not read. A
    sequence or array of str gives two arrays of its shape, values and occurrences, with
    NaN and occurrence 0 where a text does not read."""
    if isinstance(texts, str):
        value, occ = _rcc.parse_stations([texts])
        if occ[0] == 0:
            raise ValueError(f"texts: {texts!r} is not a station")
        return float(value[0]), int(occ[0])
    if texts is None or isinstance(texts, bytes):
        raise TypeError("texts must be a str or a sequence of str")
    array = np.asarray(texts, dtype=object)
    flat = array.reshape(-1).tolist()
    for item in flat:
        if not isinstance(item, str):
            raise TypeError(f"texts must hold str only, not {type(item).__name__}")
    values, occ = _rcc.parse_stations(flat)
    return values.reshape(array.shape), occ.reshape(array.shape)


def _station_arg(name, value):
    """A range end of a station table: None, a number, or station text."""
    if value is None:
        return None
    if isinstance(value, str):
        values, occurrences = parse_station([value])
        if occurrences[0] == 0:
            raise ValueError(f"{name}: {value!r} is not a station")
        return float(values[0]), int(occurrences[0])
    number = length_value(name, value)
    if math.isinf(number):
        raise ValueError(f"{name} must be finite")
    return (number, 1)


class Route:
    """A built route. Make one with :meth:`from_file` or :meth:`from_dict`."""

    def __init__(self, *args, **kwargs):
        raise TypeError("use rcc.Route.from_file(path) or rcc.Route.from_dict(d)")

    @classmethod
    def _wrap(cls, handle, source):
        route = object.__new__(cls)
        route._route = handle
        route._source = source
        return route

    def __reduce__(self):
        # Pickled as what it was built from (the file's path, or the dict's JSON text), so
        # that worker processes (multiprocessing, dask's process or distributed schedulers)
        # rebuild the same route.
        return _rebuild, self._source

    @classmethod
    def from_file(cls, path, alignment=None):
        """Reads and builds a route file (route JSON, or LandXML; `alignment` picks one of a
        LandXML file's alignments by name). Raises RouteFileError with the reader's one-line
        message, RouteError naming the field that cannot be built."""
        if path is None or not isinstance(path, (str, os.PathLike)):
            raise TypeError(f"path must be a str or os.PathLike, not {type(path).__name__}")
        path = os.fspath(path)
        if not isinstance(path, str):
            raise TypeError("path must be text, not bytes")
        if alignment is not None and not isinstance(alignment, str):
            raise TypeError(f"alignment must be a str or None, not {type(alignment).__name__}")
        handle = _rcc.read_route_file(path, alignment or "")
        return cls._wrap(handle, ("file", os.path.abspath(path), alignment))

    @classmethod
    def from_dict(cls, d, source="<dict>"):
        """Builds a route from a dict with the route file's schema."""
        if not isinstance(d, dict):
            raise TypeError(f"d must be a dict, not {type(d).__name__}")
        try:
            text = json.dumps(d, allow_nan=False)
        except (TypeError, ValueError) as error:
            raise type(error)(f"d cannot be written as route JSON: {error}") from None
        return cls._wrap(_rcc.read_route_json(text, source), ("json", text, source))

    # Properties of the whole route.
    @property
    def length(self):
        """Total length along the route."""
        return self._route.length

    @property
    def start_station(self):
        """Station number at the route's start."""
        return self._route.start_station

    @property
    def end_station(self):
        """Station at the route's end, as (value, occurrence)."""
        return self._route.end_station

    @property
    def name(self):
        return self._route.name

    @property
    def frame(self):
        """"xy" (x east, y north) or "ne" (x northing, y easting; bearings are azimuths)."""
        return self._route.frame

    @property
    def warnings(self):
        """What the reader noticed without refusing the file: dicts of severity, path and
        message."""
        return self._route.warnings

    def __repr__(self):
        name = f" {self.name!r}" if self.name else ""
        return f"<rcc.Route{name} length={self.length:.3f}>"

    # Vectorised queries.
    def point_at_length(self, lengths, offset=0.0):
        """Points at lengths along the route, moved by `offset` along the normal. Lengths
        before 0 or past the end lie on the tangents produced (status BEFORE_START,
        BEYOND_END)."""
        shape, (flat, off) = broadcast(("lengths", "offset"), real_array("lengths", lengths),
                                       real_array("offset", offset))
        return Points(reshape(self._route.point_at_length(flat, off), shape))

    def point_at(self, stations, occurrence=None, offset=0.0):
        """Points at station numbers (occurrence 2: the second pass behind a long chain).
        A station that does not exist (in a short chain's gap, or occurrence 2 where no
        long chain repeats it) gives NaN with status NOT_FOUND."""
        shape, (flat, occ, off) = broadcast(
            ("stations", "occurrence", "offset"), real_array("stations", stations),
            occurrence_array(occurrence), real_array("offset", offset))
        return Points(reshape(self._route.point_at(flat, occ, off), shape))

    def locate(self, x, y, max_offset=None):
        """The nearest foot of each point (x, y) on the route: station, length and signed
        offset. No foot within `max_offset` gives NaN with status NOT_FOUND."""
        limit = length_value("max_offset", max_offset, allow_none=True)
        if limit is None:
            limit = math.inf
        if limit < 0:
            raise ValueError(f"max_offset must be zero or more, not {limit}")
        shape, (fx, fy) = broadcast(("x", "y"), real_array("x", x), real_array("y", y))
        return Feet(reshape(self._route.locate(fx, fy, limit), shape))

    def stations(self, interval, start=None, end=None, horizontal_key_points=True,
                 vertical_key_points=False):
        """The rows of a stakeout table in order along the route: round stations every
        `interval` in each numbering (0: none) from `start` to `end` (station numbers or
        text, inclusive; default the whole route), with the key points merged in. A long
        chain's repeated stretch is listed twice."""
        interval = length_value("interval", interval)
        if not 0 <= interval < math.inf:
            raise ValueError(f"interval must be a finite length of zero or more, not {interval}")
        rows = self._route.table_rows(interval, _station_arg("start", start),
                                      _station_arg("end", end), bool(horizontal_key_points),
                                      bool(vertical_key_points))
        return Stations(rows)

    def key_points(self, horizontal=True, vertical=True):
        """Key points in order along the route, as dicts: type ("BEGIN", "TS", "PVI", ...),
        length, station, occurrence, owner (the curve or point) and label."""
        return self._route.key_points(bool(horizontal), bool(vertical))

    def curves(self):
        """The horizontal curves as dicts: name, radius, transition lengths and parameters,
        bearings, deflection (radians, signed), tangent lengths, lengths and their start and
        end lengths along the route."""
        return self._route.curves()

    def vertical_curves(self):
        """The vertical curves as dicts: name, station, elevation, grades (rise over run),
        radius, tangent length, external, crest or sag, ends and extreme point."""
        return self._route.vertical_curves()

    def equations(self):
        """The station equations as dicts: back, ahead, name, length, is_break."""
        return self._route.equations()

    def check(self):
        """Design checks (overlapping curves, gaps, kinks, misclosure) as dicts of
        severity, path and message."""
        return self._route.check()

    def alignment(self):
        """A copy of the library's alignment object (rcc.core.RoadCurvesCalculation)."""
        return self._route.alignment()

    def format_station(self, values, occurrence=None, style="k", decimals=3):
        """rcc.format_station, for convenience."""
        return format_station(values, occurrence, style, decimals)

    def parse_station(self, texts):
        """rcc.parse_station, for convenience."""
        return parse_station(texts)

    def plot(self, ax=None, profile_ax=None):
        """Draws the plan on `ax` and, when the route has a profile, the profile on
        `profile_ax`. Without axes, makes a figure with both. Returns (ax, profile_ax);
        profile_ax is None without a profile. Needs matplotlib."""
        from ._plot import plot
        return plot(self, ax, profile_ax)


def _rebuild(kind, text, option):
    """A route from what __reduce__ kept: a file path and alignment, or JSON and its name."""
    if kind == "file":
        return Route.from_file(text, option)
    return Route._wrap(_rcc.read_route_json(text, option), (kind, text, option))
