// Reading and writing LandXML alignments.
#include <qv_route/io.hpp>

namespace qv::route {

ReadResult readLandXml(std::string_view, const std::string& source, const ReadOptions&) {
    throw ReadError(source + ": the LandXML reader is not built yet");
}

std::vector<std::string> landXmlAlignmentNames(std::string_view, const std::string& source) {
    throw ReadError(source + ": the LandXML reader is not built yet");
}

std::string writeLandXml(const Route&) { return {}; }

}  // namespace qv::route
