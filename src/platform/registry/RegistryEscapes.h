#pragma once

#include <string>
#include <string_view>

#include "platform/registry/RegistryText.h"

namespace marrowkit {

/// A text as it stands between quotes, or (Wine) between the brackets of a key. `bracket` also escapes [ and
/// ].
enum class EscapedPlace { Quotes, Brackets };
std::string EscapeRegistryText(std::string_view text, RegistryDialect dialect, EscapedPlace place);

/// The text that was escaped. An escape that makes no sense stands for its character; one that is cut off by
/// the end is dropped.
std::string UnescapeRegistryText(std::string_view escaped, RegistryDialect dialect);

}  // namespace marrowkit
