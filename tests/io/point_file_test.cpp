// Tests of the point-file reader and of the readers' one-line messages.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "io/message.hpp"
#include "qv_route/io.hpp"

namespace {

using qv::route::Frame;
using qv::route::PointColumns;
using qv::route::ReadError;
using qv::route::readPoints;

const std::string kBom = "\xEF\xBB\xBF";

std::string errorOf(const std::string& text, PointColumns columns = PointColumns::XYName) {
    try {
        readPoints(text, "f.csv", columns, Frame::XY);
    } catch (const ReadError& e) {
        return e.what();
    }
    return "(no error)";
}

// Same number, where any NaN matches any NaN.
bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }
const double kNaN = std::nan("");

TEST(PointFile, ReadsEveryLayoutOfLinesAndFields) {
    const struct {
        const char* what;
        std::string text;
        std::size_t count;
        double x, y;  // of the last point
        std::string name;
        std::size_t line;
    } cases[] = {
        {"CRLF", "x,y,name\r\n1,2,A\r\n3,4,B\r\n", 2, 3, 4, "B", 3},
        {"CR only", "x,y\r1,2\r3,4\r", 2, 3, 4, "", 3},
        {"mixed ends, no final end", "1,2\n3,4\r\n5,6\r7,8", 4, 7, 8, "", 4},
        {"BOM before numbers is data", kBom + "1,2\n", 1, 1, 2, "", 1},
        {"BOM before a header", kBom + "x,y\n1,2\n", 1, 1, 2, "", 2},
        {"two header lines, comments, blanks", "Survey,kerbs\n# c\nx,y\n\n  \n9,8\n", 1, 9, 8, "",
         6},
        {"RFC 4180 quoting", "\"1\", 2 ,\"a, \"\"b\"\"\nc\"\n", 1, 1, 2, "a, \"b\"\nc", 1},
        {"whitespace-separated", "  1   2\tname\n", 1, 1, 2, "name", 1},
        {"quoted name among blanks", "1 2 \"two words\"\n", 1, 1, 2, "two words", 1},
        {"title line before commas", "Points\n1,2\n", 1, 1, 2, "", 2},
        {"comment with a comma before blanks", "# x, y\n1 2\n", 1, 1, 2, "", 2},
        {"header in another script", "\xE7\x82\xB9,x,y\n1,2\n", 1, 1, 2, "", 2},
        {"exponent, point forms", "1e2,.5\n-2.,+3E-1\n", 2, -2, 0.3, "", 2},
        {"underflow reads as zero", "1e-400,0\n", 1, 0, 0, "", 1},
        {"nan is data, kept for the caller", "nan,10\n", 1, kNaN, 10, "", 1},
        {"infinities kept", "-inf,Infinity\n", 1, -HUGE_VAL, HUGE_VAL, "", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto points = readPoints(c.text, "f.csv", PointColumns::XYName, Frame::XY);
        ASSERT_EQ(points.size(), c.count);
        EXPECT_TRUE(same(points.back().x, c.x) && same(points.back().y, c.y));
        EXPECT_EQ(points.back().name, c.name);
        EXPECT_EQ(points.back().line, c.line);
    }
}

TEST(PointFile, ColumnOrdersAndFrames) {
    const struct {
        const char* text;
        PointColumns columns;
        Frame frame;
        double x, y, z;
        const char* code;
    } cases[] = {
        {"P,100,200,5,kerb", PointColumns::NameNEZCode, Frame::NE, 100, 200, 5, "kerb"},  // x = N
        {"P,100,200,5,kerb", PointColumns::NameNEZCode, Frame::XY, 200, 100, 5, "kerb"},  // x = E
        {"P,100,200,5,kerb", PointColumns::NameXYZCode, Frame::NE, 100, 200, 5, "kerb"},
        {"P,1,2", PointColumns::NameXYZCode, Frame::XY, 1, 2, kNaN, ""},
        {"P,1,2,", PointColumns::NameXYZCode, Frame::XY, 1, 2, kNaN, ""},
        {"P,1,2,kerb", PointColumns::NameXYZCode, Frame::XY, 1, 2, kNaN, "kerb"},  // text: code
        {"P,1,2,,kerb", PointColumns::NameXYZCode, Frame::XY, 1, 2, kNaN, "kerb"},
    };
    for (const auto& c : cases) {
        const auto p = readPoints(c.text, "f", c.columns, c.frame).at(0);
        EXPECT_TRUE(same(p.x, c.x) && same(p.y, c.y) && same(p.z, c.z)) << c.text;
        EXPECT_EQ(p.code, c.code) << c.text;
        EXPECT_EQ(p.name, "P");
    }
}

TEST(PointFile, RefusesWithLineAndColumn) {
    const struct {
        std::string text;
        PointColumns columns;
        std::string message;
    } cases[] = {
        {"x,y\n50,3\n60, north\n", PointColumns::XYName,
         "f.csv:3:4: expected a number for y, found \"north\""},
        {kBom + "1,a\n", PointColumns::XYName, "f.csv:1:3: expected a number for y, found \"a\""},
        {"1,2\n3\n", PointColumns::XYName,
         "f.csv:2:2: expected a number for y, found the end of the line"},
        {"1,\n", PointColumns::XYName, "f.csv:1:3: expected a number for y, found an empty field"},
        {std::string("1,2\n3,4\0", 8), PointColumns::XYName,
         "f.csv:2:4: a NUL character; is this a binary file?"},
        {"1,2\n\"abc,3\n", PointColumns::XYName, "f.csv:2:1: a quoted field is not closed"},
        {"\"1\"x,2\n", PointColumns::XYName, "f.csv:1:4: expected a comma after the closing quote"},
        {"0x1p8,1\n", PointColumns::XYName, "f.csv:1:1: expected a number for x, found \"0x1p8\""},
        {"1e400,1\n", PointColumns::XYName,
         "f.csv:1:1: the number for x is too large for a double"},
        {"x,y\n1,2\nx,y\n", PointColumns::XYName,
         "f.csv:3:1: expected a number for x, found \"x\""},
        {"P 1 east\n", PointColumns::NameNEZCode,
         "f.csv:1:5: expected a number for E, found \"east\""},
        {"\xC3\xA9,1,x\n", PointColumns::NameXYZCode,
         "f.csv:1:5: expected a number for y, found \"x\""},
        {"P,1,2,high,kerb\n", PointColumns::NameXYZCode, "f.csv:1:7: expected a number for z"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(errorOf(c.text, c.columns).rfind(c.message, 0), 0u)
            << c.message << "\n got " << errorOf(c.text, c.columns);
    }
}

TEST(PointFile, MessagesStayOneShortLine) {
    const std::string control = errorOf("1,\x1b[31mred\n");
    EXPECT_NE(control.find("\\x1b[31mred"), std::string::npos) << control;
    const std::string huge = errorOf("1," + std::string(100000, 'w') + "\n");
    EXPECT_LT(huge.size(), 200u);
    EXPECT_NE(huge.find("\xE2\x80\xA6"), std::string::npos);  // cut with an ellipsis
    const std::string lineEnd = errorOf("1,\"a\nb\"\n");
    EXPECT_EQ(lineEnd.find('\n'), std::string::npos) << lineEnd;
}

TEST(PointFile, RefusesWhatIsNotAFile) {
    const struct {
        std::string path;
        std::string message;
    } cases[] = {
        {QV_TEST_DATA, ": is a directory, not a point file"},
        {"/dev/zero", "/dev/zero: is a device, not a point file"},
        {QV_TEST_DATA "/no-such-file.csv", ": cannot open the file"},
    };
    for (const auto& c : cases) {
        try {
            qv::route::readPointFile(c.path, PointColumns::XYName, Frame::XY);
            ADD_FAILURE() << c.path << " was read";
        } catch (const ReadError& e) {
            EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
        }
    }
}

TEST(ReaderMessage, EscapesControlsAndCutsWholeCharacters) {
    using qv::route::message::escaped;
    EXPECT_EQ(escaped("a\tb\r\n\x7f"), "a\\tb\\r\\n\\x7f");
    EXPECT_EQ(escaped("\xFF\xC3"), "\\xff\\xc3");  // bytes that are not UTF-8
    // Three characters then the ellipsis; the two-byte "é" is never split.
    EXPECT_EQ(escaped("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", 3),
              "\xC3\xA9\xC3\xA9\xC3\xA9\xE2\x80\xA6");
    EXPECT_EQ(escaped("abc", 3), "abc");
}

TEST(ReaderMessage, PlaceOfAByteCountsLinesAndCharacters) {
    const struct {
        std::string text;
        std::size_t offset, line, column;
    } cases[] = {
        {"ab\ncd", 4, 2, 2},    {"a\r\nb", 3, 2, 1}, {"a\rb", 2, 2, 1},
        {"a\r\nb", 2, 1, 2},     // a CR LF pair is one line end, at the end of line 1
        {kBom + "xy", 4, 1, 2},  // columns count from after the mark
        {"\xC3\xA9=", 2, 1, 2},  // one column for the two bytes of "é"
        {"ab", 99, 1, 3},        // past the end: the end
    };
    for (const auto& c : cases) {
        const auto place = qv::route::message::placeOf(c.text, c.offset);
        EXPECT_EQ(place.line, c.line) << c.text << " @" << c.offset;
        EXPECT_EQ(place.column, c.column) << c.text << " @" << c.offset;
    }
}

}  // namespace
