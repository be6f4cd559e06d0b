// Fuzz target: the point-file reader on arbitrary bytes. The first byte picks the column
// order and the frame; the rest is the file. A ReadError must be one short line.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_support.hpp"
#include "qv_route/io.hpp"

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
            RCC_FUZZ_CHECK(point.line >= 1 && point.line <= size);
        }
    } catch (const qv::route::ReadError& error) {
        rcc_fuzz::checkOneLineMessage(error.what());
    }
    return 0;
}
