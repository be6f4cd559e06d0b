// Angle conversions exported by the route layer.
#include <qv_route/angles.hpp>

#include "horizontal/horizontal.hpp"

namespace qv::route {

double degreesFromRadians(double radians) { return rcc::degreesFromRadians(radians); }

double radiansFromDegrees(double degrees) { return rcc::radiansFromDegrees(degrees); }

}  // namespace qv::route
