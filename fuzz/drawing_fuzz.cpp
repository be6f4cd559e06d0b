// Fuzz target: outlines read off design drawings (straight and arc items), sorted into a
// base line and two runs, then queried.
#include "fuzz_support.hpp"

namespace {

using namespace rcc_fuzz;

// Coordinates on a coarse grid mostly, so that end points meet and items chain up.
double drawingCoordinate(FuzzedDataProvider& in) {
    switch (in.ConsumeIntegralInRange<int>(0, 3)) {
        case 0:
        case 1:
            return in.ConsumeIntegralInRange<int>(-6, 6);
        case 2:
            return in.ConsumeIntegralInRange<int>(-12, 12) * 0.5 +
                   in.ConsumeIntegralInRange<int>(-1, 1) * 0.0005;
        default:
            return awkwardDouble(in);
    }
}

DesignCruveInPut randomItem(FuzzedDataProvider& in) {
    DesignCruveInPut item;
    item.x1 = drawingCoordinate(in);
    item.y1 = drawingCoordinate(in);
    item.x2 = drawingCoordinate(in);
    item.y2 = drawingCoordinate(in);
    switch (in.ConsumeIntegralInRange<int>(0, 3)) {
        case 0:
            item.radius = 0.0;  // a straight item
            break;
        case 1:
            item.radius = in.ConsumeIntegralInRange<int>(1, 12);
            break;
        case 2:
            item.radius = -0.0;
            break;
        default:
            item.radius = awkwardDouble(in);
            break;
    }
    return item;
}

// What the analysis appends to one output: lines, or arcs of kind 7 with the 0.01 step and
// the run's turn; chainage counted from 0 and running on from element to element.
void checkRun(const std::vector<RoadCurve>& before, const std::vector<RoadCurve>& after, int turn) {
    RCC_FUZZ_CHECK(startsWith(after, before));
    for (std::size_t i = before.size(); i < after.size(); ++i) {
        const RoadCurve& element = after[i];
        if (i == before.size()) RCC_FUZZ_CHECK(element.startDK == 0.0);
        if (i > before.size()) RCC_FUZZ_CHECK(same(element.startDK, after[i - 1].endDK));
        if (element.curveType == 0) continue;
        constexpr double kDrawingArcStep = 0.01;
        RCC_FUZZ_CHECK(element.curveType == 7);
        RCC_FUZZ_CHECK(element.integrationStep == kDrawingArcStep);
        RCC_FUZZ_CHECK(element.turnDirection == turn);
    }
}

// Queries each output at a few chainages of its own, where evaluation is affordable.
void queryOutput(FuzzedDataProvider& in, const RoadCurvesCalculation& road) {
    const std::vector<RoadCurve> elements = road.getRoadCruves();
    if (elements.empty()) return;
    const bool projectionAffordable = everyQueryAffordable(elements, {});
    for (int i = 0; i < 3 && in.remaining_bytes() > 0; ++i) {
        const RoadCurve& element =
            elements[in.ConsumeIntegralInRange<std::size_t>(0, elements.size() - 1)];
        const double share = in.ConsumeProbability<double>();
        const double dkValue = element.startDK + (element.endDK - element.startDK) * share;
        const std::string dk = std::to_string(dkValue);
        if (!queryAffordable(road, elements, dk)) continue;
        double x = 0.0;
        double y = 0.0;
        double elevation = kUntouched;
        (void)road.calculateCoordinatesAndBearing(dk, x, y, elevation);
        RCC_FUZZ_CHECK(elevation == kUntouched);  // the outputs have no vertical pieces
        if (!projectionAffordable || !uncoveredWalkBounded(elements, dkValue) ||
            !projectionWithinGrid(elements, x + 1, y - 1)) {
            continue;
        }
        std::string foot;
        (void)road.vdApproachMethod(dk, x + 1, y - 1, foot);
        RCC_FUZZ_CHECK(classifyDK(foot) == TextRead::Readable);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    RoadCurvesCalculation left;
    RoadCurvesCalculation right;
    RoadCurvesCalculation base;
    // Outputs that already hold elements keep them.
    if (in.ConsumeBool()) left.inputLine(0, 5, 0, 0, 1);
    if (in.ConsumeBool()) base.inputLineCoor(0, 0, 0, 3, 4);

    const std::size_t count = in.ConsumeIntegralInRange<std::size_t>(0, 24);
    std::vector<DesignCruveInPut> items;
    for (std::size_t i = 0; i < count && in.remaining_bytes() > 0; ++i) {
        items.push_back(randomItem(in));
    }

    const std::vector<RoadCurve> leftBefore = left.getRoadCruves();
    const std::vector<RoadCurve> rightBefore = right.getRoadCruves();
    const std::vector<RoadCurve> baseBefore = base.getRoadCruves();
    const int status = analysisDesignCurves(items, left, right, base);
    const std::vector<RoadCurve> leftAfter = left.getRoadCruves();
    const std::vector<RoadCurve> rightAfter = right.getRoadCruves();
    const std::vector<RoadCurve> baseAfter = base.getRoadCruves();

    if (items.empty()) {
        RCC_FUZZ_CHECK(status == -1);
        RCC_FUZZ_CHECK(sameList(leftAfter, leftBefore) && sameList(rightAfter, rightBefore) &&
                       sameList(baseAfter, baseBefore));
        return 0;
    }
    RCC_FUZZ_CHECK(status == 0);
    checkRun(leftBefore, leftAfter, -1);
    checkRun(rightBefore, rightAfter, 1);
    checkRun(baseBefore, baseAfter, 0);
    // One base line at most; every item is placed once at most, and the split of the arc
    // across the axis adds one item.
    RCC_FUZZ_CHECK(baseAfter.size() <= baseBefore.size() + 1);
    const std::size_t placed = leftAfter.size() - leftBefore.size() + rightAfter.size() -
                               rightBefore.size() + baseAfter.size() - baseBefore.size();
    RCC_FUZZ_CHECK(placed <= items.size() + 1);
    for (std::size_t i = baseBefore.size(); i < baseAfter.size(); ++i) {
        RCC_FUZZ_CHECK(baseAfter[i].curveType == 0);
    }

    queryOutput(in, left);
    queryOutput(in, right);
    queryOutput(in, base);

    // One object passed as every output: whatever it gets, it only grows.
    RoadCurvesCalculation all;
    (void)analysisDesignCurves(items, all, all, all);
    return 0;
}
