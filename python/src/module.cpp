// The extension module rcc._rcc: the route layer on numpy arrays, station text, and the
// library's own classes in the submodule core.
#include <string>

#include "bindings.hpp"

namespace py = pybind11;

namespace rccpy {

void requireSize(const py::array& array, std::size_t n, const char* name) {
    if (static_cast<std::size_t>(array.size()) != n) {
        throw py::value_error(std::string(name) + " must have " + std::to_string(n) +
                              " elements, not " + std::to_string(array.size()));
    }
}

}  // namespace rccpy

PYBIND11_MODULE(_rcc, m) {
    m.doc() = "Compiled part of the rcc package; use the rcc package itself.";
    m.attr("ON_ROUTE") = static_cast<int>(rccpy::PointStatus::OnRoute);
    m.attr("BEFORE_START") = static_cast<int>(rccpy::PointStatus::BeforeStart);
    m.attr("BEYOND_END") = static_cast<int>(rccpy::PointStatus::BeyondEnd);
    m.attr("NOT_FOUND") = static_cast<int>(rccpy::PointStatus::NotFound);
    m.attr("INVALID") = static_cast<int>(rccpy::PointStatus::Invalid);
    py::module_ core =
        m.def_submodule("core", "The library's classes, records and functions, name for name.");
    rccpy::bindCore(core);
    rccpy::bindStations(m);
    rccpy::bindRoute(m);
}
