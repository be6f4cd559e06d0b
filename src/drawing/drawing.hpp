// Internal declarations of the drawing subsystem: the fixed numbers of the design-drawing
// analysis, named once with their units.
#pragma once

namespace rcc {

/// Two coordinates of a drawing match when they differ by strictly less than this (length
/// units). Also the least distance from the axis x = 0 of both ends of an arc that is split
/// at the apex, and of the start of an item that continues the left run.
constexpr double kDrawingMatchTolerance = 0.001;

/// Step length (length units) of the fixed-step evaluation stored in every arc of a drawing:
/// 100 steps per unit of length, so the outline can be queried cheaply.
constexpr double kDesignArcStep = 0.01;

/// Kind code of an arc taken from a drawing.
constexpr int kDesignArcType = 7;

}  // namespace rcc
