#include <algorithm>
#include <numeric>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fault/MemoryStorage.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/check/CheckOpenFile.h"
#include "platform/jet/check/CheckTestDatabase.h"
#include "platform/jet/compact/Compact.h"
#include "platform/jet/compact/CompactCopy.h"
#include "platform/jet/compact/CompactSorter.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/format/ValueText.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace marrowkit::test {
namespace {

using jet::JetVersion;
using Bytes = MemoryStorage::Bytes;

constexpr JetVersion kVersions[] = {JetVersion::Jet3, JetVersion::Jet4};

Bytes CompactBytes(const Bytes& source) {
    MemoryStorage storage;
    storage.Put("source", source);
    const jet::check::CheckFile file(storage, "source");
    jet::compact::CopyOpenFile(file, storage, "target");
    EXPECT_EQ(storage.Get("source"), source) << "the source was touched";
    return storage.Get("target");
}

/// All rows of a table in storage order, each as one text.
std::vector<std::string> RowTexts(const jet::Table& table) {
    std::vector<std::size_t> columns(table.Columns().size());
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    std::vector<std::string> rows;
    const auto scan = table.OpenScan(columns);
    while (scan->Next()) {
        std::string text;
        for (const jet::Value& value : scan->Values()) {
            text += (jet::IsNull(value) ? std::string("(Null)") : jet::ValueText(value)) + "|";
        }
        rows.push_back(std::move(text));
    }
    return rows;
}

std::shared_ptr<jet::Database> OpenBytes(const TemporaryFolder& folder, const std::string& name,
                                         const Bytes& bytes) {
    WriteFile(folder / name, std::string(bytes.begin(), bytes.end()));
    return jet::Database::Open((folder / name).string());
}

TEST(CompactTest, KeepsEveryRowOfEveryTable) {
    for (const JetVersion version : kVersions) {
        const TemporaryFolder folder;
        const Bytes source = MakeCheckDatabase(version);
        const Bytes copy = CompactBytes(source);
        EXPECT_LE(copy.size(), source.size());
        EXPECT_THAT(DatabaseBytes(copy).Check(), testing::IsEmpty());
        const auto before = OpenBytes(folder, "before.mdb", source);
        const auto after = OpenBytes(folder, "after.mdb", copy);
        ASSERT_EQ(before->TableNames(), after->TableNames());
        for (const std::string& name : before->TableNames()) {
            std::vector<std::string> expected = RowTexts(*before->OpenTable(name));
            std::vector<std::string> found = RowTexts(*after->OpenTable(name));
            std::sort(expected.begin(), expected.end());
            std::sort(found.begin(), found.end());
            EXPECT_EQ(expected, found) << name;
        }
    }
}

TEST(CompactTest, AFileThatSomebodyElseMakesFirstIsHis) {
    /// Whatever there is was not there yet a moment ago.
    class LateStorage : public MemoryStorage {
    public:
        bool Exists(const std::string& /*path*/) override { return false; }
    };
    LateStorage storage;
    storage.Put("source", MakeCheckDatabase(JetVersion::Jet4));
    storage.Put("target", Bytes(5000, 'x'));
    const jet::check::CheckFile file(storage, "source");
    try {
        jet::compact::CopyOpenFile(file, storage, "target");
        FAIL() << "written over";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3204);
    }
    EXPECT_EQ(storage.Get("target"), Bytes(5000, 'x'));
}

TEST(CompactTest, CompactingTwiceGivesTheSameSize) {
    for (const JetVersion version : kVersions) {
        const Bytes once = CompactBytes(MakeCheckDatabase(version));
        EXPECT_EQ(CompactBytes(once).size(), once.size());
    }
}

TEST(CompactTest, CopiesGenuineFilesSoundAndNoLarger) {
    MARROWKIT_NEED_TEST_DATA();
    for (const char* folder : {"mdb", "template"}) {
        for (const auto& path : SampleFiles(folder, ".mdb")) {
            SCOPED_TRACE(path.filename().string());
            const std::string text = ReadFile(path);
            const Bytes source(text.begin(), text.end());
            const Bytes copy = CompactBytes(source);
            EXPECT_LE(copy.size(), source.size());
            EXPECT_EQ(CompactBytes(copy).size(), copy.size());
            // The header holds the password, the encoding key and what scrambles the accounts' ids.
            EXPECT_TRUE(std::equal(source.begin(), source.begin() + 0x98, copy.begin()));
        }
    }
}

TEST(CompactTest, StoresRowsInPrimaryKeyOrder) {
    for (const JetVersion version : kVersions) {
        const TemporaryFolder folder;
        {
            const auto database = jet::Database::Create((folder / "a.mdb").string(), version);
            jet::TableDesign design;
            design.name = "T";
            design.columns.resize(2);
            design.columns[0].name = "Key";
            design.columns[0].type = jet::ColumnType::Text;
            design.columns[0].size = 20;
            design.columns[1].name = "N";
            design.indexes = {{"PrimaryKey", {{"Key", true}}, true, true, true}};
            database->CreateTable(design);
            const auto table = database->OpenTable("T");
            std::vector<int> numbers(2000);
            std::iota(numbers.begin(), numbers.end(), 0);
            std::shuffle(numbers.begin(), numbers.end(), std::mt19937(1));
            for (const int number : numbers) {
                const jet::Assignment row[] = {{0, "key " + std::to_string(10000 + number)},
                                               {1, std::int32_t{number}}};
                table->Insert(row);
            }
        }
        jet::Compact((folder / "a.mdb").string(), (folder / "b.mdb").string());
        const auto database = jet::Database::Open((folder / "b.mdb").string());
        const auto rows = RowTexts(*database->OpenTable("T"));
        ASSERT_EQ(rows.size(), 2000U);
        EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end()));
    }
}

TEST(CompactTest, RelationshipsGoOnWorking) {
    for (const JetVersion version : kVersions) {
        const TemporaryFolder folder;
        const auto database = OpenBytes(folder, "copy.mdb", CompactBytes(MakeCheckDatabase(version)));
        ASSERT_EQ(database->Relationships().size(), 1U);
        const auto owners = database->OpenTable("Owners");
        const auto scan = owners->OpenScan({});
        ASSERT_TRUE(scan->Next());
        try {
            owners->Delete(scan->Id());
            FAIL() << "a row with related rows was deleted";
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3200);
        }
        const jet::Assignment stranger{1, std::int32_t{4711}};
        EXPECT_THROW(database->OpenTable("Things")->Insert(std::span(&stranger, 1)), RuntimeError);
    }
}

TEST(CompactTest, TheNextAutoNumberFollowsTheGreatestRow) {
    for (const JetVersion version : kVersions) {
        const TemporaryFolder folder;
        {
            const auto database = OpenBytes(folder, "a.mdb", MakeCheckDatabase(version));
            const auto things = database->OpenTable("Things");
            std::vector<jet::RowId> rows;
            const auto scan = things->OpenScan({});
            while (scan->Next()) rows.push_back(scan->Id());
            const std::size_t id = *things->FindColumn("Id");
            for (const jet::RowId row : rows) {
                if (std::get<std::int32_t>(things->Read(row, std::span(&id, 1))->front()) > 1490)
                    things->Delete(row);
            }
        }
        jet::Compact((folder / "a.mdb").string(), (folder / "b.mdb").string());
        const auto database = jet::Database::Open((folder / "b.mdb").string());
        EXPECT_EQ(database->OpenTable("Things")->TakeAutoNumber(), 1491);
    }
}

TEST(CompactTest, AnEncodedDatabaseStaysEncoded) {
    for (const JetVersion version : kVersions) {
        Bytes source = MakeCheckDatabase(version);
        const jet::Geometry& geometry = jet::GeometryOf(version);
        jet::DatabaseHeader header = jet::ParseDatabaseHeader(jet::ByteView(source), "db");
        header.databaseKey = 0xA0AEEE74;
        const auto page0 = jet::SerializeDatabaseHeader(header);
        std::copy(page0.begin(), page0.end(), source.begin());
        for (jet::PageNumber page = 1; page < source.size() / geometry.pageBytes; ++page) {
            jet::ApplyPageEncoding(
                header.databaseKey, page,
                std::span(source).subspan(std::size_t{page} * geometry.pageBytes, geometry.pageBytes));
        }
        const Bytes copy = CompactBytes(source);
        EXPECT_EQ(jet::ParseDatabaseHeader(jet::ByteView(copy), "db").databaseKey, 0xA0AEEE74U);
        EXPECT_NE(copy[geometry.pageBytes * 2], 2) << "page 2 is not encoded";
        EXPECT_THAT(DatabaseBytes(copy).Check(), testing::IsEmpty());
    }
}

/// What can be made anew from the rows heals.
TEST(CompactTest, DamageBesideTheRowsHeals) {
    struct Case {
        const char* name;
        void (*damage)(DatabaseBytes& file);
    };
    const Case cases[] = {
        {"row count",
         [](DatabaseBytes& file) {
             file.EditDefinition("Things", [](jet::TableDefinition& things) { things.rowCount = 7; });
         }},
        {"AutoNumber counter",
         [](DatabaseBytes& file) {
             file.EditDefinition("Things", [](jet::TableDefinition& things) { things.lastAutoNumber = 3; });
         }},
        {"free word", [](DatabaseBytes& file) { file.Page(file.Table("Things").dataPages[0]).PutU16(2, 9); }},
        {"index tree",
         [](DatabaseBytes& file) {
             file.Page(file.Table("Things").Index("Name").rootPage).Fill(0, 2000, 0xEE);
         }},
        {"primary key's tree",
         [](DatabaseBytes& file) {
             file.Page(file.Table("Things").Index("PrimaryKey").rootPage).Fill(0, 2000, 0);
         }},
        {"index entry",
         [](DatabaseBytes& file) {
             const auto leaf = file.Leaves(file.Table("Owners").Index("PrimaryKey"))[0];
             file.Page(leaf).PutU8(file.PageGeometry().indexEntriesStart + 3, 0x55);
         }},
        {"global map",
         [](DatabaseBytes& file) {
             const std::size_t row = file.RowOffset({1, 0});
             std::fill_n(file.bytes.begin() + static_cast<std::ptrdiff_t>(row) + 5, 8, std::uint8_t{0xFF});
         }},
        {"map of pages with room",
         [](DatabaseBytes& file) {
             const std::size_t row = file.RowOffset(file.Table("Things").definition.freeMap);
             std::fill_n(file.bytes.begin() + static_cast<std::ptrdiff_t>(row) + 5, 8, std::uint8_t{0xFF});
         }},
    };
    for (const JetVersion version : kVersions) {
        const Bytes pristine = MakeCheckDatabase(version);
        const TemporaryFolder folder;
        const auto expected =
            RowTexts(*OpenBytes(folder, "ok.mdb", CompactBytes(pristine))->OpenTable("Things"));
        int number = 0;
        for (const Case& one : cases) {
            SCOPED_TRACE(one.name);
            DatabaseBytes file(pristine);
            one.damage(file);
            ASSERT_THAT(file.Check(), testing::Not(testing::IsEmpty()));
            const Bytes copy = CompactBytes(file.bytes);
            EXPECT_THAT(DatabaseBytes(copy).Check(), testing::IsEmpty());
            const auto healed = OpenBytes(folder, std::to_string(number++) + ".mdb", copy);
            EXPECT_EQ(RowTexts(*healed->OpenTable("Things")), expected);
        }
    }
}

/// Where rows or values would be lost there is an error that says where, and no file.
TEST(CompactTest, DamageThatWouldLoseRowsIsAnError) {
    struct Case {
        const char* name;
        void (*damage)(DatabaseBytes& file);
    };
    const Case cases[] = {
        {"data page",
         [](DatabaseBytes& file) { file.Page(file.Table("Things").dataPages[1]).Fill(0, 2048, 0xAA); }},
        {"slot array",
         [](DatabaseBytes& file) {
             file.Page(file.Table("Things").dataPages[0])
                 .PutU16(file.PageGeometry().dataHeaderBytes - 2, 4000);
         }},
        {"long values",
         [](DatabaseBytes& file) { file.Page(file.Table("Things").longValuePages[0]).PutU8(0, 9); }},
        {"definition",
         [](DatabaseBytes& file) { file.Page(file.Table("Things").definition.page).PutU8(0, 8); }},
        {"map of the table's pages",
         [](DatabaseBytes& file) {
             file.bytes[file.RowOffset(file.Table("Things").definition.ownedMap)] = 7;
         }},
        {"a page behind the end, as in a copy that was cut off",
         [](DatabaseBytes& file) {
             const TableParts things = file.Table("Things");
             file.bytes[file.RowOffset(things.definition.ownedMap) + 5 + 60] |= 0x80U;
         }},
        {"a page that the map no longer names",
         [](DatabaseBytes& file) {
             const TableParts things = file.Table("Things");
             const jet::PageNumber page = things.dataPages[1];
             file.bytes[file.RowOffset(things.definition.ownedMap) + 5 + page / 8] &=
                 static_cast<std::uint8_t>(~(1U << (page % 8)));
         }},
    };
    for (const JetVersion version : kVersions) {
        const Bytes pristine = MakeCheckDatabase(version);
        for (const Case& one : cases) {
            SCOPED_TRACE(one.name);
            DatabaseBytes file(pristine);
            one.damage(file);
            MemoryStorage storage;
            storage.Put("source", file.bytes);
            const jet::check::CheckFile opened(storage, "source");
            try {
                jet::compact::CopyOpenFile(opened, storage, "target");
                ADD_FAILURE() << "no error";
            } catch (const RuntimeError& error) {
                EXPECT_EQ(error.number, 3049);
                EXPECT_THAT(error.description, testing::HasSubstr("Things"));
            }
            EXPECT_FALSE(storage.Exists("target"));
        }
    }
}

TEST(CompactTest, AnExistingTargetIsLeftAlone) {
    const TemporaryFolder folder;
    const Bytes source = MakeCheckDatabase(JetVersion::Jet4);
    WriteFile(folder / "a.mdb", std::string(source.begin(), source.end()));
    WriteFile(folder / "b.mdb", "precious");
    try {
        jet::Compact((folder / "a.mdb").string(), (folder / "b.mdb").string());
        FAIL() << "no error";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3204);
    }
    EXPECT_EQ(ReadFile(folder / "b.mdb"), "precious");
}

/// A disk that is full after so many writes.
class FullDisk : public MemoryStorage {
public:
    explicit FullDisk(int writes) : writesLeft_(writes) {}
    std::unique_ptr<jet::StorageFile> Open(const std::string& path, jet::OpenMode mode) override {
        return std::make_unique<File>(*this, MemoryStorage::Open(path, mode));
    }
    int writesLeft_;

private:
    class File : public jet::StorageFile {
    public:
        File(FullDisk& disk, std::unique_ptr<jet::StorageFile> file) : disk_(&disk), file_(std::move(file)) {}
        std::uint64_t Size() override { return file_->Size(); }
        std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> bytes) override {
            return file_->Read(offset, bytes);
        }
        void Write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
            if (disk_->writesLeft_-- <= 0) jet::RaiseJet(jet::JetError::DiskFull);
            file_->Write(offset, bytes);
        }
        void Truncate(std::uint64_t size) override { file_->Truncate(size); }
        void Sync() override { file_->Sync(); }
        bool TryLock(std::uint64_t, std::uint64_t, bool) override { return true; }
        void Unlock(std::uint64_t, std::uint64_t) override {}
        bool IsLockedByOther(std::uint64_t, std::uint64_t, bool) override { return false; }

    private:
        FullDisk* disk_;
        std::unique_ptr<jet::StorageFile> file_;
    };
};

TEST(CompactTest, AFullDiskLeavesTheSourceAndNothingElse) {
    const Bytes source = MakeCheckDatabase(JetVersion::Jet4);
    bool succeeded = false;
    for (int writes = 0; !succeeded; ++writes) {
        FullDisk disk(writes);
        disk.Put("source", source);
        const jet::check::CheckFile file(disk, "source");
        try {
            jet::compact::CopyOpenFile(file, disk, "target");
            succeeded = true;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3026);
            EXPECT_FALSE(disk.Exists("target"));
        }
        EXPECT_EQ(disk.Get("source"), source);
        ASSERT_LT(writes, 1000);
    }
}

/// A disk on which one bit of the finished copy turns over.
class ForgetfulDisk : public MemoryStorage {
public:
    ForgetfulDisk(std::size_t byte, int bit) : byte_(byte), bit_(bit) {}
    std::unique_ptr<jet::StorageFile> Open(const std::string& path, jet::OpenMode mode) override {
        if (path == "target" && mode == jet::OpenMode::ReadOnly) {
            Bytes bytes = Get(path);
            bytes[byte_] = static_cast<std::uint8_t>(bytes[byte_] ^ 1 << bit_);
            Put(path, std::move(bytes));
        }
        return MemoryStorage::Open(path, mode);
    }

private:
    std::size_t byte_;
    int bit_;
};

/// Bytes that nothing is read out of may differ; all others the verification has to notice.
TEST(CompactTest, NeverReturnsACopyThatDiffers) {
    for (const JetVersion version : kVersions) {
        const Bytes source = MakeSmallCheckDatabase(version);
        const Bytes good = CompactBytes(source);
        const TemporaryFolder folder;
        const auto rowsOf = [&](const Bytes& bytes) {
            std::vector<std::string> rows;
            const auto database = OpenBytes(folder, std::to_string(bytes.size()), bytes);
            for (const std::string& name : database->TableNames()) {
                const auto table = database->OpenTable(name);
                rows.push_back(name);
                for (const jet::Column& column : table->Columns()) rows.push_back(column.name);
                for (std::string& row : RowTexts(*table)) rows.push_back(std::move(row));
            }
            return rows;
        };
        const std::vector<std::string> expected = rowsOf(good);
        std::mt19937 random(11);
        int noticed = 0;
        for (int round = 0; round < 600; ++round) {
            const std::size_t byte = random() % good.size();
            ForgetfulDisk disk(byte, static_cast<int>(random() % 8));
            disk.Put("source", source);
            const jet::check::CheckFile file(disk, "source");
            try {
                jet::compact::CopyOpenFile(file, disk, "target");
            } catch (const RuntimeError& error) {
                EXPECT_TRUE(error.number == 3049 || error.number == 3343) << error.description;
                EXPECT_FALSE(disk.Exists("target"));
                ++noticed;
                continue;
            }
            SCOPED_TRACE("byte " + std::to_string(byte));
            const Bytes& copy = disk.Get("target");
            EXPECT_NE(copy, good);
            EXPECT_THAT(DatabaseBytes(copy).Check(), testing::IsEmpty());
            EXPECT_EQ(rowsOf(copy), expected);
        }
        EXPECT_GT(noticed, 100);
    }
}

/// Long keys make trees of four levels and maps with bitmap pages.
TEST(CompactTest, BuildsDeepIndexes) {
    const TemporaryFolder folder;
    {
        const auto database = jet::Database::Create((folder / "a.mdb").string(), JetVersion::Jet4);
        jet::TableDesign design;
        design.name = "T";
        design.columns.resize(1);
        design.columns[0].name = "Key";
        design.columns[0].type = jet::ColumnType::Text;
        design.columns[0].size = 255;
        design.indexes = {{"Key", {{"Key", false}}}};
        database->CreateTable(design);
        const auto table = database->OpenTable("T");
        for (std::uint32_t i = 0; i < 12'000; ++i) {
            const std::uint32_t mixed = i * 2654435761U;
            const jet::Assignment row{
                0, std::to_string(mixed) + std::string(220, static_cast<char>('a' + i % 26))};
            table->Insert(std::span(&row, 1));
        }
    }
    jet::Compact((folder / "a.mdb").string(), (folder / "b.mdb").string());
    for (const jet::Problem& problem : jet::Check((folder / "b.mdb").string()))
        ADD_FAILURE() << problem.ToText();
    const auto database = jet::Database::Open((folder / "b.mdb").string());
    const auto walk = database->OpenTable("T")->OpenIndexScan(0, jet::IndexRange::All(), {0});
    std::size_t rows = 0;
    while (walk->Next()) ++rows;
    EXPECT_EQ(rows, 12'000U);
}

/// Counts the files that are made in it.
class CountingStorage : public MemoryStorage {
public:
    std::unique_ptr<jet::StorageFile> Open(const std::string& path, jet::OpenMode mode) override {
        if (mode == jet::OpenMode::CreateNew) ++made_;
        return MemoryStorage::Open(path, mode);
    }
    int FilesMade() const { return made_; }

private:
    int made_ = 0;
};

TEST(EntrySorterTest, SortsBeyondItsMemory) {
    for (const std::size_t memory : {std::size_t{1} << 20, std::size_t{3000}}) {
        CountingStorage storage;
        std::mt19937 random(5);
        std::vector<std::pair<Bytes, jet::RowId>> expected;
        {
            jet::compact::SortMemory sortMemory(memory);
            jet::compact::EntrySorter sorter(storage, "temporary", sortMemory);
            for (int i = 0; i < 3000; ++i) {
                Bytes key(random() % 24);
                for (std::uint8_t& byte : key) byte = static_cast<std::uint8_t>(random() % 3);
                const jet::RowId row{static_cast<jet::PageNumber>(random() % 50),
                                     static_cast<std::uint8_t>(i % 200)};
                sorter.Add(key, row);
                expected.emplace_back(std::move(key), row);
            }
            std::sort(expected.begin(), expected.end());
            sorter.Sort();
            EXPECT_EQ(storage.FilesMade(), memory == 3000 ? 1 : 0);
            EXPECT_FALSE(storage.Exists("temporary")) << "a process that is killed would leave it behind";
            for (const auto& [key, row] : expected) {
                ASSERT_TRUE(sorter.Next());
                EXPECT_TRUE(std::ranges::equal(sorter.Key(), key));
                EXPECT_EQ(sorter.Row(), row);
            }
            EXPECT_FALSE(sorter.Next());
        }
        EXPECT_FALSE(storage.Exists("temporary"));
    }
}

TEST(EntrySorterTest, ATemporaryFileThatWasLeftBehindIsNoObstacle) {
    MemoryStorage storage;
    storage.Put("temporary", Bytes(100, 'x'));
    jet::compact::SortMemory memory(3000);
    jet::compact::EntrySorter sorter(storage, "temporary", memory);
    constexpr std::uint32_t kPairs = 1000;
    for (std::uint32_t i = kPairs; i > 0; --i) {
        const Bytes key{static_cast<std::uint8_t>(i >> 8U), static_cast<std::uint8_t>(i)};
        sorter.Add(key, jet::RowId{i, 0});
    }
    sorter.Sort();
    for (std::uint32_t i = 1; i <= kPairs; ++i) {
        ASSERT_TRUE(sorter.Next());
        EXPECT_EQ(sorter.Row(), (jet::RowId{i, 0}));
    }
    EXPECT_FALSE(sorter.Next());
}

}  // namespace
}  // namespace marrowkit::test
