#include <windows.h>

#include "cli/Terminal.h"

namespace marrowkit::cli {

bool IsStandardErrorDrawable() {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

int TerminalColumns() {
    constexpr int kUsualColumns = 80;
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) == 0) return kUsualColumns;
    // Of the window: what lies beside it in a wider buffer is not seen.
    return info.srWindow.Right - info.srWindow.Left + 1;
}

}  // namespace marrowkit::cli
