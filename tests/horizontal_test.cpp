// Horizontal geometry: the seven element builders, the point-at-chainage query and the
// projection of a point onto the alignment, against closed forms derivable by hand.
#include "horizontal/horizontal.hpp"
#include "qv_roadCurveCalculation_alg.h"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

using rcc::kHalfPi;
using rcc::kPi;
using rcc::kTwoPi;
using rcc_test::kAngle;
using rcc_test::kExact;
using rcc_test::kStepBearing;
using rcc_test::kStepPosition;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
/// Where the projection stops: the last projected step is below the object's tolerance
/// (0.001 length units), plus the evaluation's own step; length units.
constexpr double kProjectionStop = 1.5e-3;
/// Caller's value in out-parameters that must stay untouched.
constexpr double kUntouched = 7.25;

struct Point {
    double x;
    double y;
};

// Local (along, across) coordinates turned into the plane frame of a start point and
// bearing; turn -1 mirrors the local curve to the right-hand side.
Point place(Point start, double bearing, double along, double across, int turn = 1) {
    const double a = across * turn;
    return {start.x + along * std::cos(bearing) - a * std::sin(bearing),
            start.y + along * std::sin(bearing) + a * std::cos(bearing)};
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
    double bearing;
    double x;
    double y;
    double elevation;
};

Query query(const RoadCurvesCalculation& road, const std::string& dk) {
    Query q{0.0, kUntouched, kUntouched, kUntouched};
    q.bearing = road.calculateCoordinatesAndBearing(dk, q.x, q.y, q.elevation);
    return q;
}

RoadCurve only(const RoadCurvesCalculation& road) {
    const std::vector<RoadCurve> elements = road.getRoadCruves();
    EXPECT_EQ(elements.size(), 1u);
    return elements.back();
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

// ---------------------------------------------------------------- builders: straights

TEST(LineBuilder, StoresEndPointBearingAndLength) {
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, 0);
    const RoadCurve line = only(road);
    EXPECT_EQ(line.endDK, 100.0);
    EXPECT_NEAR(line.endX, 100.0, kExact);
    EXPECT_NEAR(line.endY, 0.0, kExact);
    EXPECT_EQ(line.length, 100.0);
    EXPECT_EQ(line.curveType, 0);
    EXPECT_EQ(line.turnDirection, 0);
    EXPECT_EQ(line.startRadius, kInf);
    EXPECT_EQ(line.endRadius, kInf);
    EXPECT_EQ(line.startCurvature, 0.0);
    EXPECT_EQ(line.integrationStep, 0.0001);
}

TEST(LineBuilder, KeepsBearingAsPassedAndPlacesEndAlongIt) {
    // A bearing of -pi/2 is stored as given (no normalisation); 10 units "down" from (1, 2).
    RoadCurvesCalculation road;
    road.inputLine(5, 15, 1, 2, -kHalfPi);
    const RoadCurve line = only(road);
    EXPECT_EQ(line.startBearing, -kHalfPi);
    EXPECT_EQ(line.endBearing, -kHalfPi);
    EXPECT_NEAR(line.endX, 1.0, kExact);
    EXPECT_NEAR(line.endY, -8.0, kExact);
}

TEST(LineBuilder, EndBeforeStartGivesLengthMinusOneBehindStart) {
    // The length sentinel -1.0 is used as a length: the end lies one unit behind the start.
    RoadCurvesCalculation road;
    road.inputLine(10, 0, 0, 0, 0);
    const RoadCurve line = only(road);
    EXPECT_EQ(line.length, -1.0);
    EXPECT_EQ(line.endDK, 0.0);
    EXPECT_NEAR(line.endX, -1.0, kExact);
}

TEST(LineCoorBuilder, BearingIsChordBearingInZeroToTwoPi) {
    RoadCurvesCalculation road;
    road.inputLineCoor(0, 0, 0, 0, 10);
    road.inputLineCoor(0, 0, 0, 0, -10);  // atan2 gives -pi/2: brought to 3pi/2
    const std::vector<RoadCurve> lines = road.getRoadCruves();
    EXPECT_EQ(lines[0].length, 10.0);
    EXPECT_EQ(lines[0].endDK, 10.0);
    EXPECT_NEAR(lines[0].startBearing, kHalfPi, kAngle);
    EXPECT_NEAR(lines[0].endBearing, kHalfPi, kAngle);
    EXPECT_NEAR(lines[1].startBearing, 3 * kHalfPi, kAngle);
    EXPECT_EQ(lines[1].endX, 0.0);  // the given end point, stored exactly
    EXPECT_EQ(lines[1].endY, -10.0);
}

TEST(LineCoorBuilder, LengthIsPlaneDistance) {
    // 3-4-5 triangle from (1, 1): length 5, bearing atan2(4, 3).
    RoadCurvesCalculation road;
    road.inputLineCoor(100, 1, 1, 4, 5);
    const RoadCurve line = only(road);
    EXPECT_NEAR(line.length, 5.0, kExact);
    EXPECT_NEAR(line.endDK, 105.0, kExact);
    EXPECT_NEAR(line.startBearing, std::atan2(4.0, 3.0), kAngle);
}

// ---------------------------------------------------------------- builders: circular curves

TEST(CurveBuilder, LeftTurnMatchesArcClosedForm) {
    // From (0, 0) at bearing 0, R = 50, L = 20: end (R sin(L/R), R (1 - cos(L/R))).
    RoadCurvesCalculation road;
    road.inputCurve(0, 20, 0, 0, 50, 1, 0);
    const RoadCurve arc = only(road);
    const double phi = 20.0 / 50.0;
    EXPECT_EQ(arc.curveType, 1);
    EXPECT_EQ(arc.turnDirection, 1);
    EXPECT_EQ(arc.startRadius, 50.0);
    EXPECT_EQ(arc.endRadius, 50.0);
    EXPECT_EQ(arc.startCurvature, 1.0 / 50.0);
    EXPECT_EQ(arc.endCurvature, 1.0 / 50.0);
    EXPECT_EQ(arc.length, 20.0);
    EXPECT_EQ(arc.endDK, 20.0);
    EXPECT_EQ(arc.integrationStep, 0.0001);
    EXPECT_NEAR(arc.endX, 50 * std::sin(phi), kStepPosition);
    EXPECT_NEAR(arc.endY, 50 * (1 - std::cos(phi)), kStepPosition);
    EXPECT_NEAR(arc.endBearing, phi, kStepBearing);
}

TEST(CurveBuilder, RightTurnMirrorsYAndBearing) {
    RoadCurvesCalculation road;
    road.inputCurve(0, 20, 0, 0, 50, -1, 0);
    const RoadCurve arc = only(road);
    const double phi = 20.0 / 50.0;
    EXPECT_NEAR(arc.endX, 50 * std::sin(phi), kStepPosition);
    EXPECT_NEAR(arc.endY, -50 * (1 - std::cos(phi)), kStepPosition);
    EXPECT_NEAR(arc.endBearing, -phi, kStepBearing);
}

TEST(CurveBuilder, RotatedStartIsTurnedWithTheStartBearing) {
    // The same arc, right turn, from (10, 20) at bearing pi/3: the local end point turned
    // by pi/3; the bearing falls by L/R.
    RoadCurvesCalculation road;
    road.inputCurve(100, 130, 10, 20, 50, -1, kPi / 3);
    const RoadCurve arc = only(road);
    const double phi = 30.0 / 50.0;
    const Point end = place({10, 20}, kPi / 3, 50 * std::sin(phi), 50 * (1 - std::cos(phi)), -1);
    EXPECT_NEAR(arc.endX, end.x, kStepPosition);
    EXPECT_NEAR(arc.endY, end.y, kStepPosition);
    EXPECT_NEAR(arc.endBearing, kPi / 3 - phi, kStepBearing);
    EXPECT_EQ(arc.startBearing, kPi / 3);
}

TEST(CurveBuilder, EndBeforeStartKeepsStartPointAndBearing) {
    // Length -1.0: the evaluation does nothing for a negative distance; endDK = start - 1.
    RoadCurvesCalculation road;
    road.inputCurve(10, 0, 3, 4, 50, 1, 0.5);
    const RoadCurve arc = only(road);
    EXPECT_EQ(arc.length, -1.0);
    EXPECT_EQ(arc.endDK, 9.0);
    EXPECT_EQ(arc.endX, 3.0);
    EXPECT_EQ(arc.endY, 4.0);
    EXPECT_EQ(arc.endBearing, 0.5);
}

// ---------------------------------------------------------------- builders: arcs on a chord

TEST(CurveCoorBuilder, LeftArcPassesBearingZero) {
    // Chord 10, R 10: centre (5, 5 sqrt 3), radius directions 4pi/3 and 5pi/3, so the
    // tangent turns from 11pi/6 through 0 to pi/6: turned angle pi/3, length 10 pi/3.
    RoadCurvesCalculation road;
    road.inputCurveCoor(0, 0, 0, 10, 0, 10, 1);
    const RoadCurve arc = only(road);
    EXPECT_EQ(arc.curveType, 1);
    EXPECT_EQ(arc.turnDirection, 1);
    EXPECT_EQ(arc.startCurvature, 0.1);
    EXPECT_EQ(arc.endX, 10.0);
    EXPECT_EQ(arc.endY, 0.0);
    EXPECT_NEAR(arc.startBearing, 11 * kPi / 6, kAngle);
    EXPECT_NEAR(arc.endBearing, kPi / 6, kAngle);
    EXPECT_NEAR(arc.length, 10 * kPi / 3, kExact);
    EXPECT_NEAR(arc.endDK, 10 * kPi / 3, kExact);
}

TEST(CurveCoorBuilder, RightArcKeepsNegativeRemainder) {
    // Centre (5, -5 sqrt 3); the end bearing is the remainder -pi/6, stored so.
    RoadCurvesCalculation road;
    road.inputCurveCoor(0, 0, 0, 10, 0, 10, -1);
    const RoadCurve arc = only(road);
    EXPECT_EQ(arc.turnDirection, -1);
    EXPECT_NEAR(arc.startBearing, kPi / 6, kAngle);
    EXPECT_NEAR(arc.endBearing, -kPi / 6, kAngle);
    EXPECT_NEAR(arc.length, 10 * kPi / 3, kExact);
}

TEST(CurveCoorBuilder, ArcUpTheYAxis) {
    // Chord from (0, 0) to (0, 10), left turn: centre (-5 sqrt 3, 5), bearings pi/3, 2pi/3.
    RoadCurvesCalculation road;
    road.inputCurveCoor(0, 0, 0, 0, 10, 10, 1);
    const RoadCurve arc = only(road);
    EXPECT_NEAR(arc.startBearing, kPi / 3, kAngle);
    EXPECT_NEAR(arc.endBearing, 2 * kPi / 3, kAngle);
    EXPECT_NEAR(arc.length, 10 * kPi / 3, kExact);
}

TEST(CurveCoorBuilder, EveryTurnButOneCountsAsRight) {
    RoadCurvesCalculation road;
    road.inputCurveCoor(0, 0, 0, 10, 0, 10, 0);
    const RoadCurve arc = only(road);
    EXPECT_NEAR(arc.startBearing, kPi / 6, kAngle);
    EXPECT_NEAR(arc.endBearing, -kPi / 6, kAngle);
}

TEST(CurveCoorBuilder, RadiusBelowHalfChordGivesNotANumber) {
    RoadCurvesCalculation road;
    road.inputCurveCoor(0, 0, 0, 10, 0, 4, 1);
    const RoadCurve arc = only(road);
    EXPECT_TRUE(std::isnan(arc.length));
    EXPECT_TRUE(std::isnan(arc.endDK));
    EXPECT_TRUE(std::isnan(arc.startBearing));
}

// ---------------------------------------------------------------- builders: transitions

TEST(TransitionBuilder, EnteringClothoidMatchesSeriesAndEndBearing) {
    // From a straight to R = 100 over L = 40: end bearing L/(2R) = 0.2, end point from the
    // clothoid series with A^2 = R L = 4000.
    RoadCurvesCalculation road;
    road.inputInTransitionCurve(0, 40, 0, 0, 100, 1, 0);
    const RoadCurve spiral = only(road);
    const Point end = clothoidSeries(40, 4000);
    EXPECT_EQ(spiral.curveType, 2);
    EXPECT_EQ(spiral.startRadius, kInf);
    EXPECT_EQ(spiral.endRadius, 100.0);
    EXPECT_EQ(spiral.startCurvature, 0.0);
    EXPECT_EQ(spiral.endCurvature, 0.01);
    EXPECT_NEAR(spiral.endBearing, 0.2, kStepBearing);
    EXPECT_NEAR(spiral.endX, end.x, kStepPosition);
    EXPECT_NEAR(spiral.endY, end.y, kStepPosition);
}

TEST(TransitionBuilder, EnteringClothoidHundredMetresToRadiusFiveHundred) {
    // L = 100, R = 500: end bearing 100 / (2 * 500) = 0.1.
    RoadCurvesCalculation road;
    road.inputInTransitionCurve(0, 100, 0, 0, 500, 1, 0);
    const RoadCurve spiral = only(road);
    EXPECT_EQ(spiral.endCurvature, 0.002);
    EXPECT_NEAR(spiral.endBearing, 0.1, kStepBearing);
}

TEST(TransitionBuilder, RightEnteringClothoidMirrors) {
    RoadCurvesCalculation road;
    road.inputInTransitionCurve(0, 40, 0, 0, 100, -1, 0);
    const RoadCurve spiral = only(road);
    const Point end = clothoidSeries(40, 4000);
    EXPECT_NEAR(spiral.endBearing, -0.2, kStepBearing);
    EXPECT_NEAR(spiral.endX, end.x, kStepPosition);
    EXPECT_NEAR(spiral.endY, -end.y, kStepPosition);
}

TEST(TransitionBuilder, LeavingClothoidIsEnteringOneRunBackwards) {
    // R = 100 to a straight over 40: it turns by the same 0.2, and its chord is the entering
    // clothoid's (X, Y) reversed and mirrored: e^{i tau} (X - iY) with tau = 0.2.
    RoadCurvesCalculation road;
    road.inputOutTransitionCurve(0, 40, 0, 0, 100, 1, 0);
    const RoadCurve spiral = only(road);
    const Point in = clothoidSeries(40, 4000);
    const double tau = 0.2;
    EXPECT_EQ(spiral.curveType, 3);
    EXPECT_EQ(spiral.startCurvature, 0.01);
    EXPECT_EQ(spiral.endCurvature, 0.0);
    EXPECT_EQ(spiral.endRadius, kInf);
    EXPECT_NEAR(spiral.endBearing, tau, kStepBearing);
    EXPECT_NEAR(spiral.endX, in.x * std::cos(tau) + in.y * std::sin(tau), kStepPosition);
    EXPECT_NEAR(spiral.endY, in.x * std::sin(tau) - in.y * std::cos(tau), kStepPosition);
}

TEST(TransitionBuilder, BetweenTwoRadiiIsPieceOfFullClothoid) {
    // R 200 -> 100 over 20: the stretch s = 20..40 of the clothoid A^2 = 4000 (curvature
    // s / 4000). Seen from its start (bearing 0.05 on the full clothoid) it turns 0.15.
    RoadCurvesCalculation road;
    road.inputIncompleteTransitionCurve(0, 20, 0, 0, 200, 100, 1, 0);
    const RoadCurve spiral = only(road);
    const Point p1 = clothoidSeries(20, 4000);
    const Point p2 = clothoidSeries(40, 4000);
    const double theta1 = 0.05;
    const double dx = p2.x - p1.x;
    const double dy = p2.y - p1.y;
    EXPECT_EQ(spiral.curveType, 4);
    EXPECT_EQ(spiral.startCurvature, 1.0 / 200.0);
    EXPECT_EQ(spiral.endCurvature, 1.0 / 100.0);
    EXPECT_NEAR(spiral.endBearing, 0.15, kStepBearing);
    EXPECT_NEAR(spiral.endX, dx * std::cos(theta1) + dy * std::sin(theta1), kStepPosition);
    EXPECT_NEAR(spiral.endY, -dx * std::sin(theta1) + dy * std::cos(theta1), kStepPosition);
}

TEST(TransitionBuilder, OpeningBetweenTwoRadiiTurnsByMeanCurvature) {
    // R 100 -> 200 over 20, right turn: bearing change -20 (0.01 + 0.005) / 2 = -0.15.
    RoadCurvesCalculation road;
    road.inputIncompleteTransitionCurve(0, 20, 0, 0, 100, 200, -1, 1.0);
    EXPECT_NEAR(only(road).endBearing, 1.0 - 0.15, kStepBearing);
}

TEST(TransitionBuilder, KindFollowsWhichRadiusIsInfinite) {
    RoadCurvesCalculation road;
    road.inputIncompleteTransitionCurve(0, 10, 0, 0, 300, 300, 1, 0);  // equal: an arc
    road.inputIncompleteTransitionCurve(0, 10, 0, 0, kInf, 300, 1, 0);
    road.inputIncompleteTransitionCurve(0, 10, 0, 0, 300, kInf, 1, 0);
    road.inputIncompleteTransitionCurve(0, 10, 0, 0, kInf, kInf, 1, 0);  // tested first: 2
    const std::vector<RoadCurve> e = road.getRoadCruves();
    EXPECT_EQ(e[0].curveType, 1);
    EXPECT_EQ(e[1].curveType, 2);
    EXPECT_EQ(e[2].curveType, 3);
    EXPECT_EQ(e[3].curveType, 2);
    // Both curvatures 0: a straight evaluated step by step, ending one step past 10.
    EXPECT_EQ(e[3].startCurvature, 0.0);
    EXPECT_EQ(e[3].endCurvature, 0.0);
    EXPECT_NEAR(e[3].endX, 10.0, kStepPosition);
    EXPECT_EQ(e[3].endY, 0.0);
    EXPECT_EQ(e[3].endBearing, 0.0);
}

// ---------------------------------------------------------------- builders: broken chains

TEST(BuilderBrokenChain, ShortChainInsideElement) {
    // 990 -> 1060 across the missing 1000..1050 is 20 long. A straight keeps the given
    // endDK; a curve stores startDK + length; inputLineCoor reaches 1060 through the break.
    RoadCurvesCalculation road = withChain(kShortChain);
    road.inputLine(990, 1060, 0, 0, 0);
    road.inputCurve(990, 1060, 0, 0, 100, 1, 0);
    road.inputInTransitionCurve(990, 1060, 0, 0, 100, 1, 0);
    road.inputLineCoor(990, 0, 0, 20, 0);
    road.inputCurveCoor(990, 0, 0, 10, 0, 10, 1);  // no break consulted: 990 + 10 pi/3
    const std::vector<RoadCurve> e = road.getRoadCruves();
    EXPECT_EQ(e[0].length, 20.0);
    EXPECT_EQ(e[0].endDK, 1060.0);
    EXPECT_NEAR(e[0].endX, 20.0, kExact);
    EXPECT_EQ(e[1].length, 20.0);
    EXPECT_EQ(e[1].endDK, 1010.0);
    EXPECT_EQ(e[2].length, 20.0);
    EXPECT_EQ(e[2].endDK, 1010.0);
    EXPECT_EQ(e[3].endDK, 1060.0);
    EXPECT_NEAR(e[4].endDK, 990 + 10 * kPi / 3, kExact);
}

TEST(BuilderBrokenChain, LongChainInsideElement) {
    // Long chain 1100 -> 1090: 1095 -> 1105 travels 10 + 10 = 20.
    RoadCurvesCalculation road = withChain(BrokenChain{0, 1100.0, 1090.0});
    road.inputLine(1095, 1105, 0, 0, 0);
    road.inputCurve(1095, 1105, 0, 0, 100, 1, 0);
    road.inputIncompleteTransitionCurve(1095, 1105, 0, 0, 200, 100, -1, 0);
    road.inputLineCoor(1095, 0, 0, 8, 0);  // 1103 lies behind the break: 1093, mark lost
    const std::vector<RoadCurve> e = road.getRoadCruves();
    EXPECT_EQ(e[0].length, 20.0);
    EXPECT_EQ(e[0].endDK, 1105.0);
    EXPECT_NEAR(e[0].endX, 20.0, kExact);
    EXPECT_EQ(e[1].length, 20.0);
    EXPECT_EQ(e[1].endDK, 1115.0);
    EXPECT_EQ(e[2].endDK, 1115.0);
    EXPECT_EQ(e[3].endDK, 1093.0);
}

// ---------------------------------------------------------------- point at chainage

TEST(PointAtChainage, StraightInsideAndOutside) {
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, 0);
    Query q = query(road, "50");
    EXPECT_EQ(q.bearing, 0.0);
    EXPECT_NEAR(q.x, 50.0, kExact);
    EXPECT_NEAR(q.y, 0.0, kExact);
    for (const char* outside : {"150", "-10"}) {
        q = query(road, outside);
        EXPECT_EQ(q.bearing, 0.0) << outside;
        EXPECT_EQ(q.x, 100.0) << outside;
        EXPECT_EQ(q.y, 0.0) << outside;
    }
}

TEST(PointAtChainage, StraightClosedFormAtAnyBearing) {
    // Bearing 2 rad from (3, 4): 12.5 along gives (3 + 12.5 cos 2, 4 + 12.5 sin 2).
    RoadCurvesCalculation road;
    road.inputLine(200, 300, 3, 4, 2.0);
    const Query q = query(road, "212.5");
    EXPECT_EQ(q.bearing, 2.0);
    EXPECT_NEAR(q.x, 3 + 12.5 * std::cos(2.0), kExact);
    EXPECT_NEAR(q.y, 4 + 12.5 * std::sin(2.0), kExact);
}

TEST(PointAtChainage, NoElementsGivesSentinelAndTouchesNothing) {
    RoadCurvesCalculation road;
    const Query q = query(road, "10");
    EXPECT_EQ(q.bearing, -99.0);
    EXPECT_EQ(q.x, kUntouched);
    EXPECT_EQ(q.y, kUntouched);
    EXPECT_EQ(q.elevation, kUntouched);
}

TEST(PointAtChainage, UnreadableChainageThrowsBeforeWriting) {
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, 0);
    double x = kUntouched;
    double y = kUntouched;
    double z = kUntouched;
    EXPECT_THROW(road.calculateCoordinatesAndBearing("abc", x, y, z), std::invalid_argument);
    EXPECT_THROW(road.calculateCoordinatesAndBearing("1e999", x, y, z), std::out_of_range);
    EXPECT_EQ(x, kUntouched);
    EXPECT_EQ(y, kUntouched);
    EXPECT_EQ(z, kUntouched);
    EXPECT_THROW(road.isDKOnAlignment(""), std::invalid_argument);
}

TEST(PointAtChainage, ElevationKeptWithoutProfile) {
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, 0);
    const Query q = query(road, "30");
    EXPECT_NEAR(q.x, 30.0, kExact);
    EXPECT_EQ(q.elevation, kUntouched);
}

// A crest profile through the public conversion: grade +0.02 from (1000, 100) to the
// grade change at (1200, 104), R 5000, then -0.02 to (1400, 100). T = 100, E = 1: grade
// line 1000..1100, curve halves 1100..1200 and 1200..1300, closing line 1300..1400.
namespace {
RoadCurvesCalculation withCrestProfile() {
    RoadCurvesCalculation road;
    const auto bp = [](const char* dk, double elevation, double radius, int type) {
        RoadVerticalCurvePoint point;
        point.dk = dk;
        point.elevation = elevation;
        point.radius = radius;
        point.pointType = type;
        return point;
    };
    road.addBPPoint(bp("1000", 100.0, 0.0, 0));
    road.addBPPoint(bp("1200", 104.0, 5000.0, 1));
    road.addBPPoint(bp("1400", 100.0, 5000.0, 0));
    double g1 = 0;
    double g2 = 0;
    double t = 0;
    double e = 0;
    EXPECT_EQ(road.convertBPPointsToVerticalCurves(g1, g2, t, e), 0);
    return road;
}
}  // namespace

TEST(PointAtChainage, ElevationOfGradeLinesAndCrestHalves) {
    // Grade lines: 100 + 0.02 * 50 and 102 - 0.02 * 50. Halves: the grade line less
    // l^2 / (2 R) from the end that touches it: 103 - 2500 / 10000 on both sides of the
    // crest, and 104 - E = 103 at the crest, where the first half (listed first) answers.
    RoadCurvesCalculation road = withCrestProfile();
    road.inputLine(0, 100, 0, 0, 0);
    EXPECT_NEAR(query(road, "1050").elevation, 101.0, kExact);
    EXPECT_NEAR(query(road, "1150").elevation, 102.75, kExact);
    EXPECT_NEAR(query(road, "1200").elevation, 103.0, kExact);
    EXPECT_NEAR(query(road, "1250").elevation, 102.75, kExact);
    EXPECT_NEAR(query(road, "1350").elevation, 101.0, kExact);
    EXPECT_NEAR(query(road, "1400").elevation, 100.0, kExact);
    EXPECT_EQ(query(road, "999.9").elevation, kUntouched);
    EXPECT_EQ(query(road, "1400.000001").elevation, kUntouched);
}

TEST(PointAtChainage, ElevationIndependentOfHorizontalSearch) {
    // No elements: the bearing is the sentinel and x, y stay, but the elevation is found.
    RoadCurvesCalculation road = withCrestProfile();
    const Query q = query(road, "1150");
    EXPECT_EQ(q.bearing, -99.0);
    EXPECT_EQ(q.x, kUntouched);
    EXPECT_EQ(q.y, kUntouched);
    EXPECT_NEAR(q.elevation, 102.75, kExact);
}

TEST(PointAtChainage, SharedBoundaryBelongsToEarlierElement) {
    // Two straights meet at chainage 100; the second turns to pi/2.
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, 0);
    road.inputLine(100, 200, 100, 0, kHalfPi);
    Query q = query(road, "100");
    EXPECT_EQ(q.bearing, 0.0);
    EXPECT_NEAR(q.x, 100.0, kExact);
    q = query(road, "100.000001");
    EXPECT_EQ(q.bearing, kHalfPi);
}

TEST(PointAtChainage, StoredOrderDecidesOverlaps) {
    RoadCurvesCalculation road;
    road.inputLine(50, 150, 0, 10, 0);  // stored first, also holds 75
    road.inputLine(0, 100, 0, 0, 0);
    const Query q = query(road, "75");
    EXPECT_NEAR(q.x, 25.0, kExact);
    EXPECT_EQ(q.y, 10.0);
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
    EXPECT_TRUE(road.isDKOnAlignment("0"));
    EXPECT_TRUE(road.isDKOnAlignment("10"));
    EXPECT_TRUE(road.isDKOnAlignment("40"));
}

TEST(PointAtChainage, CurveAtStartLiesOneStepAlong) {
    // s = 0 already takes one step of 1e-4 after turning by k h = 1e-5.
    RoadCurvesCalculation road;
    road.inputCurve(0, 10, 0, 0, 10, 1, 0);
    const Query q = query(road, "0");
    EXPECT_NEAR(q.bearing, 1e-5, kAngle);
    EXPECT_NEAR(q.x, 1e-4, kExact);
    EXPECT_GT(q.y, 0.0);
}

TEST(PointAtChainage, CurveAtEndGivesStoredEnd) {
    RoadCurvesCalculation road;
    road.inputCurve(0, 20, 0, 0, 50, -1, 0.3);
    const RoadCurve arc = only(road);
    const Query q = query(road, "20");
    EXPECT_NEAR(q.x, arc.endX, kStepPosition);
    EXPECT_NEAR(q.y, arc.endY, kStepPosition);
    EXPECT_NEAR(q.bearing, arc.endBearing, kStepBearing);
}

TEST(PointAtChainage, CircularCurveMidwayMatchesClosedForm) {
    // Right turn, R = 50 from (10, 20) at pi/3, 15 along: local (R sin phi, R (1 - cos phi)).
    RoadCurvesCalculation road;
    road.inputCurve(100, 130, 10, 20, 50, -1, kPi / 3);
    const Query q = query(road, "115");
    const double phi = 15.0 / 50.0;
    const Point p = place({10, 20}, kPi / 3, 50 * std::sin(phi), 50 * (1 - std::cos(phi)), -1);
    EXPECT_NEAR(q.x, p.x, kStepPosition);
    EXPECT_NEAR(q.y, p.y, kStepPosition);
    EXPECT_NEAR(q.bearing, kPi / 3 - phi, kStepBearing);
}

TEST(PointAtChainage, ArcThroughTwoPointsMidwayAndUnwrappedEndBearing) {
    // The left arc (0, 0) -> (10, 0), R 10: halfway it is straight below the centre
    // (5, 5 sqrt 3 - 10); at its end (10 pi/3 = 10.4719755..) the evaluated bearing is
    // 11pi/6 + pi/3 = 13pi/6, not brought back into [0, 2pi) as the stored pi/6 is. The
    // six-decimal text '10.471976' already lies past endDK: the stored end answers.
    RoadCurvesCalculation road;
    road.inputCurveCoor(0, 0, 0, 10, 0, 10, 1);
    const RoadCurve arc = only(road);
    Query q = query(road, std::to_string(arc.length / 2));
    EXPECT_NEAR(q.x, 5.0, kStepPosition);
    EXPECT_NEAR(q.y, 5 * std::sqrt(3.0) - 10, kStepPosition);
    EXPECT_NEAR(q.bearing, kTwoPi, kStepBearing);
    q = query(road, "10.471975");
    EXPECT_NEAR(q.x, 10.0, kStepPosition);
    EXPECT_NEAR(q.y, 0.0, kStepPosition);
    EXPECT_NEAR(q.bearing, 13 * kPi / 6, kStepBearing);
    q = query(road, "10.471976");
    EXPECT_EQ(q.x, 10.0);
    EXPECT_EQ(q.bearing, arc.endBearing);
}

TEST(PointAtChainage, TransitionMidwayMatchesSeries) {
    // Entering clothoid L 40, R 100 (A^2 4000) from (5, -5) at bearing 1: at s = 25 the
    // bearing has grown by s^2 / (2 A^2) = 0.078125.
    RoadCurvesCalculation road;
    road.inputInTransitionCurve(0, 40, 5, -5, 100, 1, 1.0);
    const Query q = query(road, "25");
    const Point local = clothoidSeries(25, 4000);
    const Point p = place({5, -5}, 1.0, local.x, local.y);
    EXPECT_NEAR(q.x, p.x, kStepPosition);
    EXPECT_NEAR(q.y, p.y, kStepPosition);
    EXPECT_NEAR(q.bearing, 1.0 + 0.078125, kStepBearing);
}

TEST(PointAtChainage, LengthFromStartGoesThroughShortChain) {
    // Straight 990 -> 1060 over the missing 1000..1050: 1055 lies 15 along; a chainage
    // inside the missing stretch gets no correction (1020 is 30 along, past the end point).
    RoadCurvesCalculation road = withChain(kShortChain);
    road.inputLine(990, 1060, 0, 0, 0);
    EXPECT_NEAR(query(road, "1055").x, 15.0, kExact);
    EXPECT_NEAR(query(road, "1020").x, 30.0, kExact);
}

TEST(PointAtChainage, MarkSelectsOccurrenceBehindLongChain) {
    // Straight 1050 -> 1150 over the repeated 1000..1100 is 200 long: the first 1050 is its
    // start, the second ('01050') lies 100 along; 1120 lies 170 along.
    RoadCurvesCalculation road = withChain(kLongChain);
    road.inputLine(1050, 1150, 0, 0, 0);
    EXPECT_EQ(only(road).length, 200.0);
    EXPECT_NEAR(query(road, "1050").x, 0.0, kExact);
    EXPECT_NEAR(query(road, "01050").x, 100.0, kExact);
    EXPECT_NEAR(query(road, "1120").x, 170.0, kExact);
}

TEST(PointAtChainage, StartBetweenZeroAndOneCountsAsMarked) {
    // '0.500000' is a marked text, so no long chain is added from it; from 1.5 it is.
    RoadCurvesCalculation road = withChain(kLongChain);
    road.inputLine(0.5, 1200.5, 0, 0, 0);
    road.inputLine(1.5, 1201.5, 0, 10, 0);
    const std::vector<RoadCurve> e = road.getRoadCruves();
    EXPECT_EQ(e[0].length, 1200.0);
    EXPECT_EQ(e[1].length, 1300.0);
    EXPECT_NEAR(query(road, "1150.5").x, 1150.0, kExact);
    RoadCurvesCalculation second = withChain(kLongChain);
    second.inputLine(1.5, 1201.5, 0, 10, 0);
    EXPECT_NEAR(query(second, "1151.5").x, 1250.0, kExact);
}

TEST(BearingBetweenPoints, DegreesAndRadiansInFullTurn) {
    EXPECT_EQ(calculateBearing(0, 0, 0, -1), 270.0);
    EXPECT_EQ(calculateBearing(0, 0, 1, 0), 0.0);
    EXPECT_NEAR(calculateBearing(1, 1, 2, 2), 45.0, kAngle);
    EXPECT_EQ(calculateBearingRad(0, 0, -1, 0), kPi);
    EXPECT_NEAR(calculateBearingRad(0, 0, 1, -1), 7 * kPi / 4, kAngle);
}

// ---------------------------------------------------------------- chainage from coordinates

TEST(Projection, PointOnStraightStepsOnceAndStops) {
    // Start 100, 25.5 along: '125.500000' with zero offset.
    RoadCurvesCalculation road;
    road.inputLine(100, 200, 0, 0, 0);
    std::string result = "unchanged";
    const double offset = road.vdApproachMethod("100", 25.5, 0, result);
    EXPECT_EQ(result, "125.500000");
    EXPECT_NEAR(offset, 0.0, kExact);
    EXPECT_EQ(road.calculateDKfromCoordinates(0.0, 25.5), "125.500000");
}

TEST(Projection, OffsetSignFollowsLeftOfBearing) {
    // Bearing pi/4 from (0, 0): a point 10 along and 3 to the left (bearing + pi/2) gives
    // +3, to the right -3.
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, kPi / 4);
    for (const double side : {3.0, -3.0}) {
        const Point p = place({0, 0}, kPi / 4, 10, side);
        std::string result;
        const double offset = road.vdApproachMethod("0", p.x, p.y, result);
        EXPECT_NEAR(std::stod(result), 10.0, kProjectionStop);
        EXPECT_NEAR(offset, side, kProjectionStop);
    }
}

TEST(Projection, CoordinatesArgumentOrderIsYThenX) {
    // (5, 10) read as y = 5, x = 10: 10 along the x axis. Swapped, the point is 5 along.
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, 0);
    EXPECT_EQ(road.calculateDKfromCoordinates(5.0, 10.0), "10.000000");
    EXPECT_EQ(road.calculateDKfromCoordinates(10.0, 5.0), "5.000000");
}

TEST(Projection, PointInsideCircularCurve) {
    // Left arc R 50 from (0, 0) at bearing 0, centre (0, 50); the point 2 inside the arc
    // at s = 12 lies at (48 sin 0.24, 50 - 48 cos 0.24): foot 12, offset +2 (left).
    RoadCurvesCalculation road;
    road.inputCurve(0, 30, 0, 0, 50, 1, 0);
    const double phi = 12.0 / 50.0;
    std::string result;
    const double offset =
        road.vdApproachMethod("0", 48 * std::sin(phi), 50 - 48 * std::cos(phi), result);
    EXPECT_NEAR(std::stod(result), 12.0, kProjectionStop);
    EXPECT_NEAR(offset, 2.0, kProjectionStop);
}

TEST(Projection, PointOutsideCurveStopsAfterOvershoot) {
    // 2 outside the same arc at s = 12: the start tangent projects the point to about
    // 52 sin 0.24 - 1e-4 (the start is evaluated one step along), past the foot; from
    // there the step is negative, so that first step is the answer.
    RoadCurvesCalculation road;
    road.inputCurve(0, 30, 0, 0, 50, 1, 0);
    const double phi = 12.0 / 50.0;
    std::string result;
    const double offset =
        road.vdApproachMethod("0", 52 * std::sin(phi), 50 - 52 * std::cos(phi), result);
    EXPECT_NEAR(std::stod(result), 52 * std::sin(phi) - 1e-4, kStepPosition);
    EXPECT_NEAR(offset, -2.0, 0.05);  // measured from the overshot point, right side
}

TEST(Projection, PointBesideTransition) {
    // 1.5 left of the entering clothoid (L 40, R 100) at s = 25, on the inside of the turn.
    RoadCurvesCalculation road;
    road.inputInTransitionCurve(0, 40, 0, 0, 100, 1, 0);
    const Point foot = clothoidSeries(25, 4000);
    const Point p = place(foot, 25.0 * 25.0 / 8000.0, 0, 1.5);
    EXPECT_NEAR(std::stod(road.calculateDKfromCoordinates(p.y, p.x)), 25.0, kProjectionStop);
}

TEST(Projection, StraightCurveStraightChain) {
    // Straight 0..20, arc 20..40 (R 50, left), straight 40..60 from the arc's stored end:
    // a point 5 left of the last straight (inside the turn, so no step overshoots), 8 along
    // it, has its foot at 48.
    RoadCurvesCalculation road;
    road.inputLine(0, 20, 0, 0, 0);
    road.inputCurve(20, 40, 20, 0, 50, 1, 0);
    const RoadCurve arc = road.getRoadCruves().back();
    road.inputLine(40, 60, arc.endX, arc.endY, arc.endBearing);
    const Point p = place({arc.endX, arc.endY}, arc.endBearing, 8, 5);
    std::string result;
    const double offset = road.vdApproachMethod("0", p.x, p.y, result);
    EXPECT_NEAR(std::stod(result), 48.0, kProjectionStop);
    EXPECT_NEAR(offset, 5.0, kProjectionStop);
}

TEST(Projection, StepAcrossLongChainGivesMarkedChainage) {
    // Straight 1050 -> 1150 over the repeated 1000..1100: 100 along is the second 1050.
    RoadCurvesCalculation road = withChain(kLongChain);
    road.inputLine(1050, 1150, 0, 0, 0);
    std::string result;
    const double offset = road.vdApproachMethod("1050", 100, 2.5, result);
    EXPECT_EQ(result, "01050.000000");
    EXPECT_NEAR(offset, 2.5, kExact);
    EXPECT_EQ(road.calculateDKfromCoordinates(0, 180), "1130.000000");
}

TEST(Projection, StepAcrossShortChainSkipsMissingNumbers) {
    RoadCurvesCalculation road = withChain(kShortChain);
    road.inputLine(990, 1060, 0, 0, 0);
    EXPECT_EQ(road.calculateDKfromCoordinates(1.0, 15.0), "1055.000000");
}

TEST(Projection, PointBehindStartStopsAtStart) {
    // Behind the start the first step is negative: the start, offset from the start point.
    RoadCurvesCalculation road;
    road.inputLine(100, 200, 0, 0, 0);
    std::string result;
    const double offset = road.vdApproachMethod("100", -10, 3, result);
    EXPECT_EQ(result, "100");  // the text passed in, as given
    EXPECT_NEAR(offset, 3.0, kExact);
    EXPECT_EQ(road.calculateDKfromCoordinates(3, -1e9), "100.000000");
}

TEST(Projection, FootBeyondEndLiesOnProducedEndTangent) {
    // Straight 100..200 from (0, 0): (150, 4) has its foot 50 past the end, at 250.
    RoadCurvesCalculation road;
    road.inputLine(100, 200, 0, 0, 0);
    std::string result;
    const double offset = road.vdApproachMethod("100", 150, 4, result);
    EXPECT_EQ(result, "250.000000");
    EXPECT_NEAR(offset, 4.0, kExact);
    EXPECT_FALSE(road.isDKOnAlignment(result));
}

TEST(Projection, FootBeyondCurvedEndUsesStoredEndTangent) {
    // Straight 0..20 then arc 20..40: 30 along the arc's end tangent and 2 to its left.
    RoadCurvesCalculation road;
    road.inputLine(0, 20, 0, 0, 0);
    road.inputCurve(20, 40, 20, 0, 50, 1, 0);
    const RoadCurve arc = road.getRoadCruves().back();
    const Point p = place({arc.endX, arc.endY}, arc.endBearing, 30, 2);
    std::string result;
    const double offset = road.vdApproachMethod("0", p.x, p.y, result);
    EXPECT_NEAR(std::stod(result), 70.0, kExact);
    EXPECT_NEAR(offset, 2.0, kExact);
}

TEST(Projection, FarBeyondEitherEndTerminates) {
    // A straight and a curve-only alignment; points 1e9 away ahead, behind and sideways.
    RoadCurvesCalculation line;
    line.inputLine(100, 200, 0, 0, 0);
    EXPECT_EQ(line.calculateDKfromCoordinates(0, 1e9), "1000000100.000000");
    EXPECT_EQ(line.calculateDKfromCoordinates(0, -1e9), "100.000000");
    EXPECT_EQ(line.calculateDKfromCoordinates(1e9, 0), "100.000000");  // straight across

    RoadCurvesCalculation arc;
    arc.inputCurve(0, 20, 0, 0, 50, 1, 0);
    const RoadCurve curve = only(arc);
    const Point far = place({curve.endX, curve.endY}, curve.endBearing, 1e9, 0);
    std::string result;
    arc.vdApproachMethod("0", far.x, far.y, result);
    EXPECT_NEAR(std::stod(result), 20 + 1e9, 1e-5);  // six decimals of a 1e9 chainage
}

TEST(Projection, InfiniteCoordinatesTerminate) {
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, 0);
    std::string result;
    road.vdApproachMethod("0", kInf, 0, result);
    EXPECT_TRUE(std::isinf(std::stod(result)));
}

TEST(Projection, NotANumberCoordinatesStopAtOnce) {
    RoadCurvesCalculation road;
    road.inputLine(100, 200, 0, 0, 0);
    for (const Point p : {Point{kNaN, 0}, Point{0, kNaN}, Point{kNaN, kNaN}}) {
        std::string result;
        const double offset = road.vdApproachMethod("100", p.x, p.y, result);
        EXPECT_EQ(result, "100");
        EXPECT_TRUE(std::isnan(offset));
    }
    EXPECT_EQ(road.calculateDKfromCoordinates(kNaN, kNaN), "100.000000");
}

TEST(Projection, NoElementsGivesSentinels) {
    RoadCurvesCalculation road;
    std::string result = "unchanged";
    EXPECT_EQ(road.vdApproachMethod("0", 1, 2, result), -99.0);
    EXPECT_EQ(result, "unchanged");
    EXPECT_EQ(road.calculateDKfromCoordinates(1, 2), "-1");
}

TEST(Projection, UnreadableStartThrowsAndKeepsResult) {
    RoadCurvesCalculation road;
    road.inputLine(0, 100, 0, 0, 0);
    std::string result = "unchanged";
    EXPECT_THROW(road.vdApproachMethod("x", 1, 2, result), std::invalid_argument);
    EXPECT_EQ(result, "unchanged");
}

TEST(Projection, ChainageInGapKeepsSteppingIntoLaterElement) {
    // Straight A 0..10 along +x; B 20..30 up from (10, 0); C 30..40 along +x; D 40..50
    // down to (20, 0), the last end, bearing -pi/2. For (11, -3) the first step lands in
    // the gap at 11; the query there answers with D's end, whose tangent puts the point 3
    // ahead, so the steps of 3 cross the gap into B at 20, where the next step is negative:
    // the answer is 20, 1 to the right of B. (Not a foot on D's produced tangent.)
    RoadCurvesCalculation road;
    road.inputLine(0, 10, 0, 0, 0);
    road.inputLine(20, 30, 10, 0, kHalfPi);
    road.inputLine(30, 40, 10, 10, 0);
    road.inputLine(40, 50, 20, 10, -kHalfPi);
    std::string result;
    const double offset = road.vdApproachMethod("0", 11, -3, result);
    EXPECT_EQ(result, "20.000000");
    EXPECT_NEAR(offset, -1.0, kExact);
}
