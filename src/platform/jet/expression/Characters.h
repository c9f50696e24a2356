#pragma once

#include <string>
#include <string_view>

namespace marrowkit::expression {

inline bool IsAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}
inline bool IsAsciiLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
inline char ToAsciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// Names of all kinds are the same in either case.
bool SameName(std::string_view left, std::string_view right);
/// The form under which SameName's equals meet in a map.
std::string FoldName(std::string_view name);

std::u32string ToCodePoints(std::string_view text);
std::string FromCodePoints(std::u32string_view points);

}  // namespace marrowkit::expression
