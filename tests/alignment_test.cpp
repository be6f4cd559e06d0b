// The alignment object's value semantics and list access.
#include "qv_roadCurveCalculation_alg.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <utility>

namespace {

RoadCurve oddRecord(double tag) {
    // Every field distinct, including a NaN and an infinity, so a field that is dropped,
    // swapped or re-derived shows up in a bitwise comparison.
    return RoadCurve{tag,
                     tag + 1,
                     2,
                     3,
                     4,
                     5,
                     6,
                     std::numeric_limits<double>::infinity(),
                     8,
                     9,
                     std::numeric_limits<double>::quiet_NaN(),
                     11,
                     12,
                     4,
                     -1,
                     0.5};
}

bool sameBits(const RoadCurve& a, const RoadCurve& b) {
    return std::memcmp(&a, &b, sizeof(RoadCurve)) == 0;
}

RoadCurvesCalculation routeWithLongChain(int elementCount) {
    RoadCurvesCalculation route;
    BrokenChainSet chains;
    chains.addChain(BrokenChain{0, 1100.0, 1000.0});
    route.setBrokenChainSet(chains);
    for (int i = 0; i < elementCount; ++i) route.addRoadCurves(oddRecord(i));
    return route;
}

}  // namespace

TEST(AlignmentLists, ElementsComeBackBitForBitInOrderAsACopy) {
    RoadCurvesCalculation route = routeWithLongChain(3);
    std::vector<RoadCurve> elements = route.getRoadCruves();
    ASSERT_EQ(elements.size(), 3u);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(sameBits(elements[i], oddRecord(i))) << i;
    elements[0].startDK = 99;
    EXPECT_EQ(route.getRoadCruves().at(0).startDK, 0.0);
    EXPECT_TRUE(RoadCurvesCalculation().getRoadCruves().empty());
}

TEST(AlignmentRecords, ValueInitialisedLineHasFixedDefaults) {
    const RoadCurve line{};
    EXPECT_EQ(line.startRadius, std::numeric_limits<double>::infinity());
    EXPECT_EQ(line.endRadius, std::numeric_limits<double>::infinity());
    EXPECT_EQ(line.startCurvature, 0.0);
    EXPECT_EQ(line.turnDirection, 0);
    EXPECT_EQ(line.integrationStep, 0.0001);
    const BrokenChain chain{1, 1000.0, 1050.0};  // brace order is the field order
    EXPECT_EQ(chain.afterDK, 1050.0);
}

TEST(AlignmentValueSemantics, CopyIsDeepAndIncludesBrokenChains) {
    RoadCurvesCalculation original = routeWithLongChain(2);
    RoadCurvesCalculation copy = original;
    original.addRoadCurves(oddRecord(7));
    original.setBrokenChainSet(BrokenChainSet());
    EXPECT_EQ(copy.getRoadCruves().size(), 2u);
    EXPECT_EQ(copy.calculateDKfromLength("900", 250.0), "01050.000000");

    RoadCurvesCalculation assigned;
    assigned = copy;
    EXPECT_EQ(assigned.calculateLengthBetween2DKs("900", "01050"), 250.0);
}

TEST(AlignmentValueSemantics, MoveLeavesTheSourceEmptyAndReusable) {
    RoadCurvesCalculation a = routeWithLongChain(2);
    RoadCurvesCalculation b;
    b.addRoadCurves(oddRecord(42));
    b = std::move(a);
    EXPECT_EQ(b.getRoadCruves().size(), 2u);
    EXPECT_EQ(b.calculateDKfromLength("900", 250.0), "01050.000000");
    // NOLINTBEGIN(bugprone-use-after-move): the moved-from state is documented
    EXPECT_TRUE(a.getRoadCruves().empty());
    EXPECT_EQ(a.calculateDKfromLength("900", 250.0), "1150.000000");  // no chains left
    a.addRoadCurves(oddRecord(5));
    EXPECT_EQ(a.getRoadCruves().size(), 1u);

    RoadCurvesCalculation c(std::move(b));
    EXPECT_TRUE(b.getRoadCruves().empty());
    EXPECT_EQ(b.calculateLengthBetween2DKs("900", "1150"), 250.0);
    // NOLINTEND(bugprone-use-after-move)
    EXPECT_EQ(c.getRoadCruves().size(), 2u);
}

TEST(AlignmentValueSemantics, SelfAssignmentChangesNothing) {
    RoadCurvesCalculation route = routeWithLongChain(3);
    RoadCurvesCalculation& self = route;
    route = self;
    route = std::move(self);
    ASSERT_EQ(route.getRoadCruves().size(), 3u);
    EXPECT_TRUE(sameBits(route.getRoadCruves()[2], oddRecord(2)));
    EXPECT_EQ(route.calculateDKfromLength("900", 250.0), "01050.000000");
}

TEST(AlignmentBrokenChains, SettingANewSetReplacesTheOldEntirely) {
    RoadCurvesCalculation route;
    BrokenChainSet five;
    for (int i = 0; i < 5; ++i) five.addChain(BrokenChain{1, 100.0 * i, 100.0 * i + 10});
    route.setBrokenChainSet(five);
    BrokenChainSet three;
    for (int i = 0; i < 3; ++i) three.addChain(BrokenChain{1, 2000.0 + i * 100, 2005.0 + i * 100});
    route.setBrokenChainSet(three);
    // Only the three later breaks of 5 each remain: 0..500 is plain, 1900..2300 skips 15.
    EXPECT_EQ(route.calculateLengthBetween2DKs(0.0, 500.0), 500.0);
    EXPECT_EQ(route.calculateLengthBetween2DKs(1900.0, 2300.0), 385.0);
}
