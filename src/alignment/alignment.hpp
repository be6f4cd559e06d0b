// Constants of the alignment object shared by the subsystems that read its members.
#pragma once

namespace rcc {

/// Projection tolerance of every object, in length units: the approach method stops once
/// its step along the tangent is shorter. Single precision, as the object stores it.
constexpr float kProjectionTolerance = 0.001f;

}  // namespace rcc
