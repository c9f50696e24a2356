#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/jet/storage/Expect.h"
#include "platform/jet/storage/Pager.h"
#include "platform/jet/storage/StructureCheck.h"
#include "platform/jet/storage/TestDatabase.h"
#include "platform/jet/storage/Workload.h"
#include "support/FaultStorage.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::jet::test {
namespace {

using ::testing::IsEmpty;

class PagerTest : public ::testing::TestWithParam<JetVersion> {
protected:
    bool IsJet3() const { return GetParam() == JetVersion::Jet3; }
    TestDatabase Create(std::uint32_t key = 0) {
        return TestDatabase::Create(storage, "Test.mdb", GetParam(), key);
    }

    /// Length of the global map's row.
    static std::size_t GlobalMapBytes(Pager& pager) {
        const PageRef page = pager.Read(1);
        return pager.PageGeometry().pageBytes -
               (page.Bytes().U16(pager.PageGeometry().dataHeaderBytes) & 0x1FFFU);
    }

    FaultStorage storage;
};

TEST_P(PagerTest, CreatesPagesZeroAndOneAsGenuineFilesHaveThem) {
    const auto pager = Pager::Create(storage, "New.mdb", NewDatabaseHeader(GetParam(), 38000.5));
    EXPECT_EQ(pager->PageCount(), 2U);
    const auto& file = *storage.Disk().names.at("New.mdb");
    EXPECT_EQ(file.now.size(), 2U * pager->PageGeometry().pageBytes);
    EXPECT_EQ(pager->Header().version, GetParam());
    EXPECT_EQ(GlobalMapBytes(*pager), IsJet3() ? 133U : 69U);
    EXPECT_THAT(CheckDataPage(*pager, 1, 1), IsEmpty());
    EXPECT_FALSE(pager->IsFree(0));
    EXPECT_FALSE(pager->IsFree(1));
    EXPECT_TRUE(pager->IsFree(2));  // not yet existing
    ExpectError(3204, [&] { Pager::Create(storage, "New.mdb", NewDatabaseHeader(GetParam(), 38000.5)); });
}

TEST_P(PagerTest, TakesTheLowestFreePageBeforeTheFileGrows) {
    const TestDatabase database = Create();
    Pager& pager = *database.pager;
    Unit unit(pager);
    std::vector<PageNumber> pages;
    for (int i = 0; i < 20; ++i) pages.push_back(pager.Allocate().Number());
    for (std::size_t i = 1; i < pages.size(); ++i) EXPECT_EQ(pages[i], pages[i - 1] + 1);
    pager.Release(pages[15]);
    pager.Release(pages[4]);
    EXPECT_TRUE(pager.IsFree(pages[4]));
    ExpectError(3049, [&] { pager.Release(pages[4]); });
    {
        const PageEdit page = pager.Allocate();
        EXPECT_EQ(page.Number(), pages[4]);
        for (const std::uint8_t byte : page.Bytes().All()) ASSERT_EQ(byte, 0);
    }
    EXPECT_EQ(pager.Allocate().Number(), pages[15]);
    EXPECT_EQ(pager.Allocate().Number(), pages.back() + 1);
    unit.Commit();
}

TEST_P(PagerTest, LengthensTheGlobalMapAsGenuineFilesDoAndGoesOnWithReferences) {
    const TestDatabase database = Create();
    Pager& pager = *database.pager;
    const PageNumber inlineLimit = IsJet3() ? 15168 : 32032;
    Unit unit(pager);
    const std::size_t fewest = IsJet3() ? 128 : 64;
    PageNumber last = 0;
    while (pager.PageCount() < inlineLimit) {
        last = pager.Allocate().Number();
        if (last % 97 == 0) {
            ASSERT_EQ(GlobalMapBytes(pager), 5 + std::max<std::size_t>(fewest, 4 * ((last + 32) / 32)));
        }
    }
    EXPECT_EQ(pager.Read(1).Bytes().U8(pager.PageGeometry().pageBytes - GlobalMapBytes(pager)), 0);
    pager.Release(1000);
    pager.Release(2000);
    EXPECT_EQ(pager.Allocate().Number(), 1000U);
    pager.Allocate();
    pager.Release(3000);
    pager.Release(3001);
    // The page that the map does not reach any more.
    std::set<PageNumber> taken;
    for (int i = 0; i < 3000; ++i) EXPECT_TRUE(taken.insert(pager.Allocate().Number()).second);
    EXPECT_EQ(pager.Read(1).Bytes().U8(pager.PageGeometry().pageBytes - GlobalMapBytes(pager)), 1);
    EXPECT_TRUE(taken.contains(3000));
    EXPECT_TRUE(taken.contains(3001));
    for (const PageNumber page : taken) EXPECT_FALSE(pager.IsFree(page));
    // Pages of every stretch can be given back and come back.
    const PageNumber high = *taken.rbegin();
    pager.Release(high);
    pager.Release(50);
    EXPECT_TRUE(pager.IsFree(high));
    EXPECT_EQ(pager.Allocate().Number(), 50U);
    EXPECT_EQ(pager.Allocate().Number(), high);
    EXPECT_THAT(CheckDataPage(pager, 1, 1), IsEmpty());
    unit.Commit();
}

TEST_P(PagerTest, UndoesUnitsAtEveryDepth) {
    const TestDatabase database = Create();
    Pager& pager = *database.pager;
    const auto write = [&](std::uint8_t value) { pager.Edit(2).Mutable().PutU8(500, value); };
    const auto value = [&] { return pager.Read(2).Bytes().U8(500); };
    EXPECT_EQ(pager.UnitDepth(), 0);
    const PageNumber pages = pager.PageCount();
    const std::uint64_t generation = pager.Generation();
    {
        Unit outer(pager);
        write(1);
        {
            Unit inner(pager);
            EXPECT_EQ(pager.UnitDepth(), 2);
            write(2);
            pager.Allocate();
        }
        EXPECT_EQ(value(), 1);
        EXPECT_EQ(pager.PageCount(), pages);
        EXPECT_GT(pager.Generation(), generation);
        {
            Unit inner(pager);
            write(3);
            {
                Unit innermost(pager);
                write(4);
                pager.Allocate();
                innermost.Commit();
            }
            EXPECT_EQ(value(), 4);
            inner.Commit();
        }
        EXPECT_EQ(value(), 4);
        EXPECT_EQ(pager.PageCount(), pages + 1);
    }
    EXPECT_EQ(value(), 0);
    EXPECT_EQ(pager.PageCount(), pages);
    {
        Unit outer(pager);
        {
            Unit inner(pager);
            write(5);
            inner.Commit();
        }
        outer.Commit();
    }
    EXPECT_EQ(value(), 5);
    EXPECT_THAT(CheckDatabase(database), IsEmpty());
}

TEST_P(PagerTest, RestoresEveryByteHoweverLargeTheUnit) {
    PagerOptions options;
    options.cacheBytes = 1;
    Create();
    TestDatabase database = TestDatabase::Open(storage, "Test.mdb", options);
    Workload workload(database, 11);
    for (int i = 0; i < 5; ++i) {
        while (!workload.RunUnit(100)) {
        }
        const std::uint64_t before = Workload::Fingerprint(*database.pager);
        {
            Unit unit(*database.pager);
            std::mt19937 random(1);
            for (PageNumber page = 3; page < database.pager->PageCount(); ++page) {
                const PageEdit edit = database.pager->Edit(page);
                edit.Mutable().Fill(0, edit.Bytes().Size(), static_cast<std::uint8_t>(random()));
            }
            for (int k = 0; k < 300; ++k) {
                try {
                    const PageEdit edit = database.pager->Allocate();
                    edit.Mutable().Fill(0, edit.Bytes().Size(), 0xEE);
                } catch (const RuntimeError&) {
                    break;  // the map was written over as well
                }
            }
        }
        EXPECT_EQ(Workload::Fingerprint(*database.pager), before);
    }
    EXPECT_THAT(CheckDatabase(database), IsEmpty());
}

TEST_P(PagerTest, KeepsTheSameContentWithTheSmallestCache) {
    PagerOptions options;
    Create();
    std::uint64_t wide = 0;
    {
        TestDatabase database = TestDatabase::Open(storage, "Test.mdb");
        Workload workload(database, 5);
        for (int i = 0; i < 20; ++i) workload.RunUnit(60);
        wide = Workload::Fingerprint(*database.pager);
    }
    FaultStorage other;
    TestDatabase::Create(other, "Test.mdb", GetParam());
    options.cacheBytes = 1;
    TestDatabase database = TestDatabase::Open(other, "Test.mdb", options);
    Workload workload(database, 5);
    for (int i = 0; i < 20; ++i) workload.RunUnit(60);
    EXPECT_EQ(Workload::Fingerprint(*database.pager), wide);
    TestDatabase reopened = TestDatabase::Open(storage, "Test.mdb");
    EXPECT_EQ(Workload::Fingerprint(*reopened.pager), wide);
}

TEST_P(PagerTest, PagesThatChangeAgainAndAgainAreNotWrittenEarly) {
    constexpr PageNumber kPages = 600;
    Create();
    PagerOptions options;
    options.cacheBytes = 1;
    TestDatabase database = TestDatabase::Open(storage, "Test.mdb", options);
    Pager& pager = *database.pager;
    std::vector<PageNumber> pages;
    {
        Unit unit(pager);
        while (pages.size() < kPages) {
            const PageEdit page = pager.Allocate();
            page.Mutable().PutU8(0, static_cast<std::uint8_t>(PageType::Data));
            pages.push_back(page.Number());
        }
        unit.Commit();
    }
    pager.Flush();
    constexpr std::size_t kAt = 100;
    const auto onDisk = [&](PageNumber page) {
        return storage.Disk().names.at("Test.mdb")->now[page * pager.PageGeometry().pageBytes + kAt];
    };
    Unit unit(pager);
    for (const PageNumber page : pages) {
        for (const PageNumber changed : {pages.front(), page}) {
            pager.Edit(changed).Mutable().PutU8(kAt, 1);
        }
    }
    EXPECT_EQ(onDisk(pages[1]), 1);
    EXPECT_EQ(onDisk(pages.front()), 0);
}

TEST_P(PagerTest, EncodesEveryPageButTheFirst) {
    constexpr std::uint32_t kKey = 0xA0AEEE74;
    const TestDatabase database = Create(kKey);
    const auto& bytes = storage.Disk().names.at("Test.mdb")->durable;
    const std::uint32_t pageBytes = database.pager->PageGeometry().pageBytes;
    for (PageNumber page = 1; page < database.pager->PageCount(); ++page) {
        std::vector<std::uint8_t> raw(bytes.begin() + static_cast<std::ptrdiff_t>(page * pageBytes),
                                      bytes.begin() + static_cast<std::ptrdiff_t>((page + 1) * pageBytes));
        const PageRef plain = database.pager->Read(page);
        EXPECT_FALSE(std::ranges::equal(raw, plain.Bytes().All()));
        ApplyPageEncoding(kKey, page, raw);
        EXPECT_TRUE(std::ranges::equal(raw, plain.Bytes().All()));
    }
}

TEST_P(PagerTest, AFileThatIsOpenAlreadyIsTheSamePager) {
    const TestDatabase database = Create();
    EXPECT_EQ(Pager::Open(storage, "Test.mdb"), database.pager);
    PagerOptions readOnly;
    readOnly.readOnly = true;
    EXPECT_EQ(Pager::Open(storage, "Test.mdb", readOnly), database.pager);
}

TEST_P(PagerTest, FlushesWhenTheLastReferenceGoes) {
    std::uint64_t last = 0;
    {
        TestDatabase database = Create();
        Workload workload(database, 4);
        for (int i = 0; i < 6; ++i) workload.RunUnit(10);
        last = Workload::Fingerprint(*database.pager);
        // A unit that nobody committed is rolled back.
        database.pager->BeginUnit();
        database.pager->Edit(2).Mutable().PutU8(900, 1);
    }
    storage.Disk().Reboot(Survival::Nothing, 1);
    TestDatabase database = TestDatabase::Open(storage, "Test.mdb");
    EXPECT_EQ(Workload::Fingerprint(*database.pager), last);
    database = {};
    EXPECT_FALSE(storage.Exists("Test.mdb.mkjournal"));
    EXPECT_FALSE(storage.Exists("Test.ldb"));
}

TEST_P(PagerTest, RefusesWhatIsNoDatabase) {
    Create();
    auto& content = storage.Disk().names.at("Test.mdb")->now;
    const auto sound = content;
    const auto open = [&] { Pager::Open(storage, "Test.mdb"); };
    content.pop_back();
    ExpectError(3049, open);
    content.resize(2U * (IsJet3() ? 2048 : 4096));
    ExpectError(3049, open);
    content.resize(100);
    ExpectError(3343, open);
    content.clear();
    ExpectError(3343, open);
    content = sound;
    content[4] = 'X';
    ExpectError(3343, open);
    content = sound;
    content[0x14] = 2;
    ExpectError(3343, open);
    content = sound;
    content[0x42] ^= 0x41;
    ExpectError(3031, open);
    content = sound;
    open();
    ExpectError(3024, [&] { Pager::Open(storage, "Absent.mdb"); });
}

TEST_P(PagerTest, ReadsButDoesNotWriteWhatIsReadOnly) {
    Create();
    PagerOptions options;
    options.readOnly = true;
    const auto pager = Pager::Open(storage, "Test.mdb", options);
    EXPECT_TRUE(pager->IsReadOnly());
    EXPECT_FALSE(storage.Exists("Test.ldb"));
    {
        Unit unit(*pager);
        ExpectError(3027, [&] { pager->Edit(2); });
        ExpectError(3027, [&] { pager->Allocate(); });
    }
    // Someone who wants to write gets a pager of its own.
    const auto writer = Pager::Open(storage, "Test.mdb");
    EXPECT_FALSE(writer->IsReadOnly());
}

TEST_P(PagerTest, AFolderThatCannotBeWrittenMakesTheDatabaseReadOnly) {
    Create();
    storage.Disk().readOnlyFolder = true;
    const auto pager = Pager::Open(storage, "Test.mdb");
    EXPECT_TRUE(pager->IsReadOnly());
    Unit unit(*pager);
    ExpectError(3027, [&] { pager->Edit(2); });
}

TEST_P(PagerTest, ReportsPagesThatCannotBeRead) {
    const TestDatabase database = Create();
    ExpectError(3049, [&] { database.pager->Read(database.pager->PageCount()); });
    ExpectError(3049, [&] { database.pager->Read(0xFFFFFF); });
    PagerOptions options;
    options.readOnly = true;
    FaultStorage fresh(std::make_shared<FaultDisk>(storage.Disk()));
    const auto pager = Pager::Open(fresh, "Test.mdb", options);
    fresh.Disk().failReadAt = fresh.Disk().reads + 1;
    ExpectError(3040, [&] { pager->Read(3); });
    EXPECT_EQ(pager->Read(3).Number(), 3U);
}

TEST_P(PagerTest, ChangesNothingOutsideOfAUnit) {
    const TestDatabase database = Create();
    ExpectError(51, [&] { database.pager->Edit(2); });
    ExpectError(51, [&] { database.pager->Allocate(); });
}

TEST_P(PagerTest, WorksOnHostFiles) {
    ::marrowkit::test::TemporaryFolder folder;
    const std::string path = (folder / "Real file.mdb").string();
    std::uint64_t last = 0;
    {
        TestDatabase database = TestDatabase::Create(HostStorage(), path, GetParam());
        Workload workload(database, 6);
        for (int i = 0; i < 10; ++i) workload.RunUnit(30);
        last = Workload::Fingerprint(*database.pager);
    }
    {
        TestDatabase database = TestDatabase::Open(HostStorage(), path);
        EXPECT_EQ(Workload::Fingerprint(*database.pager), last);
        EXPECT_THAT(CheckDatabase(database), IsEmpty());
        EXPECT_TRUE(std::filesystem::exists(folder / "Real file.ldb"));
        EXPECT_EQ(std::filesystem::file_size(folder / "Real file.ldb"), 64U);
#ifndef _WIN32  // links are for administrators there
        // Another name of the same file is the same file.
        std::filesystem::create_symlink(path, folder / "Link.mdb");
        EXPECT_EQ(Pager::Open(HostStorage(), (folder / "Link.mdb").string()), database.pager);
#endif
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "Real file.ldb"));
    EXPECT_FALSE(std::filesystem::exists(path + ".mkjournal"));
    ExpectError(3024, [&] { Pager::Open(HostStorage(), (folder / "Absent.mdb").string()); });
    ExpectError(3044, [&] { Pager::Open(HostStorage(), (folder / "Nowhere/Absent.mdb").string()); });
    ExpectError(3051, [&] { Pager::Open(HostStorage(), folder.Path().string()); });
    ExpectError(3204, [&] { Pager::Create(HostStorage(), path, NewDatabaseHeader(GetParam(), 1)); });
}

INSTANTIATE_TEST_SUITE_P(Formats, PagerTest, ::testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& tested) {
                             return tested.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::jet::test
