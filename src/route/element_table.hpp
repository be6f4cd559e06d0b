// The horizontal elements of a built route indexed by length along the route, and their
// evaluation at a distance along one element with the library's own evaluator.
#pragma once

#include "horizontal/horizontal.hpp"

#include <cstddef>
#include <vector>

namespace qv::route::detail {

/// Elements in route order with the length from the route's start to each. Evaluating
/// element i at distance s uses exactly the arithmetic of the library's point-at-chainage
/// query (closed form on straights, the fixed-step sum on curves, prepared once per element
/// as the library prepares it), so the same s gives the same bits.
class ElementTable {
public:
    ElementTable() = default;
    explicit ElementTable(std::vector<RoadCurve> elements);

    const std::vector<RoadCurve>& elements() const { return elements_; }
    std::size_t size() const { return elements_.size(); }
    /// Length from the route's start to the start of element i (the sum of the lengths of
    /// the elements before it).
    double start(std::size_t i) const { return starts_[i]; }
    /// Total length of the route.
    double length() const { return starts_.empty() ? 0.0 : starts_.back(); }
    /// The element that holds `length` along the route, by bisection: the one whose start
    /// is the last at or before it (0 before the start, the last element at or beyond the
    /// end, so an element's end belongs to the next one except at the route's end).
    std::size_t elementAt(double length) const;
    /// Point and tangent bearing of element i at distance s from its start.
    rcc::CurvePoint at(std::size_t i, double s) const;
    /// Signed curvature of element i at distance s (positive where the bearing grows).
    double curvature(std::size_t i, double s) const;

private:
    std::vector<RoadCurve> elements_;
    std::vector<double> starts_;  ///< size() + 1 entries; the last is the total length
    std::vector<rcc::PreparedCurve> prepared_;  ///< one per element
};

}  // namespace qv::route::detail
