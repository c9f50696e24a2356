// Holds the codecs against databases that Access wrote: whatever they hold has to come out of our encoders
// byte for byte as it stands there.

#include <algorithm>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "platform/jet/format/DatabaseHeader.h"
#include "platform/jet/format/Hex.h"
#include "platform/jet/format/IndexKey.h"
#include "platform/jet/format/Properties.h"
#include "platform/jet/format/RowCodec.h"
#include "platform/jet/format/TextCodec.h"
#include "platform/jet/format/ValueText.h"
#include "support/RawJetFile.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace marrowkit::jet {
namespace {

using test::RawJetFile;
using test::ToHex;

class GenuineFiles : public ::testing::Test {
protected:
    void SetUp() override {
        MARROWKIT_NEED_TEST_DATA();
        files_ = test::SampleFiles("mdb", ".mdb");
        ASSERT_FALSE(files_.empty());
        // Not by Access, but with the frontend's schema.
        const auto templates = test::SampleFiles("template", ".mdb");
        files_.insert(files_.end(), templates.begin(), templates.end());
    }

    /// Calls `use` with each table of each file.
    template <typename Use>
    void ForEachTable(Use use) {
        for (const auto& path : files_) {
            const RawJetFile file(path);
            for (const RawJetFile::Object& object : file.Objects()) {
                if (!object.IsTable()) continue;
                SCOPED_TRACE(path.filename().string() + " " + object.name);
                use(file, file.Definition(object.DefinitionPage()));
            }
        }
    }

    std::vector<std::filesystem::path> files_;
};

TEST_F(GenuineFiles, HeadersSerializeToTheSameBytes) {
    for (const auto& path : files_) {
        const std::string content = test::ReadFile(path);
        const std::vector<std::uint8_t> page0(content.begin(), content.begin() + 0x98);
        const DatabaseHeader header = ParseDatabaseHeader(ByteView(page0), "");
        std::vector<std::uint8_t> ours = SerializeDatabaseHeader(header);
        ours.resize(page0.size());
        EXPECT_EQ(ToHex(ours), ToHex(page0)) << path;
    }
}

TEST_F(GenuineFiles, OwnersAreKnownAccounts) {
    for (const auto& path : files_) {
        const RawJetFile file(path);
        for (const RawJetFile::Object& object : file.Objects()) {
            if (object.name != "Tables" || object.type != 3) continue;
            EXPECT_EQ(ToHex(ScrambleSid(file.Header(), object.owner)), ToHex(sid::kEngine)) << path;
        }
    }
}

/// Bytes of a stored definition that mean nothing and hold whatever was in memory: the page framing, twelve
/// bytes in Jet 4, the order byte of index columns that are not used.
void ClearGarbage(JetVersion version, const TableDefinition& table, std::vector<std::uint8_t>& stored) {
    const bool jet4 = version == JetVersion::Jet4;
    std::fill_n(stored.begin(), 8, std::uint8_t{0});
    if (jet4) std::fill_n(stored.begin() + 28, 12, std::uint8_t{0});
    std::size_t at = (jet4 ? 63 : 43) + (jet4 ? 12 : 8) * table.realIndexes.size() +
                     (jet4 ? 25 : 18) * table.columns.size();
    for (const ColumnDefinition& column : table.columns) {
        at += (jet4 ? 2 : 1) + EncodeText(version, column.name, false).size();
    }
    for (const RealIndex& index : table.realIndexes) {
        for (std::size_t unused = index.columns.size(); unused < 10; ++unused) {
            stored.at(at + (jet4 ? 4 : 0) + 3 * unused + 2) = 0;
        }
        at += jet4 ? 52 : 39;
    }
}

TEST_F(GenuineFiles, DefinitionsSerializeToTheSameBytes) {
    std::size_t count = 0;
    ForEachTable([&](const RawJetFile& file, const TableDefinition& table) {
        std::vector<std::uint8_t> stored = file.LogicalDefinition(table.page);
        ClearGarbage(file.Version(), table, stored);
        const std::vector<std::uint8_t> ours = SerializeTableDefinition(file.Geometry(), table);
        ASSERT_EQ(ours.size(), stored.size());
        for (std::size_t at = 0; at < ours.size(); ++at) {
            ASSERT_EQ(ours[at], stored[at]) << "at " << at;
        }
        ++count;
    });
    EXPECT_GT(count, 240U);
}

/// What a row holds in each column, as EncodeRow takes it.
std::vector<StoredColumn> StoredColumnsOf(const TableDefinition& table, const RowView& row) {
    std::vector<StoredColumn> columns;
    for (const ColumnDefinition& column : table.columns) {
        StoredColumn& value = columns.emplace_back();
        if (column.type == ColumnType::Boolean) {
            value = {static_cast<std::uint8_t>(std::get<bool>(row.Decode(column)) ? 1 : 0)};
        } else if (!row.IsNull(column)) {
            const ByteView part = row.Bytes(column);
            value.emplace(part.All().begin(), part.All().end());
        }
    }
    return columns;
}

/// Null fixed columns and the places of dropped ones keep old bytes in genuine rows.
void ClearUnusedFixedBytes(const RawJetFile& file, const TableDefinition& table, const RowView& row,
                           std::vector<std::uint8_t>& bytes) {
    const std::size_t start = file.Version() == JetVersion::Jet4 ? 2 : 1;
    std::vector<bool> used(table.FixedAreaBytes());
    for (const ColumnDefinition& column : table.columns) {
        if (!column.IsFixed() || row.IsNull(column)) continue;
        std::fill_n(used.begin() + column.fixedOffset, FixedWidth(column), true);
    }
    for (std::size_t at = 0; at < used.size(); ++at) {
        if (!used[at]) bytes.at(start + at) = 0;
    }
}

TEST_F(GenuineFiles, RowsEncodeToTheSameBytes) {
    std::size_t equal = 0;
    std::size_t olderThanTheDefinition = 0;
    ForEachTable([&](const RawJetFile& file, const TableDefinition& table) {
        for (const RawJetFile::StoredRow& stored : file.Rows(table)) {
            const RowView row = file.View(table, stored);
            const std::vector<std::uint8_t> ours =
                EncodeRow(file.Geometry(), table, StoredColumnsOf(table, row));
            std::vector<std::uint8_t> bytes(stored.bytes.All().begin(), stored.bytes.All().end());
            ClearUnusedFixedBytes(file, table, row, bytes);
            if (ours == bytes) {
                ++equal;
                continue;
            }
            // Rows from before a column was added or dropped, or that shrank in place, look different; what
            // they hold does not.
            ++olderThanTheDefinition;
            const RowView back(file.Geometry(), table, ByteView(ours));
            EXPECT_EQ(StoredColumnsOf(table, back), StoredColumnsOf(table, row)) << ToHex(bytes);
        }
    });
    EXPECT_GT(equal, 5800U);
    EXPECT_LT(olderThanTheDefinition, 20U);
}

TEST_F(GenuineFiles, ValuesEncodeToTheSameBytes) {
    std::size_t values = 0;
    std::size_t textsStoredOtherwise = 0;
    ForEachTable([&](const RawJetFile& file, const TableDefinition& table) {
        for (const RawJetFile::StoredRow& stored : file.Rows(table)) {
            const RowView row = file.View(table, stored);
            for (const ColumnDefinition& column : table.columns) {
                if (column.IsLongValue() || column.type == ColumnType::Boolean || row.IsNull(column))
                    continue;
                const Value value = row.Decode(column);
                const std::vector<std::uint8_t> ours = EncodeValue(file.Geometry(), column, value);
                EXPECT_EQ(DecodeValue(file.Geometry(), column, ByteView(ours)), value);
                ++values;
                if (std::ranges::equal(ours, row.Bytes(column).All())) continue;
                // Access switches modes within a compressed text, and leaves some uncompressed.
                EXPECT_TRUE(column.IsText()) << column.name;
                ++textsStoredOtherwise;
            }
        }
    });
    EXPECT_GT(values, 24000U);
    EXPECT_LT(textsStoredOtherwise * 100, values);
}

TEST_F(GenuineFiles, IndexKeysComeOutOfTheRows) {
    std::size_t entries = 0;
    ForEachTable([&](const RawJetFile& file, const TableDefinition& table) {
        std::map<RowId, ByteView> rows;
        for (const RawJetFile::StoredRow& row : file.Rows(table)) rows[row.id] = row.bytes;
        for (const RealIndex& index : table.realIndexes) {
            EXPECT_EQ(file.IndexPages(index), file.MapMembers(index.pageMap));
            std::vector<const ColumnDefinition*> columns;
            for (const IndexColumn& part : index.columns) {
                columns.push_back(table.ColumnByNumber(part.columnNumber));
                ASSERT_TRUE(CanBuildKey(*columns.back()));
            }
            std::set<RowId> seen;
            for (const RawJetFile::IndexEntry& entry : file.IndexEntries(table.page, index)) {
                ASSERT_TRUE(rows.contains(entry.row));
                EXPECT_TRUE(seen.insert(entry.row).second);
                const RowView row = file.View(table, {entry.row, rows[entry.row]});
                std::vector<Value> values;
                values.reserve(columns.size());
                for (const ColumnDefinition* column : columns) values.push_back(file.ValueOf(row, *column));
                EXPECT_EQ(ToHex(BuildIndexKey(file.Version(), columns, index.columns, values)),
                          ToHex(entry.key))
                    << ValueText(values.front());
                ++entries;
            }
            if (!index.IgnoresNulls()) {
                EXPECT_EQ(seen.size(), rows.size());
            }
        }
    });
    EXPECT_GT(entries, 10500U);
}

TEST_F(GenuineFiles, PropertiesParseToTheEndAndSurviveARoundTrip) {
    std::size_t blobs = 0;
    for (const auto& path : files_) {
        const RawJetFile file(path);
        for (const RawJetFile::Object& object : file.Objects()) {
            if (object.properties.empty()) continue;
            SCOPED_TRACE(path.filename().string() + " " + object.name);
            const PropertyBlob blob = ParseProperties(file.Version(), ByteView(object.properties));
            const auto ours = SerializeProperties(file.Version(), blob);
            EXPECT_EQ(ParseProperties(file.Version(), ByteView(ours)).groups, blob.groups);
            ++blobs;
        }
    }
    EXPECT_GT(blobs, 200U);
}

}  // namespace
}  // namespace marrowkit::jet
