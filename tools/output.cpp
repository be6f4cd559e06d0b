// Table writers, the all-or-nothing file output and the progress line.
#include "output.hpp"

#include "safe_file.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>

namespace rcctool {

namespace {

// Rows below which a progress line would only flicker.
constexpr std::size_t kProgressMinimum = 20000;
constexpr int kPercent = 100;

std::string csvCell(const std::string& cell) {
    if (cell.find_first_of(",\"\n\r") == std::string::npos) return cell;
    std::string quoted = "\"";
    for (char c : cell) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

// Display width: UTF-8 continuation bytes (the degree sign) take no column of their own.
std::size_t displayWidth(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;  // not a continuation byte
    }));
}

}  // namespace

void Table::addColumn(std::string name, bool isNumeric) {
    header.push_back(std::move(name));
    numeric.push_back(isNumeric);
}

void writeCsv(std::ostream& out, const Table& table) {
    auto record = [&out](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            if (i > 0) out << ',';
            out << csvCell(cells[i]);
        }
        out << '\n';
    };
    record(table.header);
    for (const auto& row : table.rows) record(row);
}

void writeText(std::ostream& out, const Table& table) {
    std::vector<std::size_t> width(table.header.size(), 0);
    auto measure = [&width](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size() && i < width.size(); ++i) {
            width[i] = std::max(width[i], displayWidth(cells[i]));
        }
    };
    measure(table.header);
    for (const auto& row : table.rows) measure(row);
    auto line = [&](const std::vector<std::string>& cells) {
        std::string text;
        for (std::size_t i = 0; i < cells.size() && i < width.size(); ++i) {
            const std::string pad(width[i] - displayWidth(cells[i]), ' ');
            if (i > 0) text += "  ";
            text += table.numeric[i] ? pad + cells[i] : cells[i] + pad;
        }
        while (!text.empty() && text.back() == ' ') text.pop_back();
        out << text << '\n';
    };
    line(table.header);
    std::vector<std::string> rule;
    for (std::size_t w : width) rule.emplace_back(w, '-');
    line(rule);
    for (const auto& row : table.rows) line(row);
}

void writeTables(std::ostream& out, const std::vector<Table>& tables, TableFormat format,
                 bool toTerminal) {
    const bool text = format == TableFormat::Text || (format == TableFormat::Auto && toTerminal);
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (i > 0) out << '\n';  // a blank line between the sections of one output
        if (text) {
            writeText(out, tables[i]);
        } else {
            writeCsv(out, tables[i]);
        }
    }
}

void writeOutput(const std::string& path, const std::function<void(std::ostream&, bool)>& body) {
    if (path.empty() || path == "-") {
        body(std::cout, ::isatty(STDOUT_FILENO) != 0);
        std::cout.flush();
        if (!std::cout) throw OutputError("cannot write to standard output");
        return;
    }
    writeFileSafely(path, [&body, &path](const std::string& temporary) {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        if (!file) throw OutputError("cannot write " + path);
        body(file, false);
        file.close();
        if (!file) throw OutputError("cannot write " + path + " (disk full?)");
    });
}

void writeFileAtomically(const std::string& path,
                         const std::function<void(const std::string&)>& produce) {
    writeFileSafely(path, produce);
}

Progress::Progress(std::string what, std::size_t total)
    : what_(std::move(what)),
      total_(total),
      shown_(total >= kProgressMinimum && ::isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (shown_ && lastPercent_ >= 0) std::fprintf(stderr, "\r%*s\r", 60, "");
}

void Progress::update(std::size_t done) {
    if (!shown_) return;
    const int percent = static_cast<int>(done * kPercent / total_);
    if (percent == lastPercent_) return;
    lastPercent_ = percent;
    std::fprintf(stderr, "\rrcc %s: %3d%% (%zu of %zu)", what_.c_str(), percent, done, total_);
    std::fflush(stderr);
}

}  // namespace rcctool
