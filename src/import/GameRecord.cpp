#include "import/GameRecord.h"

#include <string_view>

#include "maintenance/SchemaNames.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

using jet::Value;
namespace fields = schema::games;

constexpr std::size_t kNameCharacters = 255;
constexpr std::size_t kCommentCharacters = 125;
constexpr std::size_t kVersionCommentCharacters = 100;

// CCode: whether the frontend found the game's file.
constexpr std::int32_t kFileFound = 2;
constexpr std::int32_t kFileMissing = 4;

struct Game {
    const DatafileEntry& entry;
    const GameFacts& facts;
    bool scanForRoms;
};

Value Cut(std::string_view text, std::size_t characters) {
    return std::string(FirstCharacters(text, characters));
}

template <std::int32_t number>
Value Long(const Game&) {
    return number;
}

Value Empty(const Game&) {
    return std::string();
}

Value False(const Game&) {
    return false;
}

bool Found(const Game& game) {
    return game.scanForRoms && game.entry.Matched;
}

struct FieldRule {
    std::string_view field;
    Value (*value)(const Game&);
};

constexpr FieldRule kFields[] = {
    {fields::kPublisher, [](const Game& game) -> Value { return game.facts.publisherId; }},
    {fields::kCracker, [](const Game& game) -> Value { return game.facts.crackerId; }},
    {fields::kLanguage, [](const Game& game) -> Value { return game.facts.languageId; }},
    {fields::kName, [](const Game& game) { return Cut(game.entry.Name, kNameCharacters); }},
    {fields::kYear, [](const Game& game) -> Value { return game.facts.yearId; }},
    {fields::kComment, [](const Game& game) { return Cut(game.facts.comment, kCommentCharacters); }},
    {fields::kFileToRun, Empty},
    {fields::kFilenameIndex, Long<0>},
    {fields::kScreenshotFilename, Empty},
    {fields::kMusician, Long<kUnknownMusicianId>},
    {fields::kGenre, Long<kUncategorizedGenreId>},
    {fields::kDifficulty, Long<kUnknownDifficultyId>},
    {fields::kProgrammer, Long<kUnknownProgrammerId>},
    {fields::kSidFileName, Empty},
    {fields::kDateLastPlayed, Empty},
    {fields::kTimesPlayed, Long<0>},
    {fields::kHighScore, Empty},
    {fields::kSa, False},
    {fields::kFilename,
     [](const Game& game) -> Value {
         return game.scanForRoms ? game.entry.MatchedFile.Text() : game.entry.FileName;
     }},
    {fields::kCCode, [](const Game& game) -> Value { return Found(game) ? kFileFound : kFileMissing; }},
    {fields::kFa, [](const Game& game) -> Value { return Found(game); }},
    {fields::kCrc, [](const Game& game) -> Value { return game.entry.Crc; }},
    {fields::kFilesize, [](const Game& game) -> Value { return game.entry.Size; }},
    {fields::kFavourite, False},
    {fields::kExtras, False},
    {fields::kClassic, False},
    {fields::kRating, Long<0>},
    {fields::kLoadingScreen, False},
    {fields::kHighScoreSaver, [](const Game& game) -> Value { return game.facts.highScoreSaver; }},
    {fields::kIncludedDocs, False},
    {fields::kPalNtsc, [](const Game& game) -> Value { return game.facts.palNtsc; }},
    {fields::kTrueDriveEmu, False},
    {fields::kLength, Long<0>},
    {fields::kTrainers, [](const Game& game) -> Value { return game.facts.trainers; }},
    {fields::kPlayersFrom, Long<-1>},
    {fields::kPlayersTo, Long<-1>},
    {fields::kPlayersSim, False},
    {fields::kVersionComment,
     [](const Game& game) { return Cut(game.facts.versionComment, kVersionCommentCharacters); }},
    {fields::kAdult, False},
    {fields::kMemoText, Empty},
    {fields::kPrequel, Long<0>},
    {fields::kSequel, Long<0>},
    {fields::kRelated, Long<0>},
    {fields::kControl, Long<0>},
};

}  // namespace

void GameRecordWriter::Add(const DatafileEntry& entry, const GameFacts& facts, bool scanForRoms) {
    games_.AddNew();
    if (fields_.empty()) {
        for (const FieldRule& rule : kFields) fields_.push_back(games_.Fields(rule.field));
    }
    const Game game{entry, facts, scanForRoms};
    auto field = fields_.begin();
    for (const FieldRule& rule : kFields) (field++)->SetValue(rule.value(game));
    if (facts.setLengthType) games_.Fields(fields::kLengthType).SetValue(kUnknownLengthType);
    games_.Update();
}

}  // namespace marrowkit
