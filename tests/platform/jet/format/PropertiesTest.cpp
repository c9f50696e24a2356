#include <random>

#include <gtest/gtest.h>

#include "platform/jet/format/Hex.h"
#include "platform/jet/format/Properties.h"

namespace marrowkit::jet {
namespace {

using test::FromHex;
using test::ToHex;

// One column "Id" with Required = True and DefaultValue = "0".
constexpr char kJet3Blob[] =
    "4B 4B 44 00"
    "1E 00 00 00 80 00  08 00 52 65 71 75 69 72 65 64  0C 00 44 65 66 61 75 6C 74 56 61 6C 75 65"
    "20 00 00 00 01 00  08 00 00 00 02 00 49 64"
    "09 00 01 01 00 00 01 00 FF"
    "09 00 01 0C 01 00 01 00 30";

TEST(Properties, ReadsJet3Blobs) {
    const PropertyBlob blob = ParseProperties(JetVersion::Jet3, ByteView(FromHex(kJet3Blob)));
    EXPECT_EQ(blob.Bool("Id", "Required"), true);
    EXPECT_EQ(blob.Bool("ID", "REQUIRED"), true);
    EXPECT_EQ(blob.Bool("Id", "AllowZeroLength"), std::nullopt);
    EXPECT_EQ(blob.Bool("", "Required"), std::nullopt);
    EXPECT_EQ(blob.Text(JetVersion::Jet3, "Id", "DefaultValue"), "0");
    EXPECT_EQ(blob.Find("Id", "DefaultValue")->type, ColumnType::Memo);
}

TEST(Properties, WritesTheSameBytes) {
    const auto stored = FromHex(kJet3Blob);
    EXPECT_EQ(
        ToHex(SerializeProperties(JetVersion::Jet3, ParseProperties(JetVersion::Jet3, ByteView(stored)))),
        ToHex(stored));
}

TEST(Properties, AreBuiltFromNothing) {
    for (const JetVersion version : {JetVersion::Jet3, JetVersion::Jet4}) {
        PropertyBlob blob;
        blob.SetBool("Größe", "Required", true);
        blob.SetBool("Größe", "AllowZeroLength", false);
        blob.SetText(version, "Größe", "DefaultValue", "\"äh\"");
        blob.SetText(version, "Größe", "ValidationText", "no");
        blob.SetText(version, "", "ValidationRule", "[a]>[b]");
        blob.SetBool("größe", "required", false);  // replaces
        const auto stored = SerializeProperties(version, blob);
        const PropertyBlob back = ParseProperties(version, ByteView(stored));
        EXPECT_EQ(back.groups, blob.groups);
        ASSERT_EQ(back.groups.size(), 2U);
        EXPECT_EQ(back.groups[0].chunkType, 0);  // the object's own come first
        EXPECT_EQ(back.groups[1].properties.size(), 4U);
        EXPECT_EQ(back.Bool("Größe", "Required"), false);
        EXPECT_EQ(back.Bool("Größe", "AllowZeroLength"), false);
        EXPECT_EQ(back.Text(version, "Größe", "DefaultValue"), "\"äh\"");
        EXPECT_EQ(back.Text(version, "", "ValidationRule"), "[a]>[b]");
        EXPECT_EQ(back.Find("Größe", "ValidationText")->type, ColumnType::Text);
        EXPECT_EQ(back.Find("Größe", "DefaultValue")->type, ColumnType::Memo);
        EXPECT_EQ(back.Find("Größe", "Required")->ddlFlag, 1);
    }
}

TEST(Properties, TrueIsAnyBitInAnyNumberOfBytes) {
    PropertyBlob blob;
    blob.SetBool("", "A", true);
    Property& property = blob.groups[0].properties[0];
    for (const char* value : {"01", "FF", "00 00 00 01", "01 00 00 00"}) {
        property.value = FromHex(value);
        EXPECT_EQ(blob.Bool("", "A"), true) << value;
    }
    for (const char* value : {"00", "00 00 00 00", ""}) {
        property.value = FromHex(value);
        EXPECT_EQ(blob.Bool("", "A"), false) << value;
    }
}

TEST(Properties, RefusesWhatDoesNotHoldTogether) {
    const auto good = FromHex(kJet3Blob);
    EXPECT_THROW(ParseProperties(JetVersion::Jet4, ByteView(good)), OutOfBounds);  // the other signature
    EXPECT_THROW(ParseProperties(JetVersion::Jet3, ByteView()), OutOfBounds);
    for (std::size_t cut = 1; cut < good.size(); ++cut) {
        if (cut == 4 || cut == 4 + 0x1E) continue;  // chunks end there
        EXPECT_THROW(ParseProperties(JetVersion::Jet3, ByteView(good).Sub(0, cut)), OutOfBounds) << cut;
    }
    auto endless = good;
    endless[4] = 0;  // a chunk of no length would be read for ever
    EXPECT_THROW(ParseProperties(JetVersion::Jet3, ByteView(endless)), BadStructure);
    auto nameless = good;
    nameless[nameless.size() - 5] = 9;
    EXPECT_THROW(ParseProperties(JetVersion::Jet3, ByteView(nameless)), BadStructure);
}

TEST(Properties, DamageNeverDoesMoreThanThrow) {
    const auto good = FromHex(kJet3Blob);
    std::mt19937 random(11);
    for (int round = 0; round < 20000; ++round) {
        auto damaged = good;
        for (int flips = 0; flips < 3; ++flips) {
            damaged[random() % damaged.size()] = static_cast<std::uint8_t>(random());
        }
        try {
            const PropertyBlob blob = ParseProperties(JetVersion::Jet3, ByteView(damaged));
            EXPECT_LE(blob.groups.size(), damaged.size());
        } catch (const OutOfBounds&) {
        }
    }
}

}  // namespace
}  // namespace marrowkit::jet
