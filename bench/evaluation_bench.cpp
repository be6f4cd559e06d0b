// Point queries on a straight and an arc (placeholder until the evaluator benchmarks land).
#include "qv_roadCurveCalculation_alg.h"

#include <benchmark/benchmark.h>

static void BM_PointOnStraight(benchmark::State& state) {
    RoadCurvesCalculation route;
    route.inputLine(0, 2000, 0, 0, 0.3);
    double x = 0, y = 0, z = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(route.calculateCoordinatesAndBearing("1000", x, y, z));
}
BENCHMARK(BM_PointOnStraight);
