// The stakeout table: walking the route by length from its start chainage, so that the
// library's chainage arithmetic skips short-chain gaps and marks long-chain repeats.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "commands.hpp"

namespace rcctool {

namespace {

constexpr double kDegPerRad = 57.29577951308232;  // 180 / pi
// Rows closer than this along the route are one row (merged labels), in metres.
constexpr double kSameRow = 1e-6;
// More rows than this is a typing error in the interval, not a table anyone can use.
constexpr double kMaxRows = 5e7;

std::string offsetName(const char* axis, double offset) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%s(%+g)", axis, offset);
    return buffer;
}

}  // namespace

Table stakeoutTable(const Route& route, const StakeoutOptions& options,
                    const FormatOptions& format) {
    if (!(options.interval > 0) || route.totalLength / options.interval > kMaxRows) {
        throw InputError("--interval must be positive and give at most " + fixed(kMaxRows, 0) +
                         " rows on this " + fixed(route.totalLength, 1) + " m route");
    }
    // Regular rows at whole multiples of the interval (no accumulated round-off), merged
    // with the key points in order along the route.
    std::vector<KeyPoint> rows;
    const auto steps = static_cast<std::size_t>(std::floor(route.totalLength / options.interval));
    rows.reserve(steps + 2);
    for (std::size_t k = 0; k <= steps; ++k) {
        rows.push_back({static_cast<double>(k) * options.interval, ""});
    }
    if (options.keyPoints) {
        std::vector<KeyPoint> keys = keyPoints(route, format);
        std::vector<KeyPoint> merged;
        merged.reserve(rows.size() + keys.size());
        std::merge(rows.begin(), rows.end(), keys.begin(), keys.end(), std::back_inserter(merged),
                   [](const KeyPoint& a, const KeyPoint& b) { return a.length < b.length; });
        rows.clear();
        for (KeyPoint& p : merged) {
            if (!rows.empty() && p.length - rows.back().length < kSameRow) {
                std::string& label = rows.back().label;
                if (!p.label.empty()) label += (label.empty() ? "" : " / ") + p.label;
            } else {
                rows.push_back(std::move(p));
            }
        }
    }

    Table table;
    table.addColumn("chainage");
    table.addColumn("length");
    table.addColumn("x");
    table.addColumn("y");
    table.addColumn("bearing");
    table.addColumn("elevation");
    for (double offset : options.offsets) {
        table.addColumn(offsetName("x", offset));
        table.addColumn(offsetName("y", offset));
    }
    table.addColumn("point", false);
    table.rows.reserve(rows.size());

    Progress progress("stakeout", rows.size());
    for (std::size_t r = 0; r < rows.size(); ++r) {
        progress.update(r);
        const KeyPoint& row = rows[r];
        const std::string dk = chainageAtLength(route, row.length);
        double x = 0.0;
        double y = 0.0;
        double z = std::numeric_limits<double>::quiet_NaN();  // stays NaN without a profile
        const double bearing = route.calc.calculateCoordinatesAndBearing(dk, x, y, z);
        requireFinite(route, row.length, dk, {x, y, bearing});
        std::vector<std::string> cells;
        cells.push_back(formatChainage(dk, format));
        cells.push_back(fixed(row.length, format.decimals));
        cells.push_back(fixed(x, format.decimals));
        cells.push_back(fixed(y, format.decimals));
        cells.push_back(formatAngle(normalizeDegrees(bearing * kDegPerRad), format));
        cells.push_back(std::isnan(z) ? "" : fixed(z, format.decimals));
        for (double offset : options.offsets) {
            // Across the tangent: the unit normal on the bearing + 90 degrees side.
            cells.push_back(fixed(x - offset * std::sin(bearing), format.decimals));
            cells.push_back(fixed(y + offset * std::cos(bearing), format.decimals));
        }
        cells.push_back(row.label);
        table.rows.push_back(std::move(cells));
    }
    return table;
}

}  // namespace rcctool
