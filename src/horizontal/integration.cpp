// The fixed-step evaluation of curved elements: the literal step-by-step loop, kept as the
// reference, and the production evaluator that returns the same sum in constant time.
#include "horizontal/evaluation.hpp"
#include "horizontal/horizontal.hpp"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>

namespace rcc {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Position error (length units) the evaluator may spend on shortcuts: on the ideal
// accumulated distance j * step for an early stretch of a clothoid, and on truncating
// Euler-Maclaurin. A hundredth of the 1e-9 within which it matches the exact sum of the
// loop, and the bounds that spend it are themselves pessimistic.
constexpr double kShortcutBudget = 1e-11;

// Values t_j of `run` not above s: how many steps of the run the loop takes before it
// stops. Counted in whole grid spacings of the run's binade, where s - start is exact.
std::int64_t valuesNotAbove(const DistanceRun& run, double s) {
    if (s < run.start) return 0;
    if (run.first == 0) return 1;  // s < t_1 = step: only t_0 = 0
    const auto room = static_cast<std::int64_t>((s - run.start) / run.spacing);
    const auto stride = static_cast<std::int64_t>(run.increment / run.spacing);
    return room / stride + 1;
}

// The loop's step count n and S_n = t_0 + ... + t_(n-1), from the run that holds its last
// distance, t_(n-1) <= s < t_n.
struct StepTotals {
    std::int64_t steps;
    long double distanceSum;
};

StepTotals totalsAt(const DistanceRun& run, double s) {
    const std::int64_t used = valuesNotAbove(run, s);
    const long double usedL = static_cast<long double>(used);
    long double distanceSum = run.sumBefore + usedL * run.start;
    if (used > 1) distanceSum += run.increment * usedL * (usedL - 1) / 2;
    return {run.first + used, distanceSum};
}

// The point after n steps that all turn by the same angle (arcs, straights by integration,
// and d = 0): theta_i = b0 + turn i whatever the t_j, one geometric sum for i = 1 .. n.
CurvePoint constantTurn(const CurvePoint& start, double step, long double turn,
                        std::int64_t steps) {
    const long double b0 = start.bearing;
    const std::complex<double> sum =
        quadraticPhaseSum(b0 + turn, turn, 0.0L, steps, kShortcutBudget / step);
    return {start.x + step * sum.real(), start.y + step * sum.imag(),
            static_cast<double>(b0 + turn * static_cast<long double>(steps))};
}

// The fixed-step sum from the runs of the accumulated distance t_j. With S_i = t_0 + ... +
// t_(i-1), the bearing after i steps is theta_i = b0 + turn i + ramp S_i (turn = d h k1,
// ramp = d h (k2 - k1) / Ls) and the point is the start plus h times the sum of e^(i theta_i)
// for i = 1 .. n. Inside a run t is linear in the index, so theta is quadratic there and each
// run is one closed-form sum. An early stretch where t_j differs from j h by a negligible
// amount is summed as one quadratic of the ideal j h.
template <class NextRun>
CurvePoint sumSteps(const CurvePoint& start, double s, double step, long double turn,
                    long double ramp, NextRun nextRun) {
    const long double b0 = start.bearing;
    const long double h = step;
    const double tolerance = kShortcutBudget / step;  // in units of one step's vector
    const long double idealChirp = ramp * h / 2;      // theta_i = b0 + turn i + ramp h i(i-1)/2

    // Steps turning too fast for the closed forms are summed one by one, up to a bound. The
    // turn per step is linear in t, so its extremes over the sum lie at t = 0 and t = s (give
    // or take one step's growth); the loop takes at most s / step + 2 steps.
    const double rampPerStep = static_cast<double>(std::fabs(ramp) * h);
    const double maxTurn =
        static_cast<double>(std::max(std::fabs(turn), std::fabs(turn + ramp * s))) + rampPerStep;
    const double maxSteps = s / step + 2;
    if (maxSteps > kMaxDirectTerms &&
        !closedFormHolds(maxTurn, 2 * rampPerStep, maxSteps, tolerance)) {
        return {kNaN, kNaN, kNaN};
    }

    const double driftWeight = rampPerStep / 2;
    std::complex<double> sum(0.0, 0.0);  // e^(i theta_i) for i = 0 .. n - 1
    std::int64_t ideal = 0;              // indices below this use the ideal distance
    bool merging = true;
    DistanceRun run = nextRun();
    for (;; run = nextRun()) {
        const bool lastRun = run.last > s;
        const std::int64_t used = lastRun ? valuesNotAbove(run, s) : run.count;
        if (merging) {
            // Bearing error at i is |ramp| |S_i - h i(i-1)/2| <= |ramp| i drift, so the
            // position moves by at most h |ramp| drift P^2 / 2 over the first P steps.
            const auto end = static_cast<double>(run.first + used);
            if (driftWeight * run.drift * end * end <= kShortcutBudget) {
                ideal = run.first + used;
                if (lastRun) break;
                continue;
            }
            merging = false;
            sum += quadraticPhaseSum(b0, turn - idealChirp, idealChirp, ideal, tolerance);
        }
        // theta_(first+m) = alpha + beta m + gamma m^2 for t_(first+m) = start + m increment.
        const long double alpha =
            b0 + turn * static_cast<long double>(run.first) + ramp * run.sumBefore;
        const long double gamma = ramp * run.increment / 2;
        const long double beta = turn + ramp * run.start - gamma;
        sum += quadraticPhaseSum(alpha, beta, gamma, used, tolerance);
        if (lastRun) break;
    }
    if (merging) sum += quadraticPhaseSum(b0, turn - idealChirp, idealChirp, ideal, tolerance);

    // The loop stops after n steps, in the last run; S_n gives the bearing.
    const StepTotals totals = totalsAt(run, s);
    const long double bearing =
        b0 + turn * static_cast<long double>(totals.steps) + ramp * totals.distanceSum;
    // Summed from i = 0, so swap the start's term for the end's.
    sum += std::polar(1.0, reducedAngle(bearing)) - std::polar(1.0, start.bearing);
    return {start.x + step * sum.real(), start.y + step * sum.imag(), static_cast<double>(bearing)};
}

}  // namespace

CurvePoint integrateCurveLiteral(const RoadCurve& curve, double s, double startCurvature,
                                 double endCurvature, double rampLength, double step) {
    CurvePoint p{curve.startX, curve.startY, curve.startBearing};
    if (!(s >= 0)) return p;  // negative or NaN distance: the start itself
    // Loops that could never end: no forward step, or a distance the accumulated distance
    // can never pass (from stallDistance on, t + step == t).
    if (!(step > 0) || !(s < stallDistance(step))) return {kNaN, kNaN, kNaN};

    const double direction = curve.turnDirection;
    double t = 0.0;
    do {
        // Curvature at the start of the step, ramping linearly over rampLength.
        p.bearing =
            p.bearing +
            ((endCurvature - startCurvature) * t / rampLength + startCurvature) * step * direction;
        p.x = p.x + step * std::cos(p.bearing);
        p.y = p.y + step * std::sin(p.bearing);
        t = t + step;
    } while (t <= s);
    return p;
}

CurvePoint integrateCurve(const RoadCurve& curve, double s, double startCurvature,
                          double endCurvature, double rampLength, double step) {
    const CurvePoint start{curve.startX, curve.startY, curve.startBearing};
    if (!(s >= 0)) return start;  // negative or NaN distance: the start itself
    if (!(step > 0) || !(s < stallDistance(step))) return {kNaN, kNaN, kNaN};
    // An infinite step is taken once, and a single step is best taken literally.
    if (!(step < std::numeric_limits<double>::infinity())) {
        return integrateCurveLiteral(curve, s, startCurvature, endCurvature, rampLength, step);
    }
    // Per-step turn at t = 0 and its growth per unit of t, from the exact products of the
    // doubles (long double holds them to 1e-19). A zero ramp length or an infinite
    // curvature makes them NaN or infinite, and the loop's point NaN as well.
    const long double direction = curve.turnDirection;
    const long double turn = direction * step * startCurvature;
    const long double ramp =
        direction * step * (static_cast<long double>(endCurvature) - startCurvature) / rampLength;
    if (!std::isfinite(turn) || !std::isfinite(ramp)) return {kNaN, kNaN, kNaN};

    if (step == kIntegrationStep) {
        int runCount = 0;
        const DistanceRun* runs = integrationStepRuns(runCount);
        if (ramp == 0) {
            const DistanceRun* last = std::partition_point(
                runs, runs + runCount, [s](const DistanceRun& run) { return !(run.last > s); });
            return constantTurn(start, step, turn, totalsAt(*last, s).steps);
        }
        int next = 0;
        return sumSteps(start, s, step, turn, ramp, [&] { return runs[next++]; });
    }
    DistanceRunWalker walker(step);
    if (ramp == 0) {
        DistanceRun run = walker.next();
        while (!(run.last > s)) run = walker.next();
        return constantTurn(start, step, turn, totalsAt(run, s).steps);
    }
    return sumSteps(start, s, step, turn, ramp, [&] { return walker.next(); });
}

}  // namespace rcc

namespace rcc {

namespace {

// Per-step turn at t = 0 and its growth per unit of t, as integrateCurve forms them.
struct TurnRates {
    long double turn;
    long double ramp;
};

TurnRates turnRates(const RoadCurve& curve) {
    const long double direction = curve.turnDirection;
    const long double step = curve.integrationStep;
    return {direction * step * curve.startCurvature,
            direction * step *
                (static_cast<long double>(curve.endCurvature) - curve.startCurvature) /
                curve.length};
}

// Whether a record is a clothoid the checkpoints serve: the standard step, finite rates with
// a ramp, a finite positive length, and a closed form that holds over any stretch between
// two checkpoints (the turn per step stays far below a radian for any radius above a few
// dozen steps).
bool preparable(const RoadCurve& curve, const TurnRates& rates) {
    if (curve.curveType == 0 || curve.integrationStep != kIntegrationStep) return false;
    if (!std::isfinite(rates.turn) || !std::isfinite(rates.ramp) || rates.ramp == 0) return false;
    if (!(curve.length > 0) || !(curve.length < stallDistance(kIntegrationStep))) return false;
    const double rampPerStep = static_cast<double>(std::fabs(rates.ramp) * kIntegrationStep);
    const double maxTurn = static_cast<double>(
        std::max(std::fabs(rates.turn), std::fabs(rates.turn + rates.ramp * curve.length)));
    return closedFormHolds(maxTurn + rampPerStep, 2 * rampPerStep,
                           static_cast<double>(PreparedCurve::kCheckpointSteps),
                           kShortcutBudget / kIntegrationStep);
}

// The quadratic phase of the steps from index `index` of `run` on: theta_(index+m) = alpha +
// beta m + gamma m^2 while t stays in the run, with S and t at `index` exact as in totalsAt.
struct Phase {
    long double alpha;
    long double beta;
    long double gamma;
};

Phase phaseFrom(const DistanceRun& run, std::int64_t index, long double b0, const TurnRates& r) {
    const std::int64_t j = index - run.first;
    const long double jl = static_cast<long double>(j);
    long double distanceSum = run.sumBefore + jl * run.start;
    if (j > 1) distanceSum += run.increment * jl * (jl - 1) / 2;
    const long double t = run.start + jl * run.increment;
    const long double gamma = r.ramp * run.increment / 2;
    return {b0 + r.turn * static_cast<long double>(index) + r.ramp * distanceSum,
            r.turn + r.ramp * t - gamma, gamma};
}

}  // namespace

PreparedCurve::PreparedCurve(const RoadCurve& curve) {
    const TurnRates rates = turnRates(curve);
    if (!preparable(curve, rates)) return;
    int runCount = 0;
    const DistanceRun* runs = integrationStepRuns(runCount);
    const double tolerance = kShortcutBudget / kIntegrationStep;
    const long double b0 = curve.startBearing;
    // The running sum in long double: a few hundred stretches add no visible rounding. It
    // starts at -e^(i b0): the sum runs from j = 0, and the point wants j = 1 .. n.
    const std::complex<double> startTerm = std::polar(1.0, curve.startBearing);
    long double sumX = -startTerm.real();
    long double sumY = -startTerm.imag();
    for (int r = 0; r < runCount; ++r) {
        const DistanceRun& run = runs[r];
        if (run.start > curve.length) break;  // no query up to the length ends in this run
        runFirst_.push_back(static_cast<std::int32_t>(sums_.size()));
        for (std::int64_t j = 0; j < run.count; j += kCheckpointSteps) {
            if (run.start + static_cast<double>(j) * run.increment > curve.length) break;
            sums_.emplace_back(static_cast<double>(sumX), static_cast<double>(sumY));
            const Phase phase = phaseFrom(run, run.first + j, b0, rates);
            const std::complex<double> stretch =
                quadraticPhaseSum(phase.alpha, phase.beta, phase.gamma,
                                  std::min(kCheckpointSteps, run.count - j), tolerance, true);
            sumX += stretch.real();
            sumY += stretch.imag();
        }
    }
    runFirst_.push_back(static_cast<std::int32_t>(sums_.size()));
}

CurvePoint PreparedCurve::at(const RoadCurve& curve, double s) const {
    if (sums_.empty() || !(s >= 0) || !(s <= curve.length)) {
        return integrateCurve(curve, s, curve.startCurvature, curve.endCurvature, curve.length,
                              curve.integrationStep);
    }
    int runCount = 0;
    const DistanceRun* runs = integrationStepRuns(runCount);
    const DistanceRun* run = std::partition_point(
        runs, runs + runCount, [s](const DistanceRun& each) { return !(each.last > s); });
    const StepTotals totals = totalsAt(*run, s);
    // The last term of the sum, index n - 1, may close the run before.
    const std::int64_t lastTerm = totals.steps - 1;
    if (lastTerm < run->first) --run;
    const auto r = static_cast<std::size_t>(run - runs);
    const std::int64_t checkpoint = (lastTerm - run->first) / kCheckpointSteps;
    const std::size_t slot = static_cast<std::size_t>(runFirst_[r] + checkpoint);
    const std::int64_t index = run->first + checkpoint * kCheckpointSteps;

    const TurnRates rates = turnRates(curve);
    const long double b0 = curve.startBearing;
    const Phase phase = phaseFrom(*run, index, b0, rates);
    const double tolerance = kShortcutBudget / kIntegrationStep;
    std::complex<double> sum =
        sums_[slot] + quadraticPhaseSum(phase.alpha, phase.beta, phase.gamma, totals.steps - index,
                                        tolerance, true);
    const long double bearing =
        b0 + rates.turn * static_cast<long double>(totals.steps) + rates.ramp * totals.distanceSum;
    sum += std::polar(1.0, reducedAngle(bearing));
    const double step = kIntegrationStep;
    return {curve.startX + step * sum.real(), curve.startY + step * sum.imag(),
            static_cast<double>(bearing)};
}

CurvePoint pointOnElement(const RoadCurve& element, const PreparedCurve& prepared, double s) {
    if (element.curveType == 0) {
        return {std::cos(element.startBearing) * s + element.startX,
                std::sin(element.startBearing) * s + element.startY, element.startBearing};
    }
    return prepared.at(element, s);
}

}  // namespace rcc
