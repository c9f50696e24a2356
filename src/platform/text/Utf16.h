#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace marrowkit {

// UTF-16 at the edges: Jet 4 texts, registry values, Windows calls. Unpaired surrogates become their
// three-byte form in UTF-8 and come back from it, so that every sequence of units survives.

/// An odd byte at the end is left out.
std::string Utf16LeToUtf8(std::span<const std::uint8_t> bytes);

/// Bytes of no well-formed UTF-8 sequence become U+FFFD.
std::vector<std::uint8_t> Utf8ToUtf16Le(std::string_view text);

std::string Utf16ToUtf8(std::u16string_view units);
std::u16string Utf8ToUtf16(std::string_view text);

/// Number of 16-bit units that `text` takes in UTF-16.
std::size_t Utf16Length(std::string_view text);

}  // namespace marrowkit
