// Text forms of the tool's output: chainages (plain or K-notation, with the long-chain
// mark), bearings (decimal degrees or degrees-minutes-seconds) and fixed-point numbers.
#pragma once

#include <string>

namespace rcctool {

enum class ChainageStyle { Plain, KNotation };
enum class AngleStyle { Degrees, DMS };

/// The output settings every subcommand shares.
struct FormatOptions {
    ChainageStyle chainage = ChainageStyle::Plain;
    AngleStyle angle = AngleStyle::Degrees;
    int decimals = 3;  ///< digits after the point of lengths, coordinates and chainages
};

/// Fixed notation with `decimals` digits; a non-finite value is written as a word
/// ("not-a-number", "infinite") so that it never passes for a number.
std::string fixed(double value, int decimals);

/// A library chainage text ("1234.500000", marked "01234.500000") in the chosen style:
/// plain keeps the mark as the leading "0" ("01234.500"); K-notation writes kilometres and
/// metres ("K1+234.500") and shows the second occurrence behind a long chain as "(2)".
std::string formatChainage(const std::string& dkText, const FormatOptions& options);

/// An unmarked chainage value in the chosen style.
std::string formatChainageValue(double value, const FormatOptions& options);

/// Brings an angle in degrees into [0, 360).
double normalizeDegrees(double degrees);

/// An angle in degrees in the chosen style; DMS writes 123°04'05.6" (seconds to 0.1").
/// `isSigned` keeps a sign in front (deflections); bearings are written without one.
std::string formatAngle(double degrees, const FormatOptions& options, bool isSigned = false);

/// Reads a whole text as a finite number (strtod syntax, surrounding blanks allowed).
bool parseNumber(const std::string& text, double& value);

}  // namespace rcctool
