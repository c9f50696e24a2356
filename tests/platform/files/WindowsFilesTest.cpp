#include <filesystem>
#include <string>
#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/files/Clock.h"
#include "platform/files/DriveFixture.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FolderSearch.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/files/Raised.h"
#include "platform/files/StartProgram.h"
#include "platform/windows/Handle.h"
#include "platform/windows/WideText.h"
#include "support/Environment.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::RaisedBy;
using testing::ElementsAre;
using testing::EndsWith;

// ---- Paths

TEST(WindowsPaths, PassThroughTidied) {
    EXPECT_EQ(HostPath(R"(C:\Vellora\Arcade.mdb)"), R"(C:\Vellora\Arcade.mdb)");
    EXPECT_EQ(HostPath(R"(c:/Vellora//Sub\..\.\Arcade.mdb. )"), R"(c:\Vellora\Arcade.mdb)");
    EXPECT_EQ(HostPath(R"(C:\)"), R"(C:\)");
    EXPECT_EQ(HostPath(R"(\\server\share\..\a.mdb)"), R"(\\server\share\a.mdb)");
    EXPECT_EQ(HostPath(R"(\\?\C:\a.mdb)"), R"(C:\a.mdb)");
    EXPECT_EQ(HostPath(R"(\\?\UNC\server\share\a.mdb)"), R"(\\server\share\a.mdb)");
    EXPECT_EQ(WindowsPath(R"(C:/Vellora)"), R"(C:\Vellora)");
}

TEST(WindowsPaths, AreWorkedOutFromWhatIsCurrent) {
    const std::string current = CurrentHostFolder();
    EXPECT_EQ(HostPath("a.mdb"), HostPathBelow(current, "a.mdb"));
    EXPECT_EQ(HostPath(R"(..\a.mdb)"), HostPathBelow(HostParentOf(current), "a.mdb"));
    EXPECT_EQ(HostPath(current.substr(0, 2) + "a.mdb"), HostPathBelow(current, "a.mdb"));
    EXPECT_EQ(HostPath(R"(\a.mdb)"), current.substr(0, 3) + "a.mdb");
    EXPECT_EQ(HostPath("/a.mdb"), current.substr(0, 3) + "a.mdb");
}

TEST(WindowsPaths, RefuseWhatCannotBeOne) {
    EXPECT_EQ(RaisedBy([] { HostPath(""); }), 52);
    EXPECT_EQ(RaisedBy([] { HostPath(R"(C:\a?b)"); }), 52);
    // One letter at least has no drive.
    const unsigned long drives = GetLogicalDrives();
    char letter = 'A';
    while ((drives >> (letter - 'A') & 1U) != 0) ++letter;
    ASSERT_LE(letter, 'Z');
    EXPECT_EQ(RaisedBy([&] { HostPath(std::string(1, letter) + ":\\a.mdb"); }), 68);
}

TEST(WindowsPaths, ReachTheSystemInItsLongForm) {
    EXPECT_EQ(windows::WidePath(R"(C:\a/b\..\c)"), LR"(\\?\C:\a\c)");
    EXPECT_EQ(windows::WidePath(R"(C:\)"), LR"(\\?\C:\)");
    EXPECT_EQ(windows::WidePath(R"(\\server\share\a)"), LR"(\\?\UNC\server\share\a)");
    EXPECT_EQ(windows::WidePath("a"), L"a");
    EXPECT_EQ(windows::FromWidePath(LR"(\\?\UNC\server\share\a)"), R"(\\server\share\a)");
    EXPECT_EQ(windows::FromWide(windows::ToWide("\xF0\x9F\x8E\xB2")), "\xF0\x9F\x8E\xB2");
}

TEST(WindowsPaths, HaveParents) {
    EXPECT_EQ(HostParentOf(R"(C:\a\b)"), R"(C:\a)");
    EXPECT_EQ(HostParentOf(R"(C:\a)"), R"(C:\)");
    EXPECT_EQ(HostParentOf(R"(C:\)"), R"(C:\)");
    EXPECT_EQ(HostParentOf("a"), ".");
}

// ---- Files

class WindowsFilesTest : public test::DriveFixture {};

TEST_F(WindowsFilesTest, PathsLongerThan260CharactersWork) {
    std::string folder = "C:";
    for (int level = 0; level < 6; ++level) MakeFolder(folder += "\\" + std::string(60, 'x'));
    WriteHostFile(HostPath(folder + "\\a.txt"), "deep");
    EXPECT_EQ(FileLength(folder + "\\A.TXT"), 4);
    FileCopy(folder + "\\a.txt", folder + "\\b.txt");
    RenameFile(folder + "\\b.txt", folder + "\\c.txt");
    EXPECT_THAT(ListFilesByPattern(folder, "*.txt"), ElementsAre("a.txt", "c.txt"));
    DeletePath("C:\\" + std::string(60, 'x'));
    EXPECT_FALSE(PathExists("C:\\" + std::string(60, 'x')));
}

TEST_F(WindowsFilesTest, NamesOfAnyAlphabetWork) {
    const std::string name = "C:\\Pok\xC3\xA9mon \xE6\x97\xA5\xE6\x9C\xAC.rom";
    WriteHostFile(HostPath(name), "x");
    EXPECT_TRUE(IsFile(name));
    EXPECT_EQ(ListFolder("C:\\").at(0).name, "Pok\xC3\xA9mon \xE6\x97\xA5\xE6\x9C\xAC.rom");
}

TEST_F(WindowsFilesTest, ActionsRaiseTheRuntimesNumbers) {
    Write("folder/a.txt", "a");
    Write("b.txt", "b");
    EXPECT_EQ(RaisedBy([] { ReadHostFile(HostPath("C:\\none.txt")); }), 53);
    EXPECT_EQ(RaisedBy([] { ReadHostFile(HostPath("C:\\none\\none.txt")); }), 76);
    EXPECT_EQ(RaisedBy([] { ReadHostFile(HostPath("C:\\folder")); }), 75);
    EXPECT_EQ(RaisedBy([] { WriteHostFile(HostPath("C:\\folder"), ""); }), 75);
    EXPECT_EQ(RaisedBy([] { FileLength("C:\\none.txt"); }), 53);
    EXPECT_EQ(RaisedBy([] { FileLength("C:\\folder"); }), 75);
    EXPECT_EQ(RaisedBy([] { MakeFolder("C:\\FOLDER"); }), 75);
    EXPECT_EQ(RaisedBy([] { MakeFolder("C:\\none\\sub"); }), 76);
    EXPECT_EQ(RaisedBy([] { FileCopy("C:\\none.txt", "C:\\c.txt"); }), 53);
    EXPECT_EQ(RaisedBy([] { FileCopy("C:\\b.txt", "C:\\none\\c.txt"); }), 76);
    EXPECT_EQ(RaisedBy([] { FileCopy("C:\\b.txt", "C:\\B.TXT"); }), 70);
    EXPECT_EQ(RaisedBy([] { FileCopy("C:\\b.txt", "C:\\folder"); }), 75);
    EXPECT_EQ(RaisedBy([] { RenameFile("C:\\none.txt", "C:\\c.txt"); }), 53);
    EXPECT_EQ(RaisedBy([] { RenameFile("C:\\b.txt", "C:\\folder\\A.txt"); }), 58);
    EXPECT_EQ(RaisedBy([] { RenameFile("C:\\b.txt", "C:\\none\\c.txt"); }), 76);
    EXPECT_EQ(RaisedBy([] { DeletePath("C:\\"); }), 75);
    DeletePath("C:\\none.txt");
}

TEST_F(WindowsFilesTest, ACopyKeepsTimeAndAttributes) {
    Write("a.txt", std::string(300'000, 'a'));
    const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(1000);
    fs::last_write_time(Host("a.txt"), longAgo);
    SetFileAttributesW(Host("a.txt").c_str(), FILE_ATTRIBUTE_READONLY);
    FileCopy("C:\\a.txt", "C:\\b.txt");
    EXPECT_EQ(Read("b.txt"), std::string(300'000, 'a'));
    EXPECT_EQ(fs::last_write_time(Host("b.txt")), fs::last_write_time(Host("a.txt")));
    EXPECT_NE(GetFileAttributesW(Host("b.txt").c_str()) & FILE_ATTRIBUTE_READONLY, 0U);
    FileCopy("C:\\a.txt", "C:\\b.txt");  // onto a read-only one
    EXPECT_EQ(ListFolder("C:\\").size(), 2U) << "no temporary twin stays";
}

TEST_F(WindowsFilesTest, ACopyOfALockedFileIsRefused) {
    Write("a.txt", "a");
    const windows::Handle file(CreateFileW(Host("a.txt").c_str(), GENERIC_READ | GENERIC_WRITE,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                           nullptr));
    OVERLAPPED place{};
    place.OffsetHigh = 1;
    ASSERT_NE(LockFileEx(file.Get(), LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &place), 0);
    EXPECT_EQ(RaisedBy([] { FileCopy("C:\\a.txt", "C:\\b.txt"); }), 70);
    EXPECT_FALSE(IsFile("C:\\b.txt"));
    ASSERT_NE(UnlockFileEx(file.Get(), 0, 1, 0, &place), 0);
    FileCopy("C:\\a.txt", "C:\\b.txt");
}

TEST_F(WindowsFilesTest, ReplacingKeepsAttributesAndLeavesNothingElse) {
    Write("Paths.ini", "old");
    SetFileAttributesW(Host("Paths.ini").c_str(), FILE_ATTRIBUTE_HIDDEN);
    ReplaceHostFile(HostPath("C:\\paths.INI"), "new");
    EXPECT_EQ(Read("Paths.ini"), "new");
    EXPECT_NE(GetFileAttributesW(Host("Paths.ini").c_str()) & FILE_ATTRIBUTE_HIDDEN, 0U);
    EXPECT_EQ(ListFolder("C:\\").size(), 1U);
    MakeFolder("C:\\folder");
    EXPECT_EQ(RaisedBy([] { ReplaceHostFile(HostPath("C:\\folder"), "new"); }), 75);
}

TEST_F(WindowsFilesTest, RenamingMayChangeTheSpelling) {
    if (GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr) {
        GTEST_SKIP() << "Wine leaves a name alone that only changes its case";
    }
    Write("arcade.txt", "a");
    RenameFile("C:\\arcade.txt", "C:\\Arcade.txt");
    EXPECT_EQ(ListFolder("C:\\").at(0).name, "Arcade.txt");
    EXPECT_EQ(RaisedBy([] { RenameFile("C:\\Arcade.txt", "C:\\Arcade.txt"); }), 58);
}

TEST_F(WindowsFilesTest, DeletingTakesReadOnlyEntries) {
    Write("Arcade/sub/a.txt", "a");
    Write("Arcade/b.txt", "b");
    SetFileAttributesW(Host("Arcade/sub/a.txt").c_str(), FILE_ATTRIBUTE_READONLY);
    SetFileAttributesW(Host("Arcade/b.txt").c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    DeletePath("C:\\ARCADE");
    EXPECT_FALSE(IsFolder("C:\\Arcade"));
}

TEST_F(WindowsFilesTest, WhatSomebodyHasForHimselfIsNotDeleted) {
    Write("Arcade/a.txt", "a");
    const windows::Handle file(CreateFileW(Host("Arcade/a.txt").c_str(), GENERIC_READ, FILE_SHARE_READ,
                                           nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(RaisedBy([] { DeletePath("C:\\Arcade\\a.txt"); }), 70);
    EXPECT_EQ(RaisedBy([] { DeletePath("C:\\Arcade"); }), 70);
    EXPECT_TRUE(IsFile("C:\\Arcade\\a.txt"));
}

TEST_F(WindowsFilesTest, SearchesTellKindSizeAndAttributes) {
    Write("Roms/A.zip", "12345");
    Write("Roms/.dot", "");
    MakeFolder("C:\\Roms\\Sub");
    SetFileAttributesW(Host("Roms/A.zip").c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    FileSearch search("C:\\roms\\*.ZIP");
    ASSERT_TRUE(search.Found());
    EXPECT_EQ(search.Current().name, "A.zip");
    EXPECT_EQ(search.Current().sizeLow, 5U);
    EXPECT_EQ(search.Current().attributes, kAttributeArchive | kAttributeReadOnly | kAttributeHidden);
    EXPECT_FALSE(search.Next());
    EXPECT_EQ(AttributesOf("C:\\Roms\\Sub"), kAttributeDirectory);
    EXPECT_EQ(AttributesOf("C:\\Roms\\.dot"), kAttributeArchive);
    EXPECT_EQ(AttributesOf("C:\\none"), kAttributesInvalid);
    EXPECT_TRUE(ListFolder("C:\\none").empty());
    EXPECT_EQ(ListFolder("C:\\Roms", FoundDetails::KindOnly).size(), 3U);
}

// ---- Surroundings

TEST(WindowsSurroundings, TheEnvironmentIsReadAsItIs) {
    test::SetVariable("MARROWKIT_TEST_VARIABLE", "C:\\a b");
    EXPECT_EQ(EnvironmentText("MARROWKIT_TEST_VARIABLE"), "C:\\a b");
    test::UnsetVariable("MARROWKIT_TEST_VARIABLE");
    EXPECT_EQ(EnvironmentText("MARROWKIT_TEST_VARIABLE"), "");
    EXPECT_THAT(SettingsHostFolder(), EndsWith("\\Marrowkit"));
    EXPECT_TRUE(IsFile(ProgramFolder() + "\\test_files.exe"));
}

TEST(WindowsSurroundings, DatesComeInTheAskedLanguage) {
    EXPECT_EQ(LongDateText({2026, 11, 15}, "en-US"), "Sunday 15 November 2026");
    EXPECT_EQ(LongDateText({2026, 11, 15}, "de-DE"), "Sonntag 15 November 2026");
    EXPECT_EQ(LongDateText({2026, 11, 15}, "no-such"), "Sunday 15 November 2026");
}

TEST(WindowsSurroundings, AProgramThatIsNotThereIsAnError) {
    EXPECT_EQ(RaisedBy([] { StartCommandLine("no-such-program-anywhere.exe a"); }), 53);
    EXPECT_EQ(RaisedBy([] { StartCommandLine(" "); }), 5);
}

}  // namespace
}  // namespace marrowkit
