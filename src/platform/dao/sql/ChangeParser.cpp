#include "platform/dao/sql/SqlErrors.h"
#include "platform/dao/sql/StatementParser.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using expression::TokenStream;
using jet::JetError;
using jet::RaiseJet;

/// A table with an alias behind it, or none.
void TakeTable(TokenStream& tokens, std::string& table, std::string& alias, JetError error) {
    table = TakeName(tokens);
    if (table.empty()) RaiseJet(error);
    const bool as = tokens.TakeKeyword("AS");
    if (as || !tokens.IsKeyword("SET")) alias = TakeName(tokens);
    if (as && alias.empty()) RaiseJet(error);
    if (alias.empty()) alias = table;
}

}  // namespace

Insert ParseInsert(TokenStream& tokens) {
    Insert insert;
    if (!tokens.TakeKeyword("INTO")) RaiseJet(JetError::InsertSyntax);
    insert.table = TakeName(tokens);
    if (insert.table.empty()) RaiseJet(JetError::InsertSyntax);
    if (tokens.IsSymbol("(") && !TakeNameList(tokens, insert.columns)) RaiseJet(JetError::InsertSyntax);
    if (tokens.TakeKeyword("SELECT")) {
        insert.select = std::make_unique<Select>(ParseSelect(tokens));
        if (!tokens.AtEnd() && !tokens.IsSymbol(";")) RaiseJet(JetError::InsertSyntax);
        return insert;
    }
    if (!tokens.TakeKeyword("VALUES") || !tokens.TakeSymbol("(")) RaiseJet(JetError::InsertSyntax);
    do {
        if (tokens.IsSymbol(",") || tokens.IsSymbol(")") || tokens.AtEnd()) RaiseJet(JetError::InsertSyntax);
        insert.values.push_back(expression::Parser(tokens).ParseExpression());
    } while (tokens.TakeSymbol(","));
    if (!tokens.TakeSymbol(")")) RaiseJet(JetError::InsertSyntax);
    return insert;
}

Update ParseUpdate(TokenStream& tokens) {
    Update update;
    TakeTable(tokens, update.table, update.alias, JetError::UpdateSyntax);
    // Joins can be read, but their rows belong to more than one table.
    if (tokens.IsSymbol(",") || tokens.IsKeyword("INNER") || tokens.IsKeyword("LEFT") ||
        tokens.IsKeyword("RIGHT"))
        RaiseJet(JetError::NotUpdatable);
    if (!tokens.TakeKeyword("SET")) RaiseJet(JetError::UpdateSyntax);
    do {
        Update::Assignment assignment;
        assignment.column = TakeName(tokens);
        if (tokens.TakeSymbol(".") || tokens.TakeSymbol("!")) {
            assignment.table = std::move(assignment.column);
            assignment.column = TakeName(tokens);
        }
        if (assignment.column.empty() || !tokens.TakeSymbol("=")) RaiseJet(JetError::UpdateSyntax);
        if (tokens.AtEnd() || tokens.IsSymbol(",") || tokens.IsKeyword("WHERE"))
            RaiseJet(JetError::UpdateSyntax);
        assignment.value = expression::Parser(tokens).ParseExpression();
        update.assignments.push_back(std::move(assignment));
    } while (tokens.TakeSymbol(","));
    update.where = ParseWhere(tokens);
    if (!tokens.AtEnd() && !tokens.IsSymbol(";")) RaiseJet(JetError::UpdateSyntax);
    return update;
}

Delete ParseDelete(TokenStream& tokens) {
    Delete statement;
    tokens.TakeKeyword("DISTINCTROW");
    if (!tokens.TakeSymbol("*") && !tokens.IsKeyword("FROM")) {
        // Games.* names the table that FROM names again.
        if (TakeName(tokens).empty()) RaiseSql(SqlError::DeleteSyntax);
        if (!tokens.TakeSymbol(".") || !tokens.TakeSymbol("*")) RaiseSql(SqlError::NoDeleteTable);
    }
    if (!tokens.TakeKeyword("FROM")) RaiseSql(SqlError::DeleteSyntax);
    TakeTable(tokens, statement.table, statement.alias, JetError::FromSyntax);
    if (tokens.IsSymbol(",") || tokens.IsKeyword("INNER") || tokens.IsKeyword("LEFT") ||
        tokens.IsKeyword("RIGHT"))
        RaiseJet(JetError::NotUpdatable);
    statement.where = ParseWhere(tokens);
    if (!tokens.AtEnd() && !tokens.IsSymbol(";")) RaiseJet(JetError::FromSyntax);
    return statement;
}

}  // namespace marrowkit::dao::sql
