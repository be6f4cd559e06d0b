// Angle conversions of the route layer, the same arithmetic the library uses wherever it
// reports degrees, for front ends that print or read angles.
#pragma once

#include <qv_roadCurveCalculation_alg.h>

namespace qv::route {

/// Degrees of an angle in radians (multiplied by 180 before the division by pi).
QV_RCC_API double degreesFromRadians(double radians);
/// Radians of an angle in degrees.
QV_RCC_API double radiansFromDegrees(double degrees);

}  // namespace qv::route
