#pragma once

#include <string>
#include <string_view>

namespace marrowkit {

// Windows paths as texts: nothing here looks at the disk. Both separators are understood, "\" is written.

struct SplitPathParts {
    std::string folder;    // without a final "\", except for a drive root ("C:\")
    std::string fileName;  // behind the last separator
};

/// "C:\Data\a.dat" -> "C:\Data" and "a.dat"; "C:\a.dat" -> "C:\" and "a.dat"; "a.dat" -> "" and "a.dat".
SplitPathParts SplitPath(std::string_view path);
std::string FolderOf(std::string_view path);
std::string FileNameOf(std::string_view path);

/// Folder and name with exactly one separator between them. An empty folder gives the name alone.
std::string JoinPath(std::string_view folder, std::string_view name);

std::string WithFinalBackslash(std::string_view path);
/// A drive root ("C:\") keeps its own.
std::string WithoutFinalBackslash(std::string_view path);

/// A letter and a colon at the start.
bool HasDriveLetter(std::string_view path);
/// "C:\..." or "\\server\...". "C:file" and "\file" are not: they depend on what is current.
bool IsAbsolutePath(std::string_view path);
/// "C:" or "C:\".
bool IsDriveRoot(std::string_view path);

/// Whether a file can have this name on Windows: not empty, not "." or "..", well-formed UTF-8, none of
/// \ / : * ? " < > | and no control character, no blank or dot at the end.
bool IsWindowsFileName(std::string_view name);

}  // namespace marrowkit
