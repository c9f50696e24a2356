#include "creation/FrontendSchema.h"

#include <utility>

namespace marrowkit {

namespace {

using jet::Column;
using jet::ColumnType;
using jet::Index;
using jet::Relationship;
using jet::TableDesign;

/// Cuts that the import makes before it writes: a game's name, its comment, its version comment, and the
/// names of publishers, crackers and languages.
constexpr int kGameNameCharacters = 255;
constexpr int kCommentCharacters = 125;
constexpr int kVersionCommentCharacters = 100;
constexpr int kLookupNameCharacters = 128;
/// The most a Jet text can hold; for paths and whatever has no cut of its own.
constexpr int kLongestText = 255;

constexpr SchemaVersion kWithExtras{2, 0};      // higher than this: Extras, Games.CRC, Games.Filesize
constexpr SchemaVersion kWithKorvo{2, 2};       // higher than this: Games.Korvo
constexpr SchemaVersion kWithLengthType{2, 4};  // higher than this: V_LengthType, FirstLoadMessage

Column Field(const char* name, ColumnType type, const char* defaultValue = "") {
    Column column;
    column.name = name;
    column.type = type;
    column.defaultValue = defaultValue;
    return column;
}

Column Text(const char* name, int characters) {
    Column column = Field(name, ColumnType::Text);
    column.size = characters;
    return column;
}

Column Number(const char* name, const char* defaultValue = "0") {
    return Field(name, ColumnType::Long, defaultValue);
}

Column Flag(const char* name) {
    return Field(name, ColumnType::Boolean);
}

Column Memo(const char* name) {
    return Field(name, ColumnType::Memo);
}

Index OnField(const std::string& field) {
    Index index;
    index.name = field;
    index.parts = {{field, true}};
    return index;
}

/// A table whose first field is its AutoNumber and primary key.
TableDesign KeyedTable(const char* name, const char* key, std::vector<Column> fields) {
    TableDesign table;
    table.name = name;
    Column keyColumn = Field(key, ColumnType::Long);
    keyColumn.autoNumber = true;
    table.columns.push_back(std::move(keyColumn));
    for (Column& field : fields) table.columns.push_back(std::move(field));
    Index primary = OnField(key);
    primary.name = "PrimaryKey";
    primary.primaryKey = primary.unique = primary.required = true;
    table.indexes.push_back(std::move(primary));
    return table;
}

/// A key and a name that is looked up.
TableDesign LookupTable(const char* name, const char* key, const char* nameField) {
    TableDesign table = KeyedTable(name, key, {Text(nameField, kLookupNameCharacters)});
    table.indexes.push_back(OnField(nameField));
    return table;
}

TableDesign Musicians() {
    TableDesign table = LookupTable("Musicians", "MU_Id", "Musician");
    table.columns.push_back(Text("Grp", kLookupNameCharacters));
    table.columns.push_back(Text("Nick", kLookupNameCharacters));
    table.columns.push_back(Text("Photo", kLongestText));
    return table;
}

TableDesign Genres() {
    TableDesign table = LookupTable("Genres", "GE_Id", "Genre");
    table.columns.push_back(Number("PG_Id", "1"));
    table.indexes.push_back(OnField("PG_Id"));
    return table;
}

TableDesign Years() {
    TableDesign table = KeyedTable("Years", "YE_ID", {Field("Year", ColumnType::Integer, "0")});
    table.indexes.push_back(OnField("Year"));
    return table;
}

/// A game without further facts has the defaults that a plain import writes.
TableDesign Games(SchemaVersion version) {
    TableDesign games = KeyedTable(
        "Games", "GA_Id",
        {Text("Name", kGameNameCharacters), Number("YE_ID", "1"), Text("Comment", kCommentCharacters),
         Text("FileToRun", kLongestText), Number("FilenameIndex"), Text("ScrnShotFilename", kLongestText),
         Number("MU_Id", "38"), Number("GE_Id", "1"), Number("PU_Id", "37"), Number("DI_Id", "8"),
         Number("CR_Id", "8"), Text("SidFileName", kLongestText), Text("DateLastPlayed", 50),
         Number("TimesPlayed"), Text("HighScore", kLookupNameCharacters), Flag("SA"),
         Text("Filename", kLongestText), Number("CCode", "4"), Flag("FA")});
    std::vector<Column>& fields = games.columns;
    if (version.HigherThan(kWithExtras)) {
        fields.push_back(Text("CRC", kLongestText));
        fields.push_back(Number("Filesize"));
    }
    for (Column column :
         {Flag("Fav"), Number("PR_Id", "1"), Number("LA_Id", "1"), Flag("Extras"), Flag("Classic"),
          Number("Rating"), Flag("V_LoadingScreen"), Flag("V_HighScoreSaver"), Flag("V_IncludedDocs"),
          Number("V_PalNTSC", "1"), Flag("V_TrueDriveEmu"), Number("V_Length")}) {
        fields.push_back(std::move(column));
    }
    if (version.HigherThan(kWithLengthType)) fields.push_back(Number("V_LengthType", "19"));
    for (Column column :
         {Number("V_Trainers", "-1"), Number("PlayersFrom", "-1"), Number("PlayersTo", "-1"),
          Flag("PlayersSim"), Text("V_Comment", kVersionCommentCharacters), Flag("Adult"), Memo("MemoText"),
          Number("Prequel"), Number("Sequel"), Number("Related"), Number("Control")}) {
        fields.push_back(std::move(column));
    }
    if (version.HigherThan(kWithKorvo)) fields.push_back(Memo("Korvo"));
    for (const char* field : {"YE_ID", "MU_Id", "GE_Id", "PU_Id", "DI_Id", "CR_Id", "PR_Id", "LA_Id"}) {
        games.indexes.push_back(OnField(field));
    }
    return games;
}

TableDesign Music() {
    TableDesign table =
        KeyedTable("Music", "MS_Id",
                   {Text("Name", kLongestText), Text("Filename", kLongestText), Number("MU_Id", "38")});
    table.indexes.push_back(OnField("MU_Id"));
    return table;
}

TableDesign Extras() {
    TableDesign table = KeyedTable("Extras", "EX_Id",
                                   {Number("GA_Id", ""), Number("DisplayOrder"), Text("Name", kLongestText),
                                    Text("Path", kLongestText), Text("Data", kLongestText)});
    table.indexes.push_back(OnField("GA_Id"));
    return table;
}

TableDesign Config(SchemaVersion version) {
    TableDesign table;
    table.name = "Config";
    table.columns = {Number("MajorVersion"), Number("MinorVersion")};
    if (version.HigherThan(kWithLengthType)) {
        table.columns.push_back(Text("FirstLoadMessage", kLongestText));
    }
    return table;
}

TableDesign ViewFilters() {
    TableDesign table =
        KeyedTable("ViewFilters", "VF_Id",
                   {Number("VD_Id", ""), Text("FieldName", 64), Text("Expression", kLongestText)});
    table.indexes.push_back(OnField("VD_Id"));
    return table;
}

Relationship Refers(const char* foreignTable, const char* table, const char* key) {
    Relationship relationship;
    relationship.name = std::string(table) + foreignTable;
    relationship.table = table;
    relationship.foreignTable = foreignTable;
    relationship.columns = {{key, key}};
    return relationship;
}

Relationship BelongsTo(const char* foreignTable, const char* table, const char* key) {
    Relationship relationship = Refers(foreignTable, table, key);
    relationship.cascadeDeletes = true;
    return relationship;
}

}  // namespace

std::vector<TableDesign> FrontendTables(SchemaVersion version) {
    std::vector<TableDesign> tables{LookupTable("PGenres", "PG_Id", "ParentGenre"),
                                    Genres(),
                                    LookupTable("Publishers", "PU_Id", "Publisher"),
                                    Musicians(),
                                    LookupTable("Programmers", "PR_Id", "Programmer"),
                                    LookupTable("Languages", "LA_Id", "Language"),
                                    LookupTable("Crackers", "CR_Id", "Cracker"),
                                    LookupTable("Difficulty", "DI_Id", "Difficulty"),
                                    Years(),
                                    Games(version),
                                    Music()};
    if (version.HigherThan(kWithExtras)) tables.push_back(Extras());
    tables.push_back(Config(version));
    tables.push_back(KeyedTable(
        "ViewData", "VD_Id", {Text("Name", kLookupNameCharacters), Memo("Definition"), Number("SortOrder")}));
    tables.push_back(ViewFilters());
    return tables;
}

std::vector<Relationship> FrontendRelationships(SchemaVersion version) {
    std::vector<Relationship> relationships{
        Refers("Genres", "PGenres", "PG_Id"),         Refers("Games", "Years", "YE_ID"),
        Refers("Games", "Musicians", "MU_Id"),        Refers("Games", "Genres", "GE_Id"),
        Refers("Games", "Publishers", "PU_Id"),       Refers("Games", "Difficulty", "DI_Id"),
        Refers("Games", "Crackers", "CR_Id"),         Refers("Games", "Programmers", "PR_Id"),
        Refers("Games", "Languages", "LA_Id"),        Refers("Music", "Musicians", "MU_Id"),
        BelongsTo("ViewFilters", "ViewData", "VD_Id")};
    if (version.HigherThan(kWithExtras)) relationships.push_back(BelongsTo("Extras", "Games", "GA_Id"));
    return relationships;
}

}  // namespace marrowkit
