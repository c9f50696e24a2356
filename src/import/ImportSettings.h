#pragma once

#include <cstdint>
#include <string>

namespace marrowkit {

/// What one import is told and what it reports back: filled by the choice of the datafile and by the options
/// dialog (or the command line), read by every stage. Each path is kept without and with a trailing "\".
struct ImportSettings {
    std::string DatafilePath;
    std::string DatafileAuthor;  ///< the datafile's own [CREDITS]
    std::string DatafileVersion;
    std::string DatafileComment;

    bool ImportIntoExisting = false;
    std::string ExistingDatabasePath;  ///< the .mdb file that receives the games
    std::string ExistingDatabaseName;

    std::int32_t NameColumn = 3;  ///< column of the games line that becomes the game's name
    std::int32_t FileColumn = 5;  ///< column that becomes the game's file name
    bool SkipDuplicates = false;
    bool TosecNames = false;
    bool AddZipExtension = false;
    bool ScanForRoms = false;
    bool MatchExtensionsOnly = false;

    std::string RomPath;  ///< no "\" at the end, except for a drive root such as C:\.
    std::string RomPathSlash;
    std::string DatabaseName;
    std::string NewFolderPath;
    std::string NewFolderPathSlash;

    bool ImportSucceeded = false;
    bool ImportCancelled = false;
    std::string NewDatabaseKey;    ///< node of the library tree to select after the import
    std::string BrowseFolderPath;  ///< into and out of the folder picker
};

/// The form of an import's path that has a "\" at its end. Only a "\" counts as one that is there: what
/// follows this form is the rest of a path below it, and a "/" that was typed belongs to the name.
std::string WithTrailingBackslash(std::string path);

/// The record of the running program. Windows set it before a modal window opens and read it after it has
/// closed; the stages take theirs as a parameter.
ImportSettings& GlobalImportSettings();

}  // namespace marrowkit
