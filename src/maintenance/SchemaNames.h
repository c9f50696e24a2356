#pragma once

#include <string_view>

/// The frontend's tables and fields, as far as the program names them. Jet compares names ignoring case; the
/// statements spell some fields otherwise.
namespace marrowkit::schema {

// Tables.
inline constexpr std::string_view kPublishers = "Publishers";
inline constexpr std::string_view kMusicians = "Musicians";
inline constexpr std::string_view kProgrammers = "Programmers";
inline constexpr std::string_view kLanguages = "Languages";
inline constexpr std::string_view kCrackers = "Crackers";
inline constexpr std::string_view kDifficulty = "Difficulty";
inline constexpr std::string_view kGenres = "Genres";
inline constexpr std::string_view kExtras = "Extras";
inline constexpr std::string_view kConfig = "Config";

// Fields of Config; its first record holds the version of the schema.
inline constexpr std::string_view kMajorVersion = "MajorVersion";
inline constexpr std::string_view kMinorVersion = "MinorVersion";

// Fields of Games.
namespace games {
inline constexpr std::string_view kName = "Name";
inline constexpr std::string_view kYear = "YE_ID";
inline constexpr std::string_view kComment = "Comment";
inline constexpr std::string_view kFileToRun = "FileToRun";
inline constexpr std::string_view kFilenameIndex = "FilenameIndex";
inline constexpr std::string_view kScreenshotFilename = "ScrnShotFilename";
inline constexpr std::string_view kMusician = "MU_Id";
inline constexpr std::string_view kGenre = "GE_Id";
inline constexpr std::string_view kPublisher = "PU_Id";
inline constexpr std::string_view kDifficulty = "DI_Id";
inline constexpr std::string_view kCracker = "CR_Id";
inline constexpr std::string_view kSidFileName = "SidFileName";
inline constexpr std::string_view kDateLastPlayed = "DateLastPlayed";
inline constexpr std::string_view kTimesPlayed = "TimesPlayed";
inline constexpr std::string_view kHighScore = "HighScore";
inline constexpr std::string_view kSa = "SA";
inline constexpr std::string_view kFilename = "Filename";
inline constexpr std::string_view kCCode = "CCode";
inline constexpr std::string_view kFa = "FA";
inline constexpr std::string_view kCrc = "CRC";            ///< since schema 2.1
inline constexpr std::string_view kFilesize = "Filesize";  ///< since schema 2.1
inline constexpr std::string_view kFavourite = "Fav";
inline constexpr std::string_view kProgrammer = "PR_Id";
inline constexpr std::string_view kLanguage = "LA_Id";
inline constexpr std::string_view kExtras = "Extras";
inline constexpr std::string_view kClassic = "Classic";
inline constexpr std::string_view kRating = "Rating";
inline constexpr std::string_view kLoadingScreen = "V_LoadingScreen";
inline constexpr std::string_view kHighScoreSaver = "V_HighScoreSaver";
inline constexpr std::string_view kIncludedDocs = "V_IncludedDocs";
inline constexpr std::string_view kPalNtsc = "V_PalNTSC";
inline constexpr std::string_view kTrueDriveEmu = "V_TrueDriveEmu";
inline constexpr std::string_view kTrainers = "V_Trainers";
inline constexpr std::string_view kLength = "V_Length";
inline constexpr std::string_view kLengthType = "V_LengthType";  ///< since schema 2.5; 0 to 19
inline constexpr std::string_view kPlayersFrom = "PlayersFrom";
inline constexpr std::string_view kPlayersTo = "PlayersTo";
inline constexpr std::string_view kPlayersSim = "PlayersSim";
inline constexpr std::string_view kVersionComment = "V_Comment";
inline constexpr std::string_view kAdult = "Adult";
inline constexpr std::string_view kMemoText = "MemoText";
inline constexpr std::string_view kPrequel = "Prequel";
inline constexpr std::string_view kSequel = "Sequel";
inline constexpr std::string_view kRelated = "Related";
inline constexpr std::string_view kControl = "Control";
}  // namespace games

}  // namespace marrowkit::schema
