#pragma once

#include <string>
#include <vector>

namespace marrowkit {

/// What stands behind the program's name on its command line, in UTF-8. Takes what main() was given; on
/// Windows that lacks the characters outside of the code page, and the system is asked instead.
std::vector<std::string> ProgramArguments(int count, char** values);

}  // namespace marrowkit
