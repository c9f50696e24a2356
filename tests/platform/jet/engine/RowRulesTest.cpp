// What a row must keep to be written: each rule, its error, and that a refused row leaves nothing behind.

#include "EngineTestSupport.h"

namespace marrowkit::jet::test {
namespace {

class RowRulesTest : public NewDatabaseTest {};
INSTANTIATE_TEST_SUITE_P(BothFormats, RowRulesTest, ::testing::ValuesIn(kBothVersions), VersionName);

/// Jet 3 has no characters beyond its code page, and no indexes over memos.
class RowRulesOfJet4Test : public RowRulesTest {};
INSTANTIATE_TEST_SUITE_P(OneFormat, RowRulesOfJet4Test, ::testing::Values(JetVersion::Jet4), VersionName);

Column Required(Column column) {
    column.required = true;
    return column;
}

Column NoEmptyText(Column column) {
    column.allowZeroLength = false;
    return column;
}

Column WithDefault(Column column, std::string expression) {
    column.defaultValue = std::move(expression);
    return column;
}

Column WithRule(Column column, std::string rule, std::string text = "") {
    column.validationRule = std::move(rule);
    column.validationText = std::move(text);
    return column;
}

TEST_P(RowRulesTest, ValuesComeBackAsTheyWereWritten) {
    database_->CreateTable(
        {"Things",
         {AutoNumberColumn("Id"), TextColumn("Name"), ColumnOf("Flag", ColumnType::Boolean)},
         {PrimaryKey({"Id"})},
         "",
         ""});
    Insert(T("Things"), {{"Name", std::string("Caf\xC3\xA9")}, {"Flag", true}});
    Insert(T("Things"), {});
    Reopen();
    EXPECT_EQ(RowsOf(T("Things")), (std::vector<Row>{{std::int32_t{1}, std::string("Caf\xC3\xA9"), true},
                                                     {std::int32_t{2}, Null{}, false}}));
    EXPECT_EQ(T("Things").RowCount(), 2);
}

TEST_P(RowRulesTest, RefusedRowsLeaveNothingBehind) {
    TableDesign design{"T", {}, {}, "[Low] <= [High]", "Low must not be above High"};
    design.columns = {AutoNumberColumn("Id"),
                      Required(LongColumn("Req")),
                      NoEmptyText(TextColumn("Short", 5)),
                      WithRule(LongColumn("Positive"), "Is Null Or >0"),
                      WithRule(TextColumn("Letter"), "Is Null Or \"A\" Or \"B\"", "A or B, please"),
                      LongColumn("Low"),
                      LongColumn("High"),
                      LongColumn("Unique")};
    Index required = IndexOn("NoNulls", {"High"});
    required.required = true;
    design.indexes = {PrimaryKey({"Id"}), UniqueOn("Unique", {"Unique"}), required};
    database_->CreateTable(design);
    const Values good{{"Req", 1}, {"Low", 1}, {"High", 2}, {"Unique", 7}};
    Insert(T("T"), good);

    struct Case {
        const char* what;
        Values change;
        int error;
        const char* text;
    };
    const Case cases[] = {
        {"required", {{"Req", Null{}}}, 3314, "'Req'"},
        {"empty text", {{"Short", std::string()}}, 3315, "'Short'"},
        {"too long", {{"Short", std::string("sixsix")}}, 3163, "too small"},
        {"column rule", {{"Positive", -1}}, 3317, "Positive"},
        {"column rule with text", {{"Letter", std::string("C")}}, 3317, "A or B, please"},
        {"table rule", {{"Low", 3}}, 3316, "Low must not be above High"},
        {"unique", {{"Unique", 7}}, 3022, "duplicate"},
        {"null in required index", {{"High", Null{}}, {"Low", 1}}, 3316, ""},
        {"no number", {{"Low", std::string("abc")}}, 3421, "conversion"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        Values values = good;
        values.pop_back();
        values.emplace_back("Unique", 8);
        for (const auto& change : test.change) values.push_back(change);
        try {
            Insert(T("T"), values);
            ADD_FAILURE() << "was not refused";
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, test.error) << error.description;
            EXPECT_NE(error.description.find(test.text), std::string::npos) << error.description;
        }
        EXPECT_EQ(T("T").RowCount(), 1);
    }
    Reopen();
    EXPECT_EQ(RowsOf(T("T")).size(), 1U);
    ExpectSound();
}

TEST_P(RowRulesTest, NullsInIndexes) {
    TableDesign design{"T", {LongColumn("A"), LongColumn("B"), LongColumn("C")}, {}, "", ""};
    Index ignoring = IndexOn("Ignoring", {"C"});
    ignoring.ignoreNulls = true;
    design.indexes = {PrimaryKey({"A"}), UniqueOn("Pair", {"B", "C"}), ignoring};
    database_->CreateTable(design);
    EXPECT_EQ(ErrorOf([&] { Insert(T("T"), {{"B", 1}}); }), 3058);
    Insert(T("T"), {{"A", 1}});
    // Keys of nothing but Null may repeat in a unique index; partly null ones may not.
    Insert(T("T"), {{"A", 2}});
    Insert(T("T"), {{"A", 3}, {"B", 1}});
    EXPECT_EQ(ErrorOf([&] { Insert(T("T"), {{"A", 4}, {"B", 1}}); }), 3022);
    Insert(T("T"), {{"A", 5}, {"C", 9}});
    EXPECT_EQ(Walk(T("T"), "Ignoring", IndexRange::All(), "A"), (std::vector<Value>{5}));
    EXPECT_EQ(Walk(T("T"), "Pair", IndexRange::All(), "A"), (std::vector<Value>{1, 2, 5, 3}));
}

TEST_P(RowRulesTest, TextsAreEqualAsJetComparesThem) {
    database_->CreateTable({"T", {TextColumn("Name")}, {UniqueOn("Name", {"Name"})}, "", ""});
    Insert(T("T"), {{"Name", std::string("Stra\xC3\x9F"
                                         "e")}});
    for (const char* same : {"strasse", "STRASSE", "Strasse  "}) {
        EXPECT_EQ(ErrorOf([&] { Insert(T("T"), {{"Name", std::string(same)}}); }), 3022) << same;
    }
    Insert(T("T"), {{"Name", std::string("strase")}});
}

// U+0100 keeps the U+FEFF in front from being stored; two characters more than without them count for the
// key.
TEST_P(RowRulesOfJet4Test, KeysAreBuiltOfTextsAsTheyAreStored) {
    database_->CreateTable({"T", {ColumnOf("Text", ColumnType::Memo)}, {IndexOn("Text", {"Text"})}, "", ""});
    const std::string shown = "\u0100" + std::string(252, 'a') + "bcd";
    const RowId inserted = Insert(T("T"), {{"Text", "\uFEFF\uFEFF" + shown}});
    const RowId updated = Insert(T("T"), {{"Text", std::string("short")}});
    Update(T("T"), updated, {{"Text", "\uFEFF" + shown}});
    EXPECT_EQ(ValueOf(T("T"), inserted, "Text"), Value(shown));
    EXPECT_EQ(ValueOf(T("T"), updated, "Text"), Value(shown));
    ExpectSound();
}

TEST_P(RowRulesTest, Defaults) {
    database_->CreateTable({"T",
                            {AutoNumberColumn("Id"), WithDefault(LongColumn("Number"), "5"),
                             WithDefault(TextColumn("Text"), "=\"abc\""),
                             WithDefault(ColumnOf("Flag", ColumnType::Boolean), "Yes"),
                             WithDefault(ColumnOf("When", ColumnType::DateTime), "Now()"),
                             WithDefault(LongColumn("Wrong"), "NoSuchFunction()")},
                            {},
                            "",
                            ""});
    Table& table = T("T");
    const std::size_t number = table.FindColumn("Number").value();
    EXPECT_EQ(table.DefaultOf(number), Value(5));
    EXPECT_TRUE(IsNull(table.DefaultOf(0)));
    // A default that cannot be evaluated refuses rows that need it, and no others.
    EXPECT_EQ(ErrorOf([&] { Insert(table, {}); }), 3085);
    const RowId row = Insert(table, {{"Wrong", 1}});
    EXPECT_EQ(ValueOf(table, row, "Number"), Value(5));
    EXPECT_EQ(ValueOf(table, row, "Text"), Value(std::string("abc")));
    EXPECT_EQ(ValueOf(table, row, "Flag"), Value(true));
    EXPECT_TRUE(std::holds_alternative<DateTime>(ValueOf(table, row, "When")));
    const RowId other = Insert(table, {{"Wrong", 1}, {"Number", Null{}}, {"Flag", false}});
    EXPECT_TRUE(IsNull(ValueOf(table, other, "Number")));
    EXPECT_EQ(ValueOf(table, other, "Flag"), Value(false));
}

TEST_P(RowRulesTest, RuleThatCannotBeEvaluatedRefusesTheRow) {
    database_->CreateTable({"T", {WithRule(LongColumn("A"), "NoSuch([A])"), LongColumn("B")}, {}, "", ""});
    EXPECT_EQ(ErrorOf([&] { Insert(T("T"), {{"A", 1}}); }), 3085);
    EXPECT_EQ(RowsOf(T("T")).size(), 0U);
}

TEST_P(RowRulesTest, AutoNumbers) {
    database_->CreateTable({"T", {AutoNumberColumn("Id"), LongColumn("X")}, {PrimaryKey({"Id"})}, "", ""});
    Table& table = T("T");
    EXPECT_EQ(ValueOf(table, Insert(table, {}), "Id"), Value(1));
    EXPECT_EQ(table.TakeAutoNumber(), 2);
    EXPECT_EQ(ValueOf(table, Insert(table, {}), "Id"), Value(3));
    // A given number raises the counter; a smaller one does not lower it.
    Insert(table, {{"Id", 100}});
    Insert(table, {{"Id", 50}});
    const RowId last = Insert(table, {{"Id", Null{}}});
    EXPECT_EQ(ValueOf(table, last, "Id"), Value(101));
    table.Delete(last);
    Reopen();
    EXPECT_EQ(T("T").TakeAutoNumber(), 102);
    EXPECT_EQ(T("T").Definition().lastAutoNumber, 102U);
    const RowId row = Insert(T("T"), {});
    EXPECT_EQ(ErrorOf([&] { Update(T("T"), row, {{"Id", 7}}); }), 3113);
    Update(T("T"), row, {{"Id", 103}, {"X", 1}});
}

TEST_P(RowRulesTest, AutoNumbersGoOnBehindTheGreatest) {
    database_->CreateTable({"T", {AutoNumberColumn("Id")}, {PrimaryKey({"Id"})}, "", ""});
    Table& table = T("T");
    Insert(table, {{"Id", 2147483646}});
    EXPECT_EQ(ValueOf(table, Insert(table, {}), "Id"), Value(2147483647));
    EXPECT_EQ(ValueOf(table, Insert(table, {}), "Id"), Value(-2147483647 - 1));
    EXPECT_EQ(ValueOf(table, Insert(table, {}), "Id"), Value(-2147483647));
    EXPECT_EQ(table.TakeAutoNumber(), -2147483646);
}

TEST_P(RowRulesTest, RandomAndGuidAutoNumbers) {
    Column random = AutoNumberColumn("Id");
    random.randomAutoNumber = true;
    Column guid = ColumnOf("Guid", ColumnType::Guid);
    guid.autoNumber = true;
    database_->CreateTable({"T", {random, guid}, {PrimaryKey({"Id"}), UniqueOn("Guid", {"Guid"})}, "", ""});
    Reopen();
    for (int i = 0; i < 20; ++i) Insert(T("T"), {});
    std::int64_t sum = 0;
    for (const Value& value : ColumnValues(T("T"), "Id"))
        sum += std::abs(std::int64_t{std::get<std::int32_t>(value)});
    EXPECT_GT(sum, 1'000'000);
    EXPECT_EQ(T("T").Definition().lastAutoNumber, 0U);
    EXPECT_TRUE(T("T").Columns()[0].randomAutoNumber);
    EXPECT_TRUE(std::holds_alternative<Guid>(ColumnValues(T("T"), "Guid").front()));
}

TEST_P(RowRulesTest, RecordTooLarge) {
    TableDesign design{"T", {}, {}, "", ""};
    for (int i = 0; i < 20; ++i) design.columns.push_back(TextColumn("C" + std::to_string(i), 255));
    design.columns.push_back(ColumnOf("M", ColumnType::Memo));
    database_->CreateTable(design);
    Values values{{"M", std::string(5000, 'm')}};
    for (int i = 0; i < 20; ++i) values.emplace_back("C" + std::to_string(i), std::string(255, 'x'));
    EXPECT_EQ(ErrorOf([&] { Insert(T("T"), values); }), 3047);
    EXPECT_EQ(T("T").RowCount(), 0);
    ExpectSound();
    const RowId row = Insert(T("T"), {{"M", std::string(9000, 'm')}, {"C0", std::string("kept")}});
    EXPECT_EQ(ErrorOf([&] { Update(T("T"), row, values); }), 3047);
    EXPECT_EQ(ValueOf(T("T"), row, "M"), Value(std::string(9000, 'm')));
    EXPECT_EQ(ValueOf(T("T"), row, "C0"), Value(std::string("kept")));
}

TEST_P(RowRulesTest, UpdatesTouchOnlyWhatChanges) {
    database_->CreateTable({"T",
                            {LongColumn("A"), Required(TextColumn("B")), TextColumn("C")},
                            {PrimaryKey({"A"}), IndexOn("C", {"C"})},
                            "",
                            ""});
    Table& table = T("T");
    const RowId first = Insert(table, {{"A", 1}, {"B", std::string("b")}, {"C", std::string("one")}});
    Insert(table, {{"A", 2}, {"B", std::string("b")}, {"C", std::string("two")}});
    EXPECT_EQ(ErrorOf([&] { Update(table, first, {{"A", 2}}); }), 3022);
    EXPECT_EQ(ErrorOf([&] { Update(table, first, {{"B", Null{}}}); }), 3314);
    const std::uint32_t distinct = table.Definition().realIndexes[1].distinctStatistic;
    Update(table, first, {{"A", 1}, {"C", std::string("ONE")}});
    // The key is the same in either case, so the index was left alone; the text changed.
    EXPECT_EQ(table.Definition().realIndexes[1].distinctStatistic, distinct);
    EXPECT_EQ(ValueOf(table, first, "C"), Value(std::string("ONE")));
    Update(table, first, {{"C", std::string("three")}});
    EXPECT_EQ(table.Definition().realIndexes[1].distinctStatistic, distinct + 1);
    EXPECT_EQ(Walk(table, "C", IndexRange::All(), "A"), (std::vector<Value>{1, 2}));
    table.Delete(first);
    EXPECT_EQ(ErrorOf([&] { Update(table, first, {{"C", Null{}}}); }), 3167);
    EXPECT_EQ(ErrorOf([&] { table.Delete(first); }), 3167);
}

TEST_P(RowRulesTest, RowsOfTheCatalogAreLeftAlone) {
    Table& objects = T("MSysObjects");
    EXPECT_EQ(ErrorOf([&] { Insert(objects, {{"Id", 1}}); }), 3027);
    EXPECT_EQ(objects.RowCount(), 8);
}

TEST_P(RowRulesTest, RollingBackAnOuterUnitRestoresEverything) {
    database_->CreateTable(
        {"T", {AutoNumberColumn("Id"), ColumnOf("M", ColumnType::Memo)}, {PrimaryKey({"Id"})}, "", ""});
    Insert(T("T"), {{"M", std::string(3000, 'a')}});
    {
        Unit unit(database_->GetPager());
        for (int i = 0; i < 300; ++i) Insert(T("T"), {{"M", std::string(3000, 'b')}});
        EXPECT_EQ(ErrorOf([&] { Insert(T("T"), {{"Id", 5}}); }), 3022);
        EXPECT_EQ(T("T").RowCount(), 301);
    }
    EXPECT_EQ(T("T").RowCount(), 1);
    EXPECT_EQ(T("T").TakeAutoNumber(), 2);
    EXPECT_EQ(RowsOf(T("T")).size(), 1U);
    ExpectSound();
}

}  // namespace
}  // namespace marrowkit::jet::test
