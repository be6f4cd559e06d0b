// A route read from its JSON description and built in the library: the alignment object
// plus what the tool's tables need (element ranges in length along the route, the main
// values of every curve and vertical curve, the chainage breaks).
#pragma once

#include <qv_roadCurveCalculation_alg.h>

#include <cstddef>
#include <string>
#include <vector>

#include "format.hpp"

namespace rcctool {

/// The curved elements between two straights: the curve fitted at one intersection point
/// (JD form), or one run of consecutive curved elements (element form).
struct CurveGroup {
    std::string name;       ///< "JD3" (index in jdPoints) or "C2" (count of runs)
    std::size_t first = 0;  ///< index of its first and last element
    std::size_t last = 0;
    bool fromJD = false;  ///< the main values below are filled
    double x = 0.0;       ///< the intersection point
    double y = 0.0;
    double radius = 0.0;
    double inTransitionLength = 0.0;
    double outTransitionLength = 0.0;
    double inBearingDeg = 0.0;  ///< bearings of the two straights, degrees
    double outBearingDeg = 0.0;
    double deflectionDeg = 0.0;  ///< signed, positive when the bearing grows
    int turnDirection = 0;
    double inTangentLength = 0.0;  ///< T1, T2 from the intersection point
    double outTangentLength = 0.0;
    double arcLength = 0.0;
};

/// The vertical curve at one grade-change point and the grades either side of it.
struct VerticalCurveInfo {
    std::size_t bpIndex = 0;
    std::string dk;  ///< the point's chainage text as given
    double elevation = 0.0;
    double grade1 = 0.0;  ///< rise over length: 0.02 is 2 %
    double grade2 = 0.0;
    double radius = 0.0;
    double tangentLength = 0.0;
    double externalDistance = 0.0;  ///< meaningful only when hasCurve
    bool hasCurve = false;          ///< false for a radius of 0 or equal grades
    std::string startDK;            ///< chainage texts of the curve's ends (library texts)
    std::string endDK;
};

/// A point worth a row of its own in the stakeout table.
struct KeyPoint {
    double length;      ///< along the route from its start
    std::string label;  ///< "JD3 TS", "BEGIN", "EQ 1000.000 = 1050.000"
};

struct Route {
    std::string file;
    std::string name;
    RoadCurvesCalculation calc;
    std::string startDK;  ///< chainage text of the route's start
    std::vector<RoadCurve> elements;
    std::vector<double> elementStart;  ///< length from the route's start to each element
    double totalLength = 0.0;
    std::vector<JDPoint> jdPoints;  ///< empty when the route was given as elements
    std::vector<CurveGroup> curves;
    std::vector<BrokenChain> chains;
    std::vector<double> chainLength;  ///< length to each break; negative when off the route
    std::vector<RoadVerticalCurvePoint> bpPoints;
    std::vector<VerticalCurveInfo> verticalCurves;
    std::vector<RoadVerticalCurve> profile;
};

/// Reads and builds the route; throws InputError naming the file and the field or the
/// line and column for anything unreadable, missing, mistyped or geometrically degenerate.
Route loadRoute(const std::string& path);

/// Every element boundary, curve mid point and chainage break, in order along the route.
std::vector<KeyPoint> keyPoints(const Route& route, const FormatOptions& options);

/// "line", "curve", "inTransition", "outTransition", "incompleteTransition".
std::string curveTypeName(int curveType);

/// Chainage text `length` along the route from its start, through the breaks. Where the
/// library's walk answers the end of a long chain's repeated stretch unmarked (a text that
/// reads back as its first occurrence), the marked text is returned instead, so that every
/// chainage names the place it was walked to.
std::string chainageAtLength(const Route& route, double length);

/// The index of the element a length along the route falls in (the last one at its end).
std::size_t elementAtLength(const Route& route, double length);

/// Checks that a chainage result is finite; otherwise throws InputError naming the element
/// the length falls in, so that no table carries an unexplained not-a-number.
void requireFinite(const Route& route, double length, const std::string& dk,
                   std::initializer_list<double> values);

}  // namespace rcctool
