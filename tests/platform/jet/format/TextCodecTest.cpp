#include <random>

#include <gtest/gtest.h>

#include "platform/jet/format/Hex.h"
#include "platform/jet/format/TextCodec.h"
#include "platform/text/Utf8.h"

namespace marrowkit::jet {
namespace {

using test::FromHex;
using test::ToHex;

std::string Decode(JetVersion version, std::string_view hex) {
    return DecodeText(version, ByteView(FromHex(hex)));
}

struct DecodeCase {
    const char* what;
    const char* stored;
    std::string text;
};

const DecodeCase kJet4Cases[] = {
    {"nothing", "", ""},
    {"plain", "41 00 E9 00 42 30", "A\u00E9\u3042"},
    {"compressed", "FF FE 41 42 43", "ABC"},
    {"compressed Latin-1", "FF FE 43 61 66 E9", "Caf\u00E9"},
    {"nothing behind the mark", "FF FE", ""},
    {"to plain mode and back", "FF FE 5B 00 D3 59 0F 6C 00 5D", "[\u59D3\u6C0F]"},
    {"ends in plain mode", "FF FE 41 00 D3 59", "A\u59D3"},
    {"switches at once", "FF FE 00 D3 59", "\u59D3"},
    {"ends with a switch", "FF FE 41 00", "A"},
    {"surrogate pair", "3D D8 00 DE", "\U0001F600"},
    {"single surrogate", "3D D8 41 00",
     "\xED\xA0\xBD"
     "A"},
    {"odd byte at the end", "41 00 42", "A"},
    {"half a character at the end of plain mode", "FF FE 00 D3 59 41", "\u59D3"},
    {"zero character", "41 00 00 00 42 00", std::string("A\0B", 3)},
    {"eighth byte is not ASCII", "FF FE 41 42 43 44 45 46 47 E9 48", "ABCDEFG\u00E9H"},
    {"long ASCII", "FF FE 41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E 4F 50 51", "ABCDEFGHIJKLMNOPQ"},
};

TEST(TextCodec, DecodesJet4Texts) {
    for (const DecodeCase& c : kJet4Cases) EXPECT_EQ(Decode(JetVersion::Jet4, c.stored), c.text) << c.what;
}

TEST(TextCodec, DecodesJet3TextsByCodePage) {
    EXPECT_EQ(Decode(JetVersion::Jet3, "43 61 66 E9 80 81"), "Caf\u00E9\u20AC\u0081");
    EXPECT_EQ(Decode(JetVersion::Jet3, "FF FE 41"),
              "\u00FF\u00FE"
              "A");  // no compression there
}

/// A text of ASCII letters with one other character in it.
struct OddCharacter {
    const char* jet4;
    std::string jet4Text;
    const char* jet3;
    std::string jet3Text;
};

TEST(TextCodec, FindsTheOneOddCharacterWhereverItStands) {
    const OddCharacter kOdd[] = {{"E9 00", "\u00E9", "E9", "\u00E9"},
                                 {"00 00", std::string(1, '\0'), "00", std::string(1, '\0')},
                                 {"41 01", "\u0141", "80", "\u20AC"},
                                 {"80 00", "\u0080", "FF", "\u00FF"}};
    for (std::size_t length = 1; length <= 40; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            for (const OddCharacter& odd : kOdd) {
                std::string jet4;
                std::string jet3;
                std::string expected4;
                std::string expected3;
                for (std::size_t i = 0; i < length; ++i) {
                    jet4 += i == at ? std::string(odd.jet4) + " " : "61 00 ";
                    jet3 += i == at ? std::string(odd.jet3) + " " : "61 ";
                    expected4 += i == at ? odd.jet4Text : "a";
                    expected3 += i == at ? odd.jet3Text : "a";
                }
                EXPECT_EQ(Decode(JetVersion::Jet4, jet4), expected4) << length << " " << at;
                EXPECT_EQ(Decode(JetVersion::Jet3, jet3), expected3) << length << " " << at;
            }
        }
    }
}

TEST(TextCodec, DecodesIntoATextThatHeldALongerOne) {
    for (const char* stored : {"FF FE 41 42 43", "41 00 42 00 43 00"}) {
        std::string text(100, 'x');
        DecodeText(JetVersion::Jet4, ByteView(FromHex(stored)), text);
        EXPECT_EQ(text, "ABC") << stored;
    }
}

struct EncodeCase {
    const char* text;
    const char* compressed;
    const char* plain;
};

constexpr EncodeCase kEncodeCases[] = {
    {"", "", ""},
    {"A", "41 00", "41 00"},
    {"AB", "41 00 42 00", "41 00 42 00"},  // compressing would not be shorter
    {"ABC", "FF FE 41 42 43", "41 00 42 00 43 00"},
    {"aé\u00FF", "FF FE 61 E9 FF", "61 00 E9 00 FF 00"},
    {"abc\u0100", "61 00 62 00 63 00 00 01", "61 00 62 00 63 00 00 01"},
    {"\U0001F600", "3D D8 00 DE", "3D D8 00 DE"},
};

TEST(TextCodec, EncodesJet4Texts) {
    for (const auto& [text, compressed, plain] : kEncodeCases) {
        EXPECT_EQ(ToHex(EncodeText(JetVersion::Jet4, text, true)), compressed) << text;
        EXPECT_EQ(ToHex(EncodeText(JetVersion::Jet4, text, false)), plain) << text;
    }
}

TEST(TextCodec, DoesNotCompressATextWithAZeroCharacter) {
    EXPECT_EQ(ToHex(EncodeText(JetVersion::Jet4, std::string("AB\0C", 4), true)), "41 00 42 00 00 00 43 00");
}

TEST(TextCodec, ATextThatBeginsWithTheMarkIsNotMistakenForACompressedOne) {
    const std::string text =
        "\uFEFF"
        "AB";
    const auto stored = EncodeText(JetVersion::Jet4, text, false);
    EXPECT_EQ(ToHex(stored), "FF FE 00 FF FE 41 00 42 00");
    // The low byte of "A" (41) is not 00, the high one is: modes switch at unit boundaries only.
    EXPECT_EQ(DecodeText(JetVersion::Jet4, ByteView(stored)), text);
    // U+0100 ends plain mode, so this one cannot be stored whole: the invisible mark is given up.
    const auto cut = EncodeText(JetVersion::Jet4, "\uFEFF\u0100", false);
    EXPECT_EQ(DecodeText(JetVersion::Jet4, ByteView(cut)), "\u0100");
}

TEST(TextCodec, TellsWhatOfATextIsStored) {
    for (const auto& [text, stored] : std::vector<std::pair<std::string, std::string>>{
             {"", ""},
             {"A\u0100", "A\u0100"},
             {"\uFEFF", "\uFEFF"},
             {"\uFEFF\uFEFFz", "\uFEFF\uFEFFz"},
             {"\uFEFF\uFEFF\u0100\uFEFF", "\u0100\uFEFF"},
             {std::string("\uFEFF\0", 4), std::string("\0", 1)},
         }) {
        EXPECT_EQ(StorableText(JetVersion::Jet4, text), stored);
        const auto bytes = EncodeText(JetVersion::Jet4, text, true);
        EXPECT_EQ(DecodeText(JetVersion::Jet4, ByteView(bytes)), stored);
        EXPECT_EQ(StorableText(JetVersion::Jet3, text), text);
    }
}

TEST(TextCodec, EncodesJet3TextsByCodePage) {
    EXPECT_EQ(ToHex(EncodeText(JetVersion::Jet3, "Caf\u00E9\u20AC\u0081", false)), "43 61 66 E9 80 81");
    EXPECT_EQ(ToHex(EncodeText(JetVersion::Jet3,
                               "\u59D3\U0001F600"
                               "a",
                               true)),
              "3F 3F 61");
}

TEST(TextCodec, EveryByteOfAJet3TextSurvives) {
    std::vector<std::uint8_t> all;
    for (int byte = 0; byte < 256; ++byte) all.push_back(static_cast<std::uint8_t>(byte));
    EXPECT_EQ(EncodeText(JetVersion::Jet3, DecodeText(JetVersion::Jet3, ByteView(all)), false), all);
}

TEST(TextCodec, CountsCharactersAsJetDoes) {
    EXPECT_EQ(TextLength(JetVersion::Jet4, "a\u00E9\U0001F600"), 4U);
    EXPECT_EQ(TextLength(JetVersion::Jet3, "a\u00E9\U0001F600"), 3U);
    EXPECT_EQ(TextLength(JetVersion::Jet4, ""), 0U);
}

TEST(TextCodec, RandomTextsSurviveARoundTrip) {
    std::mt19937 random(3);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        const char32_t limit = round % 3 == 0 ? 0x80 : round % 3 == 1 ? 0x100 : 0x10FFFF;
        bool highBefore = false;
        for (auto length = random() % 20; length > 0; --length) {
            const auto codePoint = static_cast<char32_t>(random() % limit);
            // Two surrogates in a row would come back as the one character they stand for.
            const bool low = codePoint >= 0xDC00 && codePoint < 0xE000;
            if (codePoint == 0xFEFF || (highBefore && low)) continue;
            highBefore = codePoint >= 0xD800 && codePoint < 0xDC00;
            AppendUtf8(text, codePoint);
        }
        for (const bool compress : {false, true}) {
            const auto stored = EncodeText(JetVersion::Jet4, text, compress);
            ASSERT_EQ(DecodeText(JetVersion::Jet4, ByteView(stored)), text);
        }
    }
}

TEST(TextCodec, AnyBytesDecode) {
    std::mt19937 random(5);
    for (int round = 0; round < 20000; ++round) {
        std::vector<std::uint8_t> bytes{0xFF, 0xFE};
        if (round % 2 == 0) bytes.clear();
        for (auto length = random() % 30; length > 0; --length) {
            bytes.push_back(static_cast<std::uint8_t>(random() % 3 == 0 ? 0 : random()));
        }
        EXPECT_TRUE(IsValidUtf8(DecodeText(JetVersion::Jet4, ByteView(bytes))));
    }
}

}  // namespace
}  // namespace marrowkit::jet
