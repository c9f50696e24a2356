#include "import/RomMatch.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>

#include "checksum/clsCRC.h"
#include "import/RomExtensions.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/text/Numbers.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

struct FileKey {
    std::string_view crc;
    std::int32_t size;
    bool operator==(const FileKey&) const = default;
};

struct FileKeyHash {
    std::size_t operator()(const FileKey& key) const {
        constexpr std::size_t kSpread = 0x9E3779B97F4A7C15ULL;  // 2^64 divided by the golden ratio
        return std::hash<std::string_view>()(key.crc) ^ (static_cast<std::uint32_t>(key.size) * kSpread);
    }
};

/// Of files that are alike, the one listed first.
using FileMap = std::unordered_map<FileKey, const ScannedFile*, FileKeyHash>;

FileMap MapFiles(const std::vector<ScannedFile>& files) {
    FileMap map;
    map.reserve(files.size());
    for (const ScannedFile& file : files) {
        if (!IsFolder(file)) map.try_emplace({file.Crc, file.Size}, &file);
    }
    return map;
}

/// Folders of files that come folder by folder: one is looked for once, not again for each of its files,
/// whose names are the host's own.
class FilesOfFolders {
public:
    void GoTo(const ScannedFile& file) {
        const std::size_t folderBytes = file.Path.find_last_of('\\') + 1;
        if (file.Path.compare(0, folderBytes, folderPath_) != 0) {
            folderPath_ = file.Path.substr(0, folderBytes);
            folder_.emplace(HostPath(folderPath_));
        }
        name_ = file.Path.c_str() + folderBytes;
    }
    // Of the file that GoTo was called for last, as long as it lives.
    const OpenHostFolder& Folder() const { return *folder_; }
    const char* Name() const { return name_; }

private:
    std::string folderPath_;
    std::optional<OpenHostFolder> folder_;
    const char* name_ = nullptr;
};

void Checksum(ScannedFile& file, const FilesOfFolders& folders, clsCRC& crc) {
    WholeFileReader reader(folders.Folder(), folders.Name());
    file.Size = SizeInList(reader.Length());
    // An empty file and a folder have no checksum.
    file.Crc = Hex(crc.CalculateOpenFile(reader).value_or(0));
}

/// Raises 6 when one of the sizes overflows.
void RaiseForSizes(std::span<const ScannedFile> files) {
    for (const ScannedFile& file : files) {
        const auto path = TryHostPath(file.Path);
        const auto status = path ? StatusOf(*path) : std::nullopt;
        if (status && status->kind == HostKind::File) SizeInList(status->size);
    }
}

/// False when cancelled.
bool ChecksumFiles(ImportTables& tables, ImportProgress& progress) {
    progress.SetPrompt("Grabbing CRC-32 values for " + std::to_string(tables.FileCount()) + " files...");
    progress.LetEventsRun();
    progress.SetBarRange(0, tables.FileUpper());
    clsCRC crc;
    FilesOfFolders folders;
    // A disc image takes seconds: Cancel is heard inside of it, too.
    crc.AskBetweenBlocks([&progress] {
        progress.LetEventsRun();
        return !progress.Cancelled();
    });
    std::int32_t index = 0;
    for (ScannedFile& file : tables.Files) {
        try {
            folders.GoTo(file);
            Checksum(file, folders, crc);
        } catch (const RuntimeError&) {
            RaiseForSizes(std::span(tables.Files).subspan(static_cast<std::size_t>(index)));
            throw;
        }
        progress.SetBarValue(index++);
        progress.LetEventsRun();
        if (progress.Cancelled()) return false;
    }
    return true;
}

}  // namespace

void MatchEntries(const ImportSettings& settings, ImportTables& tables, ImportProgress& progress) {
    progress.SetPrompt("CRC-32/Size Matches found:");
    progress.SetStatus("0");
    progress.LetEventsRun();
    progress.SetBarRange(0, tables.EntryUpper());
    const FileMap files = MapFiles(tables.Files);
    const std::size_t romPathCharacters = CharacterCount(settings.RomPathSlash);
    RomExtensions extensions;
    std::int32_t matches = 0;
    std::int32_t index = 0;
    for (DatafileEntry& entry : tables.Entries) {
        if (!settings.MatchExtensionsOnly) extensions.Add(entry.FileName);
        const auto found = files.find({entry.Crc, entry.Size});
        if (found != files.end()) {
            const std::string& path = found->second->Path;
            entry.Matched = true;
            entry.MatchedFile = path.substr(CharacterOffset(path, romPathCharacters));
            progress.SetStatus(std::to_string(++matches));
        }
        progress.SetBarValue(index++);
        progress.LetEventsRun();
        if (progress.Cancelled()) break;
    }
    if (!settings.MatchExtensionsOnly) tables.RomExtensionList = extensions.List();
}

std::string MatchByCrcAndSize(const ImportSettings& settings, ImportTables& tables,
                              ImportProgress& progress) {
    try {
        if (ChecksumFiles(tables, progress)) MatchEntries(settings, tables, progress);
        return {};
    } catch (const RuntimeError& error) {
        return ErrorText(error);
    }
}

}  // namespace marrowkit
