#include "platform/dao/sql/SqlErrors.h"

#include <string_view>

#include "platform/errors/RuntimeError.h"

namespace marrowkit::dao::sql {
namespace {

/// "|" is the place of the next name.
std::string_view Wording(SqlError error) {
    switch (error) {
        case SqlError::SelectExecuted:
            return "Cannot execute a select query.";
        case SqlError::NoInput:
            return "Query input must contain at least one table or query.";
        case SqlError::OrderConflictsWithDistinct:
            return "ORDER BY clause (|) conflicts with DISTINCT.";
        case SqlError::AggregateInWhere:
            return "Cannot have aggregate function in WHERE clause (|).";
        case SqlError::AggregateInJoin:
            return "Cannot have aggregate function in JOIN operation (|).";
        case SqlError::AggregateNested:
            return "Cannot have aggregate function in expression (|).";
        case SqlError::CircularAlias:
            return "Circular reference caused by alias '|' in query definition's SELECT list.";
        case SqlError::DuplicateAlias:
            return "Cannot repeat table name '|' in FROM clause.";
        case SqlError::SubqueryOfSeveralFields:
            return "You have written a subquery that can return more than one field without using the EXISTS "
                   "reserved word in the main query's FROM clause. Revise the SELECT statement of the "
                   "subquery "
                   "to request only one field.";
        case SqlError::SubqueryOfSeveralRecords:
            return "At most one record can be returned by this subquery.";
        case SqlError::NoDeleteTable:
            return "Specify the table containing the records you want to delete.";
        case SqlError::DeleteSyntax:
            return "Syntax error in DELETE statement.";
        case SqlError::GroupBySyntax:
            return "Syntax error in GROUP BY clause.";
        case SqlError::HavingSyntax:
            return "Syntax error in HAVING clause.";
        case SqlError::JoinSyntax:
            return "Syntax error in JOIN operation.";
        case SqlError::OrderBySyntax:
            return "Syntax error in ORDER BY clause.";
        case SqlError::TextAfterEnd:
            return "Characters found after end of SQL statement.";
        case SqlError::WhereSyntax:
            return "Syntax error in WHERE clause.";
        case SqlError::OutputTableNotFound:
            return "Could not find output table '|'.";
        case SqlError::ConstraintSyntax:
            return "Syntax error in CONSTRAINT clause.";
        case SqlError::FieldSyntax:
            return "Syntax error in field definition.";
        case SqlError::AlterTableSyntax:
            return "Syntax error in ALTER TABLE statement.";
        case SqlError::DropSyntax:
            return "Syntax error in DROP TABLE or DROP INDEX.";
        case SqlError::ValueCountMismatch:
            return "Number of query values and destination fields are not the same.";
    }
    return "";
}

}  // namespace

void RaiseSql(SqlError error, const std::vector<std::string>& names) {
    std::string text;
    auto name = names.begin();
    for (const char c : Wording(error)) {
        if (c != '|')
            text += c;
        else if (name != names.end())
            text += *name++;
    }
    throw RuntimeError(static_cast<int>(error), text);
}

}  // namespace marrowkit::dao::sql
