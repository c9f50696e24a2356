#include <cstdlib>
#include <string_view>
#include <unistd.h>

#include <sys/ioctl.h>

#include "cli/Terminal.h"

namespace marrowkit::cli {

bool IsStandardErrorDrawable() {
    // A dumb one cannot go back to the beginning of a line.
    const char* kind = std::getenv("TERM");
    return isatty(STDERR_FILENO) != 0 && (kind == nullptr || std::string_view(kind) != "dumb");
}

int TerminalColumns() {
    constexpr int kUsualColumns = 80;
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return kUsualColumns;
}

}  // namespace marrowkit::cli
