// Key points of a route and the rows of a station table: round stations in each numbering
// region, key points and asked-for stations, merged in order along the route.
#include <qv_route/route.hpp>

#include <algorithm>
#include <cmath>

#include "route/route_data.hpp"

namespace qv::route {

namespace {

/// Rows closer than this along the route are one row (length units).
constexpr double kRowMerge = 1e-6;
/// Slack, in length units, that keeps a round station at the very end of a region or of
/// the asked range in the table despite the rounding of the sums that placed it.
constexpr double kRangeSlack = 1e-7;
/// Above this many candidate rows countTableRows gives the candidate count (an upper bound
/// that exceeds the exact count by at most the merged rows) instead of streaming them.
constexpr double kExactCountLimit = 1 << 20;
/// Most key points of one curve (TS, SC, MC, CS, ST) and of one vertical curve (BVC, PVI,
/// HIGH or LOW, EVC), and of the route itself (BEGIN, END).
constexpr std::size_t kKeyPointsPerCurve = 5;
constexpr std::size_t kKeyPointsPerVerticalCurve = 4;
constexpr std::size_t kRouteEnds = 2;
/// Decimals of the stations in equation labels.
constexpr int kLabelDecimals = 3;

KeyPoint makeKeyPoint(const Route& route, double length, KeyPointType type,
                      const std::string& owner) {
    KeyPoint k;
    k.length = length;
    k.station = route.stationAt(length);
    k.type = type;
    k.owner = owner;
    k.label = owner.empty() ? keyPointCode(type) : owner + " " + keyPointCode(type);
    return k;
}

void addCurvePoints(const Route& route, const CurveInfo& c, std::vector<KeyPoint>& out) {
    const std::vector<RoadCurve>& elements = route.elements();
    const auto isArc = [&elements](std::size_t i) {
        return elements[i].curveType == static_cast<int>(ElementKind::Arc);
    };
    std::size_t firstArc = c.lastElement + 1;
    std::size_t lastArc = 0;
    for (std::size_t i = c.firstElement; i <= c.lastElement; ++i) {
        if (!isArc(i)) continue;
        firstArc = std::min(firstArc, i);
        lastArc = i;
    }
    const bool hasArc = firstArc <= c.lastElement;
    out.push_back(makeKeyPoint(
        route, c.startLength, isArc(c.firstElement) ? KeyPointType::PC : KeyPointType::TS, c.name));
    if (hasArc && firstArc > c.firstElement) {
        out.push_back(makeKeyPoint(route, route.elementStart(firstArc), KeyPointType::SC, c.name));
    }
    out.push_back(
        makeKeyPoint(route, 0.5 * (c.startLength + c.endLength), KeyPointType::MC, c.name));
    if (hasArc && lastArc < c.lastElement) {
        out.push_back(
            makeKeyPoint(route, route.elementStart(lastArc + 1), KeyPointType::CS, c.name));
    }
    out.push_back(makeKeyPoint(route, c.endLength,
                               isArc(c.lastElement) ? KeyPointType::PT : KeyPointType::ST, c.name));
}

/// The round stations i * interval of each numbering region within [from, to] (lengths),
/// one at a time in order along the route. i counts; nothing is added up.
class RoundStations {
public:
    RoundStations(const detail::Numbering& numbering, double interval, double from, double to)
        : numbering_(numbering), interval_(interval), from_(from), to_(to) {
        region_ = numbering.regionAt(from);
        active_ = interval > 0 && std::isfinite(interval) && from <= to;
        if (active_) enterRegion();
    }

    /// Candidate rows this generator would give.
    double count() const {
        double n = 0;
        for (std::size_t k = numbering_.regionAt(from_); active_ && k < numbering_.regions().size();
             ++k) {
            double first = 0;
            double last = 0;
            if (!bounds(k, first, last)) continue;
            n += std::max(0.0, last - first + 1);
        }
        return n;
    }

    bool next(double& length, Station& station) {
        while (active_) {
            if (i_ <= last_) {
                const double value = static_cast<double>(i_) * interval_;
                ++i_;
                length = numbering_.lengthIn(region_, value);
                station = Station{value, numbering_.occurrenceIn(region_, value)};
                return true;
            }
            ++region_;
            if (region_ >= numbering_.regions().size() ||
                numbering_.regions()[region_].length > to_) {
                active_ = false;
                break;
            }
            enterRegion();
        }
        return false;
    }

private:
    /// First and last i of region k inside the range; false when none can be counted.
    bool bounds(std::size_t k, double& first, double& last) const {
        const std::vector<detail::Numbering::Region>& regions = numbering_.regions();
        const double regionEnd = k + 1 < regions.size() ? regions[k + 1].length
                                                        : std::numeric_limits<double>::infinity();
        const double lo = std::max(regions[k].length, from_);
        const double hi = std::min(regionEnd, to_);
        if (!(lo <= hi)) return false;
        const double loValue = regions[k].station + (lo - regions[k].length);
        const double hiValue = regions[k].station + (hi - regions[k].length);
        first = std::ceil((loValue - kRangeSlack) / interval_);
        last = std::floor((hiValue + kRangeSlack) / interval_);
        // i must count exactly in a 64-bit integer and a double.
        constexpr double kMaxIndex = 9007199254740992.0;  // 2^53
        return std::fabs(first) <= kMaxIndex && std::fabs(last) <= kMaxIndex;
    }

    void enterRegion() {
        double first = 0;
        double last = -1;
        if (!bounds(region_, first, last)) first = 0, last = -1;
        i_ = static_cast<long long>(first);
        last_ = static_cast<long long>(last);
    }

    const detail::Numbering& numbering_;
    double interval_;
    double from_;
    double to_;
    std::size_t region_ = 0;
    bool active_ = false;
    long long i_ = 0;
    long long last_ = -1;
};

/// Length of a range end: the station's place, or for one that does not exist the break
/// that skips it (a second occurrence that does not exist: the first).
double rangeLength(const detail::Numbering& numbering, const std::optional<Station>& station,
                   double fallback) {
    if (!station) return fallback;
    if (const std::optional<double> length = numbering.lengthAt(*station)) return *length;
    return numbering.lengthAtOrGap(station->value);
}

}  // namespace

const char* keyPointCode(KeyPointType type) {
    switch (type) {
        case KeyPointType::Begin:
            return "BEGIN";
        case KeyPointType::End:
            return "END";
        case KeyPointType::Equation:
            return "EQ";
        case KeyPointType::TS:
            return "TS";
        case KeyPointType::SC:
            return "SC";
        case KeyPointType::MC:
            return "MC";
        case KeyPointType::CS:
            return "CS";
        case KeyPointType::ST:
            return "ST";
        case KeyPointType::PC:
            return "PC";
        case KeyPointType::PT:
            return "PT";
        case KeyPointType::BVC:
            return "BVC";
        case KeyPointType::PVI:
            return "PVI";
        case KeyPointType::EVC:
            return "EVC";
        case KeyPointType::HighPoint:
            return "HIGH";
        case KeyPointType::LowPoint:
            return "LOW";
    }
    return "";
}

std::vector<KeyPoint> Route::keyPoints(bool horizontal, bool vertical) const {
    std::vector<KeyPoint> points;
    points.push_back(makeKeyPoint(*this, 0.0, KeyPointType::Begin, ""));
    for (const EquationInfo& eq : equations()) {
        if (eq.length < 0 || eq.length > length()) continue;
        KeyPoint k = makeKeyPoint(*this, eq.length, KeyPointType::Equation, eq.equation.name);
        k.label = std::string("EQ ") +
                  formatStation({eq.equation.back, 1}, StationStyle::Plain, kLabelDecimals) +
                  " = " +
                  formatStation({eq.equation.ahead, 1}, StationStyle::Plain, kLabelDecimals);
        points.push_back(k);
    }
    if (horizontal) {
        for (const CurveInfo& c : curves()) addCurvePoints(*this, c, points);
    }
    if (vertical) {
        for (const VerticalCurveInfo& v : verticalCurves()) {
            if (v.hasCurve)
                points.push_back(makeKeyPoint(*this, v.startLength, KeyPointType::BVC, v.name));
            points.push_back(makeKeyPoint(*this, v.length, KeyPointType::PVI, v.name));
            if (v.extremeLength) {
                points.push_back(makeKeyPoint(
                    *this, *v.extremeLength,
                    v.crest ? KeyPointType::HighPoint : KeyPointType::LowPoint, v.name));
            }
            if (v.hasCurve)
                points.push_back(makeKeyPoint(*this, v.endLength, KeyPointType::EVC, v.name));
        }
    }
    points.push_back(makeKeyPoint(*this, length(), KeyPointType::End, ""));
    std::stable_sort(points.begin(), points.end(),
                     [](const KeyPoint& a, const KeyPoint& b) { return a.length < b.length; });
    return points;
}

void Route::forEachTableRow(const TableRequest& request,
                            const std::function<void(const TableRow&)>& row) const {
    const detail::Numbering& numbering = data_->numbering;
    const double from = std::max(0.0, rangeLength(numbering, request.from, 0.0));
    const double to = std::min(length(), rangeLength(numbering, request.to, length()));

    RoundStations round(numbering, request.interval, from, to);
    std::vector<KeyPoint> keys;
    for (KeyPoint& k : keyPoints(request.horizontalKeyPoints, request.verticalKeyPoints)) {
        if (k.length >= from - kRangeSlack && k.length <= to + kRangeSlack) {
            keys.push_back(std::move(k));
        }
    }
    std::vector<TableRow> extra;
    for (const Station& s : request.at) {
        if (const std::optional<double> length = numbering.lengthAt(s)) {
            extra.push_back(TableRow{*length, s, ""});
        }
    }
    std::stable_sort(extra.begin(), extra.end(),
                     [](const TableRow& a, const TableRow& b) { return a.length < b.length; });

    // Merge the three ordered sources; at equal lengths round stations come first, so that
    // the row at an equation shows the number of the region it ends.
    TableRow nextRound;
    bool haveRound = round.next(nextRound.length, nextRound.station);
    std::size_t key = 0;
    std::size_t at = 0;
    std::optional<TableRow> pending;
    const auto emit = [&pending, &row](TableRow candidate) {
        if (pending && std::fabs(candidate.length - pending->length) <= kRowMerge) {
            if (!candidate.label.empty()) {
                pending->label += (pending->label.empty() ? "" : " / ") + candidate.label;
            }
            return;
        }
        if (pending) row(*pending);
        pending = std::move(candidate);
    };
    for (;;) {
        const double roundLength = haveRound ? nextRound.length : HUGE_VAL;
        const double keyLength = key < keys.size() ? keys[key].length : HUGE_VAL;
        const double atLength = at < extra.size() ? extra[at].length : HUGE_VAL;
        if (!haveRound && key == keys.size() && at == extra.size()) break;
        if (haveRound && roundLength <= keyLength && roundLength <= atLength) {
            emit(nextRound);
            nextRound = TableRow{};
            haveRound = round.next(nextRound.length, nextRound.station);
        } else if (key < keys.size() && keyLength <= atLength) {
            emit(TableRow{keys[key].length, keys[key].station, keys[key].label});
            ++key;
        } else {
            emit(extra[at]);
            ++at;
        }
    }
    if (pending) row(*pending);
}

std::size_t Route::countTableRows(const TableRequest& request) const {
    const detail::Numbering& numbering = data_->numbering;
    const double from = std::max(0.0, rangeLength(numbering, request.from, 0.0));
    const double to = std::min(length(), rangeLength(numbering, request.to, length()));
    const double candidates =
        RoundStations(numbering, request.interval, from, to).count() +
        static_cast<double>(data_->curves.size() * kKeyPointsPerCurve +
                            data_->verticalCurves.size() * kKeyPointsPerVerticalCurve +
                            equations().size() + kRouteEnds + request.at.size());
    if (candidates > kExactCountLimit) {
        constexpr double kMaxCount = 1.8e19;  // below the largest std::size_t
        return static_cast<std::size_t>(std::min(candidates, kMaxCount));
    }
    std::size_t n = 0;
    forEachTableRow(request, [&n](const TableRow&) { ++n; });
    return n;
}

}  // namespace qv::route
