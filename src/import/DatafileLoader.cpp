#include "import/DatafileLoader.h"

#include <functional>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "platform/errors/RuntimeError.h"
#include "platform/files/TextFiles.h"
#include "platform/text/CodePage1252.h"
#include "platform/text/Numbers.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace {

constexpr std::size_t kCrcColumn = 6;
constexpr std::size_t kSizeColumn = 7;
constexpr std::size_t kMergeColumn = 9;  // holds the size where the size column says "N"
constexpr std::string_view kSizeElsewhere = "N";

constexpr std::string_view kMisreportedVersionHint =
    "\r\n\r\nThis may not be a valid v2.00 datafile, it may be a misreported v1.92 datafile!";

/// CLng, with a short way for plain digits, which is what nearly every line has.
std::int32_t SizeOf(std::string_view text) {
    constexpr std::size_t kDigitsThatAlwaysFit = 9;
    if (text.empty() || text.size() > kDigitsThatAlwaysFit) return CLng(text);
    std::int32_t size = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return CLng(text);
        size = size * 10 + (c - '0');
    }
    return size;
}

std::string_view Column(const GamesLine& fields, std::int32_t column) {
    return fields.at(static_cast<std::size_t>(column));
}

/// The names of a table's entries. They are looked up by their text, but held as positions in the table.
class EntryNames {
public:
    explicit EntryNames(const std::vector<DatafileEntry>& entries)
        : positions_(kFirstBuckets, Hash{&entries}, Equal{&entries}) {}

    bool Contains(std::string_view name) const { return positions_.contains(name); }
    void Add(std::size_t position) { positions_.insert(position); }

private:
    static constexpr std::size_t kFirstBuckets = 1024;

    struct Hash {
        using is_transparent = void;
        const std::vector<DatafileEntry>* entries;
        std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
        std::size_t operator()(std::size_t position) const { return (*this)((*entries)[position].Name); }
    };
    struct Equal {
        using is_transparent = void;
        const std::vector<DatafileEntry>* entries;
        bool operator()(std::size_t a, std::size_t b) const { return a == b; }
        bool operator()(std::string_view name, std::size_t at) const { return (*entries)[at].Name == name; }
        bool operator()(std::size_t at, std::string_view name) const { return (*entries)[at].Name == name; }
    };

    std::unordered_set<std::size_t, Hash, Equal> positions_;
};

enum class Duplicates { Load, Skip };

std::string Load(const ImportSettings& settings, ImportTables& tables, ImportProgress& progress,
                 Duplicates duplicates) {
    tables.Entries.clear();
    EntryNames names(tables.Entries);
    LineReader lines(settings.DatafilePath);
    std::string line;
    GamesLine fields;
    while (lines.Next(line)) {
        if (!SplitGamesLine(line, fields)) continue;
        if (duplicates == Duplicates::Skip &&
            names.Contains(Cp1252ToUtf8(Column(fields, settings.NameColumn)))) {
            continue;
        }
        tables.Entries.push_back(MakeDatafileEntry(fields, settings));
        if (duplicates == Duplicates::Skip) names.Add(tables.Entries.size() - 1);
        progress.SetStatus(std::to_string(tables.EntryCount()));
        progress.LetEventsRun();
        if (progress.Cancelled()) return {};
    }
    return tables.Entries.empty() ? std::string(kNoGamesText) : std::string();
}

}  // namespace

DatafileEntry MakeDatafileEntry(const GamesLine& fields, const ImportSettings& settings) {
    DatafileEntry entry;
    const std::string_view size = fields[kSizeColumn];
    entry.Size = SizeOf(size == kSizeElsewhere ? fields[kMergeColumn] : size);
    entry.Crc = UCase(Cp1252ToUtf8(fields[kCrcColumn]));
    entry.FileName = Cp1252ToUtf8(Column(fields, settings.FileColumn));
    if (settings.AddZipExtension) entry.FileName += ".zip";
    entry.Name = Cp1252ToUtf8(Column(fields, settings.NameColumn));
    return entry;
}

std::string LoadDatafile(const ImportSettings& settings, ImportTables& tables, ImportProgress& progress) {
    return Load(settings, tables, progress, Duplicates::Load);
}

std::string LoadDatafileSkippingDuplicates(const ImportSettings& settings, ImportTables& tables,
                                           ImportProgress& progress) {
    try {
        return Load(settings, tables, progress, Duplicates::Skip);
    } catch (const RuntimeError& error) {
        std::string text = ErrorText(error);
        if (error.number == static_cast<int>(RuntimeErrorNumber::TypeMismatch)) {
            text += kMisreportedVersionHint;
        }
        return text;
    }
}

}  // namespace marrowkit
