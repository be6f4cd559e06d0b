// Building a route description with the library's own builders and conversions: the numeric
// domain, the horizontal alignment in either form, its curves, and the profile.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "chainage/chainage.hpp"
#include "horizontal/horizontal.hpp"
#include "intersection/intersection.hpp"
#include "profile/profile.hpp"
#include "route/route_data.hpp"

namespace qv::route::detail {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
/// Largest difference, in length units, between the length the library measures between
/// two chainages written with six decimals and the length meant: the rounding of both
/// texts (5e-7 each) plus that of the subtraction at |station| up to 1e9.
constexpr double kTextRounding = 1e-5;

std::string shortNumber(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.6g", value);
    return buffer;
}

bool within(double value, double limit) {
    return std::isfinite(value) && std::fabs(value) <= limit;
}

void requireWithin(double value, double limit, const std::string& path) {
    if (!within(value, limit)) {
        throw RouteError(path, "expected a finite number within ±" + shortNumber(limit) +
                                   ", found " + shortNumber(value));
    }
}

/// A radius of a curved element: within the domain, or +inf where a straight end is allowed.
void requireRadius(double radius, bool infiniteAllowed, const std::string& path) {
    if (infiniteAllowed && radius == kInfinity) return;  // exact: the straight end
    if (!(radius >= kMinRadius && radius <= kMaxRadius)) {
        throw RouteError(path, "expected a radius within [" + shortNumber(kMinRadius) + ", " +
                                   shortNumber(kMaxRadius) + "]" +
                                   (infiniteAllowed ? " or infinite" : "") + ", found " +
                                   shortNumber(radius));
    }
}

void requireLength(double length, bool zeroAllowed, const std::string& path) {
    const bool ok = zeroAllowed ? length >= 0 : length > 0;
    if (!ok || !(length <= kMaxRouteLength)) {
        throw RouteError(path, std::string("expected a length ") + (zeroAllowed ? ">= 0" : "> 0") +
                                   " and at most " + shortNumber(kMaxRouteLength) + ", found " +
                                   shortNumber(length));
    }
}

BrokenChainSet breaksOf(const Numbering& numbering) {
    BrokenChainSet set;
    for (const EquationInfo& info : numbering.equations()) {
        if (!info.isBreak) continue;
        const StationEquation& eq = info.equation;
        const int type = eq.ahead > eq.back ? rcc::kShortChainType : rcc::kLongChainType;
        set.addChain(BrokenChain{type, eq.back, eq.ahead});
    }
    return set;
}

std::string pointName(const std::string& name, const char* prefix, std::size_t i) {
    return name.empty() ? prefix + std::to_string(i) : name;
}

/// Rank of a curved element inside one fitted curve: entering transition, arc, leaving
/// transition. A rank that does not rise starts the next curve.
int fittedRank(int curveType) {
    switch (static_cast<ElementKind>(curveType)) {
        case ElementKind::InTransition:
            return 0;
        case ElementKind::OutTransition:
            return 2;
        default:
            return 1;
    }
}

void buildIntersectionPoints(RouteData& d, std::vector<RoadCurve>& elements) {
    const std::vector<IntersectionPoint>& points = d.description.horizontal.points;
    const std::string base = "horizontal.points";
    if (points.size() < 2) throw RouteError(base, "expected at least a start and an end point");
    for (std::size_t i = 1; i < points.size(); ++i) {
        const IntersectionPoint& a = points[i - 1];
        const IntersectionPoint& b = points[i];
        // Exact: only coincident points leave no direction to fit.
        if (a.x == b.x && a.y == b.y)
            throw RouteError(indexed(base, i), "lies on the previous point");
    }
    const double start = d.description.startStation;
    if (points.size() == 2) {  // a single straight: nothing to fit
        d.alignment.inputLineCoor(start, points[0].x, points[0].y, points[1].x, points[1].y);
        elements = d.alignment.getRoadCruves();
        return;
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        const IntersectionPoint& p = points[i];
        JDPoint jd;
        jd.x = p.x;
        jd.y = p.y;
        jd.radius = p.radius;
        jd.inTransitionLength = p.inTransitionLength;
        jd.outTransitionLength = p.outTransitionLength;
        jd.pointDK = i == 0 ? start : 0.0;
        jd.pointType = i == 0                   ? rcc::kJDStartPoint
                       : i + 1 == points.size() ? rcc::kJDEndPoint
                                                : rcc::kJDMiddlePoint;
        d.alignment.addJDPoint(jd);
        if (i < 2) continue;
        // The curve at the point before the newest one, fitted as soon as its next point is known.
        const std::size_t v = i - 1;
        const IntersectionPoint& V = points[v];
        CurveInfo c;
        double inBearingDeg = 0.0;
        double outBearingDeg = 0.0;
        double deflectionDeg = 0.0;
        const int status = d.alignment.convertJDPointsToRoadCurves(
            inBearingDeg, outBearingDeg, c.inTangentLength, c.outTangentLength, c.arcLength,
            deflectionDeg, c.turn);
        if (status != rcc::kJDConversionDone) {
            throw RouteError(indexed(base, v),
                             "the curve cannot be fitted (collinear or reversing points, or a "
                             "radius that is not positive)");
        }
        for (double value : {inBearingDeg, outBearingDeg, c.inTangentLength, c.outTangentLength,
                             c.arcLength, deflectionDeg}) {
            if (!std::isfinite(value)) {
                throw RouteError(indexed(base, v),
                                 "the curve's main values come out not-a-number or infinite");
            }
        }
        c.name = pointName(V.name, "JD", v);
        c.fromIntersectionPoint = true;
        c.pointIndex = v;
        c.intersection = PlanePoint{V.x, V.y};
        c.radius = V.radius;
        c.inTransitionLength = std::max(V.inTransitionLength, 0.0);
        c.outTransitionLength = std::max(V.outTransitionLength, 0.0);
        // Clothoid parameter A = sqrt(R L): the clothoid's curvature grows as s / A^2.
        c.inParameter = std::sqrt(c.radius * c.inTransitionLength);
        c.outParameter = std::sqrt(c.radius * c.outTransitionLength);
        c.inBearing = rcc::bearingBetween(points[v - 1].x, points[v - 1].y, V.x, V.y);
        c.outBearing = rcc::bearingBetween(V.x, V.y, points[i].x, points[i].y);
        c.deflection = rcc::radiansFromDegrees(deflectionDeg);
        d.curves.push_back(c);
    }
    // Read the elements once (each read copies the list). Every fitted curve appended its
    // entering transition, arc and leaving transition in that order, each when present,
    // so the curved elements fall into the curves by rank.
    elements = d.alignment.getRoadCruves();
    std::size_t curve = 0;
    int previousRank = -1;
    bool inCurve = false;
    for (std::size_t e = 0; e < elements.size(); ++e) {
        if (elements[e].curveType == static_cast<int>(ElementKind::Line)) {
            inCurve = false;
            continue;
        }
        const int rank = fittedRank(elements[e].curveType);
        if (inCurve && rank > previousRank) {
            d.curves[curve - 1].lastElement = e;
        } else {
            if (curve == d.curves.size()) break;
            d.curves[curve].firstElement = d.curves[curve].lastElement = e;
            ++curve;
        }
        inCurve = true;
        previousRank = rank;
    }
    if (curve != d.curves.size()) {
        throw RouteError(base, "the fitted elements do not match the intersection points");
    }
    // The library keeps the first and the closing straight whatever the sign of their length;
    // a negative one (a tangent longer than its leg) would run the route backwards.
    if (elements.front().length < 0) {
        throw RouteError(indexed(base, 1),
                         "the curve's tangent is longer than the leg from the "
                         "start point (the curve overruns it)");
    }
    if (elements.back().length < 0) {
        throw RouteError(indexed(base, points.size() - 1),
                         "the last curve's tangent is longer than the leg to the end point (the "
                         "curve overruns it)");
    }
}

/// Where an element of the element form starts and which way it points: its own start
/// point and bearing when the source gives them (LandXML records each element's start, and
/// a small gap or kink is the source's, kept and reported by the checks), otherwise the end
/// of the element before.
struct Cursor {
    double x;
    double y;
    double bearing;
};

RoadCurve buildElement(const RouteData& d, const ElementDescription& e, const Cursor& at,
                       double along, const BrokenChainSet& breaks, const std::string& path) {
    requireLength(e.length, false, path + ".length");
    const bool curved = e.kind != ElementKind::Line;
    if (curved && e.turn != 1 && e.turn != -1) {
        throw RouteError(path + ".turn", "expected 1 (bearing grows) or -1 (bearing shrinks)");
    }
    // The library measures an element's length between its two chainages through the
    // breaks. Give it the station at the start and the one at the end in the same numbering;
    // where a break lies inside the element, or the start lies in a repeated stretch (the
    // number form of a chainage loses its mark), that walk would not give the designed
    // length, so the element is built with the breaks lifted and plain addition.
    const Numbering& numbering = d.numbering;
    const std::size_t region = numbering.regionAt(along);
    const double startDK = numbering.stationAt(along).value;
    const double endDK = numbering.regions()[region].station +
                         ((along + e.length) - numbering.regions()[region].length);
    const double measured = d.alignment.calculateLengthBetween2DKs(startDK, endDK);
    const bool lift = !(std::fabs(measured - e.length) <= kTextRounding);
    RoadCurvesCalculation scratch;  // the builder's result alone, without copying the route
    if (!lift) scratch.setBrokenChainSet(breaks);
    const double end = lift ? startDK + e.length : endDK;
    switch (e.kind) {
        case ElementKind::Line:
            scratch.inputLine(startDK, end, at.x, at.y, at.bearing);
            break;
        case ElementKind::Arc:
            requireRadius(e.startRadius, false, path + ".startRadius");
            if (e.endRadius != e.startRadius) {
                throw RouteError(path + ".endRadius", "an arc has one radius at both ends");
            }
            scratch.inputCurve(startDK, end, at.x, at.y, e.startRadius, e.turn, at.bearing);
            break;
        case ElementKind::InTransition:
            requireRadius(e.endRadius, false, path + ".endRadius");
            scratch.inputInTransitionCurve(startDK, end, at.x, at.y, e.endRadius, e.turn,
                                           at.bearing);
            break;
        case ElementKind::OutTransition:
            requireRadius(e.startRadius, false, path + ".startRadius");
            scratch.inputOutTransitionCurve(startDK, end, at.x, at.y, e.startRadius, e.turn,
                                            at.bearing);
            break;
        case ElementKind::TransitionBetweenRadii:
            requireRadius(e.startRadius, true, path + ".startRadius");
            requireRadius(e.endRadius, true, path + ".endRadius");
            scratch.inputIncompleteTransitionCurve(startDK, end, at.x, at.y, e.startRadius,
                                                   e.endRadius, e.turn, at.bearing);
            break;
        default:
            throw RouteError(path + ".kind", "expected a line, arc or transition");
    }
    const RoadCurve built = scratch.getRoadCruves().front();
    for (double value : {built.endX, built.endY, built.endBearing, built.length}) {
        if (!std::isfinite(value)) {
            throw RouteError(path, "the element comes out not-a-number or infinite");
        }
    }
    return built;
}

/// Groups the curved elements of the element form into curves: an arc with the transitions
/// leading into and out of it. A transition whose curvature rises enters the next arc, one
/// whose curvature falls leaves the previous arc; two transitions meeting without an arc are
/// one curve; a change of turn, or an arc after an arc, starts a new curve.
void groupElements(RouteData& d, const std::vector<RoadCurve>& elements) {
    enum class State { None, Entering, Arc, Leaving };
    State state = State::None;
    int turn = 0;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const RoadCurve& e = elements[i];
        const ElementKind kind = static_cast<ElementKind>(e.curveType);
        if (kind == ElementKind::Line) {
            state = State::None;
            continue;
        }
        const bool sameTurn = state != State::None && e.turnDirection == turn;
        const bool rising =
            kind == ElementKind::InTransition ||
            (kind == ElementKind::TransitionBetweenRadii && e.endCurvature > e.startCurvature);
        const bool isArc = kind == ElementKind::Arc;
        bool joins = false;
        State next = State::Leaving;
        if (isArc) {
            joins = sameTurn && state == State::Entering;
            next = State::Arc;
        } else if (rising) {
            joins = sameTurn && state == State::Entering;
            next = State::Entering;
        } else {
            joins = sameTurn;
        }
        if (!joins) {
            CurveInfo c;
            c.name = "C" + std::to_string(d.curves.size() + 1);
            c.firstElement = i;
            c.turn = e.turnDirection;
            c.radius = kInfinity;
            d.curves.push_back(c);
        }
        CurveInfo& c = d.curves.back();
        c.lastElement = i;
        if (isArc) {
            c.radius = e.startRadius;
            c.arcLength = e.length;
        } else if (rising) {
            c.inTransitionLength += e.length;
        } else {
            c.outTransitionLength += e.length;
        }
        turn = e.turnDirection;
        state = next;
    }
    for (CurveInfo& c : d.curves) {
        const RoadCurve& first = elements[c.firstElement];
        const RoadCurve& last = elements[c.lastElement];
        c.inBearing = first.startBearing;
        c.outBearing = last.endBearing;
        c.deflection = last.endBearing - first.startBearing;
        // A transition pair turns like the arc it replaces; its radius where they meet.
        if (std::isinf(c.radius) && c.inTransitionLength > 0) {
            c.radius = elements[c.firstElement].endRadius;
        }
        if (std::isfinite(c.radius)) {
            c.inParameter = std::sqrt(c.radius * c.inTransitionLength);
            c.outParameter = std::sqrt(c.radius * c.outTransitionLength);
        }
    }
}

void buildElements(RouteData& d, std::vector<RoadCurve>& elements) {
    const HorizontalDescription& h = d.description.horizontal;
    const std::string base = "horizontal.elements";
    if (h.elements.empty()) throw RouteError(base, "expected at least one element");
    const BrokenChainSet breaks = breaksOf(d.numbering);
    Cursor at{h.start.x, h.start.y, h.startBearing};
    double along = 0.0;
    for (std::size_t i = 0; i < h.elements.size(); ++i) {
        const ElementDescription& e = h.elements[i];
        if (e.start) at.x = e.start->x, at.y = e.start->y;
        if (e.startBearing) at.bearing = *e.startBearing;
        const RoadCurve built = buildElement(d, e, at, along, breaks, indexed(base, i));
        d.alignment.addRoadCurves(built);
        elements.push_back(built);
        along += built.length;
        at = Cursor{built.endX, built.endY, built.endBearing};
    }
    groupElements(d, elements);
}

void checkHorizontalDomain(const HorizontalDescription& h) {
    const double maxBearing = kMaxAngleTurns * rcc::kTwoPi;
    for (std::size_t i = 0; i < h.points.size(); ++i) {
        const IntersectionPoint& p = h.points[i];
        const std::string path = indexed("horizontal.points", i);
        requireWithin(p.x, kMaxCoordinate, path + ".x");
        requireWithin(p.y, kMaxCoordinate, path + ".y");
        if (i == 0 || i + 1 == h.points.size()) continue;
        requireRadius(p.radius, false, path + ".radius");
        requireLength(p.inTransitionLength, true, path + ".inTransitionLength");
        requireLength(p.outTransitionLength, true, path + ".outTransitionLength");
    }
    if (!h.points.empty()) return;
    requireWithin(h.start.x, kMaxCoordinate, "horizontal.start.x");
    requireWithin(h.start.y, kMaxCoordinate, "horizontal.start.y");
    requireWithin(h.startBearing, maxBearing, "horizontal.startBearing");
    for (std::size_t i = 0; i < h.elements.size(); ++i) {
        const ElementDescription& e = h.elements[i];
        const std::string path = indexed("horizontal.elements", i);
        if (e.start) {
            requireWithin(e.start->x, kMaxCoordinate, path + ".start.x");
            requireWithin(e.start->y, kMaxCoordinate, path + ".start.y");
        }
        if (e.startBearing) requireWithin(*e.startBearing, maxBearing, path + ".startBearing");
        if (e.expectedEnd) {
            requireWithin(e.expectedEnd->x, kMaxCoordinate, path + ".expectedEnd.x");
            requireWithin(e.expectedEnd->y, kMaxCoordinate, path + ".expectedEnd.y");
        }
    }
}

}  // namespace

std::string indexed(const std::string& path, std::size_t i) {
    return path + "[" + std::to_string(i) + "]";
}

void checkDomain(const RouteDescription& description) {
    requireWithin(description.startStation, kMaxCoordinate, "startStation");
    checkHorizontalDomain(description.horizontal);
    for (std::size_t i = 0; i < description.profile.size(); ++i) {
        const GradePoint& p = description.profile[i];
        const std::string path = indexed("profile", i);
        requireWithin(p.station.value, kMaxCoordinate, path + ".station");
        requireWithin(p.elevation, kMaxCoordinate, path + ".elevation");
        if (!(p.radius == 0.0)) requireRadius(p.radius, false, path + ".radius");
        requireLength(p.length, true, path + ".length");
    }
}

void buildHorizontal(RouteData& d) {
    d.alignment.setBrokenChainSet(breaksOf(d.numbering));
    std::vector<RoadCurve> elements;
    if (!d.description.horizontal.points.empty()) {
        buildIntersectionPoints(d, elements);
    } else {
        buildElements(d, elements);
    }
    double total = 0.0;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const RoadCurve& e = elements[i];
        if (!std::isfinite(e.length) || !std::isfinite(e.endX) || !std::isfinite(e.endY) ||
            !std::isfinite(e.endBearing)) {
            throw RouteError("horizontal", "element " + std::to_string(i) +
                                               " comes out not-a-number or infinite");
        }
        total += e.length;
    }
    if (!(total <= kMaxRouteLength)) {
        throw RouteError("horizontal", "the route is " + shortNumber(total) + " long, more than " +
                                           shortNumber(kMaxRouteLength));
    }
    d.table = ElementTable(std::move(elements));
    for (const RoadCurve& e : d.table.elements()) {
        d.elementStartTexts.push_back(rcc::parseDKText(rcc::formatDK(e.startDK)));
    }
    for (CurveInfo& c : d.curves) {
        c.startLength = d.table.start(c.firstElement);
        c.endLength = d.table.start(c.lastElement + 1);
        c.curveLength = c.endLength - c.startLength;
        if (c.fromIntersectionPoint) {
            // E: from the intersection point to the curve's mid point.
            const double mid = 0.5 * (c.startLength + c.endLength);
            const std::size_t i = d.table.elementAt(mid);
            const rcc::CurvePoint p = d.table.at(i, mid - d.table.start(i));
            c.external = rcc::distanceBetween(c.intersection.x, c.intersection.y, p.x, p.y);
        }
    }
}

void buildProfile(RouteData& d) {
    const std::vector<GradePoint>& points = d.description.profile;
    if (points.empty()) return;
    if (points.size() < 3) {
        throw RouteError("profile", "expected at least three points (start, a grade change, end)");
    }
    std::vector<double> lengths;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const GradePoint& p = points[i];
        const std::string path = indexed("profile", i) + ".station";
        const std::optional<double> length = d.numbering.lengthAt(p.station);
        if (!length) {
            throw RouteError(path, "station " + formatStation(p.station, StationStyle::Plain) +
                                       " does not exist on this route");
        }
        if (!lengths.empty() && !(*length > lengths.back())) {
            throw RouteError(path, "does not lie after the previous grade point");
        }
        if (p.station.occurrence == 2 && p.station.value < 0) {
            // The library's mark is a '0' in front of the number: "0-330" reads as 0.
            throw RouteError(path, "a second occurrence of a negative station cannot be marked");
        }
        lengths.push_back(*length);
    }
    std::vector<double> radii;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const GradePoint& p = points[i];
        RoadVerticalCurvePoint bp;
        // Chainage text for the library: the second occurrence marked with its leading '0';
        // a first occurrence in (0, 1) written "+0.5..." so that its "0." is not taken for
        // the mark.
        if (p.station.occurrence == 2) {
            bp.dk = rcc::formatMarkedDK(p.station.value);
        } else {
            bp.dk = rcc::formatDK(p.station.value);
            if (rcc::isMarkedDK(bp.dk, p.station.value)) bp.dk.insert(0, "+");
        }
        bp.elevation = p.elevation;
        const bool middle = i > 0 && i + 1 < points.size();
        bp.pointType = middle ? rcc::kProfileGradeChange : rcc::kProfileEndPoint;
        bp.radius = middle ? p.radius : 0.0;
        if (middle && p.length > 0) {
            // A curve given by its length L = 2T: R = L / |g2 - g1|, grades from the points.
            const double g1 =
                (p.elevation - points[i - 1].elevation) / (lengths[i] - lengths[i - 1]);
            const double g2 =
                (points[i + 1].elevation - p.elevation) / (lengths[i + 1] - lengths[i]);
            bp.radius = g1 == g2 ? 0.0 : p.length / std::fabs(g2 - g1);  // exact: no change
        }
        radii.push_back(bp.radius);
        d.alignment.addBPPoint(bp);
        if (i < 2) continue;
        const std::size_t v = i - 1;
        VerticalCurveInfo c;
        const int status = d.alignment.convertBPPointsToVerticalCurves(c.grade1, c.grade2,
                                                                       c.tangentLength, c.external);
        if (status != rcc::kConversionDone || !std::isfinite(c.grade1) ||
            !std::isfinite(c.grade2)) {
            throw RouteError(indexed("profile", v), "the grade change cannot be converted");
        }
        const GradePoint& V = points[v];
        c.name = pointName(V.name, "BP", v);
        c.pointIndex = v;
        c.station = V.station;
        c.length = lengths[v];
        c.elevation = V.elevation;
        c.radius = radii[v];
        // The library lays the two halves exactly when |g2 - g1| R > 0.
        c.hasCurve = c.tangentLength > 0;
        if (!c.hasCurve) c.tangentLength = c.external = 0.0;  // the library's 0 / 0 without R
        c.crest = c.grade2 < c.grade1;
        c.startLength = c.endLength = c.length;
        d.verticalCurves.push_back(c);
    }
    // Read the pieces once (each read copies the list).
    d.pieces = d.alignment.getVerticalCurves();
    d.pieceStarts.reserve(d.pieces.size());
    for (std::size_t k = 0; k < d.pieces.size(); ++k) {
        // The library laid each piece from its start text (mark included): read it once, so
        // that piece ends fall where the library's do. Text the mark cannot express ("0-330",
        // a value in (0, 1) that reads as marked) or that strays from the end of the piece
        // before (laid from such text) gives way to that end.
        const RoadVerticalCurve& piece = d.pieces[k];
        const rcc::DKValue dk = rcc::readDK(piece.startDK);
        d.pieceStartTexts.push_back(dk);
        d.pieceEndTexts.push_back(rcc::parseDKText(piece.endDK));
        const bool negativeMark = dk.marked && piece.startDK.size() > 1 && piece.startDK[1] == '-';
        std::optional<double> start = d.numbering.lengthAt(Station{dk.value, dk.marked ? 2 : 1});
        if (!start && dk.marked && dk.value > 0 && dk.value < 1) {
            start = d.numbering.lengthAt(Station{dk.value, 1});
        }
        if (k == 0) {
            start = lengths.front();
        } else {
            const double previousEnd = d.pieceStarts.back() + d.pieces[k - 1].length;
            if (negativeMark || !start || !(std::fabs(*start - previousEnd) <= kTextRounding)) {
                start = previousEnd;
            }
        }
        d.pieceStarts.push_back(*start);
    }
    // The j-th first half belongs to the j-th vertical curve that has one.
    std::size_t k = 0;
    for (VerticalCurveInfo& c : d.verticalCurves) {
        if (!c.hasCurve) continue;
        while (k < d.pieces.size() && d.pieces[k].curveType != rcc::kFirstHalfPiece) ++k;
        if (k + 1 >= d.pieces.size()) break;
        const RoadVerticalCurve& first = d.pieces[k];
        const RoadVerticalCurve& second = d.pieces[k + 1];
        c.startLength = d.pieceStarts[k];
        c.endLength = d.pieceStarts[k + 1] + second.length;
        // Where the grade is 0: first half g1 + c d / R = 0; second half g2 - c (T - d) / R = 0.
        const double c1 = first.concavity;
        const double inFirst = -first.grade * first.radius / c1;
        const double inSecond = second.length - second.grade * second.radius / c1;
        if (inFirst >= 0 && inFirst <= first.length) {
            c.extremeLength = c.startLength + inFirst;
            c.extremeElevation = rcc::pieceElevation(first, inFirst);
        } else if (inSecond >= 0 && inSecond <= second.length) {
            c.extremeLength = d.pieceStarts[k + 1] + inSecond;
            c.extremeElevation = rcc::pieceElevation(second, inSecond);
        }
        k += 2;
    }
}

}  // namespace qv::route::detail
