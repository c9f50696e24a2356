#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

namespace marrowkit::jet {

struct CloseTemporaryFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using TemporaryFile = std::unique_ptr<std::FILE, CloseTemporaryFile>;

/// A new file in the system's folder for such, open for reading and writing, that nobody else can find and
/// that is gone when it is closed or the process ends. Null, with errno, when there can be none.
TemporaryFile OpenTemporaryFile();

/// Goes to a byte, also beyond 2 GB. False, with errno, on failure.
bool SeekTo(const TemporaryFile& file, std::uint64_t byte);

}  // namespace marrowkit::jet
