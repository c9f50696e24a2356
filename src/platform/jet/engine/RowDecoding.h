#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/jet/engine/TableLayout.h"
#include "platform/jet/format/RowCodec.h"

namespace marrowkit::jet {

/// Decodes one column (a position in the layout) of a stored row, long values included. `value` is
/// overwritten; a text keeps the memory it has.
void DecodeColumn(const TableLayout& layout, const RowView& row, std::size_t column, Value& value);

/// Decodes the same columns of one row after the other: where each column lies and how it is stored is looked
/// up once, not for every value. REQUIRES: the layout outlives it.
class RowDecoder {
public:
    /// Columns are positions in the layout.
    RowDecoder(const TableLayout& layout, std::span<const std::size_t> columns);

    /// `values` gets one element per column; what it held is overwritten, and texts keep the memory they
    /// have. Throws OutOfBounds when the row's parts reach beyond its end.
    void Decode(ByteView row, Row& values) const;

private:
    /// The ways of storing a value that make up nearly all of any table, and one for the rest.
    enum class Storing : std::uint8_t {
        MaskBit,
        FixedByte,
        FixedInteger,
        FixedLong,
        VariableText,
        Memo,
        Other
    };
    struct Step {
        Storing storing;
        std::uint16_t number;  ///< of the column, in the null mask
        std::uint16_t place;   ///< offset in the fixed area, or variable index
        std::size_t column;
    };
    static Storing StoringOf(const ColumnDefinition& definition);
    void DecodeStep(const Step& step, const RowView& row, Value& value) const;
    void DecodeVariable(const Step& step, const RowView& row, Value& value) const;

    const TableLayout* layout_;
    std::vector<Step> steps_;
};

/// Decodes several columns of a single row.
Row DecodeColumns(const TableLayout& layout, ByteView row, std::span<const std::size_t> columns);

}  // namespace marrowkit::jet
