// The stakeout table: round stations in each numbering, the key points and any stations
// asked for, with the centre-line point, its bearing and elevation, and offset points.
#include <charconv>
#include <cmath>

#include "commands.hpp"

namespace rcctool {

namespace {

using qv::route::Frame;
using qv::route::Route;
using qv::route::RoutePoint;

// "+3.5", "-0.25": the shortest text of an offset, signed, for headings and codes.
std::string signedNumber(double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value));
    return (value < 0 ? "-" : "+") + std::string(buffer, result.ptr);
}

qv::route::TableRequest requestOf(const StakeoutOptions& options) {
    qv::route::TableRequest request;
    request.interval = options.interval;
    request.from = options.from;
    request.to = options.to;
    request.at = options.at;
    request.horizontalKeyPoints = options.keyPoints;
    request.verticalKeyPoints = options.verticalKeyPoints;
    return request;
}

// Elevation of an offset point on a plane cross-fall from the centre line: it rises by
// crossfall per unit of distance away from the centre line on either side.
double offsetElevation(double centre, double offset, const StakeoutOptions& options) {
    return centre + std::fabs(offset) * *options.crossfall;
}

// Which side an offset lies on as the frame reads it: positive offsets are on the side of
// bearing + 90°, the left in the XY frame and the right in the NE frame.
std::string sideCode(double offset, Frame frame) {
    if (offset == 0.0) return "CL";  // exact: an offset of zero is the centre line itself
    const bool left = (offset > 0) == (frame == Frame::XY);
    return (left ? "L" : "R") + signedNumber(offset).substr(1);
}

// The length along the route of a station the user asked for; refuses one that does not
// exist (in a short chain's gap, or a second pass where no long chain repeats it) or lies
// off the route.
double onRoute(const Route& route, qv::route::Station station, const char* option,
               const FormatOptions& format) {
    const std::optional<double> length = route.lengthAt(station);
    const std::string shown = std::string(option) + " " + stationText(station, format);
    if (!length) {
        throw InputError(shown +
                         ": no such station on this route (skipped by a short chain, "
                         "or no long chain repeats it)");
    }
    if (*length < 0 || *length > route.length()) {
        throw InputError(shown + ": lies off the route, which runs from " +
                         stationText(route.startStation(), format) + " to " +
                         stationText(route.endStation(), format));
    }
    return *length;
}

}  // namespace

void stakeout(const Route& route, const StakeoutOptions& options, const FormatOptions& format,
              RowSink& sink) {
    if (!(options.interval > 0) || !std::isfinite(options.interval)) {
        throw InputError("--interval must be positive (a length along the route)");
    }
    const std::optional<double> from =
        options.from ? onRoute(route, *options.from, "--from", format) : std::optional<double>();
    const std::optional<double> to =
        options.to ? onRoute(route, *options.to, "--to", format) : std::optional<double>();
    if (from && to && *to < *from) throw InputError("--to must not lie before --from");
    for (const qv::route::Station& s : options.at) onRoute(route, s, "--at", format);
    const qv::route::TableRequest request = requestOf(options);
    const std::size_t rows = route.countTableRows(request);
    const std::size_t points = rows * (1 + options.offsets.size());
    if (rows > kMaxRows || points > kMaxRows) {
        throw InputError("this table would have " + std::to_string(points) +
                         " points, more than the " + std::to_string(kMaxRows) +
                         " allowed; choose a longer --interval or a --from/--to range");
    }
    const int d = format.decimals;
    const Frame frame = route.description().frame;
    if (options.controller) {
        sink.begin({{"name", false},
                    {xName(frame)},
                    {yName(frame)},
                    {frame == Frame::NE ? "Z" : "z"},
                    {"code", false}});
    } else {
        std::vector<Column> columns = {{"chainage"}, {"length"},    {xName(frame)},  {yName(frame)},
                                       {"bearing"},  {"elevation"}, {"point", false}};
        for (double offset : options.offsets) {
            columns.push_back({std::string(xName(frame)) + "(" + signedNumber(offset) + ")"});
            columns.push_back({std::string(yName(frame)) + "(" + signedNumber(offset) + ")"});
            if (options.crossfall) columns.push_back({"elevation(" + signedNumber(offset) + ")"});
        }
        sink.begin(columns);
    }
    auto height = [d](double z) { return std::isnan(z) ? std::string() : fixed(z, d); };
    std::size_t number = 0;
    Progress progress("stakeout", rows);
    std::size_t done = 0;
    route.forEachTableRow(request, [&](const qv::route::TableRow& row) {
        progress.update(done++);
        const RoutePoint p = route.pointAtLength(row.length);
        const std::string station = stationText(row.station, format);
        if (options.controller) {
            // Plain ASCII throughout: numbered names, the station and side in the code.
            sink.row({std::to_string(++number), fixed(p.x, d), fixed(p.y, d), height(p.elevation),
                      station + " CL"});
            for (double offset : options.offsets) {
                const RoutePoint o = route.pointAtLength(row.length, offset);
                const double z = options.crossfall ? offsetElevation(p.elevation, offset, options)
                                                   : std::nan("");
                sink.row({std::to_string(++number), fixed(o.x, d), fixed(o.y, d), height(z),
                          station + " " + sideCode(offset, frame)});
            }
            return;
        }
        std::vector<std::string> cells = {
            station,       fixed(row.length, d),           fixed(p.x, d),
            fixed(p.y, d), bearingText(p.bearing, format), height(p.elevation),
            row.label};
        for (double offset : options.offsets) {
            const RoutePoint o = route.pointAtLength(row.length, offset);
            cells.push_back(fixed(o.x, d));
            cells.push_back(fixed(o.y, d));
            if (options.crossfall)
                cells.push_back(height(offsetElevation(p.elevation, offset, options)));
        }
        sink.row(cells);
    });
    sink.end();
}

}  // namespace rcctool
