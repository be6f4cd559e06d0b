// Station and offset of surveyed points by the route's projection, with the design
// elevation at each foot.
#include <cmath>
#include <iostream>
#include <iterator>

#include "commands.hpp"

namespace rcctool {

namespace {

using qv::route::Foot;
using qv::route::FootPlace;

std::string placeText(FootPlace place, double maxOffset) {
    switch (place) {
        case FootPlace::OnRoute:
            return "on route";
        case FootPlace::BeforeStart:
            return "before start";
        case FootPlace::BeyondEnd:
            return "beyond end";
        case FootPlace::None:
            return std::isinf(maxOffset) ? "no foot" : "no foot within " + fixed(maxOffset, 3);
        case FootPlace::Invalid:
            break;
    }
    return "invalid point (coordinates not finite)";
}

}  // namespace

std::vector<qv::route::SurveyPoint> readPoints(const std::string& path,
                                               qv::route::PointColumns columns,
                                               const qv::route::Route& route) {
    const qv::route::Frame frame = route.description().frame;
    try {
        if (path != "-") return qv::route::readPointFile(path, columns, frame);
        const std::string text((std::istreambuf_iterator<char>(std::cin)),
                               std::istreambuf_iterator<char>());
        if (std::cin.bad()) throw InputError("(standard input): cannot read the points");
        return qv::route::readPoints(text, "(standard input)", columns, frame);
    } catch (const qv::route::ReadError& e) {
        throw InputError(e.what());
    }
}

void locate(const qv::route::Route& route, const std::vector<qv::route::SurveyPoint>& points,
            const LocateOptions& options, const FormatOptions& format, RowSink& sink) {
    const int d = format.decimals;
    std::vector<Column> columns = {{"name", false},
                                   {xName(route.description().frame)},
                                   {yName(route.description().frame)},
                                   {"chainage"},
                                   {"length"},
                                   {"offset"},
                                   {"foot", false},
                                   {"elevation"},
                                   {"dz"}};
    sink.begin(columns);
    Progress progress("locate", points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        progress.update(i);
        const qv::route::SurveyPoint& p = points[i];
        std::vector<Foot> feet;
        if (options.all) {
            feet = route.project(p.x, p.y, options.maxOffset);
            if (feet.empty()) feet.push_back(route.locate(p.x, p.y, options.maxOffset));
        } else {
            feet.push_back(route.locate(p.x, p.y, options.maxOffset));
        }
        for (const Foot& foot : feet) {
            const bool found = foot.place != FootPlace::None && foot.place != FootPlace::Invalid;
            if (!found) {
                sink.row({p.name, fixed(p.x, d), fixed(p.y, d), "", "", "",
                          placeText(foot.place, options.maxOffset), "", ""});
                continue;
            }
            const double design = route.elevationAtLength(foot.length);
            const bool hasHeight = !std::isnan(p.z) && !std::isnan(design);
            sink.row({p.name, fixed(p.x, d), fixed(p.y, d), stationText(foot.station, format),
                      fixed(foot.length, d), fixed(foot.offset, d),
                      placeText(foot.place, options.maxOffset),
                      std::isnan(design) ? "" : fixed(design, d),
                      hasHeight ? fixed(p.z - design, d) : ""});
        }
    }
    sink.end();
}

}  // namespace rcctool
