// Placeholder: the vertical-profile conversion is being written.
#include "qv_roadCurveCalculation_alg.h"

int RoadCurvesCalculation::convertBPPointsToVerticalCurves(double&, double&, double&, double&) {
    return -1;
}
