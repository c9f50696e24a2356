#include <random>

#include <gtest/gtest.h>

#include "platform/registry/RegistryText.h"

namespace marrowkit {
namespace {

constexpr auto kWine = RegistryDialect::Wine;
constexpr auto kRegedit = RegistryDialect::Regedit;
using Type = RegistryData::Type;

constexpr const char* kSystemReg =
    "WINE REGISTRY Version 2\n"
    ";; All keys relative to \\\\Machine\n"
    "\n"
    "#arch=win64\n"
    "\n"
    "[Software\\\\Classes\\\\.zip] 1700000000\n"
    "#time=1da1747c6cb8380\n"
    "@=\"zipfile\"\n"
    "\"Blob\"=hex:01,02,\\\n"
    "  03,04\n"
    "\"Multi\"=str(7):\"a\\0b\\0\"\n"
    "\n"
    "[Software\\\\Wow6432Node\\\\Quillon\\\\Vellora\\\\Vellora\\\\Arcade \\x00c4\\\\QuickFilter] 1700000001\n"
    "\"NumFilters\"=dword:00000003\n"
    "\"Filter1\"=\"a \\\"b\\\" \\\\\"\n"
    "\"Expand\"=str(2):\"%PATH%\"\n"
    "\n"
    "[Software\\\\Wow6432Node\\\\Quillon\\\\\\[x\\]] 1700000002\n"
    "\"y\"=\"z\"\n";

constexpr const char* kQuickFilter =
    "Software\\Wow6432Node\\Quillon\\Vellora\\Vellora\\Arcade Ä\\QuickFilter";

struct FindCase {
    const char* key;
    const char* name;
    Type type;
    const char* text;
    std::uint32_t number;
};

const FindCase kFinds[] = {
    {kQuickFilter, "NumFilters", Type::Number, "", 3},
    {kQuickFilter, "numfilters", Type::Number, "", 3},
    {"SOFTWARE\\wow6432node\\QUILLON\\vellora\\vellora\\arcade ä\\quickfilter", "Filter1", Type::Text,
     "a \"b\" \\", 0},
    {kQuickFilter, "Expand", Type::ExpandableText, "%PATH%", 0},
    {"Software\\Classes\\.zip", "", Type::Text, "zipfile", 0},
    {"Software\\Classes\\.zip", "Blob", Type::Other, "", 0},
    {"Software\\Classes\\.zip", "Multi", Type::Other, "", 0},
    {"Software\\Wow6432Node\\Quillon\\[x]", "y", Type::Text, "z", 0},
};

TEST(FindRegistryValue, ReadsWinesFile) {
    for (const FindCase& c : kFinds) {
        const auto data = FindRegistryValue(kSystemReg, kWine, c.key, c.name);
        ASSERT_TRUE(data) << c.key << " " << c.name;
        EXPECT_EQ(data->type, c.type) << c.name;
        EXPECT_EQ(data->text, c.text) << c.name;
        EXPECT_EQ(data->number, c.number) << c.name;
    }
    EXPECT_FALSE(FindRegistryValue(kSystemReg, kWine, kQuickFilter, "None"));
    EXPECT_FALSE(FindRegistryValue(kSystemReg, kWine, kQuickFilter, ""));
    EXPECT_FALSE(FindRegistryValue(kSystemReg, kWine, "Software\\Classes", "NumFilters"));
    EXPECT_TRUE(IsWin64Registry(kSystemReg));
    EXPECT_FALSE(IsWin64Registry("WINE REGISTRY Version 2\n\n#arch=win32\n"));
    EXPECT_FALSE(IsWin64Registry("WINE REGISTRY Version 2\n[a] 1\n#arch=win64\n"));
}

std::string Replaced(std::string text, std::string_view what, std::string_view with) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), with);
}

TEST(WithRegistryValue, ChangesOneValueByteForByte) {
    EXPECT_EQ(WithRegistryValue(kSystemReg, kWine, kQuickFilter, "NUMFILTERS", {Type::Number, "", 0}, 1),
              Replaced(kSystemReg, "dword:00000003", "dword:00000000"));
    EXPECT_EQ(WithRegistryValue(kSystemReg, kWine, kQuickFilter, "Filter1", {Type::Text, "ä\\", 0}, 1),
              Replaced(kSystemReg, "\"a \\\"b\\\" \\\\\"", "\"\\xe4\\\\\""));
    EXPECT_EQ(
        WithRegistryValue(kSystemReg, kWine, "Software\\Classes\\.zip", "Blob", {Type::Number, "", 10}, 1),
        Replaced(kSystemReg, "hex:01,02,\\\n  03,04", "dword:0000000a"));
    EXPECT_EQ(WithRegistryValue(kSystemReg, kWine, "Software\\Classes\\.zip", "", {Type::Text, "x", 0}, 1),
              Replaced(kSystemReg, "@=\"zipfile\"", "@=\"x\""));
}

TEST(WithRegistryValue, AddsAValueAtTheEndOfItsKey) {
    EXPECT_EQ(WithRegistryValue(kSystemReg, kWine, kQuickFilter, "New", {Type::Text, "1", 0}, 1),
              Replaced(kSystemReg, "str(2):\"%PATH%\"\n", "str(2):\"%PATH%\"\n\"New\"=\"1\"\n"));
}

TEST(WithRegistryValue, AddsAKeyAtTheEnd) {
    EXPECT_EQ(
        WithRegistryValue(kSystemReg, kWine, "Software\\Quillon\\a[b]", "Main", {Type::Text, "4770", 0},
                          1700000003),
        std::string(kSystemReg) +
            "\n[Software\\\\Quillon\\\\a\\[b\\]] 1700000003\n#time=1da1747c836c380\n\"Main\"=\"4770\"\n");
}

TEST(WithRegistryValue, KeepsTheFilesLineEnds) {
    const std::string text = "WINE REGISTRY Version 2\r\n\r\n[A] 1\r\n\"x\"=\"1\"";
    EXPECT_EQ(WithRegistryValue(text, kWine, "A", "y", {Type::Text, "2", 0}, 1), text + "\r\n\"y\"=\"2\"");
}

TEST(RegistryText, TheLastOfRepeatedValuesCounts) {
    const std::string text =
        "WINE REGISTRY Version 2\n[A] 1\n\"x\"=\"1\"\n\"X\"=\"2\"\n[B] 1\n[a] 2\n\"x\"=\"3\"\n";
    EXPECT_EQ(FindRegistryValue(text, kWine, "A", "x")->text, "3");
    EXPECT_EQ(WithRegistryValue(text, kWine, "A", "x", {Type::Text, "4", 0}, 1),
              Replaced(text, "\"3\"", "\"4\""));
}

constexpr const char* kExported =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\Software\\Quillon\\Mar]row]\r\n"
    "\"Lines\"=\"one\r\n[two]\r\n\\\"three\\\"\"\r\n"
    "\"Blob\"=hex(2):41,00,\\\r\n  00,00\r\n"
    "\"Number\"=dword:FFFFFFFF\r\n"
    "\"Gone\"=\"x\"\r\n"
    "\"Gone\"=-\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\Software\\Old\\Deep]\r\n"
    "\"x\"=\"1\"\r\n"
    "[-HKEY_LOCAL_MACHINE\\Software\\Old]\r\n";

TEST(RegistryText, ReadsWhatRegeditExports) {
    const char* key = "HKEY_LOCAL_MACHINE\\software\\Quillon\\Mar]row";
    EXPECT_EQ(FindRegistryValue(kExported, kRegedit, key, "lines")->text, "one\r\n[two]\r\n\"three\"");
    EXPECT_EQ(FindRegistryValue(kExported, kRegedit, key, "Blob")->type, Type::Other);
    EXPECT_EQ(FindRegistryValue(kExported, kRegedit, key, "Number")->number, 0xFFFFFFFFU);
    EXPECT_FALSE(FindRegistryValue(kExported, kRegedit, key, "Gone"));
    EXPECT_FALSE(FindRegistryValue(kExported, kRegedit, "HKEY_LOCAL_MACHINE\\Software\\Old\\Deep", "x"));
    EXPECT_FALSE(FindRegistryValue(kExported, kRegedit, "two", "x"));
}

TEST(RegistryText, AValueOfADeletedKeyStartsItAnew) {
    const char* key = "HKEY_LOCAL_MACHINE\\Software\\Old\\Deep";
    const std::string text = WithRegistryValue(kExported, kRegedit, key, "x", {Type::Text, "2", 0}, 1);
    EXPECT_EQ(text,
              std::string(kExported) + "\r\n[HKEY_LOCAL_MACHINE\\Software\\Old\\Deep]\r\n\"x\"=\"2\"\r\n");
    EXPECT_EQ(FindRegistryValue(text, kRegedit, key, "x")->text, "2");
}

TEST(RegistryText, AMeaninglessLineIsSkipped) {
    for (const char* line : {"[A", "\"x\"", "\"x\"=", "\"x", "@", "=\"1\"", "\"x\"=dword:zz",
                             "\"x\"=dword:123456789", "\"x\"=str(2):", "\"x\"=str(2)", "\"x\"=\"open",
                             "\"x\"=hex:\\", "garbage", "\xFF\xFE", "\"\\x", "\"x\\"}) {
        const std::string text =
            "WINE REGISTRY Version 2\n[K] 1\n" + std::string(line) + "\n\"y\"=\"kept\"\n";
        const auto data = FindRegistryValue(text, kWine, "K", "y");
        // A continuation swallows the next line; nothing else does.
        const bool continued = text.find("hex:\\") != std::string::npos;
        EXPECT_EQ(data.has_value(), !continued) << line;
        const auto x = FindRegistryValue(text, kWine, "K", "x");
        EXPECT_TRUE(!x || x->type == Type::Other) << line;
    }
}

TEST(RegistryText, WhatWasWrittenIsFoundInAnyGarbage) {
    std::mt19937 random(7);
    const char alphabet[] = "[]\"\\=@\n\r x:-,hexdwordstr(2)1\xC3\xA4\0";
    for (int round = 0; round < 20'000; ++round) {
        std::string text;
        const std::size_t length = random() % 80;
        for (std::size_t i = 0; i < length; ++i) text.push_back(alphabet[random() % (sizeof alphabet - 1)]);
        const std::string after = WithRegistryValue(text, kWine, "K\\k", "n", {Type::Number, "", 42}, 1);
        const auto data = FindRegistryValue(after, kWine, "k\\K", "N");
        ASSERT_TRUE(data) << testing::PrintToString(text);
        ASSERT_EQ(data->number, 42U) << testing::PrintToString(text);
    }
}

TEST(RegistryText, ATextThatWasNeverClosedDoesNotSwallowANewValue) {
    const std::string text = "REGEDIT4\r\n[A]\r\n\"x\"=\"never closed\r\n\"y\"=\"1\"\r\n\"z\"=\"open";
    EXPECT_EQ(FindRegistryValue(text, kRegedit, "A", "y")->text, "1");
    const std::string after = WithRegistryValue(text, kRegedit, "B", "n", {Type::Text, "2", 0}, 1);
    EXPECT_EQ(after, text + "\r\n\r\n[B]\r\n\"n\"=\"2\"\r\n");
    EXPECT_EQ(FindRegistryValue(after, kRegedit, "B", "n")->text, "2");
}

TEST(RegistryText, AHexValueThatWasCutOffDoesNotSwallowANewValue) {
    for (const char* text : {"[A]\n\"x\"=hex:00,\\", "[A]\n\"x\"=hex:00,\\\n", "[A]\n\"x\"=hex:00,\\\r"}) {
        for (const char* key : {"A", "B"}) {
            const std::string after = WithRegistryValue(text, kWine, key, "n", {Type::Text, "2", 0}, 1);
            const auto data = FindRegistryValue(after, kWine, key, "n");
            ASSERT_TRUE(data) << testing::PrintToString(text) << key;
            EXPECT_EQ(data->text, "2");
        }
    }
}

TEST(RegistryText, HeadersAreExact) {
    EXPECT_TRUE(HasRegistryHeader(kSystemReg, kWine));
    EXPECT_FALSE(HasRegistryHeader("WINE REGISTRY Version 3\n", kWine));
    EXPECT_FALSE(HasRegistryHeader("", kWine));
    EXPECT_TRUE(HasRegistryHeader("REGEDIT4\n", kRegedit));
    EXPECT_TRUE(HasRegistryHeader(EmptyRegistryText(kRegedit), kRegedit));
    EXPECT_TRUE(HasRegistryHeader(EmptyRegistryText(kWine), kWine));
}

}  // namespace
}  // namespace marrowkit
