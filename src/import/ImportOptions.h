#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "import/ImportSettings.h"

namespace marrowkit {

/// An item of the two lists of datafile columns.
struct ColumnItem {
    std::string_view caption;
    std::int32_t column;
};

/// Columns that may become the game's name.
inline constexpr std::array<ColumnItem, 6> kNameColumns = {{
    {"Parent Name (col 1)", 1},
    {"Parent Description (col 2)", 2},
    {"Game Name (col 3)", 3},
    {"Game Description (col 4)", 4},
    {"Rom Name (col 5)", 5},
    {"RomOf Name (col 8)", 8},
}};

/// Columns that may become the game's file name. The last one reads the size column, whatever its caption
/// says; that is meant.
inline constexpr std::array<ColumnItem, 4> kFileColumns = {{
    {"Parent Name (col 1)", 1},
    {"Game Name (col 3)", 3},
    {"Rom Name (col 5)", 5},
    {"RomOf Name (col 8)", 7},
}};

/// Item of either list that is selected at first.
inline constexpr std::size_t kDefaultColumnItem = 2;

/// The name proposed for the database of a datafile: its file name without ".dat" and without forbidden
/// characters, at most 64 characters; "New Vellora" when nothing is left.
std::string MakeDefaultDatabaseName(std::string_view datafileName);

/// Whether a datafile's name says that its games are named by the TOSEC convention.
bool NamesTosec(std::string_view datafileName);

/// A letter, a colon and a backslash at the start.
bool IsAbsoluteRomPath(std::string_view path);

/// What the person has chosen before an import.
struct ImportOptions {
    std::string name;  ///< of the new database; not looked at when importing into an existing one
    std::int32_t nameColumn = kNameColumns[kDefaultColumnItem].column;
    std::int32_t fileColumn = kFileColumns[kDefaultColumnItem].column;
    bool skipDuplicates = false;
    bool tosecNames = false;
    bool addZipExtension = false;
    bool scanForRoms = false;
    bool matchExtensionsOnly = false;
    std::string romPath;  ///< as it was typed
};

/// Why the import cannot start, and which input is to blame.
struct ImportRefusal {
    enum class Field { Name, RomPath };
    std::string text;
    Field field;
};

/// Checks the options and stores them in the settings, whose ImportIntoExisting is known by then. Nothing is
/// stored when they are refused. The ROM folder is checked only when it is to be scanned.
std::optional<ImportRefusal> StoreImportOptions(const ImportOptions& options, const std::string& libraryRoot,
                                                ImportSettings& settings);

}  // namespace marrowkit
