#include <cstdlib>
#include <filesystem>

#include "platform/files/DriveFixture.h"
#include "platform/files/FileTools.h"
#include "platform/files/Raised.h"
#include "platform/files/StartProgram.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::RaisedBy;

/// PATH holds nothing but the programs of the test.
class StartProgramTest : public test::DriveFixture {
protected:
    StartProgramTest() : oldPath_(std::getenv("PATH")) {
        fs::create_directory(Host("bin"));
        setenv("PATH", Host("bin").c_str(), 1);
    }
    ~StartProgramTest() override { setenv("PATH", oldPath_.c_str(), 1); }

    /// A program that writes its arguments, one a line, into a file and ends with this exit code.
    void MakeProgram(const std::string& name, int exitCode = 0) const {
        Write("bin/" + name,
              "#!/bin/sh\nfor word; do echo \"$word\"; done > " + Host(name + ".called").string() +
                  ".part\n/bin/mv " + Host(name + ".called").string() + ".part " +
                  Host(name + ".called").string() + "\nexit " + std::to_string(exitCode) + "\n");
        fs::permissions(Host("bin/" + name), fs::perms(0755));
    }

    std::string ArgumentsOf(const std::string& name) const { return Read(name + ".called"); }

private:
    std::string oldPath_;
};

TEST(SplitCommandLine, KeepsQuotedBlanks) {
    using Words = std::vector<std::string>;
    EXPECT_EQ(SplitCommandLine("notepad.exe \"C:\\My Files\\a.dat\""),
              (Words{"notepad.exe", "C:\\My Files\\a.dat"}));
    EXPECT_EQ(SplitCommandLine("  a   b\tc "), (Words{"a", "b", "c"}));
    EXPECT_EQ(SplitCommandLine("a \"\" b"), (Words{"a", "", "b"}));
    EXPECT_EQ(SplitCommandLine("a\"b c\"d"), (Words{"ab cd"}));
    EXPECT_EQ(SplitCommandLine("\"never closed"), (Words{"never closed"}));
    EXPECT_EQ(SplitCommandLine(""), Words{});
}

TEST_F(StartProgramTest, OpensADocumentByItsHostPath) {
    MakeProgram("xdg-open");
    Write("My Files/Ä.txt", "x");
    EXPECT_TRUE(FileTools().OpenDocument("C:\\my files\\ä.TXT", ""));
    EXPECT_EQ(ArgumentsOf("xdg-open"), Host("My Files/Ä.txt").string() + "\n");
}

TEST_F(StartProgramTest, AnOpenerThatRefusesIsReported) {
    Write("a.txt", "x");
    EXPECT_FALSE(FileTools().OpenDocument("C:\\a.txt"));  // none there
    MakeProgram("xdg-open", 3);
    EXPECT_FALSE(FileTools().OpenDocument("C:\\a.txt"));
    EXPECT_FALSE(FileTools().OpenDocument("Q:\\a.txt"));
}

TEST_F(StartProgramTest, NotepadIsTheDesktopsTextEditor) {
    Write("bin/xdg-mime", "#!/bin/sh\necho org.desktop.Editor.desktop\n");
    fs::permissions(Host("bin/xdg-mime"), fs::perms(0755));
    MakeProgram("gtk-launch");
    MakeProgram("xdg-open");
    Write("My Roms/a.dat", "x");
    StartCommandLine("notepad.exe \"C:\\My Roms\\a.dat\"");
    EXPECT_EQ(ArgumentsOf("gtk-launch"),
              "org.desktop.Editor.desktop\n" + Host("My Roms/a.dat").string() + "\n");
    EXPECT_EQ(ArgumentsOf("xdg-open"), "");
}

TEST_F(StartProgramTest, WithoutAnEditorTheDesktopOpensTheFile) {
    MakeProgram("xdg-open");
    Write("a.dat", "x");
    StartCommandLine("NOTEPAD.EXE \"C:\\a.dat\"");
    EXPECT_EQ(ArgumentsOf("xdg-open"), Host("a.dat").string() + "\n");
}

TEST_F(StartProgramTest, AProgramThatDoesNotStartIsAnError) {
    Write("a.dat", "x");
    EXPECT_EQ(RaisedBy([] { StartCommandLine("notepad.exe \"C:\\a.dat\""); }), 53);
    EXPECT_EQ(RaisedBy([] { StartCommandLine("no-such-program x"); }), 53);
    EXPECT_EQ(RaisedBy([] { StartCommandLine("  "); }), 5);
    Write("bin/broken", "not a program");
    fs::permissions(Host("bin/broken"), fs::perms(0755));
    EXPECT_EQ(RaisedBy([] { StartCommandLine("broken"); }), 53);
}

TEST_F(StartProgramTest, ALongRunningProgramIsNotWaitedFor) {
    Write("bin/slow", "#!/bin/sh\n/bin/sleep 2\n(: > " + Host("late").string() + ") 2>/dev/null\n");
    fs::permissions(Host("bin/slow"), fs::perms(0755));
    StartCommandLine("slow");
    EXPECT_FALSE(fs::exists(Host("late")));
}

}  // namespace
}  // namespace marrowkit
