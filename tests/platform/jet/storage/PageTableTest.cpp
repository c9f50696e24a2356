#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "platform/jet/storage/PageTable.h"

namespace marrowkit::jet::test {
namespace {

TEST(PageTable, KnowsWhatWasAddedInItsOrder) {
    std::mt19937 random(1);
    std::vector<PageNumber> pages(5000);
    for (PageNumber i = 0; i < pages.size(); ++i) pages[i] = i * 3;
    std::shuffle(pages.begin(), pages.end(), random);

    PageTable table;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        EXPECT_FALSE(table.Contains(pages[i]));
        table.Add(pages[i], i + 7);
        EXPECT_TRUE(table.Contains(pages[i]));
    }
    ASSERT_EQ(table.Entries().size(), pages.size());
    for (std::size_t i = 0; i < pages.size(); ++i) {
        EXPECT_EQ(table.Entries()[i].page, pages[i]);
        EXPECT_EQ(table.Entries()[i].number, i + 7);
        EXPECT_TRUE(table.Contains(pages[i]));
        EXPECT_FALSE(table.Contains(pages[i] + 1));
    }
}

TEST(PageTable, ForgetsEverythingWhenCleared) {
    PageTable table;
    for (const PageNumber count : {1000U, 3U, 40U}) {
        for (PageNumber page = 0; page < count; ++page) table.Add(page, page);
        table.Clear();
        EXPECT_TRUE(table.Entries().empty());
        for (PageNumber page = 0; page < count; ++page) EXPECT_FALSE(table.Contains(page));
    }
}

}  // namespace
}  // namespace marrowkit::jet::test
