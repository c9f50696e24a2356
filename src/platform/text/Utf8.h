#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace marrowkit {

// Text inside the program is UTF-8. Surrogates are allowed in their three-byte form (ED A0 80 ... ED BF BF),
// because a stored UTF-16 text may hold unpaired ones and has to survive. A "character" is a code point; a
// byte that belongs to no well-formed sequence counts as one character, U+FFFD.

inline constexpr char32_t kReplacementCharacter = 0xFFFD;
inline constexpr char32_t kLastCodePoint = 0x10FFFF;

/// The code point that starts at byte `position`; moves `position` behind it.
/// REQUIRES: position < text.size().
char32_t NextCodePoint(std::string_view text, std::size_t& position);

/// Appends one code point, surrogates included. What lies beyond U+10FFFF is appended as U+FFFD.
void AppendUtf8(std::string& text, char32_t codePoint);

/// Whether each byte belongs to a well-formed sequence: shortest form, at most U+10FFFF. Surrogates in
/// three-byte form are well formed here, unless `surrogates` is Refused.
enum class Surrogates { Allowed, Refused };
bool IsValidUtf8(std::string_view text, Surrogates surrogates = Surrogates::Allowed);

/// Number of characters.
std::size_t CharacterCount(std::string_view text);

/// Byte offset of the character with this number, counted from 0; text.size() when there are fewer.
std::size_t CharacterOffset(std::string_view text, std::size_t number);

/// The first `count` characters, or all there are. A view of `text`.
std::string_view FirstCharacters(std::string_view text, std::size_t count);

/// How many bytes from the start are plain ASCII.
std::size_t AsciiPrefixBytes(std::string_view text);

}  // namespace marrowkit
