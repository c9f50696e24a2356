#include <array>
#include <utility>
#include <windows.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/WindowsCalls.h"
#include "platform/windows/Handle.h"
#include "platform/windows/WideText.h"

namespace marrowkit {

using namespace windows;

namespace {

/// Windows counts in steps of 100 ns since 1601.
constexpr std::int64_t kStepsTo1970 = 116'444'736'000'000'000;
constexpr std::int64_t kNanosecondsPerStep = 100;

std::uint64_t Joined(DWORD high, DWORD low) {
    return std::uint64_t{high} << 32U | low;
}

std::int64_t ToNanoseconds(const FILETIME& time) {
    const auto steps = static_cast<std::int64_t>(Joined(time.dwHighDateTime, time.dwLowDateTime));
    return (steps - kStepsTo1970) * kNanosecondsPerStep;
}

/// What attributes and numbers have in common in listings and in the answers about open files.
template <typename Information>
HostStatus CommonStatus(const Information& info) {
    HostStatus status;
    const bool folder = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    status.kind = folder ? HostKind::Folder : HostKind::File;
    // Of a folder the attribute means nothing to the system.
    status.writable = folder || (info.dwFileAttributes & FILE_ATTRIBUTE_READONLY) == 0;
    status.hidden = (info.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN) != 0;
    status.size = folder ? 0 : Joined(info.nFileSizeHigh, info.nFileSizeLow);
    status.modifiedNanoseconds = ToNanoseconds(info.ftLastWriteTime);
    return status;
}

bool IsLink(HANDLE entry) {
    FILE_ATTRIBUTE_TAG_INFO info{};
    return GetFileInformationByHandleEx(entry, FileAttributeTagInfo, &info, sizeof info) != 0 &&
           (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           IsReparseTagNameSurrogate(info.ReparseTag);
}

/// Of a file that somebody has for himself, the folder that it lies in still tells.
std::optional<HostStatus> StatusByListing(const std::string& hostPath) {
    WIN32_FIND_DATAW entry{};
    const HANDLE listing = FindFirstFileW(WidePath(hostPath).c_str(), &entry);
    if (listing == INVALID_HANDLE_VALUE) return std::nullopt;
    FindClose(listing);
    return ToStatus(entry);
}

/// `flags`: whether links are followed.
std::optional<HostStatus> Look(const std::string& hostPath, DWORD flags) {
    const Handle entry(CreateFileW(WidePath(hostPath).c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr));
    if (!entry.IsOpen()) {
        const DWORD code = GetLastError();
        const bool taken = code == ERROR_SHARING_VIOLATION || code == ERROR_ACCESS_DENIED;
        return taken ? StatusByListing(hostPath) : std::nullopt;
    }
    if (GetFileType(entry.Get()) != FILE_TYPE_DISK) return HostStatus{};  // a device
    BY_HANDLE_FILE_INFORMATION info{};
    if (GetFileInformationByHandle(entry.Get(), &info) == 0) return std::nullopt;
    HostStatus status = CommonStatus(info);
    status.device = info.dwVolumeSerialNumber;
    status.inode = Joined(info.nFileIndexHigh, info.nFileIndexLow);
    status.isLink = (flags & FILE_FLAG_OPEN_REPARSE_POINT) != 0 && IsLink(entry.Get());
    return status;
}

HANDLE ToHandle(HostHandle handle) {
    return reinterpret_cast<HANDLE>(handle);  // NOLINT(performance-no-int-to-ptr): it is one
}

}  // namespace

HostStatus windows::ToStatus(const WIN32_FIND_DATAW& entry) {
    HostStatus status = CommonStatus(entry);
    status.isLink = windows::IsLink(entry);
    return status;
}

std::optional<HostStatus> StatusOf(const std::string& hostPath) {
    return Look(hostPath, 0);
}

std::optional<HostStatus> LinkStatusOf(const std::string& hostPath) {
    return Look(hostPath, FILE_FLAG_OPEN_REPARSE_POINT);
}

bool IsHiddenEntry(std::string_view, const HostStatus& status) {
    return status.hidden;
}

void RaiseMissingHostFile(const std::string& hostPath) {
    RaiseForHostPath(ERROR_FILE_NOT_FOUND, hostPath);
}

void RaiseHostFolderIsNoFile() {
    RaiseSystemError(ERROR_ACCESS_DENIED);  // as the system puts it
}

HostFile::HostFile(std::string hostPath, Mode mode) : path_(std::move(hostPath)) {
    // Not CREATE_ALWAYS: it refuses hidden files, and resets the attributes of others.
    const HANDLE file = mode == Mode::Read ? OpenFile(path_, GENERIC_READ, OPEN_EXISTING)
                                           : OpenFile(path_, GENERIC_WRITE, OPEN_ALWAYS);
    if (file == INVALID_HANDLE_VALUE) RaiseForHostPath(LastError(), path_);
    const bool emptied = mode == Mode::Read || SetEndOfFile(file) != 0;
    if (!emptied || GetFileType(file) != FILE_TYPE_DISK) {
        const int code = emptied ? ERROR_ACCESS_DENIED : LastError();
        CloseHandle(file);
        RaiseSystemError(code);
    }
    handle_ = reinterpret_cast<HostHandle>(file);
}

HostFile::~HostFile() {
    if (handle_ != -1) CloseHandle(ToHandle(handle_));
}

std::uint64_t HostFile::Size() const {
    LARGE_INTEGER size{};
    if (GetFileSizeEx(ToHandle(handle_), &size) == 0) RaiseSystemError(LastError());
    return static_cast<std::uint64_t>(size.QuadPart);
}

std::size_t HostFile::Read(std::span<char> buffer) {
    const std::int64_t count = ReadSome(ToHandle(handle_), buffer);
    if (count < 0) RaiseSystemError(LastError());
    return static_cast<std::size_t>(count);
}

void HostFile::Write(std::string_view bytes) {
    if (const int code = WriteAll(ToHandle(handle_), bytes); code != 0) RaiseSystemError(code);
}

void HostFile::Close() {
    const HostHandle handle = std::exchange(handle_, -1);
    if (handle != -1 && CloseHandle(ToHandle(handle)) == 0) RaiseSystemError(LastError());
}

}  // namespace marrowkit
