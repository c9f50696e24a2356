#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace marrowkit {

// The text functions of the classic BASIC runtime, with its rules. Positions are 1-based and, like lengths,
// count characters (code points), never bytes. A position below 1 or a negative length raises RuntimeError 5.

/// Number of characters.
std::int32_t Len(std::string_view text);

std::string Left(std::string_view text, std::int32_t length);
std::string Right(std::string_view text, std::int32_t length);
/// From the character at `start` to the end; empty when `start` lies behind the end.
std::string Mid(std::string_view text, std::int32_t start);
std::string Mid(std::string_view text, std::int32_t start, std::int32_t length);

/// Position of the first `find` at or after `start`, 0 when there is none. Case matters. An empty `find` is
/// found at `start`, unless that lies behind the end or the text is empty.
std::int32_t InStr(std::int32_t start, std::string_view text, std::string_view find);
std::int32_t InStr(std::string_view text, std::string_view find);
/// The same ignoring case.
std::int32_t InStrNoCase(std::int32_t start, std::string_view text, std::string_view find);
std::int32_t InStrNoCase(std::string_view text, std::string_view find);

/// Position of the last `find` that ends at or before the character `start`, 0 when there is none. The
/// default, -1, is the end of the text; any other number below 1 raises 5.
std::int32_t InStrRev(std::string_view text, std::string_view find, std::int32_t start = -1);

/// Only blanks (U+0020) go; tabs and line ends stay.
std::string Trim(std::string_view text);
std::string LTrim(std::string_view text);
std::string RTrim(std::string_view text);
/// The same without a copy.
std::string_view TrimView(std::string_view text);

/// Each letter by its one partner (platform/text/CaseMapping.h), whatever the locale.
std::string UCase(std::string_view text);
std::string LCase(std::string_view text);

/// Every `find`, from left to right, becomes `with`; what was put in is not searched again. An empty `find`
/// changes nothing.
std::string Replace(std::string_view text, std::string_view find, std::string_view with);
std::string ReplaceNoCase(std::string_view text, std::string_view find, std::string_view with);

/// Equal but for the case of letters.
bool EqualNoCase(std::string_view left, std::string_view right);
/// Order by lower-cased code points: below 0, 0, above 0.
int CompareNoCase(std::string_view left, std::string_view right);
bool StartsWithNoCase(std::string_view text, std::string_view start);

/// The pieces between separators; always at least one, also of an empty text. REQUIRES: !separator.empty().
std::vector<std::string_view> Split(std::string_view text, std::string_view separator);

}  // namespace marrowkit
