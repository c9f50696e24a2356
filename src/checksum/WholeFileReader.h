#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/files/HostFiles.h"

namespace marrowkit {

/// A file opened for being read once from its start to its end, in as few system calls as there can be.
class WholeFileReader {
public:
    /// A file that cannot be opened but has no content (or is no file) counts as one of length 0, because the
    /// length is asked for before the file is opened. Throws RuntimeError when the opening fails otherwise.
    explicit WholeFileReader(const char* hostPath);
    /// The same for a file in a folder.
    WholeFileReader(const OpenHostFolder& folder, const char* name);
    WholeFileReader(const WholeFileReader&) = delete;
    WholeFileReader& operator=(const WholeFileReader&) = delete;
    ~WholeFileReader();

    /// In bytes, when it was opened. 0 for a folder and for everything else that is not a regular file.
    std::uint64_t Length() const { return length_; }
    /// Tells the system that a long file is about to be read in one go.
    void ExpectWholeRead();
    /// The next bytes: as many as fit, fewer only at the end of the file. Throws RuntimeError.
    std::size_t Read(std::span<std::uint8_t> into);

private:
    std::uint64_t length_ = 0;
    HostHandle handle_ = -1;  ///< behind the length, which opening finds out
};

}  // namespace marrowkit
