// Reading a route description (JSON) and building it in the library, with the checks that
// keep the tool's tables honest: every field typed, every curve fitting its tangents, and
// every chainage break placed where the library's chainage search can follow it.
#include "route.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <sstream>

#include "output.hpp"

namespace rcctool {

namespace {

using Json = nlohmann::json;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kDegPerRad = 57.29577951308232;  // 180 / pi
// Geometric slack for comparing lengths built from the same numbers along different
// paths (tangent lengths against legs, element ends against points), in metres.
constexpr double kLengthSlack = 1e-6;
// The library's sentinel for a second chainage that lies before the first.
constexpr double kBeforeStart = -1.0;
constexpr int kShortChain = 1;
constexpr int kLongChain = 0;
constexpr int kStartPoint = 0;
constexpr int kMiddlePoint = 1;
constexpr int kEndPoint = 2;
constexpr int kLine = 0;
constexpr int kArc = 1;
constexpr int kInTransition = 2;
constexpr int kOutTransition = 3;
constexpr int kIncompleteTransition = 4;
constexpr int kFirstHalf = 5;
constexpr int kSecondHalf = 6;

// Chainage text as the library writes it (six decimals, like std::to_string).
std::string dkText(double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%f", value);
    return buffer;
}

std::string shortNumber(double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.6g", value);
    return buffer;
}

double distance(double x1, double y1, double x2, double y2) { return std::hypot(x2 - x1, y2 - y1); }

std::string indexed(const std::string& path, std::size_t i) {
    return path + "[" + std::to_string(i) + "]";
}

// Typed access to the JSON tree with errors that name the file and the field path.
class Reader {
public:
    explicit Reader(std::string file) : file_(std::move(file)) {}

    [[noreturn]] void fail(const std::string& path, const std::string& what) const {
        throw InputError(file_ + ": " + path + ": " + what);
    }

    void requireObject(const Json& value, const std::string& path) const {
        if (!value.is_object()) fail(path, std::string("expected an object, found ") + kind(value));
    }

    const Json& array(const Json& object, const std::string& path, const char* key) const {
        const Json& value = member(object, path, key);
        if (!value.is_array()) {
            fail(path + "." + key, std::string("expected an array, found ") + kind(value));
        }
        return value;
    }

    // Refuses any key outside `allowed`, so that a misspelt optional field is not
    // silently replaced by its default.
    void allowOnly(const Json& object, const std::string& path,
                   std::initializer_list<const char*> allowed) const {
        for (auto it = object.begin(); it != object.end(); ++it) {
            const bool known = std::any_of(allowed.begin(), allowed.end(),
                                           [&it](const char* k) { return it.key() == k; });
            if (!known) {
                std::string list;
                for (const char* k : allowed) list += std::string(list.empty() ? "" : ", ") + k;
                fail(path, "unknown field \"" + it.key() + "\" (expected one of: " + list + ")");
            }
        }
    }

    double number(const Json& object, const std::string& path, const char* key) const {
        return numberValue(member(object, path, key), path + "." + key);
    }

    double number(const Json& object, const std::string& path, const char* key,
                  double fallback) const {
        return object.contains(key) ? number(object, path, key) : fallback;
    }

    double numberValue(const Json& value, const std::string& path) const {
        if (!value.is_number()) fail(path, std::string("expected a number, found ") + kind(value));
        const double v = value.get<double>();
        if (!std::isfinite(v)) fail(path, "expected a finite number");
        return v;
    }

    // A radius: a positive number, or "inf" for a straight end.
    double radius(const Json& object, const std::string& path, const char* key) const {
        const Json& value = member(object, path, key);
        if (value.is_string() && value.get<std::string>() == "inf") return kInf;
        if (!value.is_number()) {
            fail(path + "." + key,
                 std::string("expected a positive number or \"inf\", found ") + kind(value));
        }
        const double r = numberValue(value, path + "." + key);
        if (!(r > 0)) fail(path + "." + key, "expected a positive radius, found " + shortNumber(r));
        return r;
    }

    // A chainage: a number, or a text that the library reads (a leading "0" marks the
    // second occurrence behind a long chain). Returns the library text.
    std::string chainage(const Json& object, const std::string& path, const char* key) const {
        const Json& value = member(object, path, key);
        if (value.is_string()) {
            double v = 0.0;
            if (!parseNumber(value.get<std::string>(), v)) {
                fail(path + "." + key, "expected a chainage such as \"1234.5\", found \"" +
                                           value.get<std::string>() + "\"");
            }
            return value.get<std::string>();
        }
        return dkText(numberValue(value, path + "." + key));
    }

    int turnDirection(const Json& object, const std::string& path) const {
        const Json& value = member(object, path, "turnDirection");
        if (!value.is_number_integer() || (value.get<int>() != 1 && value.get<int>() != -1)) {
            fail(path + ".turnDirection",
                 "expected 1 (bearing grows) or -1 (bearing shrinks), found " + value.dump());
        }
        return value.get<int>();
    }

private:
    static const char* kind(const Json& value) { return value.type_name(); }

    const Json& member(const Json& object, const std::string& path, const char* key) const {
        const auto it = object.find(key);
        if (it == object.end()) fail(path, std::string("missing field \"") + key + "\"");
        return *it;
    }

    std::string file_;
};

Json parseFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw InputError(path + ": cannot open the file");
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    try {
        return Json::parse(text);
    } catch (const Json::parse_error& e) {
        // Line and column of the byte where parsing stopped (e.byte counts from 1).
        std::size_t line = 1;
        std::size_t column = 1;
        const std::size_t stop = std::min<std::size_t>(e.byte > 0 ? e.byte - 1 : 0, text.size());
        for (std::size_t i = 0; i < stop; ++i) {
            if (text[i] == '\n') {
                ++line;
                column = 1;
            } else {
                ++column;
            }
        }
        // Keep the parser's own explanation, without its prefix and position.
        std::string what = e.what();
        const auto colon = what.find(": ", what.find("column"));
        if (colon != std::string::npos) what = what.substr(colon + 2);
        throw InputError(path + ":" + std::to_string(line) + ":" + std::to_string(column) +
                         ": malformed JSON: " + what);
    }
}

void readChains(const Reader& reader, const Json& root, Route& route) {
    if (!root.contains("brokenChains")) return;
    const Json& list = reader.array(root, "", "brokenChains");
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string path = indexed("brokenChains", i);
        reader.requireObject(list[i], path);
        reader.allowOnly(list[i], path, {"type", "beforeDK", "afterDK"});
        BrokenChain chain;
        const Json& type = list[i].contains("type") ? list[i]["type"] : Json();
        if (type == "short" || type == kShortChain) {
            chain.type = kShortChain;
        } else if (type == "long" || type == kLongChain) {
            chain.type = kLongChain;
        } else {
            reader.fail(path + ".type", "expected \"short\" or \"long\", found " + type.dump());
        }
        chain.beforeDK = reader.number(list[i], path, "beforeDK");
        chain.afterDK = reader.number(list[i], path, "afterDK");
        if (chain.type == kShortChain && !(chain.afterDK > chain.beforeDK)) {
            reader.fail(path, "a short chain jumps forward: afterDK must exceed beforeDK");
        }
        if (chain.type == kLongChain && !(chain.afterDK < chain.beforeDK)) {
            reader.fail(path, "a long chain jumps back: afterDK must be below beforeDK");
        }
        if (!route.chains.empty() && !(chain.beforeDK > route.chains.back().afterDK)) {
            reader.fail(path, "breaks must be listed in order along the route");
        }
        route.chains.push_back(chain);
    }
    BrokenChainSet set;
    set.setChains(route.chains);
    route.calc.setBrokenChainSet(set);
}

// The curve at intersection point `v` as the library fitted it, with the main values it
// reported, checked for the degenerate cases the library does not refuse.
CurveGroup fitCurve(const Reader& reader, Route& route, std::size_t v, std::size_t firstNew) {
    CurveGroup g;
    const std::string path = indexed("horizontal.jdPoints", v);
    double deflection = 0.0;
    const int status = route.calc.convertJDPointsToRoadCurves(
        g.inBearingDeg, g.outBearingDeg, g.inTangentLength, g.outTangentLength, g.arcLength,
        deflection, g.turnDirection);
    if (status != 0) {
        reader.fail(path,
                    "the library refused to fit this curve (the three points are "
                    "collinear, or the radius is not positive)");
    }
    g.deflectionDeg = deflection;
    const JDPoint& p = route.jdPoints[v];
    g.name = "JD" + std::to_string(v);
    g.fromJD = true;
    g.x = p.x;
    g.y = p.y;
    g.radius = p.radius;
    g.inTransitionLength = std::max(p.inTransitionLength, 0.0);
    g.outTransitionLength = std::max(p.outTransitionLength, 0.0);
    for (double value : {g.inBearingDeg, g.outBearingDeg, g.inTangentLength, g.outTangentLength,
                         g.arcLength, g.deflectionDeg}) {
        if (!std::isfinite(value)) {
            reader.fail(path,
                        "the curve's main values come out not-a-number or infinite "
                        "(degenerate points or radius)");
        }
    }
    if (g.arcLength < -kLengthSlack) {
        reader.fail(path, "the transitions (" + shortNumber(g.inTransitionLength) + " + " +
                              shortNumber(g.outTransitionLength) +
                              ") turn further than the deflection of " +
                              shortNumber(std::fabs(g.deflectionDeg)) + " degrees allows");
    }
    route.elements = route.calc.getRoadCruves();
    g.first = route.elements.size();
    for (std::size_t i = firstNew; i < route.elements.size(); ++i) {
        if (route.elements[i].curveType != kLine) {
            g.first = std::min(g.first, i);
            g.last = i;
        }
    }
    if (g.first == route.elements.size()) reader.fail(path, "no curve was fitted here");
    return g;
}

void readJDPoints(const Reader& reader, const Json& list, Route& route) {
    const std::string base = "horizontal.jdPoints";
    if (list.size() < 2) reader.fail(base, "expected at least a start and an end point");
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string path = indexed(base, i);
        const Json& item = list[i];
        reader.requireObject(item, path);
        JDPoint p;
        const bool first = i == 0;
        const bool last = i + 1 == list.size();
        if (first) {
            reader.allowOnly(item, path, {"x", "y", "pointDK"});
            p.pointType = kStartPoint;
            p.pointDK = reader.number(item, path, "pointDK", 0.0);
        } else if (last) {
            reader.allowOnly(item, path, {"x", "y"});
            p.pointType = kEndPoint;
        } else {
            reader.allowOnly(item, path,
                             {"x", "y", "radius", "inTransitionLength", "outTransitionLength"});
            p.pointType = kMiddlePoint;
            p.radius = reader.number(item, path, "radius");
            if (!(p.radius > 0)) reader.fail(path + ".radius", "expected a positive radius");
            p.inTransitionLength = reader.number(item, path, "inTransitionLength", 0.0);
            p.outTransitionLength = reader.number(item, path, "outTransitionLength", 0.0);
            if (p.inTransitionLength < 0 || p.outTransitionLength < 0) {
                reader.fail(path, "transition lengths cannot be negative (0 means none)");
            }
        }
        p.x = reader.number(item, path, "x");
        p.y = reader.number(item, path, "y");
        if (!first &&
            distance(route.jdPoints.back().x, route.jdPoints.back().y, p.x, p.y) < kLengthSlack) {
            reader.fail(path, "lies on the previous point");
        }
        route.jdPoints.push_back(p);
    }
    const JDPoint& start = route.jdPoints.front();
    route.startDK = dkText(start.pointDK);
    if (route.jdPoints.size() == 2) {  // a single straight: nothing to fit
        const JDPoint& end = route.jdPoints.back();
        route.calc.inputLineCoor(start.pointDK, start.x, start.y, end.x, end.y);
        route.elements = route.calc.getRoadCruves();
        return;
    }

    for (std::size_t i = 0; i < route.jdPoints.size(); ++i) {
        route.calc.addJDPoint(route.jdPoints[i]);
        if (i < 2) continue;
        const std::size_t before = route.calc.getRoadCruves().size();
        route.curves.push_back(fitCurve(reader, route, i - 1, before));
    }

    // Every leg between intersection points must hold the tangents at both its ends.
    for (std::size_t i = 1; i < route.jdPoints.size(); ++i) {
        const JDPoint& a = route.jdPoints[i - 1];
        const JDPoint& b = route.jdPoints[i];
        const double back = i >= 2 ? route.curves[i - 2].outTangentLength : 0.0;
        const double ahead =
            i + 1 < route.jdPoints.size() ? route.curves[i - 1].inTangentLength : 0.0;
        const double leg = distance(a.x, a.y, b.x, b.y);
        if (leg - back - ahead < -kLengthSlack) {
            reader.fail(indexed(base, i), "the leg from the previous point is " + shortNumber(leg) +
                                              " long but its tangents need " +
                                              shortNumber(back + ahead) + " (the curves overlap)");
        }
    }
}

int elementKind(const Reader& reader, const Json& item, const std::string& path) {
    const auto it = item.find("curveType");
    if (it == item.end()) reader.fail(path, "missing field \"curveType\"");
    for (int kind = kLine; kind <= kIncompleteTransition; ++kind) {
        if (*it == curveTypeName(kind) || *it == kind) return kind;
    }
    reader.fail(path + ".curveType",
                "expected \"line\", \"curve\", \"inTransition\", \"outTransition\" or "
                "\"incompleteTransition\", found " +
                    it->dump());
}

void readElements(const Reader& reader, const Json& horizontal, Route& route) {
    const std::string base = "horizontal";
    const Json& list = reader.array(horizontal, base, "elements");
    if (list.empty()) reader.fail(base + ".elements", "expected at least one element");
    double dk = reader.number(horizontal, base, "startDK", 0.0);
    double x = reader.number(horizontal, base, "startX", 0.0);
    double y = reader.number(horizontal, base, "startY", 0.0);
    double bearing = reader.number(horizontal, base, "startBearingDeg", 0.0) / kDegPerRad;
    route.startDK = dkText(dk);
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string path = indexed(base + ".elements", i);
        const Json& item = list[i];
        reader.requireObject(item, path);
        const int kind = elementKind(reader, item, path);
        if (kind == kLine) {
            reader.allowOnly(item, path, {"curveType", "length"});
        } else if (kind == kIncompleteTransition) {
            reader.allowOnly(item, path,
                             {"curveType", "length", "startRadius", "endRadius", "turnDirection"});
        } else {
            reader.allowOnly(item, path, {"curveType", "length", "radius", "turnDirection"});
        }
        const double length = reader.number(item, path, "length");
        if (!(length > 0)) reader.fail(path + ".length", "expected a positive length");
        // The end chainage through the breaks, so that the builder measures `length` back.
        const double endDK = route.calc.calculateDKfromLength(dk, length);
        if (kind == kLine) {
            route.calc.inputLine(dk, endDK, x, y, bearing);
        } else {
            const int turn = reader.turnDirection(item, path);
            if (kind == kIncompleteTransition) {
                route.calc.inputIncompleteTransitionCurve(
                    dk, endDK, x, y, reader.radius(item, path, "startRadius"),
                    reader.radius(item, path, "endRadius"), turn, bearing);
            } else {
                const double r = reader.radius(item, path, "radius");
                if (std::isinf(r)) reader.fail(path + ".radius", "expected a finite radius");
                if (kind == kArc) route.calc.inputCurve(dk, endDK, x, y, r, turn, bearing);
                if (kind == kInTransition) {
                    route.calc.inputInTransitionCurve(dk, endDK, x, y, r, turn, bearing);
                }
                if (kind == kOutTransition) {
                    route.calc.inputOutTransitionCurve(dk, endDK, x, y, r, turn, bearing);
                }
            }
        }
        const RoadCurve e = route.calc.getRoadCruves().back();
        for (double value : {e.endX, e.endY, e.endBearing, e.endDK, e.length}) {
            if (!std::isfinite(value)) {
                reader.fail(path,
                            "the library gives a not-a-number or infinite end for this "
                            "element (degenerate radius or length)");
            }
        }
        dk = e.endDK;
        x = e.endX;
        y = e.endY;
        bearing = e.endBearing;
    }
    route.elements = route.calc.getRoadCruves();
    // Runs of curved elements between straights, named C1, C2, ...
    for (std::size_t i = 0; i < route.elements.size(); ++i) {
        if (route.elements[i].curveType == kLine) continue;
        if (i > 0 && route.elements[i - 1].curveType != kLine) {
            route.curves.back().last = i;
            continue;
        }
        CurveGroup g;
        g.name = "C" + std::to_string(route.curves.size() + 1);
        g.first = g.last = i;
        route.curves.push_back(g);
    }
}

// The library finds the element (and the profile piece) of a chainage by its value alone,
// and numbers curved elements without breaks. So a break must lie inside a straight, and a
// long chain's repeated stretch, both occurrences, inside one straight.
void checkChainPlacement(const Reader& reader, Route& route) {
    for (std::size_t c = 0; c < route.chains.size(); ++c) {
        const BrokenChain& chain = route.chains[c];
        const double at =
            route.calc.calculateLengthBetween2DKs(route.startDK, dkText(chain.beforeDK));
        route.chainLength.push_back(at);
        if (at == kBeforeStart || at < 0 || at > route.totalLength) continue;  // off the route
        const double reach = chain.type == kShortChain ? 0.0 : chain.beforeDK - chain.afterDK;
        const std::size_t i = elementAtLength(route, at);
        const RoadCurve& e = route.elements[i];
        const double start = route.elementStart[i];
        if (e.curveType != kLine || !(at - reach > start) || !(at + reach < start + e.length)) {
            reader.fail(indexed("brokenChains", c),
                        chain.type == kShortChain
                            ? "the break must lie inside a straight (here it falls on element " +
                                  std::to_string(i) + ", a " + curveTypeName(e.curveType) + ")"
                            : "the stretch this long chain repeats must lie inside one straight, "
                              "both occurrences (here it reaches element " +
                                  std::to_string(i) + " and beyond)");
        }
    }
}

void readProfile(const Reader& reader, const Json& root, Route& route) {
    if (!root.contains("profile")) return;
    const Json& profile = root["profile"];
    reader.requireObject(profile, "profile");
    reader.allowOnly(profile, "profile", {"bpPoints"});
    const Json& list = reader.array(profile, "profile", "bpPoints");
    const std::string base = "profile.bpPoints";
    if (list.size() < 3) {
        reader.fail(base, "expected at least three points (start, a grade change, end)");
    }
    std::vector<double> legs;  // length from each point to the next
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string path = indexed(base, i);
        const Json& item = list[i];
        reader.requireObject(item, path);
        const bool middle = i > 0 && i + 1 < list.size();
        if (middle) {
            reader.allowOnly(item, path, {"dk", "elevation", "radius"});
        } else {
            reader.allowOnly(item, path, {"dk", "elevation"});
        }
        RoadVerticalCurvePoint p;
        p.dk = reader.chainage(item, path, "dk");
        p.elevation = reader.number(item, path, "elevation");
        p.radius = middle ? reader.number(item, path, "radius") : 0.0;
        if (p.radius < 0) reader.fail(path + ".radius", "expected a radius >= 0 (0: no curve)");
        p.pointType = middle ? kMiddlePoint : kStartPoint;
        double value = 0.0;
        parseNumber(p.dk, value);
        for (const BrokenChain& chain : route.chains) {
            if (chain.type == kShortChain && value > chain.beforeDK && value < chain.afterDK) {
                reader.fail(path + ".dk", "chainage " + p.dk +
                                              " does not exist: a short chain "
                                              "skips from " +
                                              shortNumber(chain.beforeDK) + " to " +
                                              shortNumber(chain.afterDK));
            }
        }
        if (i > 0) {
            const double leg =
                route.calc.calculateLengthBetween2DKs(route.bpPoints.back().dk, p.dk);
            if (!(leg > 0)) {
                reader.fail(path + ".dk", "chainage " + p.dk +
                                              " does not lie after the previous "
                                              "point's " +
                                              route.bpPoints.back().dk);
            }
            legs.push_back(leg);
        }
        route.bpPoints.push_back(p);
    }

    for (std::size_t i = 0; i < route.bpPoints.size(); ++i) {
        route.calc.addBPPoint(route.bpPoints[i]);
        if (i < 2) continue;
        VerticalCurveInfo info;
        info.bpIndex = i - 1;
        const RoadVerticalCurvePoint& p = route.bpPoints[i - 1];
        info.dk = p.dk;
        info.elevation = p.elevation;
        info.radius = p.radius;
        const std::size_t before = route.calc.getVerticalCurves().size();
        const int status = route.calc.convertBPPointsToVerticalCurves(
            info.grade1, info.grade2, info.tangentLength, info.externalDistance);
        if (status != 0) reader.fail(indexed(base, i - 1), "the library refused this grade change");
        if (!std::isfinite(info.grade1) || !std::isfinite(info.grade2) ||
            !std::isfinite(info.tangentLength)) {
            reader.fail(indexed(base, i - 1), "the grades come out not-a-number or infinite");
        }
        const std::vector<RoadVerticalCurve> pieces = route.calc.getVerticalCurves();
        for (std::size_t k = before; k < pieces.size(); ++k) {
            if (pieces[k].curveType == kFirstHalf) info.startDK = pieces[k].startDK;
            if (pieces[k].curveType == kSecondHalf) info.endDK = pieces[k].endDK;
        }
        info.hasCurve = !info.startDK.empty() && !info.endDK.empty();
        // Profile pieces are found by chainage value too: none may start or end inside a
        // stretch that a long chain repeats.
        for (std::size_t k = before; k < pieces.size(); ++k) {
            for (const std::string& text : {pieces[k].startDK, pieces[k].endDK}) {
                double v = 0.0;
                parseNumber(text, v);
                for (std::size_t c = 0; c < route.chains.size(); ++c) {
                    const BrokenChain& chain = route.chains[c];
                    if (chain.type != kShortChain && v >= chain.afterDK && v <= chain.beforeDK) {
                        reader.fail(indexed(base, i - 1),
                                    "its grade line or vertical curve ends at " + text +
                                        ", inside the stretch that brokenChains[" +
                                        std::to_string(c) +
                                        "] repeats; move the grade change or shorten its curve");
                    }
                }
            }
        }
        // A curve's tangents must fit on the grade lines beside it.
        const std::size_t k = i - 1;
        const double back = k >= 2 ? route.verticalCurves.back().tangentLength : 0.0;
        if (info.hasCurve && info.tangentLength + back > legs[k - 1] + kLengthSlack) {
            reader.fail(indexed(base, k), "the vertical curve's tangent length " +
                                              shortNumber(info.tangentLength) +
                                              " does not fit on the grade line behind it (" +
                                              shortNumber(legs[k - 1] - back) + " free)");
        }
        if (info.hasCurve && i + 1 == route.bpPoints.size() &&
            info.tangentLength > legs[k] + kLengthSlack) {
            reader.fail(indexed(base, k), "the vertical curve's tangent length " +
                                              shortNumber(info.tangentLength) +
                                              " reaches past the last point");
        }
        route.verticalCurves.push_back(info);
    }
    route.profile = route.calc.getVerticalCurves();
}

}  // namespace

std::string curveTypeName(int curveType) {
    switch (curveType) {
        case kLine:
            return "line";
        case kArc:
            return "curve";
        case kInTransition:
            return "inTransition";
        case kOutTransition:
            return "outTransition";
        case kIncompleteTransition:
            return "incompleteTransition";
        default:
            return "kind " + std::to_string(curveType);
    }
}

std::string chainageAtLength(const Route& route, double length) {
    // Slack of reading a length back from a six-decimal chainage text, in metres.
    constexpr double kReadBack = 1e-5;
    std::string dk = route.calc.calculateDKfromLength(route.startDK, length);
    if (std::fabs(route.calc.calculateLengthBetween2DKs(route.startDK, dk) - length) > kReadBack) {
        const std::string marked = "0" + dk;
        if (std::fabs(route.calc.calculateLengthBetween2DKs(route.startDK, marked) - length) <=
            kReadBack) {
            dk = marked;
        }
    }
    return dk;
}

std::size_t elementAtLength(const Route& route, double length) {
    const auto it = std::upper_bound(route.elementStart.begin(), route.elementStart.end(), length);
    const std::size_t after = static_cast<std::size_t>(it - route.elementStart.begin());
    return after == 0 ? 0 : after - 1;
}

void requireFinite(const Route& route, double length, const std::string& dk,
                   std::initializer_list<double> values) {
    for (double v : values) {
        if (std::isfinite(v)) continue;
        const std::size_t i = elementAtLength(route, length);
        throw InputError(route.file + ": horizontal element " + std::to_string(i) + " (" +
                         curveTypeName(route.elements[i].curveType) +
                         ") gives a not-a-number or infinite result at chainage " + dk);
    }
}

Route loadRoute(const std::string& path) {
    const Json root = parseFile(path);
    const Reader reader(path);
    reader.requireObject(root, "(top level)");
    reader.allowOnly(root, "(top level)", {"name", "brokenChains", "horizontal", "profile"});
    Route route;
    route.file = path;
    if (root.contains("name")) {
        if (!root["name"].is_string()) reader.fail("name", "expected a text");
        route.name = root["name"].get<std::string>();
    }
    readChains(reader, root, route);

    if (!root.contains("horizontal")) reader.fail("(top level)", "missing field \"horizontal\"");
    const Json& horizontal = root["horizontal"];
    reader.requireObject(horizontal, "horizontal");
    if (horizontal.contains("jdPoints")) {
        reader.allowOnly(horizontal, "horizontal", {"jdPoints"});
        readJDPoints(reader, reader.array(horizontal, "horizontal", "jdPoints"), route);
    } else if (horizontal.contains("elements")) {
        reader.allowOnly(horizontal, "horizontal",
                         {"startDK", "startX", "startY", "startBearingDeg", "elements"});
        readElements(reader, horizontal, route);
    } else {
        reader.fail("horizontal", "expected \"jdPoints\" or \"elements\"");
    }

    double along = 0.0;
    for (std::size_t i = 0; i < route.elements.size(); ++i) {
        const RoadCurve& e = route.elements[i];
        if (!std::isfinite(e.length) || !std::isfinite(e.endX) || !std::isfinite(e.endY) ||
            !std::isfinite(e.endBearing) || !std::isfinite(e.endDK)) {
            reader.fail("horizontal", "element " + std::to_string(i) + " (" +
                                          curveTypeName(e.curveType) +
                                          ") comes out not-a-number or infinite");
        }
        route.elementStart.push_back(along);
        along += e.length;
    }
    route.totalLength = along;
    checkChainPlacement(reader, route);
    readProfile(reader, root, route);
    return route;
}

std::vector<KeyPoint> keyPoints(const Route& route, const FormatOptions& options) {
    std::vector<KeyPoint> points;
    const auto& el = route.elements;
    std::vector<int> group(el.size(), -1);
    for (std::size_t g = 0; g < route.curves.size(); ++g) {
        for (std::size_t i = route.curves[g].first; i <= route.curves[g].last; ++i) {
            group[i] = static_cast<int>(g);
        }
    }
    auto named = [&route](int g, const char* code) {
        return route.curves[static_cast<std::size_t>(g)].name + " " + code;
    };
    for (std::size_t i = 0; i <= el.size(); ++i) {
        const RoadCurve* a = i > 0 ? &el[i - 1] : nullptr;
        const RoadCurve* b = i < el.size() ? &el[i] : nullptr;
        const int ga = a ? group[i - 1] : -1;
        const int gb = b ? group[i] : -1;
        std::vector<std::string> parts;
        if (!a) parts.emplace_back("BEGIN");
        if (a && ga >= 0 && ga != gb) {  // a curve ends: onto a straight or a transition
            parts.push_back(named(ga, std::isinf(a->endRadius) ? "ST" : "PT"));
            if (a->curveType == kArc) parts.back() = named(ga, "PT");
        }
        if (b && gb >= 0 && ga != gb) {  // a curve begins
            parts.push_back(named(gb, b->curveType == kArc ? "PC" : "TS"));
        }
        if (a && b && ga >= 0 && ga == gb) {  // inside one curve
            const char* code = "PCC";         // compound: one radius to another
            if (a->curveType == kInTransition && b->curveType == kArc) code = "SC";
            if (a->curveType == kArc && b->curveType == kOutTransition) code = "CS";
            if (a->curveType == kInTransition && b->curveType == kOutTransition) code = "SS";
            parts.push_back(named(ga, code));
        }
        if (!b) parts.emplace_back("END");
        if (parts.empty()) continue;  // two straights in a row
        std::string label;
        for (const std::string& part : parts) label += (label.empty() ? "" : " / ") + part;
        points.push_back({i < el.size() ? route.elementStart[i] : route.totalLength, label});
    }
    for (std::size_t g = 0; g < route.curves.size(); ++g) {
        const CurveGroup& c = route.curves[g];
        const double start = route.elementStart[c.first];
        const double end = route.elementStart[c.last] + el[c.last].length;
        points.push_back({(start + end) / 2, named(static_cast<int>(g), "MC")});
    }
    for (std::size_t c = 0; c < route.chains.size(); ++c) {
        const double at = route.chainLength[c];
        if (at < 0 || at > route.totalLength) continue;
        points.push_back({at, "EQ " + formatChainageValue(route.chains[c].beforeDK, options) +
                                  " = " + formatChainageValue(route.chains[c].afterDK, options)});
    }
    std::stable_sort(points.begin(), points.end(),
                     [](const KeyPoint& p, const KeyPoint& q) { return p.length < q.length; });
    return points;
}

}  // namespace rcctool
