#pragma once

#include <string>
#include <vector>

#include "cli/Session.h"

namespace CLI {
class App;
}

namespace marrowkit::cli {

/// Gives an empty App everything that the program's command line can hold. REQUIRES: the session outlives it.
void BuildCommandLine(CLI::App& app, Session& session);

/// The whole program: reads the arguments (without the program's name), runs the command, returns the exit
/// code.
int RunCommandLine(std::vector<std::string> arguments, const Streams& streams);

}  // namespace marrowkit::cli
