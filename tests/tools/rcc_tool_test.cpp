// The tool's tables against the library's own answers: every stakeout row of a small route
// built here by hand, key points against the curve table, and the chainage text forms.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>

#include "commands.hpp"

namespace {

using rcctool::FormatOptions;
using rcctool::Table;

// Six decimals match the library's chainage text, so a shown chainage is a query text.
constexpr double kShown = 2e-6;     // round-off of a six-decimal cell (length units)
constexpr double kShownDeg = 2e-6;  // the same for a bearing cell (degrees)
constexpr double kDegPerRad = 180.0 / M_PI;

FormatOptions plainSixDecimals() {
    FormatOptions f;
    f.decimals = 6;
    return f;
}

// tests/tools/data/small_route.json, built through the library's own calls and no tool code.
RoadCurvesCalculation smallRouteByHand() {
    BrokenChainSet chains;
    chains.addChain(BrokenChain{1, 150.0, 160.0});
    chains.addChain(BrokenChain{0, 640.0, 610.0});
    RoadCurvesCalculation route;
    route.setBrokenChainSet(chains);
    const JDPoint points[] = {{0, 0, 0, 0, 0, 0, 0, 0, 100, 0},
                              {0, 100, 200, 0, 20, 30, 0, 0, 0, 1},
                              {0, 150, 300, 150, 25, 25, 0, 0, 0, 1},
                              {0, 0, 600, 180, 0, 0, 0, 0, 0, 2}};
    double b1, b2, t1, t2, lc, defl;
    int turn;
    for (int i = 0; i < 4; ++i) {
        route.addJDPoint(points[i]);
        if (i >= 2) {
            EXPECT_EQ(route.convertJDPointsToRoadCurves(b1, b2, t1, t2, lc, defl, turn), 0);
        }
    }
    const RoadVerticalCurvePoint grades[] = {{"100", 10.0, 0, 0, 0, 0, 0, 0},
                                             {"250", 13.0, 1500, 0, 0, 0, 0, 1},
                                             {"420", 11.0, 2500, 0, 0, 0, 0, 1},
                                             {"700", 12.5, 0, 0, 0, 0, 0, 0}};
    double g1, g2, t, e;
    for (int i = 0; i < 4; ++i) {
        route.addBPPoint(grades[i]);
        if (i >= 2) {
            EXPECT_EQ(route.convertBPPointsToVerticalCurves(g1, g2, t, e), 0);
        }
    }
    return route;
}

const std::vector<std::string>* rowLabelled(const Table& table, const std::string& label) {
    for (const auto& row : table.rows) {
        if (row.back().find(label) != std::string::npos) return &row;
    }
    return nullptr;
}

TEST(StakeoutTable, EveryRowIsTheLibrarysPointAtItsChainage) {
    const rcctool::Route route = rcctool::loadRoute(RCC_TEST_DATA "/small_route.json");
    rcctool::StakeoutOptions options;
    options.offsets = {2.5};
    const Table table = rcctool::stakeoutTable(route, options, plainSixDecimals());
    const RoadCurvesCalculation reference = smallRouteByHand();
    ASSERT_GT(table.rows.size(), 30u);
    double lastLength = -1.0;
    for (const auto& row : table.rows) {
        SCOPED_TRACE("chainage " + row[0] + " " + row.back());
        double x = 0, y = 0, z = NAN;
        const double bearing = reference.calculateCoordinatesAndBearing(row[0], x, y, z);
        const double length = std::stod(row[1]);
        EXPECT_GT(length, lastLength);  // strictly along the route, no duplicate rows
        lastLength = length;
        // The chainage names the place walked to: read back, it gives the row's length.
        EXPECT_NEAR(reference.calculateLengthBetween2DKs("100", row[0]), length, kShown);
        EXPECT_NEAR(std::stod(row[2]), x, kShown);
        EXPECT_NEAR(std::stod(row[3]), y, kShown);
        EXPECT_NEAR(std::stod(row[4]), rcctool::normalizeDegrees(bearing * kDegPerRad), kShownDeg);
        if (row[5].empty()) {
            EXPECT_TRUE(std::isnan(z));  // blank only where no profile piece holds it
        } else {
            EXPECT_NEAR(std::stod(row[5]), z, kShown);
        }
        EXPECT_NEAR(std::stod(row[6]), x - 2.5 * std::sin(bearing), kShown);
        EXPECT_NEAR(std::stod(row[7]), y + 2.5 * std::cos(bearing), kShown);
    }
    // Behind the long chain 640 = 610: 620 and 640 come again, marked. The library's walk
    // answers the end of the repeated stretch unmarked; the table must not.
    std::map<std::string, std::string> byLength;
    for (const auto& row : table.rows) byLength[row[1]] = row[0];
    EXPECT_EQ(byLength["520.000000"], "630.000000");
    EXPECT_EQ(byLength["540.000000"], "0620.000000");
    EXPECT_EQ(byLength["560.000000"], "0640.000000");
    EXPECT_EQ(byLength["580.000000"], "660.000000");
    // Across the short chain 150 = 160 the numbers 150..160 are skipped.
    EXPECT_EQ(byLength["60.000000"], "170.000000");
    ASSERT_NE(rowLabelled(table, "EQ 640.000000 = 610.000000"), nullptr);
}

TEST(StakeoutTable, KeyPointsAreTheCurveTablesMainPoints) {
    const rcctool::Route route = rcctool::loadRoute(RCC_TEST_DATA "/small_route.json");
    FormatOptions k = plainSixDecimals();
    k.chainage = rcctool::ChainageStyle::KNotation;
    const Table stakeout = rcctool::stakeoutTable(route, rcctool::StakeoutOptions{}, k);
    const Table curves = rcctool::curveTables(route, k).at(0);
    ASSERT_EQ(curves.rows.size(), 2u);
    const std::map<std::string, std::size_t> column = {
        {"TS", 12}, {"SC", 13}, {"MC", 14}, {"CS", 15}, {"ST", 16}};
    for (const auto& curve : curves.rows) {
        std::map<std::string, double> bearingAt;
        for (const auto& [code, c] : column) {
            const auto* row = rowLabelled(stakeout, curve[0] + " " + code);
            ASSERT_NE(row, nullptr) << curve[0] << " " << code;
            EXPECT_EQ((*row)[0], curve[c]) << curve[0] << " " << code;
            bearingAt[code] = std::stod((*row)[4]);
        }
        // Through the entering clothoid the bearing turns by L1/(2R); over the whole curve
        // by the deflection (both signed by the turn, wrapped to a half turn).
        auto turned = [](double from, double to) { return std::remainder(to - from, 360.0); };
        const double r = std::stod(curve[5]);
        const double l1 = std::stod(curve[6]);
        const double sign = std::stod(curve[4]);
        EXPECT_NEAR(turned(bearingAt["TS"], bearingAt["SC"]), sign * l1 / (2 * r) * kDegPerRad,
                    1e-4);
        EXPECT_NEAR(turned(bearingAt["TS"], bearingAt["ST"]), std::stod(curve[3]), 1e-4);
    }
}

TEST(StakeoutTable, ExampleRouteRowsMatchTheLibraryAndShowBothChains) {
    const rcctool::Route route = rcctool::loadRoute(RCC_EXAMPLE);
    rcctool::StakeoutOptions options;
    options.interval = 100.0;
    const Table plain = rcctool::stakeoutTable(route, options, plainSixDecimals());
    for (std::size_t i = 0; i < plain.rows.size(); i += 5) {
        const auto& row = plain.rows[i];
        double x = 0, y = 0, z = 0;
        route.calc.calculateCoordinatesAndBearing(row[0], x, y, z);
        EXPECT_NEAR(std::stod(row[2]), x, kShown) << row[0];
        EXPECT_NEAR(std::stod(row[3]), y, kShown) << row[0];
        EXPECT_NEAR(std::stod(row[5]), z, kShown) << row[0];
    }
    FormatOptions k;
    k.chainage = rcctool::ChainageStyle::KNotation;
    const Table table = rcctool::stakeoutTable(route, options, k);
    std::string all;
    for (const auto& row : table.rows) {
        for (const auto& cell : row) all += cell + ",";
    }
    EXPECT_NE(all.find("K2+380.000(2)"), std::string::npos);  // behind the long chain
    EXPECT_NE(all.find("K0+440.000"), std::string::npos);     // 300..340 skipped
    EXPECT_EQ(all.find("nan"), std::string::npos);
}

TEST(StakeoutTable, SingleCurveRouteRunsOnToItsEndPoint) {
    // With one intersection point the library fits the curve but leaves the last straight
    // to the host; the END row must still be the end point, 50 - T beyond the curve.
    const rcctool::Route route = rcctool::loadRoute(RCC_TEST_DATA "/one_curve.json");
    const Table table = rcctool::stakeoutTable(route, {}, plainSixDecimals());
    const auto* end = rowLabelled(table, "END");
    ASSERT_NE(end, nullptr);
    EXPECT_NEAR(std::stod((*end)[2]), 100.0, 1e-3);  // transitions' series formulas: < 1 mm
    EXPECT_NEAR(std::stod((*end)[3]), 100.0, 1e-3);
    EXPECT_NEAR(std::stod((*end)[4]), 90.0, 1e-3);
}

TEST(ChainageText, KNotationRoundsBeforeSplittingAndShowsTheMark) {
    FormatOptions k;
    k.chainage = rcctool::ChainageStyle::KNotation;
    EXPECT_EQ(rcctool::formatChainageValue(999.9996, k), "K1+000.000");
    EXPECT_EQ(rcctool::formatChainageValue(12345.5, k), "K12+345.500");
    EXPECT_EQ(rcctool::formatChainageValue(-12.25, k), "-K0+012.250");
    EXPECT_EQ(rcctool::formatChainage("01450.000000", k), "K1+450.000(2)");
    EXPECT_EQ(rcctool::formatChainage("0.000000", k), "K0+000.000");  // zero is never marked
    k.decimals = 0;
    EXPECT_EQ(rcctool::formatChainageValue(1049.6, k), "K1+050");
    FormatOptions plain;
    EXPECT_EQ(rcctool::formatChainage("01450.000000", plain), "01450.000");
    EXPECT_EQ(rcctool::formatChainage("1450.000000", plain), "1450.000");
}

TEST(ChainageText, AnglesCarrySecondsAndNeverPrintNan) {
    FormatOptions dms;
    dms.angle = rcctool::AngleStyle::DMS;
    EXPECT_EQ(rcctool::formatAngle(10.0 + 59.0 / 60 + 59.96 / 3600, dms), "11\u00b000'00.0\"");
    EXPECT_EQ(rcctool::formatAngle(-37.5, dms, true), "-37\u00b030'00.0\"");
    EXPECT_EQ(rcctool::formatAngle(12.5, FormatOptions{}, true), "+12.500000");
    EXPECT_DOUBLE_EQ(rcctool::normalizeDegrees(-90.0), 270.0);
    EXPECT_EQ(rcctool::fixed(NAN, 3), "not-a-number");
    EXPECT_EQ(rcctool::fixed(-0.0004, 3), "0.000");
}

}  // namespace
