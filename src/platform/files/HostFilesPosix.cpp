#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <sys/types.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"

namespace marrowkit {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kCopyBufferBytes = std::size_t{256} * 1024;
constexpr mode_t kNewFileMode = 0666;    // less the umask
constexpr mode_t kNewFolderMode = 0777;  // less the umask
constexpr mode_t kPermissionBits = 07777;

HostStatus ToStatus(const struct stat& info) {
    HostStatus status;
    if (S_ISREG(info.st_mode)) status.kind = HostKind::File;
    if (S_ISDIR(info.st_mode)) status.kind = HostKind::Folder;
    status.isLink = S_ISLNK(info.st_mode);
    status.writable = (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
    status.size = static_cast<std::uint64_t>(info.st_size);
    status.device = info.st_dev;
    status.inode = info.st_ino;
    status.modifiedNanoseconds = info.st_mtim.tv_sec * std::int64_t{1'000'000'000} + info.st_mtim.tv_nsec;
    return status;
}

std::string ParentOf(const std::string& hostPath) {
    const std::size_t slash = hostPath.find_last_of('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : hostPath.substr(0, slash);
}

bool IsDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

/// A file descriptor that closes itself.
class Descriptor {
public:
    explicit Descriptor(int handle) : handle_(handle) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (handle_ >= 0) close(handle_);
    }
    int Get() const { return handle_; }
    int Release() { return std::exchange(handle_, -1); }

private:
    int handle_;
};

int OpenRetrying(const char* path, int flags, mode_t mode) {
    int handle = -1;
    do {
        handle = open(path, flags | O_CLOEXEC, mode);
    } while (handle < 0 && errno == EINTR);
    return handle;
}

/// 0, or the errno of the failure.
int WriteAll(int handle, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(handle, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

/// Number of bytes, -1 with errno.
ssize_t ReadSome(int handle, std::span<char> buffer) {
    ssize_t count = 0;
    do {
        count = read(handle, buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

/// A file beside the one it is to replace; removed again unless it was put into place.
class TemporaryTwin {
public:
    explicit TemporaryTwin(std::string target)
        : target_(std::move(target)), name_(target_ + ".mkXXXXXX"), file_(mkostemp(name_.data(), O_CLOEXEC)) {
        if (file_.Get() < 0) RaiseForHostPath(errno, target_);
    }
    TemporaryTwin(const TemporaryTwin&) = delete;
    TemporaryTwin& operator=(const TemporaryTwin&) = delete;
    ~TemporaryTwin() {
        if (!placed_) unlink(name_.c_str());
    }

    int Handle() const { return file_.Get(); }

    void Write(std::string_view bytes) {
        if (const int code = WriteAll(file_.Get(), bytes); code != 0) RaiseSystemError(code);
    }

    void PutIntoPlace() {
        if (fsync(file_.Get()) != 0 || close(file_.Release()) != 0) RaiseSystemError(errno);
        if (rename(name_.c_str(), target_.c_str()) != 0) RaiseForHostPath(errno, target_);
        placed_ = true;
        SyncFolder();
    }

private:
    /// Makes the rename itself last. Some file systems refuse it; the data is safe all the same.
    void SyncFolder() const {
        const Descriptor folder(OpenRetrying(ParentOf(target_).c_str(), O_RDONLY | O_DIRECTORY, 0));
        if (folder.Get() >= 0) static_cast<void>(fsync(folder.Get()));
    }

    std::string target_;
    std::string name_;
    Descriptor file_;
    bool placed_ = false;
};

mode_t CurrentUmask() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

// ---- removing -------------------------------------------------------------------------------------------

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
    if (handle < 0 && errno == EACCES && fchmodat(parent, name, S_IRWXU, 0) == 0) {
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

std::optional<HostStatus> StatusOf(const std::string& hostPath) {
    struct stat info {};
    if (stat(hostPath.c_str(), &info) != 0) return std::nullopt;
    return ToStatus(info);
}

std::optional<HostStatus> LinkStatusOf(const std::string& hostPath) {
    struct stat info {};
    if (lstat(hostPath.c_str(), &info) != 0) return std::nullopt;
    return ToStatus(info);
}

void RaiseForHostPath(int systemCode, const std::string& hostPath) {
    if (systemCode == ENOENT) {
        const auto parent = StatusOf(ParentOf(hostPath));
        if (!parent || parent->kind != HostKind::Folder) {
            SetLastPlatformErrorCode(systemCode);
            Raise(RuntimeErrorNumber::PathNotFound);
        }
    }
    RaiseSystemError(systemCode);
}

HostFile::HostFile(std::string hostPath, Mode mode) : path_(std::move(hostPath)) {
    const int flags = mode == Mode::Read ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
    handle_ = OpenRetrying(path_.c_str(), flags, kNewFileMode);
    if (handle_ < 0) RaiseForHostPath(errno, path_);
    struct stat info {};
    if (fstat(handle_, &info) == 0 && S_ISDIR(info.st_mode)) {
        close(std::exchange(handle_, -1));
        RaiseSystemError(EISDIR);
    }
}

HostFile::~HostFile() {
    if (handle_ >= 0) close(handle_);
}

std::uint64_t HostFile::Size() const {
    struct stat info {};
    if (fstat(handle_, &info) != 0) RaiseSystemError(errno);
    return static_cast<std::uint64_t>(info.st_size);
}

std::size_t HostFile::Read(std::span<char> buffer) {
    const ssize_t count = ReadSome(handle_, buffer);
    if (count < 0) RaiseSystemError(errno);
    return static_cast<std::size_t>(count);
}

void HostFile::Write(std::string_view bytes) {
    if (const int code = WriteAll(handle_, bytes); code != 0) RaiseSystemError(code);
}

void HostFile::Close() {
    const int handle = std::exchange(handle_, -1);
    if (handle >= 0 && close(handle) != 0) RaiseSystemError(errno);
}

std::string ReadHostFile(const std::string& hostPath) try {
    HostFile file(hostPath, HostFile::Mode::Read);
    std::string bytes;
    std::size_t filled = 0;
    bytes.resize(static_cast<std::size_t>(file.Size()) + 1);  // one more shows the end without growing
    while (const std::size_t count = file.Read({bytes.data() + filled, bytes.size() - filled})) {
        filled += count;
        if (filled == bytes.size()) bytes.resize(bytes.size() + bytes.size() / 2 + 4096);
    }
    bytes.resize(filled);
    return bytes;
} catch (const std::bad_alloc&) {
    Raise(RuntimeErrorNumber::OutOfMemory);
} catch (const std::length_error&) {
    Raise(RuntimeErrorNumber::OutOfMemory);
}

void WriteHostFile(const std::string& hostPath, std::string_view bytes) {
    HostFile file(hostPath, HostFile::Mode::Write);
    file.Write(bytes);
    file.Close();
}

void ReplaceHostFile(const std::string& hostPath, std::string_view bytes) {
    const auto entry = LinkStatusOf(hostPath);
    const std::string target = entry && entry->isLink ? CanonicalHostPath(hostPath) : hostPath;
    struct stat old {};
    const bool existed = stat(target.c_str(), &old) == 0;
    if (existed && S_ISDIR(old.st_mode)) RaiseSystemError(EISDIR);

    TemporaryTwin twin(target);
    twin.Write(bytes);
    const mode_t mode = existed ? old.st_mode & kPermissionBits : kNewFileMode & ~CurrentUmask();
    if (fchmod(twin.Handle(), mode) != 0) RaiseSystemError(errno);
    // Belongs to us or to nobody else we may give it to.
    if (existed) static_cast<void>(!fchown(twin.Handle(), old.st_uid, old.st_gid));
    twin.PutIntoPlace();
}

void CopyHostFile(const std::string& from, const std::string& to) {
    const Descriptor source(OpenRetrying(from.c_str(), O_RDONLY, 0));
    if (source.Get() < 0) RaiseForHostPath(errno, from);
    struct stat info {};
    if (fstat(source.Get(), &info) != 0) RaiseSystemError(errno);
    if (S_ISDIR(info.st_mode)) RaiseSystemError(EISDIR);
    const auto target = StatusOf(to);
    if (target && target->kind == HostKind::Folder) RaiseSystemError(EISDIR);

    TemporaryTwin twin(to);
    std::vector<char> buffer(kCopyBufferBytes);
    for (;;) {
        const ssize_t count = ReadSome(source.Get(), buffer);
        if (count < 0) RaiseSystemError(errno);
        if (count == 0) break;
        twin.Write({buffer.data(), static_cast<std::size_t>(count)});
    }
    const std::array<timespec, 2> times = {info.st_atim, info.st_mtim};
    if (fchmod(twin.Handle(), info.st_mode & 0777U) != 0) RaiseSystemError(errno);
    static_cast<void>(futimens(twin.Handle(), times.data()));
    twin.PutIntoPlace();
}

void MakeHostFolder(const std::string& hostPath) {
    if (mkdir(hostPath.c_str(), kNewFolderMode) == 0) return;
    const int code = errno;
    SetLastPlatformErrorCode(code);
    if (code == EEXIST) Raise(RuntimeErrorNumber::PathFileAccess);
    if (code == ENOENT) Raise(RuntimeErrorNumber::PathNotFound);
    RaiseSystemError(code);
}

void RenameHostEntry(const std::string& from, const std::string& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return;
    if (errno == EINVAL || errno == ENOSYS) {
        // A file system without that call.
        if (LinkStatusOf(to)) RaiseSystemError(EEXIST);
        if (rename(from.c_str(), to.c_str()) == 0) return;
    }
    const int code = errno;
    RaiseForHostPath(code, code == ENOENT && LinkStatusOf(from) ? to : from);
}

void RemoveHostTree(const std::string& hostPath) {
    struct stat info {};
    if (lstat(hostPath.c_str(), &info) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return;
        RaiseNotRemoved(errno, false);
    }
    const Descriptor parent(OpenRetrying(ParentOf(hostPath).c_str(), O_RDONLY | O_DIRECTORY, 0));
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

bool ForEachHostName(const std::string& hostFolder, const std::function<bool(const char*)>& visit) {
    HostFolderReader reader(hostFolder);
    if (!reader.IsOpen()) return false;
    while (const char* name = reader.NextName()) {
        if (!visit(name)) break;
    }
    return true;
}

HostFolderReader::HostFolderReader(const std::string& hostFolder) : stream_(opendir(hostFolder.c_str())) {}

HostFolderReader::~HostFolderReader() {
    if (stream_ != nullptr) closedir(static_cast<DIR*>(stream_));
}

const char* HostFolderReader::NextName() {
    name_ = nullptr;
    if (stream_ == nullptr) return nullptr;
    while (const dirent* entry = readdir(static_cast<DIR*>(stream_))) {
        if (IsDotOrDotDot(entry->d_name)) continue;
        name_ = entry->d_name;
        break;
    }
    return name_;
}

std::optional<HostStatus> HostFolderReader::Status() const {
    struct stat info {};
    if (name_ == nullptr || fstatat(dirfd(static_cast<DIR*>(stream_)), name_, &info, 0) != 0) {
        return std::nullopt;
    }
    return ToStatus(info);
}

std::string CanonicalHostPath(const std::string& hostPath) {
    std::error_code error;
    fs::path path = fs::weakly_canonical(hostPath, error);
    if (error) path = fs::absolute(hostPath, error).lexically_normal();
    return path.string();
}

std::string CurrentHostFolder() {
    std::error_code error;
    const fs::path folder = fs::current_path(error);
    return error ? "/" : folder.string();
}

std::string ProgramHostFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return error ? CurrentHostFolder() : program.parent_path().string();
}

}  // namespace marrowkit
