#include "platform/text/Utf16.h"

#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// UnitAt(i) gives the i-th of `count` units.
template <typename UnitAt>
std::string UnitsToUtf8(std::size_t count, UnitAt unitAt) {
    std::string text;
    text.resize(count);
    std::size_t at = 0;
    while (at < count && unitAt(at) < 0x80) {
        text[at] = static_cast<char>(unitAt(at));
        ++at;
    }
    text.resize(at);
    if (at == count) return text;

    text.reserve(at + 3 * (count - at));
    while (at < count) {
        char32_t codePoint = unitAt(at++);
        if (IsHighSurrogate(codePoint) && at < count && IsLowSurrogate(unitAt(at))) {
            codePoint = 0x10000U + ((codePoint - 0xD800U) << 10U) + (unitAt(at++) - 0xDC00U);
        }
        AppendUtf8(text, codePoint);
    }
    return text;
}

/// Hands each unit of `text` to `put`.
template <typename Put>
void ForEachUnit(std::string_view text, std::size_t position, Put put) {
    while (position < text.size()) {
        const char32_t codePoint = NextCodePoint(text, position);
        if (codePoint < 0x10000) {
            put(static_cast<std::uint16_t>(codePoint));
        } else {
            put(static_cast<std::uint16_t>(0xD800U + ((codePoint - 0x10000U) >> 10U)));
            put(static_cast<std::uint16_t>(0xDC00U + ((codePoint - 0x10000U) & 0x3FFU)));
        }
    }
}

}  // namespace

std::string Utf16LeToUtf8(std::span<const std::uint8_t> bytes) {
    return UnitsToUtf8(bytes.size() / 2, [bytes](std::size_t i) -> char32_t {
        return static_cast<char32_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8U));
    });
}

std::vector<std::uint8_t> Utf8ToUtf16Le(std::string_view text) {
    const std::size_t ascii = AsciiPrefixBytes(text);
    std::vector<std::uint8_t> bytes(2 * ascii);
    for (std::size_t i = 0; i < ascii; ++i) bytes[2 * i] = static_cast<std::uint8_t>(text[i]);
    if (ascii == text.size()) return bytes;

    bytes.reserve(2 * text.size());
    ForEachUnit(text, ascii, [&bytes](std::uint16_t unit) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFFU));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8U));
    });
    return bytes;
}

std::string Utf16ToUtf8(std::u16string_view units) {
    return UnitsToUtf8(units.size(), [units](std::size_t i) -> char32_t { return units[i]; });
}

std::u16string Utf8ToUtf16(std::string_view text) {
    std::u16string units;
    units.reserve(text.size());
    ForEachUnit(text, 0, [&units](std::uint16_t unit) { units.push_back(unit); });
    return units;
}

std::size_t Utf16Length(std::string_view text) {
    std::size_t length = AsciiPrefixBytes(text);
    ForEachUnit(text, length, [&length](std::uint16_t) { ++length; });
    return length;
}

}  // namespace marrowkit
