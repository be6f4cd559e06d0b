// Placeholder: the design-drawing analysis is being written.
#include "qv_roadCurveCalculation_alg.h"

int analysisDesignCurves(std::vector<DesignCruveInPut>, RoadCurvesCalculation&,
                         RoadCurvesCalculation&, RoadCurvesCalculation&) {
    return -1;
}
