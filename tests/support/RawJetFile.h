#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/jet/format/DatabaseHeader.h"
#include "platform/jet/format/RowCodec.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::test {

/// A Jet file read into memory and taken apart in the plainest way: no cache, no locks, nothing of the
/// engine but the codecs. Slow, and strict: damage throws jet::OutOfBounds (jet::BadStructure with a text).
class RawJetFile {
public:
    explicit RawJetFile(const std::filesystem::path& file);

    const jet::DatabaseHeader& Header() const { return header_; }
    const jet::Geometry& Geometry() const { return header_.PageGeometry(); }
    jet::JetVersion Version() const { return header_.version; }
    jet::PageNumber PageCount() const;
    /// Decoded when the file is encoded.
    jet::ByteView Page(jet::PageNumber page) const;

    /// The slot's offset with its flag bits (0x4000 moved, 0x8000 target of a move, both: deleted).
    std::uint16_t Slot(jet::RowId row) const;
    std::uint16_t SlotCount(jet::PageNumber page) const;
    /// The bytes of a slot, whatever its flags.
    jet::ByteView SlotBytes(jet::RowId row) const;

    /// The page numbers of a usage map, ascending.
    std::vector<jet::PageNumber> MapMembers(jet::RowId map) const;

    /// All pages of a definition put together, cut to its length.
    std::vector<std::uint8_t> LogicalDefinition(jet::PageNumber page) const;
    jet::TableDefinition Definition(jet::PageNumber page) const;

    struct StoredRow {
        jet::RowId id;        ///< the original slot
        jet::ByteView bytes;  ///< where the row lies now
    };
    /// Live rows in storage order.
    std::vector<StoredRow> Rows(const jet::TableDefinition& table) const;
    jet::RowView View(const jet::TableDefinition& table, const StoredRow& row) const;

    /// The whole long value that a Memo or OLE column's bytes stand for.
    std::vector<std::uint8_t> LongValue(jet::ByteView inRow) const;
    /// A column's value, long values included.
    jet::Value ValueOf(const jet::RowView& row, const jet::ColumnDefinition& column) const;

    struct IndexEntry {
        std::vector<std::uint8_t> key;
        jet::RowId row;
    };
    /// From the root down, in order. Checks on the way that entries ascend, that levels fit, that siblings
    /// are linked, that free space is exact and that parent entries bound their children.
    std::vector<IndexEntry> IndexEntries(jet::PageNumber table, const jet::RealIndex& index) const;
    /// The pages that IndexEntries visits.
    std::vector<jet::PageNumber> IndexPages(const jet::RealIndex& index) const;

    struct Object {
        std::int32_t id = 0;
        std::int32_t parentId = 0;
        std::string name;
        std::int16_t type = 0;
        std::int32_t flags = 0;
        std::vector<std::uint8_t> owner;       ///< as stored
        std::vector<std::uint8_t> properties;  ///< LvProp; empty for none
        bool IsTable() const { return type == 1; }
        jet::PageNumber DefinitionPage() const { return static_cast<jet::PageNumber>(id) & 0xFFFFFF; }
    };
    /// The catalog in storage order.
    std::vector<Object> Objects() const;
    /// The definition of a local table by its exact name; throws BadStructure when there is none.
    jet::TableDefinition TableNamed(const std::string& name) const;

private:
    struct IndexWalk;
    void WalkIndex(jet::PageNumber page, int level, IndexWalk& walk) const;

    std::vector<std::uint8_t> bytes_;
    jet::DatabaseHeader header_;
};

}  // namespace marrowkit::test
