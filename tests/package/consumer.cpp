// Host program built against the installed package: converts chainages across a long
// chain and copies an alignment object, exiting non-zero on a wrong answer.
#include <qv_roadCurveCalculation_alg.h>

#include <cstdio>
#include <utility>

int main() {
    BrokenChainSet chains;
    chains.addChain(BrokenChain{0, 1100.0, 1000.0});  // long chain: 1000..1100 occurs twice
    RoadCurvesCalculation route;
    route.setBrokenChainSet(chains);
    route.inputLine(900.0, 1300.0, 0.0, 0.0, 0.0);

    const bool ok = route.calculateDKfromLength("900", 250.0) == "01050.000000" &&
                    route.calculateLengthBetween2DKs("900", "01050") == 250.0;
    RoadCurvesCalculation moved = std::move(route);
    RoadCurvesCalculation copy = moved;
    double x = 0, y = 0, z = 0;
    const double bearing = copy.calculateCoordinatesAndBearing("01050", x, y, z);
    if (!ok || bearing != 0.0 || x != 250.0 || !route.getRoadCruves().empty()) {
        std::puts("package consumer: wrong result");
        return 1;
    }
    std::puts("package consumer: ok");
    return 0;
}
