// Station text: the plain form with the library's mark, K-notation and US notation, both
// ways, and the text that must be refused.
#include <qv_route/station.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>

namespace {

using qv::route::formatStation;
using qv::route::parseStation;
using qv::route::Station;
using qv::route::StationStyle;

TEST(StationFormat, WritesEachStyleRoundedOnceWithItsOccurrence) {
    const struct {
        Station station;
        StationStyle style;
        int decimals;
        const char* text;
    } cases[] = {
        {{1450.0, 1}, StationStyle::Plain, 3, "1450.000"},
        {{1450.0, 2}, StationStyle::Plain, 3, "01450.000"},    // the library's mark
        {{-330.0, 2}, StationStyle::Plain, 3, "-330.000(2)"},  // not "0-330.000", read as 0
        {{1450.0, 1}, StationStyle::K, 3, "K1+450.000"},
        {{1450.0, 2}, StationStyle::K, 3, "K1+450.000(2)"},
        {{-80.0, 1}, StationStyle::K, 3, "-K0+080.000"},
        {{5.25, 1}, StationStyle::K, 2, "K0+005.25"},
        // 1999.9996 rounds to 2000.000 as a whole: no "K1+1000.000"
        {{1999.9996, 1}, StationStyle::K, 3, "K2+000.000"},
        {{-0.0001, 1}, StationStyle::K, 3, "K0+000.000"},  // no sign on a rounded zero
        {{12345678.5, 1}, StationStyle::K, 1, "K12345+678.5"},
        {{1450.0, 1}, StationStyle::US, 2, "14+50.00"},
        {{1450.0, 2}, StationStyle::US, 2, "14+50.00(2)"},
        {{-80.0, 1}, StationStyle::US, 2, "-0+80.00"},
        {{7.0, 1}, StationStyle::US, 0, "0+07"},
        {{std::nan(""), 1}, StationStyle::K, 3, "not-a-number"},
        {{HUGE_VAL, 1}, StationStyle::Plain, 3, "infinite"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatStation(c.station, c.style, c.decimals), c.text);
    }
}

TEST(StationParse, ReadsEveryStyleAndTellsTheOccurrence) {
    const struct {
        const char* text;
        double value;
        int occurrence;
    } cases[] = {
        {"1450", 1450.0, 1},
        {" 1450.25\t", 1450.25, 1},
        {"01450", 1450.0, 2},
        {"0-330.000000", -330.0, 2},  // the mark in front of a negative number
        {"-80", -80.0, 1},
        {"0.5", 0.5, 1},  // "0." is a number in (0, 1), never the mark
        {"0", 0.0, 1},
        {"K1+450.5", 1450.5, 1},
        {"k1+450", 1450.0, 1},
        {"-K0+080", -80.0, 1},
        {"K1+450.000(2)", 1450.0, 2},
        {"K12+000", 12000.0, 1},
        {"14+50.00", 1450.0, 1},
        {"0+80.00", 80.0, 1},  // US units of 0: not a mark
        {"14+50(2)", 1450.0, 2},
        {"1450 (1)", 1450.0, 1},
        {"1.45e3", 1450.0, 1},
    };
    for (const auto& c : cases) {
        const std::optional<Station> s = parseStation(c.text);
        ASSERT_TRUE(s.has_value()) << c.text;
        EXPECT_EQ(s->value, c.value) << c.text;
        EXPECT_EQ(s->occurrence, c.occurrence) << c.text;
    }
}

TEST(StationParse, RefusesTextThatIsNoStation) {
    for (const char* text :
         {"", "  ", "K", "K1+", "K+450", "K1+1450", "14+150", "0x1p8", "inf", "nan", "1e400",
          "1450(3)", "01450(1)", "00", "1450m", "K1+-50", "--5", "1,5"}) {
        EXPECT_FALSE(parseStation(text).has_value()) << text;
    }
}

TEST(StationText, FormattedStationsReadBackAsTheSameStation) {
    for (const Station s : {Station{1450.125, 1}, Station{1450.125, 2}, Station{-80.5, 1},
                            Station{0.5, 1}, Station{999.999, 2}}) {
        for (const StationStyle style : {StationStyle::Plain, StationStyle::K, StationStyle::US}) {
            const std::optional<Station> back = parseStation(formatStation(s, style, 3));
            ASSERT_TRUE(back.has_value()) << formatStation(s, style, 3);
            EXPECT_EQ(back->value, s.value) << formatStation(s, style, 3);
            EXPECT_EQ(back->occurrence, s.occurrence) << formatStation(s, style, 3);
        }
    }
}

}  // namespace
