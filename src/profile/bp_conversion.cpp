// Grade-change points to vertical profile: the grade lines between the points and the
// parabolic vertical curve that rounds off each change of grade, laid along the route
// across its broken chains.
#include "chainage/chainage.hpp"
#include "profile/profile.hpp"
#include "qv_roadCurveCalculation_alg.h"

#include <cmath>
#include <cstddef>
#include <string>
#include <utility>

namespace {

// Where the profile has been laid to so far: chainage text (mark included) and the
// elevation of the grade line there. Held by value, never as a reference into the list
// of pieces, which reallocates as pieces are appended.
struct RunningPosition {
    std::string dk;
    double elevation;
};

// One piece laid forward from `from` over `length` along the route; its end chainage is
// walked through the broken chains, and its end elevation is the grade line's, so the
// parabola's offset of a curve half is not included (the query adds it).
RoadVerticalCurve layPiece(const RoadCurvesCalculation& route, const RunningPosition& from,
                           double length, double grade, double radius, int curveType,
                           int concavity) {
    RoadVerticalCurve piece;
    piece.startDK = from.dk;
    piece.endDK = route.calculateDKfromLength(from.dk, length);
    piece.startElevation = from.elevation;
    piece.endElevation = grade * length + from.elevation;
    piece.length = length;
    piece.grade = grade;
    piece.radius = radius;
    piece.curveType = curveType;
    piece.concavity = concavity;
    return piece;
}

}  // namespace

int RoadCurvesCalculation::convertBPPointsToVerticalCurves(double& grade1, double& grade2,
                                                           double& tangentLength,
                                                           double& externalDistance) {
    if (bpPoints.empty() || bpPoints.front().pointType != rcc::kProfileEndPoint) {
        return rcc::kConversionRefused;
    }

    // Which three points, and where laying starts. The first conversion starts at the
    // first point exactly as the host wrote it; a continuing one at the end of the last
    // piece. Without pieces the first three points are taken even when more were added,
    // so a piece that is not there is never read.
    constexpr std::size_t kPointsPerConversion = 3;
    const std::size_t count = bpPoints.size();
    std::size_t first = 0;
    RunningPosition running;
    const bool firstConversion = verticalCurves.empty() && count >= kPointsPerConversion;
    if (firstConversion) {
        running = {bpPoints.front().dk, bpPoints.front().elevation};
    } else if (count > kPointsPerConversion) {
        first = count - kPointsPerConversion;
        running = {verticalCurves.back().endDK, verticalCurves.back().endElevation};
    } else {
        return rcc::kConversionDone;
    }
    const RoadVerticalCurvePoint& p1 = bpPoints[first];
    const RoadVerticalCurvePoint& p2 = bpPoints[first + 1];
    const RoadVerticalCurvePoint& p3 = bpPoints[first + 2];

    // Both grade-line lengths are measured before anything is written, so unreadable
    // chainage text in any of the three points leaves the object and the caller untouched.
    const double length1 = calculateLengthBetween2DKs(p1.dk, p2.dk);
    const double length2 = calculateLengthBetween2DKs(p2.dk, p3.dk);

    // Grades are rise over run; w is the change of grade at the middle point. The curve
    // y = s*d^2/(2R) against its tangents has tangent length T = |w|R/2 and lies E = T^2/(2R)
    // off the grade lines' intersection (below for a crest, above for a sag).
    const double gradeIn = (p2.elevation - p1.elevation) / length1;
    const double gradeOut = (p3.elevation - p2.elevation) / length2;
    const double gradeChange = gradeOut - gradeIn;
    const int concavity = gradeChange < 0.0 ? rcc::kCrest : rcc::kSag;
    const double radius = p2.radius;
    const double curveSpan = std::fabs(gradeChange) * radius;  // 2T; NaN or <= 0: no curve
    const double tangent = curveSpan * 0.5;
    grade1 = gradeIn;
    grade2 = gradeOut;
    tangentLength = tangent;
    externalDistance = (tangent * tangent) / (radius + radius);

    const auto append = [this, &running](RoadVerticalCurve piece) {
        running = {piece.endDK, piece.endElevation};
        verticalCurves.push_back(std::move(piece));
        piecesAppended(verticalCurves.size() - 1);
    };

    // Leading grade line, up to T before the middle point. It is measured from the
    // running position (the first point itself on a first conversion, whose length is
    // known), which may already lie within T of the middle point: then nothing is laid
    // here and the curve below starts at the running position, off centre.
    const double toMiddle =
        firstConversion ? length1 : calculateLengthBetween2DKs(running.dk, p2.dk);
    const double leading = toMiddle - tangent;
    if (leading > 0.0) {
        append(layPiece(*this, running, leading, gradeIn, 0.0, rcc::kGradeLinePiece,
                        rcc::kNoConcavity));
    }

    // The two halves of the vertical curve, each T long along the route.
    if (curveSpan > 0.0) {
        append(layPiece(*this, running, tangent, gradeIn, radius, rcc::kFirstHalfPiece, concavity));
        append(
            layPiece(*this, running, tangent, gradeOut, radius, rcc::kSecondHalfPiece, concavity));
    }

    // Closing grade line when the newest point ends the profile; none when the curve has
    // already run past that point.
    if (p3.pointType == rcc::kProfileEndPoint) {
        const double closing = calculateLengthBetween2DKs(running.dk, p3.dk);
        if (closing > 0.0) {
            append(layPiece(*this, running, closing, gradeOut, 0.0, rcc::kGradeLinePiece,
                            rcc::kNoConcavity));
        }
    }
    return rcc::kConversionDone;
}
