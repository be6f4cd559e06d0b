// Tests of the intersection subsystem: curves fitted at intersection points, the elements
// that join them into one route, and the refusals.
#include "qv_roadCurveCalculation_alg.h"
#include "route_walk.hpp"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using rcc_test::kQuotedSixDecimals;
using rcc_test::kTransitionClosure;
constexpr double kPi = 3.141592653589793;

// Fields in declaration order: spare, R, x, y, L1, L2, two spares, chainage, pointType.
JDPoint jd(double x, double y, int type, double R = 0, double L1 = 0, double L2 = 0,
           double dk = 0) {
    return {0, R, x, y, L1, L2, 0, 0, dk, type};
}

struct MainValues {
    double inBearing, outBearing, T1, T2, Lc, deflection;
    int status, turn;
};

// One conversion, its out-parameters holding `before` until written.
MainValues convert(RoadCurvesCalculation& route, double before = 0) {
    MainValues v{before, before, before, before, before, before, 0, static_cast<int>(before)};
    v.status = route.convertJDPointsToRoadCurves(v.inBearing, v.outBearing, v.T1, v.T2, v.Lc,
                                                 v.deflection, v.turn);
    return v;
}

double radians(double degrees) { return degrees * kPi / 180; }

// The curved elements among `added` start T1 before V on the incoming leg and end T2 after V
// on the outgoing leg: the tangent formulas against the integrated curves.
void expectCurveOnLegs(const std::vector<RoadCurve>& added, const JDPoint& V, const MainValues& v) {
    std::vector<RoadCurve> curve;
    for (const RoadCurve& e : added)
        if (e.curveType != 0) curve.push_back(e);
    ASSERT_FALSE(curve.empty());
    const double b1 = radians(v.inBearing), b2 = radians(v.outBearing);
    EXPECT_NEAR(curve.front().startX, V.x - v.T1 * std::cos(b1), kTransitionClosure);
    EXPECT_NEAR(curve.front().startY, V.y - v.T1 * std::sin(b1), kTransitionClosure);
    EXPECT_NEAR(curve.back().endX, V.x + v.T2 * std::cos(b2), kTransitionClosure);
    EXPECT_NEAR(curve.back().endY, V.y + v.T2 * std::sin(b2), kTransitionClosure);
}

TEST(JDMainValues, MatchHandComputedValuesAndTheBuiltGeometry) {
    // Legs 100 long at the given bearings, R = 50: p = L^2/1200 - L^4/336e6 and
    // q = L/2 - L^3/600000.
    const struct {
        const char* name;
        double inDeg, outDeg, L1, L2, deflection, T1, T2, Lc, turn;
    } cases[] = {
        // p = 0.332857, q = 9.986667: T = 50.332857 + q, Lc = (pi/2 - 0.4) 50.
        {"symmetric 20/20", 0, 90, 20, 20, 90, 60.319524, 60.319524, 58.539816, 1},
        // p2 = 0.747589, q2 = 14.955: T1 = 0.414732 + 50.332857 + 9.986667,
        // T2 = -0.414732 + 50.747589 + 14.955, Lc = (pi/2 - 0.5) 50.
        {"asymmetric 20/30", 0, 90, 20, 30, 90, 60.734256, 65.287857, 53.539816, 1},
        // T1 = -p + (50 + p) + q, T2 = p + 50, Lc = (pi/2 - 0.2) 50.
        {"entering only 20/0", 0, 90, 20, 0, 90, 59.986667, 50.332857, 68.539816, 1},
        // Through bearing 0 both ways: 10 - 350 + 360 and 350 - 10 - 360; T = 50 tan 10,
        // Lc = 50 * 20 pi / 180.
        {"left through 0", 350, 10, 0, 0, 20, 8.816349, 8.816349, 17.453293, 1},
        {"right through 0", 10, 350, 0, 0, -20, 8.816349, 8.816349, 17.453293, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const double b1 = radians(c.inDeg), b2 = radians(c.outDeg);
        const JDPoint V = jd(100 * std::cos(b1), 100 * std::sin(b1), 1, 50, c.L1, c.L2);
        const JDPoint N = jd(V.x + 100 * std::cos(b2), V.y + 100 * std::sin(b2), 1);
        RoadCurvesCalculation route;
        for (const JDPoint& p : {jd(0, 0, 0), V, N}) route.addJDPoint(p);
        const MainValues v = convert(route);
        ASSERT_EQ(v.status, 0);
        EXPECT_EQ(v.turn, c.turn);
        const double got[] = {v.inBearing, v.outBearing, v.deflection, v.T1, v.T2, v.Lc};
        const double want[] = {c.inDeg, c.outDeg, c.deflection, c.T1, c.T2, c.Lc};
        for (int k = 0; k < 6; ++k) EXPECT_NEAR(got[k], want[k], kQuotedSixDecimals) << k;
        expectCurveOnLegs(route.getRoadCruves(), V, v);
    }
}

TEST(JDRoute, PointByPointConversionFollowsEveryLegToTheEndPoint) {
    // Symmetric, asymmetric, entering-only and leaving-only curves, turning left and right.
    const std::vector<JDPoint> points = {jd(0, 0, 0, 0, 0, 0, 1000),  jd(120, 0, 1, 60, 20, 20),
                                         jd(220, 100, 1, 50, 20, 30), jd(340, 60, 1, 80, 25, 0),
                                         jd(460, 100, 1, 50, 0, 20),  jd(600, 60, 2)};
    // Four points before the first call: it still fits the second point, the next call the
    // third; from then on one point is added per call.
    RoadCurvesCalculation route;
    for (std::size_t i = 0; i < 4; ++i) route.addJDPoint(points[i]);
    for (std::size_t k = 1; k <= 4; ++k) {
        SCOPED_TRACE("curve at point " + std::to_string(k));
        if (k >= 3) route.addJDPoint(points[k + 1]);
        const std::size_t before = route.getRoadCruves().size();
        const MainValues v = convert(route);
        ASSERT_EQ(v.status, 0);
        const std::vector<RoadCurve> all = route.getRoadCruves();
        expectCurveOnLegs({all.begin() + before, all.end()}, points[k], v);
    }
    const std::vector<RoadCurve> e = route.getRoadCruves();
    ASSERT_EQ(e.size(), 15u);  // (straight + 3) * 2, (straight + 2) * 2, closing straight
    EXPECT_EQ(e[0].startDK, 1000);
    EXPECT_NEAR(e.back().endX, 600, kTransitionClosure);  // the end point
    EXPECT_NEAR(e.back().endY, 60, kTransitionClosure);
    rcc_test::expectWalkable(route, 2.5, rcc_test::kProjectionStop);
}

TEST(JDStraights, KeptWhenNegativeAtTheRouteEndsAndEndedThroughTheBreaks) {
    // Leg J1-J2 is 80 long but its tangents need 50 + 50: the second arc follows the first
    // directly. The first straight (30 - 50) and the closing one (40 - 50) are kept.
    RoadCurvesCalculation tight;
    for (const JDPoint& p : {jd(0, 0, 0), jd(30, 0, 1, 50), jd(30, 80, 1, 50)}) tight.addJDPoint(p);
    ASSERT_EQ(convert(tight).status, 0);
    tight.addJDPoint(jd(-10, 80, 2));
    ASSERT_EQ(convert(tight).status, 0);
    std::vector<RoadCurve> e = tight.getRoadCruves();
    ASSERT_EQ(e.size(), 4u);  // straight, arc, arc, straight
    EXPECT_NEAR(e[0].length, -20, rcc_test::kExact);
    EXPECT_NEAR(e[3].length, -10, kTransitionClosure);

    // Start, one point, end: straight 50, arc 25 pi = 78.539816, closing straight 50, with a
    // short chain (+5, +10, +10) in each. The one in the arc is not applied: 55 + 78.539816.
    BrokenChainSet chains;
    for (const BrokenChain& c : {BrokenChain{1, 10, 15}, {1, 65, 75}, {1, 150, 160}})
        chains.addChain(c);
    RoadCurvesCalculation route;
    route.setBrokenChainSet(chains);
    for (const JDPoint& p : {jd(0, 0, 0), jd(100, 0, 1, 50), jd(100, 100, 2)}) route.addJDPoint(p);
    ASSERT_EQ(convert(route).status, 0);
    e = route.getRoadCruves();
    ASSERT_EQ(e.size(), 3u);
    const double ends[] = {55, 133.539816, 193.539816};
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(e[i].endDK, ends[i], kQuotedSixDecimals) << i;
}

TEST(JDRefusal, UnconvertiblePointsLeaveOutputsAndElementsUntouched) {
    const JDPoint S = jd(0, 0, 0), E = jd(100, 100, 2);
    const std::vector<std::vector<JDPoint>> cases = {
        {S, jd(100, 0, 1, 50)},                         // two points
        {jd(0, 0, 1), jd(100, 0, 1, 50), E},            // first point not a start point
        {S, jd(100, 0, 1, 50, 10, 20), jd(200, 0, 2)},  // straight on, unequal transitions
        {S, jd(100, 0, 1, 50), jd(0, 0, 2)},            // doubling back
        {S, jd(100, 0, 1, -50), E},                     // negative radius
        {S, jd(100, 0, 1, HUGE_VAL), E},                // infinite radius
        {S, jd(100, std::nan(""), 1, 50), E}};          // NaN coordinate
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE("case " + std::to_string(i));
        RoadCurvesCalculation route;
        route.inputLine(0, 10, 0, 0, 0);  // a host line, which must stay the only element
        for (const JDPoint& p : cases[i]) route.addJDPoint(p);
        const MainValues v = convert(route, 7);
        EXPECT_EQ(v.status, -1);
        EXPECT_EQ((std::vector<double>{v.inBearing, v.outBearing, v.T1, v.T2, v.Lc, v.deflection,
                                       static_cast<double>(v.turn)}),
                  std::vector<double>(7, 7));
        EXPECT_EQ(route.getRoadCruves().size(), 1u);
    }
}

}  // namespace
