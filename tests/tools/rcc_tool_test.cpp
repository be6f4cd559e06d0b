// The tool's tables against values worked out by hand: round stations across station
// equations, offset and controller points, the curve table of a right angle and of a curve
// with transitions, crests and sags, and the text forms of angles and numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "commands.hpp"

namespace {

using qv::route::StationStyle;
using rcctool::FormatOptions;
using rcctool::Table;

qv::route::Route load(const std::string& file) { return rcctool::loadRoute(file, {}); }

Table stakeoutTable(const std::string& file, const rcctool::StakeoutOptions& options,
                    const FormatOptions& format = {}) {
    rcctool::TableCollector sink;
    rcctool::stakeout(load(file), options, format, sink);
    return sink.tables.at(0);
}

std::vector<Table> curveTables(const std::string& file, const FormatOptions& format = {}) {
    rcctool::TableCollector sink;
    rcctool::curves(load(file), format, sink);
    return sink.tables;
}

std::size_t column(const Table& table, const std::string& name) {
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        if (table.columns[i].name == name) return i;
    }
    ADD_FAILURE() << "no column " << name;
    return 0;
}

// The station cell of the row `length` along the route ("" when there is none).
std::string stationAtLength(const Table& table, const std::string& length) {
    for (const auto& row : table.rows) {
        if (row[1] == length) return row[0];
    }
    return "";
}

TEST(Stakeout, ListsRoundStationsInEachNumbering) {
    struct Case {
        const char* file;
        double interval;
        StationStyle style;
        const char* length;   // a row's length along the route
        const char* station;  // its station, worked out from the equations by hand
    };
    const Case cases[] = {
        // Example: 300 = 340 at length 300, so K0+400 lies at 360 and K0+440 is no row.
        {RCC_EXAMPLE, 100, StationStyle::K, "360.000", "K0+400.000"},
        {RCC_EXAMPLE, 100, StationStyle::K, "400.000", ""},
        // Example: 2390 = 2330 lies at length 2350; the second 2380 is 50 further on.
        {RCC_EXAMPLE, 20, StationStyle::K, "2400.000", "K2+380.000(2)"},
        // Small route from 100: 150 = 160 (length 50), 640 = 610 (length 530).
        {RCC_TEST_DATA "/small_route.json", 20, StationStyle::Plain, "70.000", "180.000"},
        {RCC_TEST_DATA "/small_route.json", 20, StationStyle::Plain, "510.000", "620.000"},
        {RCC_TEST_DATA "/small_route.json", 20, StationStyle::Plain, "540.000", "0620.000"},
        {RCC_TEST_DATA "/small_route.json", 20, StationStyle::Plain, "580.000", "660.000"},
        // From -90 the round stations are -80, -60, ...
        {RCC_TEST_DATA "/negative_start.json", 20, StationStyle::Plain, "10.000", "-80.000"},
        {RCC_TEST_DATA "/negative_start.json", 20, StationStyle::K, "30.000", "-K0+060.000"},
        // 120 = 130 on the arc (length 100 to 150): 140 lies at 130.
        {RCC_TEST_DATA "/chain_in_curve.json", 20, StationStyle::Plain, "130.000", "140.000"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.file) + " at length " + c.length);
        rcctool::StakeoutOptions options;
        options.interval = c.interval;
        FormatOptions format;
        format.station = c.style;
        EXPECT_EQ(stationAtLength(stakeoutTable(c.file, options, format), c.length), c.station);
    }
}

TEST(Stakeout, OffsetPointsTakeTheCrossFallAndControllerNamesAreNumbered) {
    // Small route at station 120: 20 along the first straight (bearing 0 from the origin),
    // on the grade from 10 at 100 to 13 at 250, 140 long across 150 = 160: 10 + 20 * 3/140
    // = 10.429; 2 m to the left at -2.5 %: 10.379.
    rcctool::StakeoutOptions options;
    options.interval = 1000;
    options.keyPoints = false;
    options.at = {{120.0, 1}};
    options.offsets = {2.0};
    options.crossfall = -0.025;
    const Table table = stakeoutTable(RCC_TEST_DATA "/small_route.json", options);
    ASSERT_GE(table.rows.size(), 2u);
    const auto& row = table.rows[1];  // after BEGIN
    EXPECT_EQ(row[0], "120.000");
    EXPECT_EQ(row[column(table, "elevation")], "10.429");
    EXPECT_EQ(row[column(table, "y(+2)")], "2.000");
    EXPECT_EQ(row[column(table, "elevation(+2)")], "10.379");
    options.controller = true;
    const Table points = stakeoutTable(RCC_TEST_DATA "/small_route.json", options);
    ASSERT_GE(points.rows.size(), 4u);
    EXPECT_EQ(points.rows[2],
              (std::vector<std::string>{"3", "20.000", "0.000", "10.429", "120.000 CL"}));
    EXPECT_EQ(points.rows[3],
              (std::vector<std::string>{"4", "20.000", "2.000", "10.379", "120.000 L2"}));
}

TEST(Stakeout, RefusesATableOverTheRowLimitSayingHowLarge) {
    rcctool::StakeoutOptions options;
    options.interval = 1e-4;
    try {
        stakeoutTable(RCC_EXAMPLE, options);
        ADD_FAILURE() << "accepted";
    } catch (const rcctool::InputError& e) {
        // The example is some 4,590 m long: at 0.1 mm about 45.9 million rows.
        EXPECT_NE(std::string(e.what()).find("this table would have 45"), std::string::npos)
            << e.what();
    }
}

TEST(Curves, RightAngleGivesTheClosedFormsAndTheSideInTheFrame) {
    // Deflection 90°, R 100: T = R tan 45° = 100, L = 50 pi = 157.080,
    // E = R (sec 45° - 1) = 41.421, J = 2T - L = 42.920; PI at 200, so TS 100, ST 257.080.
    const std::pair<const char*, const char*> frames[] = {
        {RCC_TEST_DATA "/right_angle.json", "left"},
        {RCC_TEST_DATA "/right_angle_ne.json", "right"}};
    for (const auto& [file, side] : frames) {
        SCOPED_TRACE(file);
        const Table t = curveTables(file).at(0);
        ASSERT_EQ(t.rows.size(), 2u);  // the curve, then the end with its leg and straight
        const auto& row = t.rows[0];
        const std::pair<const char*, const char*> expected[] = {
            {"point", "PI1"},   {"station", "200.000"},  {"deflection", "90.000000"},
            {"side", side},     {"T1", "100.000"},       {"T2", "100.000"},
            {"L", "157.080"},   {"external", "41.421"},  {"J", "42.920"},
            {"leg", "200.000"}, {"straight", "100.000"}, {"TS/PC", "100.000"},
            {"MC", "178.540"},  {"ST/PT", "257.080"},
        };
        for (const auto& [name, value] : expected) EXPECT_EQ(row[column(t, name)], value) << name;
        // The last leg runs north 200 from the PI; its straight is 200 - T2 = 100.
        EXPECT_EQ(t.rows[1][column(t, "leg")], "200.000");
        EXPECT_EQ(t.rows[1][column(t, "leg bearing")], "90.000000");
        EXPECT_EQ(t.rows[1][column(t, "straight")], "100.000");
    }
}

TEST(Curves, TransitionAngleShiftAndExtension) {
    // L 20 onto R 50: beta = L/2R = 0.2 rad = 11.459156°, p = L²/24R - L⁴/2688R³ = 0.332857,
    // q = L/2 - L³/240R² = 9.986667.
    FormatOptions six;
    six.decimals = 6;
    const Table t = curveTables(RCC_TEST_DATA "/one_curve.json", six).at(0);
    ASSERT_EQ(t.rows.size(), 2u);
    for (const char* side : {"1", "2"}) {
        EXPECT_EQ(t.rows[0][column(t, std::string("beta") + side)], "11.459156");
        EXPECT_EQ(t.rows[0][column(t, std::string("p") + side)], "0.332857");
        EXPECT_EQ(t.rows[0][column(t, std::string("q") + side)], "9.986667");
    }
}

TEST(Curves, LabelsCrestsAndSags) {
    // Example profile: up to 700, down to 1500, up to 2800, down to 3800, up to the end.
    const Table t = curveTables(RCC_EXAMPLE).at(1);
    std::vector<std::string> kinds;
    for (const auto& row : t.rows) kinds.push_back(row[column(t, "kind")]);
    EXPECT_EQ(kinds, (std::vector<std::string>{"crest", "sag", "crest", "sag"}));
}

TEST(CellText, AnglesCarrySecondsAndNumbersNeverPrintNan) {
    constexpr double kRadPerDeg = 3.141592653589793 / 180;
    FormatOptions dms;
    dms.angle = rcctool::AngleStyle::DMS;
    FormatOptions plain = dms;
    plain.plainDMS = true;
    const double seconds = (10.0 + 59.0 / 60 + 59.96 / 3600) * kRadPerDeg;  // rounds up to 11°
    EXPECT_EQ(rcctool::angleText(seconds, dms), "11\u00b000'00.0\"");
    EXPECT_EQ(rcctool::bearingText((289.0 + 6.0 / 60 + 33.0 / 3600) * kRadPerDeg, plain),
              "289-06-33.0");
    EXPECT_EQ(rcctool::bearingText(-90 * kRadPerDeg, FormatOptions{}), "270.000000");
    EXPECT_EQ(rcctool::fixed(NAN, 3), "not-a-number");
    EXPECT_EQ(rcctool::fixed(-0.0004, 3), "0.000");
    EXPECT_STREQ(rcctool::turnText(1, qv::route::Frame::XY), "left");
    EXPECT_STREQ(rcctool::turnText(1, qv::route::Frame::NE), "right");
}

}  // namespace
