#include "import/TosecName.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

#include "import/TosecTables.h"
#include "import/TosecTitle.h"
#include "platform/errors/RuntimeError.h"
#include "platform/text/Text.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kNoCracker = "~NONE~";

/// The number that a text begins with: blanks, a sign, digits. 0 when there is none.
std::int32_t LeadingNumber(std::string_view text) {
    std::size_t at = text.find_first_not_of(' ');
    if (at == kNone) return 0;
    const bool negative = text[at] == '-';
    if (negative || text[at] == '+') ++at;
    // There is one more negative number than positive ones.
    const std::int64_t largest = std::int64_t{std::numeric_limits<std::int32_t>::max()} + (negative ? 1 : 0);
    std::int64_t number = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        number = number * 10 + (text[at] - '0');
        if (number > largest) Raise(RuntimeErrorNumber::Overflow);
    }
    return static_cast<std::int32_t>(negative ? -number : number);
}

constexpr std::size_t kStartBytes = sizeof(std::uint32_t);

/// The first four bytes as one number; of a shorter text all.
std::uint32_t StartOf(std::string_view text) {
    std::uint32_t start = 0;
    if (text.size() >= kStartBytes) {
        std::memcpy(&start, text.data(), kStartBytes);
    } else {
        std::memcpy(&start, text.data(), text.size());
    }
    return start;
}

}  // namespace

void TosecParser::Parse(DatafileEntry& entry) {
    if (entry.Name.empty()) return;
    // FileName stays untouched while file_ looks into it.
    Index(tosec::WithoutUnknownPrefix(entry.FileName));
    entry.Name = tosec::CutTitle(tosec::WithoutUnknownPrefix(entry.Name));

    entry.SaveFix = Has("[f save]");
    Remove(entry.Name, "[f save]");
    ReadVideoStandard(entry);
    entry.PublicDomain = Has("(pd)") ? "Public Domain" : "";
    Remove(entry.Name, "(pd)");
    entry.VersionComment = "";
    ReadCracker(entry);
    ReadTrainers(entry);
    ReadLanguage(entry);
    ReadYearAndPublisher(entry);
}

/// Every text looked for begins with a bracket, so only the brackets' places are ever compared; and as about
/// a hundred texts are looked for in every name, first by what fits into a number. Lower case concerns A to Z
/// alone: no other letter of a datafile becomes a character of those texts.
void TosecParser::Index(std::string_view file) {
    file_ = file;
    lowered_.assign(file);
    brackets_.clear();
    for (std::size_t i = 0; i < lowered_.size(); ++i) {
        char& c = lowered_[i];
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        } else if (c == '(' || c == '[') {
            brackets_.push_back({i, 0});
        }
    }
    for (Bracket& bracket : brackets_) bracket.start = StartOf(std::string_view(lowered_).substr(bracket.at));
}

std::size_t TosecParser::Find(std::string_view token) const {
    const std::string_view text = lowered_;
    const bool isShort = token.size() < kStartBytes;
    const std::uint32_t start = StartOf(token);
    for (const Bracket& bracket : brackets_) {
        if (!isShort && bracket.start != start) continue;
        if (text.substr(bracket.at).starts_with(token)) return bracket.at;
    }
    return kNone;
}

/// The first place of `opening`, and the first bracket after it that closes.
bool TosecParser::FindGroup(std::string_view opening, Group& group) const {
    group.begin = Find(opening);
    if (group.begin == kNone) return false;
    group.end = lowered_.find(opening.front() == '(' ? ')' : ']', group.begin);
    return group.end != kNone;
}

/// Characters of the file name as it is written, without blanks at the ends.
std::string_view TosecParser::Between(std::size_t from, std::size_t to) const {
    return from < to ? TrimView(file_.substr(from, to - from)) : std::string_view();
}

void TosecParser::Remove(std::string& name, std::string_view text) {
    if (name.find(text.front()) != kNone) name = ReplaceNoCase(name, text, {});
}

void TosecParser::ReadVideoStandard(DatafileEntry& entry) {
    const bool ntscFix = Has("[f ntsc]");
    if (Has("(pal)")) {
        entry.PalNtsc = ntscFix ? 1 : 0;
    } else if (Has("(ntsc)")) {
        entry.PalNtsc = 2;
    } else {
        entry.PalNtsc = ntscFix ? 1 : 3;
    }
    Remove(entry.Name, "(pal)");
    Remove(entry.Name, "(ntsc)");
    Remove(entry.Name, "[f ntsc]");
}

void TosecParser::ReadCracker(DatafileEntry& entry) {
    constexpr std::string_view kOpening = "[cr";
    Group group{};
    if (!FindGroup(kOpening, group)) {
        entry.Cracker = kNoCracker;
        return;
    }
    entry.Cracker = Between(group.begin + kOpening.size(), group.end);
    if (group.end == group.begin + kOpening.size()) {
        entry.VersionComment = "[cracked by ?]";
        Remove(entry.Name, "[cr]");
        return;
    }
    // Put together with exactly one blank: a group written with more of them stays in the name.
    removal_ = "[cr ";
    removal_ += entry.Cracker.Text();
    removal_ += ']';
    Remove(entry.Name, removal_);
}

void TosecParser::ReadTrainers(DatafileEntry& entry) {
    constexpr std::string_view kOpening = "[t";
    constexpr std::string_view kTrained = " [trained]";
    entry.Trainers = 0;
    Group group{};
    if (!FindGroup(kOpening, group)) return;
    if (group.end == group.begin + kOpening.size()) {
        entry.Trainers = -1;
        entry.VersionComment += kTrained;
        Remove(entry.Name, "[t]");
        return;
    }
    // The character after "[t" is taken for a blank, whatever it is.
    std::size_t begin = group.begin + kOpening.size();
    NextCodePoint(file_, begin);
    const std::string_view text = Between(begin, group.end);
    removal_ = "[t ";
    removal_ += text;
    removal_ += ']';
    Remove(entry.Name, removal_);
    if (text.starts_with('+')) {
        entry.Trainers = std::max(-1, LeadingNumber(text.substr(1)));
    } else {
        entry.Trainers = -1;
        entry.VersionComment += kTrained;
    }
}

void TosecParser::ReadLanguage(DatafileEntry& entry) {
    entry.Language = "";
    for (const tosec::LanguageRow& row : tosec::kLanguages) {
        const std::array<char, 4> token = {'(', row.code[0], row.code[1], ')'};
        const std::string_view group(token.data(), token.size());
        if (!Has(group)) continue;
        entry.Language = row.name;
        Remove(entry.Name, group);
        return;
    }
    // (m2) is not among them.
    for (char count = '3'; count <= '6'; ++count) {
        const std::array<char, 4> token = {'(', 'm', count, ')'};
        const std::string_view group(token.data(), token.size());
        if (!Has(group)) continue;
        entry.Language = std::string("Multi-Language (") + count + ')';
        Remove(entry.Name, group);
        return;
    }
    for (std::size_t row = 0; row < tosec::kLanguages.size(); ++row) {
        if (ReadLanguageList(entry, row)) break;
    }
    if (entry.Language.empty()) entry.Language = tosec::kDefaultLanguage;
}

/// A list such as (en-fr) that begins with the row's code. True ends the search; after a list of two, later
/// rows are still tried and the last one found stands.
bool TosecParser::ReadLanguageList(DatafileEntry& entry, std::size_t row) {
    const tosec::LanguageRow& first = tosec::kLanguages[row];
    const std::array<char, 4> opening = {'(', first.code[0], first.code[1], '-'};
    Group group{};
    if (!FindGroup(std::string_view(opening.data(), opening.size()), group)) return false;

    const std::size_t secondBegin = group.begin + opening.size();
    const std::string_view whole = Between(group.begin, group.end + 1);
    const std::size_t secondCharacters = CharacterCount(file_.substr(secondBegin, group.end - secondBegin));
    if (secondCharacters == 0) {
        entry.Language = first.name;
        Remove(entry.Name, whole);
        return true;
    }
    if (secondCharacters != 2) {
        entry.Language = "Multi-Language (?)";
        Remove(entry.Name, whole);
        return true;
    }

    const std::string_view second = Between(secondBegin, group.end);
    const auto known = std::find_if(
        tosec::kLanguages.begin(), tosec::kLanguages.end(),
        [&](const tosec::LanguageRow& candidate) { return EqualNoCase(second, candidate.code); });
    std::string both(first.name);
    both += " / ";
    both += known != tosec::kLanguages.end() ? known->name : second;
    entry.Language = std::move(both);
    Remove(entry.Name, whole);
    return false;
}

void TosecParser::ReadYearAndPublisher(DatafileEntry& entry) {
    entry.YearId = tosec::kUnknownYearId;
    std::size_t year = kNone;
    for (const tosec::YearRow& row : tosec::kYears) {
        year = Find(row.Token());
        if (year == kNone) continue;
        entry.YearId = row.yearId;
        break;
    }
    Remove(entry.Name, "(y)");

    entry.Publisher = "";
    if (year != kNone) {
        const std::size_t open = file_.find('(', year + 1);
        const std::size_t close = open == kNone ? kNone : file_.find(')', open);
        if (close != kNone) entry.Publisher = Between(open + 1, close);
        if (entry.Publisher == "-") entry.Publisher = "";
    }
    Remove(entry.Name, "(-)");
}

void ParseTosecName(DatafileEntry& entry) {
    TosecParser().Parse(entry);
}

std::string ParseTosecEntries(ImportTables& tables, ImportProgress& progress) {
    try {
        progress.SetBarRange(0, tables.EntryUpper());
        progress.SetBarValue(0);
        progress.LetEventsRun();
        TosecParser parser;
        std::int32_t index = 0;
        for (DatafileEntry& entry : tables.Entries) {
            parser.Parse(entry);
            progress.SetBarValue(index++);
            progress.LetEventsRun();
            if (progress.Cancelled()) break;
        }
        return {};
    } catch (const RuntimeError& error) {
        return ErrorText(error);
    }
}

}  // namespace marrowkit
