// Chainage text rules: std::stod-compatible reading with its exact exception messages,
// "%f" writing, and the leading-zero mark of a repeated chainage. Plain decimal text goes
// through std::from_chars / std::to_chars, which give the same correctly rounded results
// at a fraction of the cost; every other form takes the C library's own path.
#include "chainage/chainage.hpp"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>

#if defined(_WIN32)
#include <clocale>
#else
#include <langinfo.h>
#endif

namespace rcc {

namespace {

// Longest plain decimal read on the fast path. Without an exponent, 300 characters hold
// neither a value above 1e300 (double overflows beyond 1.8e308) nor a nonzero value below
// 1e-298 (subnormals start at 2.2e-308), so the fast path never meets a range error.
constexpr std::size_t kMaxPlainDecimalLength = 300;

// Integers up to 2^53 and powers of ten up to 10^22 are exact in double.
constexpr std::uint64_t kMaxExactMantissa = std::uint64_t{1} << 53;
constexpr std::uint64_t kDecimalBase = 10;
constexpr int kMaxExactPowerOfTen = 22;
constexpr double kPowersOfTen[kMaxExactPowerOfTen + 1] = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// "%f" of the largest double needs 309 integer digits, a sign, a point and 6 decimals.
constexpr int kFormatBufferSize = 320;
constexpr int kFixedDecimals = 6;

// strtod and printf use the decimal point of the current C locale; from_chars and to_chars
// always use '.', so they stand in only while the locale's point is '.'. nl_langinfo reads
// the calling thread's locale without writing shared state (localeconv fills a static).
bool decimalPointIsDot() {
#if defined(_WIN32)
    const char* point = std::localeconv()->decimal_point;
#else
    const char* point = nl_langinfo(RADIXCHAR);
#endif
    return point != nullptr && point[0] == '.' && point[1] == '\0';
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// std::stod's own path: strtod with errno, and the interface's fixed messages rather than
// this standard library's wording. errno is restored so that a successful read leaves the
// caller's errno as it was.
double parseWithStrtod(const std::string& text) {
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

}  // namespace

bool parsePlainDecimal(const std::string& text, double& value) {
    // Only -?digits[.digits] (or -?.digits) taken as the longest prefix: no blank, '+',
    // hex, inf, nan or exponent, whose handling differs between the readers.
    const char* first = text.data();
    const char* last = first + text.size();
    const bool negative = first != last && *first == '-';
    const char* p = first + (negative ? 1 : 0);
    if (p == last || !(isDigit(*p) || *p == '.')) return false;

    // Scan the digits once, collecting them as an integer m while it stays exact. Zeros at
    // the end of the decimals are held back and never enter m: "1000.000000" is 1000/1.
    std::uint64_t mantissa = 0;
    int decimals = 0;
    int heldZeros = 0;
    bool exact = true;
    bool anyDigit = false;
    bool inFraction = false;
    const char* q = p;
    for (; q != last; ++q) {
        if (*q == '.' && !inFraction) {
            inFraction = true;
            continue;
        }
        if (!isDigit(*q)) break;
        anyDigit = true;
        if (inFraction && *q == '0') {
            ++heldZeros;
            continue;
        }
        for (; heldZeros > 0; --heldZeros) {  // zeros followed by a digit are part of m
            if (mantissa > kMaxExactMantissa / kDecimalBase) exact = false;
            mantissa *= kDecimalBase;
            ++decimals;
        }
        if (mantissa > kMaxExactMantissa / kDecimalBase) exact = false;
        mantissa = mantissa * kDecimalBase + static_cast<std::uint64_t>(*q - '0');
        if (inFraction) ++decimals;
    }
    // "0x1p3" is hex and "1e3" has an exponent to strtod; both stop a plain reader early.
    if (!anyDigit || (q != last && (*q == 'x' || *q == 'X' || *q == 'e' || *q == 'E'))) {
        return false;
    }
    if (!decimalPointIsDot()) return false;
    if (exact && mantissa <= kMaxExactMantissa && decimals <= kMaxExactPowerOfTen) {
        // m and 10^k are both exact in double, so the one correctly rounded division is the
        // correctly rounded value that strtod returns (Clinger's fast path).
        value = static_cast<double>(mantissa);
        if (decimals > 0) value /= kPowersOfTen[decimals];
        if (negative) value = -value;
        return true;
    }
    if (q - first > static_cast<std::ptrdiff_t>(kMaxPlainDecimalLength)) return false;
    const std::from_chars_result read = std::from_chars(first, q, value);
    return read.ec == std::errc{} && read.ptr == q;
}

double parseDKText(const std::string& text) {
    double value = 0.0;
    return parsePlainDecimal(text, value) ? value : parseWithStrtod(text);
}

bool isMarkedDK(const std::string& text, double value) {
    // The mark is the literal first character, before any blank or sign; a zero value
    // ("0", "0.000000") is never marked. Exact comparison: the mark is defined on zero.
    return !text.empty() && text.front() == '0' && value != 0.0;
}

std::string formatDKWithPrintf(double value) {
    char buffer[kFormatBufferSize];
    const int written = std::snprintf(buffer, sizeof buffer, "%f", value);
    return std::string(buffer, written > 0 ? static_cast<std::size_t>(written) : 0);
}

std::string formatDK(double value) {
    // Identical to std::to_string(double), that is "%f". to_chars writes the exactly
    // rounded six-decimal form of finite values as printf does; "inf" and "nan" spellings
    // and a locale's own decimal point are left to printf.
    if (std::isfinite(value) && decimalPointIsDot()) {
        char buffer[kFormatBufferSize];
        const std::to_chars_result written = std::to_chars(
            buffer, buffer + sizeof buffer, value, std::chars_format::fixed, kFixedDecimals);
        if (written.ec == std::errc{}) return std::string(buffer, written.ptr);
    }
    return formatDKWithPrintf(value);
}

std::string formatMarkedDK(double value) { return '0' + formatDK(value); }

}  // namespace rcc
