// Chainage arithmetic on a small route with one short and one long chain: the chainage
// reached every 100 m from the start, and the length back from each to the start.
#include <qv_roadCurveCalculation_alg.h>

#include <cstdio>

int main() {
    BrokenChainSet chains;
    chains.addChain(BrokenChain{1, 1000.0, 1050.0});  // short: 1000..1050 does not exist
    chains.addChain(BrokenChain{0, 1500.0, 1400.0});  // long: 1400..1500 occurs twice
    RoadCurvesCalculation route;
    route.setBrokenChainSet(chains);

    std::printf("%10s  %16s  %12s\n", "travelled", "chainage", "length back");
    for (int travelled = 0; travelled <= 1000; travelled += 100) {
        const std::string dk = route.calculateDKfromLength("700", travelled);
        std::printf("%10d  %16s  %12.3f\n", travelled, dk.c_str(),
                    route.calculateLengthBetween2DKs("700", dk));
    }
    return 0;
}
