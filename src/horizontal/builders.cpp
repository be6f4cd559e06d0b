// The seven public element builders: each derives one record from the designer's data and
// appends it. Lengths between chainages are measured through the object's broken chains.
#include "horizontal/horizontal.hpp"

#include <cmath>

void RoadCurvesCalculation::inputLine(double startDK, double endDK, double startX, double startY,
                                      double bearing) {
    const double length = calculateLengthBetween2DKs(startDK, endDK);
    elements.push_back(rcc::lineAlong(startDK, endDK, startX, startY, bearing, length));
    elementsAppended(elements.size() - 1);
}

void RoadCurvesCalculation::inputLineCoor(double startDK, double startX, double startY, double endX,
                                          double endY) {
    const double endDK =
        calculateDKfromLength(startDK, rcc::distanceBetween(startX, startY, endX, endY));
    elements.push_back(rcc::lineFromPoints(startDK, endDK, startX, startY, endX, endY));
    elementsAppended(elements.size() - 1);
}

void RoadCurvesCalculation::inputCurve(double startDK, double endDK, double startX, double startY,
                                       double radius, int turnDirection, double startBearing) {
    const double length = calculateLengthBetween2DKs(startDK, endDK);
    elements.push_back(rcc::curveFromRadii(startDK, length, startX, startY, startBearing, radius,
                                           radius, turnDirection));
    elementsAppended(elements.size() - 1);
}

void RoadCurvesCalculation::inputCurveCoor(double startDK, double startX, double startY,
                                           double endX, double endY, double radius,
                                           int turnDirection) {
    elements.push_back(
        rcc::arcFromChord(startDK, startX, startY, endX, endY, radius, turnDirection));
    elementsAppended(elements.size() - 1);
}

void RoadCurvesCalculation::inputInTransitionCurve(double startDK, double endDK, double startX,
                                                   double startY, double radius, int turnDirection,
                                                   double startBearing) {
    inputIncompleteTransitionCurve(startDK, endDK, startX, startY, rcc::kInfiniteRadius, radius,
                                   turnDirection, startBearing);
}

void RoadCurvesCalculation::inputOutTransitionCurve(double startDK, double endDK, double startX,
                                                    double startY, double radius, int turnDirection,
                                                    double startBearing) {
    inputIncompleteTransitionCurve(startDK, endDK, startX, startY, radius, rcc::kInfiniteRadius,
                                   turnDirection, startBearing);
}

void RoadCurvesCalculation::inputIncompleteTransitionCurve(double startDK, double endDK,
                                                           double startX, double startY,
                                                           double startRadius, double endRadius,
                                                           int turnDirection, double startBearing) {
    const double length = calculateLengthBetween2DKs(startDK, endDK);
    elements.push_back(rcc::curveFromRadii(startDK, length, startX, startY, startBearing,
                                           startRadius, endRadius, turnDirection));
    elementsAppended(elements.size() - 1);
}
