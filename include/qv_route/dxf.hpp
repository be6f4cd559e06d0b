// Plan of a built route as an ASCII DXF drawing (AutoCAD 2000 format) for the CAD side.
#pragma once

#include <qv_route/io.hpp>
#include <qv_route/route.hpp>

#include <string>

namespace qv::route {

/// What the drawing holds besides the centre line, and how finely clothoids are drawn.
struct DxfOptions {
    double tickInterval = 0.0;       ///< station ticks and labels every this length; 0 picks one
    double textHeight = 0.0;         ///< label height, drawing units; 0 picks one from the extent
    double chordTolerance = 2.5e-4;  ///< largest distance from a clothoid's polyline to the curve
};

/// The plan as DXF text: straights as LINE, arcs as ARC, clothoids as LWPOLYLINE within
/// `chordTolerance` of the curve, station ticks with labels, key points, intersection points
/// with their tangents, one layer per kind. DXF X is east and Y north: in the NE frame the
/// route's y goes to X and x to Y, so the plan is north up in either frame. Labels that are
/// not ASCII are written as \U+XXXX escapes, which CAD programs show in any code page.
QV_ROUTE_IO_API std::string writeDxf(const Route& route, const DxfOptions& options = {});

}  // namespace qv::route
