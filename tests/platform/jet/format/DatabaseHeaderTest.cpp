#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/DatabaseHeader.h"
#include "platform/jet/format/Hex.h"

namespace marrowkit::jet {
namespace {

using test::FromHex;
using test::ToHex;

double DateFrom(std::string_view hex) {
    return ByteView(FromHex(hex)).F64(0);
}

/// The bytes of page 0 behind its mask, from `at`.
std::string Unmasked(std::vector<std::uint8_t> page0, std::size_t at, std::size_t count) {
    ApplyRc4(FromHex("C7 DA 39 6B"), std::span(page0).subspan(0x18, 128));
    return ToHex(std::span<const std::uint8_t>(page0).subspan(at, count));
}

struct SidCase {
    const char* date;
    std::uint32_t build;
    const char* engine;
    const char* admin;
    const char* users;
    const char* creator;
    const char* passwordArea;
};

constexpr SidCase kSids[] = {
    {"BC 72 1F 7D F1 9F E2 40", 0x21AA, "A7 31", "A6 33", "A7 33", "A7 36", "FF 94 00 00 FF 94 00 00"},
    {"3E 85 D3 3B 3E AB E4 40", 0x261C, "65 89", "64 8B", "65 8B", "65 8E", "59 A5 00 00 59 A5 00 00"},
};

TEST(DatabaseHeader, MatchesGenuineSetsOfStampAndAccounts) {
    for (const SidCase& c : kSids) {
        DatabaseHeader header = NewDatabaseHeader(JetVersion::Jet4, DateFrom(c.date));
        header.engineBuild = c.build;
        header.sidKey = SidKeyOf(header);
        EXPECT_EQ(ToHex(ScrambleSid(header, sid::kEngine)), c.engine);
        EXPECT_EQ(ToHex(ScrambleSid(header, sid::kAdmin)), c.admin);
        EXPECT_EQ(ToHex(ScrambleSid(header, sid::kUsers)), c.users);
        EXPECT_EQ(ToHex(ScrambleSid(header, sid::kCreator)), c.creator);
        EXPECT_EQ(Unmasked(SerializeDatabaseHeader(header), 0x42, 8), c.passwordArea);
    }
    const DatabaseHeader header = NewDatabaseHeader(JetVersion::Jet4, DateFrom(kSids[0].date));
    EXPECT_EQ(ToHex(header.sidKey), "EA 76 FF 75");
}

TEST(DatabaseHeader, WritesEveryFieldOfJet4) {
    const auto page0 = SerializeDatabaseHeader(NewDatabaseHeader(JetVersion::Jet4, DateFrom(kSids[0].date)));
    ASSERT_EQ(page0.size(), 4096U);
    EXPECT_EQ(ToHex(std::span(page0).first(0x18)),
              "00 01 00 00 53 74 61 6E 64 61 72 64 20 4A 65 74 20 44 42 00 01 00 00 00");
    EXPECT_EQ(ToHex(std::span(page0).subspan(0x98, 8)), "54 06 00 00 34 2E 30 00");
    EXPECT_EQ(Unmasked(page0, 0x18, 24),
              "00 01 00 00 01 01 00 00 02 00 00 00 03 00 00 00 04 00 00 00 05 00 00 00");
    EXPECT_EQ(Unmasked(page0, 0x38, 10), "00 00 00 00 E4 04 00 00 00 00");
    EXPECT_EQ(Unmasked(page0, 0x6A, 16), "AA 21 00 00 09 04 00 00 BC 72 1F 7D F1 9F E2 40");
    EXPECT_EQ(ToHex(std::span(page0).subspan(0xE00, 4)), "00 01 00 01");
    EXPECT_EQ(ToHex(std::span(page0).subspan(0xFFC, 4)), "00 01 00 01");
}

TEST(DatabaseHeader, WritesEveryFieldOfJet3) {
    DatabaseHeader header = NewDatabaseHeader(JetVersion::Jet3, 0);
    header.countryCode = 1;
    header.password = "pass";
    const auto page0 = SerializeDatabaseHeader(header);
    ASSERT_EQ(page0.size(), 2048U);
    EXPECT_EQ(page0[0x14], 0);
    EXPECT_EQ(Unmasked(page0, 0x38, 10), "01 00 09 04 E4 04 00 00 00 00");
    EXPECT_EQ(Unmasked(page0, 0x42, 24),
              "70 61 73 73 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 64 0D 00 00");
    EXPECT_EQ(page0[0x98], 0);
    EXPECT_EQ(ToHex(std::span(page0).subspan(0x600, 2)), "00 01");
    EXPECT_EQ(ToHex(std::span(page0).subspan(0x7FE, 2)), "00 01");
}

TEST(DatabaseHeader, ComesBack) {
    for (const JetVersion version : {JetVersion::Jet3, JetVersion::Jet4}) {
        for (const char* password : {"", "x", "password", "äöü €", "12345678901234567890"}) {
            DatabaseHeader header = NewDatabaseHeader(version, 38143.5);
            header.password = password;
            header.databaseKey = 0xA0AEEE74;
            header.codePage = 936;
            if (version == JetVersion::Jet4) header.sidKey = SidKeyOf(header);
            const auto page0 = SerializeDatabaseHeader(header);
            const DatabaseHeader back = ParseDatabaseHeader(ByteView(page0), "a.mdb");
            EXPECT_EQ(back.version, version);
            EXPECT_EQ(back.password, password);
            EXPECT_EQ(back.databaseKey, header.databaseKey);
            EXPECT_EQ(back.codePage, 936);
            EXPECT_EQ(back.engineBuild, header.engineBuild);
            EXPECT_EQ(back.sortOrder, header.sortOrder);
            EXPECT_EQ(back.sidKey, header.sidKey);
            EXPECT_EQ(back.creationDate, version == JetVersion::Jet4 ? 38143.5 : 0);
        }
    }
}

TEST(DatabaseHeader, ReadsAMaskedPassword) {
    // Day number 0xAE18 is 44568.
    auto page0 = SerializeDatabaseHeader(NewDatabaseHeader(JetVersion::Jet4, 44568.25));
    ApplyRc4(FromHex("C7 DA 39 6B"), std::span(page0).subspan(0x18, 128));
    const auto area = FromHex("68 AE 61 00 6B AE 73 00 6F AE 6F 00 6A AE 64 00 18 AE 00 00");
    MutableByteView(page0).PutBytes(0x42, area);
    ApplyRc4(FromHex("C7 DA 39 6B"), std::span(page0).subspan(0x18, 128));
    EXPECT_EQ(ParseDatabaseHeader(ByteView(page0), "").password, "password");
}

TEST(DatabaseHeader, RefusesEverythingElse) {
    const auto good = SerializeDatabaseHeader(NewDatabaseHeader(JetVersion::Jet4, 1));
    const auto refuses = [](const std::vector<std::uint8_t>& page0) {
        try {
            ParseDatabaseHeader(ByteView(page0), "a.mdb");
            return false;
        } catch (const RuntimeError& error) {
            return error.number == 3343 && error.description == "Unrecognized database format 'a.mdb'.";
        }
    };
    EXPECT_FALSE(refuses(good));
    EXPECT_TRUE(refuses({}));
    EXPECT_TRUE(refuses({good.begin(), good.begin() + 0x97}));
    auto later = good;
    later[0x14] = 2;
    EXPECT_TRUE(refuses(later));
    auto other = good;
    other[4 + 12] = 'A';  // "Standard ACE DB"
    EXPECT_TRUE(refuses(other));
}

TEST(PageEncoding, IsItsOwnReverseAndLeavesPage0Alone) {
    std::vector<std::uint8_t> page(4096, 7);
    const auto plain = page;
    ApplyPageEncoding(0, 5, page);
    EXPECT_EQ(page, plain);
    ApplyPageEncoding(0xA0AEEE74, 0, page);
    EXPECT_EQ(page, plain);
    ApplyPageEncoding(0xA0AEEE74, 5, page);
    EXPECT_NE(page, plain);
    auto other = plain;
    ApplyPageEncoding(0xA0AEEE74, 6, other);
    EXPECT_NE(page, other);
    ApplyPageEncoding(0xA0AEEE74, 5, page);
    EXPECT_EQ(page, plain);
}

TEST(Rc4, MatchesThePublishedVector) {
    std::vector<std::uint8_t> bytes(8);
    ApplyRc4(FromHex("01 23 45 67 89 AB CD EF"), bytes);
    EXPECT_EQ(ToHex(bytes), "74 94 C2 E7 10 4B 08 79");
}

}  // namespace
}  // namespace marrowkit::jet
