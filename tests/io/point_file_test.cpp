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

struct Accepted {
    const char* what;
    std::string text;
    std::size_t count;
    double x, y;  // of the last point
    std::string name;
    std::size_t line;
};

TEST(PointFile, ReadsEveryLayoutOfLinesAndFields) {
    const std::vector<Accepted> cases = {
        {"header then LF", "x,y,name\n50,-3,A\n", 1, 50, -3, "A", 2},
        {"CRLF", "x,y\r\n1,2\r\n3,4\r\n", 2, 3, 4, "", 3},
        {"CR only", "x,y\r1,2\r3,4\r", 2, 3, 4, "", 3},
        {"mixed ends, no final end", "1,2\n3,4\r\n5,6\r7,8", 4, 7, 8, "", 4},
        {"BOM before numbers is data", kBom + "1,2\n", 1, 1, 2, "", 1},
        {"BOM before a header", kBom + "x,y\n1,2\n", 1, 1, 2, "", 2},
        {"two header lines, comments, blanks", "Survey,kerbs\n# c\nx,y\n\n  \n9,8\n", 1, 9, 8, "",
         6},
        {"RFC 4180 quoting", "\"1\", 2 ,\"a, \"\"b\"\"\nc\"\n", 1, 1, 2, "a, \"b\"\nc", 1},
        {"whitespace-separated", "  1   2\tname\n", 1, 1, 2, "name", 1},
        {"quoted name among blanks", "1 2 \"two words\"\n", 1, 1, 2, "two words", 1},
        {"header in another script", "\xE7\x82\xB9,x,y\n1,2\n", 1, 1, 2, "", 2},
        {"exponent, point forms", "1e2,.5\n-2.,+3E-1\n", 2, -2, 0.3, "", 2},
        {"underflow reads as zero", "1e-400,0\n", 1, 0, 0, "", 1},
    };
    for (const Accepted& c : cases) {
        SCOPED_TRACE(c.what);
        const auto points = readPoints(c.text, "f.csv", PointColumns::XYName, Frame::XY);
        ASSERT_EQ(points.size(), c.count);
        EXPECT_EQ(points.back().x, c.x);
        EXPECT_EQ(points.back().y, c.y);
        EXPECT_EQ(points.back().name, c.name);
        EXPECT_EQ(points.back().line, c.line);
    }
}

TEST(PointFile, KeepsNaNAndInfinityForTheCaller) {
    // "nan,10" is data, not a header: it holds a number.
    const auto points = readPoints("nan,10\n-inf,Infinity\n", "f", PointColumns::XYName, Frame::XY);
    ASSERT_EQ(points.size(), 2u);
    EXPECT_TRUE(std::isnan(points[0].x));
    EXPECT_EQ(points[1].x, -HUGE_VAL);
    EXPECT_EQ(points[1].y, HUGE_VAL);
}

TEST(PointFile, NorthingAndEastingFollowTheFrame) {
    const std::string text = "P1,100,200,5,kerb\n";
    const auto ne = readPoints(text, "f", PointColumns::NameNEZCode, Frame::NE);
    const auto xy = readPoints(text, "f", PointColumns::NameNEZCode, Frame::XY);
    EXPECT_EQ(ne[0].x, 100);  // NE frame: x is the northing
    EXPECT_EQ(ne[0].y, 200);
    EXPECT_EQ(xy[0].x, 200);  // XY frame: x is the easting
    EXPECT_EQ(xy[0].y, 100);
    EXPECT_EQ(xy[0].z, 5);
    EXPECT_EQ(xy[0].code, "kerb");
    // x and y columns are taken as they stand in either frame.
    EXPECT_EQ(readPoints(text, "f", PointColumns::NameXYZCode, Frame::NE)[0].x, 100);
}

TEST(PointFile, OptionalHeightAndCode) {
    const auto points = readPoints("A,1,2\nB,1,2,\nC,1,2,kerb\nD,1,2,,kerb\n", "f",
                                   PointColumns::NameXYZCode, Frame::XY);
    ASSERT_EQ(points.size(), 4u);
    for (const auto& p : points) EXPECT_TRUE(std::isnan(p.z)) << p.name;
    EXPECT_EQ(points[2].code, "kerb");  // a fourth field of text is the code
    EXPECT_EQ(points[3].code, "kerb");
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

}  // namespace
