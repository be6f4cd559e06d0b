// Design-drawing analysis: sorts the straight and arc items of an arch-shaped outline, drawn
// in a local frame (x across, y up, axis x = 0), into a base line and a left and a right run.
#include "drawing/drawing.hpp"
#include "horizontal/horizontal.hpp"

#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

namespace {

using Items = std::vector<DesignCruveInPut>;

struct Point {
    double x;
    double y;
};

// An item a run takes, oriented: the element runs from `start` to `end`.
struct Placement {
    std::size_t index;
    Point start;
    Point end;
};

enum class Side { Left, Right };

// Strict: a difference of exactly the tolerance does not match, and NaN never does.
bool matches(double a, double b) { return std::fabs(a - b) < rcc::kDrawingMatchTolerance; }

double chordLength(const DesignCruveInPut& item) {
    return rcc::distanceBetween(item.x1, item.y1, item.x2, item.y2);
}

// The lowest y of all end points; NaN compares false and so never lowers it. An outline
// without a single number keeps the largest finite double as its level.
double lowestLevel(const Items& items) {
    double ymin = std::numeric_limits<double>::max();
    for (const DesignCruveInPut& item : items) {
        if (item.y1 < ymin) ymin = item.y1;
        if (item.y2 < ymin) ymin = item.y2;
    }
    return ymin;
}

// The first straight item lying at the lowest level becomes the base line, run from its
// larger-x end to the other (equal x starts at the second end point), chainage 0 to length.
void placeBaseLine(Items& items, double ymin, RoadCurvesCalculation& baseLine) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        const DesignCruveInPut item = items[i];
        // Exact: a straight item carries a radius of exactly 0.
        if (!(matches(item.y1, ymin) && matches(item.y2, ymin) && item.radius == 0)) continue;
        const bool firstIsStart = item.x1 > item.x2;
        const Point start = firstIsStart ? Point{item.x1, item.y1} : Point{item.x2, item.y2};
        const Point end = firstIsStart ? Point{item.x2, item.y2} : Point{item.x1, item.y1};
        baseLine.addRoadCurves(
            rcc::lineFromPoints(0, chordLength(item), start.x, start.y, end.x, end.y));
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(i));
        return;
    }
}

// The first arc whose ends lie on opposite sides of the axis (each clear of it by the
// tolerance) is cut at the axis into two halves, appended at the end of the list, so that
// each run can climb to the apex separately.
void splitApexArc(Items& items) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        const DesignCruveInPut item = items[i];
        if (!(item.radius > 0 && std::fabs(item.x1) > rcc::kDrawingMatchTolerance &&
              std::fabs(item.x2) > rcc::kDrawingMatchTolerance && item.x1 * item.x2 < 0)) {
            continue;
        }
        const double r = item.radius;
        // Half the central angle over the chord; NaN when the chord exceeds the diameter.
        const double halfAngle = std::asin(chordLength(item) / (r * 2));
        const double chordBearing = std::atan2(item.y2 - item.y1, item.x2 - item.x1);
        // The centre lies r from P1 in the direction turned (pi/2 - halfAngle) clockwise from
        // the chord, i.e. to the right of P1 -> P2; the split point is that circle's top.
        // It lies on the arc when the centre is on the axis (a symmetric crown drawn left
        // to right).
        const double splitY = std::sin(chordBearing - (rcc::kHalfPi - halfAngle)) * r + item.y1 + r;
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(i));
        items.push_back(DesignCruveInPut{item.x1, item.y1, 0, splitY, r});
        items.push_back(DesignCruveInPut{item.x2, item.y2, 0, splitY, r});
        return;
    }
}

// Whether an end point at the lowest level stands on the run's side of the axis.
bool standsOnSide(double x, Side side) { return side == Side::Left ? x < 0 : x > 0; }

// Whether an item may continue the run from an end point at this x: the left run keeps
// clear of the axis, the right run does not look at the side.
bool continuesOnSide(double x, Side side) {
    return side == Side::Right || -x > rcc::kDrawingMatchTolerance;
}

// The first item, in list order, that stands on the base or continues from `current`. Each
// item is tried with its first end point before its second, standing before continuing; the
// first item passing any test wins, so list order outranks the kind of test.
std::optional<Placement> findNext(const Items& items, double ymin, Point current, Side side) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        const DesignCruveInPut& it = items[i];
        const Point p1{it.x1, it.y1};
        const Point p2{it.x2, it.y2};
        if (matches(it.y1, ymin) && standsOnSide(it.x1, side)) return Placement{i, p1, p2};
        if (matches(it.y2, ymin) && standsOnSide(it.x2, side)) return Placement{i, p2, p1};
        if (matches(it.x1, current.x) && matches(it.y1, current.y) && continuesOnSide(it.x1, side))
            return Placement{i, p1, p2};
        if (matches(it.x2, current.x) && matches(it.y2, current.y) && continuesOnSide(it.x2, side))
            return Placement{i, p2, p1};
    }
    return std::nullopt;
}

// One run element: a straight of the item's chord length, or the arc shorter than a
// semicircle turning the run's way, marked as a drawing arc with the coarse step.
RoadCurve runElement(double startDK, const DesignCruveInPut& item, const Placement& placement,
                     int turnDirection) {
    const Point s = placement.start;
    const Point e = placement.end;
    if (item.radius == 0) {  // exact: a straight item carries a radius of exactly 0
        return rcc::lineFromPoints(startDK, startDK + chordLength(item), s.x, s.y, e.x, e.y);
    }
    RoadCurve arc = rcc::arcFromChord(startDK, s.x, s.y, e.x, e.y, item.radius, turnDirection);
    arc.curveType = rcc::kDesignArcType;
    arc.integrationStep = rcc::kDesignArcStep;
    return arc;
}

// Places items into one run until none fits: each placed item is removed and the scan
// starts again from the first. Chainage is plain accumulated length from 0; a later climb
// from the base continues the chainage of the one before. The left run turns clockwise
// (-1), the right run counter-clockwise (1), so the outline is convex over the top.
void placeRun(Items& items, double ymin, Side side, RoadCurvesCalculation& output) {
    const int turnDirection = side == Side::Left ? -1 : 1;
    double chainage = 0;
    Point current{0, 0};
    while (const std::optional<Placement> next = findNext(items, ymin, current, side)) {
        const RoadCurve element = runElement(chainage, items[next->index], *next, turnDirection);
        output.addRoadCurves(element);
        chainage = element.endDK;
        current = next->end;
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(next->index));
    }
}

}  // namespace

int analysisDesignCurves(std::vector<DesignCruveInPut> designCurves,
                         RoadCurvesCalculation& leftSide, RoadCurvesCalculation& rightSide,
                         RoadCurvesCalculation& baseLine) {
    constexpr int kNothingToAnalyse = -1;
    constexpr int kAnalysed = 0;
    if (designCurves.empty()) return kNothingToAnalyse;

    const double ymin = lowestLevel(designCurves);
    placeBaseLine(designCurves, ymin, baseLine);
    splitApexArc(designCurves);
    // The left run is complete before the right run starts: the right run sees only what
    // the left run left, and may continue through the apex into it.
    placeRun(designCurves, ymin, Side::Left, leftSide);
    placeRun(designCurves, ymin, Side::Right, rightSide);
    return kAnalysed;
}
