// One-line messages of the readers: text taken from a file is escaped and shortened before
// it reaches a terminal, so that no input can break a message across lines or flood it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qv::route::message {

/// The UTF-8 byte-order mark some editors put at the start of a text file.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Longest message, in characters, before it is cut with "…".
constexpr std::size_t kMaxMessageChars = 300;
/// Longest piece of input quoted inside a message, in characters.
constexpr std::size_t kMaxQuotedChars = 40;

/// `text` with control characters (and DEL, and bytes that are not UTF-8) written as \n, \t,
/// \r or \xNN, cut after `maxChars` characters with "…" when longer.
std::string escaped(std::string_view text, std::size_t maxChars = kMaxMessageChars);

/// `text` escaped, shortened to kMaxQuotedChars and put in double quotes.
std::string quoted(std::string_view text);

/// A place in a text: line and column, both from 1. Columns count characters (UTF-8
/// sequences), not bytes, and start after a byte-order mark.
struct Place {
    std::size_t line = 1;
    std::size_t column = 1;
};

/// The place of byte `offset` of `text` (for readers that know only a byte offset); LF,
/// CR LF and CR each end a line.
Place placeOf(std::string_view text, std::size_t offset);

/// "source:line:column: what", escaped and shortened to one line.
std::string atPlace(std::string_view source, std::size_t line, std::size_t column,
                    std::string_view what);

/// "source: what", escaped and shortened to one line.
std::string forSource(std::string_view source, std::string_view what);

}  // namespace qv::route::message
