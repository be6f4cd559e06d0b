// The report page's data: samples dense enough on curves, stations through a long chain as
// the route numbers them, and nothing fetched from elsewhere.
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "report.hpp"

namespace {

using qv::route::ElementKind;
using qv::route::Route;

constexpr double kPi = 3.14159265358979323846;
constexpr double kR = 100.0;  // radius of the test route's arc

// NE frame, from N 6675100 E 2546200 north: 100 straight, a quarter arc R = 100 turning
// right, 100 straight east. Stations from 1000; at length 60 a long chain 1060 = 1040, so
// lengths 60..80 are the second pass over 1040..1060.
qv::route::RouteDescription testRoute(const std::string& name) {
    qv::route::RouteDescription d;
    d.name = name;
    d.frame = qv::route::Frame::NE;
    d.startStation = 1000.0;
    d.equations = {{1060.0, 1040.0, ""}};
    d.horizontal.start = {6675100.0, 2546200.0};
    d.horizontal.startBearing = 0.0;
    qv::route::ElementDescription line;
    line.length = 100.0;
    qv::route::ElementDescription arc;
    arc.kind = ElementKind::Arc;
    arc.length = kPi / 2 * kR;
    arc.startRadius = arc.endRadius = kR;
    arc.turn = 1;
    d.horizontal.elements = {line, arc, line};
    // Grades +2 % and -1 % meeting at 1100 (length 120); the profile stops at 1200, length 220.
    d.profile = {{"", {1000.0, 1}, 100.0, 0.0, 0.0},
                 {"", {1100.0, 1}, 102.4, 2000.0, 0.0},
                 {"", {1200.0, 1}, 101.4, 0.0, 0.0}};
    return d;
}

nlohmann::json pageData(const std::string& page) {
    const std::string open = "<script type=\"application/json\" id=\"route-data\">";
    const std::size_t from = page.find(open) + open.size();
    return nlohmann::json::parse(page.substr(from, page.find("</script>", from) - from));
}

TEST(ReportPage, SamplesKeepArcChordsWithinFiveMillimetres) {
    const Route route = Route::build(testRoute("arc"));
    const nlohmann::json data = pageData(rcctool::reportPage(route, "arc.json", {}));
    const auto& s = data["samples"]["s"];
    // A chord c on radius 100 strays c^2 / 800: 5 mm allows c = 2 m.
    double widestOnArc = 0.0;
    bool arcStartSampled = false;
    for (std::size_t i = 0; i + 1 < s.size(); ++i) {
        const double a = s[i].get<double>();
        const double b = s[i + 1].get<double>();
        if (a >= 100.0 - 1e-9 && b <= 100.0 + kPi / 2 * kR + 1e-9)
            widestOnArc = std::max(widestOnArc, b - a);
        arcStartSampled = arcStartSampled || std::fabs(a - 100.0) < 1e-4;
    }
    EXPECT_GT(widestOnArc, 1.9);
    EXPECT_LE(widestOnArc, 2.0 + 1e-4);
    EXPECT_TRUE(arcStartSampled);
    // The origin is the kilometre below the start; local coordinates start at (100, 200).
    EXPECT_EQ(data["origin"][0].get<double>(), 6675000.0);
    EXPECT_NEAR(data["samples"]["y"][0].get<double>(), 200.0, 1e-4);
}

TEST(ReportPage, SamplesCarryTheProfileToItsLastPointAndNoFurther) {
    const Route route = Route::build(testRoute("profile"));
    const nlohmann::json data = pageData(rcctool::reportPage(route, "profile.json", {}));
    const auto& s = data["samples"]["s"];
    const auto& z = data["samples"]["z"];
    bool endSampled = false;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (std::fabs(s[i].get<double>() - 220.0) < 1e-4) {
            endSampled = true;
            EXPECT_NEAR(z[i].get<double>(), 101.4, 1e-4);
        }
        if (s[i].get<double>() > 220.0 + 1e-4) {
            EXPECT_TRUE(z[i].is_null()) << s[i];
        }
    }
    EXPECT_TRUE(endSampled);
}

TEST(ReportPage, NumberingGivesTheRoutesStationsThroughALongChain) {
    const Route route = Route::build(testRoute("chain"));
    const nlohmann::json data = pageData(rcctool::reportPage(route, "chain.json", {}));
    // The page's rule: from piece start l on (just after l for an open piece), station
    // v + (length - l), occurrence o.
    auto stationOnPage = [&data](double length) {
        nlohmann::json piece = data["numbering"][0];
        for (const auto& p : data["numbering"]) {
            const double l = p["l"].get<double>();
            if (l < length || (l == length && !p.value("open", false))) piece = p;
        }
        return std::make_pair(piece["v"].get<double>() + length - piece["l"].get<double>(),
                              piece["o"].get<int>());
    };
    // Length 70 is 1050 on the second pass, 80 its last point 1060, 85 is 1065 past it.
    EXPECT_NEAR(stationOnPage(70.0).first, 1050.0, 1e-4);
    EXPECT_EQ(stationOnPage(70.0).second, 2);
    EXPECT_NEAR(stationOnPage(80.0).first, 1060.0, 1e-4);
    EXPECT_EQ(stationOnPage(80.0).second, 2);
    EXPECT_NEAR(stationOnPage(85.0).first, 1065.0, 1e-4);
    EXPECT_EQ(stationOnPage(85.0).second, 1);
    for (const auto& l : data["samples"]["s"]) {
        const qv::route::Station expected = route.stationAt(l.get<double>());
        EXPECT_NEAR(stationOnPage(l.get<double>()).first, expected.value, 1e-4);
        EXPECT_EQ(stationOnPage(l.get<double>()).second, expected.occurrence);
    }
}

TEST(ReportPage, FetchesNothingAndNoNameClosesTheScript) {
    const Route route = Route::build(testRoute("某某路 </script><script>alert(1)</script>"));
    const std::string page = rcctool::reportPage(route, "name.json", {});
    for (const char* external : {"src=", "href=", "@import", "https:", "@font-face"}) {
        EXPECT_EQ(page.find(external), std::string::npos) << external;
    }
    // url() only to a fragment of the page itself.
    for (std::size_t at = page.find("url("); at != std::string::npos;
         at = page.find("url(", at + 1)) {
        EXPECT_EQ(page[at + 4], '#') << page.substr(at, 40);
    }
    EXPECT_EQ(pageData(page)["name"], "某某路 </script><script>alert(1)</script>");
    EXPECT_NE(page.find("<h1>某某路 &lt;/script&gt;"), std::string::npos);
}

}  // namespace
