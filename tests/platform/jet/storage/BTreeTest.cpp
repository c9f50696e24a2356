#include <algorithm>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/storage/BTree.h"
#include "platform/jet/storage/Expect.h"
#include "platform/jet/storage/IndexPage.h"
#include "platform/jet/storage/StructureCheck.h"
#include "platform/jet/storage/TestDatabase.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace marrowkit::jet::test {
namespace {

using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;
using Model = std::set<std::pair<Bytes, RowId>>;

class BTreeTest : public ::testing::TestWithParam<JetVersion> {
protected:
    BTreeTest() : database(TestDatabase::Create(HostStorage(), (folder / "Test.mdb").string(), GetParam())) {}

    static Bytes Entry(const Bytes& key, RowId row) {
        Bytes entry = key;
        for (const std::uint32_t byte : {row.page >> 16, row.page >> 8, row.page, std::uint32_t{row.slot}}) {
            entry.push_back(static_cast<std::uint8_t>(byte));
        }
        return entry;
    }

    void ExpectEqual(const Model& model) {
        EXPECT_THAT(CheckDatabase(database), IsEmpty());
        const IndexReport report = CheckIndex(*database.pager, database.layout.root, true);
        ASSERT_EQ(report.entries.size(), model.size());
        std::vector<IndexEntry> expected;
        for (const auto& [key, row] : model) expected.push_back({Entry(key, row)});
        std::sort(expected.begin(), expected.end());
        EXPECT_TRUE(report.entries == expected);
    }

    ::marrowkit::test::TemporaryFolder folder;
    TestDatabase database;
};

/// A number as an ascending Long column has it in keys.
Bytes NumberKey(std::uint32_t value) {
    return {0x7F, static_cast<std::uint8_t>(0x80 ^ (value >> 24)), static_cast<std::uint8_t>(value >> 16),
            static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

/// A text-like key: bytes above 1, closed by a 0, so that none is the beginning of another.
Bytes TextKey(std::mt19937& random, std::size_t most, unsigned letters) {
    Bytes key{0x7F};
    const std::size_t length = random() % (most + 1);
    for (std::size_t i = 0; i < length; ++i)
        key.push_back(static_cast<std::uint8_t>(0x60 + random() % letters));
    key.push_back(0);
    return key;
}

struct Pattern {
    const char* name;
    Bytes (*key)(std::mt19937&, std::uint32_t i);
};

const Pattern kPatterns[] = {
    {"Ascending", [](std::mt19937&, std::uint32_t i) { return NumberKey(i); }},
    {"Descending", [](std::mt19937&, std::uint32_t i) { return NumberKey(1000000 - i); }},
    {"RandomWithDuplicates",
     [](std::mt19937& random, std::uint32_t) {
         return NumberKey(static_cast<std::uint32_t>(random()) % 500);
     }},
    {"OneKeyOnly", [](std::mt19937&, std::uint32_t) { return NumberKey(7); }},
    {"ShortTexts", [](std::mt19937& random, std::uint32_t) { return TextKey(random, 20, 4); }},
    {"LongTexts", [](std::mt19937& random, std::uint32_t) { return TextKey(random, 600, 2); }},
    {"LongSharedBeginnings",
     [](std::mt19937& random, std::uint32_t) {
         Bytes key(200, 0x55);
         const Bytes rest = TextKey(random, 30, 20);
         key.insert(key.end(), rest.begin(), rest.end());
         return key;
     }},
    {"KeysThatBreakLongSharedBeginnings",
     [](std::mt19937& random, std::uint32_t i) {
         Bytes key(i % 40 == 0 ? random() % 150 : 150, 0x55);
         key.push_back(static_cast<std::uint8_t>(i % 40 == 0 ? 0x40 + random() % 0x30 : 0x55));
         const Bytes rest = NumberKey(static_cast<std::uint32_t>(random()) % 5000);
         key.insert(key.end(), rest.begin(), rest.end());
         return key;
     }},
    {"KeysOfNearlyHalfAPage", [](std::mt19937& random, std::uint32_t) { return TextKey(random, 880, 9); }},
};

TEST_P(BTreeTest, BehavesLikeASetWhateverTheOrderOfChanges) {
    for (const Pattern& pattern : kPatterns) {
        SCOPED_TRACE(pattern.name);
        std::mt19937 random(1);
        BTree tree = database.Index();
        Model model;
        std::multiset<Bytes> keys;
        const auto insert = [&](std::uint32_t i) {
            const Bytes key = pattern.key(random, i);
            const RowId row{i / 100 + 3, static_cast<std::uint8_t>(i % 100)};
            const bool isNew = tree.Insert(key, row);
            EXPECT_EQ(isNew, !keys.contains(key));
            model.emplace(key, row);
            keys.insert(key);
        };
        const auto eraseSome = [&](std::size_t count) {
            std::vector<std::pair<Bytes, RowId>> all(model.begin(), model.end());
            std::shuffle(all.begin(), all.end(), random);
            all.resize(std::min(count, all.size()));
            for (const auto& [key, row] : all) {
                ASSERT_TRUE(tree.Erase(key, row));
                model.erase({key, row});
                keys.erase(keys.find(key));
            }
        };
        Unit unit(*database.pager);
        std::uint32_t next = 0;
        for (int round = 0; round < 4; ++round) {
            for (int i = 0; i < 1000; ++i) insert(next++);
            ExpectEqual(model);
            eraseSome(600);
            ExpectEqual(model);
        }
        while (!model.empty()) {
            eraseSome(model.size() / 2 + 1);
            ExpectEqual(model);
        }
        EXPECT_EQ(CheckIndex(*database.pager, database.layout.root, true).pages.size(), 1U);
        unit.Commit();
    }
}

TEST_P(BTreeTest, TakesAKeyThatSharesNothingWithAPageFullOfLongKeys) {
    const std::size_t shared = 150;
    for (const bool inFront : {true, false}) {
        SCOPED_TRACE(inFront);
        BTree tree = database.Index();
        Model model;
        Unit unit(*database.pager);
        const auto insert = [&](Bytes key, std::uint32_t i) {
            const RowId row{3, static_cast<std::uint8_t>(i)};
            EXPECT_TRUE(tree.Insert(key, row));
            model.emplace(std::move(key), row);
        };
        for (std::uint32_t i = 0; i < 120; ++i) {
            Bytes key(shared, 0x55);
            key.push_back(i < 60 ? 0x10 : 0x70);
            key.push_back(static_cast<std::uint8_t>(i));
            insert(key, i);
        }
        ASSERT_EQ(CheckIndex(*database.pager, database.layout.root, true).pages.size(), 1U);
        insert({static_cast<std::uint8_t>(inFront ? 0x11 : 0x77)}, 200);
        ExpectEqual(model);
        tree.Clear();
        unit.Commit();
    }
}

TEST_P(BTreeTest, SplitsPagesOfThreeOrFourEntriesThatDifferInLength) {
    // Entries of up to half a page: cutting in the middle by bytes may leave too much on one side.
    const std::size_t half = GetParam() == JetVersion::Jet3 ? 900 : 1808;
    std::mt19937 random(5);
    BTree tree = database.Index();
    Model model;
    Unit unit(*database.pager);
    for (std::uint32_t i = 0; i < 600; ++i) {
        const std::size_t length = random() % 2 == 0 ? half - 9 - random() % 40 : half / 2 + random() % 20;
        Bytes key(length, static_cast<std::uint8_t>(random()));
        const RowId row{i / 100 + 3, static_cast<std::uint8_t>(i % 100)};
        tree.Insert(key, row);
        model.emplace(key, row);
    }
    ExpectEqual(model);
    unit.Commit();
}

TEST_P(BTreeTest, GrowsToThreeLevelsAndShrinksBack) {
    std::mt19937 random(2);
    BTree tree = database.Index();
    Model model;
    Unit unit(*database.pager);
    const std::uint32_t count = GetParam() == JetVersion::Jet3 ? 3000 : 6000;
    for (std::uint32_t i = 0; i < count; ++i) {
        Bytes key = NumberKey(static_cast<std::uint32_t>(random()));
        key.insert(key.end() - 2, 120, 0x33);
        const RowId row{i / 100 + 3, static_cast<std::uint8_t>(i % 100)};
        tree.Insert(key, row);
        model.emplace(key, row);
    }
    ExpectEqual(model);
    EXPECT_GE(CheckIndex(*database.pager, database.layout.root, true).levels, 3U);
    std::vector<std::pair<Bytes, RowId>> all(model.begin(), model.end());
    std::shuffle(all.begin(), all.end(), random);
    std::size_t done = 0;
    for (const auto& [key, row] : all) {
        ASSERT_TRUE(tree.Erase(key, row));
        model.erase({key, row});
        if (++done % 499 == 0) ExpectEqual(model);
    }
    ExpectEqual(model);
    unit.Commit();
}

TEST_P(BTreeTest, EmptiesFromBothEnds) {
    for (const bool fromFront : {true, false}) {
        BTree tree = database.Index();
        Model model;
        Unit unit(*database.pager);
        for (std::uint32_t i = 0; i < 4000; ++i) {
            Bytes key = NumberKey(i);
            key.insert(key.end(), 150, 0x22);
            tree.Insert(key, {3, static_cast<std::uint8_t>(i)});
            model.emplace(key, RowId{3, static_cast<std::uint8_t>(i)});
        }
        ExpectEqual(model);
        while (!model.empty()) {
            const auto victim = fromFront ? model.begin() : std::prev(model.end());
            ASSERT_TRUE(tree.Erase(victim->first, victim->second));
            model.erase(victim);
            if (model.size() % 401 == 0) ExpectEqual(model);
        }
        unit.Commit();
    }
}

TEST_P(BTreeTest, AscendingInsertsLeaveFullPagesBehind) {
    BTree tree = database.Index();
    Unit unit(*database.pager);
    for (std::uint32_t i = 0; i < 10000; ++i)
        tree.Insert(NumberKey(i), {3 + i / 200, static_cast<std::uint8_t>(i % 200)});
    const IndexReport report = CheckIndex(*database.pager, database.layout.root, true);
    EXPECT_THAT(report.problems, IsEmpty());
    // Nine bytes an entry without compression; pages are full, most of them compressed as well.
    const std::size_t capacity = GetParam() == JetVersion::Jet3 ? 1800 : 3616;
    EXPECT_LE(report.pages.size(), 10000 * 9 / capacity + 2);
    EXPECT_GT(report.compressedLeaves, 0U);
    unit.Commit();
}

TEST_P(BTreeTest, BuildsFromSortedEntriesWhatInsertsWouldHold) {
    for (const std::uint32_t count : {0U, 1U, 2U, 300U, 5000U, 40000U}) {
        SCOPED_TRACE(count);
        BTree tree = database.Index();
        Unit unit(*database.pager);
        tree.Clear();
        Model model;
        std::mt19937 random(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            model.emplace(count > 5000 ? NumberKey(static_cast<std::uint32_t>(random()) % 9000)
                                       : TextKey(random, 100, 3),
                          RowId{3 + i / 200, static_cast<std::uint8_t>(i % 200)});
        }
        std::vector<std::pair<Bytes, RowId>> sorted(model.begin(), model.end());
        std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
            return Entry(a.first, a.second) < Entry(b.first, b.second);
        });
        std::size_t at = 0;
        const auto result = tree.Build([&](BTree::Entry& entry) {
            if (at == sorted.size()) return false;
            entry = {sorted[at].first, sorted[at].second};
            ++at;
            return true;
        });
        std::set<Bytes> distinct;
        for (const auto& [key, row] : model) distinct.insert(key);
        EXPECT_EQ(result.entries, model.size());
        EXPECT_EQ(result.distinct, distinct.size());
        ExpectEqual(model);
        // What was built takes changes like any other tree.
        for (std::size_t i = 0; i < sorted.size(); i += 3) {
            ASSERT_TRUE(tree.Erase(sorted[i].first, sorted[i].second));
            model.erase(sorted[i]);
        }
        for (std::uint32_t i = 0; i < 500; ++i) {
            tree.Insert(NumberKey(i * 17), {900 + i, 1});
            model.emplace(NumberKey(i * 17), RowId{900 + i, 1});
        }
        ExpectEqual(model);
        tree.Clear();
        ExpectEqual({});
        unit.Commit();
    }
}

TEST_P(BTreeTest, PreparesRemovalsThatLeaveTheLeafItsPlace) {
    constexpr std::uint32_t kEntries = 3000;
    Unit unit(*database.pager);
    BTree tree = database.Index();
    Model model;
    for (std::uint32_t i = 0; i < kEntries; ++i) {
        tree.Insert(NumberKey(i), {i + 1, 0});
        model.emplace(NumberKey(i), RowId{i + 1, 0});
    }
    EXPECT_FALSE(tree.PrepareErase(NumberKey(kEntries), {1, 0}));
    EXPECT_FALSE(tree.PrepareErase(NumberKey(7), {1, 0}));
    EXPECT_TRUE(tree.PrepareErase(NumberKey(7), {8, 0}));
    ExpectEqual(model);
    std::uint32_t alone = 0;
    for (std::uint32_t i = 0; i < kEntries; ++i) {
        const std::size_t pages = UsageMap(*database.pager, database.layout.indexMap).Members().size();
        if (const auto removal = tree.PrepareErase(NumberKey(i), {i + 1, 0})) {
            tree.Erase(*removal);
            ASSERT_EQ(UsageMap(*database.pager, database.layout.indexMap).Members().size(), pages);
        } else {
            ++alone;
            ASSERT_TRUE(tree.Erase(NumberKey(i), {i + 1, 0}));
            ASSERT_LT(UsageMap(*database.pager, database.layout.indexMap).Members().size(), pages);
        }
        model.erase({NumberKey(i), {i + 1, 0}});
        if (i % 500 == 0) ExpectEqual(model);
    }
    EXPECT_GT(alone, 1U);
    ExpectEqual({});
    unit.Commit();
}

TEST_P(BTreeTest, FindsKeysOfOtherRows) {
    BTree tree = database.Index();
    Unit unit(*database.pager);
    for (std::uint32_t i = 0; i < 2000; ++i) tree.Insert(NumberKey(i * 2), {50 + i, 1});
    EXPECT_TRUE(tree.ContainsKey(NumberKey(1000)));
    EXPECT_FALSE(tree.ContainsKey(NumberKey(1001)));
    EXPECT_FALSE(tree.ContainsKey(NumberKey(1000), RowId{550, 1}));
    EXPECT_TRUE(tree.ContainsKey(NumberKey(1000), RowId{551, 1}));
    EXPECT_FALSE(tree.ContainsKey(NumberKey(100000)));
    for (std::uint32_t i = 0; i < 1500; ++i) tree.Insert(NumberKey(1000), {9000 + i, 0});
    EXPECT_TRUE(tree.ContainsKey(NumberKey(1000), RowId{550, 1}));
    EXPECT_FALSE(tree.Erase(NumberKey(1000), {8999, 0}));
    EXPECT_FALSE(tree.Erase(NumberKey(999999), {8999, 0}));
    unit.Commit();
}

TEST_P(BTreeTest, ErasesARowByWalkingWhenItsKeyIsUnknown) {
    BTree tree = database.Index();
    Unit unit(*database.pager);
    for (std::uint32_t i = 0; i < 2000; ++i) tree.Insert(NumberKey(i * 7919 % 2000), {50 + i, 1});
    EXPECT_TRUE(tree.EraseRow({777, 1}));
    EXPECT_FALSE(tree.EraseRow({777, 1}));
    EXPECT_EQ(CheckIndex(*database.pager, database.layout.root, true).entries.size(), 1999U);
    unit.Commit();
}

TEST_P(BTreeTest, CursorWalksBothWaysFromAnyPlace) {
    BTree tree = database.Index();
    Unit unit(*database.pager);
    for (std::uint32_t i = 0; i < 3000; ++i) tree.Insert(NumberKey(i * 10), {50 + i, 1});
    BTree::Cursor cursor(tree);
    cursor.SeekBefore({});
    std::uint32_t count = 0;
    while (cursor.Next()) {
        EXPECT_EQ(Bytes(cursor.Key().begin(), cursor.Key().end()), NumberKey(count * 10));
        EXPECT_EQ(cursor.Row(), (RowId{50 + count, 1}));
        ++count;
    }
    EXPECT_EQ(count, 3000U);
    EXPECT_FALSE(cursor.Next());
    while (cursor.Previous()) {
        --count;
        EXPECT_EQ(cursor.Row(), (RowId{50 + count, 1}));
    }
    EXPECT_EQ(count, 0U);
    ASSERT_TRUE(cursor.Next());
    EXPECT_EQ(cursor.Row(), (RowId{50, 1}));

    cursor.SeekBefore(NumberKey(15555));
    ASSERT_TRUE(cursor.Next());
    EXPECT_EQ(cursor.Row(), (RowId{50 + 1556, 1}));
    ASSERT_TRUE(cursor.Previous());
    EXPECT_EQ(cursor.Row(), (RowId{50 + 1555, 1}));
    cursor.SeekBefore(NumberKey(15555));
    ASSERT_TRUE(cursor.Previous());
    EXPECT_EQ(cursor.Row(), (RowId{50 + 1555, 1}));
    cursor.SeekAfterLast();
    EXPECT_FALSE(cursor.Next());
    ASSERT_TRUE(cursor.Previous());
    EXPECT_EQ(cursor.Row(), (RowId{50 + 2999, 1}));
    cursor.SeekBefore(NumberKey(999999));
    EXPECT_FALSE(cursor.Next());
    ASSERT_TRUE(cursor.Previous());
    EXPECT_EQ(cursor.Row(), (RowId{50 + 2999, 1}));
    unit.Commit();
}

TEST_P(BTreeTest, CursorSurvivesChangesUnderIt) {
    BTree tree = database.Index();
    Unit unit(*database.pager);
    std::set<std::uint32_t> keys;
    std::mt19937 random(5);
    for (std::uint32_t i = 0; i < 3000; ++i) keys.insert(static_cast<std::uint32_t>(random()) % 100000);
    for (const std::uint32_t key : keys) tree.Insert(NumberKey(key), {key + 1, 1});
    BTree::Cursor cursor(tree);
    cursor.SeekBefore({});
    std::uint32_t last = 0;
    bool any = false;
    while (cursor.Next()) {
        const std::uint32_t now = cursor.Row().page - 1;
        const auto expected = any ? keys.upper_bound(last) : keys.begin();
        ASSERT_NE(expected, keys.end());
        EXPECT_EQ(now, *expected);
        last = now;
        any = true;
        // Erase the current entry, or another, or add some, before going on.
        const auto action = random() % 4;
        if (action == 0) {
            tree.Erase(NumberKey(now), {now + 1, 1});
            keys.erase(now);
        } else if (action == 1) {
            const std::uint32_t added = static_cast<std::uint32_t>(random()) % 100000;
            if (keys.insert(added).second) tree.Insert(NumberKey(added), {added + 1, 1});
        }
    }
    EXPECT_EQ(keys.upper_bound(last), keys.end());
    unit.Commit();
}

TEST_P(BTreeTest, LeavesThatDamageHasLinkedInACircleEndAWalk) {
    BTree tree = database.Index();
    {
        Unit unit(*database.pager);
        for (std::uint32_t i = 0; i < 2000; ++i) tree.Insert(NumberKey(i), {i + 100, 1});
        unit.Commit();
    }
    std::vector<PageNumber> leaves;
    for (PageNumber page = 0; page < database.pager->PageCount(); ++page) {
        if (database.pager->Read(page).Type() == PageType::IndexLeaf) leaves.push_back(page);
    }
    ASSERT_GT(leaves.size(), 3U);
    std::ranges::sort(leaves, {}, [&](PageNumber leaf) {
        Bytes start;
        IndexPage(*database.pager, database.pager->Read(leaf)).Whole(0, start);
        return start;
    });
    {
        Unit unit(*database.pager);
        IndexPageEdit(*database.pager, database.pager->Edit(leaves[2])).PutNext(leaves[1]);
        IndexPageEdit(*database.pager, database.pager->Edit(leaves[1])).PutPrevious(leaves[2]);
        unit.Commit();
    }
    const auto walk = [&](bool forwards) {
        BTree::Cursor cursor(tree);
        if (!forwards) cursor.SeekAfterLast();
        for (int entries = 0; entries < 10000; ++entries) {
            if (!(forwards ? cursor.Next() : cursor.Previous())) return;
        }
        ADD_FAILURE() << "the walk goes round and round";
    };
    ExpectError(3049, [&] { walk(true); });
    ExpectError(3049, [&] { walk(false); });
    ExpectError(3049, [&] { tree.EraseRow({1, 1}); });
}

TEST_P(BTreeTest, EmptyLeavesInACircleEndASearch) {
    const BTree tree = database.Index();
    {
        Unit unit(*database.pager);
        IndexPageEdit(*database.pager, database.pager->Edit(database.layout.root))
            .PutNext(database.layout.root);
        unit.Commit();
    }
    EXPECT_FALSE(tree.ContainsKey(NumberKey(1)));
    BTree::Cursor cursor(tree);
    EXPECT_FALSE(cursor.Next());
}

TEST_P(BTreeTest, RefusesAKeyThatDoesNotFitTwiceOnAPage) {
    BTree tree = database.Index();
    Unit unit(*database.pager);
    try {
        tree.Insert(Bytes(2000, 0x44), {3, 1});
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3047);
    }
}

TEST_P(BTreeTest, RollbackRestoresTheTreeAndItsHints) {
    BTree tree = database.Index();
    Model model;
    {
        Unit unit(*database.pager);
        for (std::uint32_t i = 0; i < 1000; ++i) {
            tree.Insert(NumberKey(i), {3, static_cast<std::uint8_t>(i)});
            model.emplace(NumberKey(i), RowId{3, static_cast<std::uint8_t>(i)});
        }
        unit.Commit();
    }
    {
        Unit unit(*database.pager);
        for (std::uint32_t i = 1000; i < 3000; ++i)
            tree.Insert(NumberKey(i), {3, static_cast<std::uint8_t>(i)});
    }
    ExpectEqual(model);
    Unit unit(*database.pager);
    for (std::uint32_t i = 1000; i < 3000; ++i) {
        tree.Insert(NumberKey(i), {4, static_cast<std::uint8_t>(i)});
        model.emplace(NumberKey(i), RowId{4, static_cast<std::uint8_t>(i)});
    }
    ExpectEqual(model);
    unit.Commit();
}

TEST_P(BTreeTest, ErasesEntriesInOrderAndAcrossARollback) {
    BTree tree = database.Index();
    Model model;
    constexpr std::uint32_t kEntries = 3000;
    const auto rowOf = [](std::uint32_t i) { return RowId{3 + i / 200, static_cast<std::uint8_t>(i % 200)}; };
    Unit unit(*database.pager);
    for (std::uint32_t i = 0; i < kEntries; ++i) {
        tree.Insert(NumberKey(i), rowOf(i));
        model.emplace(NumberKey(i), rowOf(i));
    }
    {
        Unit inner(*database.pager);
        for (std::uint32_t i = 0; i < 2 * kEntries / 3; ++i) ASSERT_TRUE(tree.Erase(NumberKey(i), rowOf(i)));
    }
    ExpectEqual(model);
    for (std::uint32_t i = 0; i < kEntries; i += 2) {
        ASSERT_TRUE(tree.Erase(NumberKey(i), rowOf(i)));
        ASSERT_FALSE(tree.Erase(NumberKey(i), rowOf(i)));
        ASSERT_FALSE(tree.Erase(NumberKey(i + 1), rowOf(i)));  // the key of the entry behind, another row
        model.erase({NumberKey(i), rowOf(i)});
    }
    ExpectEqual(model);
    for (std::uint32_t i = kEntries; i > 0; i -= 2) {
        ASSERT_TRUE(tree.Erase(NumberKey(i - 1), rowOf(i - 1)));
    }
    ExpectEqual({});
    unit.Commit();
}

INSTANTIATE_TEST_SUITE_P(Formats, BTreeTest, ::testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& tested) {
                             return tested.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::jet::test
