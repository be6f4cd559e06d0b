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

/// Fixed-step evaluation of a drawing arc (step 0.01) against the true arc of radius 5: up
/// to one step past the asked distance, plus the half-step bearing lead (0.001 rad) swung
/// over a chord of about 7 (length units).
constexpr double kDesignArcPosition = 0.02;

}  // namespace rcc_test

namespace rcc_test {

/// Hand-computed values quoted to six decimals (length units or degrees).
constexpr double kQuotedSixDecimals = 1e-6;
/// Where fitted transitions and arcs meet the tangent legs: two-term clothoid series plus
/// the fixed-step drift over curves of a few tens of length units (length units).
constexpr double kTransitionClosure = 1e-3;

}  // namespace rcc_test
