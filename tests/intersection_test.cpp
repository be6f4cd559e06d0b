// Tests of the intersection subsystem: curves fitted at intersection points, the elements
// that join them into one route, and the refusals.
#include "qv_roadCurveCalculation_alg.h"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using rcc_test::kExact;
using rcc_test::kQuotedSixDecimals;
using rcc_test::kStepBearing;
using rcc_test::kTransitionClosure;

constexpr double kPi = 3.141592653589793;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

JDPoint jd(double x, double y, int type, double R = 0, double L1 = 0, double L2 = 0,
           double dk = 0) {
    JDPoint p;
    p.x = x;
    p.y = y;
    p.pointType = type;
    p.radius = R;
    p.inTransitionLength = L1;
    p.outTransitionLength = L2;
    p.pointDK = dk;
    return p;
}

struct MainValues {
    int status = 0;
    double inBearing = 0, outBearing = 0, T1 = 0, T2 = 0, Lc = 0, deflection = 0;
    int turn = 0;
};

MainValues convert(RoadCurvesCalculation& route) {
    MainValues v;
    v.status = route.convertJDPointsToRoadCurves(v.inBearing, v.outBearing, v.T1, v.T2, v.Lc,
                                                 v.deflection, v.turn);
    return v;
}

double radians(double degrees) { return degrees * kPi / 180; }

// The curved elements among `added` must start T1 before V on the incoming leg and end T2
// after V on the outgoing leg, tangent to it: the tangent formulas against the integrated
// clothoids and arc.
void expectCurveOnLegs(const std::vector<RoadCurve>& added, const JDPoint& V, const MainValues& v) {
    std::vector<RoadCurve> curve;
    for (const RoadCurve& e : added)
        if (e.curveType != 0) curve.push_back(e);
    ASSERT_FALSE(curve.empty());
    const double b1 = radians(v.inBearing);
    const double b2 = radians(v.outBearing);
    EXPECT_NEAR(curve.front().startX, V.x - v.T1 * std::cos(b1), kTransitionClosure);
    EXPECT_NEAR(curve.front().startY, V.y - v.T1 * std::sin(b1), kTransitionClosure);
    EXPECT_NEAR(curve.back().endX, V.x + v.T2 * std::cos(b2), kTransitionClosure);
    EXPECT_NEAR(curve.back().endY, V.y + v.T2 * std::sin(b2), kTransitionClosure);
    // Integrated bearings are not normalised: compare modulo a full turn.
    EXPECT_NEAR(std::remainder(curve.back().endBearing - b2, 2 * kPi), 0, kStepBearing);
    for (const RoadCurve& e : curve) EXPECT_EQ(e.turnDirection, v.turn);
}

struct CurveCase {
    const char* name;
    double inDeg, outDeg, L1, L2;   // leg bearings, transition lengths; R = 50
    double deflection, T1, T2, Lc;  // hand-computed, see each row
    int turn;
};

TEST(JDMainValues, MatchHandComputedValuesAndTheBuiltGeometry) {
    // p = L^2/1200 - L^4/336e6 and q = L/2 - L^3/600000 at R = 50.
    const std::vector<CurveCase> cases = {
        // T = R tan 45, Lc = 25 pi.
        {"right angle", 0, 90, 0, 0, 90, 50, 50, 78.539816, 1},
        // p = 0.332857, q = 9.986667: T = 50.332857 + q, Lc = (pi/2 - 0.4) 50.
        {"symmetric 20/20", 0, 90, 20, 20, 90, 60.319524, 60.319524, 58.539816, 1},
        // p2 = 0.747589, q2 = 14.955: T1 = 0.414732 + 50.332857 + 9.986667,
        // T2 = -0.414732 + 50.747589 + 14.955, Lc = (pi/2 - 0.5) 50.
        {"asymmetric 20/30", 0, 90, 20, 30, 90, 60.734256, 65.287857, 53.539816, 1},
        // The mirror image turns the other way with the same values (formulas use |delta|).
        {"asymmetric right turn", 90, 0, 20, 30, -90, 60.734256, 65.287857, 53.539816, -1},
        // T1 = -p + (50 + p) + q, T2 = p + 50, Lc = (pi/2 - 0.2) 50.
        {"entering only 20/0", 0, 90, 20, 0, 90, 59.986667, 50.332857, 68.539816, 1},
        // Through bearing 0 both ways: 10 - 350 + 360 and 350 - 10 - 360; T = 50 tan 10,
        // Lc = 50 * 20 pi / 180.
        {"left through 0", 350, 10, 0, 0, 20, 8.816349, 8.816349, 17.453293, 1},
        {"right through 0", 10, 350, 0, 0, -20, 8.816349, 8.816349, 17.453293, -1},
        // T = 50 tan 50, Lc = 50 * 100 pi / 180.
        {"right 200 to 100", 200, 100, 0, 0, -100, 59.587680, 59.587680, 87.266463, -1},
    };
    for (const CurveCase& c : cases) {
        SCOPED_TRACE(c.name);
        const double b1 = radians(c.inDeg);
        const double b2 = radians(c.outDeg);
        const JDPoint V = jd(100 * std::cos(b1), 100 * std::sin(b1), 1, 50, c.L1, c.L2);
        RoadCurvesCalculation route;
        route.addJDPoint(jd(0, 0, 0));
        route.addJDPoint(V);
        route.addJDPoint(jd(V.x + 100 * std::cos(b2), V.y + 100 * std::sin(b2), 1));
        const MainValues v = convert(route);
        ASSERT_EQ(v.status, 0);
        EXPECT_NEAR(v.inBearing, c.inDeg, kExact);
        EXPECT_NEAR(v.outBearing, c.outDeg, kExact);
        EXPECT_NEAR(v.deflection, c.deflection, kExact);
        EXPECT_EQ(v.turn, c.turn);
        EXPECT_NEAR(v.T1, c.T1, kQuotedSixDecimals);
        EXPECT_NEAR(v.T2, c.T2, kQuotedSixDecimals);
        EXPECT_NEAR(v.Lc, c.Lc, kQuotedSixDecimals);

        const std::vector<RoadCurve> e = route.getRoadCruves();
        // Straight from the start point, T1 short of V, with the line defaults.
        EXPECT_NEAR(e[0].endDK, 100 - c.T1, kQuotedSixDecimals);
        EXPECT_EQ(e[0].startRadius, kInf);
        EXPECT_EQ(e[0].turnDirection, 0);
        // The third point is not an end point: no closing straight.
        EXPECT_NE(e.back().curveType, 0);
        expectCurveOnLegs(e, V, v);
    }
}

TEST(JDRoute, PointByPointConversionBuildsOneContinuousChain) {
    // J1 +45 (symmetric); J2 -63.434949 (asymmetric, leg bearing 360 - atan(1/3));
    // J3 +36.869898 (entering only, through 0 to atan(1/3)); J4 -34.380345 (none,
    // through 0 to 360 - atan(2/7)).
    const std::vector<JDPoint> points = {jd(0, 0, 0, 0, 0, 0, 1000),  jd(120, 0, 1, 60, 20, 20),
                                         jd(220, 100, 1, 50, 20, 30), jd(340, 60, 1, 80, 25, 0),
                                         jd(460, 100, 1, 50),         jd(600, 60, 2)};
    const double deflection[] = {45, -63.434949, 36.869898, -34.380345};
    const double outBearing[] = {45, 341.565051, 18.434949, 344.054604};

    RoadCurvesCalculation route;
    route.addJDPoint(points[0]);
    route.addJDPoint(points[1]);
    for (std::size_t i = 2; i < points.size(); ++i) {
        SCOPED_TRACE("curve at point " + std::to_string(i - 1));
        route.addJDPoint(points[i]);
        const std::size_t before = route.getRoadCruves().size();
        const MainValues v = convert(route);
        ASSERT_EQ(v.status, 0);
        EXPECT_NEAR(v.deflection, deflection[i - 2], kQuotedSixDecimals);
        EXPECT_NEAR(v.outBearing, outBearing[i - 2], kQuotedSixDecimals);
        const std::vector<RoadCurve> all = route.getRoadCruves();
        expectCurveOnLegs({all.begin() + before, all.end()}, points[i - 1], v);
    }

    const std::vector<RoadCurve> e = route.getRoadCruves();
    ASSERT_EQ(e.size(), 14u);  // (straight + 3) * 2, straight + 2, straight + 1, closing
    for (std::size_t i = 1; i < e.size(); ++i) {
        SCOPED_TRACE("element " + std::to_string(i));
        // Each element takes over the previous end as stored (the integrated end bearing,
        // not the leg bearing).
        EXPECT_EQ(e[i].startDK, e[i - 1].endDK);
        EXPECT_EQ(e[i].startX, e[i - 1].endX);
        EXPECT_EQ(e[i].startY, e[i - 1].endY);
        EXPECT_EQ(e[i].startBearing, e[i - 1].endBearing);
    }
    EXPECT_NEAR(e.back().endX, 600, kTransitionClosure);  // the end point
    EXPECT_NEAR(e.back().endY, 60, kTransitionClosure);

    // The point-at-chainage query walks the route without a jump: points 5 apart in
    // chainage lie at most 5 and (chord of a 5-long arc of R = 50) at least 4.997 apart.
    constexpr double kWalkStep = 5.0;
    constexpr double kShortestChord = 4.997;
    double x0 = 0, y0 = 0, z = 0;
    for (double dk = 1000 + kWalkStep; dk <= e.back().endDK; dk += kWalkStep) {
        double x = 0, y = 0;
        ASSERT_TRUE(route.isDKOnAlignment(std::to_string(dk))) << dk;
        route.calculateCoordinatesAndBearing(std::to_string(dk), x, y, z);
        const double step = std::hypot(x - x0, y - y0);
        EXPECT_LE(step, kWalkStep + kTransitionClosure) << dk;
        EXPECT_GE(step, kShortestChord) << dk;
        x0 = x;
        y0 = y;
    }
}

TEST(JDRoute, LaterConversionJoinsTheLastElementAndDropsAnOverlappingStraight) {
    // The host's line ends at (50, 0): the straight from there stops T1 = 50 before V.
    RoadCurvesCalculation joined;
    joined.inputLine(0, 50, 0, 0, 0);
    for (const JDPoint& p : {jd(0, 0, 0), jd(150, 0, 1, 50), jd(150, 100, 1)}) {
        joined.addJDPoint(p);
    }
    ASSERT_EQ(convert(joined).status, 0);
    EXPECT_NEAR(joined.getRoadCruves()[1].endDK, 100, kExact);

    // Leg J1-J2 is 80 long but its tangents need 50 + 50: the second arc follows the first
    // directly. The first straight, 30 - 50 = -20 long, is kept as computed.
    RoadCurvesCalculation tight;
    for (const JDPoint& p : {jd(0, 0, 0), jd(30, 0, 1, 50), jd(30, 80, 1, 50)}) {
        tight.addJDPoint(p);
    }
    ASSERT_EQ(convert(tight).status, 0);
    tight.addJDPoint(jd(-70, 80, 2));
    ASSERT_EQ(convert(tight).status, 0);
    const std::vector<RoadCurve> e = tight.getRoadCruves();
    ASSERT_EQ(e.size(), 4u);
    EXPECT_NEAR(e[0].length, -20, kExact);
    EXPECT_EQ(e[2].curveType, 1);
    EXPECT_NEAR(e[3].length, 50, kTransitionClosure);  // closing straight |VN| - T2
}

struct ChainCase {
    const char* name;
    BrokenChain chain;
    double straightEnd, arcEnd, closingEnd;
};

TEST(JDBrokenChains, StraightsEndThroughTheBreaksCurvesByPlainAddition) {
    // Start, one point, end: straight 50, arc 25 pi = 78.539816, closing straight 50.
    const std::vector<ChainCase> cases = {
        {"short 10 -> 15 in the first straight", {1, 10, 15}, 55, 133.539816, 183.539816},
        {"long 30 -> 20 in the first straight", {2, 30, 20}, 40, 118.539816, 168.539816},
        {"short 150 -> 160 in the closing straight", {1, 150, 160}, 50, 128.539816, 188.539816},
    };
    for (const ChainCase& c : cases) {
        SCOPED_TRACE(c.name);
        BrokenChainSet chains;
        chains.addChain(c.chain);
        RoadCurvesCalculation route;
        route.setBrokenChainSet(chains);
        for (const JDPoint& p : {jd(0, 0, 0), jd(100, 0, 1, 50), jd(100, 100, 2)}) {
            route.addJDPoint(p);
        }
        ASSERT_EQ(convert(route).status, 0);
        const std::vector<RoadCurve> e = route.getRoadCruves();
        ASSERT_EQ(e.size(), 3u);
        EXPECT_NEAR(e[0].endDK, c.straightEnd, kQuotedSixDecimals);
        EXPECT_NEAR(e[1].endDK, c.arcEnd, kQuotedSixDecimals);
        EXPECT_NEAR(e[2].endDK, c.closingEnd, kQuotedSixDecimals);
        EXPECT_NEAR(e[2].endY, 100, kTransitionClosure);
    }
}

TEST(JDRefusal, UnconvertiblePointsLeaveOutputsAndElementsUntouched) {
    const JDPoint S = jd(0, 0, 0);
    const std::vector<std::pair<const char*, std::vector<JDPoint>>> cases = {
        {"two points", {S, jd(100, 0, 1, 50)}},
        {"first point not a start point", {jd(0, 0, 1), jd(100, 0, 1, 50), jd(100, 100, 2)}},
        {"collinear", {S, jd(100, 0, 1, 50), jd(200, 0, 2)}},
        {"collinear, unequal transitions", {S, jd(100, 0, 1, 50, 10, 20), jd(200, 0, 2)}},
        {"reversal", {S, jd(100, 0, 1, 50), jd(0, 0, 2)}},
        {"zero radius", {S, jd(100, 0, 1, 0), jd(100, 100, 2)}},
        {"negative radius", {S, jd(100, 0, 1, -50), jd(100, 100, 2)}},
        {"NaN radius", {S, jd(100, 0, 1, kNaN), jd(100, 100, 2)}},
        {"infinite radius", {S, jd(100, 0, 1, kInf), jd(100, 100, 2)}},
        {"NaN transition", {S, jd(100, 0, 1, 50, kNaN), jd(100, 100, 2)}},
        {"NaN coordinate", {S, jd(100, kNaN, 1, 50), jd(100, 100, 2)}},
    };
    for (const auto& c : cases) {
        // On an empty object (first conversion) and after a host line (later conversion).
        for (const bool withLine : {false, true}) {
            SCOPED_TRACE(std::string(c.first) + (withLine ? ", later" : ", first"));
            RoadCurvesCalculation route;
            if (withLine) route.inputLine(0, 10, 0, 0, 0);
            for (const JDPoint& p : c.second) route.addJDPoint(p);
            double b1 = 7, b2 = 7, t1 = 7, t2 = 7, lc = 7, d = 7;
            int turn = 7;
            EXPECT_EQ(route.convertJDPointsToRoadCurves(b1, b2, t1, t2, lc, d, turn), -1);
            EXPECT_EQ((std::vector<double>{b1, b2, t1, t2, lc, d}), std::vector<double>(6, 7));
            EXPECT_EQ(turn, 7);
            EXPECT_EQ(route.getRoadCruves().size(), withLine ? 1u : 0u);
        }
    }
}

}  // namespace
