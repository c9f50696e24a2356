#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Functions.h"
#include "platform/jet/format/Collation.h"
#include "platform/text/CaseMapping.h"
#include "platform/text/Utf8.h"

namespace marrowkit::expression {
namespace {

using jet::ColumnType;
using jet::Value;

constexpr std::size_t kMaxResultCharacters = 1U << 24;

/// A count of characters: negative ones are refused with 5.
std::size_t ToCount(const Value& value) {
    const std::int32_t count = ToLong(value);
    if (count < 0) RaiseInvalidArgument();
    return static_cast<std::size_t>(count);
}

std::u32string Points(const Value& value) {
    return ToCodePoints(ToText(value));
}

Value Len(const Arguments& a) {
    return static_cast<std::int32_t>(Points(a[0]).size());
}

Value Left(const Arguments& a) {
    return FromCodePoints(std::u32string_view(Points(a[0])).substr(0, ToCount(a[1])));
}

Value Right(const Arguments& a) {
    const std::u32string text = Points(a[0]);
    const std::size_t count = std::min(ToCount(a[1]), text.size());
    return FromCodePoints(std::u32string_view(text).substr(text.size() - count));
}

Value Mid(const Arguments& a) {
    const std::u32string text = Points(a[0]);
    const std::size_t start = ToCount(a[1]);
    if (start == 0) RaiseInvalidArgument();
    if (start > text.size()) return std::string();
    const std::size_t count = a.Count() > 2 ? ToCount(a[2]) : std::u32string::npos;
    return FromCodePoints(std::u32string_view(text).substr(start - 1, count));
}

/// Folds case as far as text is compared without regard to it.
std::u32string Folded(std::u32string text) {
    std::transform(text.begin(), text.end(), text.begin(), ToUpper);
    return text;
}

bool IsBinaryCompare(const Arguments& a, std::size_t position) {
    return a.Count() > position && ToLong(a[position]) == 0;
}

Value InStr(const Arguments& a) {
    // The start may be left out in front.
    const bool withStart = a.Count() > 2;
    const std::size_t start = withStart ? ToCount(a[0]) : 1;
    if (start == 0) RaiseInvalidArgument();
    const std::size_t first = withStart ? 1 : 0;
    std::u32string text = Points(a[first]);
    std::u32string wanted = Points(a[first + 1]);
    if (!IsBinaryCompare(a, 3)) {
        text = Folded(std::move(text));
        wanted = Folded(std::move(wanted));
    }
    if (start > text.size()) return std::int32_t{0};
    const std::size_t found = text.find(wanted, start - 1);
    return found == std::u32string::npos ? std::int32_t{0} : static_cast<std::int32_t>(found + 1);
}

Value InStrRev(const Arguments& a) {
    const std::u32string text = Folded(Points(a[0]));
    const std::u32string wanted = Folded(Points(a[1]));
    std::size_t last = text.size();
    if (a.Count() > 2 && ToLong(a[2]) != -1) last = ToCount(a[2]);
    if (last == 0 || last > text.size() || wanted.size() > last) return std::int32_t{0};
    const std::size_t found = text.rfind(wanted, last - wanted.size());
    return found == std::u32string::npos ? std::int32_t{0} : static_cast<std::int32_t>(found + 1);
}

template <char32_t (*Map)(char32_t)>
Value MapCase(const Arguments& a) {
    std::u32string text = Points(a[0]);
    std::transform(text.begin(), text.end(), text.begin(), Map);
    return FromCodePoints(text);
}

template <bool AtStart, bool AtEnd>
Value TrimSpaces(const Arguments& a) {
    std::string text = ToText(a[0]);
    if (AtStart) text.erase(0, std::min(text.find_first_not_of(' '), text.size()));
    if (AtEnd) text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

Value Chr(const Arguments& a) {
    const std::int32_t code = ToLong(a[0]);
    if (code < 0 || code > 0xFFFF) RaiseInvalidArgument();
    std::string text;
    AppendUtf8(text, static_cast<char32_t>(code));
    return text;
}

Value Asc(const Arguments& a) {
    const std::u32string text = Points(a[0]);
    if (text.empty()) RaiseInvalidArgument();
    return static_cast<std::int32_t>(text[0]);
}

std::size_t CheckedLength(const Value& value) {
    const std::size_t count = ToCount(value);
    if (count > kMaxResultCharacters) RaiseOverflow();
    return count;
}

Value Space(const Arguments& a) {
    return std::string(CheckedLength(a[0]), ' ');
}

Value Repeat(const Arguments& a) {
    char32_t point = 0;
    if (ClassOf(a[1]) == ValueClass::Text) {
        const std::u32string text = Points(a[1]);
        if (text.empty()) RaiseInvalidArgument();
        point = text[0];
    } else {
        point = static_cast<char32_t>(ToLong(a[1]) & 0xFF);
    }
    return FromCodePoints(std::u32string(CheckedLength(a[0]), point));
}

Value Replace(const Arguments& a) {
    const std::u32string text = Points(a[0]);
    const std::u32string wanted = Points(a[1]);
    const std::u32string replacement = Points(a[2]);
    const std::size_t start = a.Count() > 3 ? ToCount(a[3]) : 1;
    std::int32_t left = a.Count() > 4 ? ToLong(a[4]) : -1;
    if (start == 0) RaiseInvalidArgument();
    if (start > text.size()) return std::string();
    if (wanted.empty()) return FromCodePoints(std::u32string_view(text).substr(start - 1));
    const bool exact = IsBinaryCompare(a, 5);
    const std::u32string subject = exact ? text : Folded(text);
    const std::u32string needle = exact ? wanted : Folded(wanted);
    std::u32string result;
    std::size_t at = start - 1;
    for (; left != 0; --left) {
        const std::size_t found = subject.find(needle, at);
        if (found == std::u32string::npos) break;
        result.append(text, at, found - at).append(replacement);
        at = found + needle.size();
        if (result.size() > kMaxResultCharacters) RaiseOverflow();
    }
    return FromCodePoints(result.append(text, at));
}

Value StrReverse(const Arguments& a) {
    std::u32string text = Points(a[0]);
    std::reverse(text.begin(), text.end());
    return FromCodePoints(text);
}

Value StrComp(const Arguments& a) {
    const std::string left = ToText(a[0]);
    const std::string right = ToText(a[1]);
    const int order = IsBinaryCompare(a, 2) ? left.compare(right) : jet::CompareText(a.version, left, right);
    return std::int16_t{static_cast<std::int16_t>(order < 0 ? -1 : (order > 0 ? 1 : 0))};
}

}  // namespace

std::span<const Function> TextFunctions() {
    static const std::array kFunctions{
        Function{"Len", 1, 1, Len, ColumnType::Long},
        Function{"Left", 2, 2, Left, ColumnType::Text},
        Function{"Right", 2, 2, Right, ColumnType::Text},
        Function{"Mid", 2, 3, Mid, ColumnType::Text},
        Function{"InStr", 2, 4, InStr, ColumnType::Long},
        Function{"InStrRev", 2, 4, InStrRev, ColumnType::Long},
        Function{"UCase", 1, 1, MapCase<ToUpper>, ColumnType::Text},
        Function{"LCase", 1, 1, MapCase<ToLower>, ColumnType::Text},
        Function{"Trim", 1, 1, TrimSpaces<true, true>, ColumnType::Text},
        Function{"LTrim", 1, 1, TrimSpaces<true, false>, ColumnType::Text},
        Function{"RTrim", 1, 1, TrimSpaces<false, true>, ColumnType::Text},
        Function{"Chr", 1, 1, Chr, ColumnType::Text},
        Function{"ChrW", 1, 1, Chr, ColumnType::Text},
        Function{"Asc", 1, 1, Asc, ColumnType::Long},
        Function{"AscW", 1, 1, Asc, ColumnType::Long},
        Function{"Space", 1, 1, Space, ColumnType::Text},
        Function{"String", 2, 2, Repeat, ColumnType::Text},
        Function{"Replace", 3, 6, Replace, ColumnType::Text},
        Function{"StrReverse", 1, 1, StrReverse, ColumnType::Text},
        Function{"StrComp", 2, 3, StrComp, ColumnType::Integer},
    };
    return kFunctions;
}

}  // namespace marrowkit::expression
