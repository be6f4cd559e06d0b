// The tool's tables against values worked out by hand: round stations across station
// equations, offset and controller points, the curve table of a right angle and of a curve
// with transitions, crests and sags, and the text forms of angles and numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
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

TEST(Locate, StakedOffsetPointsComeBackToTheirLengthAndOffset) {
    // Points staked at ±1, ±3.5 and ±20 every 37 m of the example (arcs, transitions, both
    // station equations) must locate back within 0.1 mm, on either side of every curve.
    const qv::route::Route route = load(RCC_EXAMPLE);
    std::vector<qv::route::SurveyPoint> points;
    std::vector<std::pair<double, double>> staked;  // length, offset
    for (double length = 1.0; length < route.length(); length += 37.0) {
        for (double offset : {-20.0, -3.5, -1.0, 1.0, 3.5, 20.0}) {
            const qv::route::RoutePoint p = route.pointAtLength(length, offset);
            points.push_back({"", p.x, p.y, NAN, "", 0});
            staked.emplace_back(length, offset);
        }
    }
    FormatOptions six;
    six.decimals = 6;
    rcctool::TableCollector sink;
    rcctool::LocateOptions options;
    options.maxOffset = 25.0;
    rcctool::locate(route, points, options, six, sink);
    const Table& t = sink.tables.at(0);
    ASSERT_EQ(t.rows.size(), points.size());
    constexpr double kFoot = 1e-4;  // the projection's promise, length units
    for (std::size_t i = 0; i < t.rows.size(); ++i) {
        SCOPED_TRACE("length " + std::to_string(staked[i].first) + " offset " +
                     std::to_string(staked[i].second));
        EXPECT_EQ(t.rows[i][column(t, "foot")], "on route");
        EXPECT_NEAR(std::stod(t.rows[i][column(t, "length")]), staked[i].first, kFoot);
        EXPECT_NEAR(std::stod(t.rows[i][column(t, "offset")]), staked[i].second, kFoot);
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

TEST(Curves, PublishedFiveCurveDesignInTheSurveyFrame) {
    // Values of a published table of straights, curves and turning angles (a Chinese
    // two-lane highway design, x = northing): stations, sides, angles in DMS, T, L, E, J,
    // main points, legs and their azimuths, all to 1 mm and 1".
    auto dms = [](double d, double m, double s) { return d + m / 60 + s / 3600; };
    const double none = NAN;
    struct Published {
        const char* point;
        const char* side;
        double deflection;  // degrees
        double values[15];  // station, T1, T2, L, E, J, TS, SC, MC, CS, ST, leg, straight,
                            // leg azimuth (degrees), R
    };
    const Published rows[] = {
        {"JD1",
         "right",
         dms(15, 3, 8),
         {649.501, 150.474, 150.474, 299.615, 7.470, 1.333, 499.027, 584.027, 648.835, 713.642,
          798.642, 649.501, 499.027, dms(289, 6, 33), 816.926}},
        {"JD2",
         "right",
         dms(5, 32, 54),
         {959.984, 161.342, 161.342, 322.432, 3.907, 0.252, 798.642, none, 959.858, none, 1121.074,
          311.816, 0.000, dms(304, 9, 41), 3329.645}},
        {"JD3",
         "right",
         dms(38, 17, 22),
         {1244.855, 123.781, 123.780, 240.411, 15.776, 7.150, 1121.074, 1191.074, 1241.279,
          1291.485, 1361.485, 285.123, 0.000, dms(309, 42, 35), 255.0}},
        {"JD4",
         "left",
         dms(31, 38, 53),
         {1934.292, 189.411, 189.411, 371.181, 20.476, 7.641, 1744.881, 1839.881, 1930.472,
          2021.063, 2116.063, 696.588, 383.397, dms(347, 59, 57), 500.0}},
    };
    const char* const names[] = {"station", "T1",    "T2",       "L",           "external",
                                 "J",       "TS/PC", "SC",       "MC",          "CS",
                                 "ST/PT",   "leg",   "straight", "leg bearing", "R"};
    constexpr double kPublishedLength = 1.5e-3;     // published to 1 mm, ours rounded to 1 mm
    constexpr double kPublishedAngle = 1.0 / 3600;  // published to 1"
    const Table t = curveTables(RCC_TEST_DATA "/published_five_curves.json").at(0);
    ASSERT_EQ(t.rows.size(), 5u);
    auto number = [](const std::string& cell) {
        const auto s = qv::route::parseStation(cell);
        return s ? s->value : NAN;
    };
    for (std::size_t r = 0; r < 4; ++r) {
        const auto& row = t.rows[r];
        SCOPED_TRACE(rows[r].point);
        EXPECT_EQ(row[column(t, "point")], rows[r].point);
        EXPECT_EQ(row[column(t, "side")], rows[r].side);
        EXPECT_NEAR(number(row[column(t, "deflection")]), rows[r].deflection, kPublishedAngle);
        for (std::size_t k = 0; k < 15; ++k) {
            if (std::isnan(rows[r].values[k])) continue;
            const double tolerance = k == 13 ? kPublishedAngle : kPublishedLength;
            EXPECT_NEAR(number(row[column(t, names[k])]), rows[r].values[k], tolerance) << names[k];
        }
    }
    // The route ends at JD5, whose published station is K2+752.115; its leg is 825.463 long
    // at 316°21'04".
    EXPECT_NEAR(number(t.rows[4][column(t, "station")]), 2752.115, kPublishedLength);
    EXPECT_NEAR(number(t.rows[4][column(t, "leg")]), 825.463, kPublishedLength);
    EXPECT_NEAR(number(t.rows[4][column(t, "leg bearing")]), dms(316, 21, 4), kPublishedAngle);
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

TEST(Curves, VerticalCurveEndsAndHighPoint) {
    // Small route BP1 (250, 13), R 1500: g1 = 3/140 (150 = 160 shortens 100..250 to 140),
    // g2 = -2/170; T = R (g1 - g2) / 2 = 24.895, so BVC 225.105 at 13 - g1 T = 12.467; the
    // top lies g1 R = 32.143 on, at 257.248, g1² R / 2 = 0.344 above BVC: 12.811.
    const Table t = curveTables(RCC_TEST_DATA "/small_route.json").at(1);
    ASSERT_EQ(t.rows.size(), 2u);
    const std::pair<const char*, const char*> expected[] = {
        {"BVC", "225.105"}, {"BVC elevation", "12.467"}, {"PVI", "250.000"},
        {"EVC", "274.895"}, {"kind", "crest"},           {"K", "15.000"},
        {"L", "49.790"},    {"high/low", "257.248"},     {"high/low elevation", "12.811"},
    };
    for (const auto& [name, value] : expected) EXPECT_EQ(t.rows[0][column(t, name)], value) << name;
}

TEST(StreamTable, GuardsFormulasQuotesSeparatorsAndAlignsText) {
    const std::vector<rcctool::Column> columns = {{"name", false}, {"offset"}};
    std::ostringstream csv;
    rcctool::StreamTable csvSink(csv, false);
    csvSink.begin(columns);
    csvSink.row({"=1+1", "-3.000"});  // a text cell a spreadsheet would run; a number
    csvSink.row({"a,\"b\"", "2.000"});
    csvSink.end();
    EXPECT_EQ(csv.str(), "name,offset\n'=1+1,-3.000\n\"a,\"\"b\"\"\",2.000\n");
    std::ostringstream text;
    rcctool::StreamTable textSink(text, true);
    textSink.begin(columns);
    textSink.row({"P1", "-3.000"});
    textSink.row({"P10", "12.5"});
    textSink.end();
    EXPECT_EQ(text.str(), "name  offset\n----  ------\nP1    -3.000\nP10     12.5\n");
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
