// Benchmarks of the design-drawing analysis: arch outlines of growing size, listed so that
// every scan has to walk most of the remaining items.
#include "qv_roadCurveCalculation_alg.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

// An arch of half-width 5 whose walls each climb in `perWall` pieces, alternately straight
// and arcs of radius 1 (chord 0.01, well under the diameter), under a semicircular crown.
// Listed top down (crown, walls from the top, base last): the piece each run needs next
// sits near the end of the list, so the scans cost close to their worst.
std::vector<DesignCruveInPut> archOutline(int perWall) {
    constexpr double kPieceRise = 0.01;
    constexpr double kPieceRadius = 1.0;
    const double top = perWall * kPieceRise;
    std::vector<DesignCruveInPut> items{{-5, top, 5, top, 5}};
    for (const double x : {5.0, -5.0}) {
        for (int i = perWall - 1; i >= 0; --i) {
            const double radius = i % 2 == 0 ? 0.0 : kPieceRadius;
            items.push_back({x, i * kPieceRise, x, (i + 1) * kPieceRise, radius});
        }
    }
    items.push_back({-5, 0, 5, 0, 0});
    return items;
}

void BM_AnalyseArchOutline(benchmark::State& state) {
    const std::vector<DesignCruveInPut> items = archOutline(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        RoadCurvesCalculation left, right, base;
        benchmark::DoNotOptimize(analysisDesignCurves(items, left, right, base));
        benchmark::ClobberMemory();
    }
    state.SetComplexityN(static_cast<benchmark::IterationCount>(items.size()));
}
BENCHMARK(BM_AnalyseArchOutline)
    ->Arg(250)  // pieces per wall; the list holds two more (base and crown)
    ->Arg(500)
    ->Arg(1000)
    ->Arg(2000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oNSquared);

}  // namespace
