#include "import/DatafileChoice.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/files/IniFile.h"
#include "platform/files/Paths.h"
#include "platform/registry/RegistryStore.h"

namespace marrowkit {

namespace {

constexpr std::string_view kHive = "HKEY_LOCAL_MACHINE";
constexpr std::string_view kBrowsePaths = "Software\\Quillon\\Marrowkit\\BrowsePaths";
constexpr std::string_view kFolderValue = "RomCenter2DataFilePath";

}  // namespace

std::string LastDatafileFolder() {
    RegistryVariant folder = std::string();
    std::int32_t status = 0;
    RegistryStore().ReadValue(kHive, kBrowsePaths, kFolderValue, folder, status);
    return std::get<std::string>(folder);
}

void RememberDatafileFolder(std::string_view datafilePath) {
    RegistryStore().WriteValue(kHive, kBrowsePaths, kFolderValue, FolderOf(datafilePath));
}

std::string DatafileVersionOf(const std::string& datafilePath) {
    return ReadIniValue(datafilePath, "DAT", "version", "");
}

bool IsSupportedDatafileVersion(std::string_view version) {
    constexpr std::array<std::string_view, 4> kSpellings = {"2.", "2", "2.0", "2.00"};
    return std::find(kSpellings.begin(), kSpellings.end(), version) != kSpellings.end();
}

bool AcceptDatafile(UserInterface& ui, const std::string& datafilePath, ImportSettings& settings) {
    const std::string version = DatafileVersionOf(datafilePath);
    if (!IsSupportedDatafileVersion(version)) {
        ui.ShowMessage(
            "This datafile was not found to be version 2.00!\r\n\r\nReported version is: [" + version + "]",
            MessageIcon::Information, "Marrowkit");
        return false;
    }
    settings.DatafileAuthor = ReadIniValue(datafilePath, "CREDITS", "Author", "");
    settings.DatafileVersion = ReadIniValue(datafilePath, "CREDITS", "Version", "");
    settings.DatafileComment = ReadIniValue(datafilePath, "CREDITS", "Comment", "");
    settings.DatafilePath = datafilePath;
    return true;
}

void RemindOfScanAndFix(UserInterface& ui) {
    ui.ShowMessage(
        "You will need to run \"Scan and Fix Errors\" on this database file before you can use it.",
        MessageIcon::None, std::string(kApplicationTitle));
}

}  // namespace marrowkit
