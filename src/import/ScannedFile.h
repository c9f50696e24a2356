#pragma once

#include <cstdint>
#include <string>

namespace marrowkit {

/// One entry of the ROM folder or of a folder below it. Subfolders are listed like files.
struct ScannedFile {
    std::string Path;       ///< folder, which ends in "\", and name
    std::int32_t Size = 0;  ///< of SizeInList; 0 for what is no file
    std::string Crc;        ///< upper-case hexadecimal without leading zeros; "0" when there is no checksum

    bool operator==(const ScannedFile&) const = default;
};

/// Whether it is a folder, which has no checksum and matches no game. Looks at the disk only for the checksum
/// text "0".
bool IsFolder(const ScannedFile& file);

/// The low word of a size in bytes less its high word, both signed: the size of every file below 2 GiB,
/// negative from there to 4 GiB. Raises 6 where the difference needs more than 32 bits.
std::int32_t SizeInList(std::uint64_t bytes);

}  // namespace marrowkit
