#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/RowCodec.h"
#include "platform/jet/format/SampleTable.h"
#include "platform/jet/format/ValueText.h"
#include "platform/jet/format/fuzz/Fuzz.h"

using namespace marrowkit;

namespace {

/// A definition out of the input when it holds one (after a length), else one with every type.
jet::TableDefinition TakeTable(jet::JetVersion version, jet::ByteView& bytes) {
    try {
        const std::uint16_t length = bytes.U16(0);
        const jet::ByteView definition = bytes.Sub(2, length);
        jet::TableDefinition table = jet::ParseTableDefinition(jet::GeometryOf(version), 3, definition);
        bytes = bytes.From(2U + length);
        return table;
    } catch (const jet::OutOfBounds&) {
        return test::EveryTypeTable(version);
    }
}

}  // namespace

/// Rows that can be read can be written again and then read the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    test::FuzzInput input(data, size);
    const jet::Geometry& geometry = jet::GeometryOf(input.version);
    try {
        const jet::TableDefinition table = TakeTable(input.version, input.bytes);
        const jet::RowView row(geometry, table, input.bytes);
        std::vector<jet::StoredColumn> columns;
        for (const jet::ColumnDefinition& column : table.columns) {
            const jet::Value value = row.Decode(column);
            static_cast<void>(jet::ValueText(value));
            jet::StoredColumn& stored = columns.emplace_back();
            if (column.type == jet::ColumnType::Boolean) {
                stored = {static_cast<std::uint8_t>(std::get<bool>(value) ? 1 : 0)};
            } else if (!row.IsNull(column)) {
                const jet::ByteView bytes = row.Bytes(column);
                stored.emplace(bytes.All().begin(), bytes.All().end());
            }
        }
        const auto again = jet::EncodeRow(geometry, table, columns);
        const jet::RowView back(geometry, table, jet::ByteView(again));
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const jet::ColumnDefinition& column = table.columns[i];
            test::Require(back.IsNull(column) == row.IsNull(column));
            test::Require(column.type == jet::ColumnType::Boolean ||
                          back.Bytes(column).Size() == row.Bytes(column).Size());
        }
    } catch (const jet::OutOfBounds&) {
    } catch (const RuntimeError&) {
    }
    return 0;
}
