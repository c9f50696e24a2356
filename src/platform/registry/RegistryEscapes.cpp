#include "platform/registry/RegistryEscapes.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>

#include "platform/text/Utf16.h"

namespace marrowkit {

namespace {

constexpr std::string_view kLetters = "abefnrtv";
constexpr std::string_view kControls = "\a\b\x1B\f\n\r\t\v";
static_assert(kLetters.size() == kControls.size());

int HexDigit(char16_t c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool IsOctal(char16_t c) {
    return c >= '0' && c <= '7';
}

std::string Digits(unsigned value, int base, std::size_t width) {
    std::array<char, 8> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, base);
    const std::string digits(buffer.data(), end.ptr);
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

/// Digits are padded only where a digit follows that would be read as one more.
std::string EscapeUnit(char16_t unit, char16_t next, EscapedPlace place) {
    if (unit > 0x7F) return "\\x" + Digits(unit, 16, HexDigit(next) >= 0 ? 4 : 1);
    const char c = static_cast<char>(unit);
    if (unit < 0x20) {
        const std::size_t control = kControls.find(c);
        if (control != std::string_view::npos) return {'\\', kLetters[control]};
        return "\\" + Digits(unit, 8, IsOctal(next) ? 3 : 1);
    }
    const bool special = c == '\\' || (place == EscapedPlace::Quotes ? c == '"' : c == '[' || c == ']');
    return special ? std::string{'\\', c} : std::string(1, c);
}

/// Reads up to `most` digits of an escape; moves `position` behind them.
template <typename DigitOf>
char16_t ReadDigits(std::u16string_view text, std::size_t& position, std::size_t most, unsigned base,
                    DigitOf digitOf) {
    unsigned value = 0;
    for (std::size_t i = 0; i < most && position < text.size(); ++i) {
        const int digit = digitOf(text[position]);
        if (digit < 0) break;
        value = value * base + static_cast<unsigned>(digit);
        ++position;
    }
    return static_cast<char16_t>(value);
}

/// `position` stands behind the backslash, and not at the end.
char16_t ReadWineEscape(std::u16string_view text, std::size_t& position) {
    const char16_t c = text[position];
    if (IsOctal(c)) {
        return ReadDigits(text, position, 3, 8, [](char16_t d) { return IsOctal(d) ? d - '0' : -1; });
    }
    ++position;
    if (c == 'x' && position < text.size() && HexDigit(text[position]) >= 0) {
        return ReadDigits(text, position, 4, 16, HexDigit);
    }
    if (c < 0x80) {
        const std::size_t letter = kLetters.find(static_cast<char>(c));
        if (letter != std::string_view::npos) return static_cast<char16_t>(kControls[letter]);
    }
    return c;
}

}  // namespace

std::string EscapeRegistryText(std::string_view text, RegistryDialect dialect, EscapedPlace place) {
    std::string escaped;
    if (dialect == RegistryDialect::Regedit) {
        if (place == EscapedPlace::Brackets) return std::string(text);
        for (const char c : text) {
            if (c == '\\' || c == '"') escaped.push_back('\\');
            escaped.push_back(c);
        }
        return escaped;
    }
    const std::u16string units = Utf8ToUtf16(text);
    for (std::size_t i = 0; i < units.size(); ++i) {
        escaped += EscapeUnit(units[i], i + 1 < units.size() ? units[i + 1] : u'\0', place);
    }
    return escaped;
}

std::string UnescapeRegistryText(std::string_view escaped, RegistryDialect dialect) {
    if (escaped.find('\\') == std::string_view::npos) return std::string(escaped);
    const std::u16string text = Utf8ToUtf16(escaped);
    std::u16string units;
    for (std::size_t position = 0; position < text.size();) {
        if (text[position] != u'\\') {
            units.push_back(text[position++]);
            continue;
        }
        if (++position == text.size()) break;
        units.push_back(dialect == RegistryDialect::Wine ? ReadWineEscape(text, position) : text[position++]);
    }
    return Utf16ToUtf8(units);
}

}  // namespace marrowkit
