// Reading the route JSON file into a route description.
#include <qv_route/io.hpp>

namespace qv::route {

ReadResult readRouteJson(std::string_view, const std::string& source) {
    throw ReadError(source + ": the route JSON reader is not built yet");
}

ReadResult readRouteFile(const std::string& path, const ReadOptions&) {
    throw ReadError(path + ": the route file reader is not built yet");
}

}  // namespace qv::route
