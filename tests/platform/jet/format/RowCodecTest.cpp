#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/Hex.h"
#include "platform/jet/format/NumericValue.h"
#include "platform/jet/format/RowCodec.h"
#include "platform/jet/format/SampleTable.h"
#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {
namespace {

using test::ColumnOf;
using test::Encoded;
using test::FromHex;
using test::TableOf;
using test::ToHex;

constexpr JetVersion kVersions[] = {JetVersion::Jet3, JetVersion::Jet4};

template <typename Call>
int ErrorOf(Call call) {
    try {
        call();
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return 0;
}

TEST(RowCodec, BuildsAJet3Row) {
    const TableDefinition table =
        TableOf({ColumnOf("A", ColumnType::Long, true, 4), ColumnOf("B", ColumnType::Long, true, 4),
                 ColumnOf("C", ColumnType::Text, false, 255), ColumnOf("D", ColumnType::Text, false, 255)});
    const std::vector<Value> values{0, 2, std::string("foo"), std::string("foo2")};
    const auto row = EncodeRow(kJet3Geometry, table, Encoded(kJet3Geometry, table, values));
    EXPECT_EQ(ToHex(row), "04 00 00 00 00 02 00 00 00 66 6F 6F 66 6F 6F 32 10 0C 09 02 0F");
    const RowView view(kJet3Geometry, table, ByteView(row));
    for (std::size_t i = 0; i < values.size(); ++i) EXPECT_EQ(view.Decode(table.columns[i]), values[i]);
}

/// Six columns were defined; fixed column 1 and variable column 4 have been dropped since.
TableDefinition TableWithDroppedColumns() {
    TableDefinition table = TableOf(
        {ColumnOf("A", ColumnType::Long, true, 4), ColumnOf("Dropped", ColumnType::Long, true, 4),
         ColumnOf("B", ColumnType::Long, true, 4), ColumnOf("C", ColumnType::Text, false, 100),
         ColumnOf("Dropped2", ColumnType::Text, false, 100), ColumnOf("D", ColumnType::Text, false, 100)});
    for (const std::size_t text : {3U, 4U, 5U}) {
        table.columns[text].extendedFlags = ColumnDefinition::kCompressedExtendedFlag;
    }
    table.columns.erase(table.columns.begin() + 4);
    table.columns.erase(table.columns.begin() + 1);
    return table;
}

constexpr char kRowWithDroppedColumns[] =
    "06 00  00 00 00 00 01 00 00 00 02 00 00 00  FF FE 66 6F 6F"
    "FF FE 66 6F 6F 5F 64 65 6C 65 74 65 64 FF FE 66 6F 6F 32"
    "26 00 20 00 13 00 0E 00 03 00 3F";

TEST(RowCodec, ReadsAJet4RowWithDroppedColumns) {
    const TableDefinition table = TableWithDroppedColumns();
    const auto row = FromHex(kRowWithDroppedColumns);
    const RowView view(kJet4Geometry, table, ByteView(row));
    EXPECT_EQ(view.Decode(table.columns[0]), Value(0));
    EXPECT_EQ(view.Decode(table.columns[1]), Value(2));
    EXPECT_EQ(view.Decode(table.columns[2]), Value(std::string("foo")));
    EXPECT_EQ(view.Decode(table.columns[3]), Value(std::string("foo2")));
}

TEST(RowCodec, NewRowsLeaveThePlacesOfDroppedColumnsEmpty) {
    const TableDefinition table = TableWithDroppedColumns();
    const std::vector<Value> values{0, 2, std::string("foo"), std::string("foo2")};
    EXPECT_EQ(ToHex(EncodeRow(kJet4Geometry, table, Encoded(kJet4Geometry, table, values))),
              "06 00 00 00 00 00 00 00 00 00 02 00 00 00 FF FE 66 6F 6F FF FE 66 6F 6F 32 19 00 13 00 13 00 "
              "0E 00 03 00 2D");
}

TEST(RowCodec, APaddedJet4RowReadsAsIfItWereNot) {
    const TableDefinition table = TableOf({ColumnOf("A", ColumnType::Text, false, 100)});
    const auto row = FromHex("01 00 41 00 42 00 00 00 00 00 06 00 02 00 01 00 01");
    EXPECT_EQ(RowView(kJet4Geometry, table, ByteView(row)).Decode(table.columns[0]),
              Value(std::string("AB")));
}

TEST(RowCodec, EmptyTextAndNullDifferInTheMaskOnly) {
    for (const JetVersion version : kVersions) {
        const Geometry& geometry = GeometryOf(version);
        const TableDefinition table = TableOf(
            {ColumnOf("A", ColumnType::Text, false, 100), ColumnOf("B", ColumnType::Text, false, 100)});
        const auto row = EncodeRow(geometry, table, Encoded(geometry, table, {std::string(), Null{}}));
        const RowView view(geometry, table, ByteView(row));
        EXPECT_EQ(view.Decode(table.columns[0]), Value(std::string()));
        EXPECT_EQ(view.Decode(table.columns[1]), Value(Null{}));
        EXPECT_TRUE(view.Bytes(table.columns[0]).Empty());
        EXPECT_FALSE(view.IsNull(table.columns[0]));
        EXPECT_TRUE(view.IsNull(table.columns[1]));
    }
}

TEST(RowCodec, BooleansAreNeverNull) {
    const TableDefinition table = TableOf({ColumnOf("A", ColumnType::Boolean, true, 1)});
    const std::vector<StoredColumn> nothing(1);
    const auto row = EncodeRow(kJet4Geometry, table, nothing);
    EXPECT_EQ(ToHex(row), "01 00 00");
    const RowView view(kJet4Geometry, table, ByteView(row));
    EXPECT_FALSE(view.IsNull(table.columns[0]));
    EXPECT_EQ(view.Decode(table.columns[0]), Value(false));
}

TEST(RowCodec, ColumnsAddedLaterReadAsNull) {
    for (const JetVersion version : kVersions) {
        const Geometry& geometry = GeometryOf(version);
        const std::vector<ColumnDefinition> first{ColumnOf("A", ColumnType::Long, true, 4),
                                                  ColumnOf("B", ColumnType::Text, false, 100)};
        const TableDefinition before = TableOf(first);
        const auto row = EncodeRow(geometry, before, Encoded(geometry, before, {7, std::string("x")}));
        auto all = first;
        all.push_back(ColumnOf("C", ColumnType::Long, true, 4));
        all.push_back(ColumnOf("D", ColumnType::Text, false, 100));
        all.push_back(ColumnOf("E", ColumnType::Boolean, true, 1));
        const TableDefinition now = TableOf(all);
        const RowView view(geometry, now, ByteView(row));
        EXPECT_EQ(view.Decode(now.columns[0]), Value(7));
        EXPECT_EQ(view.Decode(now.columns[1]), Value(std::string("x")));
        EXPECT_TRUE(view.IsNull(now.columns[2]));
        EXPECT_TRUE(view.IsNull(now.columns[3]));
        EXPECT_EQ(view.Decode(now.columns[3]), Value(Null{}));
        EXPECT_EQ(view.Decode(now.columns[4]), Value(false));
    }
}

TEST(RowCodec, ARowOlderThanEveryVariableColumnHasNoOffsets) {
    for (const JetVersion version : kVersions) {
        const Geometry& geometry = GeometryOf(version);
        const TableDefinition before = TableOf({ColumnOf("A", ColumnType::Long, true, 4)});
        // As an offset table these bytes would reach far beyond the row.
        const auto row = EncodeRow(geometry, before, Encoded(geometry, before, {0x7F7F7F7F}));
        const TableDefinition now =
            TableOf({ColumnOf("A", ColumnType::Long, true, 4), ColumnOf("B", ColumnType::Text, false, 100)});
        const RowView view(geometry, now, ByteView(row));
        EXPECT_EQ(view.Decode(now.columns[0]), Value(0x7F7F7F7F));
        EXPECT_TRUE(view.IsNull(now.columns[1]));
    }
}

TEST(RowCodec, RandomRowsComeBack) {
    std::mt19937 random(1);
    for (const JetVersion version : kVersions) {
        const Geometry& geometry = GeometryOf(version);
        const TableDefinition table = test::EveryTypeTable(version);
        std::vector<Value> reused(table.columns.size());
        for (int round = 0; round < 3000; ++round) {
            std::vector<Value> values;
            for (const ColumnDefinition& column : table.columns) {
                values.push_back(test::RandomValue(version, column, random));
            }
            const auto row = EncodeRow(geometry, table, Encoded(geometry, table, values));
            const RowView view(geometry, table, ByteView(row));
            for (std::size_t i = 0; i < values.size(); ++i) {
                ASSERT_EQ(view.Decode(table.columns[i]), values[i]) << table.columns[i].name;
                view.DecodeInto(table.columns[i], reused[i]);
                ASSERT_EQ(reused[i], values[i]) << table.columns[i].name;
                ASSERT_EQ(view.IsNull(table.columns[i]), IsNull(values[i]));
            }
        }
    }
}

TEST(RowCodec, LongJet3RowsUseTheJumpTable) {
    std::mt19937 random(2);
    std::vector<ColumnDefinition> columns;
    columns.reserve(12);
    for (int i = 0; i < 12; ++i) {
        columns.push_back(ColumnOf("T" + std::to_string(i), ColumnType::Text, false, 255));
    }
    const TableDefinition table = TableOf(columns);
    std::size_t longest = 0;
    for (int round = 0; round < 5000; ++round) {
        std::vector<Value> values;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            // Many of them empty, so that several share an offset.
            values.emplace_back(random() % 2 == 0 ? std::string() : std::string(random() % 256, 'x'));
        }
        std::vector<std::uint8_t> row;
        try {
            row = EncodeRow(kJet3Geometry, table, Encoded(kJet3Geometry, table, values));
        } catch (const RuntimeError& error) {
            ASSERT_EQ(error.number, 3047);
            continue;
        }
        longest = std::max(longest, row.size());
        const RowView view(kJet3Geometry, table, ByteView(row));
        for (std::size_t i = 0; i < values.size(); ++i) {
            ASSERT_EQ(view.Decode(table.columns[i]), values[i]) << row.size();
        }
    }
    EXPECT_GT(longest, 1792U);  // seven jumps
}

TEST(RowCodec, JumpTablesCountTheLengthTheyAddThemselves) {
    const TableDefinition table =
        TableOf({ColumnOf("A", ColumnType::Text, false, 255), ColumnOf("B", ColumnType::Text, false, 255)});
    const auto rowOf = [&table](std::size_t a, std::size_t b) {
        return EncodeRow(kJet3Geometry, table,
                         Encoded(kJet3Geometry, table, {std::string(a, 'a'), std::string(b, 'b')}));
    };
    // 1 + text + 3 offsets + count + mask: 256 bytes are the most without a jump, then there are 258.
    EXPECT_EQ(rowOf(100, 150).size(), 256U);
    EXPECT_EQ(rowOf(100, 151).size(), 258U);
    // The text ends below 256 here, so the jump is the one for "none".
    const auto dummy = rowOf(100, 151);
    EXPECT_EQ(ToHex(std::span(dummy).subspan(dummy.size() - 6)), "FC 65 01 FF 02 03");
    // The end of the data (element 2) is the first to reach 256, then column B (element 1).
    EXPECT_EQ(rowOf(100, 200).at(rowOf(100, 200).size() - 3), 2);
    EXPECT_EQ(rowOf(255, 10).at(rowOf(255, 10).size() - 3), 1);
}

TEST(RowCodec, TheMostVariableColumnsThereCanBe) {
    for (const JetVersion version : kVersions) {
        const Geometry& geometry = GeometryOf(version);
        std::vector<ColumnDefinition> columns;
        columns.reserve(255);
        for (int i = 0; i < 255; ++i) {
            columns.push_back(ColumnOf("T" + std::to_string(i), ColumnType::Text, false, 255));
        }
        const TableDefinition table = TableOf(columns);
        for (const std::size_t length : {0U, 100U, 120U}) {
            std::vector<Value> values(255, Value(std::string()));
            values[0] = std::string(length / 2, 'a');
            values[254] = std::string(length / 2, 'z');
            const auto row = EncodeRow(geometry, table, Encoded(geometry, table, values));
            const RowView view(geometry, table, ByteView(row));
            for (std::size_t i = 0; i < values.size(); ++i) {
                ASSERT_EQ(view.Decode(table.columns[i]), values[i]) << i << " of " << row.size();
            }
        }
    }
}

TEST(RowCodec, ARowFitsOnAPageOrIsRefused) {
    for (const JetVersion version : kVersions) {
        const Geometry& geometry = GeometryOf(version);
        const TableDefinition table = TableOf({ColumnOf("A", ColumnType::Ole, false)});
        std::size_t length = geometry.MaxRowBytes() - 30;
        std::vector<std::uint8_t> row;
        EXPECT_EQ(ErrorOf([&] {
                      for (;; ++length) {
                          const StoredColumn value = std::vector<std::uint8_t>(length);
                          row = EncodeRow(geometry, table, std::span(&value, 1));
                      }
                  }),
                  3047);
        EXPECT_EQ(row.size(), geometry.MaxRowBytes());
    }
}

TEST(RowCodec, DamagedRowsNeverReadBeyondTheirBytes) {
    std::mt19937 random(4);
    for (const JetVersion version : kVersions) {
        const Geometry& geometry = GeometryOf(version);
        const TableDefinition table = test::EveryTypeTable(version);
        std::vector<Value> values;
        for (const ColumnDefinition& column : table.columns) {
            values.push_back(test::RandomValue(version, column, random));
        }
        const auto good = EncodeRow(geometry, table, Encoded(geometry, table, values));
        int thrown = 0;
        for (int round = 0; round < 20000; ++round) {
            auto row = good;
            if (round % 2 == 0) row.resize(random() % (row.size() + 1));
            for (int flips = 0; flips < 3 && !row.empty(); ++flips) {
                row[random() % row.size()] = static_cast<std::uint8_t>(random());
            }
            try {
                const RowView view(geometry, table, ByteView(row));
                for (const ColumnDefinition& column : table.columns) {
                    static_cast<void>(view.Decode(column));
                }
            } catch (const OutOfBounds&) {
                ++thrown;
            }
        }
        EXPECT_GT(thrown, 1000);
    }
}

TEST(EncodeValue, RefusesWhatDoesNotFit) {
    const auto encode = [](const ColumnDefinition& column, const Value& value) {
        return ErrorOf([&] { EncodeValue(kJet4Geometry, column, value); });
    };
    const ColumnDefinition text = ColumnOf("T", ColumnType::Text, false, 6);
    EXPECT_EQ(encode(text, std::string("abc")), 0);
    EXPECT_EQ(encode(text, std::string("äöü")), 0);
    EXPECT_EQ(encode(text, std::string("abcd")), 3163);
    EXPECT_EQ(encode(text, 1), 3421);
    EXPECT_EQ(encode(text, Null{}), 3421);
    EXPECT_EQ(encode(ColumnOf("B", ColumnType::Binary, false, 2), Binary(3)), 3163);
    EXPECT_EQ(encode(ColumnOf("L", ColumnType::Long, true, 4), std::int16_t{1}), 3421);
    EXPECT_EQ(encode(ColumnOf("O", ColumnType::Ole, false), Binary(100000)), 0);
    ColumnDefinition numeric = ColumnOf("N", ColumnType::Numeric, true, 17);
    numeric.precision = 4;
    numeric.scale = 2;
    EXPECT_EQ(encode(numeric, *NumericFromText("99.99")), 0);
    EXPECT_EQ(encode(numeric, *NumericFromText("99.995")), 3349);
    EXPECT_EQ(encode(numeric, *NumericFromText("100")), 3349);
}

TEST(EncodeValue, CompressesMemosUpTo1024Characters) {
    ColumnDefinition memo = ColumnOf("M", ColumnType::Memo, false);
    memo.extendedFlags = ColumnDefinition::kCompressedExtendedFlag;
    EXPECT_EQ(EncodeValue(kJet4Geometry, memo, std::string(1024, 'a')).size(), 1026U);
    EXPECT_EQ(EncodeValue(kJet4Geometry, memo, std::string(1025, 'a')).size(), 2050U);
    memo.extendedFlags = 0;
    EXPECT_EQ(EncodeValue(kJet4Geometry, memo, std::string(1024, 'a')).size(), 2048U);
}

TEST(EncodeValue, StoresNumericsAsFourWordsFromTheMostSignificantDown) {
    ColumnDefinition numeric = ColumnOf("N", ColumnType::Numeric, true, 17);
    numeric.precision = 28;
    numeric.scale = 0;
    EXPECT_EQ(ToHex(EncodeValue(kJet4Geometry, numeric, *NumericFromText("-12345"))),
              "80 00 00 00 00 00 00 00 00 00 00 00 00 39 30 00 00");
}

TEST(EncodeValue, PadsFixedTextsAndBinaries) {
    EXPECT_EQ(ToHex(EncodeValue(kJet3Geometry, ColumnOf("T", ColumnType::Text, true, 4), std::string("ab"))),
              "61 62 20 20");
    EXPECT_EQ(ToHex(EncodeValue(kJet4Geometry, ColumnOf("T", ColumnType::Text, true, 6), std::string("ab"))),
              "61 00 62 00 20 00");
    EXPECT_EQ(ToHex(EncodeValue(kJet4Geometry, ColumnOf("B", ColumnType::Binary, true, 3), Binary{1})),
              "01 00 00");
}

}  // namespace
}  // namespace marrowkit::jet
