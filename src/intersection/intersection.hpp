// Intersection-point design: point kinds and the conversion's refusal status.
#pragma once

namespace rcc {

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
