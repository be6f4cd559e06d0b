// Benchmark of the LandXML reader on long alignments: straights and quarter-metre arcs in
// turn, up to a file of about 100 MB, to show the reading time grows with the file's size.
#include <qv_route/io.hpp>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace {

/// An alignment of `count` elements due north: straights of 10 m and, between them, arcs of
/// radius 1e6 over 10 m (their Start, Center and End written to the micrometre).
std::string longAlignment(long count) {
    constexpr double kStep = 10.0;
    constexpr double kRadius = 1e6;
    std::string text =
        "<?xml version=\"1.0\"?>\n<LandXML><Units><Metric linearUnit=\"meter\"/></Units>"
        "<Alignments><Alignment name=\"long\" staStart=\"0\"><CoordGeom>\n";
    char element[512];
    for (long i = 0; i < count; ++i) {
        const double north = i * kStep;
        if (i % 2 == 0) {
            std::snprintf(element, sizeof element,
                          "<Line length=\"%.6f\" staStart=\"%.6f\" dir=\"0\"><Start>%.6f 0</Start>"
                          "<End>%.6f 0</End></Line>\n",
                          kStep, north, north, north + kStep);
        } else {
            // An arc this flat bends 5e-5 m over its length: the end stays on the line
            // within the 1 mm closure, and the next element starts from its own Start.
            std::snprintf(element, sizeof element,
                          "<Curve rot=\"cw\" radius=\"%.1f\" length=\"%.6f\" staStart=\"%.6f\">"
                          "<Start>%.6f 0</Start><Center>%.6f %.1f</Center><End>%.6f 0.00005</End>"
                          "</Curve>\n",
                          kRadius, kStep, north, north, north, kRadius, north + kStep);
        }
        text += element;
    }
    text += "</CoordGeom></Alignment></Alignments></LandXML>\n";
    return text;
}

void BM_ReadLongLandXml(benchmark::State& state) {
    const std::string text = longAlignment(state.range(0));
    for (auto _ : state) {
        const qv::route::ReadResult result = qv::route::readLandXml(text, "long.xml");
        benchmark::DoNotOptimize(result.description.horizontal.elements.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(text.size()));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_ReadLongLandXml)
    ->Arg(4000)    // about 1 MB
    ->Arg(750000)  // about 100 MB
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

}  // namespace
