// Cost of the public queries as routes grow: point query and projection on routes of 10 to
// 10,000 elements with as many grade-change points, one query 1 km into each element kind,
// and a sine and cosine pair timed in the same run as the unit to read the others in.
#include "qv_roadCurveCalculation_alg.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <string>

namespace {

// National-grid start point and a start bearing off the axes, as in a real project.
constexpr double kStartX = 4.5e5;
constexpr double kStartY = 3.5e6;
constexpr double kStartBearing = 0.3;

// The repeated pattern of the scaled routes: a straight, an entering clothoid, an arc and a
// leaving clothoid, each kPieceLength long, radius kRadius, turning left and right in turn.
constexpr double kPieceLength = 100;
constexpr double kRadius = 1000;
constexpr int kPiecesPerCurve = 4;

// Grade-change points kPieceLength apart, elevations alternating by kRise (grades of 2 %),
// each rounded with a vertical curve of radius kVerticalRadius (tangent length 40).
constexpr double kRise = 2;
constexpr double kVerticalRadius = 2000;
constexpr double kBaseElevation = 100;

RoadCurvesCalculation scaledRoute(int elements, bool withProfile) {
    RoadCurvesCalculation route;
    double x = kStartX;
    double y = kStartY;
    double bearing = kStartBearing;
    for (int i = 0; i < elements; ++i) {
        // Each element is built alone and appended, so that its end is read without copying
        // the growing route's list.
        const double dk = i * kPieceLength;
        const int turn = (i / kPiecesPerCurve) % 2 == 0 ? 1 : -1;
        RoadCurvesCalculation piece;
        switch (i % kPiecesPerCurve) {
            case 0:
                piece.inputLine(dk, dk + kPieceLength, x, y, bearing);
                break;
            case 1:
                piece.inputInTransitionCurve(dk, dk + kPieceLength, x, y, kRadius, turn, bearing);
                break;
            case 2:
                piece.inputCurve(dk, dk + kPieceLength, x, y, kRadius, turn, bearing);
                break;
            default:
                piece.inputOutTransitionCurve(dk, dk + kPieceLength, x, y, kRadius, turn, bearing);
                break;
        }
        const RoadCurve element = piece.getRoadCruves().front();
        route.addRoadCurves(element);
        x = element.endX;
        y = element.endY;
        bearing = element.endBearing;
    }
    if (!withProfile) return route;
    double g1 = 0;
    double g2 = 0;
    double tangent = 0;
    double external = 0;
    for (int i = 0; i <= elements; ++i) {
        const int type = (i == 0 || i == elements) ? 0 : 1;
        route.addBPPoint({std::to_string(i * kPieceLength), kBaseElevation + (i % 2) * kRise,
                          kVerticalRadius, 0, 0, 0, 0, type});
        if (i >= 2) route.convertBPPointsToVerticalCurves(g1, g2, tangent, external);
    }
    return route;
}

// Built once per size: a 10,000-element route with its profile takes a while to build.
const RoadCurvesCalculation& cachedRoute(int elements, bool withProfile) {
    static std::map<std::pair<int, bool>, RoadCurvesCalculation> routes;
    const auto key = std::make_pair(elements, withProfile);
    auto found = routes.find(key);
    if (found == routes.end()) {
        found = routes.emplace(key, scaledRoute(elements, withProfile)).first;
    }
    return found->second;
}

// The first arc of the scaled routes, and the last one that turns left like it, so that
// queries near the start and near the end meet the same geometry (a point beside a left and
// a right turn takes a different number of approach steps).
constexpr int kFirstArc = 2;

int lastLeftArc(int elements) {
    constexpr int kPiecesPerTurnPair = 2 * kPiecesPerCurve;
    return (elements - kFirstArc - 1) / kPiecesPerTurnPair * kPiecesPerTurnPair + kFirstArc;
}

// One sine and one cosine of a changing argument: the unit of the figures below.
void BM_SinCosPair(benchmark::State& state) {
    double angle = 0.3;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::sin(angle));
        benchmark::DoNotOptimize(std::cos(angle));
        angle += 1e-3;
    }
}
BENCHMARK(BM_SinCosPair);

// The baseline of the scaled routes: a one-curve route (the pattern's arc alone, from
// chainage 0) without a profile, queried half-way along its arc.
void BM_OneCurveRoute(benchmark::State& state) {
    RoadCurvesCalculation route;
    route.inputCurve(0, kPieceLength, kStartX, kStartY, kRadius, 1, kStartBearing);
    const std::string dk = std::to_string(kPieceLength / 2);
    double x = 0;
    double y = 0;
    double z = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(route.calculateCoordinatesAndBearing(dk, x, y, z));
}
BENCHMARK(BM_OneCurveRoute);

// Point query half-way along the first arc (range(1) = 0) or the last left-turning arc (1) of
// a route of range(0) elements with a profile of as many grade-change points.
void BM_ScaledRouteQuery(benchmark::State& state) {
    const auto elements = static_cast<int>(state.range(0));
    const RoadCurvesCalculation& route = cachedRoute(elements, true);
    const int arcIndex = state.range(1) == 0 ? kFirstArc : lastLeftArc(elements);
    const std::string dk = std::to_string((arcIndex + 0.5) * kPieceLength);
    double x = 0;
    double y = 0;
    double z = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(route.calculateCoordinatesAndBearing(dk, x, y, z));
}
BENCHMARK(BM_ScaledRouteQuery)
    ->ArgNames({"elements", "nearEnd"})
    ->ArgsProduct({{10, 100, 1000, 10000}, {0, 1}});

// Chainage of a point 5 beside the route half-way along its last left-turning arc, the
// approach starting from that arc's start chainage (as a host stepping along would).
void BM_ScaledRouteProjection(benchmark::State& state) {
    const auto elements = static_cast<int>(state.range(0));
    const RoadCurvesCalculation& route = cachedRoute(elements, true);
    const int arcIndex = lastLeftArc(elements);
    double x = 0;
    double y = 0;
    double z = 0;
    const double bearing = route.calculateCoordinatesAndBearing(
        std::to_string((arcIndex + 0.5) * kPieceLength), x, y, z);
    constexpr double kOffset = 5;
    const double px = x - kOffset * std::sin(bearing);
    const double py = y + kOffset * std::cos(bearing);
    const std::string from = std::to_string(arcIndex * kPieceLength);
    std::string result;
    for (auto _ : state) benchmark::DoNotOptimize(route.vdApproachMethod(from, px, py, result));
}
BENCHMARK(BM_ScaledRouteProjection)->ArgName("elements")->Arg(10)->Arg(100)->Arg(1000)->Arg(10000);

// A query 1 km into a straight (range(0) = 0), an arc of radius 500 (1) and a clothoid from a
// straight to radius 500 (2), each 1200 long and alone on its route.
void BM_KilometreInto(benchmark::State& state) {
    constexpr double kLength = 1200;
    constexpr double kElementRadius = 500;
    RoadCurvesCalculation route;
    switch (state.range(0)) {
        case 0:
            route.inputLine(0, kLength, kStartX, kStartY, kStartBearing);
            break;
        case 1:
            route.inputCurve(0, kLength, kStartX, kStartY, kElementRadius, 1, kStartBearing);
            break;
        default:
            route.inputInTransitionCurve(0, kLength, kStartX, kStartY, kElementRadius, 1,
                                         kStartBearing);
            break;
    }
    const std::string dk = "1000.000000";
    double x = 0;
    double y = 0;
    double z = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(route.calculateCoordinatesAndBearing(dk, x, y, z));
}
BENCHMARK(BM_KilometreInto)->ArgName("kind")->DenseRange(0, 2);

}  // namespace
