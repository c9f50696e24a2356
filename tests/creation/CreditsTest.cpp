#include <clocale>

#include <gtest/gtest.h>

#include "creation/Credits.h"

namespace marrowkit {
namespace {

constexpr CalendarDate kSunday{2026, 11, 15};

TEST(Credits, OfANewDatabase) {
    EXPECT_EQ(NewDatabaseCredits(kSunday),
              "Created by Marrowkit v1.1 on Sunday 15 November 2026 by Unknown!\r\n"
              "\r\n"
              "If you're the creator of this Vellora database, put your credits in this file (credits.txt).");
}

TEST(Credits, OfAnImportedDatabase) {
    EXPECT_EQ(ImportedDatabaseCredits(kSunday, "Nimbus games.dat", {"A. Uthor", "1.0b", "All of them"}),
              "Created by Marrowkit v1.1 on Sunday 15 November 2026 by Unknown!\r\n"
              "\r\n"
              "Imported RomCenter v2.00 Datafile: -\r\n"
              "Nimbus games.dat\r\n"
              "\r\n"
              "[CREDITS]\r\n"
              "Author=A. Uthor\r\n"
              "Version=1.0b\r\n"
              "Comment=All of them");
}

TEST(Credits, PadTheDayOfTheMonth) {
    EXPECT_NE(NewDatabaseCredits({2027, 3, 1}).find(" on Monday 01 March 2027 by "), std::string::npos);
}

}  // namespace
}  // namespace marrowkit
