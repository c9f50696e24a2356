#pragma once

#include <string>
#include <string_view>

namespace marrowkit {

/// The two switches of the program. Each counts wherever its text stands in the command line, in any case of
/// letters, also within a longer word.
struct CommandLineSwitches {
    bool expert = false;
    bool noMessageBox = false;
};

CommandLineSwitches ReadSwitches(std::string_view commandLine);

}  // namespace marrowkit
