// Tests of the projection onto a route: feet on straights, arcs and clothoids, at junctions,
// on the tangents produced, several feet of one point, and long routes.
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
constexpr double kOffsets[] = {1, -1, 3.5, -3.5, 20, -20};

struct Indexed {
    explicit Indexed(const RoadCurvesCalculation& route)
        : table(route.getRoadCruves()), index(table) {}
    Indexed(const Indexed&) = delete;
    Indexed& operator=(const Indexed&) = delete;
    ElementTable table;
    ProjectionIndex index;
};

// The point `offset` from element i's evaluation at s, along its normal (bearing + pi/2).
void stake(const ElementTable& t, std::size_t i, double s, double offset, double& x, double& y) {
    const rcc::CurvePoint c = t.at(i, s);
    x = c.x - offset * std::sin(c.bearing);
    y = c.y + offset * std::cos(c.bearing);
}

// Dense sampling of the same evaluation within `window` of length `around`, at the middle of
// each integration step: the length and signed offset of the evaluated point nearest (x, y).
LengthFoot denseNearest(const ElementTable& t, double around, double window, double x, double y) {
    LengthFoot best;
    best.distance = kInf;
    for (std::size_t i = 0; i < t.size(); ++i) {
        const RoadCurve& e = t.elements()[i];
        const double h = e.curveType == 0 ? 1e-4 : e.integrationStep;
        const double from = std::max(0.0, around - window - t.start(i));
        const double to = std::min(e.length, around + window - t.start(i));
        for (double s = (std::floor(from / h) + 0.5) * h; s < to; s += h) {
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

// Stakes points at the offsets and the given lengths into element i, and checks the nearest
// foot against dense sampling around the stake.
void expectStakesFound(const Indexed& r, std::size_t i, const std::vector<double>& at,
                       const std::vector<double>& offsets = {std::begin(kOffsets),
                                                             std::end(kOffsets)}) {
    const double window = 0.05;  // a few design-arc steps, far beyond any stake's error
    for (double s : at) {
        for (double offset : offsets) {
            double x = 0, y = 0;
            stake(r.table, i, s, offset, x, y);
            const LengthFoot got = r.index.nearest(x, y, kInf);
            const LengthFoot want = denseNearest(r.table, r.table.start(i) + s, window, x, y);
            ASSERT_EQ(got.place, FootPlace::OnRoute) << i << " " << s << " " << offset;
            EXPECT_NEAR(got.length, want.length, rcc_test::kProjectionExact) << i << " " << s;
            EXPECT_NEAR(got.offset, want.offset, rcc_test::kProjectionExact) << i << " " << s;
        }
    }
}

// Start (0, 0), one intersection point and an end, fitted by the library.
RoadCurvesCalculation fitted(double jx, double jy, double ex, double ey, double radius, double l1,
                             double l2) {
    RoadCurvesCalculation route;
    route.addJDPoint(JDPoint{0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    route.addJDPoint(JDPoint{0, radius, jx, jy, l1, l2, 0, 0, 0, 1});
    route.addJDPoint(JDPoint{0, 0, ex, ey, 0, 0, 0, 0, 0, 2});
    double b1, b2, t1, t2, arc, deflection;
    int turn;
    route.convertJDPointsToRoadCurves(b1, b2, t1, t2, arc, deflection, turn);
    return route;
}

TEST(RouteProjection, PointBesideAStraightFallsOnItsNormal) {
    // A 3-4-5 straight from (10, 20): 30 along is (34, 38), an offset o adds (-0.6 o, 0.8 o).
    RoadCurvesCalculation route;
    const double bearing = std::atan2(3.0, 4.0);
    route.inputLine(0, 100, 10, 20, bearing);
    const Indexed r(route);
    for (double offset : kOffsets) {
        const double x = 10 + 30 * 0.8 - offset * 0.6, y = 20 + 30 * 0.6 + offset * 0.8;
        const LengthFoot foot = r.index.nearest(x, y, kInf);
        EXPECT_EQ(foot.place, FootPlace::OnRoute);
        EXPECT_NEAR(foot.length, 30, rcc_test::kExact);
        EXPECT_NEAR(foot.offset, offset, rcc_test::kExact);
        EXPECT_NEAR(foot.x, 34, rcc_test::kExact);
        EXPECT_NEAR(foot.y, 38, rcc_test::kExact);
    }
}

TEST(RouteProjection, ArcFootLiesOnTheRadiusThroughThePoint) {
    // Straight along +x to (100, 0), then an arc of R 300 turning left (centre (100, 300)):
    // a point at distance rho from the centre, 0.5 rad round, lies R - rho to the left at
    // length 100 + R * 0.5.
    RoadCurvesCalculation route;
    route.inputLine(0, 100, 0, 0, 0);
    route.inputCurve(100, 400, 100, 0, 300, 1, 0);
    const Indexed r(route);
    for (double offset : kOffsets) {
        const double rho = 300 - offset;
        const LengthFoot foot =
            r.index.nearest(100 + rho * std::sin(0.5), 300 - rho * std::cos(0.5), kInf);
        EXPECT_EQ(foot.element, 1u);
        EXPECT_NEAR(foot.length, 250, rcc_test::kStepPosition) << offset;
        EXPECT_NEAR(foot.offset, offset, rcc_test::kStepPosition) << offset;
    }
    expectStakesFound(r, 1, {0.3, 17.25, 150, 299.9});
}

TEST(RouteProjection, ClothoidsInOutAndBetweenRadiiMatchDenseSampling) {
    RoadCurvesCalculation route =
        fitted(400, 0, 400 + 400 * std::cos(0.6), 400 * std::sin(0.6), 300, 80, 80);
    // A clothoid between R 600 and R 150 turning right, after the fitted curve.
    const RoadCurve last = route.getRoadCruves().back();
    route.inputIncompleteTransitionCurve(last.endDK, last.endDK + 120, last.endX, last.endY, 600,
                                         150, -1, last.endBearing);
    const Indexed r(route);
    ASSERT_EQ(r.table.size(), 6u);  // line, in, arc, out, line, between radii
    for (std::size_t i : {1u, 2u, 3u, 5u}) {
        const double l = r.table.elements()[i].length;
        expectStakesFound(r, i, {0.05, l / 3, l / 2 + 0.00003, l - 0.05});
    }
}

TEST(RouteProjection, KeyPointsAndTheirNeighbourhoodsKeepOneFoot) {
    // On every junction and a hair either side of it, one nearest foot matching dense
    // sampling; feet() holds it exactly once.
    const RoadCurvesCalculation route =
        fitted(400, 0, 400 + 400 * std::cos(0.6), 400 * std::sin(0.6), 300, 80, 80);
    const Indexed r(route);
    for (std::size_t i = 1; i < r.table.size(); ++i) {
        expectStakesFound(r, i, {0, 1e-4, 1e-3});
        expectStakesFound(r, i - 1, {r.table.elements()[i - 1].length - 1e-3});
        for (double offset : kOffsets) {
            double x = 0, y = 0;
            stake(r.table, i, 0, offset, x, y);
            const std::vector<LengthFoot> all = r.index.feet(x, y, std::abs(offset) + 1);
            ASSERT_EQ(all.size(), 1u) << i << " " << offset;
            EXPECT_NEAR(all[0].length, r.table.start(i), rcc_test::kProjectionExact);
        }
    }
}

TEST(RouteProjection, IntersectionPointOfASymmetricCurveLocatesAtItsMiddle) {
    // Legs of 300 either side of the point, equal transitions: the curve is symmetric about
    // the bisector through the intersection point.
    const double c = std::cos(0.8), s = std::sin(0.8);
    const RoadCurvesCalculation route = fitted(300, 0, 300 + 300 * c, 300 * s, 120, 50, 50);
    const Indexed r(route);
    const double middle = 0.5 * (r.table.start(1) + r.table.start(4));
    const LengthFoot foot = r.index.nearest(300, 0, kInf);
    EXPECT_NEAR(foot.length, middle, rcc_test::kProjectionExact);
    EXPECT_LT(foot.offset, 0);  // the curve turns left, away from the point
}

TEST(RouteProjection, PointsOffTheEndsFallOnTheTangentsProduced) {
    // Straight (0, 0) -> (100, 0), then a left arc; the end tangent is found from the
    // evaluated end. Behind the start: 10 back and 2 to the left, by hand.
    RoadCurvesCalculation route;
    route.inputLine(0, 100, 0, 0, 0);
    route.inputCurve(100, 150, 100, 0, 200, 1, 0);
    const Indexed r(route);
    const LengthFoot before = r.index.nearest(-10, 2, kInf);
    EXPECT_EQ(before.place, FootPlace::BeforeStart);
    EXPECT_NEAR(before.length, -10, rcc_test::kExact);
    EXPECT_NEAR(before.offset, 2, rcc_test::kExact);

    const rcc::CurvePoint end = r.table.at(1, 50);
    const double x = end.x + 7 * std::cos(end.bearing) + 3 * std::sin(end.bearing);
    const double y = end.y + 7 * std::sin(end.bearing) - 3 * std::cos(end.bearing);
    const LengthFoot beyond = r.index.nearest(x, y, kInf);
    EXPECT_EQ(beyond.place, FootPlace::BeyondEnd);
    EXPECT_NEAR(beyond.length, 157, rcc_test::kExact);
    EXPECT_NEAR(beyond.offset, -3, rcc_test::kExact);
}

TEST(RouteProjection, PointNearTheCentreOfAnArcHasEveryFoot) {
    // Straight to (100, 0), a left arc of R 50 through 1.5 pi (centre (100, 50)), then a
    // straight heading -y from (50, 50). The point 1 from the centre at 0.25 pi round: arc
    // feet at 0.25 pi (R - 1) and 1.25 pi (R + 1, farthest); on the last straight
    // cos(0.25 pi) in, R + sin(0.25 pi) across. By hand.
    RoadCurvesCalculation route;
    route.inputLine(0, 100, 0, 0, 0);
    const double arc = 50 * 1.5 * kPi;
    route.inputCurve(100, 100 + arc, 100, 0, 50, 1, 0);
    const RoadCurve a = route.getRoadCruves().back();
    route.inputLine(a.endDK, a.endDK + 100, a.endX, a.endY, a.endBearing);
    const Indexed r(route);
    const double q = std::sqrt(0.5);
    const std::vector<LengthFoot> all = r.index.feet(100 + q, 50 - q, kInf);
    ASSERT_EQ(all.size(), 3u);
    // The evaluation may stand a step off the true arc; 1 from the centre that swings the
    // radius through the point by step / 1 rad, which moves the arc feet R = 50 times as far.
    const double nearCentre = 50 * rcc_test::kStepPosition;
    const double lengths[] = {100 + 50 * 0.25 * kPi, 100 + arc + q, 100 + 50 * 1.25 * kPi};
    const double offsets[] = {49, 50 + q, 51};
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(all[k].length, lengths[k], nearCentre) << k;
        EXPECT_NEAR(all[k].offset, offsets[k], rcc_test::kStepPosition) << k;
    }
    EXPECT_EQ(r.index.nearest(100 + q, 50 - q, kInf).length, all[0].length);
}

TEST(RouteProjection, DesignDrawingArcOfCoarseStepMatchesDenseSampling) {
    // Left run of an arch: wall (-5, 0) -> (-5, 3), then a quarter arc of R 5 clockwise
    // about (0, 3) to (0, 8). A point 2 from the centre at 45 degrees lies 3 to the right,
    // at length 3 + 5 pi / 4.
    RoadCurvesCalculation left, right, base;
    ASSERT_EQ(analysisDesignCurves(
                  {{-5, 0, 5, 0, 0}, {-5, 0, -5, 3, 0}, {5, 3, 5, 0, 0}, {-5, 3, 5, 3, 5}}, left,
                  right, base),
              0);
    const Indexed r(left);
    ASSERT_EQ(r.table.size(), 2u);
    const LengthFoot foot = r.index.nearest(-2 * std::sqrt(0.5), 3 + 2 * std::sqrt(0.5), kInf);
    EXPECT_NEAR(foot.length, 3 + 5 * kPi / 4, rcc_test::kDesignArcPosition);
    EXPECT_NEAR(foot.offset, -3, rcc_test::kDesignArcPosition);
    expectStakesFound(r, 1, {0.003, 1.234, 5.5, 7.8}, {1, -1, 3.5, -3.5});  // within R 5
}

TEST(RouteProjection, LongRouteOfTenThousandElements) {
    // Zigzag of 2,500 intersection points, each fitted with transitions: 10,001 elements.
    RoadCurvesCalculation route;
    route.addJDPoint(JDPoint{0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    double b1, b2, t1, t2, arc, deflection;
    int turn;
    constexpr int kPoints = 2500;
    for (int k = 1; k <= kPoints + 1; ++k) {
        const int type = k == kPoints + 1 ? 2 : 1;
        route.addJDPoint(JDPoint{0, 150, 200.0 * k, k % 2 ? 60.0 : 0.0, 40, 40, 0, 0, 0, type});
        if (k >= 2) route.convertJDPointsToRoadCurves(b1, b2, t1, t2, arc, deflection, turn);
    }
    const Indexed r(route);
    ASSERT_EQ(r.table.size(), 4u * kPoints + 1);
    std::mt19937 random(13);
    std::uniform_int_distribution<std::size_t> element(1, r.table.size() - 2);
    for (int k = 0; k < 20; ++k) {
        const std::size_t i = element(random);
        expectStakesFound(r, i, {0.37 * r.table.elements()[i].length});
    }
}

TEST(RouteProjection, BadPointsAndNothingNearGiveNoFoot) {
    RoadCurvesCalculation route;
    route.inputLine(0, 100, 0, 0, 0);
    const Indexed r(route);
    const double nan = std::nan("");
    for (double x : {nan, kInf, -kInf}) {
        EXPECT_EQ(r.index.nearest(x, 0, kInf).place, FootPlace::Invalid);
        EXPECT_EQ(r.index.nearest(0, x, kInf).place, FootPlace::Invalid);
        EXPECT_TRUE(r.index.feet(x, 0, kInf).empty());
    }
    EXPECT_EQ(r.index.nearest(50, 5, 4.999).place, FootPlace::None);
    EXPECT_EQ(r.index.nearest(50, 5, nan).place, FootPlace::None);
    EXPECT_EQ(r.index.nearest(50, 5, 5).place, FootPlace::OnRoute);
    const ElementTable empty;
    EXPECT_EQ(ProjectionIndex(empty).nearest(1, 2, kInf).place, FootPlace::None);
}

TEST(RouteProjection, KinkGivesTheCornerOutsideAndBothFeetInside) {
    // Straight along +x to (100, 0), then one at 60 degrees from there. Outside the kink no
    // normal reaches (105, -5): the corner, sqrt(50) away on the right. Inside, (95, 5) has
    // feet on both: 95 along the first (offset 5) and (-5, 5) . (0.5, sqrt(0.75)) along the
    // second, (-5, 5) . (-sqrt(0.75), 0.5) across it. By hand.
    RoadCurvesCalculation route;
    route.inputLine(0, 100, 0, 0, 0);
    route.inputLine(100, 200, 100, 0, kPi / 3);
    const Indexed r(route);
    const LengthFoot corner = r.index.nearest(105, -5, kInf);
    EXPECT_EQ(corner.place, FootPlace::OnRoute);
    EXPECT_NEAR(corner.length, 100, rcc_test::kExact);
    EXPECT_NEAR(corner.offset, -std::sqrt(50.0), rcc_test::kExact);
    EXPECT_EQ(r.index.feet(105, -5, kInf).size(), 1u);
    EXPECT_EQ(r.index.nearest(105, -5, 7.07).place, FootPlace::None);

    const std::vector<LengthFoot> inside = r.index.feet(95, 5, kInf);
    ASSERT_EQ(inside.size(), 2u);
    const double c = std::sqrt(0.75);
    EXPECT_NEAR(inside[0].length, 95, rcc_test::kExact);
    EXPECT_NEAR(inside[0].offset, 5, rcc_test::kExact);
    EXPECT_NEAR(inside[1].length, 100 - 2.5 + 5 * c, rcc_test::kExact);
    EXPECT_NEAR(inside[1].offset, 5 * c + 2.5, rcc_test::kExact);

    // Across a gap from (100, 0) to (110, 0), (103, 4) is nearer the first end: 5 away.
    RoadCurvesCalculation gapped;
    gapped.inputLine(0, 100, 0, 0, 0);
    gapped.inputLine(100, 200, 110, 0, 0);
    const Indexed g(gapped);
    const LengthFoot end = g.index.nearest(103, 4, kInf);
    EXPECT_EQ(end.element, 0u);
    EXPECT_NEAR(end.length, 100, rcc_test::kExact);
    EXPECT_NEAR(end.offset, 5, rcc_test::kExact);
}

TEST(RouteProjection, BrokenElementsNeverStopAQuery) {
    // Elements no builder gives (lengths NaN, 0, negative, infinite; a NaN start; a curve
    // without a step) and a clothoid tightening to R 0.05 (dozens of turns) around a
    // sound straight, which still answers.
    RoadCurvesCalculation scratch;
    scratch.inputLine(0, 100, 0, 0, 0);
    scratch.inputInTransitionCurve(100, 110, 100, 0, 0.05, 1, 0);
    std::vector<RoadCurve> elements = scratch.getRoadCruves();
    const double nan = std::nan("");
    for (double length : {nan, 0.0, -5.0, kInf}) {
        RoadCurve bad = elements[1];
        bad.length = length;
        elements.push_back(bad);
    }
    RoadCurve noStart = elements[1], noStep = elements[1];
    noStart.startX = nan;
    noStep.integrationStep = 0;
    elements.insert(elements.begin(), {noStart, noStep});
    const ElementTable table(elements);
    const ProjectionIndex index(table);
    const LengthFoot sound = index.nearest(50, 3, kInf);
    EXPECT_EQ(sound.element, 2u);
    EXPECT_NEAR(sound.offset, 3, rcc_test::kExact);
    std::mt19937 random(3);
    std::uniform_real_distribution<double> near(-20, 130);
    for (int k = 0; k < 10; ++k) {
        const double x = k % 5 ? near(random) : 1e300, y = near(random) / 4;
        for (const LengthFoot& foot : index.feet(x, y, kInf)) {
            EXPECT_TRUE(std::isfinite(foot.length) && std::isfinite(foot.offset)) << x << " " << y;
        }
        EXPECT_NE(index.nearest(x, y, kInf).place, FootPlace::Invalid);
    }
}

TEST(RouteProjection, RandomPointsNeverFindAFootFartherThanSampling) {
    // Any point, near or far: the nearest foot is never farther than the nearest of the
    // route's evaluated points sampled every 0.05, and feet() starts with it.
    const RoadCurvesCalculation route =
        fitted(400, 0, 400 + 400 * std::cos(2.5), 400 * std::sin(2.5), 60, 70, 30);
    const Indexed r(route);
    std::mt19937 random(7);
    std::uniform_real_distribution<double> near(-300, 700), far(-1e7, 1e7);
    for (int k = 0; k < 200; ++k) {
        const double x = k % 4 ? near(random) : far(random), y = near(random);
        double sampled = kInf;
        for (std::size_t i = 0; i < r.table.size(); ++i)
            for (double s = 0; s <= r.table.elements()[i].length; s += 0.05) {
                const rcc::CurvePoint c = r.table.at(i, s);
                sampled = std::min(sampled, std::hypot(x - c.x, y - c.y));
            }
        const LengthFoot foot = r.index.nearest(x, y, kInf);
        ASSERT_NE(foot.place, FootPlace::None);
        EXPECT_LE(foot.distance, sampled + rcc_test::kProjectionExact) << x << " " << y;
        const std::vector<LengthFoot> all = r.index.feet(x, y, kInf);
        ASSERT_FALSE(all.empty());
        EXPECT_EQ(all[0].length, foot.length);
    }
}

}  // namespace
