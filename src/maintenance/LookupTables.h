#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "global/UserInterface.h"
#include "platform/dao/Dao.h"

namespace marrowkit {

/// A table whose records games refer to, and from which records can be deleted.
struct LookupTable {
    std::string_view table;
    std::string_view keyField;  ///< of the table and of Games
    std::string_view nameField;
    /// Records that may be deleted: all but those that the frontend ships and falls back to.
    std::string_view deletionList;
    // Around the key of the record to be deleted: the records that can take its place, the protected ones
    // among them.
    std::string_view replacementPrefix;
    std::string_view replacementSuffix;
};

/// In the order of the dialog's list.
extern const std::array<LookupTable, 5> kLookupTables;

/// By its table name, ignoring case; nullptr for any other table.
const LookupTable* FindLookupTable(std::string_view table);

struct LookupRecord {
    std::int32_t id = 0;
    std::string name;
    bool operator==(const LookupRecord&) const = default;
};

/// The statement that lists what can take the place of record `id`.
std::string ReplacementStatement(const LookupTable& table, std::int32_t id);

/// The records of a statement with the columns ID and Name, in its order. A record without a name has an
/// empty one.
std::vector<LookupRecord> ListLookupRecords(dao::Database& database, std::string_view query,
                                            dao::RecordsetType type = dao::RecordsetType::Dynaset);

/// Asks whether `record` is to be deleted and its games moved to `replacement`.
bool ConfirmLookupDeletion(UserInterface& ui, const LookupTable& table, const LookupRecord& record,
                           const LookupRecord& replacement);

/// Moves the games of record `id` to `replacementId` and deletes it: two changes, so when the second fails
/// the record is left behind without games.
void DeleteLookupRecord(dao::Database& database, const LookupTable& table, std::int32_t id,
                        std::int32_t replacementId);

/// What the dialog selects after the record at `position` has gone from a list: its successor, or the new
/// last one. REQUIRES: remaining > 0.
std::size_t SelectionAfterDeletion(std::size_t position, std::size_t remaining);

void ReportLookupDeletion(UserInterface& ui);

}  // namespace marrowkit
