// Fuzz target: the point-file reader on arbitrary bytes. The first byte picks the column
// order and the frame; the rest is the file. A ReadError must be one short line.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "qv_route/io.hpp"

namespace {

// A message of 300 characters, each up to four bytes of UTF-8 or four of an escape.
constexpr std::size_t kMaxMessageBytes = 1300;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    using qv::route::PointColumns;
    const PointColumns orders[] = {PointColumns::XYName, PointColumns::NameXYZCode,
                                   PointColumns::NameNEZCode};
    const PointColumns columns = orders[data[0] % 3];
    const auto frame = (data[0] & 0x80) != 0 ? qv::route::Frame::NE : qv::route::Frame::XY;
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    try {
        for (const auto& point : qv::route::readPoints(text, "fuzz.csv", columns, frame)) {
            if (point.line == 0 || point.line > size) __builtin_trap();
        }
    } catch (const qv::route::ReadError& error) {
        const std::string message = error.what();
        if (message.find_first_of("\n\r") != std::string::npos ||
            message.size() > kMaxMessageBytes) {
            std::fprintf(stderr, "message is not one short line: %s\n", message.c_str());
            __builtin_trap();
        }
    }
    return 0;
}
