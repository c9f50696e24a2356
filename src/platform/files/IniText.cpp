#include "platform/files/IniText.h"

#include "platform/text/CodePage1252.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace {

constexpr std::string_view kBlanks = "\x09\x0A\x0B\x0C\x0D\x1A\x20";
constexpr std::string_view kBlanksButSpace = "\x09\x0A\x0B\x0C\x0D\x1A";
constexpr std::string_view kLineEnds = "\r\n";

std::string_view TrimLeft(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

std::string_view TrimRight(std::string_view text, std::string_view blanks) {
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

std::string_view TrimBlanks(std::string_view text) {
    return TrimRight(TrimLeft(text), kBlanks);
}

/// Names in a file may be code page 1252 or UTF-8; both sides are in the same one, and either way the
/// letters beyond ASCII of the code page have their case.
bool SameName(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) return false;
    return left == right || EqualNoCase(Cp1252ToUtf8(left), Cp1252ToUtf8(right));
}

/// One line of the file: where it starts, where its text ends, where the next line starts.
struct Line {
    std::size_t start;
    std::size_t textEnd;
    std::size_t next;
};

Line LineAt(std::string_view bytes, std::size_t start) {
    const std::size_t end = bytes.find_first_of(kLineEnds, start);
    if (end == std::string_view::npos) return {start, bytes.size(), bytes.size()};
    const bool isPair = bytes.substr(end, 2) == "\r\n";
    return {start, end, end + (isPair ? 2U : 1U)};
}

/// The name in a section line; nullopt for other lines. The last "]" ends it.
std::optional<std::string_view> SectionName(std::string_view text) {
    text = TrimBlanks(text);
    if (!text.starts_with('[')) return std::nullopt;
    const std::size_t end = text.rfind(']');
    if (end == std::string_view::npos) return std::nullopt;
    return TrimBlanks(text.substr(1, end - 1));
}

/// Where a key is, or would go.
struct Place {
    bool inSection = false;
    std::optional<Line> line;    // the key's
    std::size_t sectionEnd = 0;  // behind the section's last line that is not blank
};

Place FindPlace(std::string_view bytes, std::string_view section, std::string_view key) {
    Place place;
    section = TrimBlanks(section);
    key = TrimBlanks(key);
    for (std::size_t at = 0; at < bytes.size();) {
        const Line line = LineAt(bytes, at);
        at = line.next;
        const std::string_view text = bytes.substr(line.start, line.textEnd - line.start);
        if (const auto name = SectionName(text)) {
            if (place.inSection) return place;
            if (!SameName(*name, section)) continue;
            place.inSection = true;
            place.sectionEnd = line.next;
            continue;
        }
        if (!place.inSection || TrimLeft(text).empty()) continue;
        place.sectionEnd = line.next;
        if (SameName(TrimBlanks(text.substr(0, text.find('='))), key)) {
            place.line = line;
            return place;
        }
    }
    return place;
}

std::string_view WithoutQuotes(std::string_view value) {
    const std::string_view core = TrimRight(value, kBlanks);
    if (core.size() < 2 || core.front() != core.back()) return value;
    if (core.front() != '"' && core.front() != '\'') return value;
    return core.substr(1, core.size() - 2);
}

std::string_view LineEndOf(std::string_view bytes) {
    const std::size_t end = bytes.find_first_of(kLineEnds);
    if (end == std::string_view::npos) return "\r\n";
    return bytes.substr(end, bytes.substr(end, 2) == "\r\n" ? 2 : 1);
}

}  // namespace

std::optional<std::string> FindIniValue(std::string_view bytes, std::string_view section,
                                        std::string_view key) {
    const Place place = FindPlace(bytes, section, key);
    if (!place.line) return std::nullopt;
    const std::string_view text = bytes.substr(place.line->start, place.line->textEnd - place.line->start);
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) return std::nullopt;
    return std::string(WithoutQuotes(TrimRight(TrimLeft(text.substr(equals + 1)), kBlanksButSpace)));
}

std::string WithIniValue(std::string_view bytes, std::string_view section, std::string_view key,
                         std::string_view value) {
    const Place place = FindPlace(bytes, section, key);
    const std::string_view lineEnd = LineEndOf(bytes);
    std::string result;
    if (place.line) {
        const Line& line = *place.line;
        const std::string_view text = bytes.substr(line.start, line.textEnd - line.start);
        result.append(bytes.substr(0, line.start)).append(text.substr(0, text.find('='))).append("=");
        return result.append(value).append(bytes.substr(line.textEnd));
    }

    const std::size_t at = place.inSection ? place.sectionEnd : bytes.size();
    result.append(bytes.substr(0, at));
    if (!result.empty() && kLineEnds.find(result.back()) == std::string_view::npos) result.append(lineEnd);
    if (!place.inSection) result.append("[").append(section).append("]").append(lineEnd);
    result.append(key).append("=").append(value).append(lineEnd);
    return result.append(bytes.substr(at));
}

}  // namespace marrowkit
