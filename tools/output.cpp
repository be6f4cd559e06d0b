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

// Rows of a text table measured before its column widths are fixed; later rows stream
// with those widths (a wider cell only pushes its own line).
constexpr std::size_t kMeasuredRows = 1000;

std::string csvCell(const std::string& cell, bool numeric) {
    std::string text = cell;
    // A text cell starting like a formula would run as one in a spreadsheet.
    if (!numeric && !text.empty() && std::string("=+-@").find(text[0]) != std::string::npos) {
        text.insert(0, "'");
    }
    if (text.find_first_of(",\"\n\r") == std::string::npos) return text;
    std::string quoted = "\"";
    for (char c : text) {
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

void TableCollector::begin(const std::vector<Column>& columns) {
    tables.push_back(Table{columns, {}});
}

void TableCollector::row(const std::vector<std::string>& cells) {
    tables.back().rows.push_back(cells);
}

bool asText(TableFormat format, bool toTerminal) {
    return format == TableFormat::Text || (format == TableFormat::Auto && toTerminal);
}

void StreamTable::begin(const std::vector<Column>& columns) {
    if (!first_) out_ << '\n';  // a blank line between the tables of one output
    first_ = false;
    columns_ = columns;
    width_.assign(columns.size(), 0);
    pending_.clear();
    measured_ = false;
    std::vector<std::string> header;
    for (const Column& c : columns) header.push_back(c.name);
    if (text_) {
        pending_.push_back(header);
    } else {
        line(header);
    }
}

void StreamTable::row(const std::vector<std::string>& cells) {
    if (!text_ || measured_) {
        line(cells);
        return;
    }
    pending_.push_back(cells);
    if (pending_.size() > kMeasuredRows) flushMeasured();
}

void StreamTable::end() {
    if (text_ && !measured_) flushMeasured();
    out_.flush();
}

void StreamTable::flushMeasured() {
    for (const auto& cells : pending_) {
        for (std::size_t i = 0; i < cells.size() && i < width_.size(); ++i) {
            width_[i] = std::max(width_[i], displayWidth(cells[i]));
        }
    }
    measured_ = true;
    line(pending_.front());
    std::vector<std::string> rule;
    for (std::size_t w : width_) rule.emplace_back(w, '-');
    line(rule);
    for (std::size_t r = 1; r < pending_.size(); ++r) line(pending_[r]);
    pending_.clear();
}

void StreamTable::line(const std::vector<std::string>& cells) {
    std::string text;
    for (std::size_t i = 0; i < cells.size() && i < columns_.size(); ++i) {
        if (!text_) {
            if (i > 0) text += ',';
            text += csvCell(cells[i], columns_[i].numeric);
            continue;
        }
        const std::size_t w = displayWidth(cells[i]);
        const std::string pad(width_[i] > w ? width_[i] - w : 0, ' ');
        if (i > 0) text += "  ";
        text += columns_[i].numeric ? pad + cells[i] : cells[i] + pad;
    }
    if (text_) {
        while (!text.empty() && text.back() == ' ') text.pop_back();
    }
    out_ << text << '\n';
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
