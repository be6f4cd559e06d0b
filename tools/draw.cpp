// The route drawing: plan (straights, transitions and arcs in their own colours, chainage
// ticks, intersection points, chainage breaks) above the profile (grade lines, vertical
// curves, grade-change points), written as PNG or SVG with cairo.
#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "commands.hpp"

namespace rcctool {

namespace {

constexpr double kMargin = 70.0;  // pixels round each panel, room for labels
constexpr double kTitleHeight = 40.0;
constexpr double kPanelGap = 50.0;
constexpr double kProfileShare = 0.32;  // profile panel height over image width
constexpr double kPlanMinShare = 0.30;  // plan panel height limits over image width
constexpr double kPlanMaxShare = 0.85;
constexpr double kFontSize = 13.0;
constexpr double kSmallFont = 10.5;
constexpr double kTickLength = 9.0;
constexpr double kLineWidth = 3.0;
constexpr double kThin = 1.0;
constexpr double kPointRadius = 4.5;
// Samples along the route: about this many in all, at most this far apart (metres).
constexpr double kTargetSamples = 1200.0;
constexpr double kMaxSpacing = 10.0;
constexpr int kMinSamplesPerElement = 4;
constexpr int kMaxTicks = 24;
constexpr std::size_t kMaxTicksDrawn = 10000;  // labels beyond this only blacken the plan
constexpr double kMaxGridLines = 8;
constexpr double kNiceTicks[] = {10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000};
using qv::route::ElementKind;
using qv::route::Route;

struct Colour {
    double r, g, b;
};
constexpr Colour kStraight{0.20, 0.20, 0.20};
constexpr Colour kTransition{0.95, 0.50, 0.05};
constexpr Colour kArcColour{0.10, 0.35, 0.85};
constexpr Colour kCompound{0.55, 0.20, 0.70};
constexpr Colour kTangent{0.60, 0.60, 0.60};
constexpr Colour kPoint{0.85, 0.10, 0.10};
constexpr Colour kBreak{0.80, 0.00, 0.60};
constexpr Colour kCrest{0.05, 0.60, 0.25};
constexpr Colour kSag{0.00, 0.55, 0.65};
constexpr Colour kText{0.10, 0.10, 0.10};
constexpr Colour kGrid{0.88, 0.88, 0.88};

Colour elementColour(int curveType) {
    switch (static_cast<ElementKind>(curveType)) {
        case ElementKind::Line:
            return kStraight;
        case ElementKind::Arc:
            return kArcColour;
        case ElementKind::InTransition:
        case ElementKind::OutTransition:
            return kTransition;
        default:
            return kCompound;
    }
}

struct Sample {
    double length, x, y, bearing, z;
    int element;
    bool hasZ;
};

// Maps plan coordinates (y up) and profile values onto the page.
struct Frame {
    double scale = 1, x0 = 0, y0 = 0, left = 0, bottom = 0;
    double px(double x) const { return left + (x - x0) * scale; }
    double py(double y) const { return bottom - (y - y0) * scale; }
};

// A plan position as drawn: east to the right, north up, and a direction counter-clockwise
// from east. In the NE frame x is the northing and bearings are azimuths clockwise from
// north, so the plan is north up there too.
struct PlanPosition {
    double east, north, angle;
};
PlanPosition onPlan(const Route& route, double x, double y, double bearing = 0.0) {
    if (route.description().frame == qv::route::Frame::NE) return {y, x, M_PI / 2 - bearing};
    return {x, y, bearing};
}

void setColour(cairo_t* cr, Colour c) { cairo_set_source_rgb(cr, c.r, c.g, c.b); }

void text(cairo_t* cr, double x, double y, const std::string& s, double size, Colour c,
          double angle = 0.0, bool centred = false) {
    cairo_save(cr);
    cairo_set_font_size(cr, size);
    setColour(cr, c);
    cairo_move_to(cr, x, y);
    cairo_rotate(cr, angle);
    if (centred) {
        cairo_text_extents_t ext;
        cairo_text_extents(cr, s.c_str(), &ext);
        cairo_rel_move_to(cr, -ext.width / 2, 0);
    }
    cairo_show_text(cr, s.c_str());
    cairo_restore(cr);
}

void dot(cairo_t* cr, double x, double y, double r, Colour c) {
    setColour(cr, c);
    cairo_new_path(cr);
    cairo_arc(cr, x, y, r, 0, 2 * M_PI);
    cairo_fill(cr);
}

std::vector<Sample> sampleRoute(const Route& route) {
    const double spacing = std::min(kMaxSpacing, route.length() / kTargetSamples);
    std::vector<Sample> samples;
    std::size_t total = 0;
    for (const RoadCurve& e : route.elements()) {
        total +=
            static_cast<std::size_t>(std::max<double>(kMinSamplesPerElement, e.length / spacing));
    }
    Progress progress("draw", total);
    for (std::size_t i = 0; i < route.elements().size(); ++i) {
        const double length = route.elements()[i].length;
        const int n =
            std::max(kMinSamplesPerElement, static_cast<int>(std::ceil(length / spacing)));
        for (int k = 0; k <= n; ++k) {
            progress.update(samples.size());
            const double at = route.elementStart(i) + length * k / n;
            const qv::route::RoutePoint p = route.pointAtLength(at);
            const PlanPosition q = onPlan(route, p.x, p.y, p.bearing);
            samples.push_back({at, q.east, q.north, q.angle, p.elevation, static_cast<int>(i),
                               !std::isnan(p.elevation)});
        }
    }
    return samples;
}

double pickTick(double total, double requested) {
    if (requested > 0) return requested;
    for (double t : kNiceTicks) {
        if (total / t <= kMaxTicks) return t;
    }
    return kNiceTicks[std::size(kNiceTicks) - 1];
}

// Whole-metre station for labels: "K1+200" or "1200".
std::string tickLabel(qv::route::Station station, const FormatOptions& format) {
    FormatOptions whole = format;
    whole.decimals = 0;
    return stationText(station, whole);
}

// Round stations at the tick interval in each numbering (the i-th computed from i).
std::vector<qv::route::TableRow> ticks(const Route& route, double tick) {
    qv::route::TableRequest request;
    request.interval = tick;
    request.horizontalKeyPoints = false;
    std::vector<qv::route::TableRow> rows;
    route.forEachTableRow(request,
                          [&rows](const qv::route::TableRow& row) { rows.push_back(row); });
    return rows;
}

std::string pointName(const std::string& name, const char* prefix, std::size_t i) {
    return name.empty() ? prefix + std::to_string(i) : name;
}

void drawPlan(cairo_t* cr, const Route& route, const std::vector<Sample>& samples, double top,
              double width, double height, double tick, const FormatOptions& format) {
    double minX = std::numeric_limits<double>::infinity(), maxX = -minX, minY = minX, maxY = -minX;
    auto extend = [&](double x, double y) {
        minX = std::min(minX, x);
        maxX = std::max(maxX, x);
        minY = std::min(minY, y);
        maxY = std::max(maxY, y);
    };
    for (const Sample& s : samples) extend(s.x, s.y);
    const auto& points = route.description().horizontal.points;
    std::vector<PlanPosition> corners;  // the intersection points on the plan
    for (const qv::route::IntersectionPoint& p : points) corners.push_back(onPlan(route, p.x, p.y));
    for (const PlanPosition& p : corners) extend(p.east, p.north);
    Frame f;
    const double spanX = std::max(maxX - minX, 1.0);
    const double spanY = std::max(maxY - minY, 1.0);
    f.scale = std::min((width - 2 * kMargin) / spanX, (height - 2 * kMargin) / spanY);
    // Centre the drawing in the panel.
    f.left = (width - spanX * f.scale) / 2;
    f.bottom = top + height - (height - spanY * f.scale) / 2;
    f.x0 = minX;
    f.y0 = minY;

    // Tangent polygon and intersection points.
    if (!points.empty()) {
        const double dashes[] = {6.0, 4.0};
        cairo_set_dash(cr, dashes, 2, 0);
        cairo_set_line_width(cr, kThin);
        setColour(cr, kTangent);
        cairo_new_path(cr);
        for (const PlanPosition& p : corners) cairo_line_to(cr, f.px(p.east), f.py(p.north));
        cairo_stroke(cr);
        cairo_set_dash(cr, nullptr, 0, 0);
    }
    // The centre line, one stroke per element in its kind's colour.
    cairo_set_line_width(cr, kLineWidth);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    for (std::size_t i = 0; i < samples.size();) {
        const int element = samples[i].element;
        setColour(cr, elementColour(route.elements()[static_cast<std::size_t>(element)].curveType));
        cairo_new_path(cr);
        for (; i < samples.size() && samples[i].element == element; ++i) {
            cairo_line_to(cr, f.px(samples[i].x), f.py(samples[i].y));
        }
        cairo_stroke(cr);
    }
    for (std::size_t i = 1; i + 1 < points.size(); ++i) {
        const qv::route::IntersectionPoint& p = points[i];
        const PlanPosition& c = corners[i];
        dot(cr, f.px(c.east), f.py(c.north), kPointRadius, kPoint);
        text(cr, f.px(c.east) + kPointRadius + 2, f.py(c.north) - kPointRadius - 2,
             pointName(p.name, "JD", i), kFontSize, kPoint);
    }
    // Chainage ticks across the line, labelled on the side of bearing - 90 degrees.
    cairo_set_line_width(cr, kThin * 1.5);
    for (const qv::route::TableRow& row : ticks(route, tick)) {
        const qv::route::RoutePoint p = route.pointAtLength(row.length);
        const PlanPosition q = onPlan(route, p.x, p.y, p.bearing);
        const double x = q.east, y = q.north, b = q.angle;
        // Page y points down, so the page normal of plan bearing b is (sin b, cos b).
        const double nx = std::sin(b), ny = std::cos(b);
        setColour(cr, kText);
        cairo_new_path(cr);
        cairo_move_to(cr, f.px(x) - nx * kTickLength, f.py(y) - ny * kTickLength);
        cairo_line_to(cr, f.px(x) + nx * kTickLength, f.py(y) + ny * kTickLength);
        cairo_stroke(cr);
        text(cr, f.px(x) + nx * (kTickLength + 3), f.py(y) + ny * (kTickLength + 3),
             tickLabel(row.station, format), kSmallFont, kText, -b + M_PI / 2);
    }
    // Chainage breaks.
    for (const qv::route::EquationInfo& e : route.equations()) {
        if (!e.isBreak || e.length < 0 || e.length > route.length()) continue;
        const qv::route::RoutePoint p = route.pointAtLength(e.length);
        const PlanPosition q = onPlan(route, p.x, p.y, p.bearing);
        const double x = q.east, y = q.north, b = q.angle;
        dot(cr, f.px(x), f.py(y), kPointRadius + 1, kBreak);
        // Along the line on the side away from the tick labels, never upside down.
        const double away = kTickLength + kSmallFont;
        text(cr, f.px(x) - std::sin(b) * away, f.py(y) - std::cos(b) * away,
             std::string(e.equation.ahead > e.equation.back ? "short chain " : "long chain ") +
                 stationText({e.equation.back, 1}, format) + " = " +
                 stationText({e.equation.ahead, 1}, format),
             kSmallFont, kBreak, std::cos(b) < 0 ? M_PI - b : -b);
    }
    // Legend.
    double ly = top + kFontSize;
    for (auto [name, colour] : {std::pair<const char*, Colour>{"straight", kStraight},
                                {"transition", kTransition},
                                {"arc", kArcColour},
                                {"intersection point", kPoint}}) {
        setColour(cr, colour);
        cairo_rectangle(cr, kMargin / 2, ly - kFontSize + 3, 18, kFontSize - 4);
        cairo_fill(cr);
        text(cr, kMargin / 2 + 24, ly, name, kFontSize, kText);
        ly += kFontSize + 5;
    }
}

void drawProfile(cairo_t* cr, const Route& route, const std::vector<Sample>& samples, double top,
                 double width, double height, double exaggeration, double tick,
                 const FormatOptions& format) {
    const double left = kMargin, right = width - kMargin / 2;
    const double bottom = top + height - kMargin / 2;
    const double plotTop = top + kFontSize * 2;
    const double hScale = (right - left) / std::max(route.length(), 1.0);
    double minZ = std::numeric_limits<double>::infinity(), maxZ = -minZ;
    for (const Sample& s : samples) {
        if (!s.hasZ) continue;
        minZ = std::min(minZ, s.z);
        maxZ = std::max(maxZ, s.z);
    }
    const auto& grades = route.description().profile;
    std::vector<double> bpLength;
    for (const qv::route::GradePoint& p : grades) {
        bpLength.push_back(route.lengthAt(p.station).value_or(0.0));
        minZ = std::min(minZ, p.elevation);
        maxZ = std::max(maxZ, p.elevation);
    }
    if (!(maxZ >= minZ)) {
        text(cr, left, top + kFontSize, "Profile: none in this route", kFontSize, kText);
        return;
    }
    // Vertical scale: the requested exaggeration, or whatever fills the panel.
    constexpr double kHeadroom = 1.15;  // room above and below for the point labels
    const double fill = (bottom - plotTop) / (std::max(maxZ - minZ, 1.0) * kHeadroom);
    const double vScale = exaggeration > 0 ? std::min(hScale * exaggeration, fill) : fill;
    text(cr, left, top + kFontSize,
         "Profile, vertical scale " + fixed(vScale / hScale, 0) + " times the horizontal",
         kFontSize, kText);
    const double midZ = (minZ + maxZ) / 2, midY = (plotTop + bottom) / 2;
    auto px = [&](double length) { return left + length * hScale; };
    auto py = [&](double z) { return midY - (z - midZ) * vScale; };

    // Elevation grid at a 1-2-5 step that leaves a handful of lines in the visible range.
    const double visible = (bottom - plotTop) / vScale;
    double step = 0;
    for (double decade = 1e-2; step == 0 && decade < 1e6; decade *= 10) {
        for (double m : {1.0, 2.0, 5.0}) {
            if (visible / (m * decade) <= kMaxGridLines) {
                step = m * decade;
                break;
            }
        }
    }
    cairo_set_line_width(cr, kThin);
    for (double z = std::ceil((midZ - (bottom - midY) / vScale) / step) * step;
         py(z) >= plotTop - 1e-9; z += step) {
        setColour(cr, kGrid);
        cairo_new_path(cr);
        cairo_move_to(cr, left, py(z));
        cairo_line_to(cr, right, py(z));
        cairo_stroke(cr);
        text(cr, 4, py(z) + 4, fixed(z, step < 1 ? 1 : 0), kSmallFont, kText);
    }
    for (const qv::route::TableRow& row : ticks(route, tick)) {
        setColour(cr, kGrid);
        cairo_new_path(cr);
        cairo_move_to(cr, px(row.length), plotTop);
        cairo_line_to(cr, px(row.length), bottom);
        cairo_stroke(cr);
        text(cr, px(row.length), bottom + 14, tickLabel(row.station, format), kSmallFont, kText, 0,
             true);
    }
    // Grade lines through the grade-change points, dashed.
    const double dashes[] = {6.0, 4.0};
    cairo_set_dash(cr, dashes, 2, 0);
    setColour(cr, kTangent);
    cairo_new_path(cr);
    for (std::size_t i = 0; i < bpLength.size(); ++i) {
        cairo_line_to(cr, px(bpLength[i]), py(grades[i].elevation));
    }
    cairo_stroke(cr);
    cairo_set_dash(cr, nullptr, 0, 0);
    // Design line: vertical curves coloured crest or sag, grade lines dark.
    std::vector<std::pair<double, double>> curveRanges;  // lengths of each vertical curve
    std::vector<bool> curveIsCrest;
    for (const qv::route::VerticalCurveInfo& v : route.verticalCurves()) {
        if (!v.hasCurve) continue;
        curveRanges.emplace_back(v.startLength, v.endLength);
        curveIsCrest.push_back(v.crest);
    }
    auto colourAt = [&](double length) {
        for (std::size_t k = 0; k < curveRanges.size(); ++k) {
            if (length >= curveRanges[k].first && length <= curveRanges[k].second) {
                return curveIsCrest[k] ? kCrest : kSag;
            }
        }
        return kStraight;
    };
    cairo_set_line_width(cr, kLineWidth);
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (!samples[i - 1].hasZ || !samples[i].hasZ) continue;
        setColour(cr, colourAt((samples[i - 1].length + samples[i].length) / 2));
        cairo_new_path(cr);
        cairo_move_to(cr, px(samples[i - 1].length), py(samples[i - 1].z));
        cairo_line_to(cr, px(samples[i].length), py(samples[i].z));
        cairo_stroke(cr);
    }
    for (std::size_t i = 1; i + 1 < grades.size(); ++i) {
        const double x = px(bpLength[i]), y = py(grades[i].elevation);
        dot(cr, x, y, kPointRadius, kPoint);
        // Above a crest's point, below a sag's, clear of the curve itself.
        bool sag = false;
        for (const qv::route::VerticalCurveInfo& v : route.verticalCurves()) {
            if (v.pointIndex == i) sag = v.grade2 > v.grade1;
        }
        text(cr, x, sag ? y + kFontSize + 6 : y - 10, pointName(grades[i].name, "BP", i), kFontSize,
             kPoint, 0, true);
    }
    double ly = top + kFontSize;
    for (auto [name, colour] : {std::pair<const char*, Colour>{"grade line", kStraight},
                                {"crest curve", kCrest},
                                {"sag curve", kSag}}) {
        setColour(cr, colour);
        cairo_rectangle(cr, right - 130, ly - kFontSize + 3, 18, kFontSize - 4);
        cairo_fill(cr);
        text(cr, right - 106, ly, name, kFontSize, kText);
        ly += kFontSize + 5;
    }
}

void drawAll(cairo_t* cr, const Route& route, const std::string& name,
             const std::vector<Sample>& samples, double width, double planHeight,
             double profileHeight, const DrawOptions& options, const FormatOptions& format) {
    setColour(cr, {1, 1, 1});
    cairo_paint(cr);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    const double tick = pickTick(route.length(), options.tick);
    const std::string title = name + "  -  " + fixed(route.length(), 1) + " m, from " +
                              stationText(route.startStation(), format);
    text(cr, width / 2, kTitleHeight * 0.7, title, kFontSize * 1.3, kText, 0, true);
    drawPlan(cr, route, samples, kTitleHeight, width, planHeight, tick, format);
    drawProfile(cr, route, samples, kTitleHeight + planHeight + kPanelGap, width, profileHeight,
                options.exaggeration, tick, format);
}

bool endsWith(const std::string& s, const std::string& suffix) {
    return s.size() >= suffix.size() &&
           s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

void drawRoute(const Route& route, const std::string& title, const std::string& path,
               const DrawOptions& options, const FormatOptions& format) {
    const bool svg = endsWith(path, ".svg");
    if (!svg && !endsWith(path, ".png")) {
        throw InputError(path + ": the drawing's file name must end in .png or .svg");
    }
    constexpr int kMinWidth = 400;
    constexpr int kMaxWidth = 10000;
    if (options.width < kMinWidth || options.width > kMaxWidth) {
        throw InputError("--width must lie between 400 and 10000");
    }
    if (!(options.tick >= 0) || !std::isfinite(options.tick)) {
        throw InputError("--tick must be a positive length (or 0 for automatic)");
    }
    qv::route::TableRequest ticksRequest;
    ticksRequest.interval = pickTick(route.length(), options.tick);
    ticksRequest.horizontalKeyPoints = false;
    const std::size_t tickCount = route.countTableRows(ticksRequest);
    if (tickCount > kMaxTicksDrawn) {
        throw InputError("--tick " + fixed(options.tick, 3) + " would draw " +
                         std::to_string(tickCount) + " station ticks, more than the " +
                         std::to_string(kMaxTicksDrawn) + " a drawing can hold");
    }
    const std::vector<Sample> samples = sampleRoute(route);
    const double width = options.width;
    // Plan height from the route's extent, within limits so that a long straight route
    // still gets room for labels and a compact one does not tower.
    double minX = std::numeric_limits<double>::infinity(), maxX = -minX, minY = minX, maxY = -minX;
    for (const Sample& s : samples) {
        minX = std::min(minX, s.x);
        maxX = std::max(maxX, s.x);
        minY = std::min(minY, s.y);
        maxY = std::max(maxY, s.y);
    }
    const double aspect = (maxY - minY) / std::max(maxX - minX, 1.0);
    const double planHeight = std::clamp((width - 2 * kMargin) * aspect + 2 * kMargin,
                                         width * kPlanMinShare, width * kPlanMaxShare);
    const double profileHeight = width * kProfileShare;
    const double height = kTitleHeight + planHeight + kPanelGap + profileHeight;

    writeFileAtomically(path, [&](const std::string& temporary) {
        cairo_surface_t* surface =
            svg ? cairo_svg_surface_create(temporary.c_str(), width, height)
                : cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width),
                                             static_cast<int>(std::ceil(height)));
        cairo_t* cr = cairo_create(surface);
        drawAll(cr, route, route.description().name.empty() ? title : route.description().name,
                samples, width, planHeight, profileHeight, options, format);
        cairo_destroy(cr);
        cairo_status_t status = cairo_surface_status(surface);
        if (status == CAIRO_STATUS_SUCCESS && !svg) {
            status = cairo_surface_write_to_png(surface, temporary.c_str());
        }
        cairo_surface_finish(surface);
        if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface);
        cairo_surface_destroy(surface);
        if (status != CAIRO_STATUS_SUCCESS) {
            throw OutputError("cannot write " + path + ": " + cairo_status_to_string(status));
        }
    });
}

}  // namespace rcctool
