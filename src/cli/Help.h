#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace marrowkit::cli {

/// Gives --help of the program and of its commands our words, and lines that fit a terminal of 80 columns.
/// Call it before commands are added: they inherit it.
void StyleHelp(CLI::App& app);

/// What to say about a command line that cannot be followed: what is wrong with it, the usage of the command
/// it names, and where to read on. Ends in a line end.
std::string WrongUsageText(const CLI::App& app, const CLI::ParseError& error);

}  // namespace marrowkit::cli
