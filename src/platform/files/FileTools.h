#pragma once

#include <string_view>

namespace marrowkit {

/// The file-system component of the program: made for one use, released after it. It shows nothing itself.
class FileTools {
public:
    /// Whether there is a file (not a folder) of that name. The number and the caption belong to the
    /// component's interface and change nothing.
    bool FileExists(std::string_view path, int number, std::string_view caption) const;
    bool FolderExists(std::string_view path) const;

    /// Opens a file with the program that the desktop has for its type. False when none starts.
    bool OpenDocument(std::string_view path, std::string_view parameters = "") const;

    /// platform/files/IniFile.h
    void WriteIniValue(std::string_view section, std::string_view key, std::string_view value,
                       std::string_view file) const;

    /// platform/files/FileSystem.h
    void DeletePath(std::string_view path) const;
};

}  // namespace marrowkit
