// The route report page: samples the built route densely enough for the page's drawing and
// hover readings, writes them with key points and ticks as a JSON block, and the tables as HTML.
#include "report.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>
#include <vector>

#include "format.hpp"
#include "output.hpp"
#include "report_assets.hpp"

namespace rcctool {

namespace {

using qv::route::Route;
using qv::route::Station;

// Drawing and hover accuracy. The page zooms in to 1 px = 1 cm at most; a chord of length c
// on a radius R strays c^2 / (8R) from the arc, kept under half that pixel.
constexpr double kChordTolerance = 0.005;  // metres of sagitta
// Hover readings interpolate the bearing linearly between samples; on a clothoid it is
// quadratic, off by c^2 |dk/ds| / 8. At the hover reach that error turns into a station
// error of reach times the angle, kept under half the centimetre the page promises.
constexpr double kHoverReach = 100.0;        // metres from the centre line
constexpr double kStationTolerance = 0.005;  // metres
// Elevations interpolate linearly; a vertical curve of radius R strays c^2 / (8R).
constexpr double kElevationTolerance = 0.001;  // metres
constexpr double kMaxSpacing = 25.0;           // metres between samples on straight grades
constexpr double kSameLength = 1e-9;           // metres: breaks closer than this are one
constexpr double kOriginGrid = 1000.0;         // local origin on a round kilometre
constexpr double kMaxMajorTicks = 12.0;        // labelled stations along the whole route
constexpr int kMinorPerMajor = 5;
constexpr std::size_t kMaxTicks = 5000;  // station ticks the plan redraws on every zoom
constexpr double kNiceIntervals[] = {1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000};
constexpr int kSampleDecimals = 4;   // 0.1 mm: well under every tolerance above
constexpr int kBearingDecimals = 9;  // radians: 1e-9 rad is 0.1 um at the hover reach
constexpr int kGradeDecimals = 7;
constexpr double kPercent = 100.0;

std::string num(double value, int decimals) {
    if (!std::isfinite(value)) return "null";
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

// JSON text of a string. '<' is escaped too, so that no name can close the script element
// that carries the data; other bytes pass as they are (the page is UTF-8).
std::string quote(const std::string& text) {
    static const char* const kHex = "0123456789abcdef";
    std::string out = "\"";
    for (const char c : text) {
        const auto u = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (u < 0x20 || c == '<') {  // control characters and '<' as \u00XX
            out += std::string("\\u00") + kHex[u >> 4] + kHex[u & 0xF];
        } else {
            out += c;
        }
    }
    return out + '"';
}

std::string escapeHtml(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

struct Sampling {
    std::vector<double> lengths;
    double largestCurveSpacing = 0.0;  // widest spacing used where the route curves
};

// Every place a sample must fall on: element ends, vertical curve ends, grade-change points
// and the profile's ends (where grade or curvature jumps or stops), and station equations.
std::vector<double> breaksOf(const Route& route) {
    const double total = route.length();
    std::vector<double> breaks{0.0, total};
    for (std::size_t i = 0; i < route.elements().size(); ++i) {
        breaks.push_back(route.elementStart(i));
    }
    for (const auto& vc : route.verticalCurves()) {
        breaks.insert(breaks.end(), {vc.startLength, vc.length, vc.endLength});
    }
    // The profile's ends: where the elevation starts or stops within the route.
    for (const auto& gp : route.description().profile) {
        if (const auto l = route.lengthAt(gp.station)) breaks.push_back(*l);
    }
    for (const auto& eq : route.equations()) breaks.push_back(eq.length);
    breaks.erase(std::remove_if(breaks.begin(), breaks.end(),
                                [total](double l) { return !(l >= 0.0 && l <= total); }),
                 breaks.end());
    std::sort(breaks.begin(), breaks.end());
    breaks.erase(std::unique(breaks.begin(), breaks.end(),
                             [](double a, double b) { return b - a < kSameLength; }),
                 breaks.end());
    return breaks;
}

// Widest sample spacing on [a, b] that keeps the drawing, the hover station and the elevation
// within their tolerances; the stretch lies inside one element and one vertical curve or grade.
// `element` and `vertical` are where the search starts and are moved on: stretches come in
// order along the route, so the whole sampling walks elements and curves once.
double spacingOn(const Route& route, double a, double b, std::size_t& element,
                 std::size_t& vertical, bool& curved) {
    const double mid = a + (b - a) / 2;
    double spacing = kMaxSpacing;
    const auto& elements = route.elements();
    while (element + 1 < elements.size() && route.elementStart(element + 1) <= mid) ++element;
    curved = false;
    if (element < elements.size()) {
        const RoadCurve& el = elements[element];
        // Clothoid curvature is linear in length, so its largest value is at an end.
        const double k = std::max(std::fabs(el.startCurvature), std::fabs(el.endCurvature));
        if (k > 0) spacing = std::min(spacing, std::sqrt(8 * kChordTolerance / k));
        const double dk = std::fabs(el.endCurvature - el.startCurvature) / el.length;
        if (el.length > 0 && dk > 0) {
            spacing = std::min(spacing, std::sqrt(8 * kStationTolerance / (kHoverReach * dk)));
        }
        curved = k > 0;
    }
    const auto& vcs = route.verticalCurves();
    while (vertical < vcs.size() && vcs[vertical].endLength < mid) ++vertical;
    if (vertical < vcs.size()) {
        const auto& vc = vcs[vertical];
        if (vc.hasCurve && vc.startLength <= mid && vc.radius > 0) {
            spacing = std::min(spacing, std::sqrt(8 * kElevationTolerance * vc.radius));
        }
    }
    return spacing;
}

Sampling sampleLengths(const Route& route, const std::string& source) {
    const std::vector<double> breaks = breaksOf(route);
    Sampling out;
    std::vector<std::size_t> counts(breaks.size(), 0);
    std::size_t total = 1;
    std::size_t element = 0;
    std::size_t vertical = 0;
    for (std::size_t i = 0; i + 1 < breaks.size(); ++i) {
        bool curved = false;
        const double spacing =
            spacingOn(route, breaks[i], breaks[i + 1], element, vertical, curved);
        const double pieces = std::ceil((breaks[i + 1] - breaks[i]) / spacing);
        if (!(pieces < static_cast<double>(kMaxReportSamples))) {
            total = kMaxReportSamples + 1;
            break;
        }
        counts[i] = std::max<std::size_t>(1, static_cast<std::size_t>(pieces));
        total += counts[i];
        if (total > kMaxReportSamples) break;
        if (curved) {
            out.largestCurveSpacing =
                std::max(out.largestCurveSpacing,
                         (breaks[i + 1] - breaks[i]) / static_cast<double>(counts[i]));
        }
    }
    if (total > kMaxReportSamples) {
        throw InputError(source +
                         ": the route is too long for a report page: drawing it within a "
                         "pixel needs more than " +
                         std::to_string(kMaxReportSamples) +
                         " samples, more than a browser draws smoothly");
    }
    out.lengths.reserve(total);
    out.lengths.push_back(0.0);
    for (std::size_t i = 0; i + 1 < breaks.size(); ++i) {
        const double step = (breaks[i + 1] - breaks[i]) / static_cast<double>(counts[i]);
        // Computed as start + j * step, so that the last sample lands on the break exactly.
        for (std::size_t j = 1; j < counts[i]; ++j) {
            out.lengths.push_back(breaks[i] + static_cast<double>(j) * step);
        }
        out.lengths.push_back(breaks[i + 1]);
    }
    return out;
}

// Pieces of the numbering: from each piece's start length on, the station runs on one for one
// with one occurrence. A piece starts at each break and where a long chain's repeated
// stretch ends; that stretch's last point is still the second pass, so the piece after it is
// open at its start. Each start value is read from the route at the piece's middle.
std::string numberingJson(const Route& route) {
    std::vector<std::pair<double, bool>> starts{{0.0, false}};  // length, open at the start
    for (const auto& eq : route.equations()) {
        if (!eq.isBreak) continue;
        starts.emplace_back(eq.length, false);
        if (eq.equation.ahead < eq.equation.back) {
            starts.emplace_back(eq.length + (eq.equation.back - eq.equation.ahead), true);
        }
    }
    const double total = route.length();
    starts.erase(
        std::remove_if(starts.begin(), starts.end(),
                       [total](const auto& p) { return !(p.first >= 0.0 && p.first < total); }),
        starts.end());
    std::sort(starts.begin(), starts.end());
    starts.erase(
        std::unique(starts.begin(), starts.end(),
                    [](const auto& a, const auto& b) { return b.first - a.first < kSameLength; }),
        starts.end());
    if (starts.empty()) starts.emplace_back(0.0, false);
    std::string out = "[";
    for (std::size_t i = 0; i < starts.size(); ++i) {
        const double from = starts[i].first;
        const double end = i + 1 < starts.size() ? starts[i + 1].first : std::max(total, from);
        const double mid = from + (end - from) / 2;
        const Station at = route.stationAt(mid);
        if (i > 0) out += ',';
        out += "{\"l\":" + num(from, kSampleDecimals) +
               ",\"v\":" + num(at.value - (mid - from), kSampleDecimals) +
               ",\"o\":" + std::to_string(at.occurrence) +
               (starts[i].second ? ",\"open\":true}" : "}");
    }
    return out + ']';
}

struct Origin {
    double x = 0.0;
    double y = 0.0;
};

// The page's data: samples, numbering, key points, intersection points, station ticks and
// the profile's grade-change points, in local coordinates about `origin`.
std::string dataJson(const Route& route, const Sampling& sampling, const Origin& origin,
                     const ReportOptions& options) {
    const auto& d = route.description();
    std::string s, x, y, b, z, g;
    for (std::size_t i = 0; i < sampling.lengths.size(); ++i) {
        const double l = sampling.lengths[i];
        const qv::route::RoutePoint p = route.pointAtLength(l);
        const char* sep = i > 0 ? "," : "";
        s += sep + num(l, kSampleDecimals);
        x += sep + num(p.x - origin.x, kSampleDecimals);
        y += sep + num(p.y - origin.y, kSampleDecimals);
        b += sep + num(p.bearing, kBearingDecimals);
        z += sep + num(route.elevationAtLength(l), kSampleDecimals);
        g += sep + num(route.gradeAtLength(l), kGradeDecimals);
    }
    std::ostringstream out;
    out << "{\"name\":" << quote(d.name)
        << ",\"frame\":" << (d.frame == qv::route::Frame::NE ? "\"NE\"" : "\"XY\"")
        << ",\"stationStyle\":"
        << (options.format.station == qv::route::StationStyle::K    ? "\"k\""
            : options.format.station == qv::route::StationStyle::US ? "\"us\""
                                                                    : "\"plain\"")
        << ",\"decimals\":" << options.format.decimals << ",\"origin\":[" << num(origin.x, 3) << ','
        << num(origin.y, 3) << "],\"length\":" << num(route.length(), kSampleDecimals)
        << ",\"samples\":{\"s\":[" << s << "],\"x\":[" << x << "],\"y\":[" << y << "],\"b\":[" << b
        << "],\"z\":[" << z << "],\"g\":[" << g << "]}"
        << ",\"numbering\":" << numberingJson(route);

    // Element kinds by start length, for the plan's colours: straight, arc or transition.
    out << ",\"elements\":[";
    for (std::size_t i = 0; i < route.elements().size(); ++i) {
        const int kind = route.elements()[i].curveType;
        const bool arc = kind == static_cast<int>(qv::route::ElementKind::Arc) ||
                         kind == static_cast<int>(qv::route::ElementKind::DesignArc);
        const char* name = kind == static_cast<int>(qv::route::ElementKind::Line) ? "line"
                           : arc                                                  ? "arc"
                                                                                  : "spiral";
        out << (i ? "," : "") << "{\"l\":" << num(route.elementStart(i), kSampleDecimals)
            << ",\"kind\":\"" << name << "\"}";
    }
    out << ']';

    out << ",\"keyPoints\":[";
    bool first = true;
    for (const auto& kp : route.keyPoints(true, false)) {
        const qv::route::RoutePoint p = route.pointAtLength(kp.length);
        out << (first ? "" : ",") << "{\"l\":" << num(kp.length, kSampleDecimals)
            << ",\"x\":" << num(p.x - origin.x, kSampleDecimals)
            << ",\"y\":" << num(p.y - origin.y, kSampleDecimals)
            << ",\"code\":" << quote(qv::route::keyPointCode(kp.type))
            << ",\"label\":" << quote(kp.label) << '}';
        first = false;
    }

    // Intersection points with the names the curve table uses.
    std::map<std::size_t, std::string> curveNames;
    for (const auto& c : route.curves()) {
        if (c.fromIntersectionPoint) curveNames[c.pointIndex] = c.name;
    }
    out << "],\"intersections\":[";
    const auto& points = d.horizontal.points;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto found = curveNames.find(i);
        const std::string name = !points[i].name.empty()
                                     ? points[i].name
                                     : (found != curveNames.end() ? found->second : std::string());
        out << (i ? "," : "") << "{\"x\":" << num(points[i].x - origin.x, kSampleDecimals)
            << ",\"y\":" << num(points[i].y - origin.y, kSampleDecimals)
            << ",\"name\":" << quote(name) << '}';
    }

    // Round stations: minor ticks, every kMinorPerMajor-th one labelled; the interval grows
    // until the ticks of every numbering (many short ones behind many equations) stay few.
    qv::route::TableRequest ticks;
    ticks.horizontalKeyPoints = false;
    ticks.interval = 0;  // none, when even the widest interval gives too many
    for (const double major : kNiceIntervals) {
        if (route.length() / major > kMaxMajorTicks) continue;
        qv::route::TableRequest trial = ticks;
        trial.interval = major / kMinorPerMajor;
        if (route.countTableRows(trial) <= kMaxTicks) {
            ticks = trial;
            break;
        }
    }
    out << "],\"ticks\":[";
    first = true;
    route.forEachTableRow(ticks, [&](const qv::route::TableRow& row) {
        if (!row.label.empty()) return;
        const qv::route::RoutePoint p = route.pointAtLength(row.length);
        const double units = row.station.value / ticks.interval;  // > 0: rows exist
        const bool isMajor = std::fmod(std::round(units), kMinorPerMajor) == 0;
        out << (first ? "" : ",") << "{\"l\":" << num(row.length, kSampleDecimals)
            << ",\"x\":" << num(p.x - origin.x, kSampleDecimals)
            << ",\"y\":" << num(p.y - origin.y, kSampleDecimals)
            << ",\"b\":" << num(p.bearing, kBearingDecimals)
            << ",\"major\":" << (isMajor ? "true" : "false") << ",\"text\":"
            << quote(qv::route::formatStation(row.station, options.format.station, 0)) << '}';
        first = false;
    });

    // Grade-change points: the ends of the profile and every point between.
    std::map<std::size_t, std::string> pviNames;
    for (const auto& vc : route.verticalCurves()) pviNames[vc.pointIndex] = vc.name;
    out << "],\"pvi\":[";
    first = true;
    for (std::size_t i = 0; i < d.profile.size(); ++i) {
        const auto l = route.lengthAt(d.profile[i].station);
        if (!l) continue;
        const auto found = pviNames.find(i);
        const std::string name = !d.profile[i].name.empty()
                                     ? d.profile[i].name
                                     : (found != pviNames.end() ? found->second : std::string());
        out << (first ? "" : ",") << "{\"l\":" << num(*l, kSampleDecimals)
            << ",\"z\":" << num(d.profile[i].elevation, kSampleDecimals)
            << ",\"name\":" << quote(name) << '}';
        first = false;
    }
    out << "]}";
    return out.str();
}

// ---- tables ----------------------------------------------------------------------------------

class HtmlTable {
public:
    HtmlTable(std::string title, std::vector<std::string> header)
        : title_(std::move(title)), header_(std::move(header)) {}
    void row(const std::vector<std::string>& cells, const std::vector<bool>& numeric) {
        body_ += "<tr>";
        for (std::size_t i = 0; i < cells.size(); ++i) {
            body_ += numeric[i] ? "<td class=\"n\">" : "<td class=\"t\">";
            body_ += escapeHtml(cells[i]) + "</td>";
        }
        body_ += "</tr>\n";
        ++rows_;
    }
    std::string html() const {
        std::string out = "<section class=\"table-block\">\n<h2>" + escapeHtml(title_) + "</h2>\n";
        if (rows_ == 0) return out + "<p class=\"note\">None on this route.</p>\n</section>\n";
        out += "<table><thead><tr>";
        for (const auto& h : header_) out += "<th>" + escapeHtml(h) + "</th>";
        return out + "</tr></thead>\n<tbody>\n" + body_ + "</tbody></table>\n</section>\n";
    }

private:
    std::string title_;
    std::vector<std::string> header_;
    std::string body_;
    std::size_t rows_ = 0;
};

struct Writer {
    const Route& route;
    const FormatOptions& format;
    qv::route::Frame frame;

    int decimals() const { return format.decimals; }
    // Lengths of parts a curve may lack (transitions, tangents) stay blank when zero.
    std::string len(double v) const {
        return std::isfinite(v) && v != 0 ? fixed(v, format.decimals) : "";
    }
    std::string st(double length) const { return stationText(route.stationAt(length), format); }
    std::string percent(double grade) const { return fixed(grade * kPercent, format.decimals); }
};

std::string curveTable(const Writer& w) {
    const std::string px = std::string("PI ") + xName(w.frame);
    const std::string py = std::string("PI ") + yName(w.frame);
    HtmlTable t("Curve table", {"Curve", "Deflection", "R", "L1", "L2", "A1", "A2", "T1", "T2", "L",
                                "E", "TS / PC", "SC", "CS", "ST / PT", px, py});
    const std::vector<bool> numeric{false, true, true, true, true, true, true, true, true,
                                    true,  true, true, true, true, true, true, true};
    for (const auto& c : w.route.curves()) {
        const bool pi = c.fromIntersectionPoint;
        const int turn = c.deflection > 0 ? 1 : c.deflection < 0 ? -1 : 0;
        t.row({c.name, angleText(c.deflection, w.format) + ' ' + turnText(turn, w.frame),
               std::isinf(c.radius) ? "∞" : fixed(c.radius, w.decimals()),
               w.len(c.inTransitionLength), w.len(c.outTransitionLength), w.len(c.inParameter),
               w.len(c.outParameter), pi ? w.len(c.inTangentLength) : "",
               pi ? w.len(c.outTangentLength) : "", w.len(c.curveLength),
               pi ? w.len(c.external) : "", w.st(c.startLength),
               c.inTransitionLength > 0 ? w.st(c.startLength + c.inTransitionLength) : "",
               c.outTransitionLength > 0 ? w.st(c.endLength - c.outTransitionLength) : "",
               w.st(c.endLength), pi ? fixed(c.intersection.x, w.decimals()) : "",
               pi ? fixed(c.intersection.y, w.decimals()) : ""},
              numeric);
    }
    return t.html();
}

std::string verticalTable(const Writer& w) {
    HtmlTable t("Vertical curve table",
                {"Point", "PVI station", "Elevation", "g1 %", "g2 %", "R", "T", "L", "E", "BVC",
                 "EVC", "High / low point", "Its elevation"});
    const std::vector<bool> numeric(13, true);
    for (const auto& vc : w.route.verticalCurves()) {
        const bool c = vc.hasCurve;
        t.row({vc.name, stationText(vc.station, w.format), fixed(vc.elevation, w.decimals()),
               w.percent(vc.grade1), w.percent(vc.grade2), c ? fixed(vc.radius, w.decimals()) : "",
               c ? fixed(vc.tangentLength, w.decimals()) : "",
               c ? fixed(2 * vc.tangentLength, w.decimals()) : "",
               c ? fixed(vc.external, w.decimals()) : "", c ? w.st(vc.startLength) : "",
               c ? w.st(vc.endLength) : "",
               vc.extremeLength ? w.st(*vc.extremeLength) + (vc.crest ? " high" : " low") : "",
               vc.extremeLength ? fixed(vc.extremeElevation, w.decimals()) : ""},
              numeric);
    }
    return t.html();
}

std::string equationTable(const Writer& w) {
    HtmlTable t("Station equations", {"Name", "Back", "Ahead", "Kind", "Length along route"});
    const std::vector<bool> numeric{false, true, true, false, true};
    for (const auto& eq : w.route.equations()) {
        const auto& e = eq.equation;
        const char* kind = !eq.isBreak ? "label" : e.ahead > e.back ? "short chain" : "long chain";
        t.row({e.name, fixed(e.back, w.decimals()), fixed(e.ahead, w.decimals()), kind,
               fixed(eq.length, w.decimals())},
              numeric);
    }
    return t.html();
}

std::string stakeoutTable(const Writer& w, const qv::route::TableRequest& request) {
    HtmlTable t("Stakeout table, every " + fixed(request.interval, w.decimals()),
                {"Station", "Point", xName(w.frame), yName(w.frame),
                 w.frame == qv::route::Frame::NE ? "Azimuth" : "Bearing", "Elevation"});
    const std::vector<bool> numeric{true, false, true, true, true, true};
    w.route.forEachTableRow(request, [&](const qv::route::TableRow& row) {
        const qv::route::RoutePoint p = w.route.pointAtLength(row.length);
        const double z = w.route.elevationAtLength(row.length);
        t.row({stationText(row.station, w.format), row.label, fixed(p.x, w.decimals()),
               fixed(p.y, w.decimals()), bearingText(p.bearing, w.format),
               std::isnan(z) ? "" : fixed(z, w.decimals())},
              numeric);
    });
    return t.html();
}

// The template with each @NAME@ replaced once; values are never scanned again, so a name in
// the data that looks like a marker stays text.
std::string fillTemplate(const std::string& page,
                         const std::map<std::string, std::string>& values) {
    std::string out;
    std::size_t i = 0;
    while (i < page.size()) {
        const std::size_t at = page.find('@', i);
        if (at == std::string::npos) break;
        out.append(page, i, at - i);
        const std::size_t end = page.find('@', at + 1);
        const auto found = end == std::string::npos
                               ? values.end()
                               : values.find(page.substr(at + 1, end - at - 1));
        if (found != values.end()) {
            out += found->second;
            i = end + 1;
        } else {
            out += '@';
            i = at + 1;
        }
    }
    out.append(page, i, std::string::npos);
    return out;
}

}  // namespace

std::string reportPage(const Route& route, const std::string& source,
                       const ReportOptions& options) {
    qv::route::TableRequest stakeout;
    stakeout.interval = options.interval;
    stakeout.verticalKeyPoints = true;
    const std::size_t rows = route.countTableRows(stakeout);
    if (rows > kMaxReportRows) {
        throw InputError(source + ": a stakeout table every " + fixed(options.interval, 3) +
                         " would have " + std::to_string(rows) + " rows, more than " +
                         std::to_string(kMaxReportRows) + "; choose a longer --interval");
    }
    const Sampling sampling = sampleLengths(route, source);
    const auto& d = route.description();
    const qv::route::RoutePoint start = route.pointAtLength(0.0);
    const Origin origin{std::floor(start.x / kOriginGrid) * kOriginGrid,
                        std::floor(start.y / kOriginGrid) * kOriginGrid};
    const Writer w{route, options.format, d.frame};
    const bool ne = d.frame == qv::route::Frame::NE;

    const std::string title = d.name.empty() ? source : d.name;
    std::string summary = "Length " + fixed(route.length(), w.decimals()) + ", stations " +
                          w.st(0.0) + " to " + w.st(route.length()) + ", " +
                          (ne ? "x = northing, y = easting (N, E)" : "x east, y north");
    if (!d.coordinateSystem.empty()) summary += ", " + d.coordinateSystem;
    const std::string note =
        "Readings come from " + std::to_string(sampling.lengths.size()) +
        " points of the route carried by this page, at most " +
        fixed(sampling.largestCurveSpacing > 0 ? sampling.largestCurveSpacing : kMaxSpacing, 2) +
        " m apart on curves: the station shown is within 1 cm of the route's for points up to " +
        fixed(kHoverReach, 0) + " m from the centre line" +
        (d.profile.empty() ? "" : ", and the design elevation within 1 mm") +
        ". Coordinates are kept relative to a local origin and shown in full.";

    const std::string tables =
        curveTable(w) + verticalTable(w) + equationTable(w) + stakeoutTable(w, stakeout);
    return fillTemplate(std::string(kReportPage, sizeof kReportPage),
                        {{"LANG", "en"},
                         {"TITLE", escapeHtml(title)},
                         {"SUMMARY", escapeHtml(summary)},
                         {"NOTE", escapeHtml(note)},
                         {"STYLE", std::string(kReportStyle, sizeof kReportStyle)},
                         {"SCRIPT", std::string(kReportScript, sizeof kReportScript)},
                         {"TABLES", tables},
                         {"DATA", dataJson(route, sampling, origin, options)}});
}

}  // namespace rcctool
