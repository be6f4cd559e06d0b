// Internal declarations of the profile subsystem: the kind codes, concavity signs and
// status values of the vertical-profile conversion.
#pragma once

#include "qv_roadCurveCalculation_alg.h"

namespace rcc {

/// curveType of a profile piece: a grade line, and the first and second half of a
/// parabolic vertical curve (the half that leaves the incoming grade line, and the half
/// that joins the outgoing one).
constexpr int kGradeLinePiece = 0;
constexpr int kFirstHalfPiece = 5;
constexpr int kSecondHalfPiece = 6;

/// concavity of a vertical curve: a crest bends below its grade lines, a sag above them.
/// A grade line carries kNoConcavity.
constexpr int kCrest = -1;
constexpr int kSag = 1;
constexpr int kNoConcavity = 0;

/// pointType of the grade-change points that open and close a profile.
constexpr int kProfileEndPoint = 0;
/// pointType written for a grade change between them (any other value would do).
constexpr int kProfileGradeChange = 1;

/// Status of the conversion: done (or nothing to do), and refused with nothing changed
/// (no points, or a first point that does not open the profile).
constexpr int kConversionDone = 0;
constexpr int kConversionRefused = -1;

/// Elevation of one profile piece at distance `along` from its start: the grade line, plus
/// the parabola's offset c*d^2/(2R) measured from the end that touches the grade line.
/// Shared by the chainage query and the route layer, which must agree bit for bit.
inline double pieceElevation(const RoadVerticalCurve& piece, double along) {
    double z = piece.grade * along + piece.startElevation;
    if (piece.curveType == kFirstHalfPiece) {
        z = z + piece.concavity * (along * along / (piece.radius * 2.0));
    } else if (piece.curveType == kSecondHalfPiece) {
        const double toEnd = piece.length - along;
        z = z + piece.concavity * (toEnd * toEnd / (piece.radius * 2.0));
    }
    return z;
}

}  // namespace rcc
