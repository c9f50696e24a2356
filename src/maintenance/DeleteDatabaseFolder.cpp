#include "maintenance/DeleteDatabaseFolder.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "global/modGlobal.h"
#include "platform/files/FileTools.h"
#include "platform/text/Text.h"

namespace marrowkit {
namespace {

/// A sub-folder of the library, or something in one. Keys of other nodes are no paths, or lack their last
/// letter here: what they name by chance must not be deleted.
bool IsInLibrary(std::string_view path) {
    const std::string_view root = modGlobal::LibraryRoot;
    if (path.size() <= root.size() || !EqualNoCase(path.substr(0, root.size()), root)) return false;
    std::string_view rest = path.substr(root.size());
    while (!rest.empty()) {
        const std::string_view part = rest.substr(0, rest.find('\\'));
        if (part.empty() || part == "." || part == "..") return false;
        rest.remove_prefix(std::min(rest.size(), part.size() + 1));
    }
    return true;
}

}  // namespace

bool DeleteDatabaseFolder(UserInterface& ui, const SelectedNode& folder) {
    if (folder.key.empty()) return false;
    const std::string path = folder.key.substr(0, folder.key.size() - 1);
    if (!IsInLibrary(path) || !FileTools().FolderExists(path)) {
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
