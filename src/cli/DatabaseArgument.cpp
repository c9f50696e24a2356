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

}  // namespace

// A plain name is one of the library, also when there is no such database: the message then names the place
// where it was looked for. Only a name that ends in ".mdb" may be a file of the current folder as well.
std::string DatabaseOf(const std::string& argument) {
    if (argument.empty() || !IsWindowsFileName(argument)) return WindowsPath(argument);
    std::string inLibrary = DatabasePathOf(argument);
    if (!EqualNoCase(Right(argument, 4), ".mdb")) return inLibrary;
    return FileTools().FileExists(inLibrary, 0, "") ? inLibrary : WindowsPath(argument);
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
    return "";
}

}  // namespace marrowkit::cli
