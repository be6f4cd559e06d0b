// Reading survey point files: comma-separated with RFC 4180 quoting, or whitespace-separated,
// with any of the three line ends, an optional byte-order mark and header lines of words.
#include <qv_route/io.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <limits>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "io/message.hpp"

namespace qv::route {

namespace {

/// Most points one file may hold: about 100 bytes each in memory, so half a gigabyte.
constexpr std::size_t kMaxPoints = 5'000'000;
/// Bytes read from a file at a time.
constexpr std::size_t kReadChunk = std::size_t{1} << 16;

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isLineEnd(char c) { return c == '\n' || c == '\r'; }

/// One field of a record, with the place where it begins (line, and column in characters).
struct Field {
    std::string text;
    std::size_t line = 0;
    std::size_t column = 0;
};

/// The fields of one record, and the place just after its last character.
struct Record {
    std::vector<Field> fields;
    std::size_t line = 0;
    std::size_t endLine = 0;
    std::size_t endColumn = 0;
};

/// Splits the text into records of fields. A quoted field may hold separators, quotes
/// (doubled) and line ends; blank lines and lines starting with '#' hold no record.
class Lexer {
public:
    Lexer(std::string_view text, const std::string& source, bool commaSeparated)
        : text_(text), source_(source), comma_(commaSeparated) {}

    /// The next record, or false at the end of the text.
    bool next(Record& record) {
        record.fields.clear();
        for (;;) {
            skipBlanks();
            if (atEnd()) return false;
            if (peek() == '#') {
                while (!atEnd() && !isLineEnd(peek())) advance();
            }
            if (atEnd()) return false;
            if (!isLineEnd(peek())) break;
            advance();
        }
        record.line = line_;
        for (;;) {
            record.fields.push_back(field());
            if (atEnd()) break;
            if (isLineEnd(peek())) {
                record.endLine = line_;
                record.endColumn = column_;
                advance();
                return true;
            }
            if (comma_) advance();  // the comma; a run of blanks was skipped already
        }
        record.endLine = line_;
        record.endColumn = column_;
        return true;
    }

private:
    bool atEnd() const { return position_ >= text_.size(); }
    char peek() const { return text_[position_]; }

    [[noreturn]] void fail(std::size_t line, std::size_t column, std::string_view what) const {
        throw ReadError(message::atPlace(source_, line, column, what));
    }

    // Moves past one byte, counting lines (a CR LF pair is one line end) and characters
    // (UTF-8 continuation bytes start no column of their own). A NUL is never text.
    void advance() {
        const char c = peek();
        if (c == '\0') fail(line_, column_, "a NUL character; is this a binary file?");
        ++position_;
        if (c == '\n' || (c == '\r' && (atEnd() || peek() != '\n'))) {
            ++line_;
            column_ = 1;
        } else if (c != '\r' && (static_cast<unsigned char>(c) & 0xC0) != 0x80) {
            ++column_;
        }
    }

    void skipBlanks() {
        while (!atEnd() && isBlank(peek())) advance();
    }

    bool atSeparator() const {
        return atEnd() || isLineEnd(peek()) || (comma_ ? peek() == ',' : isBlank(peek()));
    }

    Field field() {
        Field f;
        f.line = line_;
        f.column = column_;  // where the field begins: just after the comma before it
        skipBlanks();
        if (!comma_) f.column = column_;
        if (!atEnd() && peek() == '"') {
            quotedText(f);
        } else {
            while (!atSeparator()) {
                f.text += peek();
                advance();
            }
            while (!f.text.empty() && isBlank(f.text.back())) f.text.pop_back();
        }
        skipBlanks();
        return f;
    }

    void quotedText(Field& f) {
        const std::size_t line = line_;
        const std::size_t column = column_;
        advance();  // the opening quote
        for (;;) {
            if (atEnd()) fail(line, column, "a quoted field is not closed");
            const char c = peek();
            advance();
            if (c != '"') {
                f.text += c;
            } else if (!atEnd() && peek() == '"') {
                f.text += '"';  // a doubled quote stands for one
                advance();
            } else {
                break;
            }
        }
        skipBlanks();
        if (!atSeparator()) {
            fail(line_, column_,
                 comma_ ? "expected a comma after the closing quote"
                        : "expected a blank after the closing quote");
        }
    }

    std::string_view text_;
    const std::string& source_;
    bool comma_;
    std::size_t position_ = 0;
    std::size_t line_ = 1;
    std::size_t column_ = 1;
};

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

enum class NumberRead { Number, NotANumber, TooLarge };

/// Reads a decimal number: an optional sign, digits with an optional point, an optional
/// exponent; or "nan", "inf", "infinity" in any case. Hexadecimal and anything around the
/// number are refused. A value too small for a double reads as zero of its sign.
NumberRead readNumber(std::string_view text, double& value) {
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
    const double sign = negative ? -1.0 : 1.0;
    if (equalsIgnoringCase(text, "nan")) {
        value = std::numeric_limits<double>::quiet_NaN();
        return NumberRead::Number;
    }
    if (equalsIgnoringCase(text, "inf") || equalsIgnoringCase(text, "infinity")) {
        value = sign * std::numeric_limits<double>::infinity();
        return NumberRead::Number;
    }
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::size_t i = 0;
    std::size_t integerDigits = 0;  // without leading zeros
    std::size_t fractionZeros = 0;  // leading zeros of the fraction when the integer part is 0
    bool anyDigit = false;
    bool onlyZeros = true;
    for (; i < text.size() && isDigit(text[i]); ++i) {
        anyDigit = true;
        if (text[i] != '0' || integerDigits > 0) ++integerDigits;
    }
    if (i < text.size() && text[i] == '.') {
        for (++i; i < text.size() && isDigit(text[i]); ++i) {
            anyDigit = true;
            if (integerDigits == 0 && onlyZeros && text[i] == '0') ++fractionZeros;
            if (text[i] != '0') onlyZeros = false;
        }
    }
    if (!anyDigit) return NumberRead::NotANumber;
    long long exponent = 0;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        const std::size_t start = ++i;
        if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
        if (i == text.size() || !isDigit(text[i])) return NumberRead::NotANumber;
        constexpr long long kExponentCap = 100000;  // far beyond any double's exponent
        const bool exponentNegative = text[start] == '-';
        for (; i < text.size() && isDigit(text[i]); ++i) {
            exponent = std::min(kExponentCap, exponent * 10 + (text[i] - '0'));
        }
        if (exponentNegative) exponent = -exponent;
    }
    if (i != text.size()) return NumberRead::NotANumber;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // The number's decimal magnitude tells overflow from underflow.
        const long long magnitude =
            exponent + (integerDigits > 0 ? static_cast<long long>(integerDigits)
                                          : -static_cast<long long>(fractionZeros));
        if (magnitude > 0) return NumberRead::TooLarge;
        value = 0.0;
    } else if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        return NumberRead::NotANumber;
    }
    value *= sign;
    return NumberRead::Number;
}

/// Whether the file is comma-separated: decided by its first line (or quoted record) that
/// holds a comma outside quotes or a number. Title lines of words before it and comments
/// say nothing; a first record of blank-separated numbers means blanks separate fields.
bool commaSeparated(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size()) {
        const std::size_t start = i;
        while (i < text.size() && isBlank(text[i])) ++i;
        std::size_t end = i;
        if (i < text.size() && text[i] == '#') {
            while (end < text.size() && !isLineEnd(text[end])) ++end;
            i = end + 1;
            continue;
        }
        bool inQuotes = false;
        bool comma = false;
        for (; end < text.size(); ++end) {
            const char c = text[end];
            if (c == '"') {
                inQuotes = !inQuotes;
            } else if (!inQuotes && c == ',') {
                comma = true;
            } else if (!inQuotes && isLineEnd(c)) {
                break;
            }
        }
        if (comma) return true;
        const std::string_view line = text.substr(start, end - start);
        for (std::size_t word = 0; word < line.size();) {
            const std::size_t stop = std::min(line.find_first_of(" \t", word), line.size());
            double ignored = 0.0;
            if (readNumber(line.substr(word, stop - word), ignored) == NumberRead::Number) {
                return false;
            }
            word = stop + 1;
        }
        i = end + 1;
    }
    return false;
}

/// A header field: a word that does not read as a number ("nan" is a number).
bool isWord(const std::string& text) {
    double ignored = 0.0;
    const bool hasLetter = std::any_of(text.begin(), text.end(), [](char c) {
        return std::isalpha(static_cast<unsigned char>(c)) != 0 ||
               static_cast<unsigned char>(c) >= 0x80;  // letters of other scripts
    });
    return hasLetter && readNumber(text, ignored) != NumberRead::Number;
}

/// A header record: words and empty fields only, at least one word.
bool isHeader(const Record& record) {
    bool anyWord = false;
    for (const Field& f : record.fields) {
        if (f.text.empty()) continue;
        if (!isWord(f.text)) return false;
        anyWord = true;
    }
    return anyWord;
}

/// Where each value of a point stands in a record, and how messages call the columns.
struct Layout {
    int name = -1;
    int first = 0;   // x, or N
    int second = 1;  // y, or E
    int height = -1;
    int code = -1;
    const char* firstLabel = "x";
    const char* secondLabel = "y";
    const char* heightLabel = "z";
    bool northEast = false;
};

Layout layoutOf(PointColumns columns) {
    Layout layout;
    switch (columns) {
        case PointColumns::XYName:
            layout.name = 2;
            break;
        case PointColumns::NameXYZCode:
            layout = Layout{0, 1, 2, 3, 4, "x", "y", "z", false};
            break;
        case PointColumns::NameNEZCode:
            layout = Layout{0, 1, 2, 3, 4, "N", "E", "Z", true};
            break;
    }
    return layout;
}

class PointReader {
public:
    PointReader(const std::string& source, Layout layout, Frame frame)
        : source_(source), layout_(layout), frame_(frame) {}

    SurveyPoint point(const Record& record) const {
        SurveyPoint p;
        p.line = record.line;
        const auto& fields = record.fields;
        const auto text = [&fields](int index) -> std::string {
            return index >= 0 && static_cast<std::size_t>(index) < fields.size()
                       ? fields[static_cast<std::size_t>(index)].text
                       : std::string();
        };
        const double first = number(record, layout_.first, layout_.firstLabel);
        const double second = number(record, layout_.second, layout_.secondLabel);
        // N and E go to x and y as the frame labels them: x is northing in the NE frame
        // and easting in the XY frame.
        const bool swap = layout_.northEast && frame_ == Frame::XY;
        p.x = swap ? second : first;
        p.y = swap ? first : second;
        p.name = text(layout_.name);
        p.code = text(layout_.code);
        if (layout_.height >= 0 && static_cast<std::size_t>(layout_.height) < fields.size()) {
            const Field& h = fields[static_cast<std::size_t>(layout_.height)];
            double value = 0.0;
            const bool lastField = fields.size() == static_cast<std::size_t>(layout_.code);
            if (h.text.empty()) {
                // no height: z stays NaN
            } else if (lastField && readNumber(h.text, value) == NumberRead::NotANumber) {
                p.code = h.text;  // "name,x,y,code": a fourth field that is text is the code
            } else {
                p.z = number(record, layout_.height, layout_.heightLabel);
            }
        }
        return p;
    }

private:
    double number(const Record& record, int index, const char* label) const {
        const std::string expected = std::string("expected a number for ") + label;
        const auto at = static_cast<std::size_t>(index);
        if (at >= record.fields.size()) {
            throw ReadError(message::atPlace(source_, record.endLine, record.endColumn,
                                             expected + ", found the end of the line"));
        }
        const Field& f = record.fields[at];
        double value = 0.0;
        switch (readNumber(f.text, value)) {
            case NumberRead::Number:
                return value;
            case NumberRead::TooLarge:
                throw ReadError(message::atPlace(
                    source_, f.line, f.column,
                    "the number for " + std::string(label) + " is too large for a double"));
            case NumberRead::NotANumber:
                break;
        }
        const std::string found = f.text.empty() ? "an empty field" : message::quoted(f.text);
        throw ReadError(message::atPlace(source_, f.line, f.column, expected + ", found " + found));
    }

    const std::string& source_;
    Layout layout_;
    Frame frame_;
};

std::vector<SurveyPoint> readAll(std::string_view text, const std::string& source,
                                 PointColumns columns, Frame frame) {
    if (text.size() > kMaxInputBytes) {
        throw ReadError(message::forSource(source, "the file is larger than the limit of " +
                                                       std::to_string(kMaxInputBytes >> 20) +
                                                       " MiB"));
    }
    if (text.substr(0, message::kByteOrderMark.size()) == message::kByteOrderMark) {
        text.remove_prefix(message::kByteOrderMark.size());  // columns count from after the mark
    }
    Lexer lexer(text, source, commaSeparated(text));
    const PointReader reader(source, layoutOf(columns), frame);
    std::vector<SurveyPoint> points;
    Record record;
    while (lexer.next(record)) {
        // Header lines come before the first point; after it, a line of words is an error.
        if (points.empty() && isHeader(record)) continue;
        if (points.size() == kMaxPoints) {
            throw ReadError(message::atPlace(
                source, record.line, 1,
                "more than " + std::to_string(kMaxPoints) + " points; split the file"));
        }
        points.push_back(reader.point(record));
    }
    return points;
}

}  // namespace

std::vector<SurveyPoint> readPoints(std::string_view text, const std::string& source,
                                    PointColumns columns, Frame frame) {
    try {
        return readAll(text, source, columns, frame);
    } catch (const std::bad_alloc&) {
        throw ReadError(message::forSource(source, "not enough memory to read the points"));
    }
}

std::vector<SurveyPoint> readPointFile(const std::string& path, PointColumns columns, Frame frame) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error) {
        throw ReadError(message::forSource(path, "cannot open the file: " + error.message()));
    }
    if (fs::is_directory(status)) {
        throw ReadError(message::forSource(path, "is a directory, not a point file"));
    }
    if (fs::is_block_file(status) || fs::is_character_file(status) || fs::is_socket(status)) {
        throw ReadError(message::forSource(path, "is a device, not a point file"));
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) throw ReadError(message::forSource(path, "cannot open the file"));
    std::string text;
    try {
        // Read at most one chunk past the limit: enough to refuse a larger file or an
        // endless pipe without holding it. A regular file's size is known: no regrowth.
        if (fs::is_regular_file(status)) {
            const auto size = fs::file_size(path, error);
            if (!error && size <= kMaxInputBytes) text.reserve(static_cast<std::size_t>(size));
        }
        std::vector<char> chunk(kReadChunk);
        while (text.size() <= kMaxInputBytes && file) {
            file.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
            text.append(chunk.data(), static_cast<std::size_t>(file.gcount()));
        }
    } catch (const std::bad_alloc&) {
        throw ReadError(message::forSource(path, "not enough memory to read the file"));
    }
    if (file.bad()) throw ReadError(message::forSource(path, "cannot read the file"));
    return readPoints(text, path, columns, frame);
}

}  // namespace qv::route
