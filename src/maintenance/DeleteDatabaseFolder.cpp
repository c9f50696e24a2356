#include "maintenance/DeleteDatabaseFolder.h"

#include <string>

#include "platform/files/FileTools.h"

namespace marrowkit {

bool DeleteDatabaseFolder(UserInterface& ui, const SelectedNode& folder) {
    if (folder.key.empty()) return false;
    const std::string path = folder.key.substr(0, folder.key.size() - 1);
    if (!FileTools().FolderExists(path)) {
        ui.ShowMessage("Huh? This folder doesn't exist!", MessageIcon::None, std::string(kApplicationTitle));
        ui.RefreshLibraryTree();
        return false;
    }
    const MessageAnswer answer = ui.ShowMessage(
        "Are you sure you want to permanently delete this Vellora folder?\r\n\r\n'" + path +
            "'\r\n\r\nWARNING: This action is irreversable.  Once it's gone, it's gone!",
        MessageIcon::Question, "Really Delete '" + folder.text + "'?", MessageButtons::YesNoCancel, true);
    if (answer != MessageAnswer::Yes) return false;
    // The text stays until something else replaces it.
    ui.SetStatusText("Deleting '" + path + "'...");
    ui.BeginBusy("Deleting...");
    FileTools().DeletePath(path);
    ui.EndBusy();
    ui.RefreshLibraryTree();
    return true;
}

}  // namespace marrowkit
