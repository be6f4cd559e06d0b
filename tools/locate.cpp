// Station and offset of surveyed points by the route's projection, with the design
// elevation at each foot.
#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>

#include "commands.hpp"

namespace rcctool {

namespace {

using qv::route::Foot;
using qv::route::FootPlace;

std::string trim(const std::string& s) {
    const auto first = s.find_first_not_of(" \t\r");
    if (first == std::string::npos) return "";
    return s.substr(first, s.find_last_not_of(" \t\r") - first + 1);
}

bool hasLetter(const std::string& s) {
    return std::any_of(s.begin(), s.end(),
                       [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); });
}

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

std::vector<qv::route::SurveyPoint> readPoints(const std::string& path) {
    std::ifstream file;
    std::istream* in = &std::cin;
    const std::string shown = path == "-" ? "(standard input)" : path;
    if (path != "-") {
        file.open(path);
        if (!file) throw InputError(path + ": cannot open the file");
        in = &file;
    }
    std::vector<qv::route::SurveyPoint> points;
    std::string line;
    bool firstRecord = true;
    for (std::size_t number = 1; std::getline(*in, line); ++number) {
        if (trim(line).empty() || trim(line)[0] == '#') continue;
        // Fields with the column (1-based) at which each begins.
        std::vector<std::pair<std::string, std::size_t>> fields;
        std::size_t begin = 0;
        for (;;) {
            const std::size_t comma = line.find(',', begin);
            fields.emplace_back(trim(line.substr(begin, comma - begin)), begin + 1);
            if (comma == std::string::npos) break;
            begin = comma + 1;
        }
        qv::route::SurveyPoint p;
        p.line = number;
        const bool xOk = parseNumber(fields[0].first, p.x, true);
        // A header is a first line of words, never a line that merely fails to parse.
        if (!xOk && firstRecord && hasLetter(fields[0].first) &&
            (fields.size() < 2 || hasLetter(fields[1].first))) {
            firstRecord = false;
            continue;
        }
        firstRecord = false;
        auto fail = [&](std::size_t field, const char* what) {
            const std::size_t column =
                field < fields.size() ? fields[field].second : line.size() + 1;
            throw InputError(shown + ":" + std::to_string(number) + ":" + std::to_string(column) +
                             ": expected " + what +
                             (field < fields.size() ? ", found \"" + fields[field].first + "\""
                                                    : std::string(", found the end of the line")));
        };
        if (!xOk) fail(0, "a number for x (lines are x,y or x,y,name)");
        if (fields.size() < 2 || !parseNumber(fields[1].first, p.y, true)) {
            fail(1, "a number for y (lines are x,y or x,y,name)");
        }
        if (fields.size() > 3) fail(3, "at most three fields (x,y,name)");
        if (fields.size() == 3) p.name = fields[2].first;
        points.push_back(p);
    }
    if (in->bad()) throw InputError(shown + ": cannot read the file");
    return points;
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
