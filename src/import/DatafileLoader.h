#pragma once

#include <string>

#include "import/DatafileLines.h"
#include "import/ImportProgress.h"
#include "import/ImportSettings.h"
#include "import/ImportTables.h"

namespace marrowkit {

/// The loader's answer to a datafile without a single usable games line.
inline constexpr std::string_view kNoGamesText = "There were no games to import!";

/// Reads the games lines of settings.DatafilePath (code page 1252) into tables.Entries. A games line with
/// more or fewer than 11 fields is left out without a word.
///
/// Returns an empty text on success and when the import was cancelled, kNoGamesText when there was nothing.
/// Raises the error of a file that cannot be read, and 13 or 6 for a size that is no number or too large:
/// nothing here traps them, unlike in the other loader. That difference is meant.
std::string LoadDatafile(const ImportSettings& settings, ImportTables& tables, ImportProgress& progress);

/// The same without the lines whose name, compared exactly, an earlier line had. Errors come back as a text;
/// to a type mismatch it adds what is then most likely wrong with the datafile.
std::string LoadDatafileSkippingDuplicates(const ImportSettings& settings, ImportTables& tables,
                                           ImportProgress& progress);

/// The entry of one games line. Raises 13 or 6 for its size column.
DatafileEntry MakeDatafileEntry(const GamesLine& fields, const ImportSettings& settings);

}  // namespace marrowkit
