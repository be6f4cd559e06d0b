// Horizontal geometry: the seven element builders, the point-at-chainage query and the
// projection of a point onto the alignment, against closed forms derivable by hand.
#include "horizontal/horizontal.hpp"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

using rcc::kHalfPi;
using rcc::kPi;
using rcc_test::kAngle;
using rcc_test::kExact;
using rcc_test::kProjectionStop;
using rcc_test::kStepBearing;
using rcc_test::kStepPosition;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kUntouched = 7.25;  // caller's value in out-parameters that must stay

struct Point {
    double x, y;
};

// Local (along, across) coordinates turned into the plane frame of a start point and
// bearing; turn -1 mirrors the local curve to the right-hand side.
Point place(Point start, double bearing, double along, double across, int turn = 1) {
    const double a = across * turn;
    return {start.x + along * std::cos(bearing) - a * std::sin(bearing),
            start.y + along * std::sin(bearing) + a * std::cos(bearing)};
}

// The point s along an arc of radius r: local (r sin(s/r), r (1 - cos(s/r))), placed.
Point arcPoint(double r, double s, int turn, Point start = {0, 0}, double bearing = 0) {
    return place(start, bearing, r * std::sin(s / r), r * (1 - std::cos(s / r)), turn);
}

// Clothoid from a straight, A^2 = R*L: x = s - s^5/(40 A^4) + s^9/(3456 A^8),
// y = s^3/(6 A^2) - s^7/(336 A^6) + s^11/(42240 A^10); the next terms stay below 1e-6
// for s <= 40 and A^2 = 4000.
Point clothoidSeries(double s, double a2) {
    return {s - std::pow(s, 5) / (40 * a2 * a2) + std::pow(s, 9) / (3456 * std::pow(a2, 4)),
            std::pow(s, 3) / (6 * a2) - std::pow(s, 7) / (336 * std::pow(a2, 3)) +
                std::pow(s, 11) / (42240 * std::pow(a2, 5))};
}

struct Query {
    double bearing, x, y, elevation;
};

Query query(const RoadCurvesCalculation& road, const std::string& dk) {
    Query q{0.0, kUntouched, kUntouched, kUntouched};
    q.bearing = road.calculateCoordinatesAndBearing(dk, q.x, q.y, q.elevation);
    return q;
}

// A straight along +x from the origin, over the given chainages and breaks.
RoadCurvesCalculation straightRoad(double startDK, double endDK,
                                   const std::vector<BrokenChain>& chains = {}) {
    BrokenChainSet set;
    set.setChains(chains);
    RoadCurvesCalculation road;
    road.setBrokenChainSet(set);
    road.inputLine(startDK, endDK, 0, 0, 0);
    return road;
}

// The short chain 1000 -> 1050 (those numbers do not exist) and the long chain
// 1100 -> 1000 (1000..1100 occurs twice).
const BrokenChain kShortChain{1, 1000.0, 1050.0};
const BrokenChain kLongChain{0, 1100.0, 1000.0};

}  // namespace

// ---------------------------------------------------------------- builders

TEST(ElementBuilders, KindLengthEndPointAndBearingsMatchClosedForms) {
    // A short chain 1000 -> 1050 and a long chain 1100 -> 1090, both far from 0..130; the
    // first element is a straight 990 -> 1060 (see below).
    RoadCurvesCalculation road = straightRoad(990, 1060, {kShortChain, BrokenChain{0, 1100, 1090}});
    road.inputLine(5, 15, 1, 2, -kHalfPi);
    road.inputLineCoor(0, 0, 0, 0, -10);
    road.inputCurve(100, 130, 10, 20, 50, -1, kPi / 3);
    road.inputCurveCoor(0, 0, 0, 10, 0, 10, 1);
    road.inputCurveCoor(0, 0, 0, 10, 0, 10, 0);
    road.inputInTransitionCurve(0, 40, 0, 0, 100, 1, 0);
    road.inputOutTransitionCurve(0, 40, 0, 0, 100, 1, 0);
    road.inputIncompleteTransitionCurve(0, 20, 0, 0, 200, 100, 1, 0);
    road.inputIncompleteTransitionCurve(0, 10, 0, 0, 300, 300, 1, 0);
    road.inputIncompleteTransitionCurve(0, 10, 0, 0, kInf, kInf, 1, 0);
    road.inputCurve(990, 1060, 0, 0, 100, 1, 0);
    road.inputLineCoor(990, 0, 0, 20, 0);
    road.inputCurveCoor(990, 0, 0, 10, 0, 10, 1);
    road.inputIncompleteTransitionCurve(1095, 1105, 0, 0, 200, 100, -1, 0);
    road.inputLineCoor(1095, 0, 0, 8, 0);
    road.inputCurveCoor(0, 0, 0, 10, 0, 4, 1);  // R 4 below half the chord (5): no centre
    // Clothoid A^2 = R L = 4000 (R 100, L 40): end bearing L/(2R) = 0.2. Leaving it: the
    // entering chord (X, Y) reversed and mirrored, e^{i 0.2} (X - iY). R 200 -> 100 over 20
    // is its stretch s = 20..40, seen from s = 20 (bearing 20^2/8000 = 0.05), turning 0.15.
    const Point in = clothoidSeries(40, 4000);
    const Point d{in.x - clothoidSeries(20, 4000).x, in.y - clothoidSeries(20, 4000).y};
    const double c = std::cos(0.2), s = std::sin(0.2), c1 = std::cos(0.05), s1 = std::sin(0.05);
    const Point piece{d.x * c1 + d.y * s1, -d.x * s1 + d.y * c1};
    const double onChord = 10 * kPi / 3;  // chord 10, R 10: turns pi/3
    struct Row {
        int type;
        double startBearing, length, endDK;
        Point end;
        double endBearing, tolerance;  // of the end point; kStepPosition: evaluated step by step
    };
    const Row rows[] = {
        {0, 0, 20, 1060, {20, 0}, 0, kExact},  // 990 -> 1060 less the missing 1000..1050
        {0, -kHalfPi, 10, 15, {1, -8}, -kHalfPi, kExact},         // bearing kept as passed
        {0, 3 * kHalfPi, 10, 10, {0, -10}, 3 * kHalfPi, kExact},  // atan2 -pi/2 brought to 3pi/2
        {1, kPi / 3, 30, 130, arcPoint(50, 30, -1, {10, 20}, kPi / 3), kPi / 3 - 0.6,
         kStepPosition},
        // Through two points: centre 5 sqrt 3 off the chord midpoint on the turning side;
        // bearings are the radius directions +-pi/2 (remainders, so the right turn keeps
        // -pi/6, and the left turn's length needs the 2pi correction past bearing 0).
        {1, 11 * kPi / 6, onChord, onChord, {10, 0}, kPi / 6, kExact},  // centre (5, 8.66)
        // every turn but 1 is a right turn: centre (5, -8.66)
        {1, kPi / 6, onChord, onChord, {10, 0}, -kPi / 6, kExact},
        {2, 0, 40, 40, in, 0.2, kStepPosition},
        {3, 0, 40, 40, {in.x * c + in.y * s, in.x * s - in.y * c}, 0.2, kStepPosition},
        {4, 0, 20, 20, piece, 0.15, kStepPosition},
        {1, 0, 10, 10, arcPoint(300, 10, 1), 1.0 / 30, kStepPosition},  // equal radii: an arc
        {2, 0, 10, 10, {10, 0}, 0, kStepPosition},  // both +inf: start tested first; a straight
        // 990 -> 1060 skips 1000..1050: 20 long. A straight keeps the given endDK (first row),
        // curves store 990 + 20, inputLineCoor's 20 reaches 1060 through the break and
        // inputCurveCoor consults no break.
        {1, 0, 20, 1010, arcPoint(100, 20, 1), 0.2, kStepPosition},
        {0, 0, 20, 1060, {20, 0}, 0, kExact},
        {1, 11 * kPi / 6, onChord, 990 + onChord, {10, 0}, kPi / 6, kExact},
        // 1095 -> 1105 runs 10 + 10 over the repeated 1090..1100; curves store 1095 + 20;
        // inputLineCoor's 8 from 1095 lands behind the break at 1093 (the mark is lost).
        {4, 0, 20, 1115, {piece.x, -piece.y}, -0.15, kStepPosition},
        {0, 0, 8, 1093, {8, 0}, 0, kExact}};
    const std::vector<RoadCurve> e = road.getRoadCruves();
    ASSERT_EQ(e.size(), sizeof rows / sizeof rows[0] + 1);
    for (std::size_t i = 0; i + 1 < e.size(); ++i) {
        SCOPED_TRACE(i);
        const Row& r = rows[i];
        EXPECT_EQ(e[i].curveType, r.type);
        EXPECT_NEAR(e[i].startBearing, r.startBearing, kAngle);
        EXPECT_NEAR(e[i].length, r.length, kExact);
        EXPECT_NEAR(e[i].endDK, r.endDK, kExact);
        EXPECT_NEAR(std::hypot(e[i].endX - r.end.x, e[i].endY - r.end.y), 0, r.tolerance);
        EXPECT_NEAR(e[i].endBearing, r.endBearing, r.tolerance == kExact ? kAngle : kStepBearing);
    }
    EXPECT_TRUE(std::isnan(e.back().length) && std::isnan(e.back().endDK) &&
                std::isnan(e.back().startBearing));  // the arc without a centre
}

// ---------------------------------------------------------------- point at chainage

TEST(PointAtChainage, ElementSearchIsInclusiveAndStoredOrderWins) {
    // 50..150 at y = 10, stored first, holds 50 and 150 itself and wins over 0..100 (y = 0)
    // for 75, though 0..100 starts earlier; only past 150 does 100..200 (bearing pi/2) answer.
    RoadCurvesCalculation road;
    road.inputLine(50, 150, 0, 10, 0);
    road.inputLine(0, 100, -50, 0, 0);
    road.inputLine(100, 200, 50, 0, kHalfPi);
    EXPECT_EQ(query(road, "50").y, 10.0);
    EXPECT_EQ(query(road, "150").bearing, 0.0);
    EXPECT_EQ(query(road, "150.000001").bearing, kHalfPi);
    EXPECT_EQ(query(road, "75").y, 10.0);
}

TEST(PointAtChainage, OutsideEveryElementGivesEndOfLastElement) {
    // Gap 10..20, before 0, beyond 40 and NaN all answer with the last element's end, which
    // here is a curve's end bearing, not the first element's.
    RoadCurvesCalculation road;
    road.inputLine(0, 10, 0, 0, 0);
    road.inputCurve(20, 40, 10, 0, 50, 1, 0);
    const RoadCurve last = road.getRoadCruves().back();
    for (const char* outside : {"15", "-5", "40.000001", "1e9", "nan"}) {
        const Query q = query(road, outside);
        EXPECT_TRUE(q.x == last.endX && q.y == last.endY && q.bearing == last.endBearing)
            << outside;
        EXPECT_FALSE(road.isDKOnAlignment(outside)) << outside;
    }
    for (const char* inside : {"0", "10", "40"}) EXPECT_TRUE(road.isDKOnAlignment(inside));
}

TEST(PointAtChainage, PointsAlongElementsMatchClosedForms) {
    // Disjoint chainage ranges, so each element answers for its own rows.
    RoadCurvesCalculation road;
    road.inputLine(200, 300, 3, 4, 2.0);
    road.inputInTransitionCurve(500, 540, 5, -5, 100, 1, 1.0);
    road.inputCurveCoor(600, 0, 0, 10, 0, 10, 1);
    road.inputCurve(700, 710, 0, 0, 10, 1, 0);
    const Point spiral = clothoidSeries(25, 4000);
    struct Row {
        std::string dk;
        Point p;
        double bearing, tolerance;  // of the position; the bearing's follows from it
    };
    const Row rows[] = {
        // straight: 12.5 along bearing 2 from (3, 4)
        {"212.5", place({3, 4}, 2.0, 12.5, 0), 2.0, kExact},
        // clothoid A^2 4000 from (5, -5) at 1, 25 along: bearing grows by s^2/(2 A^2)
        {"525", place({5, -5}, 1.0, spiral.x, spiral.y), 1.078125, kStepPosition},
        // left arc (0, 0) -> (10, 0) from bearing 11pi/6, turning pi/3: at its end 13pi/6,
        // not brought into [0, 2pi) as the stored pi/6 is (600 + 10 pi/3 = 610.4719755)
        {"610.471975", {10, 0}, 13 * kPi / 6, kStepPosition},
        // a curve at its start is one step along: turned by k h = 1e-5, moved h = 1e-4
        {"700", {1e-4 * std::cos(1e-5), 1e-4 * std::sin(1e-5)}, 1e-5, 1e-13}};
    for (const Row& r : rows) {
        const Query q = query(road, r.dk);
        EXPECT_NEAR(std::hypot(q.x - r.p.x, q.y - r.p.y), 0, r.tolerance) << r.dk;
        EXPECT_NEAR(q.bearing, r.bearing, r.tolerance == kStepPosition ? kStepBearing : kAngle)
            << r.dk;
    }
}

TEST(PointAtChainage, LengthAlongIsMeasuredThroughBrokenChains) {
    struct Row {
        BrokenChain chain;
        const char* dk;
        double startDK, endDK, length, along;
    };
    const Row rows[] = {
        {kShortChain, "1055", 990, 1060, 20, 15},          // 10 + 5 past the missing stretch
        {kShortChain, "1020", 990, 1060, 20, 30},          // inside the missing stretch: plain
        {kLongChain, "1050", 1050, 1150, 200, 0},          // unmarked: the first occurrence
        {kLongChain, "01050", 1050, 1150, 200, 100},       // marked: the second occurrence
        {kLongChain, "1120", 1050, 1150, 200, 170},        // 50 + 100 + 20
        {kLongChain, "1150.5", 0.5, 1200.5, 1200, 1150},   // '0.500000' counts as marked
        {kLongChain, "1151.5", 1.5, 1201.5, 1300, 1250}};  // from 1.5 the stretch counts twice
    for (const Row& r : rows) {
        const RoadCurvesCalculation road = straightRoad(r.startDK, r.endDK, {r.chain});
        EXPECT_EQ(road.getRoadCruves()[0].length, r.length) << r.dk;
        EXPECT_NEAR(query(road, r.dk).x, r.along, kExact) << r.dk;
    }
}

TEST(PointAtChainage, NoElementsGivesSentinelButStillFindsElevation) {
    // Grade lines only (radius 0) from (1000, 100) up to the grade change (1200, 104) and
    // down to (1400, 100).
    RoadCurvesCalculation road;
    road.addBPPoint(RoadVerticalCurvePoint{"1000", 100.0, 0.0, 0, 0, 0, 0, 0});
    road.addBPPoint(RoadVerticalCurvePoint{"1200", 104.0, 0.0, 0, 0, 0, 0, 1});
    road.addBPPoint(RoadVerticalCurvePoint{"1400", 100.0, 0.0, 0, 0, 0, 0, 0});
    double g1 = 0, g2 = 0, t = 0, e = 0;
    ASSERT_EQ(road.convertBPPointsToVerticalCurves(g1, g2, t, e), 0);
    const Query q = query(road, "1100");
    EXPECT_TRUE(q.bearing == -99.0 && q.x == kUntouched && q.y == kUntouched);
    EXPECT_NEAR(q.elevation, 102.0, kExact);  // 100 + 0.02 * 100
    // Outside the profile the elevation stays untouched.
    EXPECT_EQ(query(road, "999.9").elevation, kUntouched);
    EXPECT_EQ(query(road, "1400.000001").elevation, kUntouched);
}

TEST(PointAtChainage, UnreadableChainageThrowsBeforeWriting) {
    const RoadCurvesCalculation road = straightRoad(0, 100);
    double x = kUntouched, y = kUntouched, z = kUntouched;
    EXPECT_THROW(road.calculateCoordinatesAndBearing("abc", x, y, z), std::invalid_argument);
    EXPECT_EQ(x + y + z, 3 * kUntouched);
    EXPECT_THROW(road.isDKOnAlignment(""), std::invalid_argument);
}

TEST(BearingBetweenPoints, DegreesAndRadiansInFullTurn) {
    EXPECT_EQ(calculateBearing(0, 0, 0, -1), 270.0);
    EXPECT_NEAR(calculateBearing(1, 1, 2, 2), 45.0, kAngle);
    EXPECT_EQ(calculateBearingRad(0, 0, -1, 0), kPi);
    EXPECT_NEAR(calculateBearingRad(0, 0, 1, -1), 7 * kPi / 4, kAngle);
}

// ---------------------------------------------------------------- chainage from coordinates

TEST(Projection, FootAndOffsetOfPointsBesideTheAlignment) {
    const RoadCurvesCalculation straight = straightRoad(100, 200),
                                twice = straightRoad(1050, 1150, {kLongChain});
    RoadCurvesCalculation bend, gaps;
    bend.inputLine(0, 20, 0, 0, 0);
    bend.inputCurve(20, 50, 20, 0, 50, 1, 0);
    // Gaps: A 0..10 along +x; B 20..30 up from (10, 0); C 30..40 along +x; D 40..50
    // down to (20, 0), the last end, bearing -pi/2.
    gaps.inputLine(0, 10, 0, 0, 0);
    gaps.inputLine(20, 30, 10, 0, kHalfPi);
    gaps.inputLine(30, 40, 10, 10, 0);
    gaps.inputLine(40, 50, 20, 10, -kHalfPi);
    const RoadCurve e = bend.getRoadCruves().back();  // the arc
    struct Row {
        const RoadCurvesCalculation* road;
        const char *from, *foot;  // the foot's text exactly at tolerance kExact, else its value
        Point p;
        double offset, tolerance;
    };
    const Row rows[] = {
        // one step of 25.5 from 100 lands on the exact text
        {&straight, "100", "125.500000", {25.5, 0}, 0, kExact},
        // behind the start the first step is negative: the start text as given
        {&straight, "100", "100", {-10, 3}, 3, kExact},
        // beyond the end: foot on the end tangent produced, 50 past 200
        {&straight, "100", "250.000000", {150, 4}, 4, kExact},
        // from the straight 0..20 onto the left arc R 50 from (20, 0): 2 inside (left of,
        // offset positive) the point 12 along it, bearing 12/50 there
        {&bend, "0", "32", place(arcPoint(50, 12, 1, {20, 0}), 0.24, 0, 2), 2, kProjectionStop},
        // beyond the arc's end at 50: 30 along its stored end tangent, 2 right (offset negative)
        {&bend, "0", "80.000000", place({e.endX, e.endY}, e.endBearing, 30, -2), -2, kExact},
        // across the long chain, 100 along 1050 is the second 1050
        {&twice, "1050", "01050.000000", {100, 2.5}, 2.5, kExact},
        // the first step lands in the gap at 11, where the query answers with D's end; its
        // tangent puts (11, -3) 3 ahead, so steps of 3 cross the gap into B at 20, where the
        // next step is negative: 20, 1 right of B (not a foot on D's produced tangent)
        {&gaps, "0", "20.000000", {11, -3}, -1, kExact}};
    for (const Row& r : rows) {
        std::string result = "untouched";
        const double offset = r.road->vdApproachMethod(r.from, r.p.x, r.p.y, result);
        SCOPED_TRACE(result);
        EXPECT_EQ(r.tolerance == kExact ? result : std::string(r.foot), r.foot);
        EXPECT_NEAR(std::stod(result), std::stod(r.foot), r.tolerance);
        EXPECT_NEAR(offset, r.offset, r.tolerance);
    }
    EXPECT_FALSE(straight.isDKOnAlignment("250.000000"));
}

TEST(Projection, ChainageTextFromCoordinatesReadYBeforeX) {
    const RoadCurvesCalculation straight = straightRoad(100, 200), empty;
    const RoadCurvesCalculation twice = straightRoad(1050, 1150, {kLongChain});
    const RoadCurvesCalculation skipping = straightRoad(990, 1060, {kShortChain});
    struct Row {
        const RoadCurvesCalculation* road;
        double y, x;
        const char* expected;
    };
    const Row rows[] = {{&straight, 5, 10, "110.000000"},   // y first: 10 along
                        {&twice, 0, 180, "1130.000000"},    // 1050 + 180 - 100 repeated
                        {&skipping, 1, 15, "1055.000000"},  // 990 + 15 + 50 missing
                        {&empty, 1, 2, "-1"}};              // no elements
    for (const Row& r : rows) EXPECT_EQ(r.road->calculateDKfromCoordinates(r.y, r.x), r.expected);
}

TEST(Projection, NonFiniteOrMissingInputEndsWithoutStepping) {
    const RoadCurvesCalculation straight = straightRoad(100, 200), empty;
    std::string result = "untouched";
    EXPECT_EQ(empty.vdApproachMethod("0", 1, 2, result), -99.0);  // no elements
    EXPECT_THROW(straight.vdApproachMethod("x", 1, 2, result), std::invalid_argument);
    EXPECT_EQ(result, "untouched");
    EXPECT_TRUE(std::isnan(straight.vdApproachMethod("100", std::nan(""), 0, result)));
    EXPECT_EQ(result, "100");  // NaN step: the start, as given
    straight.vdApproachMethod("100", kInf, 0, result);
    EXPECT_TRUE(std::isinf(std::stod(result)));
}

TEST(ProjectionBounds, AStartFarBeforeTheOnlyElementEndsWithinTheStepBound) {
    // The gap of 1e15 would take about 3e13 equal steps; the bound stops the stepping inside
    // the gap, where no element holds the answer.
    RoadCurvesCalculation route;
    route.inputLine(1e15, 1e15 + 28.5, 10, -20, 1.6233793884058383);
    std::string foot;
    route.vdApproachMethod("-12", 17, 13, foot);
    EXPECT_FALSE(route.isDKOnAlignment(foot));
}
