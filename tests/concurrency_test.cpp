// Read-only queries from several threads on one shared object give the single-thread answers.
#include "qv_roadCurveCalculation_alg.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

// A route with every kind of element, a long chain inside its last straight and a vertical
// profile, so that the queries run through all the evaluation paths: straight, clothoids,
// arc, broken-chain arithmetic and the elevation lookup.
RoadCurvesCalculation sharedRoute() {
    RoadCurvesCalculation route;
    BrokenChainSet chains;
    chains.addChain(BrokenChain{2, 150.0, 140.0});
    route.setBrokenChainSet(chains);

    // Each element starts where the one before it ends.
    route.inputLine(0.0, 40.0, 1000.0, 2000.0, 0.3);
    RoadCurve last = route.getRoadCruves().back();
    route.inputInTransitionCurve(last.endDK, last.endDK + 8.0, last.endX, last.endY, 60.0, 1,
                                 last.endBearing);
    last = route.getRoadCruves().back();
    route.inputCurve(last.endDK, last.endDK + 6.0, last.endX, last.endY, 60.0, 1, last.endBearing);
    last = route.getRoadCruves().back();
    route.inputOutTransitionCurve(last.endDK, last.endDK + 8.0, last.endX, last.endY, 60.0, 1,
                                  last.endBearing);
    last = route.getRoadCruves().back();
    route.inputLine(last.endDK, 200.0, last.endX, last.endY, last.endBearing);

    const int kEnd = 0;
    const int kGradeChange = 1;
    route.addBPPoint(RoadVerticalCurvePoint{"0", 50.0, 0.0, 0, 0, 0, 0, kEnd});
    route.addBPPoint(RoadVerticalCurvePoint{"60", 51.2, 1500.0, 0, 0, 0, 0, kGradeChange});
    route.addBPPoint(RoadVerticalCurvePoint{"130", 50.5, 0.0, 0, 0, 0, 0, kEnd});
    double g1 = 0.0, g2 = 0.0, tangent = 0.0, external = 0.0;
    route.convertBPPointsToVerticalCurves(g1, g2, tangent, external);
    return route;
}

// Every answer of one pass of queries, compared bit for bit.
struct Answers {
    std::vector<double> numbers;
    std::vector<std::string> texts;

    bool operator==(const Answers& other) const {
        return numbers.size() == other.numbers.size() && texts == other.texts &&
               std::memcmp(numbers.data(), other.numbers.data(), numbers.size() * sizeof(double)) ==
                   0;
    }
};

// Points, projections and lengths along the whole route, including the repeated stretch
// behind the long chain (marked chainages) and a point past the end.
Answers queryAll(const RoadCurvesCalculation& route) {
    Answers answers;
    const double kSpacing = 3.5;  // not a divisor of the element lengths: lands inside them
    for (double dk = -5.0; dk <= 215.0; dk += kSpacing) {
        for (const std::string& text : {std::to_string(dk), "0" + std::to_string(dk)}) {
            double x = 0.0, y = 0.0, elevation = 0.0;
            answers.numbers.push_back(route.calculateCoordinatesAndBearing(text, x, y, elevation));
            answers.numbers.insert(answers.numbers.end(), {x, y, elevation});

            std::string foot;
            answers.numbers.push_back(route.vdApproachMethod("0", x + 2.0, y - 3.0, foot));
            answers.texts.push_back(foot);
            answers.texts.push_back(route.calculateDKfromCoordinates(y + 1.0, x));
            answers.numbers.push_back(route.calculateLengthBetween2DKs("0", text));
            answers.texts.push_back(route.calculateDKfromLength("0", dk));
        }
    }
    return answers;
}

TEST(ConcurrentQueries, ThreadsSharingOneObjectGetTheSingleThreadAnswers) {
    const RoadCurvesCalculation route = sharedRoute();
    const Answers expected = queryAll(route);

    constexpr int kThreads = 4;
    std::atomic<int> ready{0};
    std::vector<Answers> results(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            // Start together, so that the queries overlap.
            ++ready;
            while (ready.load() < kThreads) std::this_thread::yield();
            results[i] = queryAll(route);
        });
    }
    for (std::thread& thread : threads) thread.join();

    for (int i = 0; i < kThreads; ++i) EXPECT_TRUE(results[i] == expected) << "thread " << i;
    EXPECT_TRUE(queryAll(route) == expected);  // and the object is unchanged
}

}  // namespace
