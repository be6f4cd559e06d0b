// Fuzz target: random sequences of element builders, record appends, broken-chain changes,
// point-at-chainage queries and copies on one alignment object.
#include "fuzz_support.hpp"

namespace {

using namespace rcc_fuzz;

// Checks one point-at-chainage query against what the interface promises. The builders
// make no vertical pieces, so the elevation is never written.
void checkQuery(const RoadCurvesCalculation& road, const std::vector<RoadCurve>& elements,
                const std::string& dk) {
    if (!queryAffordable(road, elements, dk)) return;
    double value = 0.0;
    const TextRead read = classifyDK(dk, &value);

    double x = kUntouched;
    double y = kUntouched;
    double elevation = kUntouched;
    double bearing = 0.0;
    const TextRead thrown =
        runReadingDK([&] { bearing = road.calculateCoordinatesAndBearing(dk, x, y, elevation); });
    RCC_FUZZ_CHECK(thrown == read);
    RCC_FUZZ_CHECK(elevation == kUntouched);
    bool onAlignment = false;
    RCC_FUZZ_CHECK(runReadingDK([&] { onAlignment = road.isDKOnAlignment(dk); }) == read);
    if (thrown != TextRead::Readable || elements.empty()) {
        // Unreadable text throws before anything is written; no elements answers -99.
        RCC_FUZZ_CHECK(x == kUntouched && y == kUntouched);
        if (thrown == TextRead::Readable) RCC_FUZZ_CHECK(bearing == -99.0);
        return;
    }

    bool holds = false;
    for (const RoadCurve& element : elements) {
        holds = holds || (element.startDK <= value && value <= element.endDK);
    }
    RCC_FUZZ_CHECK(onAlignment == holds);
    if (!holds) {
        // Off the alignment: the end of the last element, as stored.
        const RoadCurve& last = elements.back();
        RCC_FUZZ_CHECK(same(x, last.endX) && same(y, last.endY) && same(bearing, last.endBearing));
    }

    // Reproducible to the bit.
    double x2 = 0.0;
    double y2 = 0.0;
    double elevation2 = 0.0;
    RCC_FUZZ_CHECK(same(bearing, road.calculateCoordinatesAndBearing(dk, x2, y2, elevation2)));
    RCC_FUZZ_CHECK(same(x, x2) && same(y, y2));
}

// Copies are deep and answer alike, moves empty their source, self-assignment keeps all.
void checkCopies(RoadCurvesCalculation& road, const std::vector<RoadCurve>& elements,
                 const std::string& dk) {
    RoadCurvesCalculation copy(road);
    RCC_FUZZ_CHECK(sameList(copy.getRoadCruves(), elements));
    if (queryAffordable(road, elements, dk) && classifyDK(dk) == TextRead::Readable) {
        double x1 = 0.0, y1 = 0.0, z1 = 0.0, x2 = 0.0, y2 = 0.0, z2 = 0.0;
        const double b1 = road.calculateCoordinatesAndBearing(dk, x1, y1, z1);
        const double b2 = copy.calculateCoordinatesAndBearing(dk, x2, y2, z2);
        RCC_FUZZ_CHECK(same(b1, b2) && same(x1, x2) && same(y1, y2));
    }
    copy.addRoadCurves(RoadCurve{});  // a deep copy: the original does not see this
    RCC_FUZZ_CHECK(road.getRoadCruves().size() == elements.size());

    RoadCurvesCalculation& alias = road;
    road = alias;
    RCC_FUZZ_CHECK(sameList(road.getRoadCruves(), elements));
    road = std::move(alias);
    RCC_FUZZ_CHECK(sameList(road.getRoadCruves(), elements));

    RoadCurvesCalculation assigned;
    assigned = road;
    RCC_FUZZ_CHECK(sameList(assigned.getRoadCruves(), elements));
    RoadCurvesCalculation moved(std::move(assigned));
    RCC_FUZZ_CHECK(assigned.getRoadCruves().empty());
    RCC_FUZZ_CHECK(sameList(moved.getRoadCruves(), elements));
    copy = std::move(moved);
    RCC_FUZZ_CHECK(moved.getRoadCruves().empty());
    RCC_FUZZ_CHECK(sameList(copy.getRoadCruves(), elements));
}

// A record as a host might fill it by hand; steps and lengths are kept affordable.
RoadCurve randomRecord(FuzzedDataProvider& in) {
    RoadCurve curve;
    curve.startDK = awkwardDouble(in);
    curve.endDK = in.ConsumeBool() ? curve.startDK + moderateDouble(in, 20.0) : awkwardDouble(in);
    curve.startX = awkwardDouble(in);
    curve.startY = awkwardDouble(in);
    curve.endX = awkwardDouble(in);
    curve.endY = awkwardDouble(in);
    curve.startBearing = awkwardDouble(in);
    curve.endBearing = awkwardDouble(in);
    curve.startRadius = awkwardDouble(in);
    curve.endRadius = awkwardDouble(in);
    curve.startCurvature = awkwardDouble(in);
    curve.endCurvature = awkwardDouble(in);
    curve.length = awkwardDouble(in);
    curve.curveType = in.ConsumeIntegralInRange<int>(-1, 8);
    curve.turnDirection = turnDirection(in);
    curve.integrationStep = in.ConsumeBool() ? 0.01 : awkwardDouble(in);
    return curve;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    RoadCurvesCalculation road;
    std::vector<RoadCurve> before;

    constexpr int kMaxOperations = 48;
    for (int op = 0; op < kMaxOperations && in.remaining_bytes() > 0; ++op) {
        const int kind = in.ConsumeIntegralInRange<int>(0, 11);
        std::size_t appended = 1;
        const double startDK = awkwardDouble(in);
        // The end chainage of a curved element: near the start mostly, so that it is cheap
        // to evaluate, or anything at all.
        const double endDK =
            in.ConsumeBool() ? startDK + moderateDouble(in, kMaxCurvedLength) : awkwardDouble(in);
        const double x = awkwardDouble(in);
        const double y = awkwardDouble(in);
        const double a = awkwardDouble(in);
        const double b = awkwardDouble(in);
        const int turn = turnDirection(in);
        // Curved builders evaluate the element over its length through the breaks.
        const bool curvedAffordable =
            evaluationAffordable(road.calculateLengthBetween2DKs(startDK, endDK), 1e-4);
        switch (kind) {
            case 0:
                road.inputLine(startDK, endDK, x, y, a);
                RCC_FUZZ_CHECK(same(road.getRoadCruves().back().startBearing, a));
                break;
            case 1: {
                road.inputLineCoor(startDK, x, y, a, b);
                // A direction a hair below +x has a tiny negative atan2, and adding 2pi to it
                // rounds to 2pi itself; the bearing stays within [0, 2pi] in any case.
                const double bearing = road.getRoadCruves().back().startBearing;
                RCC_FUZZ_CHECK(std::isnan(bearing) || (bearing >= 0 && bearing <= kTwoPi));
                break;
            }
            case 2:
                if (curvedAffordable) road.inputCurve(startDK, endDK, x, y, a, turn, b);
                appended = curvedAffordable ? 1 : 0;
                break;
            case 3: {
                road.inputCurveCoor(startDK, x, y, a, b, awkwardDouble(in), turn);
                // Remainders of the radius directions turned by a quarter: a right turn whose
                // end lies straight along +x from the centre has the bearing -pi/2 itself.
                const RoadCurve arc = road.getRoadCruves().back();
                for (const double bearing : {arc.startBearing, arc.endBearing}) {
                    RCC_FUZZ_CHECK(std::isnan(bearing) ||
                                   (bearing >= -kTwoPi / 4 && bearing < kTwoPi));
                }
                break;
            }
            case 4:
                if (curvedAffordable) road.inputInTransitionCurve(startDK, endDK, x, y, a, turn, b);
                appended = curvedAffordable ? 1 : 0;
                break;
            case 5:
                if (curvedAffordable)
                    road.inputOutTransitionCurve(startDK, endDK, x, y, a, turn, b);
                appended = curvedAffordable ? 1 : 0;
                break;
            case 6:
                if (curvedAffordable) {
                    road.inputIncompleteTransitionCurve(startDK, endDK, x, y, a, awkwardDouble(in),
                                                        turn, b);
                }
                appended = curvedAffordable ? 1 : 0;
                break;
            case 7:
                road.addRoadCurves(randomRecord(in));
                break;
            case 8:
                road.setBrokenChainSet(chainSet(in, 3, in.ConsumeBool()));
                appended = 0;
                break;
            case 9:
            case 10:
                checkQuery(road, before, in.ConsumeBool() ? std::to_string(startDK) : dkText(in));
                appended = 0;
                break;
            default:
                checkCopies(road, before, dkText(in));
                appended = 0;
                break;
        }
        const std::vector<RoadCurve> after = road.getRoadCruves();
        // Lists only grow, one record per builder call, and earlier records stay as they were.
        RCC_FUZZ_CHECK(after.size() == before.size() + appended);
        RCC_FUZZ_CHECK(startsWith(after, before));
        if (appended == 1 && kind != 7) {
            const int type = after.back().curveType;
            RCC_FUZZ_CHECK(type >= 0 && type <= 4);
        }
        before = after;
    }
    return 0;
}
