#include <algorithm>
#include <vector>
#include <windows.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/Storage.h"
#include "platform/windows/Handle.h"
#include "platform/windows/WideText.h"

namespace marrowkit::jet {

using windows::LastError;
using windows::WidePath;

namespace {

/// Others may read, write and delete what we have open, as Jet lets them; byte locks say who may do what.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

constexpr int kQuotaExceeded = 1295;  // ERROR_DISK_QUOTA_EXCEEDED, which not all headers have

bool MeansDiskFull(int code) {
    return code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL || code == kQuotaExceeded;
}

/// What a failed open or rename means, by DAO's numbers.
[[noreturn]] void RaiseOpenError(int code, const std::string& path) {
    SetLastPlatformErrorCode(code);
    switch (code) {
        case ERROR_FILE_NOT_FOUND:
            RaiseJet(JetError::FileNotFound, {path});
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
        case ERROR_BAD_PATHNAME:
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_NET_NAME:
        case ERROR_FILENAME_EXCED_RANGE:
        case ERROR_DIRECTORY:
            RaiseJet(JetError::InvalidPath, {path});
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS:
            RaiseJet(JetError::DatabaseExists);
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
            // A program that opened it for itself alone; Jet's exclusive mode does.
            RaiseJet(JetError::FileInUse, {path});
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
        case kQuotaExceeded:
            RaiseJet(JetError::DiskFull);
        case ERROR_CRC:
        case ERROR_IO_DEVICE:
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
    RaiseJet(MeansDiskFull(code) ? JetError::DiskFull : JetError::DiskError);
}

OVERLAPPED At(std::uint64_t offset) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    return place;
}

/// Bytes [start, end) that are locked.
struct LockedRange {
    std::uint64_t start;
    std::uint64_t end;
    bool exclusive;
};

/// The same text for all handles of one file; empty when the system tells nothing.
std::string IdentityOf(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION info{};
    if (GetFileInformationByHandle(file, &info) == 0) return {};
    return std::to_string(info.dwVolumeSerialNumber) + ':' + std::to_string(info.nFileIndexHigh) + ':' +
           std::to_string(info.nFileIndexLow);
}

/// Empty when there is no such file.
std::string IdentityAt(const std::string& path) {
    const windows::Handle file(CreateFileW(WidePath(path).c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file.IsOpen() ? IdentityOf(file.Get()) : std::string();
}

class WindowsFile final : public StorageFile {
public:
    explicit WindowsFile(HANDLE file) : file_(file) {}

    std::uint64_t Size() override {
        LARGE_INTEGER size{};
        if (GetFileSizeEx(file_.Get(), &size) == 0) RaiseReadError(LastError());
        return static_cast<std::uint64_t>(size.QuadPart);
    }

    std::uint64_t ChangeMark() override {
        FILETIME changed{};
        if (GetFileTime(file_.Get(), nullptr, nullptr, &changed) == 0) RaiseReadError(LastError());
        return std::uint64_t{changed.dwHighDateTime} << 32U | changed.dwLowDateTime;
    }

    std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> bytes) override {
        std::size_t done = 0;
        while (done < bytes.size()) {
            OVERLAPPED place = At(offset + done);
            DWORD got = 0;
            if (ReadFile(file_.Get(), bytes.data() + done, InOneCall(bytes.size() - done), &got, &place) ==
                0) {
                const int code = LastError();
                if (code == ERROR_HANDLE_EOF) break;
                RaiseReadError(code);
            }
            if (got == 0) break;
            done += got;
        }
        return done;
    }

    void Write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
        std::size_t done = 0;
        while (done < bytes.size()) {
            OVERLAPPED place = At(offset + done);
            DWORD put = 0;
            if (WriteFile(file_.Get(), bytes.data() + done, InOneCall(bytes.size() - done), &put, &place) ==
                0) {
                RaiseWriteError(LastError());
            }
            if (put == 0) RaiseWriteError(ERROR_DISK_FULL);
            done += put;
        }
    }

    void Truncate(std::uint64_t size) override {
        FILE_END_OF_FILE_INFO info{};
        info.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
        if (SetFileInformationByHandle(file_.Get(), FileEndOfFileInfo, &info, sizeof info) == 0) {
            RaiseWriteError(LastError());
        }
    }

    void Sync() override {
        if (FlushFileBuffers(file_.Get()) == 0) RaiseWriteError(LastError());
    }

    bool TryLock(std::uint64_t offset, std::uint64_t count, bool exclusive) override {
        const LockedRange range{offset, offset + count, exclusive};
        // Here even the own open file counts as another, and asking twice for a lock would fail.
        if (const auto own = FindOwn(range); own != own_.end()) {
            if (own->exclusive == exclusive) return true;
            Unlock(offset, count);
        }
        // Somebody who only asks whether a byte is locked holds it for that moment; see IsLockedByOther.
        constexpr int kAttempts = 4;
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            if (Lock(range)) {
                own_.push_back(range);
                return true;
            }
            if (LastError() != ERROR_LOCK_VIOLATION) return true;  // a file system without locks
            SwitchToThread();
        }
        return false;
    }

    void Unlock(std::uint64_t offset, std::uint64_t count) override {
        const auto own = FindOwn({offset, offset + count, false});
        if (own == own_.end()) return;
        own_.erase(own);
        Release({offset, offset + count, false});
    }

    /// The system has no call that only asks: the bytes are locked and released at once. Our own locks would
    /// be in the way of that, so the stretches between them are asked for.
    bool IsLockedByOther(std::uint64_t offset, std::uint64_t count, bool exclusive) override {
        std::sort(own_.begin(), own_.end(),
                  [](const LockedRange& a, const LockedRange& b) { return a.start < b.start; });
        const std::uint64_t end = offset + count;
        for (const LockedRange& own : own_) {
            if (own.end <= offset || own.start >= end) continue;
            if (own.start > offset && IsTaken({offset, own.start, exclusive})) return true;
            offset = own.end;
        }
        return offset < end && IsTaken({offset, end, exclusive});
    }

    bool IsAt(const std::string& path) override { return IdentityOf(file_.Get()) == IdentityAt(path); }

private:
    static DWORD InOneCall(std::size_t bytes) {
        constexpr std::size_t kMostBytes = std::size_t{1} << 30;  // a call counts in 32 bits
        return static_cast<DWORD>(std::min(bytes, kMostBytes));
    }

    std::vector<LockedRange>::iterator FindOwn(const LockedRange& range) {
        return std::find_if(own_.begin(), own_.end(), [&](const LockedRange& own) {
            return own.start == range.start && own.end == range.end;
        });
    }

    bool Lock(const LockedRange& range) {
        OVERLAPPED place = At(range.start);
        const std::uint64_t count = range.end - range.start;
        const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (range.exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
        return LockFileEx(file_.Get(), flags, 0, static_cast<DWORD>(count), static_cast<DWORD>(count >> 32U),
                          &place) != 0;
    }

    void Release(const LockedRange& range) {
        OVERLAPPED place = At(range.start);
        const std::uint64_t count = range.end - range.start;
        UnlockFileEx(file_.Get(), 0, static_cast<DWORD>(count), static_cast<DWORD>(count >> 32U), &place);
    }

    bool IsTaken(const LockedRange& range) {
        if (!Lock(range)) return LastError() == ERROR_LOCK_VIOLATION;
        Release(range);
        return false;
    }

    windows::Handle file_;
    std::vector<LockedRange> own_;  // what TryLock took
};

class WindowsStorage final : public Storage {
public:
    std::unique_ptr<StorageFile> Open(const std::string& path, OpenMode mode) override {
        const DWORD access = GENERIC_READ | (mode == OpenMode::ReadOnly ? 0 : GENERIC_WRITE);
        const DWORD disposition = mode == OpenMode::CreateNew ? CREATE_NEW : OPEN_EXISTING;
        const HANDLE file = CreateFileW(WidePath(path).c_str(), access, kShareAll, nullptr, disposition,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE) RaiseOpenError(LastError(), path);
        auto opened = std::make_unique<WindowsFile>(file);
        if (GetFileType(file) != FILE_TYPE_DISK) RaiseJet(JetError::UnrecognizedFormat, {path});
        return opened;
    }

    bool Exists(const std::string& path) override {
        return GetFileAttributesW(WidePath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
    }

    void Remove(const std::string& path) override {
        if (DeleteFileW(WidePath(path).c_str()) != 0) return;
        const int code = LastError();
        if (code != ERROR_FILE_NOT_FOUND) RaiseOpenError(code, path);
    }

    void Rename(const std::string& from, const std::string& to) override {
        if (MoveFileExW(WidePath(from).c_str(), WidePath(to).c_str(),
                        MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0) {
            RaiseOpenError(LastError(), from);
        }
    }

    /// The file system's own journal makes names durable here.
    void SyncFolderOf(const std::string&) override {}

    std::string Identity(const std::string& path) override {
        const std::string identity = IdentityAt(path);
        return identity.empty() ? path : identity;
    }
};

}  // namespace

Storage& HostStorage() {
    static WindowsStorage storage;
    return storage;
}

}  // namespace marrowkit::jet
