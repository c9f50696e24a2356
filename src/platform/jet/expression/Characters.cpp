#include "platform/jet/expression/Characters.h"

#include "platform/text/CaseMapping.h"
#include "platform/text/Text.h"
#include "platform/text/Utf8.h"

namespace marrowkit::expression {

bool SameName(std::string_view left, std::string_view right) {
    return EqualNoCase(left, right);
}

std::string FoldName(std::string_view name) {
    std::string folded(name);
    bool ascii = true;
    for (char& c : folded) {
        ascii &= static_cast<unsigned char>(c) < 0x80;
        c = ToAsciiUpper(c);
    }
    return ascii ? folded : UCase(name);
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
    for (const char32_t point : points) AppendUtf8(text, point);
    return text;
}

}  // namespace marrowkit::expression
