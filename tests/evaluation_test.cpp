// Constant-time evaluation of the fixed-step integration, against the literal loop and
// against the exact sum of the same steps computed one by one in higher precision.
#include "horizontal/horizontal.hpp"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

using rcc::CurvePoint;
using rcc::integrateCurve;
using rcc::integrateCurveLiteral;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kStep = rcc::kIntegrationStep;
constexpr double kDrawingStep = 0.01;  // step of the arcs of design drawings

struct Exact {  // rounded to double once, at the end
    double x;
    double y;
    double bearing;
    std::int64_t steps;
};

// The sum the loop stands for, step by step with the loop's own distances t_j: the prefix
// sum S_i of the t_j compensated (Kahan) in long double, about 1e-19 relative, and
// theta_i = b0 + d h (k1 i + a S_i) from it; the vectors summed in long double. Off by about
// 1e-16 of the length, far below the tolerance.
Exact exactSum(const RoadCurve& curve, double s, double k1, double k2, double ramp, double h) {
    const long double a = (static_cast<long double>(k2) - k1) / ramp;
    const long double dh = static_cast<long double>(curve.turnDirection) * h;
    long double sum = 0;
    long double lost = 0;  // Kahan compensation of sum
    long double sx = 0;
    long double sy = 0;
    long double bearing = curve.startBearing;
    double t = 0;
    std::int64_t i = 0;
    do {
        const long double term = t - lost;
        const long double next = sum + term;
        lost = (next - sum) - term;
        sum = next;
        ++i;
        bearing = curve.startBearing + dh * (k1 * static_cast<long double>(i) + a * sum);
        // Double cosines of the rounded bearing: off by 2^-53 |theta| per step at most.
        sx += std::cos(static_cast<double>(bearing));
        sy += std::sin(static_cast<double>(bearing));
        t = t + h;
    } while (t <= s);
    return {static_cast<double>(curve.startX + h * sx), static_cast<double>(curve.startY + h * sy),
            static_cast<double>(bearing), i};
}

RoadCurve startAt(double x, double y, double bearing, int turn) {
    RoadCurve curve;
    curve.startX = x;
    curve.startY = y;
    curve.startBearing = bearing;
    curve.turnDirection = turn;
    return curve;
}

// Steps the loop takes: a straight at bearing 0 from the origin ends at x = n h.
std::int64_t fastStepCount(double s, double h) {
    return std::llround(integrateCurve(startAt(0, 0, 0, 1), s, 0, 0, 1, h).x / h);
}

}  // namespace

// Round chainages, binade boundaries, the distances t_j themselves and their neighbours,
// including the tie binade of 2 * step: the count must equal that of repeated addition.
TEST(FixedStepCount, MatchesRepeatedAdditionAtRoundAndBinaryBoundaries) {
    for (const double h : {kStep, kDrawingStep, 0.3, 1.23e-4, 0.125, 7e-3}) {
        const double maxS = std::min(200.0, 2e6 * h);
        std::vector<double> queries;
        for (double v = 0; v <= maxS; v += 1) queries.push_back(v);
        for (int k = 0; k * 0.113 <= maxS; ++k) queries.push_back(std::round(k * 113.0) / 1000);
        for (int e = -20; std::ldexp(1.0, e) <= maxS; ++e) {
            const double p = std::ldexp(1.0, e);
            queries.insert(queries.end(), {p, std::nextafter(p, 0.0), std::nextafter(p, kInf)});
        }
        double t = 0;
        for (std::int64_t j = 0; t <= maxS; ++j, t += h) {
            if (j < 50 || j % 9973 == 0) {
                queries.insert(queries.end(), {t, std::nextafter(t, 0.0), std::nextafter(t, kInf)});
            }
        }
        std::sort(queries.begin(), queries.end());
        double next = 0;  // sweep: n(s) is the first j >= 1 with t_j > s
        std::int64_t n = 0;
        for (const double s : queries) {
            while (n == 0 || !(next > s)) {
                next += h;
                ++n;
            }
            ASSERT_EQ(fastStepCount(s, h), n) << "step " << h << " s " << s;
        }
    }
}

// Random lines, arcs and transitions (both turn directions, d used as a number, reversed
// ramps), near the origin and at national-grid coordinates, queried at their ends, at round
// chainages and in between.
TEST(ConstantTimeEvaluation, MatchesExactSumAndLiteralLoop) {
    std::mt19937_64 rng(20250611);
    const auto uniform = [&rng] { return static_cast<double>(rng() >> 11) * 0x1p-53; };
    const auto logUniform = [&](double lo, double hi) {
        return lo * std::exp(uniform() * std::log(hi / lo));
    };
    const int turns[] = {1, -1, 1, -1, 0, 3, -2};
    for (int k = 0; k < 120; ++k) {
        const double h = k % 3 == 0 ? kStep : k % 3 == 1 ? kDrawingStep : logUniform(1e-3, 0.5);
        const double length = logUniform(0.5, std::min(300.0, 1.2e5 * h));  // n <= 1.2e5
        const auto curvature = [&] { return uniform() < 0.2 ? 0.0 : 1 / logUniform(5, 1e5); };
        const double k1 = curvature();
        const double k2 = uniform() < 0.3 ? k1 : curvature();
        const double ramp = uniform() < 0.1 ? -1.0 : length;
        const bool grid = uniform() < 0.5;
        const RoadCurve curve =
            startAt(grid ? 4.5e5 + uniform() : uniform(), grid ? 3.5e6 + uniform() : uniform(),
                    7 * uniform(), turns[k % 7]);
        const double pick = uniform();
        const double s = pick < 0.3   ? length
                         : pick < 0.5 ? std::floor(length)
                         : pick < 0.6 ? std::round(length / 2)
                                      : length * uniform();

        const CurvePoint fast = integrateCurve(curve, s, k1, k2, ramp, h);
        const Exact exact = exactSum(curve, s, k1, k2, ramp, h);
        const double big = std::max(std::fabs(curve.startX), std::fabs(curve.startY));
        const double position = rcc_test::kExactSumPosition + std::ldexp(big, -51);
        EXPECT_NEAR(fast.x, exact.x, position) << "case " << k;
        EXPECT_NEAR(fast.y, exact.y, position) << "case " << k;
        EXPECT_NEAR(fast.bearing, exact.bearing,
                    rcc_test::kExactSumBearing + std::ldexp(std::fabs(fast.bearing), -50))
            << "case " << k;

        const CurvePoint literal = integrateCurveLiteral(curve, s, k1, k2, ramp, h);
        const double steps = static_cast<double>(exact.steps);
        const double loopPosition =
            rcc_test::kLiteralLoopPosition +
            std::ldexp(steps * std::max({big, std::fabs(fast.x), std::fabs(fast.y)}), -52);
        const double loopBearing =
            rcc_test::kLiteralLoopBearing +
            std::ldexp(
                steps * std::max({1.0, std::fabs(curve.startBearing), std::fabs(fast.bearing)}),
                -52);
        EXPECT_NEAR(fast.x, literal.x, loopPosition) << "case " << k;
        EXPECT_NEAR(fast.y, literal.y, loopPosition) << "case " << k;
        EXPECT_NEAR(fast.bearing, literal.bearing, loopBearing) << "case " << k;
    }
}

// Long elements, where the loop's own rounding grows large at national-grid coordinates and
// the drift of t_j from j h matters, and radii of a few steps, where the closed form gives
// way to summation.
TEST(ConstantTimeEvaluation, LongAndTightElementsMatchExactSum) {
    struct Case {
        RoadCurve curve;
        double s, k1, k2, ramp, h;
    };
    const Case cases[] = {
        {startAt(4.5e5, 3.5e6, 0.7, 1), 40, 0, 0, 40, kStep},          // straight
        {startAt(4.5e5, 3.5e6, 5.1, -1), 40, 0, 1 / 30.0, 40, kStep},  // from a straight
        // Summed with t_j = j h throughout, this one would be 2.5e-9 off.
        {startAt(1, 2, 0.3, 1), 200, 0, 1 / 20.0, 200, kStep},
        {startAt(4.5e5, 3.5e6, 2.0, 1), 1000, 1 / 20.0, 0, 1000, kDrawingStep},
        {startAt(4.5e5, 3.5e6, 2.0, -1), 1000, 1 / 300.0, 1 / 900.0, -1, kDrawingStep},
        {startAt(1, 2, 0.3, 1), 2, 0, 1 / 5e-4, 2, kStep},            // radius 5 steps at the end
        {startAt(1, 2, 0.3, -1), 0.5, 1 / 3e-4, 1 / 3e-4, 1, kStep},  // arc of radius 3 steps
    };
    for (const Case& c : cases) {
        const CurvePoint fast = integrateCurve(c.curve, c.s, c.k1, c.k2, c.ramp, c.h);
        const Exact exact = exactSum(c.curve, c.s, c.k1, c.k2, c.ramp, c.h);
        const double position =
            rcc_test::kExactSumPosition + std::ldexp(std::max(c.curve.startX, c.curve.startY), -51);
        EXPECT_NEAR(fast.x, exact.x, position) << c.s;
        EXPECT_NEAR(fast.y, exact.y, position) << c.s;
        EXPECT_NEAR(fast.bearing, exact.bearing,
                    rcc_test::kExactSumBearing + std::ldexp(std::fabs(fast.bearing), -50));
    }
}

// Loops that would never end return NaN at once from both evaluators; a negative or NaN
// distance returns the start; the degenerate ramp and an infinite step agree as well.
TEST(ConstantTimeEvaluation, EndlessAndDegenerateInputsAgreeWithLiteralLoop) {
    const RoadCurve curve = startAt(10, 20, 0.5, 1);
    const double stalled = 0x1p40;  // first power of two >= 2^53 * 1e-4: t + 1e-4 == t there
    const struct {
        double s, ramp, h;
    } endless[] = {{1, 10, 0},        {1, 10, -kStep},      {1, 10, std::nan("")},
                   {kInf, 10, kStep}, {stalled, 10, kStep}, {5, 0, kStep}};
    for (const auto& c : endless) {
        for (const CurvePoint& p : {integrateCurve(curve, c.s, 0.01, 0.02, c.ramp, c.h),
                                    integrateCurveLiteral(curve, c.s, 0.01, 0.02, c.ramp, c.h)}) {
            EXPECT_TRUE(std::isnan(p.x) && std::isnan(p.y) && std::isnan(p.bearing)) << c.s;
        }
    }
    EXPECT_TRUE(
        std::isfinite(integrateCurve(curve, std::nextafter(stalled, 0.0), 0, 0, 1, kStep).x));
    // Millions of steps too sharp for the closed form (radius 5 steps): NaN, not a long sum.
    EXPECT_TRUE(std::isnan(integrateCurve(curve, 200, 0, 1 / 5e-4, 200, kStep).x));

    for (const double s : {-1.0, std::nan("")}) {
        const CurvePoint p = integrateCurve(curve, s, 0.01, 0.02, 10, kStep);
        EXPECT_EQ(p.x, 10);
        EXPECT_EQ(p.y, 20);
        EXPECT_EQ(p.bearing, 0.5);
    }
    const CurvePoint fast = integrateCurve(curve, 3, 0.01, 0.02, 10, kInf);
    const CurvePoint literal = integrateCurveLiteral(curve, 3, 0.01, 0.02, 10, kInf);
    EXPECT_EQ(std::isnan(fast.x), std::isnan(literal.x));
    EXPECT_EQ(fast.bearing, literal.bearing);
}
