// The four subcommands of rcc, each turning a built route into tables or a drawing.
#pragma once

#include <string>
#include <vector>

#include "format.hpp"
#include "output.hpp"
#include "route.hpp"

namespace rcctool {

struct StakeoutOptions {
    double interval = 20.0;       ///< length along the route between regular rows
    std::vector<double> offsets;  ///< signed, positive on the side of bearing + 90 degrees
    bool keyPoints = true;        ///< add a row at every key point
};

/// The coordinate table along the route: one row every `interval` of length and one per
/// key point, in order along the route; chainages walked through the breaks.
Table stakeoutTable(const Route& route, const StakeoutOptions& options,
                    const FormatOptions& format);

/// The curve main values per intersection point (or the element list of a route given as
/// elements), and the vertical curves when the route has a profile.
std::vector<Table> curveTables(const Route& route, const FormatOptions& format);

/// One point to locate, with the line it came from for messages.
struct PointToLocate {
    double x = 0.0;
    double y = 0.0;
    std::string name;
};

/// Reads "x,y" or "x,y,name" lines (a first line that is not numeric is a header); throws
/// InputError naming the file, line and column of a bad field.
std::vector<PointToLocate> readPoints(const std::string& path);

/// Chainage and signed offset of each point, with whether its foot lies before the start,
/// on the route, or on the end tangent produced.
Table locateTable(const Route& route, const std::vector<PointToLocate>& points,
                  const FormatOptions& format);

struct DrawOptions {
    double tick = 0.0;          ///< chainage label spacing; 0 picks one from the route's length
    int width = 1600;           ///< image width in pixels (points for SVG)
    double exaggeration = 0.0;  ///< profile scale over the horizontal; 0 fills the panel
};

/// Draws plan and profile into `path` (.png or .svg, by its extension).
void drawRoute(const Route& route, const std::string& path, const DrawOptions& options,
               const FormatOptions& format);

}  // namespace rcctool
