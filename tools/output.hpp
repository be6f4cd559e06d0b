// Tables and where they go: CSV or an aligned text table, to standard output or to a file
// that appears complete or not at all; the tool's two error kinds and its progress line.
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

/// A table of text cells; `numeric` columns are right-aligned in the text form.
struct Table {
    std::vector<std::string> header;
    std::vector<bool> numeric;
    std::vector<std::vector<std::string>> rows;

    void addColumn(std::string name, bool isNumeric = true);
};

enum class TableFormat { Auto, Csv, Text };

/// Writes one CSV record per row (RFC 4180 quoting where a cell needs it).
void writeCsv(std::ostream& out, const Table& table);
/// Writes the table with columns padded to their widest cell.
void writeText(std::ostream& out, const Table& table);
/// CSV, or the aligned text table when `format` asks for it or is Auto and the
/// destination is a terminal.
void writeTables(std::ostream& out, const std::vector<Table>& tables, TableFormat format,
                 bool toTerminal);

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
