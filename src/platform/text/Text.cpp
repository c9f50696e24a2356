#include "platform/text/Text.h"

#include <cstddef>
#include <limits>

#include "platform/errors/RuntimeError.h"
#include "platform/text/CaseMapping.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

void RequireLength(std::int32_t length) {
    if (length < 0) Raise(RuntimeErrorNumber::InvalidProcedureCall);
}

void RequirePosition(std::int32_t position) {
    if (position < 1) Raise(RuntimeErrorNumber::InvalidProcedureCall);
}

std::size_t OffsetOf(std::string_view text, std::int32_t position) {
    return CharacterOffset(text, static_cast<std::size_t>(position) - 1);
}

/// The runtime counts in 32 bits; texts beyond that do not come up, but must not wrap.
std::int32_t ToCount(std::size_t count) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    if (count > static_cast<std::size_t>(kMost)) Raise(RuntimeErrorNumber::Overflow);
    return static_cast<std::int32_t>(count);
}

template <char32_t (*Map)(char32_t)>
std::string MapCase(std::string_view text) {
    std::string mapped;
    mapped.reserve(text.size());
    std::size_t position = 0;
    while (position < text.size()) {
        const auto byte = static_cast<unsigned char>(text[position]);
        if (byte < 0x80) {
            mapped.push_back(static_cast<char>(Map(byte)));
            ++position;
            continue;
        }
        const std::size_t start = position;
        const char32_t codePoint = NextCodePoint(text, position);
        const char32_t partner = Map(codePoint);
        // Also keeps the bytes of a malformed sequence.
        if (partner == codePoint) {
            mapped.append(text.substr(start, position - start));
        } else {
            AppendUtf8(mapped, partner);
        }
    }
    return mapped;
}

/// How many bytes of `text` from `position` on equal `find` but for case; npos when they differ. The two may
/// differ in length: some pairs of letters take different numbers of bytes.
std::size_t MatchNoCase(std::string_view text, std::size_t position, std::string_view find) {
    const std::size_t start = position;
    std::size_t at = 0;
    while (at < find.size()) {
        if (position >= text.size()) return std::string_view::npos;
        if (ToLower(NextCodePoint(text, position)) != ToLower(NextCodePoint(find, at))) {
            return std::string_view::npos;
        }
    }
    return position - start;
}

struct Match {
    std::size_t at;  // npos: none
    std::size_t bytes;
};

/// Whether a byte is a character of its own that no other differs from in case only.
bool HasNoOtherCase(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x80 && !(c >= 'A' && c <= 'Z') && !(c >= 'a' && c <= 'z');
}

Match FindNoCase(std::string_view text, std::size_t from, std::string_view find) {
    const bool canJump = !find.empty() && HasNoOtherCase(find.front());
    while (from < text.size()) {
        if (canJump && (from = text.find(find.front(), from)) == std::string_view::npos) break;
        const std::size_t bytes = MatchNoCase(text, from, find);
        if (bytes != std::string_view::npos) return {from, bytes};
        NextCodePoint(text, from);
    }
    return {std::string_view::npos, 0};
}

Match FindExact(std::string_view text, std::size_t from, std::string_view find) {
    return {text.find(find, from), find.size()};
}

template <typename Find>
std::int32_t Search(std::int32_t start, std::string_view text, std::string_view find, Find findFrom) {
    RequirePosition(start);
    const std::size_t from = OffsetOf(text, start);
    if (from >= text.size()) return 0;
    if (find.empty()) return start;
    const Match match = findFrom(text, from, find);
    if (match.at == std::string_view::npos) return 0;
    return ToCount(static_cast<std::size_t>(start) + CharacterCount(text.substr(from, match.at - from)));
}

template <typename Find>
std::string ReplaceAll(std::string_view text, std::string_view find, std::string_view with, Find findFrom) {
    std::string result;
    std::size_t done = 0;
    if (!find.empty()) {
        for (Match match = findFrom(text, 0, find); match.at != std::string_view::npos;
             match = findFrom(text, done, find)) {
            result.append(text.substr(done, match.at - done)).append(with);
            done = match.at + match.bytes;
        }
    }
    return result.append(text.substr(done));
}

}  // namespace

std::int32_t Len(std::string_view text) {
    return ToCount(CharacterCount(text));
}

std::string Left(std::string_view text, std::int32_t length) {
    RequireLength(length);
    return std::string(FirstCharacters(text, static_cast<std::size_t>(length)));
}

std::string Right(std::string_view text, std::int32_t length) {
    RequireLength(length);
    const std::size_t count = CharacterCount(text);
    const auto wanted = static_cast<std::size_t>(length);
    if (wanted >= count) return std::string(text);
    return std::string(text.substr(CharacterOffset(text, count - wanted)));
}

std::string Mid(std::string_view text, std::int32_t start) {
    RequirePosition(start);
    return std::string(text.substr(OffsetOf(text, start)));
}

std::string Mid(std::string_view text, std::int32_t start, std::int32_t length) {
    RequirePosition(start);
    RequireLength(length);
    return std::string(FirstCharacters(text.substr(OffsetOf(text, start)), static_cast<std::size_t>(length)));
}

std::int32_t InStr(std::int32_t start, std::string_view text, std::string_view find) {
    return Search(start, text, find, FindExact);
}

std::int32_t InStr(std::string_view text, std::string_view find) {
    return InStr(1, text, find);
}

std::int32_t InStrNoCase(std::int32_t start, std::string_view text, std::string_view find) {
    return Search(start, text, find, FindNoCase);
}

std::int32_t InStrNoCase(std::string_view text, std::string_view find) {
    return InStrNoCase(1, text, find);
}

std::int32_t InStrRev(std::string_view text, std::string_view find, std::int32_t start) {
    if (start != -1) RequirePosition(start);
    const std::size_t count = CharacterCount(text);
    const std::size_t last = start == -1 ? count : static_cast<std::size_t>(start);
    if (count == 0 || last > count) return 0;
    if (find.empty()) return ToCount(last);
    const std::string_view searched = FirstCharacters(text, last);
    const std::size_t at = searched.rfind(find);
    return at == std::string_view::npos ? 0 : ToCount(CharacterCount(text.substr(0, at)) + 1);
}

std::string_view TrimView(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string Trim(std::string_view text) {
    return std::string(TrimView(text));
}

std::string LTrim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
}

std::string RTrim(std::string_view text) {
    return std::string(text.substr(0, text.find_last_not_of(' ') + 1));
}

std::string UCase(std::string_view text) {
    return MapCase<ToUpper>(text);
}
std::string LCase(std::string_view text) {
    return MapCase<ToLower>(text);
}

std::string Replace(std::string_view text, std::string_view find, std::string_view with) {
    return ReplaceAll(text, find, with, FindExact);
}

std::string ReplaceNoCase(std::string_view text, std::string_view find, std::string_view with) {
    return ReplaceAll(text, find, with, FindNoCase);
}

bool EqualNoCase(std::string_view left, std::string_view right) {
    return CompareNoCase(left, right) == 0;
}

int CompareNoCase(std::string_view left, std::string_view right) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < left.size() && j < right.size()) {
        const char32_t a = ToLower(NextCodePoint(left, i));
        const char32_t b = ToLower(NextCodePoint(right, j));
        if (a != b) return a < b ? -1 : 1;
    }
    if (i < left.size()) return 1;
    return j < right.size() ? -1 : 0;
}

bool StartsWithNoCase(std::string_view text, std::string_view start) {
    return MatchNoCase(text, 0, start) != std::string_view::npos;
}

std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> pieces;
    std::size_t from = 0;
    for (std::size_t at = text.find(separator); at != std::string_view::npos;
         at = text.find(separator, from)) {
        pieces.push_back(text.substr(from, at - from));
        from = at + separator.size();
    }
    pieces.push_back(text.substr(from));
    return pieces;
}

}  // namespace marrowkit
