#include <sys/types.h>

#include "platform/jet/storage/TemporaryFile.h"

namespace marrowkit::jet {

TemporaryFile OpenTemporaryFile() {
    return TemporaryFile(std::tmpfile());
}

bool SeekTo(const TemporaryFile& file, std::uint64_t byte) {
    return ::fseeko(file.get(), static_cast<off_t>(byte), SEEK_SET) == 0;
}

}  // namespace marrowkit::jet
