#ifdef _WIN32

#define NOMINMAX
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet {

namespace {

std::wstring Wide(const std::string& utf8) {
    const int units =
        ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(units), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), units);
    return wide;
}

[[noreturn]] void RaiseOpenError(DWORD code, const std::string& path) {
    SetLastPlatformErrorCode(static_cast<int>(code));
    switch (code) {
        case ERROR_FILE_NOT_FOUND:
            RaiseJet(JetError::FileNotFound, {path});
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
        case ERROR_BAD_NETPATH:
            RaiseJet(JetError::InvalidPath, {path});
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS:
            RaiseJet(JetError::DatabaseExists);
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            RaiseJet(JetError::DiskFull);
        default:
            RaiseJet(JetError::CannotOpen, {path});
    }
}

[[noreturn]] void RaiseWriteError(DWORD code) {
    SetLastPlatformErrorCode(static_cast<int>(code));
    RaiseJet(code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL ? JetError::DiskFull
                                                                       : JetError::DiskError);
}

OVERLAPPED At(std::uint64_t offset) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
}

class WindowsFile final : public StorageFile {
public:
    explicit WindowsFile(HANDLE handle) : handle_(handle) {}
    WindowsFile(const WindowsFile&) = delete;
    WindowsFile& operator=(const WindowsFile&) = delete;
    ~WindowsFile() override { ::CloseHandle(handle_); }

    std::uint64_t Size() override {
        LARGE_INTEGER size{};
        if (!::GetFileSizeEx(handle_, &size)) RaiseJet(JetError::DiskReadError);
        return static_cast<std::uint64_t>(size.QuadPart);
    }

    std::uint64_t ChangeMark() override {
        FILETIME changed{};
        if (!::GetFileTime(handle_, nullptr, nullptr, &changed)) RaiseJet(JetError::DiskReadError);
        return std::uint64_t{changed.dwHighDateTime} << 32 | changed.dwLowDateTime;
    }

    std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> bytes) override {
        std::size_t done = 0;
        while (done < bytes.size()) {
            OVERLAPPED place = At(offset + done);
            DWORD got = 0;
            if (!::ReadFile(handle_, bytes.data() + done, static_cast<DWORD>(bytes.size() - done), &got,
                            &place)) {
                const DWORD code = ::GetLastError();
                if (code == ERROR_HANDLE_EOF) break;
                SetLastPlatformErrorCode(static_cast<int>(code));
                RaiseJet(JetError::DiskReadError);
            }
            if (got == 0) break;
            done += got;
        }
        return done;
    }

    void Write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
        OVERLAPPED place = At(offset);
        DWORD put = 0;
        if (!::WriteFile(handle_, bytes.data(), static_cast<DWORD>(bytes.size()), &put, &place)) {
            RaiseWriteError(::GetLastError());
        }
        if (put != bytes.size()) RaiseWriteError(ERROR_DISK_FULL);
    }

    void Truncate(std::uint64_t size) override {
        FILE_END_OF_FILE_INFO info{};
        info.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
        if (!::SetFileInformationByHandle(handle_, FileEndOfFileInfo, &info, sizeof info)) {
            RaiseWriteError(::GetLastError());
        }
    }

    void Sync() override {
        if (!::FlushFileBuffers(handle_)) RaiseWriteError(::GetLastError());
    }

    bool TryLock(std::uint64_t offset, std::uint64_t count, bool exclusive) override {
        OVERLAPPED place = At(offset);
        const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
        return ::LockFileEx(handle_, flags, 0, static_cast<DWORD>(count), static_cast<DWORD>(count >> 32),
                            &place) != 0;
    }

    void Unlock(std::uint64_t offset, std::uint64_t count) override {
        OVERLAPPED place = At(offset);
        ::UnlockFileEx(handle_, 0, static_cast<DWORD>(count), static_cast<DWORD>(count >> 32), &place);
    }

    bool IsLockedByOther(std::uint64_t offset, std::uint64_t count, bool exclusive) override {
        if (!TryLock(offset, count, exclusive)) return true;
        Unlock(offset, count);
        return false;
    }

private:
    HANDLE handle_;
};

class WindowsStorage final : public Storage {
public:
    std::unique_ptr<StorageFile> Open(const std::string& path, OpenMode mode) override {
        const DWORD access = GENERIC_READ | (mode == OpenMode::ReadOnly ? 0 : GENERIC_WRITE);
        const HANDLE handle = ::CreateFileW(
            Wide(path).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
            mode == OpenMode::CreateNew ? CREATE_NEW : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle == INVALID_HANDLE_VALUE) RaiseOpenError(::GetLastError(), path);
        return std::make_unique<WindowsFile>(handle);
    }

    bool Exists(const std::string& path) override {
        return ::GetFileAttributesW(Wide(path).c_str()) != INVALID_FILE_ATTRIBUTES;
    }

    void Remove(const std::string& path) override {
        if (::DeleteFileW(Wide(path).c_str())) return;
        const DWORD code = ::GetLastError();
        if (code != ERROR_FILE_NOT_FOUND) RaiseOpenError(code, path);
    }

    void Rename(const std::string& from, const std::string& to) override {
        if (!::MoveFileExW(Wide(from).c_str(), Wide(to).c_str(),
                           MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
            RaiseOpenError(::GetLastError(), from);
        }
    }

    /// The file system's own journal makes names durable here.
    void SyncFolderOf(const std::string&) override {}

    std::string Identity(const std::string& path) override {
        const HANDLE handle =
            ::CreateFileW(Wide(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                          nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle == INVALID_HANDLE_VALUE) return path;
        BY_HANDLE_FILE_INFORMATION info{};
        const bool known = ::GetFileInformationByHandle(handle, &info) != 0;
        ::CloseHandle(handle);
        if (!known) return path;
        return std::to_string(info.dwVolumeSerialNumber) + ':' + std::to_string(info.nFileIndexHigh) + ':' +
               std::to_string(info.nFileIndexLow);
    }
};

}  // namespace

Storage& HostStorage() {
    static WindowsStorage storage;
    return storage;
}

}  // namespace marrowkit::jet

#endif
