// Key points of a route and the rows of a station table.
#include <qv_route/route.hpp>

#include "route/route_data.hpp"

namespace qv::route {

const char* keyPointCode(KeyPointType) { return ""; }

std::vector<KeyPoint> Route::keyPoints(bool, bool) const { return {}; }

void Route::forEachTableRow(const TableRequest&,
                            const std::function<void(const TableRow&)>&) const {}

std::size_t Route::countTableRows(const TableRequest&) const { return 0; }

std::vector<Diagnostic> Route::check(const CheckOptions&) const { return {}; }

}  // namespace qv::route
