#include <gtest/gtest.h>

#include "platform/files/Clock.h"

namespace marrowkit {
namespace {

TEST(LongDateText, NamesDayAndMonth) {
    EXPECT_EQ(LongDateText({2026, 11, 15}, "C"), "Sunday 15 November 2026");
    EXPECT_EQ(LongDateText({2026, 11, 21}, "C"), "Saturday 21 November 2026");
    EXPECT_EQ(LongDateText({2024, 2, 29}, "C"), "Thursday 29 February 2024");
    EXPECT_EQ(LongDateText({2001, 1, 1}, "C"), "Monday 01 January 2001");
    EXPECT_EQ(LongDateText({2001, 1, 1}, "no such locale"), "Monday 01 January 2001");
}

TEST(Today, CanBeChosen) {
    SetToday({2026, 11, 15});
    EXPECT_EQ(Today().year, 2026);
    EXPECT_EQ(Today().month, 11);
    EXPECT_EQ(Today().day, 15);
    ResetToday();
    EXPECT_GE(Today().year, 2024);
    EXPECT_GE(Today().month, 1);
    EXPECT_LE(Today().month, 12);
}

}  // namespace
}  // namespace marrowkit
