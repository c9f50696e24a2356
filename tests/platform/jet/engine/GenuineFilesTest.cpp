// Databases that Access wrote: what other readers see in them, we see; what we change, they read.

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "EngineTestSupport.h"
#include "MdbTools.h"
#include "platform/jet/check/Check.h"
#include "support/TestData.h"

namespace marrowkit::jet::test {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> Samples() {
    std::vector<fs::path> files;
    for (const char* folder : {"mdb/jet3", "mdb/jet4", "template"}) {
        for (const fs::path& file : marrowkit::test::SampleFiles(folder, ".mdb")) {
            if (file.filename() != "passwordV2000.mdb") files.push_back(file);
        }
    }
    return files;
}

class GenuineFilesTest : public ::testing::Test {
protected:
    std::string CopyOf(const fs::path& file) { return marrowkit::test::CopySample(file, folder_).string(); }
    marrowkit::test::TemporaryFolder folder_;
};

TEST_F(GenuineFilesTest, EveryCellIsWhatMdbtoolsReads) {
    MARROWKIT_NEED_TEST_DATA();
    if (!MdbTools::IsInstalled()) GTEST_SKIP() << "mdbtools is not installed";
    for (const fs::path& file : Samples()) {
        SCOPED_TRACE(file.filename());
        OpenOptions options;
        options.readOnly = true;
        const auto database = Database::Open(file.string(), options);
        int tables = 0;
        for (const std::string& name : database->TableNames()) {
            SCOPED_TRACE(name);
            MdbTools::ExpectSameCells(file.string(), *database->OpenTable(name));
            ++tables;
        }
        EXPECT_GT(tables, 0);
    }
}

TEST_F(GenuineFilesTest, IndexesMeetEveryRow) {
    MARROWKIT_NEED_TEST_DATA();
    for (const fs::path& file : Samples()) {
        SCOPED_TRACE(file.filename());
        OpenOptions options;
        options.readOnly = true;
        const auto database = Database::Open(file.string(), options);
        for (const std::string& name : database->TableNames()) {
            const auto table = database->OpenTable(name);
            std::int64_t rows = 0;
            for (const auto scan = table->OpenScan({}); scan->Next();) ++rows;
            EXPECT_EQ(table->RowCount(), rows) << name;
            for (std::size_t i = 0; i < table->Indexes().size(); ++i) {
                std::int64_t entries = 0;
                const auto walk = table->OpenIndexScan(i, IndexRange::All(), {});
                while (walk->Next()) ++entries;
                if (!table->Indexes()[i].ignoreNulls) {
                    EXPECT_EQ(entries, rows) << name << ' ' << table->Indexes()[i].name;
                }
            }
        }
    }
}

/// Deletes every third row, changes every third, adds copies of others; all through the table's rules.
/// Returns how many of these changes were not refused.
int Disturb(Table& table) {
    std::vector<std::size_t> columns;
    for (std::size_t i = 0; i < table.Columns().size(); ++i) columns.push_back(i);
    std::vector<std::pair<RowId, Row>> rows;
    for (const auto scan = table.OpenScan(columns); scan->Next();) {
        rows.emplace_back(scan->Id(), scan->Values());
    }
    const auto refused = [](auto&& change) {
        const int error = ErrorOf(change);
        // What rules and relationships refuse is no mistake here; anything else is.
        for (const int expected :
             {0, 3022, 3047, 3058, 3200, 3201, 3251, 3314, 3315, 3316, 3317, 3396, 3404}) {
            if (error == expected) return error != 0;
        }
        ADD_FAILURE() << "error " << error;
        return true;
    };
    int changes = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        auto& [id, row] = rows[i];
        std::vector<Assignment> values;
        for (const std::size_t column : columns) {
            const Column& design = table.Columns()[column];
            if (design.autoNumber || design.type == ColumnType::FixedBlock) continue;
            Value value = row[column];
            if (auto* text = std::get_if<std::string>(&value);
                text != nullptr && design.type == ColumnType::Text) {
                *text = text->substr(0, static_cast<std::size_t>(design.size) / 2) + "x";
            } else if (design.type == ColumnType::Memo) {
                value = std::string(i % 4 * 1500 + 1, 'm');
            }
            values.push_back({column, value});
        }
        bool wasRefused = false;
        if (i % 3 == 0) {
            wasRefused = refused([&] { table.Delete(id); });
        } else if (i % 3 == 1) {
            wasRefused = refused([&] { table.Update(id, values); });
        } else {
            wasRefused = refused([&] { table.Insert(values); });
        }
        if (!wasRefused) ++changes;
    }
    return changes;
}

TEST_F(GenuineFilesTest, ChangedCopiesAreSoundAndReadByMdbtools) {
    MARROWKIT_NEED_TEST_DATA();
    int changes = 0;
    for (const fs::path& file : Samples()) {
        SCOPED_TRACE(file.filename());
        const std::string copy = CopyOf(file);
        const std::size_t problemsBefore = Check(copy).size();
        {
            const auto database = Database::Open(copy);
            Unit unit(database->GetPager());
            for (const std::string& name : database->TableNames()) {
                SCOPED_TRACE(name);
                const auto table = database->OpenTable(name);
                changes += Disturb(*table);
            }
            unit.Commit();
            database->GetPager().Flush();
        }
        const std::vector<Problem> problems = Check(copy);
        if (problems.size() > problemsBefore) {
            for (const Problem& problem : problems) ADD_FAILURE() << problem.ToText();
        }
        if (!MdbTools::IsInstalled()) continue;
        const auto database = Database::Open(copy);
        for (const std::string& name : database->TableNames()) {
            SCOPED_TRACE(name);
            MdbTools::ExpectSameCells(copy, *database->OpenTable(name));
        }
    }
    EXPECT_GT(changes, 1000);
}

TEST_F(GenuineFilesTest, TablesWithUnknownSortOrdersAreReadButNotWritten) {
    MARROWKIT_NEED_TEST_DATA();
    for (const fs::path& file : Samples()) {
        const auto database = Database::Open(CopyOf(file));
        for (const std::string& name : database->TableNames()) {
            const auto table = database->OpenTable(name);
            bool known = true;
            for (const Index& index : table->Indexes()) {
                for (const Index::Part& part : index.parts) {
                    const std::size_t column = table->FindColumn(part.column).value();
                    for (const ColumnDefinition& definition : table->Definition().columns) {
                        if (definition.name != table->Columns()[column].name || !definition.IsText())
                            continue;
                        known = known && definition.sortOrder.IsGeneral();
                    }
                }
            }
            if (known) continue;
            EXPECT_EQ(ErrorOf([&] { table->Insert({}); }), 3251) << file << " " << name;
        }
    }
}

TEST_F(GenuineFilesTest, PasswordsAreAskedFor) {
    MARROWKIT_NEED_TEST_DATA();
    const fs::path file = *marrowkit::test::TestDataFolder() / "mdb/jet4/passwordV2000.mdb";
    EXPECT_EQ(ErrorOf([&] { Database::Open(file.string()); }), 3031);
}

TEST_F(GenuineFilesTest, ObjectsThatAreNoTablesStay) {
    MARROWKIT_NEED_TEST_DATA();
    const fs::path root = *marrowkit::test::TestDataFolder();
    for (const char* file : {"mdb/jet3/queryTestV1997.mdb", "mdb/jet4/queryTestV2000.mdb"}) {
        const std::string copy = CopyOf(root / file);
        const auto database = Database::Open(copy);
        const auto count = [&] { return database->Objects().size(); };
        const std::size_t before = count();
        std::size_t queries = 0;
        for (const CatalogObject& object : database->Objects()) {
            if (object.type == CatalogObject::Type::Query) ++queries;
        }
        EXPECT_GT(queries, 0U);
        database->CreateTable({"New", {LongColumn("A")}, {PrimaryKey({"A"})}, "", ""});
        EXPECT_EQ(count(), before + 1);
        database->DropTable("New");
        EXPECT_EQ(count(), before);
        // A table may not have the name of a query.
        for (const CatalogObject& object : database->Objects()) {
            if (object.type != CatalogObject::Type::Query || object.name.front() == '~') continue;
            EXPECT_EQ(ErrorOf([&] {
                          database->CreateTable({object.name, {LongColumn("A")}, {}, "", ""});
                      }),
                      3010);
        }
    }
}

}  // namespace
}  // namespace marrowkit::jet::test
