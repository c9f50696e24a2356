#pragma once

#include <string>

namespace marrowkit {

// A program that was copied into the frontend's folder finds its library by lying there. One that was
// installed for the whole system (`bin/marrowkit`) cannot; it remembers the folder that its user chose.

/// True when the running program lies in a folder "bin" and its desktop entry in "share/applications" beside
/// it.
bool IsInstalled();
/// The same for a program in `programFolder`, a host path.
bool IsInstalledIn(const std::string& programFolder);

/// The host path of the library that was chosen last; empty when none was. It is the first line of
/// $XDG_CONFIG_HOME/marrowkit/library (~/.config/marrowkit/library).
std::string RememberedLibrary();

/// Remembers a folder, a host path. Raises the runtime's errors when it cannot be written, 76 without a home.
void RememberLibrary(const std::string& folder);

}  // namespace marrowkit
