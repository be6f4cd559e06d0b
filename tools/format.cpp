// Text forms of chainages, angles and numbers for the tool's tables.
#include "format.hpp"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace rcctool {

namespace {

constexpr double kMetresPerKilometre = 1000.0;
constexpr double kMinutesPerDegree = 60.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kFullTurnDeg = 360.0;
constexpr int kSecondsDecimals = 1;  // 0.1" is about 0.5 mm at 1 km

// Powers of ten for rounding to the shown number of decimals.
double scaleFor(int decimals) { return std::pow(10.0, decimals); }

}  // namespace

std::string fixed(double value, int decimals) {
    if (std::isnan(value)) return "not-a-number";
    if (std::isinf(value)) return value > 0 ? "infinite" : "-infinite";
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    std::string text = buffer;
    // "-0.000" says nothing the reader can use; a rounded zero is zero.
    if (text.find_first_not_of("-0.") == std::string::npos && text[0] == '-') text.erase(0, 1);
    return text;
}

std::string formatChainageValue(double value, const FormatOptions& options) {
    if (!std::isfinite(value)) return fixed(value, options.decimals);
    if (options.chainage == ChainageStyle::Plain) return fixed(value, options.decimals);
    // Round once, in units of the last shown digit, so that 999.9996 becomes K1+000.000
    // and never K0+1000.000.
    const double scale = scaleFor(options.decimals);
    const double units = std::round(std::fabs(value) * scale);
    const double perKilometre = kMetresPerKilometre * scale;
    const double kilometres = std::floor(units / perKilometre);
    const double metres = (units - kilometres * perKilometre) / scale;
    char buffer[96];
    const int width = options.decimals > 0 ? options.decimals + 4 : 3;  // "234.567" or "234"
    std::snprintf(buffer, sizeof buffer, "%sK%.0f+%0*.*f", value < 0 && units > 0 ? "-" : "",
                  kilometres, width, options.decimals, metres);
    return buffer;
}

std::string formatChainage(const std::string& dkText, const FormatOptions& options) {
    double value = 0.0;
    const char* begin = dkText.c_str();
    char* end = nullptr;
    value = std::strtod(begin, &end);
    if (end == begin) return dkText;  // not a chainage: shown as the library gave it
    // The library's mark: first character '0' and a value other than zero.
    const bool marked = !dkText.empty() && dkText[0] == '0' && value != 0.0;
    if (options.chainage == ChainageStyle::Plain) {
        return (marked ? "0" : "") + fixed(value, options.decimals);
    }
    return formatChainageValue(value, options) + (marked ? "(2)" : "");
}

double normalizeDegrees(double degrees) {
    double d = std::fmod(degrees, kFullTurnDeg);
    if (d < 0) d += kFullTurnDeg;
    return d >= kFullTurnDeg ? 0.0 : d;  // fmod of -1e-17 plus 360 rounds to 360
}

std::string formatAngle(double degrees, const FormatOptions& options, bool isSigned) {
    if (!std::isfinite(degrees)) return fixed(degrees, 0);
    constexpr int kDegreeDecimals = 6;  // 1e-6 degree is about 0.02 mm at 1 km
    if (options.angle == AngleStyle::Degrees) {
        std::string text = fixed(degrees, kDegreeDecimals);
        if (isSigned && degrees >= 0) text.insert(0, "+");
        return text;
    }
    // Round in tenths of a second first, then split, so 59.96" carries into the minute.
    const double tenths = std::round(std::fabs(degrees) * kMinutesPerDegree * kSecondsPerMinute *
                                     scaleFor(kSecondsDecimals));
    const double perMinute = kSecondsPerMinute * scaleFor(kSecondsDecimals);
    const double perDegree = kMinutesPerDegree * perMinute;
    const double wholeDegrees = std::floor(tenths / perDegree);
    const double minutes = std::floor((tenths - wholeDegrees * perDegree) / perMinute);
    const double seconds =
        (tenths - wholeDegrees * perDegree - minutes * perMinute) / scaleFor(kSecondsDecimals);
    const char* sign = "";
    if (degrees < 0 && tenths > 0) {
        sign = "-";
    } else if (isSigned) {
        sign = "+";
    }
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%s%.0f\u00b0%02.0f'%0*.*f\"", sign, wholeDegrees, minutes,
                  kSecondsDecimals + 3, kSecondsDecimals, seconds);
    return buffer;
}

bool parseNumber(const std::string& text, double& value) {
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const double parsed = std::strtod(begin, &end);
    if (end == begin || errno == ERANGE || !std::isfinite(parsed)) return false;
    while (*end == ' ' || *end == '\t' || *end == '\r') ++end;
    if (*end != '\0') return false;
    value = parsed;
    return true;
}

}  // namespace rcctool
