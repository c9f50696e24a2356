#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include <sys/stat.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/PosixCalls.h"

// Files that take the place of others in one step: copies, new contents, new names.

namespace marrowkit {

using namespace posix;

namespace {

constexpr std::size_t kCopyBufferBytes = std::size_t{256} * 1024;

/// Makes a new name last. Some file systems refuse it; the data is safe all the same.
void SyncFolderOf(const std::string& hostPath) {
    const Descriptor folder(OpenRetrying(HostParentOf(hostPath).c_str(), O_RDONLY | O_DIRECTORY));
    if (folder.Get() >= 0) static_cast<void>(fsync(folder.Get()));
}

/// As mkostemp wants it: a name with six letters to replace, cut where the target's leaves no room for them.
std::string TwinOf(const std::string& target) {
    constexpr std::size_t kLongestNameBytes = 255;
    const std::string ending = ".mkXXXXXX";
    const std::size_t folder = target.find_last_of('/') + 1;  // 0 without one
    std::size_t end = folder + kLongestNameBytes - ending.size();
    if (end >= target.size()) return target + ending;
    // Some file systems take whole characters only, not a part of one of several bytes.
    while (end > folder && (static_cast<unsigned char>(target[end]) & 0xC0U) == 0x80U) --end;
    return target.substr(0, end) + ending;
}

/// A file beside the one it is to replace; removed again unless it was put into place.
class TemporaryTwin {
public:
    explicit TemporaryTwin(std::string target)
        : target_(std::move(target)), name_(TwinOf(target_)), file_(mkostemp(name_.data(), O_CLOEXEC)) {
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
        SyncFolderOf(target_);
    }

private:
    std::string target_;
    std::string name_;
    Descriptor file_;
    bool placed_ = false;
};

/// Keeps others from changing the file as long as it is open. Raises 70 when somebody holds a lock on any
/// byte of it for himself, as the platform does for a copy: a database that is open exclusively would be
/// copied half changed. Who opens one for sharing holds such a lock for a moment; that is waited for.
void LockForReading(int file) {
    constexpr int kAttempts = 100;
    constexpr std::chrono::milliseconds kPause{1};
#ifdef F_OFD_SETLK
    constexpr int kSetLock = F_OFD_SETLK;
#else
    constexpr int kSetLock = F_SETLK;
#endif
    struct flock wholeFile {};
    wholeFile.l_type = F_RDLCK;
    wholeFile.l_whence = SEEK_SET;
    for (int attempt = 0; fcntl(file, kSetLock, &wholeFile) != 0; ++attempt) {
        // Otherwise a file system that knows no locks.
        if (errno != EAGAIN && errno != EACCES) return;
        if (attempt == kAttempts) {
            SetLastPlatformErrorCode(errno);
            Raise(RuntimeErrorNumber::PermissionDenied);
        }
        std::this_thread::sleep_for(kPause);
    }
}

mode_t CurrentUmask() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

}  // namespace

void ReplaceHostFile(const std::string& hostPath, std::string_view bytes) {
    const auto entry = LinkStatusOf(hostPath);
    const std::string target = entry && entry->isLink ? CanonicalHostPath(hostPath) : hostPath;
    struct stat old {};
    const bool existed = stat(target.c_str(), &old) == 0;
    if (existed && S_ISDIR(old.st_mode)) RaiseSystemError(EISDIR);
    if (existed && !S_ISREG(old.st_mode)) return WriteHostFile(hostPath, bytes);

    TemporaryTwin twin(target);
    twin.Write(bytes);
    const mode_t mode = existed ? old.st_mode & kPermissionBits : kNewFileMode & ~CurrentUmask();
    if (fchmod(twin.Handle(), mode) != 0) RaiseSystemError(errno);
    // Belongs to us or to nobody else we may give it to.
    if (existed) static_cast<void>(!fchown(twin.Handle(), old.st_uid, old.st_gid));
    twin.PutIntoPlace();
}

void CopyHostFile(const std::string& from, const std::string& to) {
    const Descriptor source(OpenRetrying(from.c_str(), O_RDONLY));
    if (source.Get() < 0) RaiseForHostPath(errno, from);
    struct stat info {};
    if (fstat(source.Get(), &info) != 0) RaiseSystemError(errno);
    if (!S_ISREG(info.st_mode)) RaiseSystemError(EISDIR);  // a folder, or a device that never ends
    const auto target = StatusOf(to);
    if (target && target->kind == HostKind::Folder) RaiseSystemError(EISDIR);
    LockForReading(source.Get());

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

void CopyHostPermissions(const std::string& from, const std::string& to) {
    struct stat info {};
    if (stat(from.c_str(), &info) != 0) return;
    constexpr auto kSameOwner = static_cast<uid_t>(-1);
    // First of all: giving a file away can take permissions. Who may not give it away may give it to his
    // groups.
    if (chown(to.c_str(), info.st_uid, info.st_gid) != 0) {
        static_cast<void>(!chown(to.c_str(), kSameOwner, info.st_gid));
    }
    static_cast<void>(!chmod(to.c_str(), info.st_mode & kPermissionBits));
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

}  // namespace marrowkit
