#pragma once

#include <string_view>

#include "platform/jet/format/Format.h"

namespace marrowkit::expression {

/// Whether a text matches a pattern of LIKE: * stands for any characters, ? for one, # for one digit, [a-m]
/// for one of a list and [!a-m] for one outside of it; [*] takes a wildcard literally. Case does not matter.
/// Costs at most the product of the two lengths. Raises 5 for a list that is not closed.
bool MatchesPattern(jet::JetVersion version, std::string_view text, std::string_view pattern);

}  // namespace marrowkit::expression
