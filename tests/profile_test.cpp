// Vertical profile from grade-change points: reported curve elements, the pieces laid along
// the route (across a long chain), elevations read back, refusals, idle calls and unreadable
// chainages.
#include "qv_roadCurveCalculation_alg.h"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace {

// Fields in declaration order: chainage, elevation, radius, four reserved, pointType.
RoadVerticalCurvePoint bp(std::string dk, double elevation, double radius, int pointType) {
    return {std::move(dk), elevation, radius, 0, 0, 0, 0, pointType};
}

// grade1, grade2, tangent length and external distance, as the conversion reports them.
using Reported = std::array<double, 4>;
int convert(RoadCurvesCalculation& route, Reported& r) {
    return route.convertBPPointsToVerticalCurves(r[0], r[1], r[2], r[3]);
}

// Adds the points one by one and converts after each from the third on, as a host does.
std::vector<Reported> build(RoadCurvesCalculation& route,
                            const std::vector<RoadVerticalCurvePoint>& points) {
    std::vector<Reported> reports;
    for (std::size_t i = 0; i < points.size(); ++i) {
        route.addBPPoint(points[i]);
        if (i < 2) continue;
        reports.emplace_back();
        EXPECT_EQ(convert(route, reports.back()), 0);
    }
    return reports;
}

// Each piece as "startDK endDK curveType concavity".
std::vector<std::string> piecesOf(const RoadCurvesCalculation& route) {
    std::vector<std::string> pieces;
    for (const RoadVerticalCurve& p : route.getVerticalCurves())
        pieces.push_back(p.startDK + " " + p.endDK + " " + std::to_string(p.curveType) + " " +
                         std::to_string(p.concavity));
    return pieces;
}

// The elevations the query reads off the pieces (it needs no horizontal elements for them).
void expectElevations(const RoadCurvesCalculation& route, const std::vector<const char*>& dks,
                      const std::vector<double>& expected) {
    for (std::size_t i = 0; i < dks.size(); ++i) {
        double x = 0, y = 0, z = std::nan("");
        route.calculateCoordinatesAndBearing(dks[i], x, y, z);
        EXPECT_NEAR(z, expected[i], rcc_test::kExact) << "at " << dks[i];
    }
}

// Crest at 1200 and sag at 1400 (R 5000, T 100, the sag's leading line exactly 0 long),
// then a crest at 1800 whose T = 0.06*12000/2 = 360 overruns the 300 left before it.
const std::vector<RoadVerticalCurvePoint> kProfile = {
    bp("1000", 100.0, 0.0, 0), bp("1200", 104.0, 5000.0, 1), bp("1400", 100.0, 5000.0, 1),
    bp("1800", 108.0, 12000.0, 1), bp("2400", 84.0, 0.0, 0)};
// Its first conversion: the line and both halves of the crest at 1200; 1400 is no end point,
// so there is no closing line.
const std::vector<std::string> kFirstCrest = {
    "1000 1100.000000 0 0", "1100.000000 1200.000000 5 -1", "1200.000000 1300.000000 6 -1"};

TEST(ProfileConversion, PointByPointReportsLaysAndReadsBackEachCurve) {
    RoadCurvesCalculation route;
    const std::vector<Reported> reports = build(route, kProfile);
    // grades = rise/run; T = |g2-g1|R/2; E = T^2/(2R)
    const Reported expected[] = {
        {0.02, -0.02, 100.0, 1.0}, {-0.02, 0.02, 100.0, 1.0}, {0.02, -0.04, 360.0, 5.4}};
    for (std::size_t i = 0; i < 12; ++i)
        EXPECT_NEAR(reports[i / 4][i % 4], expected[i / 4][i % 4], rcc_test::kExact) << i;
    // No line before the sag (100 - T = 0) nor before the overrunning crest, whose halves
    // start at 1500, not at 1800 - 360; the closing line runs from 2220 to the end point.
    std::vector<std::string> pieces = kFirstCrest;
    pieces.insert(pieces.end(), {"1300.000000 1400.000000 5 1", "1400.000000 1500.000000 6 1",
                                 "1500.000000 1860.000000 5 -1", "1860.000000 2220.000000 6 -1",
                                 "2220.000000 2400.000000 0 0"});
    EXPECT_EQ(piecesOf(route), pieces);
    // Grade line + c*d^2/(2R), d from the half's tangent point: 100 + 0.02*50; 103 - 50^2/10000
    // in both halves; 100 + E at the sag; 102 + 0.02*200 - 200^2/24000; 109.2 - E at the last
    // crest; 94.8 - 0.04*180 at the end point (the overrun shifts it).
    expectElevations(route, {"1050", "1150", "1250", "1400", "1700", "1860", "2400"},
                     {101.0, 102.75, 102.75, 101.0, 106.0 - 1.0 / 0.6, 103.8, 87.6});

    // A further point whose chainage cannot be read: its text is read only for the second
    // grade length, after the first, and the conversion throws before writing anything.
    route.addBPPoint(bp("abc", 90.0, 0.0, 0));
    Reported r{7, 7, 7, 7};
    EXPECT_ANY_THROW(convert(route, r));
    EXPECT_EQ(r, (Reported{7, 7, 7, 7}));
    EXPECT_EQ(piecesOf(route), pieces);
}

TEST(ProfileConversion, CarriesMarksAcrossALongChain) {
    RoadCurvesCalculation route;
    BrokenChainSet chains;
    chains.addChain(BrokenChain{0, 1100.0, 1000.0});  // 1000..1100 occurs twice
    route.setBrokenChainSet(chains);
    // L1 = 280 through the repeated stretch, L2 = 220; g 0.01 / -0.01, R 4000: T 40, E 0.2.
    // The line of 240 from 900 ends behind the break, at the second 1040.
    build(route,
          {bp("900", 100.0, 0.0, 0), bp("01080", 102.8, 4000.0, 1), bp("1300", 100.6, 0.0, 0)});
    EXPECT_EQ(
        piecesOf(route),
        (std::vector<std::string>{"900 01040.000000 0 0", "01040.000000 01080.000000 5 -1",
                                  "01080.000000 1120.000000 6 -1", "1120.000000 1300.000000 0 0"}));
    // 102.4 + 0.2 - 20^2/8000 before the marked point; 102.8 - 0.3 - 10^2/8000; the end point;
    // the second 1020 is 220 along the first line: 100 + 0.01 * 220 (the first is 120).
    expectElevations(route, {"01060", "1110", "1300", "01020"}, {102.55, 102.4875, 100.6, 102.2});
}

TEST(ProfileConversion, LaysWhatFitsAndLeavesEverythingUntouchedWhenRefusedOrIdle) {
    const auto crest = [](double R) {  // grades 0.02 and -0.02: T = 0.04R/2
        return std::vector<RoadVerticalCurvePoint>{
            bp("1000", 100.0, 0.0, 0), bp("1200", 104.0, R, 1), bp("1400", 100.0, 0.0, 0)};
    };
    const struct {
        std::vector<RoadVerticalCurvePoint> points;
        int calls, status;
        bool untouched;  // whether the out-parameters still hold their value after the last call
        std::vector<std::string> pieces;
    } cases[] = {
        {{}, 1, -1, true, {}},                                       // no points
        {{kProfile[1], kProfile[1], kProfile[1]}, 1, -1, true, {}},  // first point opens nothing
        {{kProfile[0], kProfile[1]}, 1, 0, true, {}},                // too few points
        {{kProfile[0], kProfile[1], kProfile[2]}, 2, 0, true, kFirstCrest},  // nothing new
        {kProfile, 1, 0, false, kFirstCrest},  // more than three points before any piece
        // Radius 0: no curve, two grade lines. R 2e4: T = 400 runs past both neighbours, so
        // only the two halves are laid.
        {crest(0), 1, 0, false, {"1000 1200.000000 0 0", "1200.000000 1400.000000 0 0"}},
        {crest(2e4), 1, 0, false, {"1000 1400.000000 5 -1", "1400.000000 1800.000000 6 -1"}},
    };
    for (const auto& c : cases) {
        RoadCurvesCalculation route;
        for (const RoadVerticalCurvePoint& p : c.points) route.addBPPoint(p);
        Reported r{};
        for (int call = 0; call < c.calls; ++call) {
            r = {7, 7, 7, 7};
            EXPECT_EQ(convert(route, r), c.status);
        }
        EXPECT_EQ(r == (Reported{7, 7, 7, 7}), c.untouched);
        EXPECT_EQ(piecesOf(route), c.pieces);
    }
}

}  // namespace
