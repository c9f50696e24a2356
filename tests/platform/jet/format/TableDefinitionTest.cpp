#include <random>

#include <gtest/gtest.h>

#include "platform/jet/format/Hex.h"
#include "platform/jet/format/SampleTable.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::jet {
namespace {

using test::ColumnOf;
using test::ToHex;

constexpr JetVersion kVersions[] = {JetVersion::Jet3, JetVersion::Jet4};

/// A definition with every feature that one can have.
TableDefinition SampleDefinition(JetVersion version) {
    TableDefinition table = test::EveryTypeTable(version);
    table.page = 77;
    table.rowCount = 12345;
    table.lastAutoNumber = 12399;
    table.ownedMap = {6, 3};
    table.freeMap = {6, 4};
    for (const ColumnType type : {ColumnType::Memo, ColumnType::Ole}) {
        ColumnDefinition column = ColumnOf("Größe " + std::to_string(static_cast<int>(type)), type, false);
        column.number = table.maxColumns++;
        column.variableIndex = table.variableColumns++;
        column.ownedMap = {9, static_cast<std::uint8_t>(type)};
        column.freeMap = {10, 1};
        table.columns.push_back(column);
    }
    table.longValueOrder = {static_cast<std::uint16_t>(table.maxColumns - 1),
                            static_cast<std::uint16_t>(table.maxColumns - 2)};
    RealIndex primary;
    primary.columns = {{4, true}};
    primary.flags = RealIndex::kUniqueFlag | RealIndex::kRequiredFlag;
    primary.rootPage = 20;
    primary.pageMap = {6, 5};
    primary.entriesStatistic = 1;
    primary.distinctStatistic = 2;
    RealIndex second;
    second.columns = {{2, false}, {3, true}, {4, true}};
    second.flags = RealIndex::kIgnoreNullsFlag;
    second.rootPage = 21;
    table.realIndexes = {primary, second};
    LogicalIndex key;
    key.name = "PrimaryKey";
    key.kind = LogicalIndex::Kind::PrimaryKey;
    LogicalIndex relation;
    relation.name = ".rB";
    relation.number = 1;
    relation.kind = LogicalIndex::Kind::Relationship;
    relation.side = LogicalIndex::Side::Primary;
    relation.partnerNumber = 4;
    relation.partnerTable = 99;
    relation.cascadeUpdates = 1;
    relation.cascadeDeletes = 0;
    LogicalIndex other;
    other.name = "zwei";
    other.number = 5;
    other.realIndex = 1;
    table.logicalIndexes = {relation, key, other};
    return table;
}

TEST(TableDefinition, ComesBackWhole) {
    for (const JetVersion version : kVersions) {
        const Geometry& geometry = GeometryOf(version);
        const TableDefinition table = SampleDefinition(version);
        const auto stored = SerializeTableDefinition(geometry, table);
        EXPECT_EQ(ByteView(stored).U32(8), stored.size());
        const TableDefinition back = ParseTableDefinition(geometry, 77, ByteView(stored));
        EXPECT_EQ(ToHex(SerializeTableDefinition(geometry, back)), ToHex(stored));
        EXPECT_EQ(back.page, 77U);
        EXPECT_EQ(back.rowCount, 12345U);
        EXPECT_EQ(back.lastAutoNumber, 12399U);
        EXPECT_EQ(back.maxColumns, table.maxColumns);
        EXPECT_EQ(back.variableColumns, table.variableColumns);
        EXPECT_EQ(back.ownedMap, table.ownedMap);
        EXPECT_EQ(back.freeMap, table.freeMap);
        EXPECT_EQ(back.longValueOrder, table.longValueOrder);
        EXPECT_EQ(back.FixedAreaBytes(), table.FixedAreaBytes());
        ASSERT_EQ(back.columns.size(), table.columns.size());
        for (std::size_t i = 0; i < table.columns.size(); ++i) {
            EXPECT_EQ(back.columns[i].name, table.columns[i].name);
            EXPECT_EQ(back.columns[i].type, table.columns[i].type);
            EXPECT_EQ(back.columns[i].ownedMap, table.columns[i].ownedMap);
            EXPECT_EQ(back.columns[i].freeMap, table.columns[i].freeMap);
            EXPECT_EQ(back.columns[i].precision, table.columns[i].precision);
            EXPECT_EQ(back.columns[i].scale, table.columns[i].scale);
        }
        ASSERT_EQ(back.realIndexes.size(), 2U);
        EXPECT_EQ(back.realIndexes[1].columns, table.realIndexes[1].columns);
        EXPECT_TRUE(back.realIndexes[0].IsRequired());
        EXPECT_TRUE(back.realIndexes[1].IgnoresNulls());
        ASSERT_EQ(back.logicalIndexes.size(), 3U);
        EXPECT_EQ(back.logicalIndexes[0].name, ".rB");
        EXPECT_EQ(back.logicalIndexes[0].partnerTable, 99U);
        EXPECT_EQ(back.logicalIndexes[0].side, LogicalIndex::Side::Primary);
        EXPECT_EQ(back.logicalIndexes[1].cascadeDeletes, LogicalIndex::kNoCascade);
        EXPECT_EQ(back.logicalIndexes[2].realIndex, 1U);
    }
}

TEST(TableDefinition, CountersStandWhereTheOffsetsSay) {
    for (const JetVersion version : kVersions) {
        const auto stored = SerializeTableDefinition(GeometryOf(version), SampleDefinition(version));
        const ByteView view(stored);
        const DefinitionOffsets offsets = DefinitionOffsetsOf(version);
        EXPECT_EQ(view.U32(offsets.rowCount), 12345U);
        EXPECT_EQ(view.U32(offsets.lastAutoNumber), 12399U);
        EXPECT_EQ(RowId::FromStored(view.U32(offsets.ownedMap)), (RowId{6, 3}));
        EXPECT_EQ(RowId::FromStored(view.U32(offsets.freeMap)), (RowId{6, 4}));
        EXPECT_EQ(view.U32(offsets.statistics), 1U);
        EXPECT_EQ(view.U32(offsets.statistics + 4), 2U);
        EXPECT_EQ(view.U32(offsets.statistics + offsets.statisticsBytes), 0U);
    }
}

TEST(TableDefinition, HasTheLengthOfAGenuineOne) {
    // MSysACEs: 223 bytes in Jet 3, 335 in Jet 4.
    TableDefinition table = test::TableOf(
        {ColumnOf("ObjectId", ColumnType::Long, true, 4), ColumnOf("SID", ColumnType::Binary, false, 510),
         ColumnOf("ACM", ColumnType::Long, true, 4), ColumnOf("FInheritable", ColumnType::Boolean, true, 1)});
    table.realIndexes.resize(1);
    table.logicalIndexes.resize(1);
    table.logicalIndexes[0].name = "ObjectId";
    EXPECT_EQ(SerializeTableDefinition(kJet3Geometry, table).size(), 223U);
    EXPECT_EQ(SerializeTableDefinition(kJet4Geometry, table).size(), 335U);
}

TEST(TableDefinition, EveryCutIsNoticed) {
    for (const JetVersion version : kVersions) {
        const auto stored = SerializeTableDefinition(GeometryOf(version), SampleDefinition(version));
        for (std::size_t cut = 0; cut < stored.size(); ++cut) {
            auto shorter = std::vector<std::uint8_t>(stored.begin(), stored.begin() + static_cast<long>(cut));
            EXPECT_THROW(ParseTableDefinition(GeometryOf(version), 1, ByteView(shorter)), OutOfBounds);
            // The same with a length field that fits.
            if (cut < 12) continue;
            MutableByteView(shorter).PutU32(8, static_cast<std::uint32_t>(cut));
            EXPECT_THROW(ParseTableDefinition(GeometryOf(version), 1, ByteView(shorter)), OutOfBounds);
        }
    }
}

struct DamageCase {
    const char* what;
    void (*damage)(TableDefinition&);
};

constexpr DamageCase kDamages[] = {
    {"a column number twice", [](TableDefinition& t) { t.columns[1].number = t.columns[0].number; }},
    {"a column number too high", [](TableDefinition& t) { t.columns[1].number = t.maxColumns; }},
    {"a variable slot twice", [](TableDefinition& t) { t.columns[5].variableIndex = 0; }},
    {"a variable slot too high", [](TableDefinition& t) { t.columns[5].variableIndex = 300; }},
    {"too many columns", [](TableDefinition& t) { t.maxColumns = 256; }},
    {"too many slots", [](TableDefinition& t) { t.variableColumns = 256; }},
    {"fewer columns than descriptors", [](TableDefinition& t) { t.maxColumns = 3; }},
    {"an index on a missing column",
     [](TableDefinition& t) { t.realIndexes[0].columns[0].columnNumber = 200; }},
    {"a name for a missing index", [](TableDefinition& t) { t.logicalIndexes[0].realIndex = 2; }},
};

TEST(TableDefinition, RefusesWhatCannotBe) {
    for (const JetVersion version : kVersions) {
        for (const auto& [what, damage] : kDamages) {
            TableDefinition table = SampleDefinition(version);
            damage(table);
            const auto stored = SerializeTableDefinition(GeometryOf(version), table);
            EXPECT_THROW(ParseTableDefinition(GeometryOf(version), 1, ByteView(stored)), BadStructure)
                << what;
        }
    }
}

TEST(TableDefinition, HugeCountsAllocateNothing) {
    for (const JetVersion version : kVersions) {
        const auto good = SerializeTableDefinition(GeometryOf(version), SampleDefinition(version));
        const std::size_t counts = version == JetVersion::Jet4 ? 47 : 27;
        for (const std::size_t at : {counts, counts + 4}) {
            auto stored = good;
            MutableByteView(stored).PutU32(at, 0xFFFFFFFF);
            EXPECT_THROW(ParseTableDefinition(GeometryOf(version), 1, ByteView(stored)), OutOfBounds);
        }
    }
}

TEST(TableDefinition, DamageNeverDoesMoreThanThrow) {
    std::mt19937 random(9);
    for (const JetVersion version : kVersions) {
        const auto good = SerializeTableDefinition(GeometryOf(version), SampleDefinition(version));
        int parsed = 0;
        for (int round = 0; round < 20000; ++round) {
            auto stored = good;
            for (int flips = 0; flips < 2; ++flips) {
                stored[random() % stored.size()] = static_cast<std::uint8_t>(random());
            }
            try {
                const TableDefinition table = ParseTableDefinition(GeometryOf(version), 1, ByteView(stored));
                EXPECT_LE(table.columns.size(), 255U);
                ++parsed;
            } catch (const OutOfBounds&) {
            }
        }
        EXPECT_GT(parsed, 100);
    }
}

}  // namespace
}  // namespace marrowkit::jet
