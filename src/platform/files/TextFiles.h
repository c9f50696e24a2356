#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files/HostFiles.h"

namespace marrowkit {

/// Replaces the file by the text and CR LF, in code page 1252. Raises 75, 76, 61 ... as opening for output.
void WriteTextFile(std::string_view path, std::string_view text);

/// All bytes of a file, as they are. Raises 53, 76, 75.
std::string ReadWholeFile(std::string_view path);

/// Reads a file once from front to back in large pieces, for readers that find lines themselves.
class SequentialReader {
public:
    /// Raises 53, 76, 75 (also for a folder).
    explicit SequentialReader(std::string_view path);

    std::uint64_t FileBytes() const { return fileBytes_; }
    /// The next piece; empty at the end. Valid until the next call.
    std::string_view Next();

private:
    HostFile file_;
    std::uint64_t fileBytes_;
    std::vector<char> buffer_;
};

/// Reads lines as the runtime's sequential input does: CR ends a line, and takes an LF behind it along; LF
/// alone does not. Bytes come as they are, without the line end.
class LineReader {
public:
    explicit LineReader(std::string_view path) : reader_(path) {}

    std::uint64_t FileBytes() const { return reader_.FileBytes(); }
    /// The next line in `line`; false at the end of the file. What follows the last CR is a line unless
    /// empty.
    bool Next(std::string& line);

private:
    bool Refill();

    SequentialReader reader_;
    std::string_view piece_;
    bool skipLineFeed_ = false;
};

}  // namespace marrowkit
