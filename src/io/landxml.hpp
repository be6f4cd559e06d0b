// What the LandXML reader and writer share: the length units LandXML names and how they
// relate to each other, and the writer's core.
#pragma once

#include <qv_roadCurveCalculation_alg.h>
#include <qv_route/description.hpp>

#include <string>
#include <vector>

namespace rcc_io {

/// Metres per international foot (exact by definition).
constexpr double kMetresPerFoot = 0.3048;
/// Metres per US survey foot: 1200/3937 exactly, 2 ppm longer than the international foot.
constexpr double kMetresPerSurveyFoot = 1200.0 / 3937.0;

/// Metres per route length unit.
inline double metresPer(qv::route::LengthUnit unit) {
    switch (unit) {
        case qv::route::LengthUnit::Foot:
            return kMetresPerFoot;
        case qv::route::LengthUnit::USSurveyFoot:
            return kMetresPerSurveyFoot;
        default:
            return 1.0;
    }
}

/// LandXML 1.2 of a route from its description, the elements built from it with the
/// station of each one's start, and the length of the vertical curve at each grade point
/// (0: none).
std::string writeLandXml(const qv::route::RouteDescription& description,
                         const std::vector<RoadCurve>& elements,
                         const std::vector<double>& stations,
                         const std::vector<double>& verticalCurveLengths);

}  // namespace rcc_io
