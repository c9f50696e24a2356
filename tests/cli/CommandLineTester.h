#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "cli/CommandLine.h"

namespace marrowkit::test {

/// What a run of marrowkit-cli printed, and how it ended.
struct CommandLineRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

/// Runs one command line as the program does, with `input` for standard input.
inline CommandLineRun RunCli(std::vector<std::string> arguments, const std::string& input = "") {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    CommandLineRun run;
    run.exitCode = cli::RunCommandLine(std::move(arguments), {in, out, err});
    run.out = out.str();
    run.err = err.str();
    return run;
}

}  // namespace marrowkit::test
