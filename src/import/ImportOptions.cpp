#include "import/ImportOptions.h"

#include <algorithm>

#include "creation/CreateDatabase.h"
#include "platform/files/FileTools.h"
#include "platform/text/Text.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

bool IsAsciiLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// Sets both forms of the ROM path: without a "\" at the end, and with one. "C:\" keeps its own; an empty
/// path gives "" and "\".
void StoreRomPath(const std::string& typed, ImportSettings& settings) {
    constexpr std::size_t kDriveRootCharacters = 3;
    settings.RomPath = typed;
    settings.RomPathSlash = WithTrailingBackslash(typed);
    if (typed.ends_with('\\') && CharacterCount(typed) > kDriveRootCharacters) settings.RomPath.pop_back();
}

}  // namespace

std::string MakeDefaultDatabaseName(std::string_view datafileName) {
    constexpr std::size_t kEndingCharacters = 4;  // ".dat"
    const std::size_t characters = CharacterCount(datafileName);
    std::string name(FirstCharacters(datafileName, characters - std::min(characters, kEndingCharacters)));
    std::erase_if(name, [](char c) { return kInvalidNameCharacters.find(c) != std::string_view::npos; });
    name.resize(FirstCharacters(name, kDatabaseNameCharacters).size());
    return name.empty() ? "New Vellora" : name;
}

bool NamesTosec(std::string_view datafileName) {
    return LCase(datafileName).find("tosec") != std::string::npos;
}

bool IsAbsoluteRomPath(std::string_view path) {
    return path.size() >= 3 && IsAsciiLetter(path[0]) && path[1] == ':' && path[2] == '\\';
}

std::optional<ImportRefusal> StoreImportOptions(const ImportOptions& options, const std::string& libraryRoot,
                                                ImportSettings& settings) {
    using Field = ImportRefusal::Field;
    std::string newFolder;
    if (!settings.ImportIntoExisting) {
        if (options.name.empty()) return ImportRefusal{"You must enter a Vellora name!", Field::Name};
        newFolder = libraryRoot + options.name;
        if (FileTools().FolderExists(newFolder)) {
            return ImportRefusal{"There is already a Vellora folder with that name!", Field::Name};
        }
    }
    if (options.scanForRoms) {
        if (!IsAbsoluteRomPath(options.romPath)) {
            return ImportRefusal{"Please enter an absolute (full) Rom Path!", Field::RomPath};
        }
        if (!FileTools().FolderExists(options.romPath)) {
            return ImportRefusal{"The Rom Path could not be found!", Field::RomPath};
        }
    }

    StoreRomPath(options.romPath, settings);
    settings.AddZipExtension = options.addZipExtension;
    settings.SkipDuplicates = options.skipDuplicates;
    settings.MatchExtensionsOnly = options.matchExtensionsOnly;
    settings.ScanForRoms = options.scanForRoms;
    settings.TosecNames = options.tosecNames;
    settings.FileColumn = options.fileColumn;
    settings.NameColumn = options.nameColumn;
    settings.DatabaseName = options.name;
    settings.NewFolderPath = newFolder;
    settings.NewFolderPathSlash = newFolder.empty() ? newFolder : WithTrailingBackslash(newFolder);
    return std::nullopt;
}

}  // namespace marrowkit
