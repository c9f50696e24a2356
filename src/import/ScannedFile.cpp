#include "import/ScannedFile.h"

#include <limits>

#include "platform/errors/RuntimeError.h"
#include "platform/files/FolderSearch.h"

namespace marrowkit {

bool IsFolder(const ScannedFile& file) {
    return file.Crc == "0" && (AttributesOf(file.Path) & kAttributeDirectory) != 0;
}

std::int32_t SizeInList(std::uint64_t bytes) {
    const auto low = static_cast<std::int32_t>(static_cast<std::uint32_t>(bytes));
    const auto high = static_cast<std::int32_t>(static_cast<std::uint32_t>(bytes >> 32U));
    const std::int64_t size = std::int64_t{low} - high;
    if (size < std::numeric_limits<std::int32_t>::min() || size > std::numeric_limits<std::int32_t>::max()) {
        Raise(RuntimeErrorNumber::Overflow);
    }
    return static_cast<std::int32_t>(size);
}

}  // namespace marrowkit
