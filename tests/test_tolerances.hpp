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

/// A foot of the route's projection against dense sampling of the same evaluation, in
/// length and offset: both name the same evaluated point, up to one fine integration step
/// where elements meet (length units).
constexpr double kProjectionExact = 1e-4;

/// Fixed-step evaluation of a drawing arc (step 0.01) against the true arc of radius 5: up
/// to one step past the asked distance, plus the half-step bearing lead (0.001 rad) swung
/// over a chord of about 7 (length units).
constexpr double kDesignArcPosition = 0.02;

/// Hand-computed values quoted to six decimals (length units or degrees).
constexpr double kQuotedSixDecimals = 1e-6;
/// Where fitted transitions and arcs meet the tangent legs: two-term clothoid series plus
/// the fixed-step drift over curves of a few tens of length units (length units).
constexpr double kTransitionClosure = 1e-3;

/// Constant-time evaluation against the exact fixed-step sum: absolute parts of 1e-9 + 2 ulp
/// of the coordinate (length units) and 1e-13 + 2 ulp of the bearing (radians).
constexpr double kExactSumPosition = 1e-9;
constexpr double kExactSumBearing = 1e-13;
/// Against the literal loop, whose own rounding grows by up to 2^-53 of the magnitude per
/// step: absolute parts of 1e-6 (length units) and 1e-9 (radians) plus 2^-52 n magnitude.
constexpr double kLiteralLoopPosition = 1e-6;
constexpr double kLiteralLoopBearing = 1e-9;

/// Where the projection onto the alignment stops: the last step is below the object's
/// tolerance (0.001), plus one step of the fixed-step evaluation (length units).
constexpr double kProjectionStop = 1.5e-3;

}  // namespace rcc_test
