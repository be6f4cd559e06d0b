// Tables and where they go: CSV or an aligned text table, written row by row, to standard output or
// to a file that appears complete or not at all; the tool's two error kinds and its progress line.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace rcctool {

/// Bad input: a file, field or value the user must fix. Reported in one line, exit status 2.
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The output could not be written. Reported in one line, exit status 1.
class OutputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One column of a table; numeric columns are right-aligned in the text form.
struct Column {
    std::string name;
    bool numeric = true;
};

/// Where a command's rows go, one table after another: begin() with the columns, row() for
/// each row as it is computed, end() when the table is complete.
class RowSink {
public:
    virtual ~RowSink() = default;
    virtual void begin(const std::vector<Column>& columns) = 0;
    virtual void row(const std::vector<std::string>& cells) = 0;
    virtual void end() = 0;
};

/// Tables kept in memory (for tests and small outputs).
struct Table {
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
};
class TableCollector : public RowSink {
public:
    void begin(const std::vector<Column>& columns) override;
    void row(const std::vector<std::string>& cells) override;
    void end() override {}
    std::vector<Table> tables;
};

enum class TableFormat { Auto, Csv, Text };

/// Writes rows to a stream as they come: CSV records (RFC 4180 quoting where a cell needs
/// it; a text cell that a spreadsheet would take for a formula gets a leading apostrophe),
/// or an aligned text table whose column widths are measured on its first rows. Memory
/// stays flat however many rows pass. Tables are separated by a blank line.
class StreamTable : public RowSink {
public:
    StreamTable(std::ostream& out, bool text) : out_(out), text_(text) {}
    void begin(const std::vector<Column>& columns) override;
    void row(const std::vector<std::string>& cells) override;
    void end() override;

private:
    void flushMeasured();
    void line(const std::vector<std::string>& cells);
    std::ostream& out_;
    bool text_;
    bool first_ = true;
    std::vector<Column> columns_;
    std::vector<std::size_t> width_;
    std::vector<std::vector<std::string>> pending_;  ///< text rows held to measure widths
    bool measured_ = false;
};

/// Whether tables go out as text: asked for, or Auto and the destination is a terminal.
bool asText(TableFormat format, bool toTerminal);

/// Runs `body` on standard output when `path` is empty or "-"; otherwise on a temporary
/// file beside `path` that is renamed to `path` only when `body` returns and every byte is
/// written, so a failure never leaves a partial file. `body` receives whether its stream is
/// a terminal.
void writeOutput(const std::string& path, const std::function<void(std::ostream&, bool)>& body);

/// Runs `produce` with a temporary file name beside `path` and renames that file to `path`
/// afterwards; for writers that want a file name (the drawing library). Removes the
/// temporary file when `produce` throws.
void writeFileAtomically(const std::string& path,
                         const std::function<void(const std::string&)>& produce);

/// A progress line on standard error for long jobs, shown only when standard error is a
/// terminal and the job is long enough to be worth it.
class Progress {
public:
    Progress(std::string what, std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void update(std::size_t done);

private:
    std::string what_;
    std::size_t total_;
    bool shown_;
    int lastPercent_ = -1;
};

}  // namespace rcctool
