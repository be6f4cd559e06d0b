// Station numbering across station equations: regions of continuous numbering, and
// station <-> length by bisection over them.
#include "route/numbering.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace qv::route::detail {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string equationPath(std::size_t i) { return "equations[" + std::to_string(i) + "]"; }

}  // namespace

Numbering::Numbering(double startStation, const std::vector<StationEquation>& equations) {
    regions_ = {Region{0.0, startStation, kInfinity}};
    for (std::size_t i = 0; i < equations.size(); ++i) {
        const StationEquation& eq = equations[i];
        if (!std::isfinite(eq.back) || !std::isfinite(eq.ahead) ||
            std::fabs(eq.back) > kMaxCoordinate || std::fabs(eq.ahead) > kMaxCoordinate) {
            throw RouteError(equationPath(i), "stations must be finite numbers within ±1e9");
        }
        if (eq.back == eq.ahead) continue;  // a label: placed below, no break
        Region& current = regions_.back();
        // Exact comparisons: equal stations would give an empty region.
        if (!(eq.back > current.station)) {
            throw RouteError(equationPath(i),
                             "its back station does not lie after the start of the numbering "
                             "it ends (equations must be listed in order along the route)");
        }
        if (eq.ahead < current.station) {
            throw RouteError(equationPath(i),
                             "its ahead station jumps back before the start of the numbering "
                             "it ends");
        }
        if (regions_.size() >= 2 && eq.back < regions_[regions_.size() - 2].endStation) {
            throw RouteError(equationPath(i),
                             "its back station lies before the end of the numbering before it");
        }
        if (regions_.size() >= 2 && eq.ahead < regions_[regions_.size() - 2].endStation) {
            throw RouteError(equationPath(i),
                             "its ahead station would make stations occur a third time");
        }
        current.endStation = eq.back;
        const double at = current.length + (eq.back - current.station);
        regions_.push_back(Region{at, eq.ahead, kInfinity});
    }
    for (std::size_t i = 0; i < equations.size(); ++i) {
        EquationInfo info;
        info.equation = equations[i];
        info.isBreak = info.equation.back != info.equation.ahead;
        // A break's back station ends a region, so it exists; a label may fall in a gap.
        const std::optional<double> at = lengthAt(Station{info.equation.back, 1});
        if (!at) throw RouteError(equationPath(i), "its station does not exist on this route");
        info.length = *at;
        equations_.push_back(info);
    }
}

std::size_t Numbering::regionAt(double length) const {
    const auto it = std::upper_bound(regions_.begin() + 1, regions_.end(), length,
                                     [](double l, const Region& r) { return l < r.length; });
    return static_cast<std::size_t>(it - regions_.begin()) - 1;
}

std::size_t Numbering::firstEndingAtOrAfter(double value) const {
    // End stations rise along the route (the constructor refuses anything else).
    const auto it = std::lower_bound(regions_.begin(), regions_.end(), value,
                                     [](const Region& r, double v) { return r.endStation < v; });
    return static_cast<std::size_t>(it - regions_.begin());
}

int Numbering::occurrenceIn(std::size_t region, double value) const {
    const std::size_t first = firstEndingAtOrAfter(value);
    return first < region ? 2 : 1;
}

double Numbering::lengthIn(std::size_t region, double value) const {
    const Region& r = regions_[region];
    return r.length + (value - r.station);
}

std::optional<double> Numbering::lengthAt(Station station) const {
    if (!std::isfinite(station.value) || station.occurrence < 1 || station.occurrence > 2) {
        return std::nullopt;
    }
    const std::size_t first = firstEndingAtOrAfter(station.value);
    const std::size_t k = first + static_cast<std::size_t>(station.occurrence - 1);
    // The first region may continue backwards before the route's start.
    if (k >= regions_.size() || (k > 0 && station.value < regions_[k].station)) {
        return std::nullopt;
    }
    return lengthIn(k, station.value);
}

Station Numbering::stationAt(double length) const {
    const std::size_t k = regionAt(length);
    const Region& r = regions_[k];
    const double value = r.station + (length - r.length);
    return Station{value, occurrenceIn(k, value)};
}

double Numbering::lengthAtOrGap(double value) const {
    const std::size_t first = std::min(firstEndingAtOrAfter(value), regions_.size() - 1);
    if (first > 0 && value < regions_[first].station) return regions_[first].length;
    return lengthIn(first, value);
}

}  // namespace qv::route::detail
