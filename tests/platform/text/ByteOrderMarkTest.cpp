#include <gtest/gtest.h>

#include "platform/text/ByteOrderMark.h"

namespace marrowkit {
namespace {

using namespace std::string_view_literals;

struct MarkedText {
    FileEncoding encoding;
    std::string_view bytes;
    std::string_view text;
};

constexpr MarkedText kMarked[] = {
    {FileEncoding::Utf8, "\xEF\xBB\xBF\xC3\xA4x"sv, "\xC3\xA4x"},
    {FileEncoding::Utf16LittleEndian, "\xFF\xFE\xE4\0x\0"sv, "\xC3\xA4x"},
    {FileEncoding::Utf16BigEndian, "\xFE\xFF\0\xE4\0x"sv, "\xC3\xA4x"},
    {FileEncoding::Utf16BigEndian, "\xFE\xFF\xD8\x3D\xDE\x00"sv, "\xF0\x9F\x98\x80"},
    {FileEncoding::Utf8, "\xEF\xBB\xBF"sv, ""},
    {FileEncoding::Utf16LittleEndian, "\xFF\xFE"sv, ""},
    // Without a mark the bytes are the code page's, and stay.
    {FileEncoding::CodePage1252, "\xE4x"sv, "\xE4x"sv},
    {FileEncoding::CodePage1252, ""sv, ""},
    {FileEncoding::CodePage1252, "\xEF\xBB"sv, "\xEF\xBB"sv},
    {FileEncoding::CodePage1252, "\xFF"sv, "\xFF"sv},
};

TEST(ByteOrderMark, TellsTheEncodingAndComesBack) {
    for (const MarkedText& marked : kMarked) {
        EXPECT_EQ(FileEncodingOf(marked.bytes), marked.encoding) << testing::PrintToString(marked.bytes);
        EXPECT_EQ(DecodeMarked(marked.bytes, marked.encoding), marked.text);
        EXPECT_EQ(EncodeMarked(marked.text, marked.encoding), marked.bytes);
    }
}

TEST(ByteOrderMark, HalfAUnitAtTheEndIsLeftOut) {
    EXPECT_EQ(DecodeMarked("\xFF\xFEx\0y"sv, FileEncoding::Utf16LittleEndian), "x");
    EXPECT_EQ(DecodeMarked("\xFE\xFF\0xy"sv, FileEncoding::Utf16BigEndian), "x");
}

}  // namespace
}  // namespace marrowkit
