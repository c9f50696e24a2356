#include "maintenance/LookupTables.h"

#include <algorithm>
#include <variant>

#include "maintenance/SchemaNames.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/text/Text.h"

namespace marrowkit {

const std::array<LookupTable, 5> kLookupTables = {{
    {schema::kPublishers, "PU_Id", "Publisher",
     "SELECT PU_Id AS ID, Publisher AS Name FROM Publishers WHERE NOT (PU_ID = 37 OR PU_ID = 39) "
     "ORDER BY Publisher",
     "SELECT PU_Id as ID, Publisher AS Name FROM Publishers WHERE NOT (PU_Id = ", ") ORDER BY Publisher"},
    {schema::kMusicians, "MU_Id", "Musician",
     "SELECT MU_Id AS ID, Musician AS Name FROM Musicians WHERE NOT (MU_ID = 38 OR MU_ID = 39) "
     "ORDER BY Musician",
     "SELECT MU_Id as ID, Musician AS Name FROM Musicians WHERE NOT (MU_Id = ", ") ORDER BY Musician"},
    {schema::kProgrammers, "PR_Id", "Programmer",
     "SELECT PR_Id AS ID, Programmer AS Name FROM Programmers WHERE NOT (PR_ID = 1) ORDER BY Programmer",
     "SELECT PR_Id as ID, Programmer AS Name FROM Programmers WHERE NOT (PR_Id = ", ") ORDER BY Programmer"},
    {schema::kLanguages, "LA_Id", "Language",
     "SELECT LA_Id AS ID, Language AS Name FROM Languages WHERE NOT (LA_ID = 1) ORDER BY Language",
     "SELECT LA_Id as ID, Language AS Name FROM Languages WHERE NOT (LA_Id = ", ") ORDER BY Language"},
    {schema::kCrackers, "CR_Id", "Cracker",
     "SELECT CR_Id AS ID, Cracker AS Name FROM Crackers WHERE NOT (CR_ID = 7 OR CR_ID = 8) "
     "ORDER BY Cracker",
     "SELECT CR_Id as ID, Cracker AS Name FROM Crackers WHERE NOT (CR_Id = ", ") ORDER BY Cracker"},
}};

const LookupTable* FindLookupTable(std::string_view table) {
    const auto found = std::find_if(kLookupTables.begin(), kLookupTables.end(),
                                    [&](const LookupTable& row) { return EqualNoCase(row.table, table); });
    return found == kLookupTables.end() ? nullptr : &*found;
}

std::string ReplacementStatement(const LookupTable& table, std::int32_t id) {
    std::string query(table.replacementPrefix);
    query += std::to_string(id);
    query += table.replacementSuffix;
    return query;
}

std::vector<LookupRecord> ListLookupRecords(dao::Database& database, std::string_view query,
                                            dao::RecordsetType type) {
    std::vector<LookupRecord> list;
    dao::Recordset records = database.OpenRecordset(query, type);
    while (!records.EOF_()) {
        LookupRecord record;
        record.id = expression::ToLong(records.Fields("ID").Value());
        const jet::Value name = records.Fields("Name").Value();
        if (const auto* text = std::get_if<std::string>(&name)) record.name = *text;
        list.push_back(std::move(record));
        records.MoveNext();
    }
    records.Close();
    return list;
}

bool ConfirmLookupDeletion(UserInterface& ui, const LookupTable& table, const LookupRecord& record,
                           const LookupRecord& replacement) {
    const std::string text = "Delete the record \"" + record.name + "\" from the table \"" +
                             std::string(table.table) + "\" and\r\nmove all affected games to the record \"" +
                             replacement.name + "\"?\r\n\r\nARE YOU SURE?   THIS CANNOT BE UNDONE!";
    return ui.ShowMessage(text, MessageIcon::Question, std::string(kApplicationTitle),
                          MessageButtons::YesNo) == MessageAnswer::Yes;
}

void DeleteLookupRecord(dao::Database& database, const LookupTable& table, std::int32_t id,
                        std::int32_t replacementId) {
    const std::string key(table.keyField);
    const std::string where = " WHERE " + key + "=" + std::to_string(id);
    database.Execute("UPDATE Games SET " + key + "=" + std::to_string(replacementId) + where);
    database.Execute("DELETE * FROM " + std::string(table.table) + where);
}

std::size_t SelectionAfterDeletion(std::size_t position, std::size_t remaining) {
    return std::min(position, remaining - 1);
}

void ReportLookupDeletion(UserInterface& ui) {
    ui.ShowMessage("Record Deleted!", MessageIcon::Information, "Marrowkit");
}

}  // namespace marrowkit
