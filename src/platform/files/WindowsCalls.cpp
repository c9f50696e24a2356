#include "platform/files/WindowsCalls.h"

#include <algorithm>

#include "platform/windows/Handle.h"
#include "platform/windows/WideText.h"

namespace marrowkit::windows {

namespace {

/// The most that one call is given: it counts in 32 bits.
constexpr std::size_t kMostBytes = std::size_t{1} << 30;

}  // namespace

HANDLE OpenFile(const std::string& hostPath, DWORD access, DWORD disposition, DWORD share) {
    return CreateFileW(WidePath(hostPath).c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

int WriteAll(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        DWORD written = 0;
        const auto count = static_cast<DWORD>(std::min(bytes.size(), kMostBytes));
        if (WriteFile(file, bytes.data(), count, &written, nullptr) == 0) return LastError();
        if (written == 0) return ERROR_DISK_FULL;
        bytes.remove_prefix(written);
    }
    return 0;
}

std::int64_t ReadSome(HANDLE file, std::span<char> buffer) {
    DWORD count = 0;
    const auto wanted = static_cast<DWORD>(std::min(buffer.size(), kMostBytes));
    if (ReadFile(file, buffer.data(), wanted, &count, nullptr) != 0) return count;
    return GetLastError() == ERROR_BROKEN_PIPE ? 0 : -1;  // a pipe's other end is gone: that is its end
}

bool IsLink(const WIN32_FIND_DATAW& entry) {
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           IsReparseTagNameSurrogate(entry.dwReserved0);  // NOLINT: a macro of the system
}

bool IsDotOrDotDot(const wchar_t* name) {
    return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

}  // namespace marrowkit::windows
