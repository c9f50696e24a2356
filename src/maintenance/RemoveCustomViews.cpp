#include "maintenance/RemoveCustomViews.h"

#include <cstdint>
#include <string>
#include <string_view>

#include "maintenance/VanishedDatabase.h"
#include "platform/dao/Dao.h"
#include "platform/files/FileTools.h"
#include "platform/registry/RegistryStore.h"

namespace marrowkit {

namespace {

/// Record by record, not by a statement.
void DeleteAllRecords(UserInterface& ui, dao::Database& database, std::string_view query) {
    dao::Recordset records = database.OpenRecordset(query, dao::RecordsetType::Dynaset);
    if (!records.EOF_()) {
        records.MoveFirst();
        while (!records.EOF_()) {
            records.Delete();
            records.MoveNext();
            ui.LetEventsRun();
        }
    }
    records.Close();
}

}  // namespace

bool RemoveCustomViews(UserInterface& ui, const SelectedNode& database) {
    if (!FileTools().FileExists(database.key, 0, "Marrowkit")) {
        ReportVanishedDatabase(ui);
        return false;
    }
    const MessageAnswer answer = ui.ShowMessage(
        "Do you really want to delete all the custom views from this database?", MessageIcon::Question,
        "Confirm Removing All Custom Views", MessageButtons::YesNoCancel, true);
    if (answer != MessageAnswer::Yes) return false;

    const std::string statusBefore = ui.StatusText();
    ui.SetStatusText("Removing Custom Views in '" + database.text + "'...");
    ui.BeginBusy("Removing Custom Views...");
    dao::Database connection = dao::DBEngine().OpenDatabase(database.key);
    DeleteAllRecords(ui, connection, "SELECT * FROM ViewData");
    DeleteAllRecords(ui, connection, "SELECT * FROM ViewFilters");
    connection.Close();
    RegistryStore().WriteValue(
        "HKEY_LOCAL_MACHINE", "Software\\Quillon\\Vellora\\Vellora\\" + database.parentText + "\\QuickFilter",
        "NumFilters", std::int32_t{0});
    ui.EndBusy();
    ui.SetStatusText(statusBefore);
    ui.ShowMessage("Removed All Custom Views!", MessageIcon::Information, "Marrowkit");
    return true;
}

}  // namespace marrowkit
