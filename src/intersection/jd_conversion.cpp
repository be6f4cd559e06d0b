// Placeholder: the intersection-point conversion is being written.
#include "qv_roadCurveCalculation_alg.h"

int RoadCurvesCalculation::convertJDPointsToRoadCurves(double&, double&, double&, double&, double&,
                                                       double&, int&) {
    return -1;
}
