#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace marrowkit::test {

/// What became of one damaged database.
struct Survival {
    bool opened = false;       ///< for reading; else it was refused
    bool copied = false;       ///< by compaction
    bool written = false;      ///< at least one row was inserted, changed or deleted
    std::size_t problems = 0;  ///< that the check found, 50 at most
    double cpuSeconds = 0;     ///< of this process, for everything
    std::vector<std::string>
        ills;  ///< what must not happen: an error without a number, a file changed by reading
};

/// Sends the bytes of a database through the whole engine, in memory: everything is read, in storage order
/// and along every index; the file is verified; a compacted copy is made; rows are inserted, changed and
/// deleted in every table of a copy, which is verified and read again. Everything may be refused with a
/// numbered error.
Survival Survive(const std::vector<std::uint8_t>& database);

}  // namespace marrowkit::test
