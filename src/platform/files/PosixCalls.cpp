#include "platform/files/PosixCalls.h"

#include <cerrno>

namespace marrowkit::posix {

int OpenRetrying(const char* path, int flags, mode_t mode) {
    int handle = -1;
    do {
        handle = open(path, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode);
    } while (handle < 0 && errno == EINTR);
    if (handle < 0) return handle;
    // From here on a pipe that has another end is waited for, as usual.
    const int statusFlags = fcntl(handle, F_GETFL);
    if (statusFlags >= 0) static_cast<void>(fcntl(handle, F_SETFL, statusFlags & ~O_NONBLOCK));
    return handle;
}

int WriteAll(int handle, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(handle, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

ssize_t ReadSome(int handle, std::span<char> buffer) {
    ssize_t count = 0;
    do {
        count = read(handle, buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

bool IsDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace marrowkit::posix
