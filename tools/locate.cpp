// Chainage and offset of surveyed points, by the library's approach method from the start.
#include <cmath>
#include <fstream>
#include <iostream>

#include "commands.hpp"

namespace rcctool {

namespace {

// A foot this far (metres) behind the start tangent counts as before the start; the
// approach method stops within its own tolerance of 0.001 of the true foot.
constexpr double kBehindStart = 0.01;

std::string trim(const std::string& s) {
    const auto first = s.find_first_not_of(" \t\r");
    if (first == std::string::npos) return "";
    return s.substr(first, s.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

std::vector<PointToLocate> readPoints(const std::string& path) {
    std::ifstream file;
    std::istream* in = &std::cin;
    const std::string shown = path == "-" ? "(standard input)" : path;
    if (path != "-") {
        file.open(path);
        if (!file) throw InputError(path + ": cannot open the file");
        in = &file;
    }
    std::vector<PointToLocate> points;
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
        PointToLocate p;
        const bool xOk = parseNumber(fields[0].first, p.x);
        if (!xOk && firstRecord) {  // a header line
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
        if (!xOk) fail(0, "a finite number for x (lines are x,y or x,y,name)");
        if (fields.size() < 2 || !parseNumber(fields[1].first, p.y)) {
            fail(1, "a finite number for y (lines are x,y or x,y,name)");
        }
        if (fields.size() > 3) fail(3, "at most three fields (x,y,name)");
        if (fields.size() == 3) p.name = fields[2].first;
        points.push_back(p);
    }
    if (in->bad()) throw InputError(shown + ": cannot read the file");
    return points;
}

Table locateTable(const Route& route, const std::vector<PointToLocate>& points,
                  const FormatOptions& format) {
    Table t;
    t.addColumn("name", false);
    for (const char* name : {"x", "y", "chainage", "length", "offset"}) t.addColumn(name);
    t.addColumn("foot", false);
    const int d = format.decimals;
    Progress progress("locate", points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        progress.update(i);
        const PointToLocate& p = points[i];
        std::string dk;
        const double offset = route.calc.vdApproachMethod(route.startDK, p.x, p.y, dk);
        const double length = route.calc.calculateLengthBetween2DKs(route.startDK, dk);
        requireFinite(route, length, dk, {offset, length});
        std::string foot = "on route";
        if (!route.calc.isDKOnAlignment(dk)) {
            foot = "beyond end";  // measured from the end tangent produced
        } else if (dk == route.startDK) {
            double sx = 0.0;
            double sy = 0.0;
            double unused = 0.0;
            const double b = route.calc.calculateCoordinatesAndBearing(dk, sx, sy, unused);
            if ((p.x - sx) * std::cos(b) + (p.y - sy) * std::sin(b) < -kBehindStart) {
                foot = "before start";  // measured from the start point
            }
        }
        t.rows.push_back({p.name, fixed(p.x, d), fixed(p.y, d), formatChainage(dk, format),
                          fixed(length, d), fixed(offset, d), foot});
    }
    return t;
}

}  // namespace rcctool
