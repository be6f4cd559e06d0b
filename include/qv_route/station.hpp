// Stations as typed values: a chainage number plus which pass over it is meant (the first,
// or the second behind a long chain that repeats it), and their text forms.
#pragma once

#include <qv_roadCurveCalculation_alg.h>

#include <optional>
#include <string>
#include <string_view>

namespace qv::route {

/// A station (chainage) on a route: its number and which occurrence of that number is
/// meant. Behind a long chain the numbers from its ahead value up to its back value occur
/// twice: `occurrence` 1 is the pass ahead of the break, 2 the pass behind it. Every other
/// station has occurrence 1.
struct Station {
    double value = 0.0;  ///< chainage number, length units
    int occurrence = 1;  ///< 1 first pass, 2 second pass behind a long chain
};

/// Text forms of a station.
enum class StationStyle {
    Plain,  ///< "1450.000"; second occurrence "01450.000" (the library's mark)
    K,      ///< "K1+450.000"; second "K1+450.000(2)"; negative "-K0+080.000"
    US,     ///< "14+50.00" (hundreds + metres); second "14+50.00(2)"; negative "-0+80.00"
};

/// Writes a station in `style` with `decimals` digits after the point (the US style takes
/// the same count). Non-finite values are written as "not-a-number" or "infinite".
QV_RCC_API std::string formatStation(Station station, StationStyle style, int decimals = 3);

/// Reads a station in any of the three styles, with optional blanks around it: plain
/// ("1450", "1450.25", "01450" = second occurrence, "-80"), K-notation ("K1+450.5",
/// "k1+450", "-K0+080", with "(2)" for the second occurrence) or US ("14+50.00",
/// "14+50(2)"). Returns nullopt for any other text, for non-finite numbers and for an
/// occurrence other than 1 or 2.
QV_RCC_API std::optional<Station> parseStation(std::string_view text);

}  // namespace qv::route
