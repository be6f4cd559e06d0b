// Intersection-point design: point kinds and the conversion's refusal status.
#pragma once

namespace rcc {

/// Shift p of the circle towards the tangent when a clothoid of length L leads onto radius
/// R (first two terms of the series): p = L^2/(24R) - L^4/(2688R^3).
double transitionShift(double L, double R);
/// Distance q along the tangent from the clothoid's start to the foot of the shifted
/// circle's centre: q = L/2 - L^3/(240R^2).
double transitionOffset(double L, double R);

/// pointType of the start point, required of the first intersection point of a route.
constexpr int kJDStartPoint = 0;
/// pointType of the end point; a curve whose next point has it also gets the closing
/// straight. Every other value marks an intermediate intersection point.
constexpr int kJDEndPoint = 2;

/// pointType written for an intersection point between the start and the end point.
constexpr int kJDMiddlePoint = 1;
/// Status of convertJDPointsToRoadCurves when the points cannot be turned into a curve.
constexpr int kJDConversionRefused = -1;
/// Status of convertJDPointsToRoadCurves after a curve has been fitted and appended.
constexpr int kJDConversionDone = 0;

}  // namespace rcc
