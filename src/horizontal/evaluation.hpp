// Pieces of the constant-time evaluation of the fixed-step integration: the runs of the
// accumulated distance and closed-form sums of unit vectors whose phase is quadratic.
#pragma once

#include <complex>
#include <cstdint>

namespace rcc {

/// pi to long-double precision. Phases of hundreds of radians are reduced with it before
/// they are rounded to double; the double kPi would leave an error of 1e-16 per turn.
constexpr long double kPiExtended = 3.14159265358979323846264338327950288L;

/// One run of the accumulated distance t_j = fl(t_(j-1) + step), t_0 = 0. Inside one binade
/// every rounded sum moves by the same multiple of the binade's spacing, so for
/// 0 <= m < count the value t_(first+m) is exactly start + m * increment.
struct DistanceRun {
    std::int64_t first;     ///< index j of the run's first value
    std::int64_t count;     ///< number of values in the run
    double start;           ///< t_first (length units)
    double increment;       ///< exact difference of consecutive values (length units)
    double spacing;         ///< spacing of the doubles in the run's binade (length units)
    double last;            ///< start + (count - 1) * increment (length units)
    long double sumBefore;  ///< t_0 + ... + t_(first-1), exact to long-double rounding
    double drift;           ///< largest |t_j - j * step| of this run and all before it
    double perIncrement;    ///< 1 / increment, rounded (0 for the terminal run)
};

/// The distance at and beyond which the accumulated distance can no longer pass s: from the
/// first power of two not below 2^53 * step the spacing of doubles is at least twice the
/// step, so t + step rounds back to t. +inf for a step so large that this overflows.
double stallDistance(double step);

/// Produces the runs of the accumulated distance for one step in order, each in O(1); the
/// last run produced starts at or beyond stallDistance(step) and is never passed.
class DistanceRunWalker {
public:
    /// `step` is finite and positive.
    explicit DistanceRunWalker(double step);
    /// The next run; the first call gives the run of t_0 = 0 and t_1 = step.
    DistanceRun next();

private:
    double step_;
    double stall_;
    std::int64_t index_ = 0;
    double value_ = 0.0;
    long double sumBefore_ = 0.0L;
    double drift_ = 0.0;
};

/// The runs of kIntegrationStep up to its stall distance, built once (thread-safe) and
/// shared read-only; the last entry is the terminal run.
const DistanceRun* integrationStepRuns(int& runCount);

/// Most terms a phase sum adds one by one where its closed form does not hold (steps that
/// turn by a sizeable fraction of a radian: radii of a few dozen steps or less). As long as
/// the literal loop over 100 m at step 1e-4; beyond it the result is NaN, not a long wait.
constexpr std::int64_t kMaxDirectTerms = std::int64_t{1} << 20;

/// Whether the closed form of quadraticPhaseSum stays within `tolerance` (absolute) for
/// `count` terms whose phase slope |q'| stays within maxSlope and whose |q''| <= maxCurve.
bool closedFormHolds(double maxSlope, double maxCurve, double count, double tolerance);

/// Sum of e^(i(alpha + beta m + gamma m^2)) over m = 0 .. count - 1: a geometric sum for
/// gamma = 0, Euler-Maclaurin over quadraticPhaseIntegral where closedFormHolds, otherwise
/// term by term, and NaN beyond kMaxDirectTerms. `tolerance` is the absolute error allowed.
/// `closedFormOnly` skips the term-by-term shortcut for a handful of terms (used where the
/// closed form is known to hold and its fixed cost is wanted).
std::complex<double> quadraticPhaseSum(long double alpha, long double beta, long double gamma,
                                       std::int64_t count, double tolerance,
                                       bool closedFormOnly = false);

/// quadraticPhaseSum split at its two ends, for stretches whose start is known in advance:
/// the sum is quadraticPhaseStartTerms(...) + quadraticPhaseEndTerms(...), the first
/// depending on the start alone; `startPhase` is e^(i alpha). Valid where closedFormHolds and
/// for |beta M| and |gamma M^2| well below a radian; `endPhase` receives the next term's unit
/// vector e^(i(alpha + beta M + gamma M^2)).
std::complex<double> quadraticPhaseStartTerms(std::complex<double> startPhase, double beta,
                                              double gamma);
std::complex<double> quadraticPhaseEndTerms(std::complex<double> startPhase, double beta,
                                            double gamma, std::int64_t count,
                                            std::complex<double>& endPhase);

/// G(A, B) = integral over v in [0, 1] of e^(i(B v + A v^2)), the generalised Fresnel
/// integral, to about 3e-16 absolute for any finite A and B.
std::complex<double> quadraticPhaseIntegral(double A, double B);

/// Angle x brought into [-pi, pi] in long double before rounding it to double.
double reducedAngle(long double x);

}  // namespace rcc
