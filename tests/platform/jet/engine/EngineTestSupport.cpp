#include "EngineTestSupport.h"

#include <numeric>

#include "platform/jet/check/Check.h"

namespace marrowkit::jet::test {

void NewDatabaseTest::Reopen() {
    database_->GetPager().Flush();
    database_.reset();
    database_ = Database::Open(path_);
}

void NewDatabaseTest::ExpectSound() {
    database_->GetPager().Flush();
    for (const Problem& problem : Check(path_)) ADD_FAILURE() << problem.ToText();
}

Column ColumnOf(std::string name, ColumnType type) {
    Column column;
    column.name = std::move(name);
    column.type = type;
    return column;
}

Column LongColumn(std::string name) {
    return ColumnOf(std::move(name), ColumnType::Long);
}

Column AutoNumberColumn(std::string name) {
    Column column = LongColumn(std::move(name));
    column.autoNumber = true;
    return column;
}

Column TextColumn(std::string name, int size) {
    Column column = ColumnOf(std::move(name), ColumnType::Text);
    column.size = size;
    return column;
}

Index IndexOn(std::string name, std::vector<std::string> columns) {
    Index index;
    index.name = std::move(name);
    for (std::string& column : columns) index.parts.push_back({std::move(column), true});
    return index;
}

Index UniqueOn(std::string name, std::vector<std::string> columns) {
    Index index = IndexOn(std::move(name), std::move(columns));
    index.unique = true;
    return index;
}

Index PrimaryKey(std::vector<std::string> columns) {
    Index index = UniqueOn("PrimaryKey", std::move(columns));
    index.primaryKey = true;
    return index;
}

Relationship RelationshipOf(std::string name, std::string table, std::string column, std::string foreignTable,
                            std::string foreignColumn) {
    Relationship relationship;
    relationship.name = std::move(name);
    relationship.table = std::move(table);
    relationship.foreignTable = std::move(foreignTable);
    relationship.columns.emplace_back(std::move(column), std::move(foreignColumn));
    return relationship;
}

std::vector<Assignment> AssignmentsOf(const Table& table, const Values& values) {
    std::vector<Assignment> assignments;
    for (const auto& [name, value] : values) {
        assignments.push_back({table.FindColumn(name).value(), value});
    }
    return assignments;
}

RowId Insert(Table& table, const Values& values) {
    return table.Insert(AssignmentsOf(table, values));
}

void Update(Table& table, RowId row, const Values& values) {
    table.Update(row, AssignmentsOf(table, values));
}

std::vector<Row> RowsOf(const Table& table) {
    std::vector<std::size_t> columns(table.Columns().size());
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    std::vector<Row> rows;
    const auto scan = table.OpenScan(columns);
    while (scan->Next()) rows.push_back(scan->Values());
    return rows;
}

std::vector<Value> ColumnValues(const Table& table, std::string_view column) {
    std::vector<Value> values;
    const auto scan = table.OpenScan({table.FindColumn(column).value()});
    while (scan->Next()) values.push_back(scan->Values().front());
    return values;
}

Value ValueOf(const Table& table, RowId row, std::string_view column) {
    const std::size_t position = table.FindColumn(column).value();
    return table.Read(row, std::span(&position, 1)).value().front();
}

std::vector<Value> Walk(const Table& table, std::string_view index, const IndexRange& range,
                        std::string_view column, bool backwards) {
    std::vector<Value> values;
    for (std::size_t i = 0; i < table.Indexes().size(); ++i) {
        if (table.Indexes()[i].name != index) continue;
        const auto scan = table.OpenIndexScan(i, range, {table.FindColumn(column).value()}, backwards);
        while (scan->Next()) values.push_back(scan->Values().front());
        return values;
    }
    ADD_FAILURE() << "no index " << index;
    return values;
}

}  // namespace marrowkit::jet::test
