#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>
#include <windows.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/WindowsCalls.h"
#include "platform/windows/Handle.h"
#include "platform/windows/WideText.h"

// Files that take the place of others in one step: copies, new contents, new names.

namespace marrowkit {

using namespace windows;

namespace {

constexpr std::size_t kCopyBufferBytes = std::size_t{256} * 1024;
/// Of a file that takes the place of another; the others are the file system's own business.
constexpr DWORD kKeptAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                  FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;

/// A name beside the target that nobody has; cut where the target's leaves no room for the ending.
std::string TwinOf(const std::string& target) {
    constexpr std::size_t kLongestNameUnits = 255;
    constexpr std::size_t kEndingUnits = 9;
    static std::random_device random;
    const std::size_t folder = target.find_last_of("\\/") + 1;  // 0 without one
    std::wstring name = ToWide(std::string_view(target).substr(folder));
    if (name.size() > kLongestNameUnits - kEndingUnits) name.resize(kLongestNameUnits - kEndingUnits);
    constexpr std::string_view kLetters = "0123456789abcdefghijklmnopqrstuv";
    std::string ending = ".mk";
    for (unsigned bits = random(), left = kEndingUnits - 3; left > 0; --left, bits >>= 5U) {
        ending += kLetters[bits % kLetters.size()];
    }
    return target.substr(0, folder) + FromWide(name) + ending;
}

/// Who may do what with a file. Nothing is lost when it cannot be taken over: the new file then has the
/// rights of its folder.
void CopyRights(const std::wstring& from, const std::wstring& to) {
    DWORD bytes = 0;
    GetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &bytes);
    if (bytes == 0) return;
    std::vector<unsigned char> rights(bytes);
    if (GetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, rights.data(), bytes, &bytes) == 0) return;
    SetFileSecurityW(to.c_str(), DACL_SECURITY_INFORMATION, rights.data());
}

/// A file beside the one it is to replace; removed again unless it was put into place.
class TemporaryTwin {
public:
    explicit TemporaryTwin(std::string target)
        : target_(std::move(target)), name_(TwinOf(target_)), file_(OpenFile(name_, kAccess, CREATE_NEW)) {
        if (!file_.IsOpen()) RaiseForHostPath(LastError(), target_);
    }
    TemporaryTwin(const TemporaryTwin&) = delete;
    TemporaryTwin& operator=(const TemporaryTwin&) = delete;
    ~TemporaryTwin() {
        if (placed_) return;
        file_.Close();
        SetFileAttributesW(WidePath(name_).c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(WidePath(name_).c_str());
    }

    HANDLE Get() const { return file_.Get(); }

    void Write(std::string_view bytes) {
        if (const int code = WriteAll(file_.Get(), bytes); code != 0) RaiseSystemError(code);
    }

    void TakeRightsOf(const std::string& other) { CopyRights(WidePath(other), WidePath(name_)); }

    /// `attributes`: what the file carries from now on. One that is marked read-only is replaced like any
    /// other.
    void PutIntoPlace(DWORD attributes) {
        if (FlushFileBuffers(file_.Get()) == 0 || !file_.Close()) RaiseSystemError(LastError());
        const std::wstring from = WidePath(name_);
        const std::wstring to = WidePath(target_);
        SetFileAttributesW(from.c_str(), attributes & kKeptAttributes);
        const DWORD old = GetFileAttributesW(to.c_str());
        const bool locked = old != INVALID_FILE_ATTRIBUTES && (old & FILE_ATTRIBUTE_READONLY) != 0;
        if (locked) SetFileAttributesW(to.c_str(), old & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
        if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0) {
            const int code = LastError();
            if (locked) SetFileAttributesW(to.c_str(), old);
            RaiseForHostPath(code, target_);
        }
        placed_ = true;
    }

private:
    static constexpr DWORD kAccess = GENERIC_READ | GENERIC_WRITE;
    std::string target_;
    std::string name_;
    Handle file_;
    bool placed_ = false;
};

/// Keeps others from changing the file as long as it is open. Raises 70 when somebody holds a lock on any
/// byte of it for himself, as the platform does for a copy: a database that is open exclusively would be
/// copied half changed. Who opens one for sharing holds such a lock for a moment; that is waited for.
void LockForReading(HANDLE file) {
    constexpr int kAttempts = 100;
    constexpr std::chrono::milliseconds kPause{1};
    for (int attempt = 0;; ++attempt) {
        OVERLAPPED start{};
        if (LockFileEx(file, LOCKFILE_FAIL_IMMEDIATELY, 0, MAXDWORD, MAXLONG, &start) != 0) return;
        const DWORD code = GetLastError();
        // Otherwise a file system that knows no locks.
        if (code != ERROR_LOCK_VIOLATION && code != ERROR_IO_PENDING) return;
        if (attempt == kAttempts) RaiseSystemError(ERROR_LOCK_VIOLATION);
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace

void ReplaceHostFile(const std::string& hostPath, std::string_view bytes) {
    const auto entry = LinkStatusOf(hostPath);
    const std::string target = entry && entry->isLink ? CanonicalHostPath(hostPath) : hostPath;
    const auto status = StatusOf(target);
    if (status && status->kind == HostKind::Folder) RaiseHostFolderIsNoFile();

    TemporaryTwin twin(target);
    twin.Write(bytes);
    DWORD attributes = FILE_ATTRIBUTE_ARCHIVE;
    if (status) {
        attributes = GetFileAttributesW(WidePath(target).c_str());
        twin.TakeRightsOf(target);
    }
    twin.PutIntoPlace(attributes);
}

void CopyHostFile(const std::string& from, const std::string& to) {
    const Handle source(OpenFile(from, GENERIC_READ, OPEN_EXISTING));
    if (!source.IsOpen()) RaiseForHostPath(LastError(), from);
    if (GetFileType(source.Get()) != FILE_TYPE_DISK) RaiseHostFolderIsNoFile();  // a device that never ends
    const auto target = StatusOf(to);
    if (target && target->kind == HostKind::Folder) RaiseHostFolderIsNoFile();
    LockForReading(source.Get());

    TemporaryTwin twin(to);
    std::vector<char> buffer(kCopyBufferBytes);
    for (;;) {
        const std::int64_t count = ReadSome(source.Get(), buffer);
        if (count < 0) RaiseSystemError(LastError());
        if (count == 0) break;
        twin.Write({buffer.data(), static_cast<std::size_t>(count)});
    }
    FILETIME accessed{};
    FILETIME changed{};
    if (GetFileTime(source.Get(), nullptr, &accessed, &changed) != 0) {
        SetFileTime(twin.Get(), nullptr, &accessed, &changed);
    }
    BY_HANDLE_FILE_INFORMATION info{};
    if (GetFileInformationByHandle(source.Get(), &info) == 0) RaiseSystemError(LastError());
    twin.PutIntoPlace(info.dwFileAttributes);
}

void CopyHostPermissions(const std::string& from, const std::string& to) {
    CopyRights(WidePath(from), WidePath(to));
}

void RenameHostEntry(const std::string& from, const std::string& to) {
    if (MoveFileExW(WidePath(from).c_str(), WidePath(to).c_str(), MOVEFILE_WRITE_THROUGH) != 0) return;
    const int code = LastError();
    RaiseForHostPath(code, code == ERROR_FILE_NOT_FOUND && LinkStatusOf(from) ? to : from);
}

}  // namespace marrowkit
