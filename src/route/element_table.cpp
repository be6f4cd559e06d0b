// Length index and evaluation of a route's horizontal elements.
#include "route/element_table.hpp"

#include <algorithm>
#include <cmath>
#include <qv_route/description.hpp>

namespace qv::route::detail {

ElementTable::ElementTable(std::vector<RoadCurve> elements) : elements_(std::move(elements)) {
    starts_.reserve(elements_.size() + 1);
    prepared_.reserve(elements_.size());
    double along = 0.0;
    starts_.push_back(along);
    for (const RoadCurve& e : elements_) {
        along += e.length;
        starts_.push_back(along);
        prepared_.emplace_back(e);
    }
}

std::size_t ElementTable::elementAt(double length) const {
    if (elements_.empty()) return 0;
    // Last start at or before `length`, among the element starts (not the final end).
    const auto last = starts_.end() - 1;
    const auto it = std::upper_bound(starts_.begin(), last, length);
    const std::size_t after = static_cast<std::size_t>(it - starts_.begin());
    return after == 0 ? 0 : after - 1;
}

rcc::CurvePoint ElementTable::at(std::size_t i, double s) const {
    return rcc::pointOnElement(elements_[i], prepared_[i], s);
}

double ElementTable::curvature(std::size_t i, double s) const {
    const RoadCurve& e = elements_[i];
    if (e.curveType == static_cast<int>(ElementKind::Line)) return 0.0;
    // Curvature ramps linearly from startCurvature to endCurvature over the length.
    const double t = e.length > 0 ? std::clamp(s / e.length, 0.0, 1.0) : 0.0;
    return e.turnDirection * (e.startCurvature + (e.endCurvature - e.startCurvature) * t);
}

}  // namespace qv::route::detail
