// The three element constructions: a straight between two points, an arc through two
// points, and a curved element of given length from its radii.
#include "horizontal/horizontal.hpp"

#include <cmath>

namespace rcc {

double bearingBetween(double x1, double y1, double x2, double y2) {
    return normalizeBearing(std::atan2(y2 - y1, x2 - x1));
}

double distanceBetween(double x1, double y1, double x2, double y2) {
    const double dx = x2 - x1;
    const double dy = y2 - y1;
    return std::sqrt(dx * dx + dy * dy);
}

RoadCurve lineAlong(double startDK, double endDK, double x, double y, double bearing,
                    double length) {
    RoadCurve line;  // line defaults: radii +inf, curvatures 0, turnDirection 0
    line.startDK = startDK;
    line.endDK = endDK;
    line.startX = x;
    line.startY = y;
    line.endX = std::cos(bearing) * length + x;
    line.endY = std::sin(bearing) * length + y;
    line.startBearing = line.endBearing = bearing;
    line.length = length;
    line.curveType = 0;
    line.integrationStep = kIntegrationStep;
    return line;
}

RoadCurve lineFromPoints(double startDK, double endDK, double x1, double y1, double x2, double y2) {
    RoadCurve line;  // line defaults: radii +inf, curvatures 0, turnDirection 0
    line.startDK = startDK;
    line.endDK = endDK;
    line.startX = x1;
    line.startY = y1;
    line.endX = x2;
    line.endY = y2;
    line.length = distanceBetween(x1, y1, x2, y2);
    line.startBearing = line.endBearing = bearingBetween(x1, y1, x2, y2);
    line.curveType = 0;
    line.integrationStep = kIntegrationStep;
    return line;
}

RoadCurve arcFromChord(double startDK, double x1, double y1, double x2, double y2, double radius,
                       int turnDirection) {
    RoadCurve arc;
    arc.startDK = startDK;
    arc.startX = x1;
    arc.startY = y1;
    arc.endX = x2;
    arc.endY = y2;
    arc.startRadius = arc.endRadius = radius;
    arc.startCurvature = arc.endCurvature = 1 / radius;
    arc.curveType = 1;
    arc.turnDirection = turnDirection;
    arc.integrationStep = kIntegrationStep;

    const double dx = x2 - x1;
    const double dy = y2 - y1;
    const double halfChord = 0.5 * distanceBetween(x1, y1, x2, y2);
    // The centre lies on the chord's perpendicular bisector, m from the midpoint, on the
    // turning side: that picks the arc shorter than a semicircle. NaN when R < c/2.
    const double m = std::sqrt(radius * radius - halfChord * halfChord);
    const double chordBearing = normalizeBearing(std::atan2(dy, dx));
    const bool turnsLeft = (turnDirection == 1);
    const double toCentre = turnsLeft ? chordBearing + kHalfPi : chordBearing - kHalfPi;
    const double cx = std::cos(toCentre) * m + (x1 + x2) * 0.5;
    const double cy = std::sin(toCentre) * m + (y1 + y2) * 0.5;
    const double radial1 = normalizeBearing(std::atan2(y1 - cy, x1 - cx));
    const double radial2 = normalizeBearing(std::atan2(y2 - cy, x2 - cx));

    // The tangent is the radius direction turned a quarter towards the direction of travel.
    // fmod keeps the dividend's sign, so for a right turn a bearing may lie in (-pi/2, 0).
    double turned;
    if (turnsLeft) {
        arc.startBearing = std::fmod(radial1 + kHalfPi, kTwoPi);
        arc.endBearing = std::fmod(radial2 + kHalfPi, kTwoPi);
        turned = arc.endBearing - arc.startBearing;
    } else {
        arc.startBearing = std::fmod(radial1 - kHalfPi, kTwoPi);
        arc.endBearing = std::fmod(radial2 - kHalfPi, kTwoPi);
        turned = arc.startBearing - arc.endBearing;
    }
    // The remainders jump by 2pi where the arc passes bearing 0 (left) or 3pi/2 (right).
    if (turned < 0) turned += kTwoPi;
    arc.length = turned * radius;
    arc.endDK = startDK + arc.length;
    return arc;
}

RoadCurve curveFromRadii(double startDK, double length, double x, double y, double startBearing,
                         double startRadius, double endRadius, int turnDirection) {
    RoadCurve curve;
    curve.startDK = startDK;
    curve.endDK = startDK + length;
    curve.length = length;
    curve.startX = x;
    curve.startY = y;
    curve.startBearing = startBearing;
    curve.startRadius = startRadius;
    curve.endRadius = endRadius;
    curve.turnDirection = turnDirection;
    curve.integrationStep = kIntegrationStep;

    // Exact comparisons: +inf is the documented straight end, and equal radii mean an arc.
    if (startRadius == kInfiniteRadius) {
        curve.curveType = 2;
        curve.startCurvature = 0.0;
        curve.endCurvature = 1 / endRadius;
    } else if (endRadius == kInfiniteRadius) {
        curve.curveType = 3;
        curve.startCurvature = 1 / startRadius;
        curve.endCurvature = 0.0;
    } else if (startRadius == endRadius) {
        curve.curveType = 1;
        curve.startCurvature = curve.endCurvature = 1 / startRadius;
    } else {
        curve.curveType = 4;
        curve.startCurvature = 1 / startRadius;
        curve.endCurvature = 1 / endRadius;
    }

    // The evaluation every later query of the element uses, so that its end answers alike.
    const CurvePoint end = PreparedCurve(curve).at(curve, length);
    curve.endX = end.x;
    curve.endY = end.y;
    curve.endBearing = end.bearing;
    return curve;
}

}  // namespace rcc
