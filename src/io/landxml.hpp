// What the LandXML reader and writer share: the length units LandXML names and how they
// relate to the route's length unit, the metre.
#pragma once

namespace rcc_io {

/// Metres per international foot (exact by definition).
constexpr double kMetresPerFoot = 0.3048;
/// Metres per US survey foot: 1200/3937 exactly, 2 ppm longer than the international foot.
constexpr double kMetresPerSurveyFoot = 1200.0 / 3937.0;

}  // namespace rcc_io
