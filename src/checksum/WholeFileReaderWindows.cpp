#include <algorithm>
#include <string>
#include <windows.h>

#include "checksum/WholeFileReader.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/windows/Handle.h"
#include "platform/windows/WideText.h"

namespace marrowkit {

namespace {

HANDLE ToHandle(HostHandle handle) {
    return reinterpret_cast<HANDLE>(handle);  // NOLINT(performance-no-int-to-ptr): it is one
}

/// The opened file, INVALID_HANDLE_VALUE for one that counts as empty, and its length.
HostHandle Open(const std::string& path, std::uint64_t& length) {
    constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(windows::WidePath(path).c_str(), GENERIC_READ, kShare, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        const int code = windows::LastError();
        const auto status = StatusOf(path);
        if (!status || (status->kind == HostKind::File && status->size != 0)) RaiseForHostPath(code, path);
        return -1;
    }
    LARGE_INTEGER size{};
    if (GetFileType(file) == FILE_TYPE_DISK && GetFileSizeEx(file, &size) == 0) {
        const int code = windows::LastError();
        CloseHandle(file);
        RaiseSystemError(code);
    }
    length = static_cast<std::uint64_t>(size.QuadPart);
    return reinterpret_cast<HostHandle>(file);
}

}  // namespace

WholeFileReader::WholeFileReader(const char* hostPath) : handle_(Open(hostPath, length_)) {}

WholeFileReader::WholeFileReader(const OpenHostFolder& folder, const char* name)
    : handle_(Open(folder.PathOf(name), length_)) {}

WholeFileReader::~WholeFileReader() {
    if (handle_ != -1) CloseHandle(ToHandle(handle_));
}

// Every file was opened with that advice.
void WholeFileReader::ExpectWholeRead() {}

std::size_t WholeFileReader::Read(std::span<std::uint8_t> into) {
    constexpr std::size_t kMostBytes = std::size_t{1} << 30;  // a call counts in 32 bits
    std::size_t done = 0;
    while (done < into.size()) {
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min(into.size() - done, kMostBytes));
        if (ReadFile(ToHandle(handle_), into.data() + done, wanted, &count, nullptr) == 0) {
            RaiseSystemError(windows::LastError());
        }
        if (count == 0) break;
        done += count;
    }
    return done;
}

}  // namespace marrowkit
