// The alignment object's constants and derived data, shared by the subsystems that read or
// extend its members, and the search for the first element or piece holding a chainage.
#pragma once

#include "chainage/chainage.hpp"
#include "horizontal/horizontal.hpp"
#include "qv_roadCurveCalculation_alg.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace rcc {

/// Projection tolerance of every object, in length units: the approach method stops once
/// its step along the tangent is shorter. Single precision, as the object stores it.
constexpr float kProjectionTolerance = 0.001f;

/// Whether a range [start, end] may follow [previousStart, previousEnd] in one ascending run:
/// both ends no lower than the previous ones; false whenever a NaN is involved.
inline bool continuesRun(double previousStart, double previousEnd, double start, double end) {
    return previousStart <= start && previousEnd <= end;
}

/// The first index i, in stored order, with start(i) <= value <= end(i); `count` for none.
/// `runs` holds the first index of each ascending run of the `count` ranges. Inside a run the
/// ranges starting at or before `value` form a prefix, found by bisection, and among them
/// those ending before it another prefix, found by galloping back from the prefix's last
/// range (the holder is nearly always that one or its neighbour). A list that is not
/// ascending splits into one-element runs: the plain scan in stored order.
template <class StartOf, class EndOf>
std::size_t firstHolding(const std::vector<std::size_t>& runs, std::size_t count, double value,
                         StartOf startOf, EndOf endOf) {
    for (std::size_t r = 0; r < runs.size(); ++r) {
        const std::size_t first = runs[r];
        std::size_t low = first;
        std::size_t high = r + 1 < runs.size() ? runs[r + 1] : count;
        while (low < high) {  // first index whose start lies after value
            const std::size_t mid = low + (high - low) / 2;
            if (startOf(mid) <= value) {
                low = mid + 1;
            } else {
                high = mid;
            }
        }
        // The last range started at or before value ends the highest: none of the run holds
        // value unless it does (written so that a NaN end fails).
        if (low == first || !(value <= endOf(low - 1))) continue;
        high = low - 1;  // ends at or after value
        low = first;     // every range before low ends before value
        for (std::size_t stride = 1; low < high; stride *= 2) {
            const std::size_t probe = high - low > stride ? high - stride : low;
            if (endOf(probe) < value) {
                low = probe + 1;
                break;
            }
            high = probe;
        }
        while (low < high) {
            const std::size_t mid = low + (high - low) / 2;
            if (endOf(mid) < value) {
                low = mid + 1;
            } else {
                high = mid;
            }
        }
        return high;
    }
    return count;
}

}  // namespace rcc

/// An element's start chainage as the point query reads it: its number written with six
/// decimals and read back, with the mark that text carries (a start in (0, 1) is written
/// "0.xxxxxx" and so counts as marked); and its prepared evaluation.
struct RoadCurvesCalculation::ElementKey {
    rcc::DKValue start;
    rcc::PreparedCurve evaluation;
};

/// A profile piece's start chainage (value and mark) and end value, read once from its text.
struct RoadCurvesCalculation::PieceKey {
    rcc::DKValue start;
    double endValue;
};
