#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <unistd.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "platform/files/DriveFixture.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FileTools.h"
#include "platform/files/HostFiles.h"
#include "platform/files/Raised.h"
#include "platform/files/WhileLocked.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::RaisedBy;
using test::WhileLocked;

class FileSystemTest : public test::DriveFixture {};

/// The disk is full beyond this file size, for root too, until the end of the scope.
class SmallDisk {
public:
    explicit SmallDisk(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &old_);
        rlimit limit = old_;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() {
        setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit old_{};
    void (*handler_)(int);
};

TEST_F(FileSystemTest, FileToolsTellsFilesFromFolders) {
    Write("Vellora/Empty.mdb", "x");
    fs::create_symlink("nowhere", Host("dangling"));
    fs::create_directory_symlink(Host("Vellora"), Host("link"));
    const FileTools tools;
    EXPECT_TRUE(tools.FileExists("C:\\Vellora\\EMPTY.MDB", 0, "Marrow-Kit"));
    EXPECT_FALSE(tools.FileExists("C:\\Vellora", 0, ""));
    EXPECT_FALSE(tools.FileExists("C:\\Vellora\\none", 0, ""));
    EXPECT_FALSE(tools.FileExists("C:\\dangling", 0, ""));
    EXPECT_FALSE(tools.FileExists("", 0, ""));
    EXPECT_FALSE(tools.FileExists("Q:\\x", 0, ""));
    EXPECT_FALSE(tools.FileExists("C:\\a*b", 0, ""));
    EXPECT_TRUE(tools.FileExists("C:\\link\\Empty.mdb", 0, ""));
    EXPECT_TRUE(tools.FolderExists("C:\\vellora"));
    EXPECT_TRUE(tools.FolderExists("C:\\vellora\\"));
    EXPECT_TRUE(tools.FolderExists("C:\\link"));
    EXPECT_FALSE(tools.FolderExists("C:\\Vellora\\Empty.mdb"));
    EXPECT_FALSE(tools.FolderExists("C:\\Vellora\\Empty.mdb\\x"));
}

TEST_F(FileSystemTest, PathExistsIsAListing) {
    Write("d/a.mdb", "x");
    fs::create_directory(Host("empty"));
    EXPECT_TRUE(PathExists("C:\\d\\a.mdb"));
    EXPECT_TRUE(PathExists("C:\\D\\A.MDB"));
    EXPECT_TRUE(PathExists("C:\\d"));
    EXPECT_TRUE(PathExists("C:\\d\\"));
    EXPECT_TRUE(PathExists("C:\\d\\*.mdb"));
    EXPECT_FALSE(PathExists("C:\\d\\*.zip"));
    EXPECT_FALSE(PathExists("C:\\empty\\"));
    EXPECT_FALSE(PathExists("C:\\none\\a.mdb"));
    EXPECT_FALSE(PathExists(""));
    EXPECT_FALSE(PathExists("C:\\d\\a<b"));
}

TEST_F(FileSystemTest, FileLengthCountsBytes) {
    Write("a", "12345");
    Write("empty", "");
    EXPECT_EQ(FileLength("C:\\A"), 5);
    EXPECT_EQ(FileLength("C:\\empty"), 0);
    EXPECT_EQ(RaisedBy([] { FileLength("C:\\none"); }), 53);
    EXPECT_EQ(RaisedBy([] { FileLength("C:\\none\\a"); }), 76);
    EXPECT_EQ(RaisedBy([] { FileLength("C:\\a\\b"); }), 76);
    EXPECT_EQ(RaisedBy([] { FileLength("C:\\"); }), 75);
}

TEST_F(FileSystemTest, FileCopyCopiesEveryByteAndTheTime) {
    std::string bytes;
    for (int i = 0; i < 700'000; ++i) bytes.push_back(static_cast<char>(i * 7));
    Write("Empty.mdb", bytes);
    const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(999);
    fs::last_write_time(Host("Empty.mdb"), longAgo);
    fs::create_directory(Host("New ä"));
    FileCopy("C:\\EMPTY.MDB", "C:\\new Ä\\N.mdb");
    EXPECT_EQ(Read("New ä/N.mdb"), bytes);
    EXPECT_EQ(fs::last_write_time(Host("New ä/N.mdb")), longAgo);
    Write("small", "1");
    FileCopy("C:\\small", "C:\\new Ä\\N.mdb");
    EXPECT_EQ(Read("New ä/N.mdb"), "1");
}

TEST_F(FileSystemTest, FileCopyRefusesAFileThatAnotherProcessHasLocked) {
    Write("a", "content");
    // Of the content, and where database engines put theirs.
    for (const off_t byte : {off_t{0}, off_t{3}, off_t{0x10000001}, off_t{1} << 32}) {
        WhileLocked(Host("a"), F_WRLCK, byte,
                    [] { EXPECT_EQ(RaisedBy([] { FileCopy("C:\\a", "C:\\b"); }), 70); });
        EXPECT_FALSE(fs::exists(Host("b"))) << byte;
        WhileLocked(Host("a"), F_RDLCK, byte,
                    [] { EXPECT_EQ(RaisedBy([] { FileCopy("C:\\a", "C:\\b"); }), 0); });
        EXPECT_EQ(Read("b"), "content");
        fs::remove(Host("b"));
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(Root()), fs::directory_iterator()), 1) << "no half copies";
}

TEST_F(FileSystemTest, FileCopyRaises) {
    Write("a", "12345");
    fs::create_directory(Host("d"));
    EXPECT_EQ(RaisedBy([] { FileCopy("C:\\none", "C:\\b"); }), 53);
    EXPECT_EQ(RaisedBy([] { FileCopy("C:\\a", "C:\\none\\b"); }), 76);
    EXPECT_EQ(RaisedBy([] { FileCopy("C:\\a", "C:\\A"); }), 70);
    EXPECT_EQ(RaisedBy([] { FileCopy("C:\\d", "C:\\b"); }), 75);
    EXPECT_EQ(RaisedBy([] { FileCopy("C:\\a", "C:\\d"); }), 75);
    EXPECT_EQ(Read("a"), "12345");
}

TEST_F(FileSystemTest, ACopyThatDoesNotFitLeavesNothing) {
    Write("a", std::string(100'000, 'a'));
    Write("old", "old");
    {
        const SmallDisk disk(50'000);
        EXPECT_EQ(RaisedBy([] { FileCopy("C:\\a", "C:\\b"); }), 61);
        EXPECT_EQ(RaisedBy([] { FileCopy("C:\\a", "C:\\old"); }), 61);
    }
    EXPECT_FALSE(fs::exists(Host("b")));
    EXPECT_EQ(Read("old"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(Root()), fs::directory_iterator()), 2);
}

TEST_F(FileSystemTest, MakeFolderRefusesWhatIsThere) {
    MakeFolder("C:\\Arcade");
    EXPECT_TRUE(fs::is_directory(Host("Arcade")));
    EXPECT_EQ(RaisedBy([] { MakeFolder("C:\\arcade"); }), 75);
    EXPECT_EQ(RaisedBy([] { MakeFolder("C:\\none\\a"); }), 76);
    EXPECT_EQ(RaisedBy([] { MakeFolder("C:\\"); }), 75);
    MakeFolder("C:\\ARCADE\\Gfx");
    EXPECT_TRUE(fs::is_directory(Host("Arcade/Gfx")));
    EXPECT_EQ(std::distance(fs::directory_iterator(Root()), fs::directory_iterator()), 1);
}

TEST_F(FileSystemTest, RenameFileKeepsWhatIsThere) {
    Write("d/vltemp.mdb", "new");
    Write("d/b.mdb", "other");
    EXPECT_EQ(RaisedBy([] { RenameFile("C:\\d\\vltemp.mdb", "C:\\d\\B.MDB"); }), 58);
    EXPECT_EQ(RaisedBy([] { RenameFile("C:\\d\\none", "C:\\d\\x"); }), 53);
    EXPECT_EQ(RaisedBy([] { RenameFile("C:\\d\\b.mdb", "C:\\none\\x"); }), 76);
    EXPECT_EQ(RaisedBy([] { RenameFile("C:\\d\\none", "C:\\d\\none"); }), 53);
    EXPECT_EQ(Read("d/b.mdb"), "other");
    RenameFile("C:\\D\\VLTEMP.mdb", "C:\\D\\Arcade.mdb");
    EXPECT_EQ(Read("d/Arcade.mdb"), "new");
    EXPECT_FALSE(fs::exists(Host("d/vltemp.mdb")));
}

TEST_F(FileSystemTest, RenameFileChangesTheSpelling) {
    Write("arcade.mdb", "x");
    RenameFile("C:\\arcade.mdb", "C:\\Arcade.MDB");
    EXPECT_TRUE(fs::exists(Host("Arcade.MDB")));
    EXPECT_FALSE(fs::exists(Host("arcade.mdb")));
}

TEST_F(FileSystemTest, ReplacingAFileKeepsItsModeAndItsLink) {
    Write("real", "old");
    fs::permissions(Host("real"), fs::perms(0640));
    fs::create_symlink("real", Host("link"));
    ReplaceHostFile(Host("link").string(), "new");
    EXPECT_TRUE(fs::is_symlink(Host("link")));
    EXPECT_EQ(Read("real"), "new");
    EXPECT_EQ(fs::status(Host("real")).permissions(), fs::perms(0640));
}

// What a shell hands over for a program's input; a terminal or /dev/null must not become a file either.
TEST_F(FileSystemTest, ReplacingWritesIntoAPipe) {
    const std::string pipe = Host("pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    ReplaceHostFile(pipe, "new");
    char got[8] = {};
    EXPECT_EQ(read(reader, got, sizeof got), 3);
    EXPECT_STREQ(got, "new");
    close(reader);
    EXPECT_TRUE(fs::is_fifo(pipe));
}

TEST_F(FileSystemTest, ReplacingOnAFullDiskKeepsTheOldContent) {
    Write("a", "old");
    {
        const SmallDisk disk(1000);
        EXPECT_EQ(RaisedBy([&] { ReplaceHostFile(Host("a").string(), std::string(5000, 'x')); }), 61);
    }
    EXPECT_EQ(Read("a"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(Root()), fs::directory_iterator()), 1);
}

}  // namespace
}  // namespace marrowkit
