// Reading the route JSON file into a route description: every field typed and checked against
// the numeric domain, with one-line messages naming the file and the field path or the line
// and column. Geometry (fitting curves, placing station equations) is left to Route::build.
#include <qv_route/io.hpp>

#include <sys/stat.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <new>
#include <optional>
#include <string>

#include "chainage/chainage.hpp"
#include "horizontal/horizontal.hpp"
#include "io/message.hpp"

namespace qv::route {

namespace {

using Json = nlohmann::json;

// JSON values per file. The parsed tree costs some 50 bytes per value, so this bounds the
// reader's memory to a few hundred MiB whatever the file holds.
constexpr std::size_t kMaxValues = 5'000'000;
constexpr double kGradePercent = 100.0;  // a K value is length per percent of grade change
constexpr double kGonPerHalfTurn = 200.0;
constexpr double kMinutesPerDegree = 60.0;
constexpr double kSecondsPerDegree = 3600.0;
constexpr unsigned char kUtf8Continuation = 0xC0;  // mask and value 0x80 of a continuation byte
constexpr unsigned char kUtf8ContinuationValue = 0x80;
constexpr char kBom[] = "\xEF\xBB\xBF";
constexpr std::size_t kBomBytes = 3;

bool isContinuationByte(char c) {
    return (static_cast<unsigned char>(c) & kUtf8Continuation) == kUtf8ContinuationValue;
}

// A value as a message shows it: short scalars as written, containers by their kind only (a
// long or deep value is never serialised into a message).
std::string describe(const Json& value) {
    if (value.is_string()) return "the text " + message::quoted(value.get<std::string>());
    if (value.is_object()) return "an object";
    if (value.is_array()) return "an array";
    return message::escaped(value.dump(), message::kMaxQuotedChars);
}

// The shortest text that reads back as `value` ("0.001", "1e+09").
std::string shortNumber(double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string indexed(const std::string& path, std::size_t i) {
    return path + "[" + std::to_string(i) + "]";
}

std::string field(const std::string& path, const char* key) {
    return path.empty() ? std::string(key) : path + "." + key;
}

// Line and column (1-based, in characters) of byte `offset` of `text`.
std::string place(std::string_view text, std::size_t offset) {
    std::size_t line = 1;
    std::size_t column = 1;
    const std::size_t stop = std::min(offset, text.size());
    for (std::size_t i = 0; i < stop; ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else if (!isContinuationByte(text[i])) {
            ++column;
        }
    }
    return std::to_string(line) + ":" + std::to_string(column);
}

// The index of the quote that closes the string opening at `i` (or the text's end).
std::size_t stringEnd(std::string_view text, std::size_t i) {
    for (++i; i < text.size() && text[i] != '"'; ++i) {
        if (text[i] == '\\') ++i;  // an escaped character, perhaps a quote
    }
    return i;
}

// Checks, without recursion, what the parser must never see: containers nested deeper than
// kMaxNesting and more than kMaxValues values. Brackets and commas inside strings are text.
void preScan(std::string_view text, const std::string& source) {
    int depth = 0;
    std::size_t values = 1;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            i = stringEnd(text, i);
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxNesting) {
                throw ReadError(message::escaped(source + ":" + place(text, i) +
                                                 ": arrays and objects nested deeper than " +
                                                 std::to_string(kMaxNesting) + " levels"));
            }
        } else if (c == ']' || c == '}') {
            --depth;
        } else if (c == ',' && ++values > kMaxValues) {
            throw ReadError(message::escaped(source + ":" + place(text, i) + ": more than " +
                                             std::to_string(kMaxValues) +
                                             " values in one route file"));
        }
    }
}

// Where the first number that does not fit a double starts (nlohmann reports no place).
std::size_t overflowingNumber(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            i = stringEnd(text, i);
        } else if (c == '-' || (c >= '0' && c <= '9')) {
            std::size_t end = i;
            while (end < text.size() &&
                   std::string_view("0123456789+-.eE").find(text[end]) != std::string_view::npos) {
                ++end;
            }
            const std::string token(text.substr(i, end - i));
            // Overflow gives infinity; underflow to 0 is harmless and was accepted.
            if (std::isinf(std::strtod(token.c_str(), nullptr))) return i;
            i = end - 1;
        }
    }
    return text.size();
}

Json parseText(std::string_view text, const std::string& source) {
    preScan(text, source);
    try {
        return Json::parse(text.begin(), text.end());
    } catch (const Json::parse_error& e) {
        // e.byte counts from 1 and names the byte where parsing stopped.
        const std::size_t stop = e.byte > 0 ? e.byte - 1 : 0;
        // Keep the parser's own explanation, without its prefix and position.
        std::string what = e.what();
        const auto colon = what.find(": ", what.find("column"));
        if (colon != std::string::npos) what = what.substr(colon + 2);
        throw ReadError(
            message::escaped(source + ":" + place(text, stop) + ": malformed JSON: " + what));
    } catch (const Json::out_of_range&) {
        throw ReadError(message::escaped(source + ":" + place(text, overflowingNumber(text)) +
                                         ": a number too large for a double (beyond 1.8e308)"));
    }
}

// Typed access to the JSON tree; every failure names the file and the field path.
class Reader {
public:
    explicit Reader(std::string source) : source_(std::move(source)) {}

    [[noreturn]] void fail(const std::string& path, const std::string& what) const {
        throw ReadError(
            message::escaped(source_ + ": " + (path.empty() ? "(top level)" : path) + ": " + what));
    }

    void requireObject(const Json& value, const std::string& path) const {
        if (!value.is_object()) fail(path, "expected an object, found " + describe(value));
    }

    const Json& member(const Json& object, const std::string& path, const char* key) const {
        const auto it = object.find(key);
        if (it == object.end()) fail(path, std::string("missing field \"") + key + "\"");
        return *it;
    }

    const Json* optional(const Json& object, const char* key) const {
        const auto it = object.find(key);
        return it == object.end() ? nullptr : &*it;
    }

    const Json& array(const Json& object, const std::string& path, const char* key) const {
        const Json& value = member(object, path, key);
        if (!value.is_array()) {
            fail(field(path, key), "expected an array, found " + describe(value));
        }
        return value;
    }

    // Refuses any key outside `allowed`, so that a misspelt optional field is not silently
    // replaced by its default.
    void allowOnly(const Json& object, const std::string& path,
                   std::initializer_list<const char*> allowed) const {
        for (auto it = object.begin(); it != object.end(); ++it) {
            const bool known = std::any_of(allowed.begin(), allowed.end(),
                                           [&it](const char* k) { return it.key() == k; });
            if (!known) {
                std::string list;
                for (const char* k : allowed) list += std::string(list.empty() ? "" : ", ") + k;
                fail(path, "unknown field " + message::quoted(it.key()) +
                               " (expected one of: " + list + ")");
            }
        }
    }

    // At most one of `keys` may be given (two spellings of one quantity).
    const char* oneOf(const Json& object, const std::string& path,
                      std::initializer_list<const char*> keys) const {
        const char* found = nullptr;
        for (const char* k : keys) {
            if (!object.contains(k)) continue;
            if (found) fail(path, std::string("give \"") + found + "\" or \"" + k + "\", not both");
            found = k;
        }
        return found;
    }

    double numberValue(const Json& value, const std::string& path) const {
        if (!value.is_number()) fail(path, "expected a number, found " + describe(value));
        return value.get<double>();
    }

    // A number within [low, high]; `what` names the quantity in the message.
    double bounded(const Json& value, const std::string& path, double low, double high,
                   const char* what) const {
        const double v = numberValue(value, path);
        if (!(v >= low && v <= high)) {
            fail(path, std::string("expected ") + what + " within [" + shortNumber(low) + ", " +
                           shortNumber(high) + "], found " + shortNumber(v));
        }
        return v;
    }

    double coordinate(const Json& object, const std::string& path, const char* key) const {
        return bounded(member(object, path, key), field(path, key), -kMaxCoordinate, kMaxCoordinate,
                       "a coordinate");
    }

    // A length along the route: positive (or, with `zeroAllowed`, zero) and at most the
    // longest route.
    double length(const Json& value, const std::string& path, bool zeroAllowed) const {
        const double v = bounded(value, path, 0.0, kMaxRouteLength, "a length");
        if (!zeroAllowed && v == 0.0) fail(path, "expected a positive length, found 0");
        return v;
    }

    // A horizontal radius within the domain, or "inf" for a straight end when allowed.
    double radius(const Json& value, const std::string& path, bool infinityAllowed) const {
        if (infinityAllowed && value.is_string() && value.get<std::string>() == "inf") {
            return rcc::kInfiniteRadius;
        }
        if (!value.is_number()) {
            fail(path, std::string(infinityAllowed ? "expected a positive number or \"inf\""
                                                   : "expected a number") +
                           ", found " + describe(value));
        }
        return bounded(value, path, kMinRadius, kMaxRadius, "a radius");
    }

    // A station: a number, or text in plain ("1450", "01450" for the second occurrence),
    // K- ("K1+450", "K1+450(2)") or US notation ("14+50").
    Station station(const Json& value, const std::string& path) const {
        Station s;
        if (value.is_string()) {
            const std::optional<Station> parsed = parseStation(value.get<std::string>());
            if (!parsed) {
                fail(path,
                     "expected a station such as 1450.5, \"K1+450.5\", \"14+50.5\" or "
                     "\"01450.5\" (second occurrence), found " +
                         describe(value));
            }
            s = *parsed;
        } else if (value.is_number()) {
            s.value = value.get<double>();
        } else {
            fail(path, "expected a station (a number or a text such as \"K1+450.5\"), found " +
                           describe(value));
        }
        if (!(std::fabs(s.value) <= kMaxCoordinate)) {
            fail(path, "expected a station within [" + shortNumber(-kMaxCoordinate) + ", " +
                           shortNumber(kMaxCoordinate) + "], found " + shortNumber(s.value));
        }
        return s;
    }

    // A station that can only be meant once (a start, either side of an equation).
    double stationValue(const Json& value, const std::string& path) const {
        const Station s = station(value, path);
        if (s.occurrence != 1) fail(path, "a second occurrence has no meaning here");
        return s.value;
    }

    std::string text(const Json& object, const std::string& path, const char* key) const {
        const Json& value = member(object, path, key);
        if (!value.is_string()) fail(field(path, key), "expected a text, found " + describe(value));
        return value.get<std::string>();
    }

    int turnDirection(const Json& object, const std::string& path) const {
        const Json& value = member(object, path, "turnDirection");
        if (!value.is_number_integer() ||
            (value.get<long long>() != 1 && value.get<long long>() != -1)) {
            fail(field(path, "turnDirection"),
                 "expected 1 (bearing grows) or -1 (bearing shrinks), found " + describe(value));
        }
        return static_cast<int>(value.get<long long>());
    }

private:
    std::string source_;
};

// Angle units of the numbers in a file; DMS text is always degrees.
enum class AngleUnit { Degrees, Gon, Radians, PackedDMS };

// Degrees of a packed dd.mmss number (289.0633 is 289°06'33"), or nullopt when its minutes
// or seconds reach 60. The digits are taken from the number rounded to 1e-6 second, so that
// binary round-off (289.0633 is 289.06329999...) does not turn 33" into 32.99999".
std::optional<double> unpackDMS(double packed) {
    constexpr double kDigitsPerField = 100.0;  // two decimal digits each for mm and ss
    constexpr double kSecondScale = 1e6;       // rounding unit: 1e-6 second
    const double magnitude = std::fabs(packed);
    const double degrees = std::floor(magnitude);
    const double rest =
        std::round((magnitude - degrees) * kDigitsPerField * kDigitsPerField * kSecondScale) /
        kSecondScale;  // mmss.ssssss
    const double minutes = std::floor(rest / kDigitsPerField);
    const double seconds = rest - minutes * kDigitsPerField;
    if (minutes >= kMinutesPerDegree || seconds >= kMinutesPerDegree) return std::nullopt;
    const double value = degrees + minutes / kMinutesPerDegree + seconds / kSecondsPerDegree;
    return packed < 0 ? -value : value;
}

// Reads degrees-minutes-seconds text as degrees: "289°06'33.0\"" (also with the primes ′ ″),
// "289-06-33.0", "289 06 33" or "289d06m33s", minutes and seconds optional, a leading sign
// allowed. A lone number counts only with its degree sign ("12.5°"), so that a bare text is
// never taken for degrees where the file's angle unit is another.
std::optional<double> parseDMS(const std::string& text) {
    static const char* const kDegreeMarks[] = {"\xC2\xB0", "d", "-", " "};
    static const char* const kMinuteMarks[] = {"\xE2\x80\xB2", "'", "m", "-", " "};
    static const char* const kSecondMarks[] = {"\xE2\x80\xB3", "\"", "s"};
    std::size_t i = 0;
    auto skipBlanks = [&] {
        while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    };
    auto digits = [&](bool decimals) -> std::optional<double> {
        const std::size_t begin = i;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
        if (decimals && i < text.size() && text[i] == '.') {
            ++i;
            while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
        }
        if (i == begin || text[begin] == '.') return std::nullopt;
        return std::strtod(text.substr(begin, i - begin).c_str(), nullptr);
    };
    auto mark = [&](const auto& marks) {
        for (const char* m : marks) {
            const std::string_view v(m);
            if (text.compare(i, v.size(), v) == 0) {
                i += v.size();
                return std::string(v);
            }
        }
        return std::string();
    };
    skipBlanks();
    double sign = 1.0;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) sign = text[i++] == '-' ? -1.0 : 1.0;
    const std::optional<double> degrees = digits(true);
    if (!degrees) return std::nullopt;
    const std::string degreeMark = mark(kDegreeMarks);
    skipBlanks();
    double minutes = 0.0;
    double seconds = 0.0;
    if (i < text.size()) {
        // Minutes follow: the degrees must be whole.
        const std::optional<double> m = digits(true);
        if (!m || degreeMark.empty() || *degrees != std::floor(*degrees)) return std::nullopt;
        minutes = *m;
        const std::string minuteMark = mark(kMinuteMarks);
        skipBlanks();
        if (i < text.size()) {
            const std::optional<double> s = digits(true);
            if (!s || minuteMark.empty() || minutes != std::floor(minutes)) return std::nullopt;
            seconds = *s;
            mark(kSecondMarks);
            skipBlanks();
        }
    } else if (degreeMark != "\xC2\xB0" && degreeMark != "d") {
        return std::nullopt;  // a bare number: not DMS
    }
    if (i != text.size() || minutes >= kMinutesPerDegree || seconds >= kMinutesPerDegree) {
        return std::nullopt;
    }
    return sign * (*degrees + minutes / kMinutesPerDegree + seconds / kSecondsPerDegree);
}

// An angle in radians: a number in `unit`, or DMS text in degrees.
double angle(const Reader& reader, const Json& value, const std::string& path, AngleUnit unit) {
    constexpr double kMaxTurns = kMaxAngleTurns * rcc::kTwoPi;
    double radians = 0.0;
    if (value.is_string()) {
        const std::optional<double> degrees = parseDMS(value.get<std::string>());
        if (!degrees) {
            reader.fail(path,
                        "expected an angle: a number, or degrees-minutes-seconds text such "
                        "as \"289\xC2\xB0"
                        "06'33.0\\\"\", \"289-06-33.0\" or \"289 06 33\"; "
                        "found " +
                            describe(value));
        }
        radians = *degrees * rcc::kPi / rcc::kDegreesPerHalfTurn;
    } else {
        const double v = reader.numberValue(value, path);
        switch (unit) {
            case AngleUnit::Degrees:
                radians = v * rcc::kPi / rcc::kDegreesPerHalfTurn;
                break;
            case AngleUnit::Gon:
                radians = v * rcc::kPi / kGonPerHalfTurn;
                break;
            case AngleUnit::Radians:
                radians = v;
                break;
            case AngleUnit::PackedDMS: {
                const std::optional<double> degrees = unpackDMS(v);
                if (!degrees) {
                    reader.fail(path,
                                "expected a dd.mmss angle with minutes and seconds below 60, "
                                "found " +
                                    shortNumber(v));
                }
                radians = *degrees * rcc::kPi / rcc::kDegreesPerHalfTurn;
                break;
            }
        }
    }
    if (!(std::fabs(radians) <= kMaxTurns)) {
        reader.fail(path,
                    "expected an angle of at most " + shortNumber(kMaxAngleTurns) + " full turns");
    }
    return radians;
}

struct Context {
    const Reader& reader;
    AngleUnit unit = AngleUnit::Degrees;
};

Frame readFrame(const Reader& reader, const Json& root) {
    const Json* value = reader.optional(root, "frame");
    if (!value) return Frame::XY;
    if (value->is_string()) {
        const std::string f = value->get<std::string>();
        if (f == "xy" || f == "XY") return Frame::XY;
        if (f == "NE" || f == "ne") return Frame::NE;
    }
    reader.fail("frame",
                "expected \"xy\" (x east, y north) or \"NE\" (x = northing, y = easting, "
                "azimuths from north), found " +
                    describe(*value));
}

AngleUnit readAngleUnit(const Reader& reader, const Json& root) {
    const Json* value = reader.optional(root, "angleUnit");
    if (!value) return AngleUnit::Degrees;
    if (value->is_string()) {
        const std::string u = value->get<std::string>();
        if (u == "deg") return AngleUnit::Degrees;
        if (u == "gon") return AngleUnit::Gon;
        if (u == "rad") return AngleUnit::Radians;
        if (u == "dd.mmss") return AngleUnit::PackedDMS;
    }
    reader.fail("angleUnit",
                "expected \"deg\", \"gon\", \"rad\" or \"dd.mmss\", found " + describe(*value));
}

// Station equations, in either of two forms: the library's "brokenChains" (type, beforeDK,
// afterDK) or the surveyor's "equations" (back = ahead).
void readEquations(const Reader& reader, const Json& root, RouteDescription& d) {
    const char* key = reader.oneOf(root, "", {"brokenChains", "equations"});
    if (!key) return;
    const bool chains = std::string(key) == "brokenChains";
    const Json& list = reader.array(root, "", key);
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string path = indexed(key, i);
        reader.requireObject(list[i], path);
        StationEquation e;
        if (chains) {
            reader.allowOnly(list[i], path, {"type", "beforeDK", "afterDK", "name"});
            const Json& type = reader.member(list[i], path, "type");
            // By name, or by the library's chain type code.
            const bool isShort = type == "short" || type == rcc::kShortChainType;
            const bool isLong = type == "long" || type == rcc::kLongChainType;
            if (!isShort && !isLong) {
                reader.fail(path + ".type",
                            "expected \"short\" or \"long\", found " + describe(type));
            }
            e.back =
                reader.stationValue(reader.member(list[i], path, "beforeDK"), path + ".beforeDK");
            e.ahead =
                reader.stationValue(reader.member(list[i], path, "afterDK"), path + ".afterDK");
            if (isShort && !(e.ahead > e.back)) {
                reader.fail(path, "a short chain jumps forward: afterDK must exceed beforeDK");
            }
            if (isLong && !(e.ahead < e.back)) {
                reader.fail(path, "a long chain jumps back: afterDK must be below beforeDK");
            }
        } else {
            reader.allowOnly(list[i], path, {"back", "ahead", "name"});
            e.back = reader.stationValue(reader.member(list[i], path, "back"), path + ".back");
            e.ahead = reader.stationValue(reader.member(list[i], path, "ahead"), path + ".ahead");
        }
        if (list[i].contains("name")) e.name = reader.text(list[i], path, "name");
        if (!d.equations.empty() && !(e.back > d.equations.back().ahead)) {
            reader.fail(path, "station equations must be listed in order along the route");
        }
        d.equations.push_back(e);
    }
}

[[noreturn]] void failLength(const Reader& reader, const std::string& path, double l) {
    reader.fail(path, "gives a length of " + shortNumber(l) + ", expected one within (0, " +
                          shortNumber(kMaxRouteLength) + "]");
}

// A transition's length, given as "...Length" or as its parameter "...A" (L = A^2 / R for a
// clothoid from a straight to radius R); 0 when neither is given.
double transitionLength(const Reader& reader, const Json& item, const std::string& path,
                        const char* lengthKey, const char* parameterKey, double radius) {
    const char* key = reader.oneOf(item, path, {lengthKey, parameterKey});
    if (!key) return 0.0;
    const std::string at = path + "." + key;
    if (std::string(key) == lengthKey) return reader.length(item[key], at, true);
    const double a = reader.bounded(item[key], at, 0.0, kMaxRadius, "a clothoid parameter");
    const double l = a * a / radius;
    if (!(l <= kMaxRouteLength)) failLength(reader, at, l);
    return l;
}

void readPoints(const Context& c, const Json& list, RouteDescription& d) {
    const Reader& reader = c.reader;
    const std::string base = "horizontal.jdPoints";
    if (list.size() < 2) reader.fail(base, "expected at least a start and an end point");
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string path = indexed(base, i);
        const Json& item = list[i];
        reader.requireObject(item, path);
        IntersectionPoint p;
        const bool first = i == 0;
        const bool last = i + 1 == list.size();
        if (first) {
            reader.allowOnly(item, path, {"x", "y", "pointDK", "name"});
            if (const Json* dk = reader.optional(item, "pointDK")) {
                d.startStation = reader.stationValue(*dk, path + ".pointDK");
            }
        } else if (last) {
            reader.allowOnly(item, path, {"x", "y", "name"});
        } else {
            reader.allowOnly(item, path,
                             {"x", "y", "radius", "inTransitionLength", "outTransitionLength",
                              "inTransitionA", "outTransitionA", "name"});
            p.radius = reader.radius(reader.member(item, path, "radius"), path + ".radius", false);
            p.inTransitionLength = transitionLength(reader, item, path, "inTransitionLength",
                                                    "inTransitionA", p.radius);
            p.outTransitionLength = transitionLength(reader, item, path, "outTransitionLength",
                                                     "outTransitionA", p.radius);
        }
        p.x = reader.coordinate(item, path, "x");
        p.y = reader.coordinate(item, path, "y");
        if (item.contains("name")) p.name = reader.text(item, path, "name");
        if (!first && p.x == d.horizontal.points.back().x && p.y == d.horizontal.points.back().y) {
            reader.fail(path, "lies on the previous point");  // exact: the same numbers twice
        }
        d.horizontal.points.push_back(p);
    }
}

ElementKind elementKind(const Reader& reader, const Json& item, const std::string& path) {
    const Json& type = reader.member(item, path, "curveType");
    struct Name {
        const char* text;
        ElementKind kind;
    };
    static const Name kNames[] = {{"line", ElementKind::Line},
                                  {"curve", ElementKind::Arc},
                                  {"inTransition", ElementKind::InTransition},
                                  {"outTransition", ElementKind::OutTransition},
                                  {"incompleteTransition", ElementKind::TransitionBetweenRadii}};
    for (const Name& n : kNames) {
        if (type == n.text || type == static_cast<int>(n.kind)) return n.kind;
    }
    reader.fail(path + ".curveType",
                "expected \"line\", \"curve\", \"inTransition\", \"outTransition\" or "
                "\"incompleteTransition\", found " +
                    describe(type));
}

void readElements(const Context& c, const Json& horizontal, RouteDescription& d) {
    const Reader& reader = c.reader;
    const std::string base = "horizontal";
    const Json& list = reader.array(horizontal, base, "elements");
    if (list.empty()) reader.fail(base + ".elements", "expected at least one element");
    if (const Json* dk = reader.optional(horizontal, "startDK")) {
        d.startStation = reader.stationValue(*dk, base + ".startDK");
    }
    if (horizontal.contains("startX"))
        d.horizontal.start.x = reader.coordinate(horizontal, base, "startX");
    if (horizontal.contains("startY"))
        d.horizontal.start.y = reader.coordinate(horizontal, base, "startY");
    // "startBearingDeg" is in degrees whatever angleUnit says; "startBearing" follows it.
    if (const char* key = reader.oneOf(horizontal, base, {"startBearingDeg", "startBearing"})) {
        const AngleUnit unit = std::string(key) == "startBearingDeg" ? AngleUnit::Degrees : c.unit;
        d.horizontal.startBearing = angle(reader, horizontal[key], base + "." + key, unit);
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string path = indexed(base + ".elements", i);
        const Json& item = list[i];
        reader.requireObject(item, path);
        ElementDescription e;
        e.kind = elementKind(reader, item, path);
        switch (e.kind) {
            case ElementKind::Line:
                reader.allowOnly(item, path, {"curveType", "length", "name"});
                break;
            case ElementKind::TransitionBetweenRadii:
                reader.allowOnly(item, path,
                                 {"curveType", "length", "A", "startRadius", "endRadius",
                                  "turnDirection", "name"});
                e.startRadius = reader.radius(reader.member(item, path, "startRadius"),
                                              path + ".startRadius", true);
                e.endRadius = reader.radius(reader.member(item, path, "endRadius"),
                                            path + ".endRadius", true);
                break;
            case ElementKind::Arc:
                reader.allowOnly(item, path,
                                 {"curveType", "length", "radius", "turnDirection", "name"});
                e.startRadius = e.endRadius =
                    reader.radius(reader.member(item, path, "radius"), path + ".radius", false);
                break;
            default:
                reader.allowOnly(item, path,
                                 {"curveType", "length", "A", "radius", "turnDirection", "name"});
                (e.kind == ElementKind::InTransition ? e.endRadius : e.startRadius) =
                    reader.radius(reader.member(item, path, "radius"), path + ".radius", false);
                break;
        }
        const char* lengthKey = e.kind == ElementKind::Line || e.kind == ElementKind::Arc
                                    ? "length"
                                    : reader.oneOf(item, path, {"length", "A"});
        if (!lengthKey)
            reader.fail(path, "missing field \"length\" (or the clothoid parameter \"A\")");
        if (std::string(lengthKey) == "length") {
            e.length = reader.length(reader.member(item, path, "length"), path + ".length", false);
        } else {
            // A clothoid's curvature changes by L / A^2 over its length L.
            const double a =
                reader.bounded(item["A"], path + ".A", 0.0, kMaxRadius, "a clothoid parameter");
            const double change = std::fabs(1.0 / e.endRadius - 1.0 / e.startRadius);
            e.length = a * a * change;
            if (!(e.length > 0 && e.length <= kMaxRouteLength))
                failLength(reader, path + ".A", e.length);
        }
        if (e.kind != ElementKind::Line) e.turn = reader.turnDirection(item, path);
        if (item.contains("name")) e.name = reader.text(item, path, "name");
        d.horizontal.elements.push_back(e);
    }
}

void readProfile(const Reader& reader, const Json& root, RouteDescription& d) {
    const Json* profile = reader.optional(root, "profile");
    if (!profile) return;
    reader.requireObject(*profile, "profile");
    reader.allowOnly(*profile, "profile", {"bpPoints"});
    const Json& list = reader.array(*profile, "profile", "bpPoints");
    const std::string base = "profile.bpPoints";
    if (list.size() < 3) {
        reader.fail(base, "expected at least three points (start, a grade change, end)");
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string path = indexed(base, i);
        const Json& item = list[i];
        reader.requireObject(item, path);
        GradePoint p;
        const bool middle = i > 0 && i + 1 < list.size();
        if (middle) {
            reader.allowOnly(item, path, {"dk", "elevation", "radius", "length", "K", "name"});
            // A vertical curve by its radius R, its length L, or K = L / |g2 - g1| in length
            // per percent of grade change, so that R = 100 K.
            const char* key = reader.oneOf(item, path, {"radius", "length", "K"});
            if (!key) reader.fail(path, "missing field \"radius\" (or \"length\" or \"K\")");
            const std::string at = path + "." + key;
            const std::string k = key;
            if (k == "radius") {
                p.radius = reader.bounded(item[key], at, 0.0, kMaxRadius, "a radius (0: no curve)");
            } else if (k == "length") {
                p.length = reader.length(item[key], at, true);
            } else {
                p.radius = kGradePercent *
                           reader.bounded(item[key], at, 0.0, kMaxRadius / kGradePercent,
                                          "a K value (length per percent of grade change)");
            }
        } else {
            reader.allowOnly(item, path, {"dk", "elevation", "name"});
        }
        p.station = reader.station(reader.member(item, path, "dk"), path + ".dk");
        p.elevation = reader.bounded(reader.member(item, path, "elevation"), path + ".elevation",
                                     -kMaxCoordinate, kMaxCoordinate, "an elevation");
        if (item.contains("name")) p.name = reader.text(item, path, "name");
        d.profile.push_back(p);
    }
}

RouteDescription readDescription(const Json& root, const Reader& reader) {
    reader.requireObject(root, "");
    reader.allowOnly(root, "",
                     {"name", "frame", "angleUnit", "coordinateSystem", "brokenChains", "equations",
                      "horizontal", "profile"});
    RouteDescription d;
    if (root.contains("name")) d.name = reader.text(root, "", "name");
    if (root.contains("coordinateSystem")) {
        d.coordinateSystem = reader.text(root, "", "coordinateSystem");
    }
    d.frame = readFrame(reader, root);
    const Context context{reader, readAngleUnit(reader, root)};
    readEquations(reader, root, d);

    const Json& horizontal = reader.member(root, "", "horizontal");
    reader.requireObject(horizontal, "horizontal");
    if (horizontal.contains("jdPoints")) {
        reader.allowOnly(horizontal, "horizontal", {"jdPoints"});
        readPoints(context, reader.array(horizontal, "horizontal", "jdPoints"), d);
    } else if (horizontal.contains("elements")) {
        reader.allowOnly(
            horizontal, "horizontal",
            {"startDK", "startX", "startY", "startBearingDeg", "startBearing", "elements"});
        readElements(context, horizontal, d);
    } else {
        reader.fail("horizontal", "expected \"jdPoints\" or \"elements\"");
    }
    readProfile(reader, root, d);
    return d;
}

std::string_view withoutBom(std::string_view text) {
    if (text.substr(0, kBomBytes) == std::string_view(kBom, kBomBytes))
        text.remove_prefix(kBomBytes);
    return text;
}

std::string tooLarge(const std::string& source) {
    return source + ": larger than the " + std::to_string(kMaxInputBytes >> 20) +
           " MiB a route file may have";
}

}  // namespace

ReadResult readRouteJson(std::string_view text, const std::string& source) {
    try {
        if (text.size() > kMaxInputBytes) throw ReadError(message::escaped(tooLarge(source)));
        text = withoutBom(text);
        const Json root = parseText(text, source);
        ReadResult result;
        result.description = readDescription(root, Reader(source));
        return result;
    } catch (const std::bad_alloc&) {
        throw ReadError(message::escaped(source + ": not enough memory to read this file"));
    }
}

ReadResult readRouteFile(const std::string& path, const ReadOptions& options) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        throw ReadError(message::escaped(path + ": cannot open the file: " + std::strerror(errno)));
    }
    if (S_ISDIR(info.st_mode))
        throw ReadError(message::escaped(path + ": is a directory, not a route file"));
    if (!S_ISREG(info.st_mode)) {
        throw ReadError(
            message::escaped(path + ": is not a regular file (a device, pipe or socket)"));
    }
    if (static_cast<std::uintmax_t>(info.st_size) > kMaxInputBytes) {
        throw ReadError(message::escaped(tooLarge(path)));
    }
    std::string text;
    try {
        std::ifstream in(path, std::ios::binary);
        if (!in) throw ReadError(message::escaped(path + ": cannot open the file"));
        // Read at most one byte past the limit, in case the file grew since stat.
        text.resize(static_cast<std::size_t>(info.st_size) + 1);
        in.read(text.data(), static_cast<std::streamsize>(text.size()));
        if (in.bad()) throw ReadError(message::escaped(path + ": cannot read the file"));
        text.resize(static_cast<std::size_t>(in.gcount()));
        if (text.size() > kMaxInputBytes) throw ReadError(message::escaped(tooLarge(path)));
    } catch (const std::bad_alloc&) {
        throw ReadError(message::escaped(path + ": not enough memory to read this file"));
    }
    const std::string_view body = withoutBom(text);
    const std::size_t first = body.find_first_not_of(" \t\r\n");
    if (first != std::string_view::npos && body[first] == '<') {
        return readLandXml(text, path, options);
    }
    return readRouteJson(text, path);
}

}  // namespace qv::route
