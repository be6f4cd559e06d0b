// Fuzz target: intersection-point (JD) and grade-change-point (BP) sequences with a
// conversion after each point, interleaved with point-at-chainage queries.
#include "fuzz_support.hpp"

namespace {

using namespace rcc_fuzz;

// Finite radii and transition lengths are kept to what the literal evaluation covers
// quickly: the arc of a curve is at most half a turn of the radius.
double curveSize(FuzzedDataProvider& in, double limit) {
    const double value = awkwardDouble(in);
    if (kEvaluationIsConstantTime || !std::isfinite(value)) return value;
    return std::fmod(value, limit);
}

JDPoint randomJDPoint(FuzzedDataProvider& in, bool first) {
    JDPoint point;
    point.spare1 = awkwardDouble(in);
    point.radius = curveSize(in, kMaxCurvedLength / 4);
    point.x = in.ConsumeBool() ? moderateDouble(in, 100.0) : awkwardDouble(in);
    point.y = in.ConsumeBool() ? moderateDouble(in, 100.0) : awkwardDouble(in);
    point.inTransitionLength = in.ConsumeBool() ? 0.0 : curveSize(in, kMaxCurvedLength);
    point.outTransitionLength = in.ConsumeBool() ? 0.0 : curveSize(in, kMaxCurvedLength);
    point.pointDK = awkwardDouble(in);
    point.pointType = first && in.ConsumeBool() ? 0 : in.ConsumeIntegralInRange<int>(-1, 3);
    return point;
}

RoadVerticalCurvePoint randomBPPoint(FuzzedDataProvider& in, bool first) {
    RoadVerticalCurvePoint point;
    point.dk = in.ConsumeBool() ? std::to_string(moderateDouble(in, 2000.0)) : dkText(in);
    point.elevation = in.ConsumeBool() ? moderateDouble(in, 200.0) : awkwardDouble(in);
    point.radius = in.ConsumeBool() ? in.ConsumeIntegralInRange<int>(0, 20000) : awkwardDouble(in);
    point.reserved1 = in.ConsumeIntegral<int>();
    point.pointType = first && in.ConsumeBool() ? 0 : in.ConsumeIntegralInRange<int>(-1, 2);
    return point;
}

// One JD conversion: refused conversions leave everything as it was, others only append.
void convertJD(RoadCurvesCalculation& road, std::size_t pointCount, int firstType) {
    const std::vector<RoadCurve> before = road.getRoadCruves();
    double out[6] = {kUntouched, kUntouched, kUntouched, kUntouched, kUntouched, kUntouched};
    int turn = 12345;
    const int status =
        road.convertJDPointsToRoadCurves(out[0], out[1], out[2], out[3], out[4], out[5], turn);
    const std::vector<RoadCurve> after = road.getRoadCruves();
    RCC_FUZZ_CHECK(status == 0 || status == -1);
    if (pointCount < 3 || firstType != 0) RCC_FUZZ_CHECK(status == -1);
    if (status == -1) {
        for (const double value : out) RCC_FUZZ_CHECK(value == kUntouched);
        RCC_FUZZ_CHECK(turn == 12345);
        RCC_FUZZ_CHECK(sameList(after, before));
        return;
    }
    // Straight, two transitions, arc and closing straight at most.
    constexpr std::size_t kMostAppended = 5;
    RCC_FUZZ_CHECK(startsWith(after, before) && after.size() <= before.size() + kMostAppended);
    RCC_FUZZ_CHECK(turn == 1 || turn == -1);
    const double kFullTurnDeg = 360.0;
    for (const double bearing : {out[0], out[1]}) {
        RCC_FUZZ_CHECK(std::isnan(bearing) || (bearing >= 0 && bearing <= kFullTurnDeg));
    }
    const double deflection = out[5];
    RCC_FUZZ_CHECK(std::isnan(deflection) ||
                   (deflection > -kFullTurnDeg / 2 && deflection <= kFullTurnDeg / 2));
}

// One BP conversion: refusals and unreadable texts leave everything as it was.
void convertBP(RoadCurvesCalculation& road, std::size_t pointCount, int firstType) {
    const std::vector<RoadVerticalCurve> before = road.getVerticalCurves();
    double out[4] = {kUntouched, kUntouched, kUntouched, kUntouched};
    int status = 99;
    const TextRead thrown = runReadingDK(
        [&] { status = road.convertBPPointsToVerticalCurves(out[0], out[1], out[2], out[3]); });
    const std::vector<RoadVerticalCurve> after = road.getVerticalCurves();
    const bool refused = pointCount == 0 || firstType != 0;
    if (refused) RCC_FUZZ_CHECK(thrown == TextRead::Readable && status == -1);
    if (refused || pointCount < 3 || thrown != TextRead::Readable) {
        for (const double value : out) RCC_FUZZ_CHECK(value == kUntouched);
        RCC_FUZZ_CHECK(sameList(after, before));
        return;
    }
    RCC_FUZZ_CHECK(status == 0);
    // Leading grade line, two curve halves and closing grade line at most.
    constexpr std::size_t kMostAppended = 4;
    RCC_FUZZ_CHECK(startsWith(after, before) && after.size() <= before.size() + kMostAppended);
    for (std::size_t i = before.size(); i < after.size(); ++i) {
        const RoadVerticalCurve& piece = after[i];
        RCC_FUZZ_CHECK(piece.curveType == 0 || piece.curveType == 5 || piece.curveType == 6);
        RCC_FUZZ_CHECK(piece.concavity >= -1 && piece.concavity <= 1);
    }
}

// A point-at-chainage query; the elevation is written only when a piece holds the chainage.
void query(const RoadCurvesCalculation& road, const std::string& dk) {
    const std::vector<RoadCurve> elements = road.getRoadCruves();
    if (!queryAffordable(road, elements, dk)) return;
    double x = kUntouched;
    double y = kUntouched;
    double elevation = kUntouched;
    double bearing = 0.0;
    const TextRead thrown =
        runReadingDK([&] { bearing = road.calculateCoordinatesAndBearing(dk, x, y, elevation); });
    if (thrown != TextRead::Readable) {
        RCC_FUZZ_CHECK(classifyDK(dk) != TextRead::Readable);
        return;
    }
    if (elements.empty()) RCC_FUZZ_CHECK(bearing == -99.0 && x == kUntouched && y == kUntouched);
    if (road.getVerticalCurves().empty()) RCC_FUZZ_CHECK(elevation == kUntouched);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    RoadCurvesCalculation road;
    if (in.ConsumeBool()) road.setBrokenChainSet(chainSet(in, 3, in.ConsumeBool()));

    std::size_t jdCount = 0;
    std::size_t bpCount = 0;
    int firstJDType = 0;
    int firstBPType = 0;
    constexpr int kMaxOperations = 40;
    for (int op = 0; op < kMaxOperations && in.remaining_bytes() > 0; ++op) {
        switch (in.ConsumeIntegralInRange<int>(0, 6)) {
            case 0:
            case 1: {
                const JDPoint point = randomJDPoint(in, jdCount == 0);
                if (jdCount++ == 0) firstJDType = point.pointType;
                road.addJDPoint(point);
                convertJD(road, jdCount, firstJDType);
                break;
            }
            case 2:
                convertJD(road, jdCount, firstJDType);  // again, without a new point
                break;
            case 3:
            case 4: {
                const RoadVerticalCurvePoint point = randomBPPoint(in, bpCount == 0);
                if (bpCount++ == 0) firstBPType = point.pointType;
                road.addBPPoint(point);
                convertBP(road, bpCount, firstBPType);
                break;
            }
            case 5:
                convertBP(road, bpCount, firstBPType);
                break;
            default: {
                const std::vector<RoadVerticalCurve> pieces = road.getVerticalCurves();
                const bool onPiece = !pieces.empty() && in.ConsumeBool();
                query(
                    road,
                    onPiece
                        ? pieces[in.ConsumeIntegralInRange<std::size_t>(0, pieces.size() - 1)].endDK
                        : dkText(in));
                break;
            }
        }
    }
    // A copy carries every list.
    const RoadCurvesCalculation copy(road);
    RCC_FUZZ_CHECK(sameList(copy.getRoadCruves(), road.getRoadCruves()));
    RCC_FUZZ_CHECK(sameList(copy.getVerticalCurves(), road.getVerticalCurves()));
    return 0;
}
