// Projection of plane points onto a route's elements.
#include "route/projection.hpp"

#include <cmath>

namespace qv::route::detail {

ProjectionIndex::ProjectionIndex(const ElementTable& table) : table_(&table) {}

std::vector<LengthFoot> ProjectionIndex::feet(double x, double y, double maxOffset) const {
    const LengthFoot foot = nearest(x, y, maxOffset);
    if (foot.place == FootPlace::None || foot.place == FootPlace::Invalid) return {};
    return {foot};
}

LengthFoot ProjectionIndex::nearest(double x, double y, double) const {
    LengthFoot foot;
    foot.place = std::isfinite(x) && std::isfinite(y) ? FootPlace::None : FootPlace::Invalid;
    return foot;
}

}  // namespace qv::route::detail
