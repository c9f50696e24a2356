#include "platform/jet/format/RowCodec.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/NumericValue.h"
#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {
namespace {

constexpr std::uint32_t kNumericBytes = 17;
constexpr std::uint8_t kNumericNegative = 0x80;
constexpr std::uint8_t kNoJump = 0xFF;  ///< Jet 3: no offset reaches this multiple of 256
constexpr std::size_t kMaxCompressedMemoChars = 1024;

std::uint32_t MaskBytes(std::uint32_t columnCount) {
    return (columnCount + 7) / 8;
}

/// Bytes that count the columns, at the start of every row.
std::uint32_t PrefixBytes(const Geometry& geometry) {
    return geometry.version == JetVersion::Jet4 ? 2 : 1;
}

}  // namespace

std::uint32_t FixedWidth(const ColumnDefinition& column) {
    switch (column.type) {
        case ColumnType::Boolean:
            return 0;
        case ColumnType::Byte:
            return 1;
        case ColumnType::Integer:
            return 2;
        case ColumnType::Long:
        case ColumnType::Single:
            return 4;
        case ColumnType::Currency:
        case ColumnType::Double:
        case ColumnType::DateTime:
            return 8;
        case ColumnType::Guid:
            return 16;
        case ColumnType::Numeric:
            return kNumericBytes;
        default:
            return column.lengthBytes;
    }
}

// ---------------------------------------------------------------- reading

RowView::RowView(const Geometry& geometry, const TableDefinition& table, ByteView row)
    : row_(row), geometry_(&geometry), fixedStart_(PrefixBytes(geometry)) {
    const bool jet4 = geometry.version == JetVersion::Jet4;
    const auto size = static_cast<std::uint32_t>(row.Size());
    columnCount_ = jet4 ? row.U16(0) : row.U8(0);
    const std::uint32_t maskBytes = MaskBytes(columnCount_);
    if (maskBytes + fixedStart_ > size) throw OutOfBounds{};
    maskStart_ = size - maskBytes;
    dataEnd_ = maskStart_;
    if (!HasOffsets(table, columnCount_)) return;

    const std::uint32_t unit = jet4 ? 2 : 1;  // size of an offset and of their count
    if (maskStart_ < fixedStart_ + unit) throw OutOfBounds{};
    variableCount_ = jet4 ? row.U16(maskStart_ - unit) : row.U8(maskStart_ - unit);
    jumpCount_ = jet4 ? 0 : (size - 1) / 256;
    const std::uint32_t trailer = unit + jumpCount_ + unit * (variableCount_ + 1);
    if (maskStart_ < fixedStart_ + trailer) throw OutOfBounds{};
    offsetsFrom_ = maskStart_ - unit - jumpCount_ - unit;
    dataEnd_ = maskStart_ - trailer;
}

bool RowView::HasOffsets(const TableDefinition& table, std::uint32_t columnCount) {
    if (table.variableColumns == 0) return false;
    if (columnCount >= table.maxColumns) return true;
    return std::any_of(table.columns.begin(), table.columns.end(), [columnCount](const ColumnDefinition& c) {
        return !c.IsFixed() && c.number < columnCount && c.type != ColumnType::Boolean;
    });
}

std::uint32_t RowView::VariableOffset(std::uint32_t index) const {
    const std::uint8_t* const bytes = row_.Data();
    if (geometry_->version == JetVersion::Jet4) {
        const std::uint8_t* const at = bytes + offsetsFrom_ - 2 * index;
        return static_cast<std::uint32_t>(at[0] | at[1] << 8U);
    }
    // The one index that looks like "no jump": the end of the data of 255 variable columns.
    if (index == kNoJump) return dataEnd_;
    // The jump table holds, for each multiple of 256, the first offset that reaches it.
    std::uint32_t high = 0;
    while (high < jumpCount_ && bytes[offsetsFrom_ + jumpCount_ - high] <= index) ++high;
    return bytes[offsetsFrom_ - index] + 256 * high;
}

bool RowView::IsNull(const ColumnDefinition& column) const {
    if (column.type == ColumnType::Boolean) return false;
    if (column.number >= columnCount_ || !MaskBit(column.number)) return true;
    return !column.IsFixed() && column.variableIndex >= variableCount_;
}

ByteView RowView::FixedBytes(const ColumnDefinition& column) const {
    const std::uint32_t start = fixedStart_ + column.fixedOffset;
    const std::uint32_t width = FixedWidth(column);
    if (start + width > dataEnd_) throw OutOfBounds{};
    return row_.All().subspan(start, width);
}

ByteView RowView::VariableBytes(const ColumnDefinition& column) const {
    const std::uint32_t start = VariableOffset(column.variableIndex);
    const std::uint32_t end = VariableOffset(column.variableIndex + 1U);
    if (start < fixedStart_ || end < start || end > dataEnd_) throw OutOfBounds{};
    return row_.All().subspan(start, end - start);
}

ByteView RowView::Bytes(const ColumnDefinition& column) const {
    if (column.type == ColumnType::Boolean || IsNull(column)) return {};
    return column.IsFixed() ? FixedBytes(column) : VariableBytes(column);
}

Value RowView::Decode(const ColumnDefinition& column) const {
    if (column.type == ColumnType::Boolean) return column.number < columnCount_ && MaskBit(column.number);
    if (IsNull(column)) return Null{};
    return DecodeValue(*geometry_, column, column.IsFixed() ? FixedBytes(column) : VariableBytes(column));
}

namespace {

Numeric DecodeNumeric(std::uint8_t scale, ByteView bytes) {
    Numeric value;
    value.negative = (bytes.U8(0) & kNumericNegative) != 0;
    value.scale = scale;
    for (std::size_t i = 0; i < value.magnitude.size(); ++i) value.magnitude[i] = bytes.U32(1 + 4 * i);
    return value;
}

Guid DecodeGuid(ByteView bytes) {
    Guid value;
    const ByteView all = bytes.Sub(0, value.bytes.size());
    std::memcpy(value.bytes.data(), all.Data(), value.bytes.size());
    return value;
}

}  // namespace

Value DecodeValue(const Geometry& geometry, const ColumnDefinition& column, ByteView bytes) {
    switch (column.type) {
        case ColumnType::Boolean:
            return bytes.U8(0) != 0;
        case ColumnType::Byte:
            return bytes.U8(0);
        case ColumnType::Integer:
            return bytes.I16(0);
        case ColumnType::Long:
            return bytes.I32(0);
        case ColumnType::Currency:
            return Currency{bytes.I64(0)};
        case ColumnType::Single:
            return bytes.F32(0);
        case ColumnType::Double:
            return bytes.F64(0);
        case ColumnType::DateTime:
            return DateTime{bytes.F64(0)};
        case ColumnType::Text:
        case ColumnType::Memo:
            return DecodeText(geometry.version, bytes);
        case ColumnType::Guid:
            return DecodeGuid(bytes);
        case ColumnType::Numeric:
            return DecodeNumeric(column.scale, bytes);
        default:
            return Binary(bytes.All().begin(), bytes.All().end());
    }
}

// ---------------------------------------------------------------- values for writing

namespace {

using StoredBytes = std::vector<std::uint8_t>;

template <typename T>
const T& Get(const Value& value) {
    const T* const found = std::get_if<T>(&value);
    if (found == nullptr) RaiseJet(JetError::ConversionError);
    return *found;
}

template <typename T>
StoredBytes Plain(T value) {
    StoredBytes bytes(sizeof(T));
    std::memcpy(bytes.data(), &value, sizeof(T));
    return bytes;
}

StoredBytes EncodeNumeric(const ColumnDefinition& column, const Numeric& given) {
    const auto value = RescaleNumeric(given, column.scale);
    if (!value || !FitsPrecision(*value, column.precision)) RaiseJet(JetError::NumericOverflow);
    StoredBytes bytes(kNumericBytes);
    bytes[0] = value->negative ? kNumericNegative : 0;
    for (std::size_t i = 0; i < value->magnitude.size(); ++i) {
        std::memcpy(bytes.data() + 1 + 4 * i, &value->magnitude[i], 4);
    }
    return bytes;
}

StoredBytes EncodeTextColumn(const Geometry& geometry, const ColumnDefinition& column,
                             const std::string& text) {
    const std::size_t length = TextLength(geometry.version, text);
    if (column.type == ColumnType::Memo) {
        return EncodeText(geometry.version, text, column.IsCompressed() && length <= kMaxCompressedMemoChars);
    }
    const std::size_t charBytes = geometry.version == JetVersion::Jet4 ? 2 : 1;
    const std::size_t room = column.lengthBytes / charBytes;
    if (length > room) RaiseJet(JetError::FieldTooSmall);
    if (!column.IsFixed()) return EncodeText(geometry.version, text, column.IsCompressed());
    return EncodeText(geometry.version, text + std::string(room - length, ' '), false);
}

StoredBytes EncodeBinary(const ColumnDefinition& column, const Binary& bytes) {
    if (column.type == ColumnType::Ole) return bytes;
    if (bytes.size() > column.lengthBytes) RaiseJet(JetError::FieldTooSmall);
    StoredBytes stored = bytes;
    if (column.IsFixed()) stored.resize(column.lengthBytes);
    return stored;
}

}  // namespace

std::vector<std::uint8_t> EncodeValue(const Geometry& geometry, const ColumnDefinition& column,
                                      const Value& value) {
    switch (column.type) {
        case ColumnType::Boolean:
            return Plain(static_cast<std::uint8_t>(Get<bool>(value) ? 1 : 0));
        case ColumnType::Byte:
            return Plain(Get<std::uint8_t>(value));
        case ColumnType::Integer:
            return Plain(Get<std::int16_t>(value));
        case ColumnType::Long:
            return Plain(Get<std::int32_t>(value));
        case ColumnType::Currency:
            return Plain(Get<Currency>(value).tenThousandths);
        case ColumnType::Single:
            return Plain(Get<float>(value));
        case ColumnType::Double:
            return Plain(Get<double>(value));
        case ColumnType::DateTime:
            return Plain(Get<DateTime>(value).days);
        case ColumnType::Text:
        case ColumnType::Memo:
            return EncodeTextColumn(geometry, column, Get<std::string>(value));
        case ColumnType::Guid: {
            const Guid& guid = Get<Guid>(value);
            return {guid.bytes.begin(), guid.bytes.end()};
        }
        case ColumnType::Numeric:
            return EncodeNumeric(column, Get<Numeric>(value));
        default:
            return EncodeBinary(column, Get<Binary>(value));
    }
}

// ---------------------------------------------------------------- rows for writing

namespace {

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
