// The route report: one self-contained HTML page with the plan and the profile as inline SVG,
// drawn and read by a small script from samples of the route, and the route's tables.
#pragma once

#include <qv_route/route.hpp>
#include <qv_route/station.hpp>

#include <cstddef>
#include <string>

#include "format.hpp"

namespace rcctool {

struct ReportOptions {
    double interval = 20.0;  ///< stakeout table: round stations at this interval, length units
    FormatOptions format;    ///< station style and decimals of the tables and readouts
};

/// Most samples a page may carry: the browser draws and searches every one of them, and
/// beyond this the page would take seconds to open (about 60 bytes each).
constexpr std::size_t kMaxReportSamples = 200000;
/// Most stakeout rows a page may carry.
constexpr std::size_t kMaxReportRows = 100000;

/// The page for a built route; `source` names the route file in messages. Throws InputError
/// when the route needs more samples than kMaxReportSamples or the stakeout more rows than
/// kMaxReportRows, before anything is written.
std::string reportPage(const qv::route::Route& route, const std::string& source,
                       const ReportOptions& options);

}  // namespace rcctool
