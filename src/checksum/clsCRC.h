#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "checksum/Crc32Loops.h"
#include "checksum/WholeFileReader.h"

namespace marrowkit {

/// A checksum object: CRC-32 (IEEE 802.3) or CRC-16 (CCITT, initial value 0) of bytes, texts and whole files,
/// at once or piece by piece. A new object is ready for CRC-32.
///
/// Results are signed 32-bit numbers: a CRC-32 with its top bit set is negative. The checksum as the ROM scan
/// writes it is Hex() of that, upper case without leading zeros.
///
/// Each object is for one thread; different objects do not share anything.
class clsCRC {
public:
    clsCRC();

    /// Continues the running value; returns the new Value. No bytes leave it as it is.
    std::int32_t AddBytes(std::span<const std::uint8_t> bytes);
    /// The same with a text (UTF-8), converted to the system's single-byte code page.
    std::int32_t AddString(std::string_view text);

    /// 0 selects CRC-16, every other number CRC-32. Always restarts both sums, even when the algorithm stays.
    void SetAlgorithm(int number);
    /// 0 for CRC-16, but -1 for CRC-32: the flag is kept as a truth value, and true is -1.
    int Algorithm() const;

    /// Clear, then AddBytes.
    std::int32_t CalculateBytes(std::span<const std::uint8_t> bytes);
    /// Clear, then AddString.
    std::int32_t CalculateString(std::string_view text);

    /// The checksum of a file's whole content, by its Windows path. Nothing at all when the length is 0,
    /// as that of a folder is; the running values are then left as they are. Throws RuntimeError: 53 for a
    /// missing file (76 when its folder is missing), 70 or 75 for one that cannot be read, 57 when reading
    /// fails.
    std::optional<std::int32_t> CalculateFile(std::string_view path);
    /// The same for a file that is open, none of which was read yet: for callers that walk the disk
    /// themselves.
    std::optional<std::int32_t> CalculateOpenFile(WholeFileReader& file);
    /// `goOn` is asked between the blocks (256 KiB) of a file. Once it says no the file is left where it is,
    /// with nothing at all for its checksum, as for an empty one.
    void AskBetweenBlocks(std::function<bool()> goOn) { goOn_ = std::move(goOn); }

    /// CRC-32: the running value inverted. CRC-16: the running value's low 16 bits.
    std::int32_t Value() const;
    /// Stored as the running value of the current algorithm, not inverted: reading it back gives NOT `value`
    /// under CRC-32 and `value` AND &HFFFF under CRC-16.
    void SetValue(std::int32_t value);

    /// Restarts both sums. Value is then 0 under either algorithm.
    void Clear();

private:
    bool crc32Selected_ = true;
    std::int32_t running16_ = 0;
    std::uint32_t running32_ = 0xFFFFFFFFu;
    Crc32Loop loop_;
    /// Blocks of files; kept from file to file.
    std::vector<std::uint8_t> block_;
    std::function<bool()> goOn_;
};

}  // namespace marrowkit
