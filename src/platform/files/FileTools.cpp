#include "platform/files/FileTools.h"

#include "platform/files/FileSystem.h"
#include "platform/files/IniFile.h"
#include "platform/files/StartProgram.h"

namespace marrowkit {

// The component's operations are members of it by its interface, although none needs its state.
// NOLINTBEGIN(readability-convert-member-functions-to-static)

bool FileTools::FileExists(std::string_view path, int /*number*/, std::string_view /*caption*/) const {
    return IsFile(path);
}

bool FileTools::FolderExists(std::string_view path) const {
    return IsFolder(path);
}

bool FileTools::OpenDocument(std::string_view path, std::string_view /*parameters*/) const {
    return OpenWithDesktop(path);
}

void FileTools::WriteIniValue(std::string_view section, std::string_view key, std::string_view value,
                              std::string_view file) const {
    marrowkit::WriteIniValue(section, key, value, file);
}

void FileTools::DeletePath(std::string_view path) const {
    marrowkit::DeletePath(path);
}

// NOLINTEND(readability-convert-member-functions-to-static)

}  // namespace marrowkit
