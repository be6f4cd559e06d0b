// Fuzz target: projection of random points onto random small alignments (vdApproachMethod
// and calculateDKfromCoordinates), across broken chains.
#include "fuzz_support.hpp"

namespace {

using namespace rcc_fuzz;

// Appends one element. Curved ones are kept short; some are re-added with the coarser step
// of design-drawing arcs, which makes their evaluation a hundred times cheaper.
void addElement(FuzzedDataProvider& in, RoadCurvesCalculation& road) {
    const double startDK = in.ConsumeBool() ? moderateDouble(in, 200.0) : awkwardDouble(in);
    const double endDK = startDK + (in.ConsumeBool() ? moderateDouble(in, kMaxCurvedLength)
                                                     : moderateDouble(in, 2000.0));
    const double x = moderateDouble(in, 500.0);
    const double y = moderateDouble(in, 500.0);
    const double bearing = in.ConsumeBool() ? moderateDouble(in, 7.0) : awkwardDouble(in);
    const double radius = in.ConsumeBool() ? moderateDouble(in, 300.0) : awkwardDouble(in);
    const int turn = turnDirection(in);
    const bool curvedAffordable =
        evaluationAffordable(road.calculateLengthBetween2DKs(startDK, endDK), 1e-4);
    switch (in.ConsumeIntegralInRange<int>(0, 5)) {
        case 0:
            road.inputLine(startDK, endDK, x, y, bearing);
            break;
        case 1:
            road.inputLineCoor(startDK, x, y, moderateDouble(in, 500.0), moderateDouble(in, 500.0));
            break;
        case 2:
            road.inputCurveCoor(startDK, x, y, moderateDouble(in, 500.0), moderateDouble(in, 500.0),
                                radius, turn);
            break;
        case 3:
            if (curvedAffordable) road.inputCurve(startDK, endDK, x, y, radius, turn, bearing);
            break;
        case 4:
            if (curvedAffordable) {
                road.inputIncompleteTransitionCurve(startDK, endDK, x, y, radius, awkwardDouble(in),
                                                    turn, bearing);
            }
            break;
        default: {
            // A clothoid built at the fine step, stored again with the coarse one.
            RoadCurvesCalculation scratch;
            const double length = moderateDouble(in, kMaxCurvedLength);
            scratch.inputInTransitionCurve(startDK, startDK + length, x, y, radius, turn, bearing);
            RoadCurve curve = scratch.getRoadCruves().back();
            constexpr double kCoarseStep = 0.01;
            curve.integrationStep = kCoarseStep;
            road.addRoadCurves(curve);
            break;
        }
    }
}

// Up to three breaks whose chainages are not negative. A marked negative chainage would be
// written "0-12.000000", which reads back as 0: the approach could then step round the same
// loop until its step limit, which takes long enough to hide other faults.
BrokenChainSet nonNegativeChains(FuzzedDataProvider& in) {
    BrokenChainSet set;
    const int count = in.ConsumeIntegralInRange<int>(0, 3);
    for (int i = 0; i < count; ++i) {
        BrokenChain chain;
        chain.type = in.ConsumeBool() ? 1 : 2;
        chain.beforeDK = std::fabs(moderateDouble(in, 200.0));
        chain.afterDK = std::fabs(chain.beforeDK + moderateDouble(in, 10.0));
        set.addChain(chain);
    }
    return set;
}

// A point to project: near an element's start or end mostly, or anywhere at all.
void pointNear(FuzzedDataProvider& in, const std::vector<RoadCurve>& elements, double& x,
               double& y) {
    if (elements.empty() || in.ConsumeIntegralInRange<int>(0, 3) == 0) {
        x = awkwardDouble(in);
        y = awkwardDouble(in);
        return;
    }
    const RoadCurve& element =
        elements[in.ConsumeIntegralInRange<std::size_t>(0, elements.size() - 1)];
    const bool atEnd = in.ConsumeBool();
    x = (atEnd ? element.endX : element.startX) + moderateDouble(in, 30.0);
    y = (atEnd ? element.endY : element.startY) + moderateDouble(in, 30.0);
}

void checkProjection(FuzzedDataProvider& in, const RoadCurvesCalculation& road,
                     const std::vector<RoadCurve>& elements) {
    double x = 0.0;
    double y = 0.0;
    pointNear(in, elements, x, y);
    const std::string dk = !elements.empty() && in.ConsumeBool()
                               ? std::to_string(elements.front().startDK)
                               : dkText(in);

    double dkValue = 0.0;
    classifyDK(dk, &dkValue);
    if (!uncoveredWalkBounded(elements, dkValue) || !projectionWithinGrid(elements, x, y)) return;
    if (!elements.empty() && !uncoveredWalkBounded(elements, elements.front().startDK)) return;

    const std::string kUnwritten = "unwritten";
    std::string foot = kUnwritten;
    double offset = 0.0;
    const TextRead thrown = runReadingDK([&] { offset = road.vdApproachMethod(dk, x, y, foot); });
    RCC_FUZZ_CHECK(thrown == classifyDK(dk));
    if (thrown != TextRead::Readable || elements.empty()) {
        // Unreadable text or no elements: the result text is left alone.
        RCC_FUZZ_CHECK(foot == kUnwritten);
        if (thrown == TextRead::Readable) RCC_FUZZ_CHECK(offset == -99.0);
    } else {
        RCC_FUZZ_CHECK(classifyDK(foot) == TextRead::Readable);
        // NaN coordinates stop at once with a NaN offset.
        if (std::isnan(x) || std::isnan(y)) RCC_FUZZ_CHECK(std::isnan(offset) && foot == dk);
        std::string again;
        RCC_FUZZ_CHECK(same(offset, road.vdApproachMethod(dk, x, y, again)) && again == foot);
    }

    // From coordinates: the projection from the first element's start, with (y, x) swapped.
    const std::string fromCoordinates = road.calculateDKfromCoordinates(y, x);
    if (elements.empty()) {
        RCC_FUZZ_CHECK(fromCoordinates == "-1");
        return;
    }
    std::string fromStart;
    (void)road.vdApproachMethod(std::to_string(elements.front().startDK), x, y, fromStart);
    RCC_FUZZ_CHECK(fromCoordinates == fromStart);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    RoadCurvesCalculation road;
    const BrokenChainSet chains = nonNegativeChains(in);
    road.setBrokenChainSet(chains);
    const int count = in.ConsumeIntegralInRange<int>(0, 6);
    for (int i = 0; i < count; ++i) addElement(in, road);

    // Every approach step is a point-at-chainage query: all of them must be affordable.
    const std::vector<RoadCurve> elements = road.getRoadCruves();
    if (!everyQueryAffordable(elements, chains.getChains())) return 0;

    const RoadCurvesCalculation copy(road);
    for (int i = 0; i < 4 && in.remaining_bytes() > 0; ++i) checkProjection(in, road, elements);
    RCC_FUZZ_CHECK(sameList(road.getRoadCruves(), elements));  // projections only read
    RCC_FUZZ_CHECK(sameList(copy.getRoadCruves(), elements));
    return 0;
}
