// Fuzz target: landxml reader on arbitrary bytes (filled in with the reader).
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t*, std::size_t) { return 0; }
