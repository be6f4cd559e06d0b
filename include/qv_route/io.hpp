// Readers and writers of route descriptions: the route JSON file, LandXML 1.2 and survey
// point files. Part of the qv_roadCurveCalculation_io library of the package.
#pragma once

#include <qv_route/description.hpp>
#include <qv_route/route.hpp>

#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#if defined(_WIN32)
#if defined(QV_ROUTE_IO_BUILDING)
#define QV_ROUTE_IO_API __declspec(dllexport)
#else
#define QV_ROUTE_IO_API __declspec(dllimport)
#endif
#else
#define QV_ROUTE_IO_API __attribute__((visibility("default")))
#endif

namespace qv::route {

/// Input that cannot be read. what() is one line of at most a few hundred characters,
/// control characters escaped: "FILE:LINE:COLUMN: what was expected" or
/// "FILE: field.path: what was expected".
class QV_ROUTE_IO_API ReadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Limits every reader enforces, so that no input drives it into unbounded memory or time.
constexpr std::size_t kMaxInputBytes = std::size_t{256} << 20;  ///< 256 MiB per file
constexpr int kMaxNesting = 64;  ///< nesting depth of JSON arrays and objects

struct ReadOptions {
    std::string alignment;           ///< LandXML: the alignment to read (empty: the only one)
    double closureTolerance = 1e-3;  ///< LandXML: largest miss of an element's End, length units
};

/// A description read from a file, with what the reader noticed but did not refuse.
struct ReadResult {
    RouteDescription description;
    std::vector<Diagnostic> warnings;
};

/// Reads a route file, JSON or LandXML by its content (a first non-blank character '<'
/// after any byte-order mark means XML). Throws ReadError.
QV_ROUTE_IO_API ReadResult readRouteFile(const std::string& path, const ReadOptions& options = {});
/// Reads a route JSON text; `source` names it in messages.
QV_ROUTE_IO_API ReadResult readRouteJson(std::string_view text, const std::string& source);
/// Reads a LandXML 1.0-1.2 (or InfraModel) text; `source` names it in messages.
QV_ROUTE_IO_API ReadResult readLandXml(std::string_view text, const std::string& source,
                                       const ReadOptions& options = {});
/// The names of the alignments in a LandXML text, in file order.
QV_ROUTE_IO_API std::vector<std::string> landXmlAlignmentNames(std::string_view text,
                                                               const std::string& source);
/// LandXML 1.2 of a built route (valid against the schema): Units, one Alignment with its
/// CoordGeom, StaEquations, AlignPIs (intersection-point form) and the profile.
QV_ROUTE_IO_API std::string writeLandXml(const Route& route);

/// One surveyed point of a point file.
struct SurveyPoint {
    std::string name;
    double x = 0.0;  ///< in the route's frame (N and E columns go to x and y in the NE frame)
    double y = 0.0;
    double z = std::numeric_limits<double>::quiet_NaN();  ///< NaN when the file has none
    std::string code;
    std::size_t line = 0;  ///< line in the file, for messages
};

/// Column orders of a point file.
enum class PointColumns {
    XYName,       ///< x,y[,name]
    NameXYZCode,  ///< name,x,y[,z][,code]
    NameNEZCode,  ///< name,N,E,Z,code (N and E to x and y as the frame says)
};

/// Reads a point file: comma-separated (RFC 4180 quoting) or whitespace-separated lines,
/// LF, CRLF or CR line ends, an optional byte-order mark, and header lines recognised as
/// lines of words. Throws ReadError naming the line and column of a field that cannot be
/// read; a field with NaN or infinity is kept as such.
QV_ROUTE_IO_API std::vector<SurveyPoint> readPointFile(const std::string& path,
                                                       PointColumns columns, Frame frame);
QV_ROUTE_IO_API std::vector<SurveyPoint> readPoints(std::string_view text,
                                                    const std::string& source, PointColumns columns,
                                                    Frame frame);

}  // namespace qv::route
