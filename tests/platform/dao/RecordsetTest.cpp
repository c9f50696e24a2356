#include <functional>

#include <gtest/gtest.h>

#include "SampleDatabase.h"
#include "platform/errors/RuntimeError.h"

namespace marrowkit::test {
namespace {

using dao::RecordsetType;
using jet::Value;

int NumberOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return 0;
}

Value Text(const char* text) {
    return std::string(text);
}

class Recordsets : public testing::TestWithParam<jet::JetVersion> {
protected:
    Recordsets() : sample_(GetParam()) {}
    dao::Recordset Open(const char* source, RecordsetType type = RecordsetType::Dynaset) {
        return sample_.Open().OpenRecordset(source, type);
    }
    std::string Rows(const std::string& sql) { return Records(sample_.Open(), sql); }
    void TearDown() override { EXPECT_EQ(sample_.Check(), ""); }

    SampleDatabase sample_;
};

constexpr RecordsetType kAllTypes[] = {RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot};

TEST_P(Recordsets, StartAtTheFirstRecordAndKnowBothEnds) {
    for (const RecordsetType type : kAllTypes) {
        dao::Recordset records = Open("Publishers", type);
        EXPECT_FALSE(records.BOF());
        EXPECT_FALSE(records.EOF_());
        EXPECT_EQ(Show(records.Fields("PU_Id").Value()), "1");
        records.MovePrevious();
        EXPECT_TRUE(records.BOF());
        EXPECT_FALSE(records.EOF_());
        EXPECT_EQ(NumberOf([&] { records.MovePrevious(); }), 3021);
        EXPECT_EQ(NumberOf([&] { records.Fields("PU_Id").Value(); }), 3021);
        records.MoveNext();
        EXPECT_EQ(Show(records.Fields("PU_Id").Value()), "1");
        records.MoveLast();
        EXPECT_EQ(Show(records.Fields("PU_Id").Value()), "4");
        records.MoveNext();
        EXPECT_TRUE(records.EOF_());
        EXPECT_FALSE(records.BOF());
        EXPECT_EQ(NumberOf([&] { records.MoveNext(); }), 3021);
        records.MovePrevious();
        EXPECT_EQ(Show(records.Fields("PU_Id").Value()), "4");
        records.MoveFirst();
        EXPECT_EQ(Show(records.Fields("PU_Id").Value()), "1");
    }
}

TEST_P(Recordsets, WithoutRecordsAreAtBothEndsAtOnce) {
    for (const RecordsetType type : {RecordsetType::Dynaset, RecordsetType::Snapshot}) {
        dao::Recordset records = Open("SELECT * FROM Games WHERE GA_Id > 99", type);
        EXPECT_TRUE(records.BOF());
        EXPECT_TRUE(records.EOF_());
        EXPECT_EQ(records.RecordCount(), 0);
        EXPECT_EQ(NumberOf([&] { records.MoveFirst(); }), 3021);
        EXPECT_EQ(NumberOf([&] { records.MoveLast(); }), 3021);
        EXPECT_EQ(NumberOf([&] { records.MoveNext(); }), 3021);
        EXPECT_EQ(NumberOf([&] { records.MovePrevious(); }), 3021);
        EXPECT_EQ(NumberOf([&] { records.Fields("Name").Value(); }), 3021);
        EXPECT_EQ(records.Fields("Name").Type(), jet::ColumnType::Text);
    }
}

TEST_P(Recordsets, CountTheRecordsVisited) {
    dao::Recordset records = Open("SELECT * FROM Games", RecordsetType::Snapshot);
    EXPECT_EQ(records.RecordCount(), 1);
    records.MoveNext();
    EXPECT_EQ(records.RecordCount(), 2);
    records.MoveLast();
    EXPECT_EQ(records.RecordCount(), 7);
    records.MoveFirst();
    EXPECT_EQ(records.RecordCount(), 7);
    EXPECT_EQ(Open("Games", RecordsetType::Table).RecordCount(), 7);
    dao::Recordset sorted = Open("SELECT * FROM Games ORDER BY Score");
    EXPECT_EQ(sorted.RecordCount(), 1);
    sorted.MoveLast();
    EXPECT_EQ(sorted.RecordCount(), 7);
}

TEST_P(Recordsets, FindFieldsByNameInAnyCaseAndByPosition) {
    dao::Recordset records = Open("Publishers");
    EXPECT_EQ(records.FieldCount(), 2U);
    EXPECT_EQ(records.Fields("publisher").Name(), "Publisher");
    EXPECT_EQ(records.Fields("PUBLISHER").Type(), jet::ColumnType::Text);
    EXPECT_EQ(Show(records.Fields(std::size_t{1}).Value()), "Ocean");
    EXPECT_EQ(NumberOf([&] { records.Fields("Nosuch"); }), 3265);
    EXPECT_EQ(NumberOf([&] { records.Fields(std::size_t{2}); }), 3265);
}

TEST_P(Recordsets, AFieldMayBeKeptForRecordAfterRecord) {
    dao::Recordset records = Open("SELECT PU_Id, Publisher FROM Publishers");
    dao::Field id = records.Fields("PU_Id");
    dao::Recordset moved = std::move(records);
    std::string seen;
    for (; !moved.EOF_(); moved.MoveNext()) seen += Show(id.Value());
    EXPECT_EQ(seen, "1234");
}

TEST_P(Recordsets, AddNewGivesItsAutoNumberBeforeUpdate) {
    for (const RecordsetType type : {RecordsetType::Dynaset, RecordsetType::Table}) {
        dao::Recordset records = Open("Publishers", type);
        records.AddNew();
        const Value id = records.Fields("PU_Id").Value();
        records.Fields("Publisher").SetValue(Text(type == RecordsetType::Table ? "Thalamus" : "Hewson"));
        EXPECT_EQ(Show(records.Fields("Publisher").Value()),
                  type == RecordsetType::Table ? "Thalamus" : "Hewson");
        records.Update();
        EXPECT_EQ(Show(records.Fields("PU_Id").Value()), "1") << "the current record stays where it was";
        records.MoveLast();
        EXPECT_EQ(records.Fields("PU_Id").Value(), id);
    }
    EXPECT_EQ(Rows("SELECT * FROM Publishers WHERE PU_Id > 4"), "5|Hewson;6|Thalamus");
}

TEST_P(Recordsets, AddNewToAnEmptyDynasetFindsItsRow) {
    dao::Recordset records = Open("SELECT * FROM Publishers WHERE Publisher = \"Nobody\"");
    EXPECT_TRUE(records.EOF_());
    records.AddNew();
    const Value id = records.Fields("PU_Id").Value();
    records.Fields("Publisher").SetValue(Text("Nobody"));
    records.Update();
    EXPECT_EQ(records.RecordCount(), 1);
    records.MoveFirst();
    EXPECT_EQ(records.Fields("PU_Id").Value(), id);
    records.Close();
    EXPECT_EQ(Rows("SELECT PU_Id FROM Publishers WHERE Publisher = 'NOBODY'"), "5");
}

TEST_P(Recordsets, ManyAddNewsThroughOneOpenDynaset) {
    dao::Recordset records = Open("SELECT * FROM Games");
    for (int i = 0; i < 1000; ++i) {
        records.AddNew();
        records.Fields("Name").SetValue(std::string("Game ") + std::to_string(i));
        records.Fields("PU_Id").SetValue(std::int32_t{1});
        records.Fields("Fav").SetValue(true);
        records.Update();
    }
    EXPECT_EQ(records.RecordCount(), 1001) << "one visited, a thousand added";
    records.MoveLast();
    EXPECT_EQ(Show(records.Fields("Name").Value()), "Game 999");
    EXPECT_EQ(records.RecordCount(), 1007);
    records.Close();
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Games WHERE Fav AND PU_Id = 1"), "1001");
}

TEST_P(Recordsets, UnsetFieldsOfANewRecordShowTheirDefaults) {
    sample_.Execute("CREATE TABLE D (id COUNTER, a LONG DEFAULT 7, b TEXT)");
    dao::Recordset records = Open("D");
    records.AddNew();
    EXPECT_EQ(Show(records.Fields("a").Value()), "7");
    EXPECT_EQ(Show(records.Fields("b").Value()), "NULL");
    records.Update();
    EXPECT_EQ(Rows("SELECT * FROM D"), "1|7|NULL");
}

TEST_P(Recordsets, EditChangesTheCurrentRecord) {
    dao::Recordset records = Open("SELECT Publisher, PU_Id FROM Publishers ORDER BY PU_Id DESC");
    records.Edit();
    records.Fields("Publisher").SetValue(Text("Changed"));
    EXPECT_EQ(Show(records.Fields("Publisher").Value()), "Changed");
    EXPECT_EQ(Rows("SELECT Publisher FROM Publishers WHERE PU_Id = 4"), "NULL");
    records.Update();
    EXPECT_EQ(Show(records.Fields("Publisher").Value()), "Changed");
    EXPECT_EQ(Rows("SELECT Publisher FROM Publishers WHERE PU_Id = 4"), "Changed");
    records.Edit();
    records.Fields("Publisher").SetValue(Text("Never"));
    records.CancelUpdate();
    EXPECT_EQ(Show(records.Fields("Publisher").Value()), "Changed");
    records.Edit();
    records.Fields("Publisher").SetValue(Text("Never"));
    records.MoveNext();
    EXPECT_EQ(NumberOf([&] { records.Update(); }), 3020) << "moving gives up the edit";
    EXPECT_EQ(Rows("SELECT Publisher FROM Publishers WHERE PU_Id = 4"), "Changed");
}

TEST_P(Recordsets, UpdateNeedsAddNewOrEdit) {
    dao::Recordset records = Open("Publishers");
    EXPECT_EQ(NumberOf([&] { records.Update(); }), 3020);
    EXPECT_EQ(NumberOf([&] { records.CancelUpdate(); }), 3020);
    EXPECT_EQ(NumberOf([&] { records.Fields("Publisher").SetValue(Text("x")); }), 3020);
    records.AddNew();
    records.CancelUpdate();
    EXPECT_EQ(NumberOf([&] { records.Update(); }), 3020);
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Publishers"), "4");
}

TEST_P(Recordsets, AFailedUpdateCanBeMended) {
    dao::Recordset records = Open("Publishers");
    records.AddNew();
    records.Fields("Publisher").SetValue(Text("OCEAN"));
    EXPECT_EQ(NumberOf([&] { records.Update(); }), 3022);
    records.Fields("Publisher").SetValue(Text("Other"));
    records.Update();
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Publishers"), "5");
    records.AddNew();
    records.Fields("Publisher").SetValue(std::string(129, 'x'));
    EXPECT_EQ(NumberOf([&] { records.Update(); }), 3163);
    records.CancelUpdate();
}

TEST_P(Recordsets, ValuesAreConvertedOrRefusedWhenTheyAreSet) {
    dao::Recordset records = Open("Games");
    records.AddNew();
    EXPECT_EQ(NumberOf([&] { records.Fields("PU_Id").SetValue(Text("abc")); }), 3421);
    EXPECT_EQ(NumberOf([&] { records.Fields("Added").SetValue(Text("abc")); }), 3421);
    records.Fields("PU_Id").SetValue(Text("12"));
    EXPECT_EQ(records.Fields("PU_Id").Value(), Value(std::int32_t{12}));
    records.Fields("Fav").SetValue(std::int32_t{5});
    EXPECT_EQ(records.Fields("Fav").Value(), Value(true));
    records.Fields("Name").SetValue(3.5);
    EXPECT_EQ(records.Fields("Name").Value(), Text("3.5"));
    records.Fields("Name").SetValue(jet::Null{});
    EXPECT_EQ(records.Fields("Name").Value(), Value());
    records.CancelUpdate();
}

TEST_P(Recordsets, ADeletedRecordStaysCurrentUntilAMove) {
    dao::Recordset records = Open("SELECT * FROM Games");
    records.Delete();
    EXPECT_FALSE(records.EOF_());
    EXPECT_EQ(NumberOf([&] { records.Fields("Name").Value(); }), 3167);
    EXPECT_EQ(NumberOf([&] { records.Edit(); }), 3167);
    EXPECT_EQ(NumberOf([&] { records.Delete(); }), 3167);
    records.MoveNext();
    EXPECT_EQ(Show(records.Fields("GA_Id").Value()), "2");
    records.MovePrevious();
    EXPECT_TRUE(records.BOF());
    records.MoveFirst();
    EXPECT_EQ(Show(records.Fields("GA_Id").Value()), "2");
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Games"), "6");
}

TEST_P(Recordsets, DeletingRecordByRecordEmptiesATable) {
    for (int i = 0; i < 500; ++i)
        sample_.Execute("INSERT INTO Games (Name) VALUES ('x" + std::to_string(i) + "')");
    dao::Recordset records = Open("SELECT * FROM Games");
    if (!records.EOF_()) {
        records.MoveFirst();
        while (!records.EOF_()) {
            records.Delete();
            records.MoveNext();
        }
    }
    EXPECT_EQ(NumberOf([&] { records.MoveFirst(); }), 3021);
    EXPECT_TRUE(records.BOF() && records.EOF_());
    EXPECT_EQ(records.RecordCount(), 0);
    records.Close();
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Games"), "0");
}

TEST_P(Recordsets, RecordsDeletedByOthersCannotBeRead) {
    dao::Recordset records = Open("SELECT * FROM Games ORDER BY GA_Id");
    records.MoveNext();
    sample_.Execute("DELETE * FROM Games WHERE GA_Id = 2");
    EXPECT_EQ(NumberOf([&] { records.Fields("Name").Value(); }), 3167);
    EXPECT_EQ(NumberOf([&] { records.Edit(); }), 3167);
    records.MoveNext();
    EXPECT_EQ(Show(records.Fields("GA_Id").Value()), "3");
}

TEST_P(Recordsets, ADynasetSeesChangesAndASnapshotDoesNot) {
    dao::Recordset dynaset = Open("SELECT GA_Id, Name FROM Games");
    dao::Recordset snapshot = Open("SELECT GA_Id, Name FROM Games", RecordsetType::Snapshot);
    snapshot.MoveNext();
    sample_.Execute("UPDATE Games SET Name = 'changed'");
    sample_.Execute("DELETE * FROM Games WHERE GA_Id = 5");
    sample_.Execute("INSERT INTO Games (Name) VALUES ('added')");
    EXPECT_EQ(Show(dynaset.Fields("Name").Value()), "changed");
    EXPECT_EQ(Show(snapshot.Fields("Name").Value()), "armalyte");
    std::string seen;
    for (snapshot.MoveFirst(); !snapshot.EOF_(); snapshot.MoveNext())
        seen += Show(snapshot.Fields("GA_Id").Value()) + Show(snapshot.Fields("Name").Value()) + " ";
    EXPECT_EQ(seen, "1Zynaps 2armalyte 3Bubble Bobble 4Co-op 5Coop 6Delta 7NULL ");
}

TEST_P(Recordsets, SnapshotsAndComputedRecordsCannotBeChanged) {
    dao::Recordset snapshot = Open("Games", RecordsetType::Snapshot);
    EXPECT_EQ(NumberOf([&] { snapshot.AddNew(); }), 3251);
    EXPECT_EQ(NumberOf([&] { snapshot.Edit(); }), 3251);
    EXPECT_EQ(NumberOf([&] { snapshot.Delete(); }), 3251);
    for (const char* sql : {"SELECT DISTINCT Name FROM Games", "SELECT COUNT(*) FROM Games",
                            "SELECT Name FROM Games, Publishers"}) {
        dao::Recordset computed = Open(sql);
        EXPECT_EQ(NumberOf([&] { computed.AddNew(); }), 3027) << sql;
        EXPECT_EQ(NumberOf([&] { computed.Edit(); }), 3027) << sql;
        EXPECT_EQ(NumberOf([&] { computed.Delete(); }), 3027) << sql;
    }
}

TEST_P(Recordsets, ComputedColumnsAndAutoNumbersCannotBeSet) {
    dao::Recordset records = Open("SELECT PU_Id, Publisher, PU_Id * 2 AS Twice FROM Publishers");
    records.Edit();
    EXPECT_EQ(NumberOf([&] { records.Fields("Twice").SetValue(std::int32_t{1}); }), 3164);
    EXPECT_EQ(NumberOf([&] { records.Fields("PU_Id").SetValue(std::int32_t{1}); }), 3164);
    records.Fields("Publisher").SetValue(Text("New"));
    records.Update();
    EXPECT_EQ(Show(records.Fields("Twice").Value()), "2");
    EXPECT_EQ(Rows("SELECT Publisher FROM Publishers WHERE PU_Id = 1"), "New");
}

TEST_P(Recordsets, NothingWorksAfterClose) {
    dao::Recordset records = Open("Games");
    dao::Field field = records.Fields("Name");
    records.Close();
    EXPECT_EQ(NumberOf([&] { records.EOF_(); }), 3420);
    EXPECT_EQ(NumberOf([&] { records.BOF(); }), 3420);
    EXPECT_EQ(NumberOf([&] { records.MoveNext(); }), 3420);
    EXPECT_EQ(NumberOf([&] { records.MoveFirst(); }), 3420);
    EXPECT_EQ(NumberOf([&] { records.Fields("Name"); }), 3420);
    EXPECT_EQ(NumberOf([&] { field.Value(); }), 3420);
    EXPECT_EQ(NumberOf([&] { field.Name(); }), 3420);
    EXPECT_EQ(NumberOf([&] { records.AddNew(); }), 3420);
    EXPECT_EQ(NumberOf([&] { records.Update(); }), 3420);
    EXPECT_EQ(NumberOf([&] { records.RecordCount(); }), 3420);
    EXPECT_EQ(NumberOf([&] { records.Close(); }), 3420);
}

TEST_P(Recordsets, ClosingTheDatabaseClosesThem) {
    dao::Database other = dao::DBEngine().OpenDatabase(sample_.Path());
    dao::Recordset records = other.OpenRecordset("Games");
    records.AddNew();
    records.Fields("Name").SetValue(Text("written"));
    records.Update();
    records.AddNew();
    records.Fields("Name").SetValue(Text("given up"));
    other.Close();
    EXPECT_EQ(NumberOf([&] { records.Update(); }), 3420);
    EXPECT_EQ(Rows("SELECT Name FROM Games WHERE GA_Id > 7"), "written");
}

INSTANTIATE_TEST_SUITE_P(Formats, Recordsets, testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& format) {
                             return format.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::test
