// One-line messages of the readers: text taken from a file is escaped and shortened before
// it reaches a terminal, so that no input can break a message across lines or flood it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qv::route::message {

/// Longest message, in characters, before it is cut with "…".
constexpr std::size_t kMaxMessageChars = 300;
/// Longest piece of input quoted inside a message, in characters.
constexpr std::size_t kMaxQuotedChars = 40;

/// `text` with control characters (and DEL, and bytes that are not UTF-8) written as \n, \t,
/// \r or \xNN, cut after `maxChars` characters with "…" when longer.
std::string escaped(std::string_view text, std::size_t maxChars = kMaxMessageChars);

/// `text` escaped, shortened to kMaxQuotedChars and put in double quotes.
std::string quoted(std::string_view text);

/// "source:line:column: what", escaped and shortened to one line.
std::string atPlace(std::string_view source, std::size_t line, std::size_t column,
                    std::string_view what);

/// "source: what", escaped and shortened to one line.
std::string forSource(std::string_view source, std::string_view what);

}  // namespace qv::route::message
