// The fixed-step evaluation of curved elements: the literal step-by-step loop, kept as the
// reference, and the production evaluator that returns the same sum in constant time.
#include "horizontal/evaluation.hpp"
#include "horizontal/horizontal.hpp"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
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
    if (run.first == 0 || !(run.increment > 0)) return 1;  // s < t_1 = step, or the terminal run
    // s lies in the run's binade, so s - start is exact and a multiple of the spacing, and so
    // is m * increment for every whole m up to the run's count. The rounded quotient (taken
    // with the rounded reciprocal, a product being quicker than a division, and truncated,
    // which is the floor of a non-negative value) may miss the whole number below it by one
    // either way; the exact products tell.
    const double room = s - run.start;
    auto whole = static_cast<std::int64_t>(room * run.perIncrement);
    if (static_cast<double>(whole) * run.increment > room) {
        whole -= 1;
    } else if (static_cast<double>(whole + 1) * run.increment <= room) {
        whole += 1;
    }
    return std::min(whole, run.count - 1) + 1;
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

// The run of the standard step's accumulated distance that holds t_(n-1), the last distance
// the loop sums before it stops at s, and n itself (counted as in totalsAt).
struct LastRun {
    const DistanceRun* run;
    std::size_t runIndex;
    std::int64_t steps;
};

// The binade exponent of a positive normal double, from its bits.
int binadeOf(double value) {
    constexpr int kExponentBias = 1023;
    constexpr int kFractionBits = 52;
    constexpr std::uint64_t kExponentMask = 0x7ff;
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return static_cast<int>((bits >> kFractionBits) & kExponentMask) - kExponentBias;
}

// The standard step's runs indexed by binade [2^e, 2^(e+1)), from that of the step up to
// that of the stall distance (54 binades). For each: the first run that ends at or beyond
// 2^e (the run holding any s of the binade is at most a step or two further on) and, when
// the binade holds the start of exactly one run, that run, which then holds every s from its
// start to the binade's top: the step count there is one product and two checks.
constexpr int kMaxBinades = 64;

struct BinadeEntry {
    int firstEnding;  ///< index of the first run with last >= 2^e
    int onlyRun;      ///< index of the one run starting in the binade, or -1
};

struct StandardRunIndex {
    const DistanceRun* runs;
    int runCount;
    int lowestExponent;
    double lowestBinadeStart;  ///< 2^lowestExponent
    int binadeCount;
    BinadeEntry binades[kMaxBinades];
};

const StandardRunIndex& standardRunIndex() {
    static const StandardRunIndex index = [] {
        StandardRunIndex built{};
        built.runs = integrationStepRuns(built.runCount);
        built.lowestExponent = binadeOf(kIntegrationStep);
        built.lowestBinadeStart = std::ldexp(1.0, built.lowestExponent);
        const int highest = binadeOf(stallDistance(kIntegrationStep));
        built.binadeCount = std::min(highest - built.lowestExponent + 1, kMaxBinades);
        int r = 0;
        for (int k = 0; k < built.binadeCount; ++k) {
            const double bottom = std::ldexp(1.0, built.lowestExponent + k);
            while (r + 1 < built.runCount && built.runs[r].last < bottom) ++r;
            int starting = 0;
            int only = -1;
            for (int q = r; q < built.runCount && built.runs[q].start < 2 * bottom; ++q) {
                if (built.runs[q].start >= bottom) {
                    ++starting;
                    only = q;
                }
            }
            built.binades[k] = {r, starting == 1 && built.runs[only].count > 1 ? only : -1};
        }
        return built;
    }();
    return index;
}

LastRun lastRunAt(double s) {
    const StandardRunIndex& index = standardRunIndex();
    const DistanceRun* run = index.runs;
    if (s >= index.lowestBinadeStart) {
        const int k = binadeOf(s) - index.lowestExponent;
        const BinadeEntry& entry = index.binades[std::min(k, index.binadeCount - 1)];
        if (entry.onlyRun >= 0 && s >= index.runs[entry.onlyRun].start) {
            const DistanceRun& only = index.runs[entry.onlyRun];
            return {&only, static_cast<std::size_t>(entry.onlyRun),
                    only.first + valuesNotAbove(only, s)};
        }
        run += entry.firstEnding;
    }
    while (!(run->last > s)) ++run;  // s < stall: the terminal run ends beyond every s
    const std::int64_t steps = run->first + valuesNotAbove(*run, s);
    if (steps - 1 < run->first) --run;  // t_(n-1) closes the run before
    return {run, static_cast<std::size_t>(run - index.runs), steps};
}

// S_i = t_0 + ... + t_(i-1) for an index i whose t_(i-1) lies in `run` or which is the run's
// first index, in double: about 1e-16 of S, 1e-16 rad once multiplied by the ramp.
double distanceSumTo(const DistanceRun& run, std::int64_t index) {
    const auto j = static_cast<double>(index - run.first);
    return static_cast<double>(run.sumBefore) + j * run.start + run.increment * j * (j - 1) / 2;
}

// The quadratic phase of the steps from index `index` of `run` on: theta_(index+m) = alpha +
// beta m + gamma m^2 while t stays in the run, with S and t at `index` exact as in totalsAt.
struct Phase {
    long double alpha;
    double beta;
    double gamma;
};

Phase phaseFrom(const DistanceRun& run, std::int64_t index, long double b0, const TurnRates& r) {
    const std::int64_t j = index - run.first;
    const long double jl = static_cast<long double>(j);
    long double distanceSum = run.sumBefore + jl * run.start;
    if (j > 1) distanceSum += run.increment * jl * (jl - 1) / 2;
    const long double t = run.start + jl * run.increment;
    const long double gamma = r.ramp * run.increment / 2;
    return {b0 + r.turn * static_cast<long double>(index) + r.ramp * distanceSum,
            static_cast<double>(r.turn + r.ramp * t - gamma), static_cast<double>(gamma)};
}

// Whether a curved record has the standard step, finite rates, and a finite positive length.
bool standardCurve(const RoadCurve& curve, const TurnRates& rates) {
    return curve.curveType != 0 && curve.integrationStep == kIntegrationStep &&
           std::isfinite(rates.turn) && std::isfinite(rates.ramp) && curve.length > 0 &&
           curve.length < stallDistance(kIntegrationStep);
}

// Whether the closed form holds over any stretch between two checkpoints of a clothoid (the
// turn per step stays far below a radian for any radius above a few dozen steps).
bool checkpointsHold(const RoadCurve& curve, const TurnRates& rates) {
    const double rampPerStep = static_cast<double>(std::fabs(rates.ramp) * kIntegrationStep);
    const double maxTurn = static_cast<double>(
        std::max(std::fabs(rates.turn), std::fabs(rates.turn + rates.ramp * curve.length)));
    return closedFormHolds(maxTurn + rampPerStep, 2 * rampPerStep,
                           static_cast<double>(PreparedCurve::kCheckpointSteps),
                           kShortcutBudget / kIntegrationStep);
}

}  // namespace

PreparedCurve::PreparedCurve(const RoadCurve& curve) {
    const TurnRates rates = turnRates(curve);
    if (!standardCurve(curve, rates)) return;
    if (rates.ramp == 0) {
        // An arc: one geometric sum whose denominator sin(turn / 2) is fixed. A turn of more
        // than a right angle per step (a radius below a step) is left to integrateCurve,
        // which first removes whole turns from it.
        if (!(std::fabs(rates.turn) < kHalfPi)) return;
        kind_ = Kind::kArc;
        turn_ = static_cast<double>(rates.turn);
        arcPerHalfTurnSine_ = 1 / std::sin(turn_ / 2);
        arcStartPhase_ = std::polar(1.0, reducedAngle(curve.startBearing + rates.turn / 2));
        return;
    }
    // A clothoid longer than any in a design keeps no checkpoints (about 20 bytes a metre);
    // integrateCurve serves it.
    if (!(curve.length <= kMaxPreparedLength) || !checkpointsHold(curve, rates)) return;
    kind_ = Kind::kClothoid;
    turn_ = static_cast<double>(rates.turn);
    ramp_ = static_cast<double>(rates.ramp);
    int runCount = 0;
    const DistanceRun* runs = integrationStepRuns(runCount);
    const long double b0 = curve.startBearing;
    // The running sum of e^(i theta_j) in long double: a few hundred stretches add no visible
    // rounding. It starts at -e^(i b0), as the point wants j = 1 .. n and the sums run from 0.
    const std::complex<double> startTerm = std::polar(1.0, curve.startBearing);
    long double sumX = -startTerm.real();
    long double sumY = -startTerm.imag();
    for (int r = 0; r < runCount; ++r) {
        const DistanceRun& run = runs[r];
        if (run.start > curve.length) break;  // no query up to the length ends in this run
        runFirst_.push_back(static_cast<std::int32_t>(sums_.size()));
        for (std::int64_t j = 0; j < run.count; j += kCheckpointSteps) {
            if (run.start + static_cast<double>(j) * run.increment > curve.length) break;
            // Stored with the start terms of Euler-Maclaurin for a stretch from here, so that a
            // query adds only the terms at its own end.
            const Phase phase = phaseFrom(run, run.first + j, b0, rates);
            const std::complex<double> startPhase = std::polar(1.0, reducedAngle(phase.alpha));
            const std::complex<double> start =
                quadraticPhaseStartTerms(startPhase, phase.beta, phase.gamma);
            sums_.emplace_back(static_cast<double>(sumX + start.real()),
                               static_cast<double>(sumY + start.imag()));
            phases_.push_back(startPhase);
            // The stretch to the next checkpoint, as a query would sum it.
            std::complex<double> endPhase;
            const std::complex<double> stretch =
                start + quadraticPhaseEndTerms(startPhase, phase.beta, phase.gamma,
                                               std::min(kCheckpointSteps, run.count - j), endPhase);
            sumX += stretch.real();
            sumY += stretch.imag();
        }
    }
    runFirst_.push_back(static_cast<std::int32_t>(sums_.size()));
}

CurvePoint PreparedCurve::at(const RoadCurve& curve, double s) const {
    if (kind_ == Kind::kUnprepared || !(s >= 0) || !(s <= curve.length)) {
        return integrateCurve(curve, s, curve.startCurvature, curve.endCurvature, curve.length,
                              curve.integrationStep);
    }
    // In double throughout: phases of up to hundreds of radians carry about 1e-14 rad, which
    // moves a point by less than 1e-11 over a kilometre (within the 1e-9 of the exact sum).
    const LastRun last = lastRunAt(s);
    const auto steps = static_cast<double>(last.steps);
    const double b0 = curve.startBearing;
    const double step = kIntegrationStep;
    if (kind_ == Kind::kArc) {
        // theta_i = b0 + turn i for i = 1 .. n: the sum is e^(i(b0 + turn/2)) e^(i X) sin X /
        // sin(turn/2) with X = turn n/2, a ratio of sines that loses nothing for a nearly
        // straight arc, and one sine and cosine.
        const double half = turn_ * steps / 2;
        const double sine = std::sin(half);
        const double ratio = turn_ == 0 ? steps : sine * arcPerHalfTurnSine_;
        const std::complex<double> sum =
            ratio * std::complex<double>(
                        arcStartPhase_.real() * std::cos(half) - arcStartPhase_.imag() * sine,
                        arcStartPhase_.real() * sine + arcStartPhase_.imag() * std::cos(half));
        return {curve.startX + step * sum.real(), curve.startY + step * sum.imag(),
                b0 + turn_ * steps};
    }
    // The stored sum up to the checkpoint before t_(n-1), then the stretch from there to n - 1
    // (at most kCheckpointSteps terms of one run) and theta_n itself.
    const DistanceRun& run = *last.run;
    const std::int64_t checkpoint = (last.steps - 1 - run.first) / kCheckpointSteps;
    const std::int64_t index = run.first + checkpoint * kCheckpointSteps;
    const auto j = static_cast<double>(index - run.first);
    const double gamma = ramp_ * run.increment / 2;
    const double beta = turn_ + ramp_ * (run.start + j * run.increment) - gamma;
    const auto slot = static_cast<std::size_t>(runFirst_[last.runIndex] + checkpoint);
    std::complex<double> endPhase;
    const std::complex<double> sum =
        sums_[slot] +
        quadraticPhaseEndTerms(phases_[slot], beta, gamma, last.steps - index, endPhase) + endPhase;
    const double bearing = b0 + turn_ * steps + ramp_ * distanceSumTo(run, last.steps);
    return {curve.startX + step * sum.real(), curve.startY + step * sum.imag(), bearing};
}

CurvePoint pointOnElement(const RoadCurve& element, const PreparedCurve& prepared, double s) {
    if (element.curveType == 0) {
        return {std::cos(element.startBearing) * s + element.startX,
                std::sin(element.startBearing) * s + element.startY, element.startBearing};
    }
    return prepared.at(element, s);
}

}  // namespace rcc
