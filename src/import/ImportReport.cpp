#include "import/ImportReport.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "import/DatafileChoice.h"
#include "import/DatafileLines.h"
#include "import/DatafileLoader.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/TextFiles.h"
#include "platform/text/CodePage1252.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

constexpr std::string_view kUtf8Separator = "\xC2\xAC";
constexpr std::string_view kZip = ".zip";

// Fields Filename and CRC of the frontend's table Games.
constexpr std::size_t kFileNameCharacters = 255;
constexpr std::size_t kCrcCharacters = 64;

ReportRow Hint(std::string text) {
    ReportRow row;
    row.kind = "hint";
    row.detail = std::move(text);
    return row;
}

/// The lines of a datafile, one after the other.
class DatafileSurvey {
public:
    explicit DatafileSurvey(const ImportSettings& settings) : settings_(settings) {}

    void Line(std::size_t number, std::string_view line) {
        if (line.starts_with(kUtf8Separator)) ++utf8Lines_;
        if (line.find('\n') != std::string_view::npos) holdsLineFeed_ = true;
        if (!line.starts_with(kDatafileSeparator)) return;
        GamesLine fields;
        if (!SplitGamesLine(line, fields)) {
            const auto count = std::count(line.begin(), line.end(), kDatafileSeparator) + 1;
            Skip(number, line.substr(1, line.find(kDatafileSeparator, 1) - 1),
                 std::to_string(count) + " fields in place of 11");
            return;
        }
        const std::string_view name = fields.at(static_cast<std::size_t>(settings_.NameColumn));
        if (settings_.SkipDuplicates) {
            const auto [first, isNew] = names_.try_emplace(name, number);
            if (!isNew) {
                Skip(number, name, "same name as line " + std::to_string(first->second));
                return;
            }
        }
        try {
            MakeDatafileEntry(fields, settings_);
            ++games_;
        } catch (const RuntimeError& error) {
            Skip(number, name, "its size ends the import: " + error.description);
        }
        if (name.empty()) Skip(number, name, "no name: not written into the database");
        TellTooLong(number, name, fields);
    }

    std::vector<ReportRow> Rows(std::string_view bytes, const std::string& version) && {
        std::vector<ReportRow> rows;
        if (!IsSupportedDatafileVersion(version)) {
            rows.push_back(Hint("The datafile says it is version [" + version + "], not 2.00."));
        }
        if (utf8Lines_ > 0 ||
            bytes.find(std::string("\n").append(kUtf8Separator)) != std::string_view::npos) {
            rows.push_back(
                Hint("Lines begin with the bytes C2 AC: the datafile is in UTF-8. Games lines are found only "
                     "in code page 1252, where the separator is the byte AC."));
        }
        const bool lineFeedsOnly =
            bytes.find('\r') == std::string_view::npos && bytes.find('\n') != std::string_view::npos;
        if (lineFeedsOnly) {
            rows.push_back(Hint(
                "All lines end with a lone LF, so the whole file is one line. Lines must end with CR LF."));
        } else if (holdsLineFeed_) {
            rows.push_back(Hint("Some lines end with a lone LF and run into the next."));
        }
        if (games_ == 0) rows.push_back(Hint(std::string(kNoGamesText)));
        std::move(skipped_.begin(), skipped_.end(), std::back_inserter(rows));
        return rows;
    }

private:
    void Skip(std::size_t number, std::string_view name, std::string why) {
        Add("skipped line", number, name, std::move(why));
    }

    void Add(const char* kind, std::size_t number, std::string_view name, std::string what) {
        ReportRow row;
        row.kind = kind;
        row.line = number;
        row.name = Cp1252ToUtf8(name);
        row.detail = std::move(what);
        skipped_.push_back(std::move(row));
    }

    /// Names are cut to what the frontend's fields hold, file names and checksums are not.
    void TellTooLong(std::size_t number, std::string_view name, const GamesLine& fields) {
        constexpr std::size_t kCrcColumn = 6;
        const std::size_t fileName = fields.at(static_cast<std::size_t>(settings_.FileColumn)).size() +
                                     (settings_.AddZipExtension ? kZip.size() : 0);
        if (!settings_.ScanForRoms && fileName > kFileNameCharacters) {
            Add("too long", number, name,
                "its file name has " + std::to_string(fileName) + " characters, the database takes " +
                    std::to_string(kFileNameCharacters) + ": the import ends there");
        }
        if (fields[kCrcColumn].size() > kCrcCharacters) {
            Add("too long", number, name,
                "its checksum has " + std::to_string(fields[kCrcColumn].size()) +
                    " characters, the database takes " + std::to_string(kCrcCharacters) +
                    ": the import ends there");
        }
    }

    const ImportSettings& settings_;
    std::unordered_map<std::string_view, std::size_t> names_;
    std::vector<ReportRow> skipped_;
    std::size_t utf8Lines_ = 0;
    std::size_t games_ = 0;
    bool holdsLineFeed_ = false;
};

std::string_view WithoutLeadingZeros(std::string_view crc) {
    const std::size_t digit = crc.find_first_not_of('0');
    return digit == std::string_view::npos ? crc.substr(crc.size() - std::min<std::size_t>(crc.size(), 1))
                                           : crc.substr(digit);
}

/// The scanned files by their checksum.
class FilesByCrc {
public:
    FilesByCrc(const ImportSettings& settings, const ImportTables& tables)
        : romPathCharacters_(CharacterCount(settings.RomPathSlash)) {
        for (const ScannedFile& file : tables.Files) {
            if (IsFolder(file) || file.Crc.empty()) continue;
            files_.push_back(&file);
            byCrc_[file.Crc].push_back(&file);
        }
    }

    const std::vector<const ScannedFile*>& All() const { return files_; }

    const std::vector<const ScannedFile*>& With(std::string_view crc) const {
        static const std::vector<const ScannedFile*> kNone;
        const auto found = byCrc_.find(crc);
        return found == byCrc_.end() ? kNone : found->second;
    }

    const ScannedFile* First(std::string_view crc, std::int32_t size) const {
        for (const ScannedFile* file : With(crc)) {
            if (file->Size == size) return file;
        }
        return nullptr;
    }

    std::string Name(const ScannedFile& file) const {
        return file.Path.substr(CharacterOffset(file.Path, romPathCharacters_));
    }

private:
    std::size_t romPathCharacters_;
    std::vector<const ScannedFile*> files_;
    std::unordered_map<std::string_view, std::vector<const ScannedFile*>> byCrc_;
};

ReportRow FileRow(const char* kind, const FilesByCrc& files, const ScannedFile& file) {
    ReportRow row;
    row.kind = kind;
    row.file = files.Name(file);
    row.crc = file.Crc;
    row.size = file.Size;
    return row;
}

/// Why an entry without a file came close to having one; empty when it did not.
std::string NearMiss(const FilesByCrc& files, const DatafileEntry& entry) {
    const std::string_view crc = WithoutLeadingZeros(entry.Crc);
    if (const ScannedFile* file = files.First(crc, entry.Size)) {
        return "has checksum and size of " + files.Name(*file) +
               ", but the datafile writes the checksum with leading zeros";
    }
    if (files.With(crc).empty()) return {};
    const ScannedFile& file = *files.With(crc).front();
    return "has the checksum of " + files.Name(file) + ", whose size is " + std::to_string(file.Size);
}

}  // namespace

std::vector<ReportRow> ExplainDatafile(const ImportSettings& settings) {
    const std::string bytes = ReadWholeFile(settings.DatafilePath);
    DatafileSurvey survey(settings);
    DatafileLines lines(bytes);
    std::string_view line;
    while (lines.Next(line)) survey.Line(lines.LineNumber(), line);
    return std::move(survey).Rows(bytes, DatafileVersionOf(settings.DatafilePath));
}

std::vector<ReportRow> ExplainMatches(const ImportSettings& settings, const ImportTables& tables) {
    std::vector<ReportRow> rows;
    const FilesByCrc files(settings, tables);
    std::unordered_set<const ScannedFile*> used;
    for (const DatafileEntry& entry : tables.Entries) {
        ReportRow row;
        row.kind = entry.Matched ? "found" : "missing";
        row.name = entry.Name;
        row.crc = entry.Crc;
        row.size = entry.Size;
        if (entry.Matched) {
            row.file = entry.MatchedFile;
            used.insert(files.First(entry.Crc, entry.Size));
        } else {
            row.detail = NearMiss(files, entry);
            if (!row.detail.empty()) row.kind = "near miss";
        }
        rows.push_back(std::move(row));
    }
    // A file is listed again by each extension with a wildcard that fits it.
    std::unordered_set<std::string_view> told;
    for (const ScannedFile* file : files.All()) {
        if (!told.insert(file->Path).second) continue;
        const ScannedFile* first = files.First(file->Crc, file->Size);
        if (first != file) {
            rows.push_back(FileRow("duplicate file", files, *file));
            rows.back().detail = "same content as " + files.Name(*first);
        } else if (!used.contains(file)) {
            rows.push_back(FileRow("unused file", files, *file));
        }
    }
    return rows;
}

}  // namespace marrowkit
