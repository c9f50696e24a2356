#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

/// A column as a user of the table sees it, in display order. Names compare ignoring case.
struct Column {
    std::string name;
    ColumnType type = ColumnType::Long;
    /// Text: characters; Binary: bytes; other types: 0.
    int size = 0;
    std::uint8_t precision = 0;  ///< Numeric
    std::uint8_t scale = 0;      ///< Numeric
    bool autoNumber = false;
    bool randomAutoNumber = false;
    bool required = false;
    bool allowZeroLength = true;
    bool compressed = true;  ///< Jet 4 texts
    /// Expression texts as stored in the column's properties; empty for none.
    std::string defaultValue;
    std::string validationRule;
    std::string validationText;
};

/// An index as a user sees it: named, on columns of one table.
struct Index {
    struct Part {
        std::string column;
        bool ascending = true;
        bool operator==(const Part&) const = default;
    };
    std::string name;
    std::vector<Part> parts;
    bool primaryKey = false;
    bool unique = false;
    bool required = false;
    bool ignoreNulls = false;
    /// True for the index that a relationship made for its foreign side.
    bool foreign = false;
    /// Position among the table's real indexes; several indexes may share one.
    std::size_t realIndex = 0;
};

struct Relationship {
    std::string name;
    std::string table;         ///< primary (referenced) table
    std::string foreignTable;  ///< referencing table
    /// (primary column, foreign column)
    std::vector<std::pair<std::string, std::string>> columns;
    bool enforced = true;
    bool unique = false;  ///< one to one
    bool cascadeUpdates = false;
    bool cascadeDeletes = false;
};

/// What CREATE TABLE needs. Indexes' realIndex is ignored.
struct TableDesign {
    std::string name;
    std::vector<Column> columns;
    std::vector<Index> indexes;
    std::string validationRule;
    std::string validationText;
};

/// One row of the catalog.
struct CatalogObject {
    enum class Type : std::int16_t {
        Table = 1,
        Database = 2,
        Container = 3,
        OdbcLink = 4,
        Query = 5,
        Link = 6,
        Relationship = 8,
        Form = -32768,
        Macro = -32766,
        Report = -32764,
        Module = -32761,
        Document = -32757,
        DataAccessPage = -32756,
    };
    std::int32_t id = 0;
    std::int32_t parentId = 0;
    std::string name;
    Type type = Type::Table;
    std::uint32_t flags = 0;

    /// Created with the database or by Access for itself; not among the user's tables.
    bool IsSystem() const { return (flags & 0x80000002U) != 0; }
};

}  // namespace marrowkit::jet
