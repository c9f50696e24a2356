#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/registry/RegistryBackend.h"
#include "platform/registry/RegistryValue.h"

namespace marrowkit {

/// The registry component of the program: made for a group of calls, released after it. On Windows it is the
/// registry itself, in a Wine prefix the prefix's, elsewhere a file of our own (RegistryBackend.h).
///
/// The hive is always "HKEY_LOCAL_MACHINE"; any other raises 5, as does an empty key path.
class RegistryStore {
public:
    /// The back end that suits the program's drives (platform/files/HostPath.h).
    RegistryStore();
    explicit RegistryStore(std::unique_ptr<RegistryBackend> backend);

    /// Stores a value, making the key as needed: a text as text, a float as the shortest decimal text that
    /// reads back the same, an integer as a number (DWORD). A value that is there keeps its type where the
    /// new one fits it. `extra` belongs to the component's interface and changes nothing.
    void WriteValue(std::string_view hive, std::string_view keyPath, std::string_view valueName,
                    const RegistryVariant& value, std::string_view extra = "");

    /// Puts the stored value into `value`, in the type that `value` has; leaves it alone when there is none.
    /// `status` becomes 0 for a value that was found, 2 (file not found) otherwise. A stored text that is no
    /// number raises 13 where a number is asked for, 6 when it is too large for an integer.
    void ReadValue(std::string_view hive, std::string_view keyPath, std::string_view valueName,
                   RegistryVariant& value, std::int32_t& status, bool flag = true);

private:
    std::unique_ptr<RegistryBackend> backend_;
};

}  // namespace marrowkit
