// The subcommands of rcc, each turning a built route into tables (or a drawing) row by row.
#pragma once

#include <qv_route/io.hpp>
#include <qv_route/route.hpp>

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "format.hpp"
#include "output.hpp"

namespace rcctool {

/// Most rows a table or drawing may have: more is a typing error in the interval, not a
/// table anyone can use (and would fill the disk).
constexpr std::size_t kMaxRows = 10'000'000;

/// Reads a route file (JSON or LandXML) and builds it; throws InputError naming the file
/// and the line and column or field path of anything that cannot be read or built, or of
/// the first error of the design checks. Warnings go to `warnings`, one line each.
qv::route::Route loadRoute(const std::string& path, const qv::route::ReadOptions& options,
                           std::vector<std::string>* warnings = nullptr);

struct StakeoutOptions {
    double interval = 20.0;  ///< round stations at this interval in each numbering
    std::optional<qv::route::Station> from;
    std::optional<qv::route::Station> to;
    std::vector<qv::route::Station> at;  ///< stations listed in addition
    std::vector<double> offsets;         ///< signed, positive on the side of bearing + 90°
    /// Cross-fall of the offset points (rise over run away from the centre line, -0.025
    /// for -2.5 %); with it each offset point gets its own elevation.
    std::optional<double> crossfall;
    bool keyPoints = true;
    bool verticalKeyPoints = false;
    bool controller = false;  ///< one point per line: name, x/N, y/E, Z, code
};

/// The stakeout table: chainage, length, x, y, bearing, elevation and point (offsets after
/// them), or with `controller` the point file of a survey controller. Refuses (InputError)
/// a request of more than kMaxRows rows before writing any.
void stakeout(const qv::route::Route& route, const StakeoutOptions& options,
              const FormatOptions& format, RowSink& sink);

/// The curve table (one row per horizontal curve with the values of a PI report) and, when
/// the route has a profile, the vertical curve table.
void curves(const qv::route::Route& route, const FormatOptions& format, RowSink& sink);

struct LocateOptions {
    double maxOffset = std::numeric_limits<double>::infinity();
    bool all = false;  ///< every foot within maxOffset, not only the nearest
};

/// Station, length, signed offset and the foot's place of each point, with the design
/// elevation there and the height difference when the point has a height.
void locate(const qv::route::Route& route, const std::vector<qv::route::SurveyPoint>& points,
            const LocateOptions& options, const FormatOptions& format, RowSink& sink);

/// Reads a point file ("-": standard input) in the given column order, N and E going to x
/// and y as the route's frame says; throws InputError naming the line and column of a field
/// that cannot be read.
std::vector<qv::route::SurveyPoint> readPoints(const std::string& path,
                                               qv::route::PointColumns columns,
                                               const qv::route::Route& route);

struct DrawOptions {
    double tick = 0.0;          ///< station label spacing; 0 picks one from the route's length
    int width = 1600;           ///< image width in pixels (points for SVG)
    double exaggeration = 0.0;  ///< profile scale over the horizontal; 0 fills the panel
};

/// Draws plan and profile into `path` (.png or .svg, by its extension).
void drawRoute(const qv::route::Route& route, const std::string& title, const std::string& path,
               const DrawOptions& options, const FormatOptions& format);

}  // namespace rcctool
