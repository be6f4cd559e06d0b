// Escaping and shortening of the readers' one-line messages.
#include "io/message.hpp"

#include <algorithm>

namespace qv::route::message {

namespace {

constexpr unsigned char kDelete = 0x7F;
constexpr unsigned char kFirstPrintable = 0x20;
constexpr const char* kEllipsis = "\xE2\x80\xA6";  // "…" in UTF-8
constexpr const char* kHexDigits = "0123456789abcdef";

// Length of the UTF-8 sequence that starts at text[i], or 0 when the bytes there are not
// one (a stray continuation byte, a truncated or overlong sequence).
std::size_t utf8Length(std::string_view text, std::size_t i) {
    const auto byte = [&text](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    std::size_t length = 0;
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) length = 2;
    if (lead >= 0xE0 && lead <= 0xEF) length = 3;
    if (lead >= 0xF0 && lead <= 0xF4) length = 4;
    if (length == 0 || i + length > text.size()) return 0;
    for (std::size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) return 0;  // not a continuation byte
    }
    return length;
}

void appendHex(std::string& out, unsigned char byte) {
    constexpr unsigned kNibble = 4;
    constexpr unsigned kLowNibble = 0x0F;
    out += "\\x";
    out += kHexDigits[byte >> kNibble];
    out += kHexDigits[byte & kLowNibble];
}

}  // namespace

std::string escaped(std::string_view text, std::size_t maxChars) {
    std::string out;
    std::size_t chars = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (chars == maxChars) {
            out += kEllipsis;
            break;
        }
        const auto byte = static_cast<unsigned char>(text[i]);
        const std::size_t length = utf8Length(text, i);
        if (length > 1) {
            out.append(text.substr(i, length));
        } else if (byte == '\n') {
            out += "\\n";
        } else if (byte == '\r') {
            out += "\\r";
        } else if (byte == '\t') {
            out += "\\t";
        } else if (length == 0 || byte < kFirstPrintable || byte == kDelete) {
            appendHex(out, byte);
        } else {
            out += static_cast<char>(byte);
        }
        i += length == 0 ? 1 : length;
        ++chars;
    }
    return out;
}

Place placeOf(std::string_view text, std::size_t offset) {
    Place place;
    std::size_t i =
        text.substr(0, kByteOrderMark.size()) == kByteOrderMark ? kByteOrderMark.size() : 0;
    for (const std::size_t end = std::min(offset, text.size()); i < end; ++i) {
        const char c = text[i];
        const bool pairedCR = c == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
        if (c == '\n' || (c == '\r' && !pairedCR)) {
            ++place.line;
            place.column = 1;
        } else if (!pairedCR && (static_cast<unsigned char>(c) & 0xC0) != 0x80) {
            ++place.column;  // a UTF-8 continuation byte (10xxxxxx) starts no column
        }
    }
    return place;
}

std::string quoted(std::string_view text) { return '"' + escaped(text, kMaxQuotedChars) + '"'; }

std::string atPlace(std::string_view source, std::size_t line, std::size_t column,
                    std::string_view what) {
    return escaped(std::string(source) + ':' + std::to_string(line) + ':' + std::to_string(column) +
                   ": " + std::string(what));
}

std::string forSource(std::string_view source, std::string_view what) {
    return escaped(std::string(source) + ": " + std::string(what));
}

}  // namespace qv::route::message
