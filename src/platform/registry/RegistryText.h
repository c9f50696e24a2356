#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/registry/RegistryValue.h"

namespace marrowkit {

// Registry files as texts, without any file access. Two dialects of one format:
//   Wine     system.reg: "WINE REGISTRY Version 2", `[Software\\Key] 1700000000`, escapes for all that is not
//            ASCII, paths relative to the hive
//   Regedit  "Windows Registry Editor Version 5.00", `[HKEY_LOCAL_MACHINE\Software\Key]`, only \\ and \"
//   escaped
// Both know "name"="text", @= for the key's own value, dword: and hex: (continued with "\" at the line's
// end). Names compare ignoring case; of repeated keys and values the last one counts. Lines that make no
// sense are skipped, whatever they hold.

enum class RegistryDialect { Wine, Regedit };

/// The first line that a file must have.
bool HasRegistryHeader(std::string_view text, RegistryDialect dialect);
/// A file without keys.
std::string EmptyRegistryText(RegistryDialect dialect);

/// `keyPath` is written with single backslashes, for Regedit with its hive. An empty `valueName` is the key's
/// own value.
std::optional<RegistryData> FindRegistryValue(std::string_view text, RegistryDialect dialect,
                                              std::string_view keyPath, std::string_view valueName);

/// The text with one value set: in its line, else in a new line at the end of the key, else in a new key at
/// the end. Everything else stays byte for byte. `unixSeconds` is the time of change of a new key (Wine).
/// REQUIRES: data.type is not Other.
std::string WithRegistryValue(std::string_view text, RegistryDialect dialect, std::string_view keyPath,
                              std::string_view valueName, const RegistryData& data, std::int64_t unixSeconds);

/// Whether a Wine registry belongs to a 64-bit prefix ("#arch=win64"), in which a 32-bit program's
/// HKLM\Software is Software\Wow6432Node.
bool IsWin64Registry(std::string_view text);

}  // namespace marrowkit
