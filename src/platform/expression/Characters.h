#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace marrowkit::expression {

inline bool IsAsciiDigit(char c) { return c >= '0' && c <= '9'; }
inline bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
inline char ToAsciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

/// Names, keywords and functions: ASCII letters of either case are equal, other bytes are compared as they are.
bool SameName(std::string_view left, std::string_view right);
/// The form under which SameName's equals meet in a map.
std::string FoldName(std::string_view name);

/// The next code point of a UTF-8 text; moves `at` behind it. A byte that does not belong to a sequence counts
/// as one character of its own. REQUIRES: at < text.size().
char32_t NextCodePoint(std::string_view text, std::size_t& at);
void AppendCodePoint(char32_t point, std::string& text);
std::u32string ToCodePoints(std::string_view text);
std::string FromCodePoints(std::u32string_view points);

/// Upper and lower case of Latin, Greek and Cyrillic letters.
char32_t ToUpper(char32_t point);
char32_t ToLower(char32_t point);

}  // namespace marrowkit::expression
