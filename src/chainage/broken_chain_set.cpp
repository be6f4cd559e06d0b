// BrokenChainSet: chainage reached after a length, and length between two chainages,
// across short chains (numbers skipped) and long chains (numbers repeated).
#include "chainage/chainage.hpp"
#include "qv_roadCurveCalculation_alg.h"

#include <cmath>
#include <utility>

namespace {

double gapOf(const BrokenChain& chain) { return std::fabs(chain.afterDK - chain.beforeDK); }

}  // namespace

namespace rcc {

double lengthBetween(const std::vector<BrokenChain>& chains, DKValue from, DKValue to) {
    double length = to.value - from.value;
    if (length < 0 && !to.marked) return rcc::kLengthBeforeStart;
    for (const BrokenChain& chain : chains) {
        const double gap = gapOf(chain);
        if (chain.type == rcc::kShortChainType) {
            if (chain.beforeDK >= from.value && to.value >= chain.afterDK) length -= gap;
        } else if (to.value > chain.beforeDK) {
            // The end lies past the repeated stretch: it was travelled twice.
            if (chain.beforeDK > from.value && !from.marked) length += gap;
        } else if (to.value >= chain.afterDK && to.marked && !from.marked) {
            // The end is the second occurrence of a repeated number.
            length += gap;
        }
    }
    return length;
}

}  // namespace rcc

BrokenChainSet::BrokenChainSet() = default;
BrokenChainSet::BrokenChainSet(const BrokenChainSet& other) = default;
BrokenChainSet::BrokenChainSet(BrokenChainSet&& other) noexcept : chains(std::move(other.chains)) {
    other.chains.clear();
}
BrokenChainSet& BrokenChainSet::operator=(const BrokenChainSet& other) = default;
BrokenChainSet& BrokenChainSet::operator=(BrokenChainSet&& other) noexcept {
    // std::vector's move assignment empties a vector moved onto itself; guard against it.
    if (this != &other) {
        chains = std::move(other.chains);
        other.chains.clear();
    }
    return *this;
}
BrokenChainSet::~BrokenChainSet() = default;

void BrokenChainSet::addChain(BrokenChain chain) { chains.push_back(chain); }
std::vector<BrokenChain> BrokenChainSet::getChains() const { return chains; }
void BrokenChainSet::setChains(std::vector<BrokenChain> newChains) {
    chains = std::move(newChains);
}
void BrokenChainSet::clearChains() { chains.clear(); }

std::string BrokenChainSet::calculateDKfromLength(std::string dk, double length) const {
    const rcc::DKValue start = rcc::readDK(dk);
    const double startValue = start.value;
    double target = startValue + length;
    for (const BrokenChain& chain : chains) {
        const double gap = gapOf(chain);
        if (chain.type == rcc::kShortChainType) {
            // Passing a short chain skips the numbers that do not exist on the ground.
            if (chain.beforeDK >= startValue && target > chain.beforeDK) target += gap;
            continue;
        }
        if (!(target > chain.afterDK && chain.beforeDK >= startValue)) continue;
        if (chain.beforeDK >= target) {
            // Still ahead of the break: the number is valid in the occurrence we started in.
            return start.marked ? rcc::formatMarkedDK(target) : rcc::formatDK(target);
        }
        // A marked start is already behind its break; never step back a second time.
        if (start.marked) continue;
        target -= gap;
        if (chain.beforeDK > target) return rcc::formatMarkedDK(target);
    }
    return rcc::formatDK(target);
}

double BrokenChainSet::calculateDKfromLength(double dk, double length) const {
    return rcc::parseDKText(calculateDKfromLength(rcc::formatDK(dk), length));
}

double BrokenChainSet::calculateLengthBetween2DKs(std::string dk1, std::string dk2) const {
    const rcc::DKValue from = rcc::readDK(dk1);
    return rcc::lengthBetween(chains, from, rcc::readDK(dk2));
}

double BrokenChainSet::calculateLengthBetween2DKs(double dk1, double dk2) const {
    return calculateLengthBetween2DKs(rcc::formatDK(dk1), rcc::formatDK(dk2));
}
