#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "import/ImportSettings.h"

namespace marrowkit {

/// What the person chooses for an import, as it stands in the options dialog or on the command line.
struct ImportChoices {
    std::string name;  ///< of the new database; not looked at when importing into an existing one
    std::int32_t nameColumn = 3;
    std::int32_t fileColumn = 5;
    bool skipDuplicates = false;
    bool tosecNames = false;
    bool addZipExtension = false;
    bool scanForRoms = false;
    std::string romPath;
    bool matchExtensionsOnly = false;
};

/// Why the choices cannot be used, and which of them the person should look at.
struct ImportRefusal {
    enum class Field { Name, RomPath };
    std::string text;
    Field field;
};

/// Tests the choices and stores them in the settings (which hold ImportIntoExisting already). Returns the
/// first refusal and changes nothing then.
std::optional<ImportRefusal> ApplyImportChoices(const ImportChoices& choices, ImportSettings& settings);

/// A database name for a datafile: its file name without the last four characters (".dat") and without what
/// folder names may not hold, at most 64 characters; "New Vellora" when nothing is left.
std::string MakeDefaultDatabaseName(std::string_view fileName);

/// A drive letter, a colon, a backslash. Network paths do not count.
bool IsAbsoluteRomPath(std::string_view path);

/// What folder names may not hold.
inline constexpr std::string_view kInvalidNameCharacters = R"(\/:*?"<>|)";
/// The longest database name, in characters.
inline constexpr int kMaxDatabaseNameChars = 64;

/// One entry of a column list: its caption and the column number that it stands for.
struct ColumnItem {
    std::string_view caption;
    std::int32_t column;
};
const std::vector<ColumnItem>& NameColumnItems();
/// Its last entry is captioned as column 8 and stands for column 7, the size: users of the program know it
/// so.
const std::vector<ColumnItem>& FileColumnItems();

}  // namespace marrowkit
