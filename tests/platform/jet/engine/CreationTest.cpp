// A new database holds exactly what Jet itself puts into one.

#include <algorithm>

#include "EngineTestSupport.h"
#include "platform/jet/format/DatabaseHeader.h"

namespace marrowkit::jet::test {
namespace {

class CreationTest : public NewDatabaseTest {
protected:
    Row Pick(const Table& table, const Row& row, std::vector<const char*> columns) {
        Row picked;
        for (const char* column : columns) picked.push_back(row[table.FindColumn(column).value()]);
        return picked;
    }
    std::vector<std::uint8_t> Stored(std::span<const std::uint8_t> sid) {
        return ScrambleSid(database_->GetPager().Header(), sid);
    }
};
INSTANTIATE_TEST_SUITE_P(BothFormats, CreationTest, ::testing::ValuesIn(kBothVersions), VersionName);

TEST_P(CreationTest, DefinitionsAreAsLongAsGenuineOnes) {
    const bool jet4 = GetParam() == JetVersion::Jet4;
    const std::pair<const char*, std::uint32_t> expected[] = {
        {"MSysObjects", jet4 ? 1050U : 708U},
        {"MSysACEs", jet4 ? 335U : 223U},
        {"MSysQueries", jet4 ? 525U : 319U},
        {"MSysRelationships", jet4 ? 813U : 526U},
    };
    PageNumber page = 2;
    for (const auto& [name, length] : expected) {
        EXPECT_EQ(T(name).Definition().page, page++) << name;
        EXPECT_EQ(database_->GetPager().Read(T(name).Definition().page).Bytes().U32(8), length) << name;
        EXPECT_EQ(T(name).Definition().tableType, TableDefinition::kSystemTable);
    }
}

TEST_P(CreationTest, SizeIsThatOfTheSmallestGenuineDatabases) {
    database_->GetPager().Flush();
    // Sixteen pages in Jet 4. Jet 3 keeps its map rows on five pages, of which three would do.
    EXPECT_EQ(database_->GetPager().PageCount(), GetParam() == JetVersion::Jet4 ? 16U : 18U);
}

TEST_P(CreationTest, CatalogRows) {
    const Table& objects = T("MSysObjects");
    const std::vector<Row> rows = RowsOf(objects);
    ASSERT_EQ(rows.size(), 8U);
    const auto engine = Stored(sid::kEngine);
    const auto admin = Stored(sid::kAdmin);
    const auto row = [](int id, int parent, const char* name, int type, const Binary& owner) {
        return Row{id, parent, std::string(name), static_cast<std::int16_t>(type), owner};
    };
    const std::vector<Row> expected{
        row(0x0F000001, 0x0F000000, "Tables", 3, engine),
        row(0x0F000002, 0x0F000000, "Databases", 3, engine),
        row(0x0F000003, 0x0F000000, "Relationships", 3, engine),
        row(0x10000000, 0x0F000002, "MSysDb", 2, admin),
        row(2, 0x0F000001, "MSysObjects", 1, engine),
        row(3, 0x0F000001, "MSysACEs", 1, engine),
        row(4, 0x0F000001, "MSysQueries", 1, engine),
        row(5, 0x0F000001, "MSysRelationships", 1, engine),
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(Pick(objects, rows[i], {"Id", "ParentId", "Name", "Type", "Owner"}), expected[i]);
        EXPECT_EQ(rows[i][objects.FindColumn("Flags").value()],
                  Value(static_cast<std::int32_t>(0x80000000U)));
    }
    const auto& indexes = objects.Definition().realIndexes;
    EXPECT_EQ(indexes[0].distinctStatistic, 8U);
    EXPECT_EQ(indexes[1].distinctStatistic, 8U);
    EXPECT_EQ(T("MSysACEs").Definition().realIndexes[0].distinctStatistic, 8U);
    EXPECT_EQ(T("MSysACEs").RowCount(), 16);
    EXPECT_EQ(T("MSysQueries").RowCount(), 0);
}

TEST_P(CreationTest, ColumnsOfTheCatalog) {
    const TableDefinition& objects = T("MSysObjects").Definition();
    EXPECT_EQ(objects.columns.size(), 17U);
    EXPECT_EQ(objects.variableColumns, 11U);
    const ColumnDefinition* flags = objects.ColumnByNumber(7);
    ASSERT_NE(flags, nullptr);
    EXPECT_EQ(flags->name, "Flags");
    EXPECT_EQ(flags->fixedOffset, 26U);
    EXPECT_EQ(flags->flags, 0x13);
    const ColumnDefinition* owner = objects.ColumnByNumber(6);
    ASSERT_NE(owner, nullptr);
    EXPECT_EQ(owner->flags, 0x32);
    EXPECT_EQ(owner->variableIndex, 1U);
    const bool byName = std::ranges::is_sorted(objects.columns, {}, &ColumnDefinition::name);
    const bool byNumber = std::ranges::is_sorted(objects.columns, {}, &ColumnDefinition::number);
    EXPECT_TRUE(GetParam() == JetVersion::Jet4 ? byName : byNumber);
}

}  // namespace
}  // namespace marrowkit::jet::test
