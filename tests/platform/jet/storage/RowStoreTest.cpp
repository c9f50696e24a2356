#include <map>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/jet/storage/DataPage.h"
#include "platform/jet/storage/Expect.h"
#include "platform/jet/storage/RowStore.h"
#include "platform/jet/storage/StructureCheck.h"
#include "platform/jet/storage/TestDatabase.h"
#include "support/FaultStorage.h"

namespace marrowkit::jet::test {
namespace {

using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;
using Model = std::map<RowId, Bytes>;

class RowStoreTest : public ::testing::TestWithParam<JetVersion> {
protected:
    RowStoreTest() : database(TestDatabase::Create(storage, "Test.mdb", GetParam())) {}

    /// What the row's own slot is marked with.
    std::uint16_t FlagsOf(RowId row) const {
        const PageRef ref = database.pager->Read(row.page);
        return DataPage(*database.pager, ref).Flags(row.slot);
    }
    std::uint32_t FreeBytesOf(PageNumber page) const {
        const PageRef ref = database.pager->Read(page);
        return DataPage(*database.pager, ref).FreeBytes();
    }

    Bytes SomeBytes(std::size_t fewest, std::size_t most) {
        Bytes bytes(fewest + random() % (most - fewest + 1));
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
        return bytes;
    }

    RowId Append(RowStore& rows, Model& model, std::size_t size) {
        const Bytes bytes = SomeBytes(size, size);
        const RowId row = rows.Append(bytes);
        model[row] = bytes;
        return row;
    }
    void Replace(RowStore& rows, Model& model, RowId row, std::size_t size) {
        model[row] = SomeBytes(size, size);
        rows.Replace(row, model[row]);
    }

    void ExpectEqual(const RowStore& rows, const Model& model) {
        EXPECT_THAT(CheckDatabase(database), IsEmpty());
        RowStore::Cursor cursor(rows);
        for (const auto& [row, bytes] : model) {
            ASSERT_TRUE(cursor.Next());
            ASSERT_EQ(cursor.Id(), row);
            EXPECT_TRUE(std::ranges::equal(cursor.Bytes().All(), bytes));
            EXPECT_TRUE(std::ranges::equal(rows.Read(row)->bytes.All(), bytes));
        }
        EXPECT_FALSE(cursor.Next());
        for (auto it = model.rbegin(); it != model.rend(); ++it) {
            ASSERT_TRUE(cursor.Previous());
            ASSERT_EQ(cursor.Id(), it->first);
        }
        EXPECT_FALSE(cursor.Previous());
    }

    FaultStorage storage;
    TestDatabase database;
    std::mt19937 random{7};
};

TEST_P(RowStoreTest, BehavesLikeAMapWhateverTheOrderOfChanges) {
    const std::uint32_t most = database.pager->PageGeometry().MaxRowBytes();
    struct Sizes {
        std::size_t fewest, most;
    };
    for (const Sizes sizes : {Sizes{2, 10}, Sizes{20, 200}, Sizes{100, most}, Sizes{most - 3, most}}) {
        SCOPED_TRACE(sizes.most);
        RowStore rows = database.Rows();
        Model model;
        Unit unit(*database.pager);
        for (int step = 0; step < 3000; ++step) {
            const auto what = random() % 10;
            if (model.empty() || what < 5) {
                const Bytes bytes = SomeBytes(sizes.fewest, sizes.most);
                const RowId row = rows.Append(bytes);
                EXPECT_FALSE(model.contains(row));
                model[row] = bytes;
                continue;
            }
            const auto found = std::next(model.begin(), static_cast<std::ptrdiff_t>(random() % model.size()));
            if (what < 8) {
                found->second = SomeBytes(sizes.fewest, std::min<std::size_t>(sizes.most * 3, most));
                rows.Replace(found->first, found->second);
            } else {
                rows.Erase(found->first);
                model.erase(found);
            }
            if (step % 500 == 499) ExpectEqual(rows, model);
        }
        ExpectEqual(rows, model);
        for (const auto& [row, bytes] : model) rows.Erase(row);
        ExpectEqual(rows, {});
        EXPECT_THAT(UsageMap(*database.pager, database.layout.owned).Members(), IsEmpty());
        unit.Commit();
    }
}

TEST_P(RowStoreTest, ReadsNothingWhereNoRowIs) {
    RowStore rows = database.Rows();
    Unit unit(*database.pager);
    const RowId row = rows.Append(Bytes(10, 1));
    const RowId gone = rows.Append(Bytes(10, 2));
    rows.Erase(gone);
    EXPECT_TRUE(rows.Read(row));
    EXPECT_FALSE(rows.Read(gone));
    EXPECT_FALSE(rows.Read({row.page, 200}));
    EXPECT_FALSE(rows.Read({1, 0}));
    EXPECT_FALSE(rows.Read({0xFFFFFF, 0}));
    EXPECT_FALSE(rows.Read(database.layout.owned));
    ExpectError(3167, [&] { rows.Replace(gone, Bytes(5, 1)); });
    ExpectError(3167, [&] { rows.Erase(gone); });
    ExpectError(3047, [&] { rows.Append(Bytes(database.pager->PageGeometry().MaxRowBytes() + 1)); });
    ExpectError(3047, [&] { rows.Replace(row, Bytes(database.pager->PageGeometry().MaxRowBytes() + 1)); });
}

TEST_P(RowStoreTest, DoesNotShowTheNewPlaceOfAMovedRow) {
    RowStore rows = database.Rows();
    Unit unit(*database.pager);
    std::vector<RowId> ids;
    for (int i = 0; i < 10; ++i) ids.push_back(rows.Append(Bytes(150, static_cast<std::uint8_t>(i))));
    for (int i = 0; i < 10; ++i)
        rows.Replace(ids[static_cast<std::size_t>(i)], Bytes(1200, static_cast<std::uint8_t>(i)));
    RowStore::Cursor cursor(rows);
    std::set<RowId> seen;
    while (cursor.Next()) {
        seen.insert(cursor.Id());
        EXPECT_EQ(cursor.Row().bytes.Size(), 1200U);
    }
    EXPECT_EQ(seen, std::set<RowId>(ids.begin(), ids.end()));
    // Moved again, and back to something small.
    for (const RowId id : ids) rows.Replace(id, Bytes(1900, 9));
    for (const RowId id : ids) rows.Replace(id, Bytes(3, 9));
    EXPECT_THAT(CheckDatabase(database), IsEmpty());
    for (const RowId id : ids) rows.Erase(id);
    EXPECT_THAT(CheckDatabase(database), IsEmpty());
    EXPECT_THAT(UsageMap(*database.pager, database.layout.owned).Members(), IsEmpty());
    unit.Commit();
}

TEST_P(RowStoreTest, ARowThatMovesAgainComesHomeWhenItFits) {
    RowStore rows = database.Rows();
    Model model;
    Unit unit(*database.pager);
    const auto append = [&](std::size_t size) { return Append(rows, model, size); };
    const RowId row = append(100);
    std::vector<RowId> neighbours;
    while (FreeBytesOf(row.page) >= 102) neighbours.push_back(append(100));
    Replace(rows, model, row, 500);
    ASSERT_EQ(FlagsOf(row), DataPage::kMovedFlag);
    const PageNumber target = rows.Read(row)->page.Number();
    while (FreeBytesOf(target) >= 102) append(100);
    for (std::size_t i = 0; i < 7; ++i) {
        rows.Erase(neighbours[i]);
        model.erase(neighbours[i]);
    }
    Replace(rows, model, row, 700);
    EXPECT_EQ(FlagsOf(row), 0);
    unit.Commit();
    ExpectEqual(rows, model);
}

TEST_P(RowStoreTest, MeetsRowsAppendedBehindAndSurvivesErasingTheCurrentOne) {
    RowStore rows = database.Rows();
    Unit unit(*database.pager);
    for (int i = 0; i < 50; ++i) rows.Append(Bytes(400, 1));
    RowStore::Cursor cursor(rows);
    int met = 0;
    int expected = 50;
    while (cursor.Next()) {
        ++met;
        // A page that became empty may be used again in front of the cursor.
        if (met <= 30 && rows.Append(Bytes(400, 2)) > cursor.Id()) ++expected;
        rows.Erase(cursor.Id());
    }
    EXPECT_GT(expected, 50);
    EXPECT_EQ(met, expected);
    EXPECT_FALSE(cursor.Next());
    rows.Append(Bytes(10, 1));
    RowStore::Cursor fresh(rows);
    EXPECT_TRUE(fresh.Next());
    unit.Commit();
}

TEST_P(RowStoreTest, ContinuesAfterTheEndWhenARowIsAppended) {
    RowStore rows = database.Rows();
    Unit unit(*database.pager);
    rows.Append(Bytes(10, 1));
    RowStore::Cursor cursor(rows);
    EXPECT_TRUE(cursor.Next());
    EXPECT_FALSE(cursor.Next());
    const RowId added = rows.Append(Bytes(10, 2));
    EXPECT_TRUE(cursor.Next());
    EXPECT_EQ(cursor.Id(), added);
    unit.Commit();
}

TEST_P(RowStoreTest, FillsPagesOneAfterTheOther) {
    RowStore rows = database.Rows();
    Unit unit(*database.pager);
    for (int i = 0; i < 2000; ++i) rows.Append(Bytes(100, 1));
    const std::uint32_t perPage =
        (database.pager->PageGeometry().pageBytes - database.pager->PageGeometry().dataHeaderBytes) / 102;
    EXPECT_EQ(UsageMap(*database.pager, database.layout.owned).Members().size(),
              (2000 + perPage - 1) / perPage);
    // Small rows: no more than 255 slots a page.
    for (int i = 0; i < 1000; ++i) rows.Append(Bytes(2, 1));
    EXPECT_THAT(CheckDatabase(database), IsEmpty());
    unit.Commit();
}

TEST_P(RowStoreTest, ARowShorterThanAPointerGrowsOnAFullPage) {
    RowStore rows = database.Rows();
    Model model;
    Unit unit(*database.pager);
    const auto append = [&](std::size_t size) { return Append(rows, model, size); };
    const RowId tiny = append(2);
    while (FreeBytesOf(tiny.page) > 400) append(100);
    append(FreeBytesOf(tiny.page) - 2);  // the slot takes two
    ASSERT_LT(FreeBytesOf(tiny.page), 2U);
    // The tiny row cannot even become a pointer to its new place: another row has to leave first, and leaves
    // room enough.
    Replace(rows, model, tiny, 50);
    EXPECT_EQ(FlagsOf(tiny), 0);
    unit.Commit();
    ExpectEqual(rows, model);
}

TEST_P(RowStoreTest, RefusesDamagedPages) {
    RowStore rows = database.Rows();
    Unit unit(*database.pager);
    const RowId row = rows.Append(Bytes(100, 1));
    const RowId moved = rows.Append(Bytes(100, 2));
    const PageEdit page = database.pager->Edit(row.page);
    const std::size_t header = database.pager->PageGeometry().dataHeaderBytes;
    const std::uint16_t slot = page.Bytes().U16(header + 2);
    // A moved row whose new place is no page of the table, then one that is the row itself.
    page.Mutable().PutU16(header + 2, static_cast<std::uint16_t>(slot | 0x4000));
    page.Mutable().PutU32(slot, database.layout.root << 8);
    ExpectError(3049, [&] { rows.Read(moved); });
    page.Mutable().PutU32(slot, moved.Stored());
    ExpectError(3049, [&] { rows.Read(moved); });
    page.Mutable().PutU16(header + 2, slot);
    // A wrong count of free bytes is found before anything is written over.
    page.Mutable().PutU16(2, static_cast<std::uint16_t>(page.Bytes().U16(2) + 50));
    EXPECT_TRUE(rows.Read(row));
    ExpectError(3049, [&] { rows.Append(Bytes(10, 1)); });
}

INSTANTIATE_TEST_SUITE_P(Formats, RowStoreTest, ::testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& tested) {
                             return tested.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::jet::test
