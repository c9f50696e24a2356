#include <gtest/gtest.h>

#include "platform/files/Paths.h"

namespace marrowkit {
namespace {

struct SplitCase {
    const char* path;
    const char* folder;
    const char* fileName;
};

constexpr SplitCase kSplits[] = {
    {"C:\\Data\\a.dat", "C:\\Data", "a.dat"},
    {"C:\\a.dat", "C:\\", "a.dat"},
    {"C:a.dat", "C:", "a.dat"},
    {"a.dat", "", "a.dat"},
    {"Data\\a.dat", "Data", "a.dat"},
    {"C:\\Data\\", "C:\\Data", ""},
    {"C:\\", "C:\\", ""},
    {"C:/Data/x y.dat", "C:/Data", "x y.dat"},
    {"\\\\server\\share\\a", "\\\\server\\share", "a"},
    {"/home/user/a.mdb", "/home/user", "a.mdb"},
    {"/a.mdb", "/", "a.mdb"},
    {"C:\\Grün\\Ä ö.dat", "C:\\Grün", "Ä ö.dat"},
    {"", "", ""},
};

TEST(SplitPath, DividesFolderAndName) {
    for (const SplitCase& c : kSplits) {
        EXPECT_EQ(SplitPath(c.path).folder, c.folder) << c.path;
        EXPECT_EQ(SplitPath(c.path).fileName, c.fileName) << c.path;
        EXPECT_EQ(FolderOf(c.path), c.folder);
        EXPECT_EQ(FileNameOf(c.path), c.fileName);
    }
}

TEST(JoinPath, PutsOneSeparatorBetween) {
    EXPECT_EQ(JoinPath("C:\\a", "b"), "C:\\a\\b");
    EXPECT_EQ(JoinPath("C:\\a\\", "b"), "C:\\a\\b");
    EXPECT_EQ(JoinPath("C:\\a", "\\b"), "C:\\a\\b");
    EXPECT_EQ(JoinPath("C:\\", "b"), "C:\\b");
    EXPECT_EQ(JoinPath("", "b"), "b");
}

TEST(FinalBackslash, ComesAndGoes) {
    EXPECT_EQ(WithFinalBackslash("C:\\a"), "C:\\a\\");
    EXPECT_EQ(WithFinalBackslash("C:\\a\\"), "C:\\a\\");
    EXPECT_EQ(WithoutFinalBackslash("C:\\a\\"), "C:\\a");
    EXPECT_EQ(WithoutFinalBackslash("C:\\a"), "C:\\a");
    EXPECT_EQ(WithoutFinalBackslash("C:\\"), "C:\\");
    EXPECT_EQ(WithoutFinalBackslash(""), "");
}

TEST(IsAbsolutePath, NeedsADriveOrAShare) {
    for (const char* path : {"C:\\", "c:\\a", "Z:/a", "\\\\server\\share"})
        EXPECT_TRUE(IsAbsolutePath(path)) << path;
    for (const char* path : {"", "a", "a\\b", "\\a", "C:", "C:a", "/a", "1:\\a", "\xC3\xA4:\\a"}) {
        EXPECT_FALSE(IsAbsolutePath(path)) << path;
    }
}

TEST(IsDriveRoot, TakesBothForms) {
    EXPECT_TRUE(IsDriveRoot("C:"));
    EXPECT_TRUE(IsDriveRoot("C:\\"));
    EXPECT_FALSE(IsDriveRoot("C:\\a"));
    EXPECT_FALSE(IsDriveRoot("C"));
}

TEST(IsWindowsFileName, RefusesWhatWindowsCannotHave) {
    for (const char* name : {"a", "a b", "Ä.txt", ".hidden", "a.b.c", "'", "[x]", "\xE2\x82\xAC"}) {
        EXPECT_TRUE(IsWindowsFileName(name)) << name;
    }
    for (const char* name : {"", ".", "..", "a\\b", "a/b", "a:b", "a*", "a?", "a\"b", "<", ">", "|", "a\nb",
                             "a.", "a ", "\xE4", "\xED\xA0\x80"}) {
        EXPECT_FALSE(IsWindowsFileName(name)) << name;
    }
}

}  // namespace
}  // namespace marrowkit
