#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::test {

/// A table as one reader sees it, in texts that can be compared. nullopt stands for Null.
using Cell = std::optional<std::string>;
struct ExportedTable {
    std::string name;
    std::vector<std::string> columns;
    std::vector<std::vector<Cell>> rows;
    /// Why the reader could not read the table; empty if it could.
    std::string error;
};

/// A table as our engine reads it.
struct OwnTable {
    std::string name;
    std::vector<std::string> columns;
    std::vector<jet::ColumnType> types;
    std::vector<jet::Row> rows;
};

/// All local tables, the system's too, with all columns in display order.
std::vector<OwnTable> ReadOwnTables(const std::filesystem::path& file);

/// The other readers, with their known faults: what each makes of a value that we read. Numbers come out in a
/// form that does not depend on how many digits a reader prints; see Normalize.
enum class Reader { MdbTools, MdbReader };
Cell AsSeenBy(Reader reader, const jet::Value& value, jet::ColumnType type);

/// Brings a text that a reader printed into the form that AsSeenBy uses.
std::string Normalize(const std::string& text, jet::ColumnType type);

/// Empty when both tables hold the same columns and rows, in whatever order; else the first difference. Rows
/// that have moved are listed at their old place by us and at their new one by others.
std::string Difference(const OwnTable& own, const ExportedTable& other, Reader reader);

}  // namespace marrowkit::test
