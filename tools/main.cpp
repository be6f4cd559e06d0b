// rcc: stakeout tables, curve tables, point location and drawings for one route described in a
// JSON or LandXML file, built by the route layer on the road-alignment library.
#include <CLI/CLI.hpp>
#include <qv_route/dxf.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <stdexcept>

#include "commands.hpp"

namespace {

constexpr int kBadInput = 2;
constexpr int kFailed = 1;
constexpr double kPercent = 100.0;

const char* const kSchema = R"schema(
Route file: JSON (described in tools/README.md) or LandXML (--alignment NAME picks one).
  {"name": "...", "frame": "xy"|"NE", "angleUnit": "deg"|"gon"|"rad"|"dd.mmss",
   "equations": [{"back": 1000, "ahead": 1050}]  (or "brokenChains": [{"type": "short"|"long",
                                                  "beforeDK": 1000, "afterDK": 1050}]),
   "horizontal": {"jdPoints": [{"x":..,"y":..,"pointDK":0},
                               {"x":..,"y":..,"radius":600,"inTransitionLength":120,
                                "outTransitionA":300,"name":"JD1"}, ..., {"x":..,"y":..}]}
              or {"startDK":0,"startX":..,"startY":..,"startBearing":"89-54-04.3",
                  "elements":[{"curveType":"line","length":..},
                              {"curveType":"curve"|"inTransition"|"outTransition",
                               "length":.. (or "A":..),"radius":..,"turnDirection":1|-1},
                              {"curveType":"incompleteTransition","length":..,
                               "startRadius":..|"inf","endRadius":..|"inf",
                               "turnDirection":1|-1}, ...]},
   "profile": {"bpPoints": [{"dk":0,"elevation":..},
                            {"dk":"K0+700","elevation":..,"radius":.. (or "length" or "K")},
                            ..., {"dk":..,"elevation":..}]}}
Stations are numbers or text: 1450.5, "K1+450.5", "14+50.5"; "01450" or "K1+450(2)" is the
second 1450 behind a long chain.
Exit status: 0 done, 2 bad input (file, field, value or geometry), 1 output not written.)schema";

struct Common {
    std::string route;
    std::string output;
    std::string alignment;
    std::string chainage = "plain";
    std::string bearing = "deg";
    std::string format = "auto";
    int decimals = 3;
};

void addCommon(CLI::App* cmd, Common& common, bool tables) {
    cmd->add_option("route", common.route, "route file (JSON or LandXML)")->required();
    cmd->add_option("--alignment", common.alignment, "LandXML: the alignment to read");
    cmd->add_option("--chainage", common.chainage,
                    "station form: plain (1234.567, second occurrence 01234.567), k "
                    "(K1+234.567, second K1+234.567(2)) or us (12+34.567)")
        ->check(CLI::IsMember({"plain", "k", "us"}));
    if (!tables) return;
    cmd->add_option("-o,--output", common.output, "file to write (default: standard output)");
    cmd->add_option("--bearing", common.bearing, "angle form: deg (decimal degrees) or dms")
        ->check(CLI::IsMember({"deg", "dms"}));
    cmd->add_option("--format", common.format,
                    "auto (aligned table on a terminal, else CSV), csv or table")
        ->check(CLI::IsMember({"auto", "csv", "table"}));
    cmd->add_option("--decimals", common.decimals, "decimals of lengths and coordinates")
        ->check(CLI::Range(0, 9));
}

rcctool::FormatOptions formatOf(const Common& c) {
    rcctool::FormatOptions f;
    f.station = c.chainage == "k"    ? qv::route::StationStyle::K
                : c.chainage == "us" ? qv::route::StationStyle::US
                                     : qv::route::StationStyle::Plain;
    f.angle = c.bearing == "dms" ? rcctool::AngleStyle::DMS : rcctool::AngleStyle::Degrees;
    f.decimals = c.decimals;
    return f;
}

qv::route::Route load(const Common& c) {
    qv::route::ReadOptions options;
    options.alignment = c.alignment;
    std::vector<std::string> warnings;
    qv::route::Route route = rcctool::loadRoute(c.route, options, &warnings);
    for (const std::string& w : warnings) std::cerr << "rcc: warning: " << w << '\n';
    return route;
}

// Writes the tables a command produces to the output of `c`: CSV, or aligned text on a
// terminal; DMS without quote marks in CSV.
template <class Produce>
void emit(const Common& c, rcctool::FormatOptions format, Produce produce) {
    const rcctool::TableFormat tableFormat = c.format == "csv"     ? rcctool::TableFormat::Csv
                                             : c.format == "table" ? rcctool::TableFormat::Text
                                                                   : rcctool::TableFormat::Auto;
    rcctool::writeOutput(c.output, [&](std::ostream& out, bool terminal) {
        const bool text = rcctool::asText(tableFormat, terminal);
        format.plainDMS = !text;
        rcctool::StreamTable sink(out, text);
        produce(format, sink);
    });
}

qv::route::Station stationArgument(const std::string& text, const char* option) {
    const std::optional<qv::route::Station> s = qv::route::parseStation(text);
    if (!s) {
        throw rcctool::InputError(std::string(option) + ": expected a station such as 1450.5, " +
                                  "K1+450.5 or 14+50.5, found \"" + text + "\"");
    }
    return *s;
}

// "-2.5%", "-2.5" (percent either way) as a rise over run.
double crossfallArgument(std::string text) {
    if (!text.empty() && text.back() == '%') text.pop_back();
    double percent = 0.0;
    if (!rcctool::parseNumber(text, percent) || std::fabs(percent) > kPercent) {
        throw rcctool::InputError(
            "--crossfall: expected a percentage within +-100 such as -2.5%, found \"" + text +
            "\"");
    }
    return percent / kPercent;
}

struct StakeoutArgs {
    Common common;
    rcctool::StakeoutOptions options;
    std::string from, to, crossfall;
    std::vector<std::string> at;
};

void addStakeout(CLI::App& app, StakeoutArgs& a) {
    CLI::App* cmd =
        app.add_subcommand("stakeout", "coordinate table at round stations, plus every key point");
    addCommon(cmd, a.common, true);
    cmd->add_option("-i,--interval", a.options.interval,
                    "round stations at this interval in each numbering (default 20)");
    cmd->add_option("--from", a.from, "first station of the table");
    cmd->add_option("--to", a.to, "last station of the table");
    cmd->add_option("--at", a.at, "stations listed in addition (comma-separated)")->delimiter(',');
    cmd->add_option("--offset", a.options.offsets,
                    "signed distance across the tangent for extra points, positive on the side "
                    "of bearing + 90 degrees (repeatable)")
        ->allow_extra_args(false);
    cmd->add_option("--crossfall", a.crossfall,
                    "cross-fall of the offset points in percent (-2.5% falls away from the "
                    "centre line); gives them their own elevation");
    cmd->add_flag(
        "--no-key-points", [&a](std::int64_t) { a.options.keyPoints = false; },
        "only the round stations");
    cmd->add_flag("--vertical-key-points", a.options.verticalKeyPoints,
                  "add BVC, PVI, EVC and high or low points among the rows");
    cmd->add_flag("--controller", a.options.controller,
                  "one point per line for a survey controller: name,N,E,Z,code (x,y,z in the "
                  "xy frame)");
}

void runStakeout(StakeoutArgs& a) {
    if (!a.from.empty()) a.options.from = stationArgument(a.from, "--from");
    if (!a.to.empty()) a.options.to = stationArgument(a.to, "--to");
    for (const std::string& s : a.at) a.options.at.push_back(stationArgument(s, "--at"));
    if (!a.crossfall.empty()) a.options.crossfall = crossfallArgument(a.crossfall);
    const qv::route::Route route = load(a.common);
    emit(a.common, formatOf(a.common), [&](const auto& format, rcctool::RowSink& sink) {
        rcctool::stakeout(route, a.options, format, sink);
    });
}

void addCurves(CLI::App& app, Common& c) {
    CLI::App* cmd = app.add_subcommand(
        "curves", "curve table per intersection point or curve, and the vertical curves");
    addCommon(cmd, c, true);
}

void runCurves(const Common& c) {
    const qv::route::Route route = load(c);
    emit(c, formatOf(c),
         [&](const auto& format, rcctool::RowSink& sink) { rcctool::curves(route, format, sink); });
}

struct LocateArgs {
    Common common;
    rcctool::LocateOptions options;
    std::string points;
    std::string columns = "x,y,name";
};

void addLocate(CLI::App& app, LocateArgs& a) {
    CLI::App* cmd = app.add_subcommand(
        "locate",
        "station, offset and height difference of surveyed points (CSV or blank-separated)");
    addCommon(cmd, a.common, true);
    cmd->add_option("points", a.points, "points file, or - for standard input")->required();
    cmd->add_option("--columns", a.columns,
                    "column order: x,y,name (name optional), name,x,y,z,code (z and code "
                    "optional) or name,N,E,Z,code")
        ->check(CLI::IsMember({"x,y,name", "name,x,y,z,code", "name,N,E,Z,code"}));
    cmd->add_option("--max-offset", a.options.maxOffset,
                    "largest distance from the centre line (default: any)");
    cmd->add_flag("--all", a.options.all, "every foot within --max-offset, nearest first");
}

void runLocate(const LocateArgs& a) {
    if (!(a.options.maxOffset > 0)) throw rcctool::InputError("--max-offset must be positive");
    const qv::route::Route route = load(a.common);
    const qv::route::PointColumns columns =
        a.columns == "x,y,name"          ? qv::route::PointColumns::XYName
        : a.columns == "name,x,y,z,code" ? qv::route::PointColumns::NameXYZCode
                                         : qv::route::PointColumns::NameNEZCode;
    const auto points = rcctool::readPoints(a.points, columns, route);
    emit(a.common, formatOf(a.common), [&](const auto& format, rcctool::RowSink& sink) {
        rcctool::locate(route, points, a.options, format, sink);
    });
}

struct DrawArgs {
    Common common;
    rcctool::DrawOptions options;
};

void addDraw(CLI::App& app, DrawArgs& a) {
    CLI::App* cmd =
        app.add_subcommand("draw", "plan and profile drawing (PNG or SVG), or the plan as DXF");
    addCommon(cmd, a.common, false);
    cmd->add_option("-o,--output", a.common.output, "drawing to write (.png, .svg or .dxf)")
        ->required();
    cmd->add_option("--tick", a.options.tick, "station label spacing (default: automatic)");
    cmd->add_option("--width", a.options.width, "image width in pixels (default 1600)");
    cmd->add_option("--exaggeration", a.options.exaggeration,
                    "vertical exaggeration of the profile (default: fill the panel)");
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

void runDraw(const DrawArgs& a) {
    const qv::route::Route route = load(a.common);
    if (endsWith(a.common.output, ".dxf")) {
        qv::route::DxfOptions options;
        options.tickInterval = a.options.tick;
        const std::string dxf = qv::route::writeDxf(route, options);
        rcctool::writeOutput(a.common.output, [&dxf](std::ostream& out, bool) { out << dxf; });
        return;
    }
    rcctool::drawRoute(route, a.common.route, a.common.output, a.options, formatOf(a.common));
}

void addExport(CLI::App& app, Common& c) {
    CLI::App* cmd = app.add_subcommand("export", "the route as LandXML 1.2");
    addCommon(cmd, c, false);
    cmd->add_option("-o,--output", c.output, "LandXML file to write (- for standard output)")
        ->required();
}

void runExport(const Common& c) {
    const std::string xml = qv::route::writeLandXml(load(c));
    rcctool::writeOutput(c.output, [&xml](std::ostream& out, bool) { out << xml; });
}

// One line on standard error: control characters (from file names or arguments) escaped.
int fail(int status, const std::string& message) {
    static const char* const kHex = "0123456789abcdef";
    std::string line;
    for (char c : message) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || u == 0x7F) {  // C0 controls and DEL
            line += std::string("\\x") + kHex[u >> 4] + kHex[u & 0xF];
        } else {
            line += c;
        }
    }
    std::cerr << "rcc: error: " << line << '\n';
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"rcc - road alignment tables and drawings from a route file"};
    app.footer(kSchema);
    app.require_subcommand(1);

    StakeoutArgs stakeout;
    Common curves;
    LocateArgs locate;
    DrawArgs draw;
    Common exportArgs;
    addStakeout(app, stakeout);
    addCurves(app, curves);
    addLocate(app, locate);
    addDraw(app, draw);
    addExport(app, exportArgs);

    const auto known = {"stakeout", "curves", "locate", "draw", "export"};
    if (argc > 1 && argv[1][0] != '-' &&
        std::none_of(known.begin(), known.end(),
                     [&argv](const char* name) { return std::strcmp(argv[1], name) == 0; })) {
        return fail(kBadInput,
                    std::string("unknown subcommand \"") + argv[1] +
                        "\" (expected stakeout, curves, locate, draw or export; see rcc --help)");
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        return fail(kBadInput, std::string(e.what()) + " (see rcc --help)");
    }

    try {
        const std::string command = app.get_subcommands().front()->get_name();
        if (command == "stakeout") runStakeout(stakeout);
        if (command == "curves") runCurves(curves);
        if (command == "locate") runLocate(locate);
        if (command == "draw") runDraw(draw);
        if (command == "export") runExport(exportArgs);
    } catch (const rcctool::InputError& e) {
        return fail(kBadInput, e.what());
    } catch (const rcctool::OutputError& e) {
        return fail(kFailed, e.what());
    } catch (const std::bad_alloc&) {
        return fail(kFailed, "not enough memory for this request");
    } catch (const std::exception& e) {
        return fail(kFailed, e.what());
    }
    return 0;
}
