#include <string>
#include <vector>
#include <windows.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/WindowsCalls.h"
#include "platform/windows/Handle.h"
#include "platform/windows/WideText.h"

namespace marrowkit {

using namespace windows;

namespace {

/// An entry that somebody else (an indexer, a virus scanner) has open for a moment goes when he closes it; so
/// long a folder is waited for that is not empty because of that.
constexpr int kAttempts = 50;
constexpr DWORD kPauseMilliseconds = 10;

[[noreturn]] void RaiseNotRemoved(int systemCode, bool folder) {
    SetLastPlatformErrorCode(systemCode);
    if (systemCode == ERROR_TOO_MANY_OPEN_FILES) Raise(RuntimeErrorNumber::TooManyFiles);
    if (RuntimeErrorOfSystemCode(systemCode) == RuntimeErrorNumber::DeviceIoError) {
        Raise(RuntimeErrorNumber::DeviceIoError);
    }
    Raise(folder ? RuntimeErrorNumber::PathFileAccess : RuntimeErrorNumber::PermissionDenied);
}

bool IsGone(int systemCode) {
    return systemCode == ERROR_FILE_NOT_FOUND || systemCode == ERROR_PATH_NOT_FOUND;
}

/// 0, or why not. What carries the read-only attribute loses it first: the system deletes nothing that does.
int Unlink(const std::wstring& path, bool folder) {
    const auto remove = [&] { return (folder ? RemoveDirectoryW : DeleteFileW)(path.c_str()) != 0; };
    if (remove()) return 0;
    int code = LastError();
    if (code == ERROR_ACCESS_DENIED && SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL) != 0) {
        code = remove() ? 0 : LastError();
    }
    for (int attempt = 0; code == ERROR_DIR_NOT_EMPTY && attempt < kAttempts; ++attempt) {
        Sleep(kPauseMilliseconds);
        code = remove() ? 0 : LastError();
    }
    return IsGone(code) ? 0 : code;
}

struct NamedEntry {
    std::wstring name;
    bool isFolder;
    bool isLink;
};

std::vector<NamedEntry> EntriesOf(const std::wstring& folder) {
    std::vector<NamedEntry> entries;
    WIN32_FIND_DATAW found{};
    const HANDLE listing = FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (listing == INVALID_HANDLE_VALUE) {
        const int code = LastError();
        if (IsGone(code)) return entries;
        RaiseNotRemoved(code, true);
    }
    do {
        if (IsDotOrDotDot(found.cFileName)) continue;
        const bool folderEntry = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        entries.push_back({found.cFileName, folderEntry, IsLink(found)});
    } while (FindNextFileW(listing, &found) != 0);
    FindClose(listing);
    return entries;
}

/// Whether somebody has a lock on a byte of the file, or has it open without letting it be deleted. One that
/// cannot be opened for other reasons cannot be asked.
bool IsInUse(const std::wstring& path) {
    const Handle file(CreateFileW(path.c_str(), GENERIC_READ | DELETE, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.IsOpen()) return GetLastError() == ERROR_SHARING_VIOLATION;
    OVERLAPPED start{};
    constexpr DWORD kFlags = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
    return LockFileEx(file.Get(), kFlags, 0, MAXDWORD, MAXLONG, &start) == 0 &&
           GetLastError() == ERROR_LOCK_VIOLATION;
}

/// Raises 70 when somebody uses the file, or one anywhere in the folder: before the first one is gone.
void RaiseWhenInUse(const std::wstring& path, bool folder, bool link) {
    if (link) return;
    if (!folder) {
        if (IsInUse(path)) RaiseNotRemoved(ERROR_SHARING_VIOLATION, false);
        return;
    }
    for (const NamedEntry& entry : EntriesOf(path)) {
        RaiseWhenInUse(path + L'\\' + entry.name, entry.isFolder, entry.isLink);
    }
}

/// A link to a folder is removed as an empty folder is, and what it leads to stays.
void RemoveEntry(const std::wstring& path, bool folder, bool link) {
    if (folder && !link) {
        for (const NamedEntry& entry : EntriesOf(path)) {
            RemoveEntry(path + L'\\' + entry.name, entry.isFolder, entry.isLink);
        }
    }
    if (const int code = Unlink(path, folder); code != 0) RaiseNotRemoved(code, folder && !link);
}

}  // namespace

void RemoveHostTree(const std::string& hostPath, WhenLocked whenLocked) {
    const std::wstring path = WidePath(hostPath);
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        const int code = LastError();
        if (IsGone(code)) return;
        RaiseNotRemoved(code, false);
    }
    const auto entry = LinkStatusOf(hostPath);
    const bool folder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const bool link = entry && entry->isLink;
    if (whenLocked == WhenLocked::Keep) RaiseWhenInUse(path, folder, link);
    RemoveEntry(path, folder, link);
}

}  // namespace marrowkit
