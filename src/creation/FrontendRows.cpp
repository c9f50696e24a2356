#include "creation/FrontendRows.h"

#include <cstdint>
#include <initializer_list>
#include <utility>

namespace marrowkit {

namespace {

using Names = std::initializer_list<std::pair<std::int32_t, const char*>>;

FixedRows Lookup(const char* table, const char* key, const char* nameField, Names names) {
    FixedRows rows{table, {key, nameField}, {}};
    for (const auto& [id, name] : names) rows.rows.push_back({id, std::string(name)});
    return rows;
}

/// Sub-genres with their parent.
FixedRows Genres() {
    struct Genre {
        const char* name;
        std::int32_t parent;
    };
    constexpr Genre kGenres[] = {
        {"(Uncategorized)", 1}, {"Beat 'em Up", 2}, {"Breakout", 2},     {"Maze", 2},       {"Platform", 2},
        {"Shoot 'em Up", 2},    {"Graphic", 3},     {"Role Playing", 3}, {"Text", 3},       {"Athletics", 4},
        {"Football", 4},        {"Racing", 4},      {"Other Sport", 4},  {"Board Game", 5}, {"Management", 5},
        {"War Game", 5},        {"Cards", 6},       {"Logic", 6},        {"Quiz", 6},       {"Flight", 7},
        {"Space", 7},           {"Learning", 8},    {"Demo", 8},         {"Utility", 8},
    };
    FixedRows rows{"Genres", {"GE_Id", "Genre", "PG_Id"}, {}};
    std::int32_t id = 0;
    for (const Genre& genre : kGenres) rows.rows.push_back({++id, std::string(genre.name), genre.parent});
    return rows;
}

/// Keys 2 to 9 are those of the years that are known by their decade alone; from 10 on, the key is the year
/// less 1960. What is no year has a number of its own above all years, so that it sorts behind them.
FixedRows Years() {
    constexpr std::int16_t kUnknown = 9999;
    constexpr std::int16_t kNineteenHundreds = 9998;
    constexpr std::int16_t kSeventies =
        9991;  // the following decades and, fourth, the 2000s as a whole follow
    constexpr std::int32_t kFirstDecade = 3;
    constexpr std::int32_t kFirstYear = 10;
    constexpr std::int32_t kLastYear = 50;
    constexpr std::int32_t kYearOfKeyZero = 1960;
    FixedRows rows{"Years", {"YE_ID", "Year"}, {}};
    rows.rows.push_back({std::int32_t{1}, kUnknown});
    rows.rows.push_back({std::int32_t{2}, kNineteenHundreds});
    for (std::int32_t key = kFirstDecade; key < kFirstYear; ++key) {
        rows.rows.push_back({key, static_cast<std::int16_t>(kSeventies + key - kFirstDecade)});
    }
    for (std::int32_t key = kFirstYear; key <= kLastYear; ++key) {
        rows.rows.push_back({key, static_cast<std::int16_t>(kYearOfKeyZero + key)});
    }
    return rows;
}

}  // namespace

std::vector<FixedRows> FrontendRows(SchemaVersion version) {
    return {
        Lookup("PGenres", "PG_Id", "ParentGenre",
               {{1, "(Uncategorized)"},
                {2, "Arcade"},
                {3, "Adventure"},
                {4, "Sport"},
                {5, "Strategy"},
                {6, "Puzzle"},
                {7, "Simulation"},
                {8, "Miscellaneous"}}),
        Genres(),
        Lookup("Publishers", "PU_Id", "Publisher", {{37, "(Unknown)"}, {39, "(Not Published)"}}),
        Lookup("Musicians", "MU_Id", "Musician", {{38, "(Unknown)"}, {39, "(No Music)"}}),
        Lookup("Programmers", "PR_Id", "Programmer", {{1, "(Unknown)"}}),
        Lookup("Languages", "LA_Id", "Language",
               {{1, "English"},
                {2, "German"},
                {3, "French"},
                {4, "Spanish"},
                {5, "Italian"},
                {6, "Dutch"},
                {7, "Swedish"},
                {8, "Danish"},
                {9, "Norwegian"},
                {10, "Finnish"},
                {11, "Polish"},
                {12, "Czech"}}),
        Lookup("Crackers", "CR_Id", "Cracker", {{7, "(Not Cracked)"}, {8, "(Unknown)"}}),
        Lookup("Difficulty", "DI_Id", "Difficulty",
               {{1, "Very Easy"},
                {2, "Easy"},
                {3, "Fairly Easy"},
                {4, "Medium"},
                {5, "Fairly Hard"},
                {6, "Hard"},
                {7, "Very Hard"},
                {8, "(Unknown)"}}),
        Years(),
        {"Config",
         {"MajorVersion", "MinorVersion"},
         {{std::int32_t{version.major}, std::int32_t{version.minor}}}},
    };
}

}  // namespace marrowkit
