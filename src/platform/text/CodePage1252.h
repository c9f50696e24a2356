#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace marrowkit {

// The system's single-byte code page: Windows-1252. All 256 bytes have a character and come back as the same
// byte; the five without an assigned one (81 8D 8F 90 9D) stand for the control characters of the same
// number, as the Windows conversion has it.

char32_t Cp1252ToCodePoint(std::uint8_t byte);

/// nullopt for a character that the code page does not have.
std::optional<std::uint8_t> CodePointToCp1252(char32_t codePoint);

std::string Cp1252ToUtf8(std::string_view bytes);
std::string Cp1252ToUtf8(std::span<const std::uint8_t> bytes);

/// One byte per character; `?` for a character that the code page does not have.
std::string Utf8ToCp1252(std::string_view text);

/// Whether Utf8ToCp1252 loses nothing.
bool FitsCp1252(std::string_view text);

}  // namespace marrowkit
