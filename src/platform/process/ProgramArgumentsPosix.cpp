#include "platform/process/ProgramArguments.h"

namespace marrowkit {

std::vector<std::string> ProgramArguments(int count, char** values) {
    // A program may be started without even its name.
    return count < 1 ? std::vector<std::string>() : std::vector<std::string>(values + 1, values + count);
}

}  // namespace marrowkit
