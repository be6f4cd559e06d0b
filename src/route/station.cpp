// Text forms of stations: plain numbers with the library's leading-zero mark, kilometre
// notation (K1+450.000) and US station notation (14+50.00), both ways.
#include <qv_route/station.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>

namespace qv::route {

namespace {

/// Metres in a kilometre (K-notation) and in a US station (hundreds).
constexpr double kMetresPerKilometre = 1000.0;
constexpr double kMetresPerUSStation = 100.0;
/// Digits of the metre part: "K1+050.000" has three, "10+50.00" two.
constexpr std::size_t kKilometreDigits = 3;
constexpr std::size_t kUSStationDigits = 2;
/// Most decimals written; "%.*f" of a value within the numeric domain stays short.
constexpr int kMaxDecimals = 9;
/// Suffix of the second occurrence in K and US notation.
constexpr std::string_view kSecondSuffix = "(2)";
constexpr std::string_view kFirstSuffix = "(1)";

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

/// An unsigned decimal number: digits with an optional fraction and exponent, nothing
/// else (no sign, no hexadecimal, no "inf" or "nan"). Read independently of the locale.
std::optional<double> unsignedDecimal(std::string_view text) {
    std::size_t i = 0;
    std::size_t digits = 0;
    while (i < text.size() && isDigit(text[i])) ++i, ++digits;
    if (i < text.size() && text[i] == '.') {
        ++i;
        while (i < text.size() && isDigit(text[i])) ++i, ++digits;
    }
    if (digits == 0) return std::nullopt;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
        const std::size_t exponentStart = i;
        while (i < text.size() && isDigit(text[i])) ++i;
        if (i == exponentStart) return std::nullopt;
    }
    if (i != text.size()) return std::nullopt;
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

/// Fixed notation of |value| with `decimals` digits, rounded once by printf.
std::string fixedMagnitude(double value, int decimals) {
    char buffer[400];  // "%f" of the largest double needs 309 digits plus the decimals
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, std::fabs(value));
    return buffer;
}

/// "-" unless the rounded digits are all zero (no "-K0+000.000").
std::string signOf(double value, const std::string& digits) {
    const bool zero =
        std::all_of(digits.begin(), digits.end(), [](char c) { return c == '0' || c == '.'; });
    return value < 0 && !zero ? "-" : "";
}

/// Splits the rounded magnitude into the count of whole units (kilometres, hundreds) and
/// the metres within the unit, padded to `metreDigits` integer digits.
std::string grouped(const std::string& magnitude, std::size_t metreDigits, const char* prefix) {
    const std::size_t point = std::min(magnitude.find('.'), magnitude.size());
    std::string whole = magnitude.substr(0, point);
    if (whole.size() < metreDigits) whole.insert(0, metreDigits - whole.size(), '0');
    const std::size_t split = whole.size() - metreDigits;
    const std::string units = split == 0 ? "0" : whole.substr(0, split);
    return prefix + units + "+" + whole.substr(split) + magnitude.substr(point);
}

/// Reads "<units>+<metres>" after an optional letter prefix: units whole, metres below one
/// unit of `unitLength`.
std::optional<double> groupedValue(std::string_view text, double unitLength) {
    const std::size_t plus = text.find('+');
    if (plus == std::string_view::npos || plus == 0) return std::nullopt;
    const std::string_view units = text.substr(0, plus);
    if (!std::all_of(units.begin(), units.end(), isDigit)) return std::nullopt;
    const std::optional<double> whole = unsignedDecimal(units);
    const std::string_view metreText = text.substr(plus + 1);
    if (metreText.empty() || !isDigit(metreText.front())) return std::nullopt;
    const std::optional<double> metres = unsignedDecimal(metreText);
    if (!whole || !metres || !(*metres < unitLength)) return std::nullopt;
    const double value = *whole * unitLength + *metres;
    if (!std::isfinite(value)) return std::nullopt;
    return value;
}

}  // namespace

std::string formatStation(Station station, StationStyle style, int decimals) {
    if (std::isnan(station.value)) return "not-a-number";
    if (std::isinf(station.value)) return station.value < 0 ? "-infinite" : "infinite";
    decimals = std::clamp(decimals, 0, kMaxDecimals);
    const bool second = station.occurrence == 2;
    const std::string magnitude = fixedMagnitude(station.value, decimals);
    const std::string sign = signOf(station.value, magnitude);
    switch (style) {
        case StationStyle::K:
            return sign + grouped(magnitude, kKilometreDigits, "K") +
                   (second ? std::string(kSecondSuffix) : "");
        case StationStyle::US:
            return sign + grouped(magnitude, kUSStationDigits, "") +
                   (second ? std::string(kSecondSuffix) : "");
        case StationStyle::Plain:
            break;
    }
    // The library's mark of a second occurrence: one '0' in front of the number. In front
    // of a minus sign it would read as a zero to anyone but this parser ("0-330.000"), so a
    // negative second occurrence takes the suffix of the other styles.
    if (second && !sign.empty()) return sign + magnitude + std::string(kSecondSuffix);
    return (second ? "0" : "") + sign + magnitude;
}

std::optional<Station> parseStation(std::string_view text) {
    text = trimmed(text);
    int occurrence = 0;  // 0: not said by a suffix
    if (text.size() > kSecondSuffix.size()) {
        const std::string_view tail = text.substr(text.size() - kSecondSuffix.size());
        if (tail == kSecondSuffix || tail == kFirstSuffix) {
            occurrence = tail == kSecondSuffix ? 2 : 1;
            text = trimmed(text.substr(0, text.size() - kSecondSuffix.size()));
        } else if (tail.front() == '(') {
            return std::nullopt;  // an occurrence other than 1 or 2
        }
    }
    // K and US notation carry the second occurrence only as a suffix.
    bool grouped = text.find_first_of("Kk") != std::string_view::npos;
    for (std::size_t i = 1; i < text.size(); ++i)
        grouped = grouped || (text[i] == '+' && isDigit(text[i - 1]));
    // The plain mark: a '0' followed by a digit or a minus ("01450", "0-330"); "0.5" and "0"
    // are plain numbers, so stations in (0, 1) never read as second occurrences.
    bool marked = false;
    if (!grouped && text.size() > 1 && text[0] == '0' && (isDigit(text[1]) || text[1] == '-')) {
        marked = true;
        text.remove_prefix(1);
    }
    bool negative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    std::optional<double> magnitude;
    if (!text.empty() && (text.front() == 'K' || text.front() == 'k')) {
        magnitude = groupedValue(text.substr(1), kMetresPerKilometre);
    } else if (grouped) {
        magnitude = groupedValue(text, kMetresPerUSStation);
    } else {
        magnitude = unsignedDecimal(text);
    }
    if (!magnitude) return std::nullopt;
    const double value = negative ? -*magnitude : *magnitude;
    if (marked && value == 0.0) return std::nullopt;  // the mark is defined on non-zero values
    if (marked && occurrence == 1) return std::nullopt;
    if (marked) occurrence = 2;
    return Station{value, occurrence == 0 ? 1 : occurrence};
}

}  // namespace qv::route
