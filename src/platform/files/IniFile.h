#pragma once

#include <string>
#include <string_view>

namespace marrowkit {

/// A value of an INI file by the rules of platform/files/IniText.h, at most 4095 characters; the default,
/// without blanks at its end, when it or the file is missing or cannot be read. Never raises.
std::string ReadIniValue(std::string_view iniPath, std::string_view section, std::string_view key,
                         std::string_view defaultValue);

/// Writes one value; makes the file, the section and the line as needed and changes nothing else. The file
/// has the old or the new content at every moment. Raises 5 for a line end in one of the texts or an empty
/// section or key, 75, 76, 61 ... when the file cannot be read or written.
void WriteIniValue(std::string_view section, std::string_view key, std::string_view value,
                   std::string_view iniPath);

}  // namespace marrowkit
