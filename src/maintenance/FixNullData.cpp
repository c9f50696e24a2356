#include "maintenance/FixNullData.h"

#include <string>
#include <string_view>

#include "maintenance/DatabaseVersion.h"
#include "maintenance/NullRepairs.h"
#include "platform/dao/Dao.h"
#include "platform/files/FileSystem.h"

namespace marrowkit {

namespace {

constexpr const char* kTitle = "Vellora";
constexpr const char* kBusyText = "Removing NULL Data...";

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
    for (const std::string_view statement : NullRepairs(version)) connection.Execute(statement);
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
