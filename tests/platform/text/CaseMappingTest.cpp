#include <clocale>

#include <gtest/gtest.h>

#include "platform/text/CaseMapping.h"
#include "platform/text/Text.h"
#include "platform/text/Utf8.h"

namespace marrowkit {
namespace {

TEST(CaseMapping, IsOneToOneOverAllOfUnicode) {
    int pairs = 0;
    for (char32_t c = 0; c <= kLastCodePoint; ++c) {
        const char32_t upper = ToUpper(c);
        const char32_t lower = ToLower(c);
        if (upper != c) {
            ++pairs;
            ASSERT_EQ(ToLower(upper), c) << static_cast<unsigned>(c);
            ASSERT_EQ(ToUpper(upper), upper) << static_cast<unsigned>(c);
        }
        if (lower != c) {
            ASSERT_EQ(ToUpper(lower), c) << static_cast<unsigned>(c);
        }
    }
    EXPECT_GT(pairs, 1300);
}

struct CaseCase {
    const char* lower;
    const char* upper;
};

constexpr CaseCase kPairs[] = {
    {"abcxyz{`", "ABCXYZ{`"}, {"äöüéñç÷", "ÄÖÜÉÑÇ÷"},  // Latin-1, the division sign stays
    {"šœžÿ", "ŠŒŽŸ"},                                  // the letters of code page 1252 outside of Latin-1
    {"αβγω", "ΑΒΓΩ"},         {"привет", "ПРИВЕТ"},   {"ąćęłńřů", "ĄĆĘŁŃŘŮ"}, {"աբ", "ԱԲ"}, {"𐐨", "𐐀"},
};

TEST(UCaseLCase, MapLettersOfAllScripts) {
    for (const CaseCase& c : kPairs) {
        EXPECT_EQ(UCase(c.lower), c.upper);
        EXPECT_EQ(LCase(c.upper), c.lower);
        EXPECT_EQ(UCase(c.upper), c.upper);
        EXPECT_EQ(LCase(c.lower), c.lower);
    }
}

TEST(UCaseLCase, LettersWithoutASinglePartnerStay) {
    for (const char* text : {"ß", "ı", "ŉ", "ς", "ſ", "µ"}) EXPECT_EQ(UCase(text), text);
    for (const char* text : {"İ", "ẞ", "\xE2\x84\xAA"}) EXPECT_EQ(LCase(text), text);
}

TEST(UCaseLCase, DoNotDependOnTheLocale) {
    // Turkish pairs i with a dotted capital.
    const char* old = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "tr_TR.UTF-8");
    EXPECT_EQ(UCase("title i"), "TITLE I");
    EXPECT_EQ(LCase("TITLE I"), "title i");
    std::setlocale(LC_ALL, old);
}

TEST(UCaseLCase, KeepMalformedBytes) {
    EXPECT_EQ(UCase("a\xFF\xC3z"), "A\xFF\xC3Z");
}

}  // namespace
}  // namespace marrowkit
