#include <cerrno>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include <sys/stat.h>

#include "checksum/WholeFileReader.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"

namespace marrowkit {

namespace {

std::uint64_t LengthOf(const struct stat& status) {
    return S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0;
}

/// The descriptor of the opened file, -1 for one that counts as empty, and its length. `path` gives the path
/// of the file for the text of an error.
template <typename Path>
int Open(int folder, const char* name, const Path& path, std::uint64_t& length) {
    struct stat status;
    // O_NONBLOCK: a pipe without a writer must not stop the scan. It means nothing for files.
    const int descriptor = ::openat(folder, name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        const int code = errno;
        if (::fstatat(folder, name, &status, 0) == 0 && LengthOf(status) == 0) return descriptor;
        RaiseForHostPath(code, path());
    }
    if (::fstat(descriptor, &status) != 0) {
        const int code = errno;
        ::close(descriptor);
        RaiseSystemError(code);
    }
    length = LengthOf(status);
    return descriptor;
}

}  // namespace

WholeFileReader::WholeFileReader(const char* hostPath)
    : handle_(Open(
          AT_FDCWD, hostPath, [hostPath] { return std::string(hostPath); }, length_)) {}

WholeFileReader::WholeFileReader(const OpenHostFolder& folder, const char* name) {
    const auto path = [&] { return folder.PathOf(name); };
    if (folder.Descriptor() >= 0) {
        handle_ = Open(folder.Descriptor(), name, path, length_);
    } else {
        handle_ = Open(AT_FDCWD, path().c_str(), path, length_);
    }
}

WholeFileReader::~WholeFileReader() {
    if (handle_ >= 0) ::close(handle_);
}

void WholeFileReader::ExpectWholeRead() {
#if defined(POSIX_FADV_SEQUENTIAL)
    // Only advice: nothing is lost when the system does not take it.
    static_cast<void>(::posix_fadvise(handle_, 0, 0, POSIX_FADV_SEQUENTIAL));
#endif
}

std::size_t WholeFileReader::Read(std::span<std::uint8_t> into) {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t count = ::read(handle_, into.data() + done, into.size() - done);
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
