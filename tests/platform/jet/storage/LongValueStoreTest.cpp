#include <map>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/jet/storage/Expect.h"
#include "platform/jet/storage/LongValueStore.h"
#include "platform/jet/storage/StructureCheck.h"
#include "platform/jet/storage/TestDatabase.h"
#include "support/FaultStorage.h"

namespace marrowkit::jet::test {
namespace {

using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

class LongValueStoreTest : public ::testing::TestWithParam<JetVersion> {
protected:
    LongValueStoreTest() : database(TestDatabase::Create(storage, "Test.mdb", GetParam())) {}

    Bytes Some(std::size_t size) {
        Bytes bytes(size);
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
        return bytes;
    }
    std::vector<PageNumber> Pages() { return UsageMap(*database.pager, database.layout.longOwned).Members(); }

    bool IsJet3() const { return GetParam() == JetVersion::Jet3; }

    FaultStorage storage;
    TestDatabase database;
    std::mt19937 random{3};
};

TEST_P(LongValueStoreTest, StoresEveryLengthAndGivesItBack) {
    LongValueStore values = database.LongValues();
    const std::size_t inlined = IsJet3() ? 32 : 64;
    const std::size_t row = IsJet3() ? 2036 : 4076;
    const std::size_t piece = row - 4;
    struct Kind {
        std::size_t size;
        std::uint32_t flags;
        std::size_t inRow;
        std::size_t pages;
    };
    const Kind kinds[] = {{0, 0x80000000, 12, 0},
                          {1, 0x80000000, 13, 0},
                          {inlined, 0x80000000, 12 + inlined, 0},
                          {inlined + 1, 0x40000000, 12, 1},
                          {row, 0x40000000, 12, 1},
                          {row + 1, 0, 12, 2},
                          {piece * 2, 0, 12, 2},
                          {piece * 2 + 1, 0, 12, 3},
                          {200000, 0, 12, (200000 + piece - 1) / piece}};
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.size);
        Unit unit(*database.pager);
        const Bytes value = Some(kind.size);
        const Bytes inRow = values.Store(value);
        EXPECT_EQ(inRow.size(), kind.inRow);
        EXPECT_EQ(ByteView(inRow).U32(0), kind.flags | kind.size);
        EXPECT_EQ(LongValueStore::Length(ByteView(inRow)), kind.size);
        EXPECT_EQ(LongValueStore::IsInline(ByteView(inRow)), kind.flags == 0x80000000);
        EXPECT_EQ(Pages().size(), kind.pages);
        EXPECT_EQ(values.Load(ByteView(inRow)), value);
        EXPECT_THAT(CheckDatabase(database), IsEmpty());
        values.Free(ByteView(inRow));
        EXPECT_THAT(Pages(), IsEmpty());
        EXPECT_THAT(CheckDatabase(database), IsEmpty());
        unit.Commit();
    }
}

TEST_P(LongValueStoreTest, KeepsManyValuesApart) {
    LongValueStore values = database.LongValues();
    std::map<int, std::pair<Bytes, Bytes>> model;
    Unit unit(*database.pager);
    for (int step = 0; step < 1500; ++step) {
        if (model.empty() || random() % 5 < 3) {
            const Bytes value = Some(random() % (random() % 10 == 0 ? 20000 : 700));
            model[step] = {value, values.Store(value)};
        } else {
            const auto found = std::next(model.begin(), static_cast<std::ptrdiff_t>(random() % model.size()));
            values.Free(ByteView(found->second.second));
            model.erase(found);
        }
        if (step % 300 == 299) {
            EXPECT_THAT(CheckDatabase(database), IsEmpty());
            for (const auto& [key, stored] : model)
                EXPECT_EQ(values.Load(ByteView(stored.second)), stored.first);
        }
    }
    for (const auto& [key, stored] : model) values.Free(ByteView(stored.second));
    EXPECT_THAT(Pages(), IsEmpty());
    unit.Commit();
}

TEST_P(LongValueStoreTest, SharesPagesAndReusesTheirRoom) {
    LongValueStore values = database.LongValues();
    Unit unit(*database.pager);
    std::vector<Bytes> stored;
    for (int i = 0; i < 200; ++i) stored.push_back(values.Store(Some(180)));
    const std::size_t perPage = (database.pager->PageGeometry().pageBytes - 20) / 182;
    EXPECT_LE(Pages().size(), 200 / perPage + 1);
    const std::size_t before = Pages().size();
    for (std::size_t i = 0; i < 200; i += 2) values.Free(ByteView(stored[i]));
    for (int i = 0; i < 60; ++i) values.Store(Some(180));
    EXPECT_LE(Pages().size(), before + 1);
    unit.Commit();
}

TEST_P(LongValueStoreTest, WorksWithoutAFreeSpaceMap) {
    LongValueStore values(*database.pager, database.layout.longOwned, {});
    Unit unit(*database.pager);
    const Bytes first = values.Store(Bytes(100, 1));
    const Bytes second = values.Store(Bytes(100, 2));
    EXPECT_EQ(Pages().size(), 2U);
    EXPECT_EQ(values.Load(ByteView(second)), Bytes(100, 2));
    values.Free(ByteView(first));
    values.Free(ByteView(second));
    EXPECT_THAT(Pages(), IsEmpty());
    unit.Commit();
}

TEST_P(LongValueStoreTest, RefusesDamagedChains) {
    LongValueStore values = database.LongValues();
    Unit unit(*database.pager);
    const Bytes inRow = values.Store(Some(9000));
    const RowId first = RowId::FromStored(ByteView(inRow).U32(4));
    const PageEdit page = database.pager->Edit(first.page);
    const std::size_t start = page.Bytes().U16(database.pager->PageGeometry().dataHeaderBytes) & 0x1FFFU;
    const std::uint32_t next = page.Bytes().U32(start);
    struct Damage {
        const char* name;
        std::uint32_t next;
    };
    const Damage damages[] = {{"a circle", first.Stored()},
                              {"the end too early", 0},
                              {"a page of another kind", database.layout.root << 8},
                              {"a slot that is not there", next | 0x40},
                              {"a page behind the end", 0xFFFFFF00}};
    for (const Damage& damage : damages) {
        SCOPED_TRACE(damage.name);
        page.Mutable().PutU32(start, damage.next);
        ExpectError(3049, [&] { values.Load(ByteView(inRow)); });
    }
    page.Mutable().PutU32(start, next);
    Bytes longer = inRow;
    MutableByteView(longer).PutU32(0, 9001);
    ExpectError(3049, [&] { values.Load(ByteView(longer)); });
    MutableByteView(longer).PutU32(0, 0x3FFFFFFF);
    ExpectError(3049, [&] { values.Load(ByteView(longer)); });
    MutableByteView(longer).PutU32(0, 8999);
    ExpectError(3049, [&] { values.Load(ByteView(longer)); });
    ExpectError(3049, [&] { values.Load(ByteView(inRow).Sub(0, 11)); });
    Bytes cut = values.Store(Some(20));
    cut.pop_back();
    ExpectError(3049, [&] { values.Load(ByteView(cut)); });
    EXPECT_THAT(values.Load({}), IsEmpty());
}

TEST_P(LongValueStoreTest, RefusesToFreeAValueTwice) {
    LongValueStore values = database.LongValues();
    Unit unit(*database.pager);
    const Bytes kept = values.Store(Some(300));
    const Bytes inRow = values.Store(Some(300));
    values.Free(ByteView(inRow));
    ExpectError(3049, [&] { values.Free(ByteView(inRow)); });
    EXPECT_EQ(values.Load(ByteView(kept)).size(), 300U);
}

INSTANTIATE_TEST_SUITE_P(Formats, LongValueStoreTest, ::testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& tested) {
                             return tested.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::jet::test
