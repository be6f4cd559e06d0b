// Tests of the projection onto a route: feet on straights, arcs and clothoids, at junctions,
// on the tangents produced, several feet of one point, long routes and bad input.
#include "route/projection.hpp"
#include "route/element_table.hpp"
#include "test_tolerances.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using qv::route::FootPlace;
using qv::route::detail::ElementTable;
using qv::route::detail::LengthFoot;
using qv::route::detail::ProjectionIndex;

constexpr double kPi = 3.141592653589793;
constexpr double kInf = std::numeric_limits<double>::infinity();

struct Indexed {
    explicit Indexed(std::vector<RoadCurve> elements) : table(std::move(elements)), index(table) {}
    Indexed(const Indexed&) = delete;  // the index points into its own table
    Indexed& operator=(const Indexed&) = delete;
    ElementTable table;
    ProjectionIndex index;
};

// Straights from (x, y) along each bearing, each `length` long, end to end unless a gap.
std::vector<RoadCurve> straights(std::vector<double> bearings, double length, double gap = 0) {
    RoadCurvesCalculation route;
    double x = 0, y = 0;
    for (std::size_t k = 0; k < bearings.size(); ++k) {
        route.inputLine(length * k, length * (k + 1), x, y, bearings[k]);
        x = route.getRoadCruves().back().endX + gap;
        y = route.getRoadCruves().back().endY;
    }
    return route.getRoadCruves();
}

// Straight along +x to (100, 0), then an arc of `radius` turning left through `angle`, then
// (with `tail`) a straight of 100 on.
std::vector<RoadCurve> lineArc(double radius, double angle, bool tail) {
    RoadCurvesCalculation route;
    route.inputLine(0, 100, 0, 0, 0);
    route.inputCurve(100, 100 + radius * angle, 100, 0, radius, 1, 0);
    const RoadCurve a = route.getRoadCruves().back();
    if (tail) route.inputLine(a.endDK, a.endDK + 100, a.endX, a.endY, a.endBearing);
    return route.getRoadCruves();
}

// Intersection points from (0, 0) fitted by the library, every `radius` with transitions
// l1 and l2; the last point ends the route.
std::vector<RoadCurve> fitted(const std::vector<std::pair<double, double>>& points, double radius,
                              double l1, double l2) {
    RoadCurvesCalculation route;
    route.addJDPoint(JDPoint{0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    double b1, b2, t1, t2, arc, deflection;
    int turn;
    for (std::size_t k = 0; k < points.size(); ++k) {
        const int type = k + 1 == points.size() ? 2 : 1;
        const auto [x, y] = points[k];
        route.addJDPoint(JDPoint{0, radius, x, y, l1, l2, 0, 0, 0, type});
        if (k > 0) route.convertJDPointsToRoadCurves(b1, b2, t1, t2, arc, deflection, turn);
    }
    return route.getRoadCruves();
}

// The evaluated point of `t` nearest (x, y) within `window` of length `around`, sampled
// every integration step (curves at each step's middle, where the evaluation is unambiguous).
LengthFoot denseNearest(const ElementTable& t, double around, double window, double x, double y) {
    LengthFoot best;
    best.distance = kInf;
    for (std::size_t i = 0; i < t.size(); ++i) {
        const RoadCurve& e = t.elements()[i];
        const double h = e.curveType == 0 ? 1e-4 : e.integrationStep,
                     first = e.curveType ? h / 2 : 0;
        const double from = std::max(0.0, around - window - t.start(i));
        const double to = std::min(e.length, around + window - t.start(i));
        // The element's end too: its last step may be cut short of the step's middle.
        for (double s = std::floor(from / h) * h + first; s < to + h; s += h) {
            s = std::min(s, to);
            const rcc::CurvePoint c = t.at(i, s);
            const double d = std::hypot(x - c.x, y - c.y);
            if (d < best.distance) {
                best.distance = d;
                best.length = t.start(i) + s;
                best.offset = (y - c.y) * std::cos(c.bearing) - (x - c.x) * std::sin(c.bearing);
            }
        }
    }
    return best;
}

TEST(RouteProjection, HandDerivedFeetComeNearestFirst) {
    const Indexed tilted(straights({std::atan2(3.0, 4.0)}, 100));  // a 3-4-5 straight
    const Indexed arc(lineArc(300, 1, false));                     // centre (100, 300)
    const Indexed kink(straights({0, kPi / 3}, 100));              // corner at (100, 0)
    const Indexed gap(straights({0, 0}, 100, 10));                 // gap (100, 0)-(110, 0)
    const Indexed loop(lineArc(50, 1.5 * kPi, true));              // centre (100, 50)
    // By hand. On the arc, 0.5 rad round at rho from the centre: R - rho across, R 0.5 on.
    // Past the kink's end (150, 100 c): 7 on, 3 left. Inside the kink, (-5, 5) from the
    // corner: . (0.5, c) along the second straight, . (-c, 0.5) across. 1 from the loop's
    // centre, pi / 4 round: R - 1, then q along the last straight, and R + 1 (the farthest).
    const double c = std::sqrt(0.75), q = std::sqrt(0.5), turn = 50 * 1.5 * kPi;
    const double inX = 100 + 296.5 * std::sin(0.5), inY = 300 - 296.5 * std::cos(0.5);
    const double outX = 100 + 320 * std::sin(0.5), outY = 300 - 320 * std::cos(0.5);
    // The evaluation may stand a step off the true arc; 1 from the centre that swings the
    // radius through the point by step / 1 rad, and the arc feet R = 50 times as far.
    const double nearCentre = 50 * rcc_test::kStepPosition;
    const double exact = rcc_test::kExact, step = rcc_test::kStepPosition;
    constexpr FootPlace on = FootPlace::OnRoute;
    struct Want {
        FootPlace place;
        double length, offset;
    };
    const std::vector<Want> loopFeet{{on, 100 + 50 * kPi / 4, 49},
                                     {on, 100 + turn + q, 50 + q},
                                     {on, 100 + 50 * 1.25 * kPi, 51}};
    const struct {
        const Indexed& route;
        double x, y, tolerance;
        std::vector<Want> feet;
        const char* note;
    } cases[] = {
        {tilted, 26.4, 14.8, exact, {{on, 30, -4}}, "30 along (24, 18), 4 right (2.4, -3.2)"},
        {arc, inX, inY, step, {{on, 250, 3.5}}, "3.5 inside the arc"},
        {arc, outX, outY, step, {{on, 250, -20}}, "20 outside the arc"},
        {kink, -10, 2, exact, {{FootPlace::BeforeStart, -10, 2}}, "behind the start"},
        {kink, 153.5 - 3 * c, 107 * c + 1.5, exact, {{FootPlace::BeyondEnd, 207, 3}}, "past it"},
        {kink, 105, -5, exact, {{on, 100, -std::sqrt(50.0)}}, "outside the kink: the corner"},
        {kink, 95, 5, exact, {{on, 95, 5}, {on, 97.5 + 5 * c, 2.5 + 5 * c}}, "inside the kink"},
        {gap, 103, 4, exact, {{on, 100, 5}}, "across a gap the nearer end answers"},
        {loop, 100 + q, 50 - q, nearCentre, loopFeet, "near the centre of an arc"}};
    for (const auto& t : cases) {
        const std::vector<LengthFoot> all = t.route.index.feet(t.x, t.y, kInf);
        ASSERT_EQ(all.size(), t.feet.size()) << t.note;
        for (std::size_t k = 0; k < all.size(); ++k) {
            EXPECT_EQ(all[k].place, t.feet[k].place) << t.note;
            EXPECT_NEAR(all[k].length, t.feet[k].length, t.tolerance) << t.note;
            EXPECT_NEAR(all[k].offset, t.feet[k].offset, t.tolerance) << t.note;
        }
        const ProjectionIndex& index = t.route.index;
        EXPECT_EQ(index.nearest(t.x, t.y, kInf).length, all[0].length) << t.note;
        EXPECT_EQ(index.nearest(t.x, t.y, all[0].distance * 0.999).place, FootPlace::None);
    }
}

TEST(RouteProjection, StakedPointsComeBackAsDenseSamplingFindsThem) {
    // Clothoids in and out (R 300), one between R 600 and R 150; a drawing arch's left run
    // (wall, then a quarter arc of R 5 at step 0.01); a zigzag of 10,001 elements. Points
    // staked on element starts (key points), a hair after them, a hair before the end and
    // inside, at the surveyor's offsets.
    std::vector<RoadCurve> clothoids = fitted({{400, 0}, {720, 240}}, 300, 80, 80);
    RoadCurvesCalculation between;
    const RoadCurve& e = clothoids.back();
    between.inputIncompleteTransitionCurve(e.endDK, e.endDK + 120, e.endX, e.endY, 600, 150, -1,
                                           e.endBearing);
    clothoids.push_back(between.getRoadCruves().back());
    RoadCurvesCalculation left, right, base;
    analysisDesignCurves({{-5, 0, 5, 0, 0}, {-5, 0, -5, 3, 0}, {5, 3, 5, 0, 0}, {-5, 3, 5, 3, 5}},
                         left, right, base);
    std::vector<std::pair<double, double>> zigzag;
    for (int k = 1; k <= 2501; ++k) zigzag.emplace_back(200.0 * k, k % 2 ? 60.0 : 0.0);
    const Indexed routes[] = {Indexed(clothoids), Indexed(left.getRoadCruves()),
                              Indexed(fitted(zigzag, 150, 40, 40))};
    const std::vector<double> wide{1, -1, 3.5, -3.5, 20, -20}, withinTheArch{1, -1};
    ASSERT_EQ(routes[2].table.size(), 10001u);
    std::mt19937 random(13);
    for (int r = 0; r < 3; ++r) {
        const ElementTable& t = routes[r].table;
        std::uniform_int_distribution<std::size_t> pick(1, t.size() - 1);
        for (int k = 0; k < 6; ++k) {
            const std::size_t i = r == 2 ? pick(random) : k % t.size();
            const double l = t.elements()[i].length;
            for (double s : {0.0, 1e-4, 1e-3, l / 3 + 3e-5, l - 1e-3}) {
                for (double offset : r == 1 ? withinTheArch : wide) {
                    const rcc::CurvePoint p = t.at(i, s);
                    const double x = p.x - offset * std::sin(p.bearing);
                    const double y = p.y + offset * std::cos(p.bearing);
                    const LengthFoot got = routes[r].index.nearest(x, y, kInf);
                    const LengthFoot want = denseNearest(t, t.start(i) + s, 0.05, x, y);
                    const auto where = ::testing::Message()
                                       << r << " " << i << " " << s << " " << offset;
                    ASSERT_EQ(got.place, FootPlace::OnRoute) << where;
                    EXPECT_NEAR(got.length, want.length, rcc_test::kProjectionExact) << where;
                    EXPECT_NEAR(got.offset, want.offset, rcc_test::kProjectionExact) << where;
                    if (s != 0) continue;  // a key point: found once, not lost or doubled
                    const double within = 1.01 * std::abs(offset);
                    EXPECT_EQ(routes[r].index.feet(x, y, within).size(), 1u) << where;
                }
            }
        }
    }
}

TEST(RouteProjection, IntersectionPointOfASymmetricCurveLocatesAtItsMiddle) {
    // Legs of 300 either side, equal transitions: symmetric about the bisector through the
    // intersection point, which the curve, turning left, leaves on its right.
    const Indexed r(
        fitted({{300, 0}, {300 + 300 * std::cos(0.8), 300 * std::sin(0.8)}}, 120, 50, 50));
    const LengthFoot foot = r.index.nearest(300, 0, kInf);
    EXPECT_NEAR(foot.length, 0.5 * (r.table.start(1) + r.table.start(4)),
                rcc_test::kProjectionExact);
    EXPECT_LT(foot.offset, 0);
}

TEST(RouteProjection, BadPointsAndBrokenElementsNeverStopAQuery) {
    // Elements no builder gives (lengths NaN, 0, negative, infinite; a NaN start; a curve
    // without a step; a clothoid tightening to R 0.05, dozens of turns) around a sound
    // straight, which still answers; non-finite points are Invalid, nothing near is None.
    RoadCurvesCalculation scratch;
    scratch.inputLine(0, 100, 0, 0, 0);
    scratch.inputInTransitionCurve(100, 110, 100, 0, 0.05, 1, 0);
    std::vector<RoadCurve> elements = scratch.getRoadCruves();
    const double nan = std::nan("");
    RoadCurve bad[6] = {elements[1], elements[1], elements[1],
                        elements[1], elements[1], elements[1]};
    bad[0].length = nan, bad[1].length = 0, bad[2].length = -5, bad[3].length = kInf;
    bad[4].startX = nan, bad[5].integrationStep = 0;
    elements.insert(elements.begin(), {bad[1], bad[2], bad[4], bad[5]});  // starts stay finite
    elements.insert(elements.end(), {bad[0], bad[3]});
    const Indexed r(elements);
    EXPECT_EQ(r.index.nearest(50, 3, kInf).element, 4u);
    EXPECT_EQ(r.index.nearest(50, 3, nan).place, FootPlace::None);
    for (double v : {nan, kInf, -kInf}) {
        EXPECT_EQ(r.index.nearest(v, 0, kInf).place, FootPlace::Invalid);
        EXPECT_EQ(r.index.nearest(0, v, kInf).place, FootPlace::Invalid);
        EXPECT_TRUE(r.index.feet(v, 0, kInf).empty());
    }
    for (double x : {-20.0, 40.0, 99.0, 101.0, 104.0, 108.0, 1e300})
        for (const LengthFoot& foot : r.index.feet(x, x / 30, kInf))
            EXPECT_TRUE(std::isfinite(foot.length) && std::isfinite(foot.offset)) << x;
    const ElementTable empty;
    EXPECT_EQ(ProjectionIndex(empty).nearest(1, 2, kInf).place, FootPlace::None);
}

TEST(RouteProjection, RandomPointsNeverFindAFootFartherThanSampling) {
    // Near or far, the nearest foot is never farther than the nearest of the route's
    // evaluated points sampled every 0.1 (a tight curve of R 60 turning through 143 deg).
    const Indexed r(
        fitted({{400, 0}, {400 + 400 * std::cos(2.5), 400 * std::sin(2.5)}}, 60, 70, 30));
    std::mt19937 random(7);
    std::uniform_real_distribution<double> near(-300, 700), far(-1e7, 1e7);
    for (int k = 0; k < 100; ++k) {
        const double x = k % 4 ? near(random) : far(random), y = near(random);
        double sampled = kInf;
        for (std::size_t i = 0; i < r.table.size(); ++i)
            for (double s = 0; s <= r.table.elements()[i].length; s += 0.1) {
                const rcc::CurvePoint c = r.table.at(i, s);
                sampled = std::min(sampled, std::hypot(x - c.x, y - c.y));
            }
        const LengthFoot foot = r.index.nearest(x, y, kInf);
        EXPECT_LE(foot.distance, sampled + rcc_test::kProjectionExact) << x << " " << y;
        const std::vector<LengthFoot> all = r.index.feet(x, y, kInf);
        ASSERT_FALSE(all.empty());
        EXPECT_EQ(all[0].length, foot.length);
    }
}

}  // namespace
