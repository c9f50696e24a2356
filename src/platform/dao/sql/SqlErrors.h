#pragma once

#include <string>
#include <vector>

namespace marrowkit::dao::sql {

/// Errors that only the parser and the planner of statements raise; the others are in
/// platform/jet/format/JetErrors.h.
enum class SqlError : int {
    SelectExecuted = 3065,
    NoInput = 3067,
    OrderConflictsWithDistinct = 3093,
    AggregateInWhere = 3096,
    AggregateInJoin = 3098,
    AggregateNested = 3095,
    CircularAlias = 3103,
    DuplicateAlias = 3300,
    SubqueryOfSeveralFields = 3306,
    SubqueryOfSeveralRecords = 3354,
    NoDeleteTable = 3128,
    DeleteSyntax = 3130,
    GroupBySyntax = 3132,
    HavingSyntax = 3133,
    JoinSyntax = 3135,
    OrderBySyntax = 3138,
    TextAfterEnd = 3142,
    WhereSyntax = 3145,
    OutputTableNotFound = 3192,
    ConstraintSyntax = 3289,
    FieldSyntax = 3292,
    AlterTableSyntax = 3293,
    DropSyntax = 3295,
    ValueCountMismatch = 3346,
};

/// Throws RuntimeError with DAO's text; the names fill its places in order.
[[noreturn]] void RaiseSql(SqlError error, const std::vector<std::string>& names = {});

}  // namespace marrowkit::dao::sql
