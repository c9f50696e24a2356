#include "platform/installation/LibraryChoice.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"

namespace marrowkit {

namespace {

namespace fs = std::filesystem;

/// Empty when the environment names no place for settings.
std::string ConfigFolder() {
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config != nullptr && config[0] == '/') return std::string(config) + "/marrowkit";
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/') return std::string(home) + "/.config/marrowkit";
    return "";
}

std::string ChoiceFile(const std::string& configFolder) {
    return configFolder + "/library";
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
    const std::string folder = ConfigFolder();
    if (folder.empty() || !StatusOf(ChoiceFile(folder))) return "";
    const std::string text = ReadHostFile(ChoiceFile(folder));
    return text.substr(0, text.find('\n'));
}

void RememberLibrary(const std::string& folder) {
    const std::string config = ConfigFolder();
    if (config.empty()) Raise(RuntimeErrorNumber::PathNotFound);
    std::error_code failure;
    fs::create_directories(config, failure);
    if (failure) RaiseForHostPath(failure.value(), config);
    ReplaceHostFile(ChoiceFile(config), folder + "\n");
}

}  // namespace marrowkit
