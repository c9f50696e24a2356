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

/// Every key by its name: the frontend finds a text by nothing else.
TEST(TextIni, HasEveryKeyInItsOrder) {
    const std::pair<const char*, const char*> kKeys[] = {
        {"Database",
         "Field_Name Field_Year Field_Comment Field_GameFilename Field_PictureFilename "
         "Field_MusicFilename Field_Musician Field_Genre Field_ParentGenre Field_Publisher "
         "Field_Difficulty Field_Cracker Field_Programmer Field_Language Field_DateLastPlayed "
         "Field_TimesPlayed Field_HighScore Field_Favourite Field_Extras Field_Classic "
         "Field_Rating Field_LoadingScreen Field_HighScoreSaver Field_IncludedDocs Field_PALNTSC "
         "Field_TrueDriveEmulation Field_GameLength Field_GameLengthType Field_Trainers "
         "Field_NumPlayers Field_Players_Simultaneous Field_VersionComment Field_GameVersion "
         "Field_Precursor Field_Sequel Field_Related Field_Notes Field_MusicianGroup "
         "Field_MusicianNick Field_MusicianPhoto Field_Control Field_Adult Field_Extras_Name "
         "Field_Control_JoyPort2 Field_Control_JoyPort1 Field_Control_Keyboard "
         "Field_Control_PaddlePort2 Field_Control_PaddlePort1 Field_Control_Mouse "
         "Field_Control_Lightpen Field_Control_KoalaPad Field_Control_LightGun Field_Yes Field_No "
         "Field_Rating_Unknown Field_Rating_Terrible Field_Rating_Poor Field_Rating_Average "
         "Field_Rating_QuiteGood Field_Rating_VeryGood Field_Rating_Classic Field_LengthType0 "
         "Field_LengthType1 Field_LengthType2 Field_LengthType3 Field_LengthType4 "
         "Field_LengthType5 Field_LengthType6 Field_LengthType7 Field_LengthType8 "
         "Field_LengthType9 Field_LengthType10 Field_LengthType12 Field_LengthType12 "
         "Field_LengthType13 Field_LengthType14 Field_LengthType15 Field_LengthType16 "
         "Field_LengthType17 Field_LengthType18 Field_LengthType19 Field_PALNTSCType0 "
         "Field_PALNTSCType1 Field_PALNTSCType2 Field_PALNTSCType3"},
        {"MainWindow",
         "Button_PlayGame Button_PlayMusic Button_Extras Button_RandomSelect "
         "NotesHaveChangedPrompt MouseOver_Button_PlayGame MouseOver_Button_PlayMusic "
         "MouseOver_Button_Extras MouseOver_Button_RandomSelect MouseOver_Button_CustomViews "
         "MouseOver_Pictures_Prev MouseOver_Pictures_Next MouseOver_StatusBar_GameFile "
         "MouseOver_StatusBar_MusicFile MouseOver_StatusBar_Extras MouseOver_StatusBar_Sounds "
         "MouseOver_StatusBar_NonStopMusic MouseOver_TabIcons_ClassicGame "
         "MouseOver_TabIcons_Precursor MouseOver_TabIcons_Related MouseOver_TabIcons_Sequel "
         "MouseOver_TabIcons_AdultGame Status_Bar_Extras Views_Default_AllGames "
         "Views_Default_AllMusic Views_Default_Favourites Views_None Tab_Game_Title "
         "Tab_Version_Title Tab_Personal_Title Tab_Memo_Title Tab_Music_Title "
         "Tab_Game_Label_Copyright Tab_Game_Label_Programmer Tab_Game_Label_Musician "
         "Tab_Game_Label_GameGenre Tab_Game_Label_Players Tab_Game_Label_Language "
         "Tab_Version_Label_CrackingGroup Tab_Version_Label_Trainers "
         "Tab_Version_Label_HighScoreSaver Tab_Version_Label_GameLength "
         "Tab_Version_Label_TrueDriveEmu Tab_Version_Label_NTSC Tab_Version_Label_LoadingScreen "
         "Tab_Version_Label_IncludedDocs Tab_Personal_Label_HighScore "
         "Tab_Personal_Label_Difficulty Tab_Personal_Label_Rating Tab_Personal_Label_TimesPlayed "
         "Tab_Personal_Label_LastPlayed Tab_Music_DBMusician Tab_Music_DBNick Tab_Music_DBGroup "
         "Tab_Music_DBPhoto Tab_Music_Label_DBNone"},
        {"MainMenus",
         "Menu_File_Add_Game Menu_File_Add_Music Menu_File_RemoveSelected Menu_File_RemoveAll "
         "Menu_Edit_GameTuneInfo Menu_Edit_VersionInfo Menu_Edit_PersonalInfo Menu_Edit_GameFile "
         "Menu_Edit_MusicFile Menu_Edit_Pictures Menu_Edit_Extras Menu_Edit_Korvo "
         "Menu_Edit_MarkGame Menu_Edit_LinkSet Menu_Edit_LinkClear Menu_Edit_Find "
         "Menu_Edit_FindNext Menu_Edit_AddToFavourites Menu_Edit_RemoveFromFavourites "
         "Menu_Edit_Info_CurrentGameTune Menu_Edit_Info_AllGamesTunes Menu_Edit_Info_CurrentGame "
         "Menu_Edit_Info_AllGames Menu_Edit_FindByID Menu_Edit_FindByID_Game "
         "Menu_Edit_FindByID_Music Menu_View_SC_Hide Menu_View_SC_GameInfo "
         "Menu_View_SC_VersionInfo Menu_View_SC_Personal Menu_View_SC_Publisher Menu_View_SC_Year "
         "Menu_View_SC_Programmer Menu_View_SC_Musician Menu_View_SC_Genre Menu_View_SC_Players "
         "Menu_View_SC_Control Menu_View_SC_Language Menu_View_SC_Comment "
         "Menu_View_SC_GameFilename Menu_View_SC_CrackingGroup Menu_View_SC_Trainers "
         "Menu_View_SC_GameLength Menu_View_SC_TrueDriveEmu Menu_View_SC_HighScoreSaver "
         "Menu_View_SC_NTSC Menu_View_SC_IncludedDocs Menu_View_SC_LoadingScreen "
         "Menu_View_SC_VersionComment Menu_View_SC_MusicFilename Menu_View_SC_HighScore "
         "Menu_View_SC_Difficulty Menu_View_SC_TimesPlayed Menu_View_SC_LastPlayed "
         "Menu_View_SC_Rating"},
        {"Category Window", "Caption Publishers Years Programmers Musicians Languages Genres Crackers"},
        {"Quick Filter", "Name Publisher Programmer Musician Genre PersonalComment VersionComment"},
        {"Game Info Properties Window",
         "UpdateYearBox UpdatePublisherBox UpdateProgrammerBox UpdateMusicianBox UpdateLanguageBox "
         "UpdateGenreBox UpdatePlayersBox UpdateControlBox UpdateCommentBox YearPrompt "
         "PublisherPrompt ProgrammerPrompt MusicianPrompt LanguagePrompt GenrePrompt ControlPrompt "
         "PlayersPrompt CommentPrompt SimultaneousPlayPrompt"},
        {"Version Info Properties Window",
         "UpdateCrackerBox UpdateTrainersBox UpdateHighScoreSaverBox UpdateGameLengthBox "
         "UpdatePalNTSCBox UpdateTrueDriveEmuBox UpdateLoadingScreenBox UpdateIncludedDocsBox "
         "UpdateVersionCommentBox CrackerPrompt TrainersPrompt PalNTSCPrompt GameLengthPrompt "
         "HighScoreSaverPrompt LoadingScreenPrompt IncludedDocsPrompt TrueDriveEmuPrompt "
         "VersionCommentPrompt"},
        {"Personal Info Properties Window",
         "UpdateHighScoreBox UpdateDifficultyBox UpdateRatingBox UpdateTimesPlayedBox "
         "UpdateDateLastPlayedBox UpdateAdultGameBox UpdateFavouriteGameBox UpdateNotesBox "
         "HighScorePrompt DifficultyPrompt RatingPrompt NotesPrompt TimesPlayedPrompt "
         "DateLastPlayedPrompt AdultPrompt FavouritePrompt"},
        {"Music Info Properties Window",
         "UpdateMusicianBox UpdateFavBox UpdateAdultBox MusicianPrompt FavPrompt AdultPrompt"},
        {"Record Selector Window",
         "CaptionPublisher CaptionProgrammer CaptionMusician CaptionLanguage CaptionCracker "
         "Publishers Programmers Musicians Languages Crackers"},
        {"Add Edit Record Window",
         "PublisherPrompt ProgrammerPrompt MusicianPrompt LanguagePrompt CrackerPrompt"},
        {"Musician Properties Window", "AddCaption EditCaption Prompt Group Nick Photo"},
        {"Find ID Window", "GameCaption GamePrompt MusicCaption MusicPrompt"},
    };
    const std::vector<Section> sections = SectionsOf(LoadTemplateResource(101));
    std::size_t at = 1;  // behind [General], which has none
    for (const auto& [section, keys] : kKeys) {
        ASSERT_LT(at, sections.size());
        EXPECT_EQ(sections[at].name, section);
        std::string found;
        for (const auto& entry : sections[at].entries) found += (found.empty() ? "" : " ") + entry.first;
        EXPECT_EQ(found, keys);
        ++at;
    }
    EXPECT_EQ(at, sections.size());
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

// Three blanks behind the last tag bring it to its size.
TEST(HelpHtm, IsTwelveLinesThatPointToCreditsIni) {
    EXPECT_EQ(
        LoadTemplateResource(103),
        std::string("<html>\r\n<head>\r\n\t<title>Vellora Database Help</title>\r\n</head>\r\n<body>\r\n"
                    "<font size=3>\r\nThis file is named <b>\"help.htm\"</b> and is pointed to in the "
                    "file <b>\"credits.ini\"</b> within your Vellora database folder.<br>\r\n<br>\r\n"
                    "Please check out <b>\"credits.ini\"</b> to see how you can customise Vellora's "
                    "Help menu and create links to your own Web Site, Email address and Database "
                    "Documentation.<br>\r\n</font>\r\n</body>\r\n</html>   \r\n") +
            std::string(2, '\0'));
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
