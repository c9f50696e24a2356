#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace marrowkit {

// INI files as bytes in code page 1252, without any file access. Lines end at CR, LF or any run of them.
// Around section names, keys and values the blanks 09 to 0D, 1A and 20 are cut; names are compared ignoring
// case. Only the first section of a name counts, and in it the first line with the key.

/// At most so many characters of a value are read: a buffer of 4096 less its final NUL.
inline constexpr std::size_t kIniValueCharacters = 4095;

/// The bytes of a value, nullopt when the section or the key is missing or its line has no "=". One pair of
/// equal quotes (' or ") around a value goes. Unlike the platform's reader, blanks (20) at the end of a value
/// stay: "version=2.00 " is not "2.00".
std::optional<std::string> FindIniValue(std::string_view bytes, std::string_view section,
                                        std::string_view key);

/// The bytes with this value: in the line of the key, else in a new line at the end of the section, else in a
/// new section at the end. All other lines stay byte for byte; new lines end as the file's first one does, CR
/// LF in an empty file. REQUIRES: no line end in any of the three.
std::string WithIniValue(std::string_view bytes, std::string_view section, std::string_view key,
                         std::string_view value);

}  // namespace marrowkit
