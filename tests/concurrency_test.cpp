// Read-only queries from several threads on one shared object give the single-thread answers.
#include "qv_roadCurveCalculation_alg.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

// Straight, entering clothoid, arc, leaving clothoid and a straight holding a long chain,
// under a vertical profile: the queries run through every evaluation path, the broken-chain
// arithmetic and the elevation lookup.
static RoadCurvesCalculation sharedRoute() {
    RoadCurvesCalculation route;
    BrokenChainSet chains;
    chains.addChain(BrokenChain{2, 150.0, 140.0});
    route.setBrokenChainSet(chains);
    // Start point (type 0), intersection point (radius 60, clothoids of 8), end point (type 2).
    route.addJDPoint(JDPoint{0, 0, 1000, 2000, 0, 0, 0, 0, 0, 0});
    route.addJDPoint(JDPoint{0, 60, 1080, 2000, 8, 8, 0, 0, 0, 1});
    route.addJDPoint(JDPoint{0, 0, 1180, 2100, 0, 0, 0, 0, 0, 2});
    double b1 = 0, b2 = 0, t1 = 0, t2 = 0, arc = 0, deflection = 0;
    int turn = 0;
    route.convertJDPointsToRoadCurves(b1, b2, t1, t2, arc, deflection, turn);
    // Profile ends (type 0) at 0 and 130, a grade change (type 1) of radius 1500 at 60.
    route.addBPPoint(RoadVerticalCurvePoint{"0", 50.0, 0.0, 0, 0, 0, 0, 0});
    route.addBPPoint(RoadVerticalCurvePoint{"60", 51.2, 1500.0, 0, 0, 0, 0, 1});
    route.addBPPoint(RoadVerticalCurvePoint{"130", 50.5, 0.0, 0, 0, 0, 0, 0});
    route.convertBPPointsToVerticalCurves(b1, b2, t1, t2);
    return route;
}

// Every answer of one pass as text, numbers in hexadecimal: equal texts are answers equal to
// the bit. Points, projections and lengths every 3.5 (inside the elements, not at their ends)
// over the whole route and past both ends, unmarked and marked (the repeated stretch).
static std::string queryAll(const RoadCurvesCalculation& route) {
    std::string answers;
    for (double dk = -5.0; dk <= 215.0; dk += 3.5) {
        for (const std::string& text : {std::to_string(dk), "0" + std::to_string(dk)}) {
            double x = 0.0, y = 0.0, z = 0.0;
            const double bearing = route.calculateCoordinatesAndBearing(text, x, y, z);
            std::string foot;
            const double offset = route.vdApproachMethod("0", x + 2.0, y - 3.0, foot);
            char numbers[256];
            std::snprintf(numbers, sizeof numbers, "%a %a %a %a %a %a ", bearing, x, y, z, offset,
                          route.calculateLengthBetween2DKs("0", text));
            answers += numbers + foot + ' ' + route.calculateDKfromCoordinates(y + 1.0, x) + ' ' +
                       route.calculateDKfromLength("0", dk) + '\n';
        }
    }
    return answers;
}

TEST(ConcurrentQueries, ThreadsSharingOneObjectGetTheSingleThreadAnswers) {
    const RoadCurvesCalculation route = sharedRoute();
    const std::string expected = queryAll(route);
    constexpr int kThreads = 4;
    std::atomic<int> waiting{kThreads};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            for (--waiting; waiting.load() > 0;) std::this_thread::yield();  // start together
            EXPECT_TRUE(queryAll(route) == expected) << "thread " << i;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(queryAll(route) == expected);  // and the object is unchanged
}
