#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace marrowkit {

/// The first name in a host folder, in the file system's order, that equals `name` but for case; nullopt when
/// there is none. Names that are not well-formed UTF-8 never match.
///
/// The names of a folder are remembered until it changes, so that asking for many missing files in a folder
/// of 100,000 does not read it again and again.
std::optional<std::string> FindNameNoCase(const std::string& hostFolder, std::string_view name);

}  // namespace marrowkit
