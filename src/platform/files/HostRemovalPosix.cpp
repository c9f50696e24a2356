#include <cerrno>
#include <dirent.h>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/PosixCalls.h"

namespace marrowkit {

using namespace posix;

namespace {

[[noreturn]] void RaiseNotRemoved(int systemCode, bool folder) {
    SetLastPlatformErrorCode(systemCode);
    if (systemCode == EIO) Raise(RuntimeErrorNumber::DeviceIoError);
    if (systemCode == EMFILE || systemCode == ENFILE) Raise(RuntimeErrorNumber::TooManyFiles);
    Raise(folder ? RuntimeErrorNumber::PathFileAccess : RuntimeErrorNumber::PermissionDenied);
}

/// unlinkat, once more after giving ourselves write permission for the folder that holds the entry.
int UnlinkIn(int folder, const char* name, int flags) {
    if (unlinkat(folder, name, flags) == 0 || errno == ENOENT) return 0;
    if (errno != EACCES && errno != EPERM) return errno;
    const int first = errno;
    struct stat info {};
    if (folder == AT_FDCWD || fstat(folder, &info) != 0) return first;
    if (fchmod(folder, (info.st_mode & kPermissionBits) | S_IRWXU) != 0) return first;
    if (unlinkat(folder, name, flags) == 0 || errno == ENOENT) return 0;
    return errno;
}

/// Opens a folder for reading its entries, taking read permission where it is missing. Never through a link.
int OpenFolderIn(int parent, const char* name) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    int handle = openat(parent, name, kFlags);
    if (handle < 0 && errno == EACCES && fchmodat(parent, name, S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0) {
        handle = openat(parent, name, kFlags);
    }
    return handle;
}

struct NamedEntry {
    std::string name;
    bool mayBeFolder;
};

std::vector<NamedEntry> EntriesOf(int folder) {
    std::vector<NamedEntry> entries;
    const int copy = fcntl(folder, F_DUPFD_CLOEXEC, 0);
    DIR* stream = copy < 0 ? nullptr : fdopendir(copy);
    if (stream == nullptr) {
        const int code = errno;
        if (copy >= 0) close(copy);
        RaiseNotRemoved(code, true);
    }
    while (const dirent* entry = readdir(stream)) {
        if (IsDotOrDotDot(entry->d_name)) continue;
        entries.push_back({entry->d_name, entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN});
    }
    closedir(stream);
    return entries;
}

/// Whether anybody has a lock on a byte of the file; programs of Windows lock bytes of what they have open.
bool IsLocked(int file) {
    struct flock wholeFile {};
    wholeFile.l_type = F_WRLCK;
    wholeFile.l_whence = SEEK_SET;
#ifdef F_OFD_GETLK
    constexpr int kGetLock = F_OFD_GETLK;
#else
    constexpr int kGetLock = F_GETLK;
#endif
    return fcntl(file, kGetLock, &wholeFile) == 0 && wholeFile.l_type != F_UNLCK;
}

/// Raises 70 when somebody has a lock on the file, or on one anywhere in the folder: the system would let it
/// go all the same, and whoever works on it would write to nowhere. What cannot be read cannot be asked.
void RaiseWhenInUse(int parent, const NamedEntry& entry) {
    struct stat info {};
    if (fstatat(parent, entry.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) return;
    const bool folder = S_ISDIR(info.st_mode);
    if (!folder && !S_ISREG(info.st_mode)) return;
    const int flags = folder ? O_DIRECTORY : O_NONBLOCK;
    const Descriptor handle(openat(parent, entry.name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | flags));
    if (handle.Get() < 0) return;
    if (folder) {
        for (const NamedEntry& inside : EntriesOf(handle.Get())) RaiseWhenInUse(handle.Get(), inside);
    } else if (IsLocked(handle.Get())) {
        RaiseNotRemoved(EACCES, false);
    }
}

void RemoveFolderIn(int parent, const char* name);

void RemoveEntryIn(int parent, const NamedEntry& entry) {
    const char* name = entry.name.c_str();
    struct stat info {};
    const bool folder =
        entry.mayBeFolder && fstatat(parent, name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
    if (folder) return RemoveFolderIn(parent, name);
    if (const int code = UnlinkIn(parent, name, 0); code != 0) RaiseNotRemoved(code, false);
}

// By descriptors, one open per level: an entry that is exchanged for a link meanwhile cannot lead elsewhere.
void RemoveFolderIn(int parent, const char* name) {
    {
        const Descriptor folder(OpenFolderIn(parent, name));
        if (folder.Get() < 0) {
            if (errno == ENOENT) return;
            RaiseNotRemoved(errno, true);
        }
        for (const NamedEntry& entry : EntriesOf(folder.Get())) RemoveEntryIn(folder.Get(), entry);
    }
    if (const int code = UnlinkIn(parent, name, AT_REMOVEDIR); code != 0) RaiseNotRemoved(code, true);
}

}  // namespace

void RemoveHostTree(const std::string& hostPath, WhenLocked whenLocked) {
    struct stat info {};
    if (lstat(hostPath.c_str(), &info) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return;
        RaiseNotRemoved(errno, false);
    }
    const std::string parentPath = HostParentOf(hostPath);
    // What goes may be made writable first; the folder around it stays, and so do its permissions. Asked
    // before anything is removed: a folder that cannot go must not lose what is in it.
    if (faccessat(AT_FDCWD, parentPath.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
        RaiseNotRemoved(errno, S_ISDIR(info.st_mode));
    }
    if (whenLocked == WhenLocked::Keep) RaiseWhenInUse(AT_FDCWD, {hostPath, S_ISDIR(info.st_mode)});
    const Descriptor parent(OpenRetrying(parentPath.c_str(), O_RDONLY | O_DIRECTORY));
    const std::size_t slash = hostPath.find_last_of('/');
    if (parent.Get() < 0) {
        // A folder that may be searched but not read still lets its entries go.
        if (S_ISDIR(info.st_mode)) return RemoveFolderIn(AT_FDCWD, hostPath.c_str());
        if (const int code = UnlinkIn(AT_FDCWD, hostPath.c_str(), 0); code != 0) RaiseNotRemoved(code, false);
        return;
    }
    const std::string name = slash == std::string::npos ? hostPath : hostPath.substr(slash + 1);
    RemoveEntryIn(parent.Get(), {name, S_ISDIR(info.st_mode)});
}

}  // namespace marrowkit
