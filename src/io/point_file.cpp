// Reading survey point files.
#include <qv_route/io.hpp>

namespace qv::route {

std::vector<SurveyPoint> readPoints(std::string_view, const std::string& source, PointColumns,
                                    Frame) {
    throw ReadError(source + ": the point file reader is not built yet");
}

std::vector<SurveyPoint> readPointFile(const std::string& path, PointColumns columns, Frame frame) {
    return readPoints({}, path, columns, frame);
}

}  // namespace qv::route
