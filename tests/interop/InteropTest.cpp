// Other programs read what we read: databases that Access wrote, copies of them that we compacted or changed,
// and databases of our own making. Every table of every file is compared cell by cell.

#include <algorithm>
#include <ostream>

#include <gtest/gtest.h>

#include "interop/Comparison.h"
#include "interop/OtherReaders.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/compact/Compact.h"
#include "platform/jet/compact/CompactCopy.h"
#include "platform/jet/engine/Database.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace marrowkit::test {
namespace {

namespace fs = std::filesystem;

bool HasPassword(const fs::path& file) {
    return file.filename().string().starts_with("password");
}

std::vector<fs::path> GenuineFiles() {
    std::vector<fs::path> files = SampleFiles("mdb", ".mdb");
    for (const fs::path& file : SampleFiles("template", ".mdb")) files.push_back(file);
    std::erase_if(files, HasPassword);
    return files;
}

/// What a person may do to a database in a session: rows added, changed and removed in every user table that
/// takes them.
void Change(const fs::path& file) {
    const auto database = jet::Database::Open(file.string());
    for (const std::string& name : database->TableNames()) {
        const auto table = database->OpenTable(name);
        std::vector<jet::RowId> rows;
        const auto scan = table->OpenScan({});
        while (scan->Next()) rows.push_back(scan->Id());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            try {
                if (i % 3 == 0) {
                    table->Delete(rows[i]);
                    continue;
                }
                for (std::size_t column = 0; column < table->Columns().size(); ++column) {
                    if (table->Columns()[column].type != jet::ColumnType::Memo &&
                        table->Columns()[column].type != jet::ColumnType::Text) {
                        continue;
                    }
                    const std::string text(
                        static_cast<std::size_t>(table->Columns()[column].type == jet::ColumnType::Memo
                                                     ? 5000 * (i % 4)
                                                     : std::min(table->Columns()[column].size, 40)),
                        static_cast<char>('a' + i % 26));
                    const jet::Assignment change{column, text + std::string(text.empty() ? "x" : "")};
                    table->Update(rows[i], std::span(&change, 1));
                    break;
                }
            } catch (const RuntimeError&) {
                // The table's rules do not allow it; nothing has changed then.
            }
        }
    }
    database->GetPager().Flush();
}

/// A database of every type with the values at their edges.
void MakeDatabase(const fs::path& file, jet::JetVersion version) {
    using jet::ColumnType;
    const auto database = jet::Database::Create(file.string(), version);
    jet::TableDesign design;
    design.name = "Everything";
    const auto add = [&](const char* name, ColumnType type, int size = 0) {
        jet::Column column;
        column.name = name;
        column.type = type;
        column.size = size;
        design.columns.push_back(column);
    };
    add("Id", ColumnType::Long);
    design.columns.back().autoNumber = true;
    add("Flag", ColumnType::Boolean);
    add("Small", ColumnType::Byte);
    add("Number", ColumnType::Integer);
    add("Money", ColumnType::Currency);
    add("Single", ColumnType::Single);
    add("Double", ColumnType::Double);
    add("Day", ColumnType::DateTime);
    add("Name", ColumnType::Text, 255);
    add("Bytes", ColumnType::Binary, 200);
    add("Notes", ColumnType::Memo);
    add("Picture", ColumnType::Ole);
    add("Key", ColumnType::Guid);
    jet::Index primary;
    primary.name = "PrimaryKey";
    primary.parts = {{"Id", true}};
    primary.primaryKey = primary.unique = primary.required = true;
    jet::Index byName;
    byName.name = "Name";
    byName.parts = {{"Name", true}, {"Number", false}};
    design.indexes = {primary, byName};
    database->CreateTable(design);

    const auto table = database->OpenTable("Everything");
    for (int i = 0; i < 1500; ++i) {
        std::vector<jet::Assignment> row;
        const auto set = [&](const char* column, jet::Value value) {
            if (i % 7 != 6) row.push_back({*table->FindColumn(column), std::move(value)});
        };
        set("Flag", i % 2 == 0);
        set("Small", static_cast<std::uint8_t>(i));
        set("Number", static_cast<std::int16_t>(i * 37 - 20000));
        set("Money", jet::Currency{(i - 700) * std::int64_t{123456789}});
        set("Single", static_cast<float>(i) / 3 - 100);
        set("Double", i * 1e10 / 7 - 1e12);
        set("Day", jet::DateTime{static_cast<double>(i * 20) + 0.25});
        set("Name", std::string("Gr\xC3\xB6\xC3\x9F") + "e " + std::to_string(i % 100) +
                        (i % 5 == 0 ? " \xE2\x82\xAC" : ""));
        set("Bytes",
            jet::Binary(static_cast<std::size_t>(i % 190 + 1), static_cast<std::uint8_t>(i % 255 + 1)));
        set("Notes", std::string(static_cast<std::size_t>(i % 11 == 0 ? i * 9 + 1 : i % 300 + 1),
                                 static_cast<char>('A' + i % 26)));
        set("Picture", jet::Binary(static_cast<std::size_t>(i % 13 == 0 ? i * 5 + 1 : i % 60 + 1),
                                   static_cast<std::uint8_t>(i)));
        jet::Guid guid;
        for (std::size_t byte = 0; byte < guid.bytes.size(); ++byte) {
            guid.bytes[byte] = static_cast<std::uint8_t>(i * 31 + static_cast<int>(byte) * 7);
        }
        set("Key", guid);
        table->Insert(row);
    }
    database->GetPager().Flush();
}

/// The files that every comparison runs over. `prepare` makes each in the folder given.
struct Source {
    const char* name;
    bool needsSamples;
    std::vector<fs::path> (*prepare)(const TemporaryFolder& folder);
};

void PrintTo(const Source& one, std::ostream* out) {
    *out << one.name;
}

std::vector<fs::path> AsAccessWroteThem(const TemporaryFolder&) {
    return GenuineFiles();
}

std::vector<fs::path> Compacted(const TemporaryFolder& folder) {
    std::vector<fs::path> files;
    for (const fs::path& file : GenuineFiles()) {
        const fs::path source = CopySample(file, folder);
        files.push_back(folder / ("compacted-" + file.filename().string()));
        jet::Compact(source.string(), files.back().string());
        ExpectSound(files.back());
    }
    return files;
}

std::vector<fs::path> Changed(const TemporaryFolder& folder) {
    std::vector<fs::path> files;
    for (const fs::path& file : GenuineFiles()) {
        files.push_back(CopySample(file, folder));
        Change(files.back());
        ExpectSound(files.back());
    }
    return files;
}

std::vector<fs::path> OwnMaking(const TemporaryFolder& folder) {
    std::vector<fs::path> files;
    for (const jet::JetVersion version : {jet::JetVersion::Jet3, jet::JetVersion::Jet4}) {
        const std::string name = version == jet::JetVersion::Jet3 ? "own3" : "own4";
        files.push_back(folder / (name + ".mdb"));
        MakeDatabase(files.back(), version);
        ExpectSound(files.back());
        files.push_back(folder / (name + "-compacted.mdb"));
        jet::Compact((folder / (name + ".mdb")).string(), files.back().string());
        ExpectSound(files.back());
        files.push_back(folder / (name + "-changed.mdb"));
        WriteFile(files.back(), ReadFile(folder / (name + ".mdb")));
        Change(files.back());
        ExpectSound(files.back());
    }
    return files;
}

class InteropTest : public testing::TestWithParam<Source> {
protected:
    void SetUp() override {
        if (GetParam().needsSamples) MARROWKIT_NEED_TEST_DATA();
    }
    TemporaryFolder folder_;
};

TEST_P(InteropTest, MdbToolsReadsWhatWeRead) {
    if (!HaveMdbTools()) GTEST_SKIP() << "mdbtools is not installed: nothing was compared with it";
    for (const fs::path& file : GetParam().prepare(folder_)) EXPECT_GT(CompareWithMdbTools(file), 4);
}

TEST_P(InteropTest, MdbReaderReadsWhatWeRead) {
    const std::string missing = WhyNoMdbReader();
    if (!missing.empty()) GTEST_SKIP() << missing << ": nothing was compared with mdb-reader";
    for (const fs::path& file : GetParam().prepare(folder_)) EXPECT_GT(CompareWithMdbReader(file), 3);
}

INSTANTIATE_TEST_SUITE_P(Files, InteropTest,
                         testing::Values(Source{"AsAccessWroteThem", true, AsAccessWroteThem},
                                         Source{"Compacted", true, Compacted},
                                         Source{"Changed", true, Changed},
                                         Source{"OwnMaking", false, OwnMaking}),
                         [](const testing::TestParamInfo<Source>& source) {
                             return std::string(source.param.name);
                         });

}  // namespace
}  // namespace marrowkit::test
