#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "import/DatafileEntry.h"
#include "import/ScannedFile.h"

namespace marrowkit {

/// The memory of one import, handed from stage to stage and gone with it.
struct ImportTables {
    std::vector<DatafileEntry> Entries;
    std::vector<ScannedFile> Files;
    /// Extensions found in the datafile: the dot and upper case, each once, in the order of their first
    /// entry.
    std::vector<std::string> FileTypes;
    /// Extensions each followed by ";". Two forms: ".ZIP;.D64;" when only matching extensions are searched,
    /// otherwise "zip;part2.zip;". The new database's Emulators.ini receives it as it stands.
    std::string RomExtensionList;
    /// The entry that the writer could not add, with which it ended.
    std::optional<std::size_t> FailedEntry;
    std::int32_t GamesWritten = 0;

    std::int32_t EntryCount() const { return static_cast<std::int32_t>(Entries.size()); }
    std::int32_t EntryUpper() const { return EntryCount() - 1; }
    std::int32_t FileCount() const { return static_cast<std::int32_t>(Files.size()); }
    std::int32_t FileUpper() const { return FileCount() - 1; }
};

}  // namespace marrowkit
