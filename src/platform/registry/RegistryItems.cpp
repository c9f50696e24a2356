#include "platform/registry/RegistryItems.h"

namespace marrowkit {

namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kLineEnds = "\r\n";

std::size_t SkipBlanks(std::string_view text, std::size_t at) {
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) ++at;
    return at;
}

}  // namespace

std::size_t RegistryItemReader::LineEnd(std::size_t from) const {
    const std::size_t end = text_.find_first_of(kLineEnds, from);
    return end == kNone ? text_.size() : end;
}

/// Where the quote that closes stands; kNone without one.
std::size_t RegistryItemReader::QuoteEnd(std::size_t opening, bool acrossLines) const {
    for (std::size_t at = opening + 1; at < text_.size(); ++at) {
        const char c = text_[at];
        if (c == '"') return at;
        if (!acrossLines && kLineEnds.find(c) != kNone) return kNone;
        if (c == '\\') ++at;
    }
    return kNone;
}

bool RegistryItemReader::Next(RegistryItem& item) {
    if (position_ >= text_.size()) return false;
    item = RegistryItem{};
    item.start = position_;
    item.end = LineEnd(position_);
    const std::size_t first = SkipBlanks(text_, position_);
    if (first == item.end) {
        item.kind = RegistryItem::Kind::Blank;
    } else if (text_[first] == '[') {
        ReadKey(item, first);
    } else if (text_[first] == '"' || text_[first] == '@') {
        ReadValue(item, first);
    }
    position_ = item.end;
    if (text_.substr(position_, 2) == "\r\n") {
        position_ += 2;
    } else if (position_ < text_.size()) {
        ++position_;
    }
    return true;
}

void RegistryItemReader::ReadKey(RegistryItem& item, std::size_t bracket) const {
    const std::string_view line = text_.substr(bracket, item.end - bracket);
    std::size_t close = kNone;
    if (dialect_ == RegistryDialect::Regedit) {
        close = line.rfind(']');
    } else {
        for (std::size_t at = 1; at < line.size() && close == kNone; ++at) {
            if (line[at] == '\\') {
                ++at;
            } else if (line[at] == ']') {
                close = at;
            }
        }
    }
    if (close == kNone) return;
    item.kind = RegistryItem::Kind::Key;
    item.name = line.substr(1, close - 1);
    item.deletes = dialect_ == RegistryDialect::Regedit && item.name.starts_with('-');
    if (item.deletes) item.name.remove_prefix(1);
}

void RegistryItemReader::ReadValue(RegistryItem& item, std::size_t at) const {
    std::size_t behindName = at + 1;
    if (text_[at] == '"') {
        const std::size_t close = QuoteEnd(at, false);
        if (close == kNone) return;
        item.name = text_.substr(at + 1, close - at - 1);
        behindName = close + 1;
    }
    const std::size_t equals = SkipBlanks(text_, behindName);
    if (equals >= item.end || text_[equals] != '=') return;
    const std::size_t data = SkipBlanks(text_, equals + 1);
    const std::size_t end = DataEnd(data);
    if (end == kNone) return;
    item.kind = RegistryItem::Kind::Value;
    item.data = text_.substr(data, end - data);
    item.deletes = dialect_ == RegistryDialect::Regedit && item.data == "-";
    item.end = LineEnd(end);
}

/// A text that was never closed would take in everything up to the next value's quote, a value just added
/// included; behind such a quote the line goes on.
bool RegistryItemReader::EndsLine(std::size_t at) const {
    at = SkipBlanks(text_, at);
    return at == text_.size() || text_[at] == ';' || kLineEnds.find(text_[at]) != kNone;
}

/// Texts end at their quote, and in Regedit files may run over lines; all else ends with a line that has no
/// "\" at its end.
std::size_t RegistryItemReader::DataEnd(std::size_t at) const {
    const std::size_t lineEnd = LineEnd(at);
    const std::size_t quote = text_.substr(at, lineEnd - at).find('"');
    const bool isText = quote == 0 || text_.substr(at, 4) == "str(";
    if (isText && quote != kNone) {
        const std::size_t close = QuoteEnd(at + quote, dialect_ == RegistryDialect::Regedit);
        return close == kNone || !EndsLine(close + 1) ? kNone : close + 1;
    }
    std::size_t end = lineEnd;
    while (end > at && end < text_.size() && text_[end - 1] == '\\') {
        const std::size_t next = text_.substr(end, 2) == "\r\n" ? end + 2 : end + 1;
        end = LineEnd(next);
    }
    return end;
}

}  // namespace marrowkit
