// Chainage text and broken-chain arithmetic: marks, short chains, long chains, repeated
// stretches and the two standard exceptions.
#include "chainage/chainage.hpp"
#include "qv_roadCurveCalculation_alg.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <locale.h>
#endif

namespace {

struct DKCase {
    const char* dk;
    double length;
    const char* expected;
};

struct LengthCase {
    const char* dk1;
    const char* dk2;
    double expected;
};

BrokenChainSet shortChainSet() {
    BrokenChainSet set;
    set.addChain(BrokenChain{1, 1000.0, 1050.0});  // 1000..1050 does not exist
    return set;
}

BrokenChainSet longChainSet() {
    BrokenChainSet set;
    set.addChain(BrokenChain{0, 1100.0, 1000.0});  // 1000..1100 occurs twice
    return set;
}

// Hand-derived: ahead of the break plain addition; past it the gap is skipped (short) or
// the repeated stretch re-entered marked (long).
void expectDKs(const BrokenChainSet& set, std::initializer_list<DKCase> cases) {
    for (const DKCase& c : cases) {
        EXPECT_EQ(set.calculateDKfromLength(c.dk, c.length), c.expected)
            << "from " << c.dk << " by " << c.length;
    }
}

void expectLengths(const BrokenChainSet& set, std::initializer_list<LengthCase> cases) {
    for (const LengthCase& c : cases) {
        EXPECT_EQ(set.calculateLengthBetween2DKs(c.dk1, c.dk2), c.expected)
            << c.dk1 << " to " << c.dk2;
    }
}

}  // namespace

TEST(ChainageText, ReadsLikeStodAndIgnoresTrailingText) {
    EXPECT_EQ(rcc::parseDKText("  1050.5"), 1050.5);
    EXPECT_EQ(rcc::parseDKText("1050.5abc"), 1050.5);
    EXPECT_EQ(rcc::parseDKText("1e3"), 1000.0);
    EXPECT_TRUE(std::isnan(rcc::parseDKText("nan")));
}

namespace {

// Which standard exception reading `text` throws, with its message; empty when it reads.
std::string readFailure(const char* text) {
    try {
        rcc::parseDKText(text);
    } catch (const std::invalid_argument& e) {
        return std::string("invalid_argument: ") + e.what();
    } catch (const std::out_of_range& e) {
        return std::string("out_of_range: ") + e.what();
    }
    return "";
}

}  // namespace

TEST(ChainageText, MalformedTextThrowsTheStandardMessages) {
    // The messages are the interface's own, not this standard library's stod wording.
    for (const char* bad : {"", "abc", " ", "-", "."}) {
        EXPECT_EQ(readFailure(bad), "invalid_argument: invalid stod argument") << bad;
    }
    for (const char* huge : {"1e999", "-1e999", "1e-400"}) {
        EXPECT_EQ(readFailure(huge), "out_of_range: stod argument out of range") << huge;
    }
}

TEST(ChainageMark, OnlyALiteralLeadingZeroOnANonZeroValueMarks) {
    for (const char* marked : {"01020", "0.5", "00.5", "0.500000"}) {
        EXPECT_TRUE(rcc::readDK(marked).marked) << marked;
    }
    for (const char* plain :
         {"0", "0.000000", "000", "00.0", "-01020", " 01020", "+01020", "1020"}) {
        EXPECT_FALSE(rcc::readDK(plain).marked) << plain;
    }
}

TEST(ChainageText, WritesSixDecimalsAndTheMark) {
    EXPECT_EQ(rcc::formatDK(1234.5), "1234.500000");
    EXPECT_EQ(rcc::formatDK(-0.25), "-0.250000");
    EXPECT_EQ(rcc::formatDK(0.1234567), "0.123457");  // rounded to six decimals
    EXPECT_EQ(rcc::formatMarkedDK(1020.5), "01020.500000");
    EXPECT_EQ(rcc::formatMarkedDK(0.5), "00.500000");
    const rcc::DKValue back = rcc::readDK(rcc::formatMarkedDK(1050.0));
    EXPECT_EQ(back.value, 1050.0);
    EXPECT_TRUE(back.marked);
}

TEST(ShortChain, SkipsTheMissingNumbersWhenPassed) {
    expectDKs(shortChainSet(), {{"900", 50, "950.000000"},
                                {"900", 100, "1000.000000"},  // at the break: not yet skipped
                                {"900", 150, "1100.000000"},
                                {"1000", 10, "1060.000000"},
                                {"1060", 10, "1070.000000"},
                                {"1020", 10, "1030.000000"}});  // start inside the gap: as is
    expectLengths(shortChainSet(), {{"900", "1050", 100},
                                    {"900", "1060", 110},
                                    {"900", "1020", 120},  // end inside the gap: no correction
                                    {"1050", "1060", 10},
                                    {"1000", "1050", 0}});
}

TEST(LongChain, AStartAheadOfTheBreakComesBackMarkedInTheRepeatedStretch) {
    expectDKs(longChainSet(), {{"900", 150, "1050.000000"},
                               {"900", 200, "1100.000000"},
                               {"900", 250, "01050.000000"},
                               {"900", 350, "1150.000000"},
                               {"1050", 60, "01010.000000"},
                               {"01050", 20, "01070.000000"},
                               {"01050", 60, "1110.000000"},
                               {"900", -50, "850.000000"},
                               // past the whole repeated stretch: 1200 - 100, first pass again
                               {"900", 300, "1100.000000"}});
}

TEST(LongChain, CountsTheRepeatedStretchTwice) {
    expectLengths(longChainSet(), {{"900", "1050", 150},
                                   {"900", "01050", 250},
                                   {"900", "1100", 200},
                                   {"900", "01100", 300},
                                   {"900", "1150", 350},
                                   {"1050", "01020", 70},
                                   {"01050", "1150", 100},
                                   {"1050", "01050", 100},  // both occurrences of one number
                                   {"1050", "1020", -1.0},
                                   // both past the break: the stretch lies behind them
                                   {"1100", "1150", 50}});
}

TEST(LongChain, AMarkedStartIsNeverReducedByALaterLongChain) {
    BrokenChainSet set = longChainSet();
    set.addChain(BrokenChain{0, 1300.0, 1250.0});
    EXPECT_EQ(set.calculateDKfromLength("01050", 300), "1350.000000");
    EXPECT_EQ(set.calculateLengthBetween2DKs("01050", "1350"), 300.0);
}

TEST(NumberForms, WorkOnSixDecimalTextAndLoseTheMark) {
    const BrokenChainSet set = longChainSet();
    EXPECT_EQ(set.calculateDKfromLength(900.0, 250.0), 1050.0);
    EXPECT_EQ(set.calculateLengthBetween2DKs(900.0, 1150.0), 350.0);
    // 0.5 is written "0.500000", a marked text: the long chain is never added for it.
    EXPECT_EQ(set.calculateLengthBetween2DKs(0.5, 1150.0), 1149.5);
    EXPECT_EQ(set.calculateLengthBetween2DKs(900.0000004, 900.0000001), 0.0);
}

TEST(EmptyChainSet, IsPlainArithmetic) {
    const BrokenChainSet set;
    EXPECT_EQ(set.calculateDKfromLength("12.5", 7.25), "19.750000");
    EXPECT_EQ(set.calculateLengthBetween2DKs("20", "10"), -1.0);
    EXPECT_EQ(set.calculateLengthBetween2DKs("20", "010"), -10.0);  // marked end: no sentinel
    EXPECT_EQ(set.calculateDKfromLength("nan", 1.0), "nan");
}

TEST(ChainSetExceptions, FirstTextIsReadBeforeTheSecond) {
    const BrokenChainSet set = longChainSet();
    EXPECT_THROW(set.calculateLengthBetween2DKs("abc", "1e999"), std::invalid_argument);
    EXPECT_THROW(set.calculateLengthBetween2DKs("1e999", "abc"), std::out_of_range);
    EXPECT_THROW(set.calculateDKfromLength("", 1.0), std::invalid_argument);
}

TEST(ChainSetValueSemantics, CopiesMovesAndReplacementsKeepTheirOwnLists) {
    BrokenChainSet a = longChainSet();
    a.addChain(BrokenChain{1, 2000.0, 2050.0});
    BrokenChainSet copy = a;
    copy.clearChains();
    EXPECT_EQ(a.getChains().size(), 2u);

    BrokenChainSet moved = std::move(a);
    EXPECT_TRUE(a.getChains().empty());  // NOLINT(bugprone-use-after-move): documented state
    EXPECT_EQ(moved.getChains().size(), 2u);

    BrokenChainSet& self = moved;
    moved = std::move(self);
    moved = self;
    EXPECT_EQ(moved.getChains().size(), 2u);

    moved.setChains({BrokenChain{1, 5.0, 6.0}});
    ASSERT_EQ(moved.getChains().size(), 1u);
    EXPECT_EQ(moved.getChains()[0].beforeDK, 5.0);
}

namespace {

// What `read` makes of `text`: the value's bits ("nan" for any NaN), or the exception type.
template <class Read>
std::string outcome(Read read, const std::string& text) {
    try {
        const double value = read(text);
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return std::isnan(value) ? std::string("nan") : std::to_string(bits);
    } catch (const std::invalid_argument&) {
        return "invalid_argument";
    } catch (const std::out_of_range&) {
        return "out_of_range";
    }
}

// parseDKText must agree with std::stod, the documented reading, fast path or not.
std::string stodOutcome(const std::string& text) {
    return outcome([](const std::string& t) { return std::stod(t); }, text);
}

std::string parseOutcome(const std::string& text) { return outcome(rcc::parseDKText, text); }

}  // namespace

TEST(ChainageText, ReadsEveryFormExactlyAsStod) {
    // Forms where a plain decimal reader and strtod part ways: blanks, signs, hex, inf and
    // nan spellings, exponents (complete or not), prefixes that stop early, rounding ties,
    // and lengths beyond any range check of the fast path.
    const std::string longDigits(350, '7');
    const std::string tinyPlain = "0." + std::string(400, '0') + "1";  // 1e-401, no exponent
    const std::vector<std::string> forms = {"  12.5",
                                            "\t-3",
                                            "+12.5",
                                            "0x1p3",
                                            "0X10",
                                            "-0x.8",
                                            "0x",
                                            "inf",
                                            "-INFINITY",
                                            "nan(12)",
                                            "1e3",
                                            "1E-2",
                                            "1.5e",
                                            "1.5e+",
                                            "12.5abc",
                                            "-.5",
                                            ".5",
                                            "-",
                                            ".",
                                            "1.",
                                            "00012.25",
                                            "-0",
                                            "-0.000000",
                                            "0.1",
                                            "9007199254740993",
                                            "2.2250738585072011e-308",
                                            longDigits,
                                            "-" + longDigits,
                                            longDigits + ".5",
                                            tinyPlain,
                                            "1050,5",
                                            "1050.5.5",
                                            "01050.000000"};
    for (const std::string& text : forms) EXPECT_EQ(parseOutcome(text), stodOutcome(text)) << text;
}

TEST(ChainageText, WritesAndReadsRandomValuesAsPrintfAndStrtod) {
    // Seeded: chainages of every magnitude a route uses, raw bit patterns (any double), and
    // binary fractions j/2^7 whose seventh decimal is an exact tie for "%f" to break.
    std::mt19937_64 random(20261123);
    std::uniform_real_distribution<double> chainage(-1e6, 1e7);
    for (int i = 0; i < 20000; ++i) {
        double value = 0;
        if (i % 3 == 0) {
            value = chainage(random);
        } else if (i % 3 == 1) {
            const std::uint64_t bits = random();
            std::memcpy(&value, &bits, sizeof value);
        } else {
            value =
                static_cast<double>(static_cast<std::int64_t>(random() % 200000000) - 100000000) /
                128.0;
        }
        const std::string text = rcc::formatDK(value);
        ASSERT_EQ(text, rcc::formatDKWithPrintf(value)) << i;
        ASSERT_EQ(parseOutcome(text), stodOutcome(text)) << text;
    }
}

#if !defined(_WIN32)
TEST(ChainageText, FollowsALocaleWhoseDecimalPointIsAComma) {
    locale_t comma = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "ru_RU.UTF-8"}) {
        comma = newlocale(LC_NUMERIC_MASK, name, nullptr);
        if (comma) break;
    }
    if (!comma) GTEST_SKIP() << "no locale with a decimal comma is installed";
    const locale_t previous = uselocale(comma);
    // strtod stops at the '.', printf writes a comma: the fast paths must stand aside.
    const double dotted = rcc::parseDKText("1050.75");
    const double commaed = rcc::parseDKText("1050,75");
    const std::string written = rcc::formatDK(1050.75);
    uselocale(previous);
    freelocale(comma);
    EXPECT_EQ(dotted, 1050.0);
    EXPECT_EQ(commaed, 1050.75);
    EXPECT_EQ(written, "1050,750000");
}
#endif
