#pragma once

#include <span>
#include <string>
#include <string_view>
#include <windows.h>

#include "platform/files/HostFiles.h"

// What the files HostXyzWindows.cpp share; nobody else includes this.

namespace marrowkit::windows {

/// Who else has the file open may go on reading, writing and deleting it, as everywhere else.
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// INVALID_HANDLE_VALUE and GetLastError on failure. Opens files only: a folder is refused with
/// ERROR_ACCESS_DENIED.
HANDLE OpenFile(const std::string& hostPath, DWORD access, DWORD disposition, DWORD share = kShareAll);

/// 0, or the code of the failure.
int WriteAll(HANDLE file, std::string_view bytes);
/// Number of bytes, -1 with GetLastError.
std::int64_t ReadSome(HANDLE file, std::span<char> buffer);

/// What a listing tells about an entry; device and inode stay 0.
HostStatus ToStatus(const WIN32_FIND_DATAW& entry);
/// Whether the entry leads to another: a symbolic link or a junction. Other reparse points (files kept in a
/// cloud, compressed ones) are files like any other.
bool IsLink(const WIN32_FIND_DATAW& entry);

bool IsDotOrDotDot(const wchar_t* name);

}  // namespace marrowkit::windows
