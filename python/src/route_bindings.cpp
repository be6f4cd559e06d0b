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

/// The output columns of the point queries, allocated with the GIL and written without it.
struct PointColumns {
    explicit PointColumns(std::size_t n)
        : x(newArray<double>(n)),
          y(newArray<double>(n)),
          bearing(newArray<double>(n)),
          elevation(newArray<double>(n)),
          length(newArray<double>(n)),
          station(newArray<double>(n)),
          occurrence(newArray<std::int8_t>(n)),
          status(newArray<std::int8_t>(n)),
          x_(x.mutable_data()),
          y_(y.mutable_data()),
          bearing_(bearing.mutable_data()),
          elevation_(elevation.mutable_data()),
          length_(length.mutable_data()),
          station_(station.mutable_data()),
          occurrence_(occurrence.mutable_data()),
          status_(status.mutable_data()) {}

    void set(std::size_t i, const RoutePoint& p, PointStatus place) {
        x_[i] = p.x;
        y_[i] = p.y;
        bearing_[i] = p.bearing;
        elevation_[i] = p.elevation;
        length_[i] = p.length;
        station_[i] = p.station.value;
        occurrence_[i] = static_cast<std::int8_t>(p.station.occurrence);
        status_[i] = static_cast<std::int8_t>(place);
    }
    void setMissing(std::size_t i, PointStatus place) {
        x_[i] = y_[i] = bearing_[i] = elevation_[i] = length_[i] = station_[i] = kNaN;
        occurrence_[i] = 0;
        status_[i] = static_cast<std::int8_t>(place);
    }
    py::dict toDict() const {
        py::dict d;
        d["x"] = x;
        d["y"] = y;
        d["bearing"] = bearing;
        d["elevation"] = elevation;
        d["length"] = length;
        d["station"] = station;
        d["occurrence"] = occurrence;
        d["status"] = status;
        return d;
    }

    py::array_t<double> x, y, bearing, elevation, length, station;
    py::array_t<std::int8_t> occurrence, status;

private:
    double *x_, *y_, *bearing_, *elevation_, *length_, *station_;
    std::int8_t *occurrence_, *status_;
};

py::dict pointAtLength(const RouteHandle& h, const DoubleArray& lengths,
                       const DoubleArray& offsets) {
    const auto n = static_cast<std::size_t>(lengths.size());
    requireSize(offsets, n, "offset");
    PointColumns out(n);
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
    return out.toDict();
}

py::dict pointAt(const RouteHandle& h, const DoubleArray& stations, const Int8Array& occurrences,
                 const DoubleArray& offsets) {
    const auto n = static_cast<std::size_t>(stations.size());
    requireSize(occurrences, n, "occurrence");
    requireSize(offsets, n, "offset");
    PointColumns out(n);
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
    return out.toDict();
}

py::dict locate(const RouteHandle& h, const DoubleArray& xs, const DoubleArray& ys,
                double maxOffset) {
    const auto n = static_cast<std::size_t>(xs.size());
    requireSize(ys, n, "y");
    if (!(maxOffset >= 0.0)) throw py::value_error("max_offset must be zero or more");
    auto station = newArray<double>(n);
    auto occurrence = newArray<std::int8_t>(n);
    auto length = newArray<double>(n);
    auto offset = newArray<double>(n);
    auto footX = newArray<double>(n);
    auto footY = newArray<double>(n);
    auto status = newArray<std::int8_t>(n);
    double* stationOut = station.mutable_data();
    std::int8_t* occurrenceOut = occurrence.mutable_data();
    double* lengthOut = length.mutable_data();
    double* offsetOut = offset.mutable_data();
    double* footXOut = footX.mutable_data();
    double* footYOut = footY.mutable_data();
    std::int8_t* statusOut = status.mutable_data();
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
    py::dict d;
    d["station"] = station;
    d["occurrence"] = occurrence;
    d["length"] = length;
    d["offset"] = offset;
    d["foot_x"] = footX;
    d["foot_y"] = footY;
    d["status"] = status;
    return d;
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
    auto length = newArray<double>(n);
    auto station = newArray<double>(n);
    auto occurrence = newArray<std::int8_t>(n);
    py::list label(n);
    for (std::size_t i = 0; i < n; ++i) {
        length.mutable_at(i) = rows[i].length;
        station.mutable_at(i) = rows[i].station.value;
        occurrence.mutable_at(i) = static_cast<std::int8_t>(rows[i].station.occurrence);
        label[i] = py::str(rows[i].label);
    }
    py::dict d;
    d["length"] = length;
    d["station"] = station;
    d["occurrence"] = occurrence;
    d["label"] = label;
    return d;
}

py::list keyPoints(const RouteHandle& h, bool horizontal, bool vertical) {
    py::list out;
    for (const KeyPoint& k : h.route.keyPoints(horizontal, vertical)) {
        py::dict d;
        d["type"] = keyPointCode(k.type);
        d["length"] = k.length;
        d["station"] = k.station.value;
        d["occurrence"] = k.station.occurrence;
        d["owner"] = k.owner;
        d["label"] = k.label;
        out.append(d);
    }
    return out;
}

py::object optionalNumber(const std::optional<double>& v) {
    return v ? py::object(py::float_(*v)) : py::object(py::none());
}

py::list curves(const RouteHandle& h) {
    py::list out;
    for (const CurveInfo& c : h.route.curves()) {
        py::dict d;
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
        out.append(d);
    }
    return out;
}

py::list verticalCurves(const RouteHandle& h) {
    py::list out;
    for (const VerticalCurveInfo& v : h.route.verticalCurves()) {
        py::dict d;
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
        out.append(d);
    }
    return out;
}

py::list diagnostics(const std::vector<Diagnostic>& list) {
    py::list out;
    for (const Diagnostic& g : list) {
        py::dict d;
        d["severity"] = g.severity == Diagnostic::Severity::Error ? "error" : "warning";
        d["path"] = g.path;
        d["message"] = g.message;
        out.append(d);
    }
    return out;
}

py::list equations(const RouteHandle& h) {
    py::list out;
    for (const EquationInfo& e : h.route.equations()) {
        py::dict d;
        d["back"] = e.equation.back;
        d["ahead"] = e.equation.ahead;
        d["name"] = e.equation.name;
        d["length"] = e.length;
        d["is_break"] = e.isBreak;
        out.append(d);
    }
    return out;
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
