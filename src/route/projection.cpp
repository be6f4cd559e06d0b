// Projection of plane points onto a route's elements: a box hierarchy over short stretches of
// the elements, roots of the along-tangent component on each stretch, refined on the
// library's own evaluation so that a foot is the evaluated point nearest the normal.
#include "route/projection.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace qv::route::detail {

namespace {

/// Largest bearing change (radians) across one chunk of a curved element: keeps each chunk
/// within (l / 2) sin(turn) of its chord, so its box is tight, and most points on either
/// side have at most one foot in it.
constexpr double kChunkTurn = 0.25;
/// Most chunks one element is cut into: a bounded effort for absurd curvatures, whose
/// chunks then get the cruder box of half their length around the ends.
constexpr double kMaxChunksPerElement = 1024;
/// How often a stretch whose along-tangent component may have several roots is halved
/// (32 pieces per chunk at most: only points near a centre of curvature need them).
constexpr int kMaxSplitDepth = 5;
/// Stretches shorter than this many integration steps are not halved: their evaluated
/// points are too few to hold separate feet.
constexpr double kMinSplitSteps = 4;
/// Bisection alone halves a chunk below one integration step well within this many steps.
constexpr int kMaxRefineSteps = 80;
/// Steps the answer may move, one integration step at a time, to the evaluated point nearest
/// the given point (one or two in practice).
constexpr int kMaxPolishSteps = 8;
/// A Newton answer within this many steps of its step's middle is taken as that step's point
/// without evaluating again; nearer the step's ends the evaluation is asked at the middle.
constexpr double kStepMiddleSlack = 0.4;
/// Slack (length units) added to every box for the round-off of the evaluation.
constexpr double kBoxMargin = 1e-6;
/// Two feet closer than this many integration steps along the route, with distances as
/// close, are one foot found twice (on both sides of a junction or a chunk end).
constexpr double kMergeSteps = 4;

/// The evaluation of element i at s seen from the point (px, py): f is the component of
/// P - C(s) along the tangent, d the component along the normal (bearing + pi/2).
struct Sample {
    double s;
    double x;
    double y;
    double bearing;
    double f;
    double d;
};

/// The sample of the point (x, y) with tangent (tx, ty) at s.
Sample sampleOf(double x, double y, double bearing, double tx, double ty, double s, double px,
                double py) {
    const double dx = px - x, dy = py - y;
    return {s, x, y, bearing, dx * tx + dy * ty, dy * tx - dx * ty};
}

Sample sampleAt(const ElementTable& table, std::size_t i, double s, double px, double py) {
    const rcc::CurvePoint c = table.at(i, s);
    return sampleOf(c.x, c.y, c.bearing, std::cos(c.bearing), std::sin(c.bearing), s, px, py);
}

LengthFoot footAt(const ElementTable& table, std::size_t i, const Sample& at) {
    LengthFoot foot;
    foot.place = FootPlace::OnRoute;
    foot.length = table.start(i) + at.s;
    foot.offset = at.d;
    foot.distance = std::abs(at.d);
    foot.x = at.x;
    foot.y = at.y;
    foot.element = i;
    return foot;
}

bool isLine(const RoadCurve& e) { return e.curveType == static_cast<int>(ElementKind::Line); }

/// Step of the element's evaluation: the piecewise-constant grain of its points.
double stepOf(const RoadCurve& e) {
    return std::isfinite(e.integrationStep) && e.integrationStep > 0 ? e.integrationStep
                                                                     : rcc::kIntegrationStep;
}

bool finitePoint(const rcc::CurvePoint& c) {
    return std::isfinite(c.x) && std::isfinite(c.y) && std::isfinite(c.bearing);
}

bool better(const LengthFoot& a, const LengthFoot& b) {
    if (a.distance != b.distance) return a.distance < b.distance;
    return a.length < b.length;
}

double boxDistance(double minX, double minY, double maxX, double maxY, double x, double y) {
    const double dx = std::max({minX - x, 0.0, x - maxX});
    const double dy = std::max({minY - y, 0.0, y - maxY});
    const double squared = dx * dx + dy * dy;
    return std::isfinite(squared) ? std::sqrt(squared) : std::hypot(dx, dy);  // hypot: slow
}

/// Whether the along-tangent component f has at most one root on [a.s, b.s]: f' = -1 + k d
/// (k the signed curvature, d the normal component), so f falls strictly while k d < 1.
/// d is bounded from the sample at a: the normal turns by at most `turn` over the stretch
/// and the curve leaves the tangent by at most its length l times sin(turn).
bool singleRoot(const ElementTable& table, std::size_t i, const Sample& a, const Sample& b,
                double px, double py) {
    const double step = stepOf(table.elements()[i]);
    const double ka = table.curvature(i, a.s), kb = table.curvature(i, b.s);
    const double l = b.s - a.s + 2 * step;
    const double turn = std::max(std::abs(ka), std::abs(kb)) * l;
    const double spread = std::hypot(px - a.x, py - a.y) * turn + l * std::min(1.0, turn);
    const double dLo = a.d - spread, dHi = a.d + spread;
    const double worst = std::max({ka * dLo, ka * dHi, kb * dLo, kb * dHi});
    return worst < 1;
}

/// The root of f between two samples of opposite sign, on the library's evaluation: Newton
/// steps (f' = -1 + k d) kept inside the bracket, bisection otherwise, until a step is
/// shorter than one integration step; then the answer settles on the middle of the
/// integration step whose evaluated point lies nearest the given point.
Sample refine(const ElementTable& table, std::size_t i, Sample a, Sample b, double px, double py) {
    const RoadCurve& e = table.elements()[i];
    const double h = stepOf(e);
    const bool aPositive = a.f > 0;
    Sample m = std::abs(a.f) <= std::abs(b.f) ? a : b;
    double s = a.s + (b.s - a.s) * a.f / (a.f - b.f);
    for (int k = 0; k < kMaxRefineSteps && b.s - a.s > h; ++k) {
        if (!(s > a.s && s < b.s)) s = 0.5 * (a.s + b.s);
        m = sampleAt(table, i, s, px, py);
        ((m.f > 0) == aPositive ? a : b) = m;
        const double next = s - m.f / (-1 + table.curvature(i, s) * m.d);
        if (std::abs(next - s) < h) break;
        s = next;
    }
    // The evaluation is constant over each step [n h, (n + 1) h): name each step by its
    // middle, away from the ends where the repeated addition of steps decides.
    const auto stepMiddle = [&](double at) {
        return std::clamp((std::floor(at / h) + 0.5) * h, 0.0, e.length);
    };
    Sample best = m;
    best.s = stepMiddle(m.s);
    if (std::abs(best.s - m.s) > kStepMiddleSlack * h) best = sampleAt(table, i, best.s, px, py);

    // The reported bearing is that of the step into the point, so the point nearest the
    // normal may be a step away from the point nearest the given point. Walk to it (to the
    // farthest where f rises through a farthest point) over the neighbours, which follow
    // from the point and its bearing: the step into it, and the next step turned by the
    // curvature at that step's start.
    const bool nearestWanted = aPositive;
    const auto squared = [&](double x, double y) {
        return (px - x) * (px - x) + (py - y) * (py - y);
    };
    bool moved = false;
    for (int k = 0; k < kMaxPolishSteps; ++k) {
        const double here = squared(best.x, best.y);
        const double back = best.bearing - table.curvature(i, best.s - 0.5 * h) * h;
        const double ahead = best.bearing + table.curvature(i, best.s + 0.5 * h) * h;
        const Sample before{best.s - h,
                            best.x - h * std::cos(best.bearing),
                            best.y - h * std::sin(best.bearing),
                            back,
                            0,
                            0};
        const Sample after{
            best.s + h, best.x + h * std::cos(ahead), best.y + h * std::sin(ahead), ahead, 0, 0};
        const auto wins = [&](const Sample& n) {
            if (n.s < 0 || n.s > e.length) return false;
            const double there = squared(n.x, n.y);
            return nearestWanted ? there < here : there > here;
        };
        if (wins(before)) {
            best = before;
        } else if (wins(after)) {
            best = after;
        } else {
            break;
        }
        moved = true;
    }
    return moved ? sampleAt(table, i, stepMiddle(best.s), px, py) : best;
}

/// Roots of f on [a.s, b.s], halving stretches that may hold several.
void piecewiseRoots(const ElementTable& table, std::size_t i, const Sample& a, const Sample& b,
                    double px, double py, int depth, std::vector<LengthFoot>& out) {
    const double step = stepOf(table.elements()[i]);
    if (depth < kMaxSplitDepth && b.s - a.s > kMinSplitSteps * step &&
        !singleRoot(table, i, a, b, px, py)) {
        const Sample m = sampleAt(table, i, 0.5 * (a.s + b.s), px, py);
        piecewiseRoots(table, i, a, m, px, py, depth + 1, out);
        piecewiseRoots(table, i, m, b, px, py, depth + 1, out);
        return;
    }
    if ((a.f > 0) != (b.f > 0)) out.push_back(footAt(table, i, refine(table, i, a, b, px, py)));
}

/// The first evaluated point of element i as the foot of a point with no normal foot near
/// it (a corner): the plane distance, signed by the side. On a curve the point is given, as
/// every point of a curve, at the middle of its evaluation step.
LengthFoot cornerAt(const ElementTable& table, std::size_t i, Sample at) {
    const RoadCurve& e = table.elements()[i];
    at.s = isLine(e) ? 0.0 : std::min(0.5 * stepOf(e), e.length);
    LengthFoot foot = footAt(table, i, at);
    foot.distance = std::hypot(at.f, at.d);
    foot.offset = at.d < 0 ? -foot.distance : foot.distance;
    return foot;
}

}  // namespace

ProjectionIndex::ProjectionIndex(const ElementTable& table) : table_(&table) {
    const std::size_t n = table.size();
    std::vector<bool> usable(n, false);
    for (std::size_t i = 0; i < n; ++i) {
        const RoadCurve& e = table.elements()[i];
        usable[i] = std::isfinite(e.length) && e.length > 0 && std::isfinite(table.start(i)) &&
                    finitePoint(table.at(i, 0)) && finitePoint(table.at(i, e.length));
    }
    nextElement_.assign(n, n);
    startPoint_.assign(n, Anchor{0, 0, 0, 1, 0});
    std::size_t next = n;
    for (std::size_t i = n; i-- > 0;) {
        nextElement_[i] = next;
        if (usable[i]) next = i;
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (!usable[i]) continue;
        if (!usable_) first_ = i;
        usable_ = true;
        last_ = i;
    }

    for (std::size_t i = 0; i < n; ++i) {
        if (!usable[i]) continue;
        const RoadCurve& e = table.elements()[i];
        const double step = stepOf(e);
        const double curvature = isLine(e) ? 0.0
                                           : std::max(std::abs(table.curvature(i, 0)),
                                                      std::abs(table.curvature(i, e.length)));
        const double wanted = std::ceil(curvature * e.length / kChunkTurn);
        const double count = std::isfinite(wanted) ? std::clamp(wanted, 1.0, kMaxChunksPerElement)
                                                   : kMaxChunksPerElement;
        const auto pieces = static_cast<std::size_t>(count);
        const auto anchor = [](const rcc::CurvePoint& c) {
            return Anchor{c.x, c.y, c.bearing, std::cos(c.bearing), std::sin(c.bearing)};
        };
        Anchor from = anchor(table.at(i, 0));
        startPoint_[i] = from;
        for (std::size_t k = 0; k < pieces; ++k) {
            const double a = e.length * static_cast<double>(k) / count;
            const double b =
                k + 1 == pieces ? e.length : e.length * static_cast<double>(k + 1) / count;
            const Anchor to = anchor(table.at(i, b));
            // The evaluated points between a and b are sums of steps whose bearings spread by
            // at most `turn`; each lies within (l / 2) sin(turn) of the chord between the end
            // points (l / 2 of an end once the spread passes a right angle).
            const double l = b - a + 2 * step;
            const double turn = curvature * l;
            const double grow =
                (turn < rcc::kHalfPi ? 0.5 * l * std::sin(turn) : 0.5 * l) + kBoxMargin;
            const Box box{std::min(from.x, to.x) - grow, std::min(from.y, to.y) - grow,
                          std::max(from.x, to.x) + grow, std::max(from.y, to.y) + grow};
            chunks_.push_back({i, a, b, from, to, box, k + 1 == pieces, i == first_ && k == 0});
            from = to;
        }
    }
    // The junction checked in an element's last chunk may answer with the next element's
    // first point, so the box holds it too (the same point but for a step, unless a gap).
    for (Chunk& c : chunks_) {
        const std::size_t j = nextElement_[c.element];
        if (!c.endsElement || j >= n) continue;
        c.box = {std::min(c.box.minX, startPoint_[j].x), std::min(c.box.minY, startPoint_[j].y),
                 std::max(c.box.maxX, startPoint_[j].x), std::max(c.box.maxY, startPoint_[j].y)};
    }
    if (!chunks_.empty()) {
        nodes_.reserve(2 * chunks_.size());
        build(0, chunks_.size());
    }
}

std::size_t ProjectionIndex::build(std::size_t begin, std::size_t end) {
    const std::size_t index = nodes_.size();
    nodes_.push_back({});
    if (end - begin == 1) {
        nodes_[index].box = chunks_[begin].box;
        nodes_[index].chunk = begin;
        return index;
    }
    // Chunks in route order lie along a curve, so halving the order keeps boxes compact.
    const std::size_t middle = begin + (end - begin) / 2;
    const std::size_t left = build(begin, middle);
    const std::size_t right = build(middle, end);
    const Box l = nodes_[left].box;
    const Box r = nodes_[right].box;
    nodes_[index].box = {std::min(l.minX, r.minX), std::min(l.minY, r.minY),
                         std::max(l.maxX, r.maxX), std::max(l.maxY, r.maxY)};
    nodes_[index].left = left;
    nodes_[index].right = right;
    return index;
}

void ProjectionIndex::chunkFeet(const Chunk& chunk, double x, double y,
                                std::vector<LengthFoot>& out) const {
    const ElementTable& table = *table_;
    const std::size_t i = chunk.element;
    const RoadCurve& e = table.elements()[i];
    const auto sample = [&](const Anchor& p, double s) {
        return sampleOf(p.x, p.y, p.bearing, p.cos, p.sin, s, x, y);
    };
    const Sample a = sample(chunk.fromPoint, chunk.from);
    const Sample b = sample(chunk.toPoint, chunk.to);
    if (isLine(e)) {
        // Closed form: the foot lies a.f along the straight from its start.
        if (a.f >= 0 && a.f <= e.length)
            out.push_back(footAt(table, i, sampleAt(table, i, a.f, x, y)));
    } else {
        piecewiseRoots(table, i, a, b, x, y, 0, out);
    }
    if (chunk.startsRoute && !isLine(e)) {
        // The evaluation at 0 already lies one step in: a point just ahead of the start
        // normal may fall between the start tangent and that first point.
        const double toStart =
            (x - e.startX) * std::cos(e.startBearing) + (y - e.startY) * std::sin(e.startBearing);
        if (toStart >= 0 && a.f <= 0) out.push_back(cornerAt(table, i, a));
    }
    const std::size_t j = nextElement_[i];
    if (chunk.endsElement && j < table.size()) {
        const Sample start = sample(startPoint_[j], 0);
        if (b.f > 0 && start.f <= 0) {
            // Beyond the end normal of one element and before the start normal of the next:
            // the junction, from whichever side lies nearer (they differ across a gap).
            const LengthFoot ahead = cornerAt(table, j, start);
            LengthFoot behind = footAt(table, i, b);
            behind.distance = std::hypot(b.f, b.d);
            behind.offset = b.d < 0 ? -behind.distance : behind.distance;
            out.push_back(behind.distance < ahead.distance ? behind : ahead);
        }
    }
}

void ProjectionIndex::endFeet(double x, double y, std::vector<LengthFoot>& out) const {
    const ElementTable& table = *table_;
    // Before the start: on the first element's start tangent, from its stored start point.
    const RoadCurve& e = table.elements()[first_];
    const double tx = std::cos(e.startBearing), ty = std::sin(e.startBearing);
    const double f = (x - e.startX) * tx + (y - e.startY) * ty;
    // Within half an integration step of an end's normal the point is at that end: the
    // evaluation cannot tell it apart, and round-off must not push it off the route.
    const double slack = 0.5 * stepOf(e);
    const Anchor& s0 = startPoint_[first_];
    const Sample start = sampleOf(s0.x, s0.y, s0.bearing, s0.cos, s0.sin, 0, x, y);
    if (f < 0 && f >= -slack) out.push_back(cornerAt(table, first_, start));
    if (f < -slack) {
        LengthFoot foot;
        foot.place = FootPlace::BeforeStart;
        foot.length = table.start(first_) + f;
        foot.offset = (y - e.startY) * tx - (x - e.startX) * ty;
        foot.distance = std::abs(foot.offset);
        foot.x = e.startX + f * tx;
        foot.y = e.startY + f * ty;
        foot.element = first_;
        out.push_back(foot);
    }
    // Beyond the end: on the tangent of the last element's evaluated end.
    const RoadCurve& l = table.elements()[last_];
    const Anchor& e1 = chunks_.back().toPoint;
    const Sample end = sampleOf(e1.x, e1.y, e1.bearing, e1.cos, e1.sin, l.length, x, y);
    if (end.f > 0 && end.f <= 0.5 * stepOf(l)) {
        LengthFoot foot = footAt(table, last_, end);
        foot.distance = std::hypot(end.f, end.d);
        out.push_back(foot);
    }
    if (end.f > 0.5 * stepOf(l)) {
        LengthFoot foot;
        foot.place = FootPlace::BeyondEnd;
        foot.length = table.start(last_) + l.length + end.f;
        foot.offset = end.d;
        foot.distance = std::abs(end.d);
        foot.x = end.x + end.f * std::cos(end.bearing);
        foot.y = end.y + end.f * std::sin(end.bearing);
        foot.element = last_;
        out.push_back(foot);
    }
}

std::vector<LengthFoot> ProjectionIndex::feet(double x, double y, double maxOffset) const {
    std::vector<LengthFoot> found;
    if (!std::isfinite(x) || !std::isfinite(y) || !usable_ || !(maxOffset >= 0)) return found;
    endFeet(x, y, found);
    std::vector<std::size_t> stack{0};
    while (!stack.empty()) {
        const Node& node = nodes_[stack.back()];
        stack.pop_back();
        const Box& b = node.box;
        if (boxDistance(b.minX, b.minY, b.maxX, b.maxY, x, y) > maxOffset) continue;
        if (node.left == 0) {
            chunkFeet(chunks_[node.chunk], x, y, found);
        } else {
            stack.push_back(node.right);
            stack.push_back(node.left);
        }
    }
    found.erase(std::remove_if(found.begin(), found.end(),
                               [&](const LengthFoot& f) { return !(f.distance <= maxOffset); }),
                found.end());
    // One foot seen from both sides of a junction or chunk end: keep the nearer.
    std::sort(found.begin(), found.end(),
              [](const LengthFoot& a, const LengthFoot& b) { return a.length < b.length; });
    std::vector<LengthFoot> merged;
    for (const LengthFoot& foot : found) {
        if (!merged.empty()) {
            LengthFoot& kept = merged.back();
            const double grain = kMergeSteps * std::max(stepOf(table_->elements()[kept.element]),
                                                        stepOf(table_->elements()[foot.element]));
            if (foot.length - kept.length <= grain &&
                std::abs(foot.distance - kept.distance) <= grain) {
                if (better(foot, kept)) kept = foot;
                continue;
            }
        }
        merged.push_back(foot);
    }
    std::sort(merged.begin(), merged.end(), better);
    return merged;
}

LengthFoot ProjectionIndex::nearest(double x, double y, double maxOffset) const {
    LengthFoot best;
    if (!std::isfinite(x) || !std::isfinite(y)) {
        best.place = FootPlace::Invalid;
        return best;
    }
    best.place = FootPlace::None;
    if (!usable_ || !(maxOffset >= 0)) return best;
    best.distance = std::numeric_limits<double>::infinity();
    std::vector<LengthFoot> found;
    endFeet(x, y, found);
    for (const LengthFoot& f : found)
        if (better(f, best)) best = f;
    // Best first: always open the node whose box lies nearest; stop once no box can hold
    // anything nearer than the best foot so far.
    using Entry = std::pair<double, std::size_t>;
    std::vector<Entry> heap;
    const auto nearer = [](const Entry& a, const Entry& b) { return a.first > b.first; };
    const auto push = [&](std::size_t index) {
        const Box& b = nodes_[index].box;
        heap.emplace_back(boxDistance(b.minX, b.minY, b.maxX, b.maxY, x, y), index);
        std::push_heap(heap.begin(), heap.end(), nearer);
    };
    push(0);
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end(), nearer);
        const auto [bound, index] = heap.back();
        heap.pop_back();
        if (bound > best.distance || bound > maxOffset) break;
        const Node& node = nodes_[index];
        if (node.left == 0) {
            found.clear();
            chunkFeet(chunks_[node.chunk], x, y, found);
            for (const LengthFoot& f : found)
                if (better(f, best)) best = f;
        } else {
            push(node.left);
            push(node.right);
        }
    }
    if (!(best.distance <= maxOffset)) {
        LengthFoot none;
        none.place = FootPlace::None;
        return none;
    }
    return best;
}

}  // namespace qv::route::detail
