// Text forms of the tool's cells: fixed-point numbers, stations, bearings and angles in
// decimal degrees or degrees-minutes-seconds, and turns read in the route's frame.
#pragma once

#include <qv_route/description.hpp>
#include <qv_route/station.hpp>

#include <string>

namespace rcctool {

enum class AngleStyle { Degrees, DMS };

/// The output settings every subcommand shares.
struct FormatOptions {
    qv::route::StationStyle station = qv::route::StationStyle::Plain;
    AngleStyle angle = AngleStyle::Degrees;
    int decimals = 3;  ///< digits after the point of lengths, coordinates and stations
    /// DMS as 289-06-33.0 (a cell a survey controller and a spreadsheet read as it is)
    /// rather than 289°06'33.0" (for the eye, on a terminal).
    bool plainDMS = false;
};

/// Fixed notation with `decimals` digits; a non-finite value is written as a word
/// ("not-a-number", "infinite") so that it never passes for a number; a rounded zero
/// carries no minus sign.
std::string fixed(double value, int decimals);

/// A station in the chosen style and decimals.
std::string stationText(qv::route::Station station, const FormatOptions& options);

/// A bearing (radians from +x towards +y; an azimuth in the NE frame) in degrees within
/// [0, 360), in the chosen style.
std::string bearingText(double radians, const FormatOptions& options);

/// An unsigned angle (radians) in degrees, in the chosen style: decimal degrees to 1e-6, or
/// DMS to 0.1" (rounded once in tenths of a second, so 59.96" carries into the minute).
std::string angleText(double radians, const FormatOptions& options);

/// Which way a curve turns as the reader of the frame sees it: the bearing grows (turn +1)
/// to the left in the XY frame and to the right in the NE frame.
const char* turnText(int turn, qv::route::Frame frame);

/// The heading of the two plane coordinates: x and y, or N and E in the NE frame.
const char* xName(qv::route::Frame frame);
const char* yName(qv::route::Frame frame);

/// Reads a whole text as a number (blanks around it allowed): finite only, unless
/// `nonFinite` also lets "nan" and "inf" through (surveyed points keep them, to be reported).
bool parseNumber(const std::string& text, double& value, bool nonFinite = false);

}  // namespace rcctool
