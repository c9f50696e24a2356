#include "import/TosecTitle.h"

#include <array>

#include "platform/text/Text.h"

namespace marrowkit::tosec {

namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool IsKeptGroup(std::string_view group) {
    constexpr std::array<std::string_view, 3> kKept = {"(preview)", "(demo)", "(playable "};
    for (const std::string_view opening : kKept) {
        if (StartsWithNoCase(group, opening)) return true;
    }
    return false;
}

}  // namespace

std::string_view WithoutUnknownPrefix(std::string_view text) {
    if (StartsWithNoCase(text, kUnknownPrefix)) {
        text.remove_prefix(kUnknownPrefix.size());
    }
    return text;
}

std::string CutTitle(std::string_view title) {
    if (title.empty()) return std::string(kUnknownPrefix);
    const std::size_t first = title.find('(');
    if (first == kNone) return std::string(title);

    std::string name;
    std::size_t from = first;
    if (IsKeptGroup(title.substr(first))) {
        const std::size_t close = title.find(')', first);
        if (close == kNone) return std::string(title);
        name = Trim(title.substr(0, close + 1));
        from = close;
    } else {
        name = Trim(title.substr(0, first));
    }

    // Year and publisher, by their place alone.
    const std::size_t year = title.find('(', from);
    if (year == kNone) return name;
    const std::size_t publisher = title.find('(', year + 1);
    if (publisher == kNone) return name;
    const std::size_t close = title.find(')', publisher);
    if (close == kNone) return name;
    name += ' ';
    name += title.substr(close + 1);
    return name;
}

}  // namespace marrowkit::tosec
