#pragma once

#include <string>
#include <string_view>

#include "global/UserInterface.h"
#include "import/ImportSettings.h"

namespace marrowkit {

inline constexpr std::string_view kDatafileFilter = "RomCenter 2.0 Datafiles (*.dat)|*.dat";
inline constexpr std::string_view kDatafileDialogTitle = "Select the RC-2.0 Datafile...";

/// The folder in which the last datafile was chosen; empty before the first.
std::string LastDatafileFolder();
/// Remembers the folder of a chosen datafile.
void RememberDatafileFolder(std::string_view datafilePath);

/// The version that a datafile says it has, as it stands there; empty when it says nothing.
std::string DatafileVersionOf(const std::string& datafilePath);
/// Whether that is version 2.00, in one of its four spellings.
bool IsSupportedDatafileVersion(std::string_view version);

/// Makes `datafilePath` the datafile of the import: checks its version and reads its credits. Any other
/// version is reported, and the settings stay as they are.
bool AcceptDatafile(UserInterface& ui, const std::string& datafilePath, ImportSettings& settings);

/// After an import that succeeded, and after the tree shows the new database.
void RemindOfScanAndFix(UserInterface& ui);

}  // namespace marrowkit
