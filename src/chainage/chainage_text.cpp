// Chainage text rules: std::stod-compatible reading with its exact exception messages,
// "%f" writing, and the leading-zero mark of a repeated chainage.
#include "chainage/chainage.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace rcc {

double parseDKText(const std::string& text) {
    // strtod with errno, as std::stod does; the messages are fixed by the interface, not
    // by this standard library's own wording. errno is restored so that a successful read
    // leaves the caller's errno as it was.
    const char* begin = text.c_str();
    char* end = nullptr;
    const int savedErrno = errno;
    errno = 0;
    const double value = std::strtod(begin, &end);
    const bool rangeError = (errno == ERANGE);
    errno = savedErrno;
    if (end == begin) {
        throw std::invalid_argument("invalid stod argument");
    }
    if (rangeError) {
        throw std::out_of_range("stod argument out of range");
    }
    return value;
}

bool isMarkedDK(const std::string& text, double value) {
    // The mark is the literal first character, before any blank or sign; a zero value
    // ("0", "0.000000") is never marked. Exact comparison: the mark is defined on zero.
    return !text.empty() && text.front() == '0' && value != 0.0;
}

std::string formatDK(double value) {
    // Identical to std::to_string(double); written out so that the format is visible.
    // "%f" of the largest double needs 309 integer digits, a sign, a point and 6 decimals.
    constexpr int kBufferSize = 320;
    char buffer[kBufferSize];
    const int written = std::snprintf(buffer, sizeof buffer, "%f", value);
    return std::string(buffer, written > 0 ? static_cast<std::size_t>(written) : 0);
}

std::string formatMarkedDK(double value) { return '0' + formatDK(value); }

}  // namespace rcc
