#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/registry/RegistryValue.h"

namespace marrowkit {

/// Where HKEY_LOCAL_MACHINE, as a 32-bit program sees it, is kept. Key paths come without a leading "\".
class RegistryBackend {
public:
    virtual ~RegistryBackend() = default;

    /// nullopt when there is no such value.
    virtual std::optional<RegistryData> Read(std::string_view keyPath, std::string_view valueName) = 0;

    /// What to store is decided from what is there: `choose` gets the present value and gives the new one,
    /// with no other writer in between. Makes the key as needed.
    using Choose = RegistryData (*)(const RegistryVariant& value, const std::optional<RegistryData>& present);
    virtual void Write(std::string_view keyPath, std::string_view valueName, const RegistryVariant& value,
                       Choose choose) = 0;
};

/// The registry of a Wine prefix, that is its file `system.reg`. Writing raises 70 naming the process while a
/// wineserver serves the prefix: it would not see the change, and would write over it. Reading is always
/// possible, but may then be as old as the server's last save (half a minute).
/// `serverFolder` is where wineserver keeps its folders, "/tmp/.wine-<user id>" unless given.
std::unique_ptr<RegistryBackend> MakeWineRegistry(std::string prefixHostPath, std::string serverFolder = "");

/// A file of our own in the text format that regedit imports: $XDG_CONFIG_HOME/marrowkit/registry.reg, or
/// below $HOME/.config. Without either variable reading finds nothing and writing raises 76.
std::unique_ptr<RegistryBackend> MakeOwnRegistry();
/// The same in a file of the caller's choice.
std::unique_ptr<RegistryBackend> MakeOwnRegistry(std::string hostPath);

#ifdef _WIN32
std::unique_ptr<RegistryBackend> MakeWindowsRegistry();
#endif

}  // namespace marrowkit
