// Chainage text: reading, writing and the long-chain mark, shared by every subsystem that
// passes chainages through the broken-chain arithmetic.
#pragma once

#include "qv_roadCurveCalculation_alg.h"

#include <string>
#include <vector>

namespace rcc {

/// BrokenChain::type of a short chain (numbers skipped); every other value is a long chain
/// (numbers repeated), written as kLongChainType.
constexpr int kShortChainType = 1;
constexpr int kLongChainType = 0;

/// Sentinel length: the second chainage lies before the first (and is not marked).
constexpr double kLengthBeforeStart = -1.0;

/// Reads a chainage text like std::stod: leading blanks skipped, the longest strtod prefix
/// converted, the rest ignored. Throws std::invalid_argument("invalid stod argument") when
/// nothing converts, then std::out_of_range("stod argument out of range") on a range error.
double parseDKText(const std::string& text);

/// The fast reading of parseDKText: the value of a plain decimal prefix (optional '-',
/// digits and one point, no exponent, at most 300 characters, a locale whose decimal point
/// is '.'), identical to strtod's; false for every other text, which strtod then reads.
bool parsePlainDecimal(const std::string& text, double& value);

/// A text is marked (second occurrence behind a long chain) when its very first character
/// is '0' and its value is not zero.
bool isMarkedDK(const std::string& text, double value);

/// Fixed notation with six decimals, as printf("%f").
std::string formatDK(double value);

/// "%f" through snprintf alone: the reference formatDK's faster path is tested against.
std::string formatDKWithPrintf(double value);

/// formatDK with one '0' in front: the second occurrence of a repeated chainage.
std::string formatMarkedDK(double value);

/// A chainage text read once: its value and whether it carries the mark.
struct DKValue {
    double value;
    bool marked;
};

inline DKValue readDK(const std::string& text) {
    const double value = parseDKText(text);
    return {value, isMarkedDK(text, value)};
}

/// Length travelled from `from` forward to `to` across `chains` (calculateLengthBetween2DKs
/// on texts already read): kLengthBeforeStart when an unmarked `to` lies before `from`.
double lengthBetween(const std::vector<BrokenChain>& chains, DKValue from, DKValue to);

}  // namespace rcc
