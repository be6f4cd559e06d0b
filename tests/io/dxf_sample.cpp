// Writes the DXF plan of a route file and, beside it, the route's points every few metres
// (x, y as the drawing has them: east, north), for the reader-side check in dxf_check.py.
#include <qv_route/dxf.hpp>
#include <qv_route/io.hpp>

#include <cstdio>
#include <exception>
#include <fstream>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: dxf_sample ROUTE OUT.dxf POINTS.csv\n");
        return 2;
    }
    try {
        const qv::route::Route route =
            qv::route::Route::build(qv::route::readRouteFile(argv[1]).description);
        std::ofstream(argv[2], std::ios::binary) << qv::route::writeDxf(route);
        std::ofstream points(argv[3]);
        points.precision(17);
        const bool northEast = route.description().frame == qv::route::Frame::NE;
        constexpr double kSpacing = 5.0;  // metres between checked points
        for (double s = 0; s <= route.length(); s += kSpacing) {
            const qv::route::RoutePoint p = route.pointAtLength(s);
            points << (northEast ? p.y : p.x) << ',' << (northEast ? p.x : p.y) << '\n';
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 2;
    }
    return 0;
}
