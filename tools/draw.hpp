// The route drawing laid out without writing it: where every label went and whether the
// legend names every colour the plan uses, so that tests can check the page's layout.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "commands.hpp"

namespace rcctool {

/// A label as placed on the page: its text and its box in pixels (page y grows downwards).
struct PlacedLabel {
    std::string text;
    double left = 0.0, top = 0.0, right = 0.0, bottom = 0.0;
};

struct DrawingLayout {
    std::vector<PlacedLabel> labels;    ///< every label of plan and profile, in drawing order
    std::size_t omitted = 0;            ///< labels left out because no free place was found
    std::size_t unlegendedColours = 0;  ///< colours drawn in the plan that its legend lacks
};

/// Lays plan and profile out exactly as drawRoute does, on a surface that is thrown away.
DrawingLayout layOutDrawing(const qv::route::Route& route, const DrawOptions& options,
                            const FormatOptions& format);

}  // namespace rcctool
