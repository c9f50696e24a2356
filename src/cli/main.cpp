#include <iostream>

#include "cli/CommandLine.h"
#include "platform/process/ProgramArguments.h"
#include "platform/process/StandardStreams.h"
#include "platform/process/StopSignals.h"

int main(int argc, char** argv) {
    using marrowkit::StopSignals;
    marrowkit::OccupyStandardStreams();
    const marrowkit::Utf8Console console;
    std::ios::sync_with_stdio(false);
    const int exitCode = marrowkit::cli::RunCommandLine(marrowkit::ProgramArguments(argc, argv),
                                                        {std::cin, std::cout, std::cerr});
    if (exitCode != 0 && StopSignals::Received() != 0) StopSignals::EndBy(StopSignals::Received());
    return exitCode;
}
