#pragma once

#include <string>
#include <vector>

#include "creation/FrontendSchema.h"
#include "platform/jet/format/Value.h"

namespace marrowkit {

/// Rows of one table that a new database starts with: values for the named columns.
struct FixedRows {
    std::string table;
    std::vector<std::string> columns;
    std::vector<jet::Row> rows;
};

/// The records that the frontend ships and that its own and the import's keys refer to, each under its fixed
/// key, and a choice of ordinary ones to begin with. In an order that relationships allow.
///
/// Fixed are: publisher 37 (unknown) and 39 (none), musician 38 (unknown) and 39 (no music), programmer 1,
/// language 1 (English), cracker 7 (not cracked) and 8 (unknown), difficulty 8, genre 1, the years 1 to 50,
/// and the one record of Config.
std::vector<FixedRows> FrontendRows(SchemaVersion version);

}  // namespace marrowkit
