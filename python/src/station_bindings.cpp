// Station text in both directions over whole arrays: the formatting and parsing loops run
// without the GIL; only the Python strings themselves are made or read with it held.
#include <qv_route/station.hpp>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "bindings.hpp"

namespace rccpy {

namespace {

using qv::route::Station;
using qv::route::StationStyle;

StationStyle styleNamed(const std::string& name) {
    if (name == "plain") return StationStyle::Plain;
    if (name == "k") return StationStyle::K;
    if (name == "us") return StationStyle::US;
    throw py::value_error("style must be \"plain\", \"k\" or \"us\", not \"" + name + "\"");
}

py::list formatStations(const DoubleArray& values, const Int8Array& occurrences,
                        const std::string& style, int decimals) {
    const auto n = static_cast<std::size_t>(values.size());
    requireSize(occurrences, n, "occurrence");
    const StationStyle textStyle = styleNamed(style);
    std::vector<std::string> texts(n);
    {
        py::gil_scoped_release release;
        const double* value = values.data();
        const std::int8_t* occurrence = occurrences.data();
        for (std::size_t i = 0; i < n; ++i) {
            texts[i] = qv::route::formatStation({value[i], occurrence[i]}, textStyle, decimals);
        }
    }
    py::list out(n);
    for (std::size_t i = 0; i < n; ++i) out[i] = py::str(texts[i]);
    return out;
}

/// Values and occurrences of the texts; NaN and occurrence 0 where a text does not read.
py::tuple parseStations(const std::vector<std::string>& texts) {
    const std::size_t n = texts.size();
    auto values = newArray<double>(n);
    auto occurrences = newArray<std::int8_t>(n);
    double* value = values.mutable_data();
    std::int8_t* occurrence = occurrences.mutable_data();
    {
        py::gil_scoped_release release;
        for (std::size_t i = 0; i < n; ++i) {
            const std::optional<Station> station = qv::route::parseStation(texts[i]);
            value[i] = station ? station->value : std::numeric_limits<double>::quiet_NaN();
            occurrence[i] = station ? static_cast<std::int8_t>(station->occurrence) : 0;
        }
    }
    return py::make_tuple(values, occurrences);
}

}  // namespace

void bindStations(py::module_& m) {
    m.def("format_stations", &formatStations, py::arg("values"), py::arg("occurrences"),
          py::arg("style"), py::arg("decimals"));
    m.def("parse_stations", &parseStations, py::arg("texts"));
}

}  // namespace rccpy
