// Fuzz target: chainage text reading and the chainage/length conversions of BrokenChainSet,
// in text and number form, on random chain sets; also the set's copy and move semantics.
#include "fuzz_support.hpp"

namespace {

using namespace rcc_fuzz;

// Runs one conversion on text input; checks that it throws exactly when the text is
// unreadable, with the exception of the first unreadable text, and that a result reads back.
void checkTextConversions(const BrokenChainSet& set, const std::string& dk1, const std::string& dk2,
                          double length) {
    double value1 = 0.0;
    double value2 = 0.0;
    const TextRead read1 = classifyDK(dk1, &value1);
    const TextRead read2 = classifyDK(dk2, &value2);

    std::string reached;
    const TextRead thrown = runReadingDK([&] { reached = set.calculateDKfromLength(dk1, length); });
    RCC_FUZZ_CHECK(thrown == read1);
    if (thrown == TextRead::Readable) {
        RCC_FUZZ_CHECK(classifyDK(reached) == TextRead::Readable);
        RCC_FUZZ_CHECK(reached == set.calculateDKfromLength(dk1, length));  // deterministic
        if (set.getChains().empty()) {
            // No breaks: plain addition, written with six decimals.
            double expected = 0.0;
            double got = 0.0;
            classifyDK(std::to_string(value1 + length), &expected);
            classifyDK(reached, &got);
            RCC_FUZZ_CHECK(sameNumber(got, expected));
        }
    }

    double between = kUntouched;
    const TextRead thrownBetween =
        runReadingDK([&] { between = set.calculateLengthBetween2DKs(dk1, dk2); });
    // The first text is read, with its checks, before the second.
    RCC_FUZZ_CHECK(thrownBetween == (read1 != TextRead::Readable ? read1 : read2));
    if (thrownBetween != TextRead::Readable) return;
    // An unmarked end before the start answers exactly -1.
    if (value2 < value1 && !isMarked(dk2, value2)) RCC_FUZZ_CHECK(between == -1.0);
    if (set.getChains().empty() && !(value2 < value1)) {
        RCC_FUZZ_CHECK(sameNumber(between, value2 - value1));
    }
}

// The number forms read no user text, so they never throw; they equal the text forms on the
// six-decimal texts of their arguments.
void checkNumberConversions(const BrokenChainSet& set, double dk1, double dk2, double length) {
    const double reached = set.calculateDKfromLength(dk1, length);
    double expected = 0.0;
    classifyDK(set.calculateDKfromLength(std::to_string(dk1), length), &expected);
    RCC_FUZZ_CHECK(sameNumber(reached, expected));

    const double between = set.calculateLengthBetween2DKs(dk1, dk2);
    RCC_FUZZ_CHECK(sameNumber(
        between, set.calculateLengthBetween2DKs(std::to_string(dk1), std::to_string(dk2))));
}

// Copies are deep and equal, moves empty their source, self-assignment changes nothing.
void checkLifecycle(BrokenChainSet& set, double dk, double length) {
    const std::vector<BrokenChain> chains = set.getChains();
    const BrokenChainSet copy(set);
    RCC_FUZZ_CHECK(sameList(copy.getChains(), chains));
    RCC_FUZZ_CHECK(
        sameNumber(copy.calculateDKfromLength(dk, length), set.calculateDKfromLength(dk, length)));

    BrokenChainSet assigned;
    assigned.addChain(BrokenChain{});
    assigned = set;
    RCC_FUZZ_CHECK(sameList(assigned.getChains(), chains));

    BrokenChainSet& alias = set;
    set = alias;
    RCC_FUZZ_CHECK(sameList(set.getChains(), chains));
    set = std::move(alias);
    RCC_FUZZ_CHECK(sameList(set.getChains(), chains));

    BrokenChainSet moved(std::move(assigned));
    RCC_FUZZ_CHECK(assigned.getChains().empty());
    RCC_FUZZ_CHECK(sameList(moved.getChains(), chains));
    assigned = std::move(moved);
    RCC_FUZZ_CHECK(moved.getChains().empty());
    RCC_FUZZ_CHECK(sameList(assigned.getChains(), chains));

    BrokenChainSet rebuilt;
    rebuilt.setChains(chains);
    RCC_FUZZ_CHECK(sameList(rebuilt.getChains(), chains));
    rebuilt.clearChains();
    RCC_FUZZ_CHECK(rebuilt.getChains().empty());
}

// The object passes every conversion to its breaks unchanged.
void checkObjectForwards(const BrokenChainSet& set, const std::string& dk, double number,
                         double length) {
    RoadCurvesCalculation road;
    road.setBrokenChainSet(set);
    RCC_FUZZ_CHECK(sameNumber(road.calculateDKfromLength(number, length),
                              set.calculateDKfromLength(number, length)));
    RCC_FUZZ_CHECK(sameNumber(road.calculateLengthBetween2DKs(number, length),
                              set.calculateLengthBetween2DKs(number, length)));
    std::string fromObject;
    std::string fromSet;
    const TextRead a = runReadingDK([&] { fromObject = road.calculateDKfromLength(dk, length); });
    const TextRead b = runReadingDK([&] { fromSet = set.calculateDKfromLength(dk, length); });
    RCC_FUZZ_CHECK(a == b && fromObject == fromSet);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    BrokenChainSet set = chainSet(in, 6, in.ConsumeBool());
    const std::vector<BrokenChain> chains = set.getChains();

    for (int round = 0; round < 8 && in.remaining_bytes() > 0; ++round) {
        const std::string dk1 = dkText(in);
        const std::string dk2 = dkText(in);
        const double number1 = awkwardDouble(in);
        const double number2 = awkwardDouble(in);
        const double length = awkwardDouble(in);

        // A successful read leaves the caller's errno as it was.
        constexpr int kCallerErrno = 4242;
        errno = kCallerErrno;
        (void)set.calculateLengthBetween2DKs(number1, number2);
        RCC_FUZZ_CHECK(errno == kCallerErrno);

        checkTextConversions(set, dk1, dk2, length);
        checkNumberConversions(set, number1, number2, length);
        checkObjectForwards(set, dk1, number1, length);
        RCC_FUZZ_CHECK(sameList(set.getChains(), chains));  // the conversions only read
    }
    checkLifecycle(set, awkwardDouble(in), awkwardDouble(in));
    return 0;
}
