#include "platform/expression/Characters.h"

#include <algorithm>

namespace marrowkit::expression {

bool SameName(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [](char a, char b) { return ToAsciiUpper(a) == ToAsciiUpper(b); });
}

std::string FoldName(std::string_view name) {
    std::string folded(name);
    for (char& c : folded) c = ToAsciiUpper(c);
    return folded;
}

char32_t NextCodePoint(std::string_view text, std::size_t& at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(at);
    std::size_t length = 1;
    if (lead >= 0xF0 && lead < 0xF8) length = 4;
    else if (lead >= 0xE0 && lead < 0xF0) length = 3;
    else if (lead >= 0xC2 && lead < 0xE0) length = 2;
    if (length == 1 || at + length > text.size()) {
        ++at;
        return lead;
    }
    char32_t point = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) {
            ++at;
            return lead;
        }
        point = point << 6 | (byte(at + i) & 0x3F);
    }
    at += length;
    return point;
}

void AppendCodePoint(char32_t point, std::string& text) {
    const auto tail = [&](int shift) { text += static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
    if (point < 0x80) {
        text += static_cast<char>(point);
    } else if (point < 0x800) {
        text += static_cast<char>(0xC0 | (point >> 6));
        tail(0);
    } else if (point < 0x10000) {
        text += static_cast<char>(0xE0 | (point >> 12));
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0 | (point >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

std::u32string ToCodePoints(std::string_view text) {
    std::u32string points;
    points.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) points += NextCodePoint(text, at);
    return points;
}

std::string FromCodePoints(std::u32string_view points) {
    std::string text;
    text.reserve(points.size());
    for (const char32_t point : points) AppendCodePoint(point, text);
    return text;
}

char32_t ToUpper(char32_t point) {
    if (point < 0x80) return point >= 'a' && point <= 'z' ? point - 0x20 : point;
    if (point == 0xFF) return 0x178;
    if ((point >= 0xE0 && point <= 0xFE) && point != 0xF7) return point - 0x20;
    if ((point >= 0x100 && point <= 0x137) || (point >= 0x14A && point <= 0x177)) return point & ~char32_t{1};
    if ((point >= 0x139 && point <= 0x148) || (point >= 0x179 && point <= 0x17E))
        return point % 2 == 0 ? point - 1 : point;
    if (point >= 0x3B1 && point <= 0x3C9 && point != 0x3C2) return point - 0x20;
    if (point >= 0x430 && point <= 0x44F) return point - 0x20;
    if (point >= 0x450 && point <= 0x45F) return point - 0x50;
    return point;
}

char32_t ToLower(char32_t point) {
    if (point < 0x80) return point >= 'A' && point <= 'Z' ? point + 0x20 : point;
    if (point == 0x178) return 0xFF;
    if ((point >= 0xC0 && point <= 0xDE) && point != 0xD7) return point + 0x20;
    if ((point >= 0x100 && point <= 0x137) || (point >= 0x14A && point <= 0x177)) return point | 1;
    if ((point >= 0x139 && point <= 0x148) || (point >= 0x179 && point <= 0x17E))
        return point % 2 == 1 ? point + 1 : point;
    if (point >= 0x391 && point <= 0x3A9) return point + 0x20;
    if (point >= 0x410 && point <= 0x42F) return point + 0x20;
    if (point >= 0x400 && point <= 0x40F) return point + 0x50;
    return point;
}

}  // namespace marrowkit::expression
