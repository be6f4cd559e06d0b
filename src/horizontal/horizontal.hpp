// Horizontal geometry shared by the builders, the queries, the intersection-point
// conversion and the design-drawing analysis: angle helpers, the three element
// constructions and the fixed-step evaluation of curved elements.
#pragma once

#include "qv_roadCurveCalculation_alg.h"

#include <complex>
#include <cstdint>
#include <limits>
#include <vector>

namespace rcc {

constexpr double kPi = 3.141592653589793;
constexpr double kHalfPi = 1.5707963267948966;
constexpr double kTwoPi = 6.283185307179586;

/// Step length, in length units, of the fixed-step evaluation of every element built from
/// the designer's data (also stored in lines, where it is not used).
constexpr double kIntegrationStep = 0.0001;
/// The radius of a straight end: IEEE +inf, curvature 0. Tested by exact equality.
constexpr double kInfiniteRadius = std::numeric_limits<double>::infinity();
/// Bearing result of the point-at-chainage query on an object without elements.
constexpr double kNoElementsBearing = -99.0;

/// Brings a bearing that atan2 gave into [0, 2pi) by adding 2pi to a negative value.
inline double normalizeBearing(double bearing) { return bearing < 0 ? bearing + kTwoPi : bearing; }

/// Degrees in half a turn; the interface reports some bearings and angles in degrees.
constexpr double kDegreesPerHalfTurn = 180.0;

/// Radians to degrees, multiplied by 180 before the division by pi.
inline double degreesFromRadians(double radians) { return radians * kDegreesPerHalfTurn / kPi; }

/// Degrees to radians, multiplied by pi before the division by 180.
inline double radiansFromDegrees(double degrees) { return degrees * kPi / kDegreesPerHalfTurn; }

/// Bearing in [0, 2pi) of the direction from (x1, y1) to (x2, y2).
double bearingBetween(double x1, double y1, double x2, double y2);

/// Plane distance from (x1, y1) to (x2, y2).
double distanceBetween(double x1, double y1, double x2, double y2);

/// The straight of `length` from (x, y) along `bearing` (stored as given), with the given
/// chainages and the line defaults in its radius, curvature and direction fields.
RoadCurve lineAlong(double startDK, double endDK, double x, double y, double bearing,
                    double length);

/// The straight from (x1, y1) to (x2, y2) with the given chainages; length is the plane
/// distance, both bearings the normalised chord bearing.
RoadCurve lineFromPoints(double startDK, double endDK, double x1, double y1, double x2, double y2);

/// The arc of `radius` from (x1, y1) to (x2, y2), shorter than a semicircle, turning by
/// `turnDirection` (any value but 1 counts as -1). Bearings are remainders of the radius
/// directions plus or minus pi/2; endDK = startDK + length. NaN when radius < chord / 2.
RoadCurve arcFromChord(double startDK, double x1, double y1, double x2, double y2, double radius,
                       int turnDirection);

/// A curved element of `length` from a start point and bearing, curvature ramping from
/// 1/startRadius to 1/endRadius (0 for +inf); kind 2 (from +inf), 3 (to +inf), 1 (equal) or
/// 4. End point and bearing are the fixed-step evaluation at s = length.
RoadCurve curveFromRadii(double startDK, double length, double x, double y, double startBearing,
                         double startRadius, double endRadius, int turnDirection);

/// A point of an element and the tangent bearing there (radians, not normalised).
struct CurvePoint {
    double x;
    double y;
    double bearing;
};

/// The fixed-step evaluation of a curved element at distance s from its start: from the
/// record's start point, bearing and turnDirection (used as a number), each step of length
/// `step` first turns the bearing by the curvature at the step's start (startCurvature ramping
/// linearly to endCurvature over rampLength), then moves `step` along it, until the distance
/// accumulated by repeated addition exceeds s; so s = 0 already takes one step. Returns the
/// exact value of that sum (same step count; within 1e-9 + 2 ulp in x, y and 1e-13 rad + 2 ulp
/// in bearing) in constant time. Negative or NaN s returns the start. NaN results: a step
/// that is not positive or is NaN, and s at or beyond the distance where t + step == t (the
/// first power of two >= 2^53 step; covers s = +inf), where the loop would never end; a zero
/// ramp length or an infinite curvature; a clothoid whose radius drops to a few dozen steps
/// over more than 2^20 steps (summed one by one, a bounded effort). The scheme follows the
/// true element to within about 1e-4 at step 1e-4 (it leads by half a step in bearing and
/// may stop up to one step past s).
CurvePoint integrateCurve(const RoadCurve& curve, double s, double startCurvature,
                          double endCurvature, double rampLength, double step);

/// The literal step-by-step loop behind integrateCurve: one sine and one cosine per step, and
/// its own rounding (up to about 2^-52 n max|x| over n steps). Kept as the reference the
/// production evaluator is tested against; same NaN results for endless loops.
CurvePoint integrateCurveLiteral(const RoadCurve& curve, double s, double startCurvature,
                                 double endCurvature, double rampLength, double step);

/// A curved element's fixed-step evaluation prepared once, when the element is built. For a
/// clothoid: the exact sum of the step vectors at checkpoints along it (the start of every
/// run of the accumulated distance, and every kCheckpointSteps steps inside a run), so that
/// a query adds one short closed-form stretch from the checkpoint before it; for an arc the
/// fixed denominator of its geometric sum. Gives integrateCurve's sum to within the same
/// 1e-9 at a fixed cost whatever the distance . Unprepared (that is,
/// integrateCurve itself) for steps other than kIntegrationStep and degenerate records.
class PreparedCurve {
public:
    PreparedCurve() = default;
    /// Prepares `curve` (its start, curvatures, length as ramp length, step) up to its length.
    explicit PreparedCurve(const RoadCurve& curve);
    /// integrateCurve on the record's own fields at distance s from the start.
    CurvePoint at(const RoadCurve& curve, double s) const;

    /// Longest clothoid given checkpoints, in length units: 12,000 checkpoints, 400 kB.
    static constexpr double kMaxPreparedLength = 20000;
    /// Steps between two checkpoints inside one run: a stretch of at most 1.6 length units
    /// at step 1e-4, short enough for the closed form's centred series.
    static constexpr std::int64_t kCheckpointSteps = std::int64_t{1} << 14;

private:
    enum class Kind { kUnprepared, kArc, kClothoid };
    Kind kind_ = Kind::kUnprepared;
    double turn_ = 0.0;                   ///< turn of the first step, d h k1 (radians)
    double ramp_ = 0.0;                   ///< growth of the turn per unit of t, d h (k2 - k1) / L
    double arcPerHalfTurnSine_ = 0.0;     ///< 1 / sin(turn_ / 2) of an arc
    std::complex<double> arcStartPhase_;  ///< e^(i(b0 + turn_ / 2)) of an arc
    /// At each checkpoint c: the sum of e^(i theta_j) over 1 <= j < c, plus the start terms
    /// of Euler-Maclaurin for a stretch from c.
    std::vector<std::complex<double>> sums_;
    std::vector<std::complex<double>> phases_;  ///< e^(i theta_c) at each checkpoint c
    std::vector<std::int32_t> runFirst_;        ///< index in sums_ of each run's first checkpoint
};

/// Point and tangent bearing of an element at distance s from its start, as the point query
/// computes them: the closed form cos/sin(bearing) * s + start on straights (kind 0), the
/// prepared fixed-step sum on curved elements.
CurvePoint pointOnElement(const RoadCurve& element, const PreparedCurve& prepared, double s);

}  // namespace rcc
