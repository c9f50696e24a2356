#include "cli/DatabaseArgument.h"

#include "creation/CreateDatabase.h"
#include "global/Library.h"
#include "platform/files/FileTools.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "platform/text/Text.h"

namespace marrowkit::cli {

namespace {

/// Names that mean a device to Windows in every folder, also with an ending behind them.
bool IsDeviceName(std::string_view name) {
    const std::string base = UCase(RTrim(name.substr(0, name.find('.'))));
    for (const std::string_view device : {"CON", "PRN", "AUX", "NUL"}) {
        if (base == device) return true;
    }
    const bool numbered = base.size() == 4 && base[3] >= '1' && base[3] <= '9';
    return numbered && (base.starts_with("COM") || base.starts_with("LPT"));
}

/// A database's folder stands for its database; any other path for itself.
std::string DatabaseAt(const std::string& path) {
    const std::string folder = WithoutFinalBackslash(path);
    std::string inFolder = folder + "\\" + FileNameOf(folder) + ".mdb";
    return FileTools().FileExists(inFolder, 0, "") ? inFolder : path;
}

}  // namespace

// A plain name is one of the library, else a file of the current folder. When there is neither, a name that
// ends in ".mdb" counts as such a file, any other as the library's: the message then names the place.
std::string DatabaseOf(const std::string& argument) {
    if (argument.empty() || !IsWindowsFileName(argument)) return DatabaseAt(WindowsPath(argument));
    std::string inLibrary = DatabasePathOf(argument);
    if (FileTools().FileExists(inLibrary, 0, "")) return inLibrary;
    const std::string here = WindowsPath(argument);
    const bool isFileHere = EqualNoCase(Right(argument, 4), ".mdb") || FileTools().FileExists(here, 0, "");
    return isFileHere ? here : inLibrary;
}

SelectedNode DatabaseNode(const std::string& argument) {
    SelectedNode node;
    node.key = DatabaseOf(argument);
    const SplitPathParts parts = SplitPath(node.key);
    node.text = parts.fileName;
    node.parentKey = WithFinalBackslash(parts.folder);
    node.parentText = FileNameOf(parts.folder);
    return node;
}

std::string ObjectionToDatabaseName(const std::string& name) {
    if (name.empty()) return "The name of a database cannot be empty.";
    if (name.find_first_of(kInvalidNameCharacters) != std::string::npos) {
        return "You have entered one or more invalid characters!";
    }
    if (Len(name) > kDatabaseNameCharacters) {
        return "The name of a database has at most " + std::to_string(kDatabaseNameCharacters) +
               " characters.";
    }
    if (!IsWindowsFileName(name) || IsDeviceName(name)) {
        return "Windows cannot have a folder of that name: " + name;
    }
    if (EqualNoCase(name, kFrontendDocumentsFolder)) {
        return "A folder of that name is never shown as a database: " + name;
    }
    return "";
}

}  // namespace marrowkit::cli
