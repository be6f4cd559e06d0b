// Point at chainage: plane point, tangent bearing and design elevation of the route at a
// chainage text, and the two bearing-between-points functions.
#include "alignment/alignment.hpp"
#include "chainage/chainage.hpp"
#include "horizontal/horizontal.hpp"
#include "profile/profile.hpp"

#include <cmath>

namespace {

// The first element, in stored order, whose inclusive chainage range holds `value`, or
// elements.size(); a NaN chainage matches none. The mark plays no part in finding it.
std::size_t findElement(const std::vector<RoadCurve>& elements,
                        const std::vector<std::size_t>& runs, double value) {
    return rcc::firstHolding(
        runs, elements.size(), value, [&](std::size_t i) { return elements[i].startDK; },
        [&](std::size_t i) { return elements[i].endDK; });
}

}  // namespace

bool RoadCurvesCalculation::horizontalPointAt(const std::string& dk, double value, double& x,
                                              double& y, double& bearing) const {
    bearing = rcc::kNoElementsBearing;
    const std::size_t index = findElement(elements, elementRuns, value);
    const RoadCurve* element = index < elements.size() ? &elements[index] : nullptr;
    if (element) {
        // Length from the element's start through the breaks, honouring the mark of dk.
        const double along = rcc::lengthBetween(brokenChains.chains, elementKeys[index].start,
                                                {value, rcc::isMarkedDK(dk, value)});
        const rcc::CurvePoint p =
            rcc::pointOnElement(*element, elementKeys[index].evaluation, along);
        x = p.x;
        y = p.y;
        bearing = p.bearing;
    }
    // Outside every element (or an element whose bearing is the sentinel itself): the end of
    // the last element. Exact comparison against the sentinel value.
    if (bearing == rcc::kNoElementsBearing) {
        const RoadCurve& last = elements.back();
        x = last.endX;
        y = last.endY;
        bearing = last.endBearing;
    }
    return element != nullptr;
}

double RoadCurvesCalculation::calculateCoordinatesAndBearing(std::string dk, double& x, double& y,
                                                             double& elevation) const {
    const double value = rcc::parseDKText(dk);
    double bearing = rcc::kNoElementsBearing;
    if (!elements.empty()) horizontalPointAt(dk, value, x, y, bearing);

    // The first piece in stored order whose [start, end] holds the value.
    const std::size_t piece = rcc::firstHolding(
        pieceRuns, pieceKeys.size(), value, [&](std::size_t i) { return pieceKeys[i].start.value; },
        [&](std::size_t i) { return pieceKeys[i].endValue; });
    if (piece < pieceKeys.size()) {
        const double along = rcc::lengthBetween(brokenChains.chains, pieceKeys[piece].start,
                                                {value, rcc::isMarkedDK(dk, value)});
        elevation = rcc::pieceElevation(verticalCurves[piece], along);
    }
    return bearing;
}

bool RoadCurvesCalculation::isDKOnAlignment(std::string dk) const {
    return findElement(elements, elementRuns, rcc::parseDKText(dk)) < elements.size();
}

double calculateBearing(double x1, double y1, double x2, double y2) {
    return rcc::degreesFromRadians(rcc::bearingBetween(x1, y1, x2, y2));
}

double calculateBearingRad(double x1, double y1, double x2, double y2) {
    return rcc::bearingBetween(x1, y1, x2, y2);
}
