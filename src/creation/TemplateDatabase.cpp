#include "creation/TemplateDatabase.h"

#include <optional>

#include "creation/FrontendRows.h"
#include "platform/files/FileSystem.h"
#include "platform/files/HostPath.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit {

namespace {

void InsertRows(jet::Database& database, const FixedRows& fixed) {
    const auto table = database.OpenTable(fixed.table);
    for (const jet::Row& row : fixed.rows) {
        std::vector<jet::Assignment> values;
        for (std::size_t i = 0; i < row.size(); ++i) {
            values.push_back({table->FindColumn(fixed.columns[i]).value(), row[i]});
        }
        table->Insert(values);
    }
}

void Fill(jet::Database& database, SchemaVersion version) {
    jet::Unit unit(database.GetPager());
    for (const jet::TableDesign& table : FrontendTables(version)) database.CreateTable(table);
    for (const jet::Relationship& relationship : FrontendRelationships(version)) {
        database.CreateRelationship(relationship);
    }
    for (const FixedRows& rows : FrontendRows(version)) InsertRows(database, rows);
    unit.Commit();
}

}  // namespace

void CreateTemplateDatabase(const std::string& path, jet::JetVersion format, SchemaVersion version) {
    auto database = jet::Database::Create(HostPath(path), format);
    try {
        Fill(*database, version);
    } catch (...) {
        database.reset();  // closes the file
        DeletePath(path);
        throw;
    }
}

}  // namespace marrowkit
