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

}  // namespace
}  // namespace marrowkit::jet::test
