#include <ctime>
#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/registry/RegistryBackend.h"
#include "platform/registry/RegistryText.h"
#include "platform/registry/WineServerLock.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace {

/// The path of a 32-bit program's key in the file.
std::string KeyInView(std::string_view text, std::string_view keyPath) {
    constexpr std::string_view kSoftware = "Software\\";
    if (!IsWin64Registry(text) || !StartsWithNoCase(keyPath, kSoftware)) return std::string(keyPath);
    return std::string(kSoftware) + "Wow6432Node\\" + std::string(keyPath.substr(kSoftware.size()));
}

class WineRegistry : public RegistryBackend {
public:
    WineRegistry(std::string prefix, std::string serverFolder)
        : prefix_(std::move(prefix)),
          serverFolder_(std::move(serverFolder)),
          file_(prefix_ + "/system.reg") {}

    std::optional<RegistryData> Read(std::string_view keyPath, std::string_view valueName) override {
        if (!StatusOf(file_)) return std::nullopt;
        const std::string text = ReadHostFile(file_);
        if (!HasRegistryHeader(text, RegistryDialect::Wine)) return std::nullopt;
        return FindRegistryValue(text, RegistryDialect::Wine, KeyInView(text, keyPath), valueName);
    }

    void Write(std::string_view keyPath, std::string_view valueName, const RegistryVariant& value,
               Choose choose) override {
        const WineServerLock lock(prefix_, serverFolder_);
        const std::string text = ReadHostFile(file_);
        if (!HasRegistryHeader(text, RegistryDialect::Wine)) {
            Raise(RuntimeErrorNumber::PathFileAccess, file_ + " is not a registry file of Wine");
        }
        const std::string key = KeyInView(text, keyPath);
        const auto present = FindRegistryValue(text, RegistryDialect::Wine, key, valueName);
        ReplaceHostFile(file_, WithRegistryValue(text, RegistryDialect::Wine, key, valueName,
                                                 choose(value, present), std::time(nullptr)));
    }

private:
    std::string prefix_;
    std::string serverFolder_;
    std::string file_;
};

}  // namespace

std::unique_ptr<RegistryBackend> MakeWineRegistry(std::string prefixHostPath, std::string serverFolder) {
    if (serverFolder.empty()) serverFolder = DefaultWineServerFolder();
    return std::make_unique<WineRegistry>(std::move(prefixHostPath), std::move(serverFolder));
}

}  // namespace marrowkit
