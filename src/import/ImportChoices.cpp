#include "import/ImportChoices.h"

#include <algorithm>

#include "platform/files/FileSystem.h"
#include "platform/text/Text.h"
#include "shell/modGlobal.h"

namespace marrowkit {
namespace {

constexpr int kDatafileEndingChars = 4;  // ".dat"

bool IsLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

struct PathForms {
    std::string without;
    std::string withSlash;
};

/// A drive root such as C:\ keeps its backslash in both forms.
PathForms SplitForms(const std::string& path) {
    if (path.empty() || path.back() != '\\') return {path, path + "\\"};
    return {path.size() > 3 ? path.substr(0, path.size() - 1) : path, path};
}

}  // namespace

std::optional<ImportRefusal> ApplyImportChoices(const ImportChoices& choices, ImportSettings& settings) {
    using Field = ImportRefusal::Field;
    std::string newFolder;
    std::string newFolderSlash;
    if (!settings.ImportIntoExisting) {
        if (choices.name.empty()) return ImportRefusal{"You must enter a Vellora name!", Field::Name};
        newFolder = LibraryRoot + choices.name;
        if (IsFolder(newFolder)) {
            return ImportRefusal{"There is already a Vellora folder with that name!", Field::Name};
        }
        newFolderSlash = newFolder.back() == '\\' ? newFolder : newFolder + "\\";
    }
    if (choices.scanForRoms) {
        if (!IsAbsoluteRomPath(choices.romPath)) {
            return ImportRefusal{"Please enter an absolute (full) Rom Path!", Field::RomPath};
        }
        if (!IsFolder(choices.romPath)) {
            return ImportRefusal{"The Rom Path could not be found!", Field::RomPath};
        }
    }
    const PathForms rom = SplitForms(choices.romPath);
    settings.AddZipExtension = choices.addZipExtension;
    settings.SkipDuplicates = choices.skipDuplicates;
    settings.MatchExtensionsOnly = choices.matchExtensionsOnly;
    settings.ScanForRoms = choices.scanForRoms;
    settings.TosecNames = choices.tosecNames;
    settings.FileColumn = choices.fileColumn;
    settings.NameColumn = choices.nameColumn;
    settings.DatabaseName = choices.name;
    settings.NewFolderPath = newFolder;
    settings.NewFolderPathSlash = newFolderSlash;
    settings.RomPath = rom.without;
    settings.RomPathSlash = rom.withSlash;
    return std::nullopt;
}

std::string MakeDefaultDatabaseName(std::string_view fileName) {
    std::string name =
        Utf8Left(fileName, Utf8Length(fileName) - std::min(Utf8Length(fileName), kDatafileEndingChars));
    std::erase_if(name, [](char c) { return kInvalidNameCharacters.find(c) != std::string_view::npos; });
    name = Left(name, kMaxDatabaseNameChars);
    return name.empty() ? "New Vellora" : name;
}

bool IsAbsoluteRomPath(std::string_view path) {
    return path.size() >= 3 && path[2] == '\\' && path[1] == ':' && IsLetter(path[0]);
}

const std::vector<ColumnItem>& NameColumnItems() {
    static const std::vector<ColumnItem> items{{"Parent Name (col 1)", 1}, {"Parent Description (col 2)", 2},
                                               {"Game Name (col 3)", 3},   {"Game Description (col 4)", 4},
                                               {"Rom Name (col 5)", 5},    {"RomOf Name (col 8)", 8}};
    return items;
}

const std::vector<ColumnItem>& FileColumnItems() {
    static const std::vector<ColumnItem> items{{"Parent Name (col 1)", 1},
                                               {"Game Name (col 3)", 3},
                                               {"Rom Name (col 5)", 5},
                                               {"RomOf Name (col 8)", 7}};
    return items;
}

}  // namespace marrowkit
