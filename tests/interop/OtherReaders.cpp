#include "interop/OtherReaders.h"

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>

#include <nlohmann/json.hpp>

#include "support/TemporaryFolder.h"

namespace marrowkit::test {

namespace {

/// Stands for Null in the output of mdb-export; no text of the sample files has it.
constexpr const char* kNullMark = "<null>";

std::string Quoted(const std::string& argument) {
    std::string quoted = "'";
    for (const char letter : argument) {
        if (letter == '\'') {
            quoted += "'\\''";
        } else {
            quoted += letter;
        }
    }
    return quoted + "'";
}

/// Rows of a CSV text; quoted fields may hold anything, with their quotes doubled. Only an unquoted mark is
/// Null.
std::vector<std::vector<Cell>> ParseCsv(const std::string& text) {
    std::vector<std::vector<Cell>> rows;
    std::vector<Cell> row;
    std::size_t at = 0;
    while (at < text.size()) {
        std::string field;
        const bool isQuoted = text[at] == '"';
        if (isQuoted) {
            for (++at; at < text.size(); ++at) {
                if (text[at] == '"') {
                    if (at + 1 >= text.size() || text[at + 1] != '"') break;
                    ++at;
                }
                field += text[at];
            }
            ++at;
        }
        while (at < text.size() && text[at] != ',' && text[at] != '\n') field += text[at++];
        row.push_back(!isQuoted && field == kNullMark ? Cell() : Cell(field));
        if (at >= text.size() || text[at] == '\n') {
            rows.push_back(std::move(row));
            row.clear();
        }
        ++at;
    }
    return rows;
}

}  // namespace

std::optional<std::string> RunProgram(const std::vector<std::string>& command) {
    std::string line;
    for (const std::string& argument : command) line += Quoted(argument) + " ";
    line += "2>/dev/null";
    FILE* pipe = popen(line.c_str(), "r");
    if (pipe == nullptr) return std::nullopt;
    std::string output;
    std::array<char, 65536> buffer{};
    for (std::size_t got = 0; (got = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        output.append(buffer.data(), got);
    }
    if (pclose(pipe) != 0) return std::nullopt;
    return output;
}

bool HaveMdbTools() {
    return RunProgram({"which", "mdb-export"}).has_value();
}

std::vector<std::string> MdbToolsTables(const std::filesystem::path& file) {
    std::vector<std::string> tables;
    const auto output = RunProgram({"mdb-tables", "-S", "-1", file.string()});
    std::istringstream lines(output.value_or(std::string()));
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) tables.push_back(line);
    }
    return tables;
}

ExportedTable MdbToolsExport(const std::filesystem::path& file, const std::string& table) {
    ExportedTable result;
    result.name = table;
    const auto output = RunProgram(
        {"mdb-export", "-B", "-b", "hex", "-T", "%Y-%m-%dT%H:%M:%S", "-0", kNullMark, file.string(), table});
    if (!output) {
        result.error = "mdb-export failed";
        return result;
    }
    std::vector<std::vector<Cell>> rows = ParseCsv(*output);
    if (rows.empty()) {
        result.error = "mdb-export wrote nothing";
        return result;
    }
    for (const Cell& name : rows.front()) result.columns.push_back(name.value_or(std::string()));
    rows.erase(rows.begin());
    result.rows = std::move(rows);
    return result;
}

std::string WhyNoMdbReader() {
    if (!RunProgram({"which", "node"})) return "node is not installed";
    const std::filesystem::path script = std::filesystem::path(MARROWKIT_MDB_READER) / "dump.mjs";
    const std::filesystem::path package =
        std::filesystem::path(MARROWKIT_MDB_READER) / "node_modules" / "mdb-reader" / "package.json";
    if (!std::filesystem::exists(script) || !std::filesystem::exists(package)) {
        return "mdb-reader is not installed in " + std::string(MARROWKIT_MDB_READER);
    }
    return {};
}

std::vector<ExportedTable> MdbReaderExport(const std::filesystem::path& file) {
    std::vector<ExportedTable> tables;
    const auto output = RunProgram({"node", std::string(MARROWKIT_MDB_READER) + "/dump.mjs", file.string()});
    std::istringstream lines(output.value_or(std::string()));
    for (std::string line; std::getline(lines, line);) {
        const auto document = nlohmann::json::parse(line);
        ExportedTable table;
        table.name = document.value("table", std::string());
        table.error = document.value("error", std::string());
        if (table.error.empty()) {
            table.columns = document.at("columns").get<std::vector<std::string>>();
            for (const auto& row : document.at("rows")) {
                std::vector<Cell> cells;
                for (const auto& cell : row) {
                    if (cell.is_null()) {
                        cells.emplace_back();
                    } else {
                        cells.emplace_back(cell.is_string() ? cell.get<std::string>() : cell.dump());
                    }
                }
                table.rows.push_back(std::move(cells));
            }
        }
        tables.push_back(std::move(table));
    }
    return tables;
}

}  // namespace marrowkit::test
