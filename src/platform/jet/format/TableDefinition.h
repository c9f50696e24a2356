#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/Format.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

/// A sort order as column descriptors and page 0 store it.
struct SortOrder {
    std::uint16_t lcid = 0x0409;  ///< General
    std::uint8_t version = 0;     ///< Jet 4 only; 0 is "General legacy"
    bool operator==(const SortOrder&) const = default;
    /// True for the one order whose weights are known, so whose text keys can be built.
    bool IsGeneral() const { return lcid == 0x0409 && version == 0; }
};

/// One column descriptor. Four different numbers must not be confused: the column number (null mask, index
/// columns), the variable index (offset table of a row), the ordinal (display order) and the position in the
/// definition's list of descriptors.
struct ColumnDefinition {
    static constexpr std::uint8_t kFixedFlag = 0x01;
    static constexpr std::uint8_t kOrdinaryFlag = 0x02;
    static constexpr std::uint8_t kAutoNumberFlag = 0x04;
    static constexpr std::uint8_t kScrambledFlag = 0x20;
    static constexpr std::uint8_t kGuidAutoNumberFlag = 0x40;
    static constexpr std::uint8_t kCompressedExtendedFlag = 0x01;

    ColumnType type = ColumnType::Long;
    std::string name;
    std::uint16_t number = 0;
    std::uint16_t variableIndex = 0;
    std::uint16_t ordinal = 0;
    std::uint16_t countryCode = 0;  ///< Jet 3
    SortOrder sortOrder;
    std::uint16_t codePage = 1252;  ///< Jet 3
    std::uint8_t precision = 0;     ///< Numeric
    std::uint8_t scale = 0;         ///< Numeric
    std::uint8_t flags = kOrdinaryFlag;
    std::uint8_t extendedFlags = 0;
    std::uint16_t fixedOffset = 0;  ///< offset in the fixed area
    std::uint16_t lengthBytes = 0;

    bool IsFixed() const { return (flags & kFixedFlag) != 0; }
    bool IsLongValue() const { return type == ColumnType::Memo || type == ColumnType::Ole; }
    bool IsText() const { return type == ColumnType::Text || type == ColumnType::Memo; }
    /// The flag means AutoNumber on Long columns only (and, as a replication ID, on GUIDs).
    bool IsAutoNumber() const { return type == ColumnType::Long && (flags & kAutoNumberFlag) != 0; }
    bool IsCompressed() const { return (extendedFlags & kCompressedExtendedFlag) != 0; }

    /// Maps of a Memo or OLE column's long-value pages; null row pointers for other types. The free-space
    /// pointer may be null for long-value columns too (each value then gets fresh pages).
    RowId ownedMap;
    RowId freeMap;
};

struct IndexColumn {
    std::uint16_t columnNumber = 0;
    bool ascending = true;
    bool operator==(const IndexColumn&) const = default;
};

/// A real index: one B-tree.
struct RealIndex {
    static constexpr std::uint8_t kUniqueFlag = 0x01;
    static constexpr std::uint8_t kIgnoreNullsFlag = 0x02;
    static constexpr std::uint8_t kRequiredFlag = 0x08;
    static constexpr std::uint8_t kJet4Flag = 0x80;

    std::uint32_t entriesStatistic = 0;
    std::uint32_t distinctStatistic = 0;
    std::vector<IndexColumn> columns;
    RowId pageMap;
    PageNumber rootPage = 0;
    std::uint32_t unknown = 0;  ///< Jet 4, kept as found
    std::uint8_t flags = 0;

    bool IsUnique() const { return (flags & kUniqueFlag) != 0; }
    bool IgnoresNulls() const { return (flags & kIgnoreNullsFlag) != 0; }
    bool IsRequired() const { return (flags & kRequiredFlag) != 0; }
};

/// A logical index: a name for a real index, or one side of a relationship.
struct LogicalIndex {
    enum class Kind : std::uint8_t { Ordinary = 0, PrimaryKey = 1, Relationship = 2 };
    enum class Side : std::uint8_t { None = 0, Primary = 1, Foreign = 2 };
    static constexpr std::uint32_t kNoPartner = 0xFFFFFFFF;
    static constexpr std::uint8_t kNoCascade = 4;  ///< both cascade bytes where there is no relationship

    std::string name;
    std::uint32_t number = 0;     ///< unique in the table, not necessarily contiguous
    std::uint32_t realIndex = 0;  ///< position in TableDefinition::realIndexes
    Side side = Side::None;
    std::uint32_t partnerNumber = kNoPartner;
    PageNumber partnerTable = 0;
    std::uint8_t cascadeUpdates = kNoCascade;
    std::uint8_t cascadeDeletes = kNoCascade;  ///< 0 none, 1 cascade, 2 set null
    Kind kind = Kind::Ordinary;
};

/// A table definition: everything the chain of definition pages that starts at `page` holds.
struct TableDefinition {
    static constexpr std::uint8_t kUserTable = 0x4E;
    static constexpr std::uint8_t kSystemTable = 0x53;

    PageNumber page = 0;
    std::uint32_t rowCount = 0;        ///< a hint: system tables of genuine files have wrong ones
    std::uint32_t lastAutoNumber = 0;  ///< last value handed out, 0 = none yet
    std::uint8_t tableType = kUserTable;
    std::uint16_t maxColumns = 0;       ///< next free column number
    std::uint16_t variableColumns = 0;  ///< variable-column slots ever used
    RowId ownedMap;
    RowId freeMap;
    std::vector<ColumnDefinition> columns;  ///< in descriptor order
    std::vector<RealIndex> realIndexes;
    std::vector<LogicalIndex> logicalIndexes;
    /// Numbers of the Memo and OLE columns in the order of the definition's list of long-value maps, which
    /// has no meaning but is kept. Columns that are not named here follow in descriptor order.
    std::vector<std::uint16_t> longValueOrder;

    const ColumnDefinition* ColumnByNumber(std::uint16_t number) const;
    /// Length of the fixed area of new rows: the end of the fixed column that reaches furthest.
    std::uint32_t FixedAreaBytes() const;
};

/// Offsets, in the logical definition, of the counters that change with every row; writing them needs no new
/// layout.
struct DefinitionOffsets {
    std::size_t rowCount;
    std::size_t lastAutoNumber;
    std::size_t ownedMap;
    std::size_t freeMap;
    std::size_t statistics;       ///< first real index's statistics
    std::size_t statisticsBytes;  ///< per real index
};
DefinitionOffsets DefinitionOffsetsOf(JetVersion version);

/// Reads a logical definition (the pages' contents put together: the first page from its start, continuation
/// pages from byte 8). Throws OutOfBounds or RuntimeError 3049 on anything that cannot be. Never trusts a
/// count or a length.
TableDefinition ParseTableDefinition(const Geometry& geometry, PageNumber page, ByteView logical);

/// The reverse. The result's length is what the definition's length field says; the 8 bytes of page framing
/// at its start are filled in by whoever lays it out on pages.
std::vector<std::uint8_t> SerializeTableDefinition(const Geometry& geometry, const TableDefinition& table);

}  // namespace marrowkit::jet
