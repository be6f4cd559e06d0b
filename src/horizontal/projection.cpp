// Chainage from coordinates: the approach method steps forward along the route by the
// point's projection onto the tangent until that projection is shorter than the tolerance.
#include "chainage/chainage.hpp"
#include "horizontal/horizontal.hpp"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace {

// Upper bound on approach steps. Each step moves at least the tolerance forward. Beside a
// curve of radius R a point at distance rho from its centre closes in by the factor
// 1 - rho/R per step, so a real point needs a few dozen steps and even one at a hundredth
// of the radius from the centre about a thousand. The bound is reached only by degenerate
// input: chainages so large that a step no longer changes their six-decimal text, or a long
// gap between elements crossed in equal steps. It keeps every call short (about 30 ms).
constexpr int kMaxApproachSteps = 100000;

// Text answered by calculateDKfromCoordinates for an object without elements.
const char* const kNoElementsDK = "-1";

// True when no element ends at or after `value`: the chainage lies past the whole
// alignment (also for +inf or NaN), so the query answers with the last element's end for
// it and for every chainage a forward step can reach. A chainage in a gap between elements
// is not past the end: stepping on from it may still enter a later element. An element
// with a NaN endDK ends nowhere and does not hold the stepping back. Inside each ascending
// run of elements (`runs`: the first index of each) the last one ends the highest.
bool liesPastEveryElement(const std::vector<RoadCurve>& elements,
                          const std::vector<std::size_t>& runs, double value) {
    for (std::size_t r = 0; r < runs.size(); ++r) {
        const std::size_t last = (r + 1 < runs.size() ? runs[r + 1] : elements.size()) - 1;
        if (elements[last].endDK >= value) return false;
    }
    return true;
}

}  // namespace

double RoadCurvesCalculation::vdApproachMethod(std::string dk, double x, double y,
                                               std::string& resultDk) const {
    const double tolerance64 = tolerance;  // widened: 0.001f is 0.0010000000474974513
    for (int stepCount = 0;; ++stepCount) {
        // The point-at-chainage query without its elevation lookup, which stepping never uses.
        const double value = rcc::parseDKText(dk);
        if (elements.empty()) return rcc::kNoElementsBearing;
        double px = 0.0;
        double py = 0.0;
        double bearing = 0.0;
        const bool onElement = horizontalPointAt(dk, value, px, py, bearing);

        // Split the vector to the point into its parts along and across the tangent.
        const double dx = x - px;
        const double dy = y - py;
        const double distance = std::sqrt(std::pow(dx, 2.0) + std::pow(dy, 2.0));
        const double toPoint = rcc::normalizeBearing(std::atan2(dy, dx));
        const double along = distance * std::cos(toPoint - bearing);
        const double offset = distance * std::sin(toPoint - bearing);

        // Arrived (step below the tolerance), passed the foot (negative step), or nothing
        // to step by (NaN from NaN coordinates): the answer is the current chainage.
        if (tolerance64 > std::fabs(along) || along < 0 || std::isnan(along) ||
            stepCount >= kMaxApproachSteps) {
            resultDk = dk;
            return offset;
        }
        if (!onElement && liesPastEveryElement(elements, elementRuns, value)) {
            // The query fell back to the end of the last element, and so it will for every
            // further step: the same point and bearing, the same step, never a stop. The
            // foot lies on the end tangent produced, `along` beyond the end.
            resultDk = calculateDKfromLength(rcc::formatDK(elements.back().endDK), along);
            return offset;
        }
        std::string next = calculateDKfromLength(dk, along);
        if (next == dk) {  // the step no longer changes the six-decimal chainage
            resultDk = dk;
            return offset;
        }
        dk = std::move(next);
    }
}

std::string RoadCurvesCalculation::calculateDKfromCoordinates(double y, double x) const {
    if (elements.empty()) return kNoElementsDK;
    std::string result;
    vdApproachMethod(rcc::formatDK(elements.front().startDK), x, y, result);
    return result;
}
