#include <filesystem>

#include "platform/files/DriveFixture.h"
#include "platform/files/DriveMap.h"
#include "platform/files/FileSystem.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/files/Raised.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::RaisedBy;

class HostPathTest : public test::DriveFixture {};

TEST_F(HostPathTest, FindsExactAndOtherSpellings) {
    Write("Vellora/Arcade/Arcade.mdb", "x");
    Write("Vellora/Grün Ä/Über uns.txt", "x");
    struct Case {
        const char* path;
        const char* host;
    };
    const Case cases[] = {
        {"C:\\Vellora\\Arcade\\Arcade.mdb", "Vellora/Arcade/Arcade.mdb"},
        {"c:\\vellora\\ARCADE\\arcade.MDB", "Vellora/Arcade/Arcade.mdb"},
        {"C:/Vellora/Arcade/Arcade.mdb", "Vellora/Arcade/Arcade.mdb"},
        {"C:\\Vellora\\\\Arcade\\.\\Arcade.mdb", "Vellora/Arcade/Arcade.mdb"},
        {"C:\\Vellora\\Other\\..\\Arcade\\Arcade.mdb", "Vellora/Arcade/Arcade.mdb"},
        {"C:\\..\\..\\Vellora", "Vellora"},
        {"C:\\VELLORA\\grÜN ä\\ÜBER UNS.TXT", "Vellora/Grün Ä/Über uns.txt"},
        {"C:\\vellora\\New Folder\\a.txt", "Vellora/New Folder/a.txt"},
        {"C:\\vellora\\", "Vellora"},
        {"C:\\Vellora\\Arcade.", "Vellora/Arcade"},
        {"C:\\Vellora\\Arcade ", "Vellora/Arcade"},
        {"\\\\?\\C:\\Vellora", "Vellora"},
    };
    for (const Case& c : cases) EXPECT_EQ(HostPath(c.path), Host(c.host).string()) << c.path;
    EXPECT_EQ(HostPath("C:\\"), Root());
    EXPECT_EQ(HostPath("C:"), Root());
    EXPECT_EQ(HostPath("\\\\?\\unix\\" + Root()), Root());
}

TEST_F(HostPathTest, TheExactSpellingComesFirst) {
    Write("a.txt", "lower");
    Write("A.txt", "upper");
    EXPECT_EQ(HostPath("C:\\a.txt"), Host("a.txt").string());
    EXPECT_EQ(HostPath("C:\\A.txt"), Host("A.txt").string());
}

TEST_F(HostPathTest, SeesChangesOfAFolderAtOnce) {
    Write("d/first.txt", "");
    // Long ago, so that the folder's names may be remembered.
    const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::last_write_time(Host("d"), longAgo);
    EXPECT_EQ(HostPath("C:\\d\\FIRST.TXT"), Host("d/first.txt").string());
    EXPECT_EQ(HostPath("C:\\d\\SECOND.TXT"), Host("d/SECOND.TXT").string());
    Write("d/second.txt", "");
    EXPECT_EQ(HostPath("C:\\d\\SECOND.TXT"), Host("d/second.txt").string());
    fs::remove(Host("d/first.txt"));
    EXPECT_EQ(HostPath("C:\\d\\FIRST.TXT"), Host("d/FIRST.TXT").string());
}

TEST_F(HostPathTest, RaisesForImpossiblePaths) {
    EXPECT_EQ(RaisedBy([] { HostPath(""); }), 52);
    EXPECT_EQ(RaisedBy([] { HostPath(std::string_view("C:\\a\0b", 6)); }), 52);
    EXPECT_EQ(RaisedBy([] { HostPath("C:\\a*b"); }), 52);
    EXPECT_EQ(RaisedBy([] { HostPath("C:\\a\nb"); }), 52);
    EXPECT_EQ(RaisedBy([] { HostPath("C:\\a\xFF"); }), 52);
    EXPECT_EQ(RaisedBy([] { HostPath("C:\\a:stream"); }), 52);
    EXPECT_EQ(RaisedBy([] { HostPath("Q:\\a"); }), 68);
    EXPECT_EQ(RaisedBy([] { HostPath("\\\\server\\share\\a"); }), 76);
    EXPECT_EQ(TryHostPath("Q:\\a"), std::nullopt);
}

TEST_F(HostPathTest, TakesHostPathsToo) {
    Write("a:b/c\\d.txt", "x");  // no Windows names, but the host's own
    const std::string host = Host("a:b/c\\d.txt").string();
    EXPECT_EQ(HostPath(host), host);
    EXPECT_EQ(RaisedBy([&] { WindowsPath(host); }), 52);

    Write("x/y.txt", "x");
    const fs::path old = fs::current_path();
    fs::current_path(Host("x"));
    EXPECT_TRUE(IsFile("y.txt"));
    EXPECT_TRUE(IsFile("Y.TXT"));
    EXPECT_TRUE(IsFile("..\\x\\y.txt"));
    EXPECT_TRUE(IsFile("../X/y.txt"));
    EXPECT_TRUE(IsFile("\\x\\y.txt"));
    EXPECT_EQ(WindowsPath("y.txt"), "C:\\x\\y.txt");
    EXPECT_EQ(WindowsPath("../x"), "C:\\x");
    fs::current_path(old);
}

TEST_F(HostPathTest, AWindowsPathStaysWhatItIs) {
    EXPECT_EQ(WindowsPath("C:/x/Y.txt"), "C:\\x\\Y.txt");
    EXPECT_EQ(WindowsPath("C:\\not there\\Y.txt"), "C:\\not there\\Y.txt");
}

TEST(DriveMap, TheDeepestDriveWins) {
    const test::TemporaryFolder folder;
    const std::string root = fs::canonical(folder.Path()).string();
    fs::create_directories(root + "/games/vellora");
    const DriveMap drives({{'Z', "/"}, {'D', root + "/games"}, {'C', root}});
    EXPECT_EQ(drives.ToWindows(root + "/games/vellora/a.mdb"), "D:\\vellora\\a.mdb");
    EXPECT_EQ(drives.ToWindows(root + "/games"), "D:\\");
    EXPECT_EQ(drives.ToWindows(root + "/games/"), "D:\\");
    EXPECT_EQ(drives.ToWindows(root + "/other/x"), "C:\\other\\x");
    EXPECT_EQ(drives.ToWindows(root + "/other/../games/./x"), "D:\\x");
    EXPECT_EQ(drives.ToWindows("/"), "Z:\\");
    EXPECT_EQ(drives.ToWindows("relative"), std::nullopt);
    EXPECT_EQ(DriveMap({{'C', root}}).ToWindows("/usr"), std::nullopt);
}

TEST(DriveMap, LinksOnTheWayDoNotMatter) {
    const test::TemporaryFolder folder;
    const std::string root = fs::canonical(folder.Path()).string();
    fs::create_directories(root + "/real/vellora");
    fs::create_directory_symlink(root + "/real", root + "/link");
    const DriveMap drives({{'C', root + "/real"}});
    EXPECT_EQ(drives.ToWindows(root + "/link/vellora"), "C:\\vellora");
}

TEST(DriveMap, WithoutAPrefixZIsTheRoot) {
    const test::TemporaryFolder folder;
    const DriveMap drives = DriveMap::ForProgramIn(folder.Path().string());
    ASSERT_EQ(drives.Drives().size(), 1U);
    EXPECT_EQ(drives.Drives()[0].letter, 'Z');
    EXPECT_EQ(drives.Drives()[0].root, "/");
    EXPECT_EQ(drives.WinePrefix(), "");
}

TEST(DriveMap, AWinePrefixBringsItsDrives) {
    const test::TemporaryFolder folder;
    const std::string root = fs::canonical(folder.Path()).string();
    const std::string program = root + "/prefix/drive_c/Program Files/Vellora";
    fs::create_directories(program);
    fs::create_directories(root + "/prefix/dosdevices");
    fs::create_directories(root + "/games");
    fs::create_directory_symlink("../drive_c", root + "/prefix/dosdevices/c:");
    fs::create_directory_symlink("/", root + "/prefix/dosdevices/z:");
    fs::create_directory_symlink(root + "/games", root + "/prefix/dosdevices/g:");
    fs::create_directory_symlink(root + "/nowhere", root + "/prefix/dosdevices/h:");
    fs::create_symlink("/dev/null", root + "/prefix/dosdevices/g::");
    fs::create_symlink("/dev/null", root + "/prefix/dosdevices/com1");

    const DriveMap drives = DriveMap::ForProgramIn(program);
    EXPECT_EQ(drives.WinePrefix(), root + "/prefix");
    std::string letters;
    for (const auto& drive : drives.Drives()) letters.push_back(drive.letter);
    EXPECT_EQ(letters, "CGZ");
    EXPECT_EQ(drives.ToWindows(program), "C:\\Program Files\\Vellora");
    EXPECT_EQ(drives.ToHost("c:\\PROGRAM FILES\\vellora"), program);
    EXPECT_EQ(drives.ToWindows(root + "/games/x.zip"), "G:\\x.zip");
}

}  // namespace
}  // namespace marrowkit
