// Fuzz target: the route JSON reader on arbitrary bytes. A ReadError is the answer to bad
// input and must be one short line; any other exception, a crash or a hang is a finding.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_support.hpp"
#include "qv_route/io.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        qv::route::readRouteJson(text, "fuzz.json");
    } catch (const qv::route::ReadError& error) {
        rcc_fuzz::checkOneLineMessage(error.what());
    }
    return 0;
}
