// The curve tables: per intersection point the values of a PI report (deflection and side,
// R, transitions, tangents, curve length, external, J, legs and straights, main stations,
// and per transition its angle, shift p and tangent extension q); per grade change the
// vertical curve with its BVC, PVI, EVC, grades, R, K, L, T, E and high or low point.
#include <cmath>

#include "commands.hpp"

namespace rcctool {

namespace {

using qv::route::CurveInfo;
using qv::route::KeyPointType;
using qv::route::Route;

constexpr double kPercent = 100.0;
const char* const kNone = "-";

// The classic clothoid values of a transition of length L onto radius R, from the series of
// the Fresnel integrals: its angle beta = L / 2R, the shift p of the circle towards the
// tangent, L^2/24R - L^4/2688R^3, and the extension q of the tangent, L/2 - L^3/240R^2.
struct TransitionValues {
    double angle = 0.0;
    double shift = 0.0;
    double extension = 0.0;
};

constexpr double kShiftTerm1 = 24.0;
constexpr double kShiftTerm2 = 2688.0;
constexpr double kExtensionTerm2 = 240.0;

TransitionValues transitionValues(double l, double r) {
    TransitionValues v;
    v.angle = l / (2 * r);
    v.shift = l * l / (kShiftTerm1 * r) - std::pow(l, 4) / (kShiftTerm2 * std::pow(r, 3));
    v.extension = l / 2 - std::pow(l, 3) / (kExtensionTerm2 * r * r);
    return v;
}

std::string radiusText(double r, int decimals) {
    return std::isinf(r) ? "inf" : fixed(r, decimals);
}

void horizontalTable(const Route& route, const FormatOptions& format, RowSink& sink) {
    const int d = format.decimals;
    const qv::route::Frame frame = route.description().frame;
    std::vector<Column> columns = {{"point", false}, {"station"},    {xName(frame)},
                                   {yName(frame)},   {"deflection"}, {"side", false}};
    for (const char* name :
         {"R",        "L1",    "L2",    "A1",          "A2",       "T1",    "T2", "L",
          "external", "J",     "leg",   "leg bearing", "straight", "TS/PC", "SC", "MC",
          "CS",       "ST/PT", "beta1", "p1",          "q1",       "beta2", "p2", "q2"}) {
        columns.push_back({name});
    }
    sink.begin(columns);
    auto station = [&](double length) { return stationText(route.stationAt(length), format); };
    std::vector<qv::route::KeyPoint> middles;
    for (const qv::route::KeyPoint& k : route.keyPoints(true, false)) {
        if (k.type == KeyPointType::MC) middles.push_back(k);
    }
    const auto& points = route.description().horizontal.points;
    double previousEnd = 0.0;
    for (std::size_t c = 0; c < route.curves().size(); ++c) {
        const CurveInfo& curve = route.curves()[c];
        const bool fitted = curve.fromIntersectionPoint;
        const double pi = curve.startLength + curve.inTangentLength;  // TS + T1
        std::string leg = kNone;
        if (fitted && curve.pointIndex > 0) {
            // The leg from the intersection point before (or the route's start point).
            const qv::route::IntersectionPoint& back = points[curve.pointIndex - 1];
            leg =
                fixed(std::hypot(curve.intersection.x - back.x, curve.intersection.y - back.y), d);
        }
        const bool hasIn = curve.inTransitionLength > 0;
        const bool hasOut = curve.outTransitionLength > 0;
        const TransitionValues in = transitionValues(curve.inTransitionLength, curve.radius);
        const TransitionValues out = transitionValues(curve.outTransitionLength, curve.radius);
        std::string middle = kNone;
        for (const qv::route::KeyPoint& k : middles) {
            if (k.owner == curve.name) middle = stationText(k.station, format);
        }
        auto orNone = [](bool has, const std::string& text) { return has ? text : kNone; };
        sink.row({curve.name,
                  fitted ? station(pi) : kNone,
                  fitted ? fixed(curve.intersection.x, d) : kNone,
                  fitted ? fixed(curve.intersection.y, d) : kNone,
                  angleText(curve.deflection, format),
                  turnText(curve.turn, frame),
                  radiusText(curve.radius, d),
                  fixed(curve.inTransitionLength, d),
                  fixed(curve.outTransitionLength, d),
                  fixed(curve.inParameter, d),
                  fixed(curve.outParameter, d),
                  fitted ? fixed(curve.inTangentLength, d) : kNone,
                  fitted ? fixed(curve.outTangentLength, d) : kNone,
                  fixed(curve.curveLength, d),
                  fitted ? fixed(curve.external, d) : kNone,
                  fitted
                      ? fixed(curve.inTangentLength + curve.outTangentLength - curve.curveLength, d)
                      : kNone,
                  leg,
                  bearingText(curve.inBearing, format),
                  fixed(curve.startLength - previousEnd, d),
                  station(curve.startLength),
                  orNone(hasIn, station(curve.startLength + curve.inTransitionLength)),
                  middle,
                  orNone(hasOut, station(curve.endLength - curve.outTransitionLength)),
                  station(curve.endLength),
                  orNone(hasIn, angleText(in.angle, format)),
                  orNone(hasIn, fixed(in.shift, d)),
                  orNone(hasIn, fixed(in.extension, d)),
                  orNone(hasOut, angleText(out.angle, format)),
                  orNone(hasOut, fixed(out.shift, d)),
                  orNone(hasOut, fixed(out.extension, d))});
        previousEnd = curve.endLength;
    }
    // The end of the route: the last leg, and the straight after the last curve.
    auto at = [&columns](const char* name) {
        std::size_t i = 0;
        while (columns[i].name != name) ++i;
        return i;
    };
    std::vector<std::string> end(columns.size(), kNone);
    const qv::route::RoutePoint last = route.pointAtLength(route.length());
    end[at("point")] = points.empty() || points.back().name.empty() ? "END" : points.back().name;
    end[at("station")] = stationText(route.endStation(), format);
    end[at(xName(frame))] = fixed(points.empty() ? last.x : points.back().x, d);
    end[at(yName(frame))] = fixed(points.empty() ? last.y : points.back().y, d);
    if (points.size() >= 2) {
        const qv::route::IntersectionPoint& a = points[points.size() - 2];
        end[at("leg")] = fixed(std::hypot(points.back().x - a.x, points.back().y - a.y), d);
    }
    // The last leg's bearing as the fitting gave it (the evaluated end drifts by the step).
    const bool afterCurve = !route.curves().empty() && route.curves().back().fromIntersectionPoint;
    end[at("leg bearing")] =
        bearingText(afterCurve ? route.curves().back().outBearing : last.bearing, format);
    end[at("straight")] = fixed(route.length() - previousEnd, d);
    sink.row(end);
    sink.end();
}

void verticalTable(const Route& route, const FormatOptions& format, RowSink& sink) {
    const int d = format.decimals;
    std::vector<Column> columns = {{"point", false}};
    for (const char* name : {"BVC", "BVC elevation", "PVI", "PVI elevation", "EVC", "EVC elevation",
                             "grade1%", "grade2%"}) {
        columns.push_back({name});
    }
    columns.push_back({"kind", false});
    for (const char* name : {"R", "K", "L", "T", "E", "high/low", "high/low elevation"}) {
        columns.push_back({name});
    }
    sink.begin(columns);
    auto station = [&](double length) { return stationText(route.stationAt(length), format); };
    for (const qv::route::VerticalCurveInfo& v : route.verticalCurves()) {
        const bool curve = v.hasCurve;
        auto onCurve = [curve](const std::string& text) { return curve ? text : kNone; };
        const std::string kind = !curve ? "no curve" : (v.crest ? "crest" : "sag");
        const bool extreme = curve && v.extremeLength.has_value();
        sink.row(
            {v.name, onCurve(station(v.startLength)),
             onCurve(fixed(route.elevationAtLength(v.startLength), d)),
             stationText(v.station, format), fixed(v.elevation, d), onCurve(station(v.endLength)),
             onCurve(fixed(route.elevationAtLength(v.endLength), d)), fixed(v.grade1 * kPercent, d),
             fixed(v.grade2 * kPercent, d), kind, onCurve(fixed(v.radius, d)),
             // K: length per percent of grade change, R / 100.
             onCurve(fixed(v.radius / kPercent, d)), onCurve(fixed(2 * v.tangentLength, d)),
             onCurve(fixed(v.tangentLength, d)), onCurve(fixed(v.external, d)),
             extreme ? station(*v.extremeLength) : kNone,
             extreme ? fixed(v.extremeElevation, d) : kNone});
    }
    sink.end();
}

}  // namespace

void curves(const Route& route, const FormatOptions& format, RowSink& sink) {
    horizontalTable(route, format, sink);
    if (!route.verticalCurves().empty()) verticalTable(route, format, sink);
}

}  // namespace rcctool
