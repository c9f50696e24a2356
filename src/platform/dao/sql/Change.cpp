#include "platform/dao/sql/Change.h"

#include <algorithm>

#include "platform/dao/sql/Query.h"
#include "platform/dao/sql/SqlErrors.h"
#include "platform/dao/sql/StreamBuilder.h"
#include "platform/dao/sql/TableResult.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using jet::JetError;
using jet::RaiseJet;

/// In a statement a value that does not suit its column is a mistake of the statement: 3464, where setting a
/// field would raise 3421.
jet::Value Converted(const jet::Column& column, const jet::Value& value) {
    try {
        return jet::ConvertFor(column, value);
    } catch (const RuntimeError& error) {
        if (error.number == static_cast<int>(JetError::ConversionError)) expression::RaiseTypeMismatch();
        throw;
    }
}

void CheckParameters(const std::vector<std::string>& unknownNames) {
    if (!unknownNames.empty()) RaiseJet(JetError::TooFewParameters, {std::to_string(unknownNames.size())});
}

/// The columns an INSERT names, or all.
std::vector<std::size_t> TargetColumns(const jet::Table& table, const std::vector<std::string>& names) {
    std::vector<std::size_t> columns;
    for (const std::string& name : names) {
        const auto column = table.FindColumn(name);
        if (!column) RaiseJet(JetError::UnknownInsertField, {name});
        if (std::find(columns.begin(), columns.end(), *column) != columns.end())
            RaiseJet(JetError::InsertSyntax);
        columns.push_back(*column);
    }
    if (names.empty())
        for (std::size_t i = 0; i < table.Columns().size(); ++i) columns.push_back(i);
    return columns;
}

std::vector<std::string> NamesOf(const std::vector<OutputColumn>& columns) {
    std::vector<std::string> names;
    names.reserve(columns.size());
    for (const OutputColumn& column : columns) names.push_back(column.name);
    return names;
}

std::int64_t InsertValues(jet::Database& database, jet::Table& table, const Insert& insert,
                          const BeforeChange& beforeChange) {
    const std::vector<std::size_t> columns = TargetColumns(table, insert.columns);
    if (columns.size() != insert.values.size()) RaiseSql(SqlError::ValueCountMismatch);
    std::vector<std::string> unknownNames;
    expression::Binding binding;
    binding.version = database.Version();
    binding.unknownNames = &unknownNames;
    binding.runSubquery = [](const expression::Subquery&,
                             bool) -> std::shared_ptr<const expression::ValueSet> {
        RaiseSql(SqlError::NoInput);
    };
    std::vector<jet::Assignment> assignments;
    std::vector<expression::Expression> expressions;
    for (const NodePtr& value : insert.values) expressions.emplace_back(value->Clone(), binding);
    CheckParameters(unknownNames);
    for (std::size_t i = 0; i < columns.size(); ++i)
        assignments.push_back(
            {columns[i], Converted(table.Columns()[columns[i]], expressions[i].Evaluate({}))});
    beforeChange(table);
    table.Insert(assignments);
    return 1;
}

/// Reads the whole result first when it comes from tables, one of which may be the target.
PackedRows ReadAll(Result& result) {
    PackedRows rows;
    jet::Row row(result.Columns().size());
    for (std::size_t record = 0; result.Reach(record); ++record) {
        for (std::size_t i = 0; i < row.size(); ++i) row[i] = result.Read(record, i);
        rows.Append(row);
    }
    return rows;
}

std::int64_t InsertRows(jet::Table& table, const std::vector<std::size_t>& columns, const PackedRows& rows) {
    std::vector<jet::Assignment> assignments(columns.size());
    jet::Row row;
    for (std::size_t record = 0; record < rows.Size(); ++record) {
        rows.Read(record, row);
        for (std::size_t i = 0; i < columns.size(); ++i)
            assignments[i] = {columns[i], Converted(table.Columns()[columns[i]], row[i])};
        table.Insert(assignments);
    }
    return static_cast<std::int64_t>(rows.Size());
}

/// The rows of one table that a condition selects, all found.
std::vector<jet::RowId> FindRows(Scope& scope, StreamBuilder& builder) {
    const std::vector<Condition> conditions = builder.TakeConditions();
    SourceStream stream(scope, 0, ChoosePath(scope, 0, conditions), conditions);
    std::vector<jet::RowId> rows;
    while (stream.Next()) rows.push_back(stream.Id());
    return rows;
}

/// One SET, bound.
struct BoundAssignment {
    std::size_t column = 0;
    expression::Expression value;
};

std::vector<BoundAssignment> BindAssignments(const Update& update, const Scope& scope,
                                             const expression::Binding& binding,
                                             std::vector<std::string>& unknownNames) {
    std::vector<BoundAssignment> bound;
    for (const Update::Assignment& assignment : update.assignments) {
        const auto place = scope.Find(assignment.table, assignment.column);
        BoundAssignment made;
        made.value = expression::Expression(assignment.value->Clone(), binding);
        if (!place) {
            // As everywhere in a query, a name nobody knows is taken for a parameter.
            if (std::find(unknownNames.begin(), unknownNames.end(), assignment.column) == unknownNames.end())
                unknownNames.push_back(assignment.column);
            continue;
        }
        made.column = place->column;
        bound.push_back(std::move(made));
    }
    return bound;
}

std::int64_t InsertSelected(jet::Database& database, jet::Table& table, const Insert& insert,
                            const BeforeChange& beforeChange) {
    const std::unique_ptr<Result> result = OpenSelect(database, *insert.select);
    // Without a list of columns, those of the select go to the columns of the same names.
    const std::vector<std::size_t> columns =
        TargetColumns(table, insert.columns.empty() ? NamesOf(result->Columns()) : insert.columns);
    if (columns.size() != result->Columns().size()) RaiseSql(SqlError::ValueCountMismatch);
    const PackedRows rows = ReadAll(*result);
    beforeChange(table);
    return InsertRows(table, columns, rows);
}

}  // namespace

// Each of these is one unit from before its first read: nobody else changes what it finds.

std::int64_t RunInsert(jet::Database& database, const Insert& insert, const BeforeChange& beforeChange) {
    jet::Unit unit(database.GetPager());
    const std::shared_ptr<jet::Table> table = database.FindTable(insert.table);
    if (!table) RaiseSql(SqlError::OutputTableNotFound, {insert.table});
    const std::int64_t inserted = insert.select ? InsertSelected(database, *table, insert, beforeChange)
                                                : InsertValues(database, *table, insert, beforeChange);
    unit.Commit();
    return inserted;
}

std::int64_t RunUpdate(jet::Database& database, const Update& update, const BeforeChange& beforeChange) {
    jet::Unit unit(database.GetPager());
    std::vector<std::string> unknownNames;
    Scope scope;
    scope.AddTable(database, update.table, update.alias);
    const std::shared_ptr<jet::Table> table = scope.Sources()[0].table;
    StreamBuilder builder(scope, database, unknownNames);
    builder.AddWhere(update.where ? update.where->Clone() : nullptr);

    RowReader reader(table);
    bool reads = false;
    expression::Binding binding;
    binding.version = database.Version();
    binding.unknownNames = &unknownNames;
    // Jet takes what is summed up or looked up elsewhere for no value of a record that could be changed.
    binding.runSubquery = [](const expression::Subquery&,
                             bool) -> std::shared_ptr<const expression::ValueSet> {
        RaiseJet(JetError::NotUpdatable);
    };
    binding.resolve = [&](std::string_view qualifier,
                          std::string_view name) -> std::optional<expression::BoundName> {
        const auto place = scope.Find(qualifier, name);
        if (!place) return std::nullopt;
        reads = true;
        return expression::BoundName{reader.Use(place->column), table->Columns()[place->column].type};
    };
    const std::vector<BoundAssignment> bound = BindAssignments(update, scope, binding, unknownNames);
    CheckParameters(unknownNames);

    const std::vector<jet::RowId> rows = FindRows(scope, builder);
    beforeChange(*table);
    std::vector<jet::Assignment> assignments(bound.size());
    jet::Row values;
    bool first = true;
    std::int64_t changed = 0;
    for (const jet::RowId id : rows) {
        if (reads) {
            // A cascade of an earlier change may have removed the row.
            auto row = reader.Read(id);
            if (!row) continue;
            values = std::move(*row);
        }
        // What does not depend on the row is computed once.
        if (reads || first) {
            for (std::size_t i = 0; i < bound.size(); ++i)
                assignments[i] = {bound[i].column, Converted(table->Columns()[bound[i].column],
                                                             bound[i].value.Evaluate(values))};
        }
        first = false;
        table->Update(id, assignments);
        ++changed;
    }
    unit.Commit();
    return changed;
}

std::int64_t RunDelete(jet::Database& database, const Delete& statement, const BeforeChange& beforeChange) {
    jet::Unit unit(database.GetPager());
    std::vector<std::string> unknownNames;
    Scope scope;
    scope.AddTable(database, statement.table, statement.alias);
    const std::shared_ptr<jet::Table> table = scope.Sources()[0].table;
    StreamBuilder builder(scope, database, unknownNames);
    builder.AddWhere(statement.where ? statement.where->Clone() : nullptr);
    CheckParameters(unknownNames);
    const std::vector<jet::RowId> rows = FindRows(scope, builder);
    beforeChange(*table);
    std::int64_t deleted = 0;
    for (const jet::RowId id : rows) {
        // A table that refers to itself may have lost the row to a cascade.
        if (!table->Read(id, {})) continue;
        table->Delete(id);
        ++deleted;
    }
    unit.Commit();
    return deleted;
}

std::int64_t RunSelectInto(jet::Database& database, const Select& select) {
    jet::Unit unit(database.GetPager());
    const std::unique_ptr<Result> result = OpenSelect(database, select);
    jet::TableDesign design;
    design.name = select.into;
    const std::shared_ptr<jet::Table> source = result->ItsTable();
    for (const OutputColumn& output : result->Columns()) {
        jet::Column column;
        column.name = output.name;
        column.type = output.type;
        if (column.type == jet::ColumnType::Text || column.type == jet::ColumnType::Binary) column.size = 255;
        if (source && output.tableColumn) {
            const jet::Column& original = source->Columns()[*output.tableColumn];
            column.size = original.size;
            column.precision = original.precision;
            column.scale = original.scale;
            column.autoNumber = original.autoNumber;
        } else if (column.type == jet::ColumnType::Numeric) {
            column.precision = 28;
        }
        design.columns.push_back(std::move(column));
    }
    const PackedRows rows = ReadAll(*result);
    database.CreateTable(design);
    const std::shared_ptr<jet::Table> table = database.OpenTable(select.into);
    const std::int64_t count = InsertRows(*table, TargetColumns(*table, {}), rows);
    unit.Commit();
    return count;
}

}  // namespace marrowkit::dao::sql
