#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "platform/process/StandardStreams.h"

namespace marrowkit {

// Handles of the standard streams are no numbers that an opened file could be given.
void OccupyStandardStreams() {}

Utf8Console::Utf8Console() : outputBefore_(GetConsoleOutputCP()), inputBefore_(GetConsoleCP()) {
    // A line end inside a quoted field of CSV must arrive as it is.
    constexpr int kStandardOutput = 1;
    constexpr int kStandardError = 2;
    _setmode(kStandardOutput, _O_BINARY);
    _setmode(kStandardError, _O_BINARY);
    if (outputBefore_ != 0) SetConsoleOutputCP(CP_UTF8);
    if (inputBefore_ != 0) SetConsoleCP(CP_UTF8);
}

Utf8Console::~Utf8Console() {
    if (outputBefore_ != 0) SetConsoleOutputCP(outputBefore_);
    if (inputBefore_ != 0) SetConsoleCP(inputBefore_);
}

}  // namespace marrowkit
