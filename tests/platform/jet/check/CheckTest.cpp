#include <algorithm>
#include <ostream>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fault/MemoryStorage.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/check/CheckIndex.h"
#include "platform/jet/check/CheckOpenFile.h"
#include "platform/jet/check/CheckTestDatabase.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/storage/Pager.h"
#include "support/FaultStorage.h"
#include "support/TableDesigns.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace marrowkit::test {
namespace {

using jet::JetVersion;
using jet::PageNumber;
using jet::RowId;
using testing::HasSubstr;
using testing::IsEmpty;

/// One made database per version for all tests.
const std::vector<std::uint8_t>& Pristine(JetVersion version) {
    static const std::vector<std::uint8_t> jet3 = MakeCheckDatabase(JetVersion::Jet3);
    static const std::vector<std::uint8_t> jet4 = MakeCheckDatabase(JetVersion::Jet4);
    return version == JetVersion::Jet3 ? jet3 : jet4;
}

/// Sets or clears a page's bit in an inline usage map.
void PutMapBit(DatabaseBytes& file, RowId map, PageNumber page, bool set) {
    const std::size_t row = file.RowOffset(map);
    const jet::MutableByteView bytes(file.bytes);
    ASSERT_EQ(bytes.View().U8(row), 0) << "the test needs an inline map";
    const PageNumber bit = page - bytes.View().U32(row + 1);
    const std::size_t at = row + 5 + bit / 8;
    const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
    const std::uint8_t old = bytes.View().U8(at);
    bytes.PutU8(at, static_cast<std::uint8_t>(set ? old | mask : old & ~mask));
}

void AddToU16(jet::MutableByteView page, std::size_t at, int change) {
    page.PutU16(at, static_cast<std::uint16_t>(page.View().U16(at) + change));
}

/// The first slot of a table's pages with these flags.
RowId FindSlot(DatabaseBytes& file, const std::vector<PageNumber>& pages, std::uint16_t flags) {
    const std::size_t header = file.PageGeometry().dataHeaderBytes;
    for (const PageNumber number : pages) {
        const jet::ByteView page = file.Page(number);
        for (std::uint8_t slot = 0; slot < page.U16(header - 2); ++slot) {
            if ((page.U16(header + 2 * std::size_t{slot}) & 0xC000) == flags) return {number, slot};
        }
    }
    ADD_FAILURE() << "the made database has no such slot";
    return {};
}

void PutSlotFlags(DatabaseBytes& file, RowId row, std::uint16_t flags) {
    const std::size_t at = file.PageGeometry().dataHeaderBytes + 2 * std::size_t{row.slot};
    const jet::MutableByteView page = file.Page(row.page);
    page.PutU16(at, static_cast<std::uint16_t>((page.View().U16(at) & 0x1FFF) | flags));
}

std::size_t EntriesStart(DatabaseBytes& file) {
    return file.PageGeometry().indexEntriesStart;
}
std::size_t LinksAt(DatabaseBytes& file) {
    return file.PageGeometry().version == JetVersion::Jet3 ? 8 : 12;
}

/// The greatest entry of a leaf without a prefix: offset of its last byte's successor on the page.
std::size_t EndOfEntries(DatabaseBytes& file, PageNumber leaf) {
    return file.PageGeometry().pageBytes - file.Page(leaf).View().U16(2);
}

struct Damage {
    const char* name;
    void (*apply)(DatabaseBytes& file);
    const char* expected;  ///< in one of the findings
};

void PrintTo(const Damage& one, std::ostream* out) {
    *out << one.name;
}

const Damage kDamages[] = {
    {"FreeWordOfADataPage",
     [](DatabaseBytes& file) { AddToU16(file.Page(file.Table("Things").dataPages[0]), 2, 1); }, "free bytes"},
    {"PageInUseMarkedFree",
     [](DatabaseBytes& file) {
         PutMapBit(file, {1, 0}, file.Table("Things").dataPages[0], true);
     },
     "is marked free"},
    {"PageMissingInItsTablesMap",
     [](DatabaseBytes& file) {
         const TableParts things = file.Table("Things");
         PutMapBit(file, things.definition.ownedMap, things.dataPages[1], false);
     },
     "rows, there are"},
    {"PageOfTwoTables",
     [](DatabaseBytes& file) {
         PutMapBit(file, file.Table("Things").definition.ownedMap, file.Table("Owners").dataPages[0], true);
     },
     "belongs to"},
    {"RoomOnAPageOfAnotherTable",
     [](DatabaseBytes& file) {
         PutMapBit(file, file.Table("Things").definition.freeMap, file.Table("Owners").dataPages[0], true);
     },
     "is not one of the table's pages"},
    {"TwoMapsInOneRow",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things",
                             [](jet::TableDefinition& things) { things.freeMap = things.ownedMap; });
     },
     "serves something else too"},
    {"RowsNotBackToBack",
     [](DatabaseBytes& file) {
         AddToU16(file.Page(file.Table("Things").dataPages[0]), file.PageGeometry().dataHeaderBytes + 2, 500);
     },
     "does not lie in front of the row before it"},
    {"MoreSlotsThanFit",
     [](DatabaseBytes& file) {
         file.Page(file.Table("Things").dataPages[0]).PutU16(file.PageGeometry().dataHeaderBytes - 2, 4000);
     },
     "claims 4000 rows"},
    {"MovedRowWithoutItsData",
     [](DatabaseBytes& file) {
         PutSlotFlags(file, FindSlot(file, file.Table("Things").dataPages, 0x8000), 0xC000);
     },
     "is deleted but still referred to"},
    {"DataOfAMovedRowWithoutItsRow",
     [](DatabaseBytes& file) {
         PutSlotFlags(file, FindSlot(file, file.Table("Things").dataPages, 0x4000), 0xC000);
     },
     "holds a moved row that nothing refers to"},
    {"LongValueDeletedUnderItsRow",
     [](DatabaseBytes& file) {
         PutSlotFlags(file, FindSlot(file, file.Table("Things").longValuePages, 0), 0xC000);
     },
     "long value"},
    {"LongValueWithoutARow",
     [](DatabaseBytes& file) {
         // The row is gone, its long values are not.
         PutSlotFlags(file, RowId{file.Table("Things").dataPages[0], 7}, 0xC000);
     },
     "belongs to no row"},
    {"RowMissingInItsIndex",
     [](DatabaseBytes& file) {
         const std::size_t leaf = file.Leaves(file.Table("Owners").Index("PrimaryKey"))[0];
         // The last entry's row byte names a slot that no row has.
         const jet::MutableByteView page = file.Page(static_cast<PageNumber>(leaf));
         page.PutU8(EndOfEntries(file, static_cast<PageNumber>(leaf)) - 1, 200);
     },
     "lacks the entry of row 19"},
    {"IndexEntryThatIsNotTheRowsKey",
     [](DatabaseBytes& file) {
         const PageNumber leaf = file.Leaves(file.Table("Owners").Index("PrimaryKey"))[0];
         file.Page(leaf).PutU8(EndOfEntries(file, leaf) - 5, 0x77);
     },
     "that is not the row's key"},
    {"IndexEntriesOutOfOrder",
     [](DatabaseBytes& file) {
         const PageNumber leaf = file.Leaves(file.Table("Owners").Index("PrimaryKey"))[0];
         file.Page(leaf).PutU8(EntriesStart(file) + 1, 0xFF);
     },
     "is out of order"},
    {"LeafWithoutItsNextLeaf",
     [](DatabaseBytes& file) {
         const PageNumber leaf = file.Leaves(file.Table("Things").Index("PrimaryKey"))[0];
         file.Page(leaf).PutU32(LinksAt(file) + 4, 0);
     },
     "is not linked with the leaf before it"},
    {"LeafWithAWrongPreviousLeaf",
     [](DatabaseBytes& file) {
         const PageNumber leaf = file.Leaves(file.Table("Things").Index("PrimaryKey"))[1];
         file.Page(leaf).PutU32(LinksAt(file), leaf);
     },
     "is not linked with the leaf before it"},
    {"NodeWithoutItsTail",
     [](DatabaseBytes& file) {
         file.Page(file.Table("Things").Index("PrimaryKey").rootPage).PutU32(LinksAt(file) + 8, 0);
     },
     "has no tail child"},
    {"TreeWithALoop",
     [](DatabaseBytes& file) {
         const PageNumber root = file.Table("Things").Index("PrimaryKey").rootPage;
         file.Page(root).PutU32(LinksAt(file) + 8, root);
     },
     "appears twice in the tree"},
    {"IndexPageMissingInTheMap",
     [](DatabaseBytes& file) {
         const jet::RealIndex index = file.Table("Things").Index("PrimaryKey");
         PutMapBit(file, index.pageMap, file.Leaves(index)[0], false);
     },
     "of the tree is not in the index's map"},
    {"LeafWithALevel",
     [](DatabaseBytes& file) {
         const bool isJet3 = file.PageGeometry().version == JetVersion::Jet3;
         file.Page(file.Leaves(file.Table("Things").Index("PrimaryKey"))[0]).PutU8(isJet3 ? 21 : 26, 1);
     },
     "has level 1 as a leaf"},
    {"FreeWordOfAnIndexPage",
     [](DatabaseBytes& file) {
         AddToU16(file.Page(file.Table("Owners").Index("PrimaryKey").rootPage), 2, -3);
     },
     "free bytes, there are"},
    {"SameKeyTwiceInAUniqueIndex",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) {
             for (jet::RealIndex& index : things.realIndexes) index.flags |= jet::RealIndex::kUniqueFlag;
         });
     },
     "has the key of another row"},
    {"NullWhereTheIndexForbidsIt",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) {
             for (jet::RealIndex& index : things.realIndexes) index.flags |= jet::RealIndex::kRequiredFlag;
         });
     },
     "index Name does not allow Null"},
    {"WrongRowCount",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) { things.rowCount = 1501; });
     },
     "the definition counts 1501 rows, there are 1500"},
    {"AutoNumberBehindTheRows",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) { things.lastAutoNumber = 10; });
     },
     "the AutoNumber counter stands at 10, a row has 1500"},
    {"FixedColumnsOverlap",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) {
             for (jet::ColumnDefinition& column : things.columns) column.fixedOffset = 0;
         });
     },
     "two fixed columns overlap"},
    {"ColumnNumberTwice",
     [](DatabaseBytes& file) {
         file.EditDefinition("Owners", [](jet::TableDefinition& owners) {
             owners.columns[1].number = owners.columns[0].number;
         });
     },
     "column number 0 is given twice"},
    {"TwoColumnsOfOneName",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) {
             for (jet::ColumnDefinition& column : things.columns) {
                 if (column.name == "OwnerId") column.name = "pICTURE";
             }
         });
     },
     "column Picture exists twice"},
    {"VariableIndexTwice",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) {
             for (jet::ColumnDefinition& column : things.columns) column.variableIndex = 0;
         });
     },
     "variable slot 0 is given twice"},
    {"VariableIndexTooHigh",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) { things.variableColumns = 2; });
     },
     "variable slot 2 is given twice or too high"},
    {"UnknownColumnType",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) {
             for (jet::ColumnDefinition& column : things.columns) {
                 if (column.name == "OwnerId") column.type = static_cast<jet::ColumnType>(14);
             }
         });
     },
     "unknown type 14"},
    {"IndexNumberTwice",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) {
             for (jet::LogicalIndex& index : things.logicalIndexes) index.number = 0;
         });
     },
     "another index has its number"},
    {"IndexWithoutATree",
     [](DatabaseBytes& file) {
         file.EditDefinition("Owners",
                             [](jet::TableDefinition& owners) { owners.logicalIndexes[0].realIndex = 9; });
     },
     "stands for index 9, which does not exist"},
    {"IndexWithoutAColumn",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) {
             for (jet::RealIndex& index : things.realIndexes) index.columns.clear();
         });
     },
     "has no column"},
    {"IndexOnAColumnThatDoesNotExist",
     [](DatabaseBytes& file) {
         file.EditDefinition("Owners", [](jet::TableDefinition& owners) {
             owners.realIndexes[0].columns[0].columnNumber = 99;
         });
     },
     "is on column number 99, which does not exist"},
    {"RelationshipWithoutItsOtherSide",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) {
             for (jet::LogicalIndex& index : things.logicalIndexes) {
                 if (index.kind == jet::LogicalIndex::Kind::Relationship) index.partnerNumber = 77;
             }
         });
     },
     "does not answer it"},
    {"SidesThatCascadeDifferently",
     [](DatabaseBytes& file) {
         file.EditDefinition("Things", [](jet::TableDefinition& things) {
             for (jet::LogicalIndex& index : things.logicalIndexes) {
                 if (index.kind == jet::LogicalIndex::Kind::Relationship) index.cascadeDeletes = 1;
             }
         });
     },
     "cascade differently"},
    {"RowThatRefersToNoRow",
     [](DatabaseBytes& file) {
         const TableParts things = file.Table("Things");
         // The last entry of the index on OwnerId, and the column in its row, get a number no owner has. The
         // key stays the greatest.
         const PageNumber leaf = file.Leaves(things.Index("OwnersThings")).back();
         const std::size_t end = EndOfEntries(file, leaf);
         const jet::MutableByteView page = file.Page(leaf);
         const RowId row{page.View().U24BigEndian(end - 4), page.View().U8(end - 1)};
         ASSERT_EQ(page.View().U8(end - 5), 20) << "a prefix reaches into the key: the test needs other data";
         page.PutU8(end - 5, 99);
         const std::size_t prefix = file.PageGeometry().version == JetVersion::Jet3 ? 1 : 2;
         file.bytes[file.RowOffset(row) + prefix + things.Column("OwnerId").fixedOffset] = 99;
     },
     "refers to no row of table Owners"},
    {"HeaderConstant", [](DatabaseBytes& file) { file.bytes[0x20] ^= 1; }, "constant part of the header"},
    {"FileEndsInAPage", [](DatabaseBytes& file) { file.bytes.resize(file.bytes.size() - 100); },
     "ends in the middle of page"},
    {"FileCutInHalf",
     [](DatabaseBytes& file) {
         const std::size_t pages = file.bytes.size() / file.PageGeometry().pageBytes;
         file.bytes.resize(pages / 2 * file.PageGeometry().pageBytes);
     },
     "beyond the file's end"},
    {"CatalogWithoutADefinition", [](DatabaseBytes& file) { file.Page(2).PutU8(0, 9); }, "has type 9"},
    {"TableWithoutADefinition",
     [](DatabaseBytes& file) { file.Page(file.Table("Things").definition.page).PutU8(0, 8); }, "has type 8"},
    {"DefinitionThatGoesOnInItself",
     [](DatabaseBytes& file) {
         const PageNumber page = file.Table("Things").definition.page;
         file.Page(page).PutU32(4, page);
         file.Page(page).PutU32(8, 1'000'000);
     },
     "has no end"},
};

class CheckDamageTest : public testing::TestWithParam<std::tuple<JetVersion, Damage>> {};

TEST_P(CheckDamageTest, IsFound) {
    const auto& [version, damage] = GetParam();
    DatabaseBytes file(Pristine(version));
    ASSERT_THAT(file.Check(), IsEmpty());
    damage.apply(file);
    if (HasFatalFailure()) return;
    EXPECT_THAT(file.Check(), testing::Contains(HasSubstr(damage.expected)));
}

std::string DamageName(const testing::TestParamInfo<std::tuple<JetVersion, Damage>>& parameter) {
    const bool isJet3 = std::get<0>(parameter.param) == JetVersion::Jet3;
    return (isJet3 ? "Jet3" : "Jet4") + std::string(std::get<1>(parameter.param).name);
}

INSTANTIATE_TEST_SUITE_P(Damages, CheckDamageTest,
                         testing::Combine(testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                                          testing::ValuesIn(kDamages)),
                         DamageName);

/// A chain of long-value pages that leads back into itself is walked once around at most.
TEST(CheckTest, ALoopInALongValueIsFoundAndEnds) {
    for (const JetVersion version : {JetVersion::Jet3, JetVersion::Jet4}) {
        DatabaseBytes file(Pristine(version));
        const std::size_t fullPiece = version == JetVersion::Jet3 ? 2036 : 4076;
        bool found = false;
        for (const PageNumber number : file.Table("Things").longValuePages) {
            const std::size_t at = file.RowOffset({number, 0});
            const std::size_t end = std::size_t{number + 1} * file.PageGeometry().pageBytes;
            if (end - at != fullPiece) continue;
            jet::MutableByteView(file.bytes).PutU32(at, RowId{number, 0}.Stored());
            found = true;
            break;
        }
        ASSERT_TRUE(found) << "the made database has no chain";
        EXPECT_THAT(file.Check(), testing::Contains(HasSubstr("long value")));
    }
}

/// A database in memory that the engine and DatabaseBytes work on by turns.
class EditedDatabase {
public:
    explicit EditedDatabase(JetVersion version) {
        jet::OpenOptions options;
        options.storage = &storage_;
        const auto database = jet::Database::Create(kPath, version, options);
        database->GetPager().Flush();
    }

    template <typename Step>
    void WithEngine(const Step& step) {
        jet::OpenOptions options;
        options.storage = &storage_;
        const auto database = jet::Database::Open(kPath, options);
        step(*database);
        database->GetPager().Flush();
    }
    template <typename Change>
    void EditDefinition(const std::string& table, const Change& change) {
        DatabaseBytes file(storage_.Get(kPath));
        file.EditDefinition(table, change);
        storage_.Put(kPath, file.bytes);
    }
    template <typename Change>
    void EditBytes(const Change& change) {
        std::vector<std::uint8_t> bytes = storage_.Get(kPath);
        change(bytes);
        storage_.Put(kPath, std::move(bytes));
    }
    std::vector<std::string> Check() const { return DatabaseBytes(storage_.Get(kPath)).Check(); }

private:
    static constexpr const char* kPath = "edited.mdb";
    MemoryStorage storage_;
};

/// Parent rows 1 to 9 by a descending primary key, three children each by the ascending index that the
/// relationship made.
EditedDatabase DatabaseOfTwoDirections(JetVersion version) {
    EditedDatabase database(version);
    database.WithEngine([](jet::Database& file) {
        jet::TableDesign parents;
        parents.name = "Parents";
        parents.columns = {MakeColumn("Id", jet::ColumnType::Long), MakeColumn("Sub", jet::ColumnType::Byte)};
        jet::Index key;
        key.name = "PrimaryKey";
        key.parts = {{"Id", false}, {"Sub", true}};
        key.primaryKey = key.unique = key.required = true;
        parents.indexes = {key};
        file.CreateTable(parents);
        jet::TableDesign children;
        children.name = "Children";
        children.columns = parents.columns;
        file.CreateTable(children);
        jet::Relationship relationship;
        relationship.name = "ParentOf";
        relationship.table = "Parents";
        relationship.foreignTable = "Children";
        relationship.columns = {{"Id", "Id"}, {"Sub", "Sub"}};
        file.CreateRelationship(relationship);
        for (int i = 1; i < 10; ++i) {
            const std::vector<jet::Assignment> row{{0, i}, {1, std::uint8_t{7}}};
            file.OpenTable("Parents")->Insert(row);
            for (int child = 0; child < 3; ++child) file.OpenTable("Children")->Insert(row);
        }
        file.OpenTable("Children")->Insert({});
    });
    return database;
}

class CheckVersionTest : public testing::TestWithParam<JetVersion> {};
INSTANTIATE_TEST_SUITE_P(Versions, CheckVersionTest, testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& version) {
                             return version.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

TEST_P(CheckVersionTest, RelationshipsWhoseSidesRunInDifferentDirectionsAreFollowed) {
    EditedDatabase database = DatabaseOfTwoDirections(GetParam());
    EXPECT_THAT(database.Check(), IsEmpty());

    // A parent goes while nobody watches.
    const auto setKind = [&](jet::LogicalIndex::Kind from, jet::LogicalIndex::Kind to) {
        for (const char* table : {"Parents", "Children"}) {
            database.EditDefinition(table, [&](jet::TableDefinition& definition) {
                for (jet::LogicalIndex& index : definition.logicalIndexes) {
                    if (index.kind == from) index.kind = to;
                }
            });
        }
    };
    setKind(jet::LogicalIndex::Kind::Relationship, jet::LogicalIndex::Kind::Ordinary);
    database.WithEngine([](jet::Database& file) {
        const auto parents = file.OpenTable("Parents");
        const auto scan = parents->OpenScan({0});
        while (scan->Next()) {
            if (scan->Values()[0] == jet::Value(4)) return parents->Delete(scan->Id());
        }
        FAIL() << "no such parent";
    });
    setKind(jet::LogicalIndex::Kind::Ordinary, jet::LogicalIndex::Kind::Relationship);
    const std::vector<std::string> found = database.Check();
    EXPECT_THAT(found, testing::SizeIs(3));
    EXPECT_THAT(found, testing::Each(HasSubstr("refers to no row of table Parents")));
}

TEST_P(CheckVersionTest, RowsWithoutARequiredValueAreFound) {
    EditedDatabase database(GetParam());
    database.WithEngine([](jet::Database& file) {
        jet::Column required = MakeColumn("Name", jet::ColumnType::Memo);
        required.required = true;
        jet::Column flag = MakeColumn("Flag", jet::ColumnType::Boolean);
        flag.required = true;
        file.CreateTable({"T", {MakeColumn("Id", jet::ColumnType::Long), required, flag}, {}, "", ""});
        const auto table = file.OpenTable("T");
        table->Insert(std::vector<jet::Assignment>{{0, 1}, {1, std::string("one")}});
        table->Insert(std::vector<jet::Assignment>{{1, std::string(5000, 'x')}});
        EXPECT_THROW(table->Insert(std::vector<jet::Assignment>{{0, 3}}), RuntimeError);
    });
    EXPECT_THAT(database.Check(), IsEmpty());

    // Rows that were there before the column have no value for it.
    database.WithEngine([](jet::Database& file) {
        jet::Column late = MakeColumn("Late", jet::ColumnType::Long);
        late.required = true;
        file.AddColumn("T", late);
    });
    EXPECT_THAT(database.Check(),
                testing::ElementsAre(testing::StartsWith(
                    "table T: column Late requires a value, 2 rows have none; the first is row 0 of page")));
    database.WithEngine([](jet::Database& file) {
        const auto table = file.OpenTable("T");
        std::vector<jet::RowId> rows;
        for (const auto scan = table->OpenScan({}); scan->Next();) rows.push_back(scan->Id());
        for (const jet::RowId row : rows) table->Update(row, std::vector<jet::Assignment>{{3, 5}});
    });
    EXPECT_THAT(database.Check(), IsEmpty());
}

TEST_P(CheckVersionTest, ACounterThatRanOverMayStandBelowTheRows) {
    EditedDatabase database(GetParam());
    database.WithEngine([](jet::Database& file) {
        jet::Column id = MakeColumn("Id", jet::ColumnType::Long);
        id.autoNumber = true;
        file.CreateTable({"T", {id, MakeColumn("X", jet::ColumnType::Long)}, {}, "", ""});
        const auto table = file.OpenTable("T");
        table->Insert(std::vector<jet::Assignment>{{0, 2147483647}});
        table->Insert(std::vector<jet::Assignment>{{1, 1}});  // goes on at the least number there is
        table->Insert(std::vector<jet::Assignment>{{0, 8}});
        EXPECT_EQ(table->TakeAutoNumber(), 9);
    });
    EXPECT_THAT(database.Check(), IsEmpty());
}

TEST_P(CheckVersionTest, PropertiesThatDoNotHoldTogetherAreFound) {
    EditedDatabase database(GetParam());
    database.WithEngine([](jet::Database& file) {
        jet::Column required = MakeColumn("Id", jet::ColumnType::Long);
        required.required = true;
        file.CreateTable({"T", {required}, {}, "", ""});
    });
    database.EditBytes([](std::vector<std::uint8_t>& bytes) {
        const std::string_view signature = GetParam() == JetVersion::Jet3 ? "KKD" : "MR2";
        const auto found = std::ranges::search(bytes, signature);
        ASSERT_FALSE(found.empty());
        found.begin()[4] ^= 0x40;  // the length of the list of names
    });
    EXPECT_THAT(database.Check(), testing::ElementsAre(HasSubstr("its properties do not hold together")));
}

TEST(CheckTest, FindsNothingInFilesThatAccessWrote) {
    MARROWKIT_NEED_TEST_DATA();
    std::size_t files = 0;
    for (const char* folder : {"mdb", "template"}) {
        for (const auto& file : SampleFiles(folder, ".mdb")) {
            // A password keeps Check out, but not the walk behind it.
            const jet::check::CheckFile opened(jet::HostStorage(), file.string());
            jet::check::CheckReport report(100);
            jet::check::CheckOpenFile(opened, report);
            for (const jet::Problem& problem : report.Problems()) {
                ADD_FAILURE() << file.filename() << ": " << problem.ToText();
            }
            ++files;
        }
    }
    EXPECT_GT(files, 20U);
}

TEST(CheckTest, ADatabaseWithAPasswordIsAFindingWithItsErrorsText) {
    MARROWKIT_NEED_TEST_DATA();
    for (const auto& file : SampleFiles("mdb/jet4", ".mdb")) {
        if (!file.filename().string().starts_with("password")) continue;
        const std::vector<jet::Problem> problems = jet::Check(file.string());
        ASSERT_EQ(problems.size(), 1U);
        EXPECT_EQ(problems[0].ToText(), "Not a valid password.");
    }
}

TEST(CheckTest, WhatIsNoDatabaseIsAFindingWithItsErrorsText) {
    MemoryStorage storage;
    storage.Put("C:\\notes.txt", {'h', 'e', 'l', 'l', 'o'});
    const std::vector<jet::Problem> problems = jet::Check("C:\\notes.txt", 10, &storage);
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_THAT(problems[0].ToText(), HasSubstr("Unrecognized database format"));
    EXPECT_THAT(problems[0].ToText(), HasSubstr("C:\\notes.txt"));
}

TEST(CheckTest, AnInterruptedChangeIsNoDamage) {
    const std::string path = "Interrupted.mdb";
    const auto disk = std::make_shared<jet::test::FaultDisk>();
    jet::test::FaultStorage storage(disk);
    storage.Open(path, jet::OpenMode::CreateNew)->Write(0, Pristine(JetVersion::Jet4));
    {
        const auto pager = jet::Pager::Open(storage, path);
        jet::Unit unit(*pager);
        for (const PageNumber page : {PageNumber{2}, PageNumber{4}})
            pager->Edit(page).Mutable().Fill(0, 16, 0xFF);
        unit.Commit();
        // Creating the journal, its header, the records, two syncs, and the first of two pages.
        disk->powerOffAt = disk->operations + 7;
    }
    disk->Reboot(jet::test::Survival::Everything, 1);
    const auto torn = disk->names.at(path)->now;
    ASSERT_NE(torn, Pristine(JetVersion::Jet4));

    const auto problems = jet::Check(path, 100, &storage);
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_THAT(problems[0].ToText(), HasSubstr("a change was interrupted"));
    EXPECT_EQ(disk->names.at(path)->now, torn);

    jet::Pager::Open(storage, path, {.readOnly = true});
    EXPECT_THAT(jet::Check(path, 100, &storage), IsEmpty());
}

TEST(CheckTest, AMissingFileIsTheCallersError) {
    MemoryStorage storage;
    try {
        jet::Check("nowhere.mdb", 10, &storage);
        FAIL() << "no error";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3024);
    }
}

TEST(CheckTest, ReportsNoMoreProblemsThanAsked) {
    DatabaseBytes file(Pristine(JetVersion::Jet4));
    for (const PageNumber page : file.Table("Things").dataPages) AddToU16(file.Page(page), 2, 1);
    MemoryStorage storage;
    storage.Put("db", file.bytes);
    EXPECT_EQ(jet::Check("db", 3, &storage).size(), 3U);
}

TEST(CheckTest, GoesOnBehindADamagedTable) {
    DatabaseBytes file(Pristine(JetVersion::Jet4));
    const TableParts things = file.Table("Things");
    file.Page(file.Table("Owners").definition.page).PutU8(0, 8);
    AddToU16(file.Page(things.dataPages[0]), 2, 1);
    const auto found = file.Check();
    EXPECT_THAT(found, testing::Contains(HasSubstr("table Owners")));
    EXPECT_THAT(found, testing::Contains(HasSubstr("table Things")));
}

/// More pages than the cache begins with, in orders that make it drop and want them again.
TEST(CheckFileTest, GivesEveryPageWhateverTheOrder) {
    std::mt19937 random(2);
    for (const JetVersion version : {JetVersion::Jet3, JetVersion::Jet4}) {
        std::vector<std::uint8_t> bytes = MakeSmallCheckDatabase(version);
        const std::size_t pageBytes = jet::GeometryOf(version).pageBytes;
        bytes.resize(2000 * pageBytes + 100);
        for (std::size_t at = pageBytes; at < bytes.size(); ++at) {
            bytes[at] = static_cast<std::uint8_t>(random());
        }
        MemoryStorage storage;
        storage.Put("db", bytes);
        const jet::check::CheckFile file(storage, "db");
        ASSERT_EQ(file.PageCount(), 2000U);
        const auto expect = [&](PageNumber page) {
            const auto expected = std::span(bytes).subspan(page * pageBytes, pageBytes);
            ASSERT_TRUE(std::ranges::equal(file.Read(page).bytes.All(), expected)) << page;
        };
        for (int pass = 0; pass < 3; ++pass) {
            for (PageNumber page = 0; page < 2000; ++page) expect(page);
        }
        const jet::check::FilePage held = file.Read(7);
        for (int i = 0; i < 20000; ++i) expect(static_cast<PageNumber>(random() % 2000));
        EXPECT_TRUE(std::ranges::equal(held.bytes.All(), std::span(bytes).subspan(7 * pageBytes, pageBytes)));
        EXPECT_THROW(file.Read(2000), jet::check::Damage);
    }
}

TEST(HashBytesTest, TellsEveryChangeOfOneBitAndOfTheOrder) {
    std::vector<std::uint8_t> bytes(200);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 37);
    std::set<std::uint64_t> seen;
    std::size_t inputs = 0;
    const auto see = [&](std::span<const std::uint8_t> input, std::uint64_t seed) {
        seen.insert(jet::check::HashBytes(input, seed));
        ++inputs;
    };
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        const auto input = std::span(bytes).first(length);
        see(input, 0);
        see(input, 1);
        for (std::size_t bit = 0; bit < 8 * length; ++bit) {
            const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
            input[bit / 8] ^= mask;
            see(input, 0);
            input[bit / 8] ^= mask;
        }
        for (std::size_t word = 8; word + 8 <= length; word += 8) {
            const auto at = input.begin() + static_cast<std::ptrdiff_t>(word);
            std::swap_ranges(at - 8, at, at);
            see(input, 0);
            std::swap_ranges(at - 8, at, at);
        }
    }
    EXPECT_EQ(seen.size(), inputs);
}

TEST(ProblemTest, NamesTableAndPage) {
    EXPECT_EQ((jet::Problem{7, "Games", "something is wrong"}).ToText(),
              "table Games: something is wrong (page 7)");
    EXPECT_EQ((jet::Problem{7, "", "page 7 is odd"}).ToText(), "page 7 is odd");
    EXPECT_EQ((jet::Problem{0, "", "odd"}).ToText(), "odd");
}

}  // namespace
}  // namespace marrowkit::test
