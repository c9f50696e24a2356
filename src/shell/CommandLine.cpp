#include "shell/CommandLine.h"

#include "platform/text/Text.h"

namespace marrowkit {

CommandLineSwitches ReadSwitches(std::string_view commandLine) {
    const std::string upper = UCase(commandLine);
    return {upper.find("-EXPERT") != std::string::npos, upper.find("-NOMSGBOX") != std::string::npos};
}

}  // namespace marrowkit
