// Point at chainage: plane point, tangent bearing and design elevation of the route at a
// chainage text, and the two bearing-between-points functions.
#include "chainage/chainage.hpp"
#include "horizontal/horizontal.hpp"
#include "profile/profile.hpp"

#include <cmath>

namespace {

// The first element, in stored order, whose inclusive chainage range holds `dk`; a NaN
// chainage matches none. The mark plays no part in finding the element.
const RoadCurve* findElement(const std::vector<RoadCurve>& elements, double dk) {
    for (const RoadCurve& element : elements) {
        if (element.startDK <= dk && dk <= element.endDK) return &element;
    }
    return nullptr;
}

}  // namespace

bool RoadCurvesCalculation::horizontalPointAt(const std::string& dk, double value, double& x,
                                              double& y, double& bearing) const {
    bearing = rcc::kNoElementsBearing;
    const RoadCurve* element = findElement(elements, value);
    if (element) {
        // Length from the element's start through the breaks, honouring the mark of dk.
        const double along = calculateLengthBetween2DKs(rcc::formatDK(element->startDK), dk);
        if (element->curveType == 0) {
            x = std::cos(element->startBearing) * along + element->startX;
            y = std::sin(element->startBearing) * along + element->startY;
            bearing = element->startBearing;
        } else {
            const rcc::CurvePoint p =
                rcc::integrateCurve(*element, along, element->startCurvature, element->endCurvature,
                                    element->length, element->integrationStep);
            x = p.x;
            y = p.y;
            bearing = p.bearing;
        }
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

    for (const RoadVerticalCurve& piece : verticalCurves) {
        // The end text is read only once the start is known to lie at or before dk.
        if (!(value >= rcc::parseDKText(piece.startDK))) continue;
        if (!(rcc::parseDKText(piece.endDK) >= value)) continue;
        elevation = rcc::pieceElevation(piece, calculateLengthBetween2DKs(piece.startDK, dk));
        break;
    }
    return bearing;
}

bool RoadCurvesCalculation::isDKOnAlignment(std::string dk) const {
    return findElement(elements, rcc::parseDKText(dk)) != nullptr;
}

double calculateBearing(double x1, double y1, double x2, double y2) {
    return rcc::degreesFromRadians(rcc::bearingBetween(x1, y1, x2, y2));
}

double calculateBearingRad(double x1, double y1, double x2, double y2) {
    return rcc::bearingBetween(x1, y1, x2, y2);
}
