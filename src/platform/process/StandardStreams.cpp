#include "platform/process/StandardStreams.h"

#ifndef _WIN32
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace marrowkit {

#ifdef _WIN32

// Handles of the standard streams are no numbers that an opened file could be given.
void OccupyStandardStreams() {}

#else

void OccupyStandardStreams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
        // The lowest free number is the one that is given out. Open for the wrong direction, on purpose.
        const int flags = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        static_cast<void>(open("/dev/null", flags));
    }
}

#endif

}  // namespace marrowkit
