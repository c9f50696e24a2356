#include "maintenance/NullRepairs.h"

#include <span>

#include "maintenance/DatabaseVersion.h"

namespace marrowkit {

namespace {

constexpr std::string_view kBaseRepairs[] = {
    R"(UPDATE Games SET Name = "" WHERE Name IS NULL)",
    R"(UPDATE Games SET Filename = "" WHERE Filename IS NULL)",
    R"(UPDATE Games SET ScrnshotFilename = "" WHERE ScrnshotFilename IS NULL)",
    R"(UPDATE Games SET SidFilename = "" WHERE SidFilename IS NULL)",
    R"(UPDATE Games SET DateLastPlayed = "" WHERE DateLastPlayed IS NULL)",
    R"(UPDATE Games SET HighScore = "" WHERE HighScore IS NULL)",
    R"(UPDATE Games SET MemoText = "" WHERE MemoText IS NULL)",
    R"(UPDATE Games SET Comment = "" WHERE Comment IS NULL)",
    R"(UPDATE Games SET V_Comment = "" WHERE V_Comment IS NULL)",
    R"(UPDATE Games SET FileToRun = "" WHERE FileToRun IS NULL)",
    R"(UPDATE Music SET Name = "" WHERE Name IS NULL)",
    R"(UPDATE Music SET Filename = "" WHERE Filename IS NULL)",
    R"(UPDATE Musicians SET Grp = "" WHERE Grp IS NULL)",
    R"(UPDATE Musicians SET Nick = "" WHERE Nick IS NULL)",
    R"(UPDATE Musicians SET Photo = "" WHERE Photo IS NULL)",
    // Names of lookup records get a text that shows up in the frontend's lists.
    R"(UPDATE Crackers SET Cracker = "Rename Me!" WHERE Cracker IS NULL)",
    R"(UPDATE Difficulty SET Difficulty = "Rename Me!" WHERE Difficulty IS NULL)",
    R"(UPDATE Genres SET Genre = "Sub-Genre" WHERE Genre IS NULL)",
    R"(UPDATE Languages SET Language = "Rename Me!" WHERE Language IS NULL)",
    R"(UPDATE Musicians SET Musician = "Rename Me!" WHERE Musician IS NULL)",
    R"(UPDATE PGenres SET ParentGenre = "Parent-Genre" WHERE ParentGenre IS NULL)",
    R"(UPDATE Programmers SET Programmer = "Rename Me!" WHERE Programmer IS NULL)",
    R"(UPDATE Publishers SET Publisher = "Rename Me!" WHERE Publisher IS NULL)",
};

constexpr std::string_view kRepairsAbove20[] = {
    R"(UPDATE Games SET CRC = "" WHERE CRC IS NULL)",
    R"(UPDATE Extras SET Name = "" WHERE Name IS NULL)",
    R"(UPDATE Extras SET Path = "" WHERE Path IS NULL)",
    R"(UPDATE Extras SET Data = "" WHERE Data IS NULL)",
    "UPDATE Games SET Filesize = 0 WHERE Filesize IS NULL",
};

constexpr std::string_view kRepairsAbove22[] = {
    R"(UPDATE Games SET Korvo = "" WHERE Korvo IS NULL)",
};

// Both ends go to 19, not to the nearer bound.
constexpr std::string_view kRepairsAbove24[] = {
    R"(UPDATE Config SET FirstLoadMessage = "" WHERE FirstLoadMessage IS NULL)",
    "UPDATE Games SET V_LengthType = 19 WHERE V_LengthType < 0",
    "UPDATE Games SET V_LengthType = 19 WHERE V_LengthType > 19",
};

struct RepairGroup {
    float above;  ///< databases of a higher version have these fields
    std::span<const std::string_view> statements;
};

constexpr RepairGroup kGroups[] = {
    {0.0F, kBaseRepairs},
    {kLastVersionWithoutCrc, kRepairsAbove20},
    {kLastVersionWithoutKorvo, kRepairsAbove22},
    {kLastVersionWithoutLengthType, kRepairsAbove24},
};

}  // namespace

std::vector<std::string_view> NullRepairs(float version) {
    std::vector<std::string_view> statements;
    for (const RepairGroup& group : kGroups) {
        if (!(version > group.above)) continue;
        statements.insert(statements.end(), group.statements.begin(), group.statements.end());
    }
    return statements;
}

}  // namespace marrowkit
