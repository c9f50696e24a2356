#include <filesystem>

#include "platform/files/DriveFixture.h"
#include "platform/files/Raised.h"
#include "platform/files/TextFiles.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::RaisedBy;

class TextFilesTest : public test::DriveFixture {
protected:
    std::vector<std::string> LinesOf(std::string_view bytes) const {
        Write("lines", bytes);
        LineReader reader("C:\\lines");
        std::vector<std::string> lines;
        for (std::string line; reader.Next(line);) lines.push_back(line);
        return lines;
    }
};

TEST_F(TextFilesTest, WritesTheCodePageAndOneLineEnd) {
    WriteTextFile("C:\\Credits.txt", "Größe € α");
    EXPECT_EQ(Read("Credits.txt"),
              "Gr\xF6\xDF"
              "e \x80 ?\r\n");
    WriteTextFile("C:\\CREDITS.TXT", "");
    EXPECT_EQ(Read("Credits.txt"), "\r\n");
    WriteTextFile("C:\\Credits.txt", "a\r\nb\n");
    EXPECT_EQ(Read("Credits.txt"), "a\r\nb\n\r\n");
}

TEST_F(TextFilesTest, FailuresAreTheRuntimesErrors) {
    Write("file", "x");
    fs::create_directory(Host("folder"));
    EXPECT_EQ(RaisedBy([] { WriteTextFile("C:\\none\\a.txt", "x"); }), 76);
    EXPECT_EQ(RaisedBy([] { WriteTextFile("C:\\file\\a.txt", "x"); }), 76);
    EXPECT_EQ(RaisedBy([] { WriteTextFile("C:\\folder", "x"); }), 75);
#ifndef _WIN32
    EXPECT_EQ(RaisedBy([] { WriteTextFile("/dev/full", "x"); }), 61);
#endif
    EXPECT_EQ(RaisedBy([] { ReadWholeFile("C:\\none"); }), 53);
    EXPECT_EQ(RaisedBy([] { ReadWholeFile("C:\\none\\a"); }), 76);
    EXPECT_EQ(RaisedBy([] { ReadWholeFile("C:\\folder"); }), 75);
    EXPECT_EQ(RaisedBy([] { SequentialReader("C:\\folder"); }), 75);
    EXPECT_EQ(RaisedBy([] { LineReader("C:\\none"); }), 53);
}

TEST_F(TextFilesTest, ReadsWholeFilesAsTheyAre) {
    std::string bytes;
    for (int i = 0; i < 300'000; ++i) bytes.push_back(static_cast<char>(i % 251));
    Write("a", bytes);
    EXPECT_EQ(ReadWholeFile("C:\\a"), bytes);
    SequentialReader reader("C:\\a");
    EXPECT_EQ(reader.FileBytes(), bytes.size());
    std::string pieces;
    for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) pieces.append(piece);
    EXPECT_EQ(pieces, bytes);
    // The size is not known before.
    EXPECT_NE(ReadWholeFile("/proc/self/status").find("Name:"), std::string::npos);
}

TEST_F(TextFilesTest, LinesEndAtCrLfOrCr) {
    using Lines = std::vector<std::string>;
    EXPECT_EQ(LinesOf(""), Lines{});
    EXPECT_EQ(LinesOf("a"), (Lines{"a"}));
    EXPECT_EQ(LinesOf("a\r\n"), (Lines{"a"}));
    EXPECT_EQ(LinesOf("a\rb\r\n\r\nc"), (Lines{"a", "b", "", "c"}));
    EXPECT_EQ(LinesOf("a\nb\r\n"), (Lines{"a\nb"}));  // a lone LF stays in its line
    EXPECT_EQ(LinesOf("\n"), (Lines{"\n"}));
    EXPECT_EQ(LinesOf("\r\r"), (Lines{"", ""}));
    EXPECT_EQ(LinesOf("\r\n\n"), (Lines{"", "\n"}));
    EXPECT_EQ(LinesOf(std::string("a\0b\r", 4)), (Lines{std::string("a\0b", 3)}));
}

TEST_F(TextFilesTest, LineEndsMayLieAcrossPieces) {
    for (std::size_t length = 131'070; length < 131'075; ++length) {
        const std::string first(length, 'x');
        EXPECT_EQ(LinesOf(first + "\r\nsecond\r\n"), (std::vector<std::string>{first, "second"})) << length;
        EXPECT_EQ(LinesOf(first + "\r\n"), (std::vector<std::string>{first})) << length;
    }
}

}  // namespace
}  // namespace marrowkit
