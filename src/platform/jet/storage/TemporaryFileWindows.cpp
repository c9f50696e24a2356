#include <array>
#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "platform/jet/storage/TemporaryFile.h"

namespace marrowkit::jet {

// The C library's own tmpfile() goes to the root of the current drive, where few may write.
TemporaryFile OpenTemporaryFile() {
    std::array<wchar_t, MAX_PATH + 1> folder{};
    std::array<wchar_t, MAX_PATH> name{};
    errno = EACCES;
    if (GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()) == 0) return nullptr;
    if (GetTempFileNameW(folder.data(), L"mk", 0, name.data()) == 0) return nullptr;
    const HANDLE handle = CreateFileW(name.data(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        DeleteFileW(name.data());
        return nullptr;
    }
    // Whoever owns the next one closes those before with it.
    const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_RDWR | _O_BINARY);
    if (descriptor < 0) {
        CloseHandle(handle);
        return nullptr;
    }
    std::FILE* const file = _fdopen(descriptor, "w+b");
    if (file == nullptr) _close(descriptor);
    return TemporaryFile(file);
}

bool SeekTo(const TemporaryFile& file, std::uint64_t byte) {
    return _fseeki64(file.get(), static_cast<std::int64_t>(byte), SEEK_SET) == 0;
}

}  // namespace marrowkit::jet
