// Road-alignment calculation: horizontal elements, vertical profile and broken chains of
// one route centre line, with point-at-chainage, chainage-from-point and length queries.
//
// Units and conventions shared by every declaration below:
//  - One length unit for coordinates, lengths, chainages and radii (metres in practice).
//  - Chainages (DK values) cross the interface as decimal text in a std::string, read
//    like std::stod and written like std::to_string ("%f", six decimals). A text whose
//    first character is "0" and whose value is not zero is *marked*: it names the second
//    occurrence of a chainage that a long chain repeats ("01050.000000").
//  - Bearings are radians measured from the +x axis towards the +y axis, unless a name
//    says degrees. turnDirection 1 means the bearing grows along an element, -1 that it
//    shrinks. An infinite radius is IEEE +infinity with curvature 0.
//  - Input is not validated: degenerate geometry yields infinite or not-a-number fields.
//    The only exceptions are std::invalid_argument("invalid stod argument") and
//    std::out_of_range("stod argument out of range") for unreadable chainage text, plus
//    the standard container and allocation failures.
//
// The exported classes hold standard containers, so a host must build with the same
// compiler and standard library as the library itself.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#if defined(_WIN32)
#if defined(QV_ROADCURVECALCULATION_ALG_BUILDING)
#define QV_RCC_API __declspec(dllexport)
#else
#define QV_RCC_API __declspec(dllimport)
#endif
#else
#define QV_RCC_API __attribute__((visibility("default")))
#endif

#if defined(_MSC_VER)
// The exported classes hold std::vector members; both sides of the DLL boundary must use
// the same standard library anyway, so the dll-interface warning says nothing new here.
#pragma warning(push)
#pragma warning(disable : 4251)
#endif

/// One horizontal element: a straight (curveType 0), a circular curve (1, 7) or a clothoid
/// (2 entering, 3 leaving, 4 between two radii). Plain aggregate; fill it field by field or
/// with braces in this order. A value-initialised record is a zero-length straight at the
/// origin with the line defaults the builders use: both radii +inf, both curvatures 0,
/// turnDirection 0 and integrationStep 0.0001.
struct RoadCurve {
    double startDK = 0.0;  ///< chainage of the start
    double endDK = 0.0;    ///< chainage of the end
    double startX = 0.0;   ///< start point
    double startY = 0.0;
    double endX = 0.0;  ///< end point
    double endY = 0.0;
    double endBearing = 0.0;  ///< tangent bearing at the end, radians
    double startRadius = std::numeric_limits<double>::infinity();  ///< +inf for a straight start
    double endRadius = std::numeric_limits<double>::infinity();    ///< +inf for a straight end
    double length = 0.0;                                           ///< length along the element
    double startBearing = 0.0;    ///< tangent bearing at the start, radians
    double startCurvature = 0.0;  ///< 1/startRadius, 0 for +inf; the evaluation reads these
    double endCurvature = 0.0;    ///< 1/endRadius, 0 for +inf
    int curveType = 0;      ///< 0 Line, 1 Curve, 2 In-, 3 Out-, 4 IncompleteTransition, 7 DesignArc
    int turnDirection = 0;  ///< 1 bearing increases, -1 decreases; 0 on straights
    double integrationStep = 0.0001;  ///< step of the fixed-step evaluation of a curved element
};

/// One horizontal intersection point (JD) for convertJDPointsToRoadCurves.
struct JDPoint {
    double spare1 = 0.0;  ///< carried for the host, never read
    double radius = 0.0;  ///< radius R of the circular curve at this point
    double x = 0.0;       ///< plane coordinates of the point
    double y = 0.0;
    double inTransitionLength = 0.0;   ///< L1 of the entering clothoid; <= 0 means none
    double outTransitionLength = 0.0;  ///< L2 of the leaving clothoid; <= 0 means none
    double spare2 = 0.0;               ///< carried for the host, never read
    double spare3 = 0.0;               ///< carried for the host, never read
    double pointDK = 0.0;              ///< chainage; read only for the start point
    int pointType = 0;                 ///< 0 start point, 2 end point, other: intersection point
};

/// One vertical grade-change point (BP) for convertBPPointsToVerticalCurves.
struct RoadVerticalCurvePoint {
    std::string dk;          ///< chainage text, may carry the long-chain mark
    double elevation = 0.0;  ///< elevation of the intersection of the two grade lines
    double radius = 0.0;     ///< vertical-curve radius at this point (read for middle points)
    int reserved1 = 0;       ///< the four reserved fields are the host's; only copied
    int reserved2 = 0;
    int reserved3 = 0;
    int reserved4 = 0;
    int pointType = 0;  ///< 0 first or last point of the profile, other: grade change
};

/// One piece of the derived vertical profile: a grade line (curveType 0) or one half of a
/// parabolic vertical curve (5 first half, 6 second half). At distance d from its start the
/// elevation is startElevation + grade*d, plus concavity*d^2/(2*radius) for a first half and
/// concavity*(length-d)^2/(2*radius) for a second half.
struct RoadVerticalCurve {
    std::string startDK;          ///< chainage text of the start
    std::string endDK;            ///< chainage text of the end
    double startElevation = 0.0;  ///< grade-line elevation at the start
    double endElevation = 0.0;    ///< grade*length + startElevation
    double length = 0.0;          ///< length along the route; tangent length T for a half
    double grade = 0.0;           ///< rise over length (0.02 is 2 %)
    double radius = 0.0;          ///< vertical-curve radius, 0 on a grade line
    int curveType = 0;            ///< 0 grade line, 5 first half, 6 second half
    int concavity = 0;            ///< -1 crest, +1 sag; 0 on a grade line
};

/// One chainage break. type 1: short chain (numbering jumps forward from beforeDK to
/// afterDK, the values between do not exist); any other type: long chain (numbering jumps
/// back, the values from afterDK to beforeDK occur twice).
struct BrokenChain {
    int type = 0;
    double beforeDK = 0.0;  ///< chainage of the break in the numbering that runs up to it
    double afterDK = 0.0;   ///< chainage of the same point in the numbering after it
};

/// One straight (radius exactly 0) or circular-arc item of an outline read off a design
/// drawing, in its local frame (x across, y up, axis x = 0).
struct DesignCruveInPut {
    double x1 = 0.0;  ///< first end point
    double y1 = 0.0;
    double x2 = 0.0;  ///< second end point
    double y2 = 0.0;
    double radius = 0.0;  ///< arc radius, exactly 0 for a straight item
};

/// The ordered chainage breaks of one route and the conversions between chainage and
/// length across them. Breaks are kept in the order given (store them ascending along the
/// route); nothing is sorted, merged or validated.
class QV_RCC_API BrokenChainSet {
public:
    /// An empty set: both conversions are plain arithmetic.
    BrokenChainSet();
    BrokenChainSet(const BrokenChainSet& other);
    /// Takes over the other set's breaks and leaves it empty.
    BrokenChainSet(BrokenChainSet&& other) noexcept;
    /// Element-wise copy; assignment to itself does nothing.
    BrokenChainSet& operator=(const BrokenChainSet& other);
    /// Takes over the other set's breaks and leaves it empty; to itself does nothing.
    BrokenChainSet& operator=(BrokenChainSet&& other) noexcept;
    ~BrokenChainSet();

    /// Appends one break at the end.
    void addChain(BrokenChain chain);
    /// A copy of the breaks, in stored order.
    std::vector<BrokenChain> getChains() const;
    /// Replaces the breaks by the given ones, in their order.
    void setChains(std::vector<BrokenChain> chains);
    /// Removes every break.
    void clearChains();

    /// Chainage text reached after `length` (may be negative) from chainage text `dk`:
    /// skips the missing numbers of short chains; an unmarked start that passes a long chain
    /// lands in the numbering behind it and comes back marked ("0" in front) while it is in
    /// the repeated stretch. A marked start is never reduced by a long chain.
    /// Throws the two chainage-text exceptions for unreadable `dk`.
    std::string calculateDKfromLength(std::string dk, double length) const;
    /// The text form on six-decimal numbers; the mark of the result is lost, and a `dk` in
    /// (0, 1) counts as marked because its text begins with "0.".
    double calculateDKfromLength(double dk, double length) const;
    /// Length travelled from `dk1` forward to `dk2`, honouring both marks: the gaps of short
    /// chains are left out and the repeated stretches of long chains counted twice.
    /// Returns -1.0 when an unmarked `dk2` lies numerically before `dk1`. Reads `dk1`, with
    /// its error checks, before `dk2`.
    double calculateLengthBetween2DKs(std::string dk1, std::string dk2) const;
    /// The text form applied to both numbers written with six decimals (see above for (0, 1)).
    double calculateLengthBetween2DKs(double dk1, double dk2) const;

private:
    // The alignment object measures lengths from chainages it has read once already.
    friend class RoadCurvesCalculation;
    std::vector<BrokenChain> chains;
};

/// One route centre line: horizontal elements, intersection points, grade-change points,
/// derived vertical-curve pieces and broken chains, all owned by value. Plain value type:
/// copies are deep, moves leave the source's lists empty. Lists only grow. Read-only
/// members may run side by side on one object that no thread changes meanwhile.
class QV_RCC_API RoadCurvesCalculation {
public:
    /// Empty lists, no breaks, projection tolerance 0.001.
    RoadCurvesCalculation();
    /// Deep copy of all lists and the tolerance.
    RoadCurvesCalculation(const RoadCurvesCalculation& other);
    /// Takes over all five lists, leaving `other` empty (it keeps its tolerance).
    RoadCurvesCalculation(RoadCurvesCalculation&& other) noexcept;
    /// Replaces every list by a copy of `other`'s; assignment to itself changes nothing.
    RoadCurvesCalculation& operator=(const RoadCurvesCalculation& other);
    /// Takes over `other`'s lists, leaving them empty; to itself changes nothing.
    RoadCurvesCalculation& operator=(RoadCurvesCalculation&& other) noexcept;
    ~RoadCurvesCalculation();

    /// Appends a copy of `curve` to the element list, unchecked.
    void addRoadCurves(RoadCurve curve);
    /// A copy of the element list, in the order the elements were added.
    std::vector<RoadCurve> getRoadCruves() const;
    /// Replaces the object's breaks by a copy of `chainSet`'s. Elements and profile pieces
    /// already built keep the chainages computed with the old breaks.
    void setBrokenChainSet(BrokenChainSet chainSet);
    /// Appends an intersection point for convertJDPointsToRoadCurves.
    void addJDPoint(JDPoint point);
    /// Appends a grade-change point for convertBPPointsToVerticalCurves.
    void addBPPoint(RoadVerticalCurvePoint point);

    /// BrokenChainSet::calculateDKfromLength on the object's breaks.
    std::string calculateDKfromLength(std::string dk, double length) const;
    /// BrokenChainSet::calculateDKfromLength (number form) on the object's breaks.
    double calculateDKfromLength(double dk, double length) const;
    /// BrokenChainSet::calculateLengthBetween2DKs (number form) on the object's breaks;
    /// -1.0 when dk2 lies before dk1.
    double calculateLengthBetween2DKs(double dk1, double dk2) const;
    /// BrokenChainSet::calculateLengthBetween2DKs (text form) on the object's breaks;
    /// -1.0 when an unmarked dk2 lies before dk1.
    double calculateLengthBetween2DKs(std::string dk1, std::string dk2) const;

    /// Appends a straight from (startX, startY) along `bearing` (radians, stored as given);
    /// its length is measured from startDK to endDK through the breaks (-1.0 when endDK lies
    /// before startDK, which puts the end point one unit behind the start).
    void inputLine(double startDK, double endDK, double startX, double startY, double bearing);
    /// Appends the straight between two points; bearing in [0, 2pi); its end chainage is
    /// reached from startDK through the breaks.
    void inputLineCoor(double startDK, double startX, double startY, double endX, double endY);
    /// Appends a circular curve of `radius` from a start point and start bearing (radians);
    /// length from startDK to endDK through the breaks, stored endDK = startDK + length.
    /// End point and bearing come from the fixed-step evaluation (step 0.0001). A zero or
    /// negative radius, or a zero length, gives infinite or not-a-number end values.
    void inputCurve(double startDK, double endDK, double startX, double startY, double radius,
                    int turnDirection, double startBearing);
    /// Appends the arc of `radius` (shorter than a semicircle) from the start to the end
    /// point, turning by `turnDirection` (every value but 1 counts as -1); endDK = startDK +
    /// arc length, without breaks. Bearings are stored as remainders in [-pi/2, 2pi). A
    /// radius below half the chord gives not-a-number bearings, length and endDK.
    void inputCurveCoor(double startDK, double startX, double startY, double endX, double endY,
                        double radius, int turnDirection);
    /// Appends an entering clothoid from a straight (radius +inf) to `radius`; as inputCurve.
    void inputInTransitionCurve(double startDK, double endDK, double startX, double startY,
                                double radius, int turnDirection, double startBearing);
    /// Appends a leaving clothoid from `radius` to a straight; as inputCurve.
    void inputOutTransitionCurve(double startDK, double endDK, double startX, double startY,
                                 double radius, int turnDirection, double startBearing);
    /// Appends a clothoid between two radii (+inf allowed; equal radii give a curve, kind 1);
    /// as inputCurve.
    void inputIncompleteTransitionCurve(double startDK, double endDK, double startX, double startY,
                                        double startRadius, double endRadius, int turnDirection,
                                        double startBearing);

    /// Plane point (x, y), tangent bearing (returned, radians, not normalised) and design
    /// elevation at chainage text `dk`. The first stored element whose [startDK, endDK]
    /// holds the value is evaluated at the length from its start through the breaks (the
    /// mark of `dk` honoured); a chainage outside every element gives the end point and end
    /// bearing of the last element (isDKOnAlignment tells the two apart). Returns -99.0 and
    /// leaves x, y untouched when there are no elements. `elevation` is written only when a
    /// profile piece holds the chainage. Elements and profile pieces are found by the
    /// number of `dk` alone, so one that runs across a long chain (its end number below its
    /// start number) holds no chainage: keep long chains on straights and grade lines.
    /// Throws for unreadable `dk` before writing anything.
    double calculateCoordinatesAndBearing(std::string dk, double& x, double& y,
                                          double& elevation) const;
    /// True when some element's chainage range [startDK, endDK] holds the value of `dk`;
    /// false for a chainage before the first element, in a gap, beyond the last element, or
    /// not a number, where calculateCoordinatesAndBearing answers with the last element's
    /// end. Throws for unreadable `dk`.
    bool isDKOnAlignment(std::string dk) const;

    /// Chainage text of the foot of point (x, y), stepping forward from chainage text `dk`
    /// along the tangent until the projected step is shorter than the tolerance (0.001) or
    /// negative; returns the signed offset there (positive on the side of bearing + pi/2).
    /// `resultDk` receives the chainage where the stepping stopped. Stepping goes on through
    /// gaps between elements; at most 100,000 steps are taken in all (real points need a few
    /// dozen), after which the chainage reached is the answer. A foot beyond the end of the
    /// alignment (no element ends at or after the chainage reached) is projected onto the last
    /// element's end tangent produced: `resultDk` is then a chainage past the end (isDKOnAlignment
    /// gives false) and the offset is measured from the produced tangent. NaN coordinates stop at
    /// once with a NaN offset. Returns -99.0 and leaves `resultDk` untouched when there are no
    /// elements.
    double vdApproachMethod(std::string dk, double x, double y, std::string& resultDk) const;
    /// Chainage text of the foot of the point given as (y, x) - note the order - found by
    /// vdApproachMethod from the first element's start. "-1" when there are no elements.
    std::string calculateDKfromCoordinates(double y, double x) const;

    /// Fits the curve at the newest intersection point but one (the second point on the
    /// first call) and appends the straight leading to it, the entering clothoid, the arc and
    /// the leaving clothoid; when the newest point is the end point (type 2), also the closing
    /// straight. Reports bearings and the signed deflection in degrees, the tangent lengths
    /// T1, T2, the arc length and the turn direction. A route of a start point, one
    /// intersection point and an end point is closed by its first call. Returns 0, or -1 with
    /// nothing written and nothing appended for fewer than three points, a first point that
    /// is not a start point (type 0), collinear or reversing points (deflection 0 or 180
    /// degrees), a radius that is not positive, or input that leaves a tangent or arc length
    /// infinite or NaN. Transition lengths enter the formulas as given (only the elements of
    /// lengths <= 0 are left out).
    int convertJDPointsToRoadCurves(double& inBearing, double& outBearing, double& inTangentLength,
                                    double& outTangentLength, double& arcLength, double& deflection,
                                    int& turnDirection);

    /// Converts the newest three grade-change points: reports the incoming and outgoing
    /// grades, the tangent length T = |g2 - g1| * R / 2 and the external distance T^2 / (2R)
    /// of the vertical curve at the middle point, and appends the grade line leading to the
    /// curve, its two halves and, when the newest point ends the profile (type 0), the
    /// closing grade line. Returns -1 with nothing changed when there are no points or the
    /// first is not of type 0; 0 otherwise (nothing changes with fewer than three points).
    /// More than three points before the first conversion: the first conversion is made on
    /// the first three points. Throws for unreadable chainage text before writing anything.
    int convertBPPointsToVerticalCurves(double& grade1, double& grade2, double& tangentLength,
                                        double& externalDistance);
    /// A copy of the vertical-profile pieces, in order along the profile.
    std::vector<RoadVerticalCurve> getVerticalCurves() const;

private:
    /// The horizontal part of calculateCoordinatesAndBearing on a non-empty element list:
    /// writes the point and bearing at `dk` (whose value is `value`) and returns whether an
    /// element holds it (false: the last element's end was written).
    bool horizontalPointAt(const std::string& dk, double value, double& x, double& y,
                           double& bearing) const;

    std::vector<RoadCurve> elements;
    std::vector<JDPoint> jdPoints;
    std::vector<RoadVerticalCurvePoint> bpPoints;
    std::vector<RoadVerticalCurve> verticalCurves;
    BrokenChainSet brokenChains;
    float tolerance;

    // Derived from the lists above, brought up to date by every member that changes them and
    // never by a const one, so that concurrent queries only read. Defined inside the library.
    struct ElementKey;  ///< an element's start chainage as read back from its text, its evaluator
    struct PieceKey;    ///< a profile piece's two chainages, read once
    /// Extends the derived data to elements appended from index `first` on.
    void elementsAppended(std::size_t first);
    /// Extends the derived data to profile pieces appended from index `first` on.
    void piecesAppended(std::size_t first);

    std::vector<ElementKey> elementKeys;
    std::vector<std::size_t> elementRuns;  ///< first index of each ascending run of elements
    std::vector<PieceKey> pieceKeys;
    std::vector<std::size_t> pieceRuns;  ///< first index of each ascending run of pieces
};

/// Bearing in degrees, in [0, 360), of the direction from (x1, y1) to (x2, y2). A direction
/// a hair clockwise of +x (atan2 above -2.2e-16 rad) rounds to 360 itself.
QV_RCC_API double calculateBearing(double x1, double y1, double x2, double y2);
/// Bearing in radians, in [0, 2pi), of the direction from (x1, y1) to (x2, y2); as above, a
/// direction a hair clockwise of +x rounds to 2pi itself.
QV_RCC_API double calculateBearingRad(double x1, double y1, double x2, double y2);

/// Sorts the straight and arc items of a drawn outline into the base line (the straight at
/// the lowest level, run from its right end to its left end), the left run and the right
/// run (chains rising from the base, arcs turning -1 on the left and 1 on the right, built
/// with a 0.01 evaluation step and kind 7). Elements are appended after what each output
/// holds, with chainage counted from 0. The host's list is taken by value and unchanged.
/// Returns -1 with nothing touched for an empty list, else 0; unplaced items are dropped.
QV_RCC_API int analysisDesignCurves(std::vector<DesignCruveInPut> designCurves,
                                    RoadCurvesCalculation& leftSide,
                                    RoadCurvesCalculation& rightSide,
                                    RoadCurvesCalculation& baseLine);

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
