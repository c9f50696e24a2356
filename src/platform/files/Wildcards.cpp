#include "platform/files/Wildcards.h"

#include <cstddef>

#include "platform/text/Text.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

/// Goes back to the last `*` only: one that fits as early as possible leaves the most to the ones behind it.
bool Match(std::string_view pattern, std::string_view name) {
    constexpr std::size_t kNone = std::string_view::npos;
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t afterStar = kNone;
    std::size_t starredUpTo = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            afterStar = ++p;
            starredUpTo = n;
        } else if (p < pattern.size() && pattern[p] == '?') {
            ++p;
            NextCodePoint(name, n);
        } else if (p < pattern.size() && pattern[p] == name[n]) {
            ++p;
            ++n;
        } else if (afterStar != kNone) {
            p = afterStar;
            NextCodePoint(name, starredUpTo);
            n = starredUpTo;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == kNone;
}

}  // namespace

bool HasWildcards(std::string_view name) {
    return name.find_first_of("*?") != std::string_view::npos;
}

Wildcards::Wildcards(std::string_view pattern)
    : pattern_(LCase(pattern)), fitsAll_(pattern == "*" || pattern == "*.*"), withoutDot_(pattern == "*.") {}

bool Wildcards::Fits(std::string_view name) const {
    if (fitsAll_) return true;
    if (withoutDot_) return name.find('.') == std::string_view::npos;
    return Match(pattern_, LCase(name));
}

}  // namespace marrowkit
