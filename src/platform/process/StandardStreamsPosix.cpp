#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "platform/process/StandardStreams.h"

namespace marrowkit {

void OccupyStandardStreams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
        // The lowest free number is the one that is given out. Open for the wrong direction, on purpose.
        const int flags = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        static_cast<void>(open("/dev/null", flags));
    }
}

Utf8Console::Utf8Console() = default;
Utf8Console::~Utf8Console() = default;

}  // namespace marrowkit
