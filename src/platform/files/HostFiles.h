#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace marrowkit {

// The operating system's files, by host path. Everything above speaks Windows paths and comes here through
// HostPath(). Failures raise RuntimeError with the runtime's number (platform/errors/RuntimeError.h).

#ifdef _WIN32
/// A HANDLE; INVALID_HANDLE_VALUE is -1.
using HostHandle = std::intptr_t;
#else
/// A file descriptor.
using HostHandle = int;
#endif

enum class HostKind { File, Folder, Other };

struct HostStatus {
    HostKind kind = HostKind::Other;
    bool isLink = false;    ///< only LinkStatusOf: the entry itself is a symbolic link
    bool writable = false;  ///< somebody has write permission
    bool hidden = false;    ///< marked so on Windows; elsewhere only a name can say it
    std::uint64_t size = 0;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t modifiedNanoseconds = 0;  ///< since 1970

    bool SameFileAs(const HostStatus& other) const { return device == other.device && inode == other.inode; }
};

/// nullopt when there is nothing of that name, or no way to look. Links are followed.
std::optional<HostStatus> StatusOf(const std::string& hostPath);
/// The same for the entry itself, a link as a link.
std::optional<HostStatus> LinkStatusOf(const std::string& hostPath);

/// Whether listings for people leave the entry out: its name begins with a dot, on Windows it is marked.
bool IsHiddenEntry(std::string_view name, const HostStatus& status);

/// Raises what a failed call on a path means; "not found" becomes 76 when even the folder is missing.
[[noreturn]] void RaiseForHostPath(int systemCode, const std::string& hostPath);
/// Raises what opening a missing file does: 53, or 76.
[[noreturn]] void RaiseMissingHostFile(const std::string& hostPath);
/// Raises what opening a folder as a file does: 75.
[[noreturn]] void RaiseHostFolderIsNoFile();

/// The folder that a path's last component lies in; of a root the root itself.
std::string HostParentOf(const std::string& hostPath);
/// An entry of a folder.
std::string HostPathBelow(const std::string& hostFolder, std::string_view name);

/// An open file, closed at the end.
class HostFile {
public:
    enum class Mode { Read, Write };
    /// Write: an existing file is emptied, a missing one made. Raises 53, 76, 75 (also for a folder) ...
    HostFile(std::string hostPath, Mode mode);
    HostFile(const HostFile&) = delete;
    HostFile& operator=(const HostFile&) = delete;
    ~HostFile();

    std::uint64_t Size() const;
    /// Number of bytes read, 0 at the end of the file.
    std::size_t Read(std::span<char> buffer);
    /// All of it. A full disk raises 61.
    void Write(std::string_view bytes);
    /// Writes the rest out; errors that show only now are raised. The destructor keeps them to itself.
    void Close();

private:
    std::string path_;
    HostHandle handle_ = -1;
};

/// The whole file. Raises 7 for one that does not fit into memory.
std::string ReadHostFile(const std::string& hostPath);
/// In place: an existing file is emptied first.
void WriteHostFile(const std::string& hostPath, std::string_view bytes);

/// The file has either its old or the new content at every moment, also when the machine stops: written
/// beside it, flushed, renamed over it. Keeps the old permissions; a link stays a link. What is
/// no file but a device or a pipe is written to.
void ReplaceHostFile(const std::string& hostPath, std::string_view bytes);

/// A byte copy with the permissions and the time of change of the source. The target appears complete or not
/// at all. Raises 70 while somebody has a lock on the source that is not shared. REQUIRES: the two are not
/// the same file.
void CopyHostFile(const std::string& from, const std::string& to);

/// Gives a file the permissions of another, and its owner and group where they may be given. Nothing fails:
/// a file that cannot have them (a file system without permissions) does without.
void CopyHostPermissions(const std::string& from, const std::string& to);

/// Raises 75 when something of that name exists, 76 without the parent folder.
void MakeHostFolder(const std::string& hostPath);

/// Raises 58 when the new name exists, 74 across file systems.
void RenameHostEntry(const std::string& from, const std::string& to);

enum class WhenLocked { Keep, Remove };

/// Removes a file, a link (never what it leads to) or a folder with everything in it. Nothing there is fine.
/// Raises 70 for an entry that cannot be removed, 75 for a folder. Nothing at all is gone when the folder
/// around it may not be changed, and when somebody has a lock on it or on a file in it (70); the latter
/// does not count for one who has locked it himself and says so.
void RemoveHostTree(const std::string& hostPath, WhenLocked whenLocked = WhenLocked::Keep);

/// Calls `visit` with each name in a folder, "." and ".." left out, in the file system's order, until it
/// returns false. False when the folder cannot be read.
bool ForEachHostName(const std::string& hostFolder, const std::function<bool(const char*)>& visit);

/// Reads a folder entry by entry, each with its status, without resolving a path per entry.
class HostFolderReader {
public:
    explicit HostFolderReader(const std::string& hostFolder);
    HostFolderReader(const HostFolderReader&) = delete;
    HostFolderReader& operator=(const HostFolderReader&) = delete;
    ~HostFolderReader();

    bool IsOpen() const { return stream_ != nullptr; }
    /// The next name; nullptr at the end. "." and ".." are left out. Valid until the next call.
    const char* NextName();
    /// What the listing itself tells about that entry, without a look at it: nullopt for links, and on file
    /// systems that do not tell.
    std::optional<HostKind> ListedKind() const { return listedKind_; }
    /// Whether entries can be looked at, which takes another right than listing them.
    bool CanLookAtEntries() const;
    /// Status of the entry that NextName gave last, links followed; nullopt for a dangling link. On Windows
    /// it comes with the listing, without device and inode unless the entry is a link.
    std::optional<HostStatus> Status() const;

private:
    void* stream_;  ///< the system's listing
    const char* name_ = nullptr;
    std::optional<HostKind> listedKind_;
};

/// A folder kept open, so that the way down to it is not gone again for each of its files.
class OpenHostFolder {
public:
    /// A folder that cannot be opened is no error: its files are then opened by their whole paths.
    explicit OpenHostFolder(const std::string& hostFolder);
    OpenHostFolder(const OpenHostFolder&) = delete;
    OpenHostFolder& operator=(const OpenHostFolder&) = delete;
    ~OpenHostFolder();

    /// A descriptor of the system, only for openat and its like; negative when the folder could not be
    /// opened, and always on Windows, which has no such calls.
    int Descriptor() const { return descriptor_; }
    std::string PathOf(std::string_view name) const;

private:
    std::string path_;  ///< with a separator at its end
    int descriptor_ = -1;
};

/// Absolute, without "." and "..", links resolved as far as the path exists.
std::string CanonicalHostPath(const std::string& hostPath);
std::string CurrentHostFolder();
/// The folder that holds the running program's file.
std::string ProgramHostFolder();
/// Where our settings go, which need not exist: $XDG_CONFIG_HOME/marrowkit (a relative one is to be ignored)
/// or ~/.config/marrowkit; on Windows %APPDATA%\Marrowkit. Empty when the environment names neither.
std::string SettingsHostFolder();
/// A variable of the environment, in UTF-8; empty when it is not set.
std::string EnvironmentText(const char* name);

}  // namespace marrowkit
