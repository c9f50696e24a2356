#include "platform/jet/format/TableDefinition.h"

#include <algorithm>
#include <bitset>

#include "platform/jet/format/RowCodec.h"
#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {
namespace {

constexpr std::uint32_t kMagic = 1625;
constexpr std::uint32_t kRealIndexMagic = 1923;
constexpr std::uint32_t kAutoNumberIncrement = 1;
constexpr std::uint16_t kNoColumn = 0xFFFF;
constexpr std::uint16_t kEndOfMaps = 0xFFFF;
constexpr std::size_t kFramingBytes = 8;

/// Sizes of the parts of a logical definition.
struct Layout {
    std::size_t fixedPart;
    std::size_t statistics;
    std::size_t column;
    std::size_t realIndex;
    std::size_t logicalIndex;
};
constexpr Layout kJet3Layout{43, 8, 18, 39, 20};
constexpr Layout kJet4Layout{63, 12, 25, 52, 28};

const Layout& LayoutOf(JetVersion version) {
    return version == JetVersion::Jet4 ? kJet4Layout : kJet3Layout;
}

/// Takes a definition apart from front to back. Counts are believed only as far as the bytes that they
/// promise are there.
class Parser {
public:
    Parser(const Geometry& geometry, PageNumber page, ByteView logical)
        : version_(geometry.version),
          jet4_(version_ == JetVersion::Jet4),
          layout_(LayoutOf(version_)),
          bytes_(logical.Sub(0, logical.U32(kFramingBytes))) {
        table_.page = page;
    }

    TableDefinition Parse() {
        ReadFixedPart();
        ReadStatistics();
        ReadColumns();
        ReadRealIndexes();
        ReadLogicalIndexes();
        ReadLongValueMaps();
        return std::move(table_);
    }

private:
    void ReadFixedPart() {
        const DefinitionOffsets offsets = DefinitionOffsetsOf(version_);
        const std::size_t type = jet4_ ? 40 : 20;
        table_.rowCount = bytes_.U32(offsets.rowCount);
        table_.lastAutoNumber = bytes_.U32(offsets.lastAutoNumber);
        table_.tableType = bytes_.U8(type);
        table_.maxColumns = bytes_.U16(type + 1);
        table_.variableColumns = bytes_.U16(type + 3);
        columnCount_ = bytes_.U16(type + 5);
        logicalCount_ = bytes_.U32(type + 7);
        realCount_ = bytes_.U32(type + 11);
        table_.ownedMap = RowId::FromStored(bytes_.U32(offsets.ownedMap));
        table_.freeMap = RowId::FromStored(bytes_.U32(offsets.freeMap));
        if (table_.maxColumns > kMaxColumns || table_.variableColumns > kMaxColumns ||
            columnCount_ > table_.maxColumns) {
            throw BadStructure("the definition has an impossible number of columns");
        }
        at_ = layout_.fixedPart;
    }

    /// The next `count` parts of equal size; nothing is allocated for them before they are known to be there.
    ByteView Take(std::size_t count, std::size_t each) {
        if (count > bytes_.Size() / each) throw OutOfBounds{};
        const ByteView part = bytes_.Sub(at_, count * each);
        at_ += count * each;
        return part;
    }

    std::string TakeName() {
        const std::size_t length = jet4_ ? bytes_.U16(at_) : bytes_.U8(at_);
        at_ += jet4_ ? 2 : 1;
        std::string name = DecodeText(version_, bytes_.Sub(at_, length));
        at_ += length;
        return name;
    }

    void ReadStatistics() {
        const ByteView all = Take(realCount_, layout_.statistics);
        table_.realIndexes.resize(realCount_);
        for (std::size_t i = 0; i < realCount_; ++i) {
            table_.realIndexes[i].entriesStatistic = all.U32(i * layout_.statistics);
            table_.realIndexes[i].distinctStatistic = all.U32(i * layout_.statistics + 4);
        }
    }

    void ReadColumns() {
        const ByteView all = Take(columnCount_, layout_.column);
        table_.columns.resize(columnCount_);
        std::bitset<kMaxColumns + 1> numbers;
        std::bitset<kMaxColumns + 1> slots;
        for (std::size_t i = 0; i < columnCount_; ++i) {
            ColumnDefinition& column = table_.columns[i];
            ReadColumn(all.Sub(i * layout_.column, layout_.column), column);
            if (column.number >= table_.maxColumns || numbers[column.number]) {
                throw BadStructure("column number " + std::to_string(column.number) +
                                   " is given twice or too high");
            }
            numbers.set(column.number);
            if (column.IsFixed() || column.type == ColumnType::Boolean) continue;
            if (column.variableIndex >= table_.variableColumns || slots[column.variableIndex]) {
                throw BadStructure("variable slot " + std::to_string(column.variableIndex) +
                                   " is given twice or too high");
            }
            slots.set(column.variableIndex);
        }
        for (ColumnDefinition& column : table_.columns) column.name = TakeName();
    }

    void ReadColumn(ByteView from, ColumnDefinition& column) const {
        column.type = static_cast<ColumnType>(from.U8(0));
        const std::size_t number = jet4_ ? 5 : 1;
        column.number = from.U16(number);
        column.variableIndex = from.U16(number + 2);
        column.ordinal = from.U16(number + 4);
        if (jet4_) {
            if (column.type == ColumnType::Numeric) {
                column.precision = from.U8(11);
                column.scale = from.U8(12);
            } else {
                column.sortOrder = {from.U16(11), from.U8(14)};
            }
            column.flags = from.U8(15);
            column.extendedFlags = from.U8(16);
            column.fixedOffset = from.U16(21);
            column.lengthBytes = from.U16(23);
        } else {
            column.countryCode = from.U16(7);
            column.sortOrder = {from.U16(9), 0};
            column.codePage = from.U16(11);
            column.flags = from.U8(13);
            column.fixedOffset = from.U16(14);
            column.lengthBytes = from.U16(16);
        }
    }

    void ReadRealIndexes() {
        const ByteView all = Take(realCount_, layout_.realIndex);
        for (std::size_t i = 0; i < realCount_; ++i) {
            ReadRealIndex(
                all.Sub(i * layout_.realIndex + (jet4_ ? 4 : 0), layout_.realIndex - (jet4_ ? 4 : 0)),
                table_.realIndexes[i]);
        }
    }

    void ReadRealIndex(ByteView from, RealIndex& index) const {
        for (std::size_t i = 0; i < kMaxIndexColumns; ++i) {
            const std::uint16_t number = from.U16(3 * i);
            if (number == kNoColumn) continue;
            if (table_.ColumnByNumber(number) == nullptr) {
                throw BadStructure("an index is on column number " + std::to_string(number) +
                                   ", which does not exist");
            }
            index.columns.push_back({number, from.U8(3 * i + 2) != 0});
        }
        index.pageMap = RowId::FromStored(from.U32(30));
        index.rootPage = from.U32(34);
        if (jet4_) index.unknown = from.U32(38);
        index.flags = from.U8(jet4_ ? 42 : 38);
    }

    void ReadLogicalIndexes() {
        const ByteView all = Take(logicalCount_, layout_.logicalIndex);
        table_.logicalIndexes.resize(logicalCount_);
        for (std::size_t i = 0; i < logicalCount_; ++i) {
            LogicalIndex& index = table_.logicalIndexes[i];
            const ByteView from = all.From(i * layout_.logicalIndex + (jet4_ ? 4 : 0));
            index.number = from.U32(0);
            index.realIndex = from.U32(4);
            index.side = static_cast<LogicalIndex::Side>(from.U8(8));
            index.partnerNumber = from.U32(9);
            index.partnerTable = from.U32(13);
            index.cascadeUpdates = from.U8(17);
            index.cascadeDeletes = from.U8(18);
            index.kind = static_cast<LogicalIndex::Kind>(from.U8(19));
            if (index.realIndex >= realCount_) {
                throw BadStructure("an index name stands for index " + std::to_string(index.realIndex) +
                                   ", which does not exist");
            }
        }
        for (LogicalIndex& index : table_.logicalIndexes) index.name = TakeName();
    }

    void ReadLongValueMaps() {
        std::bitset<kMaxColumns> listed;
        for (;;) {
            const std::uint16_t number = bytes_.U16(at_);
            at_ += 2;
            if (number == kEndOfMaps) return;
            const auto column = std::find_if(table_.columns.begin(), table_.columns.end(),
                                             [number](const auto& c) { return c.number == number; });
            if (column == table_.columns.end() || !column->IsLongValue() || listed[number]) {
                throw BadStructure("column number " + std::to_string(number) +
                                   " has long-value maps twice or is no Memo or OLE column");
            }
            listed.set(number);
            column->ownedMap = RowId::FromStored(bytes_.U32(at_));
            column->freeMap = RowId::FromStored(bytes_.U32(at_ + 4));
            table_.longValueOrder.push_back(number);
            at_ += 8;
        }
    }

    JetVersion version_;
    bool jet4_;
    const Layout& layout_;
    ByteView bytes_;
    TableDefinition table_;
    std::size_t at_ = 0;
    std::size_t columnCount_ = 0;
    std::size_t logicalCount_ = 0;
    std::size_t realCount_ = 0;
};

/// Puts a definition together from front to back.
class Serializer {
public:
    Serializer(const Geometry& geometry, const TableDefinition& table)
        : version_(geometry.version), jet4_(version_ == JetVersion::Jet4), table_(table) {}

    std::vector<std::uint8_t> Serialize() {
        PutFixedPart();
        for (const RealIndex& index : table_.realIndexes) {
            Put32(index.entriesStatistic);
            Put32(index.distinctStatistic);
            if (jet4_) Put32(0);
        }
        for (const ColumnDefinition& column : table_.columns) PutColumn(column);
        for (const ColumnDefinition& column : table_.columns) PutName(column.name);
        for (const RealIndex& index : table_.realIndexes) PutRealIndex(index);
        for (const LogicalIndex& index : table_.logicalIndexes) PutLogicalIndex(index);
        for (const LogicalIndex& index : table_.logicalIndexes) PutName(index.name);
        PutLongValueMaps();
        MutableByteView(bytes_).PutU32(kFramingBytes, static_cast<std::uint32_t>(bytes_.size()));
        return std::move(bytes_);
    }

private:
    void Put8(std::uint8_t value) { bytes_.push_back(value); }
    void Put16(std::uint16_t value) {
        Put8(static_cast<std::uint8_t>(value));
        Put8(static_cast<std::uint8_t>(value >> 8U));
    }
    void Put32(std::uint32_t value) {
        Put16(static_cast<std::uint16_t>(value));
        Put16(static_cast<std::uint16_t>(value >> 16U));
    }
    void PutZeros(std::size_t count) { bytes_.resize(bytes_.size() + count); }

    void PutFixedPart() {
        PutZeros(kFramingBytes + 4);  // framing and total length
        if (jet4_) Put32(kMagic);
        Put32(table_.rowCount);
        Put32(table_.lastAutoNumber);
        if (jet4_) {
            Put32(kAutoNumberIncrement);
            PutZeros(12);
        }
        Put8(table_.tableType);
        Put16(table_.maxColumns);
        Put16(table_.variableColumns);
        Put16(static_cast<std::uint16_t>(table_.columns.size()));
        Put32(static_cast<std::uint32_t>(table_.logicalIndexes.size()));
        Put32(static_cast<std::uint32_t>(table_.realIndexes.size()));
        Put32(table_.ownedMap.Stored());
        Put32(table_.freeMap.Stored());
    }

    void PutColumn(const ColumnDefinition& column) {
        Put8(static_cast<std::uint8_t>(column.type));
        if (jet4_) Put32(kMagic);
        Put16(column.number);
        Put16(column.variableIndex);
        Put16(column.ordinal);
        if (!jet4_) {
            Put16(column.countryCode);
            Put16(column.sortOrder.lcid);
            Put16(column.codePage);
            Put8(column.flags);
        } else {
            if (column.type == ColumnType::Numeric) {
                Put8(column.precision);
                Put8(column.scale);
                Put16(0);
            } else {
                Put16(column.sortOrder.lcid);
                Put8(0);
                Put8(column.sortOrder.version);
            }
            Put8(column.flags);
            Put8(column.extendedFlags);
            Put32(0);
        }
        Put16(column.fixedOffset);
        Put16(column.lengthBytes);
    }

    void PutName(const std::string& name) {
        const std::vector<std::uint8_t> stored = EncodeText(version_, name, false);
        if (jet4_) {
            Put16(static_cast<std::uint16_t>(stored.size()));
        } else {
            Put8(static_cast<std::uint8_t>(stored.size()));
        }
        bytes_.insert(bytes_.end(), stored.begin(), stored.end());
    }

    void PutRealIndex(const RealIndex& index) {
        if (jet4_) Put32(kRealIndexMagic);
        for (std::size_t i = 0; i < kMaxIndexColumns; ++i) {
            const bool used = i < index.columns.size();
            Put16(used ? index.columns[i].columnNumber : kNoColumn);
            Put8(used && index.columns[i].ascending ? 1 : 0);
        }
        Put32(index.pageMap.Stored());
        Put32(index.rootPage);
        if (jet4_) Put32(index.unknown);
        Put8(index.flags);
        if (jet4_) PutZeros(5);
    }

    void PutLogicalIndex(const LogicalIndex& index) {
        if (jet4_) Put32(kMagic);
        Put32(index.number);
        Put32(index.realIndex);
        Put8(static_cast<std::uint8_t>(index.side));
        Put32(index.partnerNumber);
        Put32(index.partnerTable);
        Put8(index.cascadeUpdates);
        Put8(index.cascadeDeletes);
        Put8(static_cast<std::uint8_t>(index.kind));
        if (jet4_) Put32(0);
    }

    void PutLongValueMaps() {
        std::bitset<kMaxColumns> listed;
        const auto put = [&](const ColumnDefinition* column) {
            if (column == nullptr || !column->IsLongValue() || listed[column->number]) return;
            listed.set(column->number);
            Put16(column->number);
            Put32(column->ownedMap.Stored());
            Put32(column->freeMap.Stored());
        };
        for (const std::uint16_t number : table_.longValueOrder) put(table_.ColumnByNumber(number));
        for (const ColumnDefinition& column : table_.columns) put(&column);
        Put16(kEndOfMaps);
    }

    JetVersion version_;
    bool jet4_;
    const TableDefinition& table_;
    std::vector<std::uint8_t> bytes_;
};

}  // namespace

const ColumnDefinition* TableDefinition::ColumnByNumber(std::uint16_t number) const {
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [number](const ColumnDefinition& c) { return c.number == number; });
    return found == columns.end() ? nullptr : &*found;
}

std::uint32_t TableDefinition::FixedAreaBytes() const {
    std::uint32_t end = 0;
    for (const ColumnDefinition& column : columns) {
        if (column.IsFixed()) end = std::max(end, column.fixedOffset + FixedWidth(column));
    }
    return end;
}

DefinitionOffsets DefinitionOffsetsOf(JetVersion version) {
    return version == JetVersion::Jet4 ? DefinitionOffsets{16, 20, 55, 59, 63, 12}
                                       : DefinitionOffsets{12, 16, 35, 39, 43, 8};
}

TableDefinition ParseTableDefinition(const Geometry& geometry, PageNumber page, ByteView logical) {
    return Parser(geometry, page, logical).Parse();
}

std::vector<std::uint8_t> SerializeTableDefinition(const Geometry& geometry, const TableDefinition& table) {
    return Serializer(geometry, table).Serialize();
}

}  // namespace marrowkit::jet
