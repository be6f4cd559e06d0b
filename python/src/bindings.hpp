// What the parts of the extension module share: the status codes of vectorised answers, the
// one entry point per part, and the array helpers of the loops run without the GIL.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstddef>
#include <cstdint>

namespace rccpy {

namespace py = pybind11;

/// Where an answer of a vectorised call lies; one small integer per point.
enum class PointStatus : std::int8_t {
    OnRoute = 0,      ///< on an element of the route
    BeforeStart = 1,  ///< on the start tangent produced backwards
    BeyondEnd = 2,    ///< on the end tangent produced forwards
    NotFound = 3,     ///< no such station, or no foot within the maximum offset
    Invalid = 4,      ///< the input was NaN or infinite; every output is NaN
};

/// Contiguous 1-D float64 input; the Python layer has already converted and flattened it.
using DoubleArray = py::array_t<double, py::array::c_style | py::array::forcecast>;
using Int8Array = py::array_t<std::int8_t, py::array::c_style | py::array::forcecast>;

/// A fresh 1-D array of n elements; filled by the caller, possibly without the GIL.
template <class T>
py::array_t<T> newArray(std::size_t n) {
    return py::array_t<T>(static_cast<py::ssize_t>(n));
}

/// Throws ValueError naming `name` unless `array` holds exactly n elements.
void requireSize(const py::array& array, std::size_t n, const char* name);

void bindStations(py::module_& m);
void bindRoute(py::module_& m);
void bindCore(py::module_& core);

}  // namespace rccpy
