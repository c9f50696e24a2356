#include "platform/text/CodePage1252.h"

#include <array>
#include <cstddef>

#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

constexpr std::uint8_t kFirstSpecial = 0x80;

/// Bytes 80 to 9F; all others equal Latin-1.
constexpr std::array<char16_t, 32> kSpecials = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

bool IsLatin1(char32_t codePoint) {
    return codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF);
}

}  // namespace

char32_t Cp1252ToCodePoint(std::uint8_t byte) {
    if (byte < kFirstSpecial || byte >= 0xA0) return byte;
    return kSpecials.at(static_cast<std::size_t>(byte - kFirstSpecial));
}

std::optional<std::uint8_t> CodePointToCp1252(char32_t codePoint) {
    if (IsLatin1(codePoint)) return static_cast<std::uint8_t>(codePoint);
    for (std::size_t i = 0; i < kSpecials.size(); ++i) {
        if (kSpecials[i] == codePoint) return static_cast<std::uint8_t>(kFirstSpecial + i);
    }
    return std::nullopt;
}

std::string Cp1252ToUtf8(std::string_view bytes) {
    std::size_t position = AsciiPrefixBytes(bytes);
    std::string text(bytes.substr(0, position));
    text.reserve(bytes.size() + (bytes.size() - position));
    for (; position < bytes.size(); ++position) {
        AppendUtf8(text, Cp1252ToCodePoint(static_cast<std::uint8_t>(bytes[position])));
    }
    return text;
}

std::string Cp1252ToUtf8(std::span<const std::uint8_t> bytes) {
    return Cp1252ToUtf8(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

std::string Utf8ToCp1252(std::string_view text) {
    std::size_t position = AsciiPrefixBytes(text);
    std::string bytes(text.substr(0, position));
    bytes.reserve(text.size());
    while (position < text.size()) {
        const auto byte = CodePointToCp1252(NextCodePoint(text, position));
        bytes.push_back(static_cast<char>(byte.value_or('?')));
    }
    return bytes;
}

bool FitsCp1252(std::string_view text) {
    std::size_t position = AsciiPrefixBytes(text);
    while (position < text.size()) {
        if (!CodePointToCp1252(NextCodePoint(text, position))) return false;
    }
    return true;
}

}  // namespace marrowkit
