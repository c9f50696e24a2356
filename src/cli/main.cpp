#include <iostream>

#include "cli/CommandLine.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    return marrowkit::cli::RunCommandLine({argv + 1, argv + argc}, {std::cin, std::cout, std::cerr});
}
