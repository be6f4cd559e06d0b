// The built route on numpy arrays: reading and building, the vectorised point, station and
// projection queries (loops without the GIL, so that threads run side by side on one
// route), and the curve, key-point and table listings as plain Python values.
#include <qv_route/io.hpp>
#include <qv_route/route.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bindings.hpp"

namespace rccpy {

namespace {

using namespace qv::route;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// Feet computed per batch of the route's multi-point projection: bounded scratch memory
// however many points a call projects.
constexpr std::size_t kFootBatch = 4096;
// More table rows than this is a mistyped interval, not a table anyone can use.
constexpr std::size_t kMaxTableRows = 50'000'000;

/// A built route and what its reader noticed without refusing it.
struct RouteHandle {
    Route route;
    std::vector<Diagnostic> warnings;
};

RouteHandle buildRead(ReadResult result) {
    Route route = Route::build(std::move(result.description));
    return RouteHandle{std::move(route), std::move(result.warnings)};
}

RouteHandle fromFile(const std::string& path, const std::string& alignment) {
    py::gil_scoped_release release;
    ReadOptions options;
    options.alignment = alignment;
    return buildRead(readRouteFile(path, options));
}

RouteHandle fromJson(const std::string& text, const std::string& source) {
    py::gil_scoped_release release;
    return buildRead(readRouteJson(text, source));
}

const char* frameName(Frame frame) { return frame == Frame::NE ? "ne" : "xy"; }

PointStatus placeOf(const RoutePoint& point) {
    if (point.onRoute) return PointStatus::OnRoute;
    return point.length < 0.0 ? PointStatus::BeforeStart : PointStatus::BeyondEnd;
}

PointStatus placeOf(FootPlace place) {
    switch (place) {
        case FootPlace::OnRoute:
            return PointStatus::OnRoute;
        case FootPlace::BeforeStart:
            return PointStatus::BeforeStart;
        case FootPlace::BeyondEnd:
            return PointStatus::BeyondEnd;
        case FootPlace::None:
            return PointStatus::NotFound;
        case FootPlace::Invalid:
            break;
    }
    return PointStatus::Invalid;
}

/// Named output columns of n elements, made with the GIL held and handed back as a dict;
/// the loops write them through the pointers `add` returns, without the GIL.
class Columns {
public:
    explicit Columns(std::size_t n) : n_(n) {}
    template <class T>
    T* add(const char* name) {
        auto array = newArray<T>(n_);
        dict_[name] = array;
        return array.mutable_data();
    }
    const py::dict& dict() const { return dict_; }

private:
    std::size_t n_;
    py::dict dict_;
};

/// The columns of the point queries.
struct PointColumns {
    explicit PointColumns(Columns& c)
        : x(c.add<double>("x")),
          y(c.add<double>("y")),
          bearing(c.add<double>("bearing")),
          elevation(c.add<double>("elevation")),
          length(c.add<double>("length")),
          station(c.add<double>("station")),
          occurrence(c.add<std::int8_t>("occurrence")),
          status(c.add<std::int8_t>("status")) {}

    void set(std::size_t i, const RoutePoint& p, PointStatus place) {
        x[i] = p.x;
        y[i] = p.y;
        bearing[i] = p.bearing;
        elevation[i] = p.elevation;
        length[i] = p.length;
        station[i] = p.station.value;
        occurrence[i] = static_cast<std::int8_t>(p.station.occurrence);
        status[i] = static_cast<std::int8_t>(place);
    }
    void setMissing(std::size_t i, PointStatus place) {
        x[i] = y[i] = bearing[i] = elevation[i] = length[i] = station[i] = kNaN;
        occurrence[i] = 0;
        status[i] = static_cast<std::int8_t>(place);
    }

    double *x, *y, *bearing, *elevation, *length, *station;
    std::int8_t *occurrence, *status;
};

py::dict pointAtLength(const RouteHandle& h, const DoubleArray& lengths,
                       const DoubleArray& offsets) {
    const auto n = static_cast<std::size_t>(lengths.size());
    requireSize(offsets, n, "offset");
    Columns columns(n);
    PointColumns out(columns);
    const double* length = lengths.data();
    const double* offset = offsets.data();
    {
        py::gil_scoped_release release;
        for (std::size_t i = 0; i < n; ++i) {
            // The route answers any finite length; NaN and infinity answer NaN themselves.
            if (!std::isfinite(length[i]) || !std::isfinite(offset[i])) {
                out.setMissing(i, PointStatus::Invalid);
                continue;
            }
            const RoutePoint p = h.route.pointAtLength(length[i], offset[i]);
            out.set(i, p, placeOf(p));
        }
    }
    return columns.dict();
}

py::dict pointAt(const RouteHandle& h, const DoubleArray& stations, const Int8Array& occurrences,
                 const DoubleArray& offsets) {
    const auto n = static_cast<std::size_t>(stations.size());
    requireSize(occurrences, n, "occurrence");
    requireSize(offsets, n, "offset");
    Columns columns(n);
    PointColumns out(columns);
    const double* value = stations.data();
    const std::int8_t* occurrence = occurrences.data();
    const double* offset = offsets.data();
    {
        py::gil_scoped_release release;
        for (std::size_t i = 0; i < n; ++i) {
            if (!std::isfinite(value[i]) || !std::isfinite(offset[i])) {
                out.setMissing(i, PointStatus::Invalid);
                continue;
            }
            const std::optional<RoutePoint> p =
                h.route.pointAt(Station{value[i], occurrence[i]}, offset[i]);
            if (p) {
                out.set(i, *p, placeOf(*p));
            } else {
                out.setMissing(i, PointStatus::NotFound);
            }
        }
    }
    return columns.dict();
}

py::dict locate(const RouteHandle& h, const DoubleArray& xs, const DoubleArray& ys,
                double maxOffset) {
    const auto n = static_cast<std::size_t>(xs.size());
    requireSize(ys, n, "y");
    if (!(maxOffset >= 0.0)) throw py::value_error("max_offset must be zero or more");
    Columns columns(n);
    double* stationOut = columns.add<double>("station");
    std::int8_t* occurrenceOut = columns.add<std::int8_t>("occurrence");
    double* lengthOut = columns.add<double>("length");
    double* offsetOut = columns.add<double>("offset");
    double* footXOut = columns.add<double>("foot_x");
    double* footYOut = columns.add<double>("foot_y");
    std::int8_t* statusOut = columns.add<std::int8_t>("status");
    const double* x = xs.data();
    const double* y = ys.data();
    {
        py::gil_scoped_release release;
        std::vector<Foot> feet(std::min(n, kFootBatch));
        for (std::size_t first = 0; first < n; first += kFootBatch) {
            const std::size_t count = std::min(kFootBatch, n - first);
            h.route.locate(x + first, y + first, count, feet.data(), maxOffset);
            for (std::size_t k = 0; k < count; ++k) {
                const Foot& f = feet[k];
                const std::size_t i = first + k;
                const PointStatus place = placeOf(f.place);
                const bool found = place != PointStatus::NotFound && place != PointStatus::Invalid;
                stationOut[i] = found ? f.station.value : kNaN;
                occurrenceOut[i] = found ? static_cast<std::int8_t>(f.station.occurrence) : 0;
                lengthOut[i] = found ? f.length : kNaN;
                offsetOut[i] = found ? f.offset : kNaN;
                footXOut[i] = found ? f.x : kNaN;
                footYOut[i] = found ? f.y : kNaN;
                statusOut[i] = static_cast<std::int8_t>(place);
            }
        }
    }
    return columns.dict();
}

std::optional<Station> stationArg(const std::optional<std::pair<double, int>>& s) {
    if (!s) return std::nullopt;
    return Station{s->first, s->second};
}

py::dict tableRows(const RouteHandle& h, double interval,
                   const std::optional<std::pair<double, int>>& from,
                   const std::optional<std::pair<double, int>>& to, bool horizontal,
                   bool vertical) {
    if (!(interval >= 0.0) || !std::isfinite(interval)) {
        throw py::value_error("interval must be a finite length of zero or more");
    }
    TableRequest request;
    request.interval = interval;
    request.from = stationArg(from);
    request.to = stationArg(to);
    request.horizontalKeyPoints = horizontal;
    request.verticalKeyPoints = vertical;
    std::vector<TableRow> rows;
    std::size_t count = 0;
    {
        py::gil_scoped_release release;
        count = h.route.countTableRows(request);
        if (count <= kMaxTableRows) {
            rows.reserve(count);
            h.route.forEachTableRow(request, [&rows](const TableRow& row) { rows.push_back(row); });
        }
    }
    if (count > kMaxTableRows) {
        throw py::value_error("interval gives more than " + std::to_string(kMaxTableRows) +
                              " rows on this route");
    }
    const std::size_t n = rows.size();
    Columns columns(n);
    double* length = columns.add<double>("length");
    double* station = columns.add<double>("station");
    std::int8_t* occurrence = columns.add<std::int8_t>("occurrence");
    py::list label(n);
    for (std::size_t i = 0; i < n; ++i) {
        length[i] = rows[i].length;
        station[i] = rows[i].station.value;
        occurrence[i] = static_cast<std::int8_t>(rows[i].station.occurrence);
        label[i] = py::str(rows[i].label);
    }
    py::dict d = columns.dict();
    d["label"] = label;
    return d;
}

/// A Python list with one dict per item, each filled by `fill(dict, item)`.
template <class Items, class Fill>
py::list dictList(const Items& items, Fill fill) {
    py::list out;
    for (const auto& item : items) {
        py::dict d;
        fill(d, item);
        out.append(d);
    }
    return out;
}

py::list keyPoints(const RouteHandle& h, bool horizontal, bool vertical) {
    return dictList(h.route.keyPoints(horizontal, vertical), [](py::dict& d, const KeyPoint& k) {
        d["type"] = keyPointCode(k.type);
        d["length"] = k.length;
        d["station"] = k.station.value;
        d["occurrence"] = k.station.occurrence;
        d["owner"] = k.owner;
        d["label"] = k.label;
    });
}

py::object optionalNumber(const std::optional<double>& v) {
    return v ? py::object(py::float_(*v)) : py::object(py::none());
}

py::list curves(const RouteHandle& h) {
    return dictList(h.route.curves(), [](py::dict& d, const CurveInfo& c) {
        d["name"] = c.name;
        d["first_element"] = c.firstElement;
        d["last_element"] = c.lastElement;
        d["from_intersection_point"] = c.fromIntersectionPoint;
        d["point_index"] =
            c.fromIntersectionPoint ? py::object(py::int_(c.pointIndex)) : py::object(py::none());
        d["intersection"] = c.fromIntersectionPoint
                                ? py::object(py::make_tuple(c.intersection.x, c.intersection.y))
                                : py::object(py::none());
        d["turn"] = c.turn;
        d["radius"] = c.radius;
        d["in_transition_length"] = c.inTransitionLength;
        d["out_transition_length"] = c.outTransitionLength;
        d["in_parameter"] = c.inParameter;
        d["out_parameter"] = c.outParameter;
        d["in_angle"] = c.inAngle;
        d["out_angle"] = c.outAngle;
        d["in_shift"] = c.inShift;
        d["out_shift"] = c.outShift;
        d["in_extension"] = c.inExtension;
        d["out_extension"] = c.outExtension;
        d["in_bearing"] = c.inBearing;
        d["out_bearing"] = c.outBearing;
        d["deflection"] = c.deflection;
        d["in_tangent_length"] = c.inTangentLength;
        d["out_tangent_length"] = c.outTangentLength;
        d["arc_length"] = c.arcLength;
        d["curve_length"] = c.curveLength;
        d["external"] = c.external;
        d["start_length"] = c.startLength;
        d["end_length"] = c.endLength;
    });
}

py::list verticalCurves(const RouteHandle& h) {
    return dictList(h.route.verticalCurves(), [](py::dict& d, const VerticalCurveInfo& v) {
        d["name"] = v.name;
        d["point_index"] = v.pointIndex;
        d["station"] = v.station.value;
        d["occurrence"] = v.station.occurrence;
        d["length"] = v.length;
        d["elevation"] = v.elevation;
        d["grade1"] = v.grade1;
        d["grade2"] = v.grade2;
        d["radius"] = v.radius;
        d["tangent_length"] = v.tangentLength;
        d["external"] = v.external;
        d["has_curve"] = v.hasCurve;
        d["crest"] = v.crest;
        d["start_length"] = v.startLength;
        d["end_length"] = v.endLength;
        d["extreme_length"] = optionalNumber(v.extremeLength);
        d["extreme_elevation"] = v.extremeElevation;
    });
}

py::list diagnostics(const std::vector<Diagnostic>& list) {
    return dictList(list, [](py::dict& d, const Diagnostic& g) {
        d["severity"] = g.severity == Diagnostic::Severity::Error ? "error" : "warning";
        d["path"] = g.path;
        d["message"] = g.message;
    });
}

py::list equations(const RouteHandle& h) {
    return dictList(h.route.equations(), [](py::dict& d, const EquationInfo& e) {
        d["back"] = e.equation.back;
        d["ahead"] = e.equation.ahead;
        d["name"] = e.equation.name;
        d["length"] = e.length;
        d["is_break"] = e.isBreak;
    });
}

}  // namespace

void bindRoute(py::module_& m) {
    // Reader messages are one line naming the file and the place; the build's name the field.
    py::register_local_exception<ReadError>(m, "RouteFileError", PyExc_ValueError);
    static py::exception<RouteError> routeError(m, "RouteError", PyExc_ValueError);
    py::register_local_exception_translator([](std::exception_ptr p) {
        try {
            if (p) std::rethrow_exception(p);
        } catch (const RouteError& e) {
            py::object error = py::reinterpret_borrow<py::object>(routeError.ptr())(e.what());
            error.attr("path") = e.path();
            PyErr_SetObject(routeError.ptr(), error.ptr());
        }
    });

    py::class_<RouteHandle>(m, "Route")
        .def_property_readonly("length", [](const RouteHandle& h) { return h.route.length(); })
        .def_property_readonly("start_station",
                               [](const RouteHandle& h) { return h.route.startStation().value; })
        .def_property_readonly("end_station",
                               [](const RouteHandle& h) {
                                   const Station s = h.route.endStation();
                                   return py::make_tuple(s.value, s.occurrence);
                               })
        .def_property_readonly("name",
                               [](const RouteHandle& h) { return h.route.description().name; })
        .def_property_readonly(
            "frame", [](const RouteHandle& h) { return frameName(h.route.description().frame); })
        .def_property_readonly(
            "coordinate_system",
            [](const RouteHandle& h) { return h.route.description().coordinateSystem; })
        .def_property_readonly(
            "has_profile", [](const RouteHandle& h) { return !h.route.profilePieces().empty(); })
        .def_property_readonly("warnings",
                               [](const RouteHandle& h) { return diagnostics(h.warnings); })
        .def("alignment", [](const RouteHandle& h) { return h.route.alignment(); })
        .def("equations", &equations)
        .def("check", [](const RouteHandle& h) { return diagnostics(h.route.check()); })
        .def("point_at_length", &pointAtLength, py::arg("lengths"), py::arg("offsets"))
        .def("point_at", &pointAt, py::arg("stations"), py::arg("occurrences"), py::arg("offsets"))
        .def("locate", &locate, py::arg("x"), py::arg("y"), py::arg("max_offset"))
        .def("table_rows", &tableRows, py::arg("interval"), py::arg("start"), py::arg("end"),
             py::arg("horizontal"), py::arg("vertical"))
        .def("key_points", &keyPoints, py::arg("horizontal"), py::arg("vertical"))
        .def("curves", &curves)
        .def("vertical_curves", &verticalCurves);

    m.def("read_route_file", &fromFile, py::arg("path"), py::arg("alignment"));
    m.def("read_route_json", &fromJson, py::arg("text"), py::arg("source"));
}

}  // namespace rccpy
