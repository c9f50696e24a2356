#include "maintenance/FixNullData.h"

#include <span>
#include <string>
#include <string_view>

#include "maintenance/DatabaseVersion.h"
#include "platform/dao/Dao.h"
#include "platform/files/FileSystem.h"

namespace marrowkit {

namespace {

constexpr const char* kTitle = "Vellora";
constexpr const char* kBusyText = "Removing NULL Data...";

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

bool FixNullData(UserInterface& ui, const SelectedNode& database) {
    if (database.key.empty()) return false;
    if (!PathExists(database.key)) {
        ui.ShowMessage("Could not find file: " + database.key, MessageIcon::Information, kTitle);
        return false;
    }
    const float version = GetDatabaseVersion(database.key);
    if (version < kMinFixVersion) {
        ui.ShowMessage("Version of database is less than 2.0!", MessageIcon::Information, kTitle);
        return false;
    }
    ui.SetHourglass(true);
    ui.LetEventsRun();
    dao::Database connection = dao::DBEngine().OpenDatabase(database.key);
    for (const RepairGroup& group : kGroups) {
        if (!(version > group.above)) continue;
        for (const std::string_view statement : group.statements) connection.Execute(statement);
    }
    connection.Close();
    ui.SetHourglass(false);
    ui.ShowMessage("Fixed: All NULL Data Removed!", MessageIcon::Information, kTitle);
    return true;
}

bool ScanAndFixErrors(UserInterface& ui, const SelectedNode& database) {
    const std::string statusBefore = ui.StatusText();
    ui.SetStatusText(kBusyText);
    ui.BeginBusy(kBusyText);
    const bool fixed = FixNullData(ui, database);
    ui.EndBusy();
    ui.SetStatusText(statusBefore);
    return fixed;
}

}  // namespace marrowkit
