// Tests of the route JSON reader: the fields of every form it accepts, the unit and notation
// conversions, and the one-line refusals of bad, hostile or oversized input.
#include <gtest/gtest.h>
#include <qv_route/io.hpp>

#include <cmath>
#include <string>

#include "test_tolerances.hpp"

namespace {

using qv::route::ReadError;
using qv::route::readRouteFile;
using qv::route::readRouteJson;
using qv::route::RouteDescription;

constexpr double kPi = 3.141592653589793;

RouteDescription read(const std::string& json) { return readRouteJson(json, "t.json").description; }

std::string refusal(const std::string& json) {
    try {
        read(json);
    } catch (const ReadError& e) {
        return e.what();
    }
    return "(accepted)";
}

// A route by intersection points with one middle point whose fields are `middle`.
std::string pointsRoute(const std::string& middle, const std::string& top = "") {
    return "{" + top + R"("horizontal": {"jdPoints": [{"x": 0, "y": 0}, {"x": 100, "y": 0, )" +
           middle + R"(}, {"x": 100, "y": 100}]}})";
}

// A route by elements: a line, then `element`, with `start` fields in "horizontal".
std::string elementsRoute(const std::string& element, const std::string& start = "",
                          const std::string& top = "") {
    return "{" + top + R"("horizontal": {)" + start +
           R"("elements": [{"curveType": "line", "length": 10}, )" + element + "]}}";
}

TEST(RouteJson, ReadsTheExampleRoute) {
    const RouteDescription d = readRouteFile(QV_EXAMPLES "/route.json").description;
    // Values as written in examples/route.json.
    ASSERT_EQ(d.horizontal.points.size(), 6u);
    EXPECT_EQ(d.horizontal.points[1].radius, 800.0);
    EXPECT_EQ(d.horizontal.points[2].outTransitionLength, 150.0);
    EXPECT_EQ(d.horizontal.points[3].inTransitionLength, 0.0);
    ASSERT_EQ(d.equations.size(), 2u);
    EXPECT_EQ(d.equations[0].back, 300.0);
    EXPECT_EQ(d.equations[0].ahead, 340.0);
    EXPECT_EQ(d.equations[1].ahead, 2330.0);
    ASSERT_EQ(d.profile.size(), 6u);
    EXPECT_EQ(d.profile[2].station.value, 1500.0);
    EXPECT_EQ(d.profile[2].radius, 8000.0);
    EXPECT_EQ(d.frame, qv::route::Frame::XY);
}

TEST(RouteJson, ConvertsUnitsNotationsAndParameters) {
    // Each row: a route, the quantity read back, and its value worked out by hand.
    struct Case {
        const char* what;
        std::string json;
        double (*get)(const RouteDescription&);
        double expected;
    };
    const auto bearing = [](const RouteDescription& d) { return d.horizontal.startBearing; };
    const auto in = [](const RouteDescription& d) {
        return d.horizontal.points[1].inTransitionLength;
    };
    const auto second = [](const RouteDescription& d) { return d.horizontal.elements[1].length; };
    const auto grade = [](const RouteDescription& d) { return d.profile[1].radius; };
    const auto station = [](const RouteDescription& d) { return d.profile[1].station.value; };
    const std::string profileHead = R"("profile": {"bpPoints": [{"dk": 0, "elevation": 1}, )";
    const std::string profileTail = R"(, {"dk": 900, "elevation": 1}]}, )";
    const double dms = 289.0 + 6.0 / 60 + 33.0 / 3600;  // 289°06'33" in degrees
    const Case cases[] = {
        {"100 gon is a quarter turn",
         elementsRoute("{\"curveType\": \"line\", \"length\": 1}", R"("startBearing": 100, )",
                       R"("angleUnit": "gon", )"),
         bearing, kPi / 2},
        {"radians as given",
         elementsRoute("{\"curveType\": \"line\", \"length\": 1}", R"("startBearing": 0.5, )",
                       R"("angleUnit": "rad", )"),
         bearing, 0.5},
        {"startBearingDeg stays degrees under gon",
         elementsRoute("{\"curveType\": \"line\", \"length\": 1}", R"("startBearingDeg": 90, )",
                       R"("angleUnit": "gon", )"),
         bearing, kPi / 2},
        {"DMS with marks",
         elementsRoute("{\"curveType\": \"line\", \"length\": 1}",
                       "\"startBearingDeg\": \"289\xC2\xB0"
                       "06'33.0\\\"\", "),
         bearing, dms * kPi / 180},
        {"DMS with dashes",
         elementsRoute("{\"curveType\": \"line\", \"length\": 1}",
                       R"("startBearing": "289-06-33.0", )"),
         bearing, dms * kPi / 180},
        {"DMS with blanks, negative",
         elementsRoute("{\"curveType\": \"line\", \"length\": 1}",
                       R"("startBearing": "-289 06 33", )"),
         bearing, -dms * kPi / 180},
        {"packed dd.mmss",
         elementsRoute("{\"curveType\": \"line\", \"length\": 1}", R"("startBearing": 289.0633, )",
                       R"("angleUnit": "dd.mmss", )"),
         bearing, dms * kPi / 180},
        // A^2 = R L: A 200 at R 800 gives L 50.
        {"transition by A", pointsRoute(R"("radius": 800, "inTransitionA": 200)"), in, 50.0},
        // Between radii 100 and 200 the curvature changes by 1/200: L = A^2 / 200 = 50.
        {"transition between radii by A",
         elementsRoute(R"({"curveType": "incompleteTransition", "A": 100, "startRadius": 100,
                          "endRadius": 200, "turnDirection": 1})"),
         second, 50.0},
        // R = 100 K: K 60 m per percent of grade change is R 6000.
        {"vertical curve by K",
         pointsRoute(R"("radius": 50)",
                     profileHead + R"({"dk": 400, "elevation": 5, "K": 60})" + profileTail),
         grade, 6000.0},
        {"K-notation station",
         pointsRoute(
             R"("radius": 50)",
             profileHead + R"({"dk": "K0+450.5", "elevation": 5, "radius": 0})" + profileTail),
         station, 450.5},
        {"US station",
         pointsRoute(R"("radius": 50)", profileHead +
                                            R"({"dk": "4+50", "elevation": 5,
                                                              "radius": 0})" +
                                            profileTail),
         station, 450.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_NEAR(c.get(read(c.json)), c.expected, rcc_test::kExact);
    }
}

TEST(RouteJson, KeepsFrameNamesEquationsAndOccurrences) {
    const RouteDescription d = read(
        pointsRoute(R"("radius": 50, "name": "JD1")",
                    R"("frame": "NE", "equations": [{"back": "K0+300", "ahead": 340, "name": "EQ1"},
                                        {"back": 600, "ahead": 550}],
           "profile": {"bpPoints": [{"dk": 0, "elevation": 1, "name": "BP0"},
                                    {"dk": "0560", "elevation": 2, "length": 40},
                                    {"dk": 900, "elevation": 1}]}, )"));
    EXPECT_EQ(d.frame, qv::route::Frame::NE);
    EXPECT_EQ(d.horizontal.points[1].name, "JD1");
    ASSERT_EQ(d.equations.size(), 2u);
    EXPECT_EQ(d.equations[0].back, 300.0);
    EXPECT_EQ(d.equations[0].name, "EQ1");
    EXPECT_EQ(d.equations[1].ahead, 550.0);
    EXPECT_EQ(d.profile[0].name, "BP0");
    EXPECT_EQ(d.profile[1].station.occurrence, 2);  // "0560": the second 560 behind 600 = 550
    EXPECT_EQ(d.profile[1].length, 40.0);
    EXPECT_EQ(d.profile[1].radius, 0.0);
}

TEST(RouteJson, RefusesInOneLineNamingThePlace) {
    const std::string deep = std::string(100, '[') + std::string(100, ']');
    const std::string longName(1 << 20, 'q');
    struct Case {
        std::string json;
        std::string message;  // the part of the message that names place and reason
    };
    const Case cases[] = {
        {"{\"horizontal\": {}, \"x\": 1e400}", "t.json:1:25: a number too large"},
        {"{\"a\": " + deep + "}", "t.json:1:70: arrays and objects nested deeper than 64"},
        // Columns count characters after the byte-order mark: the stray brace is the 6th.
        {"\xEF\xBB\xBF[\"\xC3\xA9\" {]", "t.json:1:6: malformed JSON"},
        {pointsRoute(R"("radius": 1e-4)"),
         "horizontal.jdPoints[1].radius: expected a radius within [0.001, 1e+09]"},
        {R"({"horizontal": {"jdPoints": [{"x": 1e300, "y": 0}, {"x": 1, "y": 1}]}})",
         "horizontal.jdPoints[0].x: expected a coordinate within"},
        {elementsRoute("{\"curveType\": \"line\", \"length\": 1}", R"("startBearingDeg": 1e300, )"),
         "horizontal.startBearingDeg: expected an angle of at most 4 full turns"},
        {elementsRoute("{\"curveType\": \"line\", \"length\": 1}", R"("startBearing": "N45E", )"),
         "expected an angle: a number, or degrees-minutes-seconds text"},
        {pointsRoute(R"("radius": 50, "inTransitionLength": 5, "inTransitionA": 5)"),
         "horizontal.jdPoints[1]: give \"inTransitionLength\" or \"inTransitionA\", not both"},
        {pointsRoute(R"("radius": 50, "\u0001": 5)"), "unknown field \"\\x01\""},
        {pointsRoute(R"("radius": 50)", R"("frame": "EN", )"), "frame: expected \"xy\""},
        {elementsRoute("{\"curveType\": \"line\", \"length\": 1}", R"("startBearing": 10.6,)",
                       R"("angleUnit": "dd.mmss", )"),
         "horizontal.startBearing: expected a dd.mmss angle"},
        {pointsRoute(R"("radius": 50)", R"("brokenChains": [{"type": "short", "beforeDK": 9,
                                                             "afterDK": 5}], )"),
         "brokenChains[0]: a short chain jumps forward"},
        {pointsRoute(R"("radius": 50)", R"("equations": [{"back": "0x1p8", "ahead": 5}], )"),
         "equations[0].back: expected a station"},
        {pointsRoute(R"("radius": 50)", "\"" + longName + "\": 1, "), "(top level): unknown field"},
    };
    for (const Case& c : cases) {
        const std::string message = refusal(c.json);
        SCOPED_TRACE(message.substr(0, 400));
        EXPECT_NE(message.find(c.message), std::string::npos);
        EXPECT_LE(message.size(), 400u);
        EXPECT_EQ(message.find('\n'), std::string::npos);
    }
}

TEST(RouteFile, RefusesWhatIsNotARouteFileInPlainWords) {
    const std::pair<std::string, std::string> cases[] = {
        {QV_TEST_DATA, "is a directory"},
        {"/dev/null", "is not a regular file"},
        {QV_TEST_DATA "/no_such_route.json", "cannot open the file"},
    };
    for (const auto& [path, message] : cases) {
        try {
            readRouteFile(path);
            ADD_FAILURE() << path << " accepted";
        } catch (const ReadError& e) {
            EXPECT_NE(std::string(e.what()).find(path + ": " + message), std::string::npos)
                << e.what();
        }
    }
}

}  // namespace
