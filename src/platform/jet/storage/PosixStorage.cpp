#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include <sys/stat.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet {

namespace {

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool IsFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// What a failed open or rename means, by DAO's numbers.
[[noreturn]] void RaiseOpenError(int code, const std::string& path) {
    SetLastPlatformErrorCode(code);
    switch (code) {
        case ENOENT:
            if (IsFolder(FolderOf(path))) RaiseJet(JetError::FileNotFound, {path});
            RaiseJet(JetError::InvalidPath, {path});
        case ENOTDIR:
        case ENAMETOOLONG:
        case ELOOP:
            RaiseJet(JetError::InvalidPath, {path});
        case EEXIST:
            RaiseJet(JetError::DatabaseExists);
        case ENOSPC:
        case EDQUOT:
            RaiseJet(JetError::DiskFull);
        case EIO:
            RaiseJet(JetError::DiskError);
        default:
            RaiseJet(JetError::CannotOpen, {path});
    }
}

[[noreturn]] void RaiseReadError(int code) {
    SetLastPlatformErrorCode(code);
    RaiseJet(JetError::DiskReadError);
}

[[noreturn]] void RaiseWriteError(int code) {
    SetLastPlatformErrorCode(code);
    if (code == ENOSPC || code == EDQUOT || code == EFBIG) RaiseJet(JetError::DiskFull);
    RaiseJet(JetError::DiskError);
}

/// File systems without locks answer with one of these; whoever works there works alone.
bool MeansNoLocks(int code) {
    return code == ENOLCK || code == ENOSYS || code == EINVAL || code == EIO || code == EOPNOTSUPP;
}

class PosixFile final : public StorageFile {
public:
    PosixFile(int descriptor, bool writable) : descriptor_(descriptor), writable_(writable) {}
    PosixFile(const PosixFile&) = delete;
    PosixFile& operator=(const PosixFile&) = delete;
    ~PosixFile() override { ::close(descriptor_); }

    std::uint64_t Size() override {
        struct stat status {};
        if (::fstat(descriptor_, &status) != 0) RaiseReadError(errno);
        return static_cast<std::uint64_t>(status.st_size);
    }

    std::uint64_t ChangeMark() override {
        struct stat status {};
        if (::fstat(descriptor_, &status) != 0) RaiseReadError(errno);
#ifdef __APPLE__
        const struct timespec& changed = status.st_mtimespec;
#else
        const struct timespec& changed = status.st_mtim;
#endif
        return static_cast<std::uint64_t>(changed.tv_sec) * 1'000'000'000U +
               static_cast<std::uint64_t>(changed.tv_nsec);
    }

    std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> bytes) override {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t got = ::pread(descriptor_, bytes.data() + done, bytes.size() - done,
                                        static_cast<off_t>(offset + done));
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) RaiseReadError(errno);
            if (got == 0) break;
            done += static_cast<std::size_t>(got);
        }
        return done;
    }

    void Write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t put = ::pwrite(descriptor_, bytes.data() + done, bytes.size() - done,
                                         static_cast<off_t>(offset + done));
            if (put < 0 && errno == EINTR) continue;
            if (put < 0) RaiseWriteError(errno);
            if (put == 0) RaiseWriteError(ENOSPC);
            done += static_cast<std::size_t>(put);
        }
    }

    void Truncate(std::uint64_t size) override {
        while (::ftruncate(descriptor_, static_cast<off_t>(size)) != 0) {
            if (errno != EINTR) RaiseWriteError(errno);
        }
    }

    void BeginStoring(std::uint64_t offset, std::size_t bytes) override {
#ifdef __linux__
        // Only a hint: what goes wrong is told by Sync.
        ::sync_file_range(descriptor_, static_cast<off_t>(offset), static_cast<off_t>(bytes),
                          SYNC_FILE_RANGE_WRITE);
#else
        (void)offset;
        (void)bytes;
#endif
    }

    void Sync() override {
        int result = 0;
        do {
#ifdef __APPLE__
            result = ::fcntl(descriptor_, F_FULLFSYNC);
#else
            result = ::fdatasync(descriptor_);
#endif
        } while (result != 0 && errno == EINTR);
        // EINVAL: the file lies on something that has nothing to sync.
        if (result != 0 && errno != EINVAL && errno != ENOTSUP) RaiseWriteError(errno);
    }

    bool TryLock(std::uint64_t offset, std::uint64_t count, bool exclusive) override {
        struct flock lock = Range(offset, count);
        // A descriptor that cannot write cannot lock exclusively; sharing is the most it can ask for.
        lock.l_type = exclusive && writable_ ? F_WRLCK : F_RDLCK;
        if (::fcntl(descriptor_, kSetLock, &lock) == 0) return true;
        return MeansNoLocks(errno);
    }

    void Unlock(std::uint64_t offset, std::uint64_t count) override {
        struct flock lock = Range(offset, count);
        lock.l_type = F_UNLCK;
        ::fcntl(descriptor_, kSetLock, &lock);
    }

    bool IsLockedByOther(std::uint64_t offset, std::uint64_t count, bool exclusive) override {
        struct flock lock = Range(offset, count);
        lock.l_type = exclusive ? F_WRLCK : F_RDLCK;
        if (::fcntl(descriptor_, kGetLock, &lock) != 0) return false;
        return lock.l_type != F_UNLCK;
    }

    bool IsAt(const std::string& path) override {
        struct stat own {};
        struct stat found {};
        return ::fstat(descriptor_, &own) == 0 && ::stat(path.c_str(), &found) == 0 &&
               own.st_dev == found.st_dev && own.st_ino == found.st_ino;
    }

private:
    // Locks of the open file description: they meet the classic ones that Wine takes for its programs, but
    // are not lost when some other descriptor of the same file is closed.
#ifdef F_OFD_SETLK
    static constexpr int kSetLock = F_OFD_SETLK;
    static constexpr int kGetLock = F_OFD_GETLK;
#else
    static constexpr int kSetLock = F_SETLK;
    static constexpr int kGetLock = F_GETLK;
#endif

    static struct flock Range(std::uint64_t offset, std::uint64_t count) {
        struct flock lock {};
        lock.l_whence = SEEK_SET;
        lock.l_start = static_cast<off_t>(offset);
        lock.l_len = static_cast<off_t>(count);
        return lock;
    }

    int descriptor_;
    bool writable_;
};

class PosixStorage final : public Storage {
public:
    std::unique_ptr<StorageFile> Open(const std::string& path, OpenMode mode) override {
        // Not waiting: a pipe of that name would keep us for ever. It means nothing for files.
        int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (mode == OpenMode::ReadOnly ? O_RDONLY : O_RDWR);
        if (mode == OpenMode::CreateNew) flags |= O_CREAT | O_EXCL;
        int descriptor = -1;
        do {
            descriptor = ::open(path.c_str(), flags, 0666);
        } while (descriptor < 0 && errno == EINTR);
        if (descriptor < 0) RaiseOpenError(errno, path);
        struct stat status {};
        if (::fstat(descriptor, &status) == 0 && !S_ISREG(status.st_mode)) {
            ::close(descriptor);
            if (S_ISDIR(status.st_mode)) RaiseOpenError(EISDIR, path);
            RaiseJet(JetError::UnrecognizedFormat, {path});  // a device or a pipe
        }
        return std::make_unique<PosixFile>(descriptor, mode != OpenMode::ReadOnly);
    }

    bool Exists(const std::string& path) override {
        struct stat status {};
        return ::stat(path.c_str(), &status) == 0;
    }

    void Remove(const std::string& path) override {
        if (::unlink(path.c_str()) != 0 && errno != ENOENT) RaiseOpenError(errno, path);
    }

    void Rename(const std::string& from, const std::string& to) override {
        if (::rename(from.c_str(), to.c_str()) != 0) RaiseOpenError(errno, from);
    }

    void SyncFolderOf(const std::string& path) override {
        const int descriptor = ::open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor < 0) RaiseOpenError(errno, path);
        const int result = ::fsync(descriptor);
        const int code = errno;
        ::close(descriptor);
        if (result != 0 && code != EINVAL && code != ENOTSUP) RaiseWriteError(code);
    }

    std::string Identity(const std::string& path) override {
        struct stat status {};
        if (::stat(path.c_str(), &status) != 0) return path;
        return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
    }
};

}  // namespace

Storage& HostStorage() {
    static PosixStorage storage;
    return storage;
}

}  // namespace marrowkit::jet
