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

/// The index over one element table; the table must outlive it (the route owns both), and
/// a copy points at the same table. Feet are exact to the table's own evaluation: on a
/// curve, the middle of the integration step whose evaluated point lies nearest the point
/// (nearest the normal to within one step). Where no normal reaches the nearest stretch of
/// the route (the outside of a kink, across a gap) the junction answers with its plane
/// distance; a point within half a step of an end's normal is on the route at that end.
/// Elements whose length, start or evaluated end is not finite, or whose length is not
/// positive, are left out. Every member is const and may run side by side.
class ProjectionIndex {
public:
    ProjectionIndex() = default;
    explicit ProjectionIndex(const ElementTable& table);

    /// Every foot within maxOffset, nearest first (ties: earlier along the route first): on
    /// the route, and on the start or end tangent produced. Empty for non-finite coordinates,
    /// a NaN or negative maxOffset, or a table without usable elements.
    std::vector<LengthFoot> feet(double x, double y, double maxOffset) const;
    /// The nearest foot; place None when none lies within maxOffset, Invalid for non-finite
    /// coordinates. Costs logarithmic work in the number of elements for points near the
    /// route.
    LengthFoot nearest(double x, double y, double maxOffset) const;

private:
    /// An evaluated point kept with its tangent (cos and sin of the bearing).
    struct Anchor {
        double x, y, bearing, cos, sin;
    };
    /// Axis-aligned box in the plane, length units.
    struct Box {
        double minX, minY, maxX, maxY;
    };
    /// A stretch [from, to] of one element (lengths from the element's start) whose box
    /// provably holds every point the element's evaluation gives on it.
    struct Chunk {
        std::size_t element;
        double from;
        double to;
        Anchor fromPoint;  ///< the evaluation at `from` and `to`, kept
        Anchor toPoint;
        Box box;
        bool endsElement;  ///< `to` is the element's end: the junction is checked here
        bool startsRoute;  ///< `from` is the start of the route's first element
    };
    /// A node of the box hierarchy over chunks in route order; a leaf holds one chunk.
    struct Node {
        Box box;
        std::size_t left = 0;  ///< children; 0 (the root's index) on a leaf
        std::size_t right = 0;
        std::size_t chunk = 0;
    };

    std::size_t build(std::size_t begin, std::size_t end);
    /// Feet found in one chunk, and at the corner or junction checked there.
    void chunkFeet(const Chunk& chunk, double x, double y, std::vector<LengthFoot>& out) const;
    /// Feet on the start and end tangents produced.
    void endFeet(double x, double y, std::vector<LengthFoot>& out) const;

    const ElementTable* table_ = nullptr;
    std::vector<Chunk> chunks_;
    std::vector<Node> nodes_;               ///< nodes_[0] is the root when there are chunks
    std::vector<std::size_t> nextElement_;  ///< the next element with usable geometry
    std::vector<Anchor> startPoint_;        ///< each element's evaluation at 0
    std::size_t first_ = 0;                 ///< first and last elements with usable geometry
    std::size_t last_ = 0;
    bool usable_ = false;  ///< some element has usable geometry
};

}  // namespace qv::route::detail
