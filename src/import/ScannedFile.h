#pragma once

#include <cstdint>
#include <string>

namespace marrowkit {

/// One entry of the ROM folder or of a folder below it. Subfolders are listed like files.
struct ScannedFile {
    std::string Path;       ///< folder, which ends in "\", and name
    std::int32_t Size = 0;  ///< bytes; the low 32 bits as a signed number, so negative from 2 GiB on
    std::string Crc;        ///< upper-case hexadecimal without leading zeros; "0" when there is no checksum

    bool operator==(const ScannedFile&) const = default;
};

}  // namespace marrowkit
