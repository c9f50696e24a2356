#pragma once

#include <string>
#include <string_view>

namespace marrowkit::tosec {

/// Name of a set whose game nobody has identified.
inline constexpr std::string_view kUnknownPrefix = "ZZZ-UNK-";

/// `text` without a leading "ZZZ-UNK-" in any mix of case.
std::string_view WithoutUnknownPrefix(std::string_view text);

/// The title in front of the groups, and whatever follows the year and publisher groups: "Alpha
/// (1985)(Softco)[a]" gives "Alpha [a]". A first group that names a preview, a demo or a playable version
/// belongs to the title. "ZZZ-UNK-" for an empty title. A blank that precedes an empty rest is kept.
std::string CutTitle(std::string_view title);

}  // namespace marrowkit::tosec
