// Constant-time evaluation of the fixed-step integration, against the literal loop and
// against the exact sum of the same steps computed one by one in higher precision.
#include "horizontal/horizontal.hpp"
#include "route/element_table.hpp"
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

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kStep = rcc::kIntegrationStep;
constexpr double kDrawingStep = 0.01;  // step of the arcs of design drawings
constexpr double kMaxS = 200;          // step counts checked up to here: 2e6 steps of 1e-4

static RoadCurve startAt(double x, double y, double bearing, int turn) {
    RoadCurve curve;
    curve.startX = x;
    curve.startY = y;
    curve.startBearing = bearing;
    curve.turnDirection = turn;
    return curve;
}

// The evaluator against the sum the loop stands for, computed step by step with the loop's own
// distances t_j: the prefix sum S_i of the t_j compensated (Kahan) in long double, about 1e-19
// relative, and theta_i = b0 + d h (k1 i + a S_i) from it; the vectors summed in long double
// and rounded to double once, at the end, off by about 1e-16 of the length.
static CurvePoint exactSum(const RoadCurve& c, double s, double k1, double k2, double ramp,
                           double h) {
    const long double a = (static_cast<long double>(k2) - k1) / ramp;
    const long double dh = static_cast<long double>(c.turnDirection) * h;
    long double sum = 0, lost = 0, sx = 0, sy = 0, bearing = 0, i = 0;  // lost: Kahan compensation
    double t = 0;
    do {
        const long double term = t - lost, next = sum + term;
        lost = (next - sum) - term;
        sum = next;
        bearing = c.startBearing + dh * (k1 * ++i + a * sum);
        // Double cosines of the rounded bearing: off by 2^-53 |theta| per step at most.
        sx += std::cos(static_cast<double>(bearing));
        sy += std::sin(static_cast<double>(bearing));
    } while ((t += h) <= s);
    return {static_cast<double>(c.startX + h * sx), static_cast<double>(c.startY + h * sy),
            static_cast<double>(bearing)};
}

// `fast` against the exact sum, within 1e-9 + 2 ulp of the start coordinates and 1e-13 rad +
// 2 ulp of the bearing.
static void expectNearExact(const CurvePoint& fast, const CurvePoint& exact, const RoadCurve& c) {
    const double position = rcc_test::kExactSumPosition +
                            std::ldexp(std::max(std::fabs(c.startX), std::fabs(c.startY)), -51);
    EXPECT_NEAR(fast.x, exact.x, position);
    EXPECT_NEAR(fast.y, exact.y, position);
    EXPECT_NEAR(fast.bearing, exact.bearing,
                rcc_test::kExactSumBearing + std::ldexp(std::fabs(fast.bearing), -50));
}

static CurvePoint expectExactSum(const RoadCurve& c, double s, double k1, double k2, double ramp,
                                 double h) {
    const CurvePoint fast = integrateCurve(c, s, k1, k2, ramp, h);
    SCOPED_TRACE(s);
    expectNearExact(fast, exactSum(c, s, k1, k2, ramp, h), c);
    return fast;
}

// Round chainages, binade boundaries, the distances t_j themselves and their neighbours,
// including the tie binade of 2 * step: the count must equal that of repeated addition.
TEST(FixedStepCount, MatchesRepeatedAdditionAtRoundAndBinaryBoundaries) {
    for (const double h : {kStep, kDrawingStep, 0.3, 1.23e-4, 0.125, 7e-3}) {
        std::vector<double> queries;
        const auto around = [&queries](double v) {
            queries.insert(queries.end(), {v, std::nextafter(v, 0.0), std::nextafter(v, kInf)});
        };
        for (double v = 0; v <= kMaxS; v += 1) queries.push_back(v);
        for (int k = 0; k * 0.113 <= kMaxS; ++k) queries.push_back(std::round(k * 113.0) / 1000);
        for (int e = -20; std::ldexp(1.0, e) <= kMaxS; ++e) around(std::ldexp(1.0, e));
        double t = 0;
        for (std::int64_t j = 0; t <= kMaxS; ++j, t += h) {
            if (j < 50 || j % 9973 == 0) around(t);
        }
        std::sort(queries.begin(), queries.end());
        double next = 0;  // sweep: n(s) is the first j >= 1 with t_j > s
        std::int64_t n = 0;
        for (const double s : queries) {
            for (; n == 0 || !(next > s); ++n) next += h;
            // A straight at bearing 0 from the origin ends at x = n h.
            const CurvePoint p = integrateCurve(startAt(0, 0, 0, 1), s, 0, 0, 1, h);
            ASSERT_EQ(std::llround(p.x / h), n) << "step " << h << " s " << s;
        }
    }
}

// Random lines, arcs and transitions (both turn directions, d used as a number, reversed
// ramps), near the origin and at national-grid coordinates, queried at their ends, at round
// chainages and in between; against the exact sum and the literal loop.
TEST(ConstantTimeEvaluation, MatchesExactSumAndLiteralLoop) {
    std::mt19937_64 rng(20250611);
    const auto uniform = [&rng] { return static_cast<double>(rng() >> 11) * 0x1p-53; };
    const auto logUniform = [&](double lo, double hi) { return lo * std::pow(hi / lo, uniform()); };
    for (int k = 0; k < 120; ++k) {
        SCOPED_TRACE(k);
        const double h = k % 3 == 0 ? kStep : k % 3 == 1 ? kDrawingStep : logUniform(1e-3, 0.5);
        const double length = logUniform(0.5, std::min(300.0, 1.2e5 * h));  // n <= 1.2e5
        const auto curvature = [&] { return uniform() < 0.2 ? 0.0 : 1 / logUniform(5, 1e5); };
        const double k1 = curvature(), k2 = uniform() < 0.3 ? k1 : curvature();
        const double ramp = uniform() < 0.1 ? -1.0 : length;
        const double grid = uniform() < 0.5 ? 1 : 0;  // national-grid coordinates or near 0
        const RoadCurve curve =
            startAt(4.5e5 * grid + uniform(), 3.5e6 * grid + uniform(), 7 * uniform(), k % 7 - 3);
        const double pick = uniform();
        const double s = pick < 0.3   ? length
                         : pick < 0.5 ? std::floor(length)
                         : pick < 0.6 ? std::round(length / 2)
                                      : length * uniform();

        const CurvePoint fast = expectExactSum(curve, s, k1, k2, ramp, h);
        const CurvePoint literal = integrateCurveLiteral(curve, s, k1, k2, ramp, h);
        // Over at most s / h + 2 steps, each rounded at up to 2^-53 of the coordinates (at most
        // the start's distance from 0 plus the length) or of the bearing.
        const double steps = s / h + 2;
        const double reach = steps * (std::hypot(curve.startX, curve.startY) + length);
        const double turned = steps * (1 + std::fabs(curve.startBearing) + std::fabs(fast.bearing));
        EXPECT_NEAR(fast.x, literal.x, rcc_test::kLiteralLoopPosition + std::ldexp(reach, -52));
        EXPECT_NEAR(fast.y, literal.y, rcc_test::kLiteralLoopPosition + std::ldexp(reach, -52));
        EXPECT_NEAR(fast.bearing, literal.bearing,
                    rcc_test::kLiteralLoopBearing + std::ldexp(turned, -52));
    }
}

// Long elements, where the loop's own rounding grows large at national-grid coordinates and
// the drift of t_j from j h matters, and radii of a few steps, where the closed form gives
// way to summation.
TEST(ConstantTimeEvaluation, LongAndTightElementsMatchExactSum) {
    const struct {
        RoadCurve curve;
        double s, k1, k2, ramp, h;
    } cases[] = {
        {startAt(4.5e5, 3.5e6, 0.7, 1), 40, 0, 0, 40, kStep},          // straight
        {startAt(4.5e5, 3.5e6, 5.1, -1), 40, 0, 1 / 30.0, 40, kStep},  // from a straight
        // Summed with t_j = j h throughout, this one would be 2.5e-9 off.
        {startAt(1, 2, 0.3, 1), 200, 0, 1 / 20.0, 200, kStep},
        {startAt(4.5e5, 3.5e6, 2.0, 1), 1000, 1 / 20.0, 0, 1000, kDrawingStep},
        {startAt(4.5e5, 3.5e6, 2.0, -1), 1000, 1 / 300.0, 1 / 900.0, -1, kDrawingStep},
        {startAt(1, 2, 0.3, 1), 2, 0, 1 / 5e-4, 2, kStep},            // radius 5 steps at the end
        {startAt(1, 2, 0.3, -1), 0.5, 1 / 3e-4, 1 / 3e-4, 1, kStep},  // arc of radius 3 steps
    };
    for (const auto& c : cases) expectExactSum(c.curve, c.s, c.k1, c.k2, c.ramp, c.h);
}

// Both evaluators give the same point: NaN at once for loops that would never end (no forward
// step, a distance never passed, a zero ramp length), the start itself for a negative or NaN
// distance, and one step turned by an infinite angle for an infinite step.
TEST(ConstantTimeEvaluation, EndlessAndDegenerateInputsAgreeWithLiteralLoop) {
    const RoadCurve curve = startAt(10, 20, 0.5, 1);
    const double nan = std::nan(""), stalled = 0x1p40;  // 2^40: first power of two >= 2^53 1e-4
    const struct {
        double s, ramp, h, x;  // x: what both give, NaN or the start's 10
    } rows[] = {{1, 10, 0, nan},        {1, 10, -kStep, nan},      {1, 10, nan, nan},
                {kInf, 10, kStep, nan}, {stalled, 10, kStep, nan}, {5, 0, kStep, nan},
                {-1, 10, kStep, 10},    {nan, 10, kStep, 10},      {3, 10, kInf, nan}};
    const auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    for (const auto& r : rows) {
        const CurvePoint fast = integrateCurve(curve, r.s, 0.01, 0.02, r.ramp, r.h);
        const CurvePoint loop = integrateCurveLiteral(curve, r.s, 0.01, 0.02, r.ramp, r.h);
        EXPECT_TRUE(same(fast.x, r.x) && same(loop.x, r.x) && same(fast.y, loop.y) &&
                    same(fast.bearing, loop.bearing))
            << r.s << " " << r.h;
    }
    // Just below 2^40 the loop still ends; millions of steps too sharp for the closed form
    // (radius 5 steps) give NaN, not a long sum.
    EXPECT_TRUE(
        std::isfinite(integrateCurve(curve, std::nextafter(stalled, 0.0), 0, 0, 1, kStep).x));
    EXPECT_TRUE(std::isnan(integrateCurve(curve, 200, 0, 1 / 5e-4, 200, kStep).x));
}

// The prepared arcs and clothoids against the evaluator they stand in for (itself held to the exact
// sum above), on seeded random clothoids up to 5 km: at the end, at round distances, at binade
// boundaries 2^e (where a run of the accumulated distance starts) and at checkpoint
// boundaries, each with its two neighbouring doubles; and against the exact sum and the
// literal loop where those are affordable.
TEST(PreparedEvaluation, MatchesTheExactEvaluatorAtRoundBinadeAndCheckpointDistances) {
    std::mt19937_64 rng(20261123);
    const auto uniform = [&rng] { return static_cast<double>(rng() >> 11) * 0x1p-53; };
    const auto logUniform = [&](double lo, double hi) { return lo * std::pow(hi / lo, uniform()); };
    const double checkpointLength =
        static_cast<double>(rcc::PreparedCurve::kCheckpointSteps) * kStep;
    for (int k = 0; k < 40; ++k) {
        SCOPED_TRACE(k);
        const double length = logUniform(0.5, 5000);
        const auto curvature = [&] { return uniform() < 0.3 ? 0.0 : 1 / logUniform(10, 1e5); };
        const double grid = uniform() < 0.5 ? 1 : 0;
        RoadCurve curve = startAt(4.5e5 * grid + uniform(), 3.5e6 * grid + uniform(), 7 * uniform(),
                                  k % 2 ? 1 : -1);
        curve.length = length;
        curve.startCurvature = curvature();
        curve.endCurvature = k % 3 == 0 ? curve.startCurvature : curvature() + 1e-6;  // arc or ramp
        curve.curveType = k % 3 == 0 ? 1 : 4;
        const rcc::PreparedCurve prepared(curve);

        std::vector<double> queries = {
            length, std::floor(length), std::round(length / 2), length * uniform(), 0, kStep};
        for (double e = 1.0 / 1024; e <= length; e *= 2) queries.push_back(e);
        for (double c = checkpointLength; c <= length; c += checkpointLength * 37) {
            queries.push_back(c);
        }
        for (const double q : std::vector<double>(queries)) {
            queries.push_back(std::nextafter(q, 0.0));
            queries.push_back(std::nextafter(q, kInf));
        }
        for (const double s : queries) {
            SCOPED_TRACE(s);
            const CurvePoint fast = prepared.at(curve, s);
            const CurvePoint reference =
                integrateCurve(curve, s, curve.startCurvature, curve.endCurvature, length, kStep);
            expectNearExact(fast, reference, curve);
            if (s <= 4) {  // the loops cost a sine and cosine per step
                expectNearExact(
                    fast,
                    exactSum(curve, s, curve.startCurvature, curve.endCurvature, length, kStep),
                    curve);
                const CurvePoint literal = integrateCurveLiteral(curve, s, curve.startCurvature,
                                                                 curve.endCurvature, length, kStep);
                EXPECT_NEAR(
                    fast.x, literal.x,
                    rcc_test::kLiteralLoopPosition + std::ldexp(4e6 * (s / kStep + 2), -52));
                EXPECT_NEAR(fast.bearing, literal.bearing, rcc_test::kLiteralLoopBearing);
            }
        }
    }
}

// A built clothoid answers its own stored end at its end chainage, bit for bit: the builder
// and the query use the same prepared evaluation. So does the route layer's element table.
TEST(PreparedEvaluation, BuilderQueryAndElementTableAgreeBitForBit) {
    RoadCurvesCalculation route;
    route.inputInTransitionCurve(100, 1337.25, 4.5e5, 3.5e6, 400, -1, 2.5);
    route.inputIncompleteTransitionCurve(1337.25, 1500, 0, 0, 400, 900, 1, 0.5);
    const std::vector<RoadCurve> elements = route.getRoadCruves();
    const qv::route::detail::ElementTable table(elements);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const RoadCurve& e = elements[i];
        double x = 0, y = 0, z = 0;
        const double bearing =
            route.calculateCoordinatesAndBearing(std::to_string(e.endDK), x, y, z);
        EXPECT_EQ(x, e.endX);
        EXPECT_EQ(y, e.endY);
        EXPECT_EQ(bearing, e.endBearing);
        const CurvePoint fromTable = table.at(i, e.length);
        EXPECT_EQ(fromTable.x, e.endX);
        EXPECT_EQ(fromTable.bearing, e.endBearing);
        const std::string third = std::to_string(e.startDK + e.length / 3);
        const CurvePoint middle = table.at(i, std::stod(third) - e.startDK);  // the query's s
        route.calculateCoordinatesAndBearing(third, x, y, z);
        EXPECT_EQ(middle.x, x);
        EXPECT_EQ(middle.y, y);
    }
}

// Records the checkpoints do not serve answer exactly as the evaluator itself, at once: a
// clothoid far longer than any design, another step, a zero length, NaN or infinite
// curvature, and an arc turning more than a right angle per step.
TEST(PreparedEvaluation, RecordsLeftUnpreparedAnswerAsTheExactEvaluator) {
    const auto record = [](double length, double k1, double k2, double h) {
        RoadCurve curve = startAt(10, 20, 0.5, 1);
        curve.curveType = 4;
        curve.length = length;
        curve.startCurvature = k1;
        curve.endCurvature = k2;
        curve.integrationStep = h;
        return curve;
    };
    const double nan = std::nan("");
    const RoadCurve rows[] = {record(1e9, 0, 1e-3, kStep), record(100, 0, 1e-2, kDrawingStep),
                              record(0, 0, 1e-2, kStep),   record(100, nan, 1e-2, kStep),
                              record(100, 0, kInf, kStep), record(10, 2e4, 2e4, kStep)};
    const auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    for (const RoadCurve& curve : rows) {
        const rcc::PreparedCurve prepared(curve);
        for (const double s : {0.0, 3.5, curve.length}) {
            const CurvePoint fast = prepared.at(curve, s);
            const CurvePoint reference =
                integrateCurve(curve, s, curve.startCurvature, curve.endCurvature, curve.length,
                               curve.integrationStep);
            EXPECT_TRUE(same(fast.x, reference.x) && same(fast.y, reference.y) &&
                        same(fast.bearing, reference.bearing))
                << curve.length << " " << curve.startCurvature << " " << s;
        }
    }
}
