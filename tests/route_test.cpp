// The route layer: stations across station equations, points and elevations, curves, and
// the same bits as the library wherever both answer the same question.
#include <qv_route/route.hpp>

#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace qv::route;

constexpr double kPi = 3.141592653589793;
/// An element's chainage as the library stored it against the station the layer computes
/// there: six-decimal rounding of the sums that made each (length units).
constexpr double kSameChainage = 1e-5;

ElementDescription line(double length) {
    ElementDescription e;
    e.length = length;
    return e;
}

ElementDescription curved(ElementKind kind, double length, double startRadius, double endRadius,
                          int turn) {
    return ElementDescription{kind, length, startRadius, endRadius, turn, {}, {}, {}, ""};
}

RouteDescription elementRoute(double start, std::vector<StationEquation> equations,
                              std::vector<ElementDescription> elements) {
    RouteDescription d;
    d.startStation = start;
    d.equations = std::move(equations);
    d.horizontal.elements = std::move(elements);
    return d;
}

// A straight east from the origin, `length` long, in ten equal pieces.
RouteDescription straight(double start, std::vector<StationEquation> equations, double length) {
    constexpr int kPieces = 10;
    return elementRoute(start, std::move(equations),
                        std::vector<ElementDescription>(kPieces, line(length / kPieces)));
}

IntersectionPoint ip(double x, double y, double radius = 0, double l1 = 0, double l2 = 0) {
    return IntersectionPoint{"", x, y, radius, l1, l2};
}

// Start 1000, a left turn of 90 degrees at (100, 0) on R 50: T = R tan(45) = 50, arc 25 pi.
RouteDescription quarterTurn() {
    RouteDescription d;
    d.startStation = 1000;
    d.horizontal.points = {ip(0, 0), ip(100, 0, 50), ip(100, 100)};
    return d;
}

// Two curves, the first with transitions, and a short chain on the first straight.
RouteDescription twoCurves() {
    RouteDescription d;
    d.equations = {{100, 150, ""}};
    d.horizontal.points = {ip(0, 0), ip(300, 0, 200, 50, 50), ip(500, 200, 300), ip(800, 200)};
    d.profile = {{"", {0, 1}, 50, 0, 0}, {"", {250, 1}, 52, 2000, 0}, {"", {700, 1}, 49, 0, 60}};
    d.profile.push_back({"", {780, 1}, 49.5, 0, 0});
    return d;
}

bool sameBits(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// Walks `route` and asks the library the same question at chainages it answers without
// ambiguity: first passes outside any repeated stretch, on elements and profile pieces that
// hold no break. Point, bearing and elevation must agree bit for bit.
void expectSameBitsAsLibrary(const Route& route) {
    constexpr int kSamples = 97;  // odd fractions: no sample on an element boundary
    std::vector<double> breaks;
    for (const EquationInfo& eq : route.equations()) {
        if (eq.isBreak) breaks.push_back(eq.length);
    }
    // The library cannot tell which pass an unmarked start chainage means, nor follow a break
    // inside an element or piece.
    const auto unclear = [&breaks, &route](double from, double to) {
        const Station start = route.stationAt(from);
        if (start.occurrence != 1 || route.lengthAt({start.value, 2})) return true;
        for (double b : breaks) {
            if (b >= from && b <= to) return true;
        }
        return false;
    };
    std::vector<double> samples;
    for (int j = 0; j < kSamples; ++j) samples.push_back(route.length() * (j + 0.37) / kSamples);
    for (const KeyPoint& k : route.keyPoints()) samples.push_back(k.length);  // element ends
    int compared = 0;
    for (const double length : samples) {
        Station s = route.stationAt(length);
        s.value = std::stod(std::to_string(s.value));  // what the library's text can say
        if (s.occurrence != 1 || route.lengthAt({s.value, 2})) continue;
        const std::optional<RoutePoint> p = route.pointAt(s);
        ASSERT_TRUE(p.has_value());
        // The library numbers fitted curves by plain addition, past any break on them; at an
        // element's end either element may answer.
        const auto elementUnclear = [&route, &unclear](std::size_t i) {
            const double start = route.elementStart(i);
            return unclear(start, start + route.elements()[i].length) ||
                   std::fabs(route.elements()[i].startDK - route.stationAt(start).value) >
                       kSameChainage;
        };
        const std::size_t i = p->element;
        const double start = route.elementStart(i);
        const double end = start + route.elements()[i].length;
        if (elementUnclear(i) ||
            (i > 0 && p->length - start < kSameChainage && elementUnclear(i - 1)) ||
            (i + 1 < route.elements().size() && end - p->length < kSameChainage &&
             elementUnclear(i + 1))) {
            continue;
        }
        bool pieceUnclear = false;
        for (std::size_t k = 0; k < route.profilePieces().size(); ++k) {
            const double from = route.profilePieceStart(k);
            const double to = from + route.profilePieces()[k].length;
            pieceUnclear =
                pieceUnclear || (p->length >= from && p->length <= to && unclear(from, to));
        }
        if (pieceUnclear) continue;
        double x = 0, y = 0, z = std::nan("");
        const std::string text = std::to_string(s.value);
        // Beyond the library's last element it answers that element's end.
        if (!route.alignment().isDKOnAlignment(text)) continue;
        const double bearing = route.alignment().calculateCoordinatesAndBearing(text, x, y, z);
        EXPECT_TRUE(sameBits(p->x, x)) << text;
        EXPECT_TRUE(sameBits(p->y, y)) << text;
        EXPECT_TRUE(sameBits(p->bearing, bearing)) << text;
        EXPECT_TRUE(sameBits(p->elevation, z)) << text << " " << p->elevation << " " << z;
        ++compared;
    }
    EXPECT_GT(compared, kSamples / 10);
}

struct StationCase {
    double value;
    int occurrence;
    std::optional<double> length;  // nullopt: the station does not exist
};

void expectStations(const Route& route, const std::vector<StationCase>& cases) {
    for (const StationCase& c : cases) {
        const std::optional<double> length = route.lengthAt({c.value, c.occurrence});
        ASSERT_EQ(length.has_value(), c.length.has_value())
            << c.value << "(" << c.occurrence << ")";
        if (!length) continue;
        EXPECT_NEAR(*length, *c.length, rcc_test::kExact) << c.value << "(" << c.occurrence << ")";
        // Back to the same place (at a break, through the station ahead of it).
        EXPECT_NEAR(*route.lengthAt(route.stationAt(*length)), *length, rcc_test::kExact);
    }
}

TEST(RouteStations, FollowTheNumberingThroughEveryKindOfEquation) {
    const struct {
        const char* note;
        RouteDescription description;
        double endStation;
        std::vector<StationCase> cases;
    } routes[] = {
        // Short chain 300 = 340 on a straight of 1000: 300..340 do not exist.
        {"short chain",
         straight(0, {{300, 340, ""}}, 1000),
         1040,
         {{300, 1, 300},
          {340, 1, 300},
          {320, 1, std::nullopt},
          {500, 1, 460},
          {-20, 1, -20},
          {1100, 1, 1060},
          {500, 2, std::nullopt}}},
        // Long chain 2390 = 2330 from 2000: 2330..2390 occur twice, 60 apart.
        {"long chain",
         straight(2000, {{2390, 2330, ""}}, 1000),
         2940,
         {{2350, 1, 350},
          {2350, 2, 410},
          {2390, 1, 390},
          {2390, 2, 450},
          {2330, 2, 390},
          {2400, 1, 460},
          {2400, 2, std::nullopt}}},
        // A long chain at negative stations: -350..-300 occur twice.
        {"negative long chain",
         straight(-500, {{-300, -350, ""}}, 400),
         -150,
         {{-320, 1, 180}, {-320, 2, 230}, {-400, 1, 100}, {-200, 1, 350}}},
        // A start in (0, 1) with a long chain 300 = 200: the chain still counts.
        {"start at 0.5", straight(0.5, {{300, 200, ""}}, 1200), 1100.5, {{250.5, 2, 350}}},
        // Short chain 1080 = 1100 on the quarter turn's arc (1050 to 1050 + 25 pi).
        {"short chain on a fitted arc",
         [] {
             RouteDescription d = quarterTurn();
             d.equations = {{1080, 1100, ""}};
             return d;
         }(),
         1198.5398163397448,  // 1000 + 100 + 25 pi + 20
         {{1090, 1, std::nullopt}, {1080, 1, 80}, {1150, 1, 130}, {1150, 2, std::nullopt}}},
        // Two points: one straight of 1000 (a 3-4-5 triangle), built from its end points.
        {"two points",
         [] {
             RouteDescription d;
             d.startStation = 100;
             d.horizontal.points = {ip(0, 0), ip(600, 800)};
             return d;
         }(),
         1100,
         {{500, 1, 400}, {50, 1, -50}}},
        // A label (back == ahead) is no break.
        {"label", straight(-90, {{500, 500, "km post"}}, 1000), 910, {{-80, 1, 10}, {500, 1, 590}}},
    };
    for (const auto& r : routes) {
        SCOPED_TRACE(r.note);
        const Route route = Route::build(r.description);
        EXPECT_NEAR(route.endStation().value, r.endStation, rcc_test::kExact);
        expectStations(route, r.cases);
        expectSameBitsAsLibrary(route);
    }
}

TEST(RouteGeometry, AQuarterTurnHasItsTangentsArcAndExternalByHand) {
    const Route route = Route::build(quarterTurn());
    const double arc = 25 * kPi;  // R * pi / 2
    EXPECT_NEAR(route.length(), 100 + arc, rcc_test::kExact);
    ASSERT_EQ(route.curves().size(), 1u);
    const CurveInfo& c = route.curves()[0];
    EXPECT_EQ(c.name, "JD1");
    EXPECT_EQ(c.turn, 1);
    EXPECT_NEAR(c.inTangentLength, 50, rcc_test::kExact);
    EXPECT_NEAR(c.outTangentLength, 50, rcc_test::kExact);
    EXPECT_NEAR(c.arcLength, arc, rcc_test::kExact);
    EXPECT_NEAR(c.deflection, kPi / 2, rcc_test::kAngle);
    EXPECT_NEAR(c.startLength, 50, rcc_test::kExact);
    EXPECT_NEAR(c.endLength, 50 + arc, rcc_test::kExact);
    EXPECT_NEAR(c.external, 50 * (std::sqrt(2.0) - 1), rcc_test::kStepPosition);  // R(sec 45 - 1)
    // Mid-arc: 45 degrees round the centre (50, 50) from (50, 0).
    const std::optional<RoutePoint> mid = route.pointAt({1050 + arc / 2, 1});
    ASSERT_TRUE(mid.has_value());
    EXPECT_NEAR(mid->x, 50 + 25 * std::sqrt(2.0), rcc_test::kStepPosition);
    EXPECT_NEAR(mid->y, 50 - 25 * std::sqrt(2.0), rcc_test::kStepPosition);
    EXPECT_NEAR(mid->curvature, 1.0 / 50, rcc_test::kExact);
    EXPECT_EQ(mid->kind, ElementKind::Arc);
    // Offsets: +5 lies left of the eastbound straight; off the route on the produced tangents.
    const struct {
        double length, offset, x, y;
        bool onRoute;
    } cases[] = {{20, 5, 20, 5, true},
                 {20, -5, 20, -5, true},
                 {-10, 0, -10, 0, false},
                 {100 + arc + 10, 0, 100, 110, false},
                 {100 + arc + 10, 2, 98, 110, false}};
    for (const auto& p : cases) {
        const RoutePoint got = route.pointAtLength(p.length, p.offset);
        EXPECT_NEAR(got.x, p.x, rcc_test::kStepPosition) << p.length << " " << p.offset;
        EXPECT_NEAR(got.y, p.y, rcc_test::kStepPosition) << p.length << " " << p.offset;
        EXPECT_EQ(got.onRoute, p.onRoute) << p.length;
    }
    EXPECT_TRUE(std::isnan(route.pointAtLength(20).elevation));  // no profile
    expectSameBitsAsLibrary(route);
}

TEST(RouteGeometry, BreaksOnAnArcAndATransitionChangeTheNumberingNotTheGeometry) {
    const std::vector<ElementDescription> elements = {
        line(100), curved(ElementKind::InTransition, 60, HUGE_VAL, 200, 1),
        curved(ElementKind::Arc, 100, 200, 200, 1),
        curved(ElementKind::OutTransition, 60, 200, HUGE_VAL, 1), line(100)};
    // Long chain 130 = 120 on the entering transition (length 130); short chain 200 = 250 on
    // the arc: 120 + (210 - 130) = 200 at length 210.
    const Route broken = Route::build(elementRoute(0, {{130, 120, ""}, {200, 250, ""}}, elements));
    const Route plain = Route::build(elementRoute(0, {}, elements));
    expectSameBitsAsLibrary(plain);
    EXPECT_NEAR(broken.endStation().value, 460, rcc_test::kExact);
    expectStations(broken, {{125, 1, 125},
                            {125, 2, 135},
                            {225, 1, std::nullopt},
                            {250, 1, 210},
                            {200, 1, 210},
                            {300, 1, 260}});
    ASSERT_EQ(broken.elements().size(), plain.elements().size());
    for (std::size_t i = 0; i < plain.elements().size(); ++i) {
        EXPECT_NEAR(broken.elements()[i].length, elements[i].length, rcc_test::kQuotedSixDecimals);
    }
    for (double length = 1.5; length < plain.length(); length += 10) {
        const RoutePoint a = broken.pointAtLength(length);
        const RoutePoint b = plain.pointAtLength(length);
        EXPECT_NEAR(a.x, b.x, rcc_test::kQuotedSixDecimals) << length;
        EXPECT_NEAR(a.y, b.y, rcc_test::kQuotedSixDecimals) << length;
    }
    const std::optional<RoutePoint> second = broken.pointAt({125, 2});
    ASSERT_TRUE(second.has_value());
    EXPECT_NEAR(second->x, plain.pointAtLength(135).x, rcc_test::kQuotedSixDecimals);
    EXPECT_NEAR(second->y, plain.pointAtLength(135).y, rcc_test::kQuotedSixDecimals);
    EXPECT_FALSE(broken.pointAt({225, 1}).has_value());
    expectSameBitsAsLibrary(broken);
}

TEST(RouteProfile, GradesAndElevationsFollowTheStationsNotTheirText) {
    // Start 0.5, long chain 300 = 200; grade 1 % from 10 at 0.5 through 150.5 and the second
    // 250.5 (length 350, elevation 13.5) to 1100.5 (length 1200, elevation 22).
    RouteDescription d = elementRoute(0.5, {{300, 200, ""}}, {line(200), line(200), line(800)});
    d.profile = {{"", {0.5, 1}, 10, 0, 0},
                 {"", {150.5, 1}, 11.5, 0, 0},
                 {"", {250.5, 2}, 13.5, 0, 0},
                 {"", {1100.5, 1}, 22, 0, 0}};
    const Route route = Route::build(d);
    for (const double length : {0.0, 100.0, 349.0, 1200.0}) {
        EXPECT_NEAR(route.elevationAtLength(length), 10 + 0.01 * length, rcc_test::kExact);
        EXPECT_NEAR(route.gradeAtLength(length), 0.01, rcc_test::kExact);
    }
    EXPECT_TRUE(std::isnan(route.elevationAtLength(1201)));
    EXPECT_NEAR(route.pointAt({100.5, 1})->elevation, 11, rcc_test::kExact);
    expectSameBitsAsLibrary(route);

    // Crest at 250 on R 2000 between +1 % and -0.667 %; a sag at 700 given by L 60.
    const Route curves = Route::build(twoCurves());
    ASSERT_EQ(curves.verticalCurves().size(), 2u);
    const VerticalCurveInfo& crest = curves.verticalCurves()[0];
    const double g1 = 2.0 / 200, g2 = -3.0 / 450;  // lengths 200 (short chain) and 450
    EXPECT_NEAR(crest.grade1, g1, rcc_test::kExact);
    EXPECT_NEAR(crest.grade2, g2, rcc_test::kExact);
    EXPECT_TRUE(crest.crest);
    EXPECT_NEAR(crest.tangentLength, (g1 - g2) * 2000 / 2, rcc_test::kExact);
    ASSERT_TRUE(crest.extremeLength.has_value());
    // The top lies g1 R past the BVC.
    EXPECT_NEAR(*crest.extremeLength, crest.startLength + g1 * 2000, rcc_test::kQuotedSixDecimals);
    const VerticalCurveInfo& sag = curves.verticalCurves()[1];
    EXPECT_NEAR(sag.tangentLength, 30, rcc_test::kExact);  // L = 2T = 60
    EXPECT_FALSE(sag.crest);
    EXPECT_NEAR(sag.endLength - sag.startLength, 60, rcc_test::kQuotedSixDecimals);
    expectSameBitsAsLibrary(curves);
}

TEST(RouteValues, CopiesAreDeepAndMovesKeepTheRoute) {
    Route a = Route::build(twoCurves());
    const Route copy = a;
    const Route moved = std::move(a);
    const RoutePoint p = moved.pointAtLength(123.4);
    const RoutePoint q = copy.pointAtLength(123.4);
    EXPECT_EQ(p.x, q.x);
    EXPECT_EQ(p.y, q.y);
    EXPECT_EQ(copy.curves().size(), 2u);
    EXPECT_NE(&copy.elements(), &moved.elements());
}

TEST(RouteValues, ThreadsSharingOneRouteGetTheSingleThreadAnswers) {
    const Route route = Route::build(twoCurves());
    TableRequest request;
    request.interval = 7;
    const auto walk = [&route, &request] {
        std::vector<double> values;
        route.forEachTableRow(request, [&route, &values](const TableRow& r) {
            const RoutePoint p = route.pointAtLength(r.length, 1.5);
            values.insert(values.end(), {p.x, p.y, p.elevation, route.locate(p.x, p.y).offset});
        });
        return values;
    };
    const std::vector<double> alone = walk();
    constexpr int kThreads = 4;
    std::vector<std::vector<double>> results(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&results, &walk, t] { results[t] = walk(); });
    for (std::thread& t : threads) t.join();
    for (const std::vector<double>& r : results) {
        ASSERT_EQ(r.size(), alone.size());
        for (std::size_t i = 0; i < r.size(); ++i) EXPECT_TRUE(sameBits(r[i], alone[i])) << i;
    }
}

}  // namespace

namespace {

// Stations and labels of a table, as "station(occurrence) label".
std::vector<std::string> tableOf(const Route& route, const TableRequest& request) {
    std::vector<std::string> rows;
    route.forEachTableRow(request, [&rows](const TableRow& r) {
        rows.push_back(formatStation(r.station, StationStyle::Plain, 0) +
                       (r.label.empty() ? "" : " " + r.label));
    });
    EXPECT_EQ(route.countTableRows(request), rows.size());
    return rows;
}

TableRequest every(double interval) {
    TableRequest r;
    r.interval = interval;
    return r;
}

TEST(RouteTable, ListsRoundStationsOfEachNumberingWithTheKeyPoints) {
    using Rows = std::vector<std::string>;
    // 300 = 340 at interval 100: 300 is the equation's row, then 400, 500 (never 440, 540).
    EXPECT_EQ(tableOf(Route::build(straight(0, {{300, 340, ""}}, 1000)), every(100)),
              (Rows{"0 BEGIN", "100", "200", "300 EQ 300.000 = 340.000", "400", "500", "600", "700",
                    "800", "900", "1000", "1040 END"}));
    // From -90 at interval 20: -80, -60, ...
    const Rows fromMinus90 = tableOf(Route::build(straight(-90, {}, 200)), every(20));
    EXPECT_EQ(Rows(fromMinus90.begin(), fromMinus90.begin() + 3),
              (Rows{"-90 BEGIN", "-80", "-60"}));
    // 2390 = 2330: 2340..2380 listed again on the second pass, marked.
    EXPECT_EQ(tableOf(Route::build(straight(2300, {{2390, 2330, ""}}, 200)), every(20)),
              (Rows{"2300 BEGIN", "2320", "2340", "2360", "2380", "02330 EQ 2390.000 = 2330.000",
                    "02340", "02360", "02380", "2400", "2420", "2440 END"}));
    // A range and an asked-for station (333 does not exist; 450 lies 410 along).
    TableRequest part = every(100);
    part.from = Station{250, 1};
    part.to = Station{520, 1};
    part.at = {{450, 1}, {333, 1}};
    EXPECT_EQ(tableOf(Route::build(straight(0, {{300, 340, ""}}, 1000)), part),
              (Rows{"300 EQ 300.000 = 340.000", "400", "450", "500"}));
}

TEST(RouteKeyPoints, NameEveryCurvesMainPointsAfterItsIntersectionPoint) {
    const Route route = Route::build(twoCurves());
    std::vector<std::string> labels;
    for (const KeyPoint& k : route.keyPoints(true, false)) labels.push_back(k.label);
    EXPECT_EQ(labels, (std::vector<std::string>{"BEGIN", "EQ 100.000 = 150.000", "JD1 TS", "JD1 SC",
                                                "JD1 MC", "JD1 CS", "JD1 ST", "JD2 PC", "JD2 MC",
                                                "JD2 PT", "END"}));
    labels.clear();
    for (const KeyPoint& k : route.keyPoints(false, true)) labels.push_back(k.label);
    EXPECT_EQ(labels, (std::vector<std::string>{"BEGIN", "EQ 100.000 = 150.000", "BP1 BVC",
                                                "BP1 PVI", "BP1 HIGH", "BP1 EVC", "BP2 BVC",
                                                "BP2 PVI", "BP2 LOW", "BP2 EVC", "END"}));
    // The quarter turn: PC 1050, MC and PT a half and a whole arc of 25 pi further.
    const Route quarter = Route::build(quarterTurn());
    const std::vector<KeyPoint> keys = quarter.keyPoints();
    ASSERT_EQ(keys.size(), 5u);
    EXPECT_NEAR(keys[1].station.value, 1050, rcc_test::kExact);
    EXPECT_NEAR(keys[2].station.value, 1050 + 12.5 * kPi, rcc_test::kExact);
    EXPECT_NEAR(keys[3].station.value, 1050 + 25 * kPi, rcc_test::kExact);
    EXPECT_STREQ(keyPointCode(KeyPointType::HighPoint), "HIGH");
}

TEST(RouteCurves, GroupElementsIntoCurvesByTheirArcs) {
    const double inf = HUGE_VAL;
    const auto in = [inf](double r, int turn) {
        return curved(ElementKind::InTransition, 40, inf, r, turn);
    };
    const auto out = [inf](double r, int turn) {
        return curved(ElementKind::OutTransition, 40, r, inf, turn);
    };
    const auto arc = [](double r, int turn) { return curved(ElementKind::Arc, 50, r, r, turn); };
    const auto between = [](double r1, double r2) {
        return curved(ElementKind::TransitionBetweenRadii, 30, r1, r2, 1);
    };
    using Spans = std::vector<std::pair<std::size_t, std::size_t>>;
    const struct {
        const char* note;
        std::vector<ElementDescription> elements;
        Spans curves;
    } cases[] = {
        {"spiral, arc, spiral",
         {line(50), in(200, 1), arc(200, 1), out(200, 1), line(50)},
         Spans{{1, 3}}},
        {"reverse pair",
         {in(200, 1), arc(200, 1), out(200, 1), in(300, -1), arc(300, -1), out(300, -1)},
         Spans{{0, 2}, {3, 5}}},
        // Rising curvature enters the sharper arc; falling leaves the sharper one.
        {"compound, sharpening",
         {in(400, 1), arc(400, 1), between(400, 200), arc(200, 1)},
         Spans{{0, 1}, {2, 3}}},
        {"compound, easing",
         {in(200, 1), arc(200, 1), between(200, 400), arc(400, 1)},
         Spans{{0, 2}, {3, 3}}},
        {"spirals meeting", {line(50), in(200, 1), out(200, 1), line(50)}, Spans{{1, 2}}},
        {"arc after arc", {arc(300, 1), arc(200, 1)}, Spans{{0, 0}, {1, 1}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.note);
        const Route route = Route::build(elementRoute(0, {}, c.elements));
        Spans got;
        for (const CurveInfo& curve : route.curves())
            got.emplace_back(curve.firstElement, curve.lastElement);
        EXPECT_EQ(got, c.curves);
        EXPECT_EQ(route.curves().front().name, "C1");
        expectSameBitsAsLibrary(route);
    }
    // A reverse pair's two curves meet in one table row, 40 + 50 + 40 along.
    const Route reverse = Route::build(elementRoute(0, {}, cases[1].elements));
    const std::vector<std::string> rows = tableOf(reverse, every(0));
    EXPECT_NE(std::find(rows.begin(), rows.end(), "130 C1 ST / C2 TS"), rows.end());
}

}  // namespace

namespace {

TEST(RouteBuild, RefusesWhatCannotBeBuiltNamingTheField) {
    const auto points = [](std::vector<IntersectionPoint> p) {
        RouteDescription d;
        d.horizontal.points = std::move(p);
        return d;
    };
    const auto withProfile = [](RouteDescription d, std::vector<GradePoint> profile) {
        d.profile = std::move(profile);
        return d;
    };
    const auto withStart = [](RouteDescription d, double start) {
        d.startStation = start;
        return d;
    };
    RouteDescription farBearing = straight(0, {}, 100);
    farBearing.horizontal.startBearing = 1e300;
    ElementDescription noTurn = curved(ElementKind::Arc, 10, 50, 50, 0);
    const GradePoint g0{"", {0, 1}, 0, 0, 0}, g500{"", {500, 1}, 5, 0, 0};
    const struct {
        RouteDescription description;
        const char* path;
    } cases[] = {
        {points({ip(0, 0)}), "horizontal.points"},
        {points({ip(0, 0), ip(1e300, 0)}), "horizontal.points[1].x"},
        {points({ip(0, 0), ip(100, 0, 0), ip(100, 100)}), "horizontal.points[1].radius"},
        {points({ip(0, 0), ip(0, 0)}), "horizontal.points[1]"},
        // Collinear: the library refuses to fit a curve.
        {points({ip(0, 0), ip(100, 0, 50), ip(200, 0)}), "horizontal.points[1]"},
        // T = 200 tan 45 = 200: the curve overruns the first leg of 100, or the last.
        {points({ip(0, 0), ip(100, 0, 200), ip(100, 1000)}), "horizontal.points[1]"},
        {points({ip(0, 0), ip(1000, 0, 200), ip(1000, 100)}), "horizontal.points[2]"},
        {straight(0, {{500, 520, ""}, {300, 340, ""}}, 1000), "equations[1]"},
        {straight(0, {{100, -50, ""}}, 1000), "equations[0]"},
        {straight(0, {{300, 340, ""}, {320, 320, "in the gap"}}, 1000), "equations[1]"},
        // 1000..1050 after 1100 = 1000 lies inside the first numbering's stretch.
        {straight(0, {{1100, 1000, ""}, {1050, 1200, ""}}, 2000), "equations[1]"},
        {withStart(straight(0, {}, 100), 1e10), "startStation"},
        {elementRoute(0, {}, {}), "horizontal.elements"},
        {elementRoute(0, {}, {line(0)}), "horizontal.elements[0].length"},
        {elementRoute(0, {}, {line(1e12)}), "horizontal.elements[0].length"},
        {elementRoute(0, {}, {curved(ElementKind::Arc, 10, -5, -5, 1)}),
         "horizontal.elements[0].startRadius"},
        {elementRoute(0, {}, {noTurn}), "horizontal.elements[0].turn"},
        {farBearing, "horizontal.startBearing"},
        {withProfile(straight(0, {}, 1000), {g0, g500}), "profile"},
        {withProfile(straight(0, {}, 1000), {g0, g500, {"", {400, 1}, 0, 0, 0}}),
         "profile[2].station"},
        // 320 lies in the gap of 300 = 340.
        {withProfile(straight(0, {{300, 340, ""}}, 1000), {g0, {"", {320, 1}, 3, 0, 0}, g500}),
         "profile[1].station"},
    };
    for (const auto& c : cases) {
        try {
            Route::build(c.description);
            ADD_FAILURE() << "built; expected a refusal at " << c.path;
        } catch (const RouteError& e) {
            EXPECT_EQ(e.path(), c.path) << e.what();
            EXPECT_EQ(std::string(e.what()).rfind(std::string(c.path) + ": ", 0), 0u) << e.what();
        }
    }
}

TEST(RouteCheck, ReportsEachDesignFaultAtItsField) {
    using Severity = Diagnostic::Severity;
    const auto findings = [](const RouteDescription& d) {
        std::vector<std::string> got;
        const Route route = Route::build(d);
        expectSameBitsAsLibrary(route);
        for (const Diagnostic& f : route.check()) {
            got.push_back((f.severity == Severity::Error ? "E " : "W ") + f.path);
        }
        return got;
    };
    using Found = std::vector<std::string>;
    EXPECT_EQ(findings(quarterTurn()), Found{});
    EXPECT_EQ(findings(twoCurves()), Found{});
    // Two quarter turns on R 60: T = 60 tan 45 = 60 each, 120 on the middle leg of 100.
    RouteDescription overlap;
    overlap.horizontal.points = {ip(0, 0), ip(100, 0, 60), ip(100, 100, 60), ip(200, 100)};
    // The second curve starts where the first ends, 20 past its own TS: the end is missed.
    EXPECT_EQ(findings(overlap), (Found{"E horizontal.points[2]", "E horizontal.points[3]"}));
    // Nearly straight through on R 1: an arc of 2e-6 still takes one evaluation step of 1e-4,
    // turning the closing straight by about 1e-4 rad: about 0.1 off at its end, 1000 on.
    RouteDescription kinked;
    kinked.horizontal.points = {ip(0, 0), ip(1000, 0.001, 1), ip(2000, 0)};
    EXPECT_EQ(findings(kinked), Found{"E horizontal.points[2]"});
    // Each transition of 200 on R 100 turns 1 rad; the deflection is 30 degrees.
    RouteDescription spirals;
    spirals.horizontal.points = {ip(0, 0), ip(1000, 0, 100, 200, 200),
                                 ip(1000 + 1000 * std::cos(kPi / 6), 1000 * std::sin(kPi / 6))};
    const Found turning = findings(spirals);
    EXPECT_NE(std::find(turning.begin(), turning.end(), "E horizontal.points[1]"), turning.end());
    // A gap of 0.01, a kink of 0.01 rad and an end 0.5 off the expected one.
    ElementDescription second = line(100);
    second.start = PlanePoint{100, 0.01};
    second.startBearing = 0.01;
    ElementDescription first = line(100);
    first.expectedEnd = PlanePoint{100, 0.5};
    EXPECT_EQ(findings(elementRoute(0, {}, {first, second})),
              (Found{"W horizontal.elements[0].expectedEnd", "E horizontal.elements[1].start",
                     "W horizontal.elements[1].startBearing"}));
    // Grades +10 % and -10 % on R 10000: T = 1000 on grade lines of 100.
    RouteDescription crest = straight(0, {}, 200);
    crest.profile = {{"", {0, 1}, 0, 0, 0}, {"", {100, 1}, 10, 10000, 0}, {"", {200, 1}, 0, 0, 0}};
    EXPECT_EQ(findings(crest), (Found{"E profile[1]", "E profile[1]"}));
}

TEST(RouteTable, CountsAnAbsurdRequestWithoutListingIt) {
    // 1000 long at an interval of 1e-9: about 1e12 rows, counted, not streamed.
    const Route route = Route::build(straight(0, {}, 1000));
    EXPECT_NEAR(static_cast<double>(route.countTableRows(every(1e-9))), 1e12, 1e3);
}

}  // namespace
