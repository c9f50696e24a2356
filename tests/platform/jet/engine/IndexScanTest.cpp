// Walks over indexes: bounds, directions, Nulls.

#include "EngineTestSupport.h"

namespace marrowkit::jet::test {
namespace {

class IndexScanTest : public NewDatabaseTest {
protected:
    IndexScanTest() {
        Index down = IndexOn("Down", {"N"});
        down.parts[0].ascending = false;
        Index mixed = IndexOn("Mixed", {"S", "N"});
        mixed.parts[1].ascending = false;
        database_->CreateTable({"T",
                                {AutoNumberColumn("Id"), LongColumn("N"), TextColumn("S")},
                                {IndexOn("Up", {"N"}), down, mixed},
                                "",
                                ""});
        Insert(T("T"), {{"S", std::string("a")}});
        for (const int n : {5, 1, 3, 2, 4}) {
            Insert(T("T"), {{"N", n}, {"S", std::string(n % 2 == 0 ? "even" : "odd")}});
        }
    }
    std::vector<Value> Numbers(std::string_view index, const IndexRange& range, bool backwards = false) {
        return Walk(T("T"), index, range, "N", backwards);
    }
};
INSTANTIATE_TEST_SUITE_P(BothFormats, IndexScanTest, ::testing::ValuesIn(kBothVersions), VersionName);

TEST_P(IndexScanTest, BoundsOfOneColumn) {
    struct Case {
        const char* what;
        IndexRange range;
        std::vector<Value> ascending;
    };
    const Case cases[] = {
        {"all", IndexRange::All(), {Null{}, 1, 2, 3, 4, 5}},
        {"equal", IndexRange::Equal({3}), {3}},
        {"equal to what is not there", IndexRange::Equal({7}), {}},
        {"equal to Null", IndexRange::Equal({Null{}}), {Null{}}},
        {"from", {{2}, {}, true, true}, {2, 3, 4, 5}},
        {"above", {{2}, {}, false, true}, {3, 4, 5}},
        {"up to", {{}, {3}, true, true}, {1, 2, 3}},
        {"below", {{}, {3}, true, false}, {1, 2}},
        {"between", {{2}, {4}, true, true}, {2, 3, 4}},
        {"strictly between", {{2}, {4}, false, false}, {3}},
        {"empty", {{4}, {2}, true, true}, {}},
        {"equal but excluded", {{3}, {3}, true, false}, {}},
        {"texts are converted", IndexRange::Equal({std::string("4")}), {4}},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        std::vector<Value> reversed(test.ascending.rbegin(), test.ascending.rend());
        EXPECT_EQ(Numbers("Up", test.range), test.ascending);
        EXPECT_EQ(Numbers("Up", test.range, true), reversed);
        EXPECT_EQ(Numbers("Down", test.range), reversed);
        EXPECT_EQ(Numbers("Down", test.range, true), test.ascending);
    }
}

TEST_P(IndexScanTest, BoundsOfTwoColumns) {
    const Value odd = std::string("ODD");
    EXPECT_EQ(Numbers("Mixed", IndexRange::Equal({odd})), (std::vector<Value>{5, 3, 1}));
    EXPECT_EQ(Numbers("Mixed", IndexRange::Equal({odd, 3})), (std::vector<Value>{3}));
    EXPECT_EQ(Numbers("Mixed", {{odd, 3}, {odd}, true, true}), (std::vector<Value>{5, 3}));
    EXPECT_EQ(Numbers("Mixed", {{odd}, {odd, 3}, true, false}), (std::vector<Value>{1}));
    EXPECT_EQ(Numbers("Mixed", {{odd, 2}, {odd, 4}, true, true}, true), (std::vector<Value>{3}));
}

TEST_P(IndexScanTest, FollowsChangesOnTheWay) {
    Table& table = T("T");
    const std::size_t id = table.FindColumn("Id").value();
    const auto scan = table.OpenIndexScan(table.Indexes().size() - 1, {{1}, {}, true, true}, {id}, false);
    ASSERT_EQ(table.Indexes().back().name, "Up");
    int met = 0;
    while (scan->Next()) {
        ++met;
        table.Delete(scan->Id());
    }
    EXPECT_EQ(met, 5);
    EXPECT_EQ(table.RowCount(), 1);
}

TEST_P(IndexScanTest, WrongBoundsAreRefused) {
    EXPECT_EQ(ErrorOf([&] { Numbers("Up", IndexRange::Equal({std::string("x")})); }), 3421);
    EXPECT_EQ(ErrorOf([&] { Numbers("Up", IndexRange::Equal({1, 2})); }), 3001);
}

}  // namespace
}  // namespace marrowkit::jet::test
