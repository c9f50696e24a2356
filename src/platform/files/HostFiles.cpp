#include "platform/files/HostFiles.h"

#include <cstddef>
#include <new>
#include <stdexcept>

#include "platform/errors/RuntimeError.h"

// What needs no calls of its own, the same on every system.

namespace marrowkit {

void RaiseForHostPath(int systemCode, const std::string& hostPath) {
    if (RuntimeErrorOfSystemCode(systemCode) == RuntimeErrorNumber::FileNotFound) {
        const auto parent = StatusOf(HostParentOf(hostPath));
        if (!parent || parent->kind != HostKind::Folder) {
            SetLastPlatformErrorCode(systemCode);
            Raise(RuntimeErrorNumber::PathNotFound);
        }
    }
    RaiseSystemError(systemCode);
}

std::string ReadHostFile(const std::string& hostPath) try {
    HostFile file(hostPath, HostFile::Mode::Read);
    std::string bytes;
    std::size_t filled = 0;
    bytes.resize(static_cast<std::size_t>(file.Size()) + 1);  // one more shows the end without growing
    while (const std::size_t count = file.Read({bytes.data() + filled, bytes.size() - filled})) {
        filled += count;
        if (filled == bytes.size()) bytes.resize(bytes.size() + bytes.size() / 2 + 4096);
    }
    bytes.resize(filled);
    return bytes;
} catch (const std::bad_alloc&) {
    Raise(RuntimeErrorNumber::OutOfMemory);
} catch (const std::length_error&) {
    Raise(RuntimeErrorNumber::OutOfMemory);
}

void WriteHostFile(const std::string& hostPath, std::string_view bytes) {
    HostFile file(hostPath, HostFile::Mode::Write);
    file.Write(bytes);
    file.Close();
}

bool ForEachHostName(const std::string& hostFolder, const std::function<bool(const char*)>& visit) {
    HostFolderReader reader(hostFolder);
    if (!reader.IsOpen()) return false;
    while (const char* name = reader.NextName()) {
        if (!visit(name)) break;
    }
    return true;
}

}  // namespace marrowkit
