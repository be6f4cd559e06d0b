// The curve tables: main values of each horizontal curve with the chainages of its main
// points, and each vertical curve with its grades, tangent length and external distance.
#include <cmath>

#include "commands.hpp"

namespace rcctool {

namespace {

constexpr double kPercent = 100.0;
constexpr int kInTransition = 2;
constexpr int kOutTransition = 3;
const char* const kNone = "-";

std::string radiusText(double r, int decimals) {
    return std::isinf(r) ? "inf" : fixed(r, decimals);
}

Table horizontalFromJD(const Route& route, const FormatOptions& format) {
    Table t;
    for (const char* name : {"JD", "x", "y", "deflection", "turn", "R", "L1", "L2", "T1", "T2",
                             "Lc", "L", "TS/PC", "SC", "MC", "CS", "ST/PT"}) {
        t.addColumn(name, std::string(name) != "JD");
    }
    const int d = format.decimals;
    auto chainageAt = [&](double length) {
        return formatChainage(chainageAtLength(route, length), format);
    };
    for (const CurveGroup& c : route.curves) {
        const double start = route.elementStart[c.first];
        const double end = route.elementStart[c.last] + route.elements[c.last].length;
        std::string sc = kNone;
        std::string cs = kNone;
        for (std::size_t i = c.first; i <= c.last; ++i) {
            const RoadCurve& e = route.elements[i];
            if (e.curveType == kInTransition) sc = chainageAt(route.elementStart[i] + e.length);
            if (e.curveType == kOutTransition) cs = chainageAt(route.elementStart[i]);
        }
        t.rows.push_back(
            {c.name, fixed(c.x, d), fixed(c.y, d), formatAngle(c.deflectionDeg, format, true),
             c.turnDirection > 0 ? "+1" : "-1", fixed(c.radius, d), fixed(c.inTransitionLength, d),
             fixed(c.outTransitionLength, d), fixed(c.inTangentLength, d),
             fixed(c.outTangentLength, d), fixed(c.arcLength, d), fixed(end - start, d),
             chainageAt(start), sc, chainageAt((start + end) / 2), cs, chainageAt(end)});
    }
    return t;
}

Table elementList(const Route& route, const FormatOptions& format) {
    Table t;
    t.addColumn("element");
    t.addColumn("curveType", false);
    for (const char* name : {"start", "end", "length", "startRadius", "endRadius", "turn"}) {
        t.addColumn(name);
    }
    const int d = format.decimals;
    for (std::size_t i = 0; i < route.elements.size(); ++i) {
        const RoadCurve& e = route.elements[i];
        const double start = route.elementStart[i];
        t.rows.push_back({std::to_string(i), curveTypeName(e.curveType),
                          formatChainage(chainageAtLength(route, start), format),
                          formatChainage(chainageAtLength(route, start + e.length), format),
                          fixed(e.length, d), radiusText(e.startRadius, d),
                          radiusText(e.endRadius, d),
                          e.turnDirection == 0 ? kNone : (e.turnDirection > 0 ? "+1" : "-1")});
    }
    return t;
}

Table verticalTable(const Route& route, const FormatOptions& format) {
    Table t;
    t.addColumn("BP", false);
    for (const char* name : {"chainage", "elevation", "grade1%", "grade2%"}) t.addColumn(name);
    t.addColumn("kind", false);
    for (const char* name : {"R", "T", "E", "start", "end"}) t.addColumn(name);
    const int d = format.decimals;
    for (const VerticalCurveInfo& v : route.verticalCurves) {
        const bool crest = v.grade2 < v.grade1;
        t.rows.push_back(
            {"BP" + std::to_string(v.bpIndex), formatChainage(v.dk, format), fixed(v.elevation, d),
             fixed(v.grade1 * kPercent, d), fixed(v.grade2 * kPercent, d),
             v.hasCurve ? (crest ? "crest" : "sag") : "no curve", fixed(v.radius, d),
             fixed(v.tangentLength, d), v.hasCurve ? fixed(v.externalDistance, d) : kNone,
             v.hasCurve ? formatChainage(v.startDK, format) : kNone,
             v.hasCurve ? formatChainage(v.endDK, format) : kNone});
    }
    return t;
}

}  // namespace

std::vector<Table> curveTables(const Route& route, const FormatOptions& format) {
    std::vector<Table> tables;
    tables.push_back(route.jdPoints.empty() ? elementList(route, format)
                                            : horizontalFromJD(route, format));
    if (!route.verticalCurves.empty()) tables.push_back(verticalTable(route, format));
    return tables;
}

}  // namespace rcctool
