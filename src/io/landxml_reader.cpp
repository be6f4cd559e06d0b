// Reading LandXML 1.0-1.2 (and InfraModel) alignments into a route description in the
// surveyor's frame: x = northing, y = easting, bearings are azimuths clockwise from north.
#include <qv_route/io.hpp>

#include <pugixml.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "horizontal/horizontal.hpp"
#include "io/landxml.hpp"

namespace qv::route {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

/// Longest part of a file's own text (a name, a number) quoted in a message, in bytes.
constexpr std::size_t kMaxQuoted = 60;
/// Longest message, in bytes; what() stays one readable line.
constexpr std::size_t kMaxMessage = 300;
/// Two stations closer than this (length units) are the same station: equal text in the
/// file, rounded to six decimals at most.
constexpr double kSameStation = 1e-6;
/// How far a direction the file states may lie from the one its coordinates give before it
/// counts as a different convention, radians (about 0.06 grads): files quote directions to
/// four decimals or more, and a short element's coordinates to the millimetre.
constexpr double kDirectionTolerance = 1e-3;
/// Shortest element kept, length units: the resolution of the library's chainages (six
/// decimals). Shorter ones (exporters write zero-length straights between touching curves)
/// would be built with no length and have no direction to build from.
constexpr double kShortestElement = 1e-6;
/// Points at which a circular vertical curve is compared with its parabola.
constexpr int kCircleSamples = 256;

/// Gradians and degrees per half turn.
constexpr double kGradsPerHalfTurn = 200.0;
/// Minutes per degree and seconds per minute in the sexagesimal "dd.mmss" form.
constexpr double kSexagesimal = 60.0;

std::string_view localName(const char* name) {
    const std::string_view full(name);
    const std::size_t colon = full.rfind(':');
    return colon == std::string_view::npos ? full : full.substr(colon + 1);
}

bool nameIs(const pugi::xml_node& node, std::string_view name) {
    return node.type() == pugi::node_element && localName(node.name()) == name;
}

pugi::xml_node childNamed(const pugi::xml_node& node, std::string_view name) {
    for (pugi::xml_node child : node.children()) {
        if (nameIs(child, name)) return child;
    }
    return {};
}

std::vector<pugi::xml_node> childrenNamed(const pugi::xml_node& node, std::string_view name) {
    std::vector<pugi::xml_node> found;
    for (pugi::xml_node child : node.children()) {
        if (nameIs(child, name)) found.push_back(child);
    }
    return found;
}

pugi::xml_attribute attributeNamed(const pugi::xml_node& node, std::string_view name) {
    for (pugi::xml_attribute attribute : node.attributes()) {
        if (localName(attribute.name()) == name) return attribute;
    }
    return {};
}

/// The file's text as it may appear in a message: control characters escaped, shortened.
std::string quoted(std::string_view text, std::size_t limit = kMaxQuoted) {
    std::string out;
    for (const char c : text.substr(0, limit)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f) {
            constexpr char kHex[] = "0123456789abcdef";
            out += "\\x";
            out += kHex[byte >> 4];
            out += kHex[byte & 0xf];
        } else {
            out += c;
        }
    }
    if (text.size() > limit) out += "...";
    return out;
}

/// A small distance in a message, to three significant digits ("0.00123", "1.25e-05").
std::string distanceText(double value) {
    constexpr std::size_t kChars = 32;
    char text[kChars];
    std::snprintf(text, kChars, "%.3g", value);
    return text;
}

std::string lower(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
}

/// XML white space.
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view trim(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

/// A plain decimal number ("280.", "-1.5e3", "+2"); nullopt for anything else, for NaN and
/// for infinities.
std::optional<double> parseNumber(std::string_view text) {
    text = trim(text);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || text.empty()) {
        return std::nullopt;
    }
    if (!std::isfinite(value)) return std::nullopt;
    return value;
}

/// The blank-separated words of a text ("north east z").
std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> out;
    std::size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && isBlank(text[i])) ++i;
        const std::size_t begin = i;
        while (i < text.size() && !isBlank(text[i])) ++i;
        if (i > begin) out.push_back(text.substr(begin, i - begin));
    }
    return out;
}

// ---- Encodings ------------------------------------------------------------------------

/// Unicode code points of the bytes 0x80-0x9F in Windows-1252 (0: unassigned, read as the
/// ISO-8859-1 control character of the same value).
constexpr char16_t kWindows1252High[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

/// UTF-8 of a code point of the Basic Multilingual Plane (all that 8-bit encodings hold):
/// one byte below 0x80, 110xxxxx 10xxxxxx below 0x800, 1110xxxx 10xxxxxx 10xxxxxx above.
void appendUtf8(std::string& out, char32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

/// The encoding the XML declaration names, lower case; empty when there is none.
std::string declaredEncoding(std::string_view text) {
    if (text.substr(0, 5) != "<?xml") return {};
    const std::size_t close = text.find("?>");
    const std::string_view declaration = text.substr(0, close);
    const std::size_t key = declaration.find("encoding");
    if (key == std::string_view::npos) return {};
    const std::size_t quote = declaration.find_first_of("\"'", key);
    if (quote == std::string_view::npos) return {};
    const std::size_t end = declaration.find(declaration[quote], quote + 1);
    if (end == std::string_view::npos) return {};
    return lower(declaration.substr(quote + 1, end - quote - 1));
}

/// The text as UTF-8 without a byte-order mark: UTF-8 passes unchanged, ISO-8859-1 and
/// Windows-1252 are converted byte by byte. Throws for any other encoding.
std::string toUtf8(std::string_view text, const std::string& source) {
    if (text.substr(0, 3) == "\xEF\xBB\xBF") return std::string(text.substr(3));
    if (text.substr(0, 2) == "\xFF\xFE" || text.substr(0, 2) == "\xFE\xFF") {
        throw ReadError(source + ": UTF-16 is not read; save the file as UTF-8");
    }
    const std::string encoding = declaredEncoding(text);
    const bool latin1 = encoding == "iso-8859-1" || encoding == "iso8859-1" ||
                        encoding == "latin1" || encoding == "latin-1" || encoding == "l1";
    const bool windows = encoding == "windows-1252" || encoding == "cp1252";
    if (!latin1 && !windows) {
        if (encoding.empty() || encoding == "utf-8" || encoding == "utf8" ||
            encoding == "us-ascii" || encoding == "ascii") {
            return std::string(text);
        }
        throw ReadError(source + ": encoding " + quoted(encoding) +
                        " is not read (UTF-8, ISO-8859-1 or Windows-1252)");
    }
    constexpr unsigned kFirstHigh = 0x80;
    constexpr unsigned kLastWindows = 0x9F;
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char32_t code = byte;
        if (windows && byte >= kFirstHigh && byte <= kLastWindows &&
            kWindows1252High[byte - kFirstHigh] != 0) {
            code = kWindows1252High[byte - kFirstHigh];
        }
        appendUtf8(out, code);
    }
    return out;
}

/// Line and column (both from 1, the column in characters) of a byte offset in UTF-8 text.
std::pair<std::size_t, std::size_t> lineAndColumn(std::string_view text, std::ptrdiff_t offset) {
    const std::size_t end =
        std::min(text.size(), static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0)));
    std::size_t line = 1;
    std::size_t column = 1;
    for (std::size_t i = 0; i < end; ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
            ++column;  // continuation bytes of a UTF-8 sequence add no column
        }
    }
    return {line, column};
}

// ---- Units ----------------------------------------------------------------------------

enum class AngleUnit { Radians, Grads, Degrees, DegreesMinutesSeconds };

struct Units {
    double length = 1.0;     ///< route length units per file length unit
    double elevation = 1.0;  ///< route length units per file elevation unit
    AngleUnit direction = AngleUnit::Radians;
};

/// Degrees from the sexagesimal "dd.mmss" form: 12.3045 is 12 degrees 30 minutes 45 seconds
/// (the digits after the point are minutes, then seconds with their own decimals).
std::optional<double> parseSexagesimal(std::string_view text) {
    text = trim(text);
    const std::optional<double> whole = parseNumber(text);
    if (!whole) return std::nullopt;
    const bool negative = !text.empty() && text.front() == '-';
    const std::size_t point = text.find('.');
    double degrees = std::floor(std::fabs(*whole));
    if (point != std::string_view::npos) {
        std::string digits(text.substr(point + 1));
        const std::size_t exponent = digits.find_first_of("eE");
        if (exponent != std::string::npos) return std::nullopt;
        digits.resize(std::max<std::size_t>(digits.size(), 4), '0');
        const double minutes = *parseNumber(digits.substr(0, 2));
        const std::string seconds = digits.substr(2, 2) + "." + digits.substr(4);
        degrees += minutes / kSexagesimal + *parseNumber(seconds) / (kSexagesimal * kSexagesimal);
    }
    return negative ? -degrees : degrees;
}

// ---- The reader -------------------------------------------------------------------------

/// The conventions a file's stated directions may follow, as functions of the azimuth a.
enum Convention : unsigned {
    kAzimuth = 1,       ///< clockwise from north: a
    kCounterNorth = 2,  ///< counter-clockwise from north: -a
    kCounterEast = 4,   ///< counter-clockwise from east: pi/2 - a
    kAllConventions = 7,
};

class Reader {
public:
    Reader(std::string source, const ReadOptions& options)
        : source_(std::move(source)), options_(options) {}

    [[noreturn]] void fail(const std::string& where, const std::string& what) const {
        std::string message = source_ + ": " + where + ": " + what;
        if (message.size() > kMaxMessage) message = message.substr(0, kMaxMessage) + "...";
        throw ReadError(message);
    }

    /// "Alignment[name=A]/CoordGeom/Spiral[3]": the node's place, from its alignment down
    /// (or from below the root for nodes outside every alignment).
    std::string path(pugi::xml_node node) const {
        std::vector<std::string> parts;
        for (; node && node.parent() && node.parent().type() == pugi::node_element;
             node = node.parent()) {
            const std::string_view name = localName(node.name());
            std::string part(quoted(name));
            if (name == "Alignment") {
                part += "[name=" + quoted(attributeNamed(node, "name").value()) + "]";
                parts.push_back(part);
                break;
            }
            std::size_t index = 0;
            std::size_t count = 0;
            for (pugi::xml_node sibling : node.parent().children()) {
                if (!nameIs(sibling, name)) continue;
                ++count;
                if (sibling == node) index = count;
            }
            if (count > 1) part += "[" + std::to_string(index) + "]";
            parts.push_back(part);
        }
        std::string out;
        for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
            if (!out.empty()) out += '/';
            out += *part;
        }
        return out;
    }

    std::string_view requiredText(const pugi::xml_node& node, std::string_view name) const {
        const pugi::xml_attribute attribute = attributeNamed(node, name);
        if (!attribute) fail(path(node) + "@" + std::string(name), "missing");
        return attribute.value();
    }

    double number(const pugi::xml_node& node, std::string_view name, std::string_view text,
                  double limit) const {
        const std::optional<double> value = parseNumber(text);
        if (!value) fail(path(node) + "@" + std::string(name), "not a number: " + quoted(text));
        if (std::fabs(*value) > limit) {
            fail(path(node) + "@" + std::string(name), "out of range: " + quoted(text));
        }
        return *value;
    }

    /// A required numeric attribute.
    double requiredNumber(const pugi::xml_node& node, std::string_view name,
                          double limit = kMaxCoordinate) const {
        return number(node, name, requiredText(node, name), limit);
    }

    std::optional<double> optionalNumber(const pugi::xml_node& node, std::string_view name,
                                         double limit = kMaxCoordinate) const {
        const pugi::xml_attribute attribute = attributeNamed(node, name);
        if (!attribute) return std::nullopt;
        return number(node, name, attribute.value(), limit);
    }

    /// A radius in metres: "INF" (any case) is a straight end, +inf.
    double radius(const pugi::xml_node& node, std::string_view name) const {
        const std::string_view text = requiredText(node, name);
        if (lower(trim(text)) == "inf" || lower(trim(text)) == "infinity") return kInf;
        const double value = std::fabs(number(node, name, text, kMaxRadius)) * units_.length;
        if (value < kMinRadius) fail(path(node) + "@" + std::string(name), "radius too small");
        return value;
    }

    /// The numbers of a child element's text ("north east [z]" or "station elevation").
    std::vector<double> numbers(const pugi::xml_node& node, std::size_t least,
                                std::size_t most) const {
        const std::vector<std::string_view> items = words(node.child_value());
        if (items.size() < least || items.size() > most) {
            fail(path(node), "expected " + std::to_string(least) +
                                 (most > least ? " to " + std::to_string(most) : "") +
                                 " numbers, found " + quoted(node.child_value()));
        }
        std::vector<double> out;
        for (const std::string_view item : items) {
            const std::optional<double> value = parseNumber(item);
            if (!value || std::fabs(*value) > kMaxCoordinate) {
                fail(path(node), "not a number in range: " + quoted(item));
            }
            out.push_back(*value);
        }
        return out;
    }

    /// A point child ("north east [z]") in the NE frame, metres.
    PlanePoint point(const pugi::xml_node& element, std::string_view name) const {
        const pugi::xml_node node = childNamed(element, name);
        if (!node) fail(path(element) + "/" + std::string(name), "missing");
        const std::vector<double> values = numbers(node, 2, 3);
        return {values[0] * units_.length, values[1] * units_.length};
    }

    void readUnits(const pugi::xml_node& root) {
        const pugi::xml_node units = childNamed(root, "Units");
        if (!units) return;
        pugi::xml_node system = childNamed(units, "Metric");
        const bool imperial = !system;
        if (imperial) system = childNamed(units, "Imperial");
        if (!system) return;
        // Metres per unit of a length attribute, and the unit the route keeps.
        const auto unitOf = [&](std::string_view name, double fallback,
                                LengthUnit& kept) -> double {
            const pugi::xml_attribute attribute = attributeNamed(system, name);
            if (!attribute) return fallback;
            const std::string unit = lower(trim(attribute.value()));
            kept = LengthUnit::Metre;
            if (unit == "meter" || unit == "metre") return 1.0;
            if (unit == "kilometer") return 1e3;
            if (unit == "millimeter") return 1e-3;
            if (unit == "foot" || unit == "feet") {
                kept = LengthUnit::Foot;
                return rcc_io::kMetresPerFoot;
            }
            if (unit == "ussurveyfoot") {
                kept = LengthUnit::USSurveyFoot;
                return rcc_io::kMetresPerSurveyFoot;
            }
            fail(path(system) + "@" + std::string(name),
                 "length unit " + quoted(attribute.value()) + " is not read");
        };
        // The route keeps the file's foot, so that its stations read as the file writes
        // them; kilometres and millimetres become metres. Elevations in another unit than
        // lengths (a metric profile on a feet plan) are converted to the lengths' unit.
        lengthUnit_ = imperial ? LengthUnit::Foot : LengthUnit::Metre;
        const double fileMetres =
            unitOf("linearUnit", imperial ? rcc_io::kMetresPerFoot : 1.0, lengthUnit_);
        const double routeMetres = rcc_io::metresPer(lengthUnit_);
        units_.length = fileMetres / routeMetres;
        LengthUnit elevationUnit = lengthUnit_;
        units_.elevation = unitOf("elevationUnit", fileMetres, elevationUnit) / routeMetres;
        if (const pugi::xml_attribute attribute = attributeNamed(system, "directionUnit")) {
            // Repeated blanks occur in the wild ("decimal  dd.mm.ss").
            std::string unit;
            for (const std::string_view word : words(attribute.value())) {
                unit += (unit.empty() ? "" : " ") + lower(word);
            }
            if (unit == "radians") {
                units_.direction = AngleUnit::Radians;
            } else if (unit == "grads") {
                units_.direction = AngleUnit::Grads;
            } else if (unit == "decimal degrees") {
                units_.direction = AngleUnit::Degrees;
            } else if (unit == "decimal dd.mm.ss") {
                units_.direction = AngleUnit::DegreesMinutesSeconds;
            } else {
                fail(path(system) + "@directionUnit",
                     "direction unit " + quoted(attribute.value()) + " is not read");
            }
        }
    }

    /// A direction the file states, in radians; nullopt when the attribute is absent.
    std::optional<double> direction(const pugi::xml_node& node, std::string_view name) const {
        const pugi::xml_attribute attribute = attributeNamed(node, name);
        if (!attribute) return std::nullopt;
        const std::string_view text = attribute.value();
        switch (units_.direction) {
            case AngleUnit::Radians:
                return number(node, name, text, kMaxCoordinate);
            case AngleUnit::Grads:
                return number(node, name, text, kMaxCoordinate) * rcc::kPi / kGradsPerHalfTurn;
            case AngleUnit::Degrees:
                return number(node, name, text, kMaxCoordinate) * rcc::kPi /
                       rcc::kDegreesPerHalfTurn;
            case AngleUnit::DegreesMinutesSeconds: {
                const std::optional<double> degrees = parseSexagesimal(text);
                if (!degrees || std::fabs(*degrees) > kMaxCoordinate) {
                    fail(path(node) + "@" + std::string(name), "not an angle: " + quoted(text));
                }
                return *degrees * rcc::kPi / rcc::kDegreesPerHalfTurn;
            }
        }
        return std::nullopt;
    }

    /// Compares a stated direction with the azimuth the coordinates give, keeps the
    /// conventions both agree on, and warns once when none is left.
    void checkDirection(const pugi::xml_node& node, std::string_view name, double azimuth,
                        std::size_t element) {
        const std::optional<double> stated = direction(node, name);
        if (!stated) return;
        const auto near = [&](double a, double b) {
            const double difference = std::remainder(a - b, rcc::kTwoPi);
            return std::fabs(difference) <= kDirectionTolerance;
        };
        unsigned fitting = 0;
        if (near(*stated, azimuth)) fitting |= kAzimuth;
        if (near(*stated, -azimuth)) fitting |= kCounterNorth;
        if (near(*stated, rcc::kHalfPi - azimuth)) fitting |= kCounterEast;
        const unsigned left = conventions_ & fitting;
        if (left == 0 && !directionWarned_) {
            directionWarned_ = true;
            warn("horizontal.elements[" + std::to_string(element) + "]",
                 path(node) + "@" + std::string(name) +
                     " disagrees with the direction of its coordinates in every convention "
                     "the file's other directions follow; directions are taken from the "
                     "coordinates");
        }
        if (left != 0) conventions_ = left;
    }

    void warn(std::string where, std::string message) {
        warnings_.push_back({Diagnostic::Severity::Warning, std::move(where), std::move(message)});
    }

    int rotation(const pugi::xml_node& node) const {
        const std::string rot = lower(trim(requiredText(node, "rot")));
        if (rot == "cw") return 1;  // clockwise on a north-up map: the azimuth grows
        if (rot == "ccw") return -1;
        fail(path(node) + "@rot", "expected cw or ccw, found " + quoted(rot));
    }

    /// Length from the attribute (required when `required`), in metres, positive.
    std::optional<double> length(const pugi::xml_node& node, bool required) const {
        const std::optional<double> value =
            required ? std::optional(requiredNumber(node, "length", kMaxRouteLength))
                     : optionalNumber(node, "length", kMaxRouteLength);
        if (value && *value < 0) fail(path(node) + "@length", "negative");
        if (value) return *value * units_.length;
        return std::nullopt;
    }

    ElementDescription line(const pugi::xml_node& node, std::size_t index) {
        ElementDescription element;
        const PlanePoint start = point(node, "Start");
        const PlanePoint end = point(node, "End");
        element.kind = ElementKind::Line;
        element.length = length(node, false).value_or(std::hypot(end.x - start.x, end.y - start.y));
        element.start = start;
        element.startBearing = calculateBearingRad(start.x, start.y, end.x, end.y);
        element.expectedEnd = end;
        if (element.length > kShortestElement)
            checkDirection(node, "dir", *element.startBearing, index);
        return element;
    }

    ElementDescription curve(const pugi::xml_node& node, std::size_t index) {
        ElementDescription element;
        const PlanePoint start = point(node, "Start");
        const PlanePoint center = point(node, "Center");
        const PlanePoint end = point(node, "End");
        const int turn = rotation(node);
        double r = std::hypot(start.x - center.x, start.y - center.y);
        if (attributeNamed(node, "radius")) r = radius(node, "radius");
        if (!(r >= kMinRadius && r <= kMaxRadius)) fail(path(node), "radius out of range");
        // The tangent is square to the radius: the centre lies on the side the curve turns
        // to, at bearing + pi/2 when the bearing grows.
        const double toStart = calculateBearingRad(center.x, center.y, start.x, start.y);
        const double toEnd = calculateBearingRad(center.x, center.y, end.x, end.y);
        const double swept =
            rcc::normalizeBearing(std::remainder(turn * (toEnd - toStart), rcc::kTwoPi));
        element.kind = ElementKind::Arc;
        element.startRadius = r;
        element.endRadius = r;
        element.turn = turn;
        element.length = length(node, false).value_or(r * swept);
        element.start = start;
        element.startBearing =
            rcc::normalizeBearing(std::remainder(toStart + turn * rcc::kHalfPi, rcc::kTwoPi));
        element.expectedEnd = end;
        checkDirection(node, "dirStart", *element.startBearing, index);
        checkDirection(node, "dirEnd", toEnd + turn * rcc::kHalfPi, index);
        return element;
    }

    ElementDescription spiral(const pugi::xml_node& node, std::size_t index) {
        ElementDescription element;
        const pugi::xml_attribute type = attributeNamed(node, "spiType");
        if (type && lower(trim(type.value())) != "clothoid") {
            fail(path(node),
                 "spiral type " + quoted(type.value()) + " is not read (only clothoid)");
        }
        element.length = *length(node, true);
        element.startRadius = radius(node, "radiusStart");
        element.endRadius = radius(node, "radiusEnd");
        element.turn = rotation(node);
        const PlanePoint start = point(node, "Start");
        const PlanePoint tangents = point(node, "PI");
        const PlanePoint end = point(node, "End");
        if (element.startRadius == kInf) {  // exact: "INF" in the file
            // A "spiral" straight at both ends is a straight.
            element.kind =
                element.endRadius == kInf ? ElementKind::Line : ElementKind::InTransition;
            if (element.kind == ElementKind::Line) element.turn = 0;
        } else if (element.endRadius == kInf) {
            element.kind = ElementKind::OutTransition;
        } else if (element.startRadius == element.endRadius) {
            element.kind = ElementKind::Arc;
        } else {
            element.kind = ElementKind::TransitionBetweenRadii;
        }
        // The spiral's PI is where its start and end tangents meet.
        element.start = start;
        element.startBearing = calculateBearingRad(start.x, start.y, tangents.x, tangents.y);
        element.expectedEnd = end;
        checkDirection(node, "dirStart", *element.startBearing, index);
        checkDirection(node, "dirEnd", calculateBearingRad(tangents.x, tangents.y, end.x, end.y),
                       index);
        return element;
    }

    /// The end the library's builders give an element, in the NE frame.
    static PlanePoint computedEnd(const ElementDescription& e) {
        RoadCurvesCalculation road;
        const double x = e.start->x;
        const double y = e.start->y;
        const double b = *e.startBearing;
        switch (e.kind) {
            case ElementKind::Line:
                road.inputLine(0.0, e.length, x, y, b);
                break;
            case ElementKind::Arc:
            case ElementKind::DesignArc:
                road.inputCurve(0.0, e.length, x, y, e.startRadius, e.turn, b);
                break;
            case ElementKind::InTransition:
                road.inputInTransitionCurve(0.0, e.length, x, y, e.endRadius, e.turn, b);
                break;
            case ElementKind::OutTransition:
                road.inputOutTransitionCurve(0.0, e.length, x, y, e.startRadius, e.turn, b);
                break;
            case ElementKind::TransitionBetweenRadii:
                road.inputIncompleteTransitionCurve(0.0, e.length, x, y, e.startRadius, e.endRadius,
                                                    e.turn, b);
                break;
        }
        const RoadCurve built = road.getRoadCruves().back();
        return {built.endX, built.endY};
    }

    void readCoordGeom(const pugi::xml_node& alignment, RouteDescription& route) {
        const pugi::xml_node geometry = childNamed(alignment, "CoordGeom");
        if (!geometry) fail(path(alignment) + "/CoordGeom", "missing");
        double station = route.startStation;
        for (pugi::xml_node node : geometry.children()) {
            if (node.type() != pugi::node_element) continue;
            const std::string_view name = localName(node.name());
            const std::size_t index = route.horizontal.elements.size();
            ElementDescription element;
            if (name == "Line") {
                element = line(node, index);
            } else if (name == "Curve") {
                element = curve(node, index);
            } else if (name == "Spiral") {
                element = spiral(node, index);
            } else if (name == "Feature" || name == "Property") {
                continue;
            } else {
                fail(path(node), "element " + quoted(name) + " is not read");
            }
            if (const std::optional<double> at = optionalNumber(node, "staStart")) {
                station = *at * units_.length;
            }
            if (!(element.length > kShortestElement)) {
                warn("horizontal.elements[" + std::to_string(index) + "]",
                     path(node) + " has no length and is left out");
                continue;
            }
            if (const pugi::xml_attribute label = attributeNamed(node, "name")) {
                element.name = label.value();
            }
            const PlanePoint end = computedEnd(element);
            const double miss =
                std::hypot(end.x - element.expectedEnd->x, end.y - element.expectedEnd->y);
            if (!(miss <= options_.closureTolerance)) {
                warn("horizontal.elements[" + std::to_string(index) + "]",
                     path(node) + " at station " + std::to_string(station) + " ends " +
                         distanceText(miss) + " from the file's End");
            }
            station += element.length;
            route.horizontal.elements.push_back(std::move(element));
        }
        if (route.horizontal.elements.empty()) fail(path(geometry), "no Line, Curve or Spiral");
        route.horizontal.start = *route.horizontal.elements.front().start;
        route.horizontal.startBearing = *route.horizontal.elements.front().startBearing;
    }

    /// The intersection-point form, when every AlignPI is plain (a PI with at most an
    /// entering spiral, one curve and a leaving spiral); false otherwise.
    bool readAlignPIs(const pugi::xml_node& alignment, RouteDescription& route) {
        const pugi::xml_node list = childNamed(alignment, "AlignPIs");
        if (!list) return false;
        const std::vector<pugi::xml_node> items = childrenNamed(list, "AlignPI");
        if (items.size() < 2) return false;
        std::vector<IntersectionPoint> points;
        for (std::size_t i = 0; i < items.size(); ++i) {
            const pugi::xml_node item = items[i];
            if (childNamed(item, "ConnSpiral") || childNamed(item, "Curve2")) return false;
            IntersectionPoint out;
            const PlanePoint at = point(item, "PI");
            out.x = at.x;
            out.y = at.y;
            if (const pugi::xml_attribute name = attributeNamed(childNamed(item, "PI"), "name")) {
                out.name = name.value();
            }
            const bool end = i == 0 || i + 1 == items.size();
            const pugi::xml_node arc = childNamed(childNamed(item, "Curve1"), "Curve");
            if (!end) {
                if (!arc) return false;
                out.radius = radius(arc, "radius");
                if (out.radius == kInf) fail(path(arc) + "@radius", "infinite");
                const pugi::xml_node in = childNamed(childNamed(item, "InSpiral"), "Spiral");
                const pugi::xml_node leaving = childNamed(childNamed(item, "OutSpiral"), "Spiral");
                if (in) out.inTransitionLength = *length(in, true);
                if (leaving) out.outTransitionLength = *length(leaving, true);
            }
            points.push_back(std::move(out));
        }
        route.horizontal.points = std::move(points);
        return true;
    }

    void readEquations(const pugi::xml_node& alignment, RouteDescription& route) {
        struct Read {
            double internal;
            double ahead;
            std::optional<double> back;
            std::string name;
        };
        std::vector<Read> read;
        for (const pugi::xml_node node : childrenNamed(alignment, "StaEquation")) {
            const pugi::xml_attribute increment = attributeNamed(node, "staIncrement");
            if (increment && lower(trim(increment.value())) == "decreasing") {
                fail(path(node) + "@staIncrement", "decreasing stationing is not read");
            }
            Read equation{requiredNumber(node, "staInternal") * units_.length,
                          requiredNumber(node, "staAhead") * units_.length, std::nullopt,
                          attributeNamed(node, "desc").value()};
            if (const std::optional<double> back = optionalNumber(node, "staBack")) {
                equation.back = *back * units_.length;
            }
            read.push_back(std::move(equation));
        }
        std::stable_sort(read.begin(), read.end(),
                         [](const Read& a, const Read& b) { return a.internal < b.internal; });
        // staInternal runs from staStart without breaks; the numbering behind an equation
        // is its ahead station plus the distance travelled since.
        double numberingAt = route.startStation;
        double internalAt = route.startStation;
        for (std::size_t i = 0; i < read.size(); ++i) {
            const Read& equation = read[i];
            const double reached = numberingAt + (equation.internal - internalAt);
            double back = equation.back.value_or(reached);
            double ahead = equation.ahead;
            if (equation.back && std::fabs(*equation.back - reached) > options_.closureTolerance) {
                warn("equations[" + std::to_string(i) + "]",
                     "staBack " + std::to_string(*equation.back) + " differs from the station " +
                         std::to_string(reached) + " reached at staInternal; staBack is used");
            }
            // Kilometre posts of rail exports restate the internal station as ahead station:
            // a label at the station the numbering has there.
            if (!equation.back && std::fabs(ahead - equation.internal) <= kSameStation) {
                ahead = back;
            }
            const bool label = std::fabs(back - ahead) <= kSameStation;
            route.equations.push_back({back, label ? back : ahead, equation.name});
            if (!label) {
                numberingAt = ahead;
                internalAt = equation.internal;
            }
        }
    }

    void readProfile(const pugi::xml_node& alignment, RouteDescription& route) {
        const pugi::xml_node profile = childNamed(alignment, "Profile");
        if (!profile) return;
        const std::vector<pugi::xml_node> aligns = childrenNamed(profile, "ProfAlign");
        if (aligns.empty()) return;
        if (aligns.size() > 1) {
            warn("profile", "the first of " + std::to_string(aligns.size()) +
                                " ProfAlign elements is read, the others are left out");
        }
        std::vector<std::pair<std::size_t, double>> circles;  // point index, signed radius
        for (pugi::xml_node node : aligns.front().children()) {
            if (node.type() != pugi::node_element) continue;
            const std::string_view name = localName(node.name());
            GradePoint point;
            if (name == "PVI") {
            } else if (name == "ParaCurve") {
                point.length = *length(node, true);
            } else if (name == "CircCurve") {
                const double signedRadius = requiredNumber(node, "radius", kMaxRadius);
                point.radius = std::fabs(signedRadius) * units_.length;
                if (point.radius < kMinRadius) fail(path(node) + "@radius", "radius too small");
                circles.emplace_back(route.profile.size(), point.radius);
            } else if (name == "UnsymParaCurve") {
                fail(path(node), "unsymmetrical vertical curves are not read");
            } else if (name == "Feature") {
                continue;
            } else {
                fail(path(node), "element " + quoted(name) + " is not read");
            }
            const std::vector<double> values = numbers(node, 2, 2);
            point.station = Station{values[0] * units_.length, 1};
            point.elevation = values[1] * units_.elevation;
            if (const pugi::xml_attribute desc = attributeNamed(node, "desc"))
                point.name = desc.value();
            route.profile.push_back(std::move(point));
        }
        for (const auto& [index, r] : circles) warnCircle(route.profile, index, r);
    }

    /// A circular vertical curve is read as the parabola of its radius; says how far the two
    /// lie apart in height. Both are tangent to the two grade lines: the circle's centre is
    /// R from both lines, the parabola spans T = R |g2 - g1| / 2 either side of the PVI.
    void warnCircle(const std::vector<GradePoint>& profile, std::size_t i, double r) {
        if (i == 0 || i + 1 >= profile.size()) return;
        const GradePoint& a = profile[i - 1];
        const GradePoint& p = profile[i];
        const GradePoint& b = profile[i + 1];
        const double g1 = (p.elevation - a.elevation) / (p.station.value - a.station.value);
        const double g2 = (b.elevation - p.elevation) / (b.station.value - p.station.value);
        if (!std::isfinite(g1) || !std::isfinite(g2) || g1 == g2) return;
        const double side = g2 > g1 ? 1.0 : -1.0;  // sag: centre above the grades
        // Unit normals n = (-g, 1)/sqrt(1 + g^2); the centre c solves n1.(c - p) = n2.(c - p)
        // = side R.
        const double w1 = std::sqrt(1 + g1 * g1);
        const double w2 = std::sqrt(1 + g2 * g2);
        const double det = (-g1 / w1) * (1 / w2) - (1 / w1) * (-g2 / w2);
        const double cs = side * r * (1 / w2 - 1 / w1) / det;
        const double cz = side * r * ((-g1 / w1) - (-g2 / w2)) / det;
        const double tangent = r * std::fabs(g2 - g1) / 2;
        // Stations of the circle's tangent points: the feet of the centre on the two lines.
        const double t1 = cs + side * r * (g1 / w1);
        const double t2 = cs + side * r * (g2 / w2);
        const double from = std::min({-tangent, t1, t2});
        const double to = std::max({tangent, t1, t2});
        double worst = 0.0;
        for (int k = 0; k <= kCircleSamples; ++k) {
            const double s = from + (to - from) * k / kCircleSamples;
            const double grade = s < 0 ? g1 * s : g2 * s;
            const double parabola = std::fabs(s) < tangent
                                        ? g1 * s + side * (s + tangent) * (s + tangent) / (2 * r)
                                        : grade;
            const double under = r * r - (s - cs) * (s - cs);
            // The circle between its tangent points, the grade lines outside them.
            const double circle = (s > std::min(t1, t2) && s < std::max(t1, t2) && under >= 0)
                                      ? cz - side * std::sqrt(under)
                                      : grade;
            worst = std::max(worst, std::fabs(parabola - circle));
        }
        warn("profile[" + std::to_string(i) + "]",
             "CircCurve at station " + std::to_string(p.station.value) +
                 " read as the parabola of radius " + std::to_string(r) +
                 "; it departs from the circle by up to " + distanceText(worst));
    }

    ReadResult readAlignment(const pugi::xml_node& root, const pugi::xml_node& alignment) {
        readUnits(root);
        RouteDescription route;
        route.frame = Frame::NE;
        route.lengthUnit = lengthUnit_;
        route.name = attributeNamed(alignment, "name").value();
        if (const std::optional<double> start = optionalNumber(alignment, "staStart")) {
            route.startStation = *start * units_.length;
        }
        if (const pugi::xml_node system = childNamed(root, "CoordinateSystem")) {
            if (const pugi::xml_attribute epsg = attributeNamed(system, "epsgCode")) {
                route.coordinateSystem = std::string("EPSG:") + epsg.value();
            } else {
                route.coordinateSystem = attributeNamed(system, "name").value();
            }
        }
        if (!readAlignPIs(alignment, route)) readCoordGeom(alignment, route);
        readEquations(alignment, route);
        readProfile(alignment, route);
        return {std::move(route), std::move(warnings_)};
    }

private:
    std::string source_;
    ReadOptions options_;
    Units units_;
    LengthUnit lengthUnit_ = LengthUnit::Metre;
    unsigned conventions_ = kAllConventions;
    bool directionWarned_ = false;
    std::vector<Diagnostic> warnings_;
};

/// A parsed LandXML document and the text it was parsed from (pugixml parses in place).
struct Document {
    std::string text;
    pugi::xml_document xml;
    pugi::xml_node root;
};

void parse(std::string_view input, const std::string& source, Document& document) {
    if (input.size() > kMaxInputBytes) {
        throw ReadError(source + ": larger than " + std::to_string(kMaxInputBytes >> 20) + " MiB");
    }
    document.text = toUtf8(input, source);
    // Default parsing: no document type declaration is read, so no DTD or external entity
    // is ever loaded and only the five predefined and numeric references are expanded.
    const pugi::xml_parse_result result = document.xml.load_buffer_inplace(
        document.text.data(), document.text.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!result) {
        const auto [line, column] = lineAndColumn(document.text, result.offset);
        throw ReadError(source + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                        result.description());
    }
    document.root = document.xml.document_element();
    if (!nameIs(document.root, "LandXML")) {
        throw ReadError(source + ": not LandXML (root element " +
                        quoted(localName(document.root.name())) + ")");
    }
}

std::vector<pugi::xml_node> alignments(const pugi::xml_node& root) {
    std::vector<pugi::xml_node> found;
    for (const pugi::xml_node list : childrenNamed(root, "Alignments")) {
        for (const pugi::xml_node alignment : childrenNamed(list, "Alignment")) {
            found.push_back(alignment);
        }
    }
    return found;
}

}  // namespace

ReadResult readLandXml(std::string_view text, const std::string& source,
                       const ReadOptions& options) {
    Document document;
    parse(text, source, document);
    const std::vector<pugi::xml_node> found = alignments(document.root);
    Reader reader(source, options);
    if (found.empty()) throw ReadError(source + ": no Alignment");
    std::string names;
    for (const pugi::xml_node& alignment : found) {
        const std::string_view name = attributeNamed(alignment, "name").value();
        if (!options.alignment.empty() && name == options.alignment) {
            return reader.readAlignment(document.root, alignment);
        }
        names += (names.empty() ? "" : ", ") + quoted(name);
    }
    if (options.alignment.empty() && found.size() == 1) {
        return reader.readAlignment(document.root, found.front());
    }
    const std::string what = options.alignment.empty()
                                 ? "several alignments; choose one of: "
                                 : "no alignment " + quoted(options.alignment) + "; the file has: ";
    std::string message = source + ": " + what + names;
    if (message.size() > kMaxMessage) message = message.substr(0, kMaxMessage) + "...";
    throw ReadError(message);
}

std::vector<std::string> landXmlAlignmentNames(std::string_view text, const std::string& source) {
    Document document;
    parse(text, source, document);
    std::vector<std::string> names;
    for (const pugi::xml_node& alignment : alignments(document.root)) {
        names.emplace_back(attributeNamed(alignment, "name").value());
    }
    return names;
}

}  // namespace qv::route
