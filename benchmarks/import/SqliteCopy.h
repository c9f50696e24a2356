#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Figures.h"
#include "platform/jet/engine/Schema.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::benchmark {

/// Table Games of a database with all its rows, and the tables that it refers to, to be put into SQLite.
class SqliteCopy {
public:
    explicit SqliteCopy(const std::filesystem::path& database);

    std::size_t RowCount() const { return games_.rows.size(); }

    /// Makes a new SQLite file with these tables and inserts the games through one prepared statement, in one
    /// transaction. Only that is timed: what the games refer to is there before.
    Cost CostToInsert(const std::filesystem::path& file) const;

private:
    struct TableCopy {
        std::string name;
        std::vector<std::string> declarations;  ///< columns and references
        std::vector<std::string> indexes;       ///< statements
        std::vector<jet::Row> rows;
    };

    TableCopy games_;
    std::vector<TableCopy> lookups_;
};

}  // namespace marrowkit::benchmark
