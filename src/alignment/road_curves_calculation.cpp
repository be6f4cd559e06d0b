// RoadCurvesCalculation lifecycle, list access and the chainage conversions that it passes
// to its broken chains.
#include "alignment/alignment.hpp"
#include "qv_roadCurveCalculation_alg.h"

#include <utility>

RoadCurvesCalculation::RoadCurvesCalculation() : tolerance(rcc::kProjectionTolerance) {}

RoadCurvesCalculation::RoadCurvesCalculation(const RoadCurvesCalculation& other) = default;

RoadCurvesCalculation::RoadCurvesCalculation(RoadCurvesCalculation&& other) noexcept
    : elements(std::move(other.elements)),
      jdPoints(std::move(other.jdPoints)),
      bpPoints(std::move(other.bpPoints)),
      verticalCurves(std::move(other.verticalCurves)),
      brokenChains(std::move(other.brokenChains)),
      tolerance(other.tolerance) {}

RoadCurvesCalculation& RoadCurvesCalculation::operator=(const RoadCurvesCalculation& other) {
    if (this != &other) {
        elements = other.elements;
        jdPoints = other.jdPoints;
        bpPoints = other.bpPoints;
        verticalCurves = other.verticalCurves;
        brokenChains = other.brokenChains;
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
    }
    tolerance = other.tolerance;
    return *this;
}

RoadCurvesCalculation::~RoadCurvesCalculation() = default;

void RoadCurvesCalculation::addRoadCurves(RoadCurve curve) { elements.push_back(curve); }

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
