#include "import/GameRecord.h"

#include <string_view>

#include "platform/text/Text.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

using jet::Value;

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
    {"PU_Id", [](const Game& game) -> Value { return game.facts.publisherId; }},
    {"CR_Id", [](const Game& game) -> Value { return game.facts.crackerId; }},
    {"LA_Id", [](const Game& game) -> Value { return game.facts.languageId; }},
    {"Name", [](const Game& game) { return Cut(game.entry.Name, kNameCharacters); }},
    {"YE_ID", [](const Game& game) -> Value { return game.facts.yearId; }},
    {"Comment", [](const Game& game) { return Cut(game.facts.comment, kCommentCharacters); }},
    {"FileToRun", Empty},
    {"FilenameIndex", Long<0>},
    {"ScrnShotFilename", Empty},
    {"MU_Id", Long<kUnknownMusicianId>},
    {"GE_Id", Long<1>},
    {"DI_Id", Long<8>},
    {"PR_Id", Long<1>},
    {"SidFileName", Empty},
    {"DateLastPlayed", Empty},
    {"TimesPlayed", Long<0>},
    {"HighScore", Empty},
    {"SA", False},
    {"Filename",
     [](const Game& game) -> Value {
         return game.scanForRoms ? game.entry.MatchedFile : game.entry.FileName;
     }},
    {"CCode", [](const Game& game) -> Value { return Found(game) ? kFileFound : kFileMissing; }},
    {"FA", [](const Game& game) -> Value { return Found(game); }},
    {"CRC", [](const Game& game) -> Value { return game.entry.Crc; }},
    {"Filesize", [](const Game& game) -> Value { return game.entry.Size; }},
    {"Fav", False},
    {"Extras", False},
    {"Classic", False},
    {"Rating", Long<0>},
    {"V_LoadingScreen", False},
    {"V_HighScoreSaver", [](const Game& game) -> Value { return game.facts.highScoreSaver; }},
    {"V_IncludedDocs", False},
    {"V_PalNTSC", [](const Game& game) -> Value { return game.facts.palNtsc; }},
    {"V_TrueDriveEmu", False},
    {"V_Length", Long<0>},
    {"V_Trainers", [](const Game& game) -> Value { return game.facts.trainers; }},
    {"PlayersFrom", Long<-1>},
    {"PlayersTo", Long<-1>},
    {"PlayersSim", False},
    {"V_Comment", [](const Game& game) { return Cut(game.facts.versionComment, kVersionCommentCharacters); }},
    {"Adult", False},
    {"MemoText", Empty},
    {"Prequel", Long<0>},
    {"Sequel", Long<0>},
    {"Related", Long<0>},
    {"Control", Long<0>},
};

}  // namespace

/// Field by its name raises 3265 when there is none.
std::size_t GameRecordWriter::PositionOf(std::string_view field) {
    for (std::size_t position = 0; position < games_.FieldCount(); ++position) {
        if (EqualNoCase(games_.Fields(position).Name(), field)) return position;
    }
    games_.Fields(field);
    return games_.FieldCount();
}

void GameRecordWriter::Add(const DatafileEntry& entry, const GameFacts& facts, bool scanForRoms) {
    games_.AddNew();
    if (positions_.empty()) {
        for (const FieldRule& rule : kFields) positions_.push_back(PositionOf(rule.field));
    }
    const Game game{entry, facts, scanForRoms};
    std::size_t index = 0;
    for (const FieldRule& rule : kFields) {
        games_.Fields(positions_[index++]).SetValue(rule.value(game));
    }
    if (facts.setLengthType) games_.Fields("V_LengthType").SetValue(kUnknownLengthType);
    games_.Update();
}

}  // namespace marrowkit
