// The route drawing: plan (coordinate grid, north arrow, scale bar, straights, transitions
// and arcs in their own colours, station ticks, key and intersection points, chainage
// breaks) above the profile (grade lines, vertical curves, grade-change points), written as
// PNG or SVG with cairo. Every label is placed where it covers no other label.
#include "draw.hpp"

#include <cairo-svg.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace rcctool {

namespace {

constexpr double kMargin = 70.0;  // pixels left of each panel, room for axis labels
constexpr double kTitleHeight = 40.0;
constexpr double kPanelGap = 50.0;
constexpr double kProfileShare = 0.32;  // profile panel height over image width
constexpr double kPlanMinShare = 0.30;  // plan panel height limits over image width
constexpr double kPlanMaxShare = 0.85;
// Least panel heights in pixels, so that a narrow page still has room for the legend's
// wrapped rows and a plot below them.
constexpr double kMinPlanHeight = 300.0;
constexpr double kMinProfileHeight = 260.0;
constexpr double kLegendHeight = 44.0;  // least room for the legend above the plan's frame
constexpr double kLegendRow = 20.0;
constexpr double kGridLabelRoom = 24.0;  // below the plan's frame, for the easting labels
constexpr double kPlanPadding = 45.0;    // between the route's extent and the frame
constexpr double kFontSize = 13.0;
constexpr double kSmallFont = 10.5;
constexpr double kTickLength = 9.0;
constexpr double kLineWidth = 3.0;
constexpr double kThin = 1.0;
constexpr double kPointRadius = 4.5;
constexpr double kLabelGap = 5.0;      // from a label's anchor to its nearest edge
constexpr double kLabelPadding = 2.0;  // clear space kept round every label
constexpr double kCornerInset = 10.0;  // north arrow and scale bar from the frame's corner
// Samples along the route: about this many in all by length, and on curved elements one
// more per degree of turn (at most a full circle's worth), so that arcs stay smooth
// however long the route is.
constexpr double kTargetSamples = 1200.0;
constexpr double kTurnPerSample = M_PI / 180;
constexpr double kMaxTurnSamples = 360;
constexpr int kMinSamplesPerElement = 4;
constexpr int kMaxTicks = 24;
constexpr std::size_t kMaxTicksDrawn = 10000;  // labels beyond this only blacken the plan
constexpr double kMaxGridLines = 8;
constexpr double kMinAutoTick = 10.0;  // metres; the automatic tick is a 1-2-5 value above it
// Noto Sans CJK (Debian's fonts-noto-cjk) carries Latin and CJK glyphs, so route and
// point names such as 某某路 show; without it fontconfig's default sans-serif is used.
constexpr const char* kFontFamily = "Noto Sans CJK SC";
constexpr const char* kFallbackFamily = "sans-serif";
using qv::route::ElementKind;
using qv::route::Route;

struct Colour {
    double r, g, b;
};
// Colours are named constants, so equal ones are the same constant: exact comparison.
bool operator==(Colour a, Colour b) { return a.r == b.r && a.g == b.g && a.b == b.b; }

constexpr Colour kStraight{0.20, 0.20, 0.20};
constexpr Colour kTransition{0.95, 0.50, 0.05};
constexpr Colour kArcColour{0.10, 0.35, 0.85};
constexpr Colour kCompound{0.55, 0.20, 0.70};  // clothoid between two radii
constexpr Colour kTangent{0.60, 0.60, 0.60};
constexpr Colour kPoint{0.85, 0.10, 0.10};
constexpr Colour kBreak{0.80, 0.00, 0.60};
constexpr Colour kKeyPoint{0.10, 0.10, 0.10};
constexpr Colour kCrest{0.05, 0.60, 0.25};
constexpr Colour kSag{0.00, 0.55, 0.65};
constexpr Colour kText{0.10, 0.10, 0.10};
constexpr Colour kGrid{0.86, 0.86, 0.86};
constexpr Colour kGridText{0.40, 0.40, 0.40};
constexpr Colour kWhite{1, 1, 1};

Colour elementColour(int curveType) {
    switch (static_cast<ElementKind>(curveType)) {
        case ElementKind::Line:
            return kStraight;
        case ElementKind::Arc:
        case ElementKind::DesignArc:
            return kArcColour;
        case ElementKind::InTransition:
        case ElementKind::OutTransition:
            return kTransition;
        default:
            return kCompound;
    }
}

const char* elementKindName(Colour c) {
    if (c == kStraight) return "straight";
    if (c == kArcColour) return "arc";
    if (c == kTransition) return "transition";
    return "transition between radii";
}

// The font for every text: Noto Sans CJK when fontconfig has it, else its default sans.
const char* fontFamily() {
    static const char* const family = [] {
        FcPattern* pattern = FcNameParse(reinterpret_cast<const FcChar8*>(kFontFamily));
        FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
        FcDefaultSubstitute(pattern);
        FcResult result = FcResultNoMatch;
        FcPattern* match = FcFontMatch(nullptr, pattern, &result);
        FcChar8* found = nullptr;
        bool present = false;
        if (match && FcPatternGetString(match, FC_FAMILY, 0, &found) == FcResultMatch) {
            present = std::string(reinterpret_cast<const char*>(found)) == kFontFamily;
        }
        if (match) FcPatternDestroy(match);
        FcPatternDestroy(pattern);
        return present ? kFontFamily : kFallbackFamily;
    }();
    return family;
}

struct Sample {
    double length, x, y, bearing, z;
    int element;
    bool hasZ;
};

// Maps plan coordinates (north up) onto the page, whose y grows downwards.
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

// An axis-aligned box on the page.
struct Box {
    double left, top, right, bottom;
    bool intersects(const Box& o) const {
        return left < o.right && o.left < right && top < o.bottom && o.top < bottom;
    }
    bool inside(const Box& o) const {
        return left >= o.left && right <= o.right && top >= o.top && bottom <= o.bottom;
    }
    Box grown(double d) const { return {left - d, top - d, right + d, bottom + d}; }
};

// What is already on the page (labels, symbols, the drawn lines), in square cells so that
// a new label is checked only against its neighbours however many ticks the route has.
class Occupancy {
public:
    void add(const Box& b) {
        if (!fits(b)) return;
        forCells(b, [&](long long key) { cells_[key].push_back(b); });
    }
    // How many taken boxes `b` touches (a box spanning cells may be counted more than once);
    // a box that is not finite or larger than any page counts as covered.
    std::size_t count(const Box& b) const {
        if (!fits(b)) return std::numeric_limits<std::size_t>::max();
        std::size_t n = 0;
        forCells(b, [&](long long key) {
            const auto it = cells_.find(key);
            if (it == cells_.end()) return;
            for (const Box& o : it->second) n += o.intersects(b) ? 1 : 0;
        });
        return n;
    }
    bool isFree(const Box& b) const { return count(b) == 0; }

private:
    static constexpr double kCell = 40.0;            // pixels
    static constexpr long long kStride = 1LL << 24;  // cells per row of the key space
    static constexpr double kMaxExtent = 1e6;        // pixels; far beyond any page
    static bool fits(const Box& b) {
        return b.left >= -kMaxExtent && b.right <= kMaxExtent && b.top >= -kMaxExtent &&
               b.bottom <= kMaxExtent && b.left <= b.right && b.top <= b.bottom;
    }
    template <class F>
    void forCells(const Box& b, F f) const {
        const auto cell = [](double v) { return static_cast<long long>(std::floor(v / kCell)); };
        for (long long i = cell(b.left); i <= cell(b.right); ++i) {
            for (long long j = cell(b.top); j <= cell(b.bottom); ++j) f(i * kStride + j);
        }
    }
    std::unordered_map<long long, std::vector<Box>> cells_;
};

struct TextSize {
    double width, ascent, descent;
    double height() const { return ascent + descent; }
};

// The page being drawn: cairo, what is taken, and the record of placed labels and colours.
struct Canvas {
    cairo_t* cr;
    DrawingLayout* layout;
    Occupancy taken;
    std::vector<Colour> planColours;    // drawn in the plan
    std::vector<Colour> legendColours;  // named by the plan's legend
};

void setColour(cairo_t* cr, Colour c) { cairo_set_source_rgb(cr, c.r, c.g, c.b); }

void usePlanColour(Canvas& c, Colour colour) {
    setColour(c.cr, colour);
    if (std::find(c.planColours.begin(), c.planColours.end(), colour) == c.planColours.end()) {
        c.planColours.push_back(colour);
    }
}

// The text with every byte that does not start a well-formed UTF-8 character replaced by
// '?': cairo refuses ill-formed text and would then draw nothing more on the page.
std::string wellFormed(const std::string& s) {
    std::string out;
    for (std::size_t i = 0; i < s.size();) {
        const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
        const unsigned char b = byte(i);
        // Length of the sequence and the smallest code point it may encode (no overlongs).
        const std::size_t n = b < 0x80           ? 1
                              : (b >> 5) == 0x6  ? 2
                              : (b >> 4) == 0xE  ? 3
                              : (b >> 3) == 0x1E ? 4
                                                 : 0;
        const char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
        bool ok = n > 0 && i + n <= s.size();
        char32_t code = n == 1 ? b : b & (0x7F >> n);
        for (std::size_t k = 1; ok && k < n; ++k) {
            ok = (byte(i + k) & 0xC0) == 0x80;
            code = (code << 6) | (byte(i + k) & 0x3F);
        }
        ok = ok && code >= least[n] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
        out += ok ? s.substr(i, n) : "?";
        i += ok ? n : 1;
    }
    return out;
}

TextSize measure(cairo_t* cr, const std::string& s, double size) {
    cairo_set_font_size(cr, size);
    cairo_text_extents_t ext;
    cairo_text_extents(cr, wellFormed(s).c_str(), &ext);
    cairo_font_extents_t font;
    cairo_font_extents(cr, &font);
    return {ext.x_advance, font.ascent, font.descent};
}

// Draws a label into its box and records it as taken.
void putLabel(Canvas& c, const std::string& s, double size, Colour colour, const Box& box,
              double ascent) {
    cairo_set_font_size(c.cr, size);
    setColour(c.cr, colour);
    cairo_move_to(c.cr, box.left, box.top + ascent);
    const std::string text = wellFormed(s);
    cairo_show_text(c.cr, text.c_str());
    c.taken.add(box.grown(kLabelPadding));
    c.layout->labels.push_back({text, box.left, box.top, box.right, box.bottom});
}

// Places a label in the first of the given boxes (each the label's own size) that lies in
// `bounds` and touches nothing; returns the box used, or nothing when all are taken.
std::optional<Box> placeFirst(Canvas& c, const std::string& s, double size, Colour colour,
                              const std::vector<Box>& candidates, const Box& bounds,
                              double ascent) {
    for (const Box& b : candidates) {
        if (b.inside(bounds) && c.taken.isFree(b.grown(kLabelPadding))) {
            putLabel(c, s, size, colour, b, ascent);
            return b;
        }
    }
    return std::nullopt;
}

// The eight places round an anchor at `gap` from it, nearest first to the page direction
// `preferred` (radians, page y down): right, below right, below, ... of the anchor.
std::vector<Box> around(double ax, double ay, const TextSize& t, double gap, double preferred) {
    std::vector<std::pair<double, Box>> ranked;
    for (int k = 0; k < 8; ++k) {
        const double a = k * M_PI / 4;
        const double dx = std::round(std::cos(a)), dy = std::round(std::sin(a));
        const double cx = ax + dx * (gap + t.width / 2), cy = ay + dy * (gap + t.height() / 2);
        const double off = std::abs(std::remainder(a - preferred, 2 * M_PI));
        ranked.push_back(
            {off, {cx - t.width / 2, cy - t.height() / 2, cx + t.width / 2, cy + t.height() / 2}});
    }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& p, const auto& q) { return p.first < q.first; });
    std::vector<Box> boxes;
    for (const auto& r : ranked) boxes.push_back(r.second);
    return boxes;
}

// Places a label next to its anchor; when every near place is taken, farther out with a
// thin leader line back to the anchor (if `leader`), else leaves it out.
bool placeNear(Canvas& c, const std::string& s, double size, Colour colour, double ax, double ay,
               double preferred, const Box& bounds, double nearGap, bool leader) {
    const TextSize t = measure(c.cr, s, size);
    if (placeFirst(c, s, size, colour, around(ax, ay, t, nearGap, preferred), bounds, t.ascent)) {
        return true;
    }
    if (leader) {
        // Two rings farther out, at these many text heights.
        for (double rings : {2.5, 5.0}) {
            const double gap = nearGap + rings * t.height();
            const std::optional<Box> b =
                placeFirst(c, s, size, colour, around(ax, ay, t, gap, preferred), bounds, t.ascent);
            if (!b) continue;
            // From the anchor to the nearest point of the label's box.
            setColour(c.cr, colour);
            cairo_set_line_width(c.cr, kThin * 0.75);
            cairo_new_path(c.cr);
            cairo_move_to(c.cr, ax, ay);
            cairo_line_to(c.cr, std::clamp(ax, b->left, b->right),
                          std::clamp(ay, b->top, b->bottom));
            cairo_stroke(c.cr);
            return true;
        }
    }
    ++c.layout->omitted;
    return false;
}

// Marks a drawn line as taken, as boxes of its width every few pixels along it. A segment
// longer than any page (or not finite) is left unmarked rather than walked for ever.
void blockSegment(Canvas& c, double x0, double y0, double x1, double y1, double halfWidth) {
    constexpr double kMaxSteps = 1e5;
    const double steps = std::ceil(std::hypot(x1 - x0, y1 - y0) / halfWidth);
    if (!(steps <= kMaxSteps)) return;
    const int n = std::max(1, static_cast<int>(steps));
    for (int k = 0; k <= n; ++k) {
        const double x = x0 + (x1 - x0) * k / n, y = y0 + (y1 - y0) * k / n;
        c.taken.add({x - halfWidth, y - halfWidth, x + halfWidth, y + halfWidth});
    }
}

void dot(cairo_t* cr, double x, double y, double r, Colour c) {
    setColour(cr, c);
    cairo_new_path(cr);
    cairo_arc(cr, x, y, r, 0, 2 * M_PI);
    cairo_fill(cr);
}

// The 1-2-5 value nearest `v` from above (or, with `below`, from below).
double niceValue(double v, bool below) {
    const double decade = std::pow(10.0, std::floor(std::log10(v)));
    if (below) {
        for (double m : {5.0, 2.0, 1.0}) {
            if (m * decade <= v) return m * decade;
        }
        return decade;
    }
    for (double m : {1.0, 2.0, 5.0}) {
        if (m * decade >= v) return m * decade;
    }
    return 10 * decade;
}

// Digits after the point that a grid of this step needs.
int stepDecimals(double step) {
    return step >= 1 ? 0 : static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
}

// Segments to draw an element with: its share of the samples by length, plus one per
// degree its bearing can turn (length times the larger end curvature bounds the turn).
int segmentsOf(const RoadCurve& e, double spacing) {
    const double turn = e.length * std::max(std::abs(e.startCurvature), std::abs(e.endCurvature));
    return kMinSamplesPerElement + static_cast<int>(std::ceil(e.length / spacing)) +
           static_cast<int>(std::min(kMaxTurnSamples, std::ceil(turn / kTurnPerSample)));
}

std::vector<Sample> sampleRoute(const Route& route) {
    const double spacing = std::max(route.length(), 1.0) / kTargetSamples;
    std::vector<Sample> samples;
    std::size_t total = 0;
    for (const RoadCurve& e : route.elements()) {
        total += static_cast<std::size_t>(segmentsOf(e, spacing));
    }
    Progress progress("draw", total);
    for (std::size_t i = 0; i < route.elements().size(); ++i) {
        const double length = route.elements()[i].length;
        const int n = segmentsOf(route.elements()[i], spacing);
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

// The requested tick interval, or the round one that gives at most kMaxTicks.
double pickTick(double total, double requested) {
    if (requested > 0) return requested;
    return niceValue(std::max(total / kMaxTicks, kMinAutoTick), /*below=*/false);
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

// The route's extent on the plan: the centre line and the intersection points.
struct Extent {
    double minE, maxE, minN, maxN;
};
Extent planExtent(const Route& route, const std::vector<Sample>& samples) {
    const double inf = std::numeric_limits<double>::infinity();
    Extent e{inf, -inf, inf, -inf};
    auto extend = [&e](double east, double north) {
        e.minE = std::min(e.minE, east);
        e.maxE = std::max(e.maxE, east);
        e.minN = std::min(e.minN, north);
        e.maxN = std::max(e.maxN, north);
    };
    for (const Sample& s : samples) extend(s.x, s.y);
    for (const qv::route::IntersectionPoint& p : route.description().horizontal.points) {
        const PlanPosition q = onPlan(route, p.x, p.y);
        extend(q.east, q.north);
    }
    return e;
}

enum class Swatch { Line, Dashed, Dot, Ring };
struct LegendEntry {
    std::string name;
    Colour colour;
    Swatch swatch;
};

// Legend entries in a row from (x, baseline), wrapping below at `right`; returns the last
// row's baseline. Without `draw` it only measures.
double drawLegend(Canvas& c, const std::vector<LegendEntry>& entries, double x, double baseline,
                  double right, bool plan, bool draw = true) {
    constexpr double kSwatch = 20.0, kSwatchGap = 6.0, kEntryGap = 18.0;
    double at = x;
    for (const LegendEntry& e : entries) {
        const TextSize t = measure(c.cr, e.name, kFontSize);
        if (at > x && at + kSwatch + kSwatchGap + t.width > right) {
            at = x;
            baseline += kLegendRow;
        }
        const double textLeft = at + kSwatch + kSwatchGap;
        if (!draw) {
            at = textLeft + t.width + kEntryGap;
            continue;
        }
        const double mid = baseline - t.ascent / 3;  // half way up a lower-case letter
        setColour(c.cr, e.colour);
        cairo_new_path(c.cr);
        if (e.swatch == Swatch::Line || e.swatch == Swatch::Dashed) {
            const double dashes[] = {5.0, 3.0};
            if (e.swatch == Swatch::Dashed) cairo_set_dash(c.cr, dashes, 2, 0);
            cairo_set_line_width(c.cr, e.swatch == Swatch::Line ? kLineWidth : kThin);
            cairo_move_to(c.cr, at, mid);
            cairo_line_to(c.cr, at + kSwatch, mid);
            cairo_stroke(c.cr);
            cairo_set_dash(c.cr, nullptr, 0, 0);
        } else if (e.swatch == Swatch::Dot) {
            dot(c.cr, at + kSwatch / 2, mid, kPointRadius, e.colour);
        } else {
            cairo_set_line_width(c.cr, kThin * 1.5);
            cairo_arc(c.cr, at + kSwatch / 2, mid, kPointRadius - 1, 0, 2 * M_PI);
            cairo_stroke(c.cr);
        }
        if (plan) c.legendColours.push_back(e.colour);
        putLabel(c, e.name, kFontSize, kText,
                 {textLeft, baseline - t.ascent, textLeft + t.width, baseline + t.descent},
                 t.ascent);
        c.taken.add({at, baseline - t.ascent, textLeft, baseline + t.descent});
        at = textLeft + t.width + kEntryGap;
    }
    return baseline;
}

// The frame the plan is drawn in and the map from plan coordinates into it.
struct PlanGeometry {
    Box frame;
    Frame map;
};
PlanGeometry planGeometry(const Extent& e, double top, double frameTop, double width,
                          double height) {
    PlanGeometry g;
    g.frame = {kMargin, frameTop, width - kMargin / 2, top + height - kGridLabelRoom};
    const double frameW = g.frame.right - g.frame.left, frameH = g.frame.bottom - g.frame.top;
    const double spanE = std::max(e.maxE - e.minE, 1.0);
    const double spanN = std::max(e.maxN - e.minN, 1.0);
    g.map.scale =
        std::min((frameW - 2 * kPlanPadding) / spanE, (frameH - 2 * kPlanPadding) / spanN);
    // Centre the route in the frame.
    g.map.left = g.frame.left + (frameW - spanE * g.map.scale) / 2;
    g.map.bottom = g.frame.bottom - (frameH - spanN * g.map.scale) / 2;
    g.map.x0 = e.minE;
    g.map.y0 = e.minN;
    return g;
}

// Grid lines at a 1-2-5 step (the i-th line computed from i), labelled outside the frame:
// eastings (or x) below it, northings (or y) to its left.
void drawGrid(Canvas& c, const Route& route, const PlanGeometry& g, const Box& page) {
    const Frame& f = g.map;
    const double minE = f.x0 + (g.frame.left - f.left) / f.scale;
    const double maxE = f.x0 + (g.frame.right - f.left) / f.scale;
    const double minN = f.y0 + (f.bottom - g.frame.bottom) / f.scale;
    const double maxN = f.y0 + (f.bottom - g.frame.top) / f.scale;
    const double step =
        niceValue(std::max(maxE - minE, maxN - minN) / kMaxGridLines, /*below=*/false);
    const int decimals = stepDecimals(step);
    cairo_set_line_width(c.cr, kThin);
    setColour(c.cr, kGrid);
    cairo_rectangle(c.cr, g.frame.left, g.frame.top, g.frame.right - g.frame.left,
                    g.frame.bottom - g.frame.top);
    cairo_stroke(c.cr);
    const bool ne = route.description().frame == qv::route::Frame::NE;
    for (int axis = 0; axis < 2; ++axis) {
        const bool eastings = axis == 0;
        const double lo = eastings ? minE : minN, hi = eastings ? maxE : maxN;
        const double first = std::ceil(lo / step);
        // A 1-2-5 step above span / kMaxGridLines leaves at most that many lines (and one
        // more); the bound, and NaN failing `>= 0`, keep a degenerate scale from more.
        const double lines = std::floor(hi / step) - first + 1;
        const int count = lines >= 0 ? static_cast<int>(std::min(lines, kMaxGridLines + 1)) : 0;
        for (int i = 0; i < count; ++i) {
            const double v = (first + i) * step;
            const std::string label = fixed(v, decimals);
            const TextSize t = measure(c.cr, label, kSmallFont);
            setColour(c.cr, kGrid);
            cairo_new_path(c.cr);
            Box box;
            if (eastings) {
                cairo_move_to(c.cr, f.px(v), g.frame.top);
                cairo_line_to(c.cr, f.px(v), g.frame.bottom);
                box = {f.px(v) - t.width / 2, g.frame.bottom + 4, f.px(v) + t.width / 2,
                       g.frame.bottom + 4 + t.height()};
            } else {
                cairo_move_to(c.cr, g.frame.left, f.py(v));
                cairo_line_to(c.cr, g.frame.right, f.py(v));
                box = {g.frame.left - 4 - t.width, f.py(v) - t.height() / 2, g.frame.left - 4,
                       f.py(v) + t.height() / 2};
            }
            cairo_stroke(c.cr);
            if (!placeFirst(c, label, kSmallFont, kGridText, {box}, page, t.ascent)) {
                ++c.layout->omitted;
            }
        }
    }
    // Axis names: the easting's at the right end of its labels, the northing's above its.
    const std::string across = ne ? yName(route.description().frame) : "x";
    const std::string up = ne ? xName(route.description().frame) : "y";
    TextSize t = measure(c.cr, across, kFontSize);
    placeFirst(c, across, kFontSize, kText,
               {{g.frame.right + 4, g.frame.bottom + 2, g.frame.right + 4 + t.width,
                 g.frame.bottom + 2 + t.height()}},
               page, t.ascent);
    t = measure(c.cr, up, kFontSize);
    placeFirst(
        c, up, kFontSize, kText,
        {{g.frame.left - 4 - t.width, g.frame.top - t.height(), g.frame.left - 4, g.frame.top}},
        page, t.ascent);
}

// The corner of the frame, inset, for a box of the given size where the fewest things lie.
Box freeCorner(const Canvas& c, const Box& frame, double w, double h, const int order[4]) {
    Box best{};
    std::size_t fewest = std::numeric_limits<std::size_t>::max();
    for (int k = 0; k < 4; ++k) {
        const bool right = order[k] & 1, bottom = order[k] & 2;
        const double left = right ? frame.right - kCornerInset - w : frame.left + kCornerInset;
        const double top = bottom ? frame.bottom - kCornerInset - h : frame.top + kCornerInset;
        const Box b{left, top, left + w, top + h};
        const std::size_t n = c.taken.count(b);
        if (n < fewest) {
            fewest = n;
            best = b;
        }
    }
    return best;
}

// North arrow: north is up on the page in both frames.
void drawNorthArrow(Canvas& c, const Box& frame) {
    constexpr double kWidth = 24.0, kHeight = 56.0;
    const int order[4] = {1, 0, 3, 2};  // top right first, then top left, ...
    const Box b = freeCorner(c, frame, kWidth, kHeight, order);
    const double cx = (b.left + b.right) / 2;
    const TextSize t = measure(c.cr, "N", kFontSize);
    const double tip = b.top + t.height() + 2;
    setColour(c.cr, kText);
    cairo_new_path(c.cr);
    cairo_move_to(c.cr, cx, tip);
    cairo_line_to(c.cr, cx + kWidth / 2, b.bottom);
    cairo_line_to(c.cr, cx, b.bottom - kHeight / 5);
    cairo_close_path(c.cr);
    cairo_fill(c.cr);
    cairo_set_line_width(c.cr, kThin);
    cairo_move_to(c.cr, cx, tip);
    cairo_line_to(c.cr, cx - kWidth / 2, b.bottom);
    cairo_line_to(c.cr, cx, b.bottom - kHeight / 5);
    cairo_close_path(c.cr);
    cairo_stroke(c.cr);
    putLabel(c, "N", kFontSize, kText,
             {cx - t.width / 2, b.top, cx + t.width / 2, b.top + t.height()}, t.ascent);
    c.taken.add(b);
}

// Scale bar of a round length, at most a quarter of the frame wide, in two halves.
void drawScaleBar(Canvas& c, const Box& frame, double scale) {
    const double length = niceValue((frame.right - frame.left) / 4 / scale, /*below=*/true);
    const double w = length * scale, barHeight = 6.0;
    const std::string label = fixed(length, stepDecimals(length)) + " m";
    const TextSize t = measure(c.cr, label, kSmallFont);
    const double h = barHeight + 4 + t.height();
    const int order[4] = {2, 3, 0, 1};  // bottom left first, then bottom right, ...
    const Box b = freeCorner(c, frame, w + t.width / 2 + 4, h, order);
    const double y = b.bottom - barHeight;
    cairo_set_line_width(c.cr, kThin);
    for (int half = 0; half < 2; ++half) {
        cairo_rectangle(c.cr, b.left + half * w / 2, y, w / 2, barHeight);
        setColour(c.cr, half == 0 ? kText : kWhite);
        cairo_fill_preserve(c.cr);
        setColour(c.cr, kText);
        cairo_stroke(c.cr);
    }
    const TextSize zero = measure(c.cr, "0", kSmallFont);
    putLabel(c, "0", kSmallFont, kText,
             {b.left - zero.width / 2, b.top, b.left + zero.width / 2, b.top + t.height()},
             t.ascent);
    putLabel(c, label, kSmallFont, kText,
             {b.left + w - t.width / 2, b.top, b.left + w + t.width / 2, b.top + t.height()},
             t.ascent);
    c.taken.add(b);
}

// A label waiting for its place: the anchor on the page and the direction it prefers.
struct PendingLabel {
    std::string text;
    double x, y, preferred;
    Colour colour;
    double size;
    double gap;  // from the anchor to the label: clear of the point's own symbol
    bool leader;
};

// The plan's legend: the element kinds this route has, then the symbols it shows.
std::vector<LegendEntry> planLegend(const Route& route) {
    const auto& points = route.description().horizontal.points;
    bool hasBreak = false;
    for (const qv::route::EquationInfo& e : route.equations()) hasBreak = hasBreak || e.isBreak;
    std::vector<LegendEntry> legend;
    for (Colour kind : {kStraight, kTransition, kCompound, kArcColour}) {
        for (const RoadCurve& e : route.elements()) {
            if (elementColour(e.curveType) == kind) {
                legend.push_back({elementKindName(kind), kind, Swatch::Line});
                break;
            }
        }
    }
    if (!points.empty()) legend.push_back({"tangent", kTangent, Swatch::Dashed});
    if (points.size() > 2) legend.push_back({"intersection point", kPoint, Swatch::Dot});
    legend.push_back({"main point", kKeyPoint, Swatch::Ring});
    if (hasBreak) legend.push_back({"station equation", kBreak, Swatch::Dot});
    return legend;
}

void drawPlan(Canvas& c, const Route& route, const std::vector<Sample>& samples, double top,
              double width, double height, double tick, const FormatOptions& format) {
    cairo_t* cr = c.cr;
    const auto& points = route.description().horizontal.points;
    const std::vector<LegendEntry> legend = planLegend(route);
    // The frame starts below the legend, however many rows a narrow page gives it.
    const double legendEnd = drawLegend(c, legend, kMargin, top + kFontSize, width - kMargin / 2,
                                        /*plan=*/true, /*draw=*/false);
    const PlanGeometry g =
        planGeometry(planExtent(route, samples), top,
                     std::max(top + kLegendHeight, legendEnd + kLegendRow), width, height);
    const Frame& f = g.map;
    const Box page{0, top, width, top + height};
    drawLegend(c, legend, g.frame.left, top + kFontSize, g.frame.right, /*plan=*/true);
    std::vector<std::pair<double, double>> corners;  // the intersection points on the page
    for (const qv::route::IntersectionPoint& p : points) {
        const PlanPosition q = onPlan(route, p.x, p.y);
        corners.emplace_back(f.px(q.east), f.py(q.north));
    }
    const std::vector<qv::route::KeyPoint> keys = route.keyPoints(true, false);
    drawGrid(c, route, g, page);

    // Tangent polygon, dashed.
    if (!corners.empty()) {
        const double dashes[] = {6.0, 4.0};
        cairo_set_dash(cr, dashes, 2, 0);
        cairo_set_line_width(cr, kThin);
        usePlanColour(c, kTangent);
        cairo_new_path(cr);
        for (const auto& [x, y] : corners) cairo_line_to(cr, x, y);
        cairo_stroke(cr);
        cairo_set_dash(cr, nullptr, 0, 0);
        for (std::size_t i = 1; i < corners.size(); ++i) {
            blockSegment(c, corners[i - 1].first, corners[i - 1].second, corners[i].first,
                         corners[i].second, kThin);
        }
    }
    // The centre line, one stroke per element in its kind's colour.
    cairo_set_line_width(cr, kLineWidth);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    for (std::size_t i = 0; i < samples.size();) {
        const int element = samples[i].element;
        usePlanColour(c,
                      elementColour(route.elements()[static_cast<std::size_t>(element)].curveType));
        cairo_new_path(cr);
        for (; i < samples.size() && samples[i].element == element; ++i) {
            cairo_line_to(cr, f.px(samples[i].x), f.py(samples[i].y));
        }
        cairo_stroke(cr);
    }
    for (std::size_t i = 1; i < samples.size(); ++i) {
        blockSegment(c, f.px(samples[i - 1].x), f.py(samples[i - 1].y), f.px(samples[i].x),
                     f.py(samples[i].y), kLineWidth / 2);
    }

    // Labels are placed in order of importance: intersection points, equations, round
    // stations, then main points (which may move out on a leader where ticks cannot).
    std::vector<PendingLabel> pending;
    for (std::size_t i = 1; i + 1 < points.size(); ++i) {
        const auto [x, y] = corners[i];
        dot(cr, x, y, kPointRadius, kPoint);
        c.taken.add(Box{x, y, x, y}.grown(kPointRadius));
        // Outside the bend: away from both neighbouring points.
        const double ax = corners[i - 1].first - x, ay = corners[i - 1].second - y;
        const double bx = corners[i + 1].first - x, by = corners[i + 1].second - y;
        const double la = std::max(std::hypot(ax, ay), 1e-9),
                     lb = std::max(std::hypot(bx, by), 1e-9);
        const double outward = std::atan2(-(ay / la + by / lb), -(ax / la + bx / lb));
        pending.push_back({pointName(points[i].name, "JD", i), x, y, outward, kPoint, kFontSize,
                           kPointRadius + kLabelGap, true});
    }
    // Page y points down, so the page normal of plan direction b is (sin b, cos b); tick
    // labels go on that side, point and equation labels on the other.
    auto normalAngle = [](double b) { return std::atan2(std::cos(b), std::sin(b)); };
    for (const qv::route::EquationInfo& e : route.equations()) {
        if (!e.isBreak || e.length < 0 || e.length > route.length()) continue;
        const qv::route::RoutePoint p = route.pointAtLength(e.length);
        const PlanPosition q = onPlan(route, p.x, p.y, p.bearing);
        const double x = f.px(q.east), y = f.py(q.north);
        dot(cr, x, y, kPointRadius + 1, kBreak);
        usePlanColour(c, kBreak);
        c.taken.add(Box{x, y, x, y}.grown(kPointRadius + 1));
        pending.push_back(
            {stationText({e.equation.back, 1}, format) + " = " +
                 stationText({e.equation.ahead, 1}, format) +
                 (e.equation.ahead > e.equation.back ? " short chain" : " long chain"),
             x, y, normalAngle(q.angle) + M_PI, kBreak, kSmallFont, kPointRadius + 1 + kLabelGap,
             true});
    }
    cairo_set_line_width(cr, kThin * 1.5);
    const std::size_t firstKeyLabel = pending.size();
    for (const qv::route::KeyPoint& k : keys) {
        if (k.type == qv::route::KeyPointType::Equation || k.type == qv::route::KeyPointType::MC) {
            continue;
        }
        const qv::route::RoutePoint p = route.pointAtLength(k.length);
        const PlanPosition q = onPlan(route, p.x, p.y, p.bearing);
        const double x = f.px(q.east), y = f.py(q.north);
        cairo_new_path(cr);
        cairo_arc(cr, x, y, kPointRadius - 1, 0, 2 * M_PI);
        setColour(cr, kWhite);
        cairo_fill_preserve(cr);
        usePlanColour(c, kKeyPoint);
        cairo_stroke(cr);
        c.taken.add(Box{x, y, x, y}.grown(kPointRadius));
        pending.push_back(
            {std::string(qv::route::keyPointCode(k.type)) + " " + stationText(k.station, format), x,
             y, normalAngle(q.angle) + M_PI, kText, kSmallFont, kPointRadius + kLabelGap, true});
    }
    for (const qv::route::TableRow& row : ticks(route, tick)) {
        const qv::route::RoutePoint p = route.pointAtLength(row.length);
        const PlanPosition q = onPlan(route, p.x, p.y, p.bearing);
        const double x = f.px(q.east), y = f.py(q.north);
        const double nx = std::sin(q.angle), ny = std::cos(q.angle);
        setColour(cr, kText);
        cairo_new_path(cr);
        cairo_move_to(cr, x - nx * kTickLength, y - ny * kTickLength);
        cairo_line_to(cr, x + nx * kTickLength, y + ny * kTickLength);
        cairo_stroke(cr);
        blockSegment(c, x - nx * kTickLength, y - ny * kTickLength, x + nx * kTickLength,
                     y + ny * kTickLength, kThin);
        pending.push_back({tickLabel(row.station, format), x + nx * kTickLength,
                           y + ny * kTickLength, normalAngle(q.angle), kText, kSmallFont, kLabelGap,
                           false});
    }
    drawNorthArrow(c, g.frame);
    drawScaleBar(c, g.frame, f.scale);
    std::stable_partition(pending.begin() + static_cast<std::ptrdiff_t>(firstKeyLabel),
                          pending.end(), [](const PendingLabel& l) { return !l.leader; });
    for (const PendingLabel& l : pending) {
        placeNear(c, l.text, l.size, l.colour, l.x, l.y, l.preferred, g.frame, l.gap, l.leader);
    }
}

void drawProfile(Canvas& c, const Route& route, const std::vector<Sample>& samples, double top,
                 double width, double height, double exaggeration, double tick,
                 const FormatOptions& format) {
    cairo_t* cr = c.cr;
    const double left = kMargin, right = width - kMargin / 2;
    const double bottom = top + height - kMargin / 2;
    const Box page{0, top, width, top + height};
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
    auto heading = [&](const std::string& s) {
        const TextSize t = measure(cr, s, kFontSize);
        putLabel(c, s, kFontSize, kText, {left, top, left + t.width, top + t.height()}, t.ascent);
    };
    if (!(maxZ >= minZ)) {
        heading("Profile: none in this route");
        return;
    }
    // The legend follows the heading on its row when it fits there, else on rows below it.
    const std::vector<LegendEntry> legend = {{"grade line", kStraight, Swatch::Line},
                                             {"crest curve", kCrest, Swatch::Line},
                                             {"sag curve", kSag, Swatch::Line},
                                             {"tangent", kTangent, Swatch::Dashed},
                                             {"grade-change point", kPoint, Swatch::Dot}};
    auto headingText = [](const std::string& times) {
        return "Profile, vertical scale " + times + " times the horizontal";
    };
    constexpr double kLegendIndent = 40.0;
    double legendX = left + measure(cr, headingText("9999"), kFontSize).width + kLegendIndent;
    double legendBaseline = top + kFontSize;
    if (drawLegend(c, legend, legendX, legendBaseline, right, false, false) > legendBaseline) {
        legendX = left;
        legendBaseline += kLegendRow + 2 * kLabelPadding;  // clear of the heading's descenders
    }
    const double plotTop =
        drawLegend(c, legend, legendX, legendBaseline, right, false, false) + kFontSize * 2;
    // Vertical scale: the requested exaggeration, or whatever fills the panel.
    constexpr double kHeadroom = 1.15;  // room above and below for the point labels
    const double fill = (bottom - plotTop) / (std::max(maxZ - minZ, 1.0) * kHeadroom);
    const double vScale = exaggeration > 0 ? std::min(hScale * exaggeration, fill) : fill;
    heading(headingText(fixed(vScale / hScale, 0)));
    drawLegend(c, legend, legendX, legendBaseline, right, /*plan=*/false);
    const double midZ = (minZ + maxZ) / 2, midY = (plotTop + bottom) / 2;
    auto px = [&](double length) { return left + length * hScale; };
    auto py = [&](double z) { return midY - (z - midZ) * vScale; };

    // Axis names first, so that no value label covers them.
    for (const auto& [name, x, y] :
         {std::tuple<const char*, double, double>{"elevation", 4, plotTop - 2},
          {"station", 4, bottom + 2 + kSmallFont * 1.4}}) {
        const TextSize t = measure(cr, name, kSmallFont);
        placeFirst(c, name, kSmallFont, kText, {{x, y - t.height(), x + t.width, y}}, page,
                   t.ascent);
    }
    // Elevation grid at a 1-2-5 step that leaves a handful of lines in the visible range,
    // the i-th line computed from i.
    const double lowest = midZ - (bottom - midY) / vScale;
    const double step = niceValue((bottom - plotTop) / vScale / kMaxGridLines, /*below=*/false);
    const double first = std::ceil(lowest / step);
    cairo_set_line_width(cr, kThin);
    // A 1-2-5 step leaves at most 2.5 times kMaxGridLines lines; the bound holds whatever
    // the scale (a degenerate one gives a NaN step and no lines).
    const int maxLines = static_cast<int>(kMaxGridLines * 5 / 2) + 1;
    for (int i = 0; i < maxLines && py((first + i) * step) >= plotTop - 1e-9; ++i) {
        const double z = (first + i) * step;
        setColour(cr, kGrid);
        cairo_new_path(cr);
        cairo_move_to(cr, left, py(z));
        cairo_line_to(cr, right, py(z));
        cairo_stroke(cr);
        const std::string label = fixed(z, stepDecimals(step));
        const TextSize t = measure(cr, label, kSmallFont);
        if (!placeFirst(
                c, label, kSmallFont, kText,
                {{left - 4 - t.width, py(z) - t.height() / 2, left - 4, py(z) + t.height() / 2}},
                page, t.ascent)) {
            ++c.layout->omitted;
        }
    }
    // Station grid; each label under its line, one row lower when the first is taken.
    for (const qv::route::TableRow& row : ticks(route, tick)) {
        const double x = px(row.length);
        setColour(cr, kGrid);
        cairo_new_path(cr);
        cairo_move_to(cr, x, plotTop);
        cairo_line_to(cr, x, bottom);
        cairo_stroke(cr);
        const std::string label = tickLabel(row.station, format);
        const TextSize t = measure(cr, label, kSmallFont);
        const Box firstRow{x - t.width / 2, bottom + 3, x + t.width / 2, bottom + 3 + t.height()};
        const Box secondRow{firstRow.left, firstRow.bottom + 1, firstRow.right,
                            firstRow.bottom + 1 + t.height()};
        if (!placeFirst(c, label, kSmallFont, kText, {firstRow, secondRow}, page, t.ascent)) {
            ++c.layout->omitted;
        }
    }
    // Grade lines through the grade-change points, dashed, and the design line, both kept
    // inside the plot (the last grade point may lie beyond the route's end).
    const Box plot{left, plotTop, right, bottom};
    cairo_save(cr);
    cairo_rectangle(cr, plot.left, plot.top - kLineWidth, plot.right - plot.left,
                    plot.bottom - plot.top + 2 * kLineWidth);
    cairo_clip(cr);
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
    auto colourAt = [&](double length) {
        for (const qv::route::VerticalCurveInfo& v : route.verticalCurves()) {
            if (v.hasCurve && length >= v.startLength && length <= v.endLength) {
                return v.crest ? kCrest : kSag;
            }
        }
        return kStraight;
    };
    cairo_set_line_width(cr, kLineWidth);
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (!samples[i - 1].hasZ || !samples[i].hasZ) continue;
        const double x0 = px(samples[i - 1].length), y0 = py(samples[i - 1].z);
        const double x1 = px(samples[i].length), y1 = py(samples[i].z);
        setColour(cr, colourAt((samples[i - 1].length + samples[i].length) / 2));
        cairo_new_path(cr);
        cairo_move_to(cr, x0, y0);
        cairo_line_to(cr, x1, y1);
        cairo_stroke(cr);
        blockSegment(c, x0, y0, x1, y1, kLineWidth / 2);
    }
    cairo_restore(cr);
    for (std::size_t i = 1; i + 1 < grades.size(); ++i) {
        const double x = px(bpLength[i]), y = py(grades[i].elevation);
        dot(cr, x, y, kPointRadius, kPoint);
        c.taken.add(Box{x, y, x, y}.grown(kPointRadius));
    }
    for (std::size_t i = 1; i + 1 < grades.size(); ++i) {
        // Above a crest's point, below a sag's, clear of the curve itself.
        bool sag = false;
        for (const qv::route::VerticalCurveInfo& v : route.verticalCurves()) {
            if (v.pointIndex == i) sag = v.grade2 > v.grade1;
        }
        placeNear(c, pointName(grades[i].name, "BP", i), kFontSize, kPoint, px(bpLength[i]),
                  py(grades[i].elevation), sag ? M_PI / 2 : -M_PI / 2, plot,
                  kPointRadius + kLabelGap, true);
    }
}

// Heights of the two panels: the plan's from the route's extent, within limits so that a
// long straight route still gets room for labels and a compact one does not tower.
struct PageSize {
    double plan, profile, height;
};
PageSize pageSize(const Route& route, const std::vector<Sample>& samples, double width) {
    const Extent e = planExtent(route, samples);
    const double aspect = (e.maxN - e.minN) / std::max(e.maxE - e.minE, 1.0);
    const double frameWidth = width - kMargin * 3 / 2;
    PageSize s;
    s.plan = std::clamp((frameWidth - 2 * kPlanPadding) * aspect + 2 * kPlanPadding +
                            kLegendHeight + kGridLabelRoom,
                        std::max(width * kPlanMinShare, kMinPlanHeight),
                        std::max(width * kPlanMaxShare, kMinPlanHeight));
    s.profile = route.description().profile.empty()
                    ? kFontSize * 2
                    : std::max(width * kProfileShare, kMinProfileHeight);
    s.height = kTitleHeight + s.plan + kPanelGap + s.profile;
    return s;
}

void drawAll(Canvas& c, const Route& route, const std::string& name,
             const std::vector<Sample>& samples, double width, const PageSize& size,
             const DrawOptions& options, const FormatOptions& format) {
    setColour(c.cr, kWhite);
    cairo_paint(c.cr);
    cairo_select_font_face(c.cr, fontFamily(), CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    const double tick = pickTick(route.length(), options.tick);
    const std::string title = name + "  –  " + fixed(route.length(), 1) + " m, from " +
                              stationText(route.startStation(), format);
    const TextSize t = measure(c.cr, title, kFontSize * 1.3);
    const double baseline = kTitleHeight * 0.7;
    putLabel(
        c, title, kFontSize * 1.3, kText,
        {(width - t.width) / 2, baseline - t.ascent, (width + t.width) / 2, baseline + t.descent},
        t.ascent);
    drawPlan(c, route, samples, kTitleHeight, width, size.plan, tick, format);
    drawProfile(c, route, samples, kTitleHeight + size.plan + kPanelGap, width, size.profile,
                options.exaggeration, tick, format);
    for (Colour used : c.planColours) {
        if (std::find(c.legendColours.begin(), c.legendColours.end(), used) ==
            c.legendColours.end()) {
            ++c.layout->unlegendedColours;
        }
    }
}

bool endsWith(const std::string& s, const std::string& suffix) {
    return s.size() >= suffix.size() &&
           s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// Refuses options that cannot make a drawing, before anything is computed.
void checkOptions(const Route& route, const DrawOptions& options) {
    constexpr int kMinWidth = 400;
    constexpr int kMaxWidth = 10000;
    if (options.width < kMinWidth || options.width > kMaxWidth) {
        throw InputError("--width must lie between 400 and 10000");
    }
    if (!(options.tick >= 0) || !std::isfinite(options.tick)) {
        throw InputError("--tick must be a positive length (or 0 for automatic)");
    }
    if (!(options.exaggeration >= 0) || !std::isfinite(options.exaggeration)) {
        throw InputError("--exaggeration must be a positive number (or 0 to fill the panel)");
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
}

// The route's own name, else the file's name without its folders.
std::string titleOf(const Route& route, const std::string& path) {
    if (!route.description().name.empty()) return route.description().name;
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

DrawingLayout layOutDrawing(const Route& route, const DrawOptions& options,
                            const FormatOptions& format) {
    checkOptions(route, options);
    const std::vector<Sample> samples = sampleRoute(route);
    const PageSize size = pageSize(route, samples, options.width);
    DrawingLayout layout;
    cairo_surface_t* surface = cairo_recording_surface_create(CAIRO_CONTENT_COLOR, nullptr);
    cairo_t* cr = cairo_create(surface);
    Canvas canvas{cr, &layout, {}, {}, {}};
    drawAll(canvas, route, titleOf(route, "route"), samples, options.width, size, options, format);
    const cairo_status_t status = cairo_status(cr);
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS) {
        throw OutputError(std::string("cannot draw: ") + cairo_status_to_string(status));
    }
    return layout;
}

void drawRoute(const Route& route, const std::string& title, const std::string& path,
               const DrawOptions& options, const FormatOptions& format) {
    const bool svg = endsWith(path, ".svg");
    if (!svg && !endsWith(path, ".png")) {
        throw InputError(path + ": the drawing's file name must end in .png, .svg or .dxf");
    }
    checkOptions(route, options);
    const std::vector<Sample> samples = sampleRoute(route);
    const double width = options.width;
    const PageSize size = pageSize(route, samples, width);

    writeFileAtomically(path, [&](const std::string& temporary) {
        cairo_surface_t* surface =
            svg ? cairo_svg_surface_create(temporary.c_str(), width, size.height)
                : cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width),
                                             static_cast<int>(std::ceil(size.height)));
        cairo_t* cr = cairo_create(surface);
        DrawingLayout layout;
        Canvas canvas{cr, &layout, {}, {}, {}};
        drawAll(canvas, route, titleOf(route, title), samples, width, size, options, format);
        cairo_status_t status = cairo_status(cr);
        cairo_destroy(cr);
        if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface);
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
