#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "platform/files/DriveFixture.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FileTools.h"
#include "platform/files/Raised.h"
#include "platform/files/WhileLocked.h"
#include "support/OrdinaryUser.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::RaisedBy;
using test::WhileLocked;

class DeletePathTest : public test::DriveFixture {};

TEST_F(DeletePathTest, TakesAFileInAnySpelling) {
    Write("d/vltemp.mdb", "x");
    DeletePath("C:\\D\\VLTEMP.MDB");
    EXPECT_FALSE(fs::exists(Host("d/vltemp.mdb")));
    EXPECT_TRUE(fs::exists(Host("d")));
}

TEST_F(DeletePathTest, NothingThereIsNoError) {
    DeletePath("C:\\none");
    DeletePath("C:\\none\\deeper");
    Write("file", "x");
    DeletePath("C:\\file\\below");
    EXPECT_EQ(Read("file"), "x");
}

TEST_F(DeletePathTest, TakesAFolderWithEverythingInIt) {
    Write("Arcade/Arcade.mdb", "x");
    Write("Arcade/Gfx/a/b/c/d/e.gif", "x");
    Write("Arcade/.hidden/x", "x");
    Write("Arcade/odd\\name\n\xFF", "x");  // no Windows name, but in the folder
    Write("Other/keep", "x");
    FileTools().DeletePath("C:\\arcade");
    EXPECT_FALSE(fs::exists(Host("Arcade")));
    EXPECT_EQ(Read("Other/keep"), "x");
}

TEST_F(DeletePathTest, LinksGoWhatTheyLeadToStays) {
    Write("outside/keep.txt", "keep");
    Write("Arcade/a", "x");
    fs::create_directory_symlink(Host("outside"), Host("Arcade/link"));
    fs::create_symlink(Host("outside/keep.txt"), Host("Arcade/file"));
    fs::create_symlink("nowhere", Host("Arcade/dangling"));
    fs::create_directory_symlink("..", Host("Arcade/up"));
    DeletePath("C:\\Arcade");
    EXPECT_FALSE(fs::exists(Host("Arcade")));
    EXPECT_EQ(Read("outside/keep.txt"), "keep");

    fs::create_directory_symlink(Host("outside"), Host("link"));
    DeletePath("C:\\link\\");
    EXPECT_FALSE(fs::is_symlink(Host("link")));
    EXPECT_EQ(Read("outside/keep.txt"), "keep");

    fs::create_symlink("nowhere", Host("dangling"));
    DeletePath("C:\\dangling");
    EXPECT_FALSE(fs::is_symlink(Host("dangling")));
}

TEST_F(DeletePathTest, RefusesRootsAndEmptyPaths) {
    Write("keep", "x");
    EXPECT_EQ(RaisedBy([] { DeletePath(""); }), 75);
    EXPECT_EQ(RaisedBy([] { DeletePath("C:\\"); }), 75);
    EXPECT_EQ(RaisedBy([] { DeletePath("C:"); }), 75);
    EXPECT_EQ(RaisedBy([] { DeletePath("C:\\x\\.."); }), 75);
    EXPECT_EQ(RaisedBy([this] { DeletePath(Root()); }), 75);
    EXPECT_EQ(RaisedBy([] { DeletePath("C:\\*"); }), 52);
    EXPECT_EQ(Read("keep"), "x");
}

TEST_F(DeletePathTest, ReadOnlyContentsGoToo) {
    Write("Arcade/sub/a.txt", "x");
    Write("Arcade/b.txt", "x");
    fs::permissions(Host("Arcade/sub/a.txt"), fs::perms(0444));
    fs::permissions(Host("Arcade/sub"), fs::perms(0555));
    fs::permissions(Host("Arcade"), fs::perms(0111));
    const test::OrdinaryUser user(Root());
    DeletePath("C:\\Arcade");
    EXPECT_FALSE(fs::exists(Host("Arcade")));
}

TEST_F(DeletePathTest, WhatCannotBeDeletedIsAnError) {
    Write("locked/file", "x");
    Write("locked/folder/x", "x");
    // A folder of somebody else, whose permissions an ordinary user cannot change either.
    if (geteuid() != 0) GTEST_SKIP() << "only root can make a folder that belongs to somebody else";
    fs::permissions(Host("locked"), fs::perms(0755));
    fs::permissions(Root(), fs::perms(0755));
    {
        const test::OrdinaryUser user(Host("locked/folder"));
        EXPECT_EQ(RaisedBy([] { DeletePath("C:\\locked\\file"); }), 70);
        EXPECT_EQ(RaisedBy([] { DeletePath("C:\\locked\\folder"); }), 75);
    }
    EXPECT_TRUE(fs::exists(Host("locked/file")));
    EXPECT_TRUE(fs::exists(Host("locked/folder")));
}

TEST_F(DeletePathTest, AFolderThatMayNotBeChangedKeepsItsEntriesWholeAndItsPermissions) {
    Write("library/Arcade/sub/x", "x");
    Write("library/file", "x");
    for (const unsigned mode : {0555U, 0111U}) {
        fs::permissions(Host("library"), fs::perms(mode));
        {
            const test::OrdinaryUser user(Root());
            EXPECT_EQ(RaisedBy([] { DeletePath("C:\\library\\Arcade"); }), 75);
            EXPECT_EQ(RaisedBy([] { DeletePath("C:\\library\\file"); }), 70);
            DeletePath("C:\\library\\none");
        }
        EXPECT_EQ(fs::status(Host("library")).permissions(), fs::perms(mode));
        fs::permissions(Host("library"), fs::perms::owner_all);
        EXPECT_EQ(Read("library/Arcade/sub/x"), "x");
        EXPECT_EQ(Read("library/file"), "x");
    }
}

TEST_F(DeletePathTest, AFolderThatMayBeSearchedButNotReadLetsItsEntriesGo) {
    Write("hidden/file", "x");
    Write("hidden/folder/sub/x", "x");
    fs::permissions(Host("hidden"), fs::perms(0333));
    const test::OrdinaryUser user(Root());
    DeletePath("C:\\hidden\\file");
    DeletePath("C:\\hidden\\folder");
    EXPECT_FALSE(fs::exists(Host("hidden/file")));
    EXPECT_FALSE(fs::exists(Host("hidden/folder")));
    EXPECT_TRUE(fs::exists(Host("hidden")));
}

TEST_F(DeletePathTest, AFileThatSomebodyHasLockedKeepsItselfAndItsWholeFolder) {
    Write("Arcade/Arcade.mdb", "games");
    Write("Arcade/Arcade.ldb", "users");
    Write("Arcade/Gfx/a.gif", "x");
    Write("Other/x", "x");
    // Where the database engine notes a user, and of the file's content.
    for (const off_t byte : {off_t{0x10000001}, off_t{0}}) {
        for (const short type : {short{F_WRLCK}, short{F_RDLCK}}) {
            WhileLocked(Host("Arcade/Arcade.ldb"), type, byte, [] {
                EXPECT_EQ(RaisedBy([] { DeletePath("C:\\Arcade"); }), 70);
                EXPECT_EQ(RaisedBy([] { DeletePath("C:\\Arcade\\Arcade.ldb"); }), 70);
                EXPECT_EQ(RaisedBy([] { DeletePath("C:\\Other"); }), 0);
            });
            EXPECT_EQ(Read("Arcade/Arcade.mdb") + Read("Arcade/Arcade.ldb") + Read("Arcade/Gfx/a.gif"),
                      "gamesusersx");
        }
    }
    DeletePath("C:\\Arcade");
    EXPECT_FALSE(fs::exists(Host("Arcade")));
}

TEST_F(DeletePathTest, WhatALinkLeadsToMayBeLocked) {
    Write("outside/a.mdb", "x");
    fs::create_directory(Host("Arcade"));
    fs::create_symlink(Host("outside/a.mdb"), Host("Arcade/Arcade.mdb"));
    fs::create_directory_symlink(Host("outside"), Host("Arcade/Gfx"));
    ASSERT_EQ(mkfifo(Host("Arcade/pipe").c_str(), 0600), 0);
    WhileLocked(Host("outside/a.mdb"), F_WRLCK, 0, [] { DeletePath("C:\\Arcade"); });
    EXPECT_FALSE(fs::exists(Host("Arcade")));
    EXPECT_EQ(Read("outside/a.mdb"), "x");
}

TEST_F(DeletePathTest, VeryDeepFoldersEndWithAnErrorOrAreGone) {
    // Deeper than a path can be long: made by going down, step by step.
    const fs::path old = fs::current_path();
    fs::create_directory(Host("deep"));
    fs::current_path(Host("deep"));
    const std::string name(200, 'd');
    for (int i = 0; i < 40; ++i) {
        fs::create_directory(name);
        ASSERT_EQ(chdir(name.c_str()), 0);
    }
    fs::current_path(old);
    DeletePath("C:\\deep");
    EXPECT_FALSE(fs::exists(Host("deep")));
}

}  // namespace
}  // namespace marrowkit
