#include <iostream>

#include "cli/CommandLine.h"
#include "platform/process/StandardStreams.h"
#include "platform/process/StopSignals.h"

int main(int argc, char** argv) {
    using marrowkit::StopSignals;
    marrowkit::OccupyStandardStreams();
    std::ios::sync_with_stdio(false);
    const int exitCode =
        marrowkit::cli::RunCommandLine({argv + 1, argv + argc}, {std::cin, std::cout, std::cerr});
    if (exitCode != 0 && StopSignals::Received() != 0) StopSignals::EndBy(StopSignals::Received());
    return exitCode;
}
