// The alignment object's value semantics and list access.
#include "qv_roadCurveCalculation_alg.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

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

namespace {

// Adds the grade-change points one by one, converting after each, as a host does.
void layProfile(RoadCurvesCalculation& route,
                std::initializer_list<RoadVerticalCurvePoint> points) {
    double g1 = 0, g2 = 0, t = 0, e = 0;
    for (const RoadVerticalCurvePoint& p : points) {
        route.addBPPoint(p);
        route.convertBPPointsToVerticalCurves(g1, g2, t, e);
    }
}

// A route whose query reads every kind of derived data: elements from 0.5 (a start written
// "0.500000", which counts as marked) across a long chain, a clothoid, and a profile laid
// across the same chain.
RoadCurvesCalculation builtRoute() {
    RoadCurvesCalculation route;
    BrokenChainSet chains;
    chains.addChain(BrokenChain{0, 1100.0, 1000.0});  // 1000..1100 occurs twice
    route.setBrokenChainSet(chains);
    route.inputLine(0.5, 1100, 100, 200, 0.25);
    route.inputInTransitionCurve(1000, 1200, 300, 400, 300, 1, 0.25);
    route.inputCurve(1200, 1400, 500, 600, 300, -1, 0.75);
    // The grade line from 1097.75 runs across the break to 01006: its end number lies below
    // its start, so the pieces' chainages fall back there (two ascending runs).
    layProfile(route, {{"0", 10, 0, 0, 0, 0, 0, 0},
                       {"1090", 16, 1000, 0, 0, 0, 0, 1},
                       {"01010", 15.8, 1000, 0, 0, 0, 0, 1},
                       {"1400", 15, 0, 0, 0, 0, 0, 0}});
    return route;
}

// Every answer of the point query at chainages on, between and beside the derived data, as
// raw bits (NaN-safe), so that a stale index or value shows as a difference.
std::vector<std::uint64_t> answers(const RoadCurvesCalculation& route) {
    std::vector<std::uint64_t> bits;
    for (const char* dk : {"0.5", "300", "1000", "01000", "01050", "1099.5", "1150", "1200",
                           "1300.25", "1400", "2000", "nan"}) {
        double x = 0, y = 0, z = -7;
        const double bearing = route.calculateCoordinatesAndBearing(dk, x, y, z);
        for (double v : {bearing, x, y, z}) {
            std::uint64_t b = 0;
            std::memcpy(&b, &v, sizeof b);
            bits.push_back(b);
        }
        bits.push_back(route.isDKOnAlignment(dk));
    }
    return bits;
}

}  // namespace

TEST(AlignmentDerivedData, EveryCopyMoveAndAssignmentAnswersAsAFreshObject) {
    const std::vector<std::uint64_t> fresh = answers(builtRoute());
    RoadCurvesCalculation original = builtRoute();
    const RoadCurvesCalculation copied(original);
    EXPECT_EQ(answers(copied), fresh);

    RoadCurvesCalculation assigned = routeWithLongChain(5);  // different lists to overwrite
    assigned = original;
    EXPECT_EQ(answers(assigned), fresh);

    RoadCurvesCalculation moved(std::move(original));
    EXPECT_EQ(answers(moved), fresh);
    // NOLINTNEXTLINE(bugprone-use-after-move): the moved-from state is documented
    EXPECT_EQ(answers(original), answers(RoadCurvesCalculation()));

    RoadCurvesCalculation moveAssigned = routeWithLongChain(5);
    moveAssigned = std::move(moved);
    EXPECT_EQ(answers(moveAssigned), fresh);

    RoadCurvesCalculation& self = moveAssigned;
    moveAssigned = self;
    moveAssigned = std::move(self);
    EXPECT_EQ(answers(moveAssigned), fresh);

    // Appending to a copy extends its own data only, as on an object built the same way.
    RoadCurvesCalculation extended = assigned;
    extended.inputLine(1400, 1500, 0, 0, 0);
    RoadCurvesCalculation freshExtended = builtRoute();
    freshExtended.inputLine(1400, 1500, 0, 0, 0);
    EXPECT_EQ(answers(extended), answers(freshExtended));
    EXPECT_EQ(answers(assigned), fresh);
}

namespace {

// A straight tagged by its index: it runs along +x from (0, 1000 * index), so the y of any
// point on it names the element that answered.
RoadCurve taggedLine(int index, double startDK, double endDK) {
    RoadCurve line;
    line.startDK = startDK;
    line.endDK = endDK;
    line.startY = 1000.0 * index;
    line.endY = line.startY;
    line.endX = endDK - startDK;
    line.length = endDK - startDK;
    return line;
}

// The documented rule itself: the first element in stored order whose range holds dk.
int firstHolder(const std::vector<RoadCurve>& elements, double dk) {
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (elements[i].startDK <= dk && dk <= elements[i].endDK) return static_cast<int>(i);
    }
    return -1;
}

}  // namespace

TEST(AlignmentSearch, FindsTheFirstHolderInStoredOrderOnUnsortedListsAndNaN) {
    // Hand-made: restarts, overlaps, a reversed range, a zero-length range, NaN ends.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<std::pair<double, double>> ranges = {
        {100, 200}, {0, 150},   {150, 300}, {nan, 400}, {250, 400}, {400, 400},
        {500, 450}, {450, nan}, {400, 600}, {600, 700}, {600, 700}};
    RoadCurvesCalculation route;
    std::vector<RoadCurve> elements;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        elements.push_back(taggedLine(static_cast<int>(i), ranges[i].first, ranges[i].second));
        route.addRoadCurves(elements.back());
    }
    // Seeded random lists as well: ascending stretches, restarts and NaN mixed.
    std::mt19937_64 random(17);
    RoadCurvesCalculation mixed;
    std::vector<RoadCurve> mixedElements;
    double at = 0;
    for (int i = 0; i < 400; ++i) {
        const auto roll = random() % 20;
        if (roll == 0) at -= 300;  // a restart of the numbering
        const double length = roll == 1 ? 0.0 : static_cast<double>(random() % 50);
        const double end = roll == 2 ? nan : at + length;
        mixedElements.push_back(taggedLine(i, roll == 3 ? nan : at, end));
        mixed.addRoadCurves(mixedElements.back());
        at += length;
    }
    const auto check = [](const RoadCurvesCalculation& r, const std::vector<RoadCurve>& list,
                          double dk) {
        double x = 0, y = -1, z = 0;
        r.calculateCoordinatesAndBearing(std::to_string(dk), x, y, z);
        const int expected = firstHolder(list, dk);
        EXPECT_EQ(r.isDKOnAlignment(std::to_string(dk)), expected >= 0) << dk;
        EXPECT_EQ(y, expected >= 0 ? 1000.0 * expected : list.back().endY) << dk;
    };
    // Ascending but overlapping: each range reaches 60 ranges on, so the first holder lies
    // far before the last range started.
    RoadCurvesCalculation overlapping;
    std::vector<RoadCurve> overlappingElements;
    for (int i = 0; i < 300; ++i) {
        overlappingElements.push_back(taggedLine(i, 2.0 * i, 2.0 * i + 120 + (i / 50) * 7));
        overlapping.addRoadCurves(overlappingElements.back());
    }
    for (double dk = -50; dk <= 800; dk += 12.5) check(route, elements, dk);
    for (double dk = -5; dk <= 1000; dk += 1.25) check(overlapping, overlappingElements, dk);
    for (double dk = -2000; dk <= 6000; dk += 7) check(mixed, mixedElements, dk);
}

// The elevation the header documents, from the first profile piece in stored order whose
// [startDK, endDK] holds the chainage: a profile laid across a long chain, whose piece
// chainages fall back at the break (two ascending runs), and one without breaks.
TEST(AlignmentSearch, ProfilePiecesAnswerAsTheFirstHolderInStoredOrder) {
    RoadCurvesCalculation plain;
    layProfile(plain, {{"0", 10, 0, 0, 0, 0, 0, 0},
                       {"250", 14, 3000, 0, 0, 0, 0, 1},
                       {"500", 11, 5000, 0, 0, 0, 0, 1},
                       {"800", 12, 0, 0, 0, 0, 0, 0}});
    const RoadCurvesCalculation routes[] = {plain, builtRoute()};
    for (const RoadCurvesCalculation& r : routes) {
        const std::vector<RoadVerticalCurve> pieces = r.getVerticalCurves();
        for (double dk = -10; dk <= 1500; dk += 1.75) {
            for (const std::string& text : {std::to_string(dk), "0" + std::to_string(dk)}) {
                const double value = std::stod(text);
                double expected = -7;  // untouched when no piece holds the chainage
                for (const RoadVerticalCurve& p : pieces) {
                    if (!(std::stod(p.startDK) <= value && value <= std::stod(p.endDK))) continue;
                    const double d = r.calculateLengthBetween2DKs(p.startDK, text);
                    const double off =
                        p.curveType == 5 ? d : p.length - d;  // from the tangent point
                    expected =
                        p.grade * d + p.startElevation +
                        (p.curveType == 0 ? 0.0 : p.concavity * (off * off / (p.radius * 2.0)));
                    break;
                }
                double x = 0, y = 0, z = -7;
                r.calculateCoordinatesAndBearing(text, x, y, z);
                EXPECT_EQ(z, expected) << text;
            }
        }
    }
}
