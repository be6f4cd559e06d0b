// Fuzz target: the LandXML reader on arbitrary bytes. It either fills a description or
// throws ReadError with a one-line message; anything else (another exception, a crash, a
// sanitizer report, a hang) is a fault.
#include <qv_route/io.hpp>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "fuzz_support.hpp"

namespace {

void checkMessage(const qv::route::ReadError& error) {
    RCC_FUZZ_CHECK(std::strchr(error.what(), '\n') == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const qv::route::ReadResult result = qv::route::readLandXml(text, "fuzz.xml");
        for (const qv::route::ElementDescription& element :
             result.description.horizontal.elements) {
            RCC_FUZZ_CHECK(element.length > 0 && std::isfinite(element.length));
            RCC_FUZZ_CHECK(element.start.has_value() && element.startBearing.has_value());
        }
        for (const qv::route::GradePoint& point : result.description.profile) {
            RCC_FUZZ_CHECK(std::isfinite(point.station.value) && std::isfinite(point.elevation));
        }
    } catch (const qv::route::ReadError& error) {
        checkMessage(error);
    }
    try {
        qv::route::landXmlAlignmentNames(text, "fuzz.xml");
    } catch (const qv::route::ReadError& error) {
        checkMessage(error);
    }
    return 0;
}
