// Horizontal geometry: the seven element builders, the point-at-chainage query and the
// projection of a point onto the alignment, against closed forms derivable by hand.
#include "horizontal/horizontal.hpp"
#include "qv_roadCurveCalculation_alg.h"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
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
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
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

// The point `along` the end tangent of an element produced and `across` to its left.
Point ahead(const RoadCurve& e, double along, double across) {
    return place({e.endX, e.endY}, e.endBearing, along, across);
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

RoadCurvesCalculation withChain(BrokenChain chain) {
    BrokenChainSet chains;
    chains.addChain(chain);
    RoadCurvesCalculation road;
    road.setBrokenChainSet(chains);
    return road;
}

// The short chain 1000 -> 1050 (those numbers do not exist) and the long chain
// 1100 -> 1000 (1000..1100 occurs twice).
const BrokenChain kShortChain{1, 1000.0, 1050.0};
const BrokenChain kLongChain{0, 1100.0, 1000.0};

}  // namespace

// ---------------------------------------------------------------- builders

TEST(ElementBuilders, KindLengthEndPointAndBearingsMatchClosedForms) {
    // A short chain 1000 -> 1050 and a long chain 1100 -> 1090, both far from 0..130.
    BrokenChainSet chains;
    chains.addChain(kShortChain);
    chains.addChain(BrokenChain{0, 1100.0, 1090.0});
    RoadCurvesCalculation road;
    road.setBrokenChainSet(chains);
    road.inputLine(0, 100, 0, 0, 0);
    road.inputLine(5, 15, 1, 2, -kHalfPi);
    road.inputLine(10, 0, 0, 0, 0);
    road.inputLineCoor(0, 0, 0, 0, -10);
    road.inputLineCoor(100, 1, 1, 4, 5);
    road.inputCurve(0, 20, 0, 0, 50, 1, 0);
    road.inputCurve(0, 20, 0, 0, 50, -1, 0);
    road.inputCurve(100, 130, 10, 20, 50, -1, kPi / 3);
    road.inputCurve(10, 0, 3, 4, 50, 1, 0.5);
    road.inputCurveCoor(0, 0, 0, 10, 0, 10, 1);
    road.inputCurveCoor(0, 0, 0, 10, 0, 10, -1);
    road.inputCurveCoor(0, 0, 0, 0, 10, 10, 1);
    road.inputCurveCoor(0, 0, 0, 10, 0, 10, 0);
    road.inputInTransitionCurve(0, 40, 0, 0, 100, 1, 0);
    road.inputInTransitionCurve(0, 40, 0, 0, 100, -1, 0);
    road.inputOutTransitionCurve(0, 40, 0, 0, 100, 1, 0);
    road.inputIncompleteTransitionCurve(0, 20, 0, 0, 200, 100, 1, 0);
    road.inputIncompleteTransitionCurve(0, 10, 0, 0, 300, 300, 1, 0);
    road.inputIncompleteTransitionCurve(0, 10, 0, 0, kInf, kInf, 1, 0);
    road.inputLine(990, 1060, 0, 0, 0);
    road.inputCurve(990, 1060, 0, 0, 100, 1, 0);
    road.inputInTransitionCurve(990, 1060, 0, 0, 100, 1, 0);
    road.inputLineCoor(990, 0, 0, 20, 0);
    road.inputCurveCoor(990, 0, 0, 10, 0, 10, 1);
    road.inputLine(1095, 1105, 0, 0, 0);
    road.inputCurve(1095, 1105, 0, 0, 100, 1, 0);
    road.inputIncompleteTransitionCurve(1095, 1105, 0, 0, 200, 100, -1, 0);
    road.inputLineCoor(1095, 0, 0, 8, 0);
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
        double endBearing;
        bool stepped;  // evaluated step by step, not in closed form
    };
    const Row rows[] = {
        {0, 0, 100, 100, {100, 0}, 0, false},
        {0, -kHalfPi, 10, 15, {1, -8}, -kHalfPi, false},  // bearing kept as passed
        {0, 0, -1, 0, {-1, 0}, 0, false},  // end before start: the length sentinel -1 is used
        {0, 3 * kHalfPi, 10, 10, {0, -10}, 3 * kHalfPi, false},  // atan2 -pi/2 brought to 3pi/2
        {0, std::atan2(4, 3), 5, 105, {4, 5}, std::atan2(4, 3), false},  // 3-4-5 triangle
        {1, 0, 20, 20, arcPoint(50, 20, 1), 0.4, true},                  // phi = L/R
        {1, 0, 20, 20, arcPoint(50, 20, -1), -0.4, true},
        {1, kPi / 3, 30, 130, arcPoint(50, 30, -1, {10, 20}, kPi / 3), kPi / 3 - 0.6, true},
        {1, 0.5, -1, 9, {3, 4}, 0.5, true},  // length -1: a negative distance stays at the start
        // Through two points: centre 5 sqrt 3 off the chord midpoint on the turning side;
        // bearings are the radius directions +-pi/2 (remainders, so the right turn keeps
        // -pi/6, and the left turn's length needs the 2pi correction past bearing 0).
        {1, 11 * kPi / 6, onChord, onChord, {10, 0}, kPi / 6, false},  // centre (5, 8.66)
        {1, kPi / 6, onChord, onChord, {10, 0}, -kPi / 6, false},      // centre (5, -8.66)
        {1, kPi / 3, onChord, onChord, {0, 10}, 2 * kPi / 3, false},   // chord up the y axis
        {1, kPi / 6, onChord, onChord, {10, 0}, -kPi / 6, false},      // every turn but 1: right
        {2, 0, 40, 40, in, 0.2, true},
        {2, 0, 40, 40, {in.x, -in.y}, -0.2, true},  // right turn mirrors
        {3, 0, 40, 40, {in.x * c + in.y * s, in.x * s - in.y * c}, 0.2, true},
        {4, 0, 20, 20, piece, 0.15, true},
        {1, 0, 10, 10, arcPoint(300, 10, 1), 1.0 / 30, true},  // equal radii: an arc
        {2, 0, 10, 10, {10, 0}, 0, true},  // both +inf: start tested first; a straight
        // 990 -> 1060 skips 1000..1050: 20 long. A straight keeps the given endDK, curves
        // store 990 + 20, inputLineCoor's 20 reaches 1060 through the break and
        // inputCurveCoor consults no break.
        {0, 0, 20, 1060, {20, 0}, 0, false},
        {1, 0, 20, 1010, arcPoint(100, 20, 1), 0.2, true},
        {2, 0, 20, 1010, clothoidSeries(20, 2000), 0.1, true},  // A^2 = 2000, L/(2R) = 0.1
        {0, 0, 20, 1060, {20, 0}, 0, false},
        {1, 11 * kPi / 6, onChord, 990 + onChord, {10, 0}, kPi / 6, false},
        // 1095 -> 1105 runs 10 + 10 over the repeated 1090..1100; curves store 1095 + 20;
        // inputLineCoor's 8 from 1095 lands behind the break at 1093 (the mark is lost).
        {0, 0, 20, 1105, {20, 0}, 0, false},
        {1, 0, 20, 1115, arcPoint(100, 20, 1), 0.2, true},
        {4, 0, 20, 1115, {piece.x, -piece.y}, -0.15, true},
        {0, 0, 8, 1093, {8, 0}, 0, false}};
    const std::vector<RoadCurve> e = road.getRoadCruves();
    ASSERT_EQ(e.size(), std::size(rows));
    for (std::size_t i = 0; i < e.size(); ++i) {
        const Row& r = rows[i];
        EXPECT_EQ(e[i].curveType, r.type) << "element " << i;
        EXPECT_NEAR(e[i].startBearing, r.startBearing, kAngle) << "element " << i;
        EXPECT_NEAR(e[i].length, r.length, kExact) << "element " << i;
        EXPECT_NEAR(e[i].endDK, r.endDK, kExact) << "element " << i;
        EXPECT_NEAR(e[i].endX, r.end.x, r.stepped ? kStepPosition : kExact) << "element " << i;
        EXPECT_NEAR(e[i].endY, r.end.y, r.stepped ? kStepPosition : kExact) << "element " << i;
        EXPECT_NEAR(e[i].endBearing, r.endBearing, r.stepped ? kStepBearing : kAngle) << i;
    }
    RoadCurvesCalculation tooTight;  // R 4 below half the chord (5): no centre
    tooTight.inputCurveCoor(0, 0, 0, 10, 0, 4, 1);
    const RoadCurve nan = tooTight.getRoadCruves()[0];
    EXPECT_TRUE(std::isnan(nan.length) && std::isnan(nan.endDK) && std::isnan(nan.startBearing));
}

// ---------------------------------------------------------------- point at chainage

TEST(PointAtChainage, ElementSearchIsInclusiveAndStoredOrderWins) {
    // Two straights meet at 100 (the second turns to pi/2): the earlier holds 100 itself.
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, 0);
    road.inputLine(100, 200, 100, 0, kHalfPi);
    EXPECT_EQ(query(road, "100").bearing, 0.0);
    EXPECT_EQ(query(road, "100.000001").bearing, kHalfPi);
    // Overlap: the straight stored first (50..150 at y = 10) answers for 75, 25 along it.
    RoadCurvesCalculation overlap;
    overlap.inputLine(50, 150, 0, 10, 0);
    overlap.inputLine(0, 100, 0, 0, 0);
    EXPECT_NEAR(query(overlap, "75").x, 25.0, kExact);
    EXPECT_EQ(query(overlap, "75").y, 10.0);
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
        EXPECT_EQ(q.x, last.endX) << outside;
        EXPECT_EQ(q.y, last.endY) << outside;
        EXPECT_EQ(q.bearing, last.endBearing) << outside;
        EXPECT_FALSE(road.isDKOnAlignment(outside)) << outside;
    }
    for (const char* inside : {"0", "10", "40"}) EXPECT_TRUE(road.isDKOnAlignment(inside));
}

TEST(PointAtChainage, PointsAlongElementsMatchClosedForms) {
    // Disjoint chainage ranges, so each element answers for its own rows.
    RoadCurvesCalculation road;
    road.inputLine(200, 300, 3, 4, 2.0);
    road.inputCurve(400, 430, 10, 20, 50, -1, kPi / 3);
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
        // right arc R 50 from (10, 20) at pi/3, 15 along: bearing falls by 15/50
        {"415", arcPoint(50, 15, -1, {10, 20}, kPi / 3), kPi / 3 - 0.3, kStepPosition},
        // clothoid A^2 4000 from (5, -5) at 1, 25 along: bearing grows by s^2/(2 A^2)
        {"525", place({5, -5}, 1.0, spiral.x, spiral.y), 1.078125, kStepPosition},
        // left arc (0, 0) -> (10, 0), centre (5, 5 sqrt 3): halfway straight below the
        // centre at bearing 11pi/6 + pi/6 = 2pi; at its end 13pi/6, not brought into
        // [0, 2pi) as the stored pi/6 is (600 + 5 pi/3 = 605.2359878, 10 pi/3 = 10.4719755)
        {"605.235988", {5, 5 * std::sqrt(3.0) - 10}, 2 * kPi, kStepPosition},
        {"610.471975", {10, 0}, 13 * kPi / 6, kStepPosition},
        // a curve at its start is one step along: turned by k h = 1e-5, moved h = 1e-4
        {"700", {1e-4 * std::cos(1e-5), 1e-4 * std::sin(1e-5)}, 1e-5, 1e-13}};
    for (const Row& r : rows) {
        const Query q = query(road, r.dk);
        EXPECT_NEAR(q.x, r.p.x, r.tolerance) << r.dk;
        EXPECT_NEAR(q.y, r.p.y, r.tolerance) << r.dk;
        EXPECT_NEAR(q.bearing, r.bearing, r.tolerance == kStepPosition ? kStepBearing : kAngle)
            << r.dk;
    }
}

TEST(PointAtChainage, LengthAlongIsMeasuredThroughBrokenChains) {
    struct Row {
        BrokenChain chain;
        double startDK, endDK;
        const char* dk;
        double length, along;
    };
    const Row rows[] = {
        {kShortChain, 990, 1060, "1055", 20, 15},          // 10 + 5 past the missing stretch
        {kShortChain, 990, 1060, "1020", 20, 30},          // inside the missing stretch: plain
        {kLongChain, 1050, 1150, "1050", 200, 0},          // unmarked: the first occurrence
        {kLongChain, 1050, 1150, "01050", 200, 100},       // marked: the second occurrence
        {kLongChain, 1050, 1150, "1120", 200, 170},        // 50 + 100 + 20
        {kLongChain, 0.5, 1200.5, "1150.5", 1200, 1150},   // '0.500000' counts as marked
        {kLongChain, 1.5, 1201.5, "1151.5", 1300, 1250}};  // from 1.5 the stretch counts twice
    for (const Row& r : rows) {
        RoadCurvesCalculation road = withChain(r.chain);
        road.inputLine(r.startDK, r.endDK, 0, 0, 0);
        EXPECT_EQ(road.getRoadCruves()[0].length, r.length) << r.dk;
        EXPECT_NEAR(query(road, r.dk).x, r.along, kExact) << r.dk;
    }
}

TEST(PointAtChainage, NoElementsGivesSentinelButStillFindsElevation) {
    // Grade lines only (radius 0) through (1000, 100), (1200, 104), (1400, 100).
    RoadCurvesCalculation road;
    const double elevations[] = {100.0, 104.0, 100.0};
    for (int i = 0; i < 3; ++i) {
        RoadVerticalCurvePoint point;
        point.dk = std::to_string(1000 + 200 * i);
        point.elevation = elevations[i];
        point.pointType = i == 1 ? 1 : 0;  // the middle point is the grade change
        road.addBPPoint(point);
    }
    double g1 = 0, g2 = 0, t = 0, e = 0;
    ASSERT_EQ(road.convertBPPointsToVerticalCurves(g1, g2, t, e), 0);
    const Query q = query(road, "1100");
    EXPECT_EQ(q.bearing, -99.0);
    EXPECT_EQ(q.x + q.y, 2 * kUntouched);
    EXPECT_NEAR(q.elevation, 102.0, kExact);  // 100 + 0.02 * 100
    // Outside the profile the elevation stays untouched.
    EXPECT_EQ(query(road, "999.9").elevation, kUntouched);
    EXPECT_EQ(query(road, "1400.000001").elevation, kUntouched);
}

TEST(PointAtChainage, UnreadableChainageThrowsBeforeWriting) {
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, 0);
    double x = kUntouched, y = kUntouched, z = kUntouched;
    EXPECT_THROW(road.calculateCoordinatesAndBearing("abc", x, y, z), std::invalid_argument);
    EXPECT_THROW(road.calculateCoordinatesAndBearing("1e999", x, y, z), std::out_of_range);
    EXPECT_EQ(x + y + z, 3 * kUntouched);
    EXPECT_THROW(road.isDKOnAlignment(""), std::invalid_argument);
}

TEST(BearingBetweenPoints, DegreesAndRadiansInFullTurn) {
    EXPECT_EQ(calculateBearing(0, 0, 0, -1), 270.0);
    EXPECT_EQ(calculateBearing(0, 0, 1, 0), 0.0);
    EXPECT_NEAR(calculateBearing(1, 1, 2, 2), 45.0, kAngle);
    EXPECT_EQ(calculateBearingRad(0, 0, -1, 0), kPi);
    EXPECT_NEAR(calculateBearingRad(0, 0, 1, -1), 7 * kPi / 4, kAngle);
}

// ---------------------------------------------------------------- chainage from coordinates

class Projection : public ::testing::Test {
protected:
    Projection() {
        straight.inputLine(100, 200, 0, 0, 0);
        slanted.inputLine(0, 100, 0, 0, kPi / 4);
        arc.inputCurve(0, 30, 0, 0, 50, 1, 0);
        arcEnd = arc.getRoadCruves()[0];
        spiral.inputInTransitionCurve(0, 40, 0, 0, 100, 1, 0);
        bend.inputLine(0, 20, 0, 0, 0);
        bend.inputCurve(20, 40, 20, 0, 50, 1, 0);
        bendEnd = bend.getRoadCruves().back();
        bend.inputLine(40, 60, bendEnd.endX, bendEnd.endY, bendEnd.endBearing);
        twice.inputLine(1050, 1150, 0, 0, 0);
        skipping.inputLine(990, 1060, 0, 0, 0);
        // Gaps: A 0..10 along +x; B 20..30 up from (10, 0); C 30..40 along +x; D 40..50
        // down to (20, 0), the last end, bearing -pi/2.
        gaps.inputLine(0, 10, 0, 0, 0);
        gaps.inputLine(20, 30, 10, 0, kHalfPi);
        gaps.inputLine(30, 40, 10, 10, 0);
        gaps.inputLine(40, 50, 20, 10, -kHalfPi);
    }
    RoadCurvesCalculation straight, slanted, arc, spiral, bend, gaps, empty;
    RoadCurvesCalculation twice = withChain(kLongChain);
    RoadCurvesCalculation skipping = withChain(kShortChain);
    RoadCurve arcEnd, bendEnd;
};

TEST_F(Projection, FootAndOffsetOfPointsBesideTheAlignment) {
    struct Row {
        const RoadCurvesCalculation* road;
        const char* from;
        Point p;
        const char* text;  // exact result text, or nullptr to compare `dk` numerically
        double dk, offset, tolerance;
    };
    const Row rows[] = {
        // one step of 25.5 from 100 lands on the exact text
        {&straight, "100", {25.5, 0}, "125.500000", 0, 0, kExact},
        // behind the start the first step is negative: the start text as given
        {&straight, "100", {-10, 3}, "100", 0, 3, kExact},
        // beyond the end: foot on the end tangent produced, 50 past 200
        {&straight, "100", {150, 4}, "250.000000", 0, 4, kExact},
        // offset positive to the left of the bearing (bearing + pi/2), negative to the right
        {&slanted, "0", place({0, 0}, kPi / 4, 10, 3), nullptr, 10, 3, kProjectionStop},
        {&slanted, "0", place({0, 0}, kPi / 4, 10, -3), nullptr, 10, -3, kProjectionStop},
        // left arc R 50: 2 inside (left of) the point at s = 12, bearing 12/50 there
        {&arc, "0", place(arcPoint(50, 12, 1), 0.24, 0, 2), nullptr, 12, 2, kProjectionStop},
        // beyond a curved end: 30 along its stored end tangent, 2 left
        {&arc, "0", ahead(arcEnd, 30, 2), nullptr, 60, 2, kExact},
        // 1.5 left of the clothoid at s = 25, where the bearing is 25^2/8000
        {&spiral, "0", place(clothoidSeries(25, 4000), 25.0 * 25 / 8000, 0, 1.5), nullptr, 25, 1.5,
         kProjectionStop},
        // 5 left of the last straight of straight-arc-straight (inside the turn, so no step
        // overshoots), 8 along it
        {&bend, "0", ahead(bendEnd, 8, 5), nullptr, 48, 5, kProjectionStop},
        // across the long chain, 100 along 1050 is the second 1050
        {&twice, "1050", {100, 2.5}, "01050.000000", 0, 2.5, kExact},
        // the first step lands in the gap at 11, where the query answers with D's end; its
        // tangent puts (11, -3) 3 ahead, so steps of 3 cross the gap into B at 20, where the
        // next step is negative: 20, 1 right of B (not a foot on D's produced tangent)
        {&gaps, "0", {11, -3}, "20.000000", 0, -1, kExact}};
    for (const Row& r : rows) {
        std::string result = "untouched";
        const double offset = r.road->vdApproachMethod(r.from, r.p.x, r.p.y, result);
        if (r.text) {
            EXPECT_EQ(result, r.text) << r.p.x << ", " << r.p.y;
        } else {
            EXPECT_NEAR(std::stod(result), r.dk, r.tolerance) << r.p.x << ", " << r.p.y;
        }
        EXPECT_NEAR(offset, r.offset, r.tolerance) << r.p.x << ", " << r.p.y;
    }
    EXPECT_FALSE(straight.isDKOnAlignment("250.000000"));
}

TEST_F(Projection, ChainageTextFromCoordinatesReadYBeforeX) {
    struct Row {
        const RoadCurvesCalculation* road;
        double y, x;
        const char* expected;
    };
    const Row rows[] = {{&straight, 0, 25.5, "125.500000"},
                        {&straight, 5, 10, "110.000000"},  // y first: 10 along
                        {&straight, 10, 5, "105.000000"},
                        {&straight, 0, 1e9, "1000000100.000000"},  // far ahead: 100 + 1e9
                        {&straight, 3, -1e9, "100.000000"},        // far behind: the start
                        {&straight, 1e9, 0, "100.000000"},         // far across the start
                        {&straight, kNaN, 0, "100.000000"},        // NaN step: stops at once
                        {&straight, 0, kNaN, "100.000000"},
                        {&twice, 0, 180, "1130.000000"},    // 1050 + 180 - 100 repeated
                        {&skipping, 1, 15, "1055.000000"},  // 990 + 15 + 50 missing
                        {&empty, 1, 2, "-1"}};              // no elements
    for (const Row& r : rows) {
        EXPECT_EQ(r.road->calculateDKfromCoordinates(r.y, r.x), r.expected) << r.y << ", " << r.x;
    }
}

TEST_F(Projection, NonFiniteOrMissingInputEndsWithoutStepping) {
    std::string result = "untouched";
    EXPECT_EQ(empty.vdApproachMethod("0", 1, 2, result), -99.0);  // no elements
    EXPECT_THROW(straight.vdApproachMethod("x", 1, 2, result), std::invalid_argument);
    EXPECT_EQ(result, "untouched");
    EXPECT_TRUE(std::isnan(straight.vdApproachMethod("100", kNaN, 0, result)));
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
