#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "creation/TemplateResources.h"
#include "platform/errors/RuntimeError.h"
#include "platform/text/Text.h"

namespace marrowkit {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct Section {
    std::string name;
    std::vector<std::pair<std::string, std::string>> entries;
    /// Keys between two blank lines.
    std::vector<std::vector<std::size_t>> groups;

    std::string ValueOf(const std::string& key) const {
        for (const auto& [name_, value] : entries) {
            if (name_ == key) return value;
        }
        return "(missing)";
    }
};

std::vector<std::string_view> LinesOf(const std::string& text) {
    return Split(text, "\r\n");
}

std::vector<Section> SectionsOf(const std::string& text) {
    std::vector<Section> sections;
    bool newGroup = true;
    for (const std::string_view line : LinesOf(text)) {
        if (line.empty() || line.front() == ';' || line.front() == '\0') {
            newGroup = true;
        } else if (line.front() == '[') {
            EXPECT_EQ(line.back(), ']') << line;
            sections.push_back({std::string(line.substr(1, line.size() - 2)), {}, {}});
            newGroup = true;
        } else {
            const std::size_t equals = line.find('=');
            EXPECT_NE(equals, std::string_view::npos) << line;
            Section& section = sections.back();
            if (std::exchange(newGroup, false)) section.groups.emplace_back();
            section.groups.back().push_back(section.entries.size());
            section.entries.emplace_back(line.substr(0, equals), line.substr(equals + 1));
        }
    }
    return sections;
}

TEST(Templates, HaveTheirExactSizesAndZeroBytes) {
    struct Case {
        int id;
        std::size_t bytes;
        std::size_t zeros;
    };
    for (const Case& c : {Case{101, 15472, 3}, Case{102, 3816, 2}, Case{103, 428, 2}, Case{104, 524, 0}}) {
        const std::string text = LoadTemplateResource(c.id);
        EXPECT_EQ(text.size(), c.bytes) << c.id;
        EXPECT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\0')), c.zeros) << c.id;
        EXPECT_THAT(text, EndsWith("\r\n" + std::string(c.zeros, '\0'))) << c.id;
    }
}

TEST(Templates, ArePlainTextWithCrLfLineEnds) {
    for (const int id : {101, 102, 103, 104}) {
        const std::string text = LoadTemplateResource(id);
        for (std::size_t i = 0; i < text.size(); ++i) {
            const unsigned char byte = static_cast<unsigned char>(text[i]);
            ASSERT_TRUE(byte == '\t' || byte == '\r' || byte == '\n' || byte == 0 ||
                        (byte >= 0x20 && byte < 0x7F))
                << id << " at " << i;
            const bool lineFeedDue = i > 0 && text[i - 1] == '\r';
            ASSERT_EQ(byte == '\n', lineFeedDue) << id << " at " << i;
        }
    }
}

TEST(Templates, OfAnyOtherNumberAreMissing) {
    for (const int id : {0, 100, 105, -1}) {
        try {
            LoadTemplateResource(id);
            ADD_FAILURE() << id;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 326);
        }
    }
}

TEST(TextIni, HasItsSectionsInOrderWithTheirNumbersOfKeys) {
    const std::vector<std::pair<std::string, std::size_t>> expected{{"General", 0},
                                                                    {"Database", 85},
                                                                    {"MainWindow", 56},
                                                                    {"MainMenus", 55},
                                                                    {"Category Window", 8},
                                                                    {"Quick Filter", 7},
                                                                    {"Game Info Properties Window", 19},
                                                                    {"Version Info Properties Window", 18},
                                                                    {"Personal Info Properties Window", 16},
                                                                    {"Music Info Properties Window", 6},
                                                                    {"Record Selector Window", 10},
                                                                    {"Add Edit Record Window", 5},
                                                                    {"Musician Properties Window", 6},
                                                                    {"Find ID Window", 4}};
    std::vector<std::pair<std::string, std::size_t>> found;
    for (const Section& section : SectionsOf(LoadTemplateResource(101))) {
        found.emplace_back(section.name, section.entries.size());
    }
    EXPECT_EQ(found, expected);
}

TEST(TextIni, HasTheKnownDefaults) {
    const std::vector<Section> sections = SectionsOf(LoadTemplateResource(101));
    const Section& database = sections.at(1);
    const std::vector<std::pair<std::string, std::string>> expected{
        {"Field_Name", "Name"},
        {"Field_Year", "Year Published"},
        {"Field_Rating_Unknown", "?/5 Unknown"},
        {"Field_Rating_Terrible", "1/5 - Terrible"},
        {"Field_Rating_VeryGood", "5/5 - Very Good"},
        {"Field_Rating_Classic", "Classic!"},
        {"Field_LengthType0", "Block(s)"},
        {"Field_LengthType1", "Disk(s)"},
        {"Field_LengthType2", "Cartridge(s)"},
        {"Field_LengthType3", "Tape(s)"},
        {"Field_LengthType4", "Unused"},
        {"Field_LengthType18", "Unused"},
        {"Field_LengthType19", "Unknown"},
        {"Field_PALNTSCType0", "PAL"},
        {"Field_PALNTSCType1", "PAL+NTSC"},
        {"Field_PALNTSCType2", "NTSC"},
        {"Field_PALNTSCType3", "PAL(+NTSC?)"}};
    for (const auto& [key, value] : expected) EXPECT_EQ(database.ValueOf(key), value) << key;
    EXPECT_EQ(database.entries.front().first, "Field_Name");
    EXPECT_EQ(database.entries.back().first, "Field_PALNTSCType3");

    EXPECT_EQ(sections.at(2).ValueOf("Button_PlayGame"), "&Play Game");
    EXPECT_EQ(sections.at(2).ValueOf("Button_RandomSelect"), "?");
    EXPECT_EQ(sections.at(3).ValueOf("Menu_Edit_Korvo"), "Korvo \"&key=value\" pairs");
    EXPECT_EQ(sections.at(4).ValueOf("Caption"), "Categories");
    EXPECT_EQ(sections.at(7).ValueOf("GameLengthPrompt"), "&Game Length ('0' or '?' = Unknown)");
}

// The frontend's own file has these slips; a database made here is to be the same.
TEST(TextIni, WritesLengthType12TwiceAndLengthType11Never) {
    const std::string text = LoadTemplateResource(101);
    const std::size_t first = text.find("Field_LengthType12=Unused\r\n");
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(text.find("Field_LengthType12=Unused\r\n", first + 1), std::string::npos);
    EXPECT_THAT(text, Not(HasSubstr("Field_LengthType11")));
}

TEST(TextIni, GivesOneMenuEntryTwoShortcuts) {
    EXPECT_EQ(SectionsOf(LoadTemplateResource(101)).at(3).ValueOf("Menu_Edit_LinkClear"),
              "&Clear Game &Link");
}

TEST(TextIni, KeepsShortcutsUniqueWithinEachList) {
    for (const Section& section : SectionsOf(LoadTemplateResource(101))) {
        // One prompt is shown at a time there.
        if (section.name == "Add Edit Record Window" || section.name == "Find ID Window") continue;
        for (const auto& group : section.groups) {
            std::set<char> used;
            for (const std::size_t entry : group) {
                const std::string& value = section.entries[entry].second;
                for (std::size_t at = value.find('&'); at != std::string::npos;
                     at = value.find('&', at + 1)) {
                    ASSERT_LT(at + 1, value.size());
                    const std::string letter = LCase(value.substr(at + 1, 1));
                    EXPECT_TRUE(used.insert(letter[0]).second) << section.name << ": " << value;
                }
            }
        }
    }
}

TEST(TextIni, HasNoEmptyValueAndNoClosingPunctuation) {
    for (const Section& section : SectionsOf(LoadTemplateResource(101))) {
        for (const auto& [key, value] : section.entries) {
            ASSERT_FALSE(value.empty()) << key;
            EXPECT_EQ(std::string(":.,;").find(value.back()), std::string::npos) << key << "=" << value;
            EXPECT_EQ(Trim(value), value) << key;
        }
    }
}

TEST(TextIni, SeparatesSectionsAndSaysWhereShortcutsApply) {
    const std::string text = LoadTemplateResource(101);
    const std::string separator = ";" + std::string(55, '#');
    EXPECT_THAT(text, StartsWith(";#"));
    EXPECT_THAT(text, EndsWith(separator + "\r\n" + std::string(3, '\0')));
    std::string_view before;
    std::size_t separators = 0;
    std::size_t notes = 0;
    for (const std::string_view line : LinesOf(text)) {
        if (!line.empty() && line.front() == '[') {
            EXPECT_EQ(before, separator) << line;
        }
        separators += line == separator ? 1 : 0;
        notes += line.starts_with(";Keyboard Shortcuts:\t") ? 1 : 0;
        before = line;
    }
    EXPECT_EQ(separators, 15u);
    EXPECT_EQ(notes, 14u);
    EXPECT_THAT(text, HasSubstr(";Keyboard Shortcuts:\tNO\r\n"));
    EXPECT_THAT(text, HasSubstr(";Keyboard Shortcuts:\tYES (unique)"));
}

TEST(TextIni, ExplainsItself) {
    const std::string text = LoadTemplateResource(101);
    const std::string head = text.substr(0, text.find("[General]"));
    for (const char* part : {"VLText.ini", "\"Cancel=&Cancel\"", "ALT+C", "\"Cancel=Ca&ncel\"",
                             "\"SaveAndQuit=Save && Quit\""}) {
        EXPECT_THAT(head, HasSubstr(part));
    }
}

TEST(GfxTxt, NamesEveryImageOnceInOrder) {
    const std::string text = LoadTemplateResource(102);
    std::size_t before = 0;
    for (const char* name :
         {"AboutScreen_120x200.gif",    "Startup_32x32.gif",         "No_Picture_320x200.gif",
          "No_Picture_160x100.gif",     "ListGameHasBoth_16x16.gif", "ListGameHasGame_16x16.gif",
          "ListGameHasMusic_16x16.gif", "ListGameHasNone_16x16.gif", "ListMusic_16x16.gif",
          "RecentMenuGame_13x13.gif",   "RecentMenuMusic_13x13.gif", "ClassicGame_16x11.gif",
          "NoPrequel_13x11.gif",        "NoSequel_13x11.gif",        "NoRelated_13x11.gif",
          "\r\nRelated_13x11.gif",      "\r\nSequel_13x11.gif",      "\r\nPrequel_13x11.gif",
          "VeryGoodRating_13x11.gif",   "QuiteGoodRating_13x11.gif", "AverageRating_13x11.gif",
          "PoorRating_13x11.gif",       "TerribleRating_13x11.gif",  "UnknownRating_13x11.gif",
          "GameTab1_16x16.gif",         "GameTab2_16x16.gif",        "GameTab3_16x16.gif",
          "GameTab4_16x16.gif",         "GameTab5_16x16.gif",        "MusicTab_16x16.gif",
          "NoPhoto_100x100.gif",        "PictureDown_15x10.gif",     "PictureUp_15x10.gif"}) {
        const std::size_t at = text.find(name);
        ASSERT_NE(at, std::string::npos) << name;
        EXPECT_GT(at, before) << name;
        EXPECT_EQ(text.find(name, at + 1), std::string::npos) << name;
        before = at;
    }
    EXPECT_THAT(text, HasSubstr("Marrow-Kit"));
    EXPECT_THAT(text, HasSubstr("#FF00FF"));
    EXPECT_THAT(text, HasSubstr("White (#FFFFFF) is transparent"));
}

TEST(HelpHtm, PointsToCreditsIni) {
    const std::string text = LoadTemplateResource(103);
    EXPECT_EQ(LinesOf(text).size(), 13u);  // twelve, and the zero bytes behind the last line end
    EXPECT_THAT(text,
                StartsWith("<html>\r\n<head>\r\n\t<title>Vellora Database Help</title>\r\n</head>\r\n"));
    EXPECT_THAT(text,
                HasSubstr("Please check out <b>\"credits.ini\"</b> to see how you can customise Vellora's "
                          "Help menu and create links to your own Web Site, Email address and Database "
                          "Documentation.<br>\r\n</font>\r\n</body>\r\n</html>"));
}

TEST(CreditsIni, HasTheThreeHelpMenuEntries) {
    const std::string text = LoadTemplateResource(104);
    EXPECT_THAT(text, StartsWith("\r\n[Help Menu]\r\n\r\n\r\n; use \"&\" before the letter you want as the "
                                 "keyboard shortcut\r\n;\r\n; Shortcuts H, W, E and A are reserved by the "
                                 "Vellora Frontend\r\n\r\n\r\nHelpWebSiteText=Database Web &Site\r\n"
                                 "HelpWebsite=http"));
    EXPECT_THAT(text, HasSubstr("\r\n\r\n\r\nHelpEmailText=E&mail the Database Author\r\nHelpEmail="));
    EXPECT_THAT(text, EndsWith("\r\n\r\n\r\n; HelpFile must point to a file in your database folder.\r\n"
                               "; No path is needed, just the filename.\r\n"
                               "; VL opens the file in it's Windows registered program\r\n\r\n\r\n"
                               "HelpFileText=&Database Help\r\nHelpFile=help.htm\r\n"));
}

}  // namespace
}  // namespace marrowkit
