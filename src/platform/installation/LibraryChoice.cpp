#include "platform/installation/LibraryChoice.h"

#include <filesystem>
#include <system_error>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"

namespace marrowkit {

namespace {

namespace fs = std::filesystem;

std::string ChoiceFile(const std::string& settingsFolder) {
    return settingsFolder + "/library";
}

}  // namespace

bool IsInstalled() {
    return IsInstalledIn(ProgramHostFolder());
}

bool IsInstalledIn(const std::string& programFolder) {
    const fs::path folder(programFolder);
    return folder.filename() == "bin" &&
           StatusOf((folder.parent_path() / "share/applications/marrowkit.desktop").string()).has_value();
}

std::string RememberedLibrary() {
    const std::string folder = SettingsHostFolder();
    if (folder.empty() || !StatusOf(ChoiceFile(folder))) return "";
    const std::string text = ReadHostFile(ChoiceFile(folder));
    return text.substr(0, text.find('\n'));
}

void RememberLibrary(const std::string& folder) {
    const std::string settings = SettingsHostFolder();
    if (settings.empty()) Raise(RuntimeErrorNumber::PathNotFound);
    std::error_code failure;
    fs::create_directories(settings, failure);
    if (failure) RaiseForHostPath(failure.value(), settings);
    ReplaceHostFile(ChoiceFile(settings), folder + "\n");
}

}  // namespace marrowkit
