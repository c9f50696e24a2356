#pragma once

#include <fcntl.h>
#include <span>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

#include <sys/types.h>

// What the files HostXyzPosix.cpp share; nobody else includes this.

namespace marrowkit::posix {

inline constexpr mode_t kNewFileMode = 0666;  // less the umask
inline constexpr mode_t kPermissionBits = 07777;

/// A file descriptor that closes itself.
class Descriptor {
public:
    explicit Descriptor(int handle) : handle_(handle) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (handle_ >= 0) close(handle_);
    }
    int Get() const { return handle_; }
    int Release() { return std::exchange(handle_, -1); }

private:
    int handle_;
};

/// Does not wait for whoever holds a pipe's other end: reading one without a writer finds its end at once,
/// writing one without a reader fails. -1 with errno on failure.
int OpenRetrying(const char* path, int flags, mode_t mode = 0);

/// 0, or the errno of the failure.
int WriteAll(int handle, std::string_view bytes);
/// Number of bytes, -1 with errno.
ssize_t ReadSome(int handle, std::span<char> buffer);

bool IsDotOrDotDot(const char* name);

}  // namespace marrowkit::posix
