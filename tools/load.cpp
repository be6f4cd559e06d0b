// Reading and building the route a command works on, with the design checks' findings.
#include "commands.hpp"

namespace rcctool {

qv::route::Route loadRoute(const std::string& path, const qv::route::ReadOptions& options,
                           std::vector<std::string>* warnings) {
    using qv::route::Diagnostic;
    auto line = [&path](const Diagnostic& d) { return path + ": " + d.path + ": " + d.message; };
    qv::route::ReadResult read;
    try {
        read = qv::route::readRouteFile(path, options);
    } catch (const qv::route::ReadError& e) {
        throw InputError(e.what());
    }
    try {
        qv::route::Route route = qv::route::Route::build(std::move(read.description));
        std::vector<Diagnostic> findings = read.warnings;
        for (const Diagnostic& d : route.check()) {
            if (d.severity == Diagnostic::Severity::Error) throw InputError(line(d));
            findings.push_back(d);
        }
        if (warnings) {
            for (const Diagnostic& d : findings) warnings->push_back(line(d));
        }
        return route;
    } catch (const qv::route::RouteError& e) {
        throw InputError(path + ": " + e.what());
    }
}

}  // namespace rcctool
