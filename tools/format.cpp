// Text forms of numbers, stations, bearings and angles for the tool's tables.
#include "format.hpp"

#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

namespace rcctool {

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kDegreesPerHalfTurn = 180.0;
constexpr double kFullTurnDeg = 360.0;
constexpr double kMinutesPerDegree = 60.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr int kDegreeDecimals = 6;         // 1e-6 degree is about 0.02 mm at 1 km
constexpr double kTenthsPerSecond = 10.0;  // 0.1" is about 0.5 mm at 1 km

double degrees(double radians) { return radians * kDegreesPerHalfTurn / kPi; }

std::string whole(double value, int width) {
    std::string text = fixed(value, 0);
    if (static_cast<int>(text.size()) < width) text.insert(0, width - text.size(), '0');
    return text;
}

// Degrees in [0, 360): fmod of a tiny negative plus 360 can round to 360 itself.
double normalizedDegrees(double d) {
    d = std::fmod(d, kFullTurnDeg);
    if (d < 0) d += kFullTurnDeg;
    return d >= kFullTurnDeg ? 0.0 : d;
}

std::string degreesText(double deg, const FormatOptions& options) {
    if (options.angle == AngleStyle::Degrees) return fixed(deg, kDegreeDecimals);
    const double perMinute = kSecondsPerMinute * kTenthsPerSecond;
    const double perDegree = kMinutesPerDegree * perMinute;
    const double tenths = std::round(std::fabs(deg) * perDegree);
    const double d = std::floor(tenths / perDegree);
    const double m = std::floor((tenths - d * perDegree) / perMinute);
    const double s = (tenths - d * perDegree - m * perMinute) / kTenthsPerSecond;
    const std::string sign = deg < 0 && tenths > 0 ? "-" : "";
    const std::string seconds = (s < kTenthsPerSecond ? "0" : "") + fixed(s, 1);
    if (options.plainDMS) return sign + fixed(d, 0) + "-" + whole(m, 2) + "-" + seconds;
    return sign + fixed(d, 0) + "\u00b0" + whole(m, 2) + "'" + seconds + "\"";
}

}  // namespace

std::string fixed(double value, int decimals) {
    if (std::isnan(value)) return "not-a-number";
    if (std::isinf(value)) return value > 0 ? "infinite" : "-infinite";
    char buffer[400];  // 1e308 in fixed notation with 9 decimals fits
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    std::string text(buffer, result.ec == std::errc() ? result.ptr : buffer);
    // "-0.000" says nothing the reader can use; a rounded zero is zero.
    if (text.find_first_not_of("-0.") == std::string::npos && !text.empty() && text[0] == '-') {
        text.erase(0, 1);
    }
    return text;
}

std::string stationText(qv::route::Station station, const FormatOptions& options) {
    return qv::route::formatStation(station, options.station, options.decimals);
}

std::string bearingText(double radians, const FormatOptions& options) {
    if (!std::isfinite(radians)) return fixed(radians, 0);
    return degreesText(normalizedDegrees(degrees(radians)), options);
}

std::string angleText(double radians, const FormatOptions& options) {
    if (!std::isfinite(radians)) return fixed(radians, 0);
    return degreesText(std::fabs(degrees(radians)), options);
}

const char* turnText(int turn, qv::route::Frame frame) {
    if (turn == 0) return "";
    const bool grows = turn > 0;
    return grows == (frame == qv::route::Frame::XY) ? "left" : "right";
}

const char* xName(qv::route::Frame frame) { return frame == qv::route::Frame::NE ? "N" : "x"; }
const char* yName(qv::route::Frame frame) { return frame == qv::route::Frame::NE ? "E" : "y"; }

bool parseNumber(const std::string& text, double& value, bool nonFinite) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) return false;
    const std::size_t last = text.find_last_not_of(" \t\r");
    const char* begin = text.data() + first;
    const char* end = text.data() + last + 1;
    if (*begin == '+') ++begin;  // from_chars takes no plus sign
    double parsed = 0.0;
    const auto result = std::from_chars(begin, end, parsed);
    if (result.ec != std::errc() || result.ptr != end) return false;
    if (!nonFinite && !std::isfinite(parsed)) return false;
    value = parsed;
    return true;
}

}  // namespace rcctool
