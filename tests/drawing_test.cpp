// Tests of the design-drawing analysis: arch outlines sorted into a base line and two runs.
#include "qv_roadCurveCalculation_alg.h"
#include "route_walk.hpp"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using Items = std::vector<DesignCruveInPut>;
constexpr double kPi = 3.141592653589793;

// The arch: base, left wall, right wall given top down, semicircular crown centred at (0, 3).
const DesignCruveInPut kBase{-5, 0, 5, 0, 0}, kLeftWall{-5, 0, -5, 3, 0};
const DesignCruveInPut kRightWall{5, 3, 5, 0, 0}, kCrown{-5, 3, 5, 3, 5};
DesignCruveInPut flip(DesignCruveInPut i) { return {i.x2, i.y2, i.x1, i.y1, i.radius}; }

// One expected element: start, end, chainages and turn; turn 0 is a straight, any other a
// drawing arc turning that way.
struct Expected {
    double sx, sy, ex, ey, startDK, endDK;
    int turn;
};
using Chain = std::vector<Expected>;

void expectChain(const std::vector<RoadCurve>& got, const Chain& want) {
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) {
        const RoadCurve& g = got[i];
        const Expected& w = want[i];
        const double gotFields[] = {g.startX, g.startY, g.endX, g.endY, g.startDK, g.endDK};
        const double wantFields[] = {w.sx, w.sy, w.ex, w.ey, w.startDK, w.endDK};
        for (int k = 0; k < 6; ++k)
            EXPECT_NEAR(gotFields[k], wantFields[k], rcc_test::kExact) << i << ", field " << k;
        EXPECT_EQ(g.turnDirection, w.turn) << i;
        EXPECT_EQ(g.curveType, w.turn == 0 ? 0 : 7) << i;
        EXPECT_EQ(g.integrationStep, w.turn == 0 ? 0.0001 : 0.01) << i;  // coarse arcs
    }
}

// Walls straight up, then quarter arcs (length 5 pi / 2) on the circle centred at (0, 3) to
// the apex (0, 8): clockwise on the left, counter-clockwise on the right. The base runs from
// its larger-x end.
constexpr double kQuarterEnd = 3 + 5 * kPi / 2;
const Expected kLeftUp{-5, 0, -5, 3, 0, 3, 0}, kRightUp{5, 0, 5, 3, 0, 3, 0};
const Expected kLeftQuarter{-5, 3, 0, 8, 3, kQuarterEnd, -1};
const Expected kRightQuarter{5, 3, 0, 8, 3, kQuarterEnd, 1};
const Expected kBaseLine{5, 0, -5, 0, 0, 10, 0};
const Chain kArchLeft{kLeftUp, kLeftQuarter}, kArchRight{kRightUp, kRightQuarter};

TEST(DesignChains, OutlinesGiveTheExpectedElementChains) {
    const double r75 = std::sqrt(75.0), nan = std::nan("");
    const DesignCruveInPut noNumbers{nan, nan, nan, nan, nan}, noHeights{-1, nan, 1, nan, 0};
    const struct {
        const char* note;
        Items items;
        Chain left, right, base;
    } cases[] = {
        // The semicircle is split at (0, 8), the top of its circle. NaN never matches and never
        // lowers the lowest level.
        {"other ends first, NaN items",
         {flip(kBase), flip(kLeftWall), flip(kRightWall), kCrown, noNumbers, noHeights},
         kArchLeft,
         kArchRight,
         {kBaseLine}},
        // Lowest level only on second ends.
        {"no base", {flip(kLeftWall), kRightWall, kCrown}, kArchLeft, kArchRight, {}},
        // Centre (0, 3 - sqrt75): each half turns pi/6 on radius 10.
        {"flatter crown",
         {kBase, kLeftWall, kRightWall, {-5, 3, 5, 3, 10}},
         {kLeftUp, {-5, 3, 0, 13 - r75, 3, 3 + 10 * kPi / 6, -1}},
         {kRightUp, {5, 3, 0, 13 - r75, 3, 3 + 10 * kPi / 6, 1}},
         {kBaseLine}},
        // Straights are never split: the left run takes the crown whole.
        {"straight crown",
         {kBase, kLeftWall, kRightWall, {-5, 3, 5, 3, 0}},
         {kLeftUp, {-5, 3, 5, 3, 3, 13, 0}},
         {kRightUp},
         {kBaseLine}},
        // The right run goes on over the apex and down the left half, still turning 1.
        {"no left wall",
         {kBase, kRightWall, kCrown},
         {},
         {kRightUp, kRightQuarter, {0, 8, -5, 3, kQuarterEnd, kQuarterEnd + 5 * kPi / 2, 1}},
         {kBaseLine}},
        // An arc ending less than 0.001 from the axis is taken whole: chord |(5.001, 5)|.
        {"arc ending at the axis",
         {kRightWall, {-0.001, 8, 5, 3, 5}},
         {},
         {kRightUp, {5, 3, -0.001, 8, 3, 3 + 10 * std::asin(std::hypot(5.001, 5) / 10), 1}},
         {}},
        // A lowest arc is no base line; the left run stands on it (a semicircle of radius 1).
        {"arc at the lowest level",
         {{-5, 0, -3, 0, 1}, kBase},
         {{-5, 0, -3, 0, 0, kPi, -1}},
         {},
         {kBaseLine}},
        // The first straight at y = 0 is the base; the right run's reversed-end test precedes
        // its continuation test, so the second runs (5, 0) -> (0, 0), then the wall climbs.
        {"two base items",
         {{-5, 0, 0, 0, 0}, {0, 0, 5, 0, 0}, kLeftWall, kRightWall, kCrown},
         kArchLeft,
         {{5, 0, 0, 0, 0, 5, 0}, {5, 0, 5, 3, 5, 8, 0}, {5, 3, 0, 8, 8, kQuarterEnd + 5, 1}},
         {{0, 0, -5, 0, 0, 5, 0}}},
        // Both runs start at the origin; only the right run takes an item ending there (no
        // side test), before the wall standing on the base at y = -1, listed later: list
        // order outranks the kind of test. Chainage runs on into the second climb.
        {"origin",
         {{-5, -1, 5, -1, 0}, {3, 4, 0, 0, 0}, {5, -1, 5, 3, 0}},
         {},
         {{0, 0, 3, 4, 0, 5, 0}, {5, -1, 5, 3, 5, 9, 0}},
         {{5, -1, -5, -1, 0, 10, 0}}},
        // Matching is strict: 0.0009 above the base stands on it, 0.001 does not.
        {"feet 0.0009 and 0.001 up",
         {kBase, {-5, 0.0009, -5, 3, 0}, {-4, 0.001, -4, 3, 0}},
         {{-5, 0.0009, -5, 3, 0, 2.9991, 0}},
         {},
         {kBaseLine}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.note);
        RoadCurvesCalculation left, right, base;
        EXPECT_EQ(analysisDesignCurves(c.items, left, right, base), 0);
        expectChain(left.getRoadCruves(), c.left);
        expectChain(right.getRoadCruves(), c.right);
        expectChain(base.getRoadCruves(), c.base);
    }
}

// An outline standing far from the origin (a projected northing) sorts as at the origin:
// the lowest level is searched among the items, not from 0. Straights only, so exact.
TEST(DesignChains, AnOutlineAtANorthingOf3500kmGivesTheSameRunsShifted) {
    constexpr double kNorth = 3.5e6;
    const auto up = [](DesignCruveInPut i) {
        return DesignCruveInPut{i.x1, i.y1 + kNorth, i.x2, i.y2 + kNorth, i.radius};
    };
    const auto upExpected = [](Expected e) {
        return Expected{e.sx, e.sy + kNorth, e.ex, e.ey + kNorth, e.startDK, e.endDK, e.turn};
    };
    const DesignCruveInPut flatCrown{-5, 3, 5, 3, 0};
    const Expected crownRun{-5, 3, 5, 3, 3, 13, 0};
    RoadCurvesCalculation left, right, base;
    EXPECT_EQ(analysisDesignCurves({up(kBase), up(kLeftWall), up(kRightWall), up(flatCrown)}, left,
                                   right, base),
              0);
    expectChain(left.getRoadCruves(), {upExpected(kLeftUp), upExpected(crownRun)});
    expectChain(right.getRoadCruves(), {upExpected(kRightUp)});
    expectChain(base.getRoadCruves(), {upExpected(kBaseLine)});
}

TEST(DesignOutputs, LaterCallsAppendFromChainageZeroAndAnEmptyListTouchesNothing) {
    RoadCurvesCalculation left, right, base;
    const Items arch{kBase, kLeftWall, kRightWall, kCrown};
    for (int call = 0; call < 2; ++call)
        ASSERT_EQ(analysisDesignCurves(arch, left, right, base), 0);
    EXPECT_EQ(analysisDesignCurves({}, left, right, base), -1);
    expectChain(left.getRoadCruves(), {kLeftUp, kLeftQuarter, kLeftUp, kLeftQuarter});
    expectChain(right.getRoadCruves(), {kRightUp, kRightQuarter, kRightUp, kRightQuarter});
    expectChain(base.getRoadCruves(), {kBaseLine, kBaseLine});
}

TEST(DesignOutputs, EachOutputCanBeWalkedAndProjectedFromChainageZero) {
    // Drawing arcs are evaluated with the coarse step 0.01, hence the looser slack.
    RoadCurvesCalculation left, right, base;
    ASSERT_EQ(analysisDesignCurves({kBase, kLeftWall, kRightWall, kCrown}, left, right, base), 0);
    for (const RoadCurvesCalculation* output : {&left, &right, &base}) {
        rcc_test::expectWalkable(*output, 0.25, rcc_test::kDesignArcPosition);
    }
}

}  // namespace
