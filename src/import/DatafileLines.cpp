#include "import/DatafileLines.h"

namespace marrowkit {

bool DatafileLines::Next(std::string_view& line) {
    if (rest_.empty()) return false;
    ++lineNumber_;
    const std::size_t end = rest_.find('\r');
    if (end == std::string_view::npos) {
        line = rest_;
        rest_ = {};
        return true;
    }
    line = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    if (rest_.starts_with('\n')) rest_.remove_prefix(1);
    return true;
}

bool SplitGamesLine(std::string_view line, GamesLine& fields) {
    if (!line.starts_with(kDatafileSeparator)) return false;
    std::size_t begin = 0;
    for (std::size_t field = 0; field + 1 < fields.size(); ++field) {
        const std::size_t end = line.find(kDatafileSeparator, begin);
        if (end == std::string_view::npos) return false;
        fields[field] = line.substr(begin, end - begin);
        begin = end + 1;
    }
    fields.back() = line.substr(begin);
    return fields.back().find(kDatafileSeparator) == std::string_view::npos;
}

}  // namespace marrowkit
