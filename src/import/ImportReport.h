#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "import/ImportSettings.h"
#include "import/ImportTables.h"

namespace marrowkit {

/// One thing worth knowing about an import. Nothing here changes what an import does.
struct ReportRow {
    std::string
        kind;  ///< "hint", "skipped line", "too long", "found", "missing", "near miss", "duplicate file", ...
    std::optional<std::size_t> line;  ///< of the datafile, from 1
    std::string name;                 ///< of the game
    std::string file;                 ///< below the ROM folder
    std::string crc;
    std::optional<std::int32_t> size;
    std::string detail;

    bool operator==(const ReportRow&) const = default;
};

/// Which lines of the datafile will not become entries, and why; and hints at what is wrong with a datafile
/// as a whole: another version, line ends or an encoding that hide its games lines. Raises the error of a
/// file that cannot be read.
std::vector<ReportRow> ExplainDatafile(const ImportSettings& settings);

/// What the ROM scan came to: every entry with its file or without one, files that no entry uses, files that
/// equal an earlier one, and entries that a file would belong to but for the leading zeros of the datafile's
/// checksum or for its size. Needs the tables as they are after the scan.
std::vector<ReportRow> ExplainMatches(const ImportSettings& settings, const ImportTables& tables);

}  // namespace marrowkit
