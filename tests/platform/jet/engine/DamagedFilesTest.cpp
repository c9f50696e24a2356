// Whatever bytes a file holds, reading and changing it ends: with an answer or with a numbered error, never
// with anything else.

#include <cstdlib>
#include <random>

#include "EngineTestSupport.h"

namespace marrowkit::jet::test {
namespace {

constexpr int kDamagedCopies = 150;

class DamagedFilesTest : public ::testing::TestWithParam<JetVersion> {
protected:
    /// The bytes of a small database with everything in it: several pages of rows, long values of all kinds,
    /// indexes with inner pages, a relationship, properties.
    std::string MakeSample() {
        const std::string path = (folder_ / "sample.mdb").string();
        const auto database = Database::Create(path, GetParam());
        Column required = TextColumn("Name");
        required.required = true;
        required.defaultValue = "\"x\"";
        database->CreateTable({"P", {LongColumn("Id")}, {PrimaryKey({"Id"})}, "", ""});
        database->CreateTable({"T",
                               {AutoNumberColumn("Id"), required, LongColumn("P"),
                                ColumnOf("Memo", ColumnType::Memo), ColumnOf("Ole", ColumnType::Ole)},
                               {PrimaryKey({"Id"}), IndexOn("Name", {"Name"})},
                               "",
                               ""});
        database->CreateRelationship(RelationshipOf("R", "P", "Id", "T", "P"));
        for (int i = 1; i <= 3; ++i) Insert(*database->OpenTable("P"), {{"Id", i}});
        Unit unit(database->GetPager());
        for (int i = 0; i < 200; ++i) {
            const auto size = static_cast<std::size_t>(i % 10 * i);
            Insert(*database->OpenTable("T"),
                   {{"Name", "A name that is long enough to fill pages " + std::to_string(i * 7919 % 200)},
                    {"P", 1 + i % 3},
                    {"Memo", std::string(size * 3, 'm')},
                    {"Ole", Binary(size, 7)}});
        }
        unit.Commit();
        database->GetPager().Flush();
        return marrowkit::test::ReadFile(path);
    }

    /// Reads all there is. Returns false when something was refused with a numbered error.
    static bool ReadEverything(Database& database) {
        bool sound = true;
        for (const std::string& name : database.TableNames(true)) {
            try {
                const auto table = database.OpenTable(name);
                RowsOf(*table);
                for (std::size_t i = 0; i < table->Indexes().size(); ++i) {
                    const auto walk = table->OpenIndexScan(i, IndexRange::All(), {0});
                    while (walk->Next()) {
                    }
                }
            } catch (const RuntimeError&) {
                sound = false;
            }
        }
        return sound;
    }

    static void ChangeSomething(Database& database) {
        const auto table = database.OpenTable("T");
        ErrorOf([&] { Insert(*table, {{"Name", std::string("new")}, {"Memo", std::string(5000, 'n')}}); });
        std::vector<RowId> rows;
        ErrorOf([&] {
            for (const auto scan = table->OpenScan({0}); scan->Next();) rows.push_back(scan->Id());
        });
        for (std::size_t i = 0; i < rows.size(); ++i) {
            ErrorOf([&] {
                if (i % 2 == 0) {
                    table->Delete(rows[i]);
                } else {
                    Update(*table, rows[i], {{"Name", "changed" + std::to_string(i)}, {"Memo", Null{}}});
                }
            });
        }
        ErrorOf([&] { database.CreateIndex("T", IndexOn("P2", {"P"})); });
        ErrorOf([&] { database.DropTable("T"); });
    }

    marrowkit::test::TemporaryFolder folder_;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, DamagedFilesTest, ::testing::ValuesIn(kBothVersions), VersionName);

TEST_P(DamagedFilesTest, EndWithAnAnswerOrANumberedError) {
    const std::string sample = MakeSample();
    const std::string path = (folder_ / "damaged.mdb").string();
    std::mt19937 random(20040605);
    int refused = 0;
    for (int copy = 0; copy < kDamagedCopies; ++copy) {
        SCOPED_TRACE(copy);
        std::string bytes = sample;
        for (int change = 0; change <= copy % 8; ++change) {
            // Most structure stands at the beginning of its page.
            const std::size_t page = random() % (bytes.size() / 2048) * 2048;
            const std::size_t offset = random() % 2 == 0 ? random() % 64 : random() % 2048;
            bytes[page + offset] = static_cast<char>(random());
        }
        marrowkit::test::WriteFile(path, bytes);
        try {
            OpenOptions options;
            options.readOnly = copy % 2 == 0;
            const auto database = Database::Open(path, options);
            if (!ReadEverything(*database)) ++refused;
            if (!options.readOnly) ChangeSomething(*database);
        } catch (const RuntimeError&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 10);
    EXPECT_LT(refused, kDamagedCopies);
}

/// The bytes of a number's place in the file.
std::size_t PlaceOf(PageNumber page, JetVersion version, std::size_t offset) {
    return std::size_t{page} * (version == JetVersion::Jet4 ? 4096 : 2048) + offset;
}

TEST_P(DamagedFilesTest, AnIndexWhosePagesFormACircleIsRefused) {
    const std::string path = (folder_ / "circle.mdb").string();
    PageNumber root = 0;
    {
        const auto database = Database::Create(path, GetParam());
        database->CreateTable({"T", {LongColumn("Id")}, {PrimaryKey({"Id"})}, "", ""});
        const auto table = database->OpenTable("T");
        Unit unit(database->GetPager());
        for (int i = 0; i < 3000; ++i) Insert(*table, {{"Id", i}});
        unit.Commit();
        database->GetPager().Flush();
        root = table->Definition().realIndexes.front().rootPage;
    }
    // Every leaf becomes a copy of the root: whoever goes down never arrives.
    std::string bytes = marrowkit::test::ReadFile(path);
    const std::size_t pageBytes = PlaceOf(1, GetParam(), 0);
    const std::string rootBytes = bytes.substr(PlaceOf(root, GetParam(), 0), pageBytes);
    int leaves = 0;
    for (std::size_t at = 0; at < bytes.size(); at += pageBytes) {
        constexpr char kLeaf = 4;
        const bool ofTable = bytes.compare(at + 4, 4, rootBytes, 4, 4) == 0;
        if (bytes[at] != kLeaf || !ofTable) continue;
        bytes.replace(at, pageBytes, rootBytes);
        ++leaves;
    }
    ASSERT_GT(leaves, 1);
    marrowkit::test::WriteFile(path, bytes);
    const auto database = Database::Open(path);
    const auto table = database->OpenTable("T");
    EXPECT_EQ(RowsOf(*table).size(), 3000U);
    EXPECT_EQ(ErrorOf([&] { Walk(*table, "PrimaryKey", IndexRange::All(), "Id"); }), 3049);
    EXPECT_EQ(ErrorOf([&] { Walk(*table, "PrimaryKey", IndexRange::All(), "Id", true); }), 3049);
    EXPECT_EQ(ErrorOf([&] { Insert(*table, {{"Id", 5000}}); }), 3049);
    EXPECT_EQ(RowsOf(*table).size(), 3000U);
}

TEST_P(DamagedFilesTest, AnIndexInAnUnknownSortOrderTakesNoNewKeys) {
    const std::string path = (folder_ / "turkish.mdb").string();
    std::size_t sortOrder = 0;
    {
        const auto database = Database::Create(path, GetParam());
        database->CreateTable({"T", {TextColumn("Name")}, {IndexOn("ByName", {"Name"})}, "", ""});
        for (const char* name : {"b", "a"}) Insert(*database->OpenTable("T"), {{"Name", std::string(name)}});
        database->GetPager().Flush();
        // Behind the fixed part and the statistics of one index, at its place in the first column.
        const std::size_t offset = GetParam() == JetVersion::Jet4 ? 63 + 12 + 11 : 43 + 8 + 9;
        sortOrder = PlaceOf(database->OpenTable("T")->Definition().page, GetParam(), offset);
    }
    std::string bytes = marrowkit::test::ReadFile(path);
    ASSERT_EQ(bytes.substr(sortOrder, 2), "\x09\x04");
    bytes.replace(sortOrder, 2, "\x1F\x04");
    marrowkit::test::WriteFile(path, bytes);
    const auto database = Database::Open(path);
    const auto table = database->OpenTable("T");
    EXPECT_EQ(Walk(*table, "ByName", IndexRange::All(), "Name"),
              (std::vector<Value>{std::string("a"), std::string("b")}));
    const RowId first = [&] {
        const auto scan = table->OpenScan({0});
        EXPECT_TRUE(scan->Next());
        return scan->Id();
    }();
    EXPECT_EQ(ErrorOf([&] { Update(*table, first, {{"Name", std::string("c")}}); }), 3251);
    try {
        Insert(*table, {{"Name", std::string("c")}});
        ADD_FAILURE() << "was inserted";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3251);
        EXPECT_NE(error.description.find("column 'Name', whose sort order 0x041F"), std::string::npos);
    }
    EXPECT_EQ(RowsOf(*table).size(), 2U);
    // Its entries are found by their rows.
    table->Delete(first);
    EXPECT_EQ(Walk(*table, "ByName", IndexRange::All(), "Name"), (std::vector<Value>{std::string("a")}));
}

TEST_P(DamagedFilesTest, CutFilesAreRefused) {
    const std::string sample = MakeSample();
    const std::string path = (folder_ / "cut.mdb").string();
    for (const std::size_t size : {std::size_t{0}, std::size_t{10}, std::size_t{2048}, std::size_t{4096},
                                   sample.size() / 2, sample.size() - 1}) {
        SCOPED_TRACE(size);
        marrowkit::test::WriteFile(path, sample.substr(0, size));
        const int error = ErrorOf([&] {
            const auto database = Database::Open(path);
            if (!ReadEverything(*database)) throw RuntimeError(3049, "");
        });
        EXPECT_NE(error, 0);
    }
}

/// A copy that was cut off: what is left of a table is not taken for the whole of it.
TEST_P(DamagedFilesTest, ATableWithPagesBehindTheEndOfTheFileIsNoShorterTable) {
    const std::string path = (folder_ / "cut.mdb").string();
    {
        const auto database = Database::Create(path, GetParam());
        database->CreateTable({"T", {TextColumn("Name")}, {}, "", ""});
        for (int i = 0; i < 1000; ++i) Insert(*database->OpenTable("T"), {{"Name", std::string(50, 'n')}});
    }
    const std::string whole = marrowkit::test::ReadFile(path);
    const std::size_t pageBytes = GeometryOf(GetParam()).pageBytes;
    for (const std::size_t pages : {1, 3}) {
        SCOPED_TRACE(pages);
        marrowkit::test::WriteFile(path, whole.substr(0, whole.size() - pages * pageBytes));
        const auto database = Database::Open(path);
        const auto table = database->OpenTable("T");
        EXPECT_EQ(ErrorOf([&] { RowsOf(*table); }), 3049);
        EXPECT_EQ(ErrorOf([&] {
                      const auto scan = table->OpenScan({0});
                      for (int row = 0; row < 700; ++row) ASSERT_TRUE(scan->Next()) << row;
                  }),
                  0)
            << "what is there can be read";
    }
}

}  // namespace
}  // namespace marrowkit::jet::test
