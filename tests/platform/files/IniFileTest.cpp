#include <filesystem>

#include "platform/files/DriveFixture.h"
#include "platform/files/FileTools.h"
#include "platform/files/IniFile.h"
#include "platform/files/Raised.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::RaisedBy;

class IniFileTest : public test::DriveFixture {};

TEST_F(IniFileTest, ReadsTheCodePage) {
    Write("a.dat", "[CREDITS]\r\nAuthor=J\xFCrgen \x80\r\n");
    EXPECT_EQ(ReadIniValue("C:\\A.DAT", "credits", "author", ""), "Jürgen €");
    EXPECT_EQ(ReadIniValue("C:\\a.dat", "CREDITS", "Comment", "none  "), "none");
}

TEST_F(IniFileTest, ATrailingBlankOfTheVersionStays) {
    Write("a.dat", "[DAT]\r\nversion=2.00 \r\n");
    EXPECT_EQ(ReadIniValue("C:\\a.dat", "DAT", "version", ""), "2.00 ");
}

TEST_F(IniFileTest, AtMost4095CharactersAreRead) {
    std::string value(5000, '\xE4');
    Write("a.dat", "[A]\nx=" + value + "\n");
    std::string expected;
    for (int i = 0; i < 4095; ++i) expected += "ä";
    EXPECT_EQ(ReadIniValue("C:\\a.dat", "A", "x", ""), expected);
    EXPECT_EQ(ReadIniValue("C:\\a.dat", "A", "y", std::string(5000, 'd')), std::string(4095, 'd'));
}

TEST_F(IniFileTest, UnicodeFilesAreRead) {
    Write("le.ini", std::string_view("\xFF\xFE[\0A\0]\0\n\0x\0=\0\xE4\0\xAC\x20", 18));
    Write("be.ini", std::string_view("\xFE\xFF\0[\0A\0]\0\n\0x\0=\0\xE4", 16));
    Write("utf8.ini", "\xEF\xBB\xBF[A]\nx=ä\n");
    EXPECT_EQ(ReadIniValue("C:\\le.ini", "a", "X", ""), "ä€");
    EXPECT_EQ(ReadIniValue("C:\\be.ini", "a", "X", ""), "ä");
    EXPECT_EQ(ReadIniValue("C:\\utf8.ini", "a", "X", ""), "ä");
}

TEST_F(IniFileTest, WhatCannotBeReadGivesTheDefault) {
    fs::create_directory(Host("folder"));
    Write("binary", std::string_view("\0\xFF[A\0]\r\0=\xFF", 10));
    for (const char* path :
         {"C:\\none.ini", "C:\\none\\x.ini", "C:\\folder", "Q:\\x", "", "C:\\<>", "C:\\binary"}) {
        EXPECT_EQ(ReadIniValue(path, "A", "x", "default"), "default") << path;
    }
}

TEST_F(IniFileTest, WritesIntoAnyKindOfFile) {
    const FileTools tools;
    tools.WriteIniValue("Games", "1", "C:\\Röms €", "C:\\Paths.ini");
    EXPECT_EQ(Read("Paths.ini"), "[Games]\r\n1=C:\\R\xF6ms \x80\r\n");
    tools.WriteIniValue("File Types", "SupportTypes", "zip;bin;", "C:\\PATHS.INI");
    EXPECT_EQ(Read("Paths.ini"),
              "[Games]\r\n1=C:\\R\xF6ms \x80\r\n[File Types]\r\nSupportTypes=zip;bin;\r\n");

    Write("le.ini", std::string_view("\xFF\xFE[\0A\0]\0\n\0", 10));
    tools.WriteIniValue("A", "x", "α", "C:\\le.ini");
    EXPECT_EQ(ReadIniValue("C:\\le.ini", "A", "x", ""), "α");
    EXPECT_EQ(Read("le.ini").substr(0, 10), std::string("\xFF\xFE[\0A\0]\0\n\0", 10));
}

TEST_F(IniFileTest, WritingRaisesWhatOpeningWould) {
    fs::create_directory(Host("folder"));
    EXPECT_EQ(RaisedBy([] { WriteIniValue("A", "x", "1", "C:\\none\\a.ini"); }), 76);
    EXPECT_EQ(RaisedBy([] { WriteIniValue("A", "x", "1", "C:\\folder"); }), 75);
    EXPECT_EQ(RaisedBy([] { WriteIniValue("A", "x", "1\r\n[B]", "C:\\a.ini"); }), 5);
    EXPECT_EQ(RaisedBy([] { WriteIniValue("", "x", "1", "C:\\a.ini"); }), 5);
    EXPECT_FALSE(fs::exists(Host("a.ini")));
}

}  // namespace
}  // namespace marrowkit
