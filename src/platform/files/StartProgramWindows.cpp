#include <string>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "platform/files/StartProgram.h"
#include "platform/windows/Handle.h"
#include "platform/windows/Shell.h"
#include "platform/windows/WideText.h"

namespace marrowkit {

using namespace windows;

bool OpenWithDesktop(std::string_view path) {
    const auto host = TryHostPath(path);
    if (!host) return false;
    const std::wstring document = ToWide(*host);  // the shell takes no long paths
    SHELLEXECUTEINFOW start{};
    start.cbSize = sizeof start;
    start.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
    start.lpFile = document.c_str();
    start.nShow = SW_SHOWNORMAL;
    return ShellExecuteExW(&start) != 0;
}

void StartCommandLine(std::string_view commandLine) {
    if (SplitCommandLine(commandLine).empty()) Raise(RuntimeErrorNumber::InvalidProcedureCall);
    std::wstring text = ToWide(commandLine);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    if (CreateProcessW(nullptr, text.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &started) == 0) {
        SetLastPlatformErrorCode(LastError());
        Raise(RuntimeErrorNumber::FileNotFound);
    }
    CloseHandle(started.hThread);
    CloseHandle(started.hProcess);
}

}  // namespace marrowkit
