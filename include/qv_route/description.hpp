// The description of one route as plain data: what a reader fills from a file and a writer
// reads back. Nothing here is computed; the route is built from it (route.hpp).
#pragma once

#include <qv_route/station.hpp>

#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace qv::route {

/// How the plane coordinates and bearings of a route are meant. The arithmetic is the same
/// in both (bearings run from the +x axis towards the +y axis); the frame decides how the
/// numbers are labelled, which way a turn reads and how a drawing is oriented.
enum class Frame {
    XY,  ///< x east, y north; bearings counter-clockwise from east; turn +1 is a left turn
    NE,  ///< x = northing, y = easting; bearings are azimuths clockwise from north; turn +1
         ///< is a right turn (the surveyor's frame, and LandXML's)
};

/// The numeric domain every route must lie in. Readers refuse values outside it with a
/// message; Route::build checks it too. Inside it every table is exact to the length unit's
/// micro-fraction; outside it double rounding would merge rows or points.
constexpr double kMaxCoordinate = 1e9;   ///< |x|, |y|, |station|, |elevation|, length units
constexpr double kMinRadius = 1e-3;      ///< smallest radius, length units
constexpr double kMaxRadius = 1e9;       ///< largest finite radius, length units
constexpr double kMaxAngleTurns = 4.0;   ///< |bearing| at most this many full turns
constexpr double kMaxRouteLength = 2e7;  ///< total length, length units (20,000 km)

/// The one length unit of a route's coordinates, lengths, stations, radii and elevations.
/// The arithmetic does not depend on it; readers keep a file's own unit (so that stations
/// read as the file writes them) and writers declare it.
enum class LengthUnit {
    Metre,
    Foot,          ///< international foot, 0.3048 m
    USSurveyFoot,  ///< 1200/3937 m, 2 ppm longer than the international foot
};

/// Kinds of horizontal element; the numbers are the library's `curveType` codes.
enum class ElementKind : int {
    Line = 0,
    Arc = 1,
    InTransition = 2,            ///< clothoid from a straight (radius +inf) to a radius
    OutTransition = 3,           ///< clothoid from a radius to a straight
    TransitionBetweenRadii = 4,  ///< clothoid between two radii (either may be +inf)
    DesignArc = 7,               ///< arc of an outline read off a design drawing
};

/// Kinds of profile piece; the numbers are the library's `curveType` codes.
enum class ProfilePieceKind : int { GradeLine = 0, FirstHalf = 5, SecondHalf = 6 };

/// A break in the station numbering at one place: the numbering that runs up to it reaches
/// `back` there, the one after it starts at `ahead`. `ahead > back` is a short chain (the
/// numbers between do not exist), `ahead < back` a long chain (the numbers from `ahead` to
/// `back` occur twice), `ahead == back` only a label (a kilometre post), not a break.
struct StationEquation {
    double back = 0.0;
    double ahead = 0.0;
    std::string name;  ///< optional
};

/// A plane point, in the route's frame.
struct PlanePoint {
    double x = 0.0;
    double y = 0.0;
};

/// One intersection point of a horizontal alignment given by intersection points. The first
/// point starts the route and the last ends it; they carry only coordinates. Every point in
/// between carries the circular curve fitted there and its transitions.
struct IntersectionPoint {
    std::string name;  ///< optional ("JD3", "PI 12"); empty: named by index
    double x = 0.0;    ///< in the route's frame
    double y = 0.0;
    double radius = 0.0;               ///< R of the circular curve (> 0 at middle points)
    double inTransitionLength = 0.0;   ///< L1 of the entering clothoid; 0 none
    double outTransitionLength = 0.0;  ///< L2 of the leaving clothoid; 0 none
};

/// One element of a horizontal alignment given element by element. Radii are never signed;
/// +inf is a straight end. Line: radii unused. Arc: startRadius == endRadius == R.
/// InTransition: endRadius R (start +inf). OutTransition: startRadius R (end +inf).
/// TransitionBetweenRadii: both.
struct ElementDescription {
    ElementKind kind = ElementKind::Line;
    double length = 0.0;
    double startRadius = std::numeric_limits<double>::infinity();
    double endRadius = std::numeric_limits<double>::infinity();
    int turn = 0;  ///< +1 the bearing grows along the element, -1 it shrinks; 0 on a line
    /// Where the element starts, when the source gives it (LandXML does); otherwise it
    /// continues from the end of the element before (the first from the route's start).
    std::optional<PlanePoint> start;
    /// Its start bearing (radians), when the source gives one; otherwise the end bearing of
    /// the element before.
    std::optional<double> startBearing;
    /// The end the designer expects, for the closure check (not used to build).
    std::optional<PlanePoint> expectedEnd;
    std::string name;  ///< optional
};

/// The horizontal alignment: by intersection points, or element by element.
struct HorizontalDescription {
    std::vector<IntersectionPoint> points;     ///< non-empty: the intersection-point form
    PlanePoint start;                          ///< element form: start point,
    double startBearing = 0.0;                 ///< start bearing (radians),
    std::vector<ElementDescription> elements;  ///< and the elements in order
};

/// One grade-change point of the profile. The first and last points open and close the
/// profile; every point between carries its vertical curve, by radius or by length.
struct GradePoint {
    std::string name;  ///< optional ("BP2", "PVI 4")
    Station station;   ///< may lie behind a long chain (occurrence 2)
    double elevation = 0.0;
    double radius = 0.0;  ///< vertical-curve radius R; 0 no curve (unless `length` is given)
    double length = 0.0;  ///< vertical-curve length L = 2T; when > 0, R = L / |g2 - g1|
};

/// Everything a route is built from.
struct RouteDescription {
    std::string name;
    Frame frame = Frame::XY;
    std::string coordinateSystem;  ///< optional, e.g. "EPSG:3067"; carried, never used
    LengthUnit lengthUnit = LengthUnit::Metre;
    /// Station at the start of the route. In the intersection-point form it is the station
    /// of the first point.
    double startStation = 0.0;
    std::vector<StationEquation> equations;  ///< in order along the route
    HorizontalDescription horizontal;
    std::vector<GradePoint> profile;  ///< empty: no profile
};

}  // namespace qv::route
