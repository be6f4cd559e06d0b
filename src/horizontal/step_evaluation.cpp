// The accumulated distance of the fixed-step integration, t_j = fl(t_(j-1) + step), described
// run by run so that the step count and the sum of the t_j are found without stepping.
#include "horizontal/evaluation.hpp"
#include "horizontal/horizontal.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace rcc {

namespace {

// Significand bits of a double after the leading one, and the exponent of the smallest
// subnormal: the spacing of doubles in [2^e, 2^(e+1)) is 2^max(e - 52, -1074).
constexpr int kFractionBits = 52;
constexpr int kSmallestSpacingExponent = -1074;

}  // namespace

double stallDistance(double step) {
    // From the binade whose spacing is at least 2 * step on, t + step rounds back to t (a
    // spacing of exactly 2 * step makes every sum a tie that keeps an even t). Every binade
    // below it has spacing < 2 * step, where the sum always moves.
    const double bound = std::ldexp(step, kFractionBits + 1);
    if (!(bound < std::numeric_limits<double>::infinity())) {
        return std::numeric_limits<double>::infinity();
    }
    int exponent = 0;
    const double fraction = std::frexp(bound, &exponent);  // bound = fraction * 2^exponent
    constexpr double kPowerOfTwoFraction = 0.5;
    return fraction == kPowerOfTwoFraction ? bound : std::ldexp(1.0, exponent);
}

DistanceRunWalker::DistanceRunWalker(double step) : step_(step), stall_(stallDistance(step)) {}

DistanceRun DistanceRunWalker::next() {
    if (index_ == 0) {
        // t_0 = 0 and t_1 = step exactly; t_2 = 2 step exactly starts the binade runs.
        index_ = 2;
        value_ = step_ + step_;
        sumBefore_ = step_;
        return {0, 2, 0.0, step_, step_, step_, 0.0L, 0.0, 1 / step_};
    }
    const double t = value_;
    DistanceRun run{index_, 1, t, 0.0, 0.0, t, sumBefore_, drift_, 0.0};
    if (!(t < stall_)) return run;  // terminal: never passed, and never left

    const int exponent = std::ilogb(t);
    const double top = std::ldexp(1.0, exponent + 1);
    run.spacing = std::ldexp(1.0, std::max(exponent - kFractionBits, kSmallestSpacingExponent));
    const double t1 = t + step_;
    const double t2 = t1 + step_;
    run.increment = t1 - t;  // exact: both are multiples of the spacing below 2 * top
    run.perIncrement = 1 / run.increment;
    // Inside one binade t + step sits at the same place between two neighbouring doubles for
    // every t on the grid, so every sum rounds by the same increment, with one exception: a
    // tie (step an odd number of half spacings), rounded to the even neighbour, where the
    // increment alternates until t is even. Ties need a spacing of twice the step's own; for
    // a normal step that binade holds only 2 step and 3 step, but a subnormal step can have
    // many values there. Two equal increments show that t is already even.
    if (t2 < top && t2 - t1 == run.increment) {
        const auto room = static_cast<std::int64_t>((top - t) / run.spacing);
        const auto stride = static_cast<std::int64_t>(run.increment / run.spacing);
        run.count = (room - 1) / stride + 1;  // values t + m g < top
    }
    // Exact, on the grid (and no 0 * inf when the sum overflowed at a single value).
    if (run.count > 1) run.last = t + static_cast<double>(run.count - 1) * run.increment;

    // The deviation t_j - j * step is linear inside the run, so its extremes are the ends.
    const long double stepL = step_;
    const long double firstDrift = t - stepL * static_cast<long double>(run.first);
    const long double lastDrift =
        run.last - stepL * static_cast<long double>(run.first + run.count - 1);
    drift_ = std::max(drift_,
                      static_cast<double>(std::max(std::fabs(firstDrift), std::fabs(lastDrift))));
    run.drift = drift_;

    const long double countL = static_cast<long double>(run.count);
    sumBefore_ += countL * t;
    if (run.count > 1) {
        sumBefore_ += static_cast<long double>(run.increment) * countL * (countL - 1) / 2;
    }
    index_ += run.count;
    value_ = run.last + step_;
    return run;
}

const DistanceRun* integrationStepRuns(int& runCount) {
    static const std::vector<DistanceRun> runs = [] {
        std::vector<DistanceRun> built;
        DistanceRunWalker walker(kIntegrationStep);
        const double stall = stallDistance(kIntegrationStep);
        do {
            built.push_back(walker.next());
        } while (built.back().last < stall);
        return built;
    }();
    runCount = static_cast<int>(runs.size());
    return runs.data();
}

}  // namespace rcc
