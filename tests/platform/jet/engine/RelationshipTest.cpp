// Relationships: how they are made and dropped, and what they refuse or carry on.

#include <algorithm>

#include "EngineTestSupport.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/check/CheckTestDatabase.h"
#include "platform/jet/compact/Compact.h"

namespace marrowkit::jet::test {
namespace {

class RelationshipTest : public NewDatabaseTest {
protected:
    RelationshipTest() {
        database_->CreateTable(
            {"Parents", {LongColumn("Id"), TextColumn("Name")}, {PrimaryKey({"Id"})}, "", ""});
        database_->CreateTable({"Children",
                                {AutoNumberColumn("Id"), LongColumn("Parent"), TextColumn("Name")},
                                {PrimaryKey({"Id"})},
                                "",
                                ""});
        for (int i = 1; i <= 3; ++i) Insert(T("Parents"), {{"Id", i}});
    }
    void Relate(bool cascadeUpdates = false, bool cascadeDeletes = false) {
        Relationship relationship = RelationshipOf("ParentOf", "Parents", "Id", "Children", "Parent");
        relationship.cascadeUpdates = cascadeUpdates;
        relationship.cascadeDeletes = cascadeDeletes;
        database_->CreateRelationship(relationship);
    }
    /// Our own designs do not ask for it, files of other programs do: deletes set the foreign columns to
    /// Null.
    void LetDeletesSetNull(const std::vector<std::string>& tables) {
        database_->GetPager().Flush();
        database_.reset();
        const std::string text = marrowkit::test::ReadFile(path_);
        marrowkit::test::DatabaseBytes file({text.begin(), text.end()});
        for (const std::string& table : tables) {
            file.EditDefinition(table, [](TableDefinition& definition) {
                for (LogicalIndex& index : definition.logicalIndexes) {
                    if (index.kind == LogicalIndex::Kind::Relationship) index.cascadeDeletes = 2;
                }
            });
        }
        marrowkit::test::WriteFile(path_, std::string(file.bytes.begin(), file.bytes.end()));
        database_ = Database::Open(path_);
    }
    RowId RowWith(std::string_view table, std::string_view column, const Value& value) {
        const auto scan = T(table).OpenScan({T(table).FindColumn(column).value()});
        while (scan->Next()) {
            if (scan->Values().front() == value) return scan->Id();
        }
        ADD_FAILURE() << "no such row";
        return {};
    }
};
INSTANTIATE_TEST_SUITE_P(BothFormats, RelationshipTest, ::testing::ValuesIn(kBothVersions), VersionName);

TEST_P(RelationshipTest, ForeignRowsNeedTheirPrimaryRow) {
    Relate();
    Insert(T("Children"), {{"Parent", 1}});
    Insert(T("Children"), {{"Parent", Null{}}});
    const RowId child = Insert(T("Children"), {{"Parent", 1}});
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {{"Parent", 4}}); }), 3201);
    EXPECT_EQ(ErrorOf([&] { Update(T("Children"), child, {{"Parent", 4}}); }), 3201);
    Update(T("Children"), child, {{"Parent", 2}});
    EXPECT_EQ(ColumnValues(T("Children"), "Parent"), (std::vector<Value>{1, Null{}, 2}));
}

TEST_P(RelationshipTest, ParentThatWasRememberedButWentIsNotFound) {
    Relate();
    const RowId child = Insert(T("Children"), {{"Parent", 3}});
    T("Children").Delete(child);
    T("Parents").Delete(RowWith("Parents", "Id", 3));
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {{"Parent", 3}}); }), 3201);
    Insert(T("Children"), {{"Parent", 2}});
    Update(T("Parents"), RowWith("Parents", "Id", 1), {{"Id", 9}});
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {{"Parent", 1}}); }), 3201);
}

TEST_P(RelationshipTest, PrimaryRowsWithForeignOnesStay) {
    Relate();
    Insert(T("Children"), {{"Parent", 1}});
    const RowId parent = RowWith("Parents", "Id", 1);
    try {
        T("Parents").Delete(parent);
        ADD_FAILURE();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3200);
        EXPECT_NE(error.description.find("'Children'"), std::string::npos);
    }
    EXPECT_EQ(ErrorOf([&] { Update(T("Parents"), parent, {{"Id", 5}}); }), 3200);
    Update(T("Parents"), parent, {{"Name", std::string("other columns are free")}});
    T("Parents").Delete(RowWith("Parents", "Id", 2));
    EXPECT_EQ(T("Parents").RowCount(), 2);
}

TEST_P(RelationshipTest, UpdatesCascade) {
    Relate(true, false);
    Insert(T("Children"), {{"Parent", 1}});
    Insert(T("Children"), {{"Parent", 2}});
    Insert(T("Children"), {{"Parent", 1}});
    Update(T("Parents"), RowWith("Parents", "Id", 1), {{"Id", 10}});
    EXPECT_EQ(ColumnValues(T("Children"), "Parent"), (std::vector<Value>{10, 2, 10}));
    EXPECT_EQ(ErrorOf([&] { T("Parents").Delete(RowWith("Parents", "Id", 10)); }), 3200);
}

TEST_P(RelationshipTest, DeletesCascadeThroughSeveralTables) {
    Relate(false, true);
    database_->CreateTable({"Toys", {LongColumn("Child"), TextColumn("Name")}, {}, "", ""});
    Relationship toys = RelationshipOf("ToyOf", "Children", "Id", "Toys", "Child");
    toys.cascadeDeletes = true;
    database_->CreateRelationship(toys);
    for (int i = 1; i <= 4; ++i) Insert(T("Children"), {{"Parent", 1 + i % 2}});
    for (int i = 1; i <= 4; ++i) Insert(T("Toys"), {{"Child", i}});
    T("Parents").Delete(RowWith("Parents", "Id", 1));
    EXPECT_EQ(ColumnValues(T("Children"), "Id"), (std::vector<Value>{1, 3}));
    EXPECT_EQ(ColumnValues(T("Toys"), "Child"), (std::vector<Value>{1, 3}));
    EXPECT_EQ(T("Toys").RowCount(), 2);
}

TEST_P(RelationshipTest, RefusedCascadeUndoesTheWholeStatement) {
    Relate(false, true);
    database_->CreateTable({"Toys", {LongColumn("Child")}, {}, "", ""});
    database_->CreateRelationship(RelationshipOf("ToyOf", "Children", "Id", "Toys", "Child"));
    for (int i = 0; i < 3; ++i) Insert(T("Children"), {{"Parent", 1}});
    Insert(T("Toys"), {{"Child", 3}});
    EXPECT_EQ(ErrorOf([&] { T("Parents").Delete(RowWith("Parents", "Id", 1)); }), 3396);
    EXPECT_EQ(T("Parents").RowCount(), 3);
    EXPECT_EQ(ColumnValues(T("Children"), "Id"), (std::vector<Value>{1, 2, 3}));
}

TEST_P(RelationshipTest, TableThatRefersToItself) {
    database_->CreateTable({"Tree", {LongColumn("Id"), LongColumn("Up")}, {PrimaryKey({"Id"})}, "", ""});
    Relationship up = RelationshipOf("Up", "Tree", "Id", "Tree", "Up");
    up.cascadeUpdates = true;
    up.cascadeDeletes = true;
    database_->CreateRelationship(up);
    Table& tree = T("Tree");
    const RowId root = Insert(tree, {{"Id", 1}, {"Up", 1}});  // refers to itself
    for (int i = 2; i <= 40; ++i) Insert(tree, {{"Id", i}, {"Up", i / 2}});
    EXPECT_EQ(ErrorOf([&] { Insert(tree, {{"Id", 99}, {"Up", 98}}); }), 3201);
    Update(tree, root, {{"Id", 1000}});
    EXPECT_EQ(ValueOf(tree, root, "Up"), Value(1000));
    EXPECT_EQ(std::ranges::count(ColumnValues(tree, "Up"), Value(1000)), 3);
    tree.Delete(RowWith("Tree", "Id", 2));
    EXPECT_EQ(tree.RowCount(), 16);  // 2 and all below it were 24 of the 40
    tree.Delete(root);
    EXPECT_EQ(tree.RowCount(), 0);
}

TEST_P(RelationshipTest, LongChainsOfCascadesDoNotExhaustTheStack) {
    database_->CreateTable({"Chain", {LongColumn("Id"), LongColumn("Up")}, {PrimaryKey({"Id"})}, "", ""});
    Relationship up = RelationshipOf("Up", "Chain", "Id", "Chain", "Up");
    up.cascadeDeletes = true;
    database_->CreateRelationship(up);
    Unit unit(database_->GetPager());
    const RowId first = Insert(T("Chain"), {{"Id", 0}});
    for (int i = 1; i < 3000; ++i) Insert(T("Chain"), {{"Id", i}, {"Up", i - 1}});
    T("Chain").Delete(first);
    unit.Commit();
    EXPECT_EQ(T("Chain").RowCount(), 0);
}

TEST_P(RelationshipTest, SeveralColumnsInTheOrderOfThePrimaryIndex) {
    database_->CreateTable({"P", {LongColumn("A"), TextColumn("B")}, {PrimaryKey({"B", "A"})}, "", ""});
    database_->CreateTable({"F", {LongColumn("X"), TextColumn("Y")}, {}, "", ""});
    Relationship pair = RelationshipOf("Pair", "P", "A", "F", "X");
    pair.columns.emplace_back("B", "Y");
    database_->CreateRelationship(pair);
    Insert(T("P"), {{"A", 1}, {"B", std::string("one")}});
    Insert(T("F"), {{"X", 1}, {"Y", std::string("ONE")}});
    Insert(T("F"), {});
    EXPECT_EQ(ErrorOf([&] { Insert(T("F"), {{"X", 2}, {"Y", std::string("one")}}); }), 3201);
    // A key that is Null in part is looked up like any other, and not found.
    EXPECT_EQ(ErrorOf([&] { Insert(T("F"), {{"X", 1}}); }), 3201);
}

TEST_P(RelationshipTest, ChangeOfCaseIsWrittenThroughButIsNoNewKey) {
    database_->CreateTable({"P", {TextColumn("Key")}, {PrimaryKey({"Key"})}, "", ""});
    database_->CreateTable({"F", {TextColumn("Key")}, {}, "", ""});
    database_->CreateTable({"G", {TextColumn("Key")}, {}, "", ""});
    Relationship cascading = RelationshipOf("F", "P", "Key", "F", "Key");
    cascading.cascadeUpdates = true;
    database_->CreateRelationship(cascading);
    database_->CreateRelationship(RelationshipOf("G", "P", "Key", "G", "Key"));
    const RowId row = Insert(T("P"), {{"Key", std::string("abc")}});
    Insert(T("F"), {{"Key", std::string("abc")}});
    Insert(T("G"), {{"Key", std::string("abc")}});
    Update(T("P"), row, {{"Key", std::string("ABC")}});
    EXPECT_EQ(ColumnValues(T("F"), "Key").front(), Value(std::string("ABC")));
    EXPECT_EQ(ColumnValues(T("G"), "Key").front(), Value(std::string("abc")));
}

TEST_P(RelationshipTest, CascadedUpdateThatBreaksARuleIsTold) {
    database_->CreateTable({"P", {LongColumn("Id")}, {PrimaryKey({"Id"})}, "", ""});
    Column small = LongColumn("P");
    small.validationRule = "Is Null Or <100";
    database_->CreateTable({"F", {small}, {}, "", ""});
    Relationship relationship = RelationshipOf("R", "P", "Id", "F", "P");
    relationship.cascadeUpdates = true;
    database_->CreateRelationship(relationship);
    const RowId row = Insert(T("P"), {{"Id", 1}});
    Insert(T("F"), {{"P", 1}});
    EXPECT_EQ(ErrorOf([&] { Update(T("P"), row, {{"Id", 100}}); }), 3404);
    EXPECT_EQ(ValueOf(T("P"), row, "Id"), Value(1));
    EXPECT_EQ(Walk(T("P"), "PrimaryKey", IndexRange::Equal({1}), "Id").size(), 1U);
}

TEST_P(RelationshipTest, DesignIsRefusedWhereItCannotHold) {
    Insert(T("Children"), {{"Parent", 77}});
    EXPECT_EQ(ErrorOf([&] { Relate(); }), 3379);
    const auto relate = [&](const Relationship& relationship) {
        return ErrorOf([&] { database_->CreateRelationship(relationship); });
    };
    EXPECT_EQ(relate(RelationshipOf("R", "Parents", "Id", "Children", "Name")), 3368);
    EXPECT_EQ(relate(RelationshipOf("R", "Parents", "Name", "Children", "Name")), 3609);
    EXPECT_EQ(relate(RelationshipOf("R", "Parents", "Nothing", "Children", "Name")), 3409);
    EXPECT_EQ(relate(RelationshipOf("R", "Nobody", "Id", "Children", "Parent")), 3011);
    EXPECT_EQ(relate(RelationshipOf("R!", "Parents", "Id", "Children", "Parent")), 3125);
    EXPECT_TRUE(database_->Relationships().empty());
    // Not enforced, it does not look at the rows.
    Relationship loose = RelationshipOf("Loose", "Parents", "Name", "Children", "Name");
    loose.enforced = false;
    database_->CreateRelationship(loose);
    EXPECT_EQ(relate(loose), 3012);
    EXPECT_EQ(T("Parents").Definition().logicalIndexes.size(), 1U);
    Insert(T("Children"), {{"Name", std::string("nobody's")}});
}

TEST_P(RelationshipTest, IsFoundAgainAndDropped) {
    const std::size_t indexesBefore = T("Children").Definition().realIndexes.size();
    Relate(true, true);
    Reopen();
    const auto relationships = database_->Relationships();
    ASSERT_EQ(relationships.size(), 1U);
    EXPECT_EQ(relationships[0].name, "ParentOf");
    EXPECT_EQ(relationships[0].table, "Parents");
    EXPECT_EQ(relationships[0].foreignTable, "Children");
    EXPECT_EQ(relationships[0].columns.front(), (std::pair<std::string, std::string>("Id", "Parent")));
    EXPECT_TRUE(relationships[0].enforced);
    EXPECT_TRUE(relationships[0].cascadeUpdates);
    EXPECT_TRUE(relationships[0].cascadeDeletes);
    const auto& hidden = T("Parents").Definition().logicalIndexes;
    ASSERT_EQ(hidden.size(), 2U);
    EXPECT_EQ(hidden[0].name, ".rB");  // index number 1
    EXPECT_EQ(hidden[0].number, 1U);
    EXPECT_EQ(T("Parents").Indexes().size(), 1U);
    EXPECT_TRUE(T("Children").Indexes()[0].foreign || T("Children").Indexes()[1].foreign);
    EXPECT_EQ(ErrorOf([&] { database_->DropTable("Parents"); }), 3281);
    EXPECT_EQ(ErrorOf([&] { database_->DropTable("Children"); }), 3281);
    EXPECT_EQ(ErrorOf([&] { database_->DropIndex("Parents", "PrimaryKey"); }), 3281);
    EXPECT_EQ(ErrorOf([&] { database_->DropIndex("Children", "ParentOf"); }), 3281);
    EXPECT_EQ(ErrorOf([&] { database_->DropColumn("Children", "Parent"); }), 3303);
    ExpectSound();

    EXPECT_EQ(ErrorOf([&] { database_->DropRelationship("Nothing"); }), 3371);
    database_->DropRelationship("parentof");
    EXPECT_TRUE(database_->Relationships().empty());
    EXPECT_EQ(T("Children").Definition().realIndexes.size(), indexesBefore);
    EXPECT_EQ(T("Parents").Definition().logicalIndexes.size(), 1U);
    Insert(T("Children"), {{"Parent", 77}});
    Reopen();
    database_->DropTable("Parents");
}

TEST_P(RelationshipTest, FollowsTheNewNameOfATable) {
    Relate();
    database_->RenameTable("Parents", "Elders");
    EXPECT_EQ(database_->Relationships().front().table, "Elders");
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {{"Parent", 4}}); }), 3201);
    Insert(T("Children"), {{"Parent", 1}});
}

TEST_P(RelationshipTest, OneToOneAllowsOneForeignRowEach) {
    Relationship relationship = RelationshipOf("OneOf", "Parents", "Id", "Children", "Parent");
    relationship.unique = true;
    database_->CreateRelationship(relationship);
    EXPECT_TRUE(database_->Relationships().front().unique);
    Insert(T("Children"), {{"Parent", 1}});
    Insert(T("Children"), {});
    Insert(T("Children"), {});
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {{"Parent", 1}}); }), 3022);
}

TEST_P(RelationshipTest, DeletesCanSetTheReferencesToNull) {
    Relate();
    for (const int parent : {1, 2, 1}) Insert(T("Children"), {{"Parent", parent}});
    LetDeletesSetNull({"Parents", "Children"});
    T("Parents").Delete(RowWith("Parents", "Id", 1));
    EXPECT_EQ(ColumnValues(T("Children"), "Parent"), (std::vector<Value>{Null{}, 2, Null{}}));
    EXPECT_EQ(Walk(T("Children"), "ParentOf", IndexRange::Equal({Null{}}), "Id").size(), 2U);
    EXPECT_EQ(Walk(T("Children"), "ParentOf", IndexRange::Equal({1}), "Id").size(), 0U);
    EXPECT_EQ(T("Parents").RowCount(), 2);
    // Changes of the key are another matter.
    EXPECT_EQ(ErrorOf([&] { Update(T("Parents"), RowWith("Parents", "Id", 2), {{"Id", 9}}); }), 3200);

    // A compacted copy does the same.
    database_->GetPager().Flush();
    database_.reset();
    const std::string copy = (folder_ / "copy.mdb").string();
    Compact(path_, copy);
    {
        const auto compacted = Database::Open(copy);
        const auto scan = compacted->OpenTable("Parents")->OpenScan({0});
        while (scan->Next() && scan->Values().front() != Value(2)) {
        }
        compacted->OpenTable("Parents")->Delete(scan->Id());
        EXPECT_EQ(ColumnValues(*compacted->OpenTable("Children"), "Parent"),
                  (std::vector<Value>{Null{}, Null{}, Null{}}));
    }
    EXPECT_TRUE(Check(copy).empty());
    database_ = Database::Open(path_);
}

TEST_P(RelationshipTest, ReferencesThatMayNotBeNullRefuseTheWholeDeletion) {
    Column required = LongColumn("Parent");
    required.required = true;
    database_->CreateTable({"Strict", {AutoNumberColumn("Id"), required}, {}, "", ""});
    Relate();
    database_->CreateRelationship(RelationshipOf("StrictParent", "Parents", "Id", "Strict", "Parent"));
    Insert(T("Children"), {{"Parent", 1}});
    Insert(T("Strict"), {{"Parent", 1}});
    LetDeletesSetNull({"Parents", "Children", "Strict"});
    EXPECT_EQ(ErrorOf([&] { T("Parents").Delete(RowWith("Parents", "Id", 1)); }), 3314);
    EXPECT_EQ(T("Parents").RowCount(), 3);
    EXPECT_EQ(ColumnValues(T("Children"), "Parent"), std::vector<Value>{1});
    EXPECT_EQ(ColumnValues(T("Strict"), "Parent"), std::vector<Value>{1});
}

TEST_P(RelationshipTest, ATableThatRefersToItselfCanSetItsOwnReferencesToNull) {
    database_->CreateTable({"Tree", {LongColumn("Id"), LongColumn("Up")}, {PrimaryKey({"Id"})}, "", ""});
    database_->CreateRelationship(RelationshipOf("Up", "Tree", "Id", "Tree", "Up"));
    Insert(T("Tree"), {{"Id", 1}, {"Up", 1}});
    for (int i = 2; i <= 7; ++i) Insert(T("Tree"), {{"Id", i}, {"Up", i / 2}});
    LetDeletesSetNull({"Tree"});
    T("Tree").Delete(RowWith("Tree", "Id", 1));
    EXPECT_EQ(ColumnValues(T("Tree"), "Up"), (std::vector<Value>{Null{}, Null{}, 2, 2, 3, 3}));
    T("Tree").Delete(RowWith("Tree", "Id", 3));
    EXPECT_EQ(ColumnValues(T("Tree"), "Up"), (std::vector<Value>{Null{}, 2, 2, Null{}, Null{}}));
}

TEST_P(RelationshipTest, AllColumnsOfAReferenceBecomeNull) {
    database_->CreateTable({"P", {LongColumn("A"), TextColumn("B")}, {PrimaryKey({"A", "B"})}, "", ""});
    database_->CreateTable({"F", {LongColumn("X"), TextColumn("Y"), LongColumn("Z")}, {}, "", ""});
    Relationship pair = RelationshipOf("Pair", "P", "A", "F", "X");
    pair.columns.emplace_back("B", "Y");
    database_->CreateRelationship(pair);
    const RowId row = Insert(T("P"), {{"A", 1}, {"B", std::string("one")}});
    Insert(T("F"), {{"X", 1}, {"Y", std::string("ONE")}, {"Z", 5}});
    LetDeletesSetNull({"P", "F"});
    T("P").Delete(row);
    EXPECT_EQ(RowsOf(T("F")), (std::vector<Row>{{Null{}, Null{}, 5}}));
}

TEST_P(RelationshipTest, HiddenIndexesAreNamedWithLettersHoweverManyThereWere) {
    database_->CreateTable({"Tree", {LongColumn("Id"), LongColumn("Up")}, {PrimaryKey({"Id"})}, "", ""});
    const auto relate = [&](int i) {
        const std::string number = std::to_string(i);
        database_->CreateRelationship(RelationshipOf("R" + number, "Parents", "Id", "Children", "Parent"));
        database_->CreateRelationship(RelationshipOf("S" + number, "Tree", "Id", "Tree", "Up"));
    };
    relate(0);
    // The newest stays while the one before goes, so numbers climb.
    for (int i = 1; i < 150; ++i) {
        relate(i);
        database_->DropRelationship("R" + std::to_string(i - 1));
        database_->DropRelationship("S" + std::to_string(i - 1));
    }
    for (const char* table : {"Parents", "Tree"}) {
        for (const LogicalIndex& index : T(table).Definition().logicalIndexes) {
            if (index.side != LogicalIndex::Side::Primary) continue;
            EXPECT_EQ(index.name.size(), 3U);
            EXPECT_TRUE(index.name.back() >= 'A' && index.name.back() <= 'Z') << index.name;
        }
    }
    Reopen();
    ExpectSound();
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {{"Parent", 77}}); }), 3201);
    EXPECT_EQ(ErrorOf([&] { Insert(T("Tree"), {{"Id", 1}, {"Up", 2}}); }), 3201);
    Insert(T("Tree"), {{"Id", 1}, {"Up", 1}});
    Insert(T("Children"), {{"Parent", 1}});
    EXPECT_EQ(ErrorOf([&] { T("Parents").Delete(RowWith("Parents", "Id", 1)); }), 3200);
}

TEST_P(RelationshipTest, AUniqueIndexThatLentItsTreeTakesItsRulesAlong) {
    Index lending = UniqueOn("One", {"Parent"});
    lending.required = true;
    database_->CreateIndex("Children", lending);
    Relate();
    EXPECT_EQ(T("Children").Definition().realIndexes.size(), 2U);
    Insert(T("Children"), {{"Parent", 1}});
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {{"Parent", 1}}); }), 3022);
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {}); }), 3058);
    database_->DropIndex("Children", "One");
    Insert(T("Children"), {{"Parent", 1}});
    Insert(T("Children"), {});
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {{"Parent", 77}}); }), 3201);
    Reopen();
    Insert(T("Children"), {{"Parent", 1}});
    EXPECT_EQ(T("Children").Definition().realIndexes.size(), 2U);
}

TEST_P(RelationshipTest, OneToOneKeepsTheLentTreeUnique) {
    database_->CreateIndex("Children", UniqueOn("One", {"Parent"}));
    Relationship relationship = RelationshipOf("OneOf", "Parents", "Id", "Children", "Parent");
    relationship.unique = true;
    database_->CreateRelationship(relationship);
    database_->DropIndex("Children", "One");
    Insert(T("Children"), {{"Parent", 1}});
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {{"Parent", 1}}); }), 3022);
}

TEST_P(RelationshipTest, UsesAnIndexThatIsThere) {
    database_->CreateIndex("Children", IndexOn("ByParent", {"Parent"}));
    Relate();
    EXPECT_EQ(T("Children").Definition().realIndexes.size(), 2U);
    EXPECT_EQ(ErrorOf([&] { Insert(T("Children"), {{"Parent", 4}}); }), 3201);
    // The relationship keeps the tree when the index that lent it goes.
    database_->DropIndex("Children", "ByParent");
    EXPECT_EQ(T("Children").Definition().realIndexes.size(), 2U);
    Insert(T("Children"), {{"Parent", 2}});
    EXPECT_EQ(ErrorOf([&] { T("Parents").Delete(RowWith("Parents", "Id", 2)); }), 3200);
}

}  // namespace
}  // namespace marrowkit::jet::test
