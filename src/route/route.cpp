// The built route: construction, value semantics, stations, points, elevations and the
// projection of plane points.
#include <qv_route/route.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

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

/// The profile piece holding `length`, or nullopt where the profile does not reach. As in
/// the library, a piece's end belongs to it: where the piece before still reaches, it
/// answers.
std::optional<std::size_t> pieceAt(const detail::RouteData& d, double length) {
    if (d.pieces.empty() || !(length >= d.pieceStarts.front())) return std::nullopt;
    const auto it = std::upper_bound(d.pieceStarts.begin(), d.pieceStarts.end(), length);
    std::size_t k = static_cast<std::size_t>(it - d.pieceStarts.begin()) - 1;
    const auto reaches = [&d, length](std::size_t j) {
        return length <= d.pieceStarts[j] + d.pieces[j].length;
    };
    // The pieces follow each other without gaps; only the last one's end bounds the profile.
    if (k + 1 == d.pieces.size() && !reaches(k)) return std::nullopt;
    if (k > 0 && reaches(k - 1)) --k;
    return k;
}

/// The element answering at `length` on the route: as in the library, an element's end
/// belongs to it, so at the exact start of an element the one before answers.
std::size_t elementFor(const detail::ElementTable& table, double length) {
    std::size_t i = table.elementAt(length);
    if (i > 0 && length == table.start(i)) --i;  // exact: the shared end point
    return i;
}

/// Where the library would evaluate a station on the route: the first of the elements
/// around `length` whose chainage range holds the number, at the library's distance into
/// it; nullopt when that distance may differ from this layer's (then lengths decide).
std::optional<std::pair<std::size_t, double>> libraryElement(const detail::RouteData& d,
                                                             Station station, double length) {
    const std::vector<RoadCurve>& elements = d.table.elements();
    const std::size_t i = d.table.elementAt(length);
    const std::size_t region = d.numbering.regionAt(length);
    for (std::size_t c = i > 0 ? i - 1 : 0; c <= i + 1 && c < elements.size(); ++c) {
        const RoadCurve& e = elements[c];
        if (!(e.startDK <= station.value && station.value <= e.endDK)) continue;
        const std::optional<double> along =
            libraryDistance(d.numbering, station, region, d.table.start(c), d.elementStartTexts[c]);
        if (!along) return std::nullopt;
        return std::make_pair(c, *along);
    }
    return std::nullopt;
}

/// The same for the profile piece: the first piece around `k` whose chainage texts hold
/// the number.
std::optional<std::pair<std::size_t, double>> libraryPiece(const detail::RouteData& d,
                                                           Station station, double length,
                                                           std::size_t k) {
    const std::size_t region = d.numbering.regionAt(length);
    for (std::size_t c = k > 0 ? k - 1 : 0; c <= k + 1 && c < d.pieces.size(); ++c) {
        const rcc::DKValue start = d.pieceStartTexts[c];
        if (!(station.value >= start.value)) continue;
        if (!(d.pieceEndTexts[c] >= station.value)) continue;
        if (start.marked) return std::nullopt;
        const std::optional<double> along =
            libraryDistance(d.numbering, station, region, d.pieceStarts[c], start.value);
        if (!along) return std::nullopt;
        return std::make_pair(c, *along);
    }
    return std::nullopt;
}

/// Moves the centre-line point of `p` by `offset` along the normal, bearing + pi/2.
void applyOffset(RoutePoint& p, double offset) {
    if (offset == 0.0) return;  // exact: keep the centre line's bits
    p.x = p.x - offset * std::sin(p.bearing);
    p.y = p.y + offset * std::cos(p.bearing);
}

/// Element i at distance s into it.
void onElement(const detail::ElementTable& table, std::size_t i, double s, RoutePoint& p) {
    const rcc::CurvePoint c = table.at(i, s);
    p.x = c.x;
    p.y = c.y;
    p.bearing = c.bearing;
    p.curvature = table.curvature(i, s);
    p.element = i;
    p.kind = static_cast<ElementKind>(table.elements()[i].curveType);
    p.onRoute = true;
}

/// The horizontal part of the point at `length`: on the start or end tangent produced off
/// the route, else on the element that answers there.
void horizontalAt(const detail::ElementTable& table, double length, RoutePoint& p) {
    const std::vector<RoadCurve>& elements = table.elements();
    p.length = length;
    if (length >= 0 && length <= table.length()) {
        const std::size_t i = elementFor(table, length);
        onElement(table, i, length - table.start(i), p);
        return;
    }
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
}

}  // namespace

RoutePoint Route::pointAtLength(double length, double offset) const {
    RoutePoint p;
    p.station = stationAt(length);
    horizontalAt(data_->table, length, p);
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
    // Where the library answers the same station unambiguously, its element and distance,
    // so that the bits agree; otherwise this layer's lengths.
    // (A station whose length rounds a hair past an end still lies on the library's element.)
    if (const auto library = libraryElement(d, station, *length)) {
        p.length = *length;
        onElement(d.table, library->first, library->second, p);
    } else {
        horizontalAt(d.table, *length, p);
    }
    if (std::optional<std::size_t> k = pieceAt(d, *length)) {
        double into = *length - d.pieceStarts[*k];
        if (const auto library = libraryPiece(d, station, *length, *k))
            std::tie(*k, into) = *library;
        p.elevation = rcc::pieceElevation(d.pieces[*k], into);
        p.grade = pieceGrade(d.pieces[*k], into);
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
