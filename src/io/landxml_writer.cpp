// Writing a built route as a LandXML 1.2 alignment: metres and radians, coordinates as
// "north east", one Alignment with its elements, station equations, intersection points
// and profile.
#include <qv_route/io.hpp>

#include <pugixml.hpp>

#include <array>
#include <charconv>
#include <cmath>
#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include "horizontal/horizontal.hpp"
#include "io/landxml.hpp"

namespace rcc_io {

using qv::route::ElementKind;
using qv::route::Frame;
using qv::route::LengthUnit;
using qv::route::RouteDescription;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
/// Room for the shortest round-trip text of a double.
constexpr std::size_t kNumberChars = 32;

/// The shortest text that reads back as the same double; "INF" for +inf (a straight end).
std::string number(double value) {
    if (value == kInf) return "INF";  // exact: the straight-end radius
    std::array<char, kNumberChars> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
    return std::string(text.data(), result.ptr);
}

/// Writes the route's plane coordinates as LandXML's "north east". In the NE frame x is
/// the northing already; in the XY frame (x east, y north) the two are swapped, and a turn
/// that makes the bearing grow (counter-clockwise from east) is "ccw" on the north-up map.
class Geometry {
public:
    explicit Geometry(Frame frame) : frame_(frame) {}

    std::string point(double x, double y) const {
        return frame_ == Frame::NE ? number(x) + " " + number(y) : number(y) + " " + number(x);
    }

    const char* rot(int turn) const {
        const bool growing = turn > 0;
        // In the NE frame a growing azimuth is a clockwise turn on the map.
        return (growing == (frame_ == Frame::NE)) ? "cw" : "ccw";
    }

private:
    Frame frame_;
};

void addPoint(pugi::xml_node parent, const char* name, const std::string& text) {
    parent.append_child(name).text().set(text.c_str());
}

void attribute(pugi::xml_node node, const char* name, double value) {
    node.append_attribute(name).set_value(number(value).c_str());
}

/// One element as Line, Curve (with its Center) or Spiral (with its PI, where the start and
/// end tangents meet).
void addElement(pugi::xml_node parent, const RoadCurve& e, double station, const Geometry& g) {
    const bool line = e.curveType == static_cast<int>(ElementKind::Line);
    const bool arc = e.curveType == static_cast<int>(ElementKind::Arc) ||
                     e.curveType == static_cast<int>(ElementKind::DesignArc) ||
                     (!line && e.startRadius == e.endRadius);  // exact: the same stored radius
    pugi::xml_node node = parent.append_child(line ? "Line" : arc ? "Curve" : "Spiral");
    attribute(node, "length", e.length);
    attribute(node, "staStart", station);
    if (arc) {
        node.append_attribute("rot").set_value(g.rot(e.turnDirection));
        attribute(node, "radius", e.startRadius);
    } else if (!line) {
        attribute(node, "radiusStart", e.startRadius);
        attribute(node, "radiusEnd", e.endRadius);
        node.append_attribute("rot").set_value(g.rot(e.turnDirection));
        node.append_attribute("spiType").set_value("clothoid");
    }
    addPoint(node, "Start", g.point(e.startX, e.startY));
    if (arc) {
        // The centre lies square to the start tangent, on the side the curve turns to.
        const double toCentre = e.startBearing + (e.turnDirection > 0 ? 1 : -1) * rcc::kHalfPi;
        addPoint(node, "Center",
                 g.point(e.startX + e.startRadius * std::cos(toCentre),
                         e.startY + e.startRadius * std::sin(toCentre)));
    } else if (!line) {
        // Start + t (cos b1, sin b1) = End + u (cos b2, sin b2), solved for t by Cramer's rule.
        const double c1 = std::cos(e.startBearing);
        const double s1 = std::sin(e.startBearing);
        const double c2 = std::cos(e.endBearing);
        const double s2 = std::sin(e.endBearing);
        const double det = -c1 * s2 + s1 * c2;
        const double dx = e.endX - e.startX;
        const double dy = e.endY - e.startY;
        double t = (-dx * s2 + dy * c2) / det;
        // A spiral turning by half a turn or more has no forward meeting point; any point
        // ahead on the start tangent still gives its start direction.
        if (!(t > 0 && std::isfinite(t))) t = e.length / 2;
        addPoint(node, "PI", g.point(e.startX + t * c1, e.startY + t * s1));
    }
    addPoint(node, "End", g.point(e.endX, e.endY));
}

/// The date and time of writing, which the schema requires.
std::pair<std::string, std::string> now() {
    const std::time_t t = std::time(nullptr);
    std::tm utc{};
#if defined(_WIN32)
    gmtime_s(&utc, &t);
#else
    gmtime_r(&t, &utc);
#endif
    std::array<char, kNumberChars> date{};
    std::array<char, kNumberChars> time{};
    std::strftime(date.data(), date.size(), "%Y-%m-%d", &utc);
    std::strftime(time.data(), time.size(), "%H:%M:%S", &utc);
    return {date.data(), time.data()};
}

}  // namespace

std::string writeLandXml(const RouteDescription& d, const std::vector<RoadCurve>& elements,
                         const std::vector<double>& stations,
                         const std::vector<double>& verticalCurveLengths) {
    const Geometry g(d.frame);
    pugi::xml_document document;
    pugi::xml_node declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version").set_value("1.0");
    declaration.append_attribute("encoding").set_value("UTF-8");
    pugi::xml_node root = document.append_child("LandXML");
    root.append_attribute("xmlns").set_value("http://www.landxml.org/schema/LandXML-1.2");
    const auto [date, time] = now();
    root.append_attribute("version").set_value("1.2");
    root.append_attribute("date").set_value(date.c_str());
    root.append_attribute("time").set_value(time.c_str());

    // The route's own length unit; the other quantities are required by the schema and
    // carry nothing of the route.
    const bool metric = d.lengthUnit == LengthUnit::Metre;
    pugi::xml_node units = root.append_child("Units").append_child(metric ? "Metric" : "Imperial");
    units.append_attribute("areaUnit").set_value(metric ? "squareMeter" : "squareFoot");
    units.append_attribute("linearUnit")
        .set_value(metric                             ? "meter"
                   : d.lengthUnit == LengthUnit::Foot ? "foot"
                                                      : "USSurveyFoot");
    units.append_attribute("volumeUnit").set_value(metric ? "cubicMeter" : "cubicYard");
    units.append_attribute("temperatureUnit").set_value(metric ? "celsius" : "fahrenheit");
    units.append_attribute("pressureUnit").set_value(metric ? "milliBars" : "inHG");
    units.append_attribute("angularUnit").set_value("radians");
    units.append_attribute("directionUnit").set_value("radians");
    // Elevations in international feet are declared; for survey feet the attribute is left
    // out, and readers take elevations in the linear unit, as real survey-foot exports do.
    if (d.lengthUnit == LengthUnit::Foot) units.append_attribute("elevationUnit").set_value("feet");
    if (!d.coordinateSystem.empty()) {
        pugi::xml_node system = root.append_child("CoordinateSystem");
        const std::string epsg = "EPSG:";
        if (d.coordinateSystem.compare(0, epsg.size(), epsg) == 0) {
            system.append_attribute("epsgCode")
                .set_value(d.coordinateSystem.substr(epsg.size()).c_str());
        } else {
            system.append_attribute("name").set_value(d.coordinateSystem.c_str());
        }
    }

    double length = 0.0;
    for (const RoadCurve& e : elements) length += e.length;
    pugi::xml_node alignment = root.append_child("Alignments").append_child("Alignment");
    alignment.append_attribute("name").set_value(d.name.empty() ? "route" : d.name.c_str());
    attribute(alignment, "length", length);
    attribute(alignment, "staStart", d.startStation);

    pugi::xml_node geometry = alignment.append_child("CoordGeom");
    for (std::size_t i = 0; i < elements.size(); ++i) {
        addElement(geometry, elements[i], stations[i], g);
    }

    if (d.horizontal.points.size() >= 2) {
        // The library fits each middle point with a straight, then the entering clothoid
        // (when L1 > 0), the arc and the leaving clothoid (when L2 > 0); the elements are
        // matched to the points in that order.
        pugi::xml_node list = alignment.append_child("AlignPIs");
        std::size_t next = 0;
        const auto add = [&](pugi::xml_node item, const char* wrapper, ElementKind kind) {
            while (next < elements.size() &&
                   elements[next].curveType == static_cast<int>(ElementKind::Line)) {
                ++next;
            }
            if (next < elements.size() && elements[next].curveType == static_cast<int>(kind)) {
                addElement(item.append_child(wrapper), elements[next], stations[next], g);
                ++next;
            }
        };
        for (std::size_t i = 0; i < d.horizontal.points.size(); ++i) {
            const auto& p = d.horizontal.points[i];
            pugi::xml_node item = list.append_child("AlignPI");
            pugi::xml_node pi = item.append_child("PI");
            if (!p.name.empty()) pi.append_attribute("name").set_value(p.name.c_str());
            pi.text().set(g.point(p.x, p.y).c_str());
            if (i == 0 || i + 1 == d.horizontal.points.size()) continue;
            if (p.inTransitionLength > 0) add(item, "InSpiral", ElementKind::InTransition);
            add(item, "Curve1", ElementKind::Arc);
            if (p.outTransitionLength > 0) add(item, "OutSpiral", ElementKind::OutTransition);
        }
    }

    // staInternal runs from staStart without breaks: the place of each equation is where the
    // numbering since the one before reaches its back station.
    double internal = d.startStation;
    double numbering = d.startStation;
    for (const auto& equation : d.equations) {
        internal += equation.back - numbering;
        numbering = equation.ahead;
        pugi::xml_node node = alignment.append_child("StaEquation");
        attribute(node, "staAhead", equation.ahead);
        attribute(node, "staBack", equation.back);
        attribute(node, "staInternal", internal);
        node.append_attribute("staIncrement").set_value("increasing");
        if (!equation.name.empty()) node.append_attribute("desc").set_value(equation.name.c_str());
    }

    if (!d.profile.empty()) {
        pugi::xml_node profile = alignment.append_child("Profile").append_child("ProfAlign");
        profile.append_attribute("name").set_value(d.name.empty() ? "profile" : d.name.c_str());
        for (std::size_t i = 0; i < d.profile.size(); ++i) {
            const auto& p = d.profile[i];
            const double curve = i < verticalCurveLengths.size() ? verticalCurveLengths[i] : 0.0;
            pugi::xml_node node = profile.append_child(curve > 0 ? "ParaCurve" : "PVI");
            if (curve > 0) attribute(node, "length", curve);
            if (!p.name.empty()) node.append_attribute("desc").set_value(p.name.c_str());
            node.text().set((number(p.station.value) + " " + number(p.elevation)).c_str());
        }
    }

    std::ostringstream out;
    document.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
    return out.str();
}

}  // namespace rcc_io

namespace qv::route {

std::string writeLandXml(const Route& route) {
    // A curve given by its length keeps it; one given by its radius is 2T long, T the
    // tangent length either side of its PVI.
    const std::vector<GradePoint>& profile = route.description().profile;
    std::vector<double> lengths(profile.size(), 0.0);
    for (const VerticalCurveInfo& curve : route.verticalCurves()) {
        if (curve.hasCurve && curve.pointIndex < lengths.size()) {
            const double given = profile[curve.pointIndex].length;
            lengths[curve.pointIndex] = given > 0 ? given : 2 * curve.tangentLength;
        }
    }
    // Element stations follow the numbering through every equation.
    std::vector<double> stations;
    for (std::size_t i = 0; i < route.elements().size(); ++i) {
        stations.push_back(route.stationAt(route.elementStart(i)).value);
    }
    return rcc_io::writeLandXml(route.description(), route.elements(), stations, lengths);
}

}  // namespace qv::route
