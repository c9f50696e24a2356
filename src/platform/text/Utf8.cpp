#include "platform/text/Utf8.h"

#include <cstdint>
#include <cstring>

namespace marrowkit {

namespace {

/// What one step of decoding found: the code point and the bytes it took. Malformed: U+FFFD, one byte.
struct Decoded {
    char32_t codePoint;
    std::size_t bytes;
    bool wellFormed;
};

constexpr Decoded kMalformed{kReplacementCharacter, 1, false};

std::uint8_t ByteAt(std::string_view text, std::size_t position) {
    return static_cast<std::uint8_t>(text[position]);
}

Decoded DecodeAt(std::string_view text, std::size_t position) {
    const std::uint8_t lead = ByteAt(text, position);
    if (lead < 0x80) return {lead, 1, true};

    std::size_t bytes = 0;
    char32_t codePoint = 0;
    char32_t smallest = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        bytes = 2;
        codePoint = lead & 0x1FU;
        smallest = 0x80;
    } else if ((lead & 0xF0U) == 0xE0) {
        bytes = 3;
        codePoint = lead & 0x0FU;
        smallest = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        bytes = 4;
        codePoint = lead & 0x07U;
        smallest = 0x10000;
    } else {
        return kMalformed;
    }
    if (bytes > text.size() - position) return kMalformed;
    for (std::size_t i = 1; i < bytes; ++i) {
        const std::uint8_t next = ByteAt(text, position + i);
        if ((next & 0xC0U) != 0x80) return kMalformed;
        codePoint = (codePoint << 6U) | (next & 0x3FU);
    }
    if (codePoint < smallest || codePoint > kLastCodePoint) return kMalformed;
    return {codePoint, bytes, true};
}

bool IsSurrogate(char32_t codePoint) {
    return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

}  // namespace

char32_t NextCodePoint(std::string_view text, std::size_t& position) {
    const Decoded decoded = DecodeAt(text, position);
    position += decoded.bytes;
    return decoded.codePoint;
}

void AppendUtf8(std::string& text, char32_t codePoint) {
    if (codePoint > kLastCodePoint) codePoint = kReplacementCharacter;
    const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0U | (codePoint >> 6U));
        put(0x80U | (codePoint & 0x3FU));
    } else if (codePoint < 0x10000) {
        put(0xE0U | (codePoint >> 12U));
        put(0x80U | ((codePoint >> 6U) & 0x3FU));
        put(0x80U | (codePoint & 0x3FU));
    } else {
        put(0xF0U | (codePoint >> 18U));
        put(0x80U | ((codePoint >> 12U) & 0x3FU));
        put(0x80U | ((codePoint >> 6U) & 0x3FU));
        put(0x80U | (codePoint & 0x3FU));
    }
}

bool IsValidUtf8(std::string_view text, Surrogates surrogates) {
    std::size_t position = AsciiPrefixBytes(text);
    while (position < text.size()) {
        const Decoded decoded = DecodeAt(text, position);
        if (!decoded.wellFormed) return false;
        if (surrogates == Surrogates::Refused && IsSurrogate(decoded.codePoint)) return false;
        position += decoded.bytes;
    }
    return true;
}

std::size_t CharacterCount(std::string_view text) {
    std::size_t position = AsciiPrefixBytes(text);
    std::size_t count = position;
    while (position < text.size()) {
        NextCodePoint(text, position);
        ++count;
    }
    return count;
}

std::size_t CharacterOffset(std::string_view text, std::size_t number) {
    if (number >= text.size()) return text.size();
    // The prefix of the first `number` bytes is all that can matter: no character is shorter than a byte.
    std::size_t position = AsciiPrefixBytes(text.substr(0, number));
    for (std::size_t count = position; count < number && position < text.size(); ++count) {
        NextCodePoint(text, position);
    }
    return position;
}

std::string_view FirstCharacters(std::string_view text, std::size_t count) {
    return text.substr(0, CharacterOffset(text, count));
}

std::size_t AsciiPrefixBytes(std::string_view text) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    std::size_t position = 0;
    for (; position + sizeof(std::uint64_t) <= text.size(); position += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + position, sizeof word);
        if ((word & kHighBits) != 0) break;
    }
    while (position < text.size() && ByteAt(text, position) < 0x80) ++position;
    return position;
}

}  // namespace marrowkit
