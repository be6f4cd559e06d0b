// Tolerances of the unit tests, in the units of the values compared.
#pragma once

namespace rcc_test {

/// Round-off of closed-form arithmetic on values of order 1e3 (length units).
constexpr double kExact = 1e-9;
/// Fixed-step evaluation at step 1e-4 against the true curve: the point may lie up to one
/// step past the asked distance, plus the scheme's own drift (length units).
constexpr double kStepPosition = 3e-4;
/// Bearing of the fixed-step evaluation against the true curve: half a step's turn and
/// one step too many at curvature up to 1/10 (radians).
constexpr double kStepBearing = 2e-5;
/// Bearing round-off of closed forms (radians).
constexpr double kAngle = 1e-12;

}  // namespace rcc_test
