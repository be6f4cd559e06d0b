// Chainage from coordinates: the approach method steps forward along the route by the
// point's projection onto the tangent until that projection is shorter than the tolerance.
#include "chainage/chainage.hpp"
#include "horizontal/horizontal.hpp"

#include <cmath>

namespace {

// Upper bound on approach steps. Each step moves at least the tolerance forward and the
// convergence on real geometry is geometric (a handful of steps), so this bound is only
// reached by degenerate input such as chainages so large that a step no longer changes
// their six-decimal text; it keeps every call finite.
constexpr int kMaxApproachSteps = 1000000;

// Text answered by calculateDKfromCoordinates for an object without elements.
const char* const kNoElementsDK = "-1";

}  // namespace

double RoadCurvesCalculation::vdApproachMethod(std::string dk, double x, double y,
                                               std::string& resultDk) const {
    const double tolerance64 = tolerance;  // widened: 0.001f is 0.0010000000474974513
    for (int stepCount = 0;; ++stepCount) {
        double px = 0.0;
        double py = 0.0;
        double unusedElevation = 0.0;
        const double bearing = calculateCoordinatesAndBearing(dk, px, py, unusedElevation);
        if (bearing == rcc::kNoElementsBearing) return rcc::kNoElementsBearing;

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
        if (!isDKOnAlignment(dk)) {
            // The query fell back to the end of the last element, so every further step
            // would see the same point and bearing and never stop. The foot lies on the end
            // tangent produced, `along` beyond the end.
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
