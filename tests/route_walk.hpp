// Walking a finished alignment by chainage: the property every built route must have.
#pragma once

#include "qv_roadCurveCalculation_alg.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace rcc_test {

/// Walks `route` (no broken chains) from its first element's start to its last element's end
/// every `step`: each chainage lies on an element, consecutive points are no further apart
/// than the step plus `slack` (no jump where elements meet), and projecting each point from
/// the route's start finds its chainage again within `slack`.
inline void expectWalkable(const RoadCurvesCalculation& route, double step, double slack) {
    const std::vector<RoadCurve> elements = route.getRoadCruves();
    ASSERT_FALSE(elements.empty());
    double previousX = std::nan("");
    double previousY = std::nan("");
    for (double dk = elements.front().startDK; dk <= elements.back().endDK; dk += step) {
        const std::string text = std::to_string(dk);
        double x = 0, y = 0, z = 0;
        route.calculateCoordinatesAndBearing(text, x, y, z);
        ASSERT_TRUE(route.isDKOnAlignment(text)) << dk;
        if (!std::isnan(previousX)) {
            EXPECT_LE(std::hypot(x - previousX, y - previousY), step + slack) << dk;
        }
        EXPECT_NEAR(std::stod(route.calculateDKfromCoordinates(y, x)), dk, slack) << dk;
        previousX = x;
        previousY = y;
    }
}

}  // namespace rcc_test
