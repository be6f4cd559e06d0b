// Shared pieces of the fuzz targets: awkward numbers and chainage texts decoded from the
// fuzzer's bytes, bitwise comparisons of records, and the bound on fixed-step evaluation work.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qv_roadCurveCalculation_alg.h"

// A broken invariant: print it and trap, so that libFuzzer keeps the input as a crash.
#define RCC_FUZZ_CHECK(condition)                                                        \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            std::fprintf(stderr, "invariant broken: %s (%s:%d)\n", #condition, __FILE__, \
                         __LINE__);                                                      \
            __builtin_trap();                                                            \
        }                                                                                \
    } while (0)

namespace rcc_fuzz {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kTwoPi = 6.283185307179586;

/// Set once the curved-element evaluator runs in constant time. While it is the literal loop
/// (one sine and one cosine per step), inputs are kept to distances it covers quickly.
constexpr bool kEvaluationIsConstantTime = true;
/// Most steps one evaluation may take while the loop is literal: 200,000 steps is 20 length
/// units at the builders' step of 1e-4, a few milliseconds under the sanitizers.
constexpr double kMaxEvaluationSteps = 2e5;
/// Longest curved element a builder may be asked for at step 1e-4, in length units.
constexpr double kMaxCurvedLength = 20.0;
/// Sentinel-like value that out-parameters hold before a call, to see whether it wrote them.
constexpr double kUntouched = 271828.125;

// ---- Awkward input values ---------------------------------------------------------------

/// A double from the values that break arithmetic: signed zeros, NaN, infinities, extremes,
/// denormals, arbitrary bit patterns, and small whole or half numbers (which make points
/// and chainages coincide, so the matching branches run).
inline double awkwardDouble(FuzzedDataProvider& in) {
    switch (in.ConsumeIntegralInRange<int>(0, 11)) {
        case 0:
        case 1:
            return in.ConsumeIntegralInRange<int>(-12, 12);
        case 2:
            return in.ConsumeIntegralInRange<int>(-4000, 4000) * 0.5;
        case 3:
            return in.ConsumeFloatingPointInRange<double>(-1000.0, 1000.0);
        case 4:
            return kNaN;
        case 5:
            return in.ConsumeBool() ? kInf : -kInf;
        case 6:
            return -0.0;
        case 7:
            return in.ConsumeBool() ? std::numeric_limits<double>::max() : -1e300;
        case 8:
            return in.ConsumeBool() ? std::numeric_limits<double>::denorm_min() : 1e-300;
        case 9:
            return in.ConsumeBool() ? 1e15 : -1e12;  // chainages where %f loses the decimals
        default: {
            const std::uint64_t bits = in.ConsumeIntegral<std::uint64_t>();
            double value;
            std::memcpy(&value, &bits, sizeof value);
            return value;
        }
    }
}

/// A finite double of moderate size: whole and half numbers mostly, or any value in range.
inline double moderateDouble(FuzzedDataProvider& in, double limit) {
    if (in.ConsumeBool()) return in.ConsumeIntegralInRange<int>(-40, 40) * 0.5;
    return in.ConsumeFloatingPointInRange<double>(-limit, limit);
}

/// A turn direction: the two meaningful values mostly, also 0 and arbitrary integers.
inline int turnDirection(FuzzedDataProvider& in) {
    switch (in.ConsumeIntegralInRange<int>(0, 5)) {
        case 0:
        case 1:
            return 1;
        case 2:
        case 3:
            return -1;
        case 4:
            return 0;
        default:
            return in.ConsumeIntegral<int>();
    }
}

/// Chainage text as a host passes it: written as the library writes it, marked with a
/// leading "0", or whatever a user typed or a file held.
inline std::string dkText(FuzzedDataProvider& in) {
    switch (in.ConsumeIntegralInRange<int>(0, 4)) {
        case 0:
        case 1:
            return std::to_string(awkwardDouble(in));
        case 2:
            return "0" + std::to_string(awkwardDouble(in));
        default:
            return in.ConsumeRandomLengthString(40);
    }
}

/// A set of up to `maxChains` breaks. Breaks of both kinds at whole numbers mostly, so that
/// chainages land on them; `moderate` keeps every gap finite and small.
inline BrokenChainSet chainSet(FuzzedDataProvider& in, int maxChains, bool moderate) {
    BrokenChainSet set;
    const int count = in.ConsumeIntegralInRange<int>(0, maxChains);
    for (int i = 0; i < count; ++i) {
        BrokenChain chain;
        chain.type = in.ConsumeBool() ? 1 : in.ConsumeIntegralInRange<int>(-1, 3);
        chain.beforeDK = moderate ? moderateDouble(in, 100.0) : awkwardDouble(in);
        chain.afterDK = moderate ? chain.beforeDK + moderateDouble(in, 10.0) : awkwardDouble(in);
        set.addChain(chain);
    }
    return set;
}

// ---- Chainage text as the interface reads it --------------------------------------------

enum class TextRead { Readable, Invalid, OutOfRange };

/// How std::stod would take `text`: readable, nothing to convert, or a range error.
inline TextRead classifyDK(const std::string& text, double* value = nullptr) {
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const double read = std::strtod(begin, &end);
    const bool rangeError = (errno == ERANGE);
    errno = 0;
    if (value != nullptr) *value = read;
    if (end == begin) return TextRead::Invalid;
    return rangeError ? TextRead::OutOfRange : TextRead::Readable;
}

/// The long-chain mark: first character '0' and a value that is not zero.
inline bool isMarked(const std::string& text, double value) {
    return !text.empty() && text.front() == '0' && value != 0.0;
}

/// Runs `call`. Returns how it ended: normally, or with one of the two chainage-text
/// exceptions (whose messages the interface fixes). Any other exception leaves the target
/// and libFuzzer reports it.
template <typename Call>
TextRead runReadingDK(Call&& call) {
    try {
        call();
        return TextRead::Readable;
    } catch (const std::invalid_argument& error) {
        RCC_FUZZ_CHECK(std::strcmp(error.what(), "invalid stod argument") == 0);
        return TextRead::Invalid;
    } catch (const std::out_of_range& error) {
        RCC_FUZZ_CHECK(std::strcmp(error.what(), "stod argument out of range") == 0);
        return TextRead::OutOfRange;
    }
}

// ---- Readers' messages ------------------------------------------------------------------

/// Longest reader message in bytes: a few hundred characters, each up to four bytes of UTF-8
/// or of an escape such as \x1b.
constexpr std::size_t kMaxMessageBytes = 1300;

/// A reader's refusal is one line of bounded length, whatever the input held.
inline void checkOneLineMessage(const std::string& message) {
    RCC_FUZZ_CHECK(message.find_first_of("\n\r") == std::string::npos);
    RCC_FUZZ_CHECK(message.size() <= kMaxMessageBytes);
}

// ---- Bitwise comparison -----------------------------------------------------------------

/// Same bits: NaN equals the same NaN and -0.0 differs from 0.0. Results must be
/// reproducible to the bit, whatever thread or copy computes them.
inline bool same(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

/// Same number: as `same`, except that any two NaNs match. For values computed on two
/// different paths, where the compiler may order an addition either way and so pass on the
/// sign of either NaN operand.
inline bool sameNumber(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || same(a, b);
}

inline bool same(const RoadCurve& a, const RoadCurve& b) {
    return same(a.startDK, b.startDK) && same(a.endDK, b.endDK) && same(a.startX, b.startX) &&
           same(a.startY, b.startY) && same(a.endX, b.endX) && same(a.endY, b.endY) &&
           same(a.endBearing, b.endBearing) && same(a.startRadius, b.startRadius) &&
           same(a.endRadius, b.endRadius) && same(a.length, b.length) &&
           same(a.startBearing, b.startBearing) && same(a.startCurvature, b.startCurvature) &&
           same(a.endCurvature, b.endCurvature) && a.curveType == b.curveType &&
           a.turnDirection == b.turnDirection && same(a.integrationStep, b.integrationStep);
}

inline bool same(const RoadVerticalCurve& a, const RoadVerticalCurve& b) {
    return a.startDK == b.startDK && a.endDK == b.endDK &&
           same(a.startElevation, b.startElevation) && same(a.endElevation, b.endElevation) &&
           same(a.length, b.length) && same(a.grade, b.grade) && same(a.radius, b.radius) &&
           a.curveType == b.curveType && a.concavity == b.concavity;
}

inline bool same(const BrokenChain& a, const BrokenChain& b) {
    return a.type == b.type && same(a.beforeDK, b.beforeDK) && same(a.afterDK, b.afterDK);
}

/// True when `prefix` is the start of `list`, record for record: lists only grow.
template <typename T>
bool startsWith(const std::vector<T>& list, const std::vector<T>& prefix) {
    if (list.size() < prefix.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (!same(list[i], prefix[i])) return false;
    }
    return true;
}

template <typename T>
bool sameList(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() && startsWith(a, b);
}

// ---- Bounded evaluation work ------------------------------------------------------------

/// Whether evaluating a curved element `distance` along at `step` stays within the budget.
/// The loop returns at once for a negative or NaN distance, a step that is not positive and
/// an infinite distance; otherwise it takes about distance / step steps.
inline bool evaluationAffordable(double distance, double step) {
    if (kEvaluationIsConstantTime) return true;
    if (!(distance >= 0) || !(step > 0) || distance == kInf) return true;
    return distance / step <= kMaxEvaluationSteps;
}

/// Whether the point-at-chainage query for `dk` stays within the budget: finds the element
/// that answers, as the query does, and the distance along it through the breaks.
inline bool queryAffordable(const RoadCurvesCalculation& road,
                            const std::vector<RoadCurve>& elements, const std::string& dk) {
    double value = 0.0;
    if (classifyDK(dk, &value) != TextRead::Readable) return true;  // throws before any work
    for (const RoadCurve& element : elements) {
        if (!(element.startDK <= value && value <= element.endDK)) continue;
        if (element.curveType == 0) return true;
        const double along = road.calculateLengthBetween2DKs(std::to_string(element.startDK), dk);
        return evaluationAffordable(along, element.integrationStep);
    }
    return true;
}

/// Whether every chainage the point-at-chainage query can be given stays within the budget:
/// on every curved element that can hold a chainage, its chainage span plus every gap of the
/// breaks (a repeated stretch is counted twice) is affordable.
inline bool everyQueryAffordable(const std::vector<RoadCurve>& elements,
                                 const std::vector<BrokenChain>& chains) {
    if (kEvaluationIsConstantTime) return true;
    double gaps = 0.0;
    for (const BrokenChain& chain : chains) gaps += std::fabs(chain.afterDK - chain.beforeDK);
    for (const RoadCurve& element : elements) {
        if (element.curveType == 0 || !(element.startDK <= element.endDK)) continue;
        if (!(element.integrationStep > 0)) continue;
        const double reach = element.endDK - element.startDK + gaps;
        if (!(reach / element.integrationStep <= kMaxEvaluationSteps)) return false;
    }
    return true;
}

/// Longest stretch of chainage, in length units, that a projection may have to cross
/// outside every element. There the query answers with the last element's end for every
/// chainage, so the approach takes the same step again and again, one text conversion per
/// step, up to its step limit; a stretch of 1e15 takes seconds. Until the projection
/// crosses such stretches in one go, inputs that contain one are not projected.
constexpr double kMaxUncoveredWalk = 100.0;

/// Largest coordinate, in length units, of the points and elements a target projects
/// (a national grid spans a few million). Far beyond it, near the centre of an arc of
/// radius 1e15, each approach step advances by a hair and the approach runs to its step
/// limit, which takes seconds under the sanitizers.
constexpr double kMaxProjectedCoordinate = 1e7;

/// Whether the point and every element end lie within kMaxProjectedCoordinate; NaN
/// coordinates of the point are welcome (the approach stops at once).
inline bool projectionWithinGrid(const std::vector<RoadCurve>& elements, double x, double y) {
    const auto near = [](double v) { return std::fabs(v) <= kMaxProjectedCoordinate; };
    if (!(std::isnan(x) || near(x)) || !(std::isnan(y) || near(y))) return false;
    for (const RoadCurve& e : elements) {
        if (!near(e.startX) || !near(e.startY) || !near(e.endX) || !near(e.endY)) return false;
    }
    return true;
}

/// Whether a projection starting at `dk` crosses at most kMaxUncoveredWalk of chainage that
/// no element holds, on its way up to the highest element end (past which it stops).
inline bool uncoveredWalkBounded(const std::vector<RoadCurve>& elements, double dk) {
    if (std::isnan(dk)) return true;  // a NaN chainage lies past every element at once
    double highestEnd = -kInf;
    std::vector<std::pair<double, double>> ranges;
    for (const RoadCurve& element : elements) {
        if (element.endDK > highestEnd) highestEnd = element.endDK;
        if (element.startDK <= element.endDK) ranges.emplace_back(element.startDK, element.endDK);
    }
    std::sort(ranges.begin(), ranges.end());
    double reached = dk;
    double uncovered = 0.0;
    for (const auto& range : ranges) {
        if (range.first > reached) uncovered += range.first - reached;
        reached = std::max(reached, range.second);
    }
    if (highestEnd > reached) uncovered += highestEnd - reached;
    return uncovered <= kMaxUncoveredWalk;
}

}  // namespace rcc_fuzz
