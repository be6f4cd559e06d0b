// The fixed-step evaluation of curved elements and its literal reference loop.
#include "horizontal/horizontal.hpp"

#include <cmath>

namespace rcc {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

CurvePoint integrateCurveLiteral(const RoadCurve& curve, double s, double startCurvature,
                                 double endCurvature, double rampLength, double step) {
    CurvePoint p{curve.startX, curve.startY, curve.startBearing};
    if (!(s >= 0)) return p;  // negative or NaN distance: the start itself
    // Loops that could never end: no forward step, or nothing to pass.
    if (!(step > 0) || s == kInfiniteRadius) return {kNaN, kNaN, kNaN};

    const double direction = curve.turnDirection;
    double t = 0.0;
    do {
        // Curvature at the start of the step, ramping linearly over rampLength.
        p.bearing =
            p.bearing +
            ((endCurvature - startCurvature) * t / rampLength + startCurvature) * step * direction;
        p.x = p.x + step * std::cos(p.bearing);
        p.y = p.y + step * std::sin(p.bearing);
        const double next = t + step;
        if (next == t) return {kNaN, kNaN, kNaN};  // t stalled below s: would never pass it
        t = next;
    } while (t <= s);
    return p;
}

CurvePoint integrateCurve(const RoadCurve& curve, double s, double startCurvature,
                          double endCurvature, double rampLength, double step) {
    return integrateCurveLiteral(curve, s, startCurvature, endCurvature, rampLength, step);
}

}  // namespace rcc
