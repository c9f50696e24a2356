#include "import/GameWriter.h"

#include <cstdint>
#include <string_view>

#include "import/GameRecord.h"
#include "import/LookupIds.h"
#include "maintenance/DatabaseVersion.h"
#include "platform/dao/Dao.h"
#include "platform/errors/RuntimeError.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

constexpr std::size_t kLookupNameCharacters = 128;
constexpr std::string_view kNoCracker = "~NONE~";

void Cut(SparseText& text) {
    const std::string_view first = FirstCharacters(text.Text(), kLookupNameCharacters);
    if (first.size() < text.Text().size()) text = first;
}

class TosecLookups {
public:
    explicit TosecLookups(dao::Database& database)
        : crackers_(database, "Crackers", "CR_Id", "Cracker"),
          publishers_(database, "Publishers", "PU_Id", "Publisher"),
          languages_(database, "Languages", "LA_Id", "Language") {}

    GameFacts FactsOf(DatafileEntry& entry) {
        Cut(entry.Cracker);
        Cut(entry.Publisher);
        Cut(entry.Language);
        GameFacts facts;
        if (entry.Cracker == kNoCracker) {
            facts.crackerId = kNoCrackerId;
        } else if (!entry.Cracker.empty()) {
            facts.crackerId = crackers_.IdOf(entry.Cracker);
        }
        if (!entry.Publisher.empty()) facts.publisherId = publishers_.IdOf(entry.Publisher);
        if (!entry.Language.empty()) facts.languageId = languages_.IdOf(entry.Language);
        facts.yearId = entry.YearId;
        facts.comment = entry.PublicDomain;
        facts.highScoreSaver = entry.SaveFix;
        facts.palNtsc = entry.PalNtsc;
        facts.trainers = entry.Trainers;
        facts.versionComment = entry.VersionComment;
        return facts;
    }

private:
    LookupIds crackers_;
    LookupIds publishers_;
    LookupIds languages_;
};

template <typename FactsOf>
void AddEntries(dao::Recordset& games, const ImportSettings& settings, ImportTables& tables,
                ImportProgress& progress, FactsOf factsOf) {
    GameRecordWriter writer(games);
    tables.GamesWritten = 0;
    std::size_t index = 0;
    try {
        for (; index < tables.Entries.size(); ++index) {
            DatafileEntry& entry = tables.Entries[index];
            if (!entry.Name.empty()) {
                writer.Add(entry, factsOf(entry), settings.ScanForRoms);
                ++tables.GamesWritten;
            }
            progress.SetBarValue(static_cast<std::int32_t>(index));
            progress.LetEventsRun();
        }
    } catch (const RuntimeError&) {
        tables.FailedEntry = index;
        throw;
    }
}

}  // namespace

std::string WriteGames(const std::string& databasePath, const ImportSettings& settings, ImportTables& tables,
                       ImportProgress& progress) {
    try {
        dao::Database database = dao::DBEngine().OpenDatabase(databasePath);
        dao::Recordset games = database.OpenRecordset("SELECT * FROM Games");
        progress.SetBarRange(0, tables.EntryUpper());
        progress.SetBarValue(0);
        GameFacts facts;
        facts.setLengthType = GetDatabaseVersion(databasePath) >= kMinLengthTypeImportVersion;
        AddEntries(games, settings, tables, progress,
                   [&](const DatafileEntry&) -> const GameFacts& { return facts; });
        games.Close();
        database.Close();
        return {};
    } catch (const RuntimeError& error) {
        return ErrorText(error);
    }
}

std::string WriteTosecGames(const std::string& databasePath, const ImportSettings& settings,
                            ImportTables& tables, ImportProgress& progress) {
    try {
        dao::Database database = dao::DBEngine().OpenDatabase(databasePath);
        dao::Recordset games = database.OpenRecordset("SELECT * FROM Games");
        progress.SetBarRange(0, tables.EntryUpper());
        progress.SetBarValue(0);
        if (!settings.ImportIntoExisting) database.Execute("DELETE * FROM Languages WHERE LA_Id > 1");
        {
            TosecLookups lookups(database);
            AddEntries(games, settings, tables, progress,
                       [&](DatafileEntry& entry) { return lookups.FactsOf(entry); });
        }
        games.Close();
        database.Close();
        return {};
    } catch (const RuntimeError& error) {
        return ErrorText(error);
    }
}

}  // namespace marrowkit
