#include "GamesTable.h"

namespace marrowkit::benchmark {

namespace {

using jet::Column;
using jet::ColumnType;

Column Make(const char* name, ColumnType type, int size = 0) {
    Column column;
    column.name = name;
    column.type = type;
    column.size = size;
    return column;
}

std::vector<Column> MakeColumns() {
    using enum ColumnType;
    std::vector<Column> columns{Make("GA_Id", Long),
                                Make("Name", Text, 255),
                                Make("YE_ID", Long),
                                Make("Comment", Text, 125),
                                Make("FileToRun", Text, 255),
                                Make("FilenameIndex", Long),
                                Make("ScrnShotFilename", Text, 255),
                                Make("MU_Id", Long),
                                Make("GE_Id", Long),
                                Make("PU_Id", Long),
                                Make("DI_Id", Long),
                                Make("CR_Id", Long),
                                Make("SidFileName", Text, 255),
                                Make("DateLastPlayed", Text, 32),
                                Make("TimesPlayed", Long),
                                Make("HighScore", Text, 128),
                                Make("SA", Boolean),
                                Make("Filename", Text, 255),
                                Make("CCode", Integer),
                                Make("FA", Boolean),
                                Make("CRC", Text, 64),
                                Make("Filesize", Long),
                                Make("Fav", Boolean),
                                Make("PR_Id", Long),
                                Make("LA_Id", Long),
                                Make("Extras", Boolean),
                                Make("Classic", Boolean),
                                Make("Rating", Integer),
                                Make("V_LoadingScreen", Boolean),
                                Make("V_HighScoreSaver", Boolean),
                                Make("V_IncludedDocs", Boolean),
                                Make("V_PalNTSC", Integer),
                                Make("V_TrueDriveEmu", Boolean),
                                Make("V_Length", Long),
                                Make("V_LengthType", Integer),
                                Make("V_Trainers", Integer),
                                Make("PlayersFrom", Integer),
                                Make("PlayersTo", Integer),
                                Make("PlayersSim", Boolean),
                                Make("V_Comment", Text, 100),
                                Make("Adult", Boolean),
                                Make("MemoText", Memo),
                                Make("Prequel", Long),
                                Make("Sequel", Long),
                                Make("Related", Long),
                                Make("Control", Integer),
                                Make("Korvo", Memo)};
    columns[0].autoNumber = true;
    return columns;
}

std::string Hex(std::uint32_t number) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text(8, '0');
    for (std::size_t i = 8; i-- > 0; number >>= 4U) text[i] = kDigits[number & 15U];
    return text;
}

}  // namespace

const std::vector<Lookup>& Lookups() {
    static const std::vector<Lookup> lookups{
        {"Years", "YE_ID"},      {"Musicians", "MU_Id"}, {"Genres", "GE_Id"},      {"Publishers", "PU_Id"},
        {"Difficulty", "DI_Id"}, {"Crackers", "CR_Id"},  {"Programmers", "PR_Id"}, {"Languages", "LA_Id"}};
    return lookups;
}

const std::vector<Column>& GamesColumns() {
    static const std::vector<Column> columns = MakeColumns();
    return columns;
}

const std::vector<std::string>& IndexedColumns() {
    static const std::vector<std::string> columns{"Name",  "CRC",   "PU_Id", "MU_Id", "PR_Id",
                                                  "LA_Id", "CR_Id", "DI_Id", "GE_Id", "YE_ID"};
    return columns;
}

jet::Row GameRow(int n) {
    // Names come in no order, as lines of a datafile do.
    const std::uint32_t scattered = static_cast<std::uint32_t>(n) * 2654435761U;
    jet::Row row;
    for (const Column& column : GamesColumns()) {
        switch (column.type) {
            case ColumnType::Boolean:
                row.emplace_back(false);
                break;
            case ColumnType::Integer:
                row.emplace_back(std::int16_t{0});
                break;
            case ColumnType::Long:
                row.emplace_back(0);
                break;
            default:
                row.emplace_back(std::string());
        }
    }
    row[0] = jet::Null{};
    row[1] = "Game " + Hex(scattered) + " (19" + std::to_string(80 + n % 20) + ")(Some Publisher)";
    row[17] = "game" + std::to_string(n) + ".zip";
    row[20] = Hex(scattered ^ 0x5A5A5A5AU);
    row[21] = n * 1024;
    for (const std::size_t column : {2, 7, 8, 9, 10, 11, 23, 24}) {
        row[column] = 1 + (column == 9 ? n / 7 : n / 50) % kLookupRows;
    }
    row[41] = std::string("A short text about game ") + std::to_string(n);
    return row;
}

jet::Row GameRowWithLongMemo(int n) {
    static constexpr std::size_t kLengths[] = {1000, 2000, 5000};
    jet::Row row = GameRow(n);
    auto& memo = std::get<std::string>(row[41]);
    const std::string sentence = memo + ". ";
    const std::size_t length = kLengths[n % 3];
    while (memo.size() < length) memo += sentence;
    return row;
}

}  // namespace marrowkit::benchmark
