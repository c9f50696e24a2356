// Tables, columns and indexes: made, changed and dropped, with rows in them.

#include <algorithm>

#include "EngineTestSupport.h"

namespace marrowkit::jet::test {
namespace {

class DesignTest : public NewDatabaseTest {
protected:
    /// A table with some rows, `count` of them.
    void MakeRows(int count) {
        database_->CreateTable(
            {"T",
             {AutoNumberColumn("Id"), LongColumn("N"), TextColumn("S"), ColumnOf("M", ColumnType::Memo)},
             {PrimaryKey({"Id"})},
             "",
             ""});
        Unit unit(database_->GetPager());
        for (int i = 0; i < count; ++i) {
            Insert(T("T"), {{"N", i % 7}, {"S", "s" + std::to_string(i)}, {"M", std::string(200, 'm')}});
        }
        unit.Commit();
    }
    std::size_t PageCount() { return database_->GetPager().PageCount(); }
};
INSTANTIATE_TEST_SUITE_P(BothFormats, DesignTest, ::testing::ValuesIn(kBothVersions), VersionName);

TEST_P(DesignTest, TablesAreListedAndFound) {
    EXPECT_TRUE(database_->TableNames().empty());
    database_->CreateTable({"Second", {LongColumn("A")}, {}, "", ""});
    database_->CreateTable({"First", {LongColumn("A")}, {}, "", ""});
    Reopen();
    EXPECT_EQ(database_->TableNames(), (std::vector<std::string>{"Second", "First"}));
    EXPECT_EQ(database_->TableNames(true).size(), 6U);
    EXPECT_NE(database_->FindTable("SECOND"), nullptr);
    EXPECT_EQ(database_->FindTable("Third"), nullptr);
    EXPECT_EQ(ErrorOf([&] { database_->OpenTable("Third"); }), 3011);
    EXPECT_EQ(database_->FindTable("first").get(), database_->FindTable("First").get());
}

TEST_P(DesignTest, EveryColumnPropertyComesBack) {
    TableDesign design{"T", {}, {}, "[N] > 0", "positive"};
    Column number = ColumnOf("N", ColumnType::Integer);
    number.required = true;
    number.defaultValue = "1";
    number.validationRule = "<100";
    number.validationText = "too much";
    Column text = TextColumn("Name", 33);
    text.allowZeroLength = false;
    text.compressed = false;
    Column open = TextColumn("Open", 255);
    Column binary = ColumnOf("B", ColumnType::Binary);
    binary.size = 20;
    design.columns = {number, text, open, binary, ColumnOf("M", ColumnType::Memo)};
    Index index = IndexOn("Mixed", {"N", "Name"});
    index.parts[1].ascending = false;
    index.ignoreNulls = true;
    design.indexes = {index};
    database_->CreateTable(design);
    Reopen();
    const auto& columns = T("T").Columns();
    ASSERT_EQ(columns.size(), 5U);
    EXPECT_TRUE(columns[0].required);
    EXPECT_EQ(columns[0].type, ColumnType::Integer);
    EXPECT_EQ(columns[0].defaultValue, "1");
    EXPECT_EQ(columns[0].validationRule, "<100");
    EXPECT_EQ(columns[0].validationText, "too much");
    EXPECT_EQ(columns[1].size, 33);
    EXPECT_FALSE(columns[1].allowZeroLength);
    EXPECT_TRUE(columns[2].allowZeroLength);
    EXPECT_EQ(columns[3].size, 20);
    EXPECT_TRUE(columns[4].allowZeroLength);
    if (GetParam() == JetVersion::Jet4) {
        EXPECT_FALSE(columns[1].compressed);
        EXPECT_TRUE(columns[2].compressed);
    }
    ASSERT_EQ(T("T").Indexes().size(), 1U);
    EXPECT_EQ(T("T").Indexes()[0].parts, index.parts);
    EXPECT_TRUE(T("T").Indexes()[0].ignoreNulls);
    EXPECT_EQ(ErrorOf([&] { Insert(T("T"), {{"N", 0}}); }), 3316);
}

TEST_P(DesignTest, DesignsThatCannotBeAreRefused) {
    const auto create = [&](TableDesign design) { return ErrorOf([&] { database_->CreateTable(design); }); };
    const TableDesign good{"T", {LongColumn("A"), TextColumn("B")}, {}, "", ""};
    const auto with = [&](auto change) {
        TableDesign design = good;
        change(design);
        return create(design);
    };
    EXPECT_EQ(with([](TableDesign& d) { d.columns.clear(); }), 3264);
    EXPECT_EQ(with([](TableDesign& d) { d.columns.push_back(LongColumn("a")); }), 3191);
    EXPECT_EQ(with([](TableDesign& d) { d.columns.resize(256, LongColumn("x")); }), 3191);
    EXPECT_EQ(with([](TableDesign& d) {
                  d.columns.clear();
                  for (int i = 0; i < 256; ++i) d.columns.push_back(LongColumn("C" + std::to_string(i)));
              }),
              3190);
    EXPECT_EQ(with([](TableDesign& d) { d.columns[1].size = 256; }), 3259);
    EXPECT_EQ(with([](TableDesign& d) { d.columns[1].autoNumber = true; }), 3259);
    EXPECT_EQ(with([](TableDesign& d) { d.columns = {AutoNumberColumn("A"), AutoNumberColumn("B")}; }), 3259);
    for (const char* name : {"", " T", "a.b", "a!b", "a[b", "a]b", "a`b", "a\tb"}) {
        EXPECT_EQ(with([&](TableDesign& d) { d.name = name; }), 3125) << name;
        EXPECT_EQ(with([&](TableDesign& d) { d.columns[0].name = name; }), 3125) << name;
    }
    EXPECT_EQ(with([](TableDesign& d) { d.name = std::string(65, 'x'); }), 3125);
    EXPECT_EQ(with([](TableDesign& d) { d.indexes = {IndexOn("I", {"C"})}; }), 3409);
    EXPECT_EQ(with([](TableDesign& d) { d.indexes = {IndexOn("I", {})}; }), 3285);
    EXPECT_EQ(with([](TableDesign& d) { d.indexes = {IndexOn("I", {"A"}), IndexOn("i", {"B"})}; }), 3375);
    EXPECT_EQ(with([](TableDesign& d) {
                  Index second = PrimaryKey({"B"});
                  second.name = "Other";
                  d.indexes = {PrimaryKey({"A"}), second};
              }),
              3283);
    EXPECT_EQ(database_->TableNames().size(), 0U);
    EXPECT_EQ(create(good), 0);
    EXPECT_EQ(with([](TableDesign& d) { d.name = "t"; }), 3010);
}

TEST_P(DesignTest, DefinitionsGrowOverSeveralPages) {
    TableDesign design{"Wide", {}, {}, "", ""};
    for (int i = 0; i < 250; ++i) {
        design.columns.push_back(TextColumn("A rather long name of a column " + std::to_string(i), 5));
    }
    database_->CreateTable(design);
    for (int i = 0; i < 20; ++i) {
        database_->CreateIndex("Wide", IndexOn("Index number " + std::to_string(i),
                                               {"A rather long name of a column " + std::to_string(i)}));
    }
    Insert(T("Wide"), {{"A rather long name of a column 249", std::string("last")}});
    Reopen();
    EXPECT_EQ(T("Wide").Columns().size(), 250U);
    EXPECT_EQ(T("Wide").Indexes().size(), 20U);
    EXPECT_EQ(RowsOf(T("Wide")).front().back(), Value(std::string("last")));
    for (int i = 0; i < 240; ++i) {
        if (i < 20) database_->DropIndex("Wide", "Index number " + std::to_string(i));
        database_->DropColumn("Wide", "A rather long name of a column " + std::to_string(i));
    }
    Reopen();
    EXPECT_EQ(T("Wide").Columns().size(), 10U);
    EXPECT_EQ(RowsOf(T("Wide")).front().back(), Value(std::string("last")));
}

TEST_P(DesignTest, AddedColumnsReadAsNullUntilTheyAreWritten) {
    MakeRows(50);
    database_->AddColumn("T", LongColumn("New"));
    database_->AddColumn("T", ColumnOf("Flag", ColumnType::Boolean));
    database_->AddColumn("T", TextColumn("Late"));
    database_->AddColumn("T", ColumnOf("Blob", ColumnType::Ole));
    EXPECT_EQ(ErrorOf([&] { database_->AddColumn("T", LongColumn("new")); }), 3380);
    EXPECT_EQ(ErrorOf([&] { database_->AddColumn("X", LongColumn("new")); }), 3376);
    Reopen();
    EXPECT_EQ(ColumnValues(T("T"), "New"), std::vector<Value>(50));
    EXPECT_EQ(ColumnValues(T("T"), "Flag"), std::vector<Value>(50, Value(false)));
    const auto scan = T("T").OpenScan({0});
    ASSERT_TRUE(scan->Next());
    const RowId first = scan->Id();
    Update(T("T"), first, {{"New", 5}, {"Flag", true}, {"Late", std::string("x")}, {"Blob", Binary(100, 1)}});
    EXPECT_EQ(ValueOf(T("T"), first, "New"), Value(5));
    EXPECT_EQ(ValueOf(T("T"), first, "S"), Value(std::string("s0")));
    EXPECT_EQ(ValueOf(T("T"), first, "M"), Value(std::string(200, 'm')));
    EXPECT_EQ(ValueOf(T("T"), first, "Blob"), Value(Binary(100, 1)));
    Insert(T("T"), {{"New", 6}});
}

TEST_P(DesignTest, AddedAutoNumberNumbersTheRows) {
    database_->CreateTable({"T", {TextColumn("S")}, {}, "", ""});
    for (int i = 0; i < 5; ++i) Insert(T("T"), {});
    database_->AddColumn("T", AutoNumberColumn("Id"));
    EXPECT_EQ(ColumnValues(T("T"), "Id"), (std::vector<Value>{1, 2, 3, 4, 5}));
    EXPECT_EQ(ValueOf(T("T"), Insert(T("T"), {}), "Id"), Value(6));
}

TEST_P(DesignTest, PropertiesOfAddedColumnsDoNotChangeOthers) {
    database_->CreateTable({"T", {TextColumn("Open")}, {}, "", ""});
    Column strict = TextColumn("Strict");
    strict.allowZeroLength = false;
    database_->AddColumn("T", strict);
    Insert(T("T"), {{"Open", std::string()}});
    EXPECT_EQ(ErrorOf([&] { Insert(T("T"), {{"Strict", std::string()}}); }), 3315);
    database_->DropColumn("T", "Strict");
    database_->AddColumn("T", TextColumn("Strict"));
    Insert(T("T"), {{"Strict", std::string()}});
}

TEST_P(DesignTest, DroppedColumnsLeaveTheOthersAlone) {
    MakeRows(300);
    database_->CreateIndex("T", IndexOn("ByN", {"N"}));
    EXPECT_EQ(ErrorOf([&] { database_->DropColumn("T", "N"); }), 3281);
    EXPECT_EQ(ErrorOf([&] { database_->DropColumn("T", "Nothing"); }), 3381);
    database_->DropIndex("T", "ByN");
    database_->DropColumn("T", "N");
    database_->DropColumn("T", "M");
    Reopen();
    EXPECT_EQ(T("T").Columns().size(), 2U);
    EXPECT_EQ(ColumnValues(T("T"), "S")[299], Value(std::string("s299")));
    database_->AddColumn("T", LongColumn("N"));
    EXPECT_TRUE(IsNull(ColumnValues(T("T"), "N")[5]));
    Insert(T("T"), {{"N", 1}});
    database_->DropColumn("T", "S");
    database_->DropColumn("T", "N");
    EXPECT_EQ(ErrorOf([&] { database_->DropColumn("T", "Id"); }), 3281);
    database_->DropIndex("T", "PrimaryKey");
    EXPECT_EQ(ErrorOf([&] { database_->DropColumn("T", "Id"); }), 3264);
}

TEST_P(DesignTest, IndexesAreBuiltFromTheRows) {
    MakeRows(1000);
    EXPECT_EQ(ErrorOf([&] { database_->CreateIndex("T", UniqueOn("U", {"N"})); }), 3022);
    EXPECT_EQ(ErrorOf([&] { database_->CreateIndex("T", PrimaryKey({"S"})); }), 3375);
    EXPECT_EQ(ErrorOf([&] { database_->DropIndex("T", "U"); }), 3372);
    database_->CreateIndex("T", UniqueOn("U", {"S", "N"}));
    Index descending = IndexOn("D", {"N"});
    descending.parts[0].ascending = false;
    database_->CreateIndex("T", descending);
    Reopen();
    const RealIndex& built = T("T").Definition().realIndexes[2];
    EXPECT_EQ(built.entriesStatistic, 1000U);
    EXPECT_EQ(built.distinctStatistic, 7U);
    const auto values = Walk(T("T"), "D", IndexRange::All(), "N");
    EXPECT_EQ(values.size(), 1000U);
    EXPECT_EQ(values.front(), Value(6));
    EXPECT_EQ(Walk(T("T"), "D", IndexRange::Equal({3}), "N").size(), 143U);
    EXPECT_EQ(ErrorOf([&] { Insert(T("T"), {{"S", std::string("S5")}, {"N", 5}}); }), 3022);
    Insert(T("T"), {});
    Index required = IndexOn("R", {"N"});
    required.required = true;
    EXPECT_EQ(ErrorOf([&] { database_->CreateIndex("T", required); }), 3058);
    EXPECT_EQ(T("T").Indexes().size(), 3U);
}

TEST_P(DesignTest, DroppedThingsGiveTheirPagesBack) {
    MakeRows(2000);
    database_->CreateIndex("T", IndexOn("S", {"S"}));
    database_->DropTable("T");
    const std::size_t pages = PageCount();
    for (int i = 0; i < 3; ++i) {
        MakeRows(2000);
        database_->CreateIndex("T", IndexOn("S", {"S"}));
        database_->DropIndex("T", "S");
        database_->DropTable("T");
    }
    EXPECT_LE(PageCount(), pages + 2);
    EXPECT_EQ(ErrorOf([&] { database_->DropTable("T"); }), 3376);
    EXPECT_EQ(ErrorOf([&] { database_->DropTable("MSysObjects"); }), 3027);
    EXPECT_EQ(T("MSysObjects").RowCount(), 8);
    EXPECT_EQ(T("MSysACEs").RowCount(), 16);
}

TEST_P(DesignTest, RenamedTablesKeepTheirRows) {
    MakeRows(3);
    database_->CreateTable({"Other", {LongColumn("A")}, {}, "", ""});
    const auto table = database_->OpenTable("T");
    EXPECT_EQ(ErrorOf([&] { database_->RenameTable("T", "other"); }), 3010);
    database_->RenameTable("T", "t");
    database_->RenameTable("t", "New Name");
    EXPECT_EQ(table->Name(), "New Name");
    EXPECT_EQ(database_->FindTable("T"), nullptr);
    EXPECT_EQ(T("New Name").RowCount(), 3);
}

TEST_P(DesignTest, RolledBackDesignIsForgotten) {
    MakeRows(3);
    std::shared_ptr<Table> inside;
    {
        Unit unit(database_->GetPager());
        database_->AddColumn("T", LongColumn("Gone"));
        database_->CreateTable({"Inside", {LongColumn("A")}, {}, "", ""});
        inside = database_->OpenTable("Inside");
        Insert(*inside, {{"A", 1}});
        EXPECT_EQ(T("T").Columns().size(), 5U);
    }
    EXPECT_EQ(T("T").Columns().size(), 4U);
    EXPECT_EQ(database_->FindTable("Inside"), nullptr);
    EXPECT_EQ(ErrorOf([&] { inside->RowCount(); }), 3011);
    // Another table on the same page is not the one that went.
    database_->CreateTable({"Inside", {LongColumn("B")}, {}, "", ""});
    EXPECT_EQ(ErrorOf([&] { inside->RowCount(); }), 3011);
}

TEST_P(DesignTest, NewTablesCarryThePermissionsOfTheirContainer) {
    database_->CreateTable({"T", {LongColumn("A")}, {}, "", ""});
    const std::int32_t id = static_cast<std::int32_t>(T("T").Definition().page);
    std::vector<std::int32_t> masks;
    const Table& aces = T("MSysACEs");
    for (const Row& row : RowsOf(aces)) {
        if (row[aces.FindColumn("ObjectId").value()] != Value(id)) continue;
        masks.push_back(std::get<std::int32_t>(row[aces.FindColumn("ACM").value()]));
        EXPECT_EQ(row[aces.FindColumn("FInheritable").value()], Value(false));
    }
    EXPECT_EQ(masks,
              (std::vector<std::int32_t>{0xF00FE, GetParam() == JetVersion::Jet4 ? 0xFFEFF : 0xFFFFF}));
}

TEST_P(DesignTest, OneFileIsOneDatabase) {
    EXPECT_EQ(Database::Open(path_).get(), database_.get());
    EXPECT_EQ(ErrorOf([&] { Database::Create(path_, GetParam()); }), 3204);
}

}  // namespace
}  // namespace marrowkit::jet::test
