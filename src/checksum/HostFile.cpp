#include "checksum/HostFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>

#include <sys/stat.h>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

#include "platform/errors/RuntimeError.h"

namespace marrowkit {

namespace {

#ifdef _WIN32

using Status = struct _stat64;
int Open(HostFile::PathText path) {
    return _wopen(path, _O_RDONLY | _O_BINARY | _O_SEQUENTIAL | _O_NOINHERIT);
}
bool StatusOf(int descriptor, Status& status) {
    return _fstat64(descriptor, &status) == 0;
}
bool StatusOf(HostFile::PathText path, Status& status) {
    return _wstat64(path, &status) == 0;
}
bool IsRegular(const Status& status) {
    return (status.st_mode & _S_IFMT) == _S_IFREG;
}
int ReadSome(int descriptor, std::uint8_t* into, std::size_t bytes) {
    constexpr std::size_t kMost = std::numeric_limits<int>::max();
    return _read(descriptor, into, static_cast<unsigned>(std::min(bytes, kMost)));
}
void Close(int descriptor) {
    _close(descriptor);
}

#else

using Status = struct stat;
int Open(HostFile::PathText path) {
    // O_NONBLOCK: a pipe without a writer must not stop the scan. It means nothing for files.
    return ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}
bool StatusOf(int descriptor, Status& status) {
    return ::fstat(descriptor, &status) == 0;
}
bool StatusOf(HostFile::PathText path, Status& status) {
    return ::stat(path, &status) == 0;
}
bool IsRegular(const Status& status) {
    return S_ISREG(status.st_mode);
}
ssize_t ReadSome(int descriptor, std::uint8_t* into, std::size_t bytes) {
    return ::read(descriptor, into, bytes);
}
void Close(int descriptor) {
    ::close(descriptor);
}

#endif

std::uint64_t LengthOf(const Status& status) {
    return IsRegular(status) ? static_cast<std::uint64_t>(status.st_size) : 0;
}

}  // namespace

HostFile::HostFile(PathText path) : descriptor_(Open(path)) {
    const int openError = descriptor_ < 0 ? errno : 0;
    Status status;
    if (descriptor_ < 0) {
        if (StatusOf(path, status) && LengthOf(status) == 0) return;
        RaiseSystemError(openError);
    }
    if (!StatusOf(descriptor_, status)) {
        const int code = errno;
        Close(descriptor_);
        RaiseSystemError(code);
    }
    length_ = LengthOf(status);
}

HostFile::~HostFile() {
    if (descriptor_ >= 0) Close(descriptor_);
}

void HostFile::ExpectWholeRead() {
#if defined(POSIX_FADV_SEQUENTIAL)
    // Only advice: nothing is lost when the system does not take it.
    static_cast<void>(::posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL));
#endif
}

std::size_t HostFile::Read(std::span<std::uint8_t> into) {
    std::size_t done = 0;
    while (done < into.size()) {
        const auto count = ReadSome(descriptor_, into.data() + done, into.size() - done);
        if (count == 0) break;
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            RaiseSystemError(errno);
        }
    }
    return done;
}

}  // namespace marrowkit
