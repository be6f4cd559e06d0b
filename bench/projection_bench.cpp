// Speed of the projection onto a route against the route's size: nanoseconds per point for
// the nearest foot and for every foot within a corridor, points staked beside the route.
#include "route/element_table.hpp"
#include "route/projection.hpp"

#include <benchmark/benchmark.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using qv::route::detail::ElementTable;
using qv::route::detail::ProjectionIndex;

constexpr double kOffsets[] = {1, -1, 3.5, -3.5, 20, -20};
constexpr int kStakes = 1024;
/// Corridor of the every-foot query: the widest stake plus a margin (length units).
constexpr double kCorridor = 25;

// A zigzag of `points` intersection points 200 apart, each fitted with R 150 and transitions
// of 40 (four elements per point), from a national-grid origin.
std::vector<RoadCurve> zigzag(int points) {
    RoadCurvesCalculation route;
    const double x0 = 4.5e5, y0 = 3.5e6;
    route.addJDPoint(JDPoint{0, 0, x0, y0, 0, 0, 0, 0, 0, 0});
    double b1, b2, t1, t2, arc, deflection;
    int turn;
    for (int k = 1; k <= points + 1; ++k) {
        const int type = k == points + 1 ? 2 : 1;
        route.addJDPoint(
            JDPoint{0, 150, x0 + 200.0 * k, y0 + (k % 2 ? 60.0 : 0.0), 40, 40, 0, 0, 0, type});
        if (k >= 2) route.convertJDPointsToRoadCurves(b1, b2, t1, t2, arc, deflection, turn);
    }
    return route.getRoadCruves();
}

// Points at random places on random elements, at the usual stake-out offsets.
void stakes(const ElementTable& table, std::vector<double>& x, std::vector<double>& y) {
    std::mt19937 random(42);
    std::uniform_int_distribution<std::size_t> element(0, table.size() - 1);
    std::uniform_real_distribution<double> along(0, 1);
    for (int k = 0; k < kStakes; ++k) {
        const std::size_t i = element(random);
        const rcc::CurvePoint c = table.at(i, along(random) * table.elements()[i].length);
        const double offset = kOffsets[k % 6];
        x.push_back(c.x - offset * std::sin(c.bearing));
        y.push_back(c.y + offset * std::cos(c.bearing));
    }
}

template <bool kAllFeet>
void projectStakes(benchmark::State& state) {
    const ElementTable table(zigzag(static_cast<int>(state.range(0))));
    const ProjectionIndex index(table);
    std::vector<double> x, y;
    stakes(table, x, y);
    std::size_t k = 0;
    for (auto _ : state) {
        if constexpr (kAllFeet) {
            benchmark::DoNotOptimize(index.feet(x[k], y[k], kCorridor));
        } else {
            benchmark::DoNotOptimize(
                index.nearest(x[k], y[k], std::numeric_limits<double>::infinity()));
        }
        k = (k + 1) % x.size();
    }
    state.counters["elements"] = static_cast<double>(table.size());
    state.SetItemsProcessed(state.iterations());
}

void BM_NearestFoot(benchmark::State& state) { projectStakes<false>(state); }
void BM_FeetInCorridor(benchmark::State& state) { projectStakes<true>(state); }

// Intersection points 2, 25, 250, 2500: routes of 9, 101, 1001 and 10001 elements.
BENCHMARK(BM_NearestFoot)->Arg(2)->Arg(25)->Arg(250)->Arg(2500);
BENCHMARK(BM_FeetInCorridor)->Arg(2)->Arg(25)->Arg(250)->Arg(2500);

// Building the index, once per route.
void BM_BuildIndex(benchmark::State& state) {
    const ElementTable table(zigzag(static_cast<int>(state.range(0))));
    for (auto _ : state) benchmark::DoNotOptimize(ProjectionIndex(table));
    state.counters["elements"] = static_cast<double>(table.size());
}
BENCHMARK(BM_BuildIndex)->Arg(25)->Arg(2500);

}  // namespace
