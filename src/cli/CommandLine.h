#pragma once

#include <string>
#include <vector>

#include "cli/Session.h"

namespace marrowkit::cli {

/// The whole program: reads the arguments (without the program's name), runs the command, returns the exit
/// code.
int RunCommandLine(std::vector<std::string> arguments, const Streams& streams);

}  // namespace marrowkit::cli
