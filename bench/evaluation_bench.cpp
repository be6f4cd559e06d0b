// Speed of the constant-time evaluation of curved elements: point queries through the public
// interface, building elements and routes, the projection, and the literal loop it replaces.
#include "horizontal/horizontal.hpp"
#include "qv_roadCurveCalculation_alg.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <string>

namespace {

// National-grid start point, as in a real project.
constexpr double kStartX = 4.5e5;
constexpr double kStartY = 3.5e6;
constexpr double kStartBearing = 0.3;
constexpr double kElementLength = 1200;  // every element holds the queries at 1, 100, 1000

enum Element { kLine, kArc, kClothoid, kSteepClothoid };

// One element from chainage 0: a straight, an arc of radius 500, a clothoid from a straight
// to radius 500, and a steep clothoid from a straight to radius 10 (60 rad of turn).
RoadCurvesCalculation routeOf(Element element) {
    RoadCurvesCalculation route;
    switch (element) {
        case kLine:
            route.inputLine(0, kElementLength, kStartX, kStartY, kStartBearing);
            break;
        case kArc:
            route.inputCurve(0, kElementLength, kStartX, kStartY, 500, 1, kStartBearing);
            break;
        case kClothoid:
            route.inputInTransitionCurve(0, kElementLength, kStartX, kStartY, 500, 1,
                                         kStartBearing);
            break;
        case kSteepClothoid:
            route.inputInTransitionCurve(0, kElementLength, kStartX, kStartY, 10, 1, kStartBearing);
            break;
    }
    return route;
}

// calculateCoordinatesAndBearing at range(1) metres into element range(0).
void BM_PointQuery(benchmark::State& state) {
    const RoadCurvesCalculation route = routeOf(static_cast<Element>(state.range(0)));
    const std::string dk = std::to_string(state.range(1));
    double x = 0;
    double y = 0;
    double z = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(route.calculateCoordinatesAndBearing(dk, x, y, z));
    }
}
BENCHMARK(BM_PointQuery)
    ->ArgNames({"element", "metres"})
    ->ArgsProduct({{kLine, kArc, kClothoid, kSteepClothoid}, {1, 100, 1000}});

// The evaluator alone, constant-time (range(2) = 0) against the literal loop (1), on the
// stored element record.
void BM_Evaluator(benchmark::State& state) {
    const RoadCurve curve = routeOf(static_cast<Element>(state.range(0))).getRoadCruves().front();
    const auto s = static_cast<double>(state.range(1));
    const auto evaluate = state.range(2) == 0 ? rcc::integrateCurve : rcc::integrateCurveLiteral;
    for (auto _ : state) {
        benchmark::DoNotOptimize(evaluate(curve, s, curve.startCurvature, curve.endCurvature,
                                          curve.length, curve.integrationStep));
    }
}
BENCHMARK(BM_Evaluator)
    ->ArgNames({"element", "metres", "literal"})
    ->ArgsProduct({{kArc, kClothoid, kSteepClothoid}, {1, 100, 1000}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

// Building a 1 km clothoid from a straight to radius 300: its end point is one evaluation.
void BM_BuildClothoid(benchmark::State& state) {
    for (auto _ : state) {
        RoadCurvesCalculation route;
        route.inputInTransitionCurve(0, 1000, kStartX, kStartY, 300, 1, kStartBearing);
        benchmark::DoNotOptimize(route);
    }
}
BENCHMARK(BM_BuildClothoid)->Unit(benchmark::kMicrosecond);

// A route of 100 curves from intersection points about 500 apart that zigzag by 40, each
// curve radius 2000 with clothoids of 100 on both sides; converted curve by curve.
constexpr int kCurves = 100;
constexpr double kLegLength = 500;
constexpr double kZigzag = 40;

JDPoint jdPoint(int index, int type) {
    JDPoint point;
    point.x = kStartX + index * kLegLength;
    point.y = kStartY + (index % 2) * kZigzag;
    point.radius = 2000;
    point.inTransitionLength = 100;
    point.outTransitionLength = 100;
    point.pointType = type;
    return point;
}

RoadCurvesCalculation jdRoute() {
    constexpr int kIntersection = 1;
    constexpr int kEnd = 2;
    RoadCurvesCalculation route;
    double inBearing = 0;
    double outBearing = 0;
    double inTangent = 0;
    double outTangent = 0;
    double arc = 0;
    double deflection = 0;
    int turn = 0;
    route.addJDPoint(jdPoint(0, 0));
    route.addJDPoint(jdPoint(1, kIntersection));
    for (int i = 2; i <= kCurves + 1; ++i) {
        route.addJDPoint(jdPoint(i, i == kCurves + 1 ? kEnd : kIntersection));
        route.convertJDPointsToRoadCurves(inBearing, outBearing, inTangent, outTangent, arc,
                                          deflection, turn);
    }
    return route;
}

void BM_ConvertJDRoute(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(jdRoute());
    state.counters["elements"] = static_cast<double>(jdRoute().getRoadCruves().size());
}
BENCHMARK(BM_ConvertJDRoute)->Unit(benchmark::kMicrosecond);

// Chainage of a point 5 beside the JD route, four fifths along it (about 40 km): the
// approach method steps from the start and evaluates the route at every step.
void BM_ProjectBesideLongRoute(benchmark::State& state) {
    const RoadCurvesCalculation route = jdRoute();
    const std::string dk = std::to_string(kCurves * kLegLength * 4 / 5);
    double x = 0;
    double y = 0;
    double z = 0;
    const double bearing = route.calculateCoordinatesAndBearing(dk, x, y, z);
    constexpr double kOffset = 5;
    const double px = x - kOffset * std::sin(bearing);
    const double py = y + kOffset * std::cos(bearing);
    for (auto _ : state) benchmark::DoNotOptimize(route.calculateDKfromCoordinates(py, px));
}
BENCHMARK(BM_ProjectBesideLongRoute)->Unit(benchmark::kMicrosecond);

}  // namespace
