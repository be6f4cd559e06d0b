// A small writer of ASCII DXF (AutoCAD 2000, AC1015) for the plan of a route: the tables a
// CAD program needs to open the file without repair, then the centre line, station ticks,
// key points and intersection points, one layer per kind.
#include <qv_route/dxf.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "horizontal/horizontal.hpp"

namespace qv::route {

namespace {

// Layers and their colours (AutoCAD colour index: 1 red, 3 green, 5 blue, 6 magenta,
// 7 white or black, 8 grey).
struct Layer {
    const char* name;
    int colour;
};
constexpr Layer kLineLayer{"ALIGNMENT-LINE", 7};
constexpr Layer kArcLayer{"ALIGNMENT-ARC", 1};
constexpr Layer kClothoidLayer{"ALIGNMENT-CLOTHOID", 3};
constexpr Layer kTickLayer{"STATION-TICKS", 8};
constexpr Layer kStationTextLayer{"STATION-LABELS", 8};
constexpr Layer kKeyPointLayer{"KEY-POINTS", 5};
constexpr Layer kIntersectionLayer{"INTERSECTION-POINTS", 6};
constexpr Layer kLayers[] = {{"0", 7},   kLineLayer,        kArcLayer,      kClothoidLayer,
                             kTickLayer, kStationTextLayer, kKeyPointLayer, kIntersectionLayer};

// Label height as a share of the plan's larger extent, and its bounds in drawing units.
constexpr double kTextShareOfExtent = 1.0 / 300.0;
constexpr double kMinTextHeight = 0.25;
constexpr double kMaxTextHeight = 20.0;
// A tick reaches this many label heights to either side of the centre line.
constexpr double kTickHalfLengthInText = 1.5;
// Round tick intervals to pick from, so that a plan carries some 20 to 50 of them.
constexpr double kTickChoices[] = {10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000};
constexpr double kTicksWanted = 40.0;
// Most vertices one clothoid's polyline may take (a 10 km clothoid of radius 10 at 1 mm).
constexpr double kMaxPolylineVertices = 200000.0;
// Sagitta of a chord c on curvature k is c^2 k / 8.
constexpr double kSagittaFactor = 8.0;
// Digits after the point of coordinates and angles: micrometres in metres.
constexpr int kDecimals = 6;
// First free handle: the fixed tables and blocks take the handles below it.
constexpr std::uint32_t kFirstHandle = 0x20;

// Group codes by what they carry, written as "code\nvalue\n" lines.
class DxfText {
public:
    void code(int groupCode, const std::string& value) {
        text_ += std::to_string(groupCode);
        text_ += '\n';
        text_ += value;
        text_ += '\n';
    }
    void code(int groupCode, const char* value) { code(groupCode, std::string(value)); }
    void code(int groupCode, int value) { code(groupCode, std::to_string(value)); }
    void number(int groupCode, double value) {
        char buffer[64];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, value,
                                          std::chars_format::fixed, kDecimals);
        code(groupCode, std::string(buffer, result.ptr));
    }
    std::string& text() { return text_; }

private:
    std::string text_;
};

// Text for a DXF string value: ASCII as it is, every other code point as \U+XXXX (read by
// CAD programs whatever the drawing's code page), control characters left out.
std::string dxfString(const std::string& utf8) {
    std::string out;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto c = static_cast<unsigned char>(utf8[i]);
        std::uint32_t point = c;
        std::size_t length = 1;
        if (c >= 0xF0) {
            length = 4;
            point = c & 0x07u;
        } else if (c >= 0xE0) {
            length = 3;
            point = c & 0x0Fu;
        } else if (c >= 0xC0) {
            length = 2;
            point = c & 0x1Fu;
        }
        if (i + length > utf8.size()) break;
        for (std::size_t k = 1; k < length; ++k) {
            point = (point << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3Fu);
        }
        i += length;
        if (point < 0x20 || point == 0x7F) continue;
        if (point < 0x7F) {
            out += static_cast<char>(point);
            continue;
        }
        char buffer[16];
        const char* digits = "0123456789ABCDEF";
        int n = 0;
        for (int shift = point > 0xFFFF ? 20 : 12; shift >= 0; shift -= 4) {
            buffer[n++] = digits[(point >> shift) & 0xFu];
        }
        out += "\\U+";
        out.append(buffer, static_cast<std::size_t>(n));
    }
    return out;
}

// The route's plane (x, y) in drawing coordinates, and its bearings as drawing angles.
struct FrameMap {
    bool northEast = false;
    double X(double x, double y) const { return northEast ? y : x; }
    double Y(double x, double y) const { return northEast ? x : y; }
    // A bearing from +x towards +y: in the NE frame an azimuth, whose drawing angle
    // (counter-clockwise from east) is pi/2 - azimuth.
    double angle(double bearing) const { return northEast ? rcc::kHalfPi - bearing : bearing; }
    // A turn that makes the bearing grow runs counter-clockwise in the XY frame and
    // clockwise on a north-up drawing of the NE frame, which mirrors it.
    bool counterClockwise(int turn) const { return northEast ? turn < 0 : turn > 0; }
};

class DxfWriter {
public:
    DxfWriter(const Route& route, const DxfOptions& options)
        : route_(route), map_{route.description().frame == Frame::NE} {
        for (const RoadCurve& e : route.elements()) {
            extend(e.startX, e.startY);
            extend(e.endX, e.endY);
        }
        textHeight_ = options.textHeight > 0 ? options.textHeight : defaultTextHeight();
        tickInterval_ = options.tickInterval > 0 ? options.tickInterval : defaultTickInterval();
        chordTolerance_ =
            options.chordTolerance > 0 ? options.chordTolerance : DxfOptions{}.chordTolerance;
    }

    std::string write() {
        centreLine();
        intersectionPoints();
        stationTicks();
        keyPoints();
        return document();
    }

private:
    double defaultTextHeight() const {
        const double extent = std::max(maxX_ - minX_, maxY_ - minY_);
        return std::clamp(extent * kTextShareOfExtent, kMinTextHeight, kMaxTextHeight);
    }

    double defaultTickInterval() const {
        for (double choice : kTickChoices) {
            if (route_.length() / choice <= kTicksWanted) return choice;
        }
        return kTickChoices[std::size(kTickChoices) - 1];
    }

    std::string handle() {
        char buffer[16];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, next_++, 16);
        std::string text(buffer, result.ptr);
        std::transform(text.begin(), text.end(), text.begin(),
                       [](char c) { return static_cast<char>(std::toupper(c)); });
        return text;
    }

    void entity(const char* type, const Layer& layer, const char* subclass) {
        out_.code(0, type);
        out_.code(5, handle());
        out_.code(330, modelSpace_);
        out_.code(100, "AcDbEntity");
        out_.code(8, layer.name);
        out_.code(100, subclass);
    }

    // Grows the drawing's extent to hold the route point (x, y).
    void extend(double x, double y) {
        const double X = map_.X(x, y);
        const double Y = map_.Y(x, y);
        minX_ = std::min(minX_, X);
        maxX_ = std::max(maxX_, X);
        minY_ = std::min(minY_, Y);
        maxY_ = std::max(maxY_, Y);
    }

    void point2(int code, double x, double y) {
        out_.number(code, map_.X(x, y));
        out_.number(code + 10, map_.Y(x, y));
        extend(x, y);
    }

    void point3(int code, double x, double y) {
        point2(code, x, y);
        out_.number(code + 20, 0.0);
    }

    void line(const Layer& layer, double x1, double y1, double x2, double y2) {
        entity("LINE", layer, "AcDbLine");
        point3(10, x1, y1);
        point3(11, x2, y2);
    }

    void marker(const Layer& layer, double x, double y) {
        entity("POINT", layer, "AcDbPoint");
        point3(10, x, y);
    }

    // A label at (x, y) running along the drawing angle of `bearing`.
    void label(const Layer& layer, double x, double y, double bearing, const std::string& text) {
        entity("TEXT", layer, "AcDbText");
        point3(10, x, y);
        out_.number(40, textHeight_);
        out_.code(1, dxfString(text));
        double degrees = rcc::degreesFromRadians(
            rcc::normalizeBearing(std::remainder(map_.angle(bearing), rcc::kTwoPi)));
        // Keep text reading left to right or bottom to top.
        if (degrees > 90.0 && degrees <= 270.0) degrees -= 180.0;
        out_.number(50, degrees);
        out_.code(7, "Standard");
        out_.code(100, "AcDbText");
    }

    void arc(std::size_t i) {
        const RoadCurve& e = route_.elements()[i];
        const double r = e.startRadius;
        // The centre lies R off the start on the side the element turns to.
        const double cx = e.startX - e.turnDirection * r * std::sin(e.startBearing);
        const double cy = e.startY + e.turnDirection * r * std::cos(e.startBearing);
        auto drawingAngle = [&](double x, double y) {
            const double dX = map_.X(x, y) - map_.X(cx, cy);
            const double dY = map_.Y(x, y) - map_.Y(cx, cy);
            return rcc::degreesFromRadians(rcc::normalizeBearing(std::atan2(dY, dX)));
        };
        double from = drawingAngle(e.startX, e.startY);
        double to = drawingAngle(e.endX, e.endY);
        if (!map_.counterClockwise(e.turnDirection)) std::swap(from, to);
        entity("ARC", kArcLayer, "AcDbCircle");
        point3(10, cx, cy);
        out_.number(40, r);
        out_.code(100, "AcDbArc");
        out_.number(50, from);
        out_.number(51, to);
    }

    void clothoid(std::size_t i) {
        const RoadCurve& e = route_.elements()[i];
        const double kMax = std::max(std::fabs(e.startCurvature), std::fabs(e.endCurvature));
        const double chord =
            kMax > 0 ? std::sqrt(kSagittaFactor * chordTolerance_ / kMax) : e.length;
        const double pieces = std::min(std::ceil(e.length / chord), kMaxPolylineVertices);
        const auto n = static_cast<int>(std::max(pieces, 1.0));
        entity("LWPOLYLINE", kClothoidLayer, "AcDbPolyline");
        out_.code(90, n + 1);
        out_.code(70, 0);
        const double start = route_.elementStart(i);
        for (int k = 0; k <= n; ++k) {
            // The last vertex is the element's own end, so the polyline meets the next element.
            if (k == n) {
                point2(10, e.endX, e.endY);
                break;
            }
            const RoutePoint p = route_.pointAtLength(start + e.length * k / n);
            point2(10, p.x, p.y);
        }
    }

    void centreLine() {
        const auto& elements = route_.elements();
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const RoadCurve& e = elements[i];
            switch (static_cast<ElementKind>(e.curveType)) {
                case ElementKind::Line:
                    line(kLineLayer, e.startX, e.startY, e.endX, e.endY);
                    break;
                case ElementKind::Arc:
                case ElementKind::DesignArc:
                    arc(i);
                    break;
                default:
                    clothoid(i);
                    break;
            }
        }
    }

    // Each fitted curve's intersection point, its name and the tangents from the curve's
    // start and end to it.
    void intersectionPoints() {
        for (const CurveInfo& c : route_.curves()) {
            if (!c.fromIntersectionPoint) continue;
            const RoutePoint a = route_.pointAtLength(c.startLength);
            const RoutePoint b = route_.pointAtLength(c.endLength);
            const double x = c.intersection.x;
            const double y = c.intersection.y;
            line(kIntersectionLayer, a.x, a.y, x, y);
            line(kIntersectionLayer, x, y, b.x, b.y);
            marker(kIntersectionLayer, x, y);
            label(kIntersectionLayer, x, y, c.inBearing, c.name);
        }
    }

    void stationTicks() {
        TableRequest request;
        request.interval = tickInterval_;
        request.horizontalKeyPoints = false;
        request.verticalKeyPoints = false;
        const double half = kTickHalfLengthInText * textHeight_;
        route_.forEachTableRow(request, [&](const TableRow& row) {
            const RoutePoint left = route_.pointAtLength(row.length, half);
            const RoutePoint right = route_.pointAtLength(row.length, -half);
            line(kTickLayer, right.x, right.y, left.x, left.y);
            label(kStationTextLayer, left.x, left.y, left.bearing + rcc::kHalfPi,
                  formatStation(row.station, StationStyle::K, 0));
        });
    }

    void keyPoints() {
        const double away = kTickHalfLengthInText * textHeight_;
        for (const KeyPoint& k : route_.keyPoints(true, false)) {
            const RoutePoint p = route_.pointAtLength(k.length);
            marker(kKeyPointLayer, p.x, p.y);
            const RoutePoint at = route_.pointAtLength(k.length, -away);
            label(kKeyPointLayer, at.x, at.y, p.bearing - rcc::kHalfPi,
                  k.label + " " + formatStation(k.station, StationStyle::K, 3));
        }
    }

    // Header, tables and blocks around the entities written so far.
    std::string document() {
        DxfText head;
        auto section = [&head](const char* name) {
            head.code(0, "SECTION");
            head.code(2, name);
        };
        auto table = [&head](const char* name, const std::string& own, int count) {
            head.code(0, "TABLE");
            head.code(2, name);
            head.code(5, own);
            head.code(330, "0");
            head.code(100, "AcDbSymbolTable");
            head.code(70, count);
        };
        auto record = [&head](const char* type, const std::string& own, const std::string& id,
                              const char* subclass) {
            head.code(0, type);
            head.code(type == std::string("DIMSTYLE") ? 105 : 5, id);
            head.code(330, own);
            head.code(100, "AcDbSymbolTableRecord");
            head.code(100, subclass);
        };
        // Handles of the tables and blocks, taken after every entity's.
        const std::string vports = handle(), ltypes = handle(), layers = handle(),
                          styles = handle(), views = handle(), ucss = handle(), appids = handle(),
                          dimstyles = handle(), blockRecords = handle(), paperSpace = handle(),
                          root = handle(), groups = handle();
        std::vector<std::string> ids;
        for (int k = 0; k < 24; ++k) ids.push_back(handle());
        std::size_t id = 0;

        section("HEADER");
        head.code(9, "$ACADVER");
        head.code(1, "AC1015");
        head.code(9, "$HANDSEED");
        head.code(5, handle());
        head.code(9, "$INSUNITS");
        head.code(70, 6);  // metres
        head.code(9, "$EXTMIN");
        head.number(10, minX_);
        head.number(20, minY_);
        head.number(30, 0.0);
        head.code(9, "$EXTMAX");
        head.number(10, maxX_);
        head.number(20, maxY_);
        head.number(30, 0.0);
        head.code(0, "ENDSEC");
        section("CLASSES");
        head.code(0, "ENDSEC");

        section("TABLES");
        table("VPORT", vports, 1);
        record("VPORT", vports, ids[id++], "AcDbViewportTableRecord");
        head.code(2, "*Active");
        head.code(70, 0);
        head.number(12, (minX_ + maxX_) / 2);  // view centre and height: the whole plan
        head.number(22, (minY_ + maxY_) / 2);
        head.number(40, std::max(maxY_ - minY_, (maxX_ - minX_) / 2) * 1.1);
        head.number(41, 2.0);
        head.code(0, "ENDTAB");
        table("LTYPE", ltypes, 3);
        for (const char* name : {"ByBlock", "ByLayer", "Continuous"}) {
            record("LTYPE", ltypes, ids[id++], "AcDbLinetypeTableRecord");
            head.code(2, name);
            head.code(70, 0);
            head.code(3, std::string(name) == "Continuous" ? "Solid line" : "");
            head.code(72, 65);
            head.code(73, 0);
            head.number(40, 0.0);
        }
        head.code(0, "ENDTAB");
        table("LAYER", layers, static_cast<int>(std::size(kLayers)));
        for (const Layer& layer : kLayers) {
            record("LAYER", layers, ids[id++], "AcDbLayerTableRecord");
            head.code(2, layer.name);
            head.code(70, 0);
            head.code(62, layer.colour);
            head.code(6, "Continuous");
        }
        head.code(0, "ENDTAB");
        table("STYLE", styles, 1);
        record("STYLE", styles, ids[id++], "AcDbTextStyleTableRecord");
        head.code(2, "Standard");
        head.code(70, 0);
        head.number(40, 0.0);
        head.number(41, 1.0);
        head.code(3, "txt");
        head.code(0, "ENDTAB");
        table("VIEW", views, 0);
        head.code(0, "ENDTAB");
        table("UCS", ucss, 0);
        head.code(0, "ENDTAB");
        table("APPID", appids, 1);
        record("APPID", appids, ids[id++], "AcDbRegAppTableRecord");
        head.code(2, "ACAD");
        head.code(70, 0);
        head.code(0, "ENDTAB");
        table("DIMSTYLE", dimstyles, 1);
        head.code(100, "AcDbDimStyleTable");
        head.code(71, 1);
        record("DIMSTYLE", dimstyles, ids[id++], "AcDbDimStyleTableRecord");
        head.code(2, "Standard");
        head.code(70, 0);
        head.code(0, "ENDTAB");
        table("BLOCK_RECORD", blockRecords, 2);
        for (const auto& [own, name] :
             {std::pair{modelSpace_, "*Model_Space"}, std::pair{paperSpace, "*Paper_Space"}}) {
            record("BLOCK_RECORD", blockRecords, own, "AcDbBlockTableRecord");
            head.code(2, name);
        }
        head.code(0, "ENDTAB");
        head.code(0, "ENDSEC");

        section("BLOCKS");
        for (const auto& [own, name] :
             {std::pair{modelSpace_, "*Model_Space"}, std::pair{paperSpace, "*Paper_Space"}}) {
            head.code(0, "BLOCK");
            head.code(5, ids[id++]);
            head.code(330, own);
            head.code(100, "AcDbEntity");
            head.code(8, "0");
            head.code(100, "AcDbBlockBegin");
            head.code(2, name);
            head.code(70, 0);
            head.number(10, 0.0);
            head.number(20, 0.0);
            head.number(30, 0.0);
            head.code(3, name);
            head.code(1, "");
            head.code(0, "ENDBLK");
            head.code(5, ids[id++]);
            head.code(330, own);
            head.code(100, "AcDbEntity");
            head.code(8, "0");
            head.code(100, "AcDbBlockEnd");
        }
        head.code(0, "ENDSEC");

        section("ENTITIES");
        std::string result = std::move(head.text());
        result += out_.text();
        DxfText tail;
        tail.code(0, "ENDSEC");
        tail.code(0, "SECTION");
        tail.code(2, "OBJECTS");
        tail.code(0, "DICTIONARY");
        tail.code(5, root);
        tail.code(330, "0");
        tail.code(100, "AcDbDictionary");
        tail.code(281, 1);
        tail.code(3, "ACAD_GROUP");
        tail.code(350, groups);
        tail.code(0, "DICTIONARY");
        tail.code(5, groups);
        tail.code(330, root);
        tail.code(100, "AcDbDictionary");
        tail.code(281, 1);
        tail.code(0, "ENDSEC");
        tail.code(0, "EOF");
        result += tail.text();
        return result;
    }

    const Route& route_;
    FrameMap map_;
    double textHeight_ = 1.0;
    double tickInterval_ = 100.0;
    double chordTolerance_ = 0.0;
    std::uint32_t next_ = kFirstHandle;
    std::string modelSpace_ = handle();
    DxfText out_;
    double minX_ = HUGE_VAL;
    double maxX_ = -HUGE_VAL;
    double minY_ = HUGE_VAL;
    double maxY_ = -HUGE_VAL;
};

}  // namespace

std::string writeDxf(const Route& route, const DxfOptions& options) {
    return DxfWriter(route, options).write();
}

}  // namespace qv::route
