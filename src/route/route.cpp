// The built route: construction, value semantics, stations, points, elevations and the
// projection of plane points.
#include <qv_route/route.hpp>

#include <algorithm>
#include <cmath>

#include "chainage/chainage.hpp"
#include "horizontal/horizontal.hpp"
#include "profile/profile.hpp"
#include "route/route_data.hpp"

namespace qv::route {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
/// Largest difference, in length units, between a chainage the library stored for an
/// element and the station this layer computes there, for the two to count as the same
/// start (six-decimal text rounding, plus the sums that made each).
constexpr double kSameStart = 1e-5;

/// The library measures the distance into an element or profile piece as the chainage minus
/// the start's chainage read from text. That is the same as this layer's length difference
/// when the station and the start lie in one numbering region, both on a first pass, and the
/// library's start chainage is the station this layer has there. Returns that distance, or
/// nullopt when the two ways may differ (then the caller uses lengths).
std::optional<double> libraryDistance(const detail::Numbering& numbering, Station station,
                                      std::size_t region, double startLength,
                                      double startValueAsText) {
    if (station.occurrence != 1) return std::nullopt;
    if (numbering.regionAt(startLength) != region) return std::nullopt;
    const Station start = numbering.stationAt(startLength);
    if (start.occurrence != 1 || !(std::fabs(start.value - startValueAsText) <= kSameStart)) {
        return std::nullopt;
    }
    return station.value - startValueAsText;
}

/// Grade of a profile piece at distance d from its start: the grade line's, plus the
/// parabola's c d / R on a first half, minus c (T - d) / R on a second half.
double pieceGrade(const RoadVerticalCurve& piece, double along) {
    if (piece.curveType == rcc::kFirstHalfPiece) {
        return piece.grade + piece.concavity * along / piece.radius;
    }
    if (piece.curveType == rcc::kSecondHalfPiece) {
        return piece.grade - piece.concavity * (piece.length - along) / piece.radius;
    }
    return piece.grade;
}

}  // namespace

RouteError::RouteError(std::string path, const std::string& message)
    : std::runtime_error(path + ": " + message), path_(std::move(path)) {}

Route::Route(std::unique_ptr<Data> data) : data_(std::move(data)) {}
Route::Route(const Route& other) : data_(std::make_unique<Data>(*other.data_)) {}
Route::Route(Route&&) noexcept = default;
Route& Route::operator=(const Route& other) {
    if (this != &other) data_ = std::make_unique<Data>(*other.data_);
    return *this;
}
Route& Route::operator=(Route&&) noexcept = default;
Route::~Route() = default;

Route Route::build(RouteDescription description) {
    auto data = std::make_unique<Data>();
    detail::checkDomain(description);
    data->description = std::move(description);
    data->numbering =
        detail::Numbering(data->description.startStation, data->description.equations);
    detail::buildHorizontal(*data);
    detail::buildProfile(*data);
    data->index = detail::ProjectionIndex(data->table);
    return Route(std::move(data));
}

const RouteDescription& Route::description() const { return data_->description; }
const RoadCurvesCalculation& Route::alignment() const { return data_->alignment; }
const std::vector<RoadCurve>& Route::elements() const { return data_->table.elements(); }
double Route::elementStart(std::size_t i) const { return data_->table.start(i); }
const std::vector<RoadVerticalCurve>& Route::profilePieces() const { return data_->pieces; }
double Route::profilePieceStart(std::size_t i) const { return data_->pieceStarts[i]; }
double Route::length() const { return data_->table.length(); }
Station Route::startStation() const { return stationAt(0.0); }
Station Route::endStation() const { return stationAt(length()); }
const std::vector<EquationInfo>& Route::equations() const { return data_->numbering.equations(); }
const std::vector<CurveInfo>& Route::curves() const { return data_->curves; }
const std::vector<VerticalCurveInfo>& Route::verticalCurves() const {
    return data_->verticalCurves;
}

std::optional<double> Route::lengthAt(Station station) const {
    return data_->numbering.lengthAt(station);
}

Station Route::stationAt(double length) const { return data_->numbering.stationAt(length); }

namespace {

/// The profile piece holding `length`, or nullopt where the profile does not reach.
std::optional<std::size_t> pieceAt(const detail::RouteData& d, double length) {
    if (d.pieces.empty() || !(length >= d.pieceStarts.front())) return std::nullopt;
    const auto it = std::upper_bound(d.pieceStarts.begin(), d.pieceStarts.end(), length);
    const std::size_t k = static_cast<std::size_t>(it - d.pieceStarts.begin()) - 1;
    if (!(length <= d.pieceStarts[k] + d.pieces[k].length)) return std::nullopt;
    return k;
}

/// Moves the centre-line point of `p` by `offset` along the normal, bearing + pi/2.
void applyOffset(RoutePoint& p, double offset) {
    if (offset == 0.0) return;  // exact: keep the centre line's bits
    p.x = p.x - offset * std::sin(p.bearing);
    p.y = p.y + offset * std::cos(p.bearing);
}

/// The horizontal part of a point at `length`, with `along` the distance into the element
/// that holds it (when known the library's way).
void horizontalAt(const detail::ElementTable& table, double length, std::optional<double> along,
                  RoutePoint& p) {
    const std::vector<RoadCurve>& elements = table.elements();
    p.length = length;
    if (length < 0 || length > table.length()) {
        // On the start or the end tangent produced.
        const bool before = length < 0;
        const RoadCurve& e = before ? elements.front() : elements.back();
        const double bearing = before ? e.startBearing : e.endBearing;
        const double beyond = before ? length : length - table.length();
        p.x = (before ? e.startX : e.endX) + beyond * std::cos(bearing);
        p.y = (before ? e.startY : e.endY) + beyond * std::sin(bearing);
        p.bearing = bearing;
        p.curvature = 0.0;
        p.element = before ? 0 : elements.size() - 1;
        p.kind = ElementKind::Line;
        p.onRoute = false;
        return;
    }
    const std::size_t i = table.elementAt(length);
    const double s = along ? *along : length - table.start(i);
    const rcc::CurvePoint c = table.at(i, s);
    p.x = c.x;
    p.y = c.y;
    p.bearing = c.bearing;
    p.curvature = table.curvature(i, s);
    p.element = i;
    p.kind = static_cast<ElementKind>(elements[i].curveType);
    p.onRoute = true;
}

}  // namespace

RoutePoint Route::pointAtLength(double length, double offset) const {
    RoutePoint p;
    p.station = stationAt(length);
    horizontalAt(data_->table, length, std::nullopt, p);
    p.elevation = elevationAtLength(length);
    p.grade = gradeAtLength(length);
    applyOffset(p, offset);
    return p;
}

std::optional<RoutePoint> Route::pointAt(Station station, double offset) const {
    const std::optional<double> length = lengthAt(station);
    if (!length) return std::nullopt;
    const Data& d = *data_;
    RoutePoint p;
    p.station = station;
    const std::size_t region = d.numbering.regionAt(*length);
    std::optional<double> along;
    if (*length >= 0 && *length <= d.table.length()) {
        const std::size_t i = d.table.elementAt(*length);
        const double startText = rcc::parseDKText(rcc::formatDK(d.table.elements()[i].startDK));
        along = libraryDistance(d.numbering, station, region, d.table.start(i), startText);
    }
    horizontalAt(d.table, *length, along, p);
    if (const std::optional<std::size_t> k = pieceAt(d, *length)) {
        const RoadVerticalCurve& piece = d.pieces[*k];
        const rcc::DKValue start = rcc::readDK(piece.startDK);
        std::optional<double> into;
        if (!start.marked) {
            into = libraryDistance(d.numbering, station, region, d.pieceStarts[*k], start.value);
        }
        const double s = into ? *into : *length - d.pieceStarts[*k];
        p.elevation = rcc::pieceElevation(piece, s);
        p.grade = pieceGrade(piece, s);
    }
    applyOffset(p, offset);
    return p;
}

double Route::elevationAtLength(double length) const {
    const std::optional<std::size_t> k = pieceAt(*data_, length);
    if (!k) return kNaN;
    return rcc::pieceElevation(data_->pieces[*k], length - data_->pieceStarts[*k]);
}

double Route::gradeAtLength(double length) const {
    const std::optional<std::size_t> k = pieceAt(*data_, length);
    if (!k) return kNaN;
    return pieceGrade(data_->pieces[*k], length - data_->pieceStarts[*k]);
}

namespace {

Foot toFoot(const detail::Numbering& numbering, const detail::LengthFoot& f) {
    Foot foot;
    foot.place = f.place;
    if (f.place == FootPlace::None || f.place == FootPlace::Invalid) return foot;
    foot.length = f.length;
    foot.station = numbering.stationAt(f.length);
    foot.offset = f.offset;
    foot.x = f.x;
    foot.y = f.y;
    foot.element = f.element;
    return foot;
}

}  // namespace

std::vector<Foot> Route::project(double x, double y, double maxOffset) const {
    std::vector<Foot> feet;
    for (const detail::LengthFoot& f : data_->index.feet(x, y, maxOffset)) {
        feet.push_back(toFoot(data_->numbering, f));
    }
    return feet;
}

Foot Route::locate(double x, double y, double maxOffset) const {
    return toFoot(data_->numbering, data_->index.nearest(x, y, maxOffset));
}

void Route::locate(const double* x, const double* y, std::size_t n, Foot* out,
                   double maxOffset) const {
    for (std::size_t i = 0; i < n; ++i) out[i] = locate(x[i], y[i], maxOffset);
}

}  // namespace qv::route
