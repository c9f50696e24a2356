#include "platform/jet/expression/Like.h"

#include <string>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/format/Collation.h"
#include "platform/text/CaseMapping.h"

namespace marrowkit::expression {
namespace {

/// Order of two single characters. Beyond ASCII the file's own order decides.
int CompareCharacters(jet::JetVersion version, char32_t left, char32_t right) {
    const char32_t a = ToUpper(left);
    const char32_t b = ToUpper(right);
    if (a == b) return 0;
    if (a < 0x80 && b < 0x80) return a < b ? -1 : 1;
    const int order = jet::CompareText(version, FromCodePoints({&a, 1}), FromCodePoints({&b, 1}));
    if (order != 0) return order;
    // A blank or an ignored character compares as an empty text, yet is none of the others.
    const bool empty = jet::CompareText(version, FromCodePoints({&a, 1}), "") == 0;
    if (!empty) return 0;
    return a < b ? -1 : 1;
}

/// One element of a pattern that stands for exactly one character; `length` is what it takes up.
struct Element {
    bool matches = false;
    std::size_t length = 1;
};

Element MatchList(jet::JetVersion version, std::u32string_view pattern, char32_t c) {
    const std::size_t close = pattern.find(U']', 1);
    if (close == std::u32string_view::npos) Raise(RuntimeErrorNumber::InvalidPattern);
    std::u32string_view list = pattern.substr(1, close - 1);
    const bool negated = list.size() > 1 && list.front() == U'!';
    if (negated) list.remove_prefix(1);
    bool found = false;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (i + 2 < list.size() && list[i + 1] == U'-') {
            found |= CompareCharacters(version, c, list[i]) >= 0 &&
                     CompareCharacters(version, c, list[i + 2]) <= 0;
            i += 2;
        } else {
            found |= CompareCharacters(version, c, list[i]) == 0;
        }
    }
    return {found != negated, close + 1};
}

Element MatchOne(jet::JetVersion version, std::u32string_view pattern, char32_t c) {
    switch (pattern.front()) {
        case U'?':
            return {true, 1};
        case U'#':
            return {c >= U'0' && c <= U'9', 1};
        case U'[':
            return MatchList(version, pattern, c);
        default:
            return {CompareCharacters(version, c, pattern.front()) == 0, 1};
    }
}

/// An empty list stands for nothing at all. What looks like one inside of a list is not.
std::u32string WithoutEmptyLists(std::u32string pattern) {
    for (std::size_t at = pattern.find(U'['); at != std::u32string::npos; at = pattern.find(U'[', at)) {
        const std::size_t close = pattern.find(U']', at);
        if (close == at + 1)
            pattern.erase(at, 2);
        else if (close == std::u32string::npos)
            break;
        else
            at = close;
    }
    return pattern;
}

}  // namespace

bool MatchesPattern(jet::JetVersion version, std::string_view text, std::string_view pattern) {
    const std::u32string subject = ToCodePoints(text);
    const std::u32string wanted = WithoutEmptyLists(ToCodePoints(pattern));
    const std::u32string_view elements = wanted;
    std::size_t s = 0;
    std::size_t p = 0;
    std::size_t starPattern = std::u32string::npos;
    std::size_t starSubject = 0;
    while (s < subject.size()) {
        if (p < elements.size() && elements[p] == U'*') {
            starPattern = ++p;
            starSubject = s;
            continue;
        }
        if (p < elements.size()) {
            const Element element = MatchOne(version, elements.substr(p), subject[s]);
            if (element.matches) {
                p += element.length;
                ++s;
                continue;
            }
        }
        if (starPattern == std::u32string::npos) return false;
        p = starPattern;
        s = ++starSubject;
    }
    while (p < elements.size() && elements[p] == U'*') ++p;
    return p == elements.size();
}

}  // namespace marrowkit::expression
