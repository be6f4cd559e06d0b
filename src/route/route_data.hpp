// What a built route holds: its description, the library object built from it, and the
// indexes that answer stations, points, curves and projections by bisection.
#pragma once

#include <qv_route/route.hpp>

#include <cstddef>
#include <vector>

#include "chainage/chainage.hpp"
#include "route/element_table.hpp"
#include "route/numbering.hpp"
#include "route/projection.hpp"

namespace qv::route {

namespace detail {

/// The contents of a built route (Route::Data is this under the route's private name).
struct RouteData {
    RouteDescription description;
    RoadCurvesCalculation alignment;
    detail::Numbering numbering;
    detail::ElementTable table;
    std::vector<RoadVerticalCurve> pieces;
    std::vector<double> pieceStarts;  ///< length along the route of each piece's start
    /// Chainages as the library reads them back from its text, read once: each element's
    /// start ("%f" of startDK), each piece's start (with its mark) and end.
    std::vector<double> elementStartTexts;
    std::vector<rcc::DKValue> pieceStartTexts;
    std::vector<double> pieceEndTexts;
    std::vector<CurveInfo> curves;
    std::vector<VerticalCurveInfo> verticalCurves;
    /// Points into `table`: built last, and rebuilt on a copy's own table.
    detail::ProjectionIndex index;

    RouteData() = default;
    RouteData(const RouteData& other)
        : description(other.description),
          alignment(other.alignment),
          numbering(other.numbering),
          table(other.table),
          pieces(other.pieces),
          pieceStarts(other.pieceStarts),
          elementStartTexts(other.elementStartTexts),
          pieceStartTexts(other.pieceStartTexts),
          pieceEndTexts(other.pieceEndTexts),
          curves(other.curves),
          verticalCurves(other.verticalCurves),
          index(table) {}
    RouteData& operator=(const RouteData&) = delete;
};

/// Builds the horizontal alignment (either form) into `data`: alignment, table, curves.
void buildHorizontal(RouteData& data);
/// Builds the profile into `data`: pieces, their starts and the vertical curves.
void buildProfile(RouteData& data);
/// Refuses a description outside the numeric domain, naming the field.
void checkDomain(const RouteDescription& description);

/// "path[i]"
std::string indexed(const std::string& path, std::size_t i);

}  // namespace detail

struct Route::Data : detail::RouteData {};

}  // namespace qv::route
