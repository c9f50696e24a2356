#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace marrowkit::test {

/// Damages a database's bytes the way disks, crashes and bugs do: flipped bits, smashed fields, zeroed, cut
/// and swapped pages, pointers that lead elsewhere or back. The same seed does the same damage. Returns what
/// was done, for the test's report. Encoded files are only hit by what needs no look at their contents.
std::string Corrupt(std::vector<std::uint8_t>& file, std::uint32_t seed);

}  // namespace marrowkit::test
