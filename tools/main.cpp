// rcc: stakeout tables, curve tables, point location and drawings for one route described
// in a JSON file, computed by the road-alignment library.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstring>
#include <exception>
#include <iostream>
#include <stdexcept>

#include "commands.hpp"

namespace {

constexpr int kBadInput = 2;
constexpr int kFailed = 1;

const char* const kSchema = R"(
Route file (JSON; the full description is in tools/README.md):
  {"name": "...",
   "brokenChains": [{"type": "short"|"long", "beforeDK": 1000, "afterDK": 1050}],
   "horizontal": {"jdPoints": [{"x":..,"y":..,"pointDK":0},
                               {"x":..,"y":..,"radius":600,"inTransitionLength":120,
                                "outTransitionLength":80}, ..., {"x":..,"y":..}]}
              or {"startDK":0,"startX":..,"startY":..,"startBearingDeg":..,
                  "elements":[{"curveType":"line","length":..},
                              {"curveType":"curve"|"inTransition"|"outTransition",
                               "length":..,"radius":..,"turnDirection":1|-1},
                              {"curveType":"incompleteTransition","length":..,
                               "startRadius":..|"inf","endRadius":..|"inf",
                               "turnDirection":1|-1}, ...]},
   "profile": {"bpPoints": [{"dk":0,"elevation":..},
                            {"dk":..,"elevation":..,"radius":..}, ..., {"dk":..,"elevation":..}]}}
Bearings run from +x towards +y; turnDirection 1 turns the bearing up. Chainages may be
written as text ("01450" is the second 1450 behind a long chain).
Exit status: 0 done, 2 bad input (file, field, value or geometry), 1 output not written.)";

struct Common {
    std::string route;
    std::string output;
    std::string chainage = "plain";
    std::string bearing = "deg";
    std::string format = "auto";
    int decimals = 3;
};

void addCommon(CLI::App* cmd, Common& common, bool tables) {
    cmd->add_option("route", common.route, "route description (JSON)")->required();
    cmd->add_option("--chainage", common.chainage,
                    "chainage form: plain (1234.567, second occurrence 01234.567) or k "
                    "(K1+234.567, second occurrence K1+234.567(2))")
        ->check(CLI::IsMember({"plain", "k"}));
    if (!tables) return;
    cmd->add_option("-o,--output", common.output, "CSV file to write (default: standard output)");
    cmd->add_option("--bearing", common.bearing, "bearing form: deg (decimal degrees) or dms")
        ->check(CLI::IsMember({"deg", "dms"}));
    cmd->add_option("--format", common.format,
                    "auto (aligned table on a terminal, else CSV), csv or table")
        ->check(CLI::IsMember({"auto", "csv", "table"}));
    cmd->add_option("--decimals", common.decimals, "decimals of lengths and coordinates")
        ->check(CLI::Range(0, 9));
}

rcctool::FormatOptions formatOf(const Common& c) {
    rcctool::FormatOptions f;
    f.chainage =
        c.chainage == "k" ? rcctool::ChainageStyle::KNotation : rcctool::ChainageStyle::Plain;
    f.angle = c.bearing == "dms" ? rcctool::AngleStyle::DMS : rcctool::AngleStyle::Degrees;
    f.decimals = c.decimals;
    return f;
}

void emit(const Common& c, const std::vector<rcctool::Table>& tables) {
    const rcctool::TableFormat format = c.format == "csv"     ? rcctool::TableFormat::Csv
                                        : c.format == "table" ? rcctool::TableFormat::Text
                                                              : rcctool::TableFormat::Auto;
    rcctool::writeOutput(c.output, [&](std::ostream& out, bool terminal) {
        rcctool::writeTables(out, tables, format, terminal);
    });
}

int fail(int status, const std::string& message) {
    std::cerr << "rcc: error: " << message << '\n';
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"rcc - road alignment tables and drawings from a route description"};
    app.footer(kSchema);
    app.require_subcommand(1);

    Common stake, curves, locate, draw;
    rcctool::StakeoutOptions stakeOptions;
    rcctool::DrawOptions drawOptions;
    std::string pointsFile;

    CLI::App* stakeCmd = app.add_subcommand(
        "stakeout", "coordinate table along the route at an interval, plus every key point");
    addCommon(stakeCmd, stake, true);
    stakeCmd->add_option("-i,--interval", stakeOptions.interval,
                         "length along the route between rows (default 20)");
    stakeCmd
        ->add_option("--offset", stakeOptions.offsets,
                     "signed distance across the tangent for extra x,y columns, positive "
                     "on the side of bearing + 90 degrees (repeatable)")
        ->allow_extra_args(false);
    stakeCmd->add_flag(
        "--no-key-points", [&stakeOptions](std::int64_t) { stakeOptions.keyPoints = false; },
        "only the regular rows");

    CLI::App* curvesCmd =
        app.add_subcommand("curves", "curve main values per intersection point, vertical curves");
    addCommon(curvesCmd, curves, true);

    CLI::App* locateCmd =
        app.add_subcommand("locate", "chainage and signed offset of points (CSV x,y[,name])");
    addCommon(locateCmd, locate, true);
    locateCmd->add_option("points", pointsFile, "points file, or - for standard input")->required();

    CLI::App* drawCmd = app.add_subcommand("draw", "plan and profile drawing (PNG or SVG)");
    addCommon(drawCmd, draw, false);
    drawCmd->add_option("-o,--output", draw.output, "drawing to write (.png or .svg)")->required();
    drawCmd->add_option("--tick", drawOptions.tick, "chainage label spacing (default: automatic)");
    drawCmd->add_option("--width", drawOptions.width, "image width in pixels (default 1600)");
    drawCmd->add_option("--exaggeration", drawOptions.exaggeration,
                        "vertical exaggeration of the profile (default: fill the panel)");

    const auto known = {"stakeout", "curves", "locate", "draw"};
    if (argc > 1 && argv[1][0] != '-' &&
        std::none_of(known.begin(), known.end(),
                     [&argv](const char* name) { return std::strcmp(argv[1], name) == 0; })) {
        return fail(kBadInput,
                    std::string("unknown subcommand \"") + argv[1] +
                        "\" (expected stakeout, curves, locate or draw; see rcc --help)");
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
        if (*stakeCmd) {
            const rcctool::Route route = rcctool::loadRoute(stake.route);
            emit(stake, {rcctool::stakeoutTable(route, stakeOptions, formatOf(stake))});
        } else if (*curvesCmd) {
            const rcctool::Route route = rcctool::loadRoute(curves.route);
            emit(curves, rcctool::curveTables(route, formatOf(curves)));
        } else if (*locateCmd) {
            const rcctool::Route route = rcctool::loadRoute(locate.route);
            const auto points = rcctool::readPoints(pointsFile);
            emit(locate, {rcctool::locateTable(route, points, formatOf(locate))});
        } else if (*drawCmd) {
            const rcctool::Route route = rcctool::loadRoute(draw.route);
            rcctool::drawRoute(route, draw.output, drawOptions, formatOf(draw));
        }
    } catch (const rcctool::InputError& e) {
        return fail(kBadInput, e.what());
    } catch (const rcctool::OutputError& e) {
        return fail(kFailed, e.what());
    } catch (const std::invalid_argument& e) {  // the library's unreadable chainage text
        return fail(kBadInput, std::string("unreadable chainage text (") + e.what() + ")");
    } catch (const std::out_of_range& e) {
        return fail(kBadInput, std::string("chainage text out of range (") + e.what() + ")");
    } catch (const std::exception& e) {
        return fail(kFailed, e.what());
    }
    return 0;
}
