#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/Format.h"

namespace marrowkit::jet {

/// Appends the sort key of a text (sort order General) as Jet stores it in an index, without the flag byte.
/// Jet 4 works on UTF-16 units, Jet 3 on code page 1252 bytes; both take the first 255 and drop trailing
/// spaces. `descending` gives the inverted form.
void AppendTextKey(JetVersion version, std::string_view utf8, bool descending,
                   std::vector<std::uint8_t>& key);

/// The same, ascending, from a text's stored bytes, without decoding them. False, and nothing appended,
/// unless they are at most 255 ASCII characters that take part in nothing but the first section of a key:
/// most are.
bool AppendStoredTextKey(JetVersion version, ByteView stored, std::vector<std::uint8_t>& key);

/// The key of the whole text (no cut at 255), for comparisons outside of an index. Two texts are equal to Jet
/// exactly when these keys are equal, and ordered as the keys' bytes are.
void AppendComparisonKey(JetVersion version, std::string_view utf8, std::vector<std::uint8_t>& key);

/// <0, 0 or >0. Same answer as comparing the two comparison keys; plain ASCII texts are compared without
/// building them.
int CompareText(JetVersion version, std::string_view left, std::string_view right);

}  // namespace marrowkit::jet
