#include <gtest/gtest.h>

#include "shell/CommandLine.h"
#include "shell/WindowGeometry.h"

namespace marrowkit {
namespace {

constexpr float kScreenWidth = 28800;
constexpr float kScreenHeight = 16200;

struct GeometryCase {
    const char* what;
    WindowGeometry saved;
    WindowGeometry start;
};

// Centred by the design size: 28800/2 - 4770/2 and 16200/2 - 4230/2.
constexpr float kCentredLeft = 12015;
constexpr float kCentredTop = 5985;

const GeometryCase kCases[] = {
    {"nothing saved opens at the top left corner", {0, 0, 0, 0}, {4770, 4230, 0, 0}},
    {"a width of 499 was never a window's", {499, 5000, 10, 20}, {4770, 5000, 10, 20}},
    {"a width of 500 is kept", {500, 5000, 10, 20}, {500, 5000, 10, 20}},
    {"a height of 499 was never a window's", {5000, 499, 10, 20}, {5000, 4230, 10, 20}},
    {"wider than the screen becomes as wide as it", {30000, 5000, 10, 20}, {28800, 5000, 10, 20}},
    {"higher than the screen becomes as high as it", {5000, 17000, 10, 20}, {5000, 16200, 10, 20}},
    {"a left of -1 centres both", {6000, 5000, 10, -1}, {6000, 5000, kCentredTop, kCentredLeft}},
    {"a top of -1 centres both", {6000, 5000, -1, 10}, {6000, 5000, kCentredTop, kCentredLeft}},
    {"just beyond the screen's width centres",
     {6000, 5000, 10, 28801},
     {6000, 5000, kCentredTop, kCentredLeft}},
    {"at the screen's width is still inside", {6000, 5000, 10, 28800}, {6000, 5000, 10, 28800}},
    {"just below the screen centres", {6000, 5000, 16201, 10}, {6000, 5000, kCentredTop, kCentredLeft}},
};

TEST(StartGeometry, FollowsTheSavedValuesWithinTheScreen) {
    for (const GeometryCase& c : kCases) {
        const WindowGeometry start = StartGeometry(c.saved, kScreenWidth, kScreenHeight);
        EXPECT_EQ(start.width, c.start.width) << c.what;
        EXPECT_EQ(start.height, c.start.height) << c.what;
        EXPECT_EQ(start.top, c.start.top) << c.what;
        EXPECT_EQ(start.left, c.start.left) << c.what;
    }
}

TEST(Switches, CountAnywhereInTheCommandLineAndInAnyCase) {
    EXPECT_FALSE(ReadSwitches("").expert);
    EXPECT_FALSE(ReadSwitches("").noMessageBox);
    EXPECT_TRUE(ReadSwitches("-nomsgbox").noMessageBox);
    EXPECT_FALSE(ReadSwitches("-nomsgbox").expert);
    EXPECT_TRUE(ReadSwitches("-EXPERT").expert);
    EXPECT_FALSE(ReadSwitches("-EXPERT").noMessageBox);
    EXPECT_TRUE(ReadSwitches("/x Some-Expertise").expert);
    EXPECT_TRUE(ReadSwitches("a -NoMsgBox -expert b").noMessageBox);
    EXPECT_FALSE(ReadSwitches("EXPERT NOMSGBOX").expert);
}

}  // namespace
}  // namespace marrowkit
