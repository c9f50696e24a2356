#include "cli/SchemaText.h"

#include <nlohmann/json.hpp>

namespace marrowkit::cli {

namespace {

using jet::Column;
using jet::ColumnType;
using jet::Index;
using jet::Relationship;
using Json = nlohmann::ordered_json;

std::string Bracketed(const std::string& name) {
    return "[" + name + "]";
}

std::string TypeName(const Column& column) {
    switch (column.type) {
        case ColumnType::Boolean:
            return "BIT";
        case ColumnType::Byte:
            return "BYTE";
        case ColumnType::Integer:
            return "SHORT";
        case ColumnType::Long:
            return column.autoNumber ? "COUNTER" : "LONG";
        case ColumnType::Currency:
            return "CURRENCY";
        case ColumnType::Single:
            return "SINGLE";
        case ColumnType::Double:
            return "DOUBLE";
        case ColumnType::DateTime:
            return "DATETIME";
        case ColumnType::Binary:
        case ColumnType::FixedBlock:
            return "BINARY(" + std::to_string(column.size) + ")";
        case ColumnType::Text:
            return "TEXT(" + std::to_string(column.size) + ")";
        case ColumnType::Ole:
            return "LONGBINARY";
        case ColumnType::Memo:
            return "MEMO";
        case ColumnType::Guid:
            return "GUID";
        case ColumnType::Numeric:
            return "DECIMAL(" + std::to_string(column.precision) + ", " + std::to_string(column.scale) + ")";
    }
    return "BINARY";
}

std::string ColumnComment(const Column& column) {
    std::string comment;
    const auto add = [&](const std::string& what) { comment += (comment.empty() ? "" : "; ") + what; };
    if (column.randomAutoNumber) add("random");
    if (!column.defaultValue.empty()) add("default " + column.defaultValue);
    if (!column.validationRule.empty()) add("rule " + column.validationRule);
    const bool isText = column.type == ColumnType::Text || column.type == ColumnType::Memo;
    if (isText && !column.allowZeroLength) add("no empty text");
    return comment.empty() ? "" : "  -- " + comment;
}

std::string TableSql(const jet::Table& table) {
    std::string sql = "CREATE TABLE " + Bracketed(table.Name()) + " (\n";
    const auto& columns = table.Columns();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        sql += "    " + Bracketed(columns[i].name) + " " + TypeName(columns[i]);
        if (columns[i].required) sql += " NOT NULL";
        sql += (i + 1 < columns.size() ? "," : "") + ColumnComment(columns[i]) + "\n";
    }
    return sql + ");\n";
}

std::string IndexSql(const jet::Table& table, const Index& index) {
    std::string sql = std::string("CREATE ") + (index.unique && !index.primaryKey ? "UNIQUE " : "") +
                      "INDEX " + Bracketed(index.name) + " ON " + Bracketed(table.Name()) + " (";
    for (std::size_t i = 0; i < index.parts.size(); ++i) {
        sql += (i == 0 ? "" : ", ") + Bracketed(index.parts[i].column);
        if (!index.parts[i].ascending) sql += " DESC";
    }
    sql += ")";
    if (index.primaryKey) {
        sql += " WITH PRIMARY";
    } else if (index.ignoreNulls) {
        sql += " WITH IGNORE NULL";
    } else if (index.required) {
        sql += " WITH DISALLOW NULL";
    }
    return sql + ";\n";
}

std::string RelationshipSql(const Relationship& relationship) {
    std::string own;
    std::string other;
    for (const auto& [primary, foreign] : relationship.columns) {
        own += (own.empty() ? "" : ", ") + Bracketed(foreign);
        other += (other.empty() ? "" : ", ") + Bracketed(primary);
    }
    std::string sql = "ALTER TABLE " + Bracketed(relationship.foreignTable) + " ADD CONSTRAINT " +
                      Bracketed(relationship.name) + " FOREIGN KEY (" + own + ") REFERENCES " +
                      Bracketed(relationship.table) + " (" + other + ")";
    if (relationship.cascadeUpdates) sql += " ON UPDATE CASCADE";
    if (relationship.cascadeDeletes) sql += " ON DELETE CASCADE";
    sql += ";\n";
    return relationship.enforced ? sql : "-- not enforced: " + sql;
}

Json ColumnJson(const Column& column) {
    Json json{{"name", column.name}, {"type", TypeName(column)}};
    if (column.autoNumber) json["autoNumber"] = column.randomAutoNumber ? "random" : "next";
    json["required"] = column.required;
    if (column.type == ColumnType::Text || column.type == ColumnType::Memo) {
        json["allowZeroLength"] = column.allowZeroLength;
    }
    if (!column.defaultValue.empty()) json["default"] = column.defaultValue;
    if (!column.validationRule.empty()) json["rule"] = column.validationRule;
    if (!column.validationText.empty()) json["ruleText"] = column.validationText;
    return json;
}

Json IndexJson(const Index& index) {
    Json parts = Json::array();
    for (const Index::Part& part : index.parts) {
        parts.push_back({{"column", part.column}, {"ascending", part.ascending}});
    }
    return {{"name", index.name},      {"columns", parts},           {"primaryKey", index.primaryKey},
            {"unique", index.unique},  {"required", index.required}, {"ignoreNulls", index.ignoreNulls},
            {"foreign", index.foreign}};
}

Json RelationshipJson(const Relationship& relationship) {
    Json columns = Json::array();
    for (const auto& [primary, foreign] : relationship.columns) {
        columns.push_back({{"column", primary}, {"foreignColumn", foreign}});
    }
    return {{"name", relationship.name},
            {"table", relationship.table},
            {"foreignTable", relationship.foreignTable},
            {"columns", columns},
            {"enforced", relationship.enforced},
            {"unique", relationship.unique},
            {"cascadeUpdates", relationship.cascadeUpdates},
            {"cascadeDeletes", relationship.cascadeDeletes}};
}

}  // namespace

std::string SchemaAsSql(jet::Database& database) {
    std::string sql;
    for (const std::string& name : database.TableNames()) {
        const auto table = database.OpenTable(name);
        sql += TableSql(*table);
        for (const Index& index : table->Indexes()) {
            // The relationship, below, brings its index along.
            if (!index.foreign) sql += IndexSql(*table, index);
        }
        sql += "\n";
    }
    for (const Relationship& relationship : database.Relationships()) sql += RelationshipSql(relationship);
    return sql;
}

std::string SchemaAsJson(jet::Database& database) {
    Json tables = Json::array();
    for (const std::string& name : database.TableNames()) {
        const auto table = database.OpenTable(name);
        Json columns = Json::array();
        for (const Column& column : table->Columns()) columns.push_back(ColumnJson(column));
        Json indexes = Json::array();
        for (const Index& index : table->Indexes()) indexes.push_back(IndexJson(index));
        tables.push_back({{"name", name}, {"columns", columns}, {"indexes", indexes}});
    }
    Json relationships = Json::array();
    for (const Relationship& relationship : database.Relationships()) {
        relationships.push_back(RelationshipJson(relationship));
    }
    const Json document{{"format", database.Version() == jet::JetVersion::Jet3 ? "Jet 3" : "Jet 4"},
                        {"tables", tables},
                        {"relationships", relationships}};
    return document.dump(2) + "\n";
}

}  // namespace marrowkit::cli
