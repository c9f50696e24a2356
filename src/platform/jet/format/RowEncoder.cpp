#include <array>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/RowParts.h"

namespace marrowkit::jet {
namespace {

using StoredBytes = std::vector<std::uint8_t>;

constexpr std::size_t kMaxSlots = 256;  // definitions have at most 255 variable slots

/// A row while it grows from front to back.
class RowWriter {
public:
    RowWriter(const Geometry& geometry, const TableDefinition& table)
        : geometry_(geometry), table_(table), jet4_(geometry.version == JetVersion::Jet4) {}

    StoredBytes Build(std::span<const StoredColumn> columns) {
        if (columns.size() != table_.columns.size() || table_.variableColumns >= kMaxSlots) {
            RaiseJet(JetError::InvalidArgument);
        }
        PutFixedArea(columns);
        PutVariableData(columns);
        if (table_.variableColumns != 0) PutOffsets();
        PutMask(columns);
        if (row_.size() > geometry_.MaxRowBytes()) RaiseJet(JetError::RecordTooLarge);
        return std::move(row_);
    }

private:
    void PutFixedArea(std::span<const StoredColumn> columns) {
        const std::uint32_t start = PrefixBytes(geometry_);
        const std::uint32_t end = start + table_.FixedAreaBytes();
        if (end > geometry_.MaxRowBytes()) RaiseJet(JetError::RecordTooLarge);
        row_.reserve(geometry_.MaxRowBytes());
        row_.resize(end);
        row_[0] = static_cast<std::uint8_t>(table_.maxColumns);
        if (jet4_) row_[1] = static_cast<std::uint8_t>(table_.maxColumns >> 8U);
        const MutableByteView row(row_);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const ColumnDefinition& column = table_.columns[i];
            if (!columns[i] || !column.IsFixed() || column.type == ColumnType::Boolean) continue;
            if (columns[i]->size() != FixedWidth(column)) RaiseJet(JetError::ConversionError);
            row.PutBytes(start + column.fixedOffset, *columns[i]);
        }
    }

    void PutVariableData(std::span<const StoredColumn> columns) {
        std::array<const StoredBytes*, kMaxSlots> slots{};
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const ColumnDefinition& column = table_.columns[i];
            if (!columns[i] || column.IsFixed() || column.type == ColumnType::Boolean) continue;
            if (column.variableIndex >= table_.variableColumns) throw OutOfBounds{};
            slots[column.variableIndex] = &*columns[i];
        }
        for (std::size_t slot = 0; slot < table_.variableColumns; ++slot) {
            offsets_[slot] = static_cast<std::uint16_t>(row_.size());
            if (slots[slot] == nullptr) continue;
            if (row_.size() + slots[slot]->size() > geometry_.MaxRowBytes()) {
                RaiseJet(JetError::RecordTooLarge);
            }
            row_.insert(row_.end(), slots[slot]->begin(), slots[slot]->end());
        }
        offsets_[table_.variableColumns] = static_cast<std::uint16_t>(row_.size());
    }

    void PutOffsets() {
        const std::size_t dataEnd = row_.size();
        for (std::size_t slot = table_.variableColumns + std::size_t{1}; slot-- > 0;) {
            row_.push_back(static_cast<std::uint8_t>(offsets_[slot]));
            if (jet4_) row_.push_back(static_cast<std::uint8_t>(offsets_[slot] >> 8U));
        }
        if (!jet4_) PutJumps(dataEnd);
        row_.push_back(static_cast<std::uint8_t>(table_.variableColumns));
        if (jet4_) row_.push_back(static_cast<std::uint8_t>(table_.variableColumns >> 8U));
    }

    /// The number of jumps depends on the row's length, which depends on the number of jumps.
    void PutJumps(std::size_t dataEnd) {
        const std::size_t without = dataEnd + table_.variableColumns + 2 + MaskBytes(table_.maxColumns);
        std::size_t jumps = 0;
        while ((without + jumps - 1) / 256 != jumps) ++jumps;
        for (std::size_t jump = jumps; jump > 0; --jump) row_.push_back(FirstReaching(256 * jump));
    }

    std::uint8_t FirstReaching(std::size_t offset) const {
        for (std::size_t slot = 0; slot <= table_.variableColumns; ++slot) {
            if (offsets_[slot] >= offset) return static_cast<std::uint8_t>(slot);
        }
        return kNoJump;
    }

    void PutMask(std::span<const StoredColumn> columns) {
        const std::size_t start = row_.size();
        row_.resize(start + MaskBytes(table_.maxColumns));
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const ColumnDefinition& column = table_.columns[i];
            if (column.number >= table_.maxColumns) throw OutOfBounds{};
            const bool set = column.type == ColumnType::Boolean
                                 ? columns[i] && !columns[i]->empty() && columns[i]->front() != 0
                                 : columns[i].has_value();
            if (set) row_[start + column.number / 8U] |= static_cast<std::uint8_t>(1U << column.number % 8U);
        }
    }

    const Geometry& geometry_;
    const TableDefinition& table_;
    bool jet4_;
    StoredBytes row_;
    std::array<std::uint16_t, kMaxSlots> offsets_{};
};

}  // namespace

std::vector<std::uint8_t> EncodeRow(const Geometry& geometry, const TableDefinition& table,
                                    std::span<const StoredColumn> columns) {
    return RowWriter(geometry, table).Build(columns);
}

}  // namespace marrowkit::jet
