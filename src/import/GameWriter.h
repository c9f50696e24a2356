#pragma once

#include <string>

#include "import/ImportProgress.h"
#include "import/ImportSettings.h"
#include "import/ImportTables.h"

namespace marrowkit {

/// Adds every entry that has a name to table Games of the database file at `databasePath`. Cannot be
/// cancelled. Returns an empty text, or the text of the error that ended it: the games written before it stay
/// in the database, and tables.FailedEntry is the one that was not.
std::string WriteGames(const std::string& databasePath, const ImportSettings& settings, ImportTables& tables,
                       ImportProgress& progress);

/// The same with the facts of the TOSEC parser: their publishers, crackers and languages are looked up and
/// added where they are missing. A database that this import has just created first loses every language
/// but its first. Cuts the three names in the entries to what the lookup tables hold.
std::string WriteTosecGames(const std::string& databasePath, const ImportSettings& settings,
                            ImportTables& tables, ImportProgress& progress);

}  // namespace marrowkit
