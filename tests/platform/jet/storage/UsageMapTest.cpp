#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/jet/storage/Expect.h"
#include "platform/jet/storage/StructureCheck.h"
#include "platform/jet/storage/TestDatabase.h"
#include "platform/jet/storage/UsageMap.h"
#include "support/FaultStorage.h"

namespace marrowkit::jet::test {
namespace {

using ::testing::IsEmpty;

class UsageMapTest : public ::testing::TestWithParam<JetVersion> {
protected:
    UsageMapTest() : database(TestDatabase::Create(storage, "Test.mdb", GetParam())) {}

    /// The map's row as it lies in the file.
    std::vector<std::uint8_t> RowOf(RowId map) {
        const PageRef page = database.pager->Read(map.page);
        const std::size_t header = database.pager->PageGeometry().dataHeaderBytes;
        const std::size_t start = page.Bytes().U16(header + 2U * map.slot) & 0x1FFFU;
        const std::size_t end =
            map.slot == 0 ? page.Bytes().Size() : page.Bytes().U16(header + 2U * map.slot - 2U) & 0x1FFFU;
        const auto bytes = page.Bytes().Sub(start, end - start).All();
        return {bytes.begin(), bytes.end()};
    }
    void GrowTo(PageNumber pages) {
        while (database.pager->PageCount() < pages) database.pager->Allocate();
    }
    bool IsJet3() const { return GetParam() == JetVersion::Jet3; }

    FaultStorage storage;
    TestDatabase database;
};

TEST_P(UsageMapTest, BehavesLikeASet) {
    Unit unit(*database.pager);
    GrowTo(4000);
    std::mt19937 random(1);
    for (const PageNumber range : {PageNumber{100}, PageNumber{700}, PageNumber{4000}}) {
        SCOPED_TRACE(range);
        UsageMap map(*database.pager, UsageMap::CreateMaps(*database.pager, 1).front());
        std::set<PageNumber> model;
        for (int step = 0; step < 3000; ++step) {
            const PageNumber page = 1 + static_cast<PageNumber>(random()) % (range - 1);
            EXPECT_EQ(map.Contains(page), model.contains(page));
            if (random() % 3 != 0) {
                map.Add(page);
                model.insert(page);
            } else {
                map.Remove(page);
                model.erase(page);
            }
            if (step % 50 != 0) continue;
            const PageNumber from = static_cast<PageNumber>(random()) % range;
            const auto next = model.lower_bound(from);
            EXPECT_EQ(map.Next(from), next == model.end() ? std::nullopt : std::optional(*next));
            const auto previous = model.lower_bound(from);
            EXPECT_EQ(map.Previous(from),
                      previous == model.begin() ? std::nullopt : std::optional(*std::prev(previous)));
        }
        EXPECT_EQ(map.Members(), std::vector<PageNumber>(model.begin(), model.end()));
        EXPECT_EQ(RowOf(map.Where())[0], range == 4000 || (range == 700 && !IsJet3()) ? 1 : 0);
        map.Clear();
        EXPECT_THAT(map.Members(), IsEmpty());
        EXPECT_THAT(map.BitmapPages(), IsEmpty());
    }
    unit.Commit();
}

TEST_P(UsageMapTest, BeginsWhereItsFirstPageIs) {
    Unit unit(*database.pager);
    GrowTo(3000);
    UsageMap map(*database.pager, UsageMap::CreateMaps(*database.pager, 1).front());
    EXPECT_EQ(RowOf(map.Where()).size(), IsJet3() ? 133U : 69U);
    map.Add(2003);
    EXPECT_EQ(ByteView(RowOf(map.Where())).U32(1), 2000U);
    map.Add(1999);
    EXPECT_EQ(ByteView(RowOf(map.Where())).U32(1), 1992U);
    EXPECT_EQ(map.Members(), (std::vector<PageNumber>{1999, 2003}));
    map.Remove(1999);
    map.Remove(2003);
    map.Add(17);
    EXPECT_EQ(ByteView(RowOf(map.Where())).U32(1), 0U);
    unit.Commit();
}

TEST_P(UsageMapTest, BecomesAReferenceMapOfTheSameLength) {
    Unit unit(*database.pager);
    GrowTo(2000);
    UsageMap map(*database.pager, UsageMap::CreateMaps(*database.pager, 1).front());
    map.Add(5);
    const std::size_t length = RowOf(map.Where()).size();
    map.Add(1900);
    EXPECT_EQ(RowOf(map.Where()).size(), length);
    EXPECT_EQ(RowOf(map.Where())[0], 1);
    ASSERT_EQ(map.BitmapPages().size(), 1U);
    const PageRef bits = database.pager->Read(map.BitmapPages().front());
    EXPECT_EQ(bits.Bytes().U32(0), 0x0105U);
    EXPECT_EQ(bits.Bytes().U8(4), 1 << 5);
    EXPECT_EQ(map.Members(), (std::vector<PageNumber>{5, 1900}));
    unit.Commit();
}

TEST_P(UsageMapTest, SharesMapPagesAndReleasesThem) {
    Unit unit(*database.pager);
    const std::vector<RowId> maps = UsageMap::CreateMaps(*database.pager, 100);
    std::set<PageNumber> pages;
    for (const RowId map : maps) pages.insert(map.page);
    EXPECT_LE(pages.size(), IsJet3() ? 8U : 3U);
    for (const RowId map : maps) {
        UsageMap(*database.pager, map).Add(3);
        UsageMap::Destroy(*database.pager, map);
        ExpectError(3049, [&] { UsageMap(*database.pager, map).Contains(3); });
    }
    EXPECT_THAT(CheckDatabase(database), IsEmpty());
    unit.Commit();
}

TEST_P(UsageMapTest, RefusesDamagedMaps) {
    Unit unit(*database.pager);
    GrowTo(2000);
    UsageMap map(*database.pager, database.layout.owned);
    ExpectError(3049, [&] { UsageMap(*database.pager, {map.Where().page, 99}).Contains(1); });
    ExpectError(3049, [&] { UsageMap(*database.pager, {0, 0}).Contains(1); });
    ExpectError(3049, [&] { UsageMap(*database.pager, {0xFFFFFF, 0}).Contains(1); });
    ExpectError(3049, [&] { UsageMap(*database.pager, {database.layout.root, 0}).Contains(1); });
    map.Add(3);
    map.Add(1990);
    if (IsJet3()) map.Add(1990);
    const PageEdit page = database.pager->Edit(map.Where().page);
    const std::size_t start = page.Bytes().U16(database.pager->PageGeometry().dataHeaderBytes) & 0x1FFFU;
    page.Mutable().PutU8(start, 7);
    ExpectError(3049, [&] { map.Contains(3); });
    page.Mutable().PutU8(start, 1);
    page.Mutable().PutU32(start + 1, database.layout.root);
    ExpectError(3049, [&] { map.Contains(3); });
    page.Mutable().PutU32(start + 1, 0xFFFFFFFF);
    ExpectError(3049, [&] { map.Next(0); });
}

INSTANTIATE_TEST_SUITE_P(Formats, UsageMapTest, ::testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& tested) {
                             return tested.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::jet::test
