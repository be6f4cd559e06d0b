// Tests of the design-drawing analysis: arch outlines sorted into a base line and two runs.
#include "qv_roadCurveCalculation_alg.h"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace {

using Items = std::vector<DesignCruveInPut>;
constexpr double kPi = 3.141592653589793;
constexpr double kUp = kPi / 2;
constexpr double kQuarter = 5 * kPi / 2;  // quarter circle of radius 5

// The arch: base, left wall, right wall given top down, semicircular crown centred at (0, 3).
const DesignCruveInPut kBase{-5, 0, 5, 0, 0}, kLeftWall{-5, 0, -5, 3, 0};
const DesignCruveInPut kRightWall{5, 3, 5, 0, 0}, kCrown{-5, 3, 5, 3, 5};

// One expected element: start, end, chainages, end bearings, kind, turn (arcs only).
struct Expected {
    double sx, sy, ex, ey, startDK, endDK, startBearing, endBearing;
    int curveType, turn;
};
using Chain = std::vector<Expected>;
Expected line(double sx, double sy, double ex, double ey, double dk, double endDK, double b) {
    return {sx, sy, ex, ey, dk, endDK, b, b, 0, 0};
}
Expected arc(double sx, double sy, double ex, double ey, double dk, double length, double b0,
             double b1, int turn) {
    return {sx, sy, ex, ey, dk, dk + length, b0, b1, 7, turn};
}

void expectChain(const std::vector<RoadCurve>& got, const Chain& want) {
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) {
        const RoadCurve& g = got[i];
        const Expected& w = want[i];
        const double gotFields[] = {g.startX,  g.startY, g.endX,         g.endY,
                                    g.startDK, g.endDK,  g.startBearing, g.endBearing};
        const double wantFields[] = {w.sx,      w.sy,    w.ex,           w.ey,
                                     w.startDK, w.endDK, w.startBearing, w.endBearing};
        for (int k = 0; k < 8; ++k)
            EXPECT_NEAR(gotFields[k], wantFields[k], rcc_test::kExact) << i << ", field " << k;
        EXPECT_EQ(g.curveType, w.curveType) << i;
        EXPECT_EQ(g.integrationStep, w.curveType == 7 ? 0.01 : 0.0001) << i;  // coarse arcs
        if (w.curveType == 7) {
            EXPECT_EQ(g.turnDirection, w.turn) << i;
        }
    }
}

// Walls straight up; then quarter arcs on the circle centred at (0, 3), from tangent pi/2 at
// the wall top to 0 (left, clockwise) or pi (right, counter-clockwise) at the apex (0, 8).
const Expected kLeftUp = line(-5, 0, -5, 3, 0, 3, kUp), kRightUp = line(5, 0, 5, 3, 0, 3, kUp);
const Expected kBaseLine = line(5, 0, -5, 0, 0, 10, kPi);  // run from the larger-x end
const Chain kArchLeft{kLeftUp, arc(-5, 3, 0, 8, 3, kQuarter, kUp, 0, -1)};
const Chain kArchRight{kRightUp, arc(5, 3, 0, 8, 3, kQuarter, kUp, kPi, 1)};

// The left run, right run and base line of one call on fresh outputs (result 0 expected).
using Runs = std::array<std::vector<RoadCurve>, 3>;
Runs analyse(const Items& items) {
    RoadCurvesCalculation left, right, base;
    EXPECT_EQ(analysisDesignCurves(items, left, right, base), 0);
    return {left.getRoadCruves(), right.getRoadCruves(), base.getRoadCruves()};
}

DesignCruveInPut flip(DesignCruveInPut i) { return {i.x2, i.y2, i.x1, i.y1, i.radius}; }

}  // namespace

TEST(DesignChains, OutlinesGiveTheExpectedElementChains) {
    const double r75 = std::sqrt(75.0), r5 = std::sqrt(5.0), nan = std::nan("");
    const struct {
        const char* note;
        Items items;
        Chain left, right, base;
    } cases[] = {
        // Split at (0, 8), top of the circle centred at (0, 3); right wall reversed (2nd end down).
        {"semicircle", {kBase, kLeftWall, kRightWall, kCrown}, kArchLeft, kArchRight, {kBaseLine}},
        {"other end first",
         {flip(kBase), flip(kLeftWall), flip(kRightWall), kCrown},
         kArchLeft,
         kArchRight,
         {kBaseLine}},
        // Centre (0, 3 - sqrt75): radial angles 2pi/3 and pi/3, each half turns pi/6.
        {"flatter crown",
         {kBase, kLeftWall, kRightWall, {-5, 3, 5, 3, 10}},
         {kLeftUp, arc(-5, 3, 0, 13 - r75, 3, 10 * kPi / 6, kPi / 6, 0, -1)},
         {kRightUp, arc(5, 3, 0, 13 - r75, 3, 10 * kPi / 6, 5 * kPi / 6, kPi, 1)},
         {kBaseLine}},
        // Drawn right to left: split circle centred at (0, 3 + sqrt75), each half turns 5pi/6
        // (radial 4pi/3 or 5pi/3 up to pi/2).
        {"crown right to left",
         {kBase, kLeftWall, kRightWall, {5, 3, -5, 3, 10}},
         {kLeftUp, arc(-5, 3, 0, 13 + r75, 3, 50 * kPi / 6, 5 * kPi / 6, 0, -1)},
         {kRightUp, arc(5, 3, 0, 13 + r75, 3, 50 * kPi / 6, kPi / 6, kPi, 1)},
         {kBaseLine}},
        // Straights are never split: the left run takes the crown whole.
        {"straight crown",
         {kBase, kLeftWall, kRightWall, {-5, 3, 5, 3, 0}},
         {kLeftUp, line(-5, 3, 5, 3, 3, 13, 0)},
         {kRightUp},
         {kBaseLine}},
        // The right run goes on over the apex and down the left half, turning 1 (pi to 3pi/2).
        {"no left wall",
         {kBase, kRightWall, kCrown},
         {},
         {kRightUp, kArchRight[1], arc(0, 8, -5, 3, 3 + kQuarter, kQuarter, kPi, 3 * kPi / 2, 1)},
         {kBaseLine}},
        {"no base", {kLeftWall, kRightWall, kCrown}, kArchLeft, kArchRight, {}},
        // The first straight at y = 0 is the base; the right run's reversed-end test precedes
        // its continuation test, so the second runs (5, 0) -> (0, 0), then the wall climbs.
        {"two base items",
         {{-5, 0, 0, 0, 0}, {0, 0, 5, 0, 0}, kLeftWall, kRightWall, kCrown},
         kArchLeft,
         {line(5, 0, 0, 0, 0, 5, kPi), line(5, 0, 5, 3, 5, 8, kUp),
          arc(5, 3, 0, 8, 8, kQuarter, kUp, kPi, 1)},
         {line(0, 0, -5, 0, 0, 5, kPi)}},
        // List order outranks the test: a continuation listed first is taken, then a second
        // climb from the base with chainage running on; listed the other way, the base item
        // wins and nothing continues from its top.
        {"continuation first",
         {kLeftWall, {-5, 3, -4, 5, 0}, {-8, 0, -8, 1, 0}},
         {kLeftUp, line(-5, 3, -4, 5, 3, 3 + r5, std::atan2(2, 1)),
          line(-8, 0, -8, 1, 3 + r5, 4 + r5, kUp)},
         {},
         {}},
        {"base item first",
         {kLeftWall, {-8, 0, -8, 1, 0}, {-5, 3, -4, 5, 0}},
         {kLeftUp, line(-8, 0, -8, 1, 3, 4, kUp)},
         {},
         {}},
        // Both runs start at the origin; only the right run takes an item ending there (no
        // side test), before the later wall standing on the base at y = -1.
        {"origin",
         {{-5, -1, 5, -1, 0}, {3, 4, 0, 0, 0}, {5, -1, 5, 3, 0}},
         {},
         {line(0, 0, 3, 4, 0, 5, std::atan2(4, 3)), line(5, -1, 5, 3, 5, 9, kUp)},
         {line(5, -1, -5, -1, 0, 10, kPi)}},
        // Matching is strict: 0.0009 above the base stands on it, 0.001 does not.
        {"foot 0.0009 up",
         {kBase, {-5, 0.0009, -5, 3, 0}},
         {line(-5, 0.0009, -5, 3, 0, 2.9991, kUp)},
         {},
         {kBaseLine}},
        {"foot 0.001 up", {kBase, {-5, 0.001, -5, 3, 0}}, {}, {}, {kBaseLine}},
        // NaN never matches and never lowers the lowest level.
        {"NaN items",
         {{nan, nan, nan, nan, nan}, {-1, nan, 1, nan, 0}, kBase, kLeftWall, kRightWall, kCrown},
         kArchLeft,
         kArchRight,
         {kBaseLine}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.note);
        const Runs runs = analyse(c.items);
        expectChain(runs[0], c.left);
        expectChain(runs[1], c.right);
        expectChain(runs[2], c.base);
    }
}

TEST(DesignOutputs, LaterCallsAppendFromChainageZeroAndEmptyListTouchesNothing) {
    RoadCurvesCalculation left, right, base;
    const Items arch{kBase, kLeftWall, kRightWall, kCrown};
    ASSERT_EQ(analysisDesignCurves(arch, left, right, base), 0);
    ASSERT_EQ(analysisDesignCurves(arch, left, right, base), 0);
    EXPECT_EQ(analysisDesignCurves({}, left, right, base), -1);  // -1: empty list
    expectChain(left.getRoadCruves(), {kArchLeft[0], kArchLeft[1], kArchLeft[0], kArchLeft[1]});
    expectChain(right.getRoadCruves(),
                {kArchRight[0], kArchRight[1], kArchRight[0], kArchRight[1]});
    expectChain(base.getRoadCruves(), {kBaseLine, kBaseLine});
}

TEST(DesignOutputs, EveryOutputAnswersQueryAndProjectionAlongItsLength) {
    RoadCurvesCalculation left, right, base;
    ASSERT_EQ(analysisDesignCurves({kBase, kLeftWall, kRightWall, kCrown}, left, right, base), 0);
    // Closed-form point at chainage s: the base runs (5 - s, 0); a wall rises along x = 5 side
    // to s = 3, then the circle centred at (0, 3) is entered at angle 0 (right) or pi (left)
    // and turned towards the top by (s - 3) / 5.
    auto archPoint = [](int side, double s) {
        if (side == 0) return std::pair{5 - s, 0.0};
        if (s <= 3) return std::pair{5.0 * side, s};
        const double angle = side > 0 ? (s - 3) / 5 : kPi - (s - 3) / 5;
        return std::pair{5 * std::cos(angle), 3 + 5 * std::sin(angle)};
    };
    const struct {
        const RoadCurvesCalculation& route;
        int side;
        double end;
    } walks[] = {{left, -1, 3 + kQuarter}, {right, 1, 3 + kQuarter}, {base, 0, 10}};
    constexpr int kSamples = 40;
    for (const auto& walk : walks) {
        for (int i = 0; i <= kSamples; ++i) {
            const double s = walk.end * i / kSamples;
            SCOPED_TRACE("side " + std::to_string(walk.side) + ", chainage " + std::to_string(s));
            double x = 0, y = 0, z = 0;
            walk.route.calculateCoordinatesAndBearing(std::to_string(s), x, y, z);
            const auto [wx, wy] = archPoint(walk.side, s);
            EXPECT_LT(std::hypot(x - wx, y - wy), rcc_test::kDesignArcPosition);
            const double foot = std::stod(walk.route.calculateDKfromCoordinates(wy, wx));
            EXPECT_NEAR(foot, s, rcc_test::kDesignArcPosition);
        }
    }
}

TEST(DesignDegenerate, ChordLongerThanDiameterGivesNaNDownTheRun) {
    // A wall arc of radius 1 over a chord of 3: no such circle, so its length and every
    // later chainage of the left run are NaN; the right run is unaffected.
    Runs runs = analyse({kBase, {-5, 0, -5, 3, 1}, kRightWall, kCrown});
    ASSERT_EQ(runs[0].size(), 2u);
    EXPECT_TRUE(std::isnan(runs[0][0].length) && std::isnan(runs[0][0].endDK));
    EXPECT_TRUE(std::isnan(runs[0][1].startDK) && std::isnan(runs[0][1].endDK));
    expectChain(runs[1], kArchRight);
    // A crown of radius 4 over a chord of 10: the split point's y is NaN, both halves end
    // there, and nothing continues from it.
    runs = analyse({kLeftWall, kRightWall, {-5, 3, 5, 3, 4}, {0, 8, 1, 9, 0}});
    for (int side = 0; side < 2; ++side) {
        ASSERT_EQ(runs[side].size(), 2u);
        EXPECT_TRUE(std::isnan(runs[side][1].endY) && std::isnan(runs[side][1].length));
    }
}
