#include "global/Library.h"

#include "global/modGlobal.h"
#include "platform/files/FileTools.h"
#include "platform/files/FolderSearch.h"
#include "platform/text/Text.h"

namespace marrowkit {

std::vector<std::string> DatabaseNames() {
    const FileTools tools;
    std::vector<std::string> names;
    for (const FoundFile& entry : ListFolder(modGlobal::LibraryRoot)) {
        if (!entry.IsFolder() || EqualNoCase(entry.name, kFrontendDocumentsFolder)) continue;
        if (tools.FileExists(DatabasePathOf(entry.name), 0, "")) names.push_back(entry.name);
    }
    return names;
}

std::string DatabasePathOf(std::string_view name) {
    std::string path = modGlobal::LibraryRoot;
    path.append(name).append("\\").append(name).append(".mdb");
    return path;
}

}  // namespace marrowkit
