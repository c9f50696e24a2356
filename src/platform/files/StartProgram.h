#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace marrowkit {

// Starting other programs. None of them is waited for, except for a moment in which an opener that finds
// nothing to open with reports so.

/// Opens a document with the program that the desktop has for its type. False when none starts.
bool OpenWithDesktop(std::string_view path);

/// Runs a command line: a program, blanks, arguments; double quotes hold an argument with blanks together.
/// Arguments with a drive letter are handed over as host paths. "notepad.exe" is the desktop's text editor
/// where there is no Windows, else what the desktop opens the file with. Raises 53 when nothing starts.
void StartCommandLine(std::string_view commandLine);

/// The arguments of a command line.
std::vector<std::string> SplitCommandLine(std::string_view commandLine);

}  // namespace marrowkit
