#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "import/DatafileEntry.h"
#include "import/ImportSettings.h"
#include "platform/dao/Dao.h"

namespace marrowkit {

// Rows that the frontend's template database carries; the writers rely on them without looking.
inline constexpr std::int32_t kUnknownPublisherId = 37;
inline constexpr std::int32_t kUnknownCrackerId = 8;
inline constexpr std::int32_t kNoCrackerId = 7;
inline constexpr std::int32_t kFirstLanguageId = 1;
inline constexpr std::int32_t kUnknownMusicianId = 38;
inline constexpr std::int32_t kUncategorizedGenreId = 1;
inline constexpr std::int32_t kUnknownDifficultyId = 8;
inline constexpr std::int32_t kUnknownProgrammerId = 1;
inline constexpr std::int32_t kUnknownLengthType = 19;

/// What is known of a game beyond its line in the datafile. The defaults are those of a game of which nothing
/// is known.
struct GameFacts {
    std::int32_t publisherId = kUnknownPublisherId;
    std::int32_t crackerId = kUnknownCrackerId;
    std::int32_t languageId = kFirstLanguageId;
    std::int32_t yearId = 1;
    std::string comment;
    bool highScoreSaver = false;
    std::int32_t palNtsc = 1;
    std::int32_t trainers = -1;
    std::string versionComment;
    /// Databases of version 2.5 or higher have the field; false leaves it alone.
    bool setLengthType = false;
};

/// Adds one row to table Games, with every field that an import sets. Looks the
/// fields up once, not for each row.
class GameRecordWriter {
public:
    /// `games` must outlive the object.
    explicit GameRecordWriter(dao::Recordset& games) : games_(games) {}

    /// Raises what DAO raises: 3265 for a missing field, 3201 for an identifier without its row ...
    void Add(const DatafileEntry& entry, const GameFacts& facts, bool scanForRoms);

private:
    dao::Recordset& games_;
    std::vector<dao::Field> fields_;  ///< in the order of the field table; filled at the first row
};

}  // namespace marrowkit
