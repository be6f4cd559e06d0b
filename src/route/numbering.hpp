// The station numbering of a route: regions of continuous numbering between the breaks of
// its station equations, and the conversions between station and length along the route.
#pragma once

#include <qv_route/route.hpp>

#include <cstddef>
#include <optional>
#include <vector>

namespace qv::route::detail {

/// Region k runs from length `length` (the start of the route, or the break that starts
/// it) with station `station` there, up to the next region's start. Stations are only ever
/// computed as a region's station plus the length travelled in it, never read back from
/// text. Built so that region starts and ends rise along the route and no number occurs
/// more than twice; every query is then a bisection over the regions.
class Numbering {
public:
    struct Region {
        double length;      ///< along the route, where the region starts
        double station;     ///< station there
        double endStation;  ///< station where the next region starts (+inf for the last)
    };

    Numbering() = default;
    /// Lays out the regions of `startStation` and the breaks among `equations` (labels with
    /// back == ahead are not breaks) and places every equation. Throws RouteError naming
    /// "equations[i]" for one that is not finite or outside the numeric domain, lies out of
    /// order along the route, jumps back before the numbering it ends or ends inside the
    /// numbering before it, would make a number occur a third time, or (a label) names a
    /// station that does not exist.
    Numbering(double startStation, const std::vector<StationEquation>& equations);

    const std::vector<Region>& regions() const { return regions_; }
    const std::vector<EquationInfo>& equations() const { return equations_; }

    /// Region holding `length` (0 before the start; a break belongs to the region it starts).
    std::size_t regionAt(double length) const;
    /// Which pass over `value` region k is (1 or 2).
    int occurrenceIn(std::size_t region, double value) const;
    std::optional<double> lengthAt(Station station) const;
    Station stationAt(double length) const;
    /// Length of the first pass over `value`; inside a short chain's gap, the break's length.
    double lengthAtOrGap(double value) const;
    /// Length where `value` lies in region k (it need not lie within the region).
    double lengthIn(std::size_t region, double value) const;

private:
    /// First region whose end station is at or beyond `value`.
    std::size_t firstEndingAtOrAfter(double value) const;

    std::vector<Region> regions_{Region{0.0, 0.0, 0.0}};
    std::vector<EquationInfo> equations_;
};

}  // namespace qv::route::detail
