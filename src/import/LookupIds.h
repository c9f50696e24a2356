#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/dao/Dao.h"

namespace marrowkit {

/// Finds rows of a lookup table (publishers, crackers, languages) by their name, adding those that are
/// missing. Names compare as Jet compares texts: case does not matter, and the form added first stays.
///
/// A name is put into the statement as it stands, so one with a double quote breaks the statement (3075) and
/// with it the import. Names already resolved are remembered, except those with a double quote: what such a
/// statement finds is for the database to say each time.
class LookupIds {
public:
    /// `database` must stay open as long as the object lives; the texts must be literals.
    LookupIds(dao::Database& database, std::string_view table, std::string_view keyField,
              std::string_view nameField);

    std::int32_t IdOf(const std::string& name);

private:
    std::int32_t FindOrAdd(const std::string& name);
    std::int32_t Add(const std::string& name);

    dao::Database& database_;
    std::string table_;
    std::string query_;
    std::string_view keyField_;
    std::string_view nameField_;
    std::unordered_map<std::string, std::int32_t> known_;
    /// Through which rows are added, from the first that is missing on. Closing a changed recordset writes
    /// everything to the disk, so it is not done for each row.
    std::optional<dao::Recordset> additions_;
};

}  // namespace marrowkit
