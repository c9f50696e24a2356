#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "creation/Credits.h"
#include "global/UserInterface.h"

namespace marrowkit {

// A database is a folder in the library that holds an .mdb file of its own name, a copy of Empty.mdb, and a
// fixed set of side folders and files. Both routines below make one; they differ in who asks for the name and
// in the side files.

/// The most characters a database's name may have, and those it may not have.
inline constexpr int kDatabaseNameCharacters = 64;
inline constexpr std::string_view kInvalidNameCharacters = "\\/:*?\"<>|";

/// Asks for the name of a new database; nullopt when that was cancelled. The asker (a dialog, a command line)
/// gives no empty name, none that is too long, and none with an invalid character.
using DatabaseNameAsker = std::function<std::optional<std::string>()>;

enum class CreationResult {
    Created,
    Cancelled,   ///< no name was given
    Refused,     ///< nothing was made, and a message said why
    Incomplete,  ///< an unexpected error stopped it; what was made until then is still there
};

/// What CreateNewDatabase did.
struct Creation {
    CreationResult result = CreationResult::Cancelled;
    /// Created: the key of the new folder's node in the library tree, which the window selects, expands and
    /// scrolls into view (`LibraryRoot` & name & "\").
    std::string nodeKey;
    /// Incomplete: what happened. The window says nothing about it; the command line prints it.
    std::string errorText;
};

/// Asks for a name and makes the database of that name, complete with help.htm and Credits.ini; then has the
/// tree rebuilt.
Creation CreateNewDatabase(UserInterface& ui, const DatabaseNameAsker& askForName);

/// What an import says about the database it wants.
struct ImportDatabaseRequest {
    std::string folderPath;    ///< full path of the new folder, without a final "\"
    std::string databaseName;  ///< the folder's own name
    std::string datafileName;  ///< as the import's options show it
    DatafileCredits credits;
    std::string romPath;        ///< the ROM folder, or empty
    bool scanForRoms = false;   ///< the ROM scan was chosen
    std::string extensionList;  ///< the extensions found, each followed by a semicolon
};

/// Makes the folder that an import fills. Asks nothing, does not look whether the folder exists (the options
/// dialog has), and leaves the tree alone. `databasePath` becomes the full path of the new .mdb file.
/// `errorText` is empty on success; a missing Empty.mdb is reported with its message box and in `errorText`,
/// any other failure in `errorText` alone.
void CreateImportDatabase(UserInterface& ui, const ImportDatabaseRequest& request, std::string& databasePath,
                          std::string& errorText);

}  // namespace marrowkit
