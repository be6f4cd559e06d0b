// RoadCurvesCalculation lifecycle, list access, the derived data kept beside the lists and the
// chainage conversions that it passes to its broken chains.
#include "alignment/alignment.hpp"
#include "qv_roadCurveCalculation_alg.h"

#include <string>
#include <utility>

RoadCurvesCalculation::RoadCurvesCalculation() : tolerance(rcc::kProjectionTolerance) {}

RoadCurvesCalculation::RoadCurvesCalculation(const RoadCurvesCalculation& other) = default;

RoadCurvesCalculation::RoadCurvesCalculation(RoadCurvesCalculation&& other) noexcept
    : elements(std::move(other.elements)),
      jdPoints(std::move(other.jdPoints)),
      bpPoints(std::move(other.bpPoints)),
      verticalCurves(std::move(other.verticalCurves)),
      brokenChains(std::move(other.brokenChains)),
      tolerance(other.tolerance),
      elementKeys(std::move(other.elementKeys)),
      elementRuns(std::move(other.elementRuns)),
      pieceKeys(std::move(other.pieceKeys)),
      pieceRuns(std::move(other.pieceRuns)) {
    // A moved-from vector is only "valid but unspecified"; the interface promises empty lists.
    other.elements.clear();
    other.jdPoints.clear();
    other.bpPoints.clear();
    other.verticalCurves.clear();
    other.elementKeys.clear();
    other.elementRuns.clear();
    other.pieceKeys.clear();
    other.pieceRuns.clear();
}

RoadCurvesCalculation& RoadCurvesCalculation::operator=(const RoadCurvesCalculation& other) {
    if (this != &other) {
        elements = other.elements;
        jdPoints = other.jdPoints;
        bpPoints = other.bpPoints;
        verticalCurves = other.verticalCurves;
        brokenChains = other.brokenChains;
        elementKeys = other.elementKeys;
        elementRuns = other.elementRuns;
        pieceKeys = other.pieceKeys;
        pieceRuns = other.pieceRuns;
    }
    tolerance = other.tolerance;
    return *this;
}

namespace {

// Releases `target`'s records and storage, then takes over `source`'s, leaving it empty.
template <typename T>
void takeOver(std::vector<T>& target, std::vector<T>& source) noexcept {
    std::vector<T>().swap(target);
    target.swap(source);
}

}  // namespace

RoadCurvesCalculation& RoadCurvesCalculation::operator=(RoadCurvesCalculation&& other) noexcept {
    // std::vector's own move assignment would empty an object moved onto itself.
    if (this != &other) {
        takeOver(elements, other.elements);
        takeOver(jdPoints, other.jdPoints);
        takeOver(bpPoints, other.bpPoints);
        takeOver(verticalCurves, other.verticalCurves);
        brokenChains = std::move(other.brokenChains);
        takeOver(elementKeys, other.elementKeys);
        takeOver(elementRuns, other.elementRuns);
        takeOver(pieceKeys, other.pieceKeys);
        takeOver(pieceRuns, other.pieceRuns);
    }
    tolerance = other.tolerance;
    return *this;
}

RoadCurvesCalculation::~RoadCurvesCalculation() = default;

void RoadCurvesCalculation::addRoadCurves(RoadCurve curve) {
    elements.push_back(curve);
    elementsAppended(elements.size() - 1);
}

void RoadCurvesCalculation::elementsAppended(std::size_t first) {
    for (std::size_t i = first; i < elements.size(); ++i) {
        const RoadCurve& element = elements[i];
        // The query measures from the start's six-decimal text, mark included.
        const std::string startText = rcc::formatDK(element.startDK);
        elementKeys.push_back({rcc::readDK(startText), rcc::PreparedCurve(element)});
        if (i == 0 || !rcc::continuesRun(elements[i - 1].startDK, elements[i - 1].endDK,
                                         element.startDK, element.endDK)) {
            elementRuns.push_back(i);
        }
    }
}

void RoadCurvesCalculation::piecesAppended(std::size_t first) {
    for (std::size_t i = first; i < verticalCurves.size(); ++i) {
        // Both texts were read when the piece was laid, so reading them again cannot throw.
        const RoadVerticalCurve& piece = verticalCurves[i];
        const PieceKey key{rcc::readDK(piece.startDK), rcc::parseDKText(piece.endDK)};
        if (i == 0 || !rcc::continuesRun(pieceKeys.back().start.value, pieceKeys.back().endValue,
                                         key.start.value, key.endValue)) {
            pieceRuns.push_back(i);
        }
        pieceKeys.push_back(key);
    }
}

std::vector<RoadCurve> RoadCurvesCalculation::getRoadCruves() const { return elements; }

void RoadCurvesCalculation::setBrokenChainSet(BrokenChainSet chainSet) {
    brokenChains = std::move(chainSet);
}

void RoadCurvesCalculation::addJDPoint(JDPoint point) { jdPoints.push_back(point); }

void RoadCurvesCalculation::addBPPoint(RoadVerticalCurvePoint point) {
    bpPoints.push_back(std::move(point));
}

std::vector<RoadVerticalCurve> RoadCurvesCalculation::getVerticalCurves() const {
    return verticalCurves;
}

std::string RoadCurvesCalculation::calculateDKfromLength(std::string dk, double length) const {
    return brokenChains.calculateDKfromLength(std::move(dk), length);
}

double RoadCurvesCalculation::calculateDKfromLength(double dk, double length) const {
    return brokenChains.calculateDKfromLength(dk, length);
}

double RoadCurvesCalculation::calculateLengthBetween2DKs(double dk1, double dk2) const {
    return brokenChains.calculateLengthBetween2DKs(dk1, dk2);
}

double RoadCurvesCalculation::calculateLengthBetween2DKs(std::string dk1, std::string dk2) const {
    return brokenChains.calculateLengthBetween2DKs(std::move(dk1), std::move(dk2));
}
