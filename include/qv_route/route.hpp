// A built route: the library's alignment object made from a route description with the
// library's own builders and conversions, plus the indexes that answer stations, points,
// projections, key points and design checks at a cost that does not grow with its size.
//
// Conventions (see also description.hpp):
//  - Length along the route runs from 0 at the route's start; stations follow the
//    numbering through every station equation (short chains skip numbers, long chains
//    repeat them: Station::occurrence tells the two passes apart).
//  - Bearings are radians from the +x axis towards the +y axis (azimuths in the NE frame),
//    not normalised. Curvature is signed: positive where the bearing grows.
//  - Offsets are signed: positive on the side of bearing + pi/2 (left of the direction of
//    travel in the XY frame, right of it in the NE frame).
//  - Elevations are NaN where the profile does not reach (or there is none).
#pragma once

#include <qv_roadCurveCalculation_alg.h>
#include <qv_route/description.hpp>
#include <qv_route/station.hpp>

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace qv::route {

/// A description that cannot be built: `path` names the field ("horizontal.points[3]",
/// "profile[2].station", "equations[0]"), what() is "path: message".
class QV_RCC_API RouteError : public std::runtime_error {
public:
    RouteError(std::string path, const std::string& message);
    const std::string& path() const noexcept { return path_; }

private:
    std::string path_;
};

/// One finding of the design checks, keyed by the field it concerns.
struct Diagnostic {
    enum class Severity { Error, Warning };
    Severity severity = Severity::Error;
    std::string path;     ///< "horizontal.points[3].radius", "horizontal.elements[5]"
    std::string message;  ///< one line, no trailing full stop
};

/// Limits of the design checks, in length units and radians.
struct CheckOptions {
    double gapTolerance = 1e-3;      ///< largest gap between consecutive elements
    double kinkTolerance = 1e-6;     ///< largest bearing jump between consecutive elements
    double closureTolerance = 1e-3;  ///< largest miss of an element's expected end
};

/// The answer at one place on the route (or on its start or end tangent produced).
struct RoutePoint {
    double length = 0.0;  ///< along the route from its start
    Station station;
    double x = 0.0;  ///< point on the centre line moved by the offset asked for
    double y = 0.0;
    double bearing = 0.0;    ///< tangent bearing of the centre line, radians
    double curvature = 0.0;  ///< signed, 1/length units
    double elevation = std::numeric_limits<double>::quiet_NaN();  ///< design elevation
    double grade = std::numeric_limits<double>::quiet_NaN();      ///< rise over run there
    std::size_t element = 0;  ///< index of the element (the first or last one off the route)
    ElementKind kind = ElementKind::Line;
    bool onRoute = true;  ///< false on the start or end tangent produced
};

/// Where the foot of a point lies.
enum class FootPlace {
    OnRoute,      ///< on an element of the route
    BeforeStart,  ///< on the start tangent produced backwards
    BeyondEnd,    ///< on the end tangent produced forwards
    None,         ///< no foot within the maximum offset
    Invalid,      ///< the point's coordinates are not finite
};

/// The foot of a point on the route: the place where the point lies on the normal.
struct Foot {
    FootPlace place = FootPlace::None;
    double length = std::numeric_limits<double>::quiet_NaN();  ///< along the route
    Station station{std::numeric_limits<double>::quiet_NaN(), 1};
    double offset = std::numeric_limits<double>::quiet_NaN();  ///< signed, see above
    double x = std::numeric_limits<double>::quiet_NaN();       ///< the foot on the centre line
    double y = std::numeric_limits<double>::quiet_NaN();
    std::size_t element = 0;
};

/// Named points along the route.
enum class KeyPointType {
    Begin,
    End,
    Equation,  // route start and end, a station equation
    TS,
    SC,
    MC,
    CS,
    ST,  // curve with transitions: tangent-spiral ... spiral-tangent
    PC,
    PT,  // curve without transitions (MC as above)
    BVC,
    PVI,
    EVC,
    HighPoint,
    LowPoint,  // vertical curves
};

/// "TS", "BVC", "HIGH", "EQ", "BEGIN", ...
QV_RCC_API const char* keyPointCode(KeyPointType type);

struct KeyPoint {
    double length = 0.0;
    Station station;
    KeyPointType type = KeyPointType::Begin;
    std::string owner;  ///< the curve or point it belongs to ("JD3", "C2", "BP4"); may be empty
    /// Ready-made label, "JD3 TS", "BEGIN", "EQ 300.000 = 340.000", "BP2 PVI".
    std::string label;
};

/// One horizontal curve: an arc with the transitions that lead into and out of it (or a
/// pair of transitions meeting without an arc). A reverse or compound pair is two curves.
struct CurveInfo {
    std::string name;  ///< the intersection point's name, or "C1", "C2", ... by order
    std::size_t firstElement = 0;
    std::size_t lastElement = 0;
    bool fromIntersectionPoint = false;  ///< the main values below come from the fitting
    std::size_t pointIndex = 0;          ///< index in description().horizontal.points
    PlanePoint intersection;             ///< the intersection point (fitted form only)
    int turn = 0;                        ///< +1 the bearing grows, -1 it shrinks
    double radius = 0.0;                 ///< of the arc; +inf for a transition pair
    double inTransitionLength = 0.0;     ///< L1, L2 (0: none)
    double outTransitionLength = 0.0;
    double inParameter = 0.0;  ///< clothoid parameters A = sqrt(R L) (0: none)
    double outParameter = 0.0;
    double inAngle = 0.0;  ///< angle each transition turns through, L / 2R, radians (0: none)
    double outAngle = 0.0;
    double inShift = 0.0;  ///< shift p of the circle towards the tangent (0: none)
    double outShift = 0.0;
    /// q: along the tangent from the transition's start to the foot of the shifted circle's
    /// centre (0: none)
    double inExtension = 0.0;
    double outExtension = 0.0;
    double inBearing = 0.0;  ///< bearings of the tangents before and after, radians
    double outBearing = 0.0;
    double deflection = 0.0;       ///< signed, radians, positive where the bearing grows
    double inTangentLength = 0.0;  ///< T1, T2 from the intersection point (fitted form)
    double outTangentLength = 0.0;
    double arcLength = 0.0;    ///< of the circular arc alone
    double curveLength = 0.0;  ///< transitions plus arc
    double external = 0.0;     ///< E, from the intersection point to the mid point
    double startLength = 0.0;  ///< along the route: TS (or PC)
    double endLength = 0.0;    ///< ST (or PT)
};

/// One vertical curve at a grade-change point, and the grades either side of it.
struct VerticalCurveInfo {
    std::string name;            ///< the point's name, or "BP<index>"
    std::size_t pointIndex = 0;  ///< index in description().profile
    Station station;             ///< of the grade-change point (PVI)
    double length = 0.0;         ///< along the route, of the PVI
    double elevation = 0.0;      ///< of the PVI
    double grade1 = 0.0;         ///< rise over run in and out: 0.02 is 2 %
    double grade2 = 0.0;
    double radius = 0.0;
    double tangentLength = 0.0;  ///< T; the curve is 2T long
    double external = 0.0;       ///< E = T^2 / (2R)
    bool hasCurve = false;       ///< false for radius 0 or equal grades
    bool crest = false;          ///< the grade falls through the curve
    double startLength = 0.0;    ///< BVC and EVC along the route
    double endLength = 0.0;
    /// The highest (crest) or lowest (sag) point, when it lies inside the curve.
    std::optional<double> extremeLength;
    double extremeElevation = std::numeric_limits<double>::quiet_NaN();
};

/// A station equation as it lies on the route.
struct EquationInfo {
    StationEquation equation;
    double length = 0.0;  ///< along the route
    bool isBreak = true;  ///< false for a label (back == ahead)
};

/// Which stations a table lists.
struct TableRequest {
    double interval = 20.0;       ///< round stations at this interval in each numbering; 0 none
    std::optional<Station> from;  ///< first and last station of the range (inclusive)
    std::optional<Station> to;
    std::vector<Station> at;  ///< stations listed in addition
    bool horizontalKeyPoints = true;
    bool verticalKeyPoints = false;
};

/// One row of a table: a place and what names it. Rows closer than 1e-6 along the route
/// are one row with their labels joined by " / ".
struct TableRow {
    double length = 0.0;
    Station station;
    std::string label;  ///< empty for a plain round station
};

/// A route built from its description. Immutable once built; every member function may run
/// side by side on one object.
class QV_RCC_API Route {
public:
    /// Builds the route; throws RouteError naming the field of anything that cannot be
    /// built (outside the numeric domain, fewer than two points, the library refusing a
    /// curve, a station that does not exist, grade points out of order).
    static Route build(RouteDescription description);

    Route(const Route&);
    Route(Route&&) noexcept;
    Route& operator=(const Route&);
    Route& operator=(Route&&) noexcept;
    ~Route();

    const RouteDescription& description() const;
    /// The library's alignment object, with every element, intersection point, grade point,
    /// profile piece and station equation of the route.
    const RoadCurvesCalculation& alignment() const;
    /// The horizontal elements, in order along the route.
    const std::vector<RoadCurve>& elements() const;
    /// Length from the route's start to the start of element i.
    double elementStart(std::size_t i) const;
    /// The profile pieces, in order, and the length along the route of the start of each.
    const std::vector<RoadVerticalCurve>& profilePieces() const;
    double profilePieceStart(std::size_t i) const;

    double length() const;
    Station startStation() const;
    Station endStation() const;
    const std::vector<EquationInfo>& equations() const;
    const std::vector<CurveInfo>& curves() const;
    const std::vector<VerticalCurveInfo>& verticalCurves() const;

    /// Length along the route of a station; stations before the start or after the end
    /// continue the first or last numbering (negative, or beyond length()). nullopt for a
    /// station that does not exist: inside a short chain's gap, or occurrence 2 where no
    /// long chain repeats the number.
    std::optional<double> lengthAt(Station station) const;
    /// The station at a length along the route (any finite length; off the route the first
    /// or last numbering continues).
    Station stationAt(double length) const;

    /// The point at a length (off the route: on the start or end tangent produced), moved by
    /// `offset` along the normal.
    RoutePoint pointAtLength(double length, double offset = 0.0) const;
    /// The point at a station; nullopt for a station that does not exist.
    std::optional<RoutePoint> pointAt(Station station, double offset = 0.0) const;
    /// Design elevation and grade at a length; NaN where the profile does not reach.
    double elevationAtLength(double length) const;
    double gradeAtLength(double length) const;

    /// Every foot of the point within `maxOffset` (distance from the point to the foot),
    /// nearest first: on the route, and on the start or end tangent produced.
    std::vector<Foot> project(double x, double y,
                              double maxOffset = std::numeric_limits<double>::infinity()) const;
    /// The nearest foot (place None when there is none within maxOffset, Invalid for
    /// non-finite coordinates).
    Foot locate(double x, double y,
                double maxOffset = std::numeric_limits<double>::infinity()) const;
    /// locate() for n points; out[i] answers (x[i], y[i]).
    void locate(const double* x, const double* y, std::size_t n, Foot* out,
                double maxOffset = std::numeric_limits<double>::infinity()) const;

    /// Key points in order along the route: BEGIN, END, equations, the main points of every
    /// curve, and (with `vertical`) BVC, PVI, EVC and high or low points.
    std::vector<KeyPoint> keyPoints(bool horizontal = true, bool vertical = true) const;
    /// The rows of a table in order along the route, handed to `row` one at a time (memory
    /// stays flat however many rows). Round stations are computed as i * interval, never by
    /// repeated addition; a long chain's repeated stretch is listed twice.
    void forEachTableRow(const TableRequest& request,
                         const std::function<void(const TableRow&)>& row) const;
    /// How many rows forEachTableRow would give (to refuse absurd requests up front).
    std::size_t countTableRows(const TableRequest& request) const;

    /// Design checks: curves overlapping their tangents, transitions longer than the
    /// deflection allows, gaps and kinks between consecutive elements, misclosure against
    /// expected end coordinates. Errors apart from warnings.
    std::vector<Diagnostic> check(const CheckOptions& options = {}) const;

private:
    struct Data;
    explicit Route(std::unique_ptr<Data> data);
    std::unique_ptr<Data> data_;
};

}  // namespace qv::route
