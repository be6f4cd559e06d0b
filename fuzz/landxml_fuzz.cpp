// Fuzz target: the LandXML reader on arbitrary bytes. It either fills a description or
// throws ReadError with a one-line message; anything else (another exception, a crash, a
// sanitizer report, a hang) is a fault.
#include <qv_route/io.hpp>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz_support.hpp"

namespace {

/// Largest description the target writes back, to keep each input fast.
constexpr std::size_t kMaxRoundTripElements = 64;

void checkMessage(const qv::route::ReadError& error) {
    RCC_FUZZ_CHECK(std::strchr(error.what(), '\n') == nullptr);
}

/// A description that builds is written and read again: the writer's text must parse and
/// give as many elements as the route has.
void writeAndReadBack(const qv::route::RouteDescription& description) {
    if (description.horizontal.elements.size() > kMaxRoundTripElements) return;
    try {
        const qv::route::Route route = qv::route::Route::build(description);
        const std::string written = qv::route::writeLandXml(route);
        qv::route::ReadResult back;
        try {
            back = qv::route::readLandXml(written, "written.xml");
        } catch (const qv::route::ReadError& error) {
            std::fprintf(stderr, "%s\n%s\n", error.what(), written.c_str());
            RCC_FUZZ_CHECK(!"the writer's own text is read back");
        }
        if (!route.description().horizontal.points.empty()) return;  // read back as points
        RCC_FUZZ_CHECK(back.description.horizontal.elements.size() <= route.elements().size());
    } catch (const qv::route::RouteError&) {
        // a description outside what a route can be built from; the reader need not refuse it
    }
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
        writeAndReadBack(result.description);
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
