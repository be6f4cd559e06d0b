// Tests of the LandXML reader: the three published exports, units and encodings, station
// equations, profiles, and the one-line errors on bad input.
#include <gtest/gtest.h>
#include <qv_route/io.hpp>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "horizontal/horizontal.hpp"
#include "test_tolerances.hpp"

namespace {

using qv::route::ElementKind;
using qv::route::LengthUnit;
using qv::route::ReadError;
using qv::route::readLandXml;
using qv::route::ReadOptions;
using qv::route::ReadResult;
using qv::route::Route;

/// Element ends must meet the file's End within a millimetre (metres).
constexpr double kFileClosure = 1e-3;
/// Lengths quoted to six decimals, summed over fifteen elements, against the file's own
/// six-decimal stations (metres).
constexpr double kSummedSixDecimals = 1e-5;

std::string fileText(const std::string& name) {
    std::ifstream in(std::string(QV_TEST_DATA) + "/landxml/" + name, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

/// A LandXML document around `body` (the children of one Alignment) with `units`.
std::string document(const std::string& body, const std::string& units = "",
                     const std::string& prolog = "<?xml version=\"1.0\"?>") {
    return prolog + "\n<LandXML xmlns=\"http://www.landxml.org/schema/LandXML-1.2\">" + units +
           "<Alignments><Alignment name=\"A\" staStart=\"100\" length=\"10\">" + body +
           "</Alignment></Alignments></LandXML>";
}

const std::string kLine =
    "<CoordGeom><Line length=\"10\"><Start>0 0</Start><End>0 10</End></Line></CoordGeom>";

std::string errorOf(const std::string& text, const ReadOptions& options = {}) {
    try {
        readLandXml(text, "f.xml", options);
    } catch (const ReadError& error) {
        return error.what();
    }
    return "no error";
}

struct PublishedFile {
    const char* name;
    std::size_t elements;
    LengthUnit unit;        ///< the file's linear unit, kept by the route
    double startStation;    ///< Alignment@staStart, file units
    double lastPviStation;  ///< the last PVI, file units
    double lastPviElevation;
};

// Values copied from the published files (their Alignment and last PVI).
const PublishedFile kPublished[] = {
    {"UT-Alignment-Aplitop-1.xml", 15, LengthUnit::Metre, 0.0, 507.067, 350.700},
    {"PR_Twin_Branch_section_alignment.xml", 3, LengthUnit::USSurveyFoot, 2103.7205600000002,
     4940.0000000000018, 713.75733171875027},
    {"M3_RS-CL.tg.xml", 15, LengthUnit::Metre, 0.0, 1266.246171, 19.377000},
};

TEST(LandXmlPublishedFiles, ReadWithoutClosureWarningsInTheirOwnUnit) {
    for (const PublishedFile& file : kPublished) {
        SCOPED_TRACE(file.name);
        ReadResult result = readLandXml(fileText(file.name), file.name);
        const auto& d = result.description;
        for (const auto& warning : result.warnings) {
            EXPECT_EQ(warning.message.find("End"), std::string::npos) << warning.message;
        }
        ASSERT_EQ(d.horizontal.elements.size(), file.elements);
        EXPECT_EQ(d.frame, qv::route::Frame::NE);
        EXPECT_EQ(d.lengthUnit, file.unit);
        EXPECT_EQ(d.startStation, file.startStation);
        EXPECT_EQ(d.profile.back().station.value, file.lastPviStation);
        EXPECT_EQ(d.profile.back().elevation, file.lastPviElevation);
    }
}

TEST(LandXmlPublishedFiles, ReadsKindsTurnsAndProfileCurves) {
    // Aplitop: element 3 is the clothoid from R 25 to INF turning ccw, element 4 an entering
    // one to R 22 turning cw (a reverse curve); profile ParaCurve length 129.487.
    const auto aplitop = readLandXml(fileText("UT-Alignment-Aplitop-1.xml"), "a").description;
    EXPECT_EQ(aplitop.horizontal.elements[2].kind, ElementKind::OutTransition);
    EXPECT_EQ(aplitop.horizontal.elements[2].startRadius, 25.0);
    EXPECT_EQ(aplitop.horizontal.elements[2].turn, -1);
    EXPECT_EQ(aplitop.horizontal.elements[3].kind, ElementKind::InTransition);
    EXPECT_EQ(aplitop.horizontal.elements[3].endRadius, 22.0);
    EXPECT_EQ(aplitop.horizontal.elements[3].turn, 1);
    EXPECT_EQ(aplitop.profile[1].length, 129.487);
    // The first line's dir 102.44211605 grads is its azimuth (north 4084594.132, east 335085.958).
    EXPECT_NEAR(aplitop.horizontal.startBearing, 102.44211605 * rcc::kPi / 200, 1e-6);
    EXPECT_EQ(aplitop.horizontal.start.x, 4084594.132145);

    // M3: first arc R 250 cw; the CircCurve radius -2000 is read unsigned, with a warning.
    const auto m3 = readLandXml(fileText("M3_RS-CL.tg.xml"), "m");
    EXPECT_EQ(m3.description.horizontal.elements[1].turn, 1);
    EXPECT_EQ(m3.description.profile[3].radius, 2000.0);
    EXPECT_EQ(m3.description.coordinateSystem, "EPSG:3875");
    std::size_t circles = 0;
    for (const auto& w : m3.warnings) circles += w.message.find("CircCurve") != std::string::npos;
    EXPECT_EQ(circles, 9u);  // nine CircCurves between the PVIs
}

TEST(LandXmlUnits, LengthAndDirectionUnitsConvert) {
    struct Case {
        const char* units;
        double length;  ///< in the route's unit, of the file's length 10
        LengthUnit unit;
        const char* dir;
    };
    // The line runs due east, azimuth pi/2: 100 grads, 90 degrees, "90.0000" dd.mmss. Feet
    // and survey feet are kept, so their 10 stays 10; kilometres become metres.
    const Case cases[] = {
        {"", 10.0, LengthUnit::Metre, "1.5707963"},
        {"<Units><Metric linearUnit=\"meter\" directionUnit=\"grads\"/></Units>", 10.0,
         LengthUnit::Metre, "100"},
        {"<Units><Metric linearUnit=\"kilometer\" directionUnit=\"grads\"/></Units>", 1e4,
         LengthUnit::Metre, "100"},
        {"<Units><Imperial linearUnit=\"foot\" directionUnit=\"decimal degrees\"/></Units>", 10.0,
         LengthUnit::Foot, "90."},
        {"<Units><Imperial linearUnit=\"USSurveyFoot\" directionUnit=\"decimal  dd.mm.ss\"/>"
         "</Units>",
         10.0, LengthUnit::USSurveyFoot, "89.5960"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.units);
        const std::string body = std::string("<CoordGeom><Line length=\"10\" dir=\"") + c.dir +
                                 "\"><Start>0 0</Start><End>0 10</End></Line></CoordGeom>";
        const ReadResult r = readLandXml(document(body, c.units), "u");
        EXPECT_NEAR(r.description.horizontal.elements[0].length, c.length, rcc_test::kExact);
        EXPECT_NEAR(r.description.startStation, 10 * c.length, rcc_test::kExact);
        EXPECT_EQ(r.description.lengthUnit, c.unit);
        EXPECT_TRUE(r.warnings.empty()) << r.warnings.front().message;
    }
}

TEST(LandXmlUnits, EightBitEncodingsAndPrefixedNamesRead) {
    // "Väg" in ISO-8859-1 (0xE4) and "€" in Windows-1252 (0x80) come out as UTF-8.
    const std::string latin =
        document(kLine, "", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>");
    std::string named = latin;
    named.replace(named.find("name=\"A\""), 8, "name=\"V\xE4g\"");
    EXPECT_EQ(readLandXml(named, "l").description.name, "V\xC3\xA4g");
    std::string windows = document(kLine, "", "<?xml version=\"1.0\" encoding=\"windows-1252\"?>");
    windows.replace(windows.find("name=\"A\""), 8, "name=\"\x80\"");
    EXPECT_EQ(readLandXml(windows, "w").description.name, "\xE2\x82\xAC");
    const std::string prefixed =
        "\xEF\xBB\xBF<lx:LandXML xmlns:lx=\"x\"><lx:Alignments><lx:Alignment name=\"P\">"
        "<lx:CoordGeom><lx:Line><lx:Start>0 0</lx:Start><lx:End>3 4</lx:End></lx:Line>"
        "</lx:CoordGeom></lx:Alignment></lx:Alignments></lx:LandXML>";
    EXPECT_EQ(readLandXml(prefixed, "p").description.horizontal.elements[0].length, 5.0);
}

TEST(LandXmlDirections, AConventionBrokenByOneElementIsWarnedOnce) {
    // Both lines' dir follow "counter-clockwise from north" (azimuth 90 -> 300 grads); the
    // third states 100 grads for an azimuth of 0, which fits none of the others' conventions.
    const std::string body =
        "<CoordGeom><Line dir=\"300\"><Start>0 0</Start><End>0 10</End></Line>"
        "<Line dir=\"300\"><Start>0 10</Start><End>0 20</End></Line>"
        "<Line dir=\"100\"><Start>0 20</Start><End>10 20</End></Line></CoordGeom>";
    const ReadResult r =
        readLandXml(document(body, "<Units><Metric directionUnit=\"grads\"/></Units>"), "d");
    ASSERT_EQ(r.warnings.size(), 1u);
    EXPECT_EQ(r.warnings[0].path, "horizontal.elements[2]");
}

TEST(LandXmlDirections, AnElementMissingItsEndIsWarnedWithStationAndDistance) {
    // The arc of R 10 cw from north (centre due east) over a quarter circle, 5 pi long, ends
    // at (10, 10); the file puts its End 0.5 further east. The straight after it closes.
    const std::string body =
        "<CoordGeom><Curve rot=\"cw\" radius=\"10\" length=\"15.707963267948966\">"
        "<Start>0 0</Start><Center>0 10</Center><End>10 10.5</End></Curve>"
        "<Line><Start>10 10</Start><End>10 20</End></Line></CoordGeom>";
    const ReadResult r = readLandXml(document(body), "c");
    ASSERT_EQ(r.warnings.size(), 1u);
    EXPECT_EQ(r.warnings[0].path, "horizontal.elements[0]");
    EXPECT_NE(r.warnings[0].message.find("Curve at station 100.000000 ends 0.5 from"),
              std::string::npos)
        << r.warnings[0].message;
    EXPECT_EQ(r.description.horizontal.elements[0].turn, 1);
    EXPECT_NEAR(r.description.horizontal.elements[0].startBearing.value(), 0.0, rcc_test::kAngle);
}

TEST(LandXmlStations, EquationsBecomeBreaksOrLabels) {
    // staStart 100: internal 103 is numbered 103; ahead 110 is a short chain 103 -> 110.
    // Internal 105 is then 112 (no staBack); ahead 108 is a long chain 112 -> 108. Internal
    // 107 restates itself as ahead (a kilometre post): a label where the numbering has 110.
    // The last gives staBack 120 where the numbering has 111: kept, with a warning.
    const std::string body = kLine +
                             "<StaEquation staInternal=\"103\" staAhead=\"110\"/>"
                             "<StaEquation staInternal=\"105\" staAhead=\"108\" desc=\"L\"/>"
                             "<StaEquation staInternal=\"107\" staAhead=\"107\" desc=\"km\"/>"
                             "<StaEquation staInternal=\"108\" staBack=\"120\" staAhead=\"130\"/>";
    const ReadResult r = readLandXml(document(body), "e");
    const double expected[][2] = {{103, 110}, {112, 108}, {110, 110}, {120, 130}};
    ASSERT_EQ(r.description.equations.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_DOUBLE_EQ(r.description.equations[i].back, expected[i][0]) << i;
        EXPECT_DOUBLE_EQ(r.description.equations[i].ahead, expected[i][1]) << i;
    }
    EXPECT_EQ(r.description.equations[1].name, "L");
    ASSERT_EQ(r.warnings.size(), 1u);
    EXPECT_EQ(r.warnings[0].path, "equations[3]");
}

TEST(LandXmlProfile, VerticalCurvesKeepLengthOrRadius) {
    // Grades -1 % and +1 % either side of station 1000. A circle of radius 10000 tangent to
    // both bottoms out at R (sqrt(1 + g^2) - 1) = 0.4999875 above the PVI; the parabola of
    // that radius at T^2 / (2R) = 0.5: they part by 1.25e-5 there and nowhere more.
    const std::string body = kLine +
                             "<Profile><ProfAlign name=\"P\"><PVI>0 10</PVI>"
                             "<CircCurve length=\"200\" radius=\"-10000\">1000 0</CircCurve>"
                             "<ParaCurve length=\"300.\">2000 10</ParaCurve><PVI>3000 0</PVI>"
                             "</ProfAlign></Profile>";
    const ReadResult r = readLandXml(document(body), "p");
    const auto& profile = r.description.profile;
    ASSERT_EQ(profile.size(), 4u);
    EXPECT_EQ(profile[1].radius, 10000.0);
    EXPECT_EQ(profile[1].length, 0.0);
    EXPECT_EQ(profile[2].length, 300.0);
    EXPECT_EQ(profile[2].radius, 0.0);
    ASSERT_EQ(r.warnings.size(), 1u);
    const std::string& message = r.warnings[0].message;
    EXPECT_NEAR(std::stod(message.substr(message.find("up to ") + 6)), 1.25e-5, 1e-7) << message;
}

TEST(LandXmlAlignments, PlainAlignPIsBecomeIntersectionPoints) {
    // A PI with an entering spiral, a curve and a leaving spiral is one intersection point.
    const std::string body = kLine +
                             "<AlignPIs><AlignPI><PI>0 0</PI></AlignPI><AlignPI>"
                             "<PI name=\"P1\">0 200</PI><InSpiral><Spiral length=\"10\"/>"
                             "</InSpiral><Curve1><Curve radius=\"300\"/></Curve1><OutSpiral>"
                             "<Spiral length=\"20\"/></OutSpiral></AlignPI><AlignPI>"
                             "<PI>100 300</PI></AlignPI></AlignPIs>";
    const auto points = readLandXml(document(body), "pi").description.horizontal.points;
    ASSERT_EQ(points.size(), 3u);
    EXPECT_EQ(points[1].name, "P1");
    EXPECT_EQ(points[1].y, 200.0);
    EXPECT_EQ(points[1].radius, 300.0);
    EXPECT_EQ(points[1].inTransitionLength, 10.0);
    EXPECT_EQ(points[1].outTransitionLength, 20.0);
    EXPECT_EQ(points[2].x, 100.0);
}

TEST(LandXmlAlignments, ElementsShorterThanTheChainageResolutionAreLeftOut) {
    // A straight of 5e-7 m (below the six-decimal chainage) before a 10 m straight: the
    // library would build it with no length, so it is left out with a warning.
    const std::string body =
        "<CoordGeom><Line length=\"5e-7\"><Start>0 0</Start><End>0 5e-7</End></Line>"
        "<Line length=\"10\"><Start>0 0</Start><End>0 10</End></Line></CoordGeom>";
    const ReadResult r = readLandXml(document(body), "short");
    EXPECT_EQ(r.description.horizontal.elements.size(), 1u);
    ASSERT_EQ(r.warnings.size(), 1u);
    EXPECT_NE(r.warnings[0].message.find("Line[1] has no length"), std::string::npos);
}

TEST(LandXmlErrors, BadInputGivesOneLineNamingThePlace) {
    struct Case {
        std::string text;
        const char* expected;
    };
    const Case cases[] = {
        {"<?xml version=\"1.0\"?>\n<LandXML>\n  <Alignments></Oops>",
         "f.xml:3:17: Start-end tags mismatch"},
        {document("<CoordGeom><Line/><Spiral length=\"1\"/><Spiral/></CoordGeom>"),
         "f.xml: Alignment[name=A]/CoordGeom/Line/Start: missing"},
        {document("<CoordGeom><Spiral radiusStart=\"INF\"/></CoordGeom>"),
         "Alignment[name=A]/CoordGeom/Spiral@length: missing"},
        {document("<CoordGeom><Spiral length=\"5\" spiType=\"cubic\"/></CoordGeom>"),
         "Spiral: spiral type cubic is not read"},
        {document(kLine + "<StaEquation staInternal=\"1\" staAhead=\"0\" "
                          "staIncrement=\"decreasing\"/>"),
         "StaEquation@staIncrement: decreasing"},
        {document(kLine + "<Profile><ProfAlign><PVI>0 1</PVI><UnsymParaCurve>5 2"
                          "</UnsymParaCurve></ProfAlign></Profile>"),
         "UnsymParaCurve: unsymmetrical"},
        {document("<CoordGeom><Line length=\"1e300\"><Start>0 0</Start><End>0 1</End></Line>"
                  "</CoordGeom>"),
         "@length: out of range"},
        {"<?xml version=\"1.0\"?><Nope/>", "not LandXML"},
        {"<LandXML><Alignments><Alignment name=\"A\"/><Alignment name=\"B\"/></Alignments>"
         "</LandXML>",
         "several alignments; choose one of: A, B"},
    };
    for (const Case& c : cases) {
        const std::string message = errorOf(c.text);
        EXPECT_NE(message.find(c.expected), std::string::npos) << message;
        EXPECT_EQ(message.find('\n'), std::string::npos) << message;
    }
}

TEST(LandXmlErrors, NoExternalEntityIsLoaded) {
    // An external entity naming a local file: the reader never opens it, so the name stays
    // an unreadable number rather than the file's contents.
    const std::string text =
        "<?xml version=\"1.0\"?><!DOCTYPE LandXML [<!ENTITY x SYSTEM \"/etc/hostname\">]>"
        "<LandXML><Alignments><Alignment name=\"&x;\" staStart=\"&x;\">" +
        kLine + "</Alignment></Alignments></LandXML>";
    EXPECT_NE(errorOf(text).find("staStart: not a number"), std::string::npos);
}

TEST(LandXmlAlignments, SeveralAlignmentsArePickedByName) {
    const std::string text = "<LandXML><Alignments><Alignment name=\"A\">" + kLine +
                             "</Alignment><Alignment name=\"B\" staStart=\"7\">" + kLine +
                             "</Alignment></Alignments></LandXML>";
    EXPECT_EQ(qv::route::landXmlAlignmentNames(text, "n"), (std::vector<std::string>{"A", "B"}));
    ReadOptions options;
    options.alignment = "B";
    EXPECT_EQ(readLandXml(text, "n", options).description.startStation, 7.0);
    options.alignment = "C";
    EXPECT_NE(errorOf(text, options).find("no alignment C; the file has: A, B"), std::string::npos);
}

/// The staStart values of a file's CoordGeom elements, in file order (file units).
std::vector<double> elementStations(const std::string& text) {
    std::vector<double> out;
    const std::size_t end = text.find("</CoordGeom>");
    for (std::size_t at = text.find("<CoordGeom"); (at = text.find("staStart=\"", at)) < end;) {
        at += 10;
        out.push_back(std::stod(text.substr(at)));
    }
    return out;
}

std::string validationOf(const std::string& written) {
    const std::string path = testing::TempDir() + "landxml_written.xml";
    std::ofstream(path, std::ios::binary) << written;
    const std::string lint = "xmllint --noout --nonet --schema " + std::string(QV_TEST_DATA) +
                             "/landxml/LandXML-1.2.xsd " + path + " 2>&1";
    return std::system((lint + " >/dev/null").c_str()) == 0 ? "valid" : "invalid";
}

TEST(LandXmlRoutes, PublishedFilesBuildWithTheirEndsStationsAndElevations) {
    for (const PublishedFile& file : kPublished) {
        SCOPED_TRACE(file.name);
        const std::string text = fileText(file.name);
        const Route route = Route::build(readLandXml(text, file.name).description);
        const auto& described = route.description().horizontal.elements;
        const std::vector<double> stations = elementStations(text);
        for (std::size_t i = 0; i < route.elements().size(); ++i) {
            const RoadCurve& e = route.elements()[i];
            EXPECT_LE(std::hypot(e.endX - described[i].expectedEnd->x,
                                 e.endY - described[i].expectedEnd->y),
                      kFileClosure)
                << i;
            if (i < stations.size()) {
                EXPECT_NEAR(route.stationAt(route.elementStart(i)).value, stations[i],
                            kSummedSixDecimals)
                    << i;
            }
        }
        for (const auto& finding : route.check()) {  // closure 1 mm by default
            EXPECT_EQ(finding.path.find("expectedEnd"), std::string::npos) << finding.message;
        }
        // Every PVI keeps its published elevation: on a grade line the route passes through
        // it, under a vertical curve it is the curve's intersection point.
        for (const auto& curve : route.verticalCurves()) {
            EXPECT_EQ(curve.elevation, route.description().profile[curve.pointIndex].elevation);
        }
        const auto& first = route.description().profile.front();
        EXPECT_NEAR(route.elevationAtLength(*route.lengthAt(first.station)), first.elevation,
                    rcc_test::kExact);
    }
}

TEST(LandXmlWriter, WrittenFilesValidateAndReadBackToTheSameRoute) {
    for (const PublishedFile& file : kPublished) {
        SCOPED_TRACE(file.name);
        const Route route = Route::build(readLandXml(fileText(file.name), file.name).description);
        const std::string written = qv::route::writeLandXml(route);
        EXPECT_EQ(validationOf(written), "valid") << written;

        const auto back = readLandXml(written, "written");
        EXPECT_TRUE(back.warnings.empty()) << back.warnings.front().message;
        const Route again = Route::build(back.description);
        ASSERT_EQ(again.elements().size(), route.elements().size());
        for (std::size_t i = 0; i < again.elements().size(); ++i) {
            const RoadCurve& a = again.elements()[i];
            const RoadCurve& b = route.elements()[i];
            EXPECT_LE(std::hypot(a.endX - b.endX, a.endY - b.endY), 1e-6) << i;
            EXPECT_EQ(a.curveType, b.curveType) << i;
        }
        ASSERT_EQ(again.verticalCurves().size(), route.verticalCurves().size());
        for (std::size_t k = 0; k < again.verticalCurves().size(); ++k) {
            EXPECT_NEAR(again.verticalCurves()[k].radius, route.verticalCurves()[k].radius, 1e-6);
        }
    }
}

TEST(LandXmlWriter, XYFrameIsWrittenNorthUp) {
    // In the XY frame a left turn (bearing grows from east towards north) is ccw on the map,
    // and (x, y) is written as "north east" = "y x": read back, the NE frame holds (y, x).
    qv::route::RouteDescription d;
    d.frame = qv::route::Frame::XY;
    qv::route::ElementDescription arc;
    arc.kind = ElementKind::Arc;
    arc.length = 10.0;
    arc.startRadius = arc.endRadius = 50.0;
    arc.turn = 1;
    d.horizontal.start = {100.0, 200.0};
    d.horizontal.elements = {arc};
    const Route route = Route::build(d);
    const RoadCurve& built = route.elements()[0];
    const auto back = readLandXml(qv::route::writeLandXml(route), "xy").description;
    ASSERT_EQ(back.horizontal.elements.size(), 1u);
    EXPECT_EQ(back.horizontal.elements[0].turn, -1);
    EXPECT_NEAR(back.horizontal.elements[0].expectedEnd->x, built.endY, 1e-9);
    EXPECT_NEAR(back.horizontal.elements[0].expectedEnd->y, built.endX, 1e-9);
    EXPECT_NEAR(*back.horizontal.elements[0].startBearing, rcc::kPi / 2,
                1e-12);  // east = azimuth 90
}

TEST(LandXmlWriter, IntersectionPointsAreWrittenAsAlignPIsAndReadBack) {
    // A right turn at (200, 0) of 36.9 degrees (towards (300, 75)), R 300 with 40 m clothoids.
    qv::route::RouteDescription d;
    d.frame = qv::route::Frame::NE;
    d.startStation = 1000.0;
    d.horizontal.points = {{"S", 0, 0}, {"P1", 200, 0, 300, 40, 40}, {"E", 300, 75}};
    d.equations = {{1100.0, 1150.0, "EQ"}};
    const Route route = Route::build(d);
    const std::string written = qv::route::writeLandXml(route);
    EXPECT_EQ(validationOf(written), "valid") << written;
    const ReadResult back = readLandXml(written, "pi");
    ASSERT_EQ(back.description.horizontal.points.size(), 3u);
    EXPECT_EQ(back.description.horizontal.points[1].name, "P1");
    EXPECT_EQ(back.description.horizontal.points[1].inTransitionLength, 40.0);
    ASSERT_EQ(back.description.equations.size(), 1u);
    EXPECT_EQ(back.description.equations[0].back, 1100.0);
    const Route again = Route::build(back.description);
    ASSERT_EQ(again.elements().size(), route.elements().size());
    for (std::size_t i = 0; i < again.elements().size(); ++i) {
        EXPECT_LE(std::hypot(again.elements()[i].endX - route.elements()[i].endX,
                             again.elements()[i].endY - route.elements()[i].endY),
                  1e-6);
    }
}

}  // namespace
