// Turns intersection points into elements: at each intermediate point a circular arc with
// optional, possibly unequal, clothoid transitions, joined to the route by straights.
#include "horizontal/horizontal.hpp"
#include "intersection/intersection.hpp"

#include <cmath>
#include <optional>
#include <vector>

namespace {

/// Degrees in a whole turn; the reported bearings and deflection are in degrees, the
/// elements carry radians.
constexpr double kFullTurnDeg = 360.0;

// Series coefficients of a clothoid of length L that ends at radius R (first two terms):
// the circle is shifted inwards from the tangent by p = L^2/(24R) - L^4/(2688R^3), and its
// centre lies q = L/2 - L^3/(240R^2) along the tangent from the transition's start.
constexpr double kShiftFirstTerm = 24.0;
constexpr double kShiftSecondTerm = 2688.0;
constexpr double kOffsetSecondTerm = 240.0;

}  // namespace

namespace rcc {

double transitionShift(double L, double R) {
    return std::pow(L, 2) / (kShiftFirstTerm * R) -
           std::pow(L, 4) / (kShiftSecondTerm * std::pow(R, 3));
}

double transitionOffset(double L, double R) {
    return L / 2 - std::pow(L, 3) / (kOffsetSecondTerm * std::pow(R, 2));
}

}  // namespace rcc

namespace {

using rcc::transitionOffset;
using rcc::transitionShift;

/// The most elements one conversion appends: straight, two transitions, arc, closing
/// straight.
constexpr std::size_t kMaxElementsPerCurve = 5;

/// The main values of the curve fitted at one intersection point.
struct CurveFit {
    double inBearingDeg;   // of the straight arriving at the point, [0, 360)
    double outBearingDeg;  // of the straight leaving it, [0, 360)
    double deflectionDeg;  // signed, (-180, 180]
    int turnDirection;     // 1 when the bearing grows through the curve, else -1
    double inTangent;      // T1: point back to the start of the entering transition
    double outTangent;     // T2: point forward to the end of the leaving transition
    double arcLength;      // Lc of the circular part; <= 0 means no arc fits
};

// Fits the curve at V between the straights P->V and V->N. Refuses (nullopt) where no
// curve exists: a radius that is not positive (or NaN), straights in line (deflection 0,
// sin of it 0) or doubling back (deflection 180, where tan(a/2) is infinite but comes out
// only huge in floating point), and any other input that leaves a main value infinite
// or NaN (an infinite radius, non-finite coordinates or transition lengths).
std::optional<CurveFit> fitCurve(const JDPoint& P, const JDPoint& V, const JDPoint& N) {
    CurveFit fit{};
    fit.inBearingDeg = rcc::degreesFromRadians(rcc::bearingBetween(P.x, P.y, V.x, V.y));
    fit.outBearingDeg = rcc::degreesFromRadians(rcc::bearingBetween(V.x, V.y, N.x, N.y));
    // Both bearings lie in [0, 360), so one correction brings the turn into (-180, 180].
    double deflection = fit.outBearingDeg - fit.inBearingDeg;
    if (deflection > rcc::kDegreesPerHalfTurn) {
        deflection -= kFullTurnDeg;
    } else if (deflection <= -rcc::kDegreesPerHalfTurn) {
        deflection += kFullTurnDeg;
    }
    fit.deflectionDeg = deflection;
    fit.turnDirection = deflection < 0 ? -1 : 1;

    const double R = V.radius;
    const double turnDeg = std::fabs(deflection);
    if (!(R > 0) || !(turnDeg > 0 && turnDeg < rcc::kDegreesPerHalfTurn)) return std::nullopt;

    // a is the angle the route turns through; L1, L2 the entering and leaving transitions.
    const double a = rcc::radiansFromDegrees(turnDeg);
    const double L1 = V.inTransitionLength;
    const double L2 = V.outTransitionLength;
    const double p1 = transitionShift(L1, R);
    const double p2 = transitionShift(L2, R);
    const double q1 = transitionOffset(L1, R);
    const double q2 = transitionOffset(L2, R);
    // The shifted circle (radius R + p) sits p1 off the incoming leg and p2 off the
    // outgoing one; unequal shifts slide it along each leg by (p_other - p_own) / sin a.
    // Equal shifts cancel, and without transitions T = R tan(a/2).
    fit.inTangent = (p2 - p1) / std::sin(a) + (R + p1) * std::tan(a / 2) + q1;
    fit.outTangent = (p1 - p2) / std::sin(a) + (R + p2) * std::tan(a / 2) + q2;
    // Each transition turns the bearing by L/(2R); the arc turns the rest of a.
    fit.arcLength = (a - L1 / (2 * R) - L2 / (2 * R)) * R;

    if (!std::isfinite(fit.inTangent) || !std::isfinite(fit.outTangent) ||
        !std::isfinite(fit.arcLength)) {
        return std::nullopt;
    }
    return fit;
}

// Collects the elements of one conversion, each joined to the one before it (the newest
// collected one, or else the object's last element), so that they can be appended at once.
class ElementChain {
public:
    ElementChain(const RoadCurvesCalculation& route, const std::vector<RoadCurve>& existing)
        : route_(route), existing_(existing) {
        added_.reserve(kMaxElementsPerCurve);
    }

    void add(const RoadCurve& element) { added_.push_back(element); }

    // A straight of `length` continuing the previous element's end bearing; its end
    // chainage is reached through the broken chains.
    void addStraight(double length) {
        const RoadCurve& from = previous();
        add(rcc::lineAlong(from.endDK, route_.calculateDKfromLength(from.endDK, length), from.endX,
                           from.endY, from.endBearing, length));
    }

    // A curved element continuing the previous one; its end chainage is plain addition.
    void addCurve(double length, double startRadius, double endRadius, int turnDirection) {
        const RoadCurve& from = previous();
        add(rcc::curveFromRadii(from.endDK, length, from.endX, from.endY, from.endBearing,
                                startRadius, endRadius, turnDirection));
    }

    const RoadCurve& previous() const { return added_.empty() ? existing_.back() : added_.back(); }
    const std::vector<RoadCurve>& added() const { return added_; }

private:
    const RoadCurvesCalculation& route_;
    const std::vector<RoadCurve>& existing_;
    std::vector<RoadCurve> added_;
};

}  // namespace

int RoadCurvesCalculation::convertJDPointsToRoadCurves(double& inBearing, double& outBearing,
                                                       double& inTangentLength,
                                                       double& outTangentLength, double& arcLength,
                                                       double& deflection, int& turnDirection) {
    if (jdPoints.size() < 3 || jdPoints.front().pointType != rcc::kJDStartPoint) {
        return rcc::kJDConversionRefused;
    }
    // The first conversion fits the curve at the second point; every later one the curve at
    // the newest point but one, so points added without a call in between are skipped.
    const bool firstConversion = elements.empty();
    const std::size_t previousIndex = firstConversion ? 0 : jdPoints.size() - 3;
    const JDPoint& P = jdPoints[previousIndex];
    const JDPoint& V = jdPoints[previousIndex + 1];
    const JDPoint& N = jdPoints[previousIndex + 2];

    const std::optional<CurveFit> fit = fitCurve(P, V, N);
    if (!fit) return rcc::kJDConversionRefused;
    inBearing = fit->inBearingDeg;
    outBearing = fit->outBearingDeg;
    inTangentLength = fit->inTangent;
    outTangentLength = fit->outTangent;
    arcLength = fit->arcLength;
    deflection = fit->deflectionDeg;
    turnDirection = fit->turnDirection;

    ElementChain chain(*this, elements);
    if (firstConversion) {
        // From the start point towards V, stopping T1 short of it; kept even when the
        // tangents overlap (zero or negative length). The bearing is the reported degree
        // value turned back into radians.
        const double length = rcc::distanceBetween(P.x, P.y, V.x, V.y) - fit->inTangent;
        chain.add(rcc::lineAlong(P.pointDK, calculateDKfromLength(P.pointDK, length), P.x, P.y,
                                 rcc::radiansFromDegrees(fit->inBearingDeg), length));
    } else {
        // From where the route ends now towards V; left out when the tangents overlap.
        const RoadCurve& last = elements.back();
        const double length = rcc::distanceBetween(last.endX, last.endY, V.x, V.y) - fit->inTangent;
        if (length > 0) chain.addStraight(length);
    }

    const double R = V.radius;
    const double L1 = V.inTransitionLength;
    const double L2 = V.outTransitionLength;
    if (L1 > 0) chain.addCurve(L1, rcc::kInfiniteRadius, R, fit->turnDirection);
    if (fit->arcLength > 0) chain.addCurve(fit->arcLength, R, R, fit->turnDirection);
    if (L2 > 0) chain.addCurve(L2, R, rcc::kInfiniteRadius, fit->turnDirection);

    // The closing straight from the end of the curve to the end point, kept whatever the
    // sign of its length.
    if (N.pointType == rcc::kJDEndPoint) {
        chain.addStraight(rcc::distanceBetween(V.x, V.y, N.x, N.y) - fit->outTangent);
    }

    const std::size_t firstAdded = elements.size();
    elements.insert(elements.end(), chain.added().begin(), chain.added().end());
    elementsAppended(firstAdded);
    return rcc::kJDConversionDone;
}
