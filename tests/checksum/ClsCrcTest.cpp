#include <array>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "checksum/Crc16.h"
#include "checksum/clsCRC.h"
#include "platform/text/Numbers.h"

namespace marrowkit {
namespace {

constexpr std::array<std::uint8_t, 9> kDigits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};
constexpr std::int32_t kCrc32OfDigits = -873187034;  // 0xCBF43926
constexpr std::int32_t kCrc16OfDigits = 0x31C3;

TEST(ClsCrc, StartsReadyForCrc32) {
    clsCRC crc;
    EXPECT_EQ(crc.Algorithm(), -1);
    EXPECT_EQ(crc.Value(), 0);
    EXPECT_EQ(crc.AddBytes(kDigits), kCrc32OfDigits);
    EXPECT_EQ(crc.Value(), kCrc32OfDigits);
}

TEST(ClsCrc, HasTheCheckValuesOfBothAlgorithms) {
    clsCRC crc;
    EXPECT_EQ(crc.CalculateBytes(kDigits), kCrc32OfDigits);
    EXPECT_EQ(crc.CalculateString("123456789"), kCrc32OfDigits);
    crc.SetAlgorithm(0);
    EXPECT_EQ(crc.CalculateBytes(kDigits), kCrc16OfDigits);
    EXPECT_EQ(crc.CalculateString("123456789"), kCrc16OfDigits);
}

TEST(ClsCrc, IsZeroAfterClearUnderBothAlgorithms) {
    clsCRC crc;
    crc.AddBytes(kDigits);
    crc.Clear();
    EXPECT_EQ(crc.Value(), 0);
    crc.SetAlgorithm(0);
    crc.AddBytes(kDigits);
    crc.Clear();
    EXPECT_EQ(crc.Value(), 0);
}

// The running value of CRC-32 is inverted when it is read and not when it is set. That is meant.
TEST(ClsCrc, ReadsAValueBackInvertedUnderCrc32AndCutUnderCrc16) {
    clsCRC crc;
    for (const std::int32_t value : {0, 1, -1, 0x12345678, -873187034}) {
        crc.SetAlgorithm(1);
        crc.SetValue(value);
        EXPECT_EQ(crc.Value(), ~value) << value;
        crc.SetAlgorithm(0);
        crc.SetValue(value);
        EXPECT_EQ(crc.Value(), value & 0xFFFF) << value;
    }
}

TEST(ClsCrc, ContinuesFromAValueThatWasSet) {
    clsCRC crc;
    crc.AddString("12345");
    const std::int32_t halfway = crc.Value();
    crc.Clear();
    crc.SetValue(~halfway);
    EXPECT_EQ(crc.AddString("6789"), kCrc32OfDigits);

    crc.SetAlgorithm(0);
    const std::int32_t halfway16 = crc.AddString("12345");
    crc.Clear();
    crc.SetValue(halfway16 | 0x70000);  // bits above the sixteenth do not matter
    EXPECT_EQ(crc.AddString("6789"), kCrc16OfDigits);
}

TEST(ClsCrc, SelectsCrc32ByEveryNumberButZeroAndReadsItBackAsMinusOne) {
    clsCRC crc;
    for (const int number : {1, 5, -1, 2, 1000}) {
        crc.SetAlgorithm(0);
        EXPECT_EQ(crc.Algorithm(), 0);
        crc.SetAlgorithm(number);
        EXPECT_EQ(crc.Algorithm(), -1) << number;
        EXPECT_EQ(crc.CalculateBytes(kDigits), kCrc32OfDigits) << number;
    }
}

TEST(ClsCrc, RestartsWhenTheAlgorithmIsSetEvenToTheSame) {
    clsCRC crc;
    crc.AddBytes(kDigits);
    crc.SetAlgorithm(1);
    EXPECT_EQ(crc.Value(), 0);
    crc.AddBytes(kDigits);
    crc.SetAlgorithm(0);
    EXPECT_EQ(crc.Value(), 0);
    crc.AddBytes(kDigits);
    crc.SetAlgorithm(1);
    EXPECT_EQ(crc.Value(), 0);
}

TEST(ClsCrc, AddsPieceByPiece) {
    clsCRC crc;
    for (const std::uint8_t digit : kDigits) crc.AddBytes({&digit, 1});
    EXPECT_EQ(crc.Value(), kCrc32OfDigits);
    crc.SetAlgorithm(0);
    crc.AddString("1234");
    EXPECT_EQ(crc.AddString("56789"), kCrc16OfDigits);
}

TEST(ClsCrc, StartsAfreshWithEveryCalculation) {
    clsCRC crc;
    crc.AddString("something before");
    EXPECT_EQ(crc.CalculateBytes(kDigits), kCrc32OfDigits);
    EXPECT_EQ(crc.CalculateBytes(kDigits), kCrc32OfDigits);
}

TEST(ClsCrc, KeepsTheValueWithoutBytes) {
    clsCRC crc;
    crc.AddBytes(kDigits);
    EXPECT_EQ(crc.AddBytes({}), kCrc32OfDigits);
    EXPECT_EQ(crc.AddString(""), kCrc32OfDigits);
    EXPECT_EQ(crc.CalculateString(""), 0);
    crc.SetAlgorithm(0);
    crc.AddBytes(kDigits);
    EXPECT_EQ(crc.AddBytes({}), kCrc16OfDigits);
}

TEST(ClsCrc, TurnsTextIntoOneByteForEachCharacter) {
    clsCRC crc;
    const std::array<std::uint8_t, 4> bytes{'c', 'a', 'f', 0xE9};
    EXPECT_EQ(crc.CalculateString("caf\u00E9"), crc.CalculateBytes(bytes));
    const std::array<std::uint8_t, 1> euro{0x80};
    EXPECT_EQ(crc.CalculateString("\u20AC"), crc.CalculateBytes(euro));
}

TEST(ClsCrc, IsWrittenWithoutLeadingZeros) {
    clsCRC crc;
    crc.SetValue(~0x00ABCDEF);
    EXPECT_EQ(Hex(crc.Value()), "ABCDEF");
    crc.SetValue(0);
    EXPECT_EQ(Hex(crc.Value()), "FFFFFFFF");
    crc.SetValue(~0x0012ABCD);
    EXPECT_EQ(Hex(crc.Value()), "12ABCD");
    EXPECT_EQ(Hex(crc.CalculateBytes(kDigits)), "CBF43926");
}

TEST(Crc16, FollowsThePolynomialBitByBit) {
    std::mt19937 random(1);
    std::vector<std::uint8_t> bytes(5000);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    std::uint32_t expected = 0;
    for (const std::uint8_t byte : bytes) {
        expected ^= std::uint32_t{byte} << 8;
        for (int bit = 0; bit < 8; ++bit) {
            expected = ((expected << 1) ^ ((expected & 0x8000u) != 0 ? 0x1021u : 0u)) & 0xFFFFu;
        }
    }
    EXPECT_EQ(Crc16(0, bytes), expected);
}

}  // namespace
}  // namespace marrowkit
