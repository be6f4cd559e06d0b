// Speed of the route layer against the route's size: building from intersection points, and
// station, point and table queries, which must not slow down as the route grows.
#include <qv_route/route.hpp>

#include <benchmark/benchmark.h>

#include <cstdint>

namespace {

using namespace qv::route;

// A zigzag of intersection points 100 apart, 30 across, each curve on R 50 (T about 15), so
// that every leg holds both tangents; a short chain every 20 points.
RouteDescription zigzag(std::int64_t points) {
    constexpr double kLeg = 100;
    constexpr double kAcross = 30;
    constexpr double kRadius = 50;
    constexpr std::int64_t kChainEvery = 20;
    RouteDescription d;
    for (std::int64_t i = 0; i < points; ++i) {
        IntersectionPoint p;
        p.x = static_cast<double>(i) * kLeg;
        p.y = i % 2 == 0 ? 0.0 : kAcross;
        p.radius = kRadius;
        d.horizontal.points.push_back(p);
    }
    // Each leg is about 104.4 long; a chain of +10 on every 20th leg, in order.
    constexpr double kLegAlong = 104;
    for (std::int64_t i = 1; i * kChainEvery < points; ++i) {
        const double back =
            static_cast<double>(i * kChainEvery) * kLegAlong + 10 * static_cast<double>(i - 1);
        d.equations.push_back({back, back + 10, ""});
    }
    return d;
}

void BM_RouteBuildFromIntersectionPoints(benchmark::State& state) {
    const RouteDescription d = zigzag(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(Route::build(d));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_RouteBuildFromIntersectionPoints)->Arg(10)->Arg(1000)->Arg(10000)->Complexity();

// Queries spread over the whole route by a fixed stride, so that the caches see no pattern.
void BM_RoutePointAtStation(benchmark::State& state) {
    const Route route = Route::build(zigzag(state.range(0)));
    const double length = route.length();
    constexpr double kStride = 0.6180339887;  // golden ratio: even spread, no repeats
    double t = 0;
    for (auto _ : state) {
        t += kStride;
        if (t >= 1) t -= 1;
        benchmark::DoNotOptimize(route.pointAt(route.stationAt(t * length)));
    }
}
BENCHMARK(BM_RoutePointAtStation)->Arg(10)->Arg(1000)->Arg(10000);

void BM_RouteLengthAtStation(benchmark::State& state) {
    const Route route = Route::build(zigzag(state.range(0)));
    const Station end = route.endStation();
    double t = 0;
    constexpr double kStride = 0.6180339887;
    for (auto _ : state) {
        t += kStride;
        if (t >= 1) t -= 1;
        benchmark::DoNotOptimize(route.lengthAt(Station{t * end.value, 1}));
    }
}
BENCHMARK(BM_RouteLengthAtStation)->Arg(10)->Arg(1000)->Arg(10000);

// A table at interval 20 with key points: cost per row.
void BM_RouteTableRows(benchmark::State& state) {
    const Route route = Route::build(zigzag(state.range(0)));
    TableRequest request;
    request.interval = 20;
    std::size_t rows = 0;
    for (auto _ : state) {
        route.forEachTableRow(request, [&rows](const TableRow& r) {
            benchmark::DoNotOptimize(r.length);
            ++rows;
        });
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(rows));
}
BENCHMARK(BM_RouteTableRows)->Arg(10)->Arg(10000);

}  // namespace
