#include "platform/process/ProgramArguments.h"
#include "platform/windows/Shell.h"
#include "platform/windows/WideText.h"

namespace marrowkit {

std::vector<std::string> ProgramArguments(int, char**) {
    int count = 0;
    wchar_t** const values = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; values != nullptr && i < count; ++i) arguments.push_back(windows::FromWide(values[i]));
    LocalFree(static_cast<HLOCAL>(values));
    return arguments;
}

}  // namespace marrowkit
