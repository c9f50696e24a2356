#pragma once

#include <compare>
#include <cstdint>

namespace marrowkit::jet {

/// The two file formats: Jet 3 (Access 97) and Jet 4 (Access 2000 to 2003). The value is the format version
/// at offset 0x14 of page 0.
enum class JetVersion : std::uint8_t { Jet3 = 0, Jet4 = 1 };

/// First byte of a page.
enum class PageType : std::uint8_t {
    Header = 0x00,
    Data = 0x01,
    TableDefinition = 0x02,
    IndexNode = 0x03,
    IndexLeaf = 0x04,
    UsageBitmap = 0x05,
    ReleasedDefinition = 0x08,
    ReleasedData = 0x09,
};

using PageNumber = std::uint32_t;

/// Page 1 holds the global usage map; page 2 always starts the definition of MSysObjects.
constexpr PageNumber kGlobalMapPage = 1;
constexpr PageNumber kCatalogPage = 2;

/// Owner fields of data pages that belong to no table.
constexpr std::uint32_t kMapPageOwner = 0;
constexpr std::uint32_t kGlobalMapOwner = 1;
constexpr std::uint32_t kLongValueOwner = 0x4C41564C;  // the characters "LVAL"

/// Where a row (or a usage map, or a long value) lies: page and slot. A row keeps its RowId for life, also
/// after its bytes have moved to another page. Stored as one little-endian u32, `page << 8 | slot`.
struct RowId {
    PageNumber page = 0;
    std::uint8_t slot = 0;

    static RowId FromStored(std::uint32_t stored) {
        return {stored >> 8, static_cast<std::uint8_t>(stored & 0xFF)};
    }
    std::uint32_t Stored() const { return page << 8 | slot; }
    bool IsNull() const { return page == 0 && slot == 0; }
    auto operator<=>(const RowId&) const = default;  // NOLINT(modernize-use-nullptr): misread by the check
};

/// Sizes that differ between the two formats. All in bytes.
struct Geometry {
    JetVersion version;
    std::uint32_t pageBytes;          ///< 2048 / 4096
    std::uint32_t dataHeaderBytes;    ///< 10 / 14: in front of a data page's slot array
    std::uint32_t indexEntriesStart;  ///< 0xF8 / 0x1E0: first index entry on a page
    std::uint32_t commitWordsStart;   ///< 0x600 / 0xE00 on page 0
    std::uint64_t maxFileBytes;       ///< 1 GiB / 2 GiB

    /// The largest row that fits on an empty page: 2036 / 4080.
    std::uint32_t MaxRowBytes() const { return pageBytes - dataHeaderBytes - 2; }
    /// The longest row on a long-value page, and the length of every piece of a chain but the last: 2036 /
    /// 4076. Jet 4 leaves four bytes of the page unused.
    std::uint32_t MaxLongValueRowBytes() const { return version == JetVersion::Jet3 ? 2036 : 4076; }
    /// Pages that one bitmap page of a reference map stands for: 16352 / 32736.
    std::uint32_t PagesPerBitmap() const { return (pageBytes - 4) * 8; }
};

constexpr Geometry kJet3Geometry{JetVersion::Jet3, 2048, 10, 0xF8, 0x600, std::uint64_t{1} << 30};
constexpr Geometry kJet4Geometry{JetVersion::Jet4, 4096, 14, 0x1E0, 0xE00, std::uint64_t{1} << 31};

constexpr const Geometry& GeometryOf(JetVersion version) {
    return version == JetVersion::Jet3 ? kJet3Geometry : kJet4Geometry;
}

// Limits of both formats.
constexpr int kMaxColumns = 255;
constexpr int kMaxIndexes = 32;
constexpr int kMaxIndexColumns = 10;
constexpr int kMaxNameChars = 64;
constexpr int kMaxTextChars = 255;
constexpr int kMaxRowsPerPage = 255;

}  // namespace marrowkit::jet
