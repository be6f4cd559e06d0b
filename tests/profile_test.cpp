// Vertical profile from grade-change points: reported curve elements, the pieces laid along
// the route (across a long chain), elevations read back, refusals and unreadable chainages.
#include "qv_roadCurveCalculation_alg.h"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Reported {
    double grade1, grade2, tangentLength, externalDistance;
};
struct Piece {
    const char* startDK;
    const char* endDK;
    int curveType, concavity;
};
struct Elevation {
    const char* dk;
    double expected;
};

constexpr double kUntouched = 7.0;  // value the out-parameters hold before a call

RoadVerticalCurvePoint bp(std::string dk, double elevation, double radius, int pointType) {
    RoadVerticalCurvePoint p;
    p.dk = std::move(dk);
    p.elevation = elevation;
    p.radius = radius;
    p.pointType = pointType;
    return p;
}

int convert(RoadCurvesCalculation& route, Reported& r) {
    return route.convertBPPointsToVerticalCurves(r.grade1, r.grade2, r.tangentLength,
                                                 r.externalDistance);
}

void expectReported(const Reported& got, const Reported& want) {
    EXPECT_NEAR(got.grade1, want.grade1, rcc_test::kExact);
    EXPECT_NEAR(got.grade2, want.grade2, rcc_test::kExact);
    EXPECT_NEAR(got.tangentLength, want.tangentLength, rcc_test::kExact);
    EXPECT_NEAR(got.externalDistance, want.externalDistance, rcc_test::kExact);
}

// Adds the points one by one and converts after each from the third on, as a host does.
std::vector<Reported> buildProfile(RoadCurvesCalculation& route,
                                   const std::vector<RoadVerticalCurvePoint>& points) {
    std::vector<Reported> reports;
    for (std::size_t i = 0; i < points.size(); ++i) {
        route.addBPPoint(points[i]);
        if (i < 2) continue;
        Reported r{};
        EXPECT_EQ(convert(route, r), 0);
        reports.push_back(r);
    }
    return reports;
}

void expectPieces(const RoadCurvesCalculation& route, const std::vector<Piece>& expected) {
    const std::vector<RoadVerticalCurve> pieces = route.getVerticalCurves();
    ASSERT_EQ(pieces.size(), expected.size());
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        EXPECT_EQ(pieces[i].startDK, expected[i].startDK) << "piece " << i;
        EXPECT_EQ(pieces[i].endDK, expected[i].endDK) << "piece " << i;
        EXPECT_EQ(pieces[i].curveType, expected[i].curveType) << "piece " << i;
        EXPECT_EQ(pieces[i].concavity, expected[i].concavity) << "piece " << i;
    }
}

// Without horizontal elements the query answers -99.0 but still looks up the elevation.
void expectElevations(const RoadCurvesCalculation& route, const std::vector<Elevation>& cases) {
    for (const Elevation& c : cases) {
        double x = 0.0, y = 0.0, z = std::numeric_limits<double>::quiet_NaN();
        EXPECT_EQ(route.calculateCoordinatesAndBearing(c.dk, x, y, z), -99.0);
        EXPECT_NEAR(z, c.expected, rcc_test::kExact) << "at " << c.dk;
    }
}

// Crest at 1200 and sag at 1400 (R 5000, T 100, the sag's leading line exactly 0 long),
// then a crest at 1800 whose T = 0.06*12000/2 = 360 overruns the 300 left before it.
const std::vector<RoadVerticalCurvePoint> kProfile = {
    bp("1000", 100.0, 0.0, 0), bp("1200", 104.0, 5000.0, 1), bp("1400", 100.0, 5000.0, 1),
    bp("1800", 108.0, 12000.0, 1), bp("2400", 84.0, 0.0, 0)};

}  // namespace

TEST(ProfileConversion, ReportsGradesTangentAndExternalDistancePerPoint) {
    RoadCurvesCalculation route;
    const std::vector<Reported> reports = buildProfile(route, kProfile);
    // grades = rise/run; T = |g2-g1|R/2; E = T^2/(2R)
    const std::vector<Reported> expected = {
        {0.02, -0.02, 100.0, 1.0}, {-0.02, 0.02, 100.0, 1.0}, {0.02, -0.04, 360.0, 5.4}};
    ASSERT_EQ(reports.size(), expected.size());
    for (std::size_t i = 0; i < reports.size(); ++i) expectReported(reports[i], expected[i]);
}

TEST(ProfileConversion, LaysPiecesFromTheRunningPosition) {
    RoadCurvesCalculation route;
    buildProfile(route, kProfile);
    // No line before the sag (100 - T = 0) nor before the overrunning crest, whose halves
    // start at 1500, not at 1800 - 360; the closing line runs from 2220 to the end point.
    expectPieces(route, {{"1000", "1100.000000", 0, 0},
                         {"1100.000000", "1200.000000", 5, -1},
                         {"1200.000000", "1300.000000", 6, -1},
                         {"1300.000000", "1400.000000", 5, 1},
                         {"1400.000000", "1500.000000", 6, 1},
                         {"1500.000000", "1860.000000", 5, -1},
                         {"1860.000000", "2220.000000", 6, -1},
                         {"2220.000000", "2400.000000", 0, 0}});
}

TEST(ProfileElevation, FollowsGradeLinesAndBothCurveHalves) {
    RoadCurvesCalculation route;
    buildProfile(route, kProfile);
    // grade line + c*d^2/(2R), d measured from the half's tangent point
    expectElevations(route, {{"1050", 101.0},                       // 100 + 0.02*50
                             {"1150", 102.75},                      // 103 - 50^2/10000
                             {"1200", 103.0},                       // 104 - E at the crest
                             {"1250", 102.75},                      // symmetric second half
                             {"1400", 101.0},                       // 100 + E at the sag
                             {"1700", 106.0 - 1.0 / 0.6},           // 102 + 0.02*200 - 200^2/24000
                             {"1860", 103.8},                       // 109.2 - E = 5.4
                             {"2000", 103.6 - 2.0166666666666666},  // 220^2/24000 to the end
                             {"2400", 87.6}});  // 94.8 - 0.04*180: the overrun shifts the end
}

TEST(ProfileElevation, CarriesMarksAcrossALongChain) {
    RoadCurvesCalculation route;
    BrokenChainSet chains;
    chains.addChain(BrokenChain{0, 1100.0, 1000.0});  // 1000..1100 occurs twice
    route.setBrokenChainSet(chains);
    // L1 = 280 through the repeated stretch, L2 = 220; g 0.01 / -0.01, R 4000: T 40, E 0.2
    buildProfile(route, {bp("900", 100.0, 0.0, 0), bp("01080", 102.8, 4000.0, 1),
                         bp("1300", 100.6, 0.0, 0)});
    expectPieces(route, {{"900", "01040.000000", 0, 0},  // 240 from 900 lands behind the break
                         {"01040.000000", "01080.000000", 5, -1},
                         {"01080.000000", "1120.000000", 6, -1},
                         {"1120.000000", "1300.000000", 0, 0}});
    expectElevations(route, {{"1020", 101.2},     // first occurrence, d 120
                             {"01020", 102.2},    // second occurrence, d 220
                             {"01060", 102.55},   // 102.4 + 0.2 - 20^2/8000
                             {"01080", 102.6},    // 102.8 - E
                             {"1110", 102.4875},  // 102.8 - 0.3 - 10^2/8000
                             {"1300", 100.6}});   // back on the end point
}

TEST(ProfileConversion, MoreThanThreePointsBeforeAnyPieceConvertsTheFirstThree) {
    RoadCurvesCalculation route;
    for (const RoadVerticalCurvePoint& p : kProfile) route.addBPPoint(p);
    Reported r{};
    EXPECT_EQ(convert(route, r), 0);
    expectReported(r, {0.02, -0.02, 100.0, 1.0});     // crest at 1200, not the newest points
    EXPECT_EQ(route.getVerticalCurves().size(), 3u);  // line and two halves; 1400 is no end
}

TEST(ProfileConversion, ZeroRadiusLaysOnlyGradeLines) {
    RoadCurvesCalculation route;
    const std::vector<Reported> r = buildProfile(
        route, {bp("1000", 100.0, 0.0, 0), bp("1200", 104.0, 0.0, 1), bp("1400", 100.0, 0.0, 0)});
    EXPECT_EQ(r[0].tangentLength, 0.0);
    EXPECT_TRUE(std::isnan(r[0].externalDistance));  // 0/0
    expectPieces(route, {{"1000", "1200.000000", 0, 0}, {"1200.000000", "1400.000000", 0, 0}});
}

TEST(ProfileConversion, RefusalsAndIdleCallsLeaveEverythingUntouched) {
    struct Case {
        std::vector<RoadVerticalCurvePoint> points;
        int calls, status;
        std::size_t pieces;
    };
    const auto p = [](int type) { return bp("1000", 100.0, 5000.0, type); };
    const std::vector<Case> cases = {
        {{}, 1, -1, 0},                                       // no points
        {{p(1), p(1), p(1)}, 1, -1, 0},                       // first point does not open a profile
        {{p(0)}, 1, 0, 0},                                    // too few points
        {{p(0), p(0)}, 1, 0, 0},                              // too few points
        {{kProfile[0], kProfile[1], kProfile[2]}, 2, 0, 3}};  // second call: nothing new
    for (const Case& c : cases) {
        RoadCurvesCalculation route;
        for (const RoadVerticalCurvePoint& point : c.points) route.addBPPoint(point);
        Reported r{};
        for (int call = 0; call < c.calls; ++call) {
            r = {kUntouched, kUntouched, kUntouched, kUntouched};
            EXPECT_EQ(convert(route, r), c.status);
        }
        EXPECT_EQ(r.grade1 + r.grade2 + r.tangentLength + r.externalDistance, 4 * kUntouched);
        EXPECT_EQ(route.getVerticalCurves().size(), c.pieces);
    }
}

TEST(ProfileConversion, UnreadableNewestChainageThrowsBeforeWriting) {
    for (const char* bad : {"abc", "1e999"}) {
        RoadCurvesCalculation route;
        buildProfile(route, {kProfile[0], kProfile[1], kProfile[2]});
        route.addBPPoint(bp(bad, 108.0, 0.0, 0));  // read only by the second grade length
        Reported r{kUntouched, kUntouched, kUntouched, kUntouched};
        if (std::string(bad) == "abc") {
            EXPECT_THROW(convert(route, r), std::invalid_argument);
        } else {
            EXPECT_THROW(convert(route, r), std::out_of_range);
        }
        EXPECT_EQ(r.grade1 + r.grade2 + r.tangentLength + r.externalDistance, 4 * kUntouched);
        EXPECT_EQ(route.getVerticalCurves().size(), 3u);
    }
}
