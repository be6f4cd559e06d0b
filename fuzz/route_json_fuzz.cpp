// Fuzz target: the route JSON reader on arbitrary bytes. A ReadError is the answer to bad
// input and must be one short line; any other exception, a crash or a hang is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "qv_route/io.hpp"

namespace {

// A message of a few hundred characters, each up to four bytes of UTF-8 or of an escape.
constexpr std::size_t kMaxMessageBytes = 1300;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        qv::route::readRouteJson(text, "fuzz.json");
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
