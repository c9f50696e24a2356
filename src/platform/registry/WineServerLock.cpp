#include "platform/registry/WineServerLock.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

#include <sys/stat.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"

namespace marrowkit {

namespace {

struct flock FirstByte() {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 1;
    return lock;
}

std::string NameOfProcess(pid_t process) {
    try {
        std::string name = ReadHostFile("/proc/" + std::to_string(process) + "/comm");
        return name.substr(0, name.find('\n'));
    } catch (const RuntimeError&) {
        return "another process";
    }
}

/// Who holds the byte: "wineserver (process 812)".
std::string Holder(int file) {
    struct flock lock = FirstByte();
    if (fcntl(file, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK || lock.l_pid <= 0) {
        return "another process";
    }
    return NameOfProcess(lock.l_pid) + " (process " + std::to_string(lock.l_pid) + ")";
}

std::string Hexadecimal(std::uint64_t value) {
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16);
    return {digits.data(), end.ptr};
}

}  // namespace

WineServerLock::WineServerLock(const std::string& prefixHostPath, const std::string& serverFolder) {
    const std::string folder = WineServerFolderOf(prefixHostPath, serverFolder);
    const auto status = StatusOf(folder);
    if (!status || status->kind != HostKind::Folder) return;

    constexpr mode_t kOwnerOnly = 0600;
    file_ = open((folder + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kOwnerOnly);
    if (file_ < 0) {
        SetLastPlatformErrorCode(errno);
        Raise(RuntimeErrorNumber::PermissionDenied, "the lock file of the Wine prefix cannot be opened");
    }
    // An open-file lock: it meets the server's lock like any other, but does not vanish when some other part
    // of this process closes the file.
    struct flock lock = FirstByte();
    if (fcntl(file_, F_OFD_SETLK, &lock) == 0) return;
    const int code = errno;
    const std::string holder = Holder(file_);
    close(file_);
    SetLastPlatformErrorCode(code);
    Raise(RuntimeErrorNumber::PermissionDenied, "the registry of the Wine prefix is in use by " + holder);
}

WineServerLock::~WineServerLock() {
    if (file_ >= 0) close(file_);
}

std::string DefaultWineServerFolder() {
    return "/tmp/.wine-" + std::to_string(getuid());
}

std::string WineServerFolderOf(const std::string& prefixHostPath, const std::string& serverFolder) {
    const auto prefix = StatusOf(prefixHostPath);
    if (!prefix) Raise(RuntimeErrorNumber::PathNotFound);
    return serverFolder + "/server-" + Hexadecimal(prefix->device) + "-" + Hexadecimal(prefix->inode);
}

}  // namespace marrowkit
