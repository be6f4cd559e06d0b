// Reading and building the route a command works on, with the design checks' findings.
#include <fstream>

#include "commands.hpp"

namespace rcctool {

namespace {

// Whether a route file is XML: its first character other than a byte-order mark or blank
// is '<' (as the reader decides).
bool isXml(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    char c = 0;
    while (in.get(c)) {
        const auto u = static_cast<unsigned char>(c);
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || u >= 0x80) continue;  // BOM bytes
        return c == '<';
    }
    return false;
}

// The route layer names fields of the description; in a JSON file the user wrote the
// intersection points as "horizontal.jdPoints" and the grade points as "profile.bpPoints".
std::string inFile(const std::string& path, bool json) {
    if (!json) return path;
    const std::pair<const char*, const char*> names[] = {
        {"horizontal.points[", "horizontal.jdPoints["}, {"profile[", "profile.bpPoints["}};
    for (const auto& [layer, file] : names) {
        const std::string prefix(layer);
        if (path.compare(0, prefix.size(), prefix) == 0) return file + path.substr(prefix.size());
    }
    return path;
}

}  // namespace

qv::route::Route loadRoute(const std::string& path, const qv::route::ReadOptions& options,
                           std::vector<std::string>* warnings) {
    using qv::route::Diagnostic;
    qv::route::ReadResult read;
    try {
        read = qv::route::readRouteFile(path, options);
    } catch (const qv::route::ReadError& e) {
        throw InputError(e.what());
    }
    const bool json = !isXml(path);
    auto line = [&](const std::string& field, const std::string& message) {
        return path + ": " + inFile(field, json) + ": " + message;
    };
    try {
        qv::route::Route route = qv::route::Route::build(std::move(read.description));
        std::vector<Diagnostic> findings = read.warnings;
        for (const Diagnostic& d : route.check()) {
            if (d.severity == Diagnostic::Severity::Error)
                throw InputError(line(d.path, d.message));
            findings.push_back(d);
        }
        if (warnings) {
            for (const Diagnostic& d : findings) warnings->push_back(line(d.path, d.message));
        }
        return route;
    } catch (const qv::route::RouteError& e) {
        // what() is "path: message".
        const std::string what = e.what();
        const std::string message = what.compare(0, e.path().size() + 2, e.path() + ": ") == 0
                                        ? what.substr(e.path().size() + 2)
                                        : what;
        throw InputError(line(e.path(), message));
    }
}

}  // namespace rcctool
