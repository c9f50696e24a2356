#include "maintenance/ClearGameExtras.h"

#include "maintenance/DatabaseVersion.h"
#include "maintenance/VanishedDatabase.h"
#include "platform/dao/Dao.h"
#include "platform/files/FileTools.h"

namespace marrowkit {

bool ClearGameExtras(UserInterface& ui, const SelectedNode& database) {
    if (GetDatabaseVersion(database.key) < kMinExtrasVersion) {
        ui.ShowMessage("Database must be v2.1 or higher to perform this operation!", MessageIcon::Information,
                       "Marrowkit");
        return false;
    }
    if (!FileTools().FileExists(database.key, 0, "Marrowkit")) {
        ReportVanishedDatabase(ui);
        return false;
    }
    const MessageAnswer answer = ui.ShowMessage(
        "Do you really want to clear all the Game Extras linked this database?\r\n\r\n"
        "(This will not remove the files themselves.)",
        MessageIcon::Question, "Confirm Clearing All Game Extras", MessageButtons::YesNoCancel, true);
    if (answer != MessageAnswer::Yes) return false;

    dao::Database connection = dao::DBEngine().OpenDatabase(database.key);
    const std::string statusBefore = ui.StatusText();
    ui.SetStatusText("Clearing Game Extras in '" + database.text + "'...");
    ui.BeginBusy("Clearing Game Extras...");
    for (const char* statement :
         {"UPDATE Games SET Extras = False WHERE Extras = True", "DELETE * FROM Extras WHERE (1)"}) {
        connection.Execute(statement);
        ui.LetEventsRun();
    }
    ui.EndBusy();
    ui.SetStatusText(statusBefore);
    connection.Close();
    ui.ShowMessage("Cleared all Game Extras!", MessageIcon::Information, "Marrowkit");
    return true;
}

}  // namespace marrowkit
