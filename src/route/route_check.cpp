// Design checks of a built route: curves overlapping their tangents, transitions that turn
// further than the deflection, gaps and kinks between elements, and misclosures.
#include <qv_route/route.hpp>

#include <cmath>
#include <cstdio>
#include <string>

#include "horizontal/horizontal.hpp"
#include "route/route_data.hpp"

namespace qv::route {

namespace {

/// Slack, in length units, for lengths built from the same numbers along different paths
/// (tangent lengths against legs).
constexpr double kLengthSlack = 1e-6;

std::string number(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.6g", value);
    return buffer;
}

void add(std::vector<Diagnostic>& out, Diagnostic::Severity severity, std::string path,
         std::string message) {
    out.push_back(Diagnostic{severity, std::move(path), std::move(message)});
}

void checkIntersectionPoints(const Route& route, const CheckOptions& options,
                             std::vector<Diagnostic>& out) {
    const std::vector<IntersectionPoint>& points = route.description().horizontal.points;
    const std::vector<CurveInfo>& curves = route.curves();
    const std::string base = "horizontal.points";
    // The curve fitted at point v is curves[v - 1] (every middle point has one).
    for (std::size_t i = 1; i < points.size() && curves.size() + 2 == points.size(); ++i) {
        const double back = i >= 2 ? curves[i - 2].outTangentLength : 0.0;
        const double ahead = i + 1 < points.size() ? curves[i - 1].inTangentLength : 0.0;
        const double leg =
            rcc::distanceBetween(points[i - 1].x, points[i - 1].y, points[i].x, points[i].y);
        if (leg - back - ahead < -kLengthSlack) {
            add(out, Diagnostic::Severity::Error, detail::indexed(base, i),
                "the leg from the previous point is " + number(leg) +
                    " long but its tangents need " + number(back + ahead) +
                    " (the curves overlap)");
        }
    }
    for (const CurveInfo& c : curves) {
        if (c.arcLength < -kLengthSlack) {
            add(out, Diagnostic::Severity::Error, detail::indexed(base, c.pointIndex),
                "the transitions (" + number(c.inTransitionLength) + " + " +
                    number(c.outTransitionLength) + ") turn further than the deflection of " +
                    number(std::fabs(rcc::degreesFromRadians(c.deflection))) + " degrees allows");
        }
    }
    // The fitted curves must bring the route to its end point; a curve too small for the
    // fixed-step evaluation (a nearly straight point with a tiny radius) does not.
    const RoadCurve& last = route.elements().back();
    const IntersectionPoint& end = points.back();
    const double miss = rcc::distanceBetween(last.endX, last.endY, end.x, end.y);
    if (miss > options.closureTolerance) {
        add(out, Diagnostic::Severity::Error, detail::indexed(base, points.size() - 1),
            "the built route ends " + number(miss) + " from this point");
    }
}

void checkElements(const Route& route, const CheckOptions& options, std::vector<Diagnostic>& out) {
    const std::vector<ElementDescription>& elements = route.description().horizontal.elements;
    const std::vector<RoadCurve>& built = route.elements();
    for (std::size_t i = 0; i < elements.size() && i < built.size(); ++i) {
        const ElementDescription& e = elements[i];
        const std::string path = detail::indexed("horizontal.elements", i);
        if (i > 0 && e.start) {
            const RoadCurve& before = built[i - 1];
            const double gap =
                rcc::distanceBetween(before.endX, before.endY, e.start->x, e.start->y);
            if (gap > options.gapTolerance) {
                add(out, Diagnostic::Severity::Error, path + ".start",
                    "lies " + number(gap) + " from the end of the element before");
            }
        }
        if (i > 0 && e.startBearing) {
            // The bearing jump, brought into (-pi, pi].
            const double kink =
                std::remainder(*e.startBearing - built[i - 1].endBearing, rcc::kTwoPi);
            if (std::fabs(kink) > options.kinkTolerance) {
                add(out, Diagnostic::Severity::Warning, path + ".startBearing",
                    "turns " + number(kink) + " rad from the end of the element before");
            }
        }
        if (e.expectedEnd) {
            const double miss = rcc::distanceBetween(built[i].endX, built[i].endY, e.expectedEnd->x,
                                                     e.expectedEnd->y);
            if (miss > options.closureTolerance) {
                add(out, Diagnostic::Severity::Warning, path + ".expectedEnd",
                    "the element ends " + number(miss) + " from the expected end");
            }
        }
    }
}

void checkProfile(const Route& route, std::vector<Diagnostic>& out) {
    const std::vector<VerticalCurveInfo>& curves = route.verticalCurves();
    const std::vector<GradePoint>& points = route.description().profile;
    double backTangent = 0.0;
    double previous = curves.empty() ? 0.0 : *route.lengthAt(points.front().station);
    for (std::size_t k = 0; k < curves.size(); ++k) {
        const VerticalCurveInfo& c = curves[k];
        const std::string path = detail::indexed("profile", c.pointIndex);
        const double free = c.length - previous - backTangent;
        if (c.tangentLength > free + kLengthSlack) {
            add(out, Diagnostic::Severity::Error, path,
                "the vertical curve's tangent length " + number(c.tangentLength) +
                    " does not fit on the grade line behind it (" + number(free) + " free)");
        }
        if (k + 1 == curves.size()) {
            const double toEnd = *route.lengthAt(points.back().station) - c.length;
            if (c.tangentLength > toEnd + kLengthSlack) {
                add(out, Diagnostic::Severity::Error, path,
                    "the vertical curve's tangent length " + number(c.tangentLength) +
                        " reaches past the last point");
            }
        }
        backTangent = c.tangentLength;
        previous = c.length;
    }
}

}  // namespace

std::vector<Diagnostic> Route::check(const CheckOptions& options) const {
    std::vector<Diagnostic> out;
    if (!description().horizontal.points.empty()) {
        checkIntersectionPoints(*this, options, out);
    } else {
        checkElements(*this, options, out);
    }
    checkProfile(*this, out);
    return out;
}

}  // namespace qv::route
