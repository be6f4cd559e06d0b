// Exact projection of a plane point onto a route's elements: every foot (a place where the
// point lies on the normal of the alignment), found through a bounding-box index so that a
// point costs logarithmic work in the number of elements.
#pragma once

#include <qv_route/route.hpp>

#include <cstddef>
#include <vector>

#include "route/element_table.hpp"

namespace qv::route::detail {

/// A foot in length terms; the route turns the length into a station.
struct LengthFoot {
    FootPlace place = FootPlace::None;
    double length = 0.0;    ///< along the route
    double offset = 0.0;    ///< signed, positive on the side of bearing + pi/2
    double distance = 0.0;  ///< |offset| unless the foot is an end of the route
    double x = 0.0;         ///< the foot on the centre line
    double y = 0.0;
    std::size_t element = 0;
};

/// The index over one element table; the table must outlive it (the route owns both).
class ProjectionIndex {
public:
    ProjectionIndex() = default;
    explicit ProjectionIndex(const ElementTable& table);

    /// Every foot within maxOffset, nearest first (ties: earlier along the route first).
    std::vector<LengthFoot> feet(double x, double y, double maxOffset) const;
    /// The nearest foot; place None when none lies within maxOffset, Invalid for non-finite
    /// coordinates.
    LengthFoot nearest(double x, double y, double maxOffset) const;

private:
    const ElementTable* table_ = nullptr;
    // The bounding-box hierarchy lives here (filled by the constructor).
};

}  // namespace qv::route::detail
